#include "import/normals.h"

#include "import/objreader.h"
#include "importtestfiles.h"
#include "support/pollcost.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

using namespace kivimport;

namespace {

constexpr double pi = 3.14159265358979323846;

Surface surfaceOf(const std::string& obj) {
    Surface surface = readObj(obj, {1'000'000}).parts.surfaces.at(0);
    weldSurface(surface);
    return surface;
}

// The literal form: for each corner, grow the group of faces around its position one linked face at a time, and add up
// their normals by angle.
Vec3 literalNormal(const Surface& surface, std::size_t corner, double crease) {
    const std::uint32_t position = surface.corners[corner];
    std::vector<std::size_t> around;
    Points faces;
    std::vector<double> angles;
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        if (surface.corners[c] == position) {
            const std::size_t t = c / 3 * 3;
            const Vec3 p = surface.positions[position];
            const Vec3 a = surface.positions[surface.corners[t + (c + 1) % 3]] - p;
            const Vec3 b = surface.positions[surface.corners[t + (c + 2) % 3]] - p;
            around.push_back(c);
            faces.push_back(unit(cross(a, b)));
            angles.push_back(std::atan2(length(cross(a, b)), dot(a, b)));
        }
    }
    std::vector<bool> in(around.size());
    for (std::size_t i = 0; i < around.size(); ++i) {
        in[i] = around[i] == corner;
    }
    for (bool grown = true; grown;) {
        grown = false;
        for (std::size_t i = 0; i < around.size(); ++i) {
            for (std::size_t j = 0; j < around.size(); ++j) {
                if (in[i] && !in[j] && dot(faces[i], faces[j]) >= std::cos(crease * pi / 180.0)) {
                    in[j] = true;
                    grown = true;
                }
            }
        }
    }
    Vec3 sum;
    for (std::size_t i = 0; i < around.size(); ++i) {
        sum = in[i] ? sum + faces[i] * angles[i] : sum;
    }
    return unit(sum);
}

Surface randomTerrain(std::mt19937& random, int n, double roughness) {
    Surface surface;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            surface.positions.push_back({x * 1.0, y * 1.0, roughness * static_cast<double>(random() % 1000) / 1000.0});
        }
    }
    for (int y = 0; y + 1 < n; ++y) {
        for (int x = 0; x + 1 < n; ++x) {
            const auto a = static_cast<std::uint32_t>(y * n + x);
            const auto up = static_cast<std::uint32_t>(n);
            surface.corners.insert(surface.corners.end(), {a, a + 1, a + up + 1, a, a + up + 1, a + up});
        }
    }
    surface.parts.push_back({});
    return surface;
}

void addQuad(Surface& surface, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    surface.corners.insert(surface.corners.end(), {a, b, c, a, c, d});
}

// A plate around x whose upper rim is cut by a chamfer of 45 degrees: ten flat polygons.
void addChamferedPlate(Surface& surface, double x) {
    const auto first = static_cast<std::uint32_t>(surface.positions.size());
    for (const auto& [dx, dy] : {std::pair(-1.0, -1.0), {1.0, -1.0}, {1.0, 1.0}, {-1.0, 1.0}}) {
        surface.positions.insert(
            surface.positions.end(),
            {{x + 5.0 * dx, 5.0 * dy, 0.0}, {x + 5.0 * dx, 5.0 * dy, 2.0}, {x + 4.0 * dx, 4.0 * dy, 3.0}});
    }
    addQuad(surface, first + 9, first + 6, first + 3, first);
    addQuad(surface, first + 2, first + 5, first + 8, first + 11);
    for (std::uint32_t i = 0; i < 4; ++i) {
        const std::uint32_t a = first + 3 * i;
        const std::uint32_t b = first + 3 * ((i + 1) % 4);
        addQuad(surface, a, b, b + 1, a + 1);
        addQuad(surface, a + 1, b + 1, b + 2, a + 2);
    }
}

// Around the origin: an icosahedron, whose faces meet at 42 degrees.
void addRoughBall(Surface& surface) {
    const auto first = static_cast<std::uint32_t>(surface.positions.size());
    const double g = (1.0 + std::sqrt(5.0)) / 2.0;
    surface.positions.insert(surface.positions.end(), {{-1, g, 0},
                                                       {1, g, 0},
                                                       {-1, -g, 0},
                                                       {1, -g, 0},
                                                       {0, -1, g},
                                                       {0, 1, g},
                                                       {0, -1, -g},
                                                       {0, 1, -g},
                                                       {g, 0, -1},
                                                       {g, 0, 1},
                                                       {-g, 0, -1},
                                                       {-g, 0, 1}});
    for (const std::uint32_t c :
         {0, 11, 5, 0, 5, 1, 0, 1, 7, 0, 7, 10, 0, 10, 11, 1, 5, 9, 5, 11, 4,  11, 10, 2,  10, 7, 6, 7, 1, 8,
          3, 9,  4, 3, 4, 2, 3, 2, 6, 3, 6, 8,  3, 8,  9,  4, 9, 5, 2, 4,  11, 6,  2,  10, 8,  6, 7, 9, 8, 1}) {
        surface.corners.push_back(first + c);
    }
}

// The cosine of the most that a corner's normal is turned away from its triangle's.
double leastTurn(const Surface& surface, const SurfaceVertices& vertices) {
    double least = 1.0;
    for (std::size_t c = 0; c < surface.corners.size(); ++c) {
        const std::uint32_t* corner = &surface.corners[c / 3 * 3];
        const Vec3& a = surface.positions[corner[0]];
        const Vec3 face = unit(cross(surface.positions[corner[1]] - a, surface.positions[corner[2]] - a));
        least = std::min(least, dot(vertices.normals[vertices.corners[c]], face));
    }
    return least;
}

} // namespace

TEST(Weld, MakesEqualPositionsOne) {
    Surface surface;
    surface.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-0.0, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 1e-300}};
    surface.corners = {0, 1, 2, 3, 4, 5, 0, 6, 2};
    EXPECT_EQ(weldSurface(surface), 0U);
    EXPECT_EQ(surface.positions.size(), 5U);
    EXPECT_EQ(surface.corners, (Indices{0, 1, 2, 0, 2, 3, 0, 4, 2}));
}

TEST(Weld, RemovesWhatHasNoArea) {
    Surface surface;
    surface.positions = {{0, 0, 0}, {1, 0, 0},       {0, 1, 0},       {0, 0, 0},
                         {2, 0, 0}, {0.1, 0.3, 0.7}, {0.2, 0.6, 1.4}, {0.3, 0.9, 2.1}};
    surface.corners = {0, 1, 1, 0, 3, 2, 0, 1, 4, 5, 6, 7, 0, 1, 2};
    surface.cornerNormals = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    surface.triangleParts = {0, 1, 2, 3, 4};
    EXPECT_EQ(weldSurface(surface), 4U);
    EXPECT_EQ(surface.corners, (Indices{0, 1, 2}));
    EXPECT_EQ(surface.cornerNormals, (Indices{12, 13, 14}));
    EXPECT_EQ(surface.triangleParts, (Indices{4}));
}

TEST(Normals, ABoxIsSharp) {
    const Surface surface = surfaceOf(boxObj);
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    EXPECT_EQ(vertices.normals.size(), 24U);
    for (std::size_t c = 0; c < vertices.corners.size(); ++c) {
        const Vec3 n = vertices.normals[vertices.corners[c]];
        EXPECT_NEAR(std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z), 1.0, 1e-15);
    }
}

TEST(Normals, AChamferHasItsEdgesAndTheFaceBesideItIsFlat) {
    Surface surface;
    addChamferedPlate(surface, 0.0);
    for (const double crease : {50.0, 31.5, 60.0}) {
        const SurfaceVertices vertices = makeVertices(surface, crease);
        EXPECT_EQ(vertices.normals.size(), 40U) << crease; // ten polygons of four corners
        EXPECT_NEAR(leastTurn(surface, vertices), 1.0, 1e-12) << crease;
    }
    EXPECT_LT(leastTurn(surface, makeVertices(surface, 61.0)), 0.99); // who asks for it gets it round
}

TEST(Normals, ARoughBallBesideAPlateStaysRound) {
    Surface surface;
    addChamferedPlate(surface, 100.0);
    const std::size_t plate = surface.corners.size();
    addRoughBall(surface);
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    EXPECT_EQ(vertices.normals.size(), 40U + surface.positions.size() - 12U);
    for (std::size_t c = plate; c < surface.corners.size(); ++c) {
        EXPECT_GT(dot(vertices.normals[vertices.corners[c]], unit(surface.positions[surface.corners[c]])), 0.9) << c;
    }
}

TEST(Normals, AFineMeshOfAPlateIsFlatToo) {
    Surface plate;
    addChamferedPlate(plate, 0.0);
    Surface fine;
    constexpr int n = 24;
    for (std::size_t t = 0; t < plate.corners.size(); t += 3) {
        const Vec3& a = plate.positions[plate.corners[t]];
        const Vec3 u = (plate.positions[plate.corners[t + 1]] - a) * (1.0 / n);
        const Vec3 v = (plate.positions[plate.corners[t + 2]] - a) * (1.0 / n);
        const auto add = [&](int i, int j) {
            const Vec3 p = a + u * i + v * j;
            fine.corners.push_back(static_cast<std::uint32_t>(fine.positions.size()));
            fine.positions.push_back(
                {std::round(p.x * 1e6) / 1e6, std::round(p.y * 1e6) / 1e6, std::round(p.z * 1e6) / 1e6});
        };
        for (int i = 0; i < n; ++i) {
            for (int j = 0; i + j < n; ++j) {
                add(i, j);
                add(i + 1, j);
                add(i, j + 1);
                if (i + j + 1 < n) {
                    add(i + 1, j);
                    add(i + 1, j + 1);
                    add(i, j + 1);
                }
            }
        }
    }
    weldSurface(fine);
    EXPECT_GT(fine.corners.size(), 3U * 5000U);
    EXPECT_GT(leastTurn(fine, makeVertices(fine, 50.0)), 0.999);
}

TEST(Normals, TheRestPoseDecidesWhatIsFlat) {
    Surface surface;
    addChamferedPlate(surface, 0.0);
    surface.restPositions = surface.positions;
    for (Vec3& p : surface.positions) {
        p.z += 0.02 * p.x * p.x + 0.01 * p.x * p.y; // no plane is left
    }
    EXPECT_EQ(makeVertices(surface, 50.0).normals.size(), 40U);
    surface.restPositions.swap(surface.positions);
    EXPECT_LT(makeVertices(surface, 50.0).normals.size(), 40U);
}

TEST(Normals, ABoxIsRoundAboveItsAngle) {
    const SurfaceVertices vertices = makeVertices(surfaceOf(boxObj), 91.0);
    ASSERT_EQ(vertices.normals.size(), 8U);
    // Three faces meet at right angles, each counts the same however it is cut up.
    for (const Vec3& n : vertices.normals) {
        EXPECT_NEAR(std::fabs(n.x), std::sqrt(1.0 / 3.0), 1e-12);
        EXPECT_NEAR(std::fabs(n.y), std::sqrt(1.0 / 3.0), 1e-12);
    }
}

TEST(Normals, ACylinderIsSmoothWithSharpRims) {
    std::string obj;
    constexpr int n = 24;
    for (int i = 0; i < n; ++i) {
        const double angle = 2.0 * pi * i / n;
        for (const double z : {0.0, 1.0}) {
            obj += "v " + std::to_string(std::cos(angle)) + " " + std::to_string(std::sin(angle)) + " " +
                   std::to_string(z) + "\n";
        }
    }
    std::string top = "f";
    for (int i = 0; i < n; ++i) {
        const int a = 2 * i + 1;
        const int b = 2 * ((i + 1) % n) + 1;
        obj += "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + 1) + " " +
               std::to_string(a + 1) + "\n";
        top.append(" ").append(std::to_string(a + 1));
    }
    const Surface surface = surfaceOf(obj + top + "\n");
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    EXPECT_EQ(vertices.normals.size(), static_cast<std::size_t>(3 * n));
    for (std::size_t v = 0; v < vertices.normals.size(); ++v) {
        const Vec3& p = surface.positions[vertices.positions[v]];
        const bool lid = vertices.normals[v].z > 0.5;
        EXPECT_NEAR(dot(vertices.normals[v], lid ? Vec3{0, 0, 1} : Vec3{p.x, p.y, 0.0}), 1.0, 1e-5);
    }
}

TEST(Normals, GivenOnesAreKeptAndMissingOnesFilledIn) {
    Surface surface = surfaceOf("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 3 4\nvn 0 0 0\nf 1//1 2//2 3\n");
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    const auto normalAt = [&](std::size_t corner) { return vertices.normals[vertices.corners[corner]]; };
    EXPECT_NEAR(normalAt(0).y, 0.6, 1e-15);
    EXPECT_NEAR(normalAt(0).z, 0.8, 1e-15);
    EXPECT_EQ(normalAt(1), (Vec3{0, 0, 1}));
    EXPECT_EQ(normalAt(2), (Vec3{0, 0, 1}));
}

TEST(Normals, ANeedleFollowsItsNeighbours) {
    // Its height is below what six digits can tell.
    const Surface surface =
        surfaceOf("v 0 0 0\nv 1 0 0\nv 0.5 0.0000004 0.0000003\nv 0.5 1 0\nf 1 2 3\nf 1 3 4\nf 3 2 4\n");
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    for (const Vec3& n : vertices.normals) {
        EXPECT_GT(n.z, 0.999999);
    }
}

TEST(Normals, ManyFacesAtOnePlaceStayQuick) {
    Surface surface;
    constexpr std::uint32_t n = 20'000;
    surface.positions.push_back({0, 0, 40.0});
    for (std::uint32_t i = 0; i < n; ++i) {
        const double angle = 2.0 * pi * i / n;
        surface.positions.push_back({std::cos(angle), std::sin(angle), 0.0});
        surface.corners.insert(surface.corners.end(), {0, i + 1, (i + 1) % n + 1});
    }
    const SurfaceVertices vertices = makeVertices(surface, 50.0);
    for (std::size_t t = 0; t < n; t += 997) {
        const Vec3& p = surface.positions[surface.corners[t * 3 + 1]];
        EXPECT_GT(dot(vertices.normals[vertices.corners[t * 3]], p), 0.99);
    }
}

TEST(Normals, EqualTheLiteralForm) {
    std::mt19937 random(7);
    for (const double roughness : {0.2, 0.8, 2.0, 5.0}) {
        for (const double crease : {0.0, 20.0, 50.0, 120.0, 180.0}) {
            Surface surface = randomTerrain(random, 9, roughness);
            weldSurface(surface);
            const SurfaceVertices vertices = makeVertices(surface, crease);
            ASSERT_EQ(vertices.corners.size(), surface.corners.size());
            for (std::size_t c = 0; c < surface.corners.size(); ++c) {
                ASSERT_EQ(vertices.positions[vertices.corners[c]], surface.corners[c]);
                const Vec3 expected = literalNormal(surface, c, crease);
                ASSERT_GT(dot(vertices.normals[vertices.corners[c]], expected), 1.0 - 1e-9)
                    << "roughness " << roughness << " crease " << crease << " corner " << c;
            }
        }
    }
}

// --- a cancel in the middle of one very large surface

// Hills of so many squares a side; every triangle has three positions of its own.
Surface largeSurface(int side) {
    Surface surface;
    const auto at = [](int x, int y) { return Vec3{x * 0.7, y * 0.7, 3.0 * std::sin(0.3 * x) * std::cos(0.2 * y)}; };
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            for (const Vec3& p : {at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y), at(x + 1, y + 1), at(x, y + 1)}) {
                surface.corners.push_back(static_cast<std::uint32_t>(surface.positions.size()));
                surface.positions.push_back(p);
            }
        }
    }
    return surface;
}

WorkWatch endsWhenCancelled() {
    return WorkWatch([] {
        if (kivIsCancelled()) {
            throw ImportCancelled();
        }
    });
}

template <class Work> void untilCancelled(Work work) {
    try {
        work();
    } catch (const ImportCancelled&) {
        // as the import itself ends
    }
}

TEST(Normals, AskForACancelByCostWhileOneSurfaceIsWelded) {
    const Surface given = largeSurface(700);
    Surface surface = given;
    // In the same memory, as new memory would take longer than a poll may, and so does copying all at once.
    const auto startOver = [&] {
        surface.corners = given.corners;
        surface.positions.resize(given.positions.size());
        WorkWatch watch = endsWhenCancelled();
        for (std::size_t i = 0; i < given.positions.size(); ++i) {
            watch.add(1);
            surface.positions[i] = given.positions[i];
        }
    };
    PollCost::expectAllowed([&] {
        untilCancelled([&] {
            startOver();
            weldSurface(surface, endsWhenCancelled());
        });
    });
}

TEST(Normals, AskForACancelByCostWhileVerticesAreMade) {
    Surface surface = largeSurface(750);
    weldSurface(surface);
    for (const double crease : {50.0, 5.0}) { // one normal to a position, and several
        PollCost::expectAllowed([&surface, crease] {
            untilCancelled([&surface, crease] { makeVertices(surface, crease, endsWhenCancelled()); });
        });
    }
}

// Two squares that share a side, of which the second is bent up; and the same at rest.
TEST(MakeVertices, InAPoseTheAnglesAreThoseAtRest) {
    const auto points = [](double degrees) {
        const double a = degrees * pi / 180.0;
        Points list;
        for (const double y : {0.0, 1.0}) {
            list.insert(list.end(), {{-1.0, y, 0.0}, {0.0, y, 0.0}, {std::cos(a), y, std::sin(a)}});
        }
        return list;
    };
    for (const double rest : {0.0, 80.0}) {
        for (const double pose : {1.0, 20.0, 49.0, 51.0, 80.0}) {
            Surface surface;
            surface.positions = points(pose);
            surface.restPositions = points(rest);
            surface.corners = {0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4};
            const SurfaceVertices vertices = makeVertices(surface, 50.0);
            EXPECT_EQ(vertices.normals.size(), rest > 50.0 ? 8U : 6U) << rest << " " << pose;
            EXPECT_EQ(vertices.given.size(), vertices.normals.size());
            // The normals themselves are those of the pose.
            const double a = pose * pi / 180.0;
            EXPECT_NEAR(length(vertices.normals[vertices.corners[7]] - Vec3{-std::sin(a), 0.0, std::cos(a)}), 0.0,
                        1e-9);
        }
    }
}

TEST(WeldSurface, KeepsTheRestBesideThePose) {
    Surface surface;
    surface.positions = {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}};
    surface.restPositions = {{0, 0, 5}, {1, 0, 5}, {0, 0, 5}, {0, 1, 5}, {1, 0, 5}, {1, 1, 5}};
    surface.corners = {0, 1, 3, 4, 5, 3};
    weldSurface(surface);
    ASSERT_EQ(surface.positions.size(), 4U);
    ASSERT_EQ(surface.restPositions.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(surface.restPositions[i], (surface.positions[i] + Vec3{0, 0, 5}));
    }
}
