#include "kivrender/scene/kivmeshpaint.h"

#include "kivrender/scene/kivmeshtable.h"

#include <utility>

namespace {

KivMeshTable<std::shared_ptr<const KivMeshPaint>>& registry() {
    static auto& instance = *new KivMeshTable<std::shared_ptr<const KivMeshPaint>>;
    return instance;
}

} // namespace

void kivSetMeshPaint(const KivMesh& mesh, std::shared_ptr<const KivMeshPaint> paint) {
    registry().set(mesh, std::move(paint));
}

std::shared_ptr<const KivMeshPaint> kivMeshPaint(const KivMesh& mesh) {
    return registry().get(mesh);
}

bool kivIsSoft(const KivMesh& mesh) {
    const std::shared_ptr<const KivMeshPaint> paint = kivMeshPaint(mesh);
    return paint != nullptr && paint->texture != nullptr && paint->texture->cutOut > 0.0 && paint->texture->soft;
}
