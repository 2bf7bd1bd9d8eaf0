// Paths as polylines, and the circles that curves stand for.
#ifndef KIVRENDER_LINES_WRITE_PATHPOLYLINE_H
#define KIVRENDER_LINES_WRITE_PATHPOLYLINE_H

#include "kivrender/lines/curvefit.h"

#include <optional>
#include <span>
#include <vector>

// The corners of a polyline that lies within tolerance of the path; a closed one ends where it begins.
std::vector<KivPicturePoint> kivPolylineOf(const KivCurvePath& path, double tolerance);

// The point of a cubic from start at t from 0 to 1.
KivPicturePoint kivPointOn(const KivPicturePoint& start, const KivCurvePiece& cubic, double t);

struct PathCircle {
    KivPicturePoint centre;
    double radius = 0.0;
};

// The circle that all points lie on within tolerance, by Kasa's fit (1976). None where they are next to straight.
std::optional<PathCircle> kivCircleThrough(std::span<const KivPicturePoint> points, double tolerance);

#endif
