#include "kivrender/lines/write/sheetlayout.h"

#include "sampledrawings.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr double pixel = 0.25;

// One line of 100 by 60 pixels in a picture of 400 by 300, half a unit each.
KivVectorDrawing oneLine(double width = 2.0) {
    KivVectorDrawing drawing;
    drawing.width = 400;
    drawing.height = 300;
    drawing.unitsPerPixel = 0.5;
    drawing.objects = {{L""}};
    drawing.strokes = {makeStroke(KivStrokeKind::contour, polylinePath({{100, 120}, {200, 180}}), 0, false, width)};
    return drawing;
}

} // namespace

TEST(SheetLayout, ThePictureKeepsItsFrame) {
    const KivVectorDrawing drawing = oneLine();
    const KivSheet sheet;
    const SheetLayout layout(drawing, sheet, pixel);
    ASSERT_EQ(layout.page().problem, KivSheetProblem::none);
    EXPECT_EQ(layout.page().pageWidth, 100.0);
    EXPECT_EQ(layout.page().pageHeight, 75.0);
    EXPECT_EQ(layout.place({400, 300}).x, 100.0);
    EXPECT_EQ(layout.widthOf(drawing.strokes[0]), 0.5);
}

TEST(SheetLayout, FitIsAsSmallAsWhatIsDrawn) {
    const KivVectorDrawing drawing = oneLine();
    KivSheet sheet;
    sheet.page = KivSheet::Page::fit;
    sheet.margin = 3.0;
    const SheetLayout layout(drawing, sheet, pixel);
    EXPECT_NEAR(layout.page().pageWidth, 25.0 + 0.5 + 6.0, 1e-9);
    EXPECT_NEAR(layout.page().pageHeight, 15.0 + 0.5 + 6.0, 1e-9);
    EXPECT_NEAR(layout.place({100, 120}).x, 3.25, 1e-9);
    EXPECT_NEAR(layout.place({100, 120}).y, 3.25, 1e-9);
}

TEST(SheetLayout, ABackdropCoversASheetAndIsNoPartOfWhatFillsIt) {
    KivVectorDrawing drawing = oneLine();
    KivSheet sheet;
    sheet.page = KivSheet::Page::paper;
    sheet.width = 120;
    sheet.height = 500;
    const SheetLayout without(drawing, sheet, pixel);
    KivArea backdrop;
    backdrop.rings = {polylinePath({{0, 0}, {400, 0}, {400, 300}, {0, 300}}, true)};
    backdrop.isBackdrop = true;
    drawing.areas = {backdrop};
    const SheetLayout layout(drawing, sheet, pixel);
    EXPECT_EQ(layout.page().millimetresPerPixel, without.page().millimetresPerPixel);
    // In the picture's proportions, and larger than the sheet where these are not its own.
    EXPECT_NEAR(layout.place({0, 0}, backdrop).y, 0.0, 1e-9);
    EXPECT_NEAR(layout.place({400, 300}, backdrop).y, 500.0, 1e-9);
    EXPECT_NEAR(layout.place({400, 300}, backdrop).x - layout.place({0, 0}, backdrop).x, 500.0 * 4 / 3, 1e-9);
    EXPECT_NEAR(layout.place({200, 150}, backdrop).x, 60.0, 1e-9);
    drawing.areas[0].isBackdrop = false;
    const SheetLayout area(drawing, sheet, pixel);
    EXPECT_LT(area.page().millimetresPerPixel, without.page().millimetresPerPixel);
    sheet.page = KivSheet::Page::picture;
    const SheetLayout picture(drawing, sheet, pixel);
    EXPECT_EQ(picture.place({400, 300}, backdrop).x, picture.place({400, 300}).x);
}

TEST(SheetLayout, APaperIsFilledUpToItsMargins) {
    const KivVectorDrawing drawing = oneLine();
    KivSheet sheet;
    sheet.page = KivSheet::Page::paper;
    sheet.width = 120;
    sheet.height = 500;
    sheet.margin = 9.0;
    const SheetLayout layout(drawing, sheet, pixel);
    // 102 pixels with the line's width fill 102 millimetres.
    EXPECT_NEAR(layout.page().millimetresPerPixel, 1.0, 1e-9);
    EXPECT_NEAR(layout.place({100, 120}).x, 10.0, 1e-9);
    EXPECT_NEAR((layout.place({100, 120}).y + layout.place({200, 180}).y) / 2, 250.0, 1e-9);
    EXPECT_NEAR(layout.widthOf(drawing.strokes[0]), 2.0, 1e-9);
}

TEST(SheetLayout, AScaleIsTheModelsLengthOnThePaper) {
    const KivVectorDrawing drawing = oneLine();
    KivSheet sheet = halfScaleSheet();
    sheet.modelUnit = 10.0; // centimetres
    const SheetLayout layout(drawing, sheet, pixel);
    ASSERT_EQ(layout.page().problem, KivSheetProblem::tooLarge);
    sheet.modelUnit = 1.0;
    const SheetLayout small(drawing, sheet, pixel);
    ASSERT_EQ(small.page().problem, KivSheetProblem::none);
    // 100 pixels are 50 units.
    EXPECT_NEAR(small.place({200, 0}).x - small.place({100, 0}).x, 25.0, 1e-9);
    EXPECT_EQ(small.page().pageWidth, 210.0);
}

TEST(SheetLayout, LinesAreAsWideAsTheirPens) {
    KivVectorDrawing drawing = oneLine();
    drawing.strokes.push_back(drawing.strokes[0]);
    drawing.strokes[1].hidden = true;
    KivSheet sheet;
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).widthOf(drawing.strokes[1]), 0.25);
    ASSERT_TRUE(kivReadPens("contour=0.7", &sheet));
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).widthOf(drawing.strokes[0]), 0.7);
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).widthOf(drawing.strokes[1]), 0.35);
    sheet.hiddenPen = 0.2;
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).widthOf(drawing.strokes[1]), 0.2);
}

TEST(SheetLayout, HiddenLinesAreLeftOutOrThinOrDashed) {
    KivVectorDrawing drawing = oneLine();
    drawing.strokes[0].hidden = true;
    KivSheet sheet;
    EXPECT_TRUE(SheetLayout(drawing, sheet, pixel).isDashed(drawing.strokes[0]));
    sheet.hidden = KivSheet::Hidden::thin;
    EXPECT_TRUE(SheetLayout(drawing, sheet, pixel).isDrawn(drawing.strokes[0]));
    EXPECT_FALSE(SheetLayout(drawing, sheet, pixel).isDashed(drawing.strokes[0]));
    sheet.hidden = KivSheet::Hidden::none;
    EXPECT_FALSE(SheetLayout(drawing, sheet, pixel).isDrawn(drawing.strokes[0]));
}

TEST(SheetLayout, WhatHasNoPlaceIsNotDrawn) {
    KivVectorDrawing drawing = oneLine();
    const KivSheet sheet;
    const SheetLayout layout(drawing, sheet, pixel);
    KivStroke stroke = drawing.strokes[0];
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e30}) {
        stroke.path = polylinePath({{0, 0}, {1, bad}});
        EXPECT_FALSE(layout.isDrawn(stroke));
        stroke.path = circlePath(0, 0, 1);
        stroke.path.pieces[2].control[1].x = bad;
        EXPECT_FALSE(layout.isDrawn(stroke));
        stroke.path = polylinePath({{0, 0}, {1, 1}});
        EXPECT_TRUE(layout.isDrawn(stroke));
        stroke.width = bad;
        EXPECT_FALSE(layout.isDrawn(stroke));
        stroke.width = 1.0;
    }
    KivArea area;
    EXPECT_FALSE(SheetLayout::isDrawn(area));
    area.rings = {polylinePath({{0, 0}, {1, 0}, {0, 1}}, true)};
    EXPECT_TRUE(SheetLayout::isDrawn(area));
    area.opacity = 0.0;
    EXPECT_FALSE(SheetLayout::isDrawn(area));
}

TEST(SheetLayout, WhatIsImpossibleIsTold) {
    const auto problem = [](const KivVectorDrawing& drawing, const KivSheet& sheet) {
        return SheetLayout(drawing, sheet, pixel).page().problem;
    };
    KivVectorDrawing drawing = oneLine();
    KivSheet sheet = halfScaleSheet();
    drawing.unitsPerPixel = 0.0;
    EXPECT_EQ(problem(drawing, sheet), KivSheetProblem::noScale);
    sheet.scale = 0.0;
    EXPECT_EQ(problem(drawing, sheet), KivSheetProblem::none);
    sheet.margin = 105.0;
    EXPECT_EQ(problem(drawing, sheet), KivSheetProblem::noRoom);
    drawing.unitsPerPixel = 1.0;
    sheet.scale = 1.0;
    EXPECT_EQ(problem(drawing, sheet), KivSheetProblem::noRoom);
    drawing.unitsPerPixel = 1e-300;
    sheet.scale = 1e-100;
    sheet.page = KivSheet::Page::picture;
    EXPECT_EQ(problem(drawing, sheet), KivSheetProblem::impossible);
    drawing.width = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(problem(drawing, KivSheet()), KivSheetProblem::impossible);
}

TEST(SheetLayout, ADrawingOfNothingAndOneOfADotHaveAPlace) {
    KivVectorDrawing drawing = oneLine();
    drawing.strokes[0].path = polylinePath({{100, 100}});
    KivSheet sheet;
    ASSERT_TRUE(kivReadPage("A4", &sheet));
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).page().problem, KivSheetProblem::none);
    ASSERT_TRUE(kivReadPens("all=0.5mm", &sheet));
    const SheetLayout dot(drawing, sheet, pixel);
    EXPECT_EQ(dot.page().problem, KivSheetProblem::none);
    EXPECT_NEAR(dot.place({100, 100}).x, 105.0, 1e-6);
    drawing.strokes.clear();
    EXPECT_EQ(SheetLayout(drawing, sheet, pixel).page().problem, KivSheetProblem::none);
}
