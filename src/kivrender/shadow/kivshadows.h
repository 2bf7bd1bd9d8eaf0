// What a render with shadows carries from pass to pass. Shadows are not drawn yet, so there is nothing to carry: the
// class stands for its place in the interfaces of renderer and shaders.
#ifndef KIVRENDER_SHADOW_KIVSHADOWS_H
#define KIVRENDER_SHADOW_KIVSHADOWS_H

#include "kivrender/platform/kivexport.h"

class KIV_API KivShadows {
public:
    KivShadows() = default;
};

#endif
