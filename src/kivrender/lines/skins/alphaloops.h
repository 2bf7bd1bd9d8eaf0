// The outlines of what is there of a texture with holes (KivTexture::cutOut), as closed loops in the texture.
//
// Marching squares over the alpha of the pixels' middles (Lorensen and Cline, Marching cubes, 1987), and of the points
// of a loop those that Douglas and Peucker (1973) keep.
#ifndef KIVRENDER_LINES_SKINS_ALPHALOOPS_H
#define KIVRENDER_LINES_SKINS_ALPHALOOPS_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivskinimage.h"

#include <vector>

// In coordinates of the texture: the picture from (0, 0) to (1, 1), and beyond as it goes on there.
struct AlphaWindow {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

struct AlphaLoop {
    std::vector<KivPicturePoint> points; // the last one is followed by the first one
    AlphaWindow box;
};

// What is there lies within an odd number of loops; they reach a little beyond the window, and end there. image: the
// texture, or a smaller form of it. tolerance: in pixels of the image. effort: as in kivcutmesh.h. False when the
// window has too many pixels, or when the user cancelled.
bool findAlphaLoops(const KivTexture& texture, const KivSkinImage& image, const AlphaWindow& window, double tolerance,
                    double effort, std::vector<AlphaLoop>& loops);

#endif
