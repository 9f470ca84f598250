// SPDX-License-Identifier: MIT

// The program that tst_DetachedProcess starts in the place of an installer. It writes to its
// standard output and error. When the current folder has a file "wait", it waits for a file "gate"
// there. Then it creates the file "output" there, by a rename, with the number of its arguments.

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
