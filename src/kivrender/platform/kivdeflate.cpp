#include "kivrender/platform/kivdeflate.h"

#include <memory>
#include <new>

#include <libdeflate.h>

namespace {

constexpr int level = 6; // 9 takes three times as long for one part in a hundred of a drawing

} // namespace

std::string kivDeflate(std::string_view bytes) {
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), libdeflate_free_compressor);
    if (compressor == nullptr) {
        throw std::bad_alloc();
    }
    std::string out(libdeflate_zlib_compress_bound(compressor.get(), bytes.size()), '\0');
    out.resize(libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(), out.data(), out.size()));
    return out;
}
