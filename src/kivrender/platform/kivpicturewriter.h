// Writes a picture row by row, from the top down, so that one may be larger than the memory: PNG and TIFF, and BigTIFF
// where the pixels have more bytes than the offsets of a TIFF can name. The same rows give the same bytes, however many
// come at a time.
//
//     const auto writer = KivPictureWriter::create(L"poster.png", {40000, 30000}, 3);
//     for (...) {
//         if (!writer->write(rows, count)) { ... }
//     }
//     writer->finish();
#ifndef KIVRENDER_PLATFORM_KIVPICTUREWRITER_H
#define KIVRENDER_PLATFORM_KIVPICTUREWRITER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class KIV_API KivPictureWriter {
public:
    // Whether there is a writer for files of that name's ending.
    static bool canWrite(const std::wstring& file);

    // channels: 3 for red, green and blue, 1 for grey, a byte each. Null if the file can't be made or has no known
    // ending; the last error says why.
    static std::unique_ptr<KivPictureWriter> create(const std::wstring& file, tagSIZE size, int channels);
    KivPictureWriter(const KivPictureWriter&) = delete;
    KivPictureWriter& operator=(const KivPictureWriter&) = delete;
    // Without finish nothing is left.
    virtual ~KivPictureWriter();

    // Rows without padding. False if they can't be written; the last error says why, and there is no use in going on.
    virtual bool write(const std::uint8_t* rows, std::int32_t count) = 0;
    // Puts the file in place, once all rows are there. False as above.
    virtual bool finish() = 0;

protected:
    KivPictureWriter() = default;
};

#endif
