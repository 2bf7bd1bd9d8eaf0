// Values of Assimp as those of the importer, and where its nodes stand.
#ifndef IMPORT_READER_ASSIMPVALUES_H
#define IMPORT_READER_ASSIMPVALUES_H

#include "import/modelparts.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string>

#include <assimp/matrix4x4.h>
#include <assimp/types.h>

namespace kivimport {

inline Vec3 fromAi(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

inline Colour fromAi(const aiColor3D& c) {
    const auto clean = [](float v) { return std::isfinite(v) ? std::clamp(static_cast<double>(v), 0.0, 1.0) : 0.0; };
    return {clean(c.r), clean(c.g), clean(c.b)};
}

inline std::string fromAi(const aiString& text) {
    return {text.C_Str(), std::strlen(text.C_Str())};
}

// Double precision: a chain of nodes multiplies its rounding.
struct Transform {
    std::array<Vec3, 3> rows{Vec3{1.0, 0.0, 0.0}, Vec3{0.0, 1.0, 0.0}, Vec3{0.0, 0.0, 1.0}};
    Vec3 shift;

    Vec3 point(const Vec3& p) const {
        return vector(p) + shift;
    }
    Vec3 vector(const Vec3& v) const {
        return {dot(rows[0], v), dot(rows[1], v), dot(rows[2], v)};
    }
    double determinant() const {
        return dot(rows[0], cross(rows[1], rows[2]));
    }
    // By the transposed inverse up to a positive factor, so that a mirrored normal still points outwards.
    Vec3 normal(const Vec3& v) const {
        const Vec3 n{dot(cross(rows[1], rows[2]), v), dot(cross(rows[2], rows[0]), v), dot(cross(rows[0], rows[1]), v)};
        return determinant() < 0.0 ? n * -1.0 : n;
    }
};

inline Transform combine(const Transform& parent, const aiMatrix4x4& m) {
    const std::array<Vec3, 3> columns{Vec3{m.a1, m.b1, m.c1}, Vec3{m.a2, m.b2, m.c2}, Vec3{m.a3, m.b3, m.c3}};
    Transform result;
    for (std::size_t r = 0; r < 3; ++r) {
        const Vec3& row = parent.rows[r];
        result.rows[r] = {dot(row, columns[0]), dot(row, columns[1]), dot(row, columns[2])};
    }
    result.shift = parent.point({m.a4, m.b4, m.c4});
    return result;
}

// glTF holds linear light, all else means what a screen shows.
inline double toScreen(double linear) {
    return linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}
inline Colour toScreen(const Colour& c) {
    return {toScreen(c.r), toScreen(c.g), toScreen(c.b)};
}

} // namespace kivimport

#endif
