// A picture drawn by the plug-ins themselves, loaded as a render loads them: an off-screen context with a camera, and
// the calls of a render one by one, so that a test chooses which of them run.
#ifndef TESTS_SHADERS_PICTURE_H
#define TESTS_SHADERS_PICTURE_H

#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivrender/shader/kivshadersettings.h"
#include "shapes.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

using Rgb = std::array<int, 3>;

// The plug-ins of the build, for as long as the object lives.
class LoadedShaders {
public:
    LoadedShaders() {
        KivShader::loadShaders(kivFromUtf8(SELVARIN_BIN_DIR "/shaders").c_str());
    }
    LoadedShaders(const LoadedShaders&) = delete;
    LoadedShaders& operator=(const LoadedShaders&) = delete;
    ~LoadedShaders() {
        KivShader::unLoadAll();
    }

    static KivNonCombinableShader& cartoon() {
        return dynamic_cast<KivNonCombinableShader&>(*KivShader::getByTag(L"Cartoon"));
    }
    static KivCombinableShader& outline() {
        return dynamic_cast<KivCombinableShader&>(*KivShader::getByTag(L"Outline"));
    }
    static KivCombinableShader& backdrop() {
        return dynamic_cast<KivCombinableShader&>(*KivShader::getByTag(L"Backdrop"));
    }
    static KivCombinableShader& halftone() {
        return dynamic_cast<KivCombinableShader&>(*KivShader::getByTag(L"Halftone"));
    }
    static KivCombinableShader& sketch() {
        return dynamic_cast<KivCombinableShader&>(*KivShader::getByTag(L"Sketch"));
    }
};

using Choices = std::vector<std::pair<std::string, std::string>>;

// A shader's settings as a page of them, with some of them chosen.
inline KivTablePageSettings shaderSettings(const KivShader& shader, const Choices& choices = {}) {
    int count = 0;
    const KivSettingInfo* table = kivShaderSettings(&shader, &count);
    const std::wstring tag = shader.getTag();
    const wchar_t* section = tag == L"Cartoon"    ? L"CartoonTones"
                             : tag == L"Outline"  ? L"OutlineLines"
                             : tag == L"Backdrop" ? L"BackdropSheet"
                             : tag == L"Halftone" ? L"HalftoneScreen"
                                                  : L"SketchStrokes";
    KivTablePageSettings settings(section, table, count);
    for (const auto& [key, text] : choices) {
        EXPECT_TRUE(settings.setText(key, text)) << key;
    }
    return settings;
}

class PictureTest : public ::testing::Test {
protected:
    static constexpr std::uint32_t paper = 0xF0E0D0; // blue F0, green E0, red D0
    static constexpr std::uint32_t clay = 0x4080C0;

    PictureTest() {
        settings.setAntialias(0);
        settings.setBackgroundColor(paper);
        channel.setPolygonOffset(2.5F, 5.0F);
        channel.setHasNonCombinable(true);
        KivShaderCommunication::setDefaultCommunication(&channel);
    }
    ~PictureTest() override {
        KivShaderCommunication::setDefaultCommunication(nullptr);
    }

    // Opens the picture: a square of so many pixels, cleared to the colour of the paper.
    void open(int pixels) {
        size = {pixels, pixels};
        ASSERT_NE(wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, nullptr, false), 0);
        surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
        ASSERT_TRUE(kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC()));
        glViewport(0, 0, pixels, pixels);
        glClearColor(0xD0 / 255.0F, 0xE0 / 255.0F, 0xF0 / 255.0F, 0.0F);
        glClearStencil(100);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
    }
    // Sees the origin from the eye; side is half of what the picture spans, at the near plane 1 in front of the eye for
    // a perspective view and everywhere for a parallel one.
    void look(const KivVec& eye, double side, bool perspective) {
        const KivView::Matrix modelview = lookAtOrigin(eye);
        camera.setProjection(perspective ? KivCamera::perspective : KivCamera::orthographic);
        camera.setFrustumLeft(-side);
        camera.setFrustumRight(side);
        camera.setFrustumBottom(-side);
        camera.setFrustumTop(side);
        camera.setFrustumNear(1.0);
        camera.setFrustumFar(40.0 / 1.1); // the far plane lies a tenth behind
        camera.setLocation({eye.x, eye.y, eye.z});
        camera.setDirection({-eye.x, -eye.y, -eye.z});
        camera.setUp({0.0, 1.0, 0.0});
        view =
            perspective ? perspectiveView(eye, side, 1.0, 40.0, size.cx) : parallelView(eye, side, 1.0, 40.0, size.cx);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        perspective ? glFrustum(-side, side, -side, side, 1.0, 40.0) : glOrtho(-side, side, -side, side, 1.0, 40.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixd(modelview.data());
    }

    KivMesh* addMesh(const KivSurface& shape, bool withNormals = false) {
        auto* mesh = new KivMesh;
        for (const KivVec& p : shape.points) {
            const KivVec n = kivUnit(p);
            if (withNormals) {
                mesh->addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(n.x, n.y, n.z));
            } else {
                mesh->addVertex(Kiv3DPoint(p.x, p.y, p.z));
            }
        }
        for (const KivSurface::Triangle& t : shape.triangles) {
            mesh->addTriangle(t[0], t[1], t[2]);
        }
        KivMaterial material;
        material.setDiffuse(clay);
        mesh->setMaterial(material);
        scene.addMesh(mesh);
        return mesh;
    }
    void addLight(KivLight::lightStyle style, const KivVec& location, const KivVec& direction, double spotAngle = 0.0) {
        KivLight light;
        light.setStyle(style);
        light.setLocation(Kiv3DPoint(location.x, location.y, location.z));
        light.setDirection(Kiv3DVector(direction.x, direction.y, direction.z));
        light.setSpotAngle(spotAngle);
        scene.addLight(light);
    }

    // Hands a shader its settings as a render does.
    void choose(KivShader& shader, const Choices& choices) {
        KivTablePageSettings page = shaderSettings(shader, choices);
        KivMemoryDataManager stream;
        stream.setSaving();
        page.setDataManager(&stream);
        page.saveData();
        stream.saveString(L"End Morvane");
        stream.setLoading();
        shader.loadRenderData(&stream, settings);
    }
    void draw(KivShader& shader, bool named = true) {
        shader.render(&surface, settings, camera, &scene, size, channel, named);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }

    // The colour of a pixel while the picture is open; rows upwards.
    Rgb pixel(int x, int y) const {
        std::uint8_t bytes[4] = {};
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, bytes);
        return {bytes[0], bytes[1], bytes[2]};
    }
    // All pixels, row after row from below.
    std::vector<Rgb> pixels() const {
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.cx) * size.cy * 4);
        glReadPixels(0, 0, size.cx, size.cy, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
        std::vector<Rgb> result(bytes.size() / 4);
        for (std::size_t i = 0; i < result.size(); ++i) {
            result[i] = {bytes[4 * i], bytes[4 * i + 1], bytes[4 * i + 2]};
        }
        return result;
    }
    // Where a point of the scene lands.
    KivWindowPoint place(const KivVec& point) const {
        return view.window(view.clip(point));
    }
    Rgb pixelAt(const KivVec& point) const {
        const KivWindowPoint at = place(point);
        return pixel(static_cast<int>(std::floor(at.x)), static_cast<int>(std::floor(at.y)));
    }

    LoadedShaders shaders;
    KivCommonSettings settings;
    KivCamera camera;
    KivScene scene;
    KivShaderCommunication channel;
    KivBitmapManager surface;
    tagSIZE size;
    KivView view;
};

#endif
