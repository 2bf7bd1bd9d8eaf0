// Which lines a shader finds, and how wide they are.
#ifndef SHADERS_COMMON_KIVLINELOOK_H
#define SHADERS_COMMON_KIVLINELOOK_H

#include "kivfeatureedges.h"

#include <cstdint>

// Lengths in pixels of the finished picture.
struct KivLineLook {
    KivFeatureRules rules;
    std::uint32_t color = 0;
    double width[3] = {2.4, 2.4, 1.6}; // by kind
    bool lines = true;                 // draw the lines, polylines and points of the scene too
    double lineWidth = 1.6;
    double detail = 2.0;
    double shortest = 5.0;
    double smoothing = 1.5;
    bool hidden = false; // trace what is hidden as well
};

#endif
