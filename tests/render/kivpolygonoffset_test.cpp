#include "kivrender/render/kivpolygonoffset.h"

#include "kivrender/settings/kivcommonsettings.h"

#include <gtest/gtest.h>

namespace {

double units(int width, int height, bool shadows) {
    KivCommonSettings settings;
    settings.setShadows(shadows);
    return kivPolygonOffsetUnits({width, height}, settings);
}

TEST(KivPolygonOffset, KnownSizesHaveTheirUnits) {
    const struct {
        int side;
        double withShadows;
        double without;
    } rows[] = {
        {600, 13.2, 118.3},   {800, 15.7, 142.3},   {1200, 18.0, 167.0},  {1800, 19.8, 180.6},    {2400, 21.8, 188.7},
        {3000, 21.2, 192.9},  {3600, 21.55, 196.3}, {4200, 21.7, 199.1},  {4800, 22.0, 199.9},    {5400, 22.1, 201.2},
        {6000, 22.15, 202.8}, {6600, 22.2, 203.6},  {7200, 22.36, 204.1}, {7800, 22.45, 204.55},  {8400, 22.55, 205.1},
        {9000, 22.6, 205.7},  {9600, 22.62, 206.1}, {9601, 22.72, 206.2}, {100000, 22.72, 206.2},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(units(row.side, 1, true), row.withShadows) << row.side;
        EXPECT_DOUBLE_EQ(units(row.side, 1, false), row.without) << row.side;
        EXPECT_DOUBLE_EQ(units(1, row.side, false), row.without) << "the longer side counts: " << row.side;
    }
}

TEST(KivPolygonOffset, SmallPicturesHaveTheFirstRow) {
    for (const int side : {599, 1, 0, -5}) {
        EXPECT_DOUBLE_EQ(units(side, side, true), 13.2);
        EXPECT_DOUBLE_EQ(units(side, side, false), 118.3);
    }
}

TEST(KivPolygonOffset, SizesBetweenAreInterpolated) {
    EXPECT_DOUBLE_EQ(units(700, 400, true), (13.2 + 15.7) / 2);
    EXPECT_DOUBLE_EQ(units(900, 1000, false), (142.3 + 167.0) / 2);
    EXPECT_NEAR(units(601, 1, true), 13.2 + (15.7 - 13.2) / 200, 1e-12);
    EXPECT_NEAR(units(2700, 1, true), (21.8 + 21.2) / 2, 1e-12) << "down into the dip";
    EXPECT_NEAR(units(9599, 1, false), 206.1 - (206.1 - 205.7) / 600, 1e-12);
}

TEST(KivPolygonOffset, ARangeGivesSinglePrecision) {
    EXPECT_EQ(kivPolygonOffsetOfRange(1.0, 2.0), 0.0041F);
    EXPECT_EQ(kivPolygonOffsetOfRange(-10.0, 90.0), static_cast<float>(0.41));
    EXPECT_EQ(kivPolygonOffsetOfRange(5.0, 5.0), 0.0F);
    EXPECT_EQ(kivPolygonOffsetOfRange(2.0, 1.0), -0.0041F);
}

} // namespace
