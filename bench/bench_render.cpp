// A whole picture with Cartoon and Outline, beside its floor: the same triangles drawn once from arrays, read back,
// reduced and encoded. The model is a bumpy ball of about 70 thousand triangles, or the file that SELVARIN_BENCH_MODEL
// names.
#include "import/kivmodelimport.h"
#include "kivrender/host/kivdefaulthost.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivpixelformat.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr tagSIZE pictureSize{1280, 960};

KivMesh* bumpyBall() {
    auto* mesh = new KivMesh;
    constexpr int around = 264;
    constexpr int along = 132;
    constexpr double pi = 3.14159265358979323846;
    for (int j = 0; j <= along; ++j) {
        for (int i = 0; i < around; ++i) {
            const double a = 2 * pi * i / around;
            const double p = pi * j / along;
            const double r = 1 + 0.08 * std::sin(5 * a) * std::sin(4 * p);
            mesh->addVertex(Kiv3DPoint(r * std::sin(p) * std::cos(a), r * std::cos(p), r * std::sin(p) * std::sin(a)));
        }
    }
    for (int j = 0; j < along; ++j) {
        for (int i = 0; i < around; ++i) {
            const auto at = [&](int row, int column) {
                return static_cast<unsigned int>((j + row) * around + (i + column) % around);
            };
            mesh->addQuad(at(0, 0), at(0, 1), at(1, 1), at(1, 0));
        }
    }
    KivMaterial material;
    material.setDiffuse(0x60A0E0);
    mesh->setMaterial(material);
    return mesh;
}

KivMesh* benchMesh() {
    const char* file = std::getenv("SELVARIN_BENCH_MODEL");
    if (file == nullptr) {
        return bumpyBall();
    }
    KivModel model;
    std::wstring why;
    if (!kivImportModels({kivFromUtf8(file)}, KivModelOptions{}, model, why)) {
        std::fprintf(stderr, "%ls\n", why.c_str());
        std::exit(1);
    }
    KivMesh* mesh = model.scene->getMesh(0);
    model.scene->removeMesh(0);
    return mesh;
}

// Frames the mesh from a three-quarter view.
KivCamera cameraFor(KivMesh& mesh) {
    const KivBox& box = *mesh.getBoundingBox();
    const double radius = box.diagonalDistance() / 2;
    const Kiv3DPoint centre((box.getXMin() + box.getXMax()) / 2, (box.getYMin() + box.getYMax()) / 2,
                            (box.getZMin() + box.getZMax()) / 2);
    const Kiv3DVector view = Kiv3DVector(-1, -0.6, -1.6).normal();
    KivCamera camera;
    const double distance = radius * 3.2;
    camera.setLocation(centre - view * distance);
    camera.setDirection(view);
    camera.setUp(Kiv3DVector(0, 1, 0));
    camera.setFrustumNear(distance - radius);
    camera.setFrustumFar(distance + radius);
    const double top = camera.getFrustumNear() * 0.33;
    camera.setFrustumTop(top);
    camera.setFrustumBottom(-top);
    camera.setFrustumLeft(-top * 4 / 3);
    camera.setFrustumRight(top * 4 / 3);
    return camera;
}

class Bench {
public:
    Bench() {
        KivHostApplicationServices::setDefaultHost(&host);
        kivLoadLanguage(L"en");
        renderer.loadShaders();
        style.setSaving();
        style.saveString(L"Style:");
        style.saveString(L"NonCombinableShader:Cartoon");
        style.saveString(L"CombinableShader:Outline;");
        style.saveString(L"End Morvane");
        mesh.reset(benchMesh());
        camera = cameraFor(*mesh);
        file = kivFromUtf8((std::filesystem::temp_directory_path() / "selvarin-bench.png").string());
    }
    ~Bench() {
        std::error_code ignored; // nothing was written if no benchmark ran
        std::filesystem::remove(kivToUtf8(file), ignored);
        renderer.unloadShaders();
        KivHostApplicationServices::setDefaultHost(nullptr);
    }

    bool renderPicture(int antialias) {
        KivScene scene;
        scene.addMesh(new KivMesh(*mesh));
        KivLight light;
        light.setStyle(KivLight::directionalLight);
        light.setDirection(Kiv3DVector(-1, -1.5, -1));
        scene.addLight(light);
        KivCommonSettings settings;
        settings.setAntialias(antialias);
        settings.setBackgroundColor(0xE8F2F7);
        settings.setSaveRender(true);
        settings.setSaveRenderFile(file.c_str());
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        KivBitmapManager surface;
        tagSIZE size = pictureSize;
        return renderer.render(&common, &style, &scene, camera, &surface, &size);
    }

    // What a dialog shows after each change.
    bool renderPreview() {
        KivCommonSettings settings;
        settings.setAntialias(0);
        settings.setResolution({110, 110});
        KivBitmapManager surface;
        const bool done = renderer.renderPreview(settings, host.getPreviewScene(), *host.getPreviewCamera(), &surface,
                                                 L"Cartoon", {L"Outline"}, channel, nullptr);
        host.getPreviewScene()->deleteSettingsToAllMeshes();
        return done;
    }

    // Everything that any renderer of this picture would have to do.
    bool floor(int antialias) {
        tagSIZE size{pictureSize.cx << antialias, pictureSize.cy << antialias};
        KivBitmapManager surface;
        if (wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true) == 0) {
            return false;
        }
        surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
        if (!kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC())) {
            return false;
        }
        glViewport(0, 0, size.cx, size.cy);
        glEnable(GL_DEPTH_TEST);
        glClearColor(1, 1, 1, 0);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        loadCamera();
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, 0, positions().data());
        glColor3f(0.4F, 0.6F, 0.9F);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indices().size()), GL_UNSIGNED_INT, indices().data());
        surface.deleteContext();
        if (antialias > 0) {
            host.stretchImageBilinear(static_cast<HDC>(nullptr), &surface, pictureSize);
        }
        host.saveImage(surface, file.c_str());
        return true;
    }

private:
    void loadCamera() const {
        glMatrixMode(GL_PROJECTION);
        glFrustum(camera.getFrustumLeft(), camera.getFrustumRight(), camera.getFrustumBottom(), camera.getFrustumTop(),
                  camera.getFrustumNear(), camera.getFrustumFar());
        const Kiv3DVector forward = camera.getDirection().normal();
        const Kiv3DVector right = (forward * camera.getUp()).normal();
        const Kiv3DVector up = right * forward;
        const double turn[16] = {right.x, up.x, -forward.x, 0, right.y, up.y, -forward.y, 0,
                                 right.z, up.z, -forward.z, 0, 0,       0,    0,          1};
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixd(turn);
        const Kiv3DPoint eye = camera.getLocation();
        glTranslated(-eye.x, -eye.y, -eye.z);
    }
    const std::vector<float>& positions() {
        if (points.empty()) {
            for (unsigned int i = 0; i < mesh->getNumVertexs(); ++i) {
                const Kiv3DPoint p = mesh->getVertex(i);
                points.insert(points.end(),
                              {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
            }
        }
        return points;
    }
    const std::vector<std::uint32_t>& indices() {
        if (corners.empty()) {
            for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
                unsigned int c[3];
                mesh->getTriangle(c, t);
                corners.insert(corners.end(), {c[0], c[1], c[2]});
            }
        }
        return corners;
    }

    KivDefaultHost host;
    KivRenderer renderer;
    KivShaderCommunication channel;
    KivMemoryDataManager style;
    std::unique_ptr<KivMesh> mesh;
    KivCamera camera;
    std::wstring file;
    std::vector<float> points;
    std::vector<std::uint32_t> corners;
};

Bench& bench() {
    static Bench only;
    return only;
}

void wholeRender(benchmark::State& state) {
    for (auto _ : state) {
        if (!bench().renderPicture(static_cast<int>(state.range(0)))) {
            state.SkipWithError("the render failed");
        }
    }
}
void floorOfRender(benchmark::State& state) {
    for (auto _ : state) {
        if (!bench().floor(static_cast<int>(state.range(0)))) {
            state.SkipWithError("no surface");
        }
    }
}
void preview(benchmark::State& state) {
    for (auto _ : state) {
        if (!bench().renderPreview()) {
            state.SkipWithError("the preview failed");
        }
    }
}
BENCHMARK(preview)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(floorOfRender)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(wholeRender)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
