// What the importer and the program that reads foreign files say to each other.
//
// The importer sends one request. The reader first says hello, tells its progress while it works, and ends with one
// answer; or it ends without one, and then its exit status or the signal that it died of says why.
#ifndef IMPORT_READERPROTOCOL_H
#define IMPORT_READERPROTOCOL_H

#include "import/modelparts.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kivimport {

// The name of the program; it stands beside the library.
inline constexpr const char* readerProgramName = "selvarin-reader";

// To be raised with every change of what is sent.
inline constexpr std::uint64_t readerGreeting = 0x4B69'7652'0000'0008;

enum class ReaderMessage : std::uint32_t {
    hello,    // then readerGreeting
    progress, // then a double from 0 to 1
    memory,   // then the bytes that the reader allows itself from here on: they grow with what it opens
    failure,  // then a text, which lacks the file's name; the last one
    parts,    // then the parts of the model; the last one
    pictures, // then all pictures that were asked for; the last one
    text      // then a text; the last one
};

// Exit statuses of the reader.
inline constexpr int readerDone = 0;
inline constexpr int readerWrongUse = 2;
inline constexpr int readerOutOfMemory = 3;

struct ReaderRequest {
    enum class Kind : std::uint32_t {
        model,    // read the model: parts
        textures, // decode pictures: pictures
        describe  // which libraries read: text
    };

    Kind kind = Kind::model;
    std::string path;                  // of the model
    std::vector<std::string> textures; // pictures, in this order
    std::vector<std::string> readable; // files, and folders with all in them, that may be opened
    ReadLimits limits;
    Fineness fineness;
    ClipChoice clip;
    std::uint64_t maxMemory = 0;  // bytes, the most that it may allow itself
    std::uint64_t maxSeconds = 0; // of processor time in all
};

// The memory of a reader grows with what it opens: parsed text takes many times its own size. Measured over the
// formats: up to 35 bytes for each byte of a file.
inline constexpr std::uint64_t readerMemoryAtStart = std::uint64_t{1} << 30;
inline constexpr std::uint64_t readerMemoryPerByte = 64;

} // namespace kivimport

#endif
