// selvarin-reader: reads models and pictures for the importer, in a process of its own. Not for users.
#include "import/reader/assimpreader.h"
#include "import/reader/readermodule.h"
#include "import/reader/readerprogram.h"
#include "import/reader/threemfreader.h"
#include "import/readerprotocol.h"

#include <cstdio>

namespace {

using namespace kivimport;

ModelParts readWithAssimp(const ReaderRequest& request, ReaderReport& report) {
    return readByAssimp(request.path, request.limits, request.clip, report);
}

ModelParts readWithLib3mf(const ReaderRequest& request, ReaderReport& report) {
    return readThreeMf(request.path, request.limits, report);
}

ReadModel findReader(const std::string& path) {
    if (isThreeMfFile(path)) {
        return readWithLib3mf;
    }
    return isCadFile(path) ? loadReaderModule(cadModuleName).read : readWithAssimp;
}

std::string describe() {
    try {
        return assimpVersion() + ", " + threeMfVersion() + ", " + loadReaderModule(cadModuleName).library;
    } catch (const ImportError&) {
        return assimpVersion() + ", " + threeMfVersion() + ", no Open CASCADE for CAD files";
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("selvarin-reader: Selvarin starts this program to read models; it does nothing by itself\n", stderr);
        return kivimport::readerWrongUse;
    }
    return kivimport::runReaderProgram(argc, argv, findReader, describe);
}
