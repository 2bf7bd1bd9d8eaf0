// The steps that a render begins are those that it has laid out, with the shaders that come with the library.
#include "kivrender/render/kivcombinablesteps.h"
#include "kivrender/render/kivprogressforecast.h"
#include "render/shippedlooks.h"
#include "support/rawrandom.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

namespace {

using testing::ElementsAre;

struct StepsCase {
    const char* name;
    bool shadows;
    bool transparencies;
    bool vectorial;
    bool simplify;
};

class KivRendererSteps : public ShippedLooks, public testing::WithParamInterface<StepsCase> {
protected:
    KivRendererSteps() {
        loadShipped({"backdrop", "cartoon", "outline", "sketch"});
        settings.setShadows(GetParam().shadows);
        settings.setTransparencies(GetParam().transparencies);
        settings.setVectorial(GetParam().vectorial);
        settings.setVectorSimplify(GetParam().simplify);
        if (GetParam().vectorial) {
            settings.setSaveVectorFile(home.wide("d.svg").c_str());
        }
    }

    long count(const std::string& call) const {
        return std::count(progress.calls.begin(), progress.calls.end(), call);
    }
    long laidOut() const {
        return static_cast<long>(progress.steps.size()) + count("addDeferredStep");
    }
    // Times that are times, and no more shares of them than a step has units. The deferred steps are the last but one.
    void expectForecastFits(const std::string& what) const {
        std::size_t number = 0;
        for (const KivStepForecast& step : kivProgressForecast().steps) {
            for (const double time : {step.gap, step.lead, step.units, step.tail}) {
                EXPECT_TRUE(time >= 0.0 && time < 1e6) << what << ", step " << number;
            }
            if (number + 1 + static_cast<std::size_t>(count("addDeferredStep")) < progress.steps.size()) {
                EXPECT_LE(step.shares.size(), progress.steps[number]) << what << ", step " << number;
            }
            ++number;
        }
    }
};

TEST_P(KivRendererSteps, BegunAreThoseLaidOut) {
    for (const wchar_t* combinables : {L"", L"Outline", L"Outline;Sketch;Backdrop", L"nothing;", L"nothing;Sketch"}) {
        for (const wchar_t* base : {L"Cartoon", L"none"}) {
            for (const wchar_t* image : {L"", L"missing.png"}) {
                settings.setBackgroundImage(image);
                settings.setPaperImage(image);
                setStyle(base, combinables);
                progress.calls.clear();
                progress.steps.clear();
                addThings();
                scene.getMesh(0)->addCombinableShader(L"Sketch"); // for the sweep
                ASSERT_TRUE(render({40, 30}));
                const std::string all = kivToUtf8(std::wstring(combinables) + L" on " + base + L" " + image);
                EXPECT_EQ(count("beginStep"), laidOut()) << all;
                EXPECT_LE(count("endStep"), count("beginStep")) << all;
                EXPECT_EQ(static_cast<long>(kivProgressForecast().steps.size()), laidOut()) << all;
                expectForecastFits(all);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Branches, KivRendererSteps,
                         testing::Values(StepsCase{"Plain", false, false, false, false},
                                         StepsCase{"Transparent", false, true, false, false},
                                         StepsCase{"Shadows", true, false, false, false},
                                         StepsCase{"Both", true, true, false, false},
                                         StepsCase{"Drawing", false, false, true, false},
                                         StepsCase{"MixedDrawing", false, true, true, false},
                                         StepsCase{"SimplifiedDrawing", false, false, true, true}),
                         [](const auto& steps) { return steps.param.name; });

// --- the row of shaders alone

class KivCombinableStepsRow : public testing::Test {
protected:
    KivCombinableStepsRow() {
        fillScene(scene, 3, 0, 2);
        host.setCurProgress(&bar);
    }
    // What a line shader tells of itself.
    static void report(const std::array<unsigned int, 4>& sizes) {
        for (const unsigned int size : sizes) {
            kivCurrentProgress()->beginStep();
            for (unsigned int i = 0; i < size; ++i) {
                kivCurrentProgress()->advance(1, false);
            }
            kivCurrentProgress()->endStep();
        }
    }
    long count(const std::string& call) const {
        return std::count(bar.calls.begin(), bar.calls.end(), call);
    }
    // All units that the bar was moved by, step by step.
    std::vector<unsigned int> units() const {
        std::vector<unsigned int> found;
        for (const std::string& call : bar.calls) {
            if (call == "beginStep") {
                found.push_back(0);
            } else if (call.starts_with("advance") && call != "advance 0 show") {
                found.back() += static_cast<unsigned int>(std::stoul(call.substr(8)));
            }
        }
        return found;
    }

    TestHost host;
    RecordingProgress bar;
    KivScene scene;
};

TEST_F(KivCombinableStepsRow, OfOneShaderGoesThroughAsItIs) {
    std::vector<std::string> expected;
    for (const int size : {6, 4, 4, 4}) {
        expected.emplace_back("beginStep");
        expected.insert(expected.end(), static_cast<std::size_t>(size), "advance 1");
        expected.emplace_back("endStep");
    }
    KivCombinableSteps steps(&bar, scene, 1);
    report(KivCombinableSteps::sizes(scene));
    steps.endShader();
    steps.finish();
    EXPECT_EQ(bar.calls, expected);
}

TEST_F(KivCombinableStepsRow, OfAnyNumberFillsFourSteps) {
    for (int shaders = 0; shaders < 7; ++shaders) {
        bar.calls.clear();
        {
            KivCombinableSteps steps(&bar, scene, shaders);
            for (int i = 0; i < shaders; ++i) {
                report(KivCombinableSteps::sizes(scene));
                steps.endShader();
                const std::vector<unsigned int> now = units();
                EXPECT_EQ(std::accumulate(now.begin(), now.end(), 0U), 18U * (i + 1) / shaders);
            }
            steps.finish();
        }
        EXPECT_THAT(units(), ElementsAre(6U, 4U, 4U, 4U)) << shaders;
        EXPECT_EQ(count("endStep"), 4);
    }
    EXPECT_EQ(kivCurrentProgress(), &bar) << "the host's own again";
}

// Shaders that tell nothing, too little, too much, or begin steps and end none.
TEST_F(KivCombinableStepsRow, OfShadersOfAnyMannersFillsFourSteps) {
    RawRandom random(11);
    for (int round = 0; round < 500; ++round) {
        bar.calls.clear();
        const int shaders = static_cast<int>(random.below(4));
        {
            KivCombinableSteps steps(&bar, scene, shaders);
            for (int i = 0; i < shaders; ++i) {
                for (unsigned int told = random.below(30); told > 0; --told) {
                    const unsigned int what = random.below(5);
                    KivProgress* const progress = kivCurrentProgress();
                    what == 0   ? progress->beginStep()
                    : what == 1 ? progress->endStep()
                                : progress->advance(random.below(5), what == 2);
                }
                steps.endShader();
            }
            steps.finish();
        }
        ASSERT_THAT(units(), ElementsAre(6U, 4U, 4U, 4U)) << "round " << round;
        ASSERT_EQ(count("endStep"), 4);
    }
}

TEST_F(KivCombinableStepsRow, HandsOnTextsPicturesAndTheQuestionForACancel) {
    KivCombinableSteps steps(&bar, scene, 2);
    KivProgress* const progress = kivCurrentProgress();
    progress->setText(L"lines");
    progress->beginStep();
    progress->advance(1, true);
    EXPECT_THAT(bar.calls, ElementsAre("setText lines", "beginStep", "advance 0 show"));
    EXPECT_FALSE(kivIsCancelled());
    bar.cancelAtPoll = 1;
    EXPECT_TRUE(kivIsCancelled());
    bar.calls.clear();
    steps.endShader();
    steps.finish();
    EXPECT_THAT(bar.calls, ElementsAre()) << "nothing more is begun";
}

TEST_F(KivCombinableStepsRow, WithoutABarDoesNothing) {
    host.setCurProgress(nullptr);
    KivCombinableSteps steps(nullptr, scene, 2);
    EXPECT_EQ(kivCurrentProgress(), nullptr);
    steps.endShader();
    steps.finish();
}

} // namespace
