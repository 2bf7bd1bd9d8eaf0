#include "kivsketchflow.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr double spacing = 10.0;

// A grid of points with their normals, (columns + 1) by (rows + 1), each cell in two triangles.
template <class Place> KivShadedMesh gridOf(int columns, int rows, Place place) {
    KivShadedMesh mesh;
    for (int j = 0; j <= rows; ++j) {
        for (int i = 0; i <= columns; ++i) {
            const auto [point, normal] = place(static_cast<double>(i) / columns, static_cast<double>(j) / rows);
            mesh.points.push_back(point);
            mesh.normals.push_back(normal);
        }
    }
    const auto at = [columns](int i, int j) { return static_cast<std::uint32_t>(j * (columns + 1) + i); };
    for (int j = 0; j < rows; ++j) {
        for (int i = 0; i < columns; ++i) {
            mesh.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            mesh.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
    mesh.windings.assign(mesh.triangles.size(), 1);
    return mesh;
}

// Round the y axis, the half towards the viewer; or round the x axis.
KivShadedMesh halfCylinder(bool upright) {
    return gridOf(40, 20, [upright](double u, double v) {
        const double a = (u - 0.5) * std::numbers::pi;
        const double along = 2.0 * v - 1.0;
        const KivVec normal = upright ? KivVec{std::sin(a), 0.0, std::cos(a)} : KivVec{0.0, -std::sin(a), std::cos(a)};
        const KivVec axis = upright ? KivVec{0.0, along, 0.0} : KivVec{along, 0.0, 0.0};
        return std::pair(normal * 0.8 + axis, normal);
    });
}

KivShadedMesh sheet() {
    return gridOf(10, 10, [](double u, double v) {
        return std::pair(KivVec{2.0 * u - 1.0, 2.0 * v - 1.0, 0.0}, KivVec{0.0, 0.0, 1.0});
    });
}

// Two sheets that meet at a right angle along x = 0, each with its own points there.
KivShadedMesh roof() {
    KivShadedMesh mesh;
    const double s = std::sqrt(0.5);
    for (const double sign : {-1.0, 1.0}) {
        const auto first = static_cast<std::uint32_t>(mesh.points.size());
        mesh.points.insert(mesh.points.end(),
                           {{0.0, -1.0, 0.0}, {sign, -1.0, -1.0}, {sign, 1.0, -1.0}, {0.0, 1.0, 0.0}});
        mesh.normals.insert(mesh.normals.end(), 4, {sign * s, 0.0, s});
        mesh.triangles.push_back({first, first + 1, first + 2});
        mesh.triangles.push_back({first, first + 2, first + 3});
        mesh.windings.insert(mesh.windings.end(), 2, static_cast<std::int8_t>(sign));
    }
    return mesh;
}

KivView viewOf() {
    return parallelView({0.0, 0.0, 5.0}, 1.2, 1.0, 40.0, 400);
}

std::vector<KivSketchHatchLine> flow(
    const KivShadedMesh& mesh, double turn = 0.0, double angle = 30.0,
    const KivSketchLight& light = [](const KivVec&, const KivVec&) { return 0.0; }) {
    KivSketchHatching wanted;
    wanted.spacing = spacing;
    wanted.angle = angle;
    KivSketchTones tones(mesh, light);
    return kivSketchFlow(mesh, viewOf(), tones, wanted, turn);
}

// The mean direction of lines in the picture, in degrees from 0 to 180, of what is within that x of the middle.
double slantOf(const std::vector<KivSketchHatchLine>& lines, double within = 1e9) {
    double c = 0.0;
    double s = 0.0;
    for (const KivSketchHatchLine& line : lines) {
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            const KivVec along = line.points[i + 1].place - line.points[i].place;
            if (std::abs(line.points[i].place.x) < within) {
                const double angle = 2.0 * std::atan2(along.y, along.x);
                c += std::hypot(along.x, along.y) * std::cos(angle);
                s += std::hypot(along.x, along.y) * std::sin(angle);
            }
        }
    }
    const double degrees = 0.5 * std::atan2(s, c) * 180.0 / std::numbers::pi;
    return degrees < -1e-9 ? degrees + 180.0 : degrees;
}

double lengthOf(const std::vector<KivSketchHatchLine>& lines) {
    double length = 0.0;
    for (const KivSketchHatchLine& line : lines) {
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            length += kivLength(line.points[i + 1].place - line.points[i].place);
        }
    }
    return length;
}

} // namespace

TEST(KivSketchFlow, RunsRoundACylinder) {
    for (const bool upright : {true, false}) {
        const std::vector<KivSketchHatchLine> lines = flow(halfCylinder(upright));
        ASSERT_GT(lines.size(), 20U);
        for (const KivSketchHatchLine& line : lines) {
            for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
                const KivVec along = line.points[i + 1].place - line.points[i].place;
                const double aside = std::abs(upright ? along.y : along.x);
                EXPECT_LE(aside, 0.35 * kivLength(along) + 1e-9);
            }
        }
    }
}

TEST(KivSketchFlow, TurnsOnTheSurface) {
    EXPECT_NEAR(slantOf(flow(halfCylinder(true), -60.0), 0.2), 120.0, 8.0);
    EXPECT_NEAR(slantOf(flow(halfCylinder(true), 90.0), 0.2), 90.0, 8.0);
}

TEST(KivSketchFlow, RunsAsStraightHatchingOverWhatIsFlat) {
    for (const double angle : {0.0, 30.0, 90.0, 128.0}) {
        const double slant = slantOf(flow(sheet(), 0.0, angle));
        EXPECT_NEAR(std::sin((slant - angle) * std::numbers::pi / 180.0), 0.0, 0.01) << angle;
    }
}

// As much line as there would be if all were at the wanted distance, but for what is lost where they end.
TEST(KivSketchFlow, IsAsDenseAsAsked) {
    const double pixel = 2.4 / 400.0;
    const double even = 4.0 / (spacing * pixel);
    EXPECT_GT(lengthOf(flow(sheet())), 0.8 * even);
    EXPECT_LT(lengthOf(flow(sheet())), 1.25 * even);
}

// The lines of a dome run together, or round and round.
TEST(KivSketchFlow, LinesEndBeforeTheyTouch) {
    const KivShadedMesh dome = gridOf(40, 40, [](double u, double v) {
        const double x = 2.0 * u - 1.0;
        const double y = 2.0 * v - 1.0;
        return std::pair(KivVec{x, y, -0.6 * (x * x + y * y)}, kivUnit({1.2 * x, 1.2 * y, 1.0}));
    });
    const KivView view = viewOf();
    const std::vector<KivSketchHatchLine> lines = flow(dome);
    ASSERT_GT(lines.size(), 20U);
    std::size_t points = 0;
    std::size_t touching = 0;
    for (const KivSketchHatchLine& line : lines) {
        for (const KivSketchHatchPoint& p : line.points) {
            const KivWindowPoint a = view.window(view.clip(p.place));
            const bool touches = std::any_of(lines.begin(), lines.end(), [&](const KivSketchHatchLine& other) {
                return &other != &line && std::any_of(other.points.begin(), other.points.end(), [&](const auto& q) {
                    const KivWindowPoint b = view.window(view.clip(q.place));
                    return std::hypot(a.x - b.x, a.y - b.y) < 0.45 * spacing;
                });
            });
            ++points;
            touching += touches ? 1 : 0;
        }
    }
    EXPECT_LE(touching * 50, points);
}

TEST(KivSketchFlow, DrawsWhatIsDark) {
    const auto light = [](const KivVec& point, const KivVec&) { return point.x > 0.0 ? 1.0 : 0.0; };
    const std::vector<KivSketchHatchLine> lines = flow(sheet(), 0.0, 30.0, light);
    ASSERT_GT(lines.size(), 5U);
    for (const KivSketchHatchLine& line : lines) {
        for (const KivSketchHatchPoint& p : line.points) {
            EXPECT_LT(p.place.x, 0.2);
            EXPECT_GE(p.weight, 0.0);
        }
    }
    EXPECT_TRUE(flow(sheet(), 0.0, 30.0, [](const KivVec&, const KivVec&) { return 1.0; }).empty());
}

TEST(KivSketchFlow, StopsAtAnEdge) {
    std::vector<KivSketchHatchLine> lines;
    for (const double angle : {10.0, 50.0, 70.0}) {
        const std::vector<KivSketchHatchLine> more = flow(roof(), 0.0, angle);
        ASSERT_GT(more.size(), 20U);
        lines.insert(lines.end(), more.begin(), more.end());
    }
    for (const KivSketchHatchLine& line : lines) {
        const auto [low, high] = std::minmax_element(
            line.points.begin(), line.points.end(),
            [](const KivSketchHatchPoint& a, const KivSketchHatchPoint& b) { return a.place.x < b.place.x; });
        EXPECT_GE(low->place.x * high->place.x, -1e-9);
    }
}

// A chord over the side of two triangles would lie under a surface that bulges, and would be hidden.
TEST(KivSketchFlow, StaysOnTheTriangles) {
    for (const KivSketchHatchLine& line : flow(halfCylinder(true))) {
        for (std::size_t i = 0; i + 1 < line.points.size(); ++i) {
            const KivVec middle = (line.points[i].place + line.points[i + 1].place) * 0.5;
            // A facet of 4.5 degrees comes that near to the axis.
            EXPECT_GT(std::hypot(middle.x, middle.z), 0.8 * std::cos(2.25 * std::numbers::pi / 180.0) - 1e-9);
        }
    }
}

TEST(KivSketchFlow, BrokenMeshesDoNoHarm) {
    KivShadedMesh mesh;
    EXPECT_TRUE(flow(mesh).empty());
    mesh.points = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, {0.0, 0.0, 9.0}};
    mesh.normals.assign(4, {0.0, 0.0, 1.0});
    mesh.triangles = {{0, 1, 2}, {0, 1, 3}, {1, 0, 3}, {0, 3, 1}};
    mesh.windings.assign(4, 1);
    for (const KivSketchHatchLine& line : flow(mesh)) {
        for (const KivSketchHatchPoint& p : line.points) {
            EXPECT_TRUE(std::isfinite(p.place.x) && std::isfinite(p.place.y) && std::isfinite(p.place.z));
        }
    }
}
