#include "apps/common/shapes.h"

#include "import/polygons.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace shapes {
namespace {

using kivimport::cross;
using kivimport::unit;

using std::numbers::pi;

std::uint32_t add(Surface& surface, const Vec3& p) {
    surface.positions.push_back(p);
    return static_cast<std::uint32_t>(surface.positions.size() - 1);
}

void triangle(Surface& surface, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    surface.corners.insert(surface.corners.end(), {a, b, c});
}

void quad(Surface& surface, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    triangle(surface, a, b, c);
    triangle(surface, a, c, d);
}

// Joins two closed rows of points of equal number; the second lies beyond the first, seen along the surface's way up.
void band(Surface& surface, std::uint32_t first, std::uint32_t second, std::size_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto next = static_cast<std::uint32_t>((i + 1) % count);
        quad(surface, first + i, first + next, second + next, second + i);
    }
}

std::uint32_t addOutline(Surface& surface, const Frame& frame, const Outline& outline, double z) {
    const auto first = static_cast<std::uint32_t>(surface.positions.size());
    for (const Point2& p : outline) {
        add(surface, frame.point(p.x, p.y, z));
    }
    return first;
}

double area(const Outline& outline) {
    double twice = 0.0;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const Point2& a = outline[i];
        const Point2& b = outline[(i + 1) % outline.size()];
        twice += a.x * b.y - b.x * a.y;
    }
    return twice / 2.0;
}

double distanceSquared(const Point2& a, const Point2& b) {
    return (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
}

// Cuts a polygon open to each hole, so that one outline goes round everything: the usual way to triangulate holes. The
// cut joins the nearest pair of points. Holes must run clockwise, against the outline.
Outline joinHoles(Outline outline, const std::vector<Outline>& holes) {
    for (const Outline& hole : holes) {
        std::size_t at = 0;
        std::size_t from = 0;
        for (std::size_t i = 0; i < outline.size(); ++i) {
            for (std::size_t j = 0; j < hole.size(); ++j) {
                if (distanceSquared(outline[i], hole[j]) < distanceSquared(outline[at], hole[from])) {
                    at = i;
                    from = j;
                }
            }
        }
        Outline detour;
        for (std::size_t j = 0; j <= hole.size(); ++j) {
            detour.push_back(hole[(from + j) % hole.size()]);
        }
        detour.push_back(outline[at]);
        outline.insert(outline.begin() + static_cast<std::ptrdiff_t>(at) + 1, detour.begin(), detour.end());
    }
    return outline;
}

// The flat face at z, facing +z or -z.
void face(Surface& surface, const Frame& frame, const Outline& joined, double z, bool front) {
    kivimport::Points polygon;
    for (const Point2& p : joined) {
        polygon.push_back({p.x, p.y, 0.0});
    }
    kivimport::Indices pieces;
    kivimport::triangulate(polygon, pieces);
    const std::uint32_t first = addOutline(surface, frame, joined, z);
    for (std::size_t i = 0; i < pieces.size(); i += 3) {
        triangle(surface, first + pieces[i], first + pieces[i + (front ? 1 : 2)], first + pieces[i + (front ? 2 : 1)]);
    }
}

// One row of points of a rounded plate, moved in by inset. slope turns from 0, facing back, over a quarter turn, facing
// outwards, to a half turn, facing front.
std::uint32_t addRoundedRow(Surface& surface, const Frame& frame, const SmoothOutline& outline, double inset, double z,
                            double slope) {
    const auto first = static_cast<std::uint32_t>(surface.positions.size());
    for (std::size_t i = 0; i < outline.points.size(); ++i) {
        const Point2& p = outline.points[i];
        const Point2& n = outline.normals[i];
        add(surface, frame.point(p.x - n.x * inset, p.y - n.y * inset, z));
        surface.normals.push_back(frame.x * (n.x * std::sin(slope)) + frame.y * (n.y * std::sin(slope)) -
                                  frame.z * std::cos(slope));
    }
    return first;
}

void addRound(SmoothOutline& outline, const Point2& centre, double radius, double angle) {
    const Point2 way{std::cos(angle), std::sin(angle)};
    outline.points.push_back({centre.x + radius * way.x, centre.y + radius * way.y});
    outline.normals.push_back(way);
}

} // namespace

Frame along(const Vec3& origin, const Vec3& direction) {
    const Vec3 y = unit(direction);
    const Vec3 helper = std::fabs(y.x) < 0.9 ? Vec3{1.0, 0.0, 0.0} : Vec3{0.0, 0.0, 1.0};
    const Vec3 z = unit(cross(helper, y));
    return {origin, cross(y, z), y, z};
}

Outline circle(double radius, int segments, Point2 centre) {
    Outline outline;
    for (int i = 0; i < segments; ++i) {
        const double angle = 2.0 * pi * i / segments;
        outline.push_back({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
    return outline;
}

SmoothOutline roundedRectangle(double width, double height, double radius, int segments) {
    SmoothOutline outline;
    const Point2 centres[] = {{width / 2 - radius, height / 2 - radius},
                              {radius - width / 2, height / 2 - radius},
                              {radius - width / 2, radius - height / 2},
                              {width / 2 - radius, radius - height / 2}};
    for (int corner = 0; corner < 4; ++corner) {
        for (int i = 0; i <= segments; ++i) {
            addRound(outline, centres[corner], radius, pi / 2.0 * (corner + static_cast<double>(i) / segments));
        }
    }
    return outline;
}

SmoothOutline bar(double length, double radiusStart, double radiusEnd, int segments) {
    // The straight sides touch both circles.
    const double lean = std::asin((radiusStart - radiusEnd) / length);
    SmoothOutline outline;
    for (int i = 0; i <= segments; ++i) {
        addRound(outline, {length, 0.0}, radiusEnd, -pi / 2.0 + lean + (pi - 2.0 * lean) * i / segments);
    }
    for (int i = 0; i <= segments; ++i) {
        addRound(outline, {}, radiusStart, pi / 2.0 - lean + (pi + 2.0 * lean) * i / segments);
    }
    return outline;
}

Outline gear(int teeth, double pitchRadius, double phase) {
    const double module = 2.0 * pitchRadius / teeth;
    const double tip = pitchRadius + 0.9 * module;
    const double root = pitchRadius - 1.1 * module;
    const double pitch = 2.0 * pi / teeth;
    // Half widths of a tooth as parts of the pitch, at the root and at the tip.
    constexpr double rootHalf = 0.35;
    constexpr double tipHalf = 0.14;
    Outline outline;
    for (int i = 0; i < teeth; ++i) {
        const auto at = [&](double radius, double part) {
            const double angle = (i + phase + part) * pitch;
            outline.push_back({radius * std::cos(angle), radius * std::sin(angle)});
        };
        at(root, -rootHalf);
        at(tip, -tipHalf);
        at(tip, tipHalf);
        at(root, rootHalf);
    }
    return outline;
}

void plate(Surface& surface, const Frame& frame, const Outline& outline, const std::vector<Outline>& holes,
           double thickness) {
    std::vector<Outline> clockwise = holes;
    for (Outline& hole : clockwise) {
        if (area(hole) > 0.0) {
            std::reverse(hole.begin(), hole.end());
        }
    }
    const Outline joined = joinHoles(outline, clockwise);
    face(surface, frame, joined, 0.0, false);
    face(surface, frame, joined, thickness, true);
    clockwise.push_back(outline);
    for (const Outline& edge : clockwise) {
        const std::uint32_t back = addOutline(surface, frame, edge, 0.0);
        band(surface, back, addOutline(surface, frame, edge, thickness), edge.size());
    }
}

void roundedPlate(Surface& surface, const Frame& frame, const SmoothOutline& outline, double thickness, double radius,
                  Back back) {
    constexpr int steps = 4; // of each quarter turn
    // A sharp back is a row of its own for the face, and the straight side goes down to it.
    const bool sharp = back == Back::sharp;
    std::uint32_t previous = sharp ? addRoundedRow(surface, frame, outline, 0.0, 0.0, 0.0) : 0;
    const int first = sharp ? steps : 0;
    for (int i = first; i <= 2 * steps + 1; ++i) {
        // The middle row stands twice, at either end of the straight side.
        const bool front = i > steps;
        const double slope = pi / 2.0 * (front ? i - 1 : i) / steps;
        const double low = sharp ? 0.0 : radius * (1.0 - std::cos(slope));
        const double z = front ? thickness - radius * (1.0 + std::cos(slope)) : low;
        const std::uint32_t row = addRoundedRow(surface, frame, outline, radius * (1.0 - std::sin(slope)), z, slope);
        if (i > first) {
            band(surface, previous, row, outline.points.size());
        }
        previous = row;
    }
    // The flat faces stand on the points of the outermost rows, whose normals are theirs.
    kivimport::Points polygon;
    for (std::size_t i = 0; i < outline.points.size(); ++i) {
        polygon.push_back({outline.points[i].x, outline.points[i].y, 0.0});
    }
    kivimport::Indices pieces;
    kivimport::triangulate(polygon, pieces);
    for (std::size_t i = 0; i < pieces.size(); i += 3) {
        triangle(surface, pieces[i], pieces[i + 2], pieces[i + 1]);
        triangle(surface, previous + pieces[i], previous + pieces[i + 1], previous + pieces[i + 2]);
    }
    surface.cornerNormals = surface.corners;
}

void lathe(Surface& surface, const Frame& frame, const Outline& profile, int segments) {
    const auto count = static_cast<std::size_t>(segments);
    std::vector<std::uint32_t> rows;
    for (const Point2& p : profile) {
        rows.push_back(static_cast<std::uint32_t>(surface.positions.size()));
        for (int i = 0; i < segments; ++i) {
            const double angle = 2.0 * pi * i / segments;
            // From z to x, so that the turn is positive about y.
            add(surface, frame.point(p.x * std::sin(angle), p.y, p.x * std::cos(angle)));
        }
    }
    for (std::size_t i = 1; i < rows.size(); ++i) {
        band(surface, rows[i - 1], rows[i], count);
    }
}

void cylinder(Surface& surface, const Frame& frame, double radius, double height, int segments) {
    lathe(surface, frame, {{0.0, 0.0}, {radius, 0.0}, {radius, height}, {0.0, height}}, segments);
}

void sphere(Surface& surface, const Vec3& centre, double radius, int segments) {
    Outline profile;
    const int rows = segments / 2;
    for (int i = 0; i <= rows; ++i) {
        const double angle = -pi / 2.0 + pi * i / rows;
        profile.push_back({i == 0 || i == rows ? 0.0 : radius * std::cos(angle), radius * std::sin(angle)});
    }
    lathe(surface, Frame{centre}, profile, segments);
}

void torus(Surface& surface, const Frame& frame, double radius, double thickness, int segments, int sides) {
    Outline profile;
    for (int i = 0; i <= sides; ++i) {
        // The first point is the last one to the bit, so that the seam welds.
        const double angle = 2.0 * pi * (i % sides) / sides;
        profile.push_back({radius + thickness * std::cos(angle), thickness * std::sin(angle)});
    }
    lathe(surface, frame, profile, segments);
}

void wire(Surface& surface, const std::function<Vec3(double)>& curve, int pieces, double radius, int sides) {
    std::vector<std::uint32_t> rows;
    Frame frame;
    for (int i = 0; i <= pieces; ++i) {
        const double t = static_cast<double>(i) / pieces;
        const double step = 0.5 / pieces;
        const Vec3 tangent = unit(curve(std::min(t + step, 1.0)) - curve(std::max(t - step, 0.0)));
        if (i == 0) {
            frame = along(curve(0.0), tangent);
        } else {
            // Carried on with as little twist as can be.
            frame.z = unit(cross(frame.x, tangent));
            frame.x = cross(tangent, frame.z);
            frame.y = tangent;
            frame.origin = curve(t);
        }
        rows.push_back(static_cast<std::uint32_t>(surface.positions.size()));
        for (int s = 0; s < sides; ++s) {
            const double angle = 2.0 * pi * s / sides;
            add(surface, frame.point(radius * std::sin(angle), 0.0, radius * std::cos(angle)));
        }
    }
    const auto count = static_cast<std::size_t>(sides);
    for (std::size_t i = 1; i < rows.size(); ++i) {
        band(surface, rows[i - 1], rows[i], count);
    }
    for (std::uint32_t s = 2; s < count; ++s) {
        triangle(surface, rows.front(), rows.front() + s, rows.front() + s - 1);
        triangle(surface, rows.back(), rows.back() + s - 1, rows.back() + s);
    }
}

void bolt(Surface& surface, const Frame& frame, double width) {
    cylinder(surface, frame, 0.62 * width, 0.08 * width, 32);
    cylinder(surface, {frame.point(0.0, 0.08 * width, 0.0), frame.x, frame.y, frame.z}, 0.5 * width, 0.32 * width, 6);
}

} // namespace shapes
