#include "kivrender/platform/kivpicturewriter.h"

#include "kivrender/platform/kivnewfile.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <libdeflate.h>
#include <utility>
#include <vector>
#include <zlib.h>

#include <unistd.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

bool failWithErrno() {
    kivSetLastError(kivErrorFromErrno(errno));
    return false;
}

// A file that is put in place as a whole.
class WholeFile {
public:
    explicit WholeFile(const std::wstring& path) : file(path) {}

    bool open() {
        return file.open() || failWithErrno();
    }
    bool add(const std::uint8_t* bytes, std::size_t count) {
        written += count;
        return kivWriteAll(file.descriptor(), bytes, count) || failWithErrno();
    }
    bool add(const Bytes& bytes) {
        return add(bytes.data(), bytes.size());
    }
    bool replace(std::uint64_t at, const Bytes& bytes) {
        const ssize_t count = pwrite(file.descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        return count == static_cast<ssize_t>(bytes.size()) || failWithErrno();
    }
    bool finish() {
        return file.finish() || failWithErrno();
    }
    std::uint64_t size() const {
        return written;
    }

private:
    KivNewFile file;
    std::uint64_t written = 0;
};

// --- PNG (W3C, Portable Network Graphics, second edition, 2003)

void appendBigEndian(Bytes& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

class PngWriter : public KivPictureWriter {
public:
    PngWriter(const std::wstring& path, tagSIZE pictureSize, int pictureChannels)
        : file(path), size(pictureSize), channels(pictureChannels),
          rowBytes(static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(channels)), above(rowBytes, 0),
          filtered(rowBytes + 1, 0), compressed(std::size_t{1} << 18) {}
    ~PngWriter() override {
        if (isDeflating) {
            deflateEnd(&stream);
        }
    }

    bool begin() {
        if (!file.open()) {
            return false;
        }
        constexpr int level = 4;
        isDeflating = deflateInit(&stream, level) == Z_OK;
        if (!isDeflating) {
            kivSetLastError(kivErrorNotEnoughMemory);
            return false;
        }
        startBlock();
        Bytes head;
        appendBigEndian(head, static_cast<std::uint32_t>(size.cx));
        appendBigEndian(head, static_cast<std::uint32_t>(size.cy));
        const std::uint8_t colourType = channels == 1 ? 0 : 2;
        head.insert(head.end(), {8, colourType, 0, 0, 0});
        constexpr std::array<std::uint8_t, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
        return file.add(signature.data(), signature.size()) && addChunk("IHDR", head.data(), head.size());
    }

    bool write(const std::uint8_t* rows, std::int32_t count) override {
        for (std::int32_t y = 0; y < count; ++y, rows += rowBytes) {
            // Rows that are alike become zeros, however far the one above lies behind in the stream.
            filtered[0] = 2;
            std::transform(rows, rows + rowBytes, above.begin(), filtered.begin() + 1,
                           [](std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>(a - b); });
            std::copy_n(rows, rowBytes, above.begin());
            if (!compress(filtered.data(), filtered.size(), Z_NO_FLUSH)) {
                return false;
            }
        }
        return true;
    }

    bool finish() override {
        return compress(nullptr, 0, Z_FINISH) && addChunk("IEND", nullptr, 0) && file.finish();
    }

private:
    void startBlock() {
        stream.next_out = compressed.data();
        stream.avail_out = static_cast<uInt>(compressed.size());
    }

    // In pieces, as zlib counts in 32 bits.
    bool compress(const std::uint8_t* bytes, std::size_t count, int flush) {
        constexpr std::size_t most = std::size_t{1} << 30;
        do {
            const std::size_t part = std::min(count, most);
            stream.next_in = const_cast<Bytef*>(bytes); // zlib's own interface is without const
            stream.avail_in = static_cast<uInt>(part);
            if (!compressPart(part == count ? flush : Z_NO_FLUSH)) {
                return false;
            }
            bytes += part;
            count -= part;
        } while (count > 0);
        return true;
    }

    bool compressPart(int flush) {
        for (;;) {
            const int result = deflate(&stream, flush);
            const bool isDone =
                flush == Z_FINISH ? result == Z_STREAM_END : stream.avail_in == 0 && stream.avail_out > 0;
            if (isDone && flush != Z_FINISH) {
                return true;
            }
            if (!addChunk("IDAT", compressed.data(), compressed.size() - stream.avail_out)) {
                return false;
            }
            startBlock();
            if (isDone) {
                return true;
            }
        }
    }

    bool addChunk(const char* name, const std::uint8_t* bytes, std::size_t count) {
        Bytes chunk;
        appendBigEndian(chunk, static_cast<std::uint32_t>(count));
        chunk.insert(chunk.end(), name, name + 4);
        chunk.insert(chunk.end(), bytes, bytes + count);
        appendBigEndian(chunk, libdeflate_crc32(0, chunk.data() + 4, chunk.size() - 4));
        return file.add(chunk);
    }

    WholeFile file;
    tagSIZE size;
    int channels;
    std::size_t rowBytes;
    Bytes above; // the last row
    Bytes filtered;
    Bytes compressed;
    z_stream stream{};
    bool isDeflating = false;
};

// --- TIFF (Adobe, TIFF revision 6.0, 1992, and its technical note 2 on Deflate), and BigTIFF, which has the same
// structure with numbers of 64 bits

class TiffWriter : public KivPictureWriter {
public:
    TiffWriter(const std::wstring& path, tagSIZE pictureSize, int pictureChannels)
        : file(path), size(pictureSize), channels(pictureChannels),
          rowBytes(static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(channels)),
          rowsPerStrip(static_cast<std::int32_t>(std::clamp<std::size_t>(stripBytes / rowBytes, 1, 1 << 16))),
          isBig(static_cast<double>(rowBytes) * size.cy > largestClassic),
          compressor(libdeflate_alloc_compressor(6), &libdeflate_free_compressor) {
        strip.reserve(rowBytes * static_cast<std::size_t>(rowsPerStrip));
    }

    bool begin() {
        if (compressor == nullptr) {
            kivSetLastError(kivErrorNotEnoughMemory);
            return false;
        }
        Bytes head{'I', 'I'};
        put(head, isBig ? 43 : 42, 2);
        if (isBig) {
            put(head, 8, 2);
            put(head, 0, 2);
        }
        directoryPlace = head.size();
        put(head, 0, offsetBytes());
        return file.open() && file.add(head);
    }

    bool write(const std::uint8_t* rows, std::int32_t count) override {
        for (std::int32_t y = 0; y < count; ++y, rows += rowBytes) {
            addRow(rows);
            ++numRows;
            if ((numRows % rowsPerStrip == 0 || numRows == size.cy) && !writeStrip()) {
                return false;
            }
        }
        return true;
    }

    bool finish() override {
        const std::uint64_t directory = file.size() + file.size() % 2;
        Bytes out(file.size() % 2, 0);
        if (!addDirectory(out, directory)) {
            return false;
        }
        Bytes place;
        put(place, directory, offsetBytes());
        return file.add(out) && file.replace(directoryPlace, place) && file.finish();
    }

private:
    static constexpr std::size_t stripBytes = std::size_t{1} << 20;
    // Strips that can't be compressed are a little longer than their pixels.
    static constexpr double largestClassic = 4.2e9;

    struct Entry {
        std::uint16_t tag;
        std::uint16_t type; // 3: 16 bits, 4: 32 bits, 16: 64 bits
        std::vector<std::uint64_t> values;
    };

    int offsetBytes() const {
        return isBig ? 8 : 4;
    }
    static void put(Bytes& out, std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    }

    // Each byte as its difference from that of the pixel before it.
    void addRow(const std::uint8_t* row) {
        const std::size_t start = strip.size();
        strip.insert(strip.end(), row, row + rowBytes);
        const auto step = static_cast<std::size_t>(channels);
        for (std::size_t i = rowBytes - 1; i >= step; --i) {
            strip[start + i] = static_cast<std::uint8_t>(strip[start + i] - strip[start + i - step]);
        }
    }

    bool writeStrip() {
        packed.resize(libdeflate_zlib_compress_bound(compressor.get(), strip.size()));
        packed.resize(
            libdeflate_zlib_compress(compressor.get(), strip.data(), strip.size(), packed.data(), packed.size()));
        strip.clear();
        offsets.push_back(file.size());
        counts.push_back(packed.size());
        return file.add(packed);
    }

    bool addDirectory(Bytes& out, std::uint64_t directory) const {
        const std::uint16_t offsetType = isBig ? 16 : 4;
        const std::vector<Entry> entries{
            {256, 4, {static_cast<std::uint64_t>(size.cx)}},
            {257, 4, {static_cast<std::uint64_t>(size.cy)}},
            {258, 3, std::vector<std::uint64_t>(static_cast<std::size_t>(channels), 8)},
            {259, 3, {8}}, // Deflate
            {262, 3, {channels == 1 ? 1U : 2U}},
            {273, offsetType, offsets},
            {277, 3, {static_cast<std::uint64_t>(channels)}},
            {278, 4, {static_cast<std::uint64_t>(rowsPerStrip)}},
            {279, offsetType, counts},
            {284, 3, {1}},
            {317, 3, {2}}, // differences along the row
        };
        const std::size_t entryBytes = isBig ? 20 : 12;
        const std::uint64_t values =
            directory + (isBig ? 8 : 2) + entries.size() * entryBytes + static_cast<std::uint64_t>(offsetBytes());
        Bytes behind;
        put(out, entries.size(), isBig ? 8 : 2);
        for (const Entry& entry : entries) {
            addEntry(out, behind, values, entry);
        }
        put(out, 0, offsetBytes());
        out.insert(out.end(), behind.begin(), behind.end());
        return isBig || values + behind.size() < 0xFFFFFFFFU;
    }

    // Values that don't fit into the entry stand behind the directory.
    void addEntry(Bytes& out, Bytes& behind, std::uint64_t values, const Entry& entry) const {
        const int width = entry.type == 3 ? 2 : entry.type == 4 ? 4 : 8;
        Bytes bytes;
        for (const std::uint64_t value : entry.values) {
            put(bytes, value, width);
        }
        put(out, entry.tag, 2);
        put(out, entry.type, 2);
        put(out, entry.values.size(), offsetBytes());
        if (bytes.size() <= static_cast<std::size_t>(offsetBytes())) {
            bytes.resize(static_cast<std::size_t>(offsetBytes()));
            out.insert(out.end(), bytes.begin(), bytes.end());
        } else {
            put(out, values + behind.size(), offsetBytes());
            behind.insert(behind.end(), bytes.begin(), bytes.end());
        }
    }

    WholeFile file;
    tagSIZE size;
    int channels;
    std::size_t rowBytes;
    std::int32_t rowsPerStrip;
    bool isBig;
    std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor;
    std::uint64_t directoryPlace = 0;
    std::int32_t numRows = 0;
    Bytes strip;
    Bytes packed;
    std::vector<std::uint64_t> offsets;
    std::vector<std::uint64_t> counts;
};

enum class Kind { none, png, tiff };

Kind kindOf(const std::wstring& file) {
    const std::size_t dot = file.find_last_of(L'.');
    const std::wstring_view ending = dot == std::wstring::npos ? L"" : std::wstring_view(file).substr(dot + 1);
    if (kivEqualNoCase(ending, L"png")) {
        return Kind::png;
    }
    return kivEqualNoCase(ending, L"tif") || kivEqualNoCase(ending, L"tiff") ? Kind::tiff : Kind::none;
}

template <class Writer> std::unique_ptr<KivPictureWriter> begun(const std::wstring& file, tagSIZE size, int channels) {
    auto writer = std::make_unique<Writer>(file, size, channels);
    if (!writer->begin()) {
        return nullptr;
    }
    return writer;
}

} // namespace

KivPictureWriter::~KivPictureWriter() = default;

bool KivPictureWriter::canWrite(const std::wstring& file) {
    return kindOf(file) != Kind::none;
}

std::unique_ptr<KivPictureWriter> KivPictureWriter::create(const std::wstring& file, tagSIZE size, int channels) {
    const Kind kind = kindOf(file);
    if (kind == Kind::none || size.cx <= 0 || size.cy <= 0 || (channels != 1 && channels != 3)) {
        kivSetLastError(kivErrorInvalidParameter);
        return nullptr;
    }
    return kind == Kind::png ? begun<PngWriter>(file, size, channels) : begun<TiffWriter>(file, size, channels);
}
