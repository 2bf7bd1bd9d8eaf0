#include "kivrender/lines/skins/labelfield.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

// Digits are labels, points nothing; the bottom row first.
LabelField fieldOf(const std::vector<std::string>& rows) {
    LabelField field(100, 200, static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
    for (int y = 0; y < field.height(); ++y) {
        for (int x = 0; x < field.width(); ++x) {
            const char c = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
            field.at(x, y) = c == '.' ? LabelField::none : static_cast<std::uint8_t>(c - '0');
        }
    }
    return field;
}

std::vector<std::string> rowsOf(const LabelField& field) {
    std::vector<std::string> rows(static_cast<std::size_t>(field.height()));
    for (int y = 0; y < field.height(); ++y) {
        for (int x = 0; x < field.width(); ++x) {
            const std::uint8_t label = field.at(x, y);
            rows[static_cast<std::size_t>(y)] += label == LabelField::none ? '.' : static_cast<char>('0' + label);
        }
    }
    return rows;
}

LabelField::SpeckRules below(double samples) {
    return {samples, 0.0, [](std::uint8_t, std::uint8_t) { return true; }};
}

using Rows = std::vector<std::string>;

TEST(LabelField, SpecksTakeTheLabelAroundThem) {
    LabelField field = fieldOf({"11111111", "11211111", "11113331", "11113331", "44444444"});
    ASSERT_TRUE(field.removeSpecks(below(4)));
    EXPECT_EQ(rowsOf(field), (Rows{"11111111", "11111111", "11113331", "11113331", "44444444"}));
}

TEST(LabelField, SpecksBesideNothingStay) {
    LabelField field = fieldOf({"..11..", "......", "2.3333"});
    ASSERT_TRUE(field.removeSpecks(below(4)));
    EXPECT_EQ(rowsOf(field), (Rows{"..11..", "......", "2.3333"}));
}

TEST(LabelField, ManySpecksTogetherBecomeOneOfThem) {
    LabelField field = fieldOf({"123412", "341234", "123412"});
    ASSERT_TRUE(field.removeSpecks(below(18)));
    const std::string one = rowsOf(field)[0].substr(0, 1);
    EXPECT_EQ(rowsOf(field), Rows(3, one + one + one + one + one + one));
}

TEST(LabelField, RimsBetweenLabelsThatAreAlikeGo) {
    const Rows rim = {"11112333", "11112333", "11112333", "11112333", "11112333", "11112333"};
    const auto after = [&rim](double width, std::uint8_t alike) {
        LabelField field = fieldOf(rim);
        EXPECT_TRUE(field.removeSpecks({1.0, width, [alike](std::uint8_t p, std::uint8_t q) {
                                            return std::max(p, q) == 2 && std::min(p, q) == alike;
                                        }}));
        return rowsOf(field)[0];
    };
    EXPECT_EQ(after(1.5, 1), "11111333");
    EXPECT_EQ(after(0.5, 1), "11112333") << "too wide";
    EXPECT_EQ(after(1.5, 0), "11112333") << "like neither";
}

TEST(LabelField, GrowsByItsMarginAndLeavesWhatItHas) {
    LabelField field = fieldOf({"........", "........", "........", "...12...", "........"});
    ASSERT_TRUE(field.grow());
    EXPECT_EQ(rowsOf(field), (Rows{"...12...", "..1122..", ".111222.", "11112222", ".111222."}));
}

TEST(LabelField, IsAskedInSamplesOfThePicture) {
    const LabelField field = fieldOf({"12", "34"});
    EXPECT_EQ(field.labelAt(100.9, 200.1), 1);
    EXPECT_EQ(field.labelAt(101.0, 200.99), 2);
    EXPECT_EQ(field.labelAt(100.5, 201.5), 3);
    EXPECT_EQ(field.labelAt(99.99, 200.5), LabelField::none);
    EXPECT_EQ(field.labelAt(102.0, 200.5), LabelField::none);
    EXPECT_EQ(field.labelAt(100.5, 202.0), LabelField::none);
}

} // namespace
