// Tones made of dots or lines of one ink, as printers and engravers make them. The screen is fixed to the paper, so it
// stays where it is when the scene moves; its dots and lines end where the surface does that they lie on. How large a
// dot is for a tone is what clustered-dot screens have (Ulichney, Digital Halftoning, 1987).
#ifndef SHADERS_HALFTONE_KIVHALFTONESCREEN_H
#define SHADERS_HALFTONE_KIVHALFTONESCREEN_H

#include "kivrender/lines/curvefit.h"
#include "kivseensurface.h"

#include <cstdint>
#include <functional>
#include <vector>

enum class KivHalftonePattern : std::uint8_t { dots, lines, crossed, stipple };

struct KivHalftoneScreen {
    KivHalftonePattern pattern = KivHalftonePattern::dots;
    double spacing = 7.0; // in pixels
    double angle = 45.0;  // degrees, anticlockwise from the right
    double tone = 0.62;   // what is darker is printed
    double ink = 0.55;    // the largest part that is covered, at most 0.7
    int levels = 0;       // so many tones; 0 for all
};

// How light a point is, 0 dark to 1 light.
using KivHalftoneLight = std::function<double(const KivVec& point, const KivVec& normal)>;

struct KivHalftoneShape {
    std::uint32_t body = 0;
    bool isCrossing = false; // lies across others
    KivPicturePoint middle;
    double radius = 0.0;               // of a whole disc; its ring is empty
    std::vector<KivPicturePoint> ring; // anticlockwise or clockwise, and closed
    // A ribbon's ring runs along one side and back along the other, point for point; else it can be seen in whole from
    // its middle.
    bool isRibbon = false;
};

// The part of a place that ink covers whose light is that.
double kivHalftoneInk(const KivHalftoneScreen& screen, double light);

// The shapes on the bodies that are asked for, in an order that does not depend on the frame. Shapes of one body that
// do not cross are apart from one another. Stops early when the render is cancelled.
std::vector<KivHalftoneShape> kivHalftone(const KivHalftoneScreen& screen, const KivSeenSurface& surface,
                                          const std::function<bool(std::uint32_t body)>& isWanted,
                                          const KivHalftoneLight& light);

#endif
