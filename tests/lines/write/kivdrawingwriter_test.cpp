// What holds for all formats.
#include "foreignprogram.h"
#include "sampledrawings.h"

#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr KivDrawingFormat allFormats[] = {KivDrawingFormat::svg, KivDrawingFormat::pdf, KivDrawingFormat::ai,
                                           KivDrawingFormat::eps, KivDrawingFormat::ps,  KivDrawingFormat::dxf,
                                           KivDrawingFormat::hpgl};

KivVectorDrawing largeDrawing() {
    KivVectorDrawing drawing = sampleDrawing();
    for (int i = 0; i < 20000; ++i) {
        const double x = 20.0 + i % 350;
        drawing.strokes.push_back(makeStroke(KivStrokeKind::edge, polylinePath({{x, 20.0 + i % 7}, {x + 3, 200}})));
        drawing.areas.push_back(drawing.areas[0]);
        drawing.areas.back().rings.resize(1);
    }
    return drawing;
}

} // namespace

TEST(KivDrawingWriter, FormatsAreKnownByTheirEndings) {
    KivDrawingFormat format = KivDrawingFormat::svg;
    EXPECT_TRUE(kivDrawingFormatOf("plt", &format));
    EXPECT_EQ(format, KivDrawingFormat::hpgl);
    EXPECT_TRUE(kivDrawingFormatOf("ai", &format));
    EXPECT_EQ(format, KivDrawingFormat::ai);
    EXPECT_FALSE(kivDrawingFormatOf("png", &format));
    EXPECT_FALSE(kivDrawingFormatOf("", &format));
}

TEST(KivDrawingWriter, TheSameDrawingGivesTheSameBytes) {
    for (const KivDrawingFormat format : allFormats) {
        EXPECT_EQ(written(sampleDrawing(), format), written(sampleDrawing(), format));
    }
}

TEST(KivDrawingWriter, ACancelLeavesNoFile) {
    const ForeignFolder folder;
    const KivVectorDrawing drawing = largeDrawing();
    for (const KivDrawingFormat format : allFormats) {
        for (const int last : {0, 1, 5}) {
            int polls = 0;
            const std::wstring path = kivFromUtf8(folder.path("a"));
            EXPECT_EQ(kivWriteDrawing(drawing, KivSheet(), format, path, [&] { return polls++ == last; }),
                      KivDrawingWritten::cancelled);
            EXPECT_FALSE(std::filesystem::exists(folder.path("a")));
        }
    }
}

TEST(KivDrawingWriter, AFailureKeepsTheFormerFileAndSaysWhy) {
    const ForeignFolder folder;
    for (const KivDrawingFormat format : allFormats) {
        kivSetLastError(0);
        EXPECT_EQ(kivWriteDrawing(sampleDrawing(), KivSheet(), format, kivFromUtf8(folder.path("no/a")), {}),
                  KivDrawingWritten::failed);
        EXPECT_EQ(kivGetLastError(), kivErrorFileNotFound);
        if (std::filesystem::exists("/dev/full")) {
            EXPECT_EQ(kivWriteDrawing(sampleDrawing(), KivSheet(), format, L"/dev/full", {}),
                      KivDrawingWritten::failed);
            EXPECT_EQ(kivGetLastError(), kivErrorDiskFull);
        }
    }
    folder.write("a.svg", "former");
    KivSheet sheet = halfScaleSheet();
    sheet.scale = 100.0;
    EXPECT_EQ(kivWriteDrawing(sampleDrawing(), sheet, KivDrawingFormat::svg, kivFromUtf8(folder.path("a.svg")), {}),
              KivDrawingWritten::sheetProblem);
    EXPECT_EQ(folder.read("a.svg"), "former");
    EXPECT_EQ(kivPlaceOnSheet(sampleDrawing(), sheet, KivDrawingFormat::svg).problem, KivSheetProblem::tooLarge);
}

TEST(KivDrawingWriter, AFileHasWhatTheTextHas) {
    const ForeignFolder folder;
    const KivVectorDrawing drawing = largeDrawing();
    for (const KivDrawingFormat format : allFormats) {
        ASSERT_EQ(kivWriteDrawing(drawing, KivSheet(), format, kivFromUtf8(folder.path("a")), {}),
                  KivDrawingWritten::done);
        EXPECT_EQ(folder.read("a"), written(drawing, format));
    }
}

TEST(KivDrawingWriter, BrokenNumbersAreLeftOut) {
    KivVectorDrawing drawing = sampleDrawing();
    const KivVectorDrawing whole = drawing;
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::max()}) {
        drawing.strokes.push_back(makeStroke(KivStrokeKind::contour, polylinePath({{0, 0}, {bad, 10}})));
        drawing.strokes.push_back(makeStroke(KivStrokeKind::contour, polylinePath({{0, 0}, {1, 10}}), 1, false, bad));
        drawing.areas.push_back(drawing.areas[0]);
        drawing.areas.back().rings[1].pieces[0].control[0].y = bad;
        drawing.areas.push_back(drawing.areas[0]);
        drawing.areas.back().opacity = std::numeric_limits<double>::quiet_NaN();
    }
    for (const KivDrawingFormat format : allFormats) {
        EXPECT_EQ(written(drawing, format), written(whole, format));
    }
}
