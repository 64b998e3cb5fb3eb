# Compares the names that LIBRARY defines for others with the functions that HEADERS declare as MVGEO_API. Overloads count:
# a name must be there as often as it is declared. A header that declares functions in a namespace declares all of them
# there.
#
# cmake -DNM=... -DLIBRARY=... -DHEADERS=... -P CompareExports.cmake

# The names, sorted, of all functions declared in the folder's headers.
function(read_declared folder result)
    file(GLOB headers "${folder}/*.h")
    set(names "")
    foreach(header IN LISTS headers)
        file(READ "${header}" text)
        string(REGEX REPLACE "#[^\n]*" "" text "${text}") # the macro's own definition is no declaration
        set(scope "")
        if(text MATCHES "[\n]namespace ([A-Za-z_0-9]+)")
            set(scope "${CMAKE_MATCH_1}::")
        endif()
        string(REGEX MATCHALL "MVGEO_API[^;({]*[ \n*&][A-Za-z_0-9]+\\(" declarations "${text}")
        foreach(declaration IN LISTS declarations)
            string(REGEX REPLACE ".*[ \n*&]([A-Za-z_0-9]+)\\($" "\\1" name "${declaration}")
            list(APPEND names "${scope}${name}")
        endforeach()
    endforeach()
    list(SORT names)
    set(${result} "${names}" PARENT_SCOPE)
endfunction()

# The names, sorted and without their argument lists, of everything in the library's dynamic symbol table.
function(read_exported library result)
    execute_process(COMMAND "${NM}" -D -C --defined-only "${library}"
        OUTPUT_VARIABLE table ERROR_VARIABLE errors RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "cannot list the symbols of ${library}: ${errors}")
    endif()
    string(REGEX MATCHALL "[^\n]+" lines "${table}")
    set(names "")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "^[0-9a-f]* *[A-Za-z] " "" name "${line}")
        string(REGEX REPLACE "\\(.*" "" name "${name}")
        list(APPEND names "${name}")
    endforeach()
    list(SORT names)
    set(${result} "${names}" PARENT_SCOPE)
endfunction()

# Prints each name of `names` that `others` lacks, or has less often; sets `differs` if there is one.
function(report_surplus names others sentence)
    set(left ${others})
    foreach(name IN LISTS names)
        list(FIND left "${name}" at)
        if(at GREATER_EQUAL 0)
            list(REMOVE_AT left ${at})
        else()
            message("${sentence}: ${name}")
            set(differs TRUE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

if(NOT NM OR NOT EXISTS "${NM}")
    message("skipped: there is no nm to list the symbols with")
    return()
endif()
if(NOT LIBRARY MATCHES "\\.so[.0-9]*$")
    message("skipped: only shared libraries in ELF format list their symbols this way")
    return()
endif()

read_declared("${HEADERS}" declared)
read_exported("${LIBRARY}" exported)
list(LENGTH declared count)
if(count EQUAL 0)
    message(FATAL_ERROR "no function is declared in ${HEADERS}")
endif()

set(differs FALSE)
report_surplus("${declared}" "${exported}" "declared but not exported")
report_surplus("${exported}" "${declared}" "exported but not declared")
if(differs)
    message(FATAL_ERROR "the library's exports are not the functions of the headers")
endif()
message("${count} functions are declared and exported")
