#include "kivrender/scene/kivmeshedges.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace {

struct Registry {
    std::mutex guard;
    std::unordered_map<const KivMesh*, std::shared_ptr<const KivMeshEdges>> entries;
    // So that scenes of plain meshes, of which each asks when it goes, wait for nobody.
    std::atomic<std::size_t> count{0};
};

// Never deleted: meshes that are static objects go later than any of ours would.
Registry& registry() {
    static auto& instance = *new Registry;
    return instance;
}

} // namespace

void kivSetMeshEdges(const KivMesh& mesh, std::shared_ptr<const KivMeshEdges> edges) {
    Registry& all = registry();
    if (edges == nullptr && all.count == 0) {
        return;
    }
    const std::scoped_lock lock(all.guard);
    if (edges == nullptr) {
        all.entries.erase(&mesh);
    } else {
        all.entries[&mesh].swap(edges); // what it had before goes after the lock
    }
    all.count = all.entries.size();
}

std::shared_ptr<const KivMeshEdges> kivMeshEdges(const KivMesh& mesh) {
    Registry& all = registry();
    if (all.count == 0) {
        return nullptr;
    }
    const std::scoped_lock lock(all.guard);
    const auto found = all.entries.find(&mesh);
    return found != all.entries.end() ? found->second : nullptr;
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
