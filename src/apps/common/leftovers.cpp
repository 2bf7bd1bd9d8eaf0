#include "apps/common/leftovers.h"

#include <atomic>
#include <csignal>

#include <unistd.h>

namespace {

// A view has as many files as outputs, each with two beside it.
constexpr int mostLeftovers = 256;

std::atomic<const char*> leftovers[mostLeftovers] = {};
static_assert(std::atomic<const char*>::is_always_lock_free, "a handler of signals may take no lock");

} // namespace

Leftover::Leftover(const std::string& path) : name(path) {
    for (int i = 0; i < mostLeftovers && slot < 0; ++i) {
        const char* none = nullptr;
        if (leftovers[i].compare_exchange_strong(none, name.c_str())) {
            slot = i;
        }
    }
}

Leftover::~Leftover() {
    if (slot >= 0) {
        leftovers[slot] = nullptr;
    }
}

void endBySignal(int signal) {
    for (const std::atomic<const char*>& each : leftovers) {
        if (const char* const path = each) {
            unlink(path);
        }
    }
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void handleEndSignals(void (*handler)(int)) {
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = handler;
        // A write that is under way goes on: whoever asks for a cancel is answered by a poll, not by a failed file.
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void cleanUpOnSignals() {
    handleEndSignals(endBySignal);
    std::signal(SIGXFSZ, SIG_IGN);
}

void cleanUpOnCrashes() {
    for (const int signal : {SIGQUIT, SIGXCPU, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            std::signal(signal, endBySignal);
        }
    }
}
