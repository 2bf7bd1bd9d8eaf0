#include "apps/studio/previewmodel.h"

#include "apps/common/framing.h"
#include "apps/common/shapes.h"
#include "import/scenebuilder.h"

#include <cstdint>
#include <vector>

namespace {

using kivimport::Colour;
using kivimport::ModelParts;
using shapes::Frame;
using shapes::Surface;

Surface& object(ModelParts& parts, const Colour& colour) {
    kivimport::Material& material = parts.materials.emplace_back();
    material.diffuse = colour;
    material.specular = {0.6, 0.6, 0.6};
    material.shininess = 40.0;
    Surface& surface = parts.surfaces.emplace_back();
    surface.parts.push_back({"", static_cast<std::uint32_t>(parts.materials.size() - 1)});
    return surface;
}

ModelParts makeParts() {
    ModelParts parts;
    shapes::sphere(object(parts, {0.83, 0.33, 0.29}), {-0.75, 1.0, -0.1}, 1.0, 48);
    const shapes::SmoothOutline side = shapes::roundedRectangle(1.5, 1.5, 0.12, 6);
    const Frame block{{1.05, 0.75, -0.75}, {0.8, 0.0, -0.6}, {0.0, 1.0, 0.0}, {0.6, 0.0, 0.8}};
    shapes::roundedPlate(object(parts, {0.29, 0.61, 0.61}), block, side, 1.5, 0.12);
    const Frame lying{{0.75, 0.23, 1.25}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    shapes::torus(object(parts, {0.94, 0.76, 0.35}), lying, 0.62, 0.23, 48, 20);
    parts.format = "preview";
    return parts;
}

} // namespace

void makePreviewModel(KivScene* scene, KivCamera* camera) {
    KivModel model;
    std::vector<ModelParts> parts;
    parts.push_back(makeParts());
    model.files.emplace_back();
    kivimport::assembleModel(parts, KivModelOptions().creaseAngle, model);
    const std::vector<Kiv3DPoint> points = scenePoints(*model.scene);
    const ViewAxes axes = viewAxes({0.35, -0.5, -1.0}, model.up);
    Lens lens;
    lens.aspect = 1.0;
    *camera = makeCamera(points, fittingLocation(points, axes, lens), axes, lens);
    *scene = *model.scene;
    for (KivLight& light : defaultLights(axes, points)) {
        scene->addLight(light);
    }
}
