// One run of the program that reads foreign files: started, asked, watched, and ended.
#ifndef IMPORT_READERSESSION_H
#define IMPORT_READERSESSION_H

#include "import/bytestream.h"
#include "import/importprogress.h"
#include "import/kivmodelimport.h"
#include "import/partsstream.h"
#include "import/readerprotocol.h"
#include "kivrender/platform/kivchildprocess.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace kivimport {

class ReaderSession : private ByteSource, private ByteSink {
public:
    // bytes: of what is to be read, which decides how much time the reader has. Starts it. Throws ImportError.
    ReaderSession(const KivModelOptions& modelOptions, ImportProgress& importProgress, std::uint64_t bytes);

    // Sends the one request and returns its answer. Throws ImportError with what the reader told or what became of it,
    // and ImportCancelled.
    ModelParts parts(ReaderRequest request);
    std::vector<Picture> pictures(ReaderRequest request);
    std::string text(ReaderRequest request);

private:
    using Clock = std::chrono::steady_clock;

    void read(void* data, std::size_t size) override;
    void write(const void* data, std::size_t size) override;
    std::size_t take(char* data, std::size_t size);
    void await(short events);
    template <class T> T number();
    void awaitAnswer(ReaderMessage wanted);
    void takeGreeting(ReaderMessage message);
    void takeProgress();
    void checkLimits();
    template <class Take> auto ask(ReaderRequest& request, ReaderMessage wanted, Take take);
    std::string whyItEnded();
    std::string needsMemory() const;
    std::string tookLonger() const;

    ImportProgress& progress;
    KivChildProcess child;
    std::string program;
    std::uint64_t memoryAllowed;
    std::uint64_t memoryNow;
    double secondsAllowed; // without progress
    double done = 0.0;
    double processorAtProgress = 0.0;
    Clock::time_point timeOfProgress;
    Clock::time_point watched;
    bool hasGreeted = false;
    std::vector<char> buffer; // what came and was not read yet
    std::size_t bufferBegin = 0;
    std::size_t bufferEnd = 0;
};

} // namespace kivimport

#endif
