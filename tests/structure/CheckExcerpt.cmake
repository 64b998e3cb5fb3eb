# Fails unless DOCUMENT contains, line for line, the part of PROGRAM between the lines "// begin" and "// end".
#
# cmake -DDOCUMENT=... -DPROGRAM=... -P CheckExcerpt.cmake
cmake_minimum_required(VERSION 3.25)

file(READ "${PROGRAM}" program)
file(READ "${DOCUMENT}" document)

string(FIND "${program}" "// begin\n" begin)
string(FIND "${program}" "    // end\n" end)
if(begin LESS 0 OR end LESS begin)
    message(FATAL_ERROR "${PROGRAM} has no part between '// begin' and '// end'")
endif()
math(EXPR begin "${begin} + 9")
math(EXPR length "${end} - ${begin}")
string(SUBSTRING "${program}" ${begin} ${length} excerpt)
string(REPLACE "\n    " "\n" excerpt "\n${excerpt}") # the program's body stands one step to the right

string(FIND "${document}" "${excerpt}" found)
if(found LESS 0)
    message(FATAL_ERROR "${DOCUMENT} does not show this part of ${PROGRAM}:\n${excerpt}")
endif()
