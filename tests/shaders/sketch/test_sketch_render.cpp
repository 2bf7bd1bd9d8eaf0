// Sketches by whole renders, with the plug-ins of the build: every branch of the passes, and a cancel at every
// question.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshadersettings.h"
#include "render/renderfixture.h"
#include "support/closedshapes.h"

#include <algorithm>

namespace {

struct Branch {
    const char* name;
    bool shadows;
    bool transparencies;
    bool vectorial;
    const wchar_t* base;
};

class SketchRender : public KivRendererRender, public testing::WithParamInterface<Branch> {
protected:
    SketchRender() {
        host.morvaneFolder = kivFromUtf8(SELVARIN_BIN_DIR);
        EXPECT_TRUE(renderer.loadShaders());
        data.setSaving();
        save(L"Style:Test");
        save(L"NonCombinableShader:" + std::wstring(GetParam().base));
        save(L"CombinableShader:Sketch;");
        for (const wchar_t* tag : {GetParam().base, L"Sketch"}) {
            if (KivShader* shader = KivShader::getByTag(tag)) {
                EXPECT_TRUE(shader->saveData(&data, nullptr));
            }
        }
        save(L"End Morvane");
        settings.setShadows(GetParam().shadows);
        settings.setTransparencies(GetParam().transparencies);
        settings.setVectorial(GetParam().vectorial);
        settings.setBackgroundColor(0xFFFFFF);
        camera.setProjection(KivCamera::perspective);
        camera.setFrustumLeft(-0.3);
        camera.setFrustumRight(0.3);
        camera.setFrustumBottom(-0.3);
        camera.setFrustumTop(0.3);
    }
    ~SketchRender() override {
        renderer.unloadShaders();
    }

    static std::unique_ptr<KivMesh> box(double x, double half, double opacity) {
        auto mesh = std::make_unique<KivMesh>();
        for (int i = 0; i < 8; ++i) {
            mesh->addVertex(
                {x + ((i & 1) != 0 ? half : -half), (i & 2) != 0 ? half : -half, (i & 4) != 0 ? half : -half});
        }
        const unsigned int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                          {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        for (const auto& q : quads) {
            mesh->addTriangle(q[0], q[1], q[2]);
            mesh->addTriangle(q[0], q[2], q[3]);
        }
        KivMaterial material;
        material.setDiffuse(0xC0D0E0);
        material.setTransparency(opacity);
        mesh->setMaterial(material);
        return mesh;
    }
    bool renderOnce(int cancelAtPoll = 0) {
        progress.polls = 0;
        progress.cancelAtPoll = cancelAtPoll;
        progress.calls.clear();
        scene.empty();
        scene.addMesh(box(-0.6, 0.4, 1.0).release());
        scene.addMesh(box(0.6, 0.4, 0.5).release());
        KivLight light;
        light.setStyle(KivLight::directionalLight);
        light.setDirection({1.0, -0.3, -0.4});
        light.setLocation({-50.0, 15.0, 20.0});
        light.setDiffuse(0xFFFFFF);
        scene.addLight(light);
        return render({160, 160});
    }
    std::vector<std::uint8_t> picture() {
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        return {info.pixels, info.pixels + info.rowBytes * static_cast<std::size_t>(info.height)};
    }
    // Pixels that are nearly black, in the left or the right half: strokes, as no surface is that dark.
    int strokes(bool right) {
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        int count = 0;
        for (int y = 0; y < info.height; ++y) {
            const std::uint8_t* row = info.pixels + info.rowBytes * static_cast<std::size_t>(y);
            for (int x = right ? info.width / 2 : 0; x < (right ? info.width : info.width / 2); ++x) {
                const std::size_t at =
                    static_cast<std::size_t>(x) * (info.rowBytes / static_cast<std::size_t>(info.width));
                count += row[at] < 0x70 && row[at + 1] < 0x70 && row[at + 2] < 0x70;
            }
        }
        return count;
    }
};

// A coarse ball in strokes alone.
class SketchedBall : public KivRendererRender {
protected:
    SketchedBall() {
        host.morvaneFolder = kivFromUtf8(SELVARIN_BIN_DIR);
        EXPECT_TRUE(renderer.loadShaders());
        settings.setBackgroundColor(0xFFFFFF);
        camera.setProjection(KivCamera::orthographic);
        camera.setFrustumLeft(-1.2);
        camera.setFrustumRight(1.2);
        camera.setFrustumBottom(-1.2);
        camera.setFrustumTop(1.2);
    }
    ~SketchedBall() override {
        renderer.unloadShaders();
    }

    // Which pixels are nearly black.
    std::vector<bool> strokesOf(const std::vector<std::wstring>& tags) {
        KivMemoryDataManager stream;
        stream.setSaving();
        std::wstring names;
        for (const std::wstring& tag : tags) {
            names += tag + L";";
        }
        stream.saveString(L"Style:Test");
        stream.saveString(L"NonCombinableShader:");
        stream.saveString((L"CombinableShader:" + names).c_str());
        for (const std::wstring& tag : tags) {
            EXPECT_TRUE(KivShader::getByTag(tag.c_str())->saveData(&stream, nullptr));
        }
        stream.saveString(L"End Morvane");
        data = stream;
        scene.empty();
        scene.addMesh(closedSphere({0.0, 0.0, 0.0}, 1.0, 10, 5).release());
        EXPECT_TRUE(render({300, 300}));
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        std::vector<bool> dark;
        for (int y = 0; y < info.height; ++y) {
            const std::uint8_t* row = info.pixels + info.rowBytes * static_cast<std::size_t>(y);
            for (int x = 0; x < info.width; ++x) {
                const std::size_t at =
                    static_cast<std::size_t>(x) * (info.rowBytes / static_cast<std::size_t>(info.width));
                dark.push_back(row[at] < 0x70 && row[at + 1] < 0x70 && row[at + 2] < 0x70);
            }
        }
        return dark;
    }
};

} // namespace

// Paper, which comes first in the styles, has nothing to say on shapes.
TEST_F(SketchedBall, IsAsRoundOnPaperAsWithoutIt) {
    const std::vector<bool> plain = strokesOf({L"Sketch"});
    const std::vector<bool> onPaper = strokesOf({L"Backdrop", L"Sketch"});
    ASSERT_EQ(plain.size(), onPaper.size());
    int strokes = 0;
    int different = 0;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        strokes += plain[i] ? 1 : 0;
        different += plain[i] != onPaper[i] ? 1 : 0;
    }
    EXPECT_GT(strokes, 500);
    EXPECT_LT(different, strokes / 10);
}

TEST_P(SketchRender, DrawsBothBoxesInEveryBranch) {
    ASSERT_TRUE(renderOnce());
    if (GetParam().vectorial) {
        GTEST_SKIP() << "a vector page leaves the image alone";
    }
    EXPECT_GT(strokes(false), 80);
    EXPECT_GT(strokes(true), 80);
}

TEST_P(SketchRender, ACancelAtAnyQuestionLeavesTheNextRenderInOrder) {
    ASSERT_TRUE(renderOnce());
    const int polls = progress.polls;
    ASSERT_GT(polls, 5);
    const std::vector<std::uint8_t> whole = picture();
    for (int poll = 1; poll <= polls; ++poll) {
        SCOPED_TRACE("cancel at poll " + std::to_string(poll) + " of " + std::to_string(polls));
        EXPECT_FALSE(renderOnce(poll));
        ASSERT_TRUE(renderOnce());
        EXPECT_EQ(progress.polls, polls);
        EXPECT_EQ(picture(), whole);
        EXPECT_EQ(kivCurrentGlContext(), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Branches, SketchRender,
                         testing::Values(Branch{"Alone", false, false, false, L""},
                                         Branch{"OverCartoon", false, false, false, L"Cartoon"},
                                         Branch{"Shadows", true, false, false, L"Cartoon"},
                                         Branch{"Transparent", false, true, false, L"Cartoon"},
                                         Branch{"Both", true, true, false, L"Cartoon"},
                                         Branch{"BothAlone", true, true, false, L""},
                                         Branch{"Vector", false, false, true, L""}),
                         [](const testing::TestParamInfo<Branch>& branch) { return branch.param.name; });
