#include "apps/document/drawingjson.h"

#include "apps/document/studiostate.h"
#include "kivrender/platform/kivtext.h"

#include <gtest/gtest.h>

namespace {

// In which nothing has the value that it has in a new document.
DrawingOptions fullOptions() {
    DrawingOptions options;
    options.areas = KivDrawingCollector::Areas::triangles;
    options.textures = KivDrawingCollector::Textures::pictures;
    options.unitsChosen = true;
    options.sheet.page = KivSheet::Page::paper;
    options.sheet.width = 420.0;
    options.sheet.height = 297.5;
    options.sheet.margin = 7.25;
    options.sheet.scale = 0.2;
    options.sheet.modelUnit = 25.4;
    options.sheet.hidden = KivSheet::Hidden::thin;
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        options.sheet.pen[kind] = 0.1 * (kind + 1);
    }
    options.sheet.hiddenPen = 0.18;
    return options;
}

Json written(const Json& json) {
    return Json::parse(json.indented()).value_or(Json());
}

} // namespace

TEST(DrawingJson, OptionsComeBackAsTheyWere) {
    const DrawingOptions read = readDrawingOptions(written(drawingJson(fullOptions())));
    const DrawingOptions full = fullOptions();
    EXPECT_EQ(read.areas, full.areas);
    EXPECT_EQ(read.textures, full.textures);
    EXPECT_TRUE(read.unitsChosen);
    EXPECT_EQ(read.sheet.page, full.sheet.page);
    EXPECT_EQ(read.sheet.width, 420.0);
    EXPECT_EQ(read.sheet.height, 297.5);
    EXPECT_EQ(read.sheet.margin, 7.25);
    EXPECT_EQ(read.sheet.scale, 0.2);
    EXPECT_EQ(read.sheet.modelUnit, 25.4);
    EXPECT_EQ(read.sheet.hidden, full.sheet.hidden);
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        EXPECT_EQ(read.sheet.pen[kind], 0.1 * (kind + 1));
    }
    EXPECT_EQ(read.sheet.hiddenPen, 0.18);
    EXPECT_TRUE(read == full);
    EXPECT_TRUE(readDrawingOptions(Json()) == plainDrawingOptions());
}

TEST(DrawingJson, NumbersAreBroughtIntoTheirRange) {
    const Json strange = JsonObject{{"areas", "cubes"},
                                    {"page", 5},
                                    {"paper", JsonArray{-3.0, 1e300}},
                                    {"margin", -1.0},
                                    {"scale", 1e300},
                                    {"unit", 1e-300},
                                    {"hidden", Json::Array()},
                                    {"pens", JsonObject{{"contour", -1.0}, {"crease", 1e9}, {"hidden", "wide"}}}};
    const DrawingOptions read = readDrawingOptions(strange);
    EXPECT_EQ(read.areas, KivDrawingCollector::Areas::regions);
    EXPECT_EQ(read.sheet.page, KivSheet::Page::picture);
    EXPECT_EQ(read.sheet.width, 1.0);
    EXPECT_EQ(read.sheet.height, 1e5);
    EXPECT_EQ(read.sheet.margin, 0.0);
    EXPECT_EQ(read.sheet.scale, 1e9);
    EXPECT_EQ(read.sheet.modelUnit, 1e-9);
    EXPECT_EQ(read.sheet.hidden, KivSheet::Hidden::none);
    EXPECT_EQ(read.sheet.pen[static_cast<int>(KivStrokeKind::contour)], 0.0);
    EXPECT_EQ(read.sheet.pen[static_cast<int>(KivStrokeKind::crease)], 100.0);
    EXPECT_EQ(read.sheet.hiddenPen, 0.0);
}

TEST(DrawingJson, ADocumentKeepsThem) {
    StudioState state = StudioState::fresh();
    EXPECT_FALSE(state.toJson().contains("drawing")) << "older programs find nothing new";
    state.drawing = fullOptions();
    StudioState read;
    std::wstring why;
    ASSERT_TRUE(read.fromJson(written(state.toJson()), {}, &why)) << kivToUtf8(why);
    EXPECT_TRUE(read.drawing == fullOptions());
    EXPECT_TRUE(read == state);
    state.drawing.sheet.margin = 1.0;
    EXPECT_FALSE(read == state);
}

// Documents of older programs have only the one switch.
TEST(DrawingJson, SimplifiedDrawingsAreOfFaces) {
    StudioState state = StudioState::fresh();
    state.options.setVectorSimplify(true);
    Json json = state.toJson();
    json.remove("drawing");
    StudioState read;
    std::wstring why;
    ASSERT_TRUE(read.fromJson(json, {}, &why));
    EXPECT_EQ(read.drawing.areas, KivDrawingCollector::Areas::faces);
}
