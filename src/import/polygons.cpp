#include "import/polygons.h"

#include <cmath>

namespace kivimport {
namespace {

struct Flat {
    double u = 0.0;
    double v = 0.0;
};

double turn(const Flat& a, const Flat& b, const Flat& c) {
    return (b.u - a.u) * (c.v - a.v) - (b.v - a.v) * (c.u - a.u);
}

// Newell's sum: twice the polygon's area as a vector, also for corners that are not quite in one plane.
Vec3 areaVector(const Points& polygon) {
    Vec3 sum;
    for (std::size_t i = 1; i + 1 < polygon.size(); ++i) {
        sum = sum + cross(polygon[i] - polygon[0], polygon[i + 1] - polygon[0]);
    }
    return sum;
}

// Drops the axis along which the polygon is seen best and keeps its winding positive.
std::vector<Flat> flatten(const Points& polygon, const Vec3& normal) {
    const double ax = std::fabs(normal.x);
    const double ay = std::fabs(normal.y);
    const double az = std::fabs(normal.z);
    std::vector<Flat> flat;
    flat.reserve(polygon.size());
    for (const Vec3& p : polygon) {
        if (az >= ax && az >= ay) {
            flat.push_back(normal.z >= 0.0 ? Flat{p.x, p.y} : Flat{p.y, p.x});
        } else if (ax >= ay) {
            flat.push_back(normal.x >= 0.0 ? Flat{p.y, p.z} : Flat{p.z, p.y});
        } else {
            flat.push_back(normal.y >= 0.0 ? Flat{p.z, p.x} : Flat{p.x, p.z});
        }
    }
    return flat;
}

bool isConvex(const std::vector<Flat>& flat) {
    const std::size_t n = flat.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (turn(flat[i], flat[(i + 1) % n], flat[(i + 2) % n]) < 0.0) {
            return false;
        }
    }
    // A star that winds round more than once also turns one way only; the fan from corner 0 tells the two apart.
    for (std::size_t i = 1; i + 1 < n; ++i) {
        if (turn(flat[0], flat[i], flat[i + 1]) < 0.0) {
            return false;
        }
    }
    return true;
}

bool isEar(const std::vector<Flat>& flat, const std::vector<std::uint32_t>& rest, std::size_t at) {
    const std::size_t n = rest.size();
    const Flat& a = flat[rest[(at + n - 1) % n]];
    const Flat& b = flat[rest[at]];
    const Flat& c = flat[rest[(at + 1) % n]];
    if (turn(a, b, c) <= 0.0) {
        return false;
    }
    for (std::size_t i = 0; i + 3 < n; ++i) {
        const Flat& p = flat[rest[(at + 2 + i) % n]];
        const bool corner = (p.u == a.u && p.v == a.v) || (p.u == b.u && p.v == b.v) || (p.u == c.u && p.v == c.v);
        if (!corner && turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0) {
            return false;
        }
    }
    return true;
}

void clipEars(const std::vector<Flat>& flat, Indices& triangles) {
    std::vector<std::uint32_t> rest(flat.size());
    for (std::size_t i = 0; i < rest.size(); ++i) {
        rest[i] = static_cast<std::uint32_t>(i);
    }
    std::size_t at = 0;
    while (rest.size() > 3) {
        const std::size_t n = rest.size();
        std::size_t ear = at % n;
        for (std::size_t tried = 0; tried < n; ++tried) {
            const std::size_t candidate = (at + tried) % n;
            if (isEar(flat, rest, candidate)) {
                ear = candidate;
                break;
            }
        }
        // Without any ear the polygon crosses itself or has no area; the next corner goes, so that the loop ends.
        triangles.insert(triangles.end(), {rest[(ear + n - 1) % n], rest[ear], rest[(ear + 1) % n]});
        rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(ear));
        at = ear;
    }
    triangles.insert(triangles.end(), {rest[0], rest[1], rest[2]});
}

} // namespace

void triangulate(const Points& polygon, Indices& triangles) {
    const std::size_t n = polygon.size();
    if (n < 3) {
        return;
    }
    if (n == 3) {
        triangles.insert(triangles.end(), {0, 1, 2});
        return;
    }
    const std::vector<Flat> flat = flatten(polygon, areaVector(polygon));
    if (isConvex(flat)) {
        for (std::uint32_t i = 1; i + 1 < n; ++i) {
            triangles.insert(triangles.end(), {0, i, i + 1});
        }
        return;
    }
    clipEars(flat, triangles);
}

} // namespace kivimport
