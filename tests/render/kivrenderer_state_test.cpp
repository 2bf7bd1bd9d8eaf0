// The state of OpenGL that shaders find in each pass, and that the volumes of shadows are drawn in.
#include "kivrender/platform/kivgldepth.h"
#include "kivrender/platform/kivimage.h"
#include "render/renderfixture.h"

#include <GL/gl.h>
#include <gmock/gmock.h>

#include <map>
#include <set>
#include <sstream>

namespace {

using testing::ElementsAre;

// In a form that is easy to compare: what differs from the plain state of a frame.
std::string stateNow() {
    std::ostringstream text;
    GLint value = 0;
    glGetIntegerv(GL_DEPTH_FUNC, &value);
    const std::map<GLint, const char*> functions = {{GL_LESS, "less"}, {GL_LEQUAL, "lequal"}, {GL_ALWAYS, "always"}};
    text << (functions.count(value) != 0 ? functions.at(value) : "?");
    GLboolean on = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &on);
    text << (on != 0 ? " writes" : " reads");
    GLboolean colours[4] = {};
    glGetBooleanv(GL_COLOR_WRITEMASK, colours);
    text << (colours[0] != 0 && colours[1] != 0 && colours[2] != 0 && colours[3] != 0 ? "" : " colourless");
    text << (glIsEnabled(GL_DEPTH_TEST) != 0 ? "" : " untested");
    if (glIsEnabled(GL_STENCIL_TEST) != 0) {
        glGetIntegerv(GL_STENCIL_FUNC, &value);
        text << (value == GL_NOTEQUAL ? " stencil!=" : value == GL_ALWAYS ? " stencil " : " stencil?");
        glGetIntegerv(GL_STENCIL_REF, &value);
        text << value;
    }
    if (glIsEnabled(GL_BLEND) != 0) {
        GLint source = 0;
        glGetIntegerv(GL_BLEND_SRC, &source);
        glGetIntegerv(GL_BLEND_DST, &value);
        text << (source == GL_ONE && value == GL_ONE ? " adds" : " blends");
    }
    text << (glIsEnabled(GL_CULL_FACE) != 0 ? " culls" : "");
    if (glIsEnabled(GL_POLYGON_OFFSET_FILL) != 0) {
        float factor = 0;
        float units = 0;
        glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
        glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
        text << " offset " << factor << "," << units;
    }
    return text.str();
}

// Kind of a shader's call: "depth", "pass 1", "triangle 3" and so on, with "lit" for one light's.
std::string kindOf(const std::string& call) {
    std::istringstream words(call);
    std::string kind;
    std::string number;
    words >> kind >> number;
    const bool isNumbered = kind == "pass" || kind == "opaque" || kind == "triangle" || kind == "end";
    return kind + (isNumbered ? " " + number : "") + (call.find(" light ") != std::string::npos ? " lit" : "");
}

class KivRendererState : public KivRendererRender {
protected:
    KivRendererState() {
        loadShaders({"add-lines", "base"});
        setStyle(L"base", L"add-lines;");
        settings.setPolygonOffset(6.0);
        camera.setProjection(KivCamera::perspective);
        camera.setFrustumLeft(-0.2);
        camera.setFrustumRight(0.2);
        camera.setFrustumBottom(-0.2);
        camera.setFrustumTop(0.2);
    }
    ~KivRendererState() override {
        progress.onAdvance = nullptr;
    }

    // Two opaque meshes and a transparent one, two lights.
    void renderAndRecord() {
        for (const wchar_t* tag : {L"base", L"add-lines"}) {
            shader(tag).onCall = [this](const std::string& call) {
                if (kindOf(call) != "loadRenderData" && kindOf(call) != "prepareObjectRendering") {
                    states[kindOf(call)].insert(stateNow());
                }
            };
        }
        progress.onAdvance = [this](bool) {
            if (!progress.calls.empty()) {
                const std::string text = lastText();
                if (glGetString(GL_VERSION) != nullptr && !text.empty()) {
                    states["bar: " + text].insert(stateNow());
                }
            }
        };
        fillScene(scene, 2, 2);
        scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, 1.0, 0xFFFFFF, 0.5).release());
        EXPECT_TRUE(render({20, 10}));
    }
    std::string lastText() const {
        for (auto call = progress.calls.rbegin(); call != progress.calls.rend(); ++call) {
            if (call->starts_with("setText ")) {
                return call->substr(8);
            }
        }
        return "";
    }
    std::set<std::string> in(const std::string& kind) {
        return states[kind];
    }

    std::map<std::string, std::set<std::string>> states;
};

TEST_F(KivRendererState, OfAPlainRender) {
    renderAndRecord();
    // Opened by the depth of meshes that only lines need.
    EXPECT_THAT(in("render"), ElementsAre("lequal writes offset 3.5,7"));
}

TEST_F(KivRendererState, OfARenderWithShadows) {
    settings.setShadows(true);
    renderAndRecord();
    EXPECT_THAT(in("depth"), ElementsAre("less writes offset 2.5,6"));
    // Volumes lie behind the depth pass by three units, and what is painted before it.
    EXPECT_THAT(in("bar: Calculating shadows"), ElementsAre("less reads colourless stencil 100 culls offset 2.5,9"));
    EXPECT_THAT(in("pass 1"), ElementsAre("lequal reads stencil!=102 adds offset 2,5"));
    EXPECT_THAT(in("pass 2"), ElementsAre("lequal reads stencil!=102 adds offset 2,5"));
    EXPECT_THAT(in("pass 3 lit"), ElementsAre("lequal reads stencil!=102 adds offset 2,5"));
    EXPECT_THAT(in("render"), ElementsAre("lequal reads adds offset 2,5")) << "the stencil test is off for lines";
}

TEST_F(KivRendererState, OfARenderWithShadowsAndNoOffset) {
    settings.setShadows(true);
    settings.setPolygonOffset(0.0);
    renderAndRecord();
    EXPECT_THAT(in("depth"), ElementsAre("less writes offset 2.5,0"));
    EXPECT_THAT(in("pass 1"), ElementsAre("lequal reads stencil!=102 adds offset 2,-1"));
}

TEST_F(KivRendererState, OfARenderWithTransparency) {
    settings.setTransparencies(true);
    renderAndRecord();
    EXPECT_THAT(in("beginTransparency"), ElementsAre("lequal writes offset 2.5,6"));
    EXPECT_THAT(in("opaque 1"), ElementsAre("lequal writes offset 2.5,6"));
    for (const char* kind : {"opaque 2", "opaque 3", "render"}) {
        EXPECT_THAT(in(kind), ElementsAre("lequal reads offset 2.5,6")) << kind;
    }
    for (const char* kind : {"triangle 1", "triangle 2", "triangle 3"}) {
        EXPECT_THAT(in(kind), ElementsAre("lequal reads blends offset 2.5,6")) << kind;
    }
    EXPECT_THAT(in("triangle 3 lit"), ElementsAre());
}

// A shader that changes the state for the lines finds the offset of surfaces again.
TEST_F(KivRendererState, TransparentTrianglesGetTheirOffsetBackBehindTheLines) {
    settings.setTransparencies(true);
    shader(L"add-lines").onRender = [](KivShader&, KivBitmapManager*) { glPolygonOffset(0.0F, 0.0F); };
    renderAndRecord();
    EXPECT_THAT(in("triangle 1"), ElementsAre("lequal reads blends offset 2.5,6"));
    shader(L"add-lines").onRender = nullptr;
}

TEST_F(KivRendererState, OfARenderWithBoth) {
    settings.setShadows(true);
    settings.setTransparencies(true);
    renderAndRecord();
    EXPECT_THAT(in("depth"), ElementsAre("less writes offset 2.5,6"));
    EXPECT_THAT(in("render"), ElementsAre("lequal reads adds offset 2,5"));
    EXPECT_THAT(in("beginTransparency"), ElementsAre("lequal reads adds offset 2,5"));
    // Both times that volumes are cast; blending is still on at the second.
    EXPECT_THAT(in("bar: Calculating shadows"), ElementsAre("less reads colourless stencil 100 adds culls offset 2.5,9",
                                                            "less reads colourless stencil 100 culls offset 2.5,9"));
    // The depth of transparent triangles goes in without a colour; of all the rest that this text stands for, only
    // surfaces that are drawn show.
    EXPECT_THAT(in("bar: Drawing meshes"), testing::Contains("lequal reads colourless adds offset 2.5,6"));
    for (const char* kind : {"triangle 1", "triangle 2", "triangle 3"}) {
        EXPECT_THAT(in(kind), ElementsAre("always reads adds offset 2,5")) << kind;
    }
    EXPECT_THAT(in("triangle 3 lit"), ElementsAre("always reads stencil!=102 adds offset 2,5"));
}

// What shaders do to the state in a triangle's call does not reach the next triangle's stencil test.
TEST_F(KivRendererState, EveryTransparentTriangleBeginsWithoutTheStencilTest) {
    settings.setTransparencies(true);
    shader(L"base").onCall = nullptr;
    std::set<std::string> first;
    shader(L"base").onCall = [&](const std::string& call) {
        if (call.starts_with("triangle 1")) {
            first.insert(stateNow());
            glEnable(GL_STENCIL_TEST);
        }
    };
    fillScene(scene, 1);
    scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, 1.0, 0xFFFFFF, 0.5).release());
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(first, ElementsAre("lequal reads blends offset 2.5,6"));
}

// Parallel views with shadows count depth in another way: what follows the passes does not.
TEST_F(KivRendererState, ThePaperLiesOverAParallelViewWithShadows) {
    camera = frontCamera();
    settings.setShadows(true);
    settings.setBackgroundColor(0xFFFFFF);
    const auto paper = KivImage::create({8, 8});
    for (int y = 0; y < 8; ++y) {
        std::fill_n(paper->row(y), 24, std::uint8_t{0x80});
    }
    GUID encoder;
    host.getEncoderClsidFromFileName(L"p.png", &encoder);
    ASSERT_EQ(paper->save(home.wide("p.png"), encoder), KivImageStatus::ok);
    settings.setPaperImage(home.wide("p.png").c_str());
    bool fromZero = false;
    shader(L"base").onCall = [&](const std::string& call) {
        fromZero = fromZero || (call.starts_with("pass") && kivIsDepthClippedFromZero());
    };
    fillScene(scene, 1, 1);
    ASSERT_TRUE(render({20, 20}));
    EXPECT_TRUE(fromZero) << "or there is nothing to put back";
    EXPECT_EQ(pixelOf(surface, 10, 1), 0x808080U);
    EXPECT_EQ(pixelOf(surface, 10, 10) & 0xFFU, 0x80U);
}

} // namespace
