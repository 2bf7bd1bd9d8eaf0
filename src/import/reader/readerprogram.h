// The program that reads foreign files, but for the choice of its readers: it takes the one request from its socket,
// confines itself, reads, and answers.
//
// A reader of another library comes in here: findReader is asked before the process is confined, so that it can load
// the module in which that library is.
#ifndef IMPORT_READER_READERPROGRAM_H
#define IMPORT_READER_READERPROGRAM_H

#include "import/modelparts.h"
#include "import/reader/readerreport.h"
#include "import/readerprotocol.h"

#include <string>

namespace kivimport {

// Reads the file at the request's path, in UTF-8. Throws ImportError.
using ReadModel = ModelParts (*)(const ReaderRequest& request, ReaderReport& report);
// The reader of a kind of files, by the path that ends in it. Throws ImportError if there is none.
using FindReader = ReadModel (*)(const std::string& path);
// The libraries that read, with their versions.
using DescribeReaders = std::string (*)();

// The whole program: returns its exit status, or ends the process itself.
int runReaderProgram(int argc, char** argv, FindReader findReader, DescribeReaders describe);

} // namespace kivimport

#endif
