# SPDX-License-Identifier: MIT
# A host's way to the module: install, find_package, link, run. Starts from nothing each time, so that no
# file of an earlier run stands in for one that is missing now.
file(REMOVE_RECURSE "${WORK}")
set(prefix "${WORK}/prefix")

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")
set(toolchain)
if(TOOLCHAIN)
    set(toolchain "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DCMAKE_FIND_ROOT_PATH=${prefix}")
endif()
run("${CMAKE_COMMAND}" -S "${CONSUMER}" -B "${WORK}/build" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}"
    "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
    "-DCMAKE_CXX_FLAGS=${FLAGS}"
    ${toolchain}
)
run("${CMAKE_COMMAND}" --build "${WORK}/build")
if(EMULATOR)
    # As on Windows: the program lies beside the libraries that it needs, and finds no others.
    file(COPY_FILE "${WORK}/build/consumer.exe" "${prefix}/bin/consumer.exe")
    string(REPLACE "|" ";" EMULATOR "${EMULATOR}")
    run(${EMULATOR} "${prefix}/bin/consumer.exe")
else()
    run("${WORK}/build/consumer")
endif()
