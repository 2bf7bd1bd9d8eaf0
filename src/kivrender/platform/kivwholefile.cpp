#include "kivrender/platform/kivwholefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

bool fail(int error) {
    kivSetLastError(kivErrorFromErrno(error));
    return false;
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
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
        if (!writeAll(to, {block, static_cast<std::size_t>(count)})) {
            return false;
        }
    }
}

// A file that is being written: under a name of its own beside the target until it is whole.
class NewFile {
public:
    explicit NewFile(const std::wstring& path) : target(kivToUtf8(path)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (!name.empty()) {
            unlink(name.c_str());
        }
    }

    // False with errno set.
    bool open() {
        if (target.empty()) {
            errno = ENOENT;
            return false;
        }
        if (!followLinks()) {
            return false;
        }
        struct stat info {};
        const bool exists = stat(target.c_str(), &info) == 0;
        if (!exists && errno != ENOENT) {
            return false;
        }
        if (exists && S_ISDIR(info.st_mode)) {
            errno = EISDIR;
            return false;
        }
        if (exists && access(target.c_str(), W_OK) != 0) {
            return false;
        }
        if (exists && !S_ISREG(info.st_mode)) {
            file.emplace(::open(target.c_str(), O_WRONLY | O_CLOEXEC));
            return file->get() >= 0;
        }
        return create(exists ? &info : nullptr);
    }

    int descriptor() const {
        return file->get();
    }

    // Gives the file its name. False with errno set.
    bool finish() {
        if (!file->closeNow()) {
            return false;
        }
        if (!name.empty() && rename(name.c_str(), target.c_str()) != 0) {
            return false;
        }
        name.clear();
        return true;
    }

private:
    // A link stays a link: what it leads to is replaced.
    bool followLinks() {
        struct stat info {};
        if (lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
            return true;
        }
        char* real = realpath(target.c_str(), nullptr);
        if (real == nullptr) {
            return false;
        }
        target = real;
        std::free(real);
        return true;
    }

    bool create(const struct stat* old) {
        static std::atomic<unsigned int> counter{0};
        // The name must stay below the longest that a folder takes, whatever the target is called.
        const std::size_t slash = target.find_last_of('/');
        const std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
        for (int attempt = 0; attempt < 100; ++attempt) {
            std::string candidate =
                folder + ".selvarin-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".tmp";
            file.emplace(::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            if (file->get() >= 0) {
                name = std::move(candidate);
                return old == nullptr || fchmod(file->get(), old->st_mode & 07777) == 0;
            }
            if (errno != EEXIST) {
                return false;
            }
        }
        return false;
    }

    std::string target;
    std::string name; // while it is not finished; empty when the target itself is written
    std::optional<KivDescriptor> file;
};

} // namespace

bool kivWriteWholeFile(const std::wstring& path, std::span<const std::uint8_t> bytes) {
    NewFile file(path);
    return (file.open() && writeAll(file.descriptor(), bytes) && file.finish()) || fail(errno);
}

bool kivCopyWholeFile(const std::wstring& from, const std::wstring& to) {
    const KivDescriptor source(open(kivToUtf8(from).c_str(), O_RDONLY | O_CLOEXEC));
    if (source.get() < 0) {
        return fail(errno);
    }
    NewFile file(to);
    return (file.open() && copyAll(source.get(), file.descriptor()) && file.finish()) || fail(errno);
}

bool kivCanWriteFile(const std::wstring& path) {
    NewFile file(path);
    return file.open() || fail(errno);
}
