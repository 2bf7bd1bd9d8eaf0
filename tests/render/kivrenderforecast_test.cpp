// The bar of real renders against the time that they take. Time is the processor time of the whole process, as other
// programs on the machine must not matter; what is allowed is generous all the same.
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/render/kivprogressestimate.h"
#include "kivrender/render/kivrenderforecast.h"
#include "render/shippedlooks.h"
#include "support/pollcost.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <numeric>
#include <utility>

namespace {

double processMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

// A bar as the programs have it, looked at whenever the render tells or asks anything, every millisecond at most.
class WatchedBar : public KivProgress {
public:
    void addSteps(unsigned int size) override {
        estimate.addSteps(size);
    }
    int addDeferredStep() override {
        return estimate.addDeferredStep();
    }
    void progressSlot3() override {}
    void beginStep() override {
        estimate.beginStep();
        look();
    }
    void advance(unsigned int units, bool) override {
        estimate.advance(units);
        look();
    }
    void setStepSize(int step, unsigned int size) override {
        estimate.setStepSize(step, size);
    }
    void endStep() override {
        estimate.endStep();
        look();
    }
    void progressSlot8() override {}
    void setText(const wchar_t*) override {}
    bool isCancelled() override {
        look();
        return false;
    }

    void restart() {
        estimate.restart();
        looks.clear();
        start = processMilliseconds();
    }
    // In percent: how far the bar was off from the part of the time that had passed, the worst and in the mean.
    std::pair<double, double> errors(double end) const {
        double worst = 0.0;
        double sum = 0.0;
        for (const auto& [time, done] : looks) {
            const double error = 100.0 * std::abs(done - (time - start) / (end - start));
            worst = std::max(worst, error);
            sum += error;
        }
        return {worst, sum / static_cast<double>(std::max<std::size_t>(looks.size(), 1))};
    }

    std::vector<std::pair<double, double>> looks;

private:
    void look() {
        const auto now = std::chrono::steady_clock::now();
        if (now - lastLook >= std::chrono::milliseconds(1)) {
            lastLook = now;
            const double time = processMilliseconds();
            looks.emplace_back(time, estimate.done());
        }
    }

    KivProgressEstimate estimate{processMilliseconds};
    std::chrono::steady_clock::time_point lastLook;
    double start = 0.0;
};

// Pictures of 1280 by 960, antialiased four times, as they were timed on two idle cores with llvmpipe: what the scene
// is, and milliseconds of each step with its gap.
struct Recorded {
    const char* name;
    int meshes;
    double triangles; // of all, in thousands
    double area;      // in the picture, in millions of pixels
    unsigned int lights;
    bool shadows;
    bool vectorial;
    std::vector<double> steps;
};

KivProgressForecast forecastOf(const Recorded& picture,
                               KivDrawingCollector::Areas areas = KivDrawingCollector::Areas::regions) {
    const KivScene none;
    KivSceneWork work(none, KivCamera(), {picture.vectorial ? 1280 : 5120, picture.vectorial ? 960 : 3840});
    work.lights = picture.lights;
    work.meshes.resize(static_cast<std::size_t>(picture.meshes));
    for (KivSceneWork::Mesh& mesh : work.meshes) {
        mesh.triangles = picture.triangles / picture.meshes;
        mesh.area = picture.area / picture.meshes;
    }
    KivCommonSettings settings;
    settings.setAntialias(2);
    settings.setShadows(picture.shadows);
    settings.setVectorial(picture.vectorial);
    KivVectorDrawing drawing;
    KivDrawingCollector collector(drawing);
    collector.setAreas(areas);
    const bool edgesAhead = !picture.vectorial && picture.triangles > 20.0;
    return KivRenderForecast(work, settings, 1.2, {true, 1, 3, edgesAhead}).get();
}

TEST(KivRenderForecast, IsLikeWhatWasTimed) {
    const Recorded pictures[] = {
        {"bunny", 1, 69.4, 12.2, 1, false, false, {128, 8.6, 0, 14, 6, 2, 0, 0, 0, 36}},
        {"beetle", 1, 38.7, 11.3, 1, false, false, {108, 5, 0, 23, 6, 4, 0, 0, 0, 36}},
        {"a million", 1, 998.0, 18.7, 1, false, false, {784, 42, 0, 20, 7, 4, 0, 0, 0, 44}},
        {"bunny with shadows", 1, 69.4, 12.2, 1, true, false, {150, 652, 269, 8, 0, 19, 5, 0, 0, 0, 0, 39}},
        {"1000 cubes", 1000, 12.0, 42.0, 1, false, false, {364, 20, 0, 205, 14, 23, 0, 0, 0, 47}},
        {"1000 cubes with shadows", 1000, 12.0, 42.0, 1, true, false, {327, 2839, 763, 19, 0, 207, 31, 1, 0, 0, 0, 41}},
        {"bunny as a drawing", 1, 69.4, 0.8, 1, false, true, {66, 6, 0, 102, 0, 0, 0, 0, 0, 304, 5}},
        {"a million as a drawing", 1, 998.0, 1.2, 1, false, true, {453, 56, 0, 1125, 1, 0, 0, 0, 0, 2539, 28}},
    };
    for (const Recorded& picture : pictures) {
        const KivProgressForecast forecast = forecastOf(picture);
        ASSERT_EQ(forecast.steps.size(), picture.steps.size()) << picture.name;
        const double all = std::accumulate(picture.steps.begin(), picture.steps.end(), 0.0);
        double sum = 0.0;
        for (std::size_t i = 0; i < picture.steps.size(); ++i) {
            const double expected = forecast.steps[i].total();
            sum += expected;
            if (picture.steps[i] >= 0.08 * all) { // the others move no bar
                EXPECT_GE(expected, picture.steps[i] / 2.0) << picture.name << ", step " << i;
                EXPECT_LE(expected, picture.steps[i] * 2.0) << picture.name << ", step " << i;
            } else {
                EXPECT_LE(expected, 0.2 * all) << picture.name << ", step " << i;
            }
        }
        EXPECT_GE(sum, 0.65 * all) << picture.name;
        EXPECT_LE(sum, 1.5 * all) << picture.name;
    }
}

// Seen: merging and ordering take 1.4 to 1.6 times as long for each of a million as for each of 300 thousand.
TEST(KivRenderForecast, APrimitiveOfAMillionTakesLongerThanOneOfFew) {
    const auto timesFor = [](double thousands) {
        const Recorded drawing{"", 1, thousands, 1.2, 1, false, true, {}};
        return forecastOf(drawing, KivDrawingCollector::Areas::faces).steps;
    };
    const std::vector<KivStepForecast> few = timesFor(100.0);
    const std::vector<KivStepForecast> many = timesFor(1000.0);
    ASSERT_EQ(few.size(), 14U);
    for (const std::size_t step : {10, 12}) { // merging, the page
        const double growth = many[step].total() / few[step].total();
        EXPECT_GT(growth, 12.0) << step;
        EXPECT_LT(growth, 18.0) << step;
    }
    EXPECT_NEAR(timesFor(50.0)[10].total() * 2.0, few[10].total(), 1e-6) << "few are alike";
}

struct Picture {
    const char* name;
    bool shadows;
    bool transparencies;
    bool vectorial;
    int lights;
};

constexpr double mostWorst = 30.0;
constexpr double mostMean = 15.0;

class KivRenderForecastOf : public ShippedLooks, public testing::WithParamInterface<Picture> {
protected:
    void addScene() {
        addThings();
        scene.addMesh(closedSphere({0.4, 0.5, 0.3}, 0.25, 300, 200).release());
        for (int i = 1; i < GetParam().lights; ++i) {
            KivLight lamp;
            lamp.setStyle(KivLight::pointLight);
            lamp.setLocation({2.0, 1.5 - i, 4.0});
            scene.addLight(lamp);
        }
    }
};

TEST_P(KivRenderForecastOf, TellsTheTime) {
    if (!PollCost::isWorkMeasured) {
        GTEST_SKIP() << "what is slow differs in this build";
    }
    loadShipped({"cartoon", "outline"});
    settings.setShadows(GetParam().shadows);
    settings.setTransparencies(GetParam().transparencies);
    settings.setAntialias(1);
    if (GetParam().vectorial) {
        settings.setVectorial(true);
        settings.setSaveVectorFile(home.wide("d.svg").c_str());
    }
    setStyle(L"Cartoon", L"Outline");
    WatchedBar watched;
    host.setCurProgress(&watched);
    std::pair<double, double> best{100.0, 100.0};
    // The first may have the driver's own preparations.
    for (int i = 0; i < 4 && (best.first > mostWorst || best.second > mostMean); ++i) {
        addScene();
        watched.restart();
        ASSERT_TRUE(render({800, 600}));
        const std::pair<double, double> found = watched.errors(processMilliseconds());
        best = {std::min(best.first, found.first), std::min(best.second, found.second)};
    }
    host.setCurProgress(&progress);
    ASSERT_GT(watched.looks.size(), 10U);
    EXPECT_LE(best.first, mostWorst) << "percent at the worst moment";
    EXPECT_LE(best.second, mostMean) << "percent in the mean";
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, KivRenderForecastOf,
    testing::Values(Picture{"Plain", false, false, false, 1}, Picture{"Shadows", true, false, false, 1},
                    Picture{"ThreeLights", true, false, false, 3}, Picture{"Transparent", false, true, false, 1},
                    Picture{"Both", true, true, false, 1}, Picture{"Drawing", false, false, true, 1}),
    [](const auto& picture) { return picture.param.name; });

// A collected drawing has the steps that its areas need, whatever the settings say of simplification.
class KivRenderForecastCollected : public ShippedLooks {};

TEST_F(KivRenderForecastCollected, HasAsManyStepsAsAreLaidOut) {
    loadShipped({"cartoon", "outline"});
    setStyle(L"Cartoon", L"Outline");
    settings.setVectorial(true);
    for (const auto areas : {KivDrawingCollector::Areas::faces, KivDrawingCollector::Areas::regions}) {
        for (const bool simplify : {false, true}) {
            settings.setVectorSimplify(simplify);
            KivVectorDrawing drawing;
            KivDrawingCollector collector(drawing);
            collector.setAreas(areas);
            progress.calls.clear();
            progress.steps.clear();
            addThings();
            ASSERT_TRUE(render({40, 30}));
            const auto deferred = std::count(progress.calls.begin(), progress.calls.end(), "addDeferredStep");
            EXPECT_EQ(kivProgressForecast().steps.size(), progress.steps.size() + static_cast<std::size_t>(deferred));
        }
    }
}

} // namespace
