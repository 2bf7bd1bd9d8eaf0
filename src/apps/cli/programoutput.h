// Running another program for what it says.
#ifndef APPS_CLI_PROGRAMOUTPUT_H
#define APPS_CLI_PROGRAMOUTPUT_H

#include <string>
#include <vector>

struct ProgramOutput {
    int status = 0; // 128 and the signal for one that was killed
    std::string out;
    std::string err;
};

// The first word is found by PATH. A program that takes longer than so many seconds is killed. Throws
// std::runtime_error for one that can't be started.
ProgramOutput runProgram(const std::vector<std::string>& words, double mostSeconds);

#endif
