#include "kivrender/platform/kivpdf.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

// The library's own pointers are gone for good: only std::shared_ptr.
#define POINTERHOLDER_TRANSITION 4
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFWriter.hh>

#include <exception>
#include <memory>
#include <span>

bool kivCompressPdf(const std::wstring& path) {
    std::shared_ptr<Buffer> bytes;
    try {
        QPDF file;
        file.setSuppressWarnings(true);
        file.setAttemptRecovery(false);
        file.processFile(kivToUtf8(path).c_str());
        QPDFWriter writer(file);
        writer.setOutputMemory();
        writer.setCompressStreams(true);
        writer.setObjectStreamMode(qpdf_o_disable);
        writer.setDeterministicID(true);
        writer.write();
        bytes = writer.getBufferSharedPointer();
    } catch (const std::exception&) {
        return true; // as it was printed it is a good file, only a larger one
    }
    return kivWriteWholeFile(path, std::span<const std::uint8_t>(bytes->getBuffer(), bytes->getSize()));
}
