#include "kivrender/geometry/kivsurface.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivplacedmesh.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <tuple>
#include <utility>

namespace {

constexpr std::size_t pointsPerPoll = 1U << 17U; // to be welded
constexpr std::size_t pointsAhead = 16;          // whose slots are fetched

std::uint64_t mixed(std::uint64_t h) {
    h ^= h >> 32;
    h *= 0xd6e8feb86659fd93ULL;
    h ^= h >> 32;
    h *= 0xd6e8feb86659fd93ULL;
    h ^= h >> 32;
    return h;
}

std::uint64_t bitsOf(double value) {
    return std::bit_cast<std::uint64_t>(value + 0.0); // the sum turns -0 into 0
}

std::uint64_t hashOf(const KivVec& p) {
    return mixed(bitsOf(p.x) + 3 * mixed(bitsOf(p.y) + 5 * mixed(bitsOf(p.z))));
}

bool samePlace(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool isFinite(const KivVec& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

std::size_t tableSize(std::size_t entries) {
    return std::bit_ceil(std::max<std::size_t>(16, entries * 2));
}

constexpr std::uint32_t none = 0xffffffffU;

// Remembers triangles by their set of corners, in a table with open addresses. Meshes number their points along their
// surface, so that the sum of the corners puts neighbours side by side in memory, where a hash would look all over it.
// Where sums are too much alike, as of many triangles between few points, it hashes after all.
class TriangleSet {
public:
    explicit TriangleSet(std::size_t count) : slots(tableSize(count), none), mask(slots.size() - 1) {
        sorted.reserve(count);
    }

    // False if the set of corners was there already.
    bool add(const KivSurface::Triangle& triangle) {
        KivSurface::Triangle key = triangle;
        std::sort(key.begin(), key.end());
        if (!isHashed && steps > fewSteps + 4 * sorted.size()) {
            hashAll();
        }
        std::uint32_t& slot = slotOf(key);
        if (slot != none) {
            return false;
        }
        slot = static_cast<std::uint32_t>(sorted.size());
        sorted.push_back(key);
        return true;
    }

private:
    static constexpr std::size_t fewSteps = 4096;

    // With that set of corners, or free.
    std::uint32_t& slotOf(const KivSurface::Triangle& key) {
        const std::uint64_t place =
            isHashed ? mixed(key[0] + 3 * mixed(key[1] + 5 * mixed(key[2]))) : std::uint64_t{key[0]} + key[1] + key[2];
        std::size_t slot = place & mask;
        while (slots[slot] != none && sorted[slots[slot]] != key) {
            slot = (slot + 1) & mask;
            ++steps;
        }
        return slots[slot];
    }
    void hashAll() {
        isHashed = true;
        std::fill(slots.begin(), slots.end(), none);
        for (std::uint32_t i = 0; i < sorted.size(); ++i) {
            slotOf(sorted[i]) = i;
        }
    }

    std::vector<KivSurface::Triangle> sorted; // each by its corners
    std::vector<std::uint32_t> slots;         // of the table, numbers of the former
    std::size_t mask;
    std::size_t steps = 0; // that were taken beyond the first look
    bool isHashed = false;
};

// place: the point of each vertex.
void readNamedEdges(const KivMesh& mesh, const std::vector<std::uint32_t>& place, KivSurface& surface) {
    const std::shared_ptr<const KivMeshEdges> named = kivPlacedMeshEdges(mesh);
    if (named == nullptr) {
        return;
    }
    surface.namesEdges = true;
    for (const KivMeshEdge& edge : named->edges) {
        for (std::uint32_t i = 1; edge.kind != KivMeshEdge::Kind::seam && i < edge.count; ++i) {
            const std::uint32_t from = named->vertices[edge.first + i - 1];
            const std::uint32_t to = named->vertices[edge.first + i];
            if (from < place.size() && to < place.size() && place[from] != place[to]) {
                KivSurface::NamedEdge& added = surface.namedEdges.emplace_back();
                added.a = std::min(place[from], place[to]);
                added.b = std::max(place[from], place[to]);
                added.tangent = edge.kind == KivMeshEdge::Kind::tangent;
                added.hasBeyond = edge.hasBeyond && named->beyond.size() == named->vertices.size();
                if (added.hasBeyond) {
                    const Kiv3DPoint& p = named->beyond[edge.first + i - 1];
                    added.beyond = {p.x, p.y, p.z};
                }
            }
        }
    }
    std::sort(surface.namedEdges.begin(), surface.namedEdges.end(), [](const auto& one, const auto& other) {
        return std::tie(one.a, one.b, one.tangent) < std::tie(other.a, other.b, other.tangent);
    });
}

} // namespace

std::vector<std::uint32_t> kivWeldPoints(const std::vector<KivVec>& points, std::uint32_t* count, bool* cancelled) {
    std::vector<std::uint32_t> result(points.size());
    std::vector<std::uint32_t> slots(tableSize(points.size()), none); // the first point of each place
    const std::size_t mask = slots.size() - 1;
    std::uint32_t places = 0;
    std::array<std::size_t, pointsAhead>
        wanted{}; // the slots of the next points, which the processor fetches meanwhile
    const auto fetch = [&](std::size_t i) {
        if (i < points.size()) {
            wanted[i % pointsAhead] = hashOf(points[i]) & mask;
            __builtin_prefetch(&slots[wanted[i % pointsAhead]], 1);
        }
    };
    for (std::size_t i = 0; i < pointsAhead; ++i) {
        fetch(i);
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (cancelled != nullptr && i % pointsPerPoll == 0 && kivIsCancelled()) {
            *cancelled = true;
            break;
        }
        std::size_t slot = wanted[i % pointsAhead];
        fetch(i + pointsAhead);
        if (!isFinite(points[i])) {
            result[i] = places++; // not entered: a heap of them in one chain of the table would take for ever
            continue;
        }
        while (slots[slot] != none && !samePlace(points[slots[slot]], points[i])) {
            slot = (slot + 1) & mask;
        }
        if (slots[slot] == none) {
            slots[slot] = static_cast<std::uint32_t>(i);
            result[i] = places++;
        } else {
            result[i] = result[slots[slot]];
        }
    }
    *count = places;
    return result;
}

KivSurface kivReadSurface(const KivMesh& mesh) {
    const unsigned int numVertexs = mesh.getNumVertexs();
    const unsigned int numTriangles = mesh.getNumTriangles();
    std::vector<KivVec> points(numVertexs);
    for (unsigned int i = 0; i < numVertexs; ++i) {
        const Kiv3DPoint p = mesh.getVertex(i);
        points[i] = {p.x, p.y, p.z};
    }
    KivSurface surface;
    std::uint32_t places = 0;
    const std::vector<std::uint32_t> place = kivWeldPoints(points, &places);
    surface.points.resize(places);
    for (unsigned int i = 0; i < numVertexs; ++i) {
        surface.points[place[i]] = points[i];
    }
    const bool hasNormals = mesh.hasNormals();
    if (hasNormals) {
        surface.normals.resize(numVertexs);
        for (unsigned int i = 0; i < numVertexs; ++i) {
            const Kiv3DVector n = mesh.getNormal(i);
            surface.normals[i] = kivUnit({n.x, n.y, n.z});
        }
        surface.cornerNormals.reserve(numTriangles);
    }
    surface.triangles.reserve(numTriangles);
    surface.sources.reserve(numTriangles);
    TriangleSet known(numTriangles);
    for (unsigned int t = 0; t < numTriangles; ++t) {
        unsigned int corner[3] = {0, 0, 0};
        mesh.getTriangle(corner, t);
        if (corner[0] >= numVertexs || corner[1] >= numVertexs || corner[2] >= numVertexs) {
            continue;
        }
        const KivSurface::Triangle triangle = {place[corner[0]], place[corner[1]], place[corner[2]]};
        const bool collapsed = triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0];
        if (collapsed || !isFinite(points[corner[0]]) || !isFinite(points[corner[1]]) || !isFinite(points[corner[2]])) {
            continue;
        }
        if (known.add(triangle)) {
            surface.triangles.push_back(triangle);
            surface.sources.push_back(t);
            if (hasNormals) {
                surface.cornerNormals.push_back({corner[0], corner[1], corner[2]});
            }
        }
    }
    readNamedEdges(mesh, place, surface);
    return surface;
}

const KivSurface::NamedEdge* kivNamedEdge(const KivSurface& surface, std::uint32_t a, std::uint32_t b) {
    const auto at = std::lower_bound(
        surface.namedEdges.begin(), surface.namedEdges.end(), std::pair(a, b),
        [](const KivSurface::NamedEdge& edge, const auto& ends) { return std::pair(edge.a, edge.b) < ends; });
    return at != surface.namedEdges.end() && at->a == a && at->b == b ? &*at : nullptr;
}

bool kivHasArea(const KivVec& a, const KivVec& b, const KivVec& c) {
    constexpr double least = 1e-10;
    const double longest = std::max({kivDot(b - a, b - a), kivDot(c - b, c - b), kivDot(a - c, a - c)});
    return kivLength(kivCross(b - a, c - a)) > least * longest;
}
