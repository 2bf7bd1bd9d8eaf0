#include "apps/cli/thumbnail.h"

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <memory>

namespace {

// The sums of blocks of so many pixels in one row of them, and their number.
void averageRow(const KivBitmapInfo& from, int block, int bottom, std::uint8_t* to, int width) {
    const int high = std::min(block, from.height - bottom);
    for (int x = 0; x < width; ++x, to += 3) {
        const int wide = std::min(block, from.width - x * block);
        unsigned int sums[3] = {};
        for (int v = 0; v < high; ++v) {
            const std::uint8_t* pixel = from.pixels + static_cast<std::size_t>(bottom + v) * from.rowBytes +
                                        static_cast<std::size_t>(x) * static_cast<std::size_t>(block) * 4;
            for (int u = 0; u < wide; ++u, pixel += 4) {
                for (int c = 0; c < 3; ++c) {
                    sums[c] += pixel[c];
                }
            }
        }
        const auto count = static_cast<unsigned int>(high * wide);
        for (int c = 0; c < 3; ++c) {
            to[c] = static_cast<std::uint8_t>((sums[c] + count / 2) / count);
        }
    }
}

} // namespace

void saveThumbnail(HBITMAP picture, const std::wstring& file) {
    KivBitmapInfo info;
    if (!kivGetBitmapInfo(picture, &info)) {
        return;
    }
    const int block = std::max(1, (std::max(info.width, info.height) + thumbnailSide - 1) / thumbnailSide);
    const std::unique_ptr<KivImage> small =
        KivImage::create({(info.width + block - 1) / block, (info.height + block - 1) / block});
    for (int y = 0; small && y < small->height(); ++y) {
        averageRow(info, block, y * block, small->row(small->height() - 1 - y), small->width());
    }
    if (small) {
        kivWriteWholeFile(file, small->encode(KivImageFormat::png));
    }
}
