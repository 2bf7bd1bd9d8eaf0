#include "failcalls.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

std::atomic<int> calls{0};
std::atomic<int> failing{-1}; // below 0: not yet asked of the environment

// Whether this call is the one.
bool fails() {
    int at = failing;
    if (at < 0) {
        const char* const text = std::getenv("SELVARIN_FAIL_AT");
        at = text != nullptr ? std::atoi(text) : 0;
        failing = at;
    }
    if (++calls != at) {
        return false;
    }
    errno = ENOSPC;
    return true;
}

// What goes to a terminal, a pipe or a test's log is not a file of the user's.
bool isFile(int descriptor) {
    struct stat info = {};
    return descriptor > 2 && fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode);
}

template <class Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool isForWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) void failCallsAt(int n) {
    failing = n;
    calls = 0;
}

__attribute__((visibility("default"))) int countedCalls() {
    return calls;
}

__attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
    static auto* const real = next<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return isForWriting(flags) && fails() ? -1 : real(path, flags, mode);
}

__attribute__((visibility("default"))) int open64(const char* path, int flags, ...) {
    static auto* const real = next<int(const char*, int, ...)>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return isForWriting(flags) && fails() ? -1 : real(path, flags, mode);
}

__attribute__((visibility("default"))) ssize_t write(int descriptor, const void* bytes, size_t count) {
    static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
    return isFile(descriptor) && fails() ? -1 : real(descriptor, bytes, count);
}

__attribute__((visibility("default"))) ssize_t writev(int descriptor, const iovec* parts, int count) {
    static auto* const real = next<ssize_t(int, const iovec*, int)>("writev");
    return isFile(descriptor) && fails() ? -1 : real(descriptor, parts, count);
}

__attribute__((visibility("default"))) int fsync(int descriptor) {
    static auto* const real = next<int(int)>("fsync");
    return isFile(descriptor) && fails() ? -1 : real(descriptor);
}

__attribute__((visibility("default"))) int ftruncate(int descriptor, off_t size) noexcept {
    static auto* const real = next<int(int, off_t)>("ftruncate");
    return isFile(descriptor) && fails() ? -1 : real(descriptor, size);
}

__attribute__((visibility("default"))) int posix_fallocate(int descriptor, off_t from, off_t size) {
    static auto* const real = next<int(int, off_t, off_t)>("posix_fallocate");
    return fails() ? ENOSPC : real(descriptor, from, size);
}

__attribute__((visibility("default"))) int fchmod(int descriptor, mode_t mode) noexcept {
    static auto* const real = next<int(int, mode_t)>("fchmod");
    return fails() ? -1 : real(descriptor, mode);
}

__attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
    static auto* const real = next<int(const char*, const char*)>("rename");
    return fails() ? -1 : real(from, to);
}

__attribute__((visibility("default"))) int linkat(int fromFolder, const char* from, int toFolder, const char* to,
                                                  int flags) noexcept {
    static auto* const real = next<int(int, const char*, int, const char*, int)>("linkat");
    return fails() ? -1 : real(fromFolder, from, toFolder, to, flags);
}

__attribute__((visibility("default"))) int close(int descriptor) {
    static auto* const real = next<int(int)>("close");
    // A failed close closes, too.
    const bool isFailing = isFile(descriptor) && (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY && fails();
    const int result = real(descriptor);
    if (isFailing) {
        errno = ENOSPC;
        return -1;
    }
    return result;
}

} // extern "C"
