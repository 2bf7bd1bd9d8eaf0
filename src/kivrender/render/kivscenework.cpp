#include "kivrender/render/kivscenework.h"

#include "kivrender/geometry/kivvec.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <algorithm>
#include <cmath>

namespace {

// So many triangles are looked at, and at most so many of one mesh.
constexpr unsigned int sampleSize = 4096;
constexpr unsigned int sampleOfMesh = 512;

KivVec vecOf(const Kiv3DPoint& p) {
    return {p.x, p.y, p.z};
}

KivVec vecOf(const Kiv3DVector& v) {
    return {v.x, v.y, v.z};
}

// The picture's area of triangles, roughly: what the frustum cuts off counts by its bounds.
class PictureArea {
public:
    PictureArea(const KivCamera& seenFrom, tagSIZE pictureSize)
        : camera(seenFrom), width(std::max(pictureSize.cx, 1)), height(std::max(pictureSize.cy, 1)),
          eye(vecOf(seenFrom.getLocation())), forward(kivUnit(vecOf(seenFrom.getDirection()))),
          right(kivUnit(kivCross(forward, vecOf(seenFrom.getUp())))), up(kivCross(right, forward)) {}

    // In pixels; 0 for what reaches behind the eye, and never NaN.
    double of(const Kiv3DPoint (&points)[3]) const {
        double x[3];
        double y[3];
        for (int i = 0; i < 3; ++i) {
            if (!place(points[i], x[i], y[i])) {
                return 0.0;
            }
        }
        const double area = std::abs((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0])) / 2.0;
        const double seen = area * seenPart(x, width) * seenPart(y, height);
        return seen > 0.0 ? std::min(seen, width * height) : 0.0;
    }

private:
    bool place(const Kiv3DPoint& point, double& x, double& y) const {
        const KivVec from = vecOf(point) - eye;
        double scale = 1.0;
        if (camera.getProjection() == KivCamera::perspective) {
            const double depth = kivDot(from, forward);
            if (!(depth > 0.0)) {
                return false;
            }
            scale = camera.getFrustumNear() / depth;
        }
        x = (kivDot(from, right) * scale - camera.getFrustumLeft()) /
            (camera.getFrustumRight() - camera.getFrustumLeft()) * width;
        y = (kivDot(from, up) * scale - camera.getFrustumBottom()) /
            (camera.getFrustumTop() - camera.getFrustumBottom()) * height;
        return true;
    }

    static double seenPart(const double (&values)[3], double end) {
        const auto [low, high] = std::minmax({values[0], values[1], values[2]});
        return high > low ? std::clamp((std::min(high, end) - std::max(low, 0.0)) / (high - low), 0.0, 1.0) : 0.0;
    }

    const KivCamera& camera;
    double width;
    double height;
    KivVec eye;
    KivVec forward;
    KivVec right;
    KivVec up;
};

double areaOf(const KivMesh& mesh, const PictureArea& area, unsigned int samples) {
    const unsigned int count = mesh.getNumTriangles();
    samples = std::min(samples, count);
    double sum = 0.0;
    Kiv3DPoint points[3];
    for (unsigned int i = 0; i < samples; ++i) {
        const auto triangle = static_cast<unsigned int>(static_cast<unsigned long long>(i) * count / samples);
        if (mesh.getTriangle(points, triangle)) {
            sum += area.of(points);
        }
    }
    return samples > 0 ? sum * count / samples : 0.0;
}

} // namespace

KivSceneWork::KivSceneWork(const KivScene& scene, const KivCamera& camera, tagSIZE size)
    : meshes(scene.numMeshes()), pixels(std::max(1.0, static_cast<double>(size.cx) * size.cy) / 1e6),
      side(std::sqrt(pixels * 1e6)), lights(scene.numLights()), polylines(scene.numPolyline()) {
    const PictureArea area(camera, size);
    const auto samples =
        std::clamp(sampleSize / std::max(static_cast<unsigned int>(meshes.size()), 1U), 1U, sampleOfMesh);
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        const KivMesh* const mesh = scene.getMesh(i);
        if (mesh == nullptr) {
            continue;
        }
        meshes[i].triangles = mesh->getNumTriangles() / 1e3;
        meshes[i].area = areaOf(*mesh, area, samples) / 1e6;
        meshes[i].isOpaque = mesh->isOpaque();
        meshes[i].isShiny = mesh->getMaterial()->getShine() > 0.0;
        meshes[i].hasOwnLook = mesh->hasObjectSettings();
    }
}
