// Gaps of contours where the surface only just does not fold: a contour ends in a cusp, and a little further on another
// begins, where the surface between them falls away so steeply that the eye sees the line go on.
#ifndef KIVRENDER_LINES_STEEPBRIDGES_H
#define KIVRENDER_LINES_STEEPBRIDGES_H

#include "kivrender/lines/kivoccluders.h"
#include "kivrender/lines/linebudget.h"

#include <vector>

// The end of a contour, and the direction in the picture in which it arrives there, of unit length.
struct BridgeEnd {
    KivPicturePoint place;
    KivPicturePoint out;
};

// No longer gap is bridged, in pixels.
inline constexpr double longestBridge = 24.0;

// The points between the two ends, on the surface that is seen there; none if it does not fall away to one side all
// along, or the budget has ended.
std::vector<KivVec> kivSteepBridge(const KivOccluders& occluders, LineBudget& budget, const BridgeEnd& from,
                                   const BridgeEnd& to);

#endif
