// A light of a document.
#ifndef APPS_DOCUMENT_STUDIOLIGHT_H
#define APPS_DOCUMENT_STUDIOLIGHT_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivlight.h"

#include <cstdint>
#include <vector>

struct StudioLight {
    enum class Kind { directional, point, spot };

    Kind kind = Kind::directional;
    Kiv3DPoint location{0.0, 100.0, 100.0}; // scene coordinates; of a directional light it has no meaning
    Kiv3DVector direction{0.0, -1.0, -1.0}; // the way that it shines; of a point light it has no meaning
    std::uint32_t colour = 0xFFFFFF;        // red in the low byte
    double angle = 30.0;                    // degrees from the axis to the edge of a spot, 0 to 90

    // points: those of the scene, outside which a directional light is placed.
    KivLight toLight(const std::vector<Kiv3DPoint>& points) const;
    bool operator==(const StudioLight& other) const;
};

#endif
