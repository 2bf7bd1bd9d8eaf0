// Whether a camera shows anything of a model.
#ifndef APPS_COMMON_SIGHT_H
#define APPS_COMMON_SIGHT_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kivcamera.h"

#include <string>
#include <vector>

// Why a picture of that height in pixels would be empty; an empty text where it need not be. Only what is certain
// counts: all points lie beyond one side of the view, or together are far smaller than a pixel, or the numbers of the
// camera are beyond those that OpenGL draws with.
std::string whyNothingIsSeen(const std::vector<Kiv3DPoint>& points, const KivCamera& camera, int height);

#endif
