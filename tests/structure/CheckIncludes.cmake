# Reads the #include lines below ROOT and names each one that the layers forbid. Our own files stand in quotes, by their
# path from src/ or include/; what comes from outside, the host's SDK too, stands in brackets.
#
# cmake -DROOT=... -DHOST_SDK=... -P CheckIncludes.cmake
cmake_minimum_required(VERSION 3.25)

# From top to bottom: each may include itself and everything below it.
set(layers library mvosggeoterrain mvosggeomesh mvdrapelines updatescenegraph readerwriterthreedimg mvgdaldatasetmanager
    mvregconfig readerwriterktx mvclipregions support platform)
# Modules at one height: none may include another.
set(beside_mvregconfig readerwriterktx mvclipregions)
set(beside_readerwriterktx mvclipregions)
# The modules that carry out what the public headers describe.
set(knows_interface library mvosggeoterrain mvosggeomesh mvregconfig)

file(GLOB host_sdk_headers RELATIVE "${HOST_SDK}/include" "${HOST_SDK}/include/*.h")
# libktx is behind one module, because there may be none.
set(knows_ktx readerwriterktx)
set(osg_header "^(osg[A-Za-z]*|OpenThreads)/")

# The names that a file includes in quotes and in brackets.
function(read_includes file quoted bracketed)
    file(STRINGS "${ROOT}/${file}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
    list(TRANSFORM lines REPLACE "^[^\"]*\"([^\"]*)\".*" "\\1")
    set(${quoted} "${lines}" PARENT_SCOPE)
    file(STRINGS "${ROOT}/${file}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*<")
    list(TRANSFORM lines REPLACE "^[^<]*<([^>]*)>.*" "\\1")
    set(${bracketed} "${lines}" PARENT_SCOPE)
endfunction()

function(list_sources folder result)
    file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/${folder}/*.h" "${ROOT}/${folder}/*.cpp")
    set(${result} "${files}" PARENT_SCOPE)
endfunction()

function(forbid file included)
    message("${file} must not include ${included}")
    set_property(GLOBAL PROPERTY rule_broken TRUE)
endfunction()

# The first folder of an include, where it names the owner.
macro(read_owner included)
    string(REGEX REPLACE "/.*" "" owner "${included}")
endmacro()

# A module of src/ may use the modules in `allowed`; platform takes nothing of OSG or the host.
function(check_module module allowed)
    if(module IN_LIST knows_interface)
        list(APPEND allowed mvgeothirdparty)
    endif()
    list_sources("src/${module}" files)
    foreach(file IN LISTS files)
        read_includes("${file}" quoted bracketed)
        foreach(included IN LISTS quoted)
            read_owner("${included}")
            if(NOT owner IN_LIST allowed)
                forbid("${file}" "${included}")
            endif()
        endforeach()
        foreach(included IN LISTS bracketed)
            read_owner("${included}")
            if(owner IN_LIST layers OR owner STREQUAL "mvgeothirdparty" OR
               (included STREQUAL "ktx.h" AND NOT module IN_LIST knows_ktx) OR
               (module STREQUAL "platform" AND (included IN_LIST host_sdk_headers OR included MATCHES "${osg_header}")))
                forbid("${file}" "${included}")
            endif()
        endforeach()
    endforeach()
endfunction()

# A host compiles against these with nothing but its own SDK and the standard library, whose names have no point or slash.
function(check_public_headers)
    list_sources(include files)
    foreach(file IN LISTS files)
        read_includes("${file}" quoted bracketed)
        foreach(included IN LISTS quoted)
            if(NOT EXISTS "${ROOT}/include/mvgeothirdparty/${included}")
                forbid("${file}" "${included}")
            endif()
        endforeach()
        foreach(included IN LISTS bracketed)
            if(included MATCHES "[./]" AND NOT included IN_LIST host_sdk_headers)
                forbid("${file}" "${included}")
            endif()
        endforeach()
    endforeach()
endfunction()

# The reference host and the stand-in SDK know nothing of src/; the SDK knows neither the library nor OSG.
function(check_outsider folder)
    list_sources("${folder}" files)
    foreach(file IN LISTS files)
        read_includes("${file}" quoted bracketed)
        foreach(included IN LISTS quoted bracketed)
            read_owner("${included}")
            if(owner IN_LIST layers OR included MATCHES "^(\\.\\.|src)/" OR included STREQUAL "ktx.h" OR
               (folder STREQUAL "hostsdk" AND (owner STREQUAL "mvgeothirdparty" OR included MATCHES "${osg_header}")))
                forbid("${file}" "${included}")
            endif()
        endforeach()
    endforeach()
endfunction()

set(allowed ${layers})
foreach(module IN LISTS layers)
    set(below "${allowed}")
    list(REMOVE_ITEM below ${beside_${module}})
    check_module("${module}" "${below}")
    list(REMOVE_ITEM allowed "${module}")
endforeach()
check_public_headers()
check_outsider(hostsdk)
check_outsider(host)

# A module that the order above does not name would go unchecked.
file(GLOB modules RELATIVE "${ROOT}/src" "${ROOT}/src/*/CMakeLists.txt")
foreach(module IN LISTS modules)
    read_owner("${module}")
    if(NOT owner IN_LIST layers)
        message("src/${owner} has no place in the order of the layers")
        set_property(GLOBAL PROPERTY rule_broken TRUE)
    endif()
endforeach()

get_property(broken GLOBAL PROPERTY rule_broken)
if(broken)
    message(FATAL_ERROR "the include rule is broken")
endif()
