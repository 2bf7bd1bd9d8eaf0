#include "import/reader/readerprogram.h"

#include "import/bytestream.h"
#include "import/partsstream.h"
#include "import/reader/processlimits.h"
#include "import/reader/texturepicture.h"
#include "import/readerprotocol.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include <unistd.h>

namespace kivimport {
namespace {

constexpr int channel = 3;
constexpr std::size_t bufferSize = 1 << 16;

// Who asked is gone, and with it the reason to be here.
[[noreturn]] void endUnheard() {
    _exit(readerDone);
}

// The socket, from this side. Bytes are written when the buffer is full or flush asks for it.
class Channel : public ByteSource, public ByteSink {
public:
    void read(void* data, std::size_t size) override {
        char* to = static_cast<char*>(data);
        while (size > 0) {
            const ssize_t got = ::read(channel, to, size);
            if (got > 0) {
                to += got;
                size -= static_cast<std::size_t>(got);
            } else if (got == 0 || errno != EINTR) {
                endUnheard();
            }
        }
    }
    void write(const void* data, std::size_t size) override {
        if (used + size > bufferSize) {
            flush();
        }
        if (size >= bufferSize) {
            send(static_cast<const char*>(data), size);
        } else if (size > 0) {
            std::memcpy(buffer + used, data, size);
            used += size;
        }
    }
    void flush() {
        send(buffer, used);
        used = 0;
    }

    void message(ReaderMessage kind) {
        write(&kind, sizeof kind);
    }
    template <class T> void message(ReaderMessage kind, T value) {
        message(kind);
        write(&value, sizeof value);
        flush();
    }
    void text(ReaderMessage kind, const std::string& content) {
        message(kind);
        writeText(*this, content);
        flush();
    }

private:
    static void send(const char* data, std::size_t size) {
        while (size > 0) {
            const ssize_t sent = ::write(channel, data, size);
            if (sent >= 0) {
                data += sent;
                size -= static_cast<std::size_t>(sent);
            } else if (errno != EINTR) {
                endUnheard();
            }
        }
    }

    char buffer[bufferSize];
    std::size_t used = 0;
};

// Tells the importer, and lets the memory grow with the files.
class ChannelReport : public ReaderReport {
public:
    ChannelReport(Channel& toImporter, const ProcessLimits& processLimits)
        : importer(toImporter), limits(processLimits) {
        grow();
    }

    void opened(std::uint64_t bytes) override {
        constexpr std::uint64_t most = std::uint64_t{1} << 56;
        memory = std::min(memory + std::min(bytes, most / readerMemoryPerByte) * readerMemoryPerByte, most);
        grow();
    }

private:
    void tell(double whole) override {
        importer.message(ReaderMessage::progress, whole);
    }
    void grow() {
        limits.setMemory(memory);
        importer.message(ReaderMessage::memory, memory);
    }

    Channel& importer;
    const ProcessLimits& limits;
    std::uint64_t memory = readerMemoryAtStart;
};

void readTextures(const ReaderRequest& request, Channel& importer, ReaderReport& report) {
    std::vector<Picture> pictures;
    std::uint64_t pixels = 0;
    for (const std::string& path : request.textures) {
        report.done(static_cast<double>(pictures.size()) / static_cast<double>(request.textures.size()));
        std::error_code problem;
        const std::uintmax_t size = std::filesystem::file_size(path, problem);
        report.opened(problem ? 0 : size);
        limitPixels(pictures.emplace_back(readPictureFile(path)), pixels);
    }
    importer.message(ReaderMessage::pictures);
    writePictures(importer, pictures);
    importer.flush();
}

void answer(const ReaderRequest& request, Channel& importer, FindReader findReader) {
    const ReadModel read = request.kind == ReaderRequest::Kind::model ? findReader(request.path) : nullptr;
    const ProcessLimits limits(request.readable, request.maxMemory, request.maxSeconds);
    ChannelReport report(importer, limits);
    if (read == nullptr) {
        readTextures(request, importer, report);
        return;
    }
    ModelParts parts = read(request, report);
    importer.message(ReaderMessage::parts);
    writeParts(importer, parts);
    importer.flush();
    // Not one of the million little pieces of a large model has to be freed for a process that ends.
    _exit(readerDone);
}

} // namespace

int runReaderProgram(int argc, char** argv, FindReader findReader, DescribeReaders describe) {
    if (argc != 2 || !endWithParent(std::atoi(argv[1]))) {
        return readerWrongUse;
    }
    static Channel importer;
    importer.message(ReaderMessage::hello, readerGreeting);
    const ReaderRequest request = readRequest(importer);
    try {
        if (request.kind == ReaderRequest::Kind::describe) {
            importer.text(ReaderMessage::text, describe());
        } else {
            answer(request, importer, findReader);
        }
    } catch (const std::bad_alloc&) {
        _exit(readerOutOfMemory);
    } catch (const std::exception& error) {
        importer.text(ReaderMessage::failure, error.what());
    }
    _exit(readerDone);
}

} // namespace kivimport
