# cmake -DOUTPUT=files.inc -P embedded_files.cmake -- FILE...
#
# Turns text files into rows of a table, the name without its folder and the text, that a source
# includes.
set(rows "")
set(files FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE ${last})
    set(file "${CMAKE_ARGV${i}}")
    if(files)
        file(READ "${file}" text)
        if(text MATCHES "\\)embedded\"")
            message(FATAL_ERROR "${file}: holds the end of a literal")
        endif()
        get_filename_component(name "${file}" NAME)
        string(APPEND rows "{\"${name}\", R\"embedded(${text})embedded\"},\n")
    elseif(file STREQUAL "--")
        set(files TRUE)
    endif()
endforeach()
file(WRITE ${OUTPUT} "${rows}")
