// What a collected drawing knows of its shadows: who casts them, and how shaders paint what no light reaches.
#ifndef KIVRENDER_RENDER_COLLECTEDSHADOWS_H
#define KIVRENDER_RENDER_COLLECTEDSHADOWS_H

#include "kivrender/lines/kivcastshadows.h"

#include <vector>

struct CollectedShadows {
    explicit CollectedShadows(const KivProjectiveMap& pictureFromWorld) : cast(pictureFromWorld) {}

    int result = 0;                // of the page itself, which ended before the others began
    std::vector<float> page;       // as it is lit
    std::vector<float> withoutAny; // the same surfaces without any light
    std::vector<float> emission;   // and what they give off, to be added to that
    KivCastShadows cast;
};

#endif
