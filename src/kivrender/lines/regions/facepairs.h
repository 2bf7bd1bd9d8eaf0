// Pairs of faces that differ in their looks and may cross or lie in one plane, by where they lie in space.
//
// A tree over the faces along a space-filling curve (after Lauterbach et al., Fast BVH Construction on GPUs, 2009),
// each node with the box of its faces in the picture and in depth and with their look where they have one in common, is
// compared with itself from the root down: what is of one look is left at once, and small faces of a surface meet their
// neighbours alone, however many surfaces lie before one another in the picture. Where large faces run through each
// other in great numbers the pairs are too many; whoever asks then has to look at what is visible of them first.
#ifndef KIVRENDER_LINES_REGIONS_FACEPAIRS_H
#define KIVRENDER_LINES_REGIONS_FACEPAIRS_H

#include "kivrender/lines/regions/regionfaces.h"

#include <cstdint>
#include <utility>
#include <vector>

using FacePair = std::pair<std::uint32_t, std::uint32_t>;

// Replaces pairs by all that may cross or tie, with the smaller number first, in no order, some more than once. False
// when the user cancelled or the work is at its end. With *tooMany and without pairs where it takes more than a
// thousand steps for each face.
bool findFacePairs(const RegionFaces& faces, std::vector<FacePair>& pairs, bool* tooMany);

// Two triangles are apart in the picture when a side of one of them has the other wholly on its right, as neighbours in
// a mesh do; so are those with boxes apart, which is not asked here.
bool areFacesApart(const RegionFaces& faces, std::uint32_t first, std::uint32_t second);

#endif
