#include "kivrender/platform/kivtemporaryfile.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivworkarounds.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string_view>
#include <unistd.h>

namespace {

struct HeldFile {
    int descriptor = -1; // below 0 for one that has a name in a folder
    int owners = 1;
};

struct HeldFiles {
    std::mutex mutex;
    std::map<std::wstring, HeldFile> byPath;
};

// Never destroyed: surfaces that are globals of the host are released after the library's own globals.
HeldFiles& heldFiles() {
    static HeldFiles* const files = new HeldFiles;
    return *files;
}

std::string randomName() {
    static std::atomic<std::uint64_t> counter{0};
    // Uniqueness comes from the exclusive creation of the file; the mixing only makes a second try rare.
    std::uint64_t value = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    value ^= static_cast<std::uint64_t>(getpid()) << 32U;
    value += counter.fetch_add(1) * 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBULL;
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (unsigned int i = 0; i < 8; ++i) {
        text += digits[(value >> (4 * i)) & 15U];
    }
    return text;
}

// An open file without a name, or -1.
int openUnnamed(const std::wstring& folder) {
    return kivWorkaround("unnamed-files")
               ? open(kivToUtf8(folder).c_str(), O_RDWR | O_TMPFILE | O_EXCL | O_CLOEXEC, 0600)
               : -1;
}

} // namespace

std::wstring kivTemporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    std::wstring text = kivFromUtf8(folder != nullptr && *folder != '\0' ? folder : "/tmp");
    while (text.size() > 1 && text.back() == L'/') {
        text.pop_back();
    }
    return text;
}

int kivOpenTemporaryFile(const std::wstring& folder, const std::wstring& prefix, std::string* path) {
    constexpr int tries = 100;
    std::string base = kivToUtf8(folder);
    if (base.empty()) {
        kivSetLastError(kivErrorPathNotFound);
        return -1;
    }
    if (base.back() != '/') {
        base += '/';
    }
    base += kivToUtf8(prefix);
    for (int i = 0; i < tries; ++i) {
        *path = base + randomName() + ".tmp";
        const int descriptor = open(path->c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor >= 0) {
            return descriptor;
        }
        if (errno != EEXIST && errno != EINTR) {
            kivSetLastError(kivErrorFromErrno(errno));
            return -1;
        }
    }
    kivSetLastError(kivErrorAlreadyExists);
    return -1;
}

std::wstring kivHoldTemporaryFile(const std::wstring& folder, const std::wstring& prefix) {
    HeldFile held;
    std::string path;
    held.descriptor = openUnnamed(folder);
    if (held.descriptor >= 0) {
        // By the number of the process, as programs that the host starts may be given the path.
        path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(held.descriptor);
        if (access(path.c_str(), R_OK | W_OK) != 0) {
            close(held.descriptor);
            held.descriptor = -1;
        }
    }
    if (held.descriptor < 0) {
        const int named = kivOpenTemporaryFile(folder, prefix, &path);
        if (named < 0) {
            return {};
        }
        close(named);
    }
    std::wstring name = kivFromUtf8(path);
    HeldFiles& all = heldFiles();
    const std::lock_guard lock(all.mutex);
    all.byPath[name] = held;
    return name;
}

void kivShareTemporaryFile(const std::wstring& path) {
    HeldFiles& all = heldFiles();
    const std::lock_guard lock(all.mutex);
    if (const auto found = all.byPath.find(path); found != all.byPath.end()) {
        ++found->second.owners;
    }
}

void kivReleaseTemporaryFile(const std::wstring& path) {
    HeldFiles& all = heldFiles();
    const std::lock_guard lock(all.mutex);
    const auto found = all.byPath.find(path);
    if (found == all.byPath.end() || --found->second.owners > 0) {
        return;
    }
    if (found->second.descriptor >= 0) {
        close(found->second.descriptor);
    } else {
        unlink(kivToUtf8(path).c_str());
    }
    all.byPath.erase(found);
}

bool kivRemoveFile(const std::wstring& path) {
    if (unlink(kivToUtf8(path).c_str()) == 0) {
        return true;
    }
    kivSetLastError(kivErrorFromErrno(errno));
    return false;
}
