#include "kivrender/lines/trianglecrossing.h"

#include <algorithm>
#include <tuple>

namespace {

bool isSame(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool comesBefore(const KivVec& a, const KivVec& b) {
    return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
}

// A triangle with its corners in one order whatever the order in the mesh: equal triangles have equal planes, bit for
// bit.
struct Face {
    KivVec corners[3];
    KivVec normal;
    double margin; // of values of above, by the grain

    Face(const KivVec (&given)[3], double grain) {
        std::copy(given, given + 3, corners);
        std::sort(corners, corners + 3, comesBefore);
        normal = kivCross(corners[1] - corners[0], corners[2] - corners[0]);
        margin = grain * kivLength(normal);
    }

    // Not below 0 for points above the plane and in it. A corner lies in it, whatever rounding says.
    double above(const KivVec& point) const {
        for (const KivVec& corner : corners) {
            if (isSame(corner, point)) {
                return 0.0;
            }
        }
        const double value = kivDot(normal, point - corners[0]);
        return value < margin && value > -margin ? 0.0 : value;
    }
};

// A bit for each corner of a triangle: whether it lies above the plane of the other.
struct Sides {
    double values[3];
    unsigned int above = 0;

    Sides(const Face& plane, const Face& face) {
        for (int i = 0; i < 3; ++i) {
            values[i] = plane.above(face.corners[i]);
            above |= values[i] >= 0.0 ? 1U << i : 0U;
        }
    }
    bool areMixed() const {
        return above != 0 && above != 7;
    }
    // The corner that alone lies off the plane, or -1.
    int onlyOneOff() const {
        int off = -1;
        for (int i = 0; i < 3; ++i) {
            if (values[i] != 0.0) {
                if (off >= 0) {
                    return -1;
                }
                off = i;
            }
        }
        return off;
    }
};

// Whether the line through a and b, with a before b, leaves the edge from c to d, with c before d, on its left: the
// same for both triangles at that edge, and the same whichever of the two edges is asked about the other.
bool passesLeft(const KivVec& a, const KivVec& b, const KivVec& c, const KivVec& d) {
    if (comesBefore(c, a) || (isSame(a, c) && comesBefore(d, b))) {
        return passesLeft(c, d, a, b);
    }
    return kivDot(kivCross(b - a, c - a), d - a) >= 0.0;
}

// Adds the point where the edge from corner i to corner k of a face pierces the other one.
class Piercings {
public:
    void add(const Face& face, const Sides& sides, int i, int k, const Face& other) {
        if (((sides.above >> i) & 1U) == ((sides.above >> k) & 1U)) {
            return;
        }
        const KivVec& a = face.corners[i]; // i before k: corners are in order
        const KivVec& b = face.corners[k];
        // Around the triangle; its edges run from the earlier corner to the later one but for the last.
        const bool first = passesLeft(a, b, other.corners[0], other.corners[1]);
        const bool second = passesLeft(a, b, other.corners[1], other.corners[2]);
        const bool third = passesLeft(a, b, other.corners[0], other.corners[2]);
        if (first != second || first == third) {
            return;
        }
        // A corner that lies in the plane is the point itself, with no rounding.
        const double t = sides.values[i] / (sides.values[i] - sides.values[k]);
        take(sides.values[k] == 0.0 ? b : a + (b - a) * t);
    }
    void take(const KivVec& point) {
        if (count < 6) {
            points[count++] = point;
        }
    }

    // The two that lie farthest apart.
    bool ends(KivVec* from, KivVec* to) const {
        double most = 0.0;
        for (int i = 0; i < count; ++i) {
            for (int k = i + 1; k < count; ++k) {
                const double length = kivLength(points[k] - points[i]);
                if (length > most) {
                    most = length;
                    *from = points[i];
                    *to = points[k];
                }
            }
        }
        return most > 0.0;
    }

private:
    KivVec points[6];
    int count = 0;
};

} // namespace

bool kivTrianglesCross(const KivVec (&one)[3], const KivVec (&other)[3], double grain, KivTriangleCrossing* crossing) {
    Piercings piercings;
    int shared = 0;
    for (const KivVec& a : one) {
        for (const KivVec& b : other) {
            if (isSame(a, b)) {
                ++shared;
                piercings.take(a);
            }
        }
    }
    if (shared > 1) {
        return false;
    }
    const Face first(one, grain);
    const Face second(other, grain);
    const Sides firstSides(second, first);
    const Sides secondSides(first, second);
    *crossing = {};
    for (const bool isFirst : {true, false}) {
        const Face& face = isFirst ? first : second;
        const Sides& sides = isFirst ? firstSides : secondSides;
        const int off = sides.onlyOneOff();
        if (off < 0) {
            continue;
        }
        if (shared == 1) {
            return false; // around a common corner, on a face of many triangles: no surface runs into another
        }
        crossing->isAlongEdge = true;
        crossing->isAbove = !sides.areMixed();
        crossing->isEdgeOfFirst = isFirst;
        crossing->edge[0] = face.corners[off == 0 ? 1 : 0];
        crossing->edge[1] = face.corners[off == 2 ? 1 : 2];
        if (crossing->isAbove) {
            return true;
        }
        break;
    }
    if (!firstSides.areMixed() && !secondSides.areMixed()) {
        return false;
    }
    constexpr int edges[3][2] = {{0, 1}, {1, 2}, {0, 2}};
    for (const auto& [i, k] : edges) {
        piercings.add(first, firstSides, i, k, second);
        piercings.add(second, secondSides, i, k, first);
    }
    return piercings.ends(&crossing->from, &crossing->to);
}
