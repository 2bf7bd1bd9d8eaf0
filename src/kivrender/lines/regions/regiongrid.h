// The grid on which visible regions are computed: questions about sides have exact answers in integers there.
#ifndef KIVRENDER_LINES_REGIONS_REGIONGRID_H
#define KIVRENDER_LINES_REGIONS_REGIONGRID_H

#include <cmath>
#include <cstdint>
#include <tuple>

namespace RegionGrid {

// Steps to a pixel: far finer than what a drawing shows, and coarser than the rounding of window coordinates.
inline constexpr double steps = 1024.0;
// In pixels; products of differences then stay below 2^53 and are exact in doubles, too.
inline constexpr double farthest = 32768.0;

} // namespace RegionGrid

struct GridPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend bool operator==(const GridPoint&, const GridPoint&) = default;
    // From left to right, and upwards where that says nothing.
    friend bool operator<(const GridPoint& a, const GridPoint& b) {
        return std::tie(a.x, a.y) < std::tie(b.x, b.y);
    }
};

struct GridSegment {
    GridPoint a;
    GridPoint b;

    friend bool operator==(const GridSegment&, const GridSegment&) = default;
    friend bool operator<(const GridSegment& p, const GridSegment& q) {
        return std::tie(p.a, p.b) < std::tie(q.a, q.b);
    }
};

// Above 0 if p lies on the left of the way from a to b: twice the area of the triangle.
inline std::int64_t gridSide(const GridPoint& a, const GridPoint& b, const GridPoint& p) {
    return (std::int64_t{b.x} - a.x) * (std::int64_t{p.y} - a.y) -
           (std::int64_t{b.y} - a.y) * (std::int64_t{p.x} - a.x);
}

inline std::int32_t onRegionGrid(double pixels) {
    return static_cast<std::int32_t>(std::lround(pixels * RegionGrid::steps));
}

inline double offRegionGrid(double steps) {
    return steps / RegionGrid::steps;
}

#endif
