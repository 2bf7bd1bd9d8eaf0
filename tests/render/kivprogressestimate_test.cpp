// How far a bar says a render is, by a clock of the test's own.
#include "kivrender/render/kivprogressestimate.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace {

// Three steps: of a gap and even units, of one long unit, of units that differ a hundredfold; and something after them.
KivProgressForecast threeSteps() {
    KivProgressForecast forecast;
    forecast.steps.resize(3);
    forecast.steps[0].gap = 50.0;
    forecast.steps[0].units = 200.0;
    forecast.steps[1].lead = 100.0;
    forecast.steps[1].units = 300.0;
    forecast.steps[1].tail = 100.0;
    forecast.steps[2].units = 202.0;
    forecast.steps[2].shares = {100.0, 1.0, 100.0, 1.0};
    forecast.after = 48.0;
    return forecast;
}

class KivProgressEstimateTest : public testing::Test {
protected:
    ~KivProgressEstimateTest() override {
        kivSetProgressForecast({});
    }

    // Milliseconds pass in small pieces; after each the bar is looked at.
    void pass(double milliseconds) {
        constexpr int pieces = 20;
        for (int i = 0; i < pieces; ++i) {
            now += milliseconds / pieces;
            looks.emplace_back(now, estimate.done());
        }
    }

    // The render of threeSteps, each thing as many times slower as told.
    void run(double first, double second, double third) {
        for (const unsigned int size : {10U, 1U, 4U}) {
            estimate.addSteps(size);
        }
        pass(50.0 * first);
        estimate.beginStep();
        for (int i = 0; i < 10; ++i) {
            pass(20.0 * first);
            estimate.advance(1);
        }
        estimate.endStep();
        estimate.beginStep();
        pass(400.0 * second);
        estimate.advance(1);
        pass(100.0 * second);
        estimate.endStep();
        estimate.beginStep();
        for (const double unit : {100.0, 1.0, 100.0, 1.0}) {
            pass(unit * third);
            estimate.advance(1);
        }
        estimate.endStep();
        pass(48.0 * third);
    }

    // The most that the bar is off from the part of the time that had passed, in percent.
    double worst() const {
        double found = 0.0;
        for (const auto& [time, done] : looks) {
            found = std::max(found, 100.0 * std::abs(done - time / now));
        }
        return found;
    }

    double now = 0.0;
    std::vector<std::pair<double, double>> looks;
    KivProgressEstimate estimate{[this] { return now; }};
};

TEST_F(KivProgressEstimateTest, IsThePartOfTheTimeThatHasPassed) {
    kivSetProgressForecast(threeSteps());
    run(1.0, 1.0, 1.0);
    // Of the gap before the first step nothing is known until it begins: no forecast says when a render starts.
    EXPECT_LE(worst(), 5.5);
}

TEST_F(KivProgressEstimateTest, CountsTheTimeOfPreparationWhereTheBarStandsForIt) {
    kivSetProgressForecast(threeSteps());
    estimate.restart(500.0);
    const double start = now - 500.0;
    looks.clear();
    run(1.0, 1.0, 1.0);
    for (const auto& [time, done] : looks) {
        if (done > 0.0) { // before its first step it has no forecast
            EXPECT_NEAR(done, (time - start) / (now - start), 0.03);
        }
    }
    EXPECT_GT(looks[20].second, 0.33);
}

TEST_F(KivProgressEstimateTest, LearnsHowFastTheMachineIs) {
    kivSetProgressForecast(threeSteps());
    for (const double slowness : {0.5, 2.0, 4.0}) {
        now = 0.0;
        looks.clear();
        estimate.restart();
        run(slowness, slowness, slowness);
        EXPECT_LE(worst(), 17.0) << slowness;
    }
}

TEST_F(KivProgressEstimateTest, BearsStepsThatTakeTwiceOrHalfAsLong) {
    kivSetProgressForecast(threeSteps());
    for (const auto& [first, second, third] :
         {std::array{2.0, 1.0, 1.0}, std::array{1.0, 2.0, 1.0}, std::array{1.0, 1.0, 2.0}, std::array{0.5, 1.0, 1.0},
          std::array{1.0, 0.5, 1.0}, std::array{1.0, 1.0, 0.5}}) {
        now = 0.0;
        looks.clear();
        estimate.restart();
        run(first, second, third);
        EXPECT_LE(worst(), 21.0) << first << ' ' << second << ' ' << third;
    }
}

// The sizes of its steps would say 67 % from the first fourth of the time on.
TEST_F(KivProgressEstimateTest, WithoutAForecastGoesBySizes) {
    run(1.0, 1.0, 1.0);
    EXPECT_GE(worst(), 35.0);
    EXPECT_DOUBLE_EQ(estimate.done(), 1.0);
}

TEST_F(KivProgressEstimateTest, AForecastOfAnotherNumberOfStepsIsNone) {
    KivProgressForecast other = threeSteps();
    other.steps.emplace_back();
    kivSetProgressForecast(other);
    estimate.addSteps(10);
    estimate.addSteps(30);
    EXPECT_EQ(estimate.done(), 0.0);
    estimate.beginStep();
    estimate.advance(5);
    EXPECT_DOUBLE_EQ(estimate.done(), 5.0 / 40.0);
}

TEST_F(KivProgressEstimateTest, MovesWithinALongUnitAndNeverToItsEnd) {
    kivSetProgressForecast(threeSteps());
    for (const unsigned int size : {10U, 1U, 4U}) {
        estimate.addSteps(size);
    }
    estimate.beginStep();
    pass(250.0);
    estimate.endStep();
    estimate.beginStep();
    double former = estimate.done();
    for (int i = 0; i < 100; ++i) {
        pass(100.0); // twenty times as long as forecast
        EXPECT_GT(estimate.done(), former) << i;
        former = estimate.done();
    }
    EXPECT_LT(former, 0.95);
    EXPECT_GT(former, 0.6);
}

TEST_F(KivProgressEstimateTest, AStepThatIsSizedLateCountsByItsSize) {
    KivProgressForecast forecast;
    forecast.steps.resize(2);
    forecast.steps[0].units = 100.0;
    forecast.steps[1].lead = 50.0;
    forecast.steps[1].units = 50.0;
    forecast.steps[1].guess = 1000;
    kivSetProgressForecast(forecast);
    estimate.addSteps(1);
    const int late = estimate.addDeferredStep();
    estimate.beginStep();
    pass(100.0);
    estimate.endStep();
    EXPECT_NEAR(estimate.done(), 0.5, 0.01);
    estimate.restart();
    now = 0.0;
    estimate.restart();
    estimate.addSteps(1);
    EXPECT_EQ(estimate.addDeferredStep(), late);
    estimate.beginStep();
    now = 100.0;
    estimate.endStep();
    estimate.setStepSize(late, 3000);
    estimate.setStepSize(7, 1);
    estimate.setStepSize(-1, 1);
    EXPECT_NEAR(estimate.done(), 0.25, 0.01);
}

// Whatever a render tells, and whatever a forecast says.
TEST_F(KivProgressEstimateTest, GoesForwardsFromNothingToAll) {
    RawRandom random(3);
    for (int round = 0; round < 300; ++round) {
        KivProgressForecast forecast = threeSteps();
        for (KivStepForecast& step : forecast.steps) {
            step.units = random.below(3) * 100.0;
            step.tail = random.below(3) * 100.0;
            step.shares.resize(random.below(4), random.below(2));
        }
        kivSetProgressForecast(forecast);
        estimate.restart();
        for (const unsigned int size : {random.below(5), random.below(5), random.below(5)}) {
            estimate.addSteps(size);
        }
        double former = 0.0;
        for (int call = 0; call < 40; ++call) {
            const unsigned int what = random.below(4);
            what == 0 ? estimate.beginStep() : what == 1 ? estimate.endStep() : estimate.advance(random.below(9));
            now += random.below(50);
            const double done = estimate.done();
            ASSERT_GE(done, former) << "round " << round;
            ASSERT_LE(done, 1.0);
            former = done;
        }
    }
}

} // namespace
