// SPDX-License-Identifier: MIT

// What tst_DetachedProcess starts in the place of an installer. It says something to its output and its
// errors, waits for a file "gate" in the current folder when there is one named "wait", and then puts a
// file "output" there, complete, with the number of its arguments.

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

int main(int argc, char *[])
{
    std::cout << "to the output" << std::endl;
    std::cerr << "to the errors" << std::endl;
    while (std::filesystem::exists("wait") && !std::filesystem::exists("gate")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::ofstream("output.part") << argc - 1 << " arguments";
    std::filesystem::rename("output.part", "output");
    return 0;
}
