#include "kivsketchsettings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

KivTablePageSettings pageWith(const std::vector<std::pair<std::string, std::string>>& choices) {
    const KivSettingInfo* table = nullptr;
    const int count = kivSketchTable(&table);
    KivTablePageSettings page(kivSketchSection, table, count);
    for (const auto& [key, text] : choices) {
        EXPECT_TRUE(page.setText(key, text)) << key;
    }
    return page;
}

double widthOf(const KivLineLook& look, KivFeatureKind kind) {
    return look.width[static_cast<int>(kind)];
}

} // namespace

TEST(KivSketchSettings, CreasesAreDrawnLighterThanTheContour) {
    const KivLineLook look = kivSketchLook(pageWith({{"Width", "5"}}));
    EXPECT_DOUBLE_EQ(widthOf(look, KivFeatureKind::silhouette), 5.0);
    EXPECT_DOUBLE_EQ(widthOf(look, KivFeatureKind::border), 5.0);
    EXPECT_DOUBLE_EQ(widthOf(look, KivFeatureKind::crease), 4.0);
    EXPECT_DOUBLE_EQ(look.lineWidth, 5.0);
}

TEST(KivSketchSettings, AWidthOfZeroIsTheMediumsOwn) {
    for (const auto& [name, tool] :
         {std::pair("pencil", KivSketchTool::pencil), std::pair("ink", KivSketchTool::ink),
          std::pair("charcoal", KivSketchTool::charcoal), std::pair("pastel", KivSketchTool::pastel)}) {
        const KivTablePageSettings page = pageWith({{"Medium", name}, {"Width", "0"}});
        EXPECT_EQ(kivSketchStyle(page).tool, tool);
        EXPECT_DOUBLE_EQ(kivSketchStyle(page).width, kivSketchMedium(tool).width) << name;
        EXPECT_DOUBLE_EQ(widthOf(kivSketchLook(page), KivFeatureKind::silhouette), kivSketchMedium(tool).width) << name;
    }
}

TEST(KivSketchSettings, EachSettingArrivesWhereItBelongs) {
    const KivTablePageSettings page = pageWith({{"Colour", "#102030"},
                                                {"Pressure", "40"},
                                                {"Grain", "70"},
                                                {"Wobble", "3"},
                                                {"Overshoot", "9"},
                                                {"Strokes", "4"},
                                                {"StrokeLength", "123"},
                                                {"ShortestLine", "6"},
                                                {"Hidden", "thin"},
                                                {"HatchTone", "45"},
                                                {"HatchSpacing", "8"},
                                                {"HatchAngle", "-30"},
                                                {"HatchDirection", "form"},
                                                {"Seed", "77"}});
    const KivSketchStyle style = kivSketchStyle(page);
    EXPECT_EQ(style.color, 0x302010U);
    EXPECT_DOUBLE_EQ(style.pressure, 0.4);
    EXPECT_DOUBLE_EQ(style.grain, 0.7);
    EXPECT_DOUBLE_EQ(style.wobble, 3.0);
    EXPECT_DOUBLE_EQ(style.overshoot, 9.0);
    EXPECT_EQ(style.strokes, 4);
    EXPECT_DOUBLE_EQ(style.length, 123.0);
    EXPECT_DOUBLE_EQ(style.shortest, 6.0);
    EXPECT_EQ(style.hidden, KivSketchHidden::thin);
    EXPECT_DOUBLE_EQ(style.hatchTone, 0.45);
    EXPECT_DOUBLE_EQ(style.hatchSpacing, 8.0);
    EXPECT_DOUBLE_EQ(style.hatchAngle, -30.0);
    EXPECT_TRUE(style.hatchAroundForm);
    EXPECT_FALSE(kivSketchStyle(pageWith({})).hatchAroundForm);
    EXPECT_EQ(style.seed, 77U);
}

TEST(KivSketchSettings, RulesOfLinesComeFromTheirSettings) {
    const KivLineLook look = kivSketchLook(pageWith({{"CreaseAngle", "33"},
                                                     {"SmoothCreaseAngle", "66"},
                                                     {"CreaseLength", "20"},
                                                     {"RoundedEdges", "3"},
                                                     {"Detail", "2.5"},
                                                     {"ShortestLine", "11"}}));
    EXPECT_DOUBLE_EQ(look.rules.creaseAngle, 33.0);
    EXPECT_DOUBLE_EQ(look.rules.smoothCreaseAngle, 66.0);
    EXPECT_DOUBLE_EQ(look.rules.creaseLength, 0.2);
    EXPECT_DOUBLE_EQ(look.rules.roundedEdges, 3.0);
    EXPECT_DOUBLE_EQ(look.detail, 2.5);
    EXPECT_DOUBLE_EQ(look.shortest, 11.0);
    EXPECT_DOUBLE_EQ(look.smoothing, 0.0);
    for (const auto& [key, rule] :
         {std::pair("Silhouettes", &KivFeatureRules::silhouettes), std::pair("Borders", &KivFeatureRules::borders),
          std::pair("Creases", &KivFeatureRules::creases)}) {
        EXPECT_TRUE(look.rules.*rule) << key;
        EXPECT_FALSE(kivSketchLook(pageWith({{key, "no"}})).rules.*rule) << key;
    }
    EXPECT_TRUE(look.lines);
    EXPECT_FALSE(kivSketchLook(pageWith({{"Lines", "no"}})).lines);
    EXPECT_FALSE(look.hidden);
    EXPECT_TRUE(kivSketchLook(pageWith({{"Hidden", "dashed"}})).hidden);
    EXPECT_TRUE(kivSketchLook(pageWith({{"Hidden", "thin"}})).hidden);
}
