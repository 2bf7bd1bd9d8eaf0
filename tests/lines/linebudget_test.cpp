#include "kivrender/lines/linebudget.h"

#include "support/pollcounter.h"

#include <gtest/gtest.h>

namespace {

TEST(LineBudget, EndsOnceMoreIsSpentThanIsThere) {
    LineBudget budget(100);
    EXPECT_TRUE(budget.spend(60));
    EXPECT_TRUE(budget.spend(40)) << "the last unit is there to be spent";
    EXPECT_FALSE(budget.isSpent());
    EXPECT_FALSE(budget.spend(1));
    EXPECT_TRUE(budget.isSpent());
    EXPECT_FALSE(budget.spend(0)) << "for good";
    EXPECT_FALSE(budget.isCancelled());
}

TEST(LineBudget, PollsByTheWorkAndNotByTheCalls) {
    PollCounter counter;
    const ScopedProgress shown(counter);
    LineBudget budget(1U << 30U);
    for (int i = 0; i < 1000; ++i) {
        budget.spend(16);
    }
    EXPECT_EQ(counter.polls, 0);
    for (int i = 0; i < 16; ++i) {
        budget.spend(1U << 17U);
    }
    EXPECT_EQ(counter.polls, 8);
}

TEST(LineBudget, ACancelEndsItWithoutItsBeingSpent) {
    PollCounter counter(1);
    const ScopedProgress shown(counter);
    LineBudget budget(1U << 30U);
    EXPECT_FALSE(budget.spend(1U << 20U));
    EXPECT_TRUE(budget.isCancelled());
    EXPECT_FALSE(budget.isSpent());
    EXPECT_FALSE(budget.spend(1));
}

// So much for any scene, and little more than so much for each thing in it: ten times as many have eleven times as
// much at most, so that the promised time grows as the scene does.
TEST(LineBudget, TheAllowanceGrowsLittleFasterThanTheScene) {
    const auto least = static_cast<double>(LineBudget::allowance(0, 1.0));
    EXPECT_EQ(least, 1e9);
    double before = static_cast<double>(LineBudget::allowance(10000, 1.0)) - least;
    EXPECT_GT(before, 10000.0 * 3.0);
    for (const std::size_t count : {100000, 1000000, 10000000}) {
        const double here = static_cast<double>(LineBudget::allowance(count, 1.0)) - least;
        EXPECT_GT(here, 10.0 * before);
        EXPECT_LT(here, 13.0 * before);
        before = here;
    }
    EXPECT_NEAR(static_cast<double>(LineBudget::allowance(5000, 0.25)),
                0.25 * static_cast<double>(LineBudget::allowance(5000, 1.0)), 1.0);
    EXPECT_LT(LineBudget::allowance(100, 1.0, 2e10), 2.1e10);
    EXPECT_GT(LineBudget::allowance(100, 1.0, 2e10), 1.9e10);
}

} // namespace
