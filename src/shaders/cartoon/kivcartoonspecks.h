// Islands of a tone that are too small to be drawn: they become part of the tone around them.
//
// Light and shine change in a straight line over each triangle, so the part of the surface beyond a value hangs
// together where its corners do along sides of triangles (the area opening and closing of Vincent 1993, on a mesh in
// place of an image). A part that is small in the picture is brought to the other side of the value at its corners, and
// with it goes from pictures and drawings of any size alike. Sides of different light are edges of the shape: what they
// bound on all sides stays.
#ifndef SHADERS_CARTOON_KIVCARTOONSPECKS_H
#define SHADERS_CARTOON_KIVCARTOONSPECKS_H

#include "kivcartoongeometry.h"
#include "kivcartoontones.h"

#include <vector>

// Where one tone takes over from another: texture coordinates of light or of shine.
struct KivToneEdge {
    float at;
    float below; // the nearest that is wholly of the lower tone
    float above;
};

struct KivSpeckRules {
    double smallestArea = 0.0; // in square pixels of the image that is drawn into
    double thinnestNeck = 0.0; // in its pixels: what hangs together by less than this does not
    std::vector<KivToneEdge> light;
    std::vector<KivToneEdge> shine;
};

// The edges of a look; those that run softly from tone to tone have no islands and are left out.
// smallestTone: in square pixels of the finished picture, each of so many pixels of the drawn one in each direction.
KivSpeckRules kivSpeckRules(const KivCartoonColors& colors, double smallestTone, double pixel);

// Takes time in proportion to the triangles. Batches in the order of their model stay as they are, as do those whose
// triangles do not share corners.
void kivRemoveSpecks(const KivSpeckRules& rules, const KivView& view, KivCartoonBatch& batch);

#endif
