#include "kivrender/lines/touchingfaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

// The sine of the angle at which surfaces count as crossing, however coarse their meshes are.
constexpr double crossingSine = 0.1;

class Face {
public:
    explicit Face(const MeshFace& face) {
        for (std::size_t k = 0; k < 3; ++k) {
            corners[k] = face.surface.points[face.surface.triangles[face.triangle][k]];
            normals[k] = kivUnit(face.surface.normals[face.surface.cornerNormals[face.triangle][k]]);
        }
    }

    // How far the mesh departs from the arcs over its sides (Vlachos and others, Curved PN Triangles, 2001).
    double rise() const {
        double most = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t next = (k + 1) % 3;
            most = std::max(most, 0.125 * std::fabs(kivDot(corners[next] - corners[k], normals[next] - normals[k])));
        }
        return most;
    }
    // Of the smooth surface over a point of the face.
    KivVec normalAt(const KivVec& p) const {
        const KivVec across = kivCross(corners[1] - corners[0], corners[2] - corners[0]);
        KivVec sum;
        for (std::size_t k = 0; k < 3; ++k) {
            const KivVec& a = corners[(k + 1) % 3];
            const KivVec& b = corners[(k + 2) % 3];
            sum = sum + normals[k] * kivDot(kivCross(a - p, b - p), across);
        }
        return kivUnit(sum);
    }
    // How far it reaches to the sides of a line through p; way is of unit length.
    double reachFrom(const KivVec& p, const KivVec& way) const {
        double most = 0.0;
        for (const KivVec& corner : corners) {
            most = std::max(most, kivLength(kivCross(corner - p, way)));
        }
        return most;
    }

private:
    std::array<KivVec, 3> corners;
    std::array<KivVec, 3> normals;
};

} // namespace

bool kivFacesTouch(const MeshFace& one, const MeshFace& other, const KivVec& from, const KivVec& to) {
    if (one.surface.normals.empty() || other.surface.normals.empty()) {
        return false;
    }
    const Face faces[2] = {Face(one), Face(other)};
    const double rises[2] = {faces[0].rise(), faces[1].rise()};
    if (!(rises[0] > 0.0) || !(rises[1] > 0.0)) {
        return false;
    }
    const KivVec middle = (from + to) * 0.5;
    const KivVec way = kivUnit(to - from);
    const double sine = kivLength(kivCross(faces[0].normalAt(middle), faces[1].normalAt(middle)));
    const double reach = std::min(faces[0].reachFrom(middle, way), faces[1].reachFrom(middle, way));
    return sine < crossingSine && sine * reach <= rises[0] + rises[1];
}
