# SPDX-License-Identifier: MIT
# Compares what a library exports with a checked-in list.
#   cmake -DLIBRARY=<file> -DLIST=<file> -DNM=<program> -P CompareExports.cmake
#   cmake -DLIBRARY=<file> -DLIST=<file> -DOBJDUMP=<program> -DCXXFILT=<program> -P CompareExports.cmake
# The second form is for a DLL.
# A host binds to these names: one that is gone breaks it, one that is new is a promise made by mistake.
# After an intended change put the names printed here into the list, sorted.

cmake_minimum_required(VERSION 3.25)

if(OBJDUMP)
    execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" table "${headers}")
    string(REGEX REPLACE "\n\n.*" "" table "${table}")
    string(REGEX REPLACE "[^\n]* " "" names "${table}")
    file(WRITE "${LIBRARY}.exports" "${names}\n")
    execute_process(
        COMMAND "${CXXFILT}"
        INPUT_FILE "${LIBRARY}.exports"
        OUTPUT_VARIABLE output
        COMMAND_ERROR_IS_FATAL ANY
    )
else()
    execute_process(
        COMMAND "${NM}" -D --defined-only -C "${LIBRARY}"
        OUTPUT_VARIABLE output
        COMMAND_ERROR_IS_FATAL ANY
    )
endif()
string(REPLACE ";" "\\;" output "${output}")
string(STRIP "${output}" output)
string(REPLACE "\n" ";" lines "${output}")
set(exported)
foreach(line IN LISTS lines)
    # An address, the kind of symbol, the name.
    string(REGEX REPLACE "^[0-9a-f]* *[A-Za-z] " "" name "${line}")
    list(APPEND exported "${name}")
endforeach()
list(REMOVE_DUPLICATES exported)
list(SORT exported)

file(STRINGS "${LIST}" expected)
foreach(name IN LISTS exported)
    if(NOT name MATCHES "(^| )(UpdateMain|UpdateInit|UpdateTrust|QuillonInit)(::|$)")
        message(SEND_ERROR "belongs to none of the host's classes: ${name}")
    endif()
    if(NOT name IN_LIST expected)
        message(SEND_ERROR "exported, but not in the list: ${name}")
    endif()
endforeach()
foreach(name IN LISTS expected)
    if(NOT name IN_LIST exported)
        message(SEND_ERROR "in the list, but not exported: ${name}")
    endif()
endforeach()
foreach(member
    staticMetaObject metaObject qt_metacast qt_metacall qt_static_metacall tr trUtf8
)
    if(NOT exported MATCHES "UpdateMain::${member}[ (;]")
        message(SEND_ERROR "a host needs it: UpdateMain::${member}")
    endif()
endforeach()
