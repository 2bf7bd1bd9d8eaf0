// What a collected drawing knows of textures and colours at vertices.
#ifndef KIVRENDER_RENDER_COLLECTEDSKINS_H
#define KIVRENDER_RENDER_COLLECTEDSKINS_H

#include "kivrender/lines/kivcastshadows.h"
#include "kivrender/lines/kivdrawnskins.h"

struct CollectedSkins {
    KivDrawnSkins drawn; // as shaders told of them
    KivProjectiveMap pictureFromWorld{};
    bool asPictures = false; // in areas of one tone each, and not areas of their own
};

#endif
