// A reader of another library, in a module that stands beside the program and is loaded only for a file of its kind:
// who reads none has no need of the library.
#ifndef IMPORT_READER_READERMODULE_H
#define IMPORT_READER_READERMODULE_H

#include "import/reader/readerprogram.h"

#include <cstdint>
#include <string>

namespace kivimport {

// What a module exports, by a function without arguments of this name.
inline constexpr const char* readerModuleEntry = "selvarinReaderModule";
struct ReaderModule {
    std::uint64_t greeting = readerGreeting; // of the build that it belongs to
    ReadModel read = nullptr;
    const char* library = ""; // "Open CASCADE 7.6.3"
};
using ReaderModuleEntry = const ReaderModule* (*)();

// Files of CAD programs, by their ending.
bool isCadFile(const std::string& path);
inline constexpr const char* cadModuleName = "selvarin-reader-cad.so";

// The module of that name beside the program that runs, which stays loaded. Throws ImportError.
const ReaderModule& loadReaderModule(const char* name);

} // namespace kivimport

#endif
