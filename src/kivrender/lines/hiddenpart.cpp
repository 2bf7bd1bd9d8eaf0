#include "kivrender/lines/hiddenpart.h"

#include <tuple>

namespace {

bool isSame(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// Cuts the part down to where a value that runs evenly from p to q is not below 0.
bool keepAbove(double p, double q, KivLinePart* part) {
    if (p < 0.0) {
        if (q < 0.0) {
            return false;
        }
        const double at = p / (p - q);
        part->from = part->from > at ? part->from : at;
    } else if (q < 0.0) {
        const double at = p / (p - q);
        part->to = part->to < at ? part->to : at;
    }
    return part->from < part->to;
}

// The plane through the eye and the edge, its normal turned to the same side whichever end comes first; sign is -1
// where that swapped the ends.
KivVec edgePlane(const KivLineView& view, const KivVec& a, const KivVec& b, double* sign) {
    if (std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z)) {
        *sign = 1.0;
        return kivCross(view.sight(a), view.sight(b));
    }
    *sign = -1.0;
    return kivCross(view.sight(b), view.sight(a));
}

} // namespace

bool kivHiddenPart(const KivLineView& view, const KivVec (&corners)[3], double grain, const KivVec& p, const KivVec& q,
                   KivLinePart* part) {
    const KivVec normal = kivCross(corners[1] - corners[0], corners[2] - corners[0]);
    // Above 0 where the eye lies on the side that the normal points to.
    const double facing = view.isPerspective() ? -kivDot(normal, corners[0]) : -normal.z;
    if (facing == 0.0) {
        return false;
    }
    const double towards = facing > 0.0 ? 1.0 : -1.0;
    *part = {0.0, 1.0};

    // Behind the plane. A corner of the triangle lies in it exactly, whatever rounding says.
    const double margin = grain * kivLength(normal);
    const auto depthOf = [&](const KivVec& point) {
        for (const KivVec& corner : corners) {
            if (isSame(point, corner)) {
                return 0.0;
            }
        }
        const double behind = -towards * kivDot(normal, point - corners[0]);
        return behind < margin && behind > -margin ? 0.0 : behind;
    };
    const double depthP = depthOf(p);
    const double depthQ = depthOf(q);
    if ((depthP <= 0.0 && depthQ <= 0.0) || !keepAbove(depthP, depthQ, part)) {
        return false;
    }

    const KivVec sightP = view.sight(p);
    const KivVec sightQ = view.sight(q);
    for (int i = 0; i < 3; ++i) {
        const KivVec& a = corners[i];
        const KivVec& b = corners[i == 2 ? 0 : i + 1];
        double sign = 0.0;
        const KivVec plane = edgePlane(view, a, b, &sign);
        const auto sideOf = [&](const KivVec& point, const KivVec& sight) {
            return isSame(point, a) || isSame(point, b) ? 0.0 : sign * towards * kivDot(plane, sight);
        };
        // The third corner has the value -facing here, on the plane's side of which the pyramid lies.
        if (!keepAbove(-sideOf(p, sightP), -sideOf(q, sightQ), part)) {
            return false;
        }
    }
    return true;
}
