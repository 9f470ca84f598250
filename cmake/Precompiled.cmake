# SPDX-License-Identifier: MIT
# Headers of Qt and of the standard library that are read once for many sources: they are most of what the
# compiler reads. A source still includes what it needs, which the static analysis holds: it reads each source
# without these. Clang takes a precompiled header only from a target with the very same definitions, so this is
# for GCC.
option(QUILLON_PRECOMPILE "Precompile the headers of Qt" ON)
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(QUILLON_PRECOMPILE OFF)
endif()

# A target that has nothing but the precompiled headers. Who uses them links at least these LIBRARIES: GCC takes
# no precompiled header that was made with a definition that the source has not.
function(quillon_precompiled_headers target)
    cmake_parse_arguments(arg "" "" "LIBRARIES;HEADERS" ${ARGN})
    if(QUILLON_PRECOMPILE)
        file(CONFIGURE OUTPUT ${target}.cpp CONTENT "")
        add_library(${target} OBJECT "${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp")
        set_target_properties(${target} PROPERTIES AUTOMOC OFF)
        target_link_libraries(${target} PRIVATE ${arg_LIBRARIES} QuillonWarnings)
        target_precompile_headers(${target} PRIVATE ${arg_HEADERS})
    endif()
endfunction()

# quillon_precompile(HEADERS TARGET...): the targets start from these headers.
function(quillon_precompile headers)
    if(QUILLON_PRECOMPILE)
        foreach(target IN LISTS ARGN)
            target_precompile_headers(${target} REUSE_FROM ${headers})
        endforeach()
    endif()
endfunction()
