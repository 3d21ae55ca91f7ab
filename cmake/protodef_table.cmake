# cmake -DLIST=names.tsv -DOUTPUT=table.inc -P protodef_table.cmake
#
# Turns the list of built-in protocols (a name, a tab, an id per line; lines that start with "#"
# are comments) into the rows of a sorted table that csa_protodef.cpp includes.
file(STRINGS ${LIST} lines)
list(FILTER lines EXCLUDE REGEX "^(#.*)?$")
list(SORT lines)
set(rows "")
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^([a-z0-9_]+)\t([0-9]+)$")
        message(FATAL_ERROR "${LIST}: not a name, a tab and an id: ${line}")
    endif()
    string(APPEND rows "{\"${CMAKE_MATCH_1}\", ${CMAKE_MATCH_2}},\n")
endforeach()
file(WRITE ${OUTPUT} "${rows}")
