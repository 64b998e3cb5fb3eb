# cmake -DBUILD=... -DCONFIG=... -DCONSUMER=... -DFOLDER=... -DGENERATOR=... -DCOMPILER=... -DSANITIZE=...
#       -DWRITE_PYRAMID=... -P CheckInstall.cmake
cmake_minimum_required(VERSION 3.25)

set(prefix "${FOLDER}/prefix")
set(consumer_build "${FOLDER}/consumer")
set(data "${FOLDER}/data")
file(REMOVE_RECURSE "${prefix}" "${consumer_build}" "${data}") # leftovers would hide what is not installed any more

# Runs a command; its output goes to `output` and is shown only if it fails.
function(run)
    execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE text ERROR_VARIABLE errors RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        list(JOIN ARGV " " command)
        message(FATAL_ERROR "${command}\nended with ${status}:\n${text}${errors}")
    endif()
    set(output "${text}" PARENT_SCOPE)
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}" --config "${CONFIG}")

# A sanitizer in the library wants to be in the program too.
set(flags "")
if(SANITIZE)
    set(flags "-DCMAKE_CXX_FLAGS=-fsanitize=${SANITIZE}")
endif()
run("${CMAKE_COMMAND}" -S "${CONSUMER}" -B "${consumer_build}" -G "${GENERATOR}" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_BUILD_TYPE=${CONFIG}" ${flags})
run("${CMAKE_COMMAND}" --build "${consumer_build}" --config "${CONFIG}")

file(MAKE_DIRECTORY "${data}")
run("${WRITE_PYRAMID}" "${data}")

# Seen from above each tile is wide enough for the finest level. Below each root tile, one piece of content, lies one file
# of four quadrants, each a piece of its own because it is paged; below those four files of the finest level, where
# nothing is paged and a file is one piece: 2 * (1 + 1 + 4) files, 2 * (1 + 4 + 4) pieces.
set(expected "2 root tiles, 12 tiles read, 18 announced\n")
find_program(consumer consumer PATHS "${consumer_build}" "${consumer_build}/${CONFIG}" NO_DEFAULT_PATH REQUIRED)
run("${CMAKE_COMMAND}" -E env "TEMP=${FOLDER}" "${consumer}" "${data}")
if(NOT output STREQUAL expected)
    message(FATAL_ERROR "the host printed '${output}' where '${expected}' was expected")
endif()

# The program that is installed along finds the libraries beside it.
find_program(mvgeo mvgeo PATHS "${prefix}/bin" NO_DEFAULT_PATH)
if(mvgeo)
    run("${mvgeo}" --help)
endif()
