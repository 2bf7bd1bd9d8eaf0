// Places for stippling, spread as a hand spreads them: the first few of them lie as evenly as all.
//
// Each place is the one of several drawn by chance that lies farthest from all before it, on a square whose sides meet
// (Mitchell, Spectrally optimal sampling for distribution ray tracing, 1991). So any number of them from the first on
// is an even tone without a pattern, and a darker tone has the dots of a lighter one and more.
#ifndef SHADERS_HALFTONE_KIVBLUENOISE_H
#define SHADERS_HALFTONE_KIVBLUENOISE_H

#include <vector>

struct KivStipplePlace {
    double x = 0.0; // in parts of the square's side
    double y = 0.0;
};

inline constexpr int kivStipplePlaces = 2048;

// By the shortest way, over the sides too.
double kivStippleDistance(const KivStipplePlace& a, const KivStipplePlace& b);

// The same for every call.
const std::vector<KivStipplePlace>& kivStipple();

#endif
