// Drawing media and paper: how a stroke of each medium looks across and along, and the tooth of the paper that it
// catches on, as images made by rule.
#ifndef SHADERS_SKETCH_KIVSKETCHMEDIUM_H
#define SHADERS_SKETCH_KIVSKETCHMEDIUM_H

#include <cstdint>
#include <vector>

enum class KivSketchTool : std::uint8_t { pencil, ink, charcoal, pastel };

struct KivSketchMedium {
    double width = 2.0;    // of a stroke under full pressure, in pixels of the finished picture
    double thinning = 0.5; // how much of the width a light hand takes away, 0 to 1
    double fading = 0.5;   // how much of the tone
    double peak = 1.0;     // tone under full pressure before the paper takes its part
    double toothLow = 0.0; // what the paper takes away in its hollows and on its ridges
    double toothHigh = 0.0;
    double gain = 1.0;      // 1, 2 or 4: how hard the grain is
    double toothSize = 1.0; // of a texel of the tooth, in pixels of the finished picture
    double softness = 0.1;  // the part of half the width over which a stroke fades out sideways
    double streaks = 0.0;   // unevenness along the stroke, 0 to 1
};

KivSketchMedium kivSketchMedium(KivSketchTool tool);

// Images of one value a pixel, row after row, that repeat seamlessly: the tooth both ways, the profile of a stroke
// along it only (x runs along, y across).
inline constexpr int kivToothSize = 256;
inline constexpr int kivProfileLength = 256;
inline constexpr int kivProfileWidth = 32;

// How much the paper takes away at each place, already between the medium's two bounds times grain (0 to 1). Every
// amount between them is equally frequent.
std::vector<std::uint8_t> kivToothImage(const KivSketchMedium& medium, double grain, std::uint32_t seed);
// How much of the tone a stroke has at each place.
std::vector<std::uint8_t> kivProfileImage(const KivSketchMedium& medium, double grain, std::uint32_t seed);

// How much of its full width a stroke of that tone (0 to 1) covers with ink in the mean, when the profile and the tooth
// have taken their parts: what a pen that draws nothing but full lines has to be as wide as, 0 to 1.
double kivSketchInk(const KivSketchMedium& medium, double grain, double tone);

#endif
