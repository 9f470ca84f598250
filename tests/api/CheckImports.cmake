# SPDX-License-Identifier: MIT
# Checks which DLLs the module is linked with.
#   cmake -DLIBRARY=<file> -DOBJDUMP=<program> -P CheckImports.cmake
# One that neither the host nor Windows has, such as a compiler's own library, would keep the host from
# starting.

cmake_minimum_required(VERSION 3.25)

set(known
    Qt5Core Qt5Gui Qt5Network Qt5Widgets Qt5Xml Qt5Concurrent
    CommonLib CvCommonLib
    advapi32 iphlpapi kernel32 msvcrt ntdll ole32 shell32 user32 version
)
execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}" OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "DLL Name: [^\n]+" lines "${headers}")
if(NOT lines)
    message(FATAL_ERROR "no imports found")
endif()
string(TOLOWER "${known}" known)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "DLL Name: (.*)\\.(dll|DLL)$" "\\1" name "${line}")
    string(TOLOWER "${name}" lower)
    if(NOT lower IN_LIST known)
        message(SEND_ERROR "linked with a library that a host may not have: ${name}")
    endif()
endforeach()
