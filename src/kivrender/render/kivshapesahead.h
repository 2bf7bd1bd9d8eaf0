// The smooth shapes of a render (kivshapedscene.h), made before it: while the driver starts on another thread.
#ifndef KIVRENDER_RENDER_KIVSHAPESAHEAD_H
#define KIVRENDER_RENDER_KIVSHAPESAHEAD_H

#include "kivrender/geometry/kivsmoothshape.h"
#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <memory>
#include <optional>
#include <vector>

class KivCamera;
class KivMesh;
class KivScene;
class KivShader;

// The view of a picture of that size.
KIV_API KivShapeView kivShapeViewOf(const KivCamera& camera, tagSIZE size);

class KIV_API KivShapesAhead {
public:
    using Shapes = std::vector<std::unique_ptr<KivMesh>>;

    // For the next render on this thread of these meshes in this view; they must not change before its end. What the
    // shader wishes before the render has loaded its settings is a guess: if it wishes something else then, the render
    // makes the shapes anew.
    KivShapesAhead(const KivScene& scene, const KivCamera& camera, tagSIZE size, const KivShader& shader);
    KivShapesAhead(const KivShapesAhead&) = delete;
    KivShapesAhead& operator=(const KivShapesAhead&) = delete;
    ~KivShapesAhead();

    // Once, for exactly these; else nothing.
    static std::optional<Shapes> take(const std::vector<KivShapeRequest>& requests, const KivShapeView& view);

private:
    KivShapesAhead* outer;
    std::vector<KivShapeRequest> requests;
    KivShapeView view;
    std::optional<Shapes> shapes;
};

#endif
