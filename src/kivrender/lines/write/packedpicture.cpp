#include "kivrender/lines/write/packedpicture.h"

#include "kivrender/platform/kivdeflate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr double dotsPerPixel = 2.0;
constexpr double dotsPerMillimetre = 300.0 / 25.4;

using Bytes = std::vector<std::uint8_t>;

// Each of fewer pixels along one direction is the mean of those that it covers. The pixels of a line lie `step` bytes
// apart, the lines `from line to line`.
struct Direction {
    int count;        // of pixels along it
    std::size_t step; // bytes from one to the next
    int lines;
    std::size_t line; // bytes from one line to the next
};

void reduce(const Bytes& from, const Direction& old, const Direction& reduced, Bytes& to) {
    const double ratio = static_cast<double>(old.count) / reduced.count;
    for (int i = 0; i < reduced.count; ++i) {
        const double begin = i * ratio;
        const double end = std::min<double>(old.count, begin + ratio);
        for (int line = 0; line < old.lines; ++line) {
            std::array<double, 3> sum{};
            for (int k = static_cast<int>(begin); k < end; ++k) {
                const double share = std::min<double>(k + 1, end) - std::max<double>(k, begin);
                const std::uint8_t* const pixel =
                    &from[static_cast<std::size_t>(k) * old.step + static_cast<std::size_t>(line) * old.line];
                for (std::size_t c = 0; c < 3; ++c) {
                    sum[c] += share * pixel[c];
                }
            }
            std::uint8_t* const pixel =
                &to[static_cast<std::size_t>(i) * reduced.step + static_cast<std::size_t>(line) * reduced.line];
            for (std::size_t c = 0; c < 3; ++c) {
                pixel[c] = static_cast<std::uint8_t>(sum[c] / (end - begin) + 0.5);
            }
        }
    }
}

KivAreaPicture resized(const KivAreaPicture& picture, int width, int height) {
    const auto rowBytes = [](int pixels) { return std::size_t{3} * static_cast<std::size_t>(pixels); };
    Bytes narrow(rowBytes(width) * static_cast<std::size_t>(picture.height));
    reduce(picture.pixels, {picture.width, 3, picture.height, rowBytes(picture.width)},
           {width, 3, picture.height, rowBytes(width)}, narrow);
    KivAreaPicture made{width, height, Bytes(rowBytes(width) * static_cast<std::size_t>(height)), picture.low,
                        picture.high};
    reduce(narrow, {picture.height, rowBytes(width), width, 3}, {height, rowBytes(width), width, 3}, made.pixels);
    return made;
}

int reducedCount(int count, double length, double dotsPerUnit) {
    const double wanted = std::ceil(length * dotsPerUnit - 1e-6);
    return wanted < count ? std::max(1, static_cast<int>(wanted)) : count;
}

// Of each row the filter whose differences are the smallest in sum, which is what the standard of PNG advises (ISO/IEC
// 15948, 12.8).
std::string filteredRows(const KivAreaPicture& picture) {
    constexpr std::size_t parts = 3;
    const std::size_t rowSize = parts * static_cast<std::size_t>(picture.width);
    const Bytes nothing(rowSize, 0);
    std::array<Bytes, 5> tries;
    tries.fill(Bytes(rowSize));
    std::string rows;
    rows.reserve((rowSize + 1) * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t* const row = &picture.pixels[rowSize * static_cast<std::size_t>(y)];
        const std::uint8_t* const above = y > 0 ? row - rowSize : nothing.data();
        std::array<std::uint64_t, 5> sums{};
        for (std::size_t i = 0; i < rowSize; ++i) {
            const int left = i >= parts ? row[i - parts] : 0;
            const int up = above[i];
            const int corner = i >= parts ? above[i - parts] : 0;
            const int straight = left + up - corner;
            const int byLeft = std::abs(straight - left);
            const int byUp = std::abs(straight - up);
            const int byCorner = std::abs(straight - corner);
            const int paeth = byLeft <= byUp && byLeft <= byCorner ? left : byUp <= byCorner ? up : corner;
            const std::array<int, 5> guesses{0, left, up, (left + up) / 2, paeth};
            for (std::size_t f = 0; f < guesses.size(); ++f) {
                const auto rest = static_cast<std::uint8_t>(row[i] - guesses[f]);
                tries[f][i] = rest;
                sums[f] += rest < 128 ? rest : 256U - rest;
            }
        }
        const auto best = static_cast<std::size_t>(std::min_element(sums.begin(), sums.end()) - sums.begin());
        rows += static_cast<char>(best);
        rows.append(tries[best].begin(), tries[best].end());
    }
    return rows;
}

PackedPicture packed(const KivAreaPicture& picture) {
    return {picture.width, picture.height, kivDeflate(filteredRows(picture))};
}

KivAreaPicture fitted(const KivAreaPicture& picture, const SheetLayout& layout) {
    const bool isScreen = layout.wanted().page == KivSheet::Page::picture && layout.wanted().scale == 0.0;
    const double dots = isScreen ? dotsPerPixel : dotsPerMillimetre * layout.page().millimetresPerPixel;
    const int width = reducedCount(picture.width, picture.high.x - picture.low.x, dots);
    const int height = reducedCount(picture.height, picture.high.y - picture.low.y, dots);
    return width < picture.width || height < picture.height ? resized(picture, width, height) : picture;
}

std::string bigEndian(std::uint32_t value) {
    std::string text;
    for (const int shift : {24, 16, 8, 0}) {
        text += static_cast<char>(value >> shift & 0xFFU);
    }
    return text;
}

// CRC-32 as PNG has it (ISO/IEC 15948, annex D).
std::uint32_t checkOf(std::string_view bytes) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t i = 0; i < made.size(); ++i) {
            std::uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 1U) != 0 ? 0xEDB88320U ^ value >> 1U : value >> 1U;
            }
            made[i] = value;
        }
        return made;
    }();
    std::uint32_t check = 0xFFFFFFFFU;
    for (const char c : bytes) {
        check = table[(check ^ static_cast<std::uint8_t>(c)) & 0xFFU] ^ check >> 8U;
    }
    return ~check;
}

std::string chunk(std::string_view name, std::string_view data) {
    std::string body(name);
    body += data;
    return bigEndian(static_cast<std::uint32_t>(data.size())) + body + bigEndian(checkOf(body));
}

} // namespace

PackedPicture kivPack(const KivAreaPicture& picture, const SheetLayout& layout) {
    return packed(fitted(picture, layout));
}

std::string kivPngOf(const PackedPicture& packed) {
    const std::string head = bigEndian(static_cast<std::uint32_t>(packed.width)) +
                             bigEndian(static_cast<std::uint32_t>(packed.height)) + std::string("\x08\x02\0\0\0", 5);
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", head) + chunk("IDAT", packed.rows) + chunk("IEND", {});
}

std::string kivPngFor(const KivAreaPicture& picture, const SheetLayout& layout, std::size_t mostBytes) {
    KivAreaPicture made = fitted(picture, layout);
    std::string png = kivPngOf(packed(made));
    while (png.size() > mostBytes && (made.width > 1 || made.height > 1)) {
        const double share = std::min(0.9, std::sqrt(static_cast<double>(mostBytes) / static_cast<double>(png.size())));
        made = resized(made, std::max(1, static_cast<int>(made.width * share)),
                       std::max(1, static_cast<int>(made.height * share)));
        png = kivPngOf(packed(made));
    }
    return png;
}

std::string kivBase64(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t value = 0;
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        for (std::size_t k = 0; k < 3; ++k) {
            value = value << 8U | (k < count ? static_cast<std::uint8_t>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? digits[value >> (18 - 6 * k) & 63U] : '=';
        }
    }
    return text;
}

std::string kivAscii85(std::string_view bytes) {
    constexpr std::size_t lineLength = 75;
    std::string text;
    text.reserve(bytes.size() * 5 / 4 + bytes.size() / 60 + 8);
    std::size_t length = 0;
    const auto put = [&](char c) {
        if (length == lineLength) {
            text += '\n';
            length = 0;
        }
        // A line that begins so would be a comment on the document's structure.
        text += length == 0 && c == '%' ? " " : "";
        text += c;
        ++length;
    };
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        std::uint32_t value = 0;
        const std::size_t count = std::min<std::size_t>(4, bytes.size() - i);
        for (std::size_t k = 0; k < 4; ++k) {
            value = value << 8U | (k < count ? static_cast<std::uint8_t>(bytes[i + k]) : 0U);
        }
        if (value == 0 && count == 4) {
            put('z');
            continue;
        }
        std::array<char, 5> group{};
        for (std::size_t k = 5; k-- > 0; value /= 85) {
            group[k] = static_cast<char>('!' + value % 85);
        }
        std::for_each(group.begin(), group.begin() + static_cast<std::ptrdiff_t>(count) + 1, put);
    }
    return text + "~>\n";
}
