#include "kivcartoongeometry.h"

#include "../shapes.h"
#include "kivsmoothnormals.h"
#include "support/pollcounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <tuple>

namespace {

// A light from above the eye, and if wanted one that ends at the plane x = 0.3, shining where x is below.
class PlainLights : public KivCartoonLights {
public:
    bool ends = false;
    bool uniform = true;

    double light(const KivVec& point, const KivVec& normal) const override {
        return lightInside(point, normal, edgeSide(point, 0) >= 0.0 ? 1U : 0U);
    }
    double shine(const KivVec&, const KivVec& normal) const override {
        return std::max(0.0, normal.z);
    }
    int numEdges() const override {
        return ends ? 1 : 0;
    }
    double edgeSide(const KivVec& point, int) const override {
        return 0.3 - point.x;
    }
    double lightInside(const KivVec&, const KivVec& normal, std::uint32_t inside) const override {
        return ends ? (inside != 0U ? 1.0 : 0.25) : std::max(0.0, normal.y);
    }
    bool isUniform() const override {
        return uniform;
    }
};

KivShadedMesh modelOf(const KivSurface& surface, double creaseAngle = 45.0) {
    KivSmoothMesh smooth = kivSmoothNormals(surface, creaseAngle);
    KivShadedMesh model;
    model.points = smooth.points;
    model.normals = smooth.normals;
    model.triangles = smooth.triangles;
    model.windings.assign(model.triangles.size(), 1);
    return model;
}

KivVec pointOf(const KivCartoonVertex& v) {
    return {v.x, v.y, v.z};
}

double areaOf(const KivCartoonBatch& batch, const std::vector<std::uint32_t>& indices) {
    double area = 0.0;
    for (std::size_t i = 0; i < indices.size(); i += 3) {
        const KivVec a = pointOf(batch.vertices[indices[i]]);
        area += kivLength(kivCross(pointOf(batch.vertices[indices[i + 1]]) - a,
                                   pointOf(batch.vertices[indices[i + 2]]) - a)) /
                2.0;
    }
    return area;
}

// Sides by their two end positions, whichever way round, with how often they occur.
std::map<std::array<float, 6>, int> sidesOf(const KivCartoonBatch& batch) {
    std::map<std::array<float, 6>, int> sides;
    for (const auto* indices : {&batch.front, &batch.back}) {
        for (std::size_t i = 0; i < indices->size(); i += 3) {
            for (std::size_t k = 0; k < 3; ++k) {
                const KivCartoonVertex* a = &batch.vertices[(*indices)[i + k]];
                const KivCartoonVertex* b = &batch.vertices[(*indices)[i + (k + 1) % 3]];
                if (std::tie(b->x, b->y, b->z) < std::tie(a->x, a->y, a->z)) {
                    std::swap(a, b);
                }
                ++sides[{a->x, a->y, a->z, b->x, b->y, b->z}];
            }
        }
    }
    return sides;
}

// Whether a triangle with sides of so many pixels and normals that turn by so many degrees from corner to corner is
// divided, where sides may be 10 pixels long, and 4 where a surface that shines is strongly bent.
bool isDivided(double pixels, double degrees, bool shine) {
    const KivView view = parallelView({0.0, 0.0, 5.0}, 1.0, 1.0, 10.0, 2000); // 1000 pixels a unit
    const double radius = pixels / 1000.0 / std::sqrt(3.0);
    const double tilt = std::asin(std::sin(degrees * std::numbers::pi / 360.0) * 2.0 / std::sqrt(3.0));
    KivShadedMesh model;
    for (int i = 0; i < 3; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / 3.0;
        const KivVec out{std::cos(angle), std::sin(angle), 0.0};
        model.points.push_back(out * radius);
        model.normals.push_back(out * std::sin(tilt) + KivVec{0.0, 0.0, std::cos(tilt)});
    }
    model.triangles = {{0, 1, 2}};
    model.windings = {1};
    KivCartoonDetail detail;
    detail.longestSide = 10.0;
    detail.longestTurn = 4.0;
    detail.shine = shine;
    KivCartoonBatch batch;
    kivBuildCartoon(model, view, PlainLights(), detail, batch);
    return batch.front.size() > 3;
}

} // namespace

TEST(KivBuildCartoon, KeepsSmallTrianglesAndLightsEachVertexOnce) {
    const KivShadedMesh model = modelOf(sphereSurface(60, 60));
    const KivView view = perspectiveView({0.0, 2.0, 8.0}, 0.2, 1.0, 20.0, 400);
    KivCartoonBatch batch;
    kivBuildCartoon(model, view, PlainLights(), {}, batch);
    EXPECT_EQ(batch.front.size() + batch.back.size(), model.triangles.size() * 3);
    // The points where front and back meet are lit for both sides, no other twice.
    EXPECT_LT(batch.vertices.size(), model.points.size() + 300);
}

TEST(KivBuildCartoon, ACancelEndsALargeMesh) {
    const KivShadedMesh model = modelOf(sphereSurface(180, 180));
    ASSERT_GT(model.triangles.size(), 60000U);
    const KivView view = perspectiveView({0.0, 2.0, 8.0}, 0.2, 1.0, 20.0, 400);
    KivCartoonBatch batch;
    PollCounter whole;
    {
        const ScopedProgress progress(whole);
        kivBuildCartoon(model, view, PlainLights(), {}, batch);
    }
    EXPECT_EQ(batch.front.size() + batch.back.size(), model.triangles.size() * 3);
    EXPECT_GE(whole.polls, static_cast<long>(model.triangles.size() / 10000));
    PollCounter second(2);
    const ScopedProgress progress(second);
    kivBuildCartoon(model, view, PlainLights(), {}, batch);
    EXPECT_EQ(second.polls, 2);
    EXPECT_LT(batch.front.size() + batch.back.size(), model.triangles.size());
    EXPECT_GT(batch.front.size() + batch.back.size(), 0U);
}

TEST(KivBuildCartoon, SortsTrianglesByTheSideThatTheyShow) {
    KivShadedMesh model = modelOf(sphereSurface(30, 30));
    for (const bool perspective : {true, false}) {
        const KivVec eye{1.0, 2.0, 8.0};
        const KivView view =
            perspective ? perspectiveView(eye, 0.2, 1.0, 20.0, 200) : parallelView(eye, 2.0, 1.0, 20.0, 200);
        KivCartoonBatch batch;
        kivBuildCartoon(model, view, PlainLights(), {}, batch);
        EXPECT_FALSE(batch.front.empty());
        EXPECT_FALSE(batch.back.empty());
        for (std::size_t i = 0; i < batch.front.size(); i += 3) {
            const KivVec a = pointOf(batch.vertices[batch.front[i]]);
            EXPECT_GT(kivDot(a, kivUnit(view.toViewer(a))), -0.35);
        }
        // Mirrored: the winding is reversed, the normals still point outwards, and so the same side shows.
        KivShadedMesh mirrored = model;
        for (KivVec& p : mirrored.points) {
            p.x = -p.x;
        }
        for (KivVec& n : mirrored.normals) {
            n.x = -n.x;
        }
        mirrored.windings.assign(mirrored.triangles.size(), -1);
        KivCartoonBatch other;
        kivBuildCartoon(mirrored, view, PlainLights(), {}, other);
        EXPECT_NEAR(static_cast<double>(other.front.size()), static_cast<double>(batch.front.size()),
                    batch.front.size() * 0.1);
    }
}

TEST(KivBuildCartoon, InsideOutShapesShowTheirInnerSideLitAsSeen) {
    KivShadedMesh model = modelOf(sphereSurface(30, 30));
    const KivView view = parallelView({0.0, 0.0, 8.0}, 2.0, 1.0, 20.0, 200);
    KivCartoonBatch usual;
    kivBuildCartoon(model, view, PlainLights(), {}, usual);
    for (KivVec& n : model.normals) {
        n = -n;
    }
    model.windings.assign(model.triangles.size(), -1);
    KivCartoonBatch turned;
    kivBuildCartoon(model, view, PlainLights(), {}, turned);
    ASSERT_EQ(turned.back.size(), usual.front.size());
    for (std::size_t i = 0; i < usual.front.size(); ++i) {
        EXPECT_FLOAT_EQ(turned.vertices[turned.back[i]].light, usual.vertices[usual.front[i]].light);
    }
}

TEST(KivBuildCartoon, DividesLargeTrianglesWithoutGaps) {
    const KivShadedMesh model = modelOf(sphereSurface(6, 8));
    const KivView view = perspectiveView({1.0, 2.0, 5.0}, 0.4, 1.0, 20.0, 800);
    KivCartoonDetail detail;
    detail.longestSide = 20.0;
    KivCartoonBatch batch;
    kivBuildCartoon(model, view, PlainLights(), detail, batch);
    EXPECT_GT(batch.front.size(), model.triangles.size() * 30);
    double whole = 0.0;
    for (const KivSurface::Triangle& t : model.triangles) {
        whole +=
            kivLength(kivCross(model.points[t[1]] - model.points[t[0]], model.points[t[2]] - model.points[t[0]])) / 2.0;
    }
    EXPECT_NEAR(areaOf(batch, batch.front) + areaOf(batch, batch.back), whole, 1e-4);
    for (const auto& [side, count] : sidesOf(batch)) {
        EXPECT_EQ(count, 2);
        const KivWindowPoint a = view.window(view.clip({side[0], side[1], side[2]}));
        const KivWindowPoint b = view.window(view.clip({side[3], side[4], side[5]}));
        EXPECT_LE(std::hypot(a.x - b.x, a.y - b.y), 20.01);
    }
}

namespace {

// Counts what it is asked.
class CountingLights : public PlainLights {
public:
    mutable std::size_t asked = 0;

    double light(const KivVec& point, const KivVec& normal) const override {
        ++asked;
        return PlainLights::light(point, normal);
    }
};

using Corners = std::array<std::array<float, 5>, 3>;

// The triangles that are seen in a part of the view, as often as they occur.
std::map<Corners, int> trianglesIn(const KivCartoonPart& part, const KivView& view, const KivCartoonBatch& batch) {
    std::map<Corners, int> found;
    for (const auto* indices : {&batch.front, &batch.back}) {
        for (std::size_t i = 0; i < indices->size(); i += 3) {
            Corners corners;
            bool beside[4] = {true, true, true, true};
            for (std::size_t k = 0; k < 3; ++k) {
                const KivCartoonVertex& v = batch.vertices[(*indices)[i + k]];
                corners[k] = {v.x, v.y, v.z, v.light, v.shine};
                const KivClipPoint clip = view.clip(pointOf(v));
                beside[0] = beside[0] && clip.x < part.left * clip.w;
                beside[1] = beside[1] && clip.x > part.right * clip.w;
                beside[2] = beside[2] && clip.y < part.bottom * clip.w;
                beside[3] = beside[3] && clip.y > part.top * clip.w;
            }
            if (!beside[0] && !beside[1] && !beside[2] && !beside[3]) {
                ++found[corners];
            }
        }
    }
    return found;
}

} // namespace

TEST(KivBuildCartoon, HowLongASideMayBeDependsOnItsTurnAndOnTheShine) {
    struct Case {
        double degrees;
        bool shine;
        double longest; // in pixels
    };
    for (const Case& c : {Case{3.0, false, 10.0}, Case{10.0, false, 10.0}, Case{2.0, true, 60.0}, Case{3.0, true, 10.0},
                          Case{10.0, true, 4.0}}) {
        EXPECT_FALSE(isDivided(c.longest * 0.999, c.degrees, c.shine)) << c.degrees << ' ' << c.shine;
        EXPECT_TRUE(isDivided(c.longest * 1.001, c.degrees, c.shine)) << c.degrees << ' ' << c.shine;
    }
    EXPECT_FALSE(isDivided(900.0, 2.0, false)) << "parallel light can be interpolated over it";
}

TEST(KivBuildCartoon, APartOfTheViewHasTheTrianglesOfTheWhole) {
    const KivShadedMesh model = modelOf(sphereSurface(6, 8));
    const KivView view = perspectiveView({1.0, 2.0, 5.0}, 0.4, 1.0, 20.0, 800);
    KivCartoonDetail detail;
    detail.longestSide = 10.0;
    detail.shine = true;
    CountingLights lights;
    KivCartoonBatch whole;
    kivBuildCartoon(model, view, lights, detail, whole);
    const std::size_t wholeWork = lights.asked;
    lights.asked = 0;
    constexpr int across = 8;
    std::size_t shown = 0;
    for (int i = 0; i < across * across; ++i) {
        const double left = -1.0 + 2.0 / across * (i % across);
        const double bottom = -1.0 + 2.0 / across * (i / across);
        detail.part = KivCartoonPart{left, bottom, left + 2.0 / across, bottom + 2.0 / across};
        KivCartoonBatch batch;
        kivBuildCartoon(model, view, lights, detail, batch);
        const std::map<Corners, int> wanted = trianglesIn(*detail.part, view, whole);
        ASSERT_EQ(trianglesIn(*detail.part, view, batch), wanted) << "part " << i;
        shown += wanted.empty() ? 0 : 1;
    }
    EXPECT_GE(shown, 16U);
    // All parts together cost about as much as the whole: what lies across a border comes in two.
    EXPECT_LT(lights.asked, 2 * wholeWork);
    EXPECT_GT(lights.asked, wholeWork);
}

TEST(KivBuildCartoon, APartGrowsByPixelsAndNotBeyondTheView) {
    const KivView view = perspectiveView({0.0, 0.0, 5.0}, 0.4, 1.0, 20.0, 800);
    const KivCartoonPart grown = KivCartoonPart{-0.99, -0.5, 0.5, 0.99}.grownBy(40.0, view);
    EXPECT_DOUBLE_EQ(grown.left, -1.0);
    EXPECT_DOUBLE_EQ(grown.bottom, -0.5 - 80.0 / view.height());
    EXPECT_DOUBLE_EQ(grown.right, 0.6);
    EXPECT_DOUBLE_EQ(grown.top, 1.0);
}

TEST(KivBuildCartoon, DividedLightFollowsTheRoundSurface) {
    // One face of a coarse sphere: in between, the light is that of the rounded normal and not of a straight line.
    const KivShadedMesh model = modelOf(sphereSurface(6, 8));
    const KivView view = perspectiveView({1.0, 2.0, 5.0}, 0.4, 1.0, 20.0, 800);
    KivCartoonDetail detail;
    detail.longestSide = 10.0;
    KivCartoonBatch batch;
    kivBuildCartoon(model, view, PlainLights(), detail, batch);
    for (const std::uint32_t i : batch.front) {
        const KivVec p = pointOf(batch.vertices[i]);
        const double light = (batch.vertices[i].light * 1024 - 0.5) / 1023;
        EXPECT_NEAR(light, std::max(0.0, kivUnit(p).y), 0.12);
    }
}

TEST(KivBuildCartoon, LeavesEvenlyLitFacesWhole) {
    KivCartoonBatch batch;
    KivCartoonDetail detail;
    detail.longestSide = 10.0;
    const KivShadedMesh cube = modelOf(cubeSurface());
    const KivView view = perspectiveView({3.0, 4.0, 5.0}, 0.5, 1.0, 20.0, 800);
    kivBuildCartoon(cube, view, PlainLights(), detail, batch);
    EXPECT_EQ(batch.front.size() + batch.back.size(), 36U);
    PlainLights lamp;
    lamp.uniform = false;
    kivBuildCartoon(cube, view, lamp, detail, batch);
    EXPECT_GT(batch.front.size(), 3600U);
}

TEST(KivBuildCartoon, CutsTrianglesWhereALightEnds) {
    PlainLights spot;
    spot.ends = true;
    spot.uniform = false;
    KivCartoonBatch batch;
    const KivShadedMesh cube = modelOf(cubeSurface());
    kivBuildCartoon(cube, perspectiveView({3.0, 4.0, 5.0}, 0.5, 1.0, 20.0, 200), spot, {}, batch);
    int lit = 0;
    int dark = 0;
    for (const auto* indices : {&batch.front, &batch.back}) {
        for (std::size_t i = 0; i < indices->size(); i += 3) {
            const float light = batch.vertices[(*indices)[i]].light;
            for (std::size_t k = i; k < i + 3; ++k) {
                const KivCartoonVertex& v = batch.vertices[(*indices)[k]];
                EXPECT_EQ(v.light, light);
                if (light > 0.5F) {
                    EXPECT_LE(v.x, 0.3F + 1e-6F);
                } else {
                    EXPECT_GE(v.x, 0.3F - 1e-6F);
                }
            }
            ++(light > 0.5F ? lit : dark);
        }
    }
    EXPECT_GT(lit, 0);
    EXPECT_GT(dark, 0);
    EXPECT_NEAR(areaOf(batch, batch.front) + areaOf(batch, batch.back), 24.0, 1e-4);
    for (const auto& [side, count] : sidesOf(batch)) {
        EXPECT_EQ(count % 2, 0);
    }
}

TEST(KivBuildCartoon, FlatFacesHaveOneTone) {
    KivCartoonDetail detail;
    detail.flat = true;
    KivCartoonBatch batch;
    KivShadedMesh model = modelOf(sphereSurface(12, 16));
    kivBuildCartoon(model, perspectiveView({0.0, 2.0, 8.0}, 0.2, 1.0, 20.0, 400), PlainLights(), detail, batch);
    EXPECT_EQ(batch.front.size() + batch.back.size(), model.triangles.size() * 3);
    for (std::size_t i = 0; i < batch.front.size(); i += 3) {
        const KivCartoonVertex* v[3] = {&batch.vertices[batch.front[i]], &batch.vertices[batch.front[i + 1]],
                                        &batch.vertices[batch.front[i + 2]]};
        EXPECT_EQ(v[0]->light, v[1]->light);
        EXPECT_EQ(v[0]->light, v[2]->light);
        const KivVec face = kivUnit(kivCross(pointOf(*v[1]) - pointOf(*v[0]), pointOf(*v[2]) - pointOf(*v[0])));
        EXPECT_NEAR((v[0]->light * 1024 - 0.5) / 1023, std::max(0.0, face.y), 1e-4);
    }
}

TEST(KivBuildCartoon, HandlesAFloorThatRunsBehindTheEye) {
    KivSurface floor;
    floor.points = {{-500, -1, -500}, {500, -1, -500}, {500, -1, 500}, {-500, -1, 500}};
    floor.triangles = {{0, 2, 1}, {0, 3, 2}};
    PlainLights lamp;
    lamp.uniform = false;
    KivCartoonDetail detail;
    detail.longestSide = 20.0;
    KivCartoonBatch batch;
    kivBuildCartoon(modelOf(floor), perspectiveView({0.0, 0.5, 5.0}, 0.5, 1.0, 400.0, 800), lamp, detail, batch);
    EXPECT_GT(batch.front.size(), 3000U);
    EXPECT_LT(batch.front.size(), 300000U);
}

namespace {

// Two lights, from above and from the right.
class TwoLights : public PlainLights {
public:
    void incidences(const KivVec&, const KivVec& normal, std::vector<double>& out) const override {
        out = {normal.x, normal.y};
    }
};

} // namespace

namespace {

// A light that falls along the surface everywhere.
class FlatLight : public PlainLights {
public:
    void incidences(const KivVec&, const KivVec&, std::vector<double>& out) const override {
        out.assign(1, 0.0);
    }
};

// How squarely a light may fall on a vertex where it counts as lost.
std::vector<float> lostOf(const KivShadedMesh& model, KivCartoonBatch& batch) {
    KivCartoonDetail detail;
    detail.ranks = 1;
    kivBuildCartoon(model, perspectiveView({0.0, 0.0, 8.0}, 0.5, 1.0, 20.0, 100), FlatLight(), detail, batch);
    std::vector<float> lost;
    for (const float incidence : batch.incidences) {
        lost.push_back(batch.threshold - incidence);
    }
    return lost;
}

} // namespace

TEST(KivCartoonGeometry, ARoughPlaceLosesLightThereAlone) {
    KivSurface ball = sphereSurface(48, 96);
    const KivVec tip = ball.points[1000];
    KivSurface rough = ball;
    rough.points[1000] = tip * 1.04;
    KivCartoonBatch batch;
    const std::vector<float> even = lostOf(modelOf(ball), batch);
    const float usual = *std::max_element(even.begin(), even.end());
    const std::vector<float> lost = lostOf(modelOf(rough), batch);
    EXPECT_GT(*std::max_element(lost.begin(), lost.end()), 3.0F * usual);
    int far = 0;
    for (std::size_t i = 0; i < batch.vertices.size(); ++i) {
        if (kivLength(pointOf(batch.vertices[i]) - tip) > 0.3) {
            EXPECT_LE(lost[i], 1.01F * usual);
            ++far;
        }
    }
    EXPECT_GT(far, 1000);
}

TEST(KivCartoonGeometry, LightsAreRankedAtEachVertex) {
    const KivView view = perspectiveView({0.0, 0.0, 8.0}, 0.5, 1.0, 20.0, 100);
    float last = 1.0F;
    for (const int around : {12, 24, 96}) {
        const KivShadedMesh model = modelOf(sphereSurface(around / 2, around));
        KivCartoonDetail detail;
        detail.ranks = 3; // one more than there are lights
        KivCartoonBatch batch;
        kivBuildCartoon(model, view, TwoLights(), detail, batch);
        ASSERT_EQ(batch.ranks, 3);
        ASSERT_EQ(batch.incidences.size(), 3 * batch.vertices.size());
        for (std::size_t i = 0; i < batch.vertices.size(); ++i) {
            EXPECT_GE(batch.incidences[3 * i], batch.incidences[3 * i + 1]);
            EXPECT_GE(batch.incidences[3 * i + 1], batch.incidences[3 * i + 2]);
        }
        KivCartoonBatch flat;
        const std::vector<float> all = lostOf(model, flat);
        const float lost = *std::max_element(all.begin(), all.end());
        EXPECT_LT(lost, last) << "finer surfaces lose less";
        last = lost;
    }
    EXPECT_LT(last, 0.1F);
    KivCartoonBatch none;
    kivBuildCartoon(modelOf(sphereSurface(6, 12)), view, TwoLights(), KivCartoonDetail(), none);
    EXPECT_EQ(none.ranks, 0);
    EXPECT_TRUE(none.incidences.empty());
}
