// The part of a segment that one triangle hides: the step on which exact visibility stands.
//
// A triangle hides what lies in the pyramid of sight lines behind it. Its three sides and the triangle's own plane are
// half-spaces, and the value that tells the side of each runs evenly along a segment, so that the hidden part is cut
// out of the segment by four divisions (Cyrus and Beck, 1978), with no sampling. Each value that belongs to an edge is
// computed of its two ends in one order, whichever triangle asks: the parts that two neighbours hide meet in the same
// number, and a closed surface leaves no gap.
#ifndef KIVRENDER_LINES_HIDDENPART_H
#define KIVRENDER_LINES_HIDDENPART_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/lines/kivlineview.h"

// Parameters along a segment, from 0 at its first point to 1 at its last.
struct KivLinePart {
    double from = 0.0;
    double to = 0.0;
};

// True, with the part, if the triangle hides any of the segment from p to q. Corners and segment are in camera space,
// in front of the near plane. What lies behind the triangle's plane by no more than grain, in the model's units, lies
// in it and is not hidden by it: coordinates of files are rounded, and faces that touch must not hide each other's
// edges. A triangle that is seen edge-on hides nothing.
KIV_API bool kivHiddenPart(const KivLineView& view, const KivVec (&corners)[3], double grain, const KivVec& p,
                           const KivVec& q, KivLinePart* part);

#endif
