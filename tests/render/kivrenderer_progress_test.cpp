// The layout of the progress bar, and the growing picture.
#include "kivrender/platform/kivglcontext.h"
#include "render/renderfixture.h"
#include "support/vtableslot.h"

#include <GL/gl.h>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>
#include <type_traits>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(KivProgressSlots, AreInOrder) {
    EXPECT_EQ(vtableSlot(&KivProgress::addSteps), 1);
    EXPECT_EQ(vtableSlot(&KivProgress::addDeferredStep), 2);
    EXPECT_EQ(vtableSlot(&KivProgress::progressSlot3), 3);
    EXPECT_EQ(vtableSlot(&KivProgress::beginStep), 4);
    EXPECT_EQ(vtableSlot(&KivProgress::advance), 5);
    EXPECT_EQ(vtableSlot(&KivProgress::setStepSize), 6);
    EXPECT_EQ(vtableSlot(&KivProgress::endStep), 7);
    EXPECT_EQ(vtableSlot(&KivProgress::progressSlot8), 8);
    EXPECT_EQ(vtableSlot(&KivProgress::setText), 9);
    EXPECT_EQ(vtableSlot(&KivProgress::isCancelled), 10);
}

TEST(KivRendererSlots, HoldTheDestructorAlone) {
    EXPECT_EQ(vtableSlot(&KivRenderer::onLoad), -1);
    EXPECT_EQ(vtableSlot(&KivRenderer::loadShaders), -1);
    EXPECT_EQ(vtableSlot(&KivRenderer::render), -1);
    EXPECT_TRUE(std::has_virtual_destructor_v<KivRenderer>);
}

class KivRendererProgress : public testing::Test {
protected:
    std::vector<unsigned int> layOut(bool hasNonCombinable, bool hasCombinable) {
        progress.steps.clear();
        progress.calls.clear();
        KivRenderer renderer;
        KivTestAccess::calculateProgress(renderer, &progress, &scene, settings, hasNonCombinable, hasCombinable);
        return progress.steps;
    }

    KivScene scene;
    KivCommonSettings settings;
    RecordingProgress progress;
};

TEST_F(KivRendererProgress, OfAPlainRender) {
    fillScene(scene, 10, 2, 3);
    EXPECT_THAT(layOut(true, false), ElementsAre(34, 14, 11, 11, 11, 1));
    EXPECT_THAT(layOut(true, true), ElementsAre(34, 14, 11, 11, 11, 14, 11, 11, 11, 1));
}

TEST_F(KivRendererProgress, WithoutABaseLookOnlyObjectsWithOneCount) {
    fillScene(scene, 10, 2, 3);
    EXPECT_THAT(layOut(false, false), ElementsAre(3, 14, 11, 11, 11, 1));
    scene.getMesh(3)->setNonCombinableShader(L"other");
    scene.getMesh(5)->setNonCombinableShader(L"other");
    scene.getMesh(7)->addCombinableShader(L"lines");
    EXPECT_THAT(layOut(false, false), ElementsAre(9, 14, 11, 11, 11, 1));
}

TEST_F(KivRendererProgress, OfARenderWithShadows) {
    fillScene(scene, 10, 2, 3);
    settings.setShadows(true);
    EXPECT_THAT(layOut(true, false), ElementsAre(10, 20, 40, 14, 11, 11, 11, 1));
}

TEST_F(KivRendererProgress, OfARenderWithTransparency) {
    fillScene(scene, 10, 2, 3);
    scene.addMesh(rectangle(0, 0, 1, 1, 0, 0, 0.5).release());
    settings.setTransparencies(true);
    EXPECT_THAT(layOut(true, false), ElementsAre(1, 30, 15, 12, 12, 12, 11, 1));
}

TEST_F(KivRendererProgress, OfARenderWithBoth) {
    fillScene(scene, 10, 2, 3);
    settings.setShadows(true);
    settings.setTransparencies(true);
    EXPECT_THAT(layOut(true, true), ElementsAre(1, 10, 20, 40, 14, 11, 11, 11, 14, 11, 11, 11, 10, 20, 10, 1));
}

TEST_F(KivRendererProgress, ImagesAddTheirSteps) {
    fillScene(scene, 10, 2, 3);
    settings.setBackgroundImage(L"sky.png");
    settings.setPaperImage(L"paper.png");
    EXPECT_THAT(layOut(true, false), ElementsAre(1, 34, 14, 11, 11, 11, 1, 1));
    settings.setTransparencies(true);
    EXPECT_THAT(layOut(true, false), ElementsAre(1, 1, 30, 14, 11, 11, 11, 10, 1, 1));
}

TEST_F(KivRendererProgress, AVectorPageAddsStepsWhoseSizesComeLater) {
    fillScene(scene, 10, 2, 3);
    settings.setVectorial(true);
    settings.setBackgroundImage(L"sky.png");
    EXPECT_THAT(layOut(true, false), ElementsAre(1, 34, 14, 11, 11, 11, 1)) << "the image's too, by its name alone";
    EXPECT_EQ(progress.deferred, 101);
    EXPECT_EQ(progress.calls[progress.calls.size() - 2], "addDeferredStep") << "before the last";
    settings.setVectorSimplify(true);
    layOut(true, false);
    EXPECT_EQ(progress.deferred, 105);
}

TEST_F(KivRendererProgress, AnEmptySceneHasAllSteps) {
    EXPECT_THAT(layOut(true, false), ElementsAre(4, 1, 1, 1, 1, 1));
    settings.setShadows(true);
    EXPECT_THAT(layOut(true, false), ElementsAre(0, 0, 0, 1, 1, 1, 1, 1));
}

TEST_F(KivRendererRender, StepsOfListedShadersComeFromThem) {
    loadShaders();
    const auto steps = [this](const std::wstring& list) {
        progress.steps.clear();
        KivTestAccess::addStepsToProgress(renderer, &progress, list, &scene, settings);
        return progress.steps;
    };
    EXPECT_THAT(steps(L""), IsEmpty());
    EXPECT_THAT(steps(L"base;nobody;;Test add-more;"), ElementsAre(7, 7));
}

// The passes over all meshes, ten without light and ten with their colours, move the bar mesh by mesh; of those under
// each light only as many do that all lights together come to about ten.
TEST_F(KivRendererRender, MeshesUnderSeveralLightsMoveTheBarOnceInAll) {
    loadShaders();
    setStyle(L"base", L"");
    settings.setShadows(true);
    for (const auto& [lights, moves] : {std::pair(1, 10 + 10 + 10), std::pair(2, 10 + 10 + 2 * 5),
                                        std::pair(3, 10 + 10 + 3 * 3), std::pair(11, 10 + 10)}) {
        scene.empty();
        fillScene(scene, 10, lights, 0);
        progress.calls.clear();
        ASSERT_TRUE(render({20, 10}));
        std::vector<int> ofSteps;
        for (const std::string& call : progress.calls) {
            if (call == "beginStep") {
                ofSteps.push_back(0);
            } else if (call.starts_with("advance") && !ofSteps.empty()) {
                ++ofSteps.back();
            }
        }
        ASSERT_GT(ofSteps.size(), 3U);
        EXPECT_EQ(ofSteps[0], 10) << "depth";
        EXPECT_EQ(ofSteps[1], 10 * lights) << "volumes";
        EXPECT_EQ(ofSteps[2], moves) << lights;
    }
}

class KivShaderFlush : public KivRendererRender {
protected:
    KivShaderFlush() {
        std::this_thread::sleep_for(std::chrono::milliseconds(810)); // an earlier test may just have shown something
        loadShaders();
        setStyle(L"base", L"");
    }
    ~KivShaderFlush() override {
        shader(L"base").onRender = nullptr;
    }

    std::vector<std::string> advances() const {
        std::vector<std::string> list;
        for (const std::string& call : progress.calls) {
            if (call.starts_with("advance")) {
                list.push_back(call);
            }
        }
        return list;
    }
};

TEST_F(KivShaderFlush, ShowsThePictureAtMostOnceInEightHundredMilliseconds) {
    std::vector<std::string> during;
    shader(L"base").onRender = [&](KivShader& self, KivBitmapManager* target) {
        if (!during.empty()) {
            return;
        }
        glClearColor(1.0F, 0.0F, 0.0F, 0.0F);
        glClear(GL_COLOR_BUFFER_BIT);
        self.flushAndShow(target, false);
        self.flushAndShow(target, true);
        self.flushAndShow(target, false);
        during = advances();
        EXPECT_EQ(kivCurrentGlContext(), target->getHGLRC()) << "the context is taken again";
        EXPECT_EQ(GlSurface::pixel(1, 1), 0x0000FFU) << "and its picture still there";
    };
    std::uint32_t shown = 0;
    HGLRC whileShown = surface.getHGLRC();
    progress.onAdvance = [&](bool show) {
        if (show && during.empty()) {
            shown = pixelOf(surface, 1, 1);
            whileShown = kivCurrentGlContext();
        }
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(during, ElementsAre("advance 1 show", "advance 1", "advance 1"));
    EXPECT_EQ(shown, 0x0000FFU) << "the surface can be read while it is shown";
    EXPECT_EQ(whileShown, nullptr);
    EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU) << "drawing goes on behind it";
    EXPECT_EQ(pixelOf(surface, 1, 1), 0x0000FFU);
}

TEST_F(KivShaderFlush, ShowsAgainAfterThePause) {
    std::vector<std::string> during;
    shader(L"base").onRender = [&](KivShader& self, KivBitmapManager* target) {
        if (during.empty()) {
            self.flushAndShow(target, false);
            std::this_thread::sleep_for(std::chrono::milliseconds(810));
            self.flushAndShow(target, false);
            during = advances();
        }
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_THAT(during, ElementsAre("advance 1 show", "advance 1 show"));
}

TEST_F(KivShaderFlush, WithoutAProgressObjectDoesNothing) {
    host.setCurProgress(nullptr);
    HGLRC after = nullptr;
    shader(L"base").onRender = [&](KivShader& self, KivBitmapManager* target) {
        self.flushAndShow(target, false);
        after = kivCurrentGlContext();
    };
    fillScene(scene, 1);
    ASSERT_TRUE(render({20, 10}));
    EXPECT_NE(after, nullptr);
    EXPECT_THAT(advances(), IsEmpty());
}

TEST_F(KivShaderFlush, ASurfaceWithoutAPictureAdvancesNothing) {
    KivBitmapManager empty;
    KivShader* const self = KivShader::getByTag(L"base");
    self->flushAndShow(&empty, false);
    EXPECT_THAT(advances(), IsEmpty());
    self->flushAndShow(&empty, false);
    EXPECT_THAT(advances(), ElementsAre("advance 1")) << "the pause runs from then on all the same";
}

} // namespace
