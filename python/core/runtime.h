// The library as a Python process has it: one host, the shaders, and one lock, since the library draws one picture at a
// time in a process.
#ifndef CORE_RUNTIME_H
#define CORE_RUNTIME_H

#include "apps/common/messagehost.h"
#include "kivrender/render/kivrenderer.h"

#include <mutex>
#include <optional>
#include <stdexcept>

#include <pybind11/pybind11.h>

namespace py = pybind11;

// The package's own exceptions; module.cpp gives them their Python classes.
class SelvarinError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
class ModelError : public SelvarinError {
public:
    using SelvarinError::SelvarinError;
};
class RenderError : public SelvarinError {
public:
    using SelvarinError::SelvarinError;
};
// The progress callback has said so.
class Cancelled : public SelvarinError {
public:
    Cancelled() : SelvarinError("cancelled") {}
};

struct Library {
    Library();

    MessageHost host;
    KivRenderer renderer;
    bool hasDrawn = false;
};

// The library for one call from Python: made with the interpreter's lock held, it gives that up and takes the library's
// own, in this order, so that the two never wait for one another. The first use starts the library. While it waits it
// listens for Ctrl-C.
//
// Throws RenderError inside a render's own callback, and in the child of a fork whose parent has drawn: the threads of
// OpenGL are not there.
class LibraryUse {
public:
    LibraryUse();
    ~LibraryUse();
    LibraryUse(const LibraryUse&) = delete;
    LibraryUse& operator=(const LibraryUse&) = delete;

    Library* operator->() const {
        return library;
    }

private:
    void waitForLock();

    std::optional<py::gil_scoped_release> released;
    std::unique_lock<std::timed_mutex> lock;
    Library* library = nullptr;
};

// Starts the library now, so that the next call need not: the first mesh of a scene, say, as loading the shaders takes
// about as long as reading a million triangles. Throws as LibraryUse does, but not where the library has started.
void startLibrary();

// To be called in the child of a fork.
void afterFork();

#endif
