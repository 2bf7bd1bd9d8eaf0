#include "kivrender/platform/kivwholefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <cerrno>
#include <fcntl.h>
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

bool kivCanWriteFile(const std::wstring& path) {
    KivNewFile file(path);
    return file.open() || fail(errno);
}
