#include "kivrender/platform/kivprocessors.h"

#include "support/oneprocessor.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Processors, AreThoseThatTheThreadMayRunOn) {
    const unsigned int all = kivProcessors();
    EXPECT_GE(all, 1U);
    {
        const OneProcessor alone;
        EXPECT_EQ(kivProcessors(), 1U);
        unsigned int ofAnother = 0;
        std::thread([&ofAnother] { ofAnother = kivProcessors(); }).join();
        EXPECT_EQ(ofAnother, 1U) << "a thread keeps to what the one that began it keeps to";
    }
    EXPECT_EQ(kivProcessors(), all);
}
