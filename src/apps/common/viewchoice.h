// The view of a scene from what a user has said of it, and its lights.
#ifndef APPS_COMMON_VIEWCHOICE_H
#define APPS_COMMON_VIEWCHOICE_H

#include "apps/common/framing.h"
#include "import/kivmodelimport.h"

#include <optional>
#include <vector>

constexpr double defaultVerticalFov = 30.0; // degrees

// Places and lengths in the coordinates of the scene.
struct ViewChoice {
    std::optional<Kiv3DPoint> eye;        // none: so far away that the model fills the picture
    std::optional<Kiv3DPoint> target;     // none: with an eye the origin, which is the middle of a model
    std::optional<Kiv3DVector> direction; // the way the camera looks where no eye is given; none: from three quarters
    std::optional<Kiv3DVector> up;        // none: that of the model
    std::optional<double> verticalFov;    // degrees
    std::optional<double> orthoHeight;    // of a parallel view; 0 fits the model

    bool isFree() const {
        return !eye && !target && !direction && !up && !verticalFov && !orthoHeight;
    }
};

struct ChosenView {
    KivCamera camera;
    ViewAxes axes;
    Lens lens;
    bool passesOverCameras = false; // whether none of the model's own cameras shows anything of it
};

// The first of a model's own cameras that shows anything of these points; null without one. A camera may miss its model
// because the file moves or aims it by means that its reader does not know. aspect: width / height.
const KivModelCamera* firstThatSees(const std::vector<KivModelCamera>& cameras, const std::vector<Kiv3DPoint>& points,
                                    double aspect);

// A view that is free is that of the first of the model's own cameras that shows anything of it, if there is one.
// aspect: width / height. Throws std::invalid_argument if eye and target are the same place.
ChosenView chooseView(const ViewChoice& choice, const std::vector<KivModelCamera>& cameras, const Kiv3DVector& modelUp,
                      const std::vector<Kiv3DPoint>& points, double aspect);

// A light at a place, whose strength does not fall with the distance. spotAngle: radians, from the axis to the edge of
// the cone; 0 for a light that shines all around.
KivLight placedLight(const Kiv3DPoint& place, const Kiv3DVector& direction, double spotAngle);

// With that colour, red in the low byte.
void setLightColour(KivLight& light, std::uint32_t colour);

#endif
