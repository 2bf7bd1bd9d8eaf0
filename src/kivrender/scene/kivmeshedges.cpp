#include "kivrender/scene/kivmeshedges.h"

#include "kivrender/scene/kivmeshkeep.h"
#include "kivrender/scene/kivmeshtable.h"

#include <algorithm>
#include <utility>

namespace {

KivMeshTable<std::shared_ptr<const KivMeshEdges>>& registry() {
    static auto& instance = *new KivMeshTable<std::shared_ptr<const KivMeshEdges>>;
    return instance;
}

} // namespace

void kivSetMeshEdges(const KivMesh& mesh, std::shared_ptr<const KivMeshEdges> edges) {
    kivKeepWithMesh(mesh, nullptr);
    registry().set(mesh, std::move(edges));
}

std::shared_ptr<const KivMeshEdges> kivMeshEdges(const KivMesh& mesh) {
    return registry().get(mesh);
}

std::shared_ptr<const KivMeshEdges> kivMovedMeshEdges(const std::shared_ptr<const KivMeshEdges>& edges,
                                                      const std::function<Kiv3DPoint(const Kiv3DPoint& point)>& move) {
    if (edges == nullptr || edges->beyond.empty()) {
        return edges;
    }
    auto moved = std::make_shared<KivMeshEdges>(*edges);
    std::transform(moved->beyond.begin(), moved->beyond.end(), moved->beyond.begin(), move);
    return moved;
}
