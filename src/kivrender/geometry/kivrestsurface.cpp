#include "kivrender/geometry/kivrestsurface.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshrest.h"

std::optional<KivSurface> kivRestSurface(const KivMesh& mesh, const KivSurface& posed) {
    const std::shared_ptr<const KivMesh> atRest = kivMeshRest(mesh);
    if (atRest == nullptr) {
        return std::nullopt;
    }
    KivSurface rest = kivReadSurface(*atRest);
    if (rest.points.size() != posed.points.size() || rest.triangles != posed.triangles) {
        return std::nullopt;
    }
    return rest;
}
