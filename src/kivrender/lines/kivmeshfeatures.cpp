#include "kivrender/lines/kivmeshfeatures.h"

#include "kivrender/geometry/kivrestsurface.h"
#include "kivrender/lines/kivmeshahead.h"
#include "kivrender/lines/touchingfaces.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshkeep.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

namespace {

// The results that lie with a mesh. The numbers tell whether anything was added to it since.
struct Kept {
    unsigned int vertexs = 0;
    unsigned int triangles = 0;
    std::shared_ptr<const KivMeshFeatures> features; // null after the first call

    bool fits(const KivMesh& mesh) const {
        return vertexs == mesh.getNumVertexs() && triangles == mesh.getNumTriangles();
    }
};

// The creases of a mesh in a pose are those that it has at rest.
void takeBendsAtRest(const KivMesh& mesh, KivMeshFeatures& features) {
    const std::optional<KivSurface> rest = kivRestSurface(mesh, features.surface);
    if (!rest) {
        return;
    }
    kivTakeBends(kivFeatureWings(*rest), features.wings);
}

// The wings tell of normals all that is asked of them, but where a model names its edges and they are those of its
// surface.
void forgetNormals(KivSurface& surface) {
    if (!surface.namesEdges) {
        std::vector<KivVec>().swap(surface.normals); // an empty list, assigned, would keep the memory
        std::vector<KivSurface::Triangle>().swap(surface.cornerNormals);
    }
}

std::shared_ptr<KivMeshFeatures> findFeatures(const KivMesh& mesh) {
    auto features = std::make_shared<KivMeshFeatures>();
    features->surface = kivReadSurface(mesh);
    features->wings = kivFeatureWings(features->surface);
    takeBendsAtRest(mesh, *features);
    forgetNormals(features->surface);
    return features;
}

struct LastCrossings {
    std::mutex guard;
    std::vector<std::weak_ptr<const KivMeshFeatures>> key;
    std::shared_ptr<const std::vector<KivCrossing>> pieces;
};

// Never destroyed, as surfaces that are globals of a host may outlive the library's own.
LastCrossings& lastCrossings() {
    static auto* const last = new LastCrossings;
    return *last;
}

// One that is gone equals nothing, not even another one.
bool isSame(const std::weak_ptr<const KivMeshFeatures>& a, const std::weak_ptr<const KivMeshFeatures>& b) {
    const auto one = a.lock();
    return one != nullptr && one == b.lock();
}

} // namespace

std::shared_ptr<const KivMeshFeatures> kivMeshFeatures(const KivMesh& mesh) {
    if (std::shared_ptr<const KivMeshFeatures> found = KivMeshAhead::featuresOf(mesh)) {
        return found;
    }
    return kivFindMeshFeatures(mesh);
}

std::shared_ptr<const KivMeshFeatures> kivFindMeshFeatures(const KivMesh& mesh) {
    if (!kivCanKeepWithMesh(mesh)) {
        return findFeatures(mesh);
    }
    const auto kept = std::static_pointer_cast<const Kept>(kivKeptWithMesh(mesh));
    const bool isSecond = kept != nullptr && kept->fits(mesh);
    if (isSecond && kept->features != nullptr) {
        return kept->features;
    }
    std::shared_ptr<KivMeshFeatures> features = findFeatures(mesh);
    features->isKept = isSecond && !kivIsCancelled();
    kivKeepWithMesh(mesh, std::make_shared<Kept>(Kept{mesh.getNumVertexs(), mesh.getNumTriangles(),
                                                      features->isKept ? features : nullptr}));
    return features;
}

void KivMeshCrossings::queue(std::shared_ptr<const KivMeshFeatures> body) {
    areKept = areKept && body->isKept;
    key.emplace_back(body);
    waiting.push_back(std::move(body));
}

bool KivMeshCrossings::add(std::shared_ptr<const KivMeshFeatures> body) {
    areHeld = areHeld && (body->isKept || KivMeshAhead::holds(*body));
    queue(std::move(body));
    return areHeld || addAll();
}

bool KivMeshCrossings::addAll() {
    const bool good = std::all_of(waiting.begin(), waiting.end(), [this](const auto& body) {
        smooth.push_back(body->surface.normals.empty() ? nullptr : body);
        return crossings.add(body->surface.points, body->surface.triangles);
    });
    waiting.clear();
    return good;
}

bool KivMeshCrossings::find() {
    if (areHeld) {
        known = KivMeshAhead::crossingsOf(waiting);
    }
    const bool isFound = known != nullptr || findHere();
    waiting.clear();
    return isFound;
}

bool KivMeshCrossings::findHere() {
    LastCrossings& last = lastCrossings();
    if (areKept) {
        const std::lock_guard lock(last.guard);
        if (std::ranges::equal(key, last.key, isSame)) {
            known = last.pieces;
            return true;
        }
    }
    if (!addAll() || !crossings.find()) {
        return false;
    }
    if (areKept || std::any_of(smooth.begin(), smooth.end(), [](const auto& body) { return body != nullptr; })) {
        known = withoutTouching(crossings.pieces());
    }
    if (areKept && !key.empty()) {
        const std::lock_guard lock(last.guard);
        last.key = key;
        last.pieces = known;
    }
    return true;
}

std::shared_ptr<const std::vector<KivCrossing>>
KivMeshCrossings::withoutTouching(const std::vector<KivCrossing>& pieces) const {
    auto left = std::make_shared<std::vector<KivCrossing>>();
    left->reserve(pieces.size());
    for (const KivCrossing& piece : pieces) {
        const KivMeshFeatures* one = smooth[piece.bodies[0]].get();
        const KivMeshFeatures* other = smooth[piece.bodies[1]].get();
        if (one == nullptr || other == nullptr ||
            !kivFacesTouch({one->surface, piece.triangles[0]}, {other->surface, piece.triangles[1]}, piece.from,
                           piece.to)) {
            left->push_back(piece);
        }
    }
    return left;
}

const std::vector<KivCrossing>& KivMeshCrossings::pieces() const {
    return known != nullptr ? *known : crossings.pieces();
}
