// From the pieces of a line, one chord in each triangle or along each edge, to the round line that they stand for.
#ifndef KIVRENDER_LINES_ROUNDLINE_H
#define KIVRENDER_LINES_ROUNDLINE_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/lines/kivlineview.h"

#include <vector>

// Puts points between those of a line in space, on cubics through these (after Catmull and Rom, A Class of Local
// Interpolating Splines, 1974, with the slopes of parabolas through three points that lie unevenly): so many that the
// picture shows no chords. isRound: of the pieces, each by its first point. The others are edges of a mesh. They stay
// straight but where several of about one length turn a little and the cubic rises above them by next to nothing, as
// along the rim of a finely cut cylinder.
//
// normals: of the surface at each point, of unit length, or of no length where they are not known; empty for none at
// all. Where round pieces of very unlike lengths meet, three points tell no curve: the short one may be in a tight bend
// from which the long one runs out straight. A contour is seen at right angles to the normal, so that tells its slope.
void kivRoundLine(const KivLineView& view, const std::vector<bool>& isRound, const std::vector<KivVec>& normals,
                  bool closed, std::vector<KivVec>& points);

#endif
