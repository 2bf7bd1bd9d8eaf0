// The stages of a render with shadows and transparency, one by one, for a bumpy ball of 10 thousand to a million
// triangles under three lights, and for the model that SELVARIN_BENCH_MODEL names. floorOf... draws, from arrays in one
// call, as many triangles as the stage of that name really draws: compare a stage with its floor in the same run.
#include "import/kivmodelimport.h"
#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelformat.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shadow/kivedgesextraction.h"
#include "kivrender/shadow/kivshadows.h"
#include "support/meshsamples.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int modelFromFile = 0; // in place of a number of triangles

// Null without a model file.
std::unique_ptr<KivMesh> meshFromFile() {
    const char* file = std::getenv("SELVARIN_BENCH_MODEL");
    if (file == nullptr) {
        return nullptr;
    }
    KivModel model;
    std::wstring why;
    if (!kivImportModels({kivFromUtf8(file)}, KivModelOptions{}, model, why)) {
        std::fprintf(stderr, "%ls\n", why.c_str());
        std::exit(1);
    }
    std::unique_ptr<KivMesh> mesh(model.scene->getMesh(0));
    model.scene->removeMesh(0);
    return mesh;
}

// A mesh with three lights around it, seen in a picture of 1280x960, with the plug-in that paints it.
class Stage {
public:
    explicit Stage(int triangles) {
        std::unique_ptr<KivMesh> made = triangles == modelFromFile ? meshFromFile() : bumpyBall(triangles);
        if (made == nullptr) {
            return;
        }
        KivHostApplicationServices::setDefaultHost(&host);
        KivShader::loadShaders(nullptr);
        cartoon = dynamic_cast<KivNonCombinableShader*>(KivShader::getByTag(L"Cartoon"));
        mesh = made.get();
        KivMaterial material;
        material.setDiffuse(0x60A0E0);
        material.setTransparency(0.5);
        mesh->setMaterial(material);
        scene.addMesh(made.release());
        const KivBox& box = *mesh->getBoundingBox();
        centre = Kiv3DPoint((box.getXMin() + box.getXMax()) / 2, (box.getYMin() + box.getYMax()) / 2,
                            (box.getZMin() + box.getZMax()) / 2);
        radius = box.diagonalDistance() / 2;
        for (const Kiv3DVector& way : {Kiv3DVector(3, 6, 2), Kiv3DVector(-4, 5, 3), Kiv3DVector(0, 6, -5)}) {
            KivLight light;
            light.setStyle(KivLight::pointLight);
            light.setLocation(centre + way * radius);
            scene.addLight(light);
        }
        readCorners();
        openPicture();
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage() {
        if (mesh != nullptr) {
            surface.deleteContext();
            KivShader::unLoadAll();
            KivHostApplicationServices::setDefaultHost(nullptr);
        }
    }

    void clear() const {
        glDepthMask(GL_TRUE);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDisable(GL_STENCIL_TEST);
        glDisable(GL_BLEND);
        glDisable(GL_CULL_FACE);
        glDepthFunc(GL_LESS);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    }
    void depth() {
        cartoon->renderMeshDepth(mesh, settings, &scene, shadows, camera, false);
    }
    // All volumes of all lights.
    void volumes() {
        shadows.beginVolumes(std::size_t{1} << 29);
        for (unsigned int l = 0; l < scene.numLights(); ++l) {
            shadows.drawShadowVolume(mesh, scene.getLight(l), false);
        }
        shadows.endVolumes();
        glFinish();
    }
    std::int64_t volumeTriangles() {
        std::int64_t count = 0;
        KivMesh welded;
        welded.copyMeshCompacted(*mesh);
        for (unsigned int l = 0; l < scene.numLights(); ++l) {
            std::vector<KivEdgesExtraction::edgeInfo> edges;
            shadows.createSilhouette(&welded, scene.getLight(l), edges);
            for (const KivEdgesExtraction::edgeInfo& edge : edges) {
                const bool isShared = edge.triangle0 != -1 && edge.triangle1 != -1;
                count += edge.lightened0 == edge.lightened1 ? 0 : isShared ? 4 : 2; // two for each quad
            }
            count += 2 * std::int64_t{welded.getNumTriangles()};
        }
        return 2 * count; // once up, once down
    }
    // The mesh's triangles over and over until there are so many.
    void drawFromArrays(std::int64_t triangles) {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, 0, corners.data());
        const auto whole = static_cast<std::int64_t>(mesh->getNumTriangles());
        for (std::int64_t left = triangles; left > 0; left -= whole) {
            glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(3 * std::min(left, whole)));
        }
        glDisableClientState(GL_VERTEX_ARRAY);
        glFinish();
    }
    void readCorners() {
        for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
            Kiv3DPoint p[3];
            mesh->getTriangle(p, t);
            for (const Kiv3DPoint& point : p) {
                corners.insert(corners.end(),
                               {static_cast<float>(point.x), static_cast<float>(point.y), static_cast<float>(point.z)});
            }
        }
    }
    void litPasses() {
        const int numLights = static_cast<int>(scene.numLights());
        cartoon->renderMeshPass(mesh, nullptr, 0, 0, settings, &scene, 1, camera, false);
        cartoon->renderMeshPass(mesh, nullptr, 0, 0, settings, &scene, 2, camera, false);
        glEnable(GL_STENCIL_TEST);
        for (int l = 0; l < numLights; ++l) {
            cartoon->renderMeshPass(mesh, scene.getLight(static_cast<unsigned int>(l)), l, numLights, settings, &scene,
                                    3, camera, false);
        }
        glDisable(GL_STENCIL_TEST);
        glFinish();
    }
    // The calls of a render for the ordered list, without shadows.
    void transparentTriangles() {
        cartoon->beginTransparency(false);
        for (unsigned int i = 0; i < scene.numTriangles(); ++i) {
            KivMesh* of = nullptr;
            int index = 0;
            Kiv3DPoint points[3];
            Kiv3DVector normals[3];
            scene.getOrderedTriangle(i, &of, &index, points, normals);
            for (int pass = 1; pass <= 3; ++pass) {
                cartoon->renderTransparentTriangle(points, normals, of, &scene, camera, settings, 0, 0, cartoon,
                                                   nullptr, pass, nullptr, 0, 3, false);
                cartoon->endTransparentTriangle(0, 0, pass, false);
            }
        }
        cartoon->endTransparency(false);
        glFinish();
    }

    KivDefaultHost host;
    KivNonCombinableShader* cartoon = nullptr;
    KivMesh* mesh = nullptr; // null without a model file
    KivScene scene;
    KivCamera camera;
    KivCommonSettings settings;
    KivShadows shadows;
    tagSIZE size{1280, 960};

private:
    void openPicture() {
        wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true);
        surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
        if (!kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC())) {
            std::fprintf(stderr, "no surface\n");
            std::exit(1);
        }
        glViewport(0, 0, size.cx, size.cy);
        glEnable(GL_DEPTH_TEST);
        settings.setAntialias(0);
        const double distance = radius * 3.2;
        camera.setLocation(centre + Kiv3DVector(0, 0, distance));
        camera.setDirection(Kiv3DVector(0, 0, -1));
        camera.setUp(Kiv3DVector(0, 1, 0));
        camera.setFrustumNear(distance - radius);
        const double top = camera.getFrustumNear() * 0.33;
        camera.setFrustumTop(top);
        camera.setFrustumBottom(-top);
        camera.setFrustumLeft(-top * 4 / 3);
        camera.setFrustumRight(top * 4 / 3);
        shadows.setInfinitePerspective(camera, &scene);
        glMatrixMode(GL_MODELVIEW);
        glTranslated(-centre.x, -centre.y, -centre.z - distance);
        cartoon->prepareObjectRendering(settings, &scene);
    }

    KivBitmapManager surface;
    Kiv3DPoint centre;
    double radius = 0;
    std::vector<float> corners; // three a triangle
};

// Runs a stage over and over; prepare is not measured.
template <class Prepare, class Run> void measure(benchmark::State& state, Prepare prepare, Run run) {
    Stage stage(static_cast<int>(state.range(0)));
    if (stage.mesh == nullptr) {
        state.SkipWithError("SELVARIN_BENCH_MODEL names no file");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        prepare(stage);
        state.ResumeTiming();
        run(stage);
    }
    state.SetItemsProcessed(state.iterations() * stage.mesh->getNumTriangles());
}

void nothing(Stage&) {}

void clearPicture(Stage& stage) {
    stage.clear();
}

void depthOnly(Stage& stage) {
    stage.clear();
    stage.depth();
    glFinish();
}

void beforeVolumes(Stage& stage) {
    depthOnly(stage);
    stage.shadows.preShadowParameters();
}

void beforeLight(Stage& stage) {
    beforeVolumes(stage);
    stage.shadows.postShadowParameters(2.5F, 5.0F, GL_NOTEQUAL, 3, false);
}

void weld(benchmark::State& state) {
    measure(state, nothing, [](Stage& stage) {
        KivMesh welded;
        welded.copyMeshCompacted(*stage.mesh);
        benchmark::DoNotOptimize(welded.getNumVertexs());
    });
}

void edges(benchmark::State& state) {
    measure(state, nothing, [](Stage& stage) {
        std::vector<KivEdgesExtraction::edgeInfo> found;
        KivEdgesExtraction::extractEdges(stage.mesh, found, nullptr, nullptr);
        benchmark::DoNotOptimize(found.data());
    });
}

// Edges and their lit flags, for one light.
void silhouette(benchmark::State& state) {
    measure(state, nothing, [](Stage& stage) {
        std::vector<KivEdgesExtraction::edgeInfo> found;
        stage.shadows.createSilhouette(stage.mesh, stage.scene.getLight(0), found);
        benchmark::DoNotOptimize(found.data());
    });
}

// Weld, edges, silhouettes and the drawing, for all three lights.
void volumes(benchmark::State& state) {
    measure(state, beforeVolumes, [](Stage& stage) { stage.volumes(); });
}

void floorOfVolumes(benchmark::State& state) {
    std::int64_t triangles = 0;
    measure(
        state,
        [&](Stage& stage) {
            beforeVolumes(stage);
            triangles = triangles == 0 ? stage.volumeTriangles() : triangles;
        },
        [&](Stage& stage) { stage.drawFromArrays(triangles); });
}

// For three lights; the same for every mesh.
void stencilReadBack(benchmark::State& state) {
    measure(
        state,
        [](Stage& stage) {
            beforeVolumes(stage);
            stage.shadows.createInitialStencilBuffer(stage.size);
        },
        [](Stage& stage) {
            for (int l = 0; l < 3; ++l) {
                stage.shadows.addCurrentStencil(stage.size);
            }
            stage.shadows.saveAndDestroyStencilBuffer(stage.size);
            glFinish();
        });
}

void depthPass(benchmark::State& state) {
    measure(state, clearPicture, [](Stage& stage) {
        stage.depth();
        glFinish();
    });
}

void litPasses(benchmark::State& state) {
    measure(state, beforeLight, [](Stage& stage) { stage.litPasses(); });
}

void ordering(benchmark::State& state) {
    measure(state, nothing, [](Stage& stage) {
        KivScene ordered;
        ordered.addMesh(stage.mesh);
        ordered.orderTrianglesTransparent(stage.camera);
        benchmark::DoNotOptimize(ordered.numTriangles());
        ordered.removeMesh(0); // it stays the stage's
    });
}

void beforeTriangles(Stage& stage) {
    if (stage.scene.numTriangles() == 0) {
        stage.scene.orderTrianglesTransparent(stage.camera);
    }
    stage.clear();
    glDepthMask(GL_FALSE);
    glEnable(GL_BLEND);
}

void transparentTriangles(benchmark::State& state) {
    measure(state, beforeTriangles, [](Stage& stage) { stage.transparentTriangles(); });
}

void floorOfTransparentTriangles(benchmark::State& state) {
    measure(state, beforeTriangles, [](Stage& stage) { stage.drawFromArrays(stage.mesh->getNumTriangles()); });
}

#define STAGE(name)                                                                                                    \
    BENCHMARK(name)                                                                                                    \
        ->Arg(modelFromFile)                                                                                           \
        ->Arg(10000)                                                                                                   \
        ->Arg(100000)                                                                                                  \
        ->Arg(1000000)                                                                                                 \
        ->Unit(benchmark::kMillisecond)                                                                                \
        ->UseRealTime()
STAGE(weld);
STAGE(edges);
STAGE(silhouette);
STAGE(volumes);
STAGE(floorOfVolumes);
STAGE(stencilReadBack);
STAGE(depthPass);
STAGE(litPasses);
STAGE(ordering);
STAGE(transparentTriangles);
STAGE(floorOfTransparentTriangles);

} // namespace
