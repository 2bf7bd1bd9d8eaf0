// One frame: the state that shaders find, cameras, the sweeps and which shader draws which mesh.
#include "kivrender/platform/kivglcontext.h"
#include "render/renderfixture.h"

#include <GL/gl.h>
#include <array>
#include <cmath>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

GLint integer(GLenum what) {
    GLint value = 0;
    glGetIntegerv(what, &value);
    return value;
}

template <class T, std::size_t size> std::array<T, size> doubles(GLenum what) {
    std::array<T, size> values{};
    glGetDoublev(what, values.data());
    return values;
}

using Matrix = std::array<double, 16>; // by columns

void expectNear(const Matrix& actual, const Matrix& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], 1e-6) << "element " << i;
    }
}

constexpr Matrix identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

class KivRendererFrame : public KivRendererRender {
protected:
    // Renders with a look at the state that the style's shader finds.
    void renderAndLook(std::function<void()> look) {
        if (KivShader::shaders() == 0) {
            loadShaders();
            setStyle(L"base", L"");
        }
        looked = false;
        shader(L"base").onRender = [this, look](KivShader&, KivBitmapManager*) {
            if (!looked) {
                looked = true;
                look();
            }
        };
        fillScene(scene, 1);
        EXPECT_TRUE(render({40, 20}));
        EXPECT_TRUE(looked);
        shader(L"base").onRender = nullptr;
    }

    bool looked = false;
};

TEST_F(KivRendererFrame, ShadersFindTheStateThatTheyInherit) {
    renderAndLook([] {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
        EXPECT_EQ(integer(GL_DEPTH_FUNC), GL_LEQUAL);
        std::array<GLint, 2> mode{};
        glGetIntegerv(GL_POLYGON_MODE, mode.data());
        EXPECT_EQ(mode[0], GL_FILL);
        EXPECT_EQ(integer(GL_MATRIX_MODE), GL_MODELVIEW);
        std::array<GLint, 4> viewport{};
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        EXPECT_THAT(viewport, ElementsAre(0, 0, 40, 20));
        EXPECT_EQ(integer(GL_PERSPECTIVE_CORRECTION_HINT), GL_NICEST);
        EXPECT_EQ(integer(GL_STENCIL_BITS), 8);
        EXPECT_EQ(integer(GL_DEPTH_BITS), 32);
        EXPECT_FALSE(glIsEnabled(GL_POLYGON_SMOOTH));
        float depth = 0.0F;
        glReadPixels(3, 3, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        EXPECT_EQ(depth, 1.0F);
        EXPECT_NE(kivCurrentGlContext(), nullptr);
    });
    EXPECT_EQ(kivCurrentGlContext(), nullptr) << "the context ends with the frame";
    EXPECT_EQ(surface.getHGLRC(), nullptr);
    EXPECT_EQ(surface.getHDC(), nullptr);
}

TEST_F(KivRendererFrame, SmoothingFollowsTheAntialiasLevel) {
    for (const int level : {0, 1, 2}) {
        settings.setAntialias(level);
        renderAndLook([level] {
            const GLint hint = level != 0 ? GL_NICEST : GL_FASTEST;
            EXPECT_EQ(integer(GL_LINE_SMOOTH_HINT), hint);
            EXPECT_EQ(integer(GL_POINT_SMOOTH_HINT), hint);
            EXPECT_EQ(integer(GL_POLYGON_SMOOTH_HINT), hint);
            EXPECT_EQ(glIsEnabled(GL_LINE_SMOOTH) != 0, level != 0);
            EXPECT_EQ(glIsEnabled(GL_POINT_SMOOTH) != 0, level != 0);
            EXPECT_FALSE(glIsEnabled(GL_POLYGON_SMOOTH));
        });
    }
}

TEST_F(KivRendererFrame, TheBackgroundColorHasRedInItsLowByte) {
    settings.setBackgroundColor(0xFF804020);
    renderAndLook([] { EXPECT_EQ(GlSurface::pixel(1, 1), 0x804020U) << "the top byte has no meaning"; });
    EXPECT_EQ(pixelOf(surface, 1, 1), 0x804020U);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
    EXPECT_EQ(info.pixels[0], 0x80);
    EXPECT_EQ(info.pixels[1], 0x40);
    EXPECT_EQ(info.pixels[2], 0x20);
}

TEST_F(KivRendererFrame, TheDepthRangeFollowsTheVectorFilesNameAlone) {
    for (const wchar_t* file : {L"", L"picture", L"picture.txt"}) {
        settings.setSaveVectorFile(file);
        renderAndLook([] { EXPECT_THAT((doubles<double, 2>(GL_DEPTH_RANGE)), ElementsAre(0.0, 1.0)); });
    }
    for (const wchar_t* file : {L"a.ps", L"a.EPS", L"a.ai", L"a.Pdf", L"a.svg"}) {
        settings.setSaveVectorFile(file);
        renderAndLook([] {
            const auto range = doubles<double, 2>(GL_DEPTH_RANGE);
            EXPECT_NEAR(range[0], 0.1, 1e-6) << "in a raster render too";
            EXPECT_EQ(range[1], 1.0);
        });
    }
}

TEST_F(KivRendererFrame, AnOrthographicCameraSeesALittleFarther) {
    camera.setFrustumLeft(-2.0);
    camera.setFrustumRight(4.0);
    camera.setFrustumBottom(-1.0);
    camera.setFrustumTop(3.0);
    camera.setFrustumNear(2.0);
    camera.setFrustumFar(10.0);
    renderAndLook([] {
        const double farPlane = 11.0; // 10 times 1.1
        const double nearPlane = 2.0;
        expectNear(doubles<double, 16>(GL_PROJECTION_MATRIX),
                   {2.0 / 6.0, 0, 0, 0, 0, 2.0 / 4.0, 0, 0, 0, 0, -2.0 / (farPlane - nearPlane), 0, -2.0 / 6.0,
                    -2.0 / 4.0, -(farPlane + nearPlane) / (farPlane - nearPlane), 1});
    });
}

TEST_F(KivRendererFrame, APerspectiveCameraSeesALittleFarther) {
    camera.setProjection(KivCamera::perspective);
    camera.setFrustumNear(2.0);
    camera.setFrustumFar(10.0);
    renderAndLook([] {
        expectNear(doubles<double, 16>(GL_PROJECTION_MATRIX),
                   {2.0, 0, 0, 0, 0, 2.0, 0, 0, 0, 0, -13.0 / 9.0, -1, 0, 0, -2.0 * 11.0 * 2.0 / 9.0, 0});
    });
}

TEST_F(KivRendererFrame, AnUnknownProjectionIsTheIdentity) {
    camera.setProjection(static_cast<decltype(KivCamera().getProjection())>(2));
    renderAndLook([] { expectNear(doubles<double, 16>(GL_PROJECTION_MATRIX), identity); });
}

TEST_F(KivRendererFrame, TheCameraLooksAlongItsDirection) {
    camera.setLocation({1.0, 2.0, 3.0});
    camera.setDirection({5.0, 0.0, 0.0});
    camera.setUp({0.0, 0.0, 2.0});
    renderAndLook([] {
        // Right is -y, up is z, and the way back is -x.
        expectNear(doubles<double, 16>(GL_MODELVIEW_MATRIX), {0, 0, -1, 0, -1, 0, 0, 0, 0, 1, 0, 0, 2, -3, 1, 1});
    });
}

TEST_F(KivRendererFrame, ShadersPrepareWithTheCameraInPlace) {
    loadShaders();
    setStyle(L"base", L"");
    int prepared = 0;
    shader(L"base").onPrepare = [&prepared] {
        ++prepared;
        EXPECT_NE(kivCurrentGlContext(), nullptr);
        EXPECT_NE((doubles<double, 16>(GL_MODELVIEW_MATRIX)), identity);
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(prepared, 2) << "at the start, and in the sweep";
    shader(L"base").onPrepare = nullptr;
}

TEST_F(KivRendererFrame, StateThatAShaderChangesStaysForTheNext) {
    loadShaders();
    setStyle(L"base", L"add-lines;");
    shader(L"base").onRender = [](KivShader&, KivBitmapManager*) { glDepthFunc(GL_GREATER); };
    bool stayed = false;
    shader(L"add-lines").onRender = [&stayed](KivShader&, KivBitmapManager*) {
        stayed = integer(GL_DEPTH_FUNC) == GL_GREATER;
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_TRUE(stayed);
    shader(L"base").onRender = nullptr;
    shader(L"add-lines").onRender = nullptr;
}

TEST_F(KivRendererFrame, ObjectsWithSettingsAreDrawnInTheSweep) {
    loadShaders({"base", "cartoon", "other"});
    shader(L"base").color = 0x0000FF;
    shader(L"other").color = 0x00FF00;
    setStyle(L"base", L"");
    scene.addMesh(rectangle(-1.0, -1.0, 0.0, 1.0).release());
    scene.addMesh(rectangle(0.0, -1.0, 1.0, 1.0).release());
    scene.getMesh(1)->setNonCombinableShader(L"other");
    ASSERT_TRUE(render({20, 10}));
    EXPECT_EQ(countPixels(surface, 0x0000FF), 100);
    EXPECT_EQ(countPixels(surface, 0x00FF00), 100);
    EXPECT_EQ(pixelOf(surface, 0, 0), 0x0000FFU);
    EXPECT_EQ(pixelOf(surface, 19, 0), 0x00FF00U);
}

TEST_F(KivRendererFrame, NoShaderIsNotCalled) {
    KivTestAccess::renderShader(renderer, nullptr, &scene, &surface);
    EXPECT_TRUE(progress.calls.empty());
    loadShaders({"base"});
    shader(L"base").draws = false;
    KivTestAccess::renderShader(renderer, KivShader::getByTag(L"base"), &scene, &surface);
    EXPECT_THAT(progress.calls, ElementsAre("base render 1x1 named"));
}

class KivRendererShaderLists : public KivRendererRender {
protected:
    KivRendererShaderLists() {
        loadShaders({"add-lines", "add-more", "base", "other"});
    }

    int parse(const std::wstring& text) {
        std::fill(std::begin(list), std::end(list), reinterpret_cast<KivCombinableShader*>(1));
        return KivTestAccess::combinables(renderer, list, text);
    }

    KivCombinableShader* list[kivMaxShaders] = {};
};

TEST_F(KivRendererShaderLists, AnEmptyTextNamesNothing) {
    EXPECT_EQ(parse(L""), 0);
    EXPECT_EQ(parse(L";;;"), 0);
}

TEST_F(KivRendererShaderLists, SeparatorsInARowGiveNoEmptyName) {
    EXPECT_EQ(parse(L";add-lines;;add-more;"), 2);
    EXPECT_EQ(list[0], KivShader::getByTag(L"add-lines"));
    EXPECT_EQ(list[1], KivShader::getByTag(L"add-more"));
}

TEST_F(KivRendererShaderLists, AnUnknownNameIsANullEntryThatCounts) {
    EXPECT_EQ(parse(L"nobody;Test add-more"), 2);
    EXPECT_EQ(list[0], nullptr);
    EXPECT_EQ(list[1], KivShader::getByTag(L"add-more")) << "by its name";
}

TEST_F(KivRendererShaderLists, ABaseLookIsNoCombinableShader) {
    EXPECT_EQ(parse(L"base;"), 1);
    EXPECT_EQ(list[0], nullptr);
}

TEST_F(KivRendererShaderLists, EndAtTheirRoom) {
    std::wstring text;
    for (int i = 0; i < 40; ++i) {
        text += L"add-lines;";
    }
    EXPECT_EQ(parse(text), kivMaxShaders);
}

TEST_F(KivRendererShaderLists, AreSearchedByPointer) {
    parse(L"add-lines;nobody;");
    EXPECT_TRUE(KivTestAccess::isAmong(renderer, list[0], list, 2));
    EXPECT_TRUE(KivTestAccess::isAmong(renderer, nullptr, list, 2)) << "the unknown name's entry";
    EXPECT_FALSE(KivTestAccess::isAmong(renderer, nullptr, list, 1));
    EXPECT_FALSE(KivTestAccess::isAmong(renderer, list[0], list, 0));
}

TEST_F(KivRendererShaderLists, AllBaseLooksComeInTableOrder) {
    KivNonCombinableShader* bases[kivMaxShaders] = {};
    ASSERT_EQ(KivTestAccess::nonCombinables(renderer, bases), 2);
    EXPECT_EQ(bases[0], KivShader::getByTag(L"base"));
    EXPECT_EQ(bases[1], KivShader::getByTag(L"other"));
}

TEST_F(KivRendererShaderLists, AMeshIsDrawnByItsOwnShaderOrTheDefault) {
    KivNonCombinableShader* bases[kivMaxShaders] = {};
    const int count = KivTestAccess::nonCombinables(renderer, bases);
    KivNonCombinableShader* const fallback = bases[0];
    KivMesh mesh;
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &mesh, count, bases, fallback), fallback);
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &mesh, count, bases, nullptr), nullptr) << "no default";

    mesh.setNonCombinableShader(L"other");
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &mesh, count, bases, fallback), bases[1]);
    mesh.setNonCombinableShader(L"OTHER");
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &mesh, count, bases, fallback), nullptr) << "objects mind the case";

    KivMesh lines;
    lines.addCombinableShader(L"add-lines");
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &lines, count, bases, fallback), nullptr)
        << "settings that name no base look";
    lines.addCombinableShader(L"base"); // the first of the table wins, wherever the mesh names it
    lines.setNonCombinableShader(L"other");
    EXPECT_EQ(KivTestAccess::shaderFor(renderer, &lines, count, bases, fallback), bases[0]);
}

} // namespace
