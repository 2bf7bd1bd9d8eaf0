// Small scenes whose pictures are known to the pixel. The camera looks down the z axis at the plane z = 0, on which x
// and y run from -1 to 1 over the picture.
#ifndef TESTS_SUPPORT_SCENEBUILDER_H
#define TESTS_SUPPORT_SCENEBUILDER_H

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/scene/kivscene.h"

#include <cstdint>
#include <memory>

inline KivCamera frontCamera() {
    KivCamera camera;
    camera.setProjection(KivCamera::orthographic);
    camera.setFrustumLeft(-1.0);
    camera.setFrustumRight(1.0);
    camera.setFrustumBottom(-1.0);
    camera.setFrustumTop(1.0);
    camera.setFrustumNear(1.0);
    camera.setFrustumFar(10.0);
    camera.setLocation({0.0, 0.0, 5.0});
    camera.setDirection({0.0, 0.0, -1.0});
    camera.setUp({0.0, 1.0, 0.0});
    return camera;
}

// A rectangle in a plane z, facing the camera.
inline std::unique_ptr<KivMesh> rectangle(double left, double bottom, double right, double top, double z = 0.0,
                                          std::uint32_t diffuse = 0xFFFFFF, double transparency = 1.0) {
    auto mesh = std::make_unique<KivMesh>();
    const Kiv3DVector normal(0.0, 0.0, 1.0);
    mesh->addVertex({left, bottom, z}, normal);
    mesh->addVertex({right, bottom, z}, normal);
    mesh->addVertex({right, top, z}, normal);
    mesh->addVertex({left, top, z}, normal);
    mesh->addTriangle(0U, 1U, 2U);
    mesh->addTriangle(0U, 2U, 3U);
    KivMaterial material;
    material.setDiffuse(diffuse);
    material.setTransparency(transparency);
    mesh->setMaterial(material);
    return mesh;
}

// Meshes in a row, lights and polylines, as many as asked for.
inline void fillScene(KivScene& scene, int meshes, int lights = 0, int polylines = 0) {
    for (int i = 0; i < meshes; ++i) {
        const double left = -1.0 + 2.0 * i / meshes;
        scene.addMesh(rectangle(left, -0.5, left + 2.0 / meshes, 0.5).release());
    }
    for (int i = 0; i < lights; ++i) {
        KivLight light;
        light.setStyle(KivLight::directionalLight);
        light.setDirection({0.0, 0.0, -1.0});
        scene.addLight(light);
    }
    for (int i = 0; i < polylines; ++i) {
        auto polyline = std::make_unique<KivPolyline>();
        polyline->addPoint({-0.5, 0.1 * i, 0.0});
        polyline->addPoint({0.5, 0.1 * i, 0.0});
        scene.addPolyline(polyline.release());
    }
}

#endif
