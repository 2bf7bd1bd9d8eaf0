#include "kivrender/host/kivhostapplicationservices.h"

#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"

#include <cmath>
#include <numbers>

namespace {

struct BoxFace {
    double normal[3];
    double corners[4][3];
};

// The last two faces carry normals that point into the box: the preview has always looked that way, and previews stay
// comparable between versions.
constexpr BoxFace boxFaces[] = {
    {{0, 0, 1}, {{-9, -9, 9}, {9, -9, 9}, {9, 9, 9}, {-9, 9, 9}}},
    {{1, 0, 0}, {{9, 9, 9}, {9, -9, 9}, {9, -9, -9}, {9, 9, -9}}},
    {{0, 0, -1}, {{9, 9, -9}, {9, -9, -9}, {-9, -9, -9}, {-9, 9, -9}}},
    {{-1, 0, 0}, {{-9, 9, 9}, {-9, 9, -9}, {-9, -9, -9}, {-9, -9, 9}}},
    {{0, -1, 0}, {{-9, 9, 9}, {9, 9, 9}, {9, 9, -9}, {-9, 9, -9}}},
    {{0, 1, 0}, {{-9, -9, 9}, {-9, -9, -9}, {9, -9, -9}, {9, -9, 9}}},
};

void fillBox(KivMesh* mesh) {
    for (const BoxFace& face : boxFaces) {
        for (const auto& corner : face.corners) {
            mesh->addVertex(Kiv3DPoint(corner[0], corner[1], corner[2]),
                            Kiv3DVector(face.normal[0], face.normal[1], face.normal[2]));
        }
    }
    for (unsigned int i = 0; i < 24; i += 4) {
        mesh->addQuad(i, i + 1, i + 2, i + 3);
    }
}

void addSphereVertex(KivMesh* mesh, double longitude, double latitude) {
    constexpr double radius = 10.0;
    const double x = radius * std::cos(latitude) * std::cos(longitude);
    const double y = radius * std::cos(latitude) * std::sin(longitude);
    const double z = radius * std::sin(latitude);
    Kiv3DVector normal(x, y, z);
    normal.normalice();
    mesh->addVertex(Kiv3DPoint(x, y, z), normal);
}

} // namespace

// Cells share no vertices; those at the poles are quads with two corners in one place.
void KivHostApplicationServices::fillMesh(KivMesh* mesh) {
    constexpr int steps = 40;
    constexpr double pi = std::numbers::pi;
    for (int i = 0; i < steps; ++i) {
        const double a1 = i * 2 * pi / steps;
        const double a2 = (i + 1) * 2 * pi / steps;
        for (int j = 0; j < steps; ++j) {
            const double p1 = pi / 2 - j * pi / steps;
            const double p2 = pi / 2 - (j + 1) * pi / steps;
            const auto first = static_cast<unsigned int>((i * steps + j) * 4);
            addSphereVertex(mesh, a1, p1);
            addSphereVertex(mesh, a2, p1);
            addSphereVertex(mesh, a2, p2);
            addSphereVertex(mesh, a1, p2);
            mesh->addQuad(first + 3, first + 2, first + 1, first);
        }
    }
}

void KivHostApplicationServices::buildPreviewSceneAndCamera() {
    auto* sphere = new KivMesh();
    fillMesh(sphere);
    KivMaterial red;
    red.setAmbient(255);
    red.setDiffuse(255);
    red.setEmission(255);
    sphere->setMaterial(red);
    previewScene.addMesh(sphere);

    auto* box = new KivMesh();
    fillBox(box);
    previewScene.addMesh(box);

    previewCamera.setLocation(Kiv3DPoint(34.91, -60.46, 40.37));
    previewCamera.setDirection(Kiv3DVector(-34.91, 60.46, -40.37));
    previewCamera.setProjection(KivCamera::perspective);
    previewCamera.setUp(Kiv3DVector(0, 0, 1));
    previewCamera.setFrustumLeft(-15.163);
    previewCamera.setFrustumRight(15.163);
    previewCamera.setFrustumBottom(-15.163);
    previewCamera.setFrustumTop(15.162); // one step off the other three, as it always was
    previewCamera.setFrustumNear(63.177);
    previewCamera.setFrustumFar(98.453);

    KivLight light;
    light.setStyle(KivLight::directionalLight);
    light.setDirection(Kiv3DVector(0.0008472031142885972, -0.9996386917494754, -1.0003608190069797));
    previewScene.addLight(light);
}
