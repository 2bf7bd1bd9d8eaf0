#include "kivrender/platform/kivpdf.h"

#include "kivrender/platform/kivpdfmesh.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

// The library's own pointers are gone for good: only std::shared_ptr.
#define POINTERHOLDER_TRANSITION 4
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <set>
#include <span>
#include <string>

namespace {

std::span<const std::uint8_t> bytesOf(Buffer& buffer) {
    return {buffer.getBuffer(), buffer.getSize()};
}

// Empty for a shading that is not made of triangles of one colour each.
std::string pathsOf(QPDFObjectHandle shading, bool stroked) {
    if (!shading.isStream()) {
        return {};
    }
    QPDFObjectHandle head = shading.getDict();
    const auto is = [&head](const char* key, long long value) {
        return head.getKey(key).isInteger() && head.getKey(key).getIntValue() == value;
    };
    QPDFObjectHandle limits = head.getKey("/Decode");
    if (!is("/ShadingType", 4) || !is("/BitsPerCoordinate", 32) || !is("/BitsPerComponent", 8) ||
        !is("/BitsPerFlag", 8) || !limits.isArray() || limits.getArrayNItems() < 4) {
        return {};
    }
    std::array<double, 4> decode{};
    for (int i = 0; i < 4; ++i) {
        decode[static_cast<std::size_t>(i)] = limits.getArrayItem(i).getNumericValue();
    }
    return kivPdfMeshPaths(bytesOf(*shading.getStreamData(qpdf_dl_generalized)), decode, stroked);
}

// gl2ps prints an opaque shading as one line of the page, such as "/Sh0 sh".
void paintShadingsAsPaths(QPDF& file, QPDFObjectHandle page) {
    QPDFObjectHandle contents = page.getKey("/Contents");
    QPDFObjectHandle shadings = page.getKey("/Resources").getKey("/Shading");
    if (!contents.isStream() || !shadings.isDictionary()) {
        return;
    }
    const std::shared_ptr<Buffer> old = contents.getStreamData(qpdf_dl_generalized);
    const std::string text(reinterpret_cast<const char*>(old->getBuffer()), old->getSize());
    std::string result;
    std::set<std::string> replaced;
    // Between "/GS0 gs" and the "Q" behind it colours are mixed with what lies behind.
    bool isMixed = false;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string line = text.substr(at, end - at);
        at = end;
        if (line.ends_with(" gs\n")) {
            isMixed = line.starts_with("/GS") && !line.starts_with("/GSa");
        } else if (line == "Q\n") {
            isMixed = false;
        }
        const std::size_t name = line.find(" sh\n");
        const std::string key = line.starts_with("/") && name != std::string::npos ? line.substr(0, name) : "";
        const std::string paths = !key.empty() && shadings.hasKey(key) ? pathsOf(shadings.getKey(key), !isMixed) : "";
        result += paths.empty() ? line : paths;
        if (!paths.empty()) {
            replaced.insert(key);
        }
    }
    for (const std::string& key : replaced) {
        shadings.removeKey(key);
    }
    page.replaceKey("/Contents", QPDFObjectHandle::newStream(&file, result));
}

} // namespace

bool kivFinishPdf(const std::wstring& path) {
    std::shared_ptr<Buffer> bytes;
    try {
        QPDF file;
        file.setSuppressWarnings(true);
        file.setAttemptRecovery(false);
        file.processFile(kivToUtf8(path).c_str());
        for (const QPDFObjectHandle& page : file.getAllPages()) {
            paintShadingsAsPaths(file, page);
        }
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
    return kivWriteWholeFile(path, bytesOf(*bytes));
}
