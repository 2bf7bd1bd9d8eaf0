// Gaps in creases: where a sharp edge of a shape bends for a little by less than others must to be drawn, it is drawn
// through. Edges that are strong start a line and weaker ones carry it on, as John Canny has it for edges of images (A
// Computational Approach to Edge Detection, 1986), but only where another strong one follows.
#ifndef KIVRENDER_LINES_CREASEBRIDGES_H
#define KIVRENDER_LINES_CREASEBRIDGES_H

#include "kivrender/lines/kivfeatureedges.h"

#include <vector>

// Adds to the creases those wings that lead on from a point where one crease ends to another: they turn by little, bend
// by at least half as much as a crease must, and are no longer than a quarter of each of the two. False when the user
// cancelled.
bool kivBridgeCreases(const KivSurface& surface, const std::vector<KivFeatureWing>& wings, const KivFeatureRules& rules,
                      std::vector<bool>& creases);

#endif
