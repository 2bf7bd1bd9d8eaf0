#include "kivrender/platform/kivpdfmesh.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t cornerBytes = 1 + 2 * 4 + 3;
constexpr std::size_t triangleBytes = 3 * cornerBytes;
// A path that is too long is slow to fill.
constexpr int mostTrianglesOfPath = 256;
// Wide enough to close seams, and too thin to be seen where an area of another colour is painted over.
constexpr double strokeWidth = 0.4;

struct Corner {
    double x = 0.0;
    double y = 0.0;
    std::array<std::uint8_t, 3> colour{};
};

// With as many decimals as a place on a page needs, and no zeros at the end.
void addNumber(std::string& text, double value, int decimals) {
    std::array<char, 64> buffer{};
    char* end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals).ptr;
    while (end[-1] == '0') {
        --end;
    }
    if (end[-1] == '.') {
        --end;
    }
    const std::string_view number(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    text += number == "-0" ? "0" : number;
    text += ' ';
}

class PathWriter {
public:
    explicit PathWriter(bool stroked) : paintOperation(stroked ? "B\n" : "f\n") {
        text = "q 1 j ";
        addNumber(text, strokeWidth, 2);
        text += "w\n";
    }

    void add(const std::array<Corner, 3>& corners) {
        if (count == 0 || corners[0].colour != colour || count == mostTrianglesOfPath) {
            paint();
            setColour(corners[0].colour);
        }
        // All in one sense, so that no triangle is a hole in another one.
        const double twiceArea = (corners[1].x - corners[0].x) * (corners[2].y - corners[0].y) -
                                 (corners[2].x - corners[0].x) * (corners[1].y - corners[0].y);
        const std::size_t second = twiceArea < 0.0 ? 2 : 1;
        addPlace(corners[0], "m\n");
        addPlace(corners[second], "l\n");
        addPlace(corners[3 - second], "l h\n");
        ++count;
    }
    std::string finish() {
        paint();
        return std::move(text) + "Q\n";
    }

private:
    void addPlace(const Corner& corner, const char* operation) {
        addNumber(text, corner.x, 3);
        addNumber(text, corner.y, 3);
        text += operation;
    }
    void paint() {
        if (count > 0) {
            text += paintOperation;
            count = 0;
        }
    }
    void setColour(const std::array<std::uint8_t, 3>& wanted) {
        if (hasColour && wanted == colour) {
            return;
        }
        for (const char* const operation : {"rg\n", "RG\n"}) {
            for (const std::uint8_t part : wanted) {
                addNumber(text, part / 255.0, 4);
            }
            text += operation;
        }
        colour = wanted;
        hasColour = true;
    }

    const char* paintOperation;
    std::string text;
    std::array<std::uint8_t, 3> colour{};
    bool hasColour = false;
    int count = 0; // of the path that is open
};

Corner readCorner(const std::uint8_t* bytes, const std::array<double, 4>& decode) {
    const auto whole = [](const std::uint8_t* from) {
        return std::uint32_t{from[0]} << 24U | std::uint32_t{from[1]} << 16U | std::uint32_t{from[2]} << 8U | from[3];
    };
    constexpr double largest = 4294967295.0;
    return {decode[0] + (decode[1] - decode[0]) * (whole(bytes + 1) / largest),
            decode[2] + (decode[3] - decode[2]) * (whole(bytes + 5) / largest),
            {bytes[9], bytes[10], bytes[11]}};
}

} // namespace

std::string kivPdfMeshPaths(std::span<const std::uint8_t> data, const std::array<double, 4>& decode, bool stroked) {
    if (data.empty() || data.size() % triangleBytes != 0 ||
        !std::all_of(decode.begin(), decode.end(),
                     [](double limit) { return std::isfinite(limit) && std::fabs(limit) < 1e6; })) {
        return {};
    }
    PathWriter writer(stroked);
    for (std::size_t at = 0; at < data.size(); at += triangleBytes) {
        std::array<Corner, 3> corners;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const std::uint8_t* const bytes = &data[at + i * cornerBytes];
            corners[i] = readCorner(bytes, decode);
            // Flags other than 0 go on from the triangle before.
            if (bytes[0] != 0 || corners[i].colour != corners[0].colour) {
                return {};
            }
        }
        writer.add(corners);
    }
    return writer.finish();
}
