#include "kivrender/scene/kivmeshnormals.h"

#include "kivrender/scene/kivmeshtable.h"

namespace {

KivMeshTable<bool>& registry() {
    static auto& instance = *new KivMeshTable<bool>;
    return instance;
}

KivMeshTable<KivMeshNoise>& noises() {
    static auto& instance = *new KivMeshTable<KivMeshNoise>;
    return instance;
}

} // namespace

void kivSetNormalsFromTriangles(const KivMesh& mesh, bool fromTriangles) {
    registry().set(mesh, fromTriangles);
}

bool kivHasNormalsFromTriangles(const KivMesh& mesh) {
    return registry().get(mesh);
}

void kivSetMeshNoise(const KivMesh& mesh, const KivMeshNoise& noise) {
    noises().set(mesh, noise);
}

KivMeshNoise kivMeshNoise(const KivMesh& mesh) {
    return noises().get(mesh);
}
