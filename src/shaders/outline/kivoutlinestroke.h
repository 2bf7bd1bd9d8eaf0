// Paths become triangles: a band along each path with round joins and round ends, without gaps.
#ifndef SHADERS_OUTLINE_KIVOUTLINESTROKE_H
#define SHADERS_OUTLINE_KIVOUTLINESTROKE_H

#include "kivlinetracer.h"
#include "kivrender/lines/linebudget.h"

#include <cstdint>
#include <vector>

// Triangles in the plane of the picture, in pixels. They overlap, so they are to be drawn opaque.
struct KivStrokeMesh {
    std::vector<float> points; // x, y
    std::vector<std::uint32_t> indices;

    std::uint32_t add(float x, float y);
    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);
};

// Lets a path thin out over so many pixels towards its loose ends, over less than half of it where it is short.
void kivTaperEnds(KivLinePath& path, float reach);

// Appends the band along a path; a part of it once the user cancelled, which the budget then tells.
void kivStroke(const KivLinePath& path, KivStrokeMesh& mesh, LineBudget& polls);

// Appends a disc.
void kivStrokeDot(const KivLinePoint& point, KivStrokeMesh& mesh);

#endif
