#include "apps/common/framing.h"

#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using std::numbers::pi;
constexpr double margin = 0.06; // of the picture, on each side
constexpr double infinity = std::numeric_limits<double>::infinity();

double dot(const Kiv3DVector& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
double dot(const Kiv3DPoint& a, const Kiv3DVector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Kiv3DVector cross(const Kiv3DVector& a, const Kiv3DVector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
Kiv3DVector unit(Kiv3DVector v) {
    v.normalice();
    return v;
}
Kiv3DVector combine(const ViewAxes& axes, double r, double u, double f) {
    return {axes.right.x * r + axes.up.x * u + axes.forward.x * f,
            axes.right.y * r + axes.up.y * u + axes.forward.y * f,
            axes.right.z * r + axes.up.z * u + axes.forward.z * f};
}

struct Range {
    double low = infinity;
    double high = -infinity;

    void add(double v) {
        low = std::min(low, v);
        high = std::max(high, v);
    }
    double centre() const {
        return (low + high) / 2.0;
    }
    double size() const {
        return high - low;
    }
};

Range rangeAlong(const std::vector<Kiv3DPoint>& points, const Kiv3DVector& axis) {
    Range range;
    for (const Kiv3DPoint& p : points) {
        range.add(dot(p, axis));
    }
    return range;
}

struct Sphere {
    Kiv3DPoint centre;
    double radius = 1.0;
};

Sphere around(const std::vector<Kiv3DPoint>& points) {
    const Range x = rangeAlong(points, {1.0, 0.0, 0.0});
    const Range y = rangeAlong(points, {0.0, 1.0, 0.0});
    const Range z = rangeAlong(points, {0.0, 0.0, 1.0});
    const double diagonal = std::sqrt(x.size() * x.size() + y.size() * y.size() + z.size() * z.size());
    return {{x.centre(), y.centre(), z.centre()}, std::max(diagonal / 2.0, 1e-6)};
}

// For one pair of opposite sides of the view pyramid: how far back the eye has to be, and where it is along the axis.
// A point p is inside when |(p - eye) . axis| <= tangent * (p - eye) . forward.
struct SideFit {
    double eyeForward = 0.0; // the eye may be at most here along forward
    double low = 0.0;        // the two planes through the outermost points
    double high = 0.0;
};

SideFit fitSides(const std::vector<Kiv3DPoint>& points, const Kiv3DVector& axis, const Kiv3DVector& forward,
                 double tangent) {
    SideFit fit{0.0, -infinity, -infinity};
    for (const Kiv3DPoint& p : points) {
        const double along = dot(p, axis);
        const double depth = tangent * dot(p, forward);
        fit.high = std::max(fit.high, along - depth);
        fit.low = std::max(fit.low, -along - depth);
    }
    fit.eyeForward = -(fit.high + fit.low) / (2.0 * tangent);
    return fit;
}

} // namespace

std::vector<Kiv3DPoint> scenePoints(const KivScene& scene) {
    std::vector<Kiv3DPoint> points;
    std::size_t numVertexs = 0;
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        numVertexs += scene.getMesh(i)->getNumVertexs();
    }
    points.reserve(numVertexs);
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* mesh = scene.getMesh(i);
        for (unsigned int v = 0; v < mesh->getNumVertexs(); ++v) {
            points.push_back(mesh->getVertex(v));
        }
    }
    for (unsigned int i = 0; i < scene.numLines(); ++i) {
        points.push_back(scene.getLine(i)->getStart());
        points.push_back(scene.getLine(i)->getEnd());
    }
    for (unsigned int i = 0; i < scene.numPolyline(); ++i) {
        const KivPolyline* line = scene.getPolyline(i);
        for (int p = 0; p < line->numPoints(); ++p) {
            points.push_back(line->getPoint(p));
        }
    }
    for (unsigned int i = 0; i < scene.numPoints(); ++i) {
        points.push_back(*scene.getPoint(i));
    }
    return points;
}

ViewAxes viewAxes(const Kiv3DVector& forward, const Kiv3DVector& up) {
    ViewAxes axes;
    axes.forward = unit(forward);
    axes.right = cross(axes.forward, unit(up));
    if (dot(axes.right, axes.right) < 1e-12) {
        // Straight along up, as a plan is seen: what is away from the viewer elsewhere is then up in the picture.
        const Kiv3DVector back = std::fabs(axes.forward.y) > 0.5
                                     ? Kiv3DVector(0.0, 0.0, axes.forward.y > 0.0 ? 1.0 : -1.0)
                                     : Kiv3DVector(0.0, 1.0, 0.0);
        axes.right = cross(axes.forward, back);
    }
    axes.right = unit(axes.right);
    axes.up = cross(axes.right, axes.forward);
    return axes;
}

Kiv3DVector threeQuarterDirection(const Kiv3DVector& up) {
    constexpr double azimuth = 32.0 * pi / 180.0;
    constexpr double elevation = 20.0 * pi / 180.0;
    const double side = std::sin(azimuth) * std::cos(elevation);
    const double front = std::cos(azimuth) * std::cos(elevation);
    const double above = std::sin(elevation);
    // A model whose up is y looks along +z, one whose up is z along -y.
    return up.z > up.y ? Kiv3DVector(-side, front, -above) : Kiv3DVector(-side, -above, -front);
}

Kiv3DPoint fittingLocation(const std::vector<Kiv3DPoint>& points, const ViewAxes& axes, const Lens& lens) {
    const double shown = 1.0 - 2.0 * margin;
    if (lens.orthoHeight > 0.0) {
        const Sphere all = around(points);
        const double back = rangeAlong(points, axes.forward).low - all.radius;
        const Kiv3DVector place =
            combine(axes, rangeAlong(points, axes.right).centre(), rangeAlong(points, axes.up).centre(), back);
        return {place.x, place.y, place.z};
    }
    const double tangentUp = std::tan(lens.verticalFov * pi / 360.0) * shown;
    const double tangentRight = std::tan(lens.verticalFov * pi / 360.0) * lens.aspect * shown;
    const SideFit right = fitSides(points, axes.right, axes.forward, tangentRight);
    const SideFit up = fitSides(points, axes.up, axes.forward, tangentUp);
    // A single point, or a line seen along itself, has no size to fit: keep a distance.
    const double depth = std::min({right.eyeForward, up.eyeForward, rangeAlong(points, axes.forward).low - 1e-3});
    const Kiv3DVector place = combine(axes, (right.high - right.low) / 2.0, (up.high - up.low) / 2.0, depth);
    return {place.x, place.y, place.z};
}

double fittingOrthoHeight(const std::vector<Kiv3DPoint>& points, const ViewAxes& axes, double aspect) {
    const double height = rangeAlong(points, axes.up).size();
    const double width = rangeAlong(points, axes.right).size();
    const double fitted = std::max(height, width / aspect) / (1.0 - 2.0 * margin);
    return fitted > 0.0 ? fitted : 1.0;
}

KivCamera makeCamera(const std::vector<Kiv3DPoint>& points, const Kiv3DPoint& location, const ViewAxes& axes,
                     const Lens& lens) {
    Range depth;
    for (const Kiv3DPoint& p : points) {
        depth.add(dot(p, axes.forward) - dot(location, axes.forward));
    }
    const double slack = std::max(depth.size(), 1e-3) * 0.01;
    double farPlane = std::max(depth.high + slack, 1e-3);
    double nearPlane = depth.low - slack;
    KivCamera camera;
    camera.setLocation(location);
    camera.setDirection(axes.forward);
    camera.setUp(axes.up);
    double top = lens.orthoHeight / 2.0;
    if (lens.orthoHeight > 0.0) {
        camera.setProjection(KivCamera::orthographic);
        // A parallel view shows what is behind the eye as well.
        farPlane = std::max(farPlane, nearPlane + 1e-3);
    } else {
        camera.setProjection(KivCamera::perspective);
        // With the eye inside the model something has to be cut off; below this the depth could not tell much apart.
        nearPlane = std::max(nearPlane, farPlane / 2000.0);
        top = nearPlane * std::tan(lens.verticalFov * pi / 360.0);
    }
    camera.setFrustumNear(nearPlane);
    camera.setFrustumFar(farPlane);
    camera.setFrustumTop(top);
    camera.setFrustumBottom(-top);
    camera.setFrustumRight(top * lens.aspect);
    camera.setFrustumLeft(-top * lens.aspect);
    return camera;
}

KivLight directionalLight(const Kiv3DVector& direction, const std::vector<Kiv3DPoint>& points) {
    const Sphere all = around(points);
    const Kiv3DVector way = unit(direction);
    // The volumes of shadows spread from the location. From here they part from the direction by a twentieth of a pixel
    // in a picture that the points fill; from 32 radii it would be twenty pixels.
    const double distance = 1e4 * all.radius;
    KivLight light;
    light.setStyle(KivLight::directionalLight);
    light.setDirection(way);
    light.setLocation(
        Kiv3DPoint(all.centre.x - way.x * distance, all.centre.y - way.y * distance, all.centre.z - way.z * distance));
    light.setDiffuse(0xFFFFFF);
    light.setSpecular(0xFFFFFF);
    return light;
}

std::vector<KivLight> defaultLights(const ViewAxes& axes, const std::vector<Kiv3DPoint>& points) {
    return {directionalLight(combine(axes, 0.55, -0.62, 0.60), points)};
}
