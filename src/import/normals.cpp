#include "import/normals.h"

#include "import/flatbodies.h"
#include "import/nearorder.h"

#include "kivrender/geometry/kivarccosine.h"
#include "kivrender/geometry/kivflatfaces.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

namespace kivimport {
namespace {

using std::numbers::pi;

// In units of WorkWatch, where memory is large and far.
constexpr std::size_t costOfWeld = 15;
constexpr std::size_t costOfStep = 2;
constexpr std::size_t costOfFace = 25;

// A zero of either sign hashes and compares alike.
std::uint64_t hashOf(const Vec3& p) {
    const auto word = [](double v) { return std::bit_cast<std::uint64_t>(v + 0.0); };
    std::uint64_t h = word(p.x) * 0x9E3779B97F4A7C15U;
    h = (std::rotl(h, 29) ^ word(p.y)) * 0xBF58476D1CE4E5B9U;
    h = (std::rotl(h, 31) ^ word(p.z)) * 0x94D049BB133111EBU;
    return h ^ (h >> 32);
}

// New memory comes page by page: tens of milliseconds for the lists of some million positions.
std::vector<std::uint32_t> filledList(std::size_t count, std::uint32_t value, WorkWatch& watch) {
    constexpr std::size_t piece = std::size_t{1} << 16;
    constexpr std::size_t costOfPiece = piece / 8;
    std::vector<std::uint32_t> list;
    list.reserve(count);
    while (list.size() < count) {
        list.resize(std::min(count, list.size() + piece), value);
        watch.add(costOfPiece);
    }
    return list;
}

// Replaces equal positions by their first one; returns the new index of each old one, or nothing if all were different.
std::vector<std::uint32_t> weldPositions(Points& positions, WorkWatch& watch) {
    const std::size_t slots = std::bit_ceil(positions.size() * 2 + 2);
    std::vector<std::uint32_t> table = filledList(slots, noIndex, watch);
    std::vector<std::uint32_t> newIndex = filledList(positions.size(), 0, watch);
    std::uint32_t count = 0;
    constexpr std::size_t ahead = 16; // positions whose slots the processor fetches meanwhile
    std::array<std::size_t, ahead> wanted{};
    const auto fetch = [&](std::size_t i) {
        if (i < positions.size()) {
            wanted[i % ahead] = hashOf(positions[i]) & (slots - 1);
            __builtin_prefetch(&table[wanted[i % ahead]], 1);
        }
    };
    for (std::size_t i = 0; i < ahead; ++i) {
        fetch(i);
    }
    for (std::size_t i = 0; i < positions.size(); ++i) {
        watch.add(costOfWeld);
        std::size_t slot = wanted[i % ahead];
        fetch(i + ahead);
        while (table[slot] != noIndex && !(positions[table[slot]] == positions[i])) {
            slot = (slot + 1) & (slots - 1);
        }
        if (table[slot] == noIndex) {
            table[slot] = count;
            positions[count] = positions[i];
            newIndex[i] = count++;
        } else {
            newIndex[i] = table[slot];
        }
    }
    if (count == positions.size()) {
        return {};
    }
    positions.resize(count);
    return newIndex;
}

Vec3 faceVector(const Surface& surface, const std::uint32_t* corner) {
    const Vec3& a = surface.positions[corner[0]];
    return cross(surface.positions[corner[1]] - a, surface.positions[corner[2]] - a);
}

double longestSideSquared(const Surface& surface, const std::uint32_t* corner) {
    const Vec3 a = surface.positions[corner[1]] - surface.positions[corner[0]];
    const Vec3 b = surface.positions[corner[2]] - surface.positions[corner[1]];
    const Vec3 c = surface.positions[corner[0]] - surface.positions[corner[2]];
    return std::max({dot(a, a), dot(b, b), dot(c, c)});
}

bool hasArea(const Surface& surface, const std::uint32_t* corner) {
    if (corner[0] == corner[1] || corner[1] == corner[2] || corner[2] == corner[0]) {
        return false;
    }
    // Three points on a line are seldom so to the last bit.
    return length(faceVector(surface, corner)) > 1e-12 * longestSideSquared(surface, corner);
}

// Zero for a needle so thin that its direction is made of the file's rounding: six digits are usual in text. It stays
// in the surface, as its neighbours would have a gap, and follows their normals.
Vec3 faceNormal(const Surface& surface, const std::uint32_t* corner) {
    const Vec3 face = faceVector(surface, corner);
    return length(face) > 1e-6 * longestSideSquared(surface, corner) ? unit(face) : Vec3{};
}

// A position in more triangles than this is the tip of a fine cone or the pole of a fine sphere. Comparing all of its
// faces with each other would be quadratic there.
constexpr std::size_t manyCorners = 256;

// Each face counts at a corner by its angle there, so that the way in which a flat piece is cut up does not matter
// (Thuermer and Wuethrich, Computing Vertex Normals from Polygonal Facets, 1998).
std::array<double, 3> anglesOf(const Surface& surface, const std::uint32_t* corner) {
    const Vec3& a = surface.positions[corner[0]];
    const Vec3 ab = unit(surface.positions[corner[1]] - a);
    const Vec3 ac = unit(surface.positions[corner[2]] - a);
    const Vec3 bc = unit(surface.positions[corner[2]] - surface.positions[corner[1]]);
    const double atA = kivArcCosine(dot(ab, ac));
    const double atB = kivArcCosine(-dot(ab, bc));
    return {atA, atB, std::max(pi - atA - atB, 0.0)};
}

// Most positions of most surfaces have one normal, the mean of their faces; the few others are looked at one by one.
// Walking the triangles in order for the former keeps to the memory that is near.
class VertexMaker {
public:
    VertexMaker(const Surface& source, double creaseAngle, WorkWatch& workWatch)
        : surface(source), watch(workWatch), crease(std::clamp(creaseAngle, 0.0, 180.0)), cosCrease(cosine(crease)),
          faces(source.corners.size() / 3), means(source.positions.size()), isOne(source.positions.size(), 1),
          onePaint(source.cornerPaint.empty() ? 0 : source.positions.size(), unseen) {}

    SurfaceVertices make() {
        addUpFaces(surface, faces, means);
        if (!surface.restPositions.empty()) {
            Surface rest;
            rest.positions = surface.restPositions;
            rest.corners = surface.corners;
            restFaces.resize(faces.size());
            restMeans.resize(means.size());
            addUpFaces(rest, restFaces, restMeans);
        }
        findOneNormals();
        findFlatBodies();
        groupCorners();
        vertices.positions.reserve(surface.positions.size());
        vertices.normals.reserve(surface.positions.size());
        vertices.corners.resize(surface.corners.size());
        std::vector<std::uint32_t> vertexOf(surface.positions.size(), noIndex);
        for (std::uint32_t p = 0; p < surface.positions.size(); ++p) {
            watch.add(costOfStep);
            if (start[p] != start[p + 1]) {
                makeSeveral(p);
            } else if (isOne[p] != 0 && means[p] != Vec3{}) {
                vertexOf[p] = addVertex(p, means[p], onePaint.empty() ? noIndex : onePaint[p]);
            }
        }
        for (std::size_t c = 0; c < surface.corners.size(); ++c) {
            watch.add(costOfStep);
            if (isOne[surface.corners[c]] != 0) {
                vertices.corners[c] = vertexOf[surface.corners[c]];
            }
        }
        return std::move(vertices);
    }

private:
    static double cosine(double degrees) {
        return std::cos(degrees * (pi / 180.0));
    }

    void addUpFaces(const Surface& of, Points& normals, Points& sums) const {
        for (std::size_t t = 0; t < normals.size(); ++t) {
            watch.add(costOfFace);
            const std::uint32_t* corner = &of.corners[t * 3];
            normals[t] = faceNormal(of, corner);
            const std::array<double, 3> angles = anglesOf(of, corner);
            for (std::size_t i = 0; i < 3; ++i) {
                sums[corner[i]] = sums[corner[i]] + normals[t] * angles[i];
            }
        }
        for (Vec3& mean : sums) {
            watch.add(costOfStep);
            mean = unit(mean);
        }
    }

    // A position has one normal if the file gives none there and each face is within half of the crease angle from the
    // mean: every pair is then within the whole of it. One without a mean is in no triangle, or is looked at later.
    void findOneNormals() {
        const double cosHalfCrease = cosine(crease / 2.0);
        for (std::size_t c = 0; c < surface.corners.size(); ++c) {
            watch.add(costOfStep);
            const std::uint32_t p = surface.corners[c];
            const Vec3& face = shapeFaces()[c / 3];
            const Vec3& mean = (restMeans.empty() ? means : restMeans)[p];
            const bool bends =
                mean == Vec3{} || means[p] == Vec3{} || (face != Vec3{} && dot(face, mean) < cosHalfCrease);
            if (bends || givenNormal(c) != Vec3{} || hasOtherPaint(c)) {
                isOne[p] = 0;
            }
        }
    }

    // A smaller crease angle holds for bodies with flat faces: a chamfer has its edges, and the face beside it no
    // tones. Where the file gives normals it knows better.
    void findFlatBodies() {
        if (crease <= kivFlatFacesCrease || crease > kivMostUsualCrease || !surface.cornerNormals.empty()) {
            return;
        }
        const Points& shapeMeans = restMeans.empty() ? means : restMeans;
        const double cosHalf = cosine(kivFlatFacesCrease / 2.0);
        const auto bends = [this, &shapeMeans, cosHalf](std::size_t corner) {
            const Vec3& face = shapeFaces()[corner / 3];
            return face != Vec3{} && dot(face, shapeMeans[surface.corners[corner]]) < cosHalf;
        };
        std::vector<std::uint8_t> asked(surface.positions.size(), 0);
        bool any = false;
        for (std::size_t c = 0; c < surface.corners.size(); ++c) {
            watch.add(costOfStep);
            if (bends(c)) {
                asked[surface.corners[c]] = 1;
                any = true;
            }
        }
        if (!any) {
            return;
        }
        isFlat = trianglesOfFlatBodies(surface.restPositions.empty() ? surface.positions : surface.restPositions,
                                       surface.corners, asked, watch);
        for (std::size_t c = 0; !isFlat.empty() && c < surface.corners.size(); ++c) {
            if (isFlat[c / 3] != 0 && asked[surface.corners[c]] != 0) {
                isOne[surface.corners[c]] = 0;
            }
        }
    }

    // By which it is decided what belongs together.
    const Points& shapeFaces() const {
        return restFaces.empty() ? faces : restFaces;
    }

    // Than the corners before it at the same position.
    bool hasOtherPaint(std::size_t corner) {
        if (onePaint.empty()) {
            return false;
        }
        std::uint32_t& known = onePaint[surface.corners[corner]];
        known = known == unseen ? paintOf(corner) : known;
        return known != paintOf(corner);
    }

    std::uint32_t paintOf(std::size_t corner) const {
        return surface.cornerPaint.empty() ? noIndex : surface.cornerPaint[corner];
    }

    Vec3 givenNormal(std::size_t corner) const {
        if (surface.cornerNormals.empty() || surface.cornerNormals[corner] == noIndex) {
            return {};
        }
        return unit(surface.normals[surface.cornerNormals[corner]]);
    }

    // The corners of each position that may have several normals, in ascending order.
    void groupCorners() {
        start.assign(surface.positions.size() + 1, 0);
        for (const std::uint32_t p : surface.corners) {
            watch.add(costOfStep);
            start[p + 1] += isOne[p] != 0 ? 0 : 1;
        }
        for (std::size_t i = 1; i < start.size(); ++i) {
            start[i] += start[i - 1];
        }
        cornersAt.resize(start.back());
        std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
        for (std::uint32_t c = 0; c < surface.corners.size(); ++c) {
            watch.add(costOfStep);
            if (isOne[surface.corners[c]] == 0) {
                cornersAt[next[surface.corners[c]]++] = c;
            }
        }
    }

    std::uint32_t addVertex(std::uint32_t position, const Vec3& normal, std::uint32_t paint,
                            std::uint32_t given = noIndex) {
        vertices.positions.push_back(position);
        if (!surface.restPositions.empty()) {
            vertices.given.push_back(given);
        }
        vertices.normals.push_back(normal);
        if (!onePaint.empty()) {
            vertices.paint.push_back(paint);
        }
        return static_cast<std::uint32_t>(vertices.normals.size() - 1);
    }

    void makeSeveral(std::uint32_t position) {
        const std::uint32_t* corners = cornersAt.data() + start[position];
        const std::size_t count = start[position + 1] - start[position];
        if (count <= manyCorners) {
            findGroups(corners, count);
        }
        const auto first = static_cast<std::uint32_t>(vertices.normals.size());
        for (std::size_t i = 0; i < count; ++i) {
            watch.add(costOfStep + std::min(count, manyCorners));
            Vec3 normal = givenNormal(corners[i]);
            if (normal == Vec3{}) {
                normal = count <= manyCorners ? groups[groupOf[i]] : orMean(faces[corners[i] / 3], position);
            }
            const auto end = static_cast<std::uint32_t>(vertices.normals.size());
            std::uint32_t vertex = end - first > manyCorners ? end - static_cast<std::uint32_t>(manyCorners) : first;
            const std::uint32_t paint = paintOf(corners[i]);
            while (vertex < end && !(vertices.normals[vertex] == normal && isPainted(vertex, paint))) {
                ++vertex;
            }
            vertices.corners[corners[i]] =
                vertex < end ? vertex : addVertex(position, normal, paint, givenAt(corners[i]));
        }
    }

    std::uint32_t givenAt(std::size_t corner) const {
        return givenNormal(corner) == Vec3{} ? noIndex : surface.cornerNormals[corner];
    }

    bool isPainted(std::uint32_t vertex, std::uint32_t paint) const {
        return onePaint.empty() || vertices.paint[vertex] == paint;
    }

    // Faces within the crease angle of each other belong together, and so does what is linked by others in between: a
    // strongly curved place stays smooth, while the rim of a cylinder parts its side from its lid.
    void findGroups(const std::uint32_t* corners, std::size_t count) {
        groups.clear();
        groupOf.assign(count, noIndex);
        for (std::size_t i = 0; i < count; ++i) {
            if (groupOf[i] != noIndex) {
                continue;
            }
            const auto group = static_cast<std::uint32_t>(groups.size());
            Vec3 sum;
            open.assign(1, i);
            groupOf[i] = group;
            while (!open.empty()) {
                const std::uint32_t at = corners[open.back()];
                open.pop_back();
                watch.add(costOfFace + count);
                sum = sum + faces[at / 3] * anglesOf(surface, &surface.corners[at / 3 * 3])[at % 3];
                for (std::size_t j = 0; j < count; ++j) {
                    if (groupOf[j] == noIndex && areClose(at / 3, corners[j] / 3)) {
                        groupOf[j] = group;
                        open.push_back(j);
                    }
                }
            }
            groups.push_back(orMean(unit(sum), surface.corners[corners[i]]));
        }
    }

    bool areClose(std::uint32_t a, std::uint32_t b) const {
        const Points& normals = shapeFaces();
        const bool areFlat = !isFlat.empty() && isFlat[a] != 0; // both, as they share a position
        return normals[a] != Vec3{} && dot(normals[a], normals[b]) >= (areFlat ? cosFlatCrease : cosCrease);
    }

    Vec3 orMean(const Vec3& normal, std::uint32_t position) const {
        if (normal != Vec3{}) {
            return normal;
        }
        return means[position] != Vec3{} ? means[position] : Vec3{0.0, 0.0, 1.0};
    }

    const Surface& surface;
    WorkWatch& watch;
    double crease; // degrees
    double cosCrease;
    double cosFlatCrease = cosine(kivFlatFacesCrease);
    Points faces;     // normals, unit length or zero
    Points means;     // of the faces at each position, unit length or zero
    Points restFaces; // the same of a surface in a pose, at rest; else empty, as the next
    Points restMeans;
    std::vector<std::uint8_t> isOne;
    std::vector<std::uint8_t> isFlat; // of the triangles: part of a body with flat faces; empty if there is none
    static constexpr std::uint32_t unseen = noIndex - 1;
    std::vector<std::uint32_t> onePaint; // of each position; empty without paint
    std::vector<std::uint32_t> start;
    std::vector<std::uint32_t> cornersAt;
    SurfaceVertices vertices;
    Points groups;
    std::vector<std::uint32_t> groupOf;
    std::vector<std::size_t> open;
};

void weldPaint(Surface& surface, WorkWatch& watch) {
    const std::vector<std::uint32_t> newIndex = weldPositions(surface.paint, watch);
    for (std::size_t c = 0; !newIndex.empty() && c < surface.cornerPaint.size(); ++c) {
        watch.add(costOfStep);
        std::uint32_t& corner = surface.cornerPaint[c];
        corner = corner != noIndex ? newIndex[corner] : noIndex;
    }
}

// Of each of the new positions what belongs to the first old one; for a list of as many as there were, or none.
void keepFirst(Points& list, const std::vector<std::uint32_t>& newIndex) {
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (newIndex[i] == count) {
            list[count++] = list[i];
        }
    }
    list.resize(count);
}

} // namespace

std::uint64_t weldSurface(Surface& surface, WorkWatch watch) {
    weldPaint(surface, watch);
    const std::vector<std::uint32_t> newIndex = weldPositions(surface.positions, watch);
    if (!newIndex.empty()) {
        for (std::uint32_t& corner : surface.corners) {
            watch.add(costOfStep);
            corner = newIndex[corner];
        }
        for (std::uint32_t& point : surface.edgePoints) {
            point = newIndex[point];
        }
        keepFirst(surface.restPositions, newIndex);
    }
    putNearTogether(surface, watch);
    const std::size_t triangles = surface.corners.size() / 3;
    std::size_t kept = 0;
    for (std::size_t t = 0; t < triangles; ++t) {
        watch.add(costOfWeld);
        if (!hasArea(surface, &surface.corners[t * 3])) {
            continue;
        }
        if (kept != t) {
            std::copy_n(surface.corners.begin() + static_cast<std::ptrdiff_t>(t * 3), 3,
                        surface.corners.begin() + static_cast<std::ptrdiff_t>(kept * 3));
            if (!surface.cornerNormals.empty()) {
                std::copy_n(surface.cornerNormals.begin() + static_cast<std::ptrdiff_t>(t * 3), 3,
                            surface.cornerNormals.begin() + static_cast<std::ptrdiff_t>(kept * 3));
            }
            if (!surface.cornerPaint.empty()) {
                std::copy_n(surface.cornerPaint.begin() + static_cast<std::ptrdiff_t>(t * 3), 3,
                            surface.cornerPaint.begin() + static_cast<std::ptrdiff_t>(kept * 3));
            }
            if (!surface.triangleParts.empty()) {
                surface.triangleParts[kept] = surface.triangleParts[t];
            }
        }
        ++kept;
    }
    surface.corners.resize(kept * 3);
    if (!surface.cornerNormals.empty()) {
        surface.cornerNormals.resize(kept * 3);
    }
    if (!surface.cornerPaint.empty()) {
        surface.cornerPaint.resize(kept * 3);
    }
    if (!surface.triangleParts.empty()) {
        surface.triangleParts.resize(kept);
    }
    return triangles - kept;
}

SurfaceVertices makeVertices(const Surface& surface, double creaseAngle, WorkWatch watch) {
    return VertexMaker(surface, creaseAngle, watch).make();
}

} // namespace kivimport
