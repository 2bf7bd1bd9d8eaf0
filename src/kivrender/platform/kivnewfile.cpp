#include "kivrender/platform/kivnewfile.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivworkarounds.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t usualMode = 0666; // less what the user's mask takes
constexpr int attempts = 100;

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

// By which the system finds an open file that has no name.
std::string placeOf(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

KivNewFile::KivNewFile(const std::wstring& path) : target(kivToUtf8(path)) {}

KivNewFile::~KivNewFile() {
    if (!name.empty()) {
        unlink(name.c_str());
    }
}

bool KivNewFile::open() {
    bool isNamed = true;
    if (target.empty()) {
        errno = ENOENT;
        return false;
    }
    if (!followLinks(&isNamed)) {
        return false;
    }
    struct stat info {};
    if (stat(target.c_str(), &info) == 0) {
        old = info;
    } else if (errno != ENOENT) {
        return false;
    }
    if (old && S_ISDIR(old->st_mode)) {
        errno = EISDIR;
        return false;
    }
    if (old && access(target.c_str(), W_OK) != 0) {
        return false;
    }
    if (old && (!S_ISREG(old->st_mode) || !isNamed)) {
        file.emplace(::open(target.c_str(), O_WRONLY | O_CLOEXEC));
        isInPlace = S_ISREG(old->st_mode);
        return file->get() >= 0;
    }
    return create();
}

// A file that lost its name, or never had one, is still reached through the links in /proc: they tell no path that
// leads to it. It is then written itself.
bool KivNewFile::followLinks(bool* isNamed) {
    struct stat info {};
    if (lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
        return true;
    }
    char* real = realpath(target.c_str(), nullptr);
    struct stat there {};
    struct stat resolved {};
    *isNamed = real != nullptr && stat(real, &resolved) == 0 && stat(target.c_str(), &there) == 0 &&
               isSameFile(there, resolved);
    if (*isNamed) {
        target = real;
    }
    std::free(real);
    return *isNamed || stat(target.c_str(), &there) == 0;
}

bool KivNewFile::create() {
    const std::string folder = folderOf(target);
    if (kivWorkaround("unnamed-files")) {
        file.emplace(::open(folder.empty() ? "." : folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, usualMode));
        isUnnamed = file->get() >= 0 && access(placeOf(file->get()).c_str(), F_OK) == 0;
    }
    return (isUnnamed || createNamed()) && keepPermissions();
}

bool KivNewFile::createNamed() {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::string candidate = freeName();
        file.emplace(::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, usualMode));
        if (file->get() >= 0) {
            name = std::move(candidate);
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

// The name must stay below the longest that a folder takes, whatever the target is called.
std::string KivNewFile::freeName() const {
    static std::atomic<unsigned int> counter{0};
    return folderOf(target) + ".selvarin-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".tmp";
}

bool KivNewFile::keepPermissions() const {
    if (!old) {
        return true;
    }
    // Another's file can be kept his by root alone, and there is nothing better to do when it can't.
    [[maybe_unused]] const int owned = fchown(file->get(), old->st_uid, old->st_gid);
    return fchmod(file->get(), old->st_mode & 07777) == 0;
}

bool KivNewFile::finish(bool isUnique) {
    if (isInPlace && ftruncate(file->get(), lseek(file->get(), 0, SEEK_CUR)) != 0) {
        return false;
    }
    if (isUnnamed && !giveName(isUnique)) {
        return false;
    }
    if (!file->closeNow()) {
        return false;
    }
    if (!name.empty() && name != target && !rename(isUnique)) {
        return false;
    }
    name.clear();
    return true;
}

bool KivNewFile::rename(bool isUnique) const {
    if (!isUnique) {
        return ::rename(name.c_str(), target.c_str()) == 0;
    }
    if (renameat2(AT_FDCWD, name.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Not every file system can do that in one call.
    return errno != EEXIST && link(name.c_str(), target.c_str()) == 0 && unlink(name.c_str()) == 0;
}

// A name that is free is taken at once; a file that is replaced needs one more on the way, for as long as two calls
// take.
bool KivNewFile::giveName(bool isUnique) {
    const std::string place = placeOf(file->get());
    const auto takes = [&place](const std::string& path) {
        return linkat(AT_FDCWD, place.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (takes(target)) {
        name = target; // until all is known to be kept
        return true;
    }
    for (int attempt = 0; !isUnique && attempt < attempts && errno == EEXIST; ++attempt) {
        std::string candidate = freeName();
        if (takes(candidate)) {
            name = std::move(candidate);
            return true;
        }
    }
    return false;
}

bool kivWriteAll(int descriptor, const void* bytes, std::size_t count) {
    const auto* at = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t done = write(descriptor, at, count);
        if (done < 0 && errno != EINTR) {
            return false;
        }
        const auto written = static_cast<std::size_t>(done > 0 ? done : 0);
        at += written;
        count -= written;
    }
    return true;
}
