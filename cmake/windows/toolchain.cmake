# SPDX-License-Identifier: MIT
# 64-bit Windows from Linux, with MinGW-w64 and what sdk.sh has made.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

# The thread model "posix": that of the compiler that Qt was built with.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

execute_process(
    COMMAND "${CMAKE_CURRENT_LIST_DIR}/sdk.sh" path
    OUTPUT_VARIABLE QUILLON_WINDOWS_SDK
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY
)
list(APPEND CMAKE_PREFIX_PATH "${QUILLON_WINDOWS_SDK}")
list(APPEND CMAKE_FIND_ROOT_PATH "${QUILLON_WINDOWS_SDK}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own libraries go into each file: a host's installer need not carry them for the module.
set(static_runtime "-static-libgcc -static-libstdc++ -L${QUILLON_WINDOWS_SDK}/static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${static_runtime}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${static_runtime}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${static_runtime}")
# The oldest system that Qt 5.15 runs on.
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0601 -DUNICODE -D_UNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN")

set(CMAKE_CROSSCOMPILING_EMULATOR
    "${CMAKE_CURRENT_LIST_DIR}/wine.sh;${CMAKE_BINARY_DIR};${QUILLON_WINDOWS_SDK}"
)
# Package files of this machine's own libraries would be found otherwise.
set(ENV{PKG_CONFIG_LIBDIR} "${QUILLON_WINDOWS_SDK}/lib/pkgconfig")
