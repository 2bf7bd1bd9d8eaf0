// The sketch shader: strokes of a pencil, a pen, charcoal or pastel along silhouettes, borders and creases and over the
// scene's own lines and points, and hatching where it is dark. How lines are found and which of them are seen is told
// in kivlineshader.h; how they become strokes in kivsketchstroke.h, what is hatched in kivsketchhatch.h.
//
// The unsteadiness of the hand comes from noise that stands still in the space of the scene, and so from the seed in
// the settings and nothing else: the same scene gives the same picture, and a stroke keeps its shape while the camera
// moves a little.
#ifndef SHADERS_SKETCH_KIVSKETCHSHADER_H
#define SHADERS_SKETCH_KIVSKETCHSHADER_H

#include "kivlineshader.h"
#include "kivrender/geometry/kivlineneeds.h"
#include "kivrender/geometry/kivshapewish.h"

#include <memory>

class KivSketchShader final : public KivLineShader {
public:
    explicit KivSketchShader(HINSTANCE pluginModule);

    // The shape that replaces the triangles of an object that no base look draws.
    KivShapeWish shapeOf(const Kiv3DObject& object) const;
    // Asked for by each render.
    KivLineNeeds needsOf(const Kiv3DObject& object) const;

protected:
    std::unique_ptr<KivLineDrawing> startDrawing(const KivCommonSettings& settings, const KivCamera& camera,
                                                 KivScene& scene, tagSIZE size, KivShaderCommunication& communication,
                                                 bool atFront) override;
};

#endif
