#include "kivrender/scene/kivpolyline.h"

#include <utility>

KivPolyline::KivPolyline() = default;

// Neither normals nor shader settings go into a copy. The material is assigned, since copy construction of a material
// changes its diffuse colour.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
KivPolyline::KivPolyline(const KivPolyline& other)
    : Kiv3DObject(), points(other.points), closed(other.closed), color(other.color) {
    material = other.material;
}

KivPolyline::KivPolyline(KivPolyline&& other) noexcept
    : Kiv3DObject(static_cast<Kiv3DObject&&>(other)), points(std::move(other.points)),
      normals(std::move(other.normals)), closed(other.closed), color(other.color) {
    material = other.material;
}

KivPolyline::~KivPolyline() = default;

bool KivPolyline::isClosed() const {
    return closed;
}

void KivPolyline::setClosed(bool value) {
    closed = value;
}

void KivPolyline::addPoint(double x, double y, double z) {
    points.emplace_back(x, y, z);
}

void KivPolyline::addPoint(const Kiv3DPoint& point) {
    points.push_back(point);
}

void KivPolyline::addPoint(const Kiv3DPoint& point, const Kiv3DVector& normal) {
    points.push_back(point);
    normals.push_back(normal);
}

void KivPolyline::addNormal(const Kiv3DVector& normal) {
    normals.push_back(normal);
}

int KivPolyline::numPoints() const {
    return static_cast<int>(points.size());
}

Kiv3DPoint KivPolyline::getPoint(int index) const {
    return points[static_cast<std::size_t>(index)];
}

Kiv3DVector KivPolyline::getNormal(int index) const {
    return normals[static_cast<std::size_t>(index)];
}

bool KivPolyline::hasNormals() const {
    return !normals.empty();
}

std::uint32_t KivPolyline::getColor() const {
    return color;
}

void KivPolyline::setColor(std::uint32_t value) {
    color = value;
}

void KivPolyline::setMaterial(KivMaterial& value) {
    material = value;
}

const KivMaterial* KivPolyline::getMaterial() const {
    return &material;
}

void KivPolyline::clear() {
    points.clear();
    normals.clear();
    color = 0;
    closed = false;
}
