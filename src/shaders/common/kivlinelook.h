// Which lines a shader finds, and how wide they are.
#ifndef SHADERS_COMMON_KIVLINELOOK_H
#define SHADERS_COMMON_KIVLINELOOK_H

#include "kivfeatureedges.h"

#include <cstdint>

// What a thin tangent edge has of the width of a crease: the narrow lines of technical drawings have half of the wide
// ones' (ISO 128-2, 2020).
inline constexpr double kivThinTangent = 0.5;

// Lengths in pixels of the finished picture.
struct KivLineLook {
    KivFeatureRules rules;
    std::uint32_t color = 0;
    double width[kivFeatureKinds] = {2.4, 2.4, 1.6, 0.8}; // by kind
    bool lines = true;                                    // draw the lines, polylines and points of the scene too
    double lineWidth = 1.6;
    double detail = 2.0;
    double shortest = 5.0;
    double smoothing = 1.5;
    double taper = 0.0;        // of ends in the open
    bool intersections = true; // lines where surfaces run into each other, as wide as creases
    bool smoothShape = true;   // in place of the triangles, where no base look draws
    bool hidden = false;       // trace what is hidden as well
};

#endif
