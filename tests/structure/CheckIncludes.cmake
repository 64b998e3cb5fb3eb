# Reads the #include lines below ROOT and names each one that the layers forbid. Our own files stand in quotes, by their
# path from src/, include/ or host/; what comes from outside, the host's SDK too, stands in brackets, and so does the
# library where the reference host uses it.
#
# cmake -DROOT=... -DHOST_SDK=... -P CheckIncludes.cmake
cmake_minimum_required(VERSION 3.25)

# From top to bottom: each may include itself and everything below it.
set(layers library mvosggeoterrain mvosggeomesh mvdrapelines updatescenegraph readerwriterthreedimg mvgdaldatasetmanager
    mvregconfig readerwriterktx support platform)
# Two modules at one height: neither may include the other.
set(beside_mvregconfig readerwriterktx)
# The modules that carry out what the public headers describe.
set(knows_interface library mvosggeoterrain mvosggeomesh mvregconfig)

file(GLOB host_sdk_headers RELATIVE "${HOST_SDK}/include" "${HOST_SDK}/include/*.h")
# libktx is behind one module, because there may be none.
set(knows_ktx readerwriterktx)
set(toolkit "^(osg[A-Za-z]*|OpenThreads)/")

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

# A module of src/ may use the modules in `allowed`; platform takes nothing of the toolkit or the host.
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
               (module STREQUAL "platform" AND (included IN_LIST host_sdk_headers OR included MATCHES "${toolkit}")))
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

# The reference host and the stand-in SDK know nothing of src/; the SDK knows neither the library nor the toolkit.
function(check_outsider folder)
    list_sources("${folder}" files)
    foreach(file IN LISTS files)
        read_includes("${file}" quoted bracketed)
        foreach(included IN LISTS quoted bracketed)
            read_owner("${included}")
            if(owner IN_LIST layers OR included MATCHES "^(\\.\\.|src)/" OR included STREQUAL "ktx.h" OR
               (folder STREQUAL "hostsdk" AND (owner STREQUAL "mvgeothirdparty" OR included MATCHES "${toolkit}")))
                forbid("${file}" "${included}")
            endif()
        endforeach()
    endforeach()
endfunction()

# The folders of the reference host from top to bottom, who of them calls the library, and who makes sample data.
set(host_folders commands measure texture input terrain hosting view common)
set(host_knows_library commands input hosting)
set(host_knows_sample commands)

# The files of a folder of the reference host, or of the sample data, may include ours by the folders in `allowed`.
function(check_host_files files allowed)
    foreach(file IN LISTS files)
        read_includes("${file}" quoted bracketed)
        string(REGEX REPLACE "^host/([^/]*)/.*" "\\1" folder "${file}")
        foreach(included IN LISTS quoted)
            read_owner("${included}")
            if(NOT owner IN_LIST allowed)
                forbid("${file}" "${included}")
            endif()
        endforeach()
        foreach(included IN LISTS bracketed)
            read_owner("${included}")
            if(owner IN_LIST host_folders OR owner STREQUAL "sample" OR
               (owner STREQUAL "mvgeothirdparty" AND NOT folder IN_LIST host_knows_library))
                forbid("${file}" "${included}")
            endif()
        endforeach()
    endforeach()
endfunction()

function(check_host)
    set(allowed ${host_folders})
    foreach(folder IN LISTS host_folders)
        set(usable "${allowed}")
        if(folder IN_LIST host_knows_sample)
            list(APPEND usable sample)
        endif()
        list_sources("host/${folder}" files)
        check_host_files("${files}" "${usable}")
        list(REMOVE_ITEM allowed "${folder}")
    endforeach()
    list_sources(sample files)
    check_host_files("${files}" "sample;common")

    file(GLOB program RELATIVE "${ROOT}" "${ROOT}/host/*.h" "${ROOT}/host/*.cpp")
    list(FILTER program EXCLUDE REGEX "CommonHeaders") # for the compiler's eyes only
    check_host_files("${program}" "${host_folders}")
    file(GLOB folders RELATIVE "${ROOT}/host" "${ROOT}/host/*/CMakeLists.txt")
    foreach(folder IN LISTS folders)
        read_owner("${folder}")
        if(NOT owner IN_LIST host_folders)
            message("host/${owner} has no place in the order of the host's folders")
            set_property(GLOBAL PROPERTY rule_broken TRUE)
        endif()
    endforeach()
endfunction()

# Headers that include each other in a circle are those that stay, with those that include them, when round by round
# every header goes that includes none of the rest.
function(check_host_circles)
    list_sources(host rest)
    list_sources(sample of_sample)
    list(APPEND rest ${of_sample})
    list(FILTER rest INCLUDE REGEX "\\.h$")
    list(TRANSFORM rest REPLACE "^host/" "")
    set(before "")
    while(NOT "${rest}" STREQUAL "${before}")
        set(before "${rest}")
        foreach(file IN LISTS before)
            set(path "host/${file}")
            if(NOT EXISTS "${ROOT}/${path}")
                set(path "${file}")
            endif()
            read_includes("${path}" quoted bracketed)
            set(gone "${quoted}")
            list(REMOVE_ITEM gone ${rest})
            if("${gone}" STREQUAL "${quoted}")
                list(REMOVE_ITEM rest "${file}")
            endif()
        endforeach()
    endwhile()
    foreach(file IN LISTS rest)
        message("${file} leads into a circle of includes")
        set_property(GLOBAL PROPERTY rule_broken TRUE)
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
check_outsider(sample)
check_host()
check_host_circles()

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
