// A scene with the smooth surfaces in the place of those meshes that stand for them (kivsmoothshape.h), for the length
// of a render: what shaders draw, what throws shadows and what hides lines is then one and the same shape. The tiles of
// one picture share the meshes that the first of them has made (kivpicturetile.h).
#ifndef KIVRENDER_RENDER_KIVSHAPEDSCENE_H
#define KIVRENDER_RENDER_KIVSHAPEDSCENE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/scene/kivscene.h"

#include <functional>
#include <optional>

class KivCamera;
class KivMesh;
class KivShader;

class KIV_API KivShapedScene {
public:
    // The shader whose wish counts for a mesh, or null.
    using ShaderOf = std::function<const KivShader*(const KivMesh&)>;

    // size: of the finished picture. The scene must outlive this.
    KivShapedScene(KivScene& scene, const KivCamera& camera, tagSIZE size, const ShaderOf& shaderOf);
    KivShapedScene(const KivShapedScene&) = delete;
    KivShapedScene& operator=(const KivShapedScene&) = delete;
    // The scene has its own meshes again.
    ~KivShapedScene();

    // What the alpha of textures cuts out goes too (kivcutmesh.h), for drawings, which have no pixels to test. False
    // where it was too much work, and meshes stay whole. effort: how much it may be, as a part of what is usual.
    bool cutHoles(const KivCamera& camera, tagSIZE size, double effort);

    // Whether any mesh was replaced. The list of ordered triangles is empty then.
    bool isChanged() const;
    // The scene is to be emptied, and nothing to be put back.
    void forget();

private:
    void makeShapes(const KivCamera& camera, tagSIZE size, const ShaderOf& shaderOf);

    KivScene& scene;
    std::optional<KivScene> original;
};

#endif
