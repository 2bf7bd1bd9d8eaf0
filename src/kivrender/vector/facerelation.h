// Tells which of two faces lies over the other where they meet in the window.
#ifndef KIVRENDER_VECTOR_FACERELATION_H
#define KIVRENDER_VECTOR_FACERELATION_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/vector/primitivecut.h"
#include "kivrender/vector/screenarea.h"
#include "kivrender/vector/screenface.h"

enum class FaceRelation {
    Free,    // does not lie over the other
    Over,    // the first has to be painted after the second
    Under,   // the first has to be painted before the second
    Level,   // the later drawn has to be painted after the other
    Crossed, // each lies over the other somewhere
};

// Corners that a cut makes are rounded: parts of neighbours may overlap by so many steps of the grid without a meaning.
inline constexpr double faceCutNoise = 4.0;

// What their planes and depths tell of two faces if they meet at all; Crossed where that is not enough.
FaceRelation relationOfDepths(const ScreenFace& first, const ScreenFace& second);

KIV_API FaceRelation faceRelation(const ScreenFace& first, const ScreenFace& second);

// How much farther the first lies than the second where they lie over one another. False where there is no such place.
bool findFaceDistance(const ScreenFace& first, const ScreenFace& second, ScreenDistance* distance);

// What follows from such a distance.
FaceRelation relationFromDistance(const ScreenDistance& distance, const ScreenFace& first, const ScreenFace& second);

// Where the depths of two faces are the same: above 0 where the first lies farther.
WindowLine meetingLine(const ScreenFace& first, const ScreenFace& second);

#endif
