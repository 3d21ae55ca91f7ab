# The building blocks of every CMakeLists.txt of the project.

# Flags that every target of the project is compiled with.
add_library(pdata_flags INTERFACE)
target_compile_features(pdata_flags INTERFACE cxx_std_20)
target_compile_options(pdata_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow
    $<$<BOOL:${PDATA_WERROR}>:-Werror>)
if(CMAKE_UNITY_BUILD)
    # Names of one source may hide those of another: the ordinary build is where this is looked at.
    target_compile_options(pdata_flags INTERFACE -Wno-shadow)
endif()
if(PDATA_SANITIZE)
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1") # as much as a report needs, at half the time of a build
    # clang puts no function into another at -O1, unless it is told to.
    target_compile_options(pdata_flags INTERFACE
        $<$<CXX_COMPILER_ID:Clang>:-finline-hint-functions>)
    target_compile_options(pdata_flags INTERFACE -fsanitize=address,undefined
                                                 -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(pdata_flags INTERFACE -fsanitize=address,undefined)
endif()
if(PDATA_SANITIZE_THREADS)
    set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
    target_compile_options(pdata_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(pdata_flags INTERFACE -fsanitize=thread)
endif()
if(PDATA_COVERAGE)
    # What modules and programs run is counted; tests/ empties this for its own code.
    set(pdata_counted --coverage -fprofile-update=atomic)
    set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")
    target_link_options(pdata_flags INTERFACE --coverage)
endif()

# Releases are optimised as a whole when they are linked. Objects hold ordinary code beside it, so
# that the many programs of the tests link in no time. (clang has no such objects.)
add_library(pdata_program_flags INTERFACE)
target_link_libraries(pdata_program_flags INTERFACE pdata_flags)
if(PDATA_LTO AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT PDATA_SANITIZE)
    set(pdata_lto $<$<CONFIG:Release>:-flto=auto>)
    target_link_options(pdata_program_flags INTERFACE ${pdata_lto})
endif()
if(PDATA_FUZZ)
    target_compile_options(pdata_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Releases are hardened: checked calls of the C library, guarded stacks, addresses that differ from
# run to run, and tables of the linker that cannot be written once the program runs. (Sanitizers
# check more, and need code that is not optimised so; checked calls need code that is optimised.)
if(NOT PDATA_SANITIZE AND NOT PDATA_SANITIZE_THREADS AND NOT PDATA_FUZZ)
    set(pdata_hardened_code
        "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-fstack-protector-strong>")
    set(pdata_hardened_program $<$<CONFIG:Release>:-fPIE>)
    target_link_options(pdata_program_flags INTERFACE
        $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>
        $<$<AND:$<CONFIG:Release>,$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>>:-pie>)
endif()

# pdata_together(TARGET): readies the sources of a target for being compiled together
# (CMAKE_UNITY_BUILD, as scripts/test does to save time): each with the first ones that name nothing
# as it does, each for itself. Names are looked for where they are in a formatted source, at the
# starts of lines.
set(pdata_named "\n(#define |[a-z][^\n;=(){}]*[ *&>])([A-Za-z_0-9]+)(\\(| = | \\{|\\[|\\{|;)")
function(pdata_together name)
    if(NOT CMAKE_UNITY_BUILD)
        return()
    endif()
    set(size_max ${CMAKE_UNITY_BUILD_BATCH_SIZE})
    if(NOT size_max)
        set(size_max 10)
    endif()
    get_target_property(sources ${name} SOURCES)
    foreach(source IN LISTS sources)
        if(NOT source MATCHES "\\.cpp$")
            continue()
        endif()
        file(READ ${source} text)
        string(REPLACE ";" "\n" text "${text}")
        string(REGEX MATCHALL "${pdata_named}" found "${text}")
        list(TRANSFORM found REPLACE "${pdata_named}" "\\2")
        set(group 0)
        while(TRUE)
            set(others ${names_${group}})
            list(REMOVE_ITEM others "" ${found})
            list(LENGTH names_${group} before)
            list(LENGTH others after)
            list(LENGTH sources_${group} size)
            if(before EQUAL after AND size LESS size_max)
                break()
            endif()
            math(EXPR group "${group} + 1")
        endwhile()
        list(APPEND sources_${group} ${source})
        list(APPEND names_${group} ${found})
        list(REMOVE_DUPLICATES names_${group})
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endforeach()
    set_target_properties(${name} PROPERTIES UNITY_BUILD_MODE GROUP)
endfunction()

# pdata_module(NAME [FRONT] DIR folder SOURCES file... [INCLUDES subfolder...] [DEPENDS module...])
#
# One module of a floor: a static library whose include root is its own folder. Because a
# module sees only the folders of what it depends on, an include of a floor above, or of a
# module that is not listed, does not compile. INCLUDES names subfolders with headers of their own.
# FRONT is what talks to people, which is optimised little, and not at link time: it would take most
# of a build, for a few hundredths of what a command takes.
function(pdata_module name)
    cmake_parse_arguments(ARG "FRONT" "DIR" "SOURCES;INCLUDES;DEPENDS" ${ARGN})
    list(TRANSFORM ARG_SOURCES PREPEND "${ARG_DIR}/")
    list(TRANSFORM ARG_INCLUDES PREPEND "${ARG_DIR}/")
    add_library(${name} STATIC ${ARG_SOURCES})
    pdata_together(${name})
    target_include_directories(${name} PUBLIC ${ARG_DIR} ${ARG_INCLUDES})
    if(NOT ARG_FRONT)
        target_compile_options(${name} PRIVATE
            ${pdata_lto} $<$<BOOL:${pdata_lto}>:-ffat-lto-objects>)
    endif()
    if(ARG_FRONT)
        target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
    endif()
    target_compile_options(${name} PRIVATE ${pdata_counted} ${pdata_hardened_code}
        $<$<NOT:$<BOOL:$<TARGET_PROPERTY:POSITION_INDEPENDENT_CODE>>>:${pdata_hardened_program}>)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE pdata_flags)
endfunction()

# pdata_program(NAME SOURCES file... DEPENDS module...): a program that is shipped, in bin/.
function(pdata_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    pdata_together(${name})
    target_compile_options(${name} PRIVATE
        ${pdata_counted} ${pdata_hardened_code} ${pdata_hardened_program})
    target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} pdata_program_flags)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()

# pdata_header_module(NAME DIR folder [DEPENDS module...]): the same for headers alone.
function(pdata_header_module name)
    cmake_parse_arguments(ARG "" "DIR" "DEPENDS" ${ARGN})
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${ARG_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
endfunction()
