#include "kivrender/platform/kivpixelmemory.h"

#include "kivrender/platform/kivhandletable.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtemporaryfile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivworkarounds.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A file or a section. Exactly one of the two members is set.
struct SystemObject {
    SystemObject() = default;
    SystemObject(const SystemObject&) = delete;
    SystemObject& operator=(const SystemObject&) = delete;
    ~SystemObject() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }

    int descriptor = -1;
    std::shared_ptr<KivPixelMemory> memory;
};

using SystemTable = KivHandleTable<SystemObject, HANDLE>;

// Never destroyed: surfaces that are globals of the host are released after the library's own globals.
SystemTable& systemTable() {
    static SystemTable* const table = new SystemTable;
    return *table;
}

// Fails with EFBIG in place of the signal that ends the process by default, where a limit on file sizes is set.
class FileSizeSignalBlock {
public:
    FileSizeSignalBlock() {
        sigemptyset(&signals);
        sigaddset(&signals, SIGXFSZ);
        sigset_t pending;
        sigpending(&pending);
        wasPending = sigismember(&pending, SIGXFSZ) == 1;
        pthread_sigmask(SIG_BLOCK, &signals, &before);
    }
    FileSizeSignalBlock(const FileSizeSignalBlock&) = delete;
    FileSizeSignalBlock& operator=(const FileSizeSignalBlock&) = delete;
    ~FileSizeSignalBlock() {
        if (!wasPending) {
            const timespec now{};
            while (sigtimedwait(&signals, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

private:
    sigset_t signals{};
    sigset_t before{};
    bool wasPending = false;
};

// 0, or the errno value of the failure.
int reserveSpace(int descriptor, std::uint32_t bytes) {
    const FileSizeSignalBlock block;
    int result = 0;
    do {
        // Not ftruncate alone: a sparse file would end the process with SIGBUS on a full disk, in the middle of a
        // drawing.
        result = posix_fallocate(descriptor, 0, static_cast<off_t>(bytes));
    } while (result == EINTR);
    return result;
}

} // namespace

std::uintptr_t kivNextHandleNumber() {
    // Multiples of 16, as addresses would be; far from null and from the invalid value.
    static std::atomic<std::uintptr_t> last{0x10000};
    return last.fetch_add(16) + 16;
}

HANDLE kivInvalidHandle() {
    return reinterpret_cast<HANDLE>(~std::uintptr_t{0});
}

HANDLE kivCreateTemporaryFile(const std::wstring& folder, const std::wstring& prefix, std::wstring* name) {
    std::string path;
    const int descriptor = kivOpenTemporaryFile(folder, prefix, &path);
    if (descriptor < 0) {
        return nullptr;
    }
    unlink(path.c_str());
    const auto object = std::make_shared<SystemObject>();
    object->descriptor = descriptor;
    *name = kivFromUtf8(path);
    return systemTable().add(object);
}

HANDLE kivCreateSection(HANDLE file, std::uint32_t bytes) {
    if (bytes == 0) {
        kivSetLastError(kivErrorInvalidParameter);
        return nullptr;
    }
    int descriptor = -1;
    std::shared_ptr<SystemObject> backing;
    if (file != kivInvalidHandle()) {
        backing = systemTable().find(file);
        if (backing == nullptr || backing->descriptor < 0) {
            kivSetLastError(kivErrorInvalidHandle);
            return nullptr;
        }
        descriptor = backing->descriptor;
        if (const int error = reserveSpace(descriptor, bytes); error != 0) {
            kivSetLastError(kivErrorFromErrno(error));
            return nullptr;
        }
    }
    const auto section = std::make_shared<SystemObject>();
    section->memory = KivPixelMemory::map(descriptor, bytes);
    return section->memory != nullptr ? systemTable().add(section) : nullptr;
}

HANDLE kivShareHandle(HANDLE handle) {
    if (handle == nullptr || handle == kivInvalidHandle()) {
        return handle;
    }
    return systemTable().share(handle) ? handle : nullptr;
}

bool kivCloseHandle(HANDLE handle) {
    return systemTable().release(handle);
}

std::shared_ptr<KivPixelMemory> KivPixelMemory::map(int descriptor, std::size_t bytes) {
    const int flags = descriptor >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS;
    void* const start = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, flags, descriptor, 0);
    if (start == MAP_FAILED) {
        kivSetLastError(kivErrorFromErrno(errno));
        return nullptr;
    }
    if (descriptor < 0 && kivWorkaround("huge-pages")) {
        // A picture of 79 MB costs 19 thousand page faults in small pages, more than its read-back. The answer does
        // not matter: without large pages all works as before.
        static_cast<void>(madvise(start, bytes, MADV_HUGEPAGE));
    }
    return std::shared_ptr<KivPixelMemory>(new KivPixelMemory(static_cast<std::uint8_t*>(start), bytes));
}

KivPixelMemory::~KivPixelMemory() {
    munmap(address, bytes);
}

std::shared_ptr<KivPixelMemory> kivSectionMemory(HANDLE section) {
    const std::shared_ptr<SystemObject> object = systemTable().find(section);
    return object != nullptr ? object->memory : nullptr;
}
