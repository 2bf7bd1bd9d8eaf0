// Circles (Kasa 1976), ellipses (Halir, Flusser 1998) and arcs: what a line is where it is one, to be written as such.
//
// DXF and HPGL have circles and arcs of their own, and a CAD program that reads them can measure a radius where a run
// of short lines would have none. Nothing here throws or knows a page; the space is that of the picture, in pixels.
#ifndef KIVRENDER_LINES_KIVELLIPSEARC_H
#define KIVRENDER_LINES_KIVELLIPSEARC_H

#include "kivrender/lines/curvefit.h"
#include "kivrender/platform/kivexport.h"

#include <optional>
#include <span>

// The points at(angle), for angles from `from` on over `sweep`. Lengths in the unit of its places, angles in radians;
// that of a point is the one that it had on the circle before this was made narrower across.
struct KivEllipseArc {
    KivPicturePoint centre;
    double along = 0.0;  // half of the longer axis
    double across = 0.0; // half of the shorter one; of a circle they are equal
    double turn = 0.0;   // from the x axis to the longer axis, counter-clockwise; 0 of a circle
    double from = 0.0;
    double sweep = 0.0; // counter-clockwise above 0

    // Exactly, as the fit makes both axes equal for one.
    bool isCircle() const {
        return along == across;
    }
    // Closed, with a sweep of a whole turn either way.
    KIV_API bool isWhole() const;
    // The place at an angle, in radians.
    KIV_API KivPicturePoint at(double angle) const;
};

// The arc that a polyline, closed or open, departs from by at most tolerance, and that does not depart from it by more.
// None where there is no such arc, where the line turns by so little that any short curve would pass for an arc (10
// degrees of a circle, 60 of an ellipse), or where it is nearly straight. The time is linear.
KIV_API std::optional<KivEllipseArc> kivFitEllipseArc(std::span<const KivPicturePoint> polyline, bool closed,
                                                      double tolerance);

// The arc as cubics that depart from it by less than a tenth of tolerance.
KIV_API KivCurvePath kivPathOf(const KivEllipseArc& arc, double tolerance);

#endif
