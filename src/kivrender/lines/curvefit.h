// From a polyline in the picture to the few lines and cubic Bézier curves that a person would draw (Schneider 1990):
// straight runs become one line each, corners stay, everything between is curves that join without a kink.
#ifndef KIVRENDER_LINES_CURVEFIT_H
#define KIVRENDER_LINES_CURVEFIT_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/platform/kivexport.h"

#include <cstdint>
#include <span>
#include <vector>

// A path begins at its start; each piece goes on where the one before ended.
struct KivCurvePiece {
    enum class Kind : std::uint8_t { line, cubic };

    Kind kind = Kind::line;
    KivPicturePoint control[2]; // of a cubic
    KivPicturePoint end;
};

struct KivCurvePath {
    KivPicturePoint start;
    std::vector<KivCurvePiece> pieces;
    bool closed = false; // the last piece ends at the start
};

// No point of the polyline lies farther than tolerance, in pixels, from the path, nor the path from the polyline. A
// closed polyline does not repeat its first point. Points that are not finite are left out; what is left of a polyline
// without extent is a path without pieces. The time goes with n log n on the whole, for points that lie within some
// pixels of one another in the order of the line.
KIV_API KivCurvePath kivFitCurve(std::span<const KivPicturePoint> polyline, bool closed, double tolerance);

// The points of the path, and as many more on its curves that the lines between them depart from these by no more than
// tolerance, in pixels. A closed path ends where it began.
KIV_API std::vector<KivPicturePoint> kivFlattenCurve(const KivCurvePath& path, double tolerance);

#endif
