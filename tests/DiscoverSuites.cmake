# Run when a test program has been built: writes a file for CTest with one test for each of its suites, and one for each
# case of the suites in APART. The label is the folder of the tests.
#
# cmake -DPROGRAM=... -DNAME=... -DLABEL=... -DAPART=a,b -DOUTPUT=... -P DiscoverSuites.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${PROGRAM}" --gtest_list_tests OUTPUT_VARIABLE listing RESULT_VARIABLE status TIMEOUT 60)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} cannot list its tests: ${status}\n${listing}")
endif()
string(REGEX REPLACE " *#[^\n]*" "" listing "${listing}") # what the parameters are
string(REPLACE "," ";" apart "${APART}")
string(REPLACE "\n" ";" listing "${listing}")

# A suite of which every case was skipped: nothing passed, and nothing but the list of those that were skipped follows.
set(all_skipped "\\\\[  PASSED  \\\\] 0 tests\\\\.\n\\\\[  SKIPPED \\\\] [0-9]+ tests?, listed below:\n(\\\\[  SKIPPED \\\\] [^\n]*\n)+$")
set(tests "")
function(add_entry filter)
    set(tests "${tests}add_test([==[${NAME}.${filter}]==] [==[${PROGRAM}]==] [==[--gtest_filter=${filter}]==])
set_tests_properties([==[${NAME}.${filter}]==] PROPERTIES TIMEOUT 600 LABELS ${LABEL} SKIP_REGULAR_EXPRESSION \"${all_skipped}\")
" PARENT_SCOPE)
endfunction()

# A suite stands at the start of a line and ends in a point; its cases follow below it, set in by two blanks.
foreach(line IN LISTS listing)
    if(line MATCHES "^([^ ]+)\\.$")
        set(suite "${CMAKE_MATCH_1}")
        if(NOT suite IN_LIST apart)
            add_entry("${suite}.*")
        endif()
    elseif(line MATCHES "^  ([^ ]+)$" AND suite IN_LIST apart)
        add_entry("${suite}.${CMAKE_MATCH_1}")
    endif()
endforeach()
if(tests STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE "${OUTPUT}" "${tests}")
