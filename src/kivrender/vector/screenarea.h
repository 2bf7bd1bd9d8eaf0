// Exact parts of faces: convex areas between lines of the screen's grid. A corner of an area is known as the meeting of
// two of its lines and never rounded, so that what is left of an area when others are taken away from it is exact,
// however thin, and nothing is left when they cover it between them.
#ifndef KIVRENDER_VECTOR_SCREENAREA_H
#define KIVRENDER_VECTOR_SCREENAREA_H

#include "kivrender/vector/screenface.h"

#include <algorithm>
#include <cstdint>
#include <vector>

// The points on the left of all its lines, which stand counterclockwise, each meeting the next. It has an interior,
// unless it is empty.
class ScreenArea {
public:
    static constexpr int mostSides = 16;

    struct Place {
        double x = 0;
        double y = 0;
    };

    ScreenArea() = default;
    ScreenArea(const ScreenArea& other) : count(other.count) {
        std::copy_n(other.sides, count, sides);
    }
    ScreenArea& operator=(const ScreenArea& other) {
        if (this != &other) {
            count = other.count;
            std::copy_n(other.sides, count, sides);
        }
        return *this;
    }
    ~ScreenArea() = default;
    explicit ScreenArea(const ScreenFace& face);

    bool isEmpty() const {
        return count == 0;
    }
    int numCorners() const {
        return count;
    }
    // Rounded. Corner number i lies on the sides i and i + 1.
    Place corner(int number) const;
    // Its area divided by the longer side of the rectangle about it, in grid steps.
    double thickness() const;
    // Leaves what lies on the left of the line. False when that has more sides than there is room for; the area is then
    // as it was.
    bool clip(const ScreenLine& line);
    bool clip(const ScreenPoint& corner, std::int32_t size);
    // The same, with what lies on the right of the line in the other area.
    bool split(const ScreenLine& line, ScreenArea& onRight);

private:
    // On which sides of a line the corners lie.
    struct Sides {
        std::int8_t of[mostSides];
        bool anyLeft = false;
        bool anyRight = false;
    };

    Sides sidesOfCorners(const ScreenLine& line) const;
    bool keep(const Sides& corners, int sign, const ScreenLine& line);

    ScreenLine sides[mostSides];
    int count = 0;
};

// How two faces lie over one another in an area that belongs to both.
enum class ScreenOrder {
    Front,   // the first is nearer, or touches the second
    Behind,  // the second is nearer, or touches the first
    Level,   // neither is nearer anywhere
    Crossed, // each is nearer somewhere
};

// How much farther the first face lies than the second, at least and at most.
struct ScreenDistance {
    double least = 0;
    double most = 0;
    double noise = 0; // what differs by less is level

    ScreenOrder order() const;
};

ScreenDistance distanceOver(const ScreenArea& area, const ScreenFace& first, const ScreenFace& second);

#endif
