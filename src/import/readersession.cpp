#include "import/readersession.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kivimport {
namespace {

// The reader's end of the socket is closed.
class ReaderGone {};

constexpr std::size_t bufferSize = 1 << 16;
constexpr int watchMilliseconds = 20;
constexpr int endMilliseconds = 2000;
// What the reader's libraries and code occupy.
constexpr std::uint64_t ownBytes = std::uint64_t{128} << 20;

// Seconds of processor time without progress. Parsers take a tenth of a second for a megabyte, some tell nothing of
// how far they are.
constexpr double secondsForAnyFile = 10.0;
constexpr double secondsPerByte = 1e-6;
// A reader may wait for a disk or for other programs, but not for ever.
constexpr double waitingFactor = 6.0;
// Processor time in all, against a reader that tells of progress and makes none.
constexpr double totalFactor = 20.0;

double chooseSeconds(const KivModelOptions& options, std::uint64_t bytes) {
    return options.maxReaderSeconds > 0.0 ? options.maxReaderSeconds
                                          : secondsForAnyFile + static_cast<double>(bytes) * secondsPerByte;
}

// Three quarters of the machine: the rest of it goes on working.
std::uint64_t chooseMemory(const KivModelOptions& options) {
    if (options.maxReaderMemory > 0) {
        return options.maxReaderMemory;
    }
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    return pages > 0 && pageSize > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) / 4 * 3
                                     : readerMemoryAtStart;
}

std::string chooseProgram(const KivModelOptions& options) {
    const std::string path = options.readerProgram.empty() ? kivToUtf8(kivLibraryFolder()) + "/" + readerProgramName
                                                           : kivToUtf8(options.readerProgram);
    // A name that goes by the current folder could be anybody's program.
    if (!path.starts_with('/')) {
        throw ImportError("the program that reads such files is not run by a relative path: " + path);
    }
    std::error_code problem;
    if (!std::filesystem::exists(path, problem)) {
        throw ImportError("the program that reads such files is missing: " + path);
    }
    return path;
}

std::string sizeText(std::uint64_t bytes) {
    char text[32];
    const double mega = static_cast<double>(bytes) / 1e6;
    std::snprintf(text, sizeof text, mega < 1000.0 ? "%.0f MB" : "%.1f GB", mega < 1000.0 ? mega : mega / 1000.0);
    return text;
}

// What a reader says is shown to the user: one line, however it comes.
std::string oneLine(std::string text) {
    constexpr std::size_t longest = 500;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text.size() > longest ? text.substr(0, longest) + "..." : text;
}

} // namespace

ReaderSession::ReaderSession(const KivModelOptions& modelOptions, ImportProgress& importProgress, std::uint64_t bytes)
    : progress(importProgress), program(chooseProgram(modelOptions)), memoryAllowed(chooseMemory(modelOptions)),
      memoryNow(std::min(memoryAllowed, readerMemoryAtStart)), secondsAllowed(chooseSeconds(modelOptions, bytes)),
      buffer(bufferSize) {
    std::string why;
    if (!child.start(program, {std::to_string(getpid())}, why)) {
        throw ImportError("the program that reads such files can't be started: " + program + " (" + why + ")");
    }
    timeOfProgress = Clock::now();
    watched = timeOfProgress;
}

template <class Take> auto ReaderSession::ask(ReaderRequest& request, ReaderMessage wanted, Take take) {
    request.maxMemory = memoryAllowed;
    request.maxSeconds = static_cast<std::uint64_t>(std::ceil(secondsAllowed * totalFactor));
    try {
        writeRequest(*this, request);
        awaitAnswer(wanted);
        auto answer = take();
        child.kill(); // it has nothing left to do
        return answer;
    } catch (const ReaderGone&) {
        throw ImportError(whyItEnded());
    } catch (const BrokenStream& error) {
        throw ImportError("its reader handed over something broken (" + oneLine(error.what()) + ")");
    }
}

ModelParts ReaderSession::parts(ReaderRequest request) {
    return ask(request, ReaderMessage::parts, [this] { return readParts(*this, memoryNow); });
}

std::vector<Picture> ReaderSession::pictures(ReaderRequest request) {
    return ask(request, ReaderMessage::pictures, [this] { return readPictures(*this, memoryNow); });
}

std::string ReaderSession::text(ReaderRequest request) {
    return ask(request, ReaderMessage::text, [this] { return oneLine(readText(*this)); });
}

// --- bytes ---

void ReaderSession::write(const void* data, std::size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t sent = send(child.channel(), at, size, MSG_NOSIGNAL);
        if (sent >= 0) {
            at += sent;
            size -= static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            await(POLLOUT);
        } else if (errno != EINTR) {
            return; // it is gone: what it has said before is still to be read
        }
    }
}

void ReaderSession::read(void* data, std::size_t size) {
    char* to = static_cast<char*>(data);
    while (size > 0) {
        if (bufferBegin == bufferEnd && size < bufferSize) {
            bufferBegin = 0;
            bufferEnd = 0; // should taking throw
            bufferEnd = take(buffer.data(), bufferSize);
        }
        std::size_t step = std::min(size, bufferEnd - bufferBegin);
        if (step > 0) {
            std::memcpy(to, buffer.data() + bufferBegin, step);
            bufferBegin += step;
        } else {
            step = take(to, size);
        }
        to += step;
        size -= step;
    }
}

// At least one byte.
std::size_t ReaderSession::take(char* data, std::size_t size) {
    for (;;) {
        const ssize_t got = recv(child.channel(), data, size, 0);
        if (got > 0) {
            return static_cast<std::size_t>(got);
        }
        if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
            throw ReaderGone();
        }
        await(POLLIN);
    }
}

void ReaderSession::await(short events) {
    pollfd waiting{child.channel(), events, 0};
    poll(&waiting, 1, watchMilliseconds);
    progress.report(done);
    if (Clock::now() - watched >= std::chrono::milliseconds(watchMilliseconds)) {
        checkLimits();
        watched = Clock::now();
    }
}

template <class T> T ReaderSession::number() {
    T value{};
    read(&value, sizeof value);
    return value;
}

// --- messages ---

void ReaderSession::awaitAnswer(ReaderMessage wanted) {
    for (;;) {
        const auto message = number<ReaderMessage>();
        if (!hasGreeted) {
            takeGreeting(message);
        } else if (message == ReaderMessage::progress) {
            takeProgress();
        } else if (message == ReaderMessage::memory) {
            memoryNow = std::clamp(number<std::uint64_t>(), memoryNow, std::max(memoryNow, memoryAllowed));
        } else if (message == ReaderMessage::failure) {
            throw ImportError(oneLine(readText(*this)));
        } else if (message == wanted) {
            return;
        } else {
            throw BrokenStream("message " + std::to_string(static_cast<std::uint32_t>(message)));
        }
    }
}

void ReaderSession::takeGreeting(ReaderMessage message) {
    if (message != ReaderMessage::hello) {
        throw BrokenStream("no greeting");
    }
    if (number<std::uint64_t>() != readerGreeting) {
        throw ImportError("the program that reads such files belongs to another version of Selvarin: " + program);
    }
    hasGreeted = true;
}

// Only what goes on counts: a reader in the hands of a file could repeat itself for ever.
void ReaderSession::takeProgress() {
    constexpr double least = 0.001;
    const double value = number<double>();
    if (value >= done + least && value <= 1.0) {
        done = value;
        timeOfProgress = Clock::now();
        processorAtProgress = child.processorSeconds();
    }
    progress.report(done);
}

// --- limits ---

std::string ReaderSession::needsMemory() const {
    return "it needs more memory than " + sizeText(memoryNow);
}

std::string ReaderSession::tookLonger() const {
    char text[64];
    std::snprintf(text, sizeof text, "it took longer than %.3g s without progress", secondsAllowed);
    return text;
}

void ReaderSession::checkLimits() {
    // The reader has a limit of its own, which holds at once; this one holds also where that can't be set.
    if (child.residentBytes() > memoryNow + ownBytes) {
        throw ImportError(needsMemory());
    }
    const double waited = std::chrono::duration<double>(Clock::now() - timeOfProgress).count();
    if (child.processorSeconds() - processorAtProgress > secondsAllowed || waited > secondsAllowed * waitingFactor) {
        throw ImportError(tookLonger());
    }
}

std::string ReaderSession::whyItEnded() {
    progress.report(done); // Ctrl-C in a terminal may have reached the reader first
    const KivChildProcess::Ending end = child.waitOrKill(endMilliseconds);
    const bool crashed = end.kind == KivChildProcess::Ending::Kind::killed;
    if (crashed && end.number == SIGXCPU) {
        return tookLonger();
    }
    if (crashed && end.number == SIGKILL) {
        return "its reader was killed; perhaps the machine has too little memory left";
    }
    const char* const signal = crashed ? sigdescr_np(end.number) : nullptr;
    if (crashed) {
        return std::string("its reader crashed (") + (signal != nullptr ? signal : "unknown signal") + ")";
    }
    const bool exited = end.kind == KivChildProcess::Ending::Kind::exited;
    if (exited && end.number == readerOutOfMemory) {
        return needsMemory();
    }
    const std::string status = exited ? "status " + std::to_string(end.number) : "for an unknown reason";
    if (!hasGreeted) {
        return "the program that reads such files does not work: " + program + " (" + status + ")";
    }
    return "its reader crashed (" + status + ")";
}

} // namespace kivimport
