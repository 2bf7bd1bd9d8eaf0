#include "kivrender/scene/kivmeshrest.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshtable.h"

#include <utility>

namespace {

KivMeshTable<std::shared_ptr<const KivMesh>>& registry() {
    static auto& instance = *new KivMeshTable<std::shared_ptr<const KivMesh>>;
    return instance;
}

} // namespace

void kivSetMeshRest(const KivMesh& mesh, std::shared_ptr<const KivMesh> rest) {
    registry().set(mesh, std::move(rest));
}

std::shared_ptr<const KivMesh> kivMeshRest(const KivMesh& mesh) {
    std::shared_ptr<const KivMesh> rest = registry().get(mesh);
    const bool fits = rest != nullptr && rest->getNumVertexs() == mesh.getNumVertexs() &&
                      rest->getNumTriangles() == mesh.getNumTriangles();
    return fits ? rest : nullptr;
}
