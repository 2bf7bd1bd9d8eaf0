#include "support/pollcounter.h"

#include "kivrender/vector/pollmeter.h"

#include <gtest/gtest.h>

namespace {

TEST(PollMeter, PollsByCostAndRemembersACancel) {
    PollCounter progress(3);
    const ScopedProgress scope(progress);
    PollMeter poll;
    for (int i = 0; i < 99999; ++i)
        EXPECT_FALSE(poll.isCancelledAfter(1));
    EXPECT_EQ(progress.polls, 0);
    EXPECT_FALSE(poll.isCancelledAfter(1));
    EXPECT_EQ(progress.polls, 1);
    EXPECT_FALSE(poll.isCancelledAfter(500000));
    EXPECT_EQ(progress.polls, 2);
    EXPECT_FALSE(poll.isCancelled());
    EXPECT_TRUE(poll.isCancelledAfter(100000));
    EXPECT_TRUE(poll.isCancelled());
    EXPECT_TRUE(poll.isCancelledAfter(1));
    EXPECT_EQ(progress.polls, 3);
}

} // namespace
