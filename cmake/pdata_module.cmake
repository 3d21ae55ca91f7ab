# The building blocks of every CMakeLists.txt of the project.

# Flags that every target of the project is compiled with.
add_library(pdata_flags INTERFACE)
target_compile_features(pdata_flags INTERFACE cxx_std_20)
target_compile_options(pdata_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror)
if(PDATA_SANITIZE)
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1") # as much as a report needs, at half the time of a build
    target_compile_options(pdata_flags INTERFACE -fsanitize=address,undefined
                                                 -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(pdata_flags INTERFACE -fsanitize=address,undefined)
endif()
if(PDATA_FUZZ)
    target_compile_options(pdata_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# pdata_module(NAME DIR folder SOURCES file... [INCLUDES subfolder...] [DEPENDS module...])
#
# One module of a floor: a static library whose include root is its own folder. Because a
# module sees only the folders of what it depends on, an include of a floor above, or of a
# module that is not listed, does not compile. INCLUDES names subfolders with headers of their own.
function(pdata_module name)
    cmake_parse_arguments(ARG "" "DIR" "SOURCES;INCLUDES;DEPENDS" ${ARGN})
    list(TRANSFORM ARG_SOURCES PREPEND "${ARG_DIR}/")
    list(TRANSFORM ARG_INCLUDES PREPEND "${ARG_DIR}/")
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${ARG_DIR} ${ARG_INCLUDES})
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE pdata_flags)
endfunction()

# pdata_header_module(NAME DIR folder [DEPENDS module...]): the same for headers alone.
function(pdata_header_module name)
    cmake_parse_arguments(ARG "" "DIR" "DEPENDS" ${ARGN})
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${ARG_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
endfunction()
