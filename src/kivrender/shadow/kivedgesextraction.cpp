#include "kivrender/shadow/kivedgesextraction.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <utility>

namespace {

// The way from a triangle to what it is seen from.
class View {
public:
    View(const KivMesh& seen, const KivCamera* camera) : mesh(seen), hasCamera(camera != nullptr) {
        if (!hasCamera) {
            return;
        }
        isPerspective = camera->getProjection() == KivCamera::perspective;
        eye = camera->getLocation();
        // Not turned round to the eye: shaders know the flags of a parallel view in this sense.
        direction = camera->getDirection().normal();
    }

    bool isFront(unsigned int triangle) const {
        if (!hasCamera) {
            return false;
        }
        const Kiv3DVector way = isPerspective ? eye - mesh.getTriangleBaricentre(triangle) : direction;
        return way.cosAngle(mesh.getTriangleNormal(triangle)) >= 0.0;
    }

private:
    const KivMesh& mesh;
    bool hasCamera;
    bool isPerspective = false;
    Kiv3DPoint eye;
    Kiv3DVector direction;
};

} // namespace

void KivEdgesExtraction::extractEdges(const KivMesh* mesh, std::vector<edgeInfo>& edges, const KivCamera* camera,
                                      std::vector<unsigned int>* triangles) {
    constexpr std::size_t trianglesPerPoll = 100;
    KivProgress* progress = kivCurrentProgress();
    const std::size_t count = triangles != nullptr ? triangles->size() : mesh->getNumTriangles();
    const std::size_t vertexCount = mesh->getNumVertexs();
    const View view(*mesh, camera);

    // Read every triangle once and count the sides of each lower vertex.
    struct Entered {
        unsigned int indices[3];
        bool front;
    };
    std::vector<Entered> entered(count);
    std::vector<std::size_t> bucketEnds(vertexCount + 1, 0);
    const auto triangleAt = [&](std::size_t n) {
        return triangles != nullptr ? (*triangles)[n] : static_cast<unsigned int>(n);
    };
    const auto forEachSide = [](const Entered& triangle, const auto& use) {
        for (int corner = 0; corner < 3; ++corner) {
            const unsigned int from = triangle.indices[corner];
            const unsigned int to = triangle.indices[(corner + 1) % 3];
            // The collapsed side of a triangle makes no edge.
            if (from != to) {
                use(std::min(from, to), std::max(from, to), from > to);
            }
        }
    };
    for (std::size_t n = 0; n < count; ++n) {
        if (n % trianglesPerPoll == 0 && progress != nullptr && progress->isCancelled()) {
            return;
        }
        mesh->getTriangle(entered[n].indices, triangleAt(n));
        entered[n].front = view.isFront(triangleAt(n));
        forEachSide(entered[n], [&](unsigned int low, unsigned int, bool) { ++bucketEnds[low + std::size_t{1}]; });
    }

    // One pool for all buckets, each with the sides of one lower vertex in order of entry.
    for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
        bucketEnds[vertex + 1] += bucketEnds[vertex];
    }
    std::vector<Side> pool(bucketEnds.back());
    for (std::size_t n = 0; n < count; ++n) {
        const int triangle = static_cast<int>(triangleAt(n));
        const bool front = entered[n].front;
        forEachSide(entered[n], [&](unsigned int low, unsigned int high, bool swapped) {
            pool[bucketEnds[low]++] = {static_cast<int>(high), triangle, swapped, front};
        });
    }
    std::vector<Entered>().swap(entered);

    // Writing the places moved every entry to the end of its bucket, which is where the next one starts.
    // Twice as much as there is at least: callers gather the edges of many meshes in one list.
    edges.reserve(std::max(edges.size() + pool.size() / 2, std::min(edges.capacity() * 2, edges.size() + pool.size())));
    std::size_t start = 0;
    for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
        const std::size_t end = bucketEnds[vertex];
        appendBucket(static_cast<int>(vertex), pool.data() + start, pool.data() + end, edges);
        start = end;
    }
}

void KivEdgesExtraction::appendBucket(int low, Side* begin, Side* end, std::vector<edgeInfo>& edges) {
    constexpr std::ptrdiff_t fewSides = 32;
    // Stable, so that the sides of one edge stay in order of entry. A vertex of ordinary valence has few.
    if (end - begin <= fewSides) {
        for (Side* side = begin; side != end; ++side) {
            const Side moved = *side;
            Side* place = side;
            for (; place != begin && (place - 1)->high > moved.high; --place) {
                *place = *(place - 1);
            }
            *place = moved;
        }
    } else {
        std::stable_sort(begin, end, [](const Side& a, const Side& b) { return a.high < b.high; });
    }
    while (begin != end) {
        const std::size_t first = edges.size();
        const int high = begin->high;
        for (; begin != end && begin->high == high; ++begin) {
            inestEdgeRecord(low, *begin, edges, first);
        }
        // The newest record of an edge comes first.
        std::reverse(edges.begin() + static_cast<std::ptrdiff_t>(first), edges.end());
    }
}

void KivEdgesExtraction::inestEdgeRecord(int low, const Side& side, std::vector<edgeInfo>& edges, std::size_t first) {
    if (edges.size() > first) {
        edgeInfo& newest = edges.back();
        int& slot = side.swapped ? newest.triangle1 : newest.triangle0;
        if (slot == -1) {
            slot = side.triangle;
            newest.silhouetteFront = newest.silhouetteFront != side.front;
            newest.silhouetteBack = newest.silhouetteBack == side.front;
            return;
        }
        // The slot is taken: a further record, even where an older one has the slot free. No edge gets a third
        // triangle, and neighbours of opposite winding stay apart.
    }
    edges.push_back({low, side.high, side.swapped ? -1 : side.triangle, side.swapped ? side.triangle : -1, false, false,
                     side.front, !side.front});
}
