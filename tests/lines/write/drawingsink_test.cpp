#include "kivrender/lines/write/drawingsink.h"

#include "support/commalocale.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

TEST(DrawingSink, NumbersAreAsShortAsTheirPlacesAllow) {
    EXPECT_EQ(kivNumberText(0.0), "0");
    EXPECT_EQ(kivNumberText(1.0), "1");
    EXPECT_EQ(kivNumberText(10.0), "10");
    EXPECT_EQ(kivNumberText(1.5), "1.5");
    EXPECT_EQ(kivNumberText(-1.25), "-1.25");
    EXPECT_EQ(kivNumberText(0.001), "0.001");
    EXPECT_EQ(kivNumberText(0.05), "0.05");
    EXPECT_EQ(kivNumberText(1.0006), "1.001");
    EXPECT_EQ(kivNumberText(1.23456, 2), "1.23");
    EXPECT_EQ(kivNumberText(12.6, 0), "13");
    EXPECT_EQ(kivNumberText(1e20), "100000000000000000000");
}

TEST(DrawingSink, WhatIsNextToNothingHasNoSign) {
    EXPECT_EQ(kivNumberText(-0.0), "0");
    EXPECT_EQ(kivNumberText(-0.0004), "0");
    EXPECT_EQ(kivNumberText(-0.0006), "-0.001");
}

TEST(DrawingSink, WhatIsNotFiniteIsNought) {
    EXPECT_EQ(kivNumberText(std::numeric_limits<double>::quiet_NaN()), "0");
    EXPECT_EQ(kivNumberText(-std::numeric_limits<double>::infinity()), "0");
}

TEST(DrawingSink, HandsBlocksOnAndCountsThem) {
    std::string out;
    int blocks = 0;
    DrawingSink sink(
        [&](std::string_view block) {
            out += block;
            ++blocks;
            return true;
        },
        {});
    std::string expected;
    for (int i = 0; i < 30000; ++i) {
        sink << i << ' ';
        expected += std::to_string(i) + " ";
        ASSERT_TRUE(sink.goesOn());
    }
    EXPECT_EQ(sink.size(), expected.size());
    EXPECT_TRUE(sink.finish());
    EXPECT_GT(blocks, 1);
    EXPECT_EQ(out, expected);
}

TEST(DrawingSink, EndsWithACancelAndWithAFullDisk) {
    bool isCancelled = false;
    DrawingSink cancelled([](std::string_view) { return true; }, [&] { return isCancelled; });
    EXPECT_TRUE(cancelled.goesOn());
    isCancelled = true;
    cancelled << std::string(100000, 'x');
    EXPECT_FALSE(cancelled.goesOn());
    EXPECT_TRUE(cancelled.wasCancelled());
    EXPECT_FALSE(cancelled.finish());

    DrawingSink full([](std::string_view) { return false; }, {});
    full << std::string(100000, 'x');
    EXPECT_FALSE(full.goesOn());
    EXPECT_FALSE(full.wasCancelled());
    EXPECT_FALSE(full.finish());
}
