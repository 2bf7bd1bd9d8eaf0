#include "support/pollcost.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <ctime>

namespace {

void spend(double milliseconds) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
    };
    const double start = now();
    while (now() - start < milliseconds * PollCost::slowness) {
    }
}

void pollEveryFiveMilliseconds() {
    for (int i = 0; i < 12 && !kivIsCancelled(); ++i) {
        spend(5.0);
    }
}

TEST(PollCost, WorkThatPollsOftenPasses) {
    PollCost::expectAllowed(pollEveryFiveMilliseconds);
}

TEST(PollCost, AGapFails) {
    EXPECT_NONFATAL_FAILURE(PollCost::expectAllowed([] {
                                pollEveryFiveMilliseconds();
                                if (!kivIsCancelled()) {
                                    spend(25.0);
                                }
                            }),
                            "ms of work before poll 14 of 13");
}

TEST(PollCost, AnAnswerThatIsNotHeededFails) {
    EXPECT_NONFATAL_FAILURE(PollCost::expectAllowed([] {
                                for (int i = 0; i < 12 && (!kivIsCancelled() || i < 9); ++i) {
                                    spend(5.0);
                                }
                            }),
                            "ms of work after a cancel at poll 5");
}

TEST(PollCost, TooLittleWorkFails) {
    if (!PollCost::isWorkMeasured) {
        GTEST_SKIP() << "this build does not tell how much work there is";
    }
    EXPECT_NONFATAL_FAILURE(PollCost::expectAllowed([] {
                                for (int i = 0; i < 3 && !kivIsCancelled(); ++i) {
                                    spend(1.0);
                                }
                            }),
                            "too little work to tell");
}

} // namespace
