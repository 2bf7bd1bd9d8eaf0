#include "kivrender/lines/lonehairs.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>
#include <unordered_set>

namespace {

// Against the shortest weak line. On bunnies and busts from scanners noise stays below both; what belongs to the shape
// is longer, or steps back by more than it is long.
constexpr double longestHair = 5.0;
constexpr double highestHair = 4.0;
// Nor does noise hide as much: the length times the step, against the square of the shortest weak line.
constexpr double largestHair = 9.0;

// In pixels.
constexpr double touch = 3.0;
constexpr double widestGap = 10.0;
constexpr double directionReach = 4.0;
constexpr double leastCosine = 0.7;
constexpr std::size_t mostEnds = 64; // in one place: more are not line to follow

// Squares of the picture.
std::uint64_t cellOf(const KivPicturePoint& p, double size, int right = 0, int up = 0) {
    const auto x = static_cast<std::int64_t>(std::floor(p.x / size)) + right;
    const auto y = static_cast<std::int64_t>(std::floor(p.y / size)) + up;
    return static_cast<std::uint64_t>(x) << 32U ^ (static_cast<std::uint64_t>(y) & 0xFFFFFFFFU);
}

struct StrokeEnd {
    KivPicturePoint place;
    KivPicturePoint out; // of unit length: where the stroke would go on
    std::size_t stroke = 0;
};

class Hairs {
public:
    explicit Hairs(const std::vector<DrawnStroke>& drawn) : strokes(drawn) {}

    std::vector<bool> find() {
        std::vector<bool> hairs(strokes.size(), false);
        for (std::size_t i = 0; i < strokes.size(); ++i) {
            hairs[i] = isHair(strokes[i]);
        }
        if (std::none_of(hairs.begin(), hairs.end(), [](bool hair) { return hair; })) {
            return hairs;
        }
        for (std::size_t i = 0; i < strokes.size(); ++i) {
            if (!strokes[i].line->hidden) {
                enter(i, hairs[i]);
            }
        }
        for (std::size_t i = 0; i < strokes.size(); ++i) {
            hairs[i] = hairs[i] && !isHeld(i, false) && !isHeld(i, true);
        }
        return hairs;
    }

private:
    static bool isHair(const DrawnStroke& stroke) {
        const double shortest = stroke.shortest;
        return stroke.line->kind == KivStrokeKind::contour && !stroke.line->hidden &&
               stroke.length < longestHair * shortest && stroke.step < highestHair * shortest &&
               stroke.length * stroke.step < largestHair * shortest * shortest;
    }
    void enter(std::size_t i, bool isHair) {
        const KivFoundLine& line = *strokes[i].line;
        for (std::size_t k = 0; !isHair && k < line.picture.size(); ++k) {
            enterLine(line.picture[k == 0 ? (line.closed ? line.picture.size() - 1 : 0) : k - 1], line.picture[k]);
        }
        for (const bool atEnd : {false, true}) {
            if (!line.closed && line.kind == KivStrokeKind::contour && line.picture.size() > 1) {
                const StrokeEnd end = endOf(i, atEnd);
                std::vector<StrokeEnd>& here = ends[cellOf(end.place, widestGap)];
                if (here.size() < mostEnds) {
                    here.push_back(end);
                }
            }
        }
    }
    void enterLine(const KivPicturePoint& from, const KivPicturePoint& to) {
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        const int steps = static_cast<int>(std::clamp(std::ceil(length / touch), 1.0, 1e5));
        for (int k = 0; k <= steps; ++k) {
            const double t = static_cast<double>(k) / steps;
            covered.insert(cellOf({from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t}, touch));
        }
    }
    StrokeEnd endOf(std::size_t i, bool atEnd) const {
        const std::vector<KivPicturePoint>& p = strokes[i].line->picture;
        StrokeEnd end{atEnd ? p.back() : p.front(), {}, i};
        for (std::size_t k = 1; k < p.size(); ++k) {
            const KivPicturePoint& inside = p[atEnd ? p.size() - 1 - k : k];
            const double length = std::hypot(end.place.x - inside.x, end.place.y - inside.y);
            if (length > 0.0) {
                end.out = {(end.place.x - inside.x) / length, (end.place.y - inside.y) / length};
            }
            if (length >= directionReach) {
                break;
            }
        }
        return end;
    }
    // A ring holds to what it touches where it begins.
    bool isHeld(std::size_t i, bool atEnd) const {
        const StrokeEnd end = endOf(i, atEnd);
        for (int right = -1; right <= 1; ++right) {
            for (int up = -1; up <= 1; ++up) {
                if (covered.count(cellOf(end.place, touch, right, up)) > 0) {
                    return true;
                }
                const auto others = ends.find(cellOf(end.place, widestGap, right, up));
                if (others != ends.end() && std::any_of(others->second.begin(), others->second.end(),
                                                        [&](const StrokeEnd& other) { return goesOn(end, other); })) {
                    return true;
                }
            }
        }
        return false;
    }
    static bool goesOn(const StrokeEnd& end, const StrokeEnd& other) {
        const KivPicturePoint way = {other.place.x - end.place.x, other.place.y - end.place.y};
        const double gap = std::hypot(way.x, way.y);
        const auto along = [&](const KivPicturePoint& out) { return way.x * out.x + way.y * out.y; };
        return end.stroke != other.stroke && gap <= widestGap &&
               -(end.out.x * other.out.x + end.out.y * other.out.y) > leastCosine &&
               along(end.out) >= leastCosine * gap && -along(other.out) >= leastCosine * gap;
    }

    const std::vector<DrawnStroke>& strokes;
    std::unordered_set<std::uint64_t> covered; // by strokes that stay
    std::unordered_map<std::uint64_t, std::vector<StrokeEnd>> ends;
};

} // namespace

std::vector<bool> kivLoneHairs(const std::vector<DrawnStroke>& strokes) {
    return Hairs(strokes).find();
}
