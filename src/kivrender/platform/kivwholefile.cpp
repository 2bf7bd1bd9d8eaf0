#include "kivrender/platform/kivwholefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool fail(int error) {
    kivSetLastError(kivErrorFromErrno(error));
    return false;
}

bool copyAll(int from, int to) {
    std::uint8_t block[1 << 16];
    for (;;) {
        const ssize_t count = read(from, block, sizeof block);
        if (count == 0) {
            return true;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (!kivWriteAll(to, block, static_cast<std::size_t>(count))) {
            return false;
        }
    }
}

// The new file has what the old one had. Another's file can be kept his by root alone.
void keepPermissions(const std::string& file, const struct stat& old) {
    [[maybe_unused]] const int owned = chown(file.c_str(), old.st_uid, old.st_gid);
    [[maybe_unused]] const int changed = chmod(file.c_str(), old.st_mode & 07777);
}

} // namespace

bool kivWriteWholeFile(const std::wstring& path, std::span<const std::uint8_t> bytes, bool isForced) {
    KivNewFile file(path);
    return (file.open() && kivWriteAll(file.descriptor(), bytes.data(), bytes.size()) &&
            (!isForced || fsync(file.descriptor()) == 0) && file.finish()) ||
           fail(errno);
}

bool kivCopyWholeFile(const std::wstring& from, const std::wstring& to) {
    const KivDescriptor source(open(kivToUtf8(from).c_str(), O_RDONLY | O_CLOEXEC));
    if (source.get() < 0) {
        return fail(errno);
    }
    KivNewFile file(to);
    return (file.open() && copyAll(source.get(), file.descriptor()) && file.finish()) || fail(errno);
}

std::wstring kivBehindLinks(const std::wstring& path) {
    const std::string name = kivToUtf8(path);
    struct stat info {};
    if (lstat(name.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
        return path;
    }
    char* const real = realpath(name.c_str(), nullptr);
    std::wstring target = real != nullptr ? kivFromUtf8(real) : L"";
    std::free(real);
    return target;
}

bool kivMoveWholeFile(const std::wstring& from, const std::wstring& to) {
    const std::string source = kivToUtf8(from);
    const std::string target = kivToUtf8(kivBehindLinks(to));
    if (target.empty()) {
        return fail(ENOENT);
    }
    struct stat old {};
    const bool exists = stat(target.c_str(), &old) == 0;
    if (!exists || S_ISREG(old.st_mode)) {
        if (exists) {
            keepPermissions(source, old);
        }
        if (rename(source.c_str(), target.c_str()) == 0) {
            return true;
        }
        if (errno != EXDEV) {
            return fail(errno);
        }
    }
    if (!kivCopyWholeFile(from, kivFromUtf8(target))) {
        return false;
    }
    unlink(source.c_str());
    return true;
}

bool kivCanWriteFile(const std::wstring& path) {
    KivNewFile file(path);
    return file.open() || fail(errno);
}
