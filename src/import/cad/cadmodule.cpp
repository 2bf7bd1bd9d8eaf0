// The module that selvarin-reader loads for files of CAD programs.
#include "import/cad/cadreader.h"
#include "import/reader/readermodule.h"

#include <Standard_Version.hxx>

extern "C" __attribute__((visibility("default"))) const kivimport::ReaderModule* selvarinReaderModule() {
    static const kivimport::ReaderModule module{kivimport::readerGreeting, kivimport::readCad,
                                                "Open CASCADE " OCC_VERSION_COMPLETE};
    return &module;
}
