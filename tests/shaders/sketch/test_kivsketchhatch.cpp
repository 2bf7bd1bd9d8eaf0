#include "kivsketchhatch.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

KivShadedMesh shadedOf(const KivSurface& surface, bool flat = false) {
    KivShadedMesh mesh;
    mesh.triangles = surface.triangles;
    mesh.points = surface.points;
    for (const KivVec& p : surface.points) {
        mesh.normals.push_back(flat ? KivVec{0.0, 0.0, 1.0} : kivUnit(p));
    }
    mesh.windings.assign(mesh.triangles.size(), 1);
    return mesh;
}

// A square sheet in the plane z = 0 of so many cells a side, over [-1, 1], turned about the y axis.
KivShadedMesh sheetOf(int cells, double turn = 0.0) {
    KivSurface s;
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) {
            const double x = 2.0 * i / cells - 1.0;
            s.points.push_back({x * std::cos(turn), 2.0 * j / cells - 1.0, -x * std::sin(turn)});
        }
    }
    const auto at = [cells](int i, int j) { return static_cast<std::uint32_t>(j * (cells + 1) + i); };
    for (int j = 0; j < cells; ++j) {
        for (int i = 0; i < cells; ++i) {
            s.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            s.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
    KivShadedMesh mesh = shadedOf(s, true);
    for (KivVec& n : mesh.normals) {
        n = {std::sin(turn), 0.0, std::cos(turn)};
    }
    return mesh;
}

double fromTheRight(const KivVec&, const KivVec& normal) {
    return 0.5 + 0.5 * normal.x;
}

double darkness(const KivVec&, const KivVec&) {
    return 0.0;
}

std::vector<KivSketchHatchLine> hatch(const KivShadedMesh& mesh, const KivView& view, const KivSketchHatching& wanted,
                                      const KivSketchLight& light = darkness) {
    KivSketchTones tones(mesh, light);
    return kivSketchHatch(mesh, view, tones, wanted);
}

// The distances of lines that cross the segment between two places in the picture.
std::vector<double> gapsAlong(const std::vector<KivSketchHatchLine>& lines, const KivView& view, double x0, double y0,
                              double x1, double y1) {
    std::vector<double> places;
    const double length = std::hypot(x1 - x0, y1 - y0);
    for (const KivSketchHatchLine& line : lines) {
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            if (line.points[i].weight < 0.2 || line.points[i + 1].weight < 0.2) {
                continue;
            }
            const KivWindowPoint a = view.window(view.clip(line.points[i].place));
            const KivWindowPoint b = view.window(view.clip(line.points[i + 1].place));
            const auto side = [&](const KivWindowPoint& p) {
                return ((p.x - x0) * (y1 - y0) - (p.y - y0) * (x1 - x0)) / length;
            };
            if ((side(a) >= 0.0) != (side(b) >= 0.0)) {
                const double t = side(a) / (side(a) - side(b));
                const double x = a.x + (b.x - a.x) * t;
                const double y = a.y + (b.y - a.y) * t;
                const double at = ((x - x0) * (x1 - x0) + (y - y0) * (y1 - y0)) / length;
                if (at > 0.0 && at < length) {
                    places.push_back(at);
                }
            }
        }
    }
    std::sort(places.begin(), places.end());
    std::vector<double> gaps;
    for (std::size_t i = 1; i < places.size(); ++i) {
        gaps.push_back(places[i] - places[i - 1]);
    }
    return gaps;
}

} // namespace

TEST(KivSketchHatch, RunsStraightAndEvenlyOverAFlatSheet) {
    const KivView view = parallelView({0.0, 0.0, 5.0}, 1.2, 1.0, 40.0, 400);
    KivSketchHatching wanted;
    wanted.spacing = 12.0;
    for (const double angle : {0.0, 30.0, 90.0, -52.0}) {
        wanted.angle = angle;
        const std::vector<KivSketchHatchLine> lines = hatch(sheetOf(10), view, wanted);
        ASSERT_GT(lines.size(), 15U);
        const double radians = angle * std::numbers::pi / 180.0;
        for (const KivSketchHatchLine& line : lines) {
            const KivWindowPoint a = view.window(view.clip(line.points.front().place));
            for (const KivSketchHatchPoint& p : line.points) {
                const KivWindowPoint b = view.window(view.clip(p.place));
                EXPECT_NEAR((b.x - a.x) * std::sin(radians) - (b.y - a.y) * std::cos(radians), 0.0, 0.01);
            }
        }
        // Across the lines through the middle.
        const double dx = -std::sin(radians) * 120.0;
        const double dy = std::cos(radians) * 120.0;
        for (const double gap : gapsAlong(lines, view, 200.0 - dx, 200.0 - dy, 200.0 + dx, 200.0 + dy)) {
            EXPECT_GT(gap, wanted.spacing * 0.64);
            EXPECT_LT(gap, wanted.spacing * 1.56);
        }
    }
}

TEST(KivSketchHatch, KeepsItsDistanceOnSlopes) {
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.3, 1.0, 40.0, 400);
    KivSketchHatching wanted;
    wanted.spacing = 10.0;
    wanted.angle = 90.0;
    for (const double turn : {-1.2, -0.7, 0.0, 0.4, 0.9, 1.3}) {
        const std::vector<KivSketchHatchLine> lines = hatch(sheetOf(24, turn), view, wanted);
        const std::vector<double> gaps = gapsAlong(lines, view, 5.0, 200.0, 395.0, 200.0);
        ASSERT_GT(gaps.size(), 3U) << turn;
        int odd = 0;
        for (const double gap : gaps) {
            odd += gap < wanted.spacing * 0.5 || gap > wanted.spacing * 2.2;
        }
        EXPECT_LE(odd, 2 + static_cast<int>(gaps.size()) / 10) << turn;
    }
}

TEST(KivSketchHatch, StaysOnTheSurfaceAndInTheDark) {
    const KivShadedMesh sphere = shadedOf(sphereSurface(40, 60));
    for (const bool perspective : {true, false}) {
        const KivVec eye = {1.0, 1.0, 4.0};
        const KivView view =
            perspective ? perspectiveView(eye, 0.35, 1.0, 40.0, 400) : parallelView(eye, 1.2, 1.0, 40.0, 400);
        KivSketchHatching wanted;
        wanted.spacing = 8.0;
        wanted.tone = 0.4;
        const std::vector<KivSketchHatchLine> lines = hatch(sphere, view, wanted, fromTheRight);
        ASSERT_GT(lines.size(), 10U);
        for (const KivSketchHatchLine& line : lines) {
            for (const KivSketchHatchPoint& p : line.points) {
                EXPECT_NEAR(kivLength(p.place), 1.0, 0.01);
                // The far half shows its inner side, which is lit as it is seen. A point without weight may lie just
                // beyond: there the line ends.
                const double facing = kivDot(p.place, kivUnit(view.toViewer(p.place)));
                if (std::abs(facing) > 0.12) {
                    EXPECT_LT(fromTheRight(p.place, p.place * (facing > 0.0 ? 1.0 : -1.0)), wanted.tone * 1.1 + 0.06);
                }
                EXPECT_GE(p.weight, 0.0);
                EXPECT_LE(p.weight, 1.0);
            }
        }
    }
}

TEST(KivSketchHatch, GrowsDarkerAwayFromTheLight) {
    const KivShadedMesh sphere = shadedOf(sphereSurface(40, 60));
    const KivView view = parallelView({0.0, 0.0, 5.0}, 1.2, 1.0, 40.0, 400);
    KivSketchHatching wanted;
    wanted.spacing = 8.0;
    wanted.tone = 0.5;
    double nearSum = 0.0;
    double farSum = 0.0;
    int nearCount = 0;
    int farCount = 0;
    for (const KivSketchHatchLine& line : hatch(sphere, view, wanted, fromTheRight)) {
        for (const KivSketchHatchPoint& p : line.points) {
            if (p.place.z < 0.5 || p.weight <= 0.0) {
                continue; // near the outline lines fade as they crowd
            }
            (p.place.x < -0.5 ? farSum : nearSum) += p.weight;
            ++(p.place.x < -0.5 ? farCount : nearCount);
        }
    }
    ASSERT_GT(nearCount, 20);
    ASSERT_GT(farCount, 20);
    EXPECT_GT(farSum / farCount, nearSum / nearCount * 1.2);
}

TEST(KivSketchHatch, JoinsLinesOverTriangles) {
    const KivView view = parallelView({0.0, 0.0, 5.0}, 1.2, 1.0, 40.0, 400);
    KivSketchHatching wanted;
    wanted.spacing = 20.0;
    wanted.angle = 0.0;
    for (const KivSketchHatchLine& line : hatch(sheetOf(30), view, wanted)) {
        EXPECT_NEAR(std::abs(line.points.back().place.x - line.points.front().place.x), 2.0, 1e-6);
        EXPECT_GE(line.points.size(), 31U);
    }
}

TEST(KivSketchHatch, KeepsItsLinesWhenTheCameraComesNearer) {
    // Until the lattice changes its distance its planes stand still, and then every second one stays.
    const KivShadedMesh sheet = sheetOf(10);
    KivSketchHatching wanted;
    wanted.spacing = 12.0;
    wanted.angle = 0.0;
    const auto places = [&](double side) {
        std::vector<std::pair<double, std::uint32_t>> result;
        for (const KivSketchHatchLine& line :
             hatch(sheet, parallelView({0.0, 0.0, 5.0}, side, 1.0, 40.0, 400), wanted)) {
            result.emplace_back(line.points.front().place.y, line.plane);
        }
        std::sort(result.begin(), result.end());
        return result;
    };
    for (double side = 0.6; side < 2.4; side *= 1.01) {
        const auto before = places(side);
        const auto after = places(side * 1.01);
        const auto& few = before.size() < after.size() ? before : after;
        const auto& many = before.size() < after.size() ? after : before;
        for (const auto& [y, plane] : few) {
            const auto found = std::find_if(many.begin(), many.end(), [&](const auto& other) {
                return std::abs(other.first - y) < 1e-9 && other.second == plane;
            });
            EXPECT_NE(found, many.end()) << "at " << y << " of a view of " << side;
        }
    }
}

TEST(KivSketchHatch, LooksAtTheSideThatIsSeen) {
    // The sheet from behind, its light on the other side.
    const KivShadedMesh sheet = sheetOf(6);
    const auto fromBehind = [](const KivVec&, const KivVec& normal) { return normal.z < 0.0 ? 1.0 : 0.0; };
    KivSketchHatching wanted;
    wanted.spacing = 12.0;
    EXPECT_TRUE(hatch(sheet, parallelView({0.0, 0.1, -5.0}, 1.2, 1.0, 40.0, 400), wanted, fromBehind).empty());
    EXPECT_FALSE(hatch(sheet, parallelView({0.0, 0.1, 5.0}, 1.2, 1.0, 40.0, 400), wanted, fromBehind).empty());
}

TEST(KivSketchHatch, SurvivesWhatHasNoSurface) {
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.3, 1.0, 40.0, 200);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    KivSketchHatching wanted;
    EXPECT_TRUE(hatch({}, view, wanted).empty());
    KivShadedMesh odd;
    odd.points = {{0, 0, 0}, {1e30, 0, 0}, {0, 1e-30, 0}, {0, 0, 7}, {0, 0, 5}, {1, 1, 5}};
    odd.normals.assign(odd.points.size(), {0, 0, 1});
    odd.triangles = {{0, 0, 0}, {0, 1, 2}, {0, 3, 4}, {2, 3, 4}, {3, 4, 5}};
    odd.windings.assign(odd.triangles.size(), 1);
    for (const KivSketchHatchLine& line : hatch(odd, view, wanted)) {
        for (const KivSketchHatchPoint& p : line.points) {
            EXPECT_TRUE(std::isfinite(p.weight));
        }
    }
    const KivSketchLight lost = [nan](const KivVec&, const KivVec&) { return nan; };
    EXPECT_TRUE(hatch(sheetOf(4), view, wanted, lost).empty()) << "what has no tone is not dark";
}
