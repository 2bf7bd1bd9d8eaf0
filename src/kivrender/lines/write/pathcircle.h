// The circles that curves stand for.
#ifndef KIVRENDER_LINES_WRITE_PATHCIRCLE_H
#define KIVRENDER_LINES_WRITE_PATHCIRCLE_H

#include "kivrender/lines/curvefit.h"

#include <optional>
#include <span>

// The point of a cubic from start at t from 0 to 1.
KivPicturePoint kivPointOn(const KivPicturePoint& start, const KivCurvePiece& cubic, double t);

struct PathCircle {
    KivPicturePoint centre;
    double radius = 0.0;
};

// The circle that all points lie on within tolerance, by Kasa's fit (1976). None where they are next to straight.
std::optional<PathCircle> kivCircleThrough(std::span<const KivPicturePoint> points, double tolerance);

#endif
