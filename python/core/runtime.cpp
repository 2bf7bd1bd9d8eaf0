#include "core/runtime.h"

#include "apps/common/quietdriver.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

// None of these is ever destroyed: a fork replaces the lock, which another thread may hold, and the end of the process
// unloads plug-ins in an order of its own.
struct State {
    std::timed_mutex* mutex = new std::timed_mutex;
    std::atomic<std::thread::id> user;
    Library* library = nullptr; // guarded by the mutex
    std::atomic<bool> isStarted = false;
    bool parentHasDrawn = false;
};

State& state() {
    static State* const all = new State;
    return *all;
}

Library& startedLibrary() {
    if (state().library == nullptr) {
        quietDriver();
        kivMakeUserFoldersAtOnce(false);
        state().library = new Library;
        state().isStarted = true;
    }
    return *state().library;
}

} // namespace

Library::Library() {
    if (!kivLoadLanguage(L"en")) {
        throw SelvarinError("the language module is missing in " + kivToUtf8(kivLibraryFolder()) + "/lang");
    }
    if (!renderer.loadShaders()) {
        throw SelvarinError("there are no shaders in " + kivToUtf8(kivLibraryFolder()) + "/shaders");
    }
}

LibraryUse::LibraryUse() {
    if (state().user.load() == std::this_thread::get_id()) {
        throw RenderError("a render is under way in this very thread: a progress callback can't use the library");
    }
    if (state().parentHasDrawn) {
        throw RenderError("this process is the fork of one that has drawn already, and OpenGL does not survive that; "
                          "start processes with the method \"spawn\" or \"forkserver\"");
    }
    released.emplace();
    lock = std::unique_lock(*state().mutex, std::defer_lock);
    waitForLock();
    library = &startedLibrary();
    state().user = std::this_thread::get_id();
}

void LibraryUse::waitForLock() {
    while (!lock.try_lock_for(std::chrono::milliseconds(100))) {
        const py::gil_scoped_acquire interpreter;
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
}

LibraryUse::~LibraryUse() {
    state().user = std::thread::id();
}

void startLibrary() {
    if (!state().isStarted) {
        const LibraryUse library;
    }
}

void afterFork() {
    State& s = state();
    // Whoever held the lock is not in this process.
    s.mutex = new std::timed_mutex;
    s.user = std::thread::id();
    s.parentHasDrawn = s.parentHasDrawn || (s.library != nullptr && s.library->hasDrawn);
}
