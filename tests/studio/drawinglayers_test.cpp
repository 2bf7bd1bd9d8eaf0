#include "apps/studio/drawinglayers.h"

#include <gtest/gtest.h>

namespace {

// Two objects: a contour, a hidden crease and an area each.
KivVectorDrawing sample() {
    KivVectorDrawing drawing;
    drawing.width = 100.0;
    drawing.height = 50.0;
    drawing.unitsPerPixel = 0.5;
    drawing.areaRim = 0.25;
    drawing.title = L"sample";
    drawing.objects = {{}, {L"a"}, {L"b"}};
    for (const std::uint32_t object : {1U, 2U}) {
        KivStroke stroke;
        stroke.object = object;
        drawing.strokes.push_back(stroke);
        stroke.kind = KivStrokeKind::crease;
        stroke.hidden = true;
        drawing.strokes.push_back(stroke);
        drawing.areas.push_back({object, 0x0000FF, 1.0, {}, {}});
    }
    return drawing;
}

} // namespace

TEST(DrawingLayers, AllIsShownAtFirst) {
    const KivVectorDrawing whole = shownPart(sample(), {});
    EXPECT_EQ(whole.strokes.size(), 4U);
    EXPECT_EQ(whole.areas.size(), 2U);
    EXPECT_EQ(whole.objects.size(), 3U);
    EXPECT_EQ(whole.width, 100.0);
    EXPECT_EQ(whole.height, 50.0);
    EXPECT_EQ(whole.unitsPerPixel, 0.5);
    EXPECT_EQ(whole.areaRim, 0.25);
    EXPECT_EQ(whole.title, L"sample");
}

TEST(DrawingLayers, EachKindGoesByItself) {
    DrawingLayers layers;
    layers.kinds[static_cast<std::size_t>(KivStrokeKind::contour)] = true;
    KivVectorDrawing part = shownPart(sample(), layers);
    ASSERT_EQ(part.strokes.size(), 2U);
    EXPECT_EQ(part.strokes[0].kind, KivStrokeKind::crease);
    EXPECT_EQ(part.areas.size(), 2U);

    layers = {};
    layers.kinds[areaLayer] = true;
    part = shownPart(sample(), layers);
    EXPECT_EQ(part.strokes.size(), 4U);
    EXPECT_TRUE(part.areas.empty());

    layers = {};
    layers.kinds[hiddenLayer] = true;
    part = shownPart(sample(), layers);
    ASSERT_EQ(part.strokes.size(), 2U);
    EXPECT_FALSE(part.strokes[0].hidden);
}

TEST(DrawingLayers, AnObjectGoesWithItsLinesAndAreas) {
    DrawingLayers layers;
    layers.objects = {1};
    const KivVectorDrawing part = shownPart(sample(), layers);
    ASSERT_EQ(part.strokes.size(), 2U);
    EXPECT_EQ(part.strokes[0].object, 2U);
    ASSERT_EQ(part.areas.size(), 1U);
    EXPECT_EQ(part.areas[0].object, 2U);
    EXPECT_EQ(part.objects.size(), 3U) << "the numbers of the others stay theirs";
}

TEST(DrawingLayers, TheContentIsCounted) {
    const DrawingContent content(sample());
    EXPECT_EQ(content.kinds[static_cast<std::size_t>(KivStrokeKind::contour)], 2U);
    EXPECT_EQ(content.kinds[static_cast<std::size_t>(KivStrokeKind::crease)], 2U);
    EXPECT_EQ(content.kinds[static_cast<std::size_t>(KivStrokeKind::boundary)], 0U);
    EXPECT_EQ(content.kinds[hiddenLayer], 2U);
    EXPECT_EQ(content.kinds[areaLayer], 2U);
    EXPECT_EQ(content.objects, (std::vector<std::size_t>{0, 3, 3}));
}
