#include "apps/common/viewchoice.h"

#include "apps/common/sight.h"

#include <algorithm>
#include <stdexcept>

namespace {

// In pixels: what is smaller than one of so many is not seen.
constexpr int usualHeight = 1000;

ChosenView viewOf(const KivModelCamera& own, const std::vector<Kiv3DPoint>& points, double aspect) {
    ChosenView view;
    view.lens.aspect = aspect;
    view.axes = viewAxes(own.direction, own.up);
    view.lens.verticalFov = own.verticalFov;
    view.lens.orthoHeight = own.orthoHeight;
    view.camera = makeCamera(points, own.location, view.axes, view.lens);
    return view;
}

// Where nothing says how far away the camera is, the model fills the picture; a target stays in its middle.
Kiv3DPoint chooseLocation(const ViewChoice& choice, const std::vector<Kiv3DPoint>& points, const ViewAxes& axes,
                          const Lens& lens) {
    const bool fits = choice.orthoHeight && *choice.orthoHeight == 0.0;
    if (choice.eye && !fits) {
        return *choice.eye;
    }
    const Kiv3DPoint fitting = fittingLocation(points, axes, lens);
    if (!choice.target) {
        return fitting;
    }
    const Kiv3DPoint& target = *choice.target;
    const double back = (target.x - fitting.x) * axes.forward.x + (target.y - fitting.y) * axes.forward.y +
                        (target.z - fitting.z) * axes.forward.z;
    return {target.x - axes.forward.x * back, target.y - axes.forward.y * back, target.z - axes.forward.z * back};
}

Kiv3DVector chooseDirection(const ViewChoice& choice, const Kiv3DVector& modelUp) {
    if (!choice.eye) {
        return choice.direction.value_or(threeQuarterDirection(modelUp));
    }
    const Kiv3DPoint target = choice.target.value_or(Kiv3DPoint(0.0, 0.0, 0.0));
    const Kiv3DVector forward(target.x - choice.eye->x, target.y - choice.eye->y, target.z - choice.eye->z);
    if (forward.norm() == 0.0) {
        throw std::invalid_argument("eye and target are the same place");
    }
    return forward;
}

} // namespace

const KivModelCamera* firstThatSees(const std::vector<KivModelCamera>& cameras, const std::vector<Kiv3DPoint>& points,
                                    double aspect) {
    const auto found = std::find_if(cameras.begin(), cameras.end(), [&](const KivModelCamera& camera) {
        return whyNothingIsSeen(points, viewOf(camera, points, aspect).camera, usualHeight).empty();
    });
    return found != cameras.end() ? &*found : nullptr;
}

ChosenView chooseView(const ViewChoice& choice, const std::vector<KivModelCamera>& cameras, const Kiv3DVector& modelUp,
                      const std::vector<Kiv3DPoint>& points, double aspect) {
    ChosenView view;
    view.lens.aspect = aspect;
    view.lens.verticalFov = choice.verticalFov.value_or(defaultVerticalFov);
    if (choice.isFree()) {
        if (const KivModelCamera* own = firstThatSees(cameras, points, aspect); own != nullptr) {
            return viewOf(*own, points, aspect);
        }
        view.passesOverCameras = !cameras.empty();
    }
    view.axes = viewAxes(chooseDirection(choice, modelUp), choice.up.value_or(modelUp));
    if (choice.orthoHeight) {
        view.lens.orthoHeight =
            *choice.orthoHeight > 0.0 ? *choice.orthoHeight : fittingOrthoHeight(points, view.axes, aspect);
    }
    view.camera = makeCamera(points, chooseLocation(choice, points, view.axes, view.lens), view.axes, view.lens);
    return view;
}

KivLight placedLight(const Kiv3DPoint& place, const Kiv3DVector& direction, double spotAngle) {
    KivLight light;
    light.setStyle(spotAngle > 0.0 ? KivLight::spotLight : KivLight::pointLight);
    light.setLocation(place);
    light.setDirection(direction);
    light.setAttenuation(Kiv3DVector(1.0, 0.0, 0.0));
    // In radians, as the incidence of light on a surface is worked out in them.
    light.setSpotAngle(spotAngle);
    return light;
}

void setLightColour(KivLight& light, std::uint32_t colour) {
    light.setDiffuse(colour);
    light.setSpecular(colour);
}
