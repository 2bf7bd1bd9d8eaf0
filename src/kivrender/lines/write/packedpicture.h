// The pictures of areas on their way into files: as fine as the sheet deserves, and compressed.
//
// A page that is the picture itself is looked at on screens, some of which have two dots to a pixel along each side;
// paper gets 300 dots to an inch. What is coarser than that stays as it is.
#ifndef KIVRENDER_LINES_WRITE_PACKEDPICTURE_H
#define KIVRENDER_LINES_WRITE_PACKEDPICTURE_H

#include "kivrender/lines/write/sheetlayout.h"

#include <string>
#include <string_view>

struct PackedPicture {
    int width = 0;
    int height = 0;
    // A zlib stream of rows as PNG has them: each begins with the number of its filter. PDF and PostScript read it by
    // FlateDecode with the predictor 15.
    std::string rows;
};

// As fine as the sheet deserves.
PackedPicture kivPack(const KivAreaPicture& picture, const SheetLayout& layout);
// A whole file of that kind.
std::string kivPngOf(const PackedPicture& packed);
// The same, of at most so many bytes: with fewer pixels where it has to be.
std::string kivPngFor(const KivAreaPicture& picture, const SheetLayout& layout, std::size_t mostBytes);

// RFC 4648.
std::string kivBase64(std::string_view bytes);
// Of PostScript and PDF, with its end, in lines of a moderate length.
std::string kivAscii85(std::string_view bytes);

#endif
