# SPDX-License-Identifier: MIT
# Takes the host out of README as it stands there, for a test that compiles and runs it. Only the address of the
# service is replaced: the test knows that of its own only when it runs.
#
#   cmake -DREADME=FILE -DSAMPLE=FILE -P ExtractSample.cmake
set(opening "```cpp\n")
set(closing "\n```\n")
set(address "\"https://updates.example/check?pid=&version=&email=\"")

file(READ "${README}" text)
string(FIND "${text}" "${opening}" first)
string(FIND "${text}" "${opening}" last REVERSE)
if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "${README} has to have one block of C++")
endif()
string(LENGTH "${opening}" length)
math(EXPR first "${first} + ${length}")
string(SUBSTRING "${text}" ${first} -1 text)
string(FIND "${text}" "${closing}" end)
if(end EQUAL -1)
    message(FATAL_ERROR "the block of C++ in ${README} has no end")
endif()
string(SUBSTRING "${text}" 0 ${end} text)

string(REPLACE "${address}" "gServiceAddress()" sample "${text}")
if(sample STREQUAL text)
    message(FATAL_ERROR "the host in ${README} does not name the service as ${address}")
endif()
file(WRITE "${SAMPLE}" "${sample}\n")
