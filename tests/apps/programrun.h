// Running the built program as a user does.
#ifndef TESTS_APPS_PROGRAMRUN_H
#define TESTS_APPS_PROGRAMRUN_H

#include "programtest.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
    long peakKilobytes = 0; // of memory
    long pageFaults = 0;    // without the disk
};

inline std::string readAll(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

// Runs the program of the build tree. signalAfter: milliseconds until it gets SIGINT, below 0 for never. It has the
// folder "home" of its own, which goes afterwards unless it is kept for the next one. prepare is called in the new
// process before the program begins.
inline Outcome run(const ProgramFolder& folder, std::vector<std::string> arguments, int signalAfter = -1,
                   bool keepsHome = false, const std::function<void()>& prepare = {}) {
    const std::string program = std::string(SELVARIN_BIN_DIR) + "/selvarin";
    const std::string out = folder.path(".stdout");
    const std::string err = folder.path(".stderr");
    arguments.insert(arguments.begin(), program);
    const pid_t child = fork();
    if (child == 0) {
        const int outFile = open(out.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        const int errFile = open(err.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        dup2(outFile, STDOUT_FILENO);
        dup2(errFile, STDERR_FILENO);
        std::vector<char*> words;
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        setenv("HOME", folder.path("home").c_str(), 1);
        setenv("XDG_CONFIG_HOME", folder.path("home").c_str(), 1);
        setenv("XDG_DATA_HOME", folder.path("home").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", folder.path("home").c_str(), 1);
        if (prepare) {
            prepare();
        }
        execv(program.c_str(), words.data());
        _exit(127);
    }
    if (signalAfter >= 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(signalAfter));
        kill(child, SIGINT);
    }
    int state = 0;
    rusage usage{};
    wait4(child, &state, 0, &usage);
    Outcome outcome{WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), readAll(out), readAll(err),
                    usage.ru_maxrss, usage.ru_minflt};
    std::filesystem::remove(out);
    std::filesystem::remove(err);
    if (!keepsHome) {
        std::filesystem::remove_all(folder.path("home"));
    }
    return outcome;
}

#endif
