#include "kivrender/platform/kivreplacefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

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

bool writeSafely(int fd, std::string_view bytes) {
    return kivWriteAll(fd, bytes.data(), bytes.size()) && fsync(fd) == 0;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool replace(const std::wstring& path, std::string_view bytes) {
    KivNewFile file(path);
    return file.open() && writeSafely(file.descriptor(), bytes) && file.finish();
}

} // namespace

std::optional<std::string> kivReadFile(const std::wstring& path, std::size_t maxSize) {
    return readPath(kivToUtf8(path), maxSize);
}

bool kivReplaceFile(const std::wstring& path, std::size_t maxSize, const std::function<bool(std::string&)>& edit) {
    const std::string target = kivToUtf8(kivBehindLinks(path));
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
    if (!replace(path, bytes)) {
        return false;
    }
    if (lock.get() >= 0) {
        // The new name is on its way to the disk whatever this answers: some file systems can't be asked for it.
        fsync(lock.get());
    }
    return true;
}

bool kivCreateFile(const std::wstring& path, const std::string& bytes) {
    if (kivFileExists(path)) {
        errno = EEXIST;
        return false;
    }
    KivNewFile file(path);
    return file.open() && writeSafely(file.descriptor(), bytes) && file.finish(true);
}

bool kivHasRoom(const std::wstring& folder, std::size_t bytes) {
    KivNewFile file(folder + L"/.selvarin-room"); // which it never becomes: the space is given back at once
    return file.open() && posix_fallocate(file.descriptor(), 0, static_cast<off_t>(bytes)) == 0;
}

bool kivFileExists(const std::wstring& path) {
    struct stat info {};
    return lstat(kivToUtf8(path).c_str(), &info) == 0;
}
