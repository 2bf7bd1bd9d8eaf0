// What a sketch makes of single paths: which strokes, in which layer, from which hatching; and how they are drawn.
#include "kivsketchdrawing.h"

#include "../shapes.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivshadedmesh.h"
#include "kivsmoothnormals.h"
#include "support/glsurface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct KivTestAccess {
    using Job = KivSketchDrawing::Job;
    using Layer = KivSketchDrawing::Layer;
    using HatchRun = KivSketchDrawing::HatchRun;

    static void takePath(KivSketchDrawing& drawing, const Job& job, const KivLinePath& path) {
        drawing.takePath(job, path);
    }
    static double plainPart(KivSketchDrawing& drawing, const KivTablePageSettings& page) {
        return drawing.plainPart(page);
    }
    static const std::vector<HatchRun>& hatchRuns(const KivSketchDrawing& drawing) {
        return drawing.hatchRuns;
    }
    static void addHatchRun(KivSketchDrawing& drawing, HatchRun run) {
        drawing.hatchRuns.push_back(std::move(run));
    }
    // What a layer has been given; nothing if nothing.
    static KivSketchMesh strokesIn(const KivSketchDrawing& drawing, Layer layer) {
        for (const auto& batch : drawing.batches) {
            if (batch.layer == layer) {
                return batch.mesh;
            }
        }
        return {};
    }
    static void drawPaths(const KivSketchDrawing& drawing) {
        drawing.drawPaths();
    }
    static void takePoint(KivSketchDrawing& drawing, const Job& job, const KivLinePoint& point) {
        drawing.takePoint(job, point);
    }
    static const KivView& view(const KivSketchDrawing& drawing) {
        return drawing.getView();
    }
};

namespace {

using Job = KivTestAccess::Job;
using Layer = KivTestAccess::Layer;
using Choices = std::vector<std::pair<std::string, std::string>>;

constexpr int pictureSize = 128;
LineBudget polls(std::numeric_limits<std::size_t>::max());

// Everything of a stroke, in numbers.
std::vector<double> numbersOf(const KivSketchMesh& mesh) {
    std::vector<double> numbers;
    for (const KivSketchVertex& v : mesh.vertices) {
        numbers.insert(numbers.end(), {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.along),
                                       static_cast<double>(v.across)});
        numbers.insert(numbers.end(), v.color.begin(), v.color.end());
    }
    numbers.insert(numbers.end(), mesh.indices.begin(), mesh.indices.end());
    return numbers;
}

class SketchDrawing : public testing::Test {
protected:
    SketchDrawing() {
        settings.setAntialias(0);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-2.0, 2.0, -2.0, 2.0, 1.0, 20.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glTranslated(0.0, 0.0, -6.0);
    }

    void choose(const Choices& choices) {
        page = freshPage();
        for (const auto& [key, text] : choices) {
            EXPECT_TRUE(page.setText(key, text)) << key;
        }
    }
    static KivTablePageSettings freshPage() {
        const KivSettingInfo* table = nullptr;
        const int count = kivSketchTable(&table);
        return {kivSketchSection, table, count};
    }
    // Dark to the right.
    static double lightFromTheLeft(const KivVec& /*point*/, const KivVec& normal) {
        return 0.5 - 0.5 * normal.x;
    }
    KivSketchDrawing makeDrawing(bool atFront = false) {
        return KivSketchDrawing(settings, camera, {pictureSize, pictureSize}, channel, atFront, lightFromTheLeft);
    }

    // A line across the picture, 60 pixels long.
    Job lineJob(double width) const {
        Job job;
        job.page = &page;
        job.width = width;
        job.kind = KivFeatureKind::crease;
        const KivVec from{-1.0, 0.1, 0.0};
        const KivVec to{0.875, 0.1, 0.0};
        job.corners = {{{-0.5, 0.05, 0.0, 1.0}, 0, from}, {{0.4375, 0.05, 0.0, 1.0}, 0, to}};
        return job;
    }
    static KivLinePath linePath(double width) {
        KivLinePath path;
        for (int i = 0; i <= 60; ++i) {
            path.points.push_back({32.0F + static_cast<float>(i), 67.0F, static_cast<float>(0.5 * width)});
            path.stations.push_back({0, static_cast<float>(i) / 60.0F});
        }
        path.startsFree = path.endsFree = true;
        return path;
    }
    // The strokes that the hand is expected to make of that path.
    KivSketchMesh strokesOf(const KivSketchDrawing& drawing, const KivLinePath& path, const KivSketchHand& hand,
                            double weight = 1.0, bool free = true) const {
        const KivSketchStyle style = kivSketchStyle(page);
        KivSketchLine line;
        line.startsFree = line.endsFree = free;
        for (std::size_t i = 0; i < path.points.size(); ++i) {
            KivSketchPoint point;
            point.x = static_cast<double>(path.points[i].x);
            point.y = static_cast<double>(path.points[i].y);
            const KivVec from{-1.0, 0.1, 0.0};
            const KivVec to{0.875, 0.1, 0.0};
            point.place = from + (to - from) * static_cast<double>(path.stations[i].part);
            point.unit = KivTestAccess::view(drawing).pixelSize(1.0);
            point.weight = weight;
            line.points.push_back(point);
        }
        KivSketchMesh mesh;
        kivSketchStrokes(line, hand, kivSketchMedium(style.tool), KivSketchNoise(style.seed), mesh, polls);
        return mesh;
    }
    // The hand of a line of full strength, at one pixel of the image for one of the picture.
    KivSketchHand plainHand(double width) const {
        const KivSketchStyle style = kivSketchStyle(page);
        KivSketchHand hand;
        hand.width = width;
        hand.pressure = style.pressure;
        hand.wobble = style.wobble;
        hand.overshoot = style.overshoot;
        hand.strokes = style.strokes;
        hand.length = style.length;
        hand.shortest = style.shortest;
        hand.pixel = 1.0;
        return hand;
    }

    GlSurface surface{pictureSize, pictureSize};
    KivCommonSettings settings;
    KivCamera camera;
    KivShaderCommunication channel;
    KivTablePageSettings page = freshPage();
};

TEST_F(SketchDrawing, ALineIsDrawnWithTheHandOfItsSettings) {
    choose({{"Wobble", "3"}, {"Overshoot", "9"}, {"Strokes", "3"}, {"StrokeLength", "25"}, {"ShortestLine", "4"}});
    KivSketchDrawing drawing = makeDrawing();
    KivTestAccess::takePath(drawing, lineJob(4.0), linePath(4.0));
    const KivSketchMesh expected = strokesOf(drawing, linePath(4.0), plainHand(4.0));
    ASSERT_FALSE(expected.indices.empty());
    EXPECT_EQ(numbersOf(KivTestAccess::strokesIn(drawing, Layer::lines)), numbersOf(expected));
}

// As many pixels of the image as one of the finished picture has.
TEST_F(SketchDrawing, LengthsOfTheHandGrowWithTheAntialias) {
    choose({{"Wobble", "1.5"}, {"Overshoot", "4"}, {"Strokes", "2"}, {"StrokeLength", "13"}, {"ShortestLine", "2"}});
    for (const int level : {0, 1, 2}) {
        SCOPED_TRACE(level);
        settings.setAntialias(level);
        const double pixel = 1 << level;
        KivSketchDrawing drawing = makeDrawing();
        KivTestAccess::takePath(drawing, lineJob(4.0), linePath(4.0));
        KivSketchHand hand = plainHand(4.0);
        for (double* const length : {&hand.wobble, &hand.overshoot, &hand.length, &hand.shortest, &hand.pixel}) {
            *length *= pixel;
        }
        EXPECT_EQ(numbersOf(KivTestAccess::strokesIn(drawing, Layer::lines)),
                  numbersOf(strokesOf(drawing, linePath(4.0), hand)));
    }
}

TEST_F(SketchDrawing, LinesAreTooShortByPixelsOfThePicture) {
    choose({{"ShortestLine", "40"}});
    for (const int level : {0, 1}) {
        settings.setAntialias(level);
        KivSketchDrawing drawing = makeDrawing();
        KivTestAccess::takePath(drawing, lineJob(4.0), linePath(4.0)); // 60 pixels of the image
        EXPECT_EQ(KivTestAccess::strokesIn(drawing, Layer::lines).vertices.empty(), level == 1);
    }
}

TEST_F(SketchDrawing, AHiddenLineIsThinnerPalerAndDrawnOnce) {
    for (const bool dashed : {false, true}) {
        choose({{"Hidden", dashed ? "dashed" : "thin"}, {"Strokes", "3"}, {"Overshoot", "8"}});
        KivSketchDrawing drawing = makeDrawing();
        KivLinePath path = linePath(4.0);
        path.hidden = true;
        KivTestAccess::takePath(drawing, lineJob(4.0), path);
        KivSketchHand hand = plainHand(4.0 * 0.6);
        hand.tone = 0.72;
        hand.strokes = 1;
        hand.overshoot = 0.0;
        hand.dashed = dashed;
        EXPECT_EQ(numbersOf(KivTestAccess::strokesIn(drawing, Layer::hidden)),
                  numbersOf(strokesOf(drawing, path, hand)));
        EXPECT_TRUE(KivTestAccess::strokesIn(drawing, Layer::lines).vertices.empty());
    }
}

class SketchHatching : public SketchDrawing {
protected:
    // A hatching line of one stroke that is pressed by so much all along.
    Job hatchJob(KivSketchDrawing& drawing, float weight) {
        KivTestAccess::addHatchRun(drawing, {{weight, weight}, {0.1F, 0.9F}, 8192 + 5});
        Job job = lineJob(3.0);
        job.mark = static_cast<int>(KivTestAccess::hatchRuns(drawing).size());
        return job;
    }
    static std::unique_ptr<KivMesh> ball() {
        const KivSurface surface = sphereSurface(20, 30);
        auto mesh = std::make_unique<KivMesh>();
        for (const KivVec& p : surface.points) {
            mesh->addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(p.x, p.y, p.z));
        }
        for (const KivSurface::Triangle& t : surface.triangles) {
            mesh->addTriangle(t[0], t[1], t[2]);
        }
        return mesh;
    }
    static void expectRuns(const std::vector<KivTestAccess::HatchRun>& runs,
                           const std::vector<KivSketchHatchLine>& expected) {
        ASSERT_EQ(runs.size(), expected.size());
        for (std::size_t i = 0; i < runs.size(); ++i) {
            EXPECT_EQ(runs[i].plane, expected[i].plane) << i;
            ASSERT_EQ(runs[i].weights.size(), expected[i].points.size()) << i;
            for (std::size_t k = 0; k < runs[i].weights.size(); ++k) {
                EXPECT_EQ(runs[i].weights[k], static_cast<float>(expected[i].points[k].weight)) << i;
                EXPECT_EQ(runs[i].along[k], static_cast<float>(expected[i].points[k].along)) << i;
            }
        }
    }
};

TEST_F(SketchHatching, AStrokeIsSteadierThanALineAndDrawnOnce) {
    choose({{"Wobble", "6"}, {"Overshoot", "9"}, {"Strokes", "3"}, {"StrokeLength", "20"}});
    KivSketchDrawing drawing = makeDrawing();
    const Job job = hatchJob(drawing, 0.5F);
    KivTestAccess::takePath(drawing, job, linePath(3.0));
    KivSketchHand hand = plainHand(3.0);
    hand.wobble *= 0.55;
    hand.overshoot = 0.0;
    hand.strokes = 1;
    hand.length = 0.0;
    hand.tone = 0.84;
    hand.channel = 1000 + 5;
    const KivSketchMesh expected = strokesOf(drawing, linePath(3.0), hand, 0.5, false);
    ASSERT_FALSE(expected.indices.empty());
    EXPECT_EQ(numbersOf(KivTestAccess::strokesIn(drawing, Layer::hatching)), numbersOf(expected));
}

TEST_F(SketchHatching, WhatSomethingHidesIsNotHatched) {
    choose({{"Hidden", "thin"}});
    KivSketchDrawing drawing = makeDrawing();
    const Job job = hatchJob(drawing, 1.0F);
    KivLinePath path = linePath(3.0);
    path.hidden = true;
    KivTestAccess::takePath(drawing, job, path);
    for (const Layer layer : {Layer::hatching, Layer::hidden, Layer::lines}) {
        EXPECT_TRUE(KivTestAccess::strokesIn(drawing, layer).vertices.empty());
    }
    path.hidden = false;
    KivTestAccess::takePath(drawing, job, path);
    EXPECT_FALSE(KivTestAccess::strokesIn(drawing, Layer::hatching).vertices.empty());
}

// The second hatching lies across the first, is paler, and has a seed of its own; both are spaced in pixels of the
// finished picture.
TEST_F(SketchHatching, IsThatOfItsAngleAndOneAcross) {
    choose({{"HatchAngle", "40"}, {"HatchSpacing", "6"}, {"HatchTone", "60"}, {"Seed", "5"}});
    const std::unique_ptr<KivMesh> mesh = ball();
    for (const bool crossed : {false, true}) {
        for (const int level : {0, 1}) {
            SCOPED_TRACE(std::string(crossed ? "crossed" : "single") + " at antialias " + std::to_string(level));
            EXPECT_TRUE(page.setText("CrossHatching", crossed ? "yes" : "no"));
            settings.setAntialias(level);
            KivSketchDrawing drawing = makeDrawing();
            drawing.addMesh(*mesh, 0, page);

            const double pixel = 1 << level;
            const KivView& view = KivTestAccess::view(drawing);
            KivShadedMesh shaded = kivReadShadedMesh(*mesh, kivUsualSmoothAngle);
            kivEvenNormals(shaded.points, shaded.triangles, shaded.normals, kivEvenPasses(shaded, view, 12.0 * pixel));
            KivSketchTones tones(shaded, lightFromTheLeft);
            std::vector<KivSketchHatchLine> expected =
                kivSketchHatch(shaded, view, tones, {6.0 * pixel, 40.0, 0.6, 24.0, 5});
            const std::size_t firstCount = expected.size();
            ASSERT_GT(firstCount, 4U);
            if (crossed) {
                const std::vector<KivSketchHatchLine> across = kivSketchHatch(
                    shaded, view, tones, {6.0 * pixel, 40.0 - 62.0, 0.6 * 0.56, 24.0, kivSketchHash(5, 2)});
                expected.insert(expected.end(), across.begin(), across.end());
                ASSERT_GT(expected.size(), firstCount + 2);
            }
            expectRuns(KivTestAccess::hatchRuns(drawing), expected);
        }
    }
}

TEST_F(SketchHatching, StrokesAreNarrowerThanThoseOfLines) {
    choose({{"Width", "8"}, {"Pressure", "0"}, {"Silhouettes", "no"}, {"Borders", "no"}, {"Creases", "no"}});
    for (const int level : {0, 1}) {
        settings.setAntialias(level);
        KivSketchDrawing drawing = makeDrawing();
        drawing.addMesh(*ball(), 0, page);
        ASSERT_TRUE(drawing.trace());
        const KivSketchMesh strokes = KivTestAccess::strokesIn(drawing, Layer::hatching);
        double widest = 0.0;
        for (std::size_t i = 1; i < strokes.vertices.size(); ++i) {
            const KivSketchVertex& a = strokes.vertices[i - 1];
            const KivSketchVertex& b = strokes.vertices[i];
            if (a.across != b.across && a.along == b.along) {
                widest = std::max(widest, std::hypot(static_cast<double>(b.x - a.x), static_cast<double>(b.y - a.y)));
            }
        }
        EXPECT_NEAR(widest, 8.0 * 0.7 * (1 << level), 0.6 * (1 << level));
    }
}

// A dab of about the stroke's width, pressed all over, however short it is.
TEST_F(SketchDrawing, APointIsADab) {
    choose({{"ShortestLine", "500"}, {"Strokes", "4"}, {"Pressure", "80"}});
    KivSketchDrawing drawing = makeDrawing();
    Job job = lineJob(5.0);
    job.corners.resize(1);
    KivTestAccess::takePoint(drawing, job, {40.0F, 70.0F, 0.0F});
    KivSketchHand hand = plainHand(5.0 * 1.6);
    hand.strokes = 1;
    hand.shortest = 0.0;
    hand.pressure = 0.0;
    KivSketchLine line;
    for (const double side : {-0.5, 0.0, 0.5}) {
        KivSketchPoint point;
        point.x = 40.0 + side * 8.0;
        point.y = 70.0;
        point.place = job.corners[0].place;
        point.unit = KivTestAccess::view(drawing).pixelSize(1.0);
        line.points.push_back(point);
    }
    KivSketchMesh expected;
    kivSketchStrokes(line, hand, kivSketchMedium(KivSketchTool::pencil), KivSketchNoise(1), expected, polls);
    ASSERT_FALSE(expected.indices.empty());
    EXPECT_EQ(numbersOf(KivTestAccess::strokesIn(drawing, Layer::lines)), numbersOf(expected));
}

// Strokes in front of what is drawn later write their depth. Where the grain of the paper leaves little of a stroke
// they must not, or it would stay bare.
TEST_F(SketchDrawing, AtTheFrontOnlyWhatIsClearlyInkedKeepsLaterSurfacesAway) {
    choose({{"Medium", "pencil"}, {"Strokes", "1"}, {"Wobble", "0"}, {"Colour", "#000000"}});
    for (const bool atFront : {true, false}) {
        SCOPED_TRACE(atFront);
        glEnable(GL_DEPTH_TEST);
        glDepthMask(GL_TRUE);
        glClearColor(1.0F, 1.0F, 1.0F, 0.0F);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        KivSketchDrawing drawing = makeDrawing(atFront);
        KivTestAccess::takePath(drawing, lineJob(16.0), linePath(16.0));
        drawing.draw();
        std::vector<float> depths(pictureSize * pictureSize);
        std::vector<std::uint8_t> colours(depths.size() * 4);
        glReadPixels(0, 0, pictureSize, pictureSize, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
        glReadPixels(0, 0, pictureSize, pictureSize, GL_RGBA, GL_UNSIGNED_BYTE, colours.data());
        int kept = 0;
        int faint = 0;
        for (std::size_t i = 0; i < depths.size(); ++i) {
            const double ink = 1.0 - colours[4 * i] / 255.0;
            if (depths[i] < 1.0F) {
                ++kept;
                EXPECT_GT(ink, 0.29);
            }
            faint += ink > 0.02 && ink < 0.28 ? 1 : 0;
        }
        if (atFront) {
            EXPECT_GT(kept, 100);
            EXPECT_EQ(faint, 0) << "what is too faint to stay is not drawn";
        } else {
            EXPECT_EQ(kept, 0);
            EXPECT_GT(faint, 20);
        }
    }
}

TEST_F(SketchDrawing, TheToothOfThePaperIsAsCoarseInEveryPicture) {
    choose({{"Medium", "charcoal"}});
    for (const int level : {0, 1, 2}) {
        settings.setAntialias(level);
        KivSketchDrawing drawing = makeDrawing();
        KivTestAccess::takePath(drawing, lineJob(4.0), linePath(4.0));
        glEnableClientState(GL_VERTEX_ARRAY);
        KivTestAccess::drawPaths(drawing);
        for (const GLenum axis : {GL_S, GL_T}) {
            GLfloat plane[4] = {};
            glGetTexGenfv(axis, GL_OBJECT_PLANE, plane);
            const double texel = kivSketchMedium(KivSketchTool::charcoal).toothSize * (1 << level);
            EXPECT_FLOAT_EQ(plane[axis == GL_S ? 0 : 1], static_cast<float>(1.0 / (kivToothSize * texel)));
            EXPECT_EQ(plane[axis == GL_S ? 1 : 0], 0.0F);
        }
    }
}

// The strokes lie on each other: the second and the third make a plain line of a vector page darker, more do not.
TEST_F(SketchDrawing, PlainLinesAreWiderTheMoreOftenALineIsDrawnOver) {
    settings.setVectorial(true);
    const auto partOf = [this](const char* strokes) {
        choose({{"Medium", "ink"}, {"Strokes", strokes}});
        KivSketchDrawing drawing = makeDrawing();
        return KivTestAccess::plainPart(drawing, page);
    };
    const double once = partOf("1");
    EXPECT_GT(once, 0.5);
    EXPECT_LE(once, 1.0);
    EXPECT_NEAR(partOf("2") / once, 1.3, 1e-9);
    EXPECT_NEAR(partOf("3") / once, 1.6, 1e-9);
    EXPECT_NEAR(partOf("6") / once, 1.6, 1e-9);
}

} // namespace
