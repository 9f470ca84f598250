# Compares what a library exports with a checked-in list.
#   cmake -DLIBRARY=<file> -DLIST=<file> -DNM=<program> -P CompareExports.cmake
# A host binds to these names: one that is gone breaks it, one that is new is a promise made by mistake.
# After an intended change put the names printed here into the list, sorted.

cmake_minimum_required(VERSION 3.25)

execute_process(
    COMMAND "${NM}" -D --defined-only -C "${LIBRARY}"
    OUTPUT_VARIABLE output
    COMMAND_ERROR_IS_FATAL ANY
)
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
    if(NOT name MATCHES "(^| )(UpdateMain|UpdateInit|QuillonInit)(::|$)")
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
