# libktx for KTX textures: sets MVGEO_HAVE_KTX, and if that is true there is the target KTX::ktx.

set(MVGEO_KTX AUTO CACHE STRING "KTX textures: AUTO (if libktx can be had) or OFF")
set_property(CACHE MVGEO_KTX PROPERTY STRINGS AUTO OFF)
set(MVGEO_HAVE_KTX OFF)

# The folder that scripts/fetch-ktx fills; scripts/lib/ktx.sh says the same.
function(mvgeo_ktx_source_folder result)
    set(folder "$ENV{MVGEO_KTX_CACHE}")
    if(NOT folder)
        set(cache "$ENV{XDG_CACHE_HOME}")
        if(NOT cache)
            set(cache "$ENV{HOME}/.cache")
        endif()
        set(folder "${cache}/mvgeothirdparty/ktx-4.4.2")
    endif()
    set(${result} "${folder}" PARENT_SCOPE)
endfunction()

# mvgeo_import_plain(<name> <header> <library name>): mvgeo::<name> from a header and a library, where every release names
# its CMake package differently.
function(mvgeo_import_plain name header library)
    find_path(MVGEO_${name}_INCLUDE_DIR ${header})
    find_library(MVGEO_${name}_LIBRARY NAMES ${library})
    mark_as_advanced(MVGEO_${name}_INCLUDE_DIR MVGEO_${name}_LIBRARY)
    if(MVGEO_${name}_INCLUDE_DIR AND MVGEO_${name}_LIBRARY)
        add_library(mvgeo::${name} UNKNOWN IMPORTED GLOBAL)
        set_target_properties(mvgeo::${name} PROPERTIES
            IMPORTED_LOCATION "${MVGEO_${name}_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${MVGEO_${name}_INCLUDE_DIR}")
    endif()
endfunction()

function(mvgeo_without_ktx reason)
    message(WARNING "KTX textures are left out: ${reason} Everything else is built.")
endfunction()

if(NOT MVGEO_KTX)
    message(STATUS "KTX textures are left out: MVGEO_KTX is ${MVGEO_KTX}")
    return()
endif()

find_package(Ktx CONFIG QUIET)
if(TARGET KTX::ktx)
    message(STATUS "KTX textures: libktx ${Ktx_VERSION} from ${Ktx_DIR}")
    set(MVGEO_HAVE_KTX ON)
    return()
endif()

mvgeo_ktx_source_folder(MVGEO_KTX_SOURCE)
if(NOT EXISTS "${MVGEO_KTX_SOURCE}/libktx/include/ktx.h" OR NOT EXISTS "${MVGEO_KTX_SOURCE}/basis_universal/encoder/basisu_comp.h")
    mvgeo_without_ktx("there is no libktx here, and no sources of it in ${MVGEO_KTX_SOURCE} (scripts/fetch-ktx gets them).")
    return()
endif()
mvgeo_import_plain(zstd zstd.h zstd)
mvgeo_import_plain(tinyexr tinyexr.h tinyexr)
if(NOT TARGET mvgeo::zstd OR NOT TARGET mvgeo::tinyexr)
    mvgeo_without_ktx("building libktx needs the development files of zstd and tinyexr.")
    return()
endif()
message(STATUS "KTX textures: libktx from ${MVGEO_KTX_SOURCE}")
add_subdirectory("${PROJECT_SOURCE_DIR}/libktx" "${PROJECT_BINARY_DIR}/libktx")
set(MVGEO_HAVE_KTX ON)
