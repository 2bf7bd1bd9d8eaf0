// 3MF files, by lib3mf: those that are spread over several parts of the package too, as slicing programs write them.
#ifndef IMPORT_READER_THREEMFREADER_H
#define IMPORT_READER_THREEMFREADER_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"

#include <string>

namespace kivimport {

// By its ending.
bool isThreeMfFile(const std::string& path);

// Reads a file, its path in UTF-8: what its build holds, with the file's unit, names, base materials, colours and
// textures. An object that stands several times is a surface with instances. Throws ImportError.
ModelParts readThreeMf(const std::string& path, const ReadLimits& limits, ReaderReport& report);

// "lib3mf 1.8.1"
std::string threeMfVersion();

} // namespace kivimport

#endif
