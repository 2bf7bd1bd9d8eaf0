#include "kivrender/scene/kivmeshnormals.h"

#include "kivrender/scene/kivmeshtable.h"

namespace {

KivMeshTable<KivNormalsFrom>& registry() {
    static auto& instance = *new KivMeshTable<KivNormalsFrom>;
    return instance;
}

KivMeshTable<KivMeshNoise>& noises() {
    static auto& instance = *new KivMeshTable<KivMeshNoise>;
    return instance;
}

} // namespace

void kivSetNormalsFrom(const KivMesh& mesh, KivNormalsFrom source) {
    registry().set(mesh, source);
}

void kivSetNormalsFromTriangles(const KivMesh& mesh, bool fromTriangles) {
    kivSetNormalsFrom(mesh, fromTriangles ? KivNormalsFrom::triangles : KivNormalsFrom::host);
}

KivNormalsFrom kivNormalsFrom(const KivMesh& mesh) {
    return registry().get(mesh);
}

bool kivHasNormalsFromTriangles(const KivMesh& mesh) {
    return kivNormalsFrom(mesh) == KivNormalsFrom::triangles;
}

void kivSetMeshNoise(const KivMesh& mesh, const KivMeshNoise& noise) {
    noises().set(mesh, noise);
}

KivMeshNoise kivMeshNoise(const KivMesh& mesh) {
    return noises().get(mesh);
}
