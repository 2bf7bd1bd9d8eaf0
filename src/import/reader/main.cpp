// selvarin-reader: reads models and pictures for the importer, in a process of its own. Not for users.
#include "import/reader/assimpreader.h"
#include "import/reader/readerprogram.h"
#include "import/readerprotocol.h"

#include <cstdio>

namespace {

kivimport::ReadModel findReader(const std::string& /*path*/) {
    return kivimport::readByAssimp;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("selvarin-reader: Selvarin starts this program to read models; it does nothing by itself\n", stderr);
        return kivimport::readerWrongUse;
    }
    return kivimport::runReaderProgram(argc, argv, findReader, kivimport::assimpVersion);
}
