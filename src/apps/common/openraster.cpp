#include "apps/common/openraster.h"

#include "apps/common/zipfile.h"

#include <algorithm>
#include <cstddef>

namespace {

// The longest side of the thumbnail that file managers show.
constexpr std::int32_t thumbnailSide = 256;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string placeOf(std::size_t layer) {
    return "data/layer" + std::to_string(layer) + ".png";
}

// What XML can't hold is left out of a name.
std::string attributeText(const std::string& name) {
    std::string text;
    for (const char c : name) {
        switch (c) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '"':
            text += "&quot;";
            break;
        default:
            if (static_cast<unsigned char>(c) >= ' ') {
                text += c;
            }
        }
    }
    return text;
}

// The uppermost layer comes first.
std::string stackText(const std::vector<PictureLayer>& layers, const KivImage& merged) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<image version=\"0.0.5\" w=\"" +
                       std::to_string(merged.width()) + "\" h=\"" + std::to_string(merged.height()) +
                       "\" xres=\"72\" yres=\"72\">\n  <stack>\n";
    std::string group;
    for (std::size_t i = layers.size(); i-- > 0;) {
        if (layers[i].group != group) {
            text += group.empty() ? "" : "    </stack>\n";
            group = layers[i].group;
            text += group.empty() ? "" : "    <stack name=\"" + attributeText(group) + "\">\n";
        }
        text += "    <layer name=\"" + attributeText(layers[i].name) + "\" src=\"" + placeOf(i) +
                "\" x=\"0\" y=\"0\" opacity=\"1.0\" visibility=\"visible\" composite-op=\"svg:src-over\"/>\n";
    }
    text += group.empty() ? "" : "    </stack>\n";
    return text + "  </stack>\n</image>\n";
}

// The mean of a block, colours by their alpha.
void addBlock(const KivImage& image, tagRECT block, std::uint8_t* to) {
    const bool hasAlpha = image.layout() == KivImage::Layout::rgba32;
    std::uint64_t sum[4] = {};
    for (std::int32_t y = block.top; y < block.bottom; ++y) {
        for (std::int32_t x = block.left; x < block.right; ++x) {
            const std::uint32_t colour = image.pixel(x, y);
            const std::uint32_t alpha = hasAlpha ? image.row(y)[std::size_t{4} * static_cast<std::size_t>(x) + 3] : 255;
            for (int c = 0; c < 3; ++c) {
                sum[c] += std::uint64_t{colour >> (16 - 8 * c) & 0xFF} * alpha;
            }
            sum[3] += alpha;
        }
    }
    const auto count =
        static_cast<std::uint64_t>(block.right - block.left) * static_cast<std::uint64_t>(block.bottom - block.top);
    for (int c = 0; c < 3 && sum[3] > 0; ++c) {
        to[c] = static_cast<std::uint8_t>((sum[c] + sum[3] / 2) / sum[3]);
    }
    to[3] = static_cast<std::uint8_t>((sum[3] + count / 2) / count);
}

std::unique_ptr<KivImage> thumbnailOf(const KivImage& image) {
    const std::int32_t longer = std::max(image.width(), image.height());
    const std::int32_t side = std::min(longer, thumbnailSide);
    const auto scaled = [&](std::int64_t length) {
        return static_cast<std::int32_t>(std::max<std::int64_t>(1, length * side / longer));
    };
    auto small = KivImage::createWithAlpha({scaled(image.width()), scaled(image.height())});
    for (std::int32_t y = 0; small && y < small->height(); ++y) {
        const auto rowAt = [&](std::int64_t at) {
            return static_cast<std::int32_t>(at * image.height() / small->height());
        };
        for (std::int32_t x = 0; x < small->width(); ++x) {
            const auto columnAt = [&](std::int64_t at) {
                return static_cast<std::int32_t>(at * image.width() / small->width());
            };
            addBlock(image, {columnAt(x), rowAt(y), columnAt(x + 1), rowAt(y + 1)},
                     small->row(y) + std::size_t{4} * static_cast<std::size_t>(x));
        }
    }
    return small;
}

bool addPicture(ZipFile& file, const std::string& name, const KivImage* image) {
    const std::vector<std::uint8_t> png =
        image != nullptr ? image->encode(KivImageFormat::png) : std::vector<std::uint8_t>();
    file.add(name, png);
    return !png.empty();
}

} // namespace

std::vector<std::uint8_t> openRasterFile(const std::vector<PictureLayer>& layers, const KivImage& merged) {
    ZipFile file;
    // First and as it is, so that the kind of the file is told by its first bytes.
    file.add("mimetype", bytesOf("image/openraster"));
    file.add("stack.xml", bytesOf(stackText(layers, merged)));
    bool isWhole = true;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        isWhole = addPicture(file, placeOf(i), layers[i].image.get()) && isWhole;
    }
    isWhole = addPicture(file, "mergedimage.png", &merged) && isWhole;
    isWhole = addPicture(file, "Thumbnails/thumbnail.png", thumbnailOf(merged).get()) && isWhole;
    return isWhole && !file.isTooLarge() ? file.bytes() : std::vector<std::uint8_t>();
}
