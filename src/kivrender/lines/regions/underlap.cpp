#include "kivrender/lines/regions/underlap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace {

// Of the reach: between two places of a border. An area may become thin between them.
constexpr double spacing = 2.0;
// And from the ends of an open one, where the room grows from nothing.
constexpr double firstPlace = 0.4;
constexpr double flattening = 0.05; // in pixels

double distance(const KivPicturePoint& p, const KivPicturePoint& q) {
    return std::hypot(q.x - p.x, q.y - p.y);
}

KivPicturePoint mix(const KivPicturePoint& p, const KivPicturePoint& q, double t) {
    return {p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)};
}

// The points of the border, and places between those that lie far apart.
std::vector<KivPicturePoint> placesOf(const KivCurvePath& border, double reach) {
    const std::vector<KivPicturePoint> points = kivFlattenCurve(border, flattening);
    std::vector<KivPicturePoint> places;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const double length = distance(points[i], points[i + 1]);
        const bool isFirst = !border.closed && i == 0;
        const bool isLast = !border.closed && i + 2 == points.size();
        places.push_back(points[i]);
        if (isFirst && length > 2.0 * firstPlace * reach) {
            places.push_back(mix(points[i], points[i + 1], firstPlace * reach / length));
        }
        const double steps = std::ceil(length / (spacing * reach));
        for (double step = 1.0; step < steps; step += 1.0) {
            places.push_back(mix(points[i], points[i + 1], step / steps));
        }
        if (isLast && length > firstPlace * reach) {
            places.push_back(mix(points[i + 1], points[i], firstPlace * reach / length));
        }
    }
    if (!border.closed && !points.empty()) {
        places.push_back(points.back());
    }
    return places;
}

// Upright on the way past a place, to its left, of length 1; of none where the way turns back.
KivPicturePoint leftOf(const KivPicturePoint& before, const KivPicturePoint& at, const KivPicturePoint& after) {
    const double in = distance(before, at);
    const double out = distance(at, after);
    if (in == 0.0 || out == 0.0) {
        return {};
    }
    const double x = (at.x - before.x) / in + (after.x - at.x) / out;
    const double y = (at.y - before.y) / in + (after.y - at.y) / out;
    const double length = std::hypot(x, y);
    return length > 1e-6 ? KivPicturePoint{-y / length, x / length} : KivPicturePoint{};
}

KivPicturePoint along(const KivPicturePoint& p, const KivPicturePoint& way, double length) {
    return {p.x + way.x * length, p.y + way.y * length};
}

double roomAt(const KivPicturePoint& p, const KivPicturePoint& way, const UnderlapRules& rules) {
    // Each length is asked about once, in sixteenths of the reach.
    std::array<std::optional<UnderlapPlace>, 33> known;
    const auto at = [&](double length) {
        std::optional<UnderlapPlace>& place = known[static_cast<std::size_t>(std::lround(16.0 * length / rules.reach))];
        if (!place) {
            place = rules.at(along(p, way, length));
        }
        return *place;
    };
    for (const double share : {1.0, 0.5, 0.25, 0.125}) {
        const double length = share * rules.reach;
        if (at(length) == UnderlapPlace::paintedLater && at(0.5 * length) == UnderlapPlace::paintedLater &&
            at(1.5 * length) != UnderlapPlace::itself && at(2.0 * length) != UnderlapPlace::itself) {
            return length;
        }
    }
    return 0.0;
}

KivPicturePoint moved(const KivPicturePoint& before, const KivPicturePoint& at, const KivPicturePoint& after,
                      const UnderlapRules& rules) {
    const KivPicturePoint left = leftOf(before, at, after);
    const KivPicturePoint way = rules.onLeft ? left : KivPicturePoint{-left.x, -left.y};
    const double length = way.x == 0.0 && way.y == 0.0 ? 0.0 : roomAt(at, way, rules);
    return along(at, way, length);
}

} // namespace

KivPicturePoint moveCornerUnder(const KivPicturePoint& before, const KivPicturePoint& corner,
                                const KivPicturePoint& after, const UnderlapRules& rules) {
    return moved(before, corner, after, rules);
}

std::vector<KivPicturePoint> moveUnder(const KivCurvePath& border, const UnderlapEnds& ends,
                                       const UnderlapRules& rules) {
    const std::vector<KivPicturePoint> places = placesOf(border, rules.reach);
    std::vector<KivPicturePoint> under = places;
    bool hasRoom = false;
    const std::size_t count = places.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (!border.closed && i == 0) {
            under[i] = ends.first;
        } else if (!border.closed && i + 1 == count) {
            under[i] = ends.last;
        } else {
            under[i] = moved(places[(i + count - 1) % count], places[i], places[(i + 1) % count], rules);
        }
        hasRoom = hasRoom || distance(under[i], places[i]) > 0.0;
    }
    return hasRoom ? under : std::vector<KivPicturePoint>();
}
