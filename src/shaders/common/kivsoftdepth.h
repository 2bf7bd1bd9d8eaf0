// A depth buffer of our own, for vector pages: while OpenGL records a page it draws nothing that could be read back,
// and lines still have to know what stands before them.
#ifndef SHADERS_COMMON_KIVSOFTDEPTH_H
#define SHADERS_COMMON_KIVSOFTDEPTH_H

#include "kivdepthimage.h"
#include "kivsurface.h"
#include "kivview.h"

#include <vector>

class KivSoftDepth {
public:
    // The picture of the view, empty: a depth of 1 everywhere. As with glPolygonOffset, what is drawn is pushed back by
    // so many slopes of its own and so many steps of the depth buffer.
    KivSoftDepth(const KivView& seenFrom, double offsetSlopes, double offsetSteps);

    // Triangles, whichever way they face; what lies before the near plane is cut off. A pixel whose middle lies on a
    // side counts as inside, so that neighbours leave no gap. Corners that are no numbers draw nothing.
    void draw(const KivSurface& surface);
    // Fills the values of a part of the picture.
    void read(KivDepthImage::Span& span) const;
    float at(int x, int y) const;

private:
    void drawTriangle(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c);

    KivView view;
    double slopes;
    double steps;
    std::vector<float> depths;
};

#endif
