// Edges of the shape that are rounded, on both kinds of output.
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/lines/surfacelines.h"

#include "linecameras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <set>
#include <vector>

namespace {

constexpr int rows = 20;

// A sheet that runs along y in rows of length 1, through points of a section in the plane of x and z.
KivSurface sheet(const std::vector<KivVec>& section) {
    KivSurface s;
    const auto columns = static_cast<std::uint32_t>(section.size());
    for (int row = 0; row <= rows; ++row) {
        for (const KivVec& p : section) {
            s.points.push_back({p.x, static_cast<double>(row), p.z});
        }
    }
    for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(rows); ++row) {
        for (std::uint32_t c = 0; c + 1 < columns; ++c) {
            const std::uint32_t a = row * columns + c;
            s.triangles.push_back({a, a + 1, a + columns});
            s.triangles.push_back({a + 1, a + columns + 1, a + columns});
        }
    }
    return s;
}

// Two flat wings, 10 long, with an arc between them that turns by so many degrees in all, in steps of a facet.
std::vector<KivVec> fold(double radius, double degrees, int facets) {
    std::vector<KivVec> section = {{-10.0, 0.0, 0.0}, {-5.0, 0.0, 0.0}};
    KivVec at{0.0, 0.0, 0.0};
    section.push_back(at);
    const double step = degrees / facets * std::numbers::pi / 180.0;
    double angle = 0.5 * step;
    for (int i = 0; i < facets; ++i, angle += step) {
        const double length = 2.0 * radius * std::sin(0.5 * step);
        at = at + KivVec{std::cos(angle) * length, 0.0, std::sin(angle) * length};
        section.push_back(at);
    }
    angle -= 0.5 * step;
    for (const double far : {5.0, 10.0}) {
        section.push_back(at + KivVec{std::cos(angle) * far, 0.0, std::sin(angle) * far});
    }
    return section;
}

struct Found {
    std::size_t edges = 0;
    std::set<std::uint32_t> columns;
};

Found creasesOf(const KivSurface& surface, std::size_t columns, double pixel, double roundedEdges = 4.0) {
    KivFeatureRules rules;
    rules.creaseAngle = rules.smoothCreaseAngle = 44.0;
    rules.roundedEdges = roundedEdges;
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    const std::vector<bool> creases = kivFeatureCreases(surface, wings, rules, pixel);
    Found found;
    for (std::size_t i = 0; i < wings.size(); ++i) {
        if (creases[i]) {
            ++found.edges;
            found.columns.insert(wings[i].a % static_cast<std::uint32_t>(columns));
            found.columns.insert(wings[i].b % static_cast<std::uint32_t>(columns));
        }
    }
    return found;
}

Found creasesOf(const std::vector<KivVec>& section, double pixel, double roundedEdges = 4.0) {
    return creasesOf(sheet(section), section.size(), pixel, roundedEdges);
}

} // namespace

TEST(RoundedCreases, AreOneLineInTheMiddle) {
    const std::vector<KivVec> section = fold(1.0, 90.0, 8); // an arc of 1.6, 11 degrees an edge
    const Found found = creasesOf(section, 0.5);            // a strip of 2
    EXPECT_EQ(found.edges, static_cast<std::size_t>(rows));
    EXPECT_EQ(found.columns, std::set<std::uint32_t>{2 + 4});
}

TEST(RoundedCreases, AreThoseThatAreNarrowInThePicture) {
    const std::vector<KivVec> section = fold(1.0, 90.0, 8);
    EXPECT_GT(creasesOf(section, 0.3).edges, 0U) << "a strip of 1.2, over which it turns by more than 44 degrees";
    EXPECT_EQ(creasesOf(section, 0.15).edges, 0U) << "a strip of 0.6";
    EXPECT_EQ(creasesOf(section, 0.0).edges, 0U) << "a picture of unknown size";
    EXPECT_EQ(creasesOf(section, 0.5, 0.0).edges, 0U) << "switched off";
    EXPECT_EQ(creasesOf(section, 0.25, 8.0).edges, static_cast<std::size_t>(rows)) << "the same strip of 2";
}

TEST(RoundedCreases, TurnByTheCreaseAngle) {
    EXPECT_EQ(creasesOf(fold(1.0, 46.0, 8), 0.5).edges, static_cast<std::size_t>(rows));
    EXPECT_EQ(creasesOf(fold(1.0, 42.0, 8), 0.5).edges, 0U);
}

// However little of it shows in a strip, a rod turns on as much beside.
TEST(RoundedCreases, ARodHasNone) {
    const std::vector<KivVec> rod = fold(1.0, 350.0, 24);
    for (const double pixel : {0.2, 0.3, 0.5}) {
        EXPECT_EQ(creasesOf(rod, pixel).edges, 0U) << pixel;
    }
}

TEST(RoundedCreases, AskNothingOfTheWinding) {
    const std::vector<KivVec> section = fold(1.0, 90.0, 8);
    KivSurface surface = sheet(section);
    std::mt19937 words(7);
    for (KivSurface::Triangle& t : surface.triangles) {
        if (words() % 2 != 0) {
            std::swap(t[1], t[2]);
        }
    }
    const Found found = creasesOf(surface, section.size(), 0.5);
    EXPECT_EQ(found.edges, static_cast<std::size_t>(rows));
    EXPECT_EQ(found.columns, std::set<std::uint32_t>{2 + 4});
}

// A walk over triangles far smaller than the strip would cost much for what nobody sees.
TEST(RoundedCreases, OfFarSmallerTrianglesAreNotLookedFor) {
    const std::vector<KivVec> section = fold(1.0, 90.0, 8);
    EXPECT_GT(creasesOf(section, 1.0).edges, 0U);
    EXPECT_EQ(creasesOf(section, 10.0).edges, 0U);
}

TEST(RoundedCreases, TheSurfaceMayEndInTheStrip) {
    std::vector<KivVec> section = fold(1.0, 90.0, 8);
    section.erase(section.begin(), section.begin() + 2);
    section.resize(section.size() - 2);
    EXPECT_EQ(creasesOf(section, 0.5).edges, static_cast<std::size_t>(rows));
}

TEST(RoundedCreases, AreDrawn) {
    const KivSurface surface = sheet(fold(1.0, 90.0, 8));
    const KivCamera camera = lineCamera(KivCamera::orthographic, {-30.0, 10.0, 60.0}, 40.0, 1.0, 200.0);
    SurfaceLineRules rules;
    rules.features.roundedEdges = 4.0;
    const auto creasesAt = [&](double size) {
        SurfaceLines lines;
        EXPECT_TRUE(kivSurfaceLines(surface, {}, KivLineView(camera, size, size), rules, lines));
        return std::count_if(lines.segments.begin(), lines.segments.end(),
                             [](const LineSegment& s) { return s.kind == KivStrokeKind::crease; });
    };
    EXPECT_EQ(creasesAt(80.0), rows) << "a pixel of half a unit";
    EXPECT_EQ(creasesAt(800.0), 0);
    rules.rest = &surface;
    EXPECT_EQ(creasesAt(80.0), 0) << "a strip may turn otherwise in a pose";
}

TEST(KivPixelOnSurface, FollowsTheDistanceOfTheMiddle) {
    KivSurface box;
    box.points = {{-1.0, -1.0, -1.0}, {1.0, 1.0, 1.0}};
    EXPECT_DOUBLE_EQ(kivPixelOnSurface(box, {true, {0.0, 3.0, 4.0}}, 0.01), 0.05);
    EXPECT_DOUBLE_EQ(kivPixelOnSurface(box, {true, {5.0, 0.0, 0.0}}, 0.01), 0.05) << "whichever way it looks";
    EXPECT_DOUBLE_EQ(kivPixelOnSurface(box, {false, {0.0, 0.0, 1.0}}, 0.01), 0.01) << "a parallel view";
    EXPECT_DOUBLE_EQ(kivPixelOnSurface(box, {true, {0.0, 0.0, 0.0}}, 0.01), 0.01 * 0.25 * std::sqrt(12.0))
        << "from within";
}
