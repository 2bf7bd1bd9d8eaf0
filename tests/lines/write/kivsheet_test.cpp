#include "kivrender/lines/write/kivsheet.h"

#include "support/commalocale.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr int contour = static_cast<int>(KivStrokeKind::contour);
constexpr int boundary = static_cast<int>(KivStrokeKind::boundary);
constexpr int crease = static_cast<int>(KivStrokeKind::crease);

std::vector<std::string> words(const char* text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string word; stream >> word;) {
        found.push_back(word);
    }
    return found;
}

} // namespace

TEST(KivSheet, PapersHaveTheirSizes) {
    struct Case {
        const char* text;
        double width;
        double height;
    };
    for (const Case& expected :
         {Case{"A4", 210, 297}, Case{"a3", 297, 420}, Case{"A0", 841, 1189}, Case{"Letter", 215.9, 279.4},
          Case{"100x50", 100, 50}, Case{"100x50mm", 100, 50}, Case{"8.5x11in", 215.9, 279.4},
          Case{"72x144pt", 25.4, 50.8}, Case{"21x29.7cm", 210, 297}}) {
        KivSheet sheet;
        ASSERT_TRUE(kivReadPage(expected.text, &sheet)) << expected.text;
        EXPECT_EQ(sheet.page, KivSheet::Page::paper);
        EXPECT_NEAR(sheet.width, expected.width, 1e-9) << expected.text;
        EXPECT_NEAR(sheet.height, expected.height, 1e-9) << expected.text;
    }
    KivSheet sheet;
    ASSERT_TRUE(kivReadPage("fit", &sheet));
    EXPECT_EQ(sheet.page, KivSheet::Page::fit);
    ASSERT_TRUE(kivReadPage("picture", &sheet));
    EXPECT_EQ(sheet.page, KivSheet::Page::picture);
}

TEST(KivSheet, WhatIsNoPaperChangesNothing) {
    for (const char* text : {"", "A7", "A44", "100", "100x", "x100", "0x100mm", "-5x100", "100x100furlong", "1e9x1mm",
                             "nanx1", "100x50mm ", "100 x 50"}) {
        KivSheet sheet;
        EXPECT_FALSE(kivReadPage(text, &sheet)) << text;
        EXPECT_EQ(sheet.page, KivSheet::Page::picture);
        EXPECT_EQ(sheet.width, 210.0);
    }
}

TEST(KivSheet, ScalesAreRatiosOrNumbers) {
    double scale = 0.0;
    EXPECT_TRUE(kivReadScale("1:2", &scale));
    EXPECT_EQ(scale, 0.5);
    EXPECT_TRUE(kivReadScale("5:1", &scale));
    EXPECT_EQ(scale, 5.0);
    EXPECT_TRUE(kivReadScale("0.1", &scale));
    EXPECT_EQ(scale, 0.1);
    for (const char* text : {"", ":", "1:", ":2", "0", "0:1", "1:0", "-1:2", "1:2:3", "inf", "1:1e30", "half"}) {
        EXPECT_FALSE(kivReadScale(text, &scale)) << text;
        EXPECT_EQ(scale, 0.1);
    }
}

TEST(KivSheet, LengthsHaveUnits) {
    double length = 0.0;
    EXPECT_TRUE(kivReadLength("0.5mm", &length));
    EXPECT_EQ(length, 0.5);
    EXPECT_TRUE(kivReadLength("0.5", &length));
    EXPECT_EQ(length, 0.5);
    EXPECT_TRUE(kivReadLength("72pt", &length));
    EXPECT_NEAR(length, 25.4, 1e-12);
    EXPECT_TRUE(kivReadLength("1in", &length));
    EXPECT_EQ(length, 25.4);
    for (const char* text : {"", "mm", "-1mm", "1px", "1 mm", "infmm", "1e308km"}) {
        EXPECT_FALSE(kivReadLength(text, &length)) << text;
    }
    double unit = 0.0;
    EXPECT_TRUE(kivReadUnit("m", &unit));
    EXPECT_EQ(unit, 1000.0);
    EXPECT_FALSE(kivReadUnit("pt", &unit));
}

TEST(KivSheet, PensAreNamedByKind) {
    KivSheet sheet;
    ASSERT_TRUE(kivReadPens("contour=0.7mm,crease=1pt,hidden=0.2", &sheet));
    EXPECT_EQ(sheet.pen[contour], 0.7);
    EXPECT_NEAR(sheet.pen[crease], 25.4 / 72, 1e-12);
    EXPECT_EQ(sheet.pen[boundary], 0.0);
    EXPECT_EQ(sheet.hiddenPen, 0.2);
    ASSERT_TRUE(kivReadPens("all=0.3", &sheet));
    for (const double pen : sheet.pen) {
        EXPECT_EQ(pen, 0.3);
    }
    for (const char* text :
         {"", "contour", "contour=", "=1mm", "outline=1mm", "contour=1mm,", "contour=1mm,crease=x", "contour=101mm"}) {
        EXPECT_FALSE(kivReadPens(text, &sheet)) << text;
        EXPECT_EQ(sheet.pen[contour], 0.3) << text;
    }
}

TEST(KivSheet, LineGroupsAreThoseOfTheNorm) {
    const std::pair<const char*, double> groups[] = {{"0.25", 0.13}, {"0.35", 0.18}, {"0.5", 0.25}, {"0.7", 0.35},
                                                     {"1", 0.5},     {"1.4", 0.7},   {"2", 1.0}};
    for (const auto& [name, narrow] : groups) {
        KivSheet sheet;
        ASSERT_TRUE(kivReadLineGroup(name, &sheet)) << name;
        EXPECT_EQ(sheet.pen[contour], std::stod(name));
        EXPECT_EQ(sheet.pen[boundary], std::stod(name));
        EXPECT_EQ(sheet.pen[crease], narrow);
        EXPECT_EQ(sheet.pen[static_cast<int>(KivStrokeKind::intersection)], narrow);
        EXPECT_EQ(sheet.hiddenPen, narrow);
    }
    KivSheet sheet;
    EXPECT_FALSE(kivReadLineGroup("0.6", &sheet));
    EXPECT_FALSE(kivReadLineGroup("", &sheet));
}

TEST(KivSheet, EveryNameThatIsListedIsRead) {
    KivSheet sheet;
    double unit = 0.0;
    for (const std::string& name : words(kivPageNames())) {
        EXPECT_TRUE(kivReadPage(name, &sheet)) << name;
    }
    for (const std::string& name : words(kivUnitNames())) {
        EXPECT_TRUE(kivReadUnit(name, &unit)) << name;
    }
    for (const std::string& name : words(kivLineGroupNames())) {
        EXPECT_TRUE(kivReadLineGroup(name, &sheet)) << name;
    }
    EXPECT_GE(words(kivPageNames()).size(), 10U);
}

TEST(KivSheet, ACommaInTheLocaleChangesNothing) {
    const CommaLocale locale;
    double scale = 0.0;
    EXPECT_TRUE(kivReadScale("1:2.5", &scale));
    EXPECT_EQ(scale, 0.4);
}
