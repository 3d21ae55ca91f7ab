# cmake -DLIST=fields.tsv -DOUTPUT=table.inc -P capture_fields_table.cmake
#
# Turns the table of fields (eight columns by tabs; empty lines, and lines that start with "#", are
# left out) into rows that capture_fields.cpp includes.
cmake_policy(SET CMP0007 NEW)
file(STRINGS ${LIST} lines)
list(FILTER lines EXCLUDE REGEX "^(#.*)?$")
set(column "([^\t\"\\]+)")
set(rows "")
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^([^\t:]+):${column}\t${column}\t${column}\t${column}\t${column}\t${column}\t${column}\t${column}$")
        message(FATAL_ERROR "${LIST}: not eight columns: ${line}")
    endif()
    string(APPEND rows "{\"${CMAKE_MATCH_1}\", \"${CMAKE_MATCH_2}\", \"${CMAKE_MATCH_3}\", "
        "\"${CMAKE_MATCH_4}\", \"${CMAKE_MATCH_5}\", \"${CMAKE_MATCH_6}\", \"${CMAKE_MATCH_7}\", "
        "\"${CMAKE_MATCH_8}\", \"${CMAKE_MATCH_9}\"},\n")
endforeach()
file(WRITE ${OUTPUT} "${rows}")
