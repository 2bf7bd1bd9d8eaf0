// Solids for the built-in scene. Each function appends triangles to a surface, wound outwards; shared normals come
// later from the crease angle, as for a model without normals.
#ifndef APPS_COMMON_SHAPES_H
#define APPS_COMMON_SHAPES_H

#include "import/modelparts.h"

#include <functional>
#include <vector>

namespace shapes {

using kivimport::Surface;
using kivimport::Vec3;

// A place in space: where the solid's own origin, x, y and z axes come to lie. The axes are unit vectors, right-handed.
struct Frame {
    Vec3 origin;
    Vec3 x{1.0, 0.0, 0.0};
    Vec3 y{0.0, 1.0, 0.0};
    Vec3 z{0.0, 0.0, 1.0};

    Vec3 point(double px, double py, double pz) const {
        return origin + x * px + y * py + z * pz;
    }
};

// The y axis along a direction, for solids of revolution; the others are chosen.
Frame along(const Vec3& origin, const Vec3& direction);

struct Point2 {
    double x = 0.0;
    double y = 0.0;
};
using Outline = std::vector<Point2>; // closed, counter-clockwise

// With the direction outwards at each point, so that an edge along it can be rounded off exactly.
struct SmoothOutline {
    Outline points;
    std::vector<Point2> normals; // of unit length
};

Outline circle(double radius, int segments, Point2 centre = {});
// With round corners of that radius.
SmoothOutline roundedRectangle(double width, double height, double radius, int segments);
// A bar with round ends from (0, 0) to (length, 0), radius at either end.
SmoothOutline bar(double length, double radiusStart, double radiusEnd, int segments);
// Straight-flanked teeth around the pitch radius; phase turns the wheel, in teeth.
Outline gear(int teeth, double pitchRadius, double phase);

// A plate in the frame's x-y plane from z = 0 to z = thickness, its holes clockwise or not, cut through it.
void plate(Surface& surface, const Frame& frame, const Outline& outline, const std::vector<Outline>& holes,
           double thickness);
// The same with its edges rounded off to the front and the back by radius, without holes. Brings its normals along, as
// flat faces run into round edges without a crease; the surface must hold nothing else.
enum class Back { rounded, sharp }; // a plate that stands on another has a sharp edge there
void roundedPlate(Surface& surface, const Frame& frame, const SmoothOutline& outline, double thickness, double radius,
                  Back back = Back::rounded);
// Turns a profile of (radius, height) points around the frame's y axis, from its first point upwards; ends at radius 0
// are closed, others are left open.
void lathe(Surface& surface, const Frame& frame, const Outline& profile, int segments);
void cylinder(Surface& surface, const Frame& frame, double radius, double height, int segments);
void sphere(Surface& surface, const Vec3& centre, double radius, int segments);
void torus(Surface& surface, const Frame& frame, double radius, double thickness, int segments, int sides);
// A round wire along a curve given for 0 to 1, with flat ends.
void wire(Surface& surface, const std::function<Vec3(double)>& curve, int pieces, double radius, int sides);
// A hexagonal bolt head of that width across its corners, on a washer, standing on the frame's y axis.
void bolt(Surface& surface, const Frame& frame, double width);

} // namespace shapes

#endif
