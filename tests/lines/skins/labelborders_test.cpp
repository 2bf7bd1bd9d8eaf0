#include "kivrender/lines/skins/labelborders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

using Border = std::vector<KivPicturePoint>;

// Labels by where a value is above 0 in the middles of samples, and crossings where it is 0.
struct Subject {
    LabelField field;
    std::function<double(double, double)> value;

    std::vector<Border> borders() const {
        std::vector<Border> found;
        const auto crossing = [this](int x, int y, bool isAbove) {
            const double here = value(x + 0.5, y + 0.5);
            const double there = value(x + (isAbove ? 0.5 : 1.5), y + (isAbove ? 1.5 : 0.5));
            return here / (here - there);
        };
        EXPECT_TRUE(findLabelBorders(field, crossing, {0.5, 0.05}, found));
        return found;
    }
};

Subject subjectOf(int width, int height, const std::function<double(double, double)>& value) {
    Subject subject{LabelField(0, 0, width, height), value};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            subject.field.at(x, y) = value(x + 0.5, y + 0.5) > 0.0 ? 1 : 0;
        }
    }
    return subject;
}

TEST(LabelBorders, OfOneLabelAreNone) {
    EXPECT_TRUE(subjectOf(10, 10, [](double, double) { return 1.0; }).borders().empty());
}

TEST(LabelBorders, ARoundOneIsACircle) {
    const auto value = [](double x, double y) { return 8.0 - std::hypot(x - 12.0, y - 11.3); };
    const std::vector<Border> borders = subjectOf(24, 24, value).borders();
    ASSERT_EQ(borders.size(), 1U);
    EXPECT_EQ(borders[0].front().x, borders[0].back().x) << "closed";
    EXPECT_EQ(borders[0].front().y, borders[0].back().y);
    for (const KivPicturePoint& p : borders[0]) {
        EXPECT_NEAR(value(p.x, p.y), 0.0, 0.2);
    }
    EXPECT_LT(borders[0].size(), 60U) << "a curve through a few points and not steps";
}

TEST(LabelBorders, AStraightOneHasItsTwoEndsAlone) {
    const std::vector<Border> borders =
        subjectOf(40, 12, [](double x, double y) { return y - 4.3 - 0.07 * x; }).borders();
    ASSERT_EQ(borders.size(), 1U);
    EXPECT_LE(borders[0].size(), 4U);
    EXPECT_NEAR(std::abs(borders[0].front().x - borders[0].back().x), 39.0, 1.0);
}

// As of a picture whose pixels are two samples large.
TEST(LabelBorders, StepsAreEvenedOut) {
    LabelField field(0, 0, 60, 60);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 60; ++x) {
            field.at(x, y) = x / 2 > y / 2 ? 1 : 0;
        }
    }
    const auto farthest = [&field](double evenness) {
        std::vector<Border> borders;
        EXPECT_TRUE(findLabelBorders(
            field, [](int, int, bool) { return 0.5; }, {evenness, 0.05}, borders));
        double most = 0.0;
        for (const KivPicturePoint& p : borders.at(0)) {
            most = p.x > 10.0 && p.x < 50.0 ? std::max(most, std::abs(p.x - p.y - 1.0)) : most;
        }
        return most;
    };
    EXPECT_GT(farthest(0.0), 0.4);
    EXPECT_LT(farthest(2.0), 0.15);
}

TEST(LabelBorders, ThreeMeetInOnePlace) {
    LabelField field(50, 60, 20, 20);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            field.at(x, y) = y < 10 ? 0 : x < 10 ? 1 : 2;
        }
    }
    std::vector<Border> borders;
    ASSERT_TRUE(findLabelBorders(
        field, [](int, int, bool) { return 0.5; }, {0.5, 0.05}, borders));
    ASSERT_EQ(borders.size(), 3U);
    const auto meets = [](const Border& border) {
        return std::any_of(border.begin(), border.end(),
                           [](const KivPicturePoint& p) { return std::hypot(p.x - 60.0, p.y - 70.0) < 0.4; });
    };
    EXPECT_TRUE(meets(borders[0]) && meets(borders[1]) && meets(borders[2]));
    KivPicturePoint common = borders[0].front();
    if (std::hypot(common.x - 60.0, common.y - 70.0) > 0.5) {
        common = borders[0].back();
    }
    for (const Border& border : borders) {
        const auto isCommon = [&](const KivPicturePoint& p) { return p.x == common.x && p.y == common.y; };
        EXPECT_TRUE(isCommon(border.front()) || isCommon(border.back())) << "the very same place";
    }
}

TEST(LabelBorders, EndWhereThereIsNothing) {
    LabelField field(0, 0, 12, 8);
    for (int y = 2; y < 6; ++y) {
        for (int x = 2; x < 10; ++x) {
            field.at(x, y) = x < 6 ? 3 : 7;
        }
    }
    std::vector<Border> borders;
    ASSERT_TRUE(findLabelBorders(
        field, [](int, int, bool) { return 0.25; }, {0.5, 0.05}, borders));
    ASSERT_EQ(borders.size(), 1U);
    EXPECT_NEAR(borders[0].front().x, 5.75, 1e-9);
    EXPECT_NEAR(std::abs(borders[0].front().y - borders[0].back().y), 3.0, 1e-9);
}

} // namespace
