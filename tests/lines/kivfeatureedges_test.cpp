#include "kivrender/lines/kivfeatureedges.h"

#include "support/surfaceshapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <set>

namespace {

using Pair = std::pair<std::uint32_t, std::uint32_t>;

std::map<Pair, std::vector<KivSurface::Triangle>> trianglesByEdge(const KivSurface& surface) {
    std::map<Pair, std::vector<KivSurface::Triangle>> result;
    for (const KivSurface::Triangle& t : surface.triangles) {
        for (int k = 0; k < 3; ++k) {
            result[std::minmax(t[k], t[(k + 1) % 3])].push_back(t);
        }
    }
    return result;
}

std::set<Pair> edgesOfKind(const std::vector<KivFeatureEdge>& edges, KivFeatureKind kind) {
    std::set<Pair> result;
    for (const KivFeatureEdge& edge : edges) {
        if (edge.kind == kind) {
            EXPECT_TRUE(result.insert({edge.a, edge.b}).second);
        }
    }
    return result;
}

std::vector<KivFeatureEdge> edgesOf(const KivSurface& surface, const KivViewpoint& view,
                                    const KivFeatureRules& rules = {}) {
    const std::vector<KivFeatureWing> wings = kivFeatureWings(surface);
    return kivFeatureEdges(surface, wings, kivFeatureCreases(surface, wings, rules), view, rules);
}

void turnSome(KivSurface& surface, std::mt19937& words) {
    for (KivSurface::Triangle& t : surface.triangles) {
        if (words() % 2 != 0) {
            std::swap(t[1], t[2]);
        }
    }
}

} // namespace

TEST(KivFeatureWings, HoldEveryEdgeOnceWithItsTriangles) {
    std::mt19937 words(5);
    for (int run = 0; run < 300; ++run) {
        KivSurface soup;
        for (int i = 0; i < 9; ++i) {
            soup.points.push_back({signedUnit(words), signedUnit(words), signedUnit(words)});
        }
        std::set<std::array<std::uint32_t, 3>> known;
        for (int i = 0; i < 14; ++i) {
            KivSurface::Triangle t = {static_cast<std::uint32_t>(words() % 9), static_cast<std::uint32_t>(words() % 9),
                                      static_cast<std::uint32_t>(words() % 9)};
            KivSurface::Triangle sorted = t;
            std::sort(sorted.begin(), sorted.end());
            if (sorted[0] != sorted[1] && sorted[1] != sorted[2] && known.insert(sorted).second) {
                soup.triangles.push_back(t);
            }
        }
        const auto expected = trianglesByEdge(soup);
        const std::vector<KivFeatureWing> wings = kivFeatureWings(soup);
        ASSERT_EQ(wings.size(), expected.size());
        auto it = expected.begin();
        for (const KivFeatureWing& wing : wings) {
            EXPECT_EQ(Pair(wing.a, wing.b), it->first); // in ascending order
            EXPECT_EQ(wing.junction, it->second.size() > 2);
            EXPECT_EQ(wing.right == KivFeatureWing::none, it->second.size() == 1);
            if (it->second.size() <= 2) {
                std::multiset<std::int32_t> thirds;
                for (const KivSurface::Triangle& t : it->second) {
                    for (const std::uint32_t p : t) {
                        if (p != wing.a && p != wing.b) {
                            thirds.insert(static_cast<std::int32_t>(p));
                        }
                    }
                }
                std::multiset<std::int32_t> found = {wing.left};
                if (it->second.size() == 2) {
                    found.insert(wing.right);
                }
                EXPECT_EQ(found, thirds);
            }
            ++it;
        }
    }
}

TEST(KivFeatureBend, IsTheTurnOfTheSurface) {
    const KivVec a{0, 0, 0};
    const KivVec b{0, 0, 1};
    EXPECT_NEAR(kivFeatureBend(a, b, {1, 0, 0.3}, {-1, 0, 0.9}), 0.0, 1e-6);
    EXPECT_NEAR(kivFeatureBend(a, b, {1, 0, 0}, {0, 2, 5}), 90.0, 1e-6);
    EXPECT_NEAR(kivFeatureBend(a, b, {1, 0, 0}, {3, 0, 1}), 180.0, 1e-6);
    EXPECT_EQ(kivFeatureBend(a, a, {1, 0, 0}, {3, 0, 1}), 0.0);
    EXPECT_EQ(kivFeatureBend(a, b, {0, 0, 7}, {3, 0, 1}), 0.0); // a triangle without area
}

TEST(KivFeatureIsFold, MatchesTheFacingOfNormalsOnClosedShapes) {
    std::mt19937 words(6);
    for (int run = 0; run < 60; ++run) {
        KivSurface shape = run % 2 != 0 ? sphereSurface(7, 9) : cubeSurface();
        for (KivVec& p : shape.points) {
            p = p * (1.0 + 0.2 * signedUnit(words));
        }
        const KivVec eye = KivVec{signedUnit(words), signedUnit(words) * 0.7, signedUnit(words)} * 9.0;
        if (kivLength(eye) < 4.0) {
            continue;
        }
        for (const KivViewpoint& view : {KivViewpoint{true, eye}, KivViewpoint{false, eye}}) {
            for (const auto& [pair, triangles] : trianglesByEdge(shape)) {
                ASSERT_EQ(triangles.size(), 2U);
                const auto faces = [&](const KivSurface::Triangle& t) {
                    return kivDot(faceNormal(shape, t), view.toViewer(shape.points[t[0]])) > 0.0;
                };
                std::vector<KivVec> thirds;
                for (const KivSurface::Triangle& t : triangles) {
                    for (const std::uint32_t p : t) {
                        if (p != pair.first && p != pair.second) {
                            thirds.push_back(shape.points[p]);
                        }
                    }
                }
                EXPECT_EQ(
                    kivFeatureIsFold(shape.points[pair.first], shape.points[pair.second], thirds[0], thirds[1], view),
                    faces(triangles[0]) != faces(triangles[1]));
            }
        }
    }
}

TEST(KivFeatureEdges, OfACubeAreItsContourAndCreases) {
    std::mt19937 words(8);
    KivSurface cube = cubeSurface();
    for (int run = 0; run < 8; ++run) {
        const auto edges = edgesOf(cube, KivViewpoint{true, {3.0, 4.0, 5.0}});
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::silhouette).size(), 6U);
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::crease).size(), 6U);
        EXPECT_TRUE(edgesOfKind(edges, KivFeatureKind::border).empty());
        turnSome(cube, words); // the winding has no say
    }
}

TEST(KivFeatureEdges, OfAFaceSeenEdgeOnKeepTheContour) {
    // Straight from the front the four side faces of a cube are seen edge-on.
    const auto edges = edgesOf(cubeSurface(), KivViewpoint{false, {0.0, 0.0, 5.0}});
    const auto contour = edgesOfKind(edges, KivFeatureKind::silhouette);
    for (const Pair& front : {Pair(4, 5), Pair(5, 7), Pair(6, 7), Pair(4, 6)}) {
        EXPECT_TRUE(contour.contains(front)) << front.first << ' ' << front.second;
    }
    EXPECT_FALSE(contour.contains(Pair(4, 7))) << "the diagonal of the front face";
}

TEST(KivFeatureEdges, CanBeSwitchedOffByKind) {
    KivSurface open = cubeSurface();
    open.triangles.resize(10);
    const KivViewpoint view = KivViewpoint{true, {3.0, 4.0, 5.0}};
    for (int mask = 0; mask < 8; ++mask) {
        KivFeatureRules rules;
        rules.silhouettes = (mask & 1) != 0;
        rules.borders = (mask & 2) != 0;
        rules.creases = (mask & 4) != 0;
        const auto edges = edgesOf(open, view, rules);
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::silhouette).empty(), !rules.silhouettes);
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::border).size(), rules.borders ? 4U : 0U);
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::crease).empty(), !rules.creases);
    }
}

TEST(KivFeatureEdges, FollowTheCreaseAngle) {
    const KivViewpoint view = KivViewpoint{true, {3.0, 4.0, 5.0}};
    KivFeatureRules rules;
    rules.creaseAngle = 89.0;
    EXPECT_EQ(edgesOfKind(edgesOf(cubeSurface(), view, rules), KivFeatureKind::crease).size(), 6U);
    rules.creaseAngle = 91.0;
    EXPECT_TRUE(edgesOfKind(edgesOf(cubeSurface(), view, rules), KivFeatureKind::crease).empty());
}

TEST(KivFeatureCreases, TrustNormalsThatRunOnOverAnEdge) {
    KivSurface cube = cubeSurface();
    for (const KivVec& p : cube.points) {
        cube.normals.push_back(kivUnit(p));
    }
    for (const KivSurface::Triangle& t : cube.triangles) {
        cube.cornerNormals.push_back(t);
    }
    const auto wings = kivFeatureWings(cube);
    KivFeatureRules rules;
    rules.smoothCreaseAngle = 100.0;
    auto creases = kivFeatureCreases(cube, wings, rules);
    EXPECT_EQ(std::count(creases.begin(), creases.end(), true), 0);
    rules.smoothCreaseAngle = 80.0;
    creases = kivFeatureCreases(cube, wings, rules);
    EXPECT_EQ(std::count(creases.begin(), creases.end(), true), 12);
}

TEST(KivFeatureCreases, LeaveOutTheNoiseOfARoughSurface) {
    std::mt19937 words(12);
    KivSurface rough = sphereSurface(60, 90);
    for (std::size_t i = 0; i < rough.points.size(); ++i) {
        if (words() % 60 == 0 && std::abs(rough.points[i].y) < 0.8) {
            rough.points[i] = rough.points[i] * 1.03; // scattered bumps, steep and short
        }
    }
    const auto wings = kivFeatureWings(rough);
    KivFeatureRules rules;
    rules.creaseLength = 0.0;
    auto creases = kivFeatureCreases(rough, wings, rules);
    const auto all = std::count(creases.begin(), creases.end(), true);
    EXPECT_GT(all, 30);
    rules.creaseLength = 0.05;
    creases = kivFeatureCreases(rough, wings, rules);
    EXPECT_LT(std::count(creases.begin(), creases.end(), true), all / 5);
}

TEST(KivFeatureCreases, KeepASmallPartOfItsOwn) {
    // Two cubes in one mesh, one a hundredth of the other's size: each is judged against itself.
    KivSurface both = cubeSurface();
    const KivSurface small = cubeSurface(0.01);
    for (const KivVec& p : small.points) {
        both.points.push_back(p + KivVec{3.0, 0.0, 0.0});
    }
    for (const KivSurface::Triangle& t : small.triangles) {
        both.triangles.push_back({t[0] + 8, t[1] + 8, t[2] + 8});
    }
    const auto creases = kivFeatureCreases(both, kivFeatureWings(both), {});
    EXPECT_EQ(std::count(creases.begin(), creases.end(), true), 24);
}

namespace {

// Creases of a piece that is 10 across: a chain of edges of that length one after the other, each turned against the
// one before by the angle (degrees), each with a bend of its own. How many of them stay.
std::size_t creasesLeft(double length, double turn, const std::vector<float>& bends) {
    KivSurface piece;
    piece.points = {{0, 0, 0}, {8, 0, 0}, {8, 6, 0}};
    piece.triangles = {{0, 1, 2}};
    std::vector<KivFeatureWing> wings;
    KivVec at{4, 2, 0};
    for (std::size_t i = 0; i <= bends.size(); ++i) {
        const auto point = static_cast<std::uint32_t>(piece.points.size());
        piece.points.push_back(at);
        piece.triangles.push_back({0, 1, point});
        // To one side and back, so that the chain goes on.
        const double angle = (i % 2 != 0 ? -0.5 : 0.5) * turn * std::numbers::pi / 180.0;
        at = at + KivVec{std::cos(angle), std::sin(angle), 0} * length;
        if (i < bends.size()) {
            KivFeatureWing wing;
            wing.a = point;
            wing.b = point + 1;
            wing.left = 0;
            wing.right = 1;
            wing.bend = bends[i];
            wings.push_back(wing);
        }
    }
    KivFeatureRules rules;
    rules.creaseAngle = 40.0;
    rules.creaseLength = 0.05;
    const std::vector<bool> creases = kivFeatureCreases(piece, wings, rules);
    return static_cast<std::size_t>(std::count(creases.begin(), creases.end(), true));
}

} // namespace

TEST(KivFeatureCreases, LeaveOutOneEdgeOrTwoThatBendOnlyJustEnough) {
    EXPECT_EQ(creasesLeft(1.0, 0.0, {50}), 0U);
    EXPECT_EQ(creasesLeft(1.0, 0.0, {50, 60}), 0U);
    EXPECT_EQ(creasesLeft(1.0, 0.0, {50, 79}), 0U) << "64.5 in the mean";
    EXPECT_EQ(creasesLeft(1.0, 0.0, {50, 81}), 2U) << "65.5";
    EXPECT_EQ(creasesLeft(1.0, 0.0, {66}), 1U);
    EXPECT_EQ(creasesLeft(0.9, 0.0, {50, 50, 50}), 3U) << "three are a line";
    EXPECT_EQ(creasesLeft(2.9, 0.0, {50}), 0U);
    EXPECT_EQ(creasesLeft(3.1, 0.0, {50}), 1U) << "what reaches over three tenths of its piece stays";
}

TEST(KivFeatureCreases, LeaveOutWhatWandersFromEdgeToEdge) {
    const std::vector<float> weak(5, 50.0F);
    EXPECT_EQ(creasesLeft(0.55, 32.0, weak), 0U);
    EXPECT_EQ(creasesLeft(0.55, 28.0, weak), 5U) << "what bends gently runs on";
    EXPECT_EQ(creasesLeft(0.55, 32.0, {50, 50, 50, 50}), 4U) << "four edges may turn";
    EXPECT_EQ(creasesLeft(0.55, 32.0, std::vector<float>(5, 66.0F)), 5U) << "and so may strong bends";
    EXPECT_EQ(creasesLeft(0.65, 32.0, weak), 5U) << "and what reaches over three tenths of its piece";
}

TEST(KivFeatureCreases, GoOnWhereTheyBendALittleLess) {
    const auto withGap = [](std::size_t before, const std::vector<float>& gap, std::size_t after) {
        std::vector<float> bends(before, 80.0F);
        bends.insert(bends.end(), gap.begin(), gap.end());
        bends.insert(bends.end(), after, 80.0F);
        return bends;
    };
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {30}, 10)), 21U);
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {21}, 10)), 21U) << "half of the angle";
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {19}, 10)), 20U);
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {30}, 0)), 10U) << "what leads nowhere is no gap";
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {30, 30}, 10)), 22U);
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {30, 30, 30}, 10)), 20U) << "no longer than a quarter of a side";
    EXPECT_EQ(creasesLeft(0.25, 0.0, withGap(10, {30, 30}, 7)), 17U) << "nor of the other";
    EXPECT_EQ(creasesLeft(0.25, 44.0, withGap(10, {30}, 10)), 21U);
    EXPECT_EQ(creasesLeft(0.25, 47.0, withGap(10, {30}, 10)), 20U) << "a line does not go on round a corner";
}

// Three triangles on one side of their edge: a fold by any two of them. Where surfaces meet is a crease from wherever
// it is seen, so that the line does not change its kind as the view turns.
TEST(KivFeatureEdges, AJunctionIsNoSilhouette) {
    KivSurface fan;
    fan.points = {{0, 0, 0}, {0, 1, 0}, {1, 0.5, 0.4}, {1, 0.5, -0.4}, {1, 0.5, 0}};
    fan.triangles = {{0, 1, 2}, {0, 1, 3}, {1, 0, 4}};
    const KivViewpoint view{false, {0.0, 0.0, 5.0}};
    const auto kinds = [&](const KivFeatureRules& rules) {
        std::vector<KivFeatureKind> found;
        for (const KivFeatureEdge& edge : edgesOf(fan, view, rules)) {
            if (edge.a == 0 && edge.b == 1) {
                found.push_back(edge.kind);
            }
        }
        return found;
    };
    EXPECT_EQ(kinds({}), std::vector{KivFeatureKind::crease});
    KivFeatureRules rules;
    rules.creases = false;
    EXPECT_TRUE(kinds(rules).empty());
    fan.triangles.pop_back();
    EXPECT_EQ(kinds(rules), std::vector{KivFeatureKind::silhouette}) << "two of them are one";
}

TEST(KivFeatureEdges, ThreeTrianglesAtAnEdgeMakeALine) {
    KivSurface fins;
    fins.points = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {-1, 0, 0.01}, {0, 0, 1}};
    fins.triangles = {{0, 1, 2}, {0, 1, 3}, {1, 0, 4}};
    const auto edges = edgesOf(fins, KivViewpoint{true, {3.0, 4.0, 5.0}});
    EXPECT_TRUE(edgesOfKind(edges, KivFeatureKind::crease).contains(Pair(0, 1)));
}

// One that stands alone has borders on all sides, all of them on one line.
TEST(KivFeatureEdges, ATriangleWithoutAnAreaHasNoLines) {
    KivSurface surface;
    surface.points = {{0, 0, 0}, {1, 1, 0}, {3, 3, 0}, {0, 2, 0}};
    surface.triangles = {{0, 1, 2}};
    const KivViewpoint view = KivViewpoint{false, {0, 0, 5}};
    EXPECT_TRUE(edgesOf(surface, view).empty());
    surface.triangles = {{0, 1, 3}};
    EXPECT_EQ(edgesOf(surface, view).size(), 3U) << "one with an area has its borders";
}

// Where the side of one triangle meets two of others, such a one closes the gap.
TEST(KivFeatureEdges, ATriangleWithoutAnAreaThatClosesAGapShowsNoLine) {
    KivSurface surface;
    surface.points = {{0, 0, 0}, {2, 0, 0}, {1, 0, 0}, {1, 2, 0}, {1, -2, 0}};
    surface.triangles = {{0, 1, 3}, {0, 4, 2}, {2, 4, 1}, {0, 2, 1}};
    const KivViewpoint view = KivViewpoint{false, {0, 0, 5}};
    const std::set<Pair> borders = edgesOfKind(edgesOf(surface, view), KivFeatureKind::border);
    EXPECT_EQ(borders, (std::set<Pair>{{0, 3}, {1, 3}, {0, 4}, {1, 4}}));
    EXPECT_EQ(edgesOf(surface, view).size(), 4U) << "and no silhouette within";
}

// A cube that names its edges, some of them: the others are none, whatever they bend.
TEST(KivFeatureCreases, OfASurfaceThatNamesItsEdgesAreThese) {
    KivSurface cube = cubeSurface();
    cube.namesEdges = true;
    cube.namedEdges = {{4, 5, false}, {4, 7, true}, {5, 7, false}}; // 4 to 7 is the diagonal of a side
    const KivViewpoint inFront{false, {0.1, 0.2, 8.0}};
    for (const bool tangents : {true, false}) {
        KivFeatureRules rules;
        rules.silhouettes = false;
        rules.tangents = tangents;
        const auto edges = edgesOf(cube, inFront, rules);
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::crease), std::set<Pair>({{4, 5}, {5, 7}}));
        EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::tangent), tangents ? std::set<Pair>({{4, 7}}) : std::set<Pair>());
        rules.silhouettes = true;
        EXPECT_EQ(edgesOfKind(edgesOf(cube, inFront, rules), KivFeatureKind::silhouette).size(), 6U)
            << "folds are seen whether they are named or not";
    }
}

// Where colours meet a part is in two meshes, and only one of them names the edge.
TEST(KivFeatureEdges, EndsOfASurfaceThatNamesItsEdgesAreNoBorders) {
    KivSurface cube = cubeSurface();
    cube.triangles.resize(4); // the sides z = -1 and z = 1
    cube.namesEdges = true;
    cube.namedEdges = {{4, 5, false}};
    const auto edges = edgesOf(cube, KivViewpoint{false, {0.1, 0.2, 8.0}});
    EXPECT_TRUE(edgesOfKind(edges, KivFeatureKind::border).empty());
    EXPECT_EQ(edgesOfKind(edges, KivFeatureKind::crease), std::set<Pair>({{4, 5}}));
}

// The point beyond says whether the end of a mesh is an outline.
TEST(KivFeatureEdges, AnEndWithSomethingBeyondMayBeAFold) {
    KivSurface sheet;
    sheet.points = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
    sheet.triangles = {{0, 1, 2}};
    sheet.namesEdges = true;
    const KivViewpoint above{false, {0.0, 0.0, 1.0}};
    for (const bool folds : {true, false}) {
        sheet.namedEdges = {{0, 1, false, true, {0.5, folds ? 0.2 : -0.2, -1.0}}};
        const auto edges = edgesOf(sheet, above);
        ASSERT_EQ(edges.size(), 1U);
        EXPECT_EQ(edges[0].kind, folds ? KivFeatureKind::silhouette : KivFeatureKind::crease);
        EXPECT_TRUE(edges[0].sharp);
    }
}
