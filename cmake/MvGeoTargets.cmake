# The house rules for targets, in one place: standard, warnings, visibility, sanitizers, output folders.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Thirty programs are linked, so where there is a quicker linker, it does that.
find_program(MVGEO_LINKER NAMES mold ld.lld DOC "mold or lld, if they are installed")
mark_as_advanced(MVGEO_LINKER)
if(MVGEO_LINKER MATCHES "(mold|lld)$" AND NOT MSVC AND NOT WIN32)
    add_link_options(-fuse-ld=${CMAKE_MATCH_1})
endif()

set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

function(mvgeo_house_rules target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${MVGEO_WARNINGS_AS_ERRORS}>:/WX>)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
            $<$<COMPILE_LANG_AND_ID:CXX,Clang,AppleClang>:-Wthread-safety>
            $<$<BOOL:${MVGEO_WARNINGS_AS_ERRORS}>:-Werror>)
    endif()
    if(MVGEO_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${MVGEO_SANITIZE} -fno-omit-frame-pointer)
        if(MVGEO_SANITIZE MATCHES "undefined")
            target_compile_options(${target} PRIVATE -fno-sanitize-recover=undefined)
        endif()
        target_link_options(${target} PRIVATE -fsanitize=${MVGEO_SANITIZE})
    endif()
endfunction()

# A folder of src/ as an object library mvgeo::<name>. The folder's path is what the module's log lines begin with.
function(mvgeo_add_module name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(mvgeo_${name} OBJECT ${ARG_SOURCES})
    add_library(mvgeo::${name} ALIAS mvgeo_${name})
    mvgeo_house_rules(mvgeo_${name})
    target_compile_definitions(mvgeo_${name} PRIVATE MVGEO_MODULE_PATH="src/${name}" MVGEO_BUILDING)
    target_include_directories(mvgeo_${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
    target_link_libraries(mvgeo_${name} PUBLIC ${ARG_LINK})
    set_property(GLOBAL APPEND PROPERTY MVGEO_MODULES mvgeo_${name})
endfunction()
