// The parts of a drawing as flat shapes in the window, for asking exactly which of them lie over each other.
//
// Corners lie on a grid of 4096 steps a pixel, finer than a single-precision window coordinate of a large picture and
// far finer than what a drawing's file holds. On the grid every question about sides has an exact answer in integers:
// neighbours that share corners leave no gap between them, however many there are.
#ifndef KIVRENDER_VECTOR_SCREENFACE_H
#define KIVRENDER_VECTOR_SCREENFACE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/feedbackprimitive.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ScreenGrid {

inline constexpr double stepsPerPixel = 4096.0;
// In pixels, in either direction. What reaches farther has no place on the grid.
inline constexpr double farthest = 32768.0;
// Depths closer together than this count as equal: a quarter of the spacing of depths in a feedback buffer.
inline constexpr double depthNoise = 0x1p-26;

} // namespace ScreenGrid

struct ScreenPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend bool operator==(const ScreenPoint&, const ScreenPoint&) = default;
};

// Where a * x + b * y + c is 0; above 0 on the left of the way from one corner to the next.
struct ScreenLine {
    std::int32_t a = 0;
    std::int32_t b = 0;
    std::int64_t c = 0;

    static ScreenLine through(const ScreenPoint& from, const ScreenPoint& to);
    ScreenLine reversed() const {
        return {-a, -b, -c};
    }
    std::int64_t at(const ScreenPoint& point) const {
        return static_cast<std::int64_t>(a) * point.x + static_cast<std::int64_t>(b) * point.y + c;
    }
    // Over the square with that lower left corner and side.
    std::int64_t highestOver(const ScreenPoint& corner, std::int32_t side) const {
        return at(corner) +
               static_cast<std::int64_t>(side) * ((a > 0 ? a : 0) + static_cast<std::int64_t>(b > 0 ? b : 0));
    }
    std::int64_t lowestOver(const ScreenPoint& corner, std::int32_t side) const {
        return at(corner) +
               static_cast<std::int64_t>(side) * ((a < 0 ? a : 0) + static_cast<std::int64_t>(b < 0 ? b : 0));
    }
};

// What OpenGL adds to the depth of a primitive that was drawn with polygon offset: slopes times the steepest slope, and
// steps of the depth buffer.
struct PolygonShift {
    double slopes = 0;
    double steps = 0;
};

// A triangle, or the rectangle that a line or a point covers, with a depth that is linear over it.
struct ScreenFace {
    ScreenPoint corners[4]; // counterclockwise
    std::int32_t count = 0;
    std::uint32_t owner = 0; // the place of its primitive in the list
    bool covers = false;     // hides what lies behind it
    // How far beside its middle line a stroke reaches, in grid steps; 0 for areas. A stroke lies over the surface that
    // it belongs to although that surface may come nearer to the eye beside the stroke's middle.
    float reach = 0;
    bool isOffset = false;
    double offset = 0; // how far behind its depth it lies, against what was drawn without polygon offset
    float lowDepth = 0;
    float highDepth = 0;
    double depth = 0; // at corners[0]
    double slopeX = 0;
    double slopeY = 0;
    double noise = 0; // how much the rounding of a place on the face may change its depth

    // The place of a side's line; the inside of the face is on its left.
    ScreenLine side(int number) const {
        return ScreenLine::through(corners[number], corners[number + 1 < count ? number + 1 : 0]);
    }
    // The rectangle about it.
    ScreenPoint low() const;
    ScreenPoint high() const;
    double depthAt(double x, double y) const;
    // Bounds of the depth over the part of the square that the face covers.
    double lowestOver(const ScreenPoint& corner, std::int32_t size) const;
    double highestOver(const ScreenPoint& corner, std::int32_t size) const;
    // The whole of the other face is in this one, or no part of its interior is in this one's.
    bool contains(const ScreenFace& other) const;
    bool isApartFrom(const ScreenFace& other) const;
    // The interior has a part in the interior of the square.
    bool meets(const ScreenPoint& corner, std::int32_t size) const;
    // The whole square is in the face.
    bool fills(const ScreenPoint& corner, std::int32_t size) const;
};

// Appends the faces of a primitive: one for each triangle of a polygon's fan, one for a line or a point. Appends
// nothing and returns false when the primitive has no place on the grid: a coordinate that is NaN or too far
// away, or vertices that are missing.
KIV_API bool addScreenFaces(const FeedbackPrimitive& primitive, std::uint32_t owner, const PolygonShift& shift,
                            std::vector<ScreenFace>& faces);

// How much farther the plane of the first face lies than that of the second over a rectangle, at least and at most;
// polygon offset counts.
struct PlaneDistance {
    double least = 0;
    double most = 0;
};

PlaneDistance planeDistance(const ScreenFace& first, const ScreenFace& second, const ScreenPoint& low,
                            const ScreenPoint& high);

// What the depth of the first face counts as more when it is compared with that of the second, because one of them was
// drawn with polygon offset. Between two that were, the offset says nothing: it is there to let lines win.
double offsetBetween(const ScreenFace& first, const ScreenFace& second);

// How much nearer than the stroke behind it a face has to be to lie in front of it: as much as the surface that the
// stroke belongs to may come nearer over the stroke's width, where it curves away from its outline like a ball. 0 for
// areas behind.
double strokeLead(const ScreenFace& front, const ScreenFace& behind);

// Both: what is added to the depth of a face before it is compared with that of what it may hide.
double handicap(const ScreenFace& front, const ScreenFace& behind);

#endif
