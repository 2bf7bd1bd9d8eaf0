#include "kivrender/lines/skins/skinraster.h"

#include "kivrender/lines/curveorder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// A corner before the division by w.
struct ClipCorner {
    std::array<double, 4> place; // x, y and depth of the picture times w, and w
    std::array<double, 3> paint;
};

ClipCorner mix(const ClipCorner& a, const ClipCorner& b, double t) {
    ClipCorner c{};
    for (std::size_t i = 0; i < 4; ++i) {
        c.place[i] = a.place[i] + t * (b.place[i] - a.place[i]);
    }
    for (std::size_t i = 0; i < 3; ++i) {
        c.paint[i] = a.paint[i] + t * (b.paint[i] - a.paint[i]);
    }
    return c;
}

// What of a triangle lies before the eye, behind the plane of depth 0 (Sutherland and Hodgman, 1974).
std::vector<ClipCorner> beforeEye(const std::array<ClipCorner, 3>& triangle) {
    std::vector<ClipCorner> polygon(triangle.begin(), triangle.end());
    const auto keep = [&polygon](auto value) {
        std::vector<ClipCorner> rest;
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const ClipCorner& a = polygon[i];
            const ClipCorner& b = polygon[i + 1 < polygon.size() ? i + 1 : 0];
            const double va = value(a);
            const double vb = value(b);
            if (va >= 0.0) {
                rest.push_back(a);
            }
            if ((va >= 0.0) != (vb >= 0.0)) {
                rest.push_back(mix(a, b, va / (va - vb)));
            }
        }
        polygon.swap(rest);
    };
    constexpr double nearestW = 1e-9;
    keep([](const ClipCorner& c) { return c.place[3] - nearestW; });
    keep([](const ClipCorner& c) { return c.place[2]; });
    return polygon;
}

} // namespace

SkinRaster::SkinRaster(double width, double height, int samples)
    : perPixel(samples), columns(std::max(1, static_cast<int>(std::ceil(width * samples)))),
      rows(std::max(1, static_cast<int>(std::ceil(height * samples)))),
      nearest(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), none),
      depths(nearest.size(), std::numeric_limits<float>::infinity()) {}

bool SkinRaster::add(const KivDrawnSkin& skin, std::uint32_t number, const KivProjectiveMap& m) {
    for (std::size_t i = 0; i + 2 < skin.corners.size(); i += 3) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        std::array<ClipCorner, 3> triangle{};
        for (std::size_t k = 0; k < 3; ++k) {
            const KivDrawnSkin::Corner& c = skin.corners[i + k];
            for (std::size_t row = 0; row < 4; ++row) {
                triangle[k].place[row] = m[4 * row] * c.place[0] + m[4 * row + 1] * c.place[1] +
                                         m[4 * row + 2] * c.place[2] + m[4 * row + 3];
            }
            triangle[k].paint = {c.paint[0], c.paint[1], c.paint[2]};
        }
        const std::vector<ClipCorner> polygon = beforeEye(triangle);
        const auto seen = [this](const ClipCorner& c) {
            const double overW = 1.0 / c.place[3];
            return Corner{c.place[0] * overW * perPixel,
                          c.place[1] * overW * perPixel,
                          c.place[2] * overW,
                          overW,
                          {c.paint[0] * overW, c.paint[1] * overW, c.paint[2] * overW}};
        };
        for (std::size_t k = 2; k < polygon.size(); ++k) {
            addFace({{seen(polygon[0]), seen(polygon[k - 1]), seen(polygon[k])}, number});
        }
    }
    return true;
}

void SkinRaster::addFace(const Face& face) {
    const auto& [a, b, c] = face.corners;
    const double area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    if (!std::isfinite(area) || area == 0.0 || faces.size() >= none) {
        return;
    }
    const auto first = [](double low) { return std::max(0.0, std::ceil(low - 0.5)); };
    const int left = static_cast<int>(std::min<double>(columns, first(std::min({a.x, b.x, c.x}))));
    const int bottom = static_cast<int>(std::min<double>(rows, first(std::min({a.y, b.y, c.y}))));
    const double right = std::min(columns - 1.0, std::floor(std::max({a.x, b.x, c.x}) - 0.5));
    const double top = std::min(rows - 1.0, std::floor(std::max({a.y, b.y, c.y}) - 0.5));
    const auto number = static_cast<std::uint32_t>(faces.size());
    bool isSeen = false;
    for (int y = bottom; y <= top; ++y) {
        for (int x = left; x <= right; ++x) {
            const double px = x + 0.5;
            const double py = y + 0.5;
            const double shareA = ((b.x - px) * (c.y - py) - (b.y - py) * (c.x - px)) / area;
            const double shareB = ((c.x - px) * (a.y - py) - (c.y - py) * (a.x - px)) / area;
            const double shareC = 1.0 - shareA - shareB;
            constexpr double rounding = -1e-9;
            if (shareA < rounding || shareB < rounding || shareC < rounding) {
                continue;
            }
            const auto depth = static_cast<float>(shareA * a.depth + shareB * b.depth + shareC * c.depth);
            const std::size_t at = indexOf(x, y);
            if (depth < depths[at]) {
                depths[at] = depth;
                nearest[at] = number;
                isSeen = true;
            }
        }
    }
    if (isSeen) {
        faces.push_back(face);
    }
}

std::array<double, 3> SkinRaster::paintAt(const Face& face, double x, double y) const {
    const auto& [a, b, c] = face.corners;
    const double area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    const double shareA = ((b.x - x) * (c.y - y) - (b.y - y) * (c.x - x)) / area;
    const double shareB = ((c.x - x) * (a.y - y) - (c.y - y) * (a.x - x)) / area;
    const double shareC = 1.0 - shareA - shareB;
    const double w = 1.0 / (shareA * a.overW + shareB * b.overW + shareC * c.overW);
    std::array<double, 3> paint{};
    for (std::size_t i = 0; i < 3; ++i) {
        paint[i] = w * (shareA * a.paintOverW[i] + shareB * b.paintOverW[i] + shareC * c.paintOverW[i]);
    }
    return paint;
}

std::array<double, 3> SkinRaster::paintAt(int x, int y) const {
    return paintAt(faces[nearest[indexOf(x, y)]], x + 0.5, y + 0.5);
}

SkinRaster::Place SkinRaster::placeAt(int x, int y) const {
    const Face& face = faces[nearest[indexOf(x, y)]];
    Place place{paintAt(face, x + 0.5, y + 0.5), {}};
    const std::array<double, 3> toRight = paintAt(face, x + 1.5, y + 0.5);
    const std::array<double, 3> above = paintAt(face, x + 0.5, y + 1.5);
    for (std::size_t i = 0; i < 2; ++i) {
        place.steps[0][i] = toRight[i] - place.paint[i];
        place.steps[1][i] = above[i] - place.paint[i];
    }
    return place;
}
