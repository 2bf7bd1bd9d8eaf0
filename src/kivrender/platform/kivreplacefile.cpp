#include "kivrender/platform/kivreplacefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivtext.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

std::optional<std::string> readAll(int fd, std::size_t maxSize) {
    std::string bytes;
    char block[16384];
    for (;;) {
        const ssize_t count = read(fd, block, sizeof block);
        if (count == 0) {
            return bytes;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        bytes.append(block, static_cast<std::size_t>(count));
        if (bytes.size() > maxSize) {
            return std::nullopt;
        }
    }
}

std::optional<std::string> readPath(const std::string& path, std::size_t maxSize) {
    // Without waiting: a pipe under the name of a file must not hang the program.
    const KivDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (file.get() < 0 || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    return readAll(file.get(), maxSize);
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return fsync(fd) == 0;
}

// Where the file of that name really stands; empty if its links lead nowhere.
std::string resolve(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
        return path;
    }
    char* real = realpath(path.c_str(), nullptr);
    std::string target = real != nullptr ? real : "";
    std::free(real);
    return target;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A new file beside the given one, under a name that nobody uses.
int createBeside(const std::string& path, std::string& name) {
    static std::atomic<unsigned int> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = path + "." + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".tmp";
        const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) {
            return fd;
        }
    }
    return -1;
}

// old: what stands there now, null if nothing does.
bool replace(const std::string& path, const struct stat* old, std::string_view bytes) {
    std::string name;
    KivDescriptor file(createBeside(path, name));
    if (file.get() < 0) {
        return false;
    }
    bool good = writeAll(file.get(), bytes);
    if (good && old != nullptr) {
        // Ownership can be kept by root alone, and there is nothing better to do when it can't.
        [[maybe_unused]] const int owned = fchown(file.get(), old->st_uid, old->st_gid);
        good = fchmod(file.get(), old->st_mode & 07777) == 0;
    }
    good = file.closeNow() && good;
    if (!good || rename(name.c_str(), path.c_str()) != 0) {
        unlink(name.c_str());
        return false;
    }
    return true;
}

} // namespace

std::optional<std::string> kivReadFile(const std::wstring& path, std::size_t maxSize) {
    return readPath(kivToUtf8(path), maxSize);
}

bool kivReplaceFile(const std::wstring& path, std::size_t maxSize, const std::function<bool(std::string&)>& edit) {
    const std::string target = resolve(kivToUtf8(path));
    if (target.empty()) {
        return false;
    }
    // The folder carries the lock, not the file, since the file is another one after each change. A folder that can't
    // be opened has no other writer that could.
    const std::string folder = folderOf(target);
    const KivDescriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (lock.get() >= 0 && flock(lock.get(), LOCK_EX) != 0 && errno == EINTR) {
    }

    struct stat info {};
    const bool exists = stat(target.c_str(), &info) == 0;
    std::string bytes;
    if (exists) {
        auto present = access(target.c_str(), W_OK) == 0 ? readPath(target, maxSize) : std::nullopt;
        if (!present) {
            return false;
        }
        bytes = std::move(*present);
    }
    const std::string before = bytes;
    if (!edit(bytes)) {
        return false;
    }
    if (exists && bytes == before) {
        return true;
    }
    if (!replace(target, exists ? &info : nullptr, bytes)) {
        return false;
    }
    if (lock.get() >= 0) {
        // The new name is on its way to the disk whatever this answers: some file systems can't be asked for it.
        fsync(lock.get());
    }
    return true;
}

bool kivCreateFile(const std::wstring& path, const std::string& bytes) {
    const std::string name = kivToUtf8(path);
    KivDescriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file.get() < 0) {
        return false;
    }
    const bool written = writeAll(file.get(), bytes);
    if (!file.closeNow() || !written) {
        unlink(name.c_str());
        return false;
    }
    return true;
}

bool kivHasRoom(const std::wstring& folder, std::size_t bytes) {
    std::string name;
    const KivDescriptor file(createBeside(kivToUtf8(folder) + "/.room", name));
    if (file.get() < 0) {
        return false;
    }
    unlink(name.c_str()); // the space is given back when the file is closed
    return posix_fallocate(file.get(), 0, static_cast<off_t>(bytes)) == 0;
}

bool kivFileExists(const std::wstring& path) {
    struct stat info {};
    return lstat(kivToUtf8(path).c_str(), &info) == 0;
}
