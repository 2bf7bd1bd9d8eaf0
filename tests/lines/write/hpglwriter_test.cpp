#include "foreignprogram.h"
#include "sampledrawings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include <gtest/gtest.h>

namespace {

// What a plotter draws: lines in units by their pens.
struct Plot {
    std::map<int, std::vector<std::vector<KivPicturePoint>>> lines;
    double travel = 0.0;
};

Plot plotted(const std::string& hpgl) {
    Plot plot;
    int pen = 0;
    KivPicturePoint at;
    EXPECT_TRUE(hpgl.starts_with("IN;"));
    std::size_t to = 0;
    for (std::size_t from = 0; (to = hpgl.find(';', from)) != std::string::npos;) {
        std::string word = hpgl.substr(from, to - from);
        word.erase(0, word.find_first_not_of('\n') == std::string::npos ? word.size() : word.find_first_not_of('\n'));
        from = to + 1;
        const std::string name = word.substr(0, 2);
        std::vector<double> numbers;
        const char* text = word.c_str() + std::min<std::size_t>(2, word.size());
        for (char* end = nullptr; *text != '\0'; text = *end == ',' ? end + 1 : end) {
            numbers.push_back(std::strtod(text, &end));
            if (end == text) {
                ADD_FAILURE() << "no number in " << word;
                return plot;
            }
        }
        if (name == "SP") {
            pen = static_cast<int>(numbers.at(0));
        } else if (name == "PU" && numbers.size() == 2) {
            plot.travel += std::hypot(numbers[0] - at.x, numbers[1] - at.y);
            at = {numbers[0], numbers[1]};
            plot.lines[pen].push_back({at});
        } else if (name == "PD") {
            for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
                at = {numbers[i], numbers[i + 1]};
                plot.lines[pen].back().push_back(at);
            }
        }
    }
    return plot;
}

} // namespace

TEST(HpglWriter, EachKindHasItsPen) {
    const Plot plot = plotted(written(sampleDrawing(), KivDrawingFormat::hpgl, halfScaleSheet()));
    EXPECT_EQ(plot.lines.at(1).size(), 2U); // contours
    EXPECT_EQ(plot.lines.at(3).size(), 1U); // the crease
    EXPECT_EQ(plot.lines.at(7).size(), 1U); // a point of the scene
    EXPECT_GT(plot.lines.at(8).size(), 5U); // dashes of what is hidden
    EXPECT_EQ(plot.lines.size(), 4U);
    // No plotter has more than eight.
    KivVectorDrawing drawing = sampleDrawing();
    for (int kind = 0; kind < kivStrokeKinds; ++kind) {
        drawing.strokes.push_back(drawing.strokes[0]);
        drawing.strokes.back().kind = static_cast<KivStrokeKind>(kind);
    }
    const Plot all = plotted(written(drawing, KivDrawingFormat::hpgl));
    EXPECT_EQ(all.lines.size(), 8U);
    EXPECT_EQ(all.lines.rbegin()->first, 8);
}

// Plotters hold eight pens.
TEST(HpglWriter, TangentEdgesHaveThePenOfEdges) {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.strokes.resize(2);
    drawing.strokes[0].kind = KivStrokeKind::edge;
    drawing.strokes[1].kind = KivStrokeKind::tangent;
    const Plot plot = plotted(written(drawing, KivDrawingFormat::hpgl, halfScaleSheet()));
    EXPECT_EQ(plot.lines.size(), 1U);
    EXPECT_EQ(plot.lines.at(4).size(), 2U);
}

TEST(HpglWriter, TrueToScaleInFortiethsOfAMillimetre) {
    const Plot plot = plotted(written(sampleDrawing(), KivDrawingFormat::hpgl, halfScaleSheet()));
    for (const auto& line : plot.lines.at(1)) {
        if (line.size() != 5) {
            continue; // the ring
        }
        // 100 units of the model, half of that on the paper.
        EXPECT_EQ(std::fabs(line[1].x - line[0].x) + std::fabs(line[1].y - line[0].y), 50.0 * 40.0);
        EXPECT_EQ(line.front().x, line.back().x);
    }
    const std::vector<KivPicturePoint>& crease = plot.lines.at(3).front();
    for (const KivPicturePoint& p : crease) {
        // A circle of 40 pixels around the middle of the plate.
        EXPECT_NEAR(std::hypot(p.x - crease[0].x + 400, p.y - crease[0].y), 400.0, 1.5);
    }
    EXPECT_GT(crease.size(), 30U);
}

TEST(HpglWriter, DashesHaveTheLengthsOfTheNorm) {
    KivSheet sheet = halfScaleSheet();
    ASSERT_TRUE(kivReadPens("hidden=0.25", &sheet));
    const Plot plot = plotted(written(sampleDrawing(), KivDrawingFormat::hpgl, sheet));
    double drawn = 0.0;
    for (const auto& dash : plot.lines.at(8)) {
        const double length = std::hypot(dash.back().x - dash.front().x, dash.back().y - dash.front().y);
        EXPECT_LE(length, 12 * 0.25 * 40 + 1);
        drawn += length;
    }
    // Four fifths of 180 pixels of a quarter of a millimetre.
    EXPECT_NEAR(drawn, 0.8 * 180 * 0.25 * 40, 60);
}

TEST(HpglWriter, AreasAreDrawnIfTheyAreAskedFor) {
    KivSheet sheet = halfScaleSheet();
    sheet.outlinesAreas = true;
    EXPECT_EQ(plotted(written(sampleDrawing(), KivDrawingFormat::hpgl, sheet)).lines.at(7).size(), 3U);
}

TEST(HpglWriter, ThePenTravelsLittle) {
    KivVectorDrawing drawing = sampleDrawing();
    drawing.strokes.clear();
    // Columns of strokes, as a renderer may give them: from one side to the other and back.
    for (int i = 0; i < 100; ++i) {
        const double x = (i % 2 == 0 ? 10.0 + i : 390.0 - i);
        drawing.strokes.push_back(makeStroke(KivStrokeKind::contour, polylinePath({{x, 10}, {x, 290}})));
    }
    const Plot plot = plotted(written(drawing, KivDrawingFormat::hpgl));
    EXPECT_EQ(plot.lines.at(1).size(), 100U);
    // Across the picture once; each stroke in its turn would be a hundred times that.
    EXPECT_LT(plot.travel, 3.0 * 400.0 * 25.4 / 96.0 * 40.0);
}

TEST(HpglWriter, LongLinesAreCutIntoInstructions) {
    KivVectorDrawing drawing = sampleDrawing();
    KivCurvePath path = polylinePath({{0, 0}});
    for (int i = 1; i <= 1000; ++i) {
        path.pieces.push_back({KivCurvePiece::Kind::line, {}, {i * 0.4, 100.0 + 50 * (i % 2)}});
    }
    drawing.strokes = {makeStroke(KivStrokeKind::contour, path)};
    const std::string hpgl = written(drawing, KivDrawingFormat::hpgl);
    EXPECT_EQ(plotted(hpgl).lines.at(1).at(0).size(), 1001U);
    std::size_t longest = 0;
    for (std::size_t from = 0, to = 0; (to = hpgl.find(';', from)) != std::string::npos; from = to + 1) {
        longest = std::max(longest, to - from);
    }
    EXPECT_LT(longest, 1000U);
}

TEST(HpglWriter, CirclesAndTheirArcsAreSuch) {
    const std::string hpgl = written(arcDrawing(), KivDrawingFormat::hpgl, halfScaleSheet());
    // A quarter of a millimetre a pixel, forty units a millimetre.
    EXPECT_NE(hpgl.find("PU3375,5349;CI400,5;"), std::string::npos) << hpgl;
    EXPECT_NE(hpgl.find("PU3375,6249;PD;AA3375,6549,120,5;"), std::string::npos) << "from the nearer end: " << hpgl;
    EXPECT_NE(hpgl.find("PU3721,6749;PD;AA3375,6549,120,5;"), std::string::npos) << hpgl;
    EXPECT_EQ(std::count(hpgl.begin(), hpgl.end(), 'A'), 4) << "two arcs; ellipses are lines";
    KivVectorDrawing hidden = arcDrawing();
    hidden.strokes.resize(1);
    hidden.strokes[0].hidden = true;
    EXPECT_EQ(written(hidden, KivDrawingFormat::hpgl).find("CI"), std::string::npos) << "dashes are lines";
}

// The way of the pen as hp2xx follows it, by arcs and by the lines in their place.
TEST(HpglWriter, Hp2xxDrawsArcsWhereTheirLinesAre) {
    SKIP_WITHOUT("hp2xx");
    const ForeignFolder folder;
    KivVectorDrawing drawing = arcDrawing();
    std::vector<std::array<int, 4>> bounds;
    for (const char* name : {"arcs", "lines"}) {
        for (std::size_t i = 0; i < drawing.strokes.size(); ++i) {
            KivVectorDrawing one = drawing;
            one.strokes = {drawing.strokes[i]};
            const std::string file = folder.write(name, written(one, KivDrawingFormat::hpgl, halfScaleSheet()));
            const std::string eps = folder.path(std::string(name) + ".eps");
            ASSERT_EQ(runForeign("hp2xx -t -m eps -f " + eps + " -p 11111111 " + file).status, 0);
            const std::string text = folder.read(std::string(name) + ".eps");
            const std::size_t box = text.find("%%BoundingBox:");
            ASSERT_NE(box, std::string::npos);
            std::array<int, 4>& found = bounds.emplace_back();
            ASSERT_EQ(std::sscanf(text.c_str() + box, "%%%%BoundingBox: %d %d %d %d", &found[0], &found[1], &found[2],
                                  &found[3]),
                      4);
        }
        std::for_each(drawing.strokes.begin(), drawing.strokes.end(), [](KivStroke& stroke) { stroke.arc.reset(); });
    }
    for (std::size_t i = 0; i < drawing.strokes.size(); ++i) {
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(bounds[i][k], bounds[i + drawing.strokes.size()][k], 1) << i << ' ' << k;
        }
    }
}

TEST(HpglWriter, Hp2xxReadsIt) {
    SKIP_WITHOUT("hp2xx");
    const ForeignFolder folder;
    const std::string file = folder.write("a.hpgl", written(sampleDrawing(), KivDrawingFormat::hpgl, halfScaleSheet()));
    const ForeignOutcome outcome = runForeign("hp2xx -t -m eps -f " + folder.path("a.eps") + " -p 11111111 " + file);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.out.find("nknown"), std::string::npos) << outcome.out;
    const std::string eps = folder.read("a.eps");
    int left = 0;
    int bottom = 0;
    int right = 0;
    int top = 0;
    const std::size_t box = eps.find("%%BoundingBox:");
    ASSERT_NE(box, std::string::npos);
    ASSERT_EQ(std::sscanf(eps.c_str() + box, "%%%%BoundingBox: %d %d %d %d", &left, &bottom, &right, &top), 4);
    // 340 by 230 pixels of a quarter of a millimetre, at their true size.
    EXPECT_NEAR(right - left, 85 * 72 / 25.4, 4);
    EXPECT_NEAR(top - bottom, 57.5 * 72 / 25.4, 4);
}
