#include "apps/studio/studioprogress.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <vector>

TEST(StudioProgress, StepsCountByTheirSizes) {
    StudioProgress progress;
    EXPECT_EQ(progress.done(), 0.0) << "without steps nothing is divided by nothing";
    progress.addSteps(30);
    progress.addSteps(10);
    const int deferred = progress.addDeferredStep();
    EXPECT_EQ(deferred, 2);
    progress.beginStep();
    progress.advance(15, false);
    EXPECT_DOUBLE_EQ(progress.done(), 15.0 / 40.0);
    progress.setStepSize(deferred, 60);
    EXPECT_DOUBLE_EQ(progress.done(), 15.0 / 100.0);
    progress.endStep();
    EXPECT_DOUBLE_EQ(progress.done(), 0.3) << "a step that ends counts whole, whatever it has said";
    progress.beginStep();
    progress.advance(1000, false);
    EXPECT_DOUBLE_EQ(progress.done(), 0.4) << "and never more than that";
    progress.endStep();
    progress.beginStep();
    progress.endStep();
    EXPECT_DOUBLE_EQ(progress.done(), 1.0);
    progress.setStepSize(-1, 5);
    progress.setStepSize(3, 5);
    EXPECT_DOUBLE_EQ(progress.done(), 1.0) << "steps that are not there";
}

TEST(StudioProgress, ACancelStaysAndStopsThePump) {
    StudioProgress progress;
    int pumped = 0;
    progress.pump = [&] {
        ++pumped;
        progress.cancel();
    };
    EXPECT_TRUE(progress.isCancelled()) << "what the pump lets through may cancel";
    EXPECT_EQ(pumped, 1);
    EXPECT_TRUE(progress.isCancelled());
    EXPECT_EQ(pumped, 1) << "nothing more is let through on the way out";
    EXPECT_TRUE(progress.wasCancelled());
}

TEST(StudioProgress, PollsAreCheap) {
    StudioProgress progress;
    int pumped = 0;
    progress.pump = [&] { ++pumped; };
    QElapsedTimer clock;
    clock.start();
    constexpr int polls = 100000;
    for (int i = 0; i < polls; ++i) {
        ASSERT_FALSE(progress.isCancelled());
    }
    // Every few milliseconds, however often it is asked.
    EXPECT_LE(pumped, clock.elapsed() / 10 + 2);
    EXPECT_GE(pumped, 1);
}

TEST(StudioProgress, TellsStagesAndPictures) {
    StudioProgress progress;
    std::vector<std::wstring> stages;
    int pictures = 0;
    progress.onProgress = [&](double done, const std::wstring& stage) {
        EXPECT_GE(done, 0.0);
        EXPECT_LE(done, 1.0);
        stages.push_back(stage);
    };
    progress.onPicture = [&] { ++pictures; };
    progress.addSteps(2);
    progress.setText(L"Drawing meshes");
    progress.setText(nullptr);
    progress.beginStep();
    progress.advance(1, true);
    progress.advance(1, true);
    progress.endStep();
    ASSERT_GE(stages.size(), 4U);
    EXPECT_EQ(stages[0], L"Drawing meshes");
    EXPECT_EQ(stages[1], L"");
    EXPECT_EQ(pictures, 1) << "a few a second at most";
    progress.advance(1, false);
    EXPECT_EQ(pictures, 1);
}
