#include "kivrender/platform/kivprintfile.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t headSize = 4096;
constexpr std::size_t bufferSize = 65536;

// Devices and pipes stay.
void removeFile(const std::string& path) {
    struct stat state = {};
    if (lstat(path.c_str(), &state) == 0 && S_ISREG(state.st_mode)) {
        unlink(path.c_str());
    }
}

} // namespace

KivPrintFile::KivPrintFile(const std::wstring& path) : name(path) {
    cookie_io_functions_t functions = {};
    functions.write = &KivPrintFile::writeCookie;
    file = fopencookie(this, "w", functions);
    if (file != nullptr) {
        std::setvbuf(file, nullptr, _IOFBF, bufferSize);
    }
}

KivPrintFile::~KivPrintFile() {
    if (file != nullptr) {
        stop();
        close();
    }
}

void KivPrintFile::onPrint(std::function<void(std::string&)> lineChanger,
                           std::function<bool(std::string_view)> blockWatcher) {
    changeLines = std::move(lineChanger);
    watchBlock = std::move(blockWatcher);
}

void KivPrintFile::stop() {
    isStopped = true;
}

ssize_t KivPrintFile::writeCookie(void* object, const char* bytes, std::size_t count) {
    auto* const printed = static_cast<KivPrintFile*>(object);
    if (!printed->isStopped && printed->error == 0 && printed->write({bytes, count}) && printed->watchBlock &&
        !printed->watchBlock({bytes, count})) {
        printed->isStopped = true;
    }
    return static_cast<ssize_t>(count);
}

bool KivPrintFile::write(std::string_view bytes) {
    held.append(bytes);
    if (!isHeadWritten && held.size() < headSize) {
        return true;
    }
    const std::size_t end = held.rfind('\n');
    return end == std::string::npos || flush(end + 1);
}

bool KivPrintFile::flush(std::size_t count) {
    isHeadWritten = true;
    std::string lines = held.substr(0, count);
    held.erase(0, count);
    if (changeLines) {
        changeLines(lines);
    }
    return put(lines);
}

bool KivPrintFile::put(std::string_view bytes) {
    if (descriptor < 0) {
        descriptor = open(kivToUtf8(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    }
    while (descriptor >= 0 && !bytes.empty()) {
        const ssize_t done = ::write(descriptor, bytes.data(), bytes.size());
        if (done < 0 && errno != EINTR) {
            break;
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(done, 0)));
    }
    if (descriptor < 0 || !bytes.empty()) {
        error = errno;
        return false;
    }
    return true;
}

KivPrintFile::Outcome KivPrintFile::close() {
    if (file != nullptr) {
        std::fclose(std::exchange(file, nullptr));
        if (!isStopped && error == 0) {
            flush(held.size());
        }
    }
    if (descriptor >= 0 && ::close(std::exchange(descriptor, -1)) != 0 && error == 0) {
        error = errno;
    }
    if (!isStopped && error == 0) {
        return Outcome::written;
    }
    removeFile(kivToUtf8(name));
    if (error != 0) {
        kivSetLastError(kivErrorFromErrno(error));
        return Outcome::failed;
    }
    return Outcome::stopped;
}

void KivPrintFile::remove() {
    removeFile(kivToUtf8(name));
}
