// The outline shader: ink lines along silhouettes, borders and creases, and the scene's own lines and points, drawn as
// bands of constant width in the plane of the picture. How lines are found and which of them are seen is told in
// kivlineshader.h.
#ifndef SHADERS_OUTLINE_KIVOUTLINESHADER_H
#define SHADERS_OUTLINE_KIVOUTLINESHADER_H

#include "kivlineshader.h"
#include "kivrender/geometry/kivlineneeds.h"
#include "kivrender/geometry/kivshapewish.h"

#include <memory>

class KivOutlineShader final : public KivLineShader {
public:
    explicit KivOutlineShader(HINSTANCE pluginModule);

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
