#include "apps/cli/programoutput.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

class Pipe {
public:
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error(std::string("can't make a pipe: ") + std::strerror(errno));
        }
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int end(std::size_t which) const {
        return ends[which];
    }
    void closeEnd(std::size_t which) {
        if (ends[which] >= 0) {
            close(ends[which]);
            ends[which] = -1;
        }
    }
    // False once there is nothing more to come.
    bool readInto(std::string& text) {
        char block[4096];
        const ssize_t got = read(ends[0], block, sizeof block);
        if (got > 0) {
            text.append(block, static_cast<std::size_t>(got));
        }
        return got > 0 || (got < 0 && (errno == EINTR || errno == EAGAIN));
    }

private:
    std::array<int, 2> ends{-1, -1};
};

pid_t spawn(const std::vector<std::string>& words, const Pipe& out, const Pipe& err) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.end(1), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.end(1), STDERR_FILENO);
    pid_t child = -1;
    const int problem = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (problem != 0) {
        throw std::runtime_error("can't start " + words.front() + ": " + std::strerror(problem));
    }
    return child;
}

} // namespace

ProgramOutput runProgram(const std::vector<std::string>& words, double mostSeconds) {
    Pipe out;
    Pipe err;
    const pid_t child = spawn(words, out, err);
    out.closeEnd(1);
    err.closeEnd(1);
    ProgramOutput result;
    const auto end = Clock::now() + std::chrono::duration<double>(mostSeconds);
    std::array<pollfd, 2> ends{pollfd{out.end(0), POLLIN, 0}, pollfd{err.end(0), POLLIN, 0}};
    while ((ends[0].fd >= 0 || ends[1].fd >= 0) && Clock::now() < end) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (poll(ends.data(), ends.size(), static_cast<int>(left.count()) + 1) < 0 && errno != EINTR) {
            break;
        }
        if (ends[0].revents != 0 && !out.readInto(result.out)) {
            ends[0].fd = -1;
        }
        if (ends[1].revents != 0 && !err.readInto(result.err)) {
            ends[1].fd = -1;
        }
    }
    if (Clock::now() >= end) {
        kill(child, SIGKILL);
    }
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
    return result;
}
