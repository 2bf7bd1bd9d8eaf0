#include "kivrender/scene/kivmeshkeep.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshtable.h"

#include <typeinfo>
#include <utility>

namespace {

KivMeshTable<std::shared_ptr<const void>>& table() {
    static auto* const things = new KivMeshTable<std::shared_ptr<const void>>;
    return *things;
}

} // namespace

bool kivCanKeepWithMesh(const KivMesh& mesh) {
    return typeid(mesh) == typeid(KivMesh);
}

void kivKeepWithMesh(const KivMesh& mesh, std::shared_ptr<const void> things) {
    table().set(mesh, std::move(things));
}

std::shared_ptr<const void> kivKeptWithMesh(const KivMesh& mesh) {
    return table().get(mesh);
}
