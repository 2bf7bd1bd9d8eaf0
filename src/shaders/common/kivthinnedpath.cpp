#include "kivthinnedpath.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

// How far a point lies from the straight piece between two others, its width counted like a third coordinate.
float departure(const KivLinePoint& a, const KivLinePoint& b, const KivLinePoint& p) {
    const float dx = b.x - a.x;
    const float dy = b.y - a.y;
    const float square = dx * dx + dy * dy;
    const float t = square > 0.0F ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / square, 0.0F, 1.0F) : 0.0F;
    const float away = std::hypot(a.x + dx * t - p.x, a.y + dy * t - p.y);
    return std::max(away, std::abs(a.halfWidth + (b.halfWidth - a.halfWidth) * t - p.halfWidth));
}

void thin(const std::vector<KivLinePoint>& points, float tolerance, std::vector<bool>& kept) {
    std::vector<std::pair<std::size_t, std::size_t>> open = {{0, points.size() - 1}};
    while (!open.empty()) {
        const auto [first, last] = open.back();
        open.pop_back();
        float worst = tolerance;
        std::size_t at = first;
        for (std::size_t i = first + 1; i < last; ++i) {
            const float away = departure(points[first], points[last], points[i]);
            if (away > worst) {
                worst = away;
                at = i;
            }
        }
        if (at != first) {
            kept[at] = true;
            open.push_back({first, at});
            open.push_back({at, last});
        }
    }
}

} // namespace

KivLinePath kivThinnedPath(const KivLinePath& path, float tolerance, LineBudget& polls) {
    const std::size_t count = path.points.size();
    if (count < 3) {
        return path;
    }
    std::vector<bool> kept(count, false);
    kept.front() = true;
    kept.back() = true;
    // In pieces, so that the cost stays near linear on long paths.
    constexpr std::size_t piece = 256;
    constexpr std::size_t unitsOfPoint = 16;
    std::vector<KivLinePoint> part;
    for (std::size_t first = 0; first + 1 < count && polls.spend(unitsOfPoint * piece); first += piece) {
        const std::size_t last = std::min(first + piece, count - 1);
        part.assign(path.points.begin() + static_cast<std::ptrdiff_t>(first),
                    path.points.begin() + static_cast<std::ptrdiff_t>(last + 1));
        std::vector<bool> partKept(part.size(), false);
        partKept.front() = true;
        partKept.back() = true;
        thin(part, tolerance, partKept);
        for (std::size_t i = 0; i < part.size(); ++i) {
            kept[first + i] = kept[first + i] || partKept[i];
        }
    }
    KivLinePath result;
    result.closed = path.closed;
    for (std::size_t i = 0; i < count; ++i) {
        if (kept[i]) {
            result.points.push_back(path.points[i]);
        }
    }
    return result;
}
