// A cancel at every place that asks for one.
#include "kivrender/platform/kivglcontext.h"
#include "render/renderfixture.h"

#include <gmock/gmock.h>

namespace {

using testing::Contains;
using testing::ElementsAre;

struct Branch {
    const char* name;
    bool shadows;
    bool transparencies;
    bool vectorial;
};

class KivRendererCancel : public KivRendererRender, public testing::WithParamInterface<Branch> {
protected:
    KivRendererCancel() {
        loadShaders();
        shader(L"base").color = 0x4080C0;
        setStyle(L"base", L"add-lines;add-more;", {L"base", L"add-lines", L"add-more"});
        settings.setShadows(GetParam().shadows);
        settings.setTransparencies(GetParam().transparencies);
        settings.setVectorial(GetParam().vectorial);
        settings.setAntialias(1);
        saved = home.wide() + L"/picture.png";
        settings.setSaveRender(true);
        settings.setSaveRenderFile(saved.c_str());
    }

    bool renderOnce(int cancelAtPoll) {
        progress.polls = 0;
        progress.cancelAtPoll = cancelAtPoll;
        progress.calls.clear();
        scene.empty();
        fillScene(scene, 4, 2, 1);
        scene.addMesh(rectangle(-0.5, 0.6, 0.5, 0.9, 0.0, 0xFFFFFF, 0.5).release());
        return render({40, 20});
    }
    bool isSaved() const {
        return std::filesystem::exists(home.path() / "picture.png");
    }
    std::vector<std::uint8_t> picture() {
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        return {info.pixels, info.pixels + info.rowBytes * static_cast<std::size_t>(info.height)};
    }

    std::wstring saved;
};

TEST_P(KivRendererCancel, WorksAtEveryPollAndLeavesTheNextRenderInOrder) {
    ASSERT_TRUE(renderOnce(0));
    const int polls = progress.polls;
    ASSERT_GT(polls, 10);
    const std::vector<std::uint8_t> whole = picture();
    EXPECT_TRUE(isSaved());
    for (int poll = 1; poll <= polls; ++poll) {
        SCOPED_TRACE("cancel at poll " + std::to_string(poll) + " of " + std::to_string(polls));
        std::filesystem::remove(home.path() / "picture.png");
        EXPECT_FALSE(renderOnce(poll));
        EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr);
        EXPECT_EQ(isSaved(), poll == polls) << "only the very last question comes behind the saving";
        EXPECT_EQ(home.count(), isSaved() ? 2U : 1U) << "no other file";
        ASSERT_TRUE(renderOnce(0));
        EXPECT_EQ(progress.polls, polls);
        EXPECT_EQ(picture(), whole);
        EXPECT_EQ(kivCurrentGlContext(), nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Branches, KivRendererCancel,
                         testing::Values(Branch{"Plain", false, false, false},
                                         Branch{"Transparent", false, true, false},
                                         Branch{"Shadows", true, false, false}, Branch{"Both", true, true, false},
                                         Branch{"Vector", false, false, true}),
                         [](const testing::TestParamInfo<Branch>& branch) { return branch.param.name; });

TEST_F(KivRendererRender, ACancelBeforeTheFrameMakesNoSurface) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setTransparencies(true);
    fillScene(scene, 2);
    progress.cancelAtPoll = 1; // the first question comes behind the ordering of the triangles
    EXPECT_FALSE(render({20, 10}));
    EXPECT_EQ(surface.getHBitmap(), nullptr);
    EXPECT_THAT(callsOfPasses(),
                ElementsAre("setText Sorting triangles by depth", "beginStep", "advance 1", "endStep"));
    EXPECT_EQ(scene.numMeshes(), 2U);
}

// Kept on purpose: hosts look at the half picture through the surface's own calls.
TEST_F(KivRendererRender, ACancelledRenderLeavesItsContextUntilTheSurfaceEnds) {
    loadShaders();
    setStyle(L"base", L"");
    shader(L"base").onRender = [this](KivShader&, KivBitmapManager*) { progress.cancelAtPoll = 1; };
    fillScene(scene, 2);
    {
        KivBitmapManager passing;
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        tagSIZE size{20, 10};
        EXPECT_FALSE(renderer.render(&common, &data, &scene, camera, &passing, &size));
        EXPECT_NE(kivCurrentGlContext(), nullptr);
        EXPECT_EQ(kivCurrentGlContext(), passing.getHGLRC());
        EXPECT_EQ(scene.numMeshes(), 2U) << "the scene stays filled";
    }
    EXPECT_EQ(kivCurrentGlContext(), nullptr);
    shader(L"base").onRender = nullptr;
}

TEST_F(KivRendererRender, ASweepStopsAtTheShaderThatWasCancelled) {
    loadShaders({"add-lines", "base", "cartoon", "other"});
    setStyle(L"base", L"");
    shader(L"cartoon").onRender = [this](KivShader&, KivBitmapManager*) { progress.cancelAtPoll = 1; };
    fillScene(scene, 1);
    EXPECT_FALSE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("cartoon render 20x10 sweep"));
    EXPECT_THAT(progress.calls, testing::Not(Contains("other render 20x10 sweep")));
    shader(L"cartoon").onRender = nullptr;
}

} // namespace
