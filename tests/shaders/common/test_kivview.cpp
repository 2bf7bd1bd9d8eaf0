#include "kivview.h"

#include "../shapes.h"

#include <gtest/gtest.h>

TEST(KivView, FindsTheEyeOfAPerspectiveCamera) {
    const KivVec eye{3.0, 4.0, 5.0};
    const KivView view = perspectiveView(eye, 0.5, 1.0, 20.0, 100);
    EXPECT_TRUE(view.isPerspective());
    EXPECT_NEAR(kivLength(view.eye() - eye), 0.0, 1e-12);
    EXPECT_NEAR(kivLength(view.toViewer({1.0, 0.0, 0.0}) - (eye - KivVec{1.0, 0.0, 0.0})), 0.0, 1e-12);
}

TEST(KivView, LooksBackAlongTheAxisOfAParallelCamera) {
    const KivView view = parallelView({0.0, 0.0, 10.0}, 2.0, 1.0, 20.0, 100);
    EXPECT_FALSE(view.isPerspective());
    EXPECT_NEAR(kivLength(view.toViewer({5.0, 6.0, 7.0}) - KivVec{0.0, 0.0, 1.0}), 0.0, 1e-12);
}

TEST(KivView, PutsTheTargetInTheMiddle) {
    for (const KivView& view :
         {perspectiveView({3.0, 4.0, 5.0}, 0.5, 1.0, 20.0, 100), parallelView({3.0, 4.0, 5.0}, 2.0, 1.0, 20.0, 100)}) {
        const KivWindowPoint middle = view.window(view.clip({0.0, 0.0, 0.0}));
        EXPECT_NEAR(middle.x, 50.0, 1e-9);
        EXPECT_NEAR(middle.y, 50.0, 1e-9);
        EXPECT_NEAR(view.distance(middle.z), std::sqrt(50.0), 1e-9);
    }
}

TEST(KivView, TurnsDepthBackIntoDistance) {
    std::mt19937 words(7);
    for (int i = 0; i < 1000; ++i) {
        const KivVec eye{signedUnit(words) * 3.0 + 8.0, signedUnit(words), signedUnit(words)};
        const KivVec point{signedUnit(words), signedUnit(words), signedUnit(words)};
        const double expected = kivDot(eye - point, kivUnit(eye));
        for (const KivView& view : {perspectiveView(eye, 0.5, 1.0, 20.0, 64), parallelView(eye, 2.0, 1.0, 20.0, 64)}) {
            EXPECT_NEAR(view.distance(view.window(view.clip(point)).z), expected, 1e-6);
        }
    }
}

TEST(KivView, KnowsTheSizeOfAPixel) {
    // 64 pixels span 1 unit at the near plane, at distance 1, and 10 units at distance 10.
    EXPECT_NEAR(perspectiveView({0.0, 0.0, 8.0}, 0.5, 1.0, 20.0, 64).pixelSize(10.0), 10.0 / 64.0, 1e-12);
    EXPECT_NEAR(parallelView({0.0, 0.0, 8.0}, 2.0, 1.0, 20.0, 64).pixelSize(10.0), 4.0 / 64.0, 1e-12);
}

TEST(KivView, RespectsTheDepthRange) {
    const KivView narrow(lookAtOrigin({0.0, 0.0, 8.0}), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -0.1, 0, 0, 0, -1.1, 1}, 10, 10,
                         0.1, 1.0);
    EXPECT_NEAR(narrow.window(narrow.clip({0.0, 0.0, 7.0})).z, 0.1, 1e-9);
    EXPECT_NEAR(narrow.distance(0.1), 1.0, 1e-9);
}

TEST(KivClipSegment, KeepsWhatIsInsideAndInFront) {
    double from = -1.0;
    double to = -1.0;
    EXPECT_TRUE(kivClipSegment({-0.5, 0.0, 0.0, 1.0}, {0.5, 0.0, 0.0, 1.0}, &from, &to));
    EXPECT_EQ(from, 0.0);
    EXPECT_EQ(to, 1.0);
    EXPECT_TRUE(kivClipSegment({-3.0, 0.0, 0.0, 1.0}, {1.0, 0.0, 0.0, 1.0}, &from, &to));
    EXPECT_DOUBLE_EQ(from, 0.5);
    EXPECT_DOUBLE_EQ(to, 1.0);
    EXPECT_FALSE(kivClipSegment({-3.0, 0.0, 0.0, 1.0}, {-2.0, 0.0, 0.0, 1.0}, &from, &to));
    EXPECT_FALSE(kivClipSegment({0.0, 0.0, -3.0, -1.0}, {0.0, 0.0, -2.0, -1.0}, &from, &to));
}

TEST(KivClipSegment, MatchesPointsTestedOneByOne) {
    std::mt19937 words(11);
    const auto random = [&words] {
        return KivClipPoint{signedUnit(words) * 3, signedUnit(words) * 3, signedUnit(words) * 3, signedUnit(words) * 2};
    };
    for (int i = 0; i < 2000; ++i) {
        const KivClipPoint a = random();
        const KivClipPoint b = random();
        double from = 2.0;
        double to = -1.0;
        const bool found = kivClipSegment(a, b, &from, &to);
        for (int k = 0; k <= 200; ++k) {
            const double t = k / 200.0;
            const KivClipPoint p = kivMix(a, b, t);
            const bool inside = p.w >= std::abs(p.x) && p.w >= std::abs(p.y) && p.w + p.z >= 0.0;
            const bool kept = found && t >= from && t <= to;
            if (inside != kept) {
                // Only rounding at the very ends may differ.
                EXPECT_TRUE(std::abs(t - from) < 1e-9 || std::abs(t - to) < 1e-9) << i << ' ' << t;
            }
        }
    }
}
