#include "kivrender/shadow/kivedgesextraction.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cstdint>
#include <memory>
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

// The sides of all triangles, dealt out by their lower vertex in two steps, each keeping the order of entry: first to
// ranges of vertices so small that the sides of one stay in the processor's cache, then to the vertices themselves.
class KivEdgesExtraction::SidesByVertex {
public:
    SidesByVertex(const KivMesh& theMesh, const KivCamera* camera, const std::vector<unsigned int>* theTriangles)
        : mesh(theMesh), view(theMesh, camera), triangles(theTriangles),
          count(theTriangles != nullptr ? theTriangles->size() : theMesh.getNumTriangles()),
          rangeEnds(theMesh.getNumVertexs() / rangeVertices + 1, 0) {}

    // All three false after a cancel.
    bool read();
    bool dealToRanges();
    bool appendEdges(std::vector<edgeInfo>& edges);

private:
    static constexpr std::size_t trianglesPerPoll = 100;
    static constexpr std::size_t sidesPerPoll = 65536;

    struct Entered {
        unsigned int indices[3];
        bool front;
    };

    bool isCancelled() const {
        return progress != nullptr && progress->isCancelled();
    }
    // Asks once in so many sides that were worked on.
    bool isCancelledAfter(std::size_t numSides) {
        sincePoll += numSides;
        if (sincePoll < sidesPerPoll) {
            return false;
        }
        sincePoll = 0;
        return isCancelled();
    }
    template <class Use> bool forEach(const Side* begin, const Side* end, const Use& use) {
        while (begin != end) {
            const Side* const next = begin + std::min<std::ptrdiff_t>(end - begin, sidesPerPoll);
            if (isCancelledAfter(static_cast<std::size_t>(next - begin))) {
                return false;
            }
            std::for_each(begin, next, use);
            begin = next;
        }
        return true;
    }
    unsigned int triangleAt(std::size_t n) const {
        return triangles != nullptr ? (*triangles)[n] : static_cast<unsigned int>(n);
    }
    template <class Use> static void forEachSide(const Entered& triangle, const Use& use) {
        for (int corner = 0; corner < 3; ++corner) {
            const unsigned int from = triangle.indices[corner];
            const unsigned int to = triangle.indices[(corner + 1) % 3];
            // The collapsed side of a triangle makes no edge.
            if (from != to) {
                use(std::min(from, to), std::max(from, to), from > to);
            }
        }
    }
    bool appendRange(std::size_t range, const Side* begin, const Side* end, std::vector<edgeInfo>& edges);
    bool appendBucket(int low, Side* begin, Side* end, std::vector<edgeInfo>& edges);
    bool sortManySides(Side* begin, Side* end);

    const KivMesh& mesh;
    View view;
    const std::vector<unsigned int>* triangles;
    std::size_t count;
    KivProgress* progress = kivCurrentProgress();
    std::unique_ptr<Entered[]> entered;
    std::unique_ptr<Side[]> pool;       // the sides of all ranges
    std::vector<std::size_t> rangeEnds; // where the sides of each range end in it
    std::vector<Side> sidesOfRange;
    std::vector<Side> scratch;
    std::size_t sincePoll = 0;
};

bool KivEdgesExtraction::SidesByVertex::read() {
    entered = std::make_unique_for_overwrite<Entered[]>(count);
    for (std::size_t n = 0; n < count; ++n) {
        if (n % trianglesPerPoll == 0 && isCancelled()) {
            return false;
        }
        const unsigned int triangle = triangleAt(n);
        mesh.getTriangle(entered[n].indices, triangle);
        entered[n].front = view.isFront(triangle);
        forEachSide(entered[n], [&](unsigned int low, unsigned int, bool) { ++rangeEnds[low / rangeVertices]; });
    }
    return true;
}

bool KivEdgesExtraction::SidesByVertex::dealToRanges() {
    std::size_t next = 0;
    for (std::size_t& end : rangeEnds) {
        next += std::exchange(end, next);
    }
    pool = std::make_unique_for_overwrite<Side[]>(next);
    for (std::size_t n = 0; n < count; ++n) {
        if (isCancelledAfter(3)) {
            return false;
        }
        const int triangle = static_cast<int>(triangleAt(n));
        const bool front = entered[n].front;
        forEachSide(entered[n], [&](unsigned int low, unsigned int high, bool swapped) {
            const auto lowInRange = static_cast<std::uint16_t>(low % rangeVertices);
            pool[rangeEnds[low / rangeVertices]++] = {static_cast<int>(high), triangle, lowInRange, swapped, front};
        });
    }
    entered.reset();
    return true;
}

bool KivEdgesExtraction::SidesByVertex::appendEdges(std::vector<edgeInfo>& edges) {
    const std::size_t numSides = rangeEnds.back();
    // Twice as much as there is at least: callers gather the edges of many meshes in one list.
    edges.reserve(std::max(edges.size() + numSides / 2, std::min(edges.capacity() * 2, edges.size() + numSides)));
    std::size_t start = 0;
    for (std::size_t range = 0; range < rangeEnds.size(); ++range) {
        const std::size_t end = rangeEnds[range];
        if (!appendRange(range, pool.get() + start, pool.get() + end, edges)) {
            return false;
        }
        start = end;
    }
    return true;
}

bool KivEdgesExtraction::SidesByVertex::appendRange(std::size_t range, const Side* begin, const Side* end,
                                                    std::vector<edgeInfo>& edges) {
    std::uint32_t ends[rangeVertices] = {};
    if (!forEach(begin, end, [&](const Side& side) { ++ends[side.low]; })) {
        return false;
    }
    std::uint32_t next = 0;
    for (std::uint32_t& bucketEnd : ends) {
        next += std::exchange(bucketEnd, next);
    }
    sidesOfRange.resize(std::max(sidesOfRange.size(), std::size_t{next}));
    if (!forEach(begin, end, [&](const Side& side) { sidesOfRange[ends[side.low]++] = side; })) {
        return false;
    }
    std::size_t start = 0;
    for (std::size_t low = 0; low < rangeVertices; ++low) {
        Side* const sides = sidesOfRange.data();
        if (!appendBucket(static_cast<int>(range * rangeVertices + low), sides + start, sides + ends[low], edges)) {
            return false;
        }
        start = ends[low];
    }
    return true;
}

// Appends the edges of one lower vertex, whose sides are [begin, end) in order of entry.
bool KivEdgesExtraction::SidesByVertex::appendBucket(int low, Side* begin, Side* end, std::vector<edgeInfo>& edges) {
    constexpr std::ptrdiff_t fewSides = 32;
    // Stable, so that the sides of one edge stay in order of entry. A vertex of ordinary valence has few.
    if (end - begin > fewSides) {
        if (!sortManySides(begin, end)) {
            return false;
        }
    } else {
        for (Side* side = begin; side != end; ++side) {
            const Side moved = *side;
            Side* place = side;
            for (; place != begin && (place - 1)->high > moved.high; --place) {
                *place = *(place - 1);
            }
            *place = moved;
        }
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
    return true;
}

// By the digits of the higher vertex, the lowest first.
bool KivEdgesExtraction::SidesByVertex::sortManySides(Side* begin, Side* end) {
    constexpr unsigned int digitBits = 11;
    const auto size = static_cast<std::size_t>(end - begin);
    const auto byHigh = [](const Side& a, const Side& b) { return a.high < b.high; };
    if (size < (std::size_t{1} << digitBits)) {
        std::stable_sort(begin, end, byHigh);
        return true;
    }
    const auto largest = static_cast<unsigned int>(std::max_element(begin, end, byHigh)->high);
    scratch.resize(std::max(scratch.size(), size));
    for (unsigned int shift = 0; shift < 32 && largest >> shift != 0; shift += digitBits) {
        std::size_t ends[std::size_t{1} << digitBits] = {};
        const auto digitOf = [shift](const Side& side) {
            return static_cast<unsigned int>(side.high) >> shift & ((1U << digitBits) - 1);
        };
        if (!forEach(begin, end, [&](const Side& side) { ++ends[digitOf(side)]; })) {
            return false;
        }
        std::size_t next = 0;
        for (std::size_t& digitEnd : ends) {
            next += std::exchange(digitEnd, next);
        }
        if (!forEach(begin, end, [&](const Side& side) { scratch[ends[digitOf(side)]++] = side; })) {
            return false;
        }
        std::copy_n(scratch.begin(), size, begin);
    }
    return true;
}

void KivEdgesExtraction::extractEdges(const KivMesh* mesh, std::vector<edgeInfo>& edges, const KivCamera* camera,
                                      std::vector<unsigned int>* triangles) {
    const std::size_t before = edges.size();
    SidesByVertex sides(*mesh, camera, triangles);
    if (!sides.read() || !sides.dealToRanges() || !sides.appendEdges(edges)) {
        edges.erase(edges.begin() + static_cast<std::ptrdiff_t>(before), edges.end());
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
