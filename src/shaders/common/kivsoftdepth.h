// A depth buffer of our own, for vector pages: while OpenGL records a page it draws nothing that could be read back,
// and lines still have to know what stands before them.
//
// Large triangles are kept until something is read and then drawn from front to back, so that what lies behind others
// costs next to nothing, however many there are.
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
    // side counts as inside, so that neighbours leave no gap. Triangles with a NaN draw nothing.
    void draw(const KivSurface& surface);
    // Fills the values of a part of the picture.
    void read(KivDepthImage::Span& span);
    float at(int x, int y);

private:
    struct Triangle {
        KivWindowPoint a;
        KivWindowPoint b;
        KivWindowPoint c;
        double slopeX = 0.0; // of its depth
        double slopeY = 0.0;
        double shift = 0.0;
        double turn = 1.0; // 1 counterclockwise, -1 clockwise
        int left = 0;
        int right = 0;
        int bottom = 0;
        int top = 0;

        bool isInside(int x, int y) const;
        double depthAt(int x, int y) const;
        double nearest() const;
        double farthest() const;
        void findRow(int y, int* first, int* last) const;
    };

    void addTriangle(const KivWindowPoint& a, const KivWindowPoint& b, const KivWindowPoint& c);
    void drawTriangle(const Triangle& triangle);
    void drawRow(const Triangle& triangle, int y, int first, int last);
    void drawBlockRow(const Triangle& triangle, int row);
    bool isSeenIn(const Triangle& triangle, int column, int row) const;
    float& farthestOf(int column, int row);
    float farthestOf(int column, int row) const;
    float farthestDrawn(int column, int row) const;
    void drawKept();

    KivView view;
    double slopes;
    double steps;
    std::vector<float> depths;
    int blocksWide;
    std::vector<float> farthestOfBlock; // nothing in it lies farther
    std::vector<Triangle> kept;
    std::vector<bool> isDrawn; // of the blocks of a row
};

#endif
