#include "import/normals.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace kivimport {
namespace {

constexpr double pi = 3.14159265358979323846;

// A zero of either sign hashes and compares alike.
std::uint64_t hashOf(const Vec3& p) {
    const auto word = [](double v) { return std::bit_cast<std::uint64_t>(v + 0.0); };
    std::uint64_t h = word(p.x) * 0x9E3779B97F4A7C15U;
    h = (std::rotl(h, 29) ^ word(p.y)) * 0xBF58476D1CE4E5B9U;
    h = (std::rotl(h, 31) ^ word(p.z)) * 0x94D049BB133111EBU;
    return h ^ (h >> 32);
}

// Replaces equal positions by their first one; returns the new index of each old one, or nothing if all were different.
std::vector<std::uint32_t> weldPositions(std::vector<Vec3>& positions) {
    const std::size_t slots = std::bit_ceil(positions.size() * 2 + 2);
    std::vector<std::uint32_t> table(slots, noIndex);
    std::vector<std::uint32_t> newIndex(positions.size());
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        std::size_t slot = hashOf(positions[i]) & (slots - 1);
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

// The triangles around each position: corner numbers, grouped by position in ascending order.
struct CornersOfPositions {
    std::vector<std::uint32_t> start; // one more than there are positions
    std::vector<std::uint32_t> corners;
};

CornersOfPositions groupCorners(const Surface& surface) {
    CornersOfPositions groups;
    groups.start.assign(surface.positions.size() + 1, 0);
    for (const std::uint32_t position : surface.corners) {
        ++groups.start[position + 1];
    }
    for (std::size_t i = 1; i < groups.start.size(); ++i) {
        groups.start[i] += groups.start[i - 1];
    }
    groups.corners.resize(surface.corners.size());
    std::vector<std::uint32_t> next(groups.start.begin(), groups.start.end() - 1);
    for (std::uint32_t c = 0; c < surface.corners.size(); ++c) {
        groups.corners[next[surface.corners[c]]++] = c;
    }
    return groups;
}

// Each face counts at a corner by its angle there, so that the way in which a flat piece is cut up does not matter.
struct FaceNormals {
    explicit FaceNormals(const Surface& surface) : face(surface.corners.size() / 3), weight(surface.corners.size()) {
        for (std::size_t t = 0; t < face.size(); ++t) {
            const std::uint32_t* corner = &surface.corners[t * 3];
            face[t] = faceNormal(surface, corner);
            const Vec3& a = surface.positions[corner[0]];
            const Vec3 ab = unit(surface.positions[corner[1]] - a);
            const Vec3 ac = unit(surface.positions[corner[2]] - a);
            const Vec3 bc = unit(surface.positions[corner[2]] - surface.positions[corner[1]]);
            const double atA = std::acos(std::clamp(dot(ab, ac), -1.0, 1.0));
            const double atB = std::acos(std::clamp(-dot(ab, bc), -1.0, 1.0));
            weight[t * 3] = atA;
            weight[t * 3 + 1] = atB;
            weight[t * 3 + 2] = std::max(pi - atA - atB, 0.0);
        }
    }

    Vec3 weighted(std::uint32_t corner) const {
        return face[corner / 3] * weight[corner];
    }

    std::vector<Vec3> face; // unit length or zero
    std::vector<double> weight;
};

// The normals of the corners around one position; reused from position to position.
class CornerNormals {
public:
    CornerNormals(const Surface& source, double creaseAngle)
        : surface(source), faces(source), cosCrease(std::cos(std::clamp(creaseAngle, 0.0, 180.0) * (pi / 180.0))),
          cosHalfCrease(std::cos(std::clamp(creaseAngle, 0.0, 180.0) * (pi / 360.0))) {}

    // Fills out with one normal for each of the corners.
    void compute(const std::uint32_t* corners, std::size_t count, std::vector<Vec3>& out) {
        out.assign(count, Vec3{});
        std::size_t given = 0;
        if (!surface.cornerNormals.empty()) {
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = givenNormal(corners[i]);
                given += out[i] == Vec3{} ? 0 : 1;
            }
        }
        if (given == count) {
            return;
        }
        Vec3 sum;
        for (std::size_t i = 0; i < count; ++i) {
            sum = sum + faces.weighted(corners[i]);
        }
        mean = unit(sum);
        if (isSmooth(corners, count)) {
            setMissing(out, [this](std::size_t) { return mean; });
        } else if (count > manyCorners) {
            setMissing(out, [this, corners](std::size_t i) { return orMean(faces.face[corners[i] / 3]); });
        } else {
            findGroups(corners, count);
            setMissing(out, [this](std::size_t i) { return groups[groupOf[i]]; });
        }
    }

private:
    template <typename Make> static void setMissing(std::vector<Vec3>& out, const Make& make) {
        for (std::size_t i = 0; i < out.size(); ++i) {
            if (out[i] == Vec3{}) {
                out[i] = make(i);
            }
        }
    }

    Vec3 givenNormal(std::uint32_t corner) const {
        const std::uint32_t index = surface.cornerNormals[corner];
        return index == noIndex ? Vec3{} : unit(surface.normals[index]);
    }

    // Every pair is within the crease angle if each face is within half of it from the mean.
    bool isSmooth(const std::uint32_t* corners, std::size_t count) const {
        if (mean == Vec3{}) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const Vec3& face = faces.face[corners[i] / 3];
            if (face != Vec3{} && dot(face, mean) < cosHalfCrease) {
                return false;
            }
        }
        return true;
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
                const std::size_t at = open.back();
                open.pop_back();
                sum = sum + faces.weighted(corners[at]);
                for (std::size_t j = 0; j < count; ++j) {
                    if (groupOf[j] == noIndex && areClose(corners[at] / 3, corners[j] / 3)) {
                        groupOf[j] = group;
                        open.push_back(j);
                    }
                }
            }
            groups.push_back(orMean(unit(sum)));
        }
    }

    bool areClose(std::uint32_t a, std::uint32_t b) const {
        return faces.face[a] != Vec3{} && dot(faces.face[a], faces.face[b]) >= cosCrease;
    }

    Vec3 orMean(const Vec3& normal) const {
        if (normal != Vec3{}) {
            return normal;
        }
        return mean != Vec3{} ? mean : Vec3{0.0, 0.0, 1.0};
    }

    const Surface& surface;
    FaceNormals faces;
    double cosCrease;
    double cosHalfCrease;
    Vec3 mean;
    std::vector<Vec3> groups;
    std::vector<std::uint32_t> groupOf;
    std::vector<std::size_t> open;
};

} // namespace

std::uint64_t weldSurface(Surface& surface) {
    const std::vector<std::uint32_t> newIndex = weldPositions(surface.positions);
    if (!newIndex.empty()) {
        for (std::uint32_t& corner : surface.corners) {
            corner = newIndex[corner];
        }
    }
    const std::size_t triangles = surface.corners.size() / 3;
    std::size_t kept = 0;
    for (std::size_t t = 0; t < triangles; ++t) {
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
    if (!surface.triangleParts.empty()) {
        surface.triangleParts.resize(kept);
    }
    return triangles - kept;
}

SurfaceVertices makeVertices(const Surface& surface, double creaseAngle) {
    const CornersOfPositions groups = groupCorners(surface);
    CornerNormals normalsOf(surface, creaseAngle);
    SurfaceVertices vertices;
    vertices.positions.reserve(surface.positions.size());
    vertices.normals.reserve(surface.positions.size());
    vertices.corners.resize(surface.corners.size());
    std::vector<Vec3> normals;
    for (std::uint32_t p = 0; p < surface.positions.size(); ++p) {
        const std::uint32_t* corners = groups.corners.data() + groups.start[p];
        const std::size_t count = groups.start[p + 1] - groups.start[p];
        normalsOf.compute(corners, count, normals);
        const auto first = static_cast<std::uint32_t>(vertices.normals.size());
        for (std::size_t i = 0; i < count; ++i) {
            const auto end = static_cast<std::uint32_t>(vertices.normals.size());
            std::uint32_t vertex = end - first > manyCorners ? end - static_cast<std::uint32_t>(manyCorners) : first;
            while (vertex < vertices.normals.size() && !(vertices.normals[vertex] == normals[i])) {
                ++vertex;
            }
            if (vertex == vertices.normals.size()) {
                vertices.positions.push_back(p);
                vertices.normals.push_back(normals[i]);
            }
            vertices.corners[corners[i]] = vertex;
        }
    }
    return vertices;
}

} // namespace kivimport
