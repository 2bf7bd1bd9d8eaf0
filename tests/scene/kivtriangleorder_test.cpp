// The ordered triangle list of a scene, against the insertion as it is defined.
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivscene.h"

#include "reference/literaltriangleorder.h"
#include "support/meshsamples.h"
#include "support/pollcost.h"
#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>

namespace {

KivCamera cameraAt(double x, double y, double z) {
    KivCamera camera;
    camera.setLocation(Kiv3DPoint(x, y, z));
    return camera;
}

// A mesh with a triangle of no size at each place: the middle is the place.
KivMesh* meshAt(const std::vector<double>& places, double transparency) {
    auto* mesh = new KivMesh;
    for (const double place : places) {
        const unsigned int vertex = mesh->getNumVertexs();
        mesh->addVertex(Kiv3DPoint(place, 0.0, 0.0), Kiv3DVector(0.0, 0.0, 1.0));
        mesh->addTriangle(vertex, vertex, vertex);
    }
    KivMaterial material;
    material.setTransparency(transparency);
    mesh->setMaterial(material);
    return mesh;
}

// What the scene has in its list: the record of each place.
std::vector<LiteralTriangleOrder::Record> listOf(const KivScene& scene) {
    std::vector<LiteralTriangleOrder::Record> records;
    for (unsigned int i = 0; i < scene.numTriangles(); ++i) {
        KivMesh* mesh = nullptr;
        int meshIndex = -1;
        Kiv3DPoint points[3];
        Kiv3DVector normals[3];
        scene.getOrderedTriangle(i, &mesh, &meshIndex, points, normals);
        // The number of the triangle is kept in the normal's x by the random scenes.
        records.push_back({meshIndex, static_cast<int>(normals[0].x)});
    }
    return records;
}

KivMesh* numbered(const std::vector<Kiv3DPoint>& middles, double transparency) {
    auto* mesh = new KivMesh;
    for (const Kiv3DPoint& middle : middles) {
        const unsigned int vertex = mesh->getNumVertexs();
        mesh->addVertex(middle, Kiv3DVector(vertex, 0.0, 0.0));
        mesh->addTriangle(vertex, vertex, vertex);
    }
    KivMaterial material;
    material.setTransparency(transparency);
    mesh->setMaterial(material);
    return mesh;
}

double xOf(const KivScene& scene, unsigned int index) {
    KivMesh* mesh = nullptr;
    Kiv3DPoint points[3];
    Kiv3DVector normals[3];
    scene.getOrderedTriangle(index, &mesh, points, normals);
    EXPECT_NE(mesh, nullptr);
    return points[0].x;
}

TEST(KivTriangleOrder, OnlyTransparentMeshesAreTaken) {
    KivScene scene;
    scene.addMesh(meshAt({1, 2, 3}, 1.0));
    scene.addMesh(meshAt({4, 5}, 0.5));
    scene.addMesh(nullptr);
    scene.addMesh(meshAt({6}, 2.0));
    EXPECT_EQ(scene.numTriangles(), 0U);
    scene.orderTrianglesTransparent(cameraAt(0, 0, 0));
    EXPECT_EQ(scene.numTriangles(), 2U);
    EXPECT_EQ(xOf(scene, 0), 5.0) << "the farthest comes first";
    EXPECT_EQ(xOf(scene, 1), 4.0);
}

TEST(KivTriangleOrder, ExactlyOneIsOpaque) {
    KivScene scene;
    scene.addMesh(meshAt({1}, 1.0));
    scene.orderTrianglesTransparent(cameraAt(0, 0, 0));
    EXPECT_EQ(scene.numTriangles(), 0U);
    scene.addMesh(meshAt({1}, 0.999));
    scene.orderTrianglesTransparent(cameraAt(0, 0, 0));
    EXPECT_EQ(scene.numTriangles(), 1U);
    KivScene nearly;
    nearly.addMesh(meshAt({1}, std::nextafter(1.0, 0.0)));
    nearly.orderTrianglesTransparent(cameraAt(0, 0, 0));
    EXPECT_EQ(nearly.numTriangles(), 1U);
}

TEST(KivTriangleOrder, EqualDistancesKeepTheirOrder) {
    KivScene scene;
    scene.addMesh(numbered({{2, 0, 0}, {0, 2, 0}}, 0.5));
    scene.addMesh(numbered({{0, 0, 2}, {5, 0, 0}, {1, 0, 0}}, 0.5));
    scene.orderTrianglesTransparent(cameraAt(0, 0, 0));
    EXPECT_EQ(listOf(scene), (std::vector<LiteralTriangleOrder::Record>{{1, 1}, {0, 0}, {0, 1}, {1, 0}, {1, 2}}));
}

TEST(KivTriangleOrder, ASecondCallAddsEverythingAgain) {
    KivScene scene;
    scene.addMesh(meshAt({1, 2, 3}, 1.0));
    scene.orderTrianglesVectorial(cameraAt(0, 0, 0));
    scene.orderTrianglesVectorial(cameraAt(0, 0, 0));
    ASSERT_EQ(scene.numTriangles(), 6U);
    const double expected[] = {3, 3, 2, 2, 1, 1};
    for (unsigned int i = 0; i < 6; ++i) {
        EXPECT_EQ(xOf(scene, i), expected[i]);
    }
    scene.empty();
    EXPECT_EQ(scene.numTriangles(), 0U);
}

TEST(KivTriangleOrder, AMeshFilledAfterItWasAddedIsOrderedAllTheSame) {
    KivScene scene;
    auto* mesh = new KivMesh;
    scene.addMesh(mesh);
    for (unsigned int i = 0; i < 3; ++i) {
        mesh->addVertex(Kiv3DPoint(i, 0.0, 0.0));
        mesh->addTriangle(i, i, i);
    }
    scene.addNumtriangles(3);
    scene.orderTrianglesVectorial(cameraAt(0, 0, 0));
    ASSERT_EQ(scene.numTriangles(), 3U);
    EXPECT_EQ(xOf(scene, 0), 2.0);
}

TEST(KivTriangleOrder, GivesPointsNormalsAndMesh) {
    KivScene scene;
    auto* mesh = new KivMesh;
    const Kiv3DVector n(0.0, 1.0, 0.0);
    mesh->addTriangle({0, 0, 0}, n, {3, 0, 0}, n, {0, 0, 3}, n);
    scene.addMesh(meshAt({}, 1.0));
    scene.addMesh(mesh);
    scene.orderTrianglesVectorial(cameraAt(0, 0, 0));
    KivMesh* found = nullptr;
    int meshIndex = -1;
    Kiv3DPoint points[3];
    Kiv3DVector normals[3];
    scene.getOrderedTriangle(0, &found, &meshIndex, points, normals);
    EXPECT_EQ(found, mesh);
    EXPECT_EQ(meshIndex, 1);
    EXPECT_TRUE(points[1] == Kiv3DPoint(3, 0, 0));
    EXPECT_TRUE(normals[2] == n);
}

// Random scenes: calls with one or several cameras, few distances with many ties, and numbers that are none.
void compareRandomScene(RawRandom& random, unsigned int largestMesh) {
    KivScene scene;
    const unsigned int meshes = 1 + random.below(4);
    const unsigned int kind = random.below(4);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (unsigned int i = 0; i < meshes; ++i) {
        std::vector<Kiv3DPoint> middles(random.below(largestMesh + 1));
        for (Kiv3DPoint& middle : middles) {
            if (kind == 0) {
                middle.set(random.between(-5.0, 5.0), random.between(-5.0, 5.0), random.between(-5.0, 5.0));
            } else {
                middle.set(random.below(4) * 3.0, random.below(3) * 3.0, 0.0);
            }
            if (kind >= 2 && random.chance(6)) {
                middle.x = random.chance(2) ? std::nan("") : (random.chance(2) ? infinity : 1e200);
            }
        }
        const double transparencies[] = {0.5, 1.0, 0.999};
        scene.addMesh(numbered(middles, transparencies[random.below(3)]));
    }
    LiteralTriangleOrder literal(scene);
    const unsigned int calls = 1 + random.below(3);
    KivCamera camera = cameraAt(random.below(5), random.below(5), random.below(5));
    for (unsigned int call = 0; call < calls; ++call) {
        if (random.chance(2)) {
            camera = cameraAt(random.below(5), random.below(5), kind == 3 && random.chance(5) ? infinity : 1.0);
        }
        const bool transparentOnly = random.chance(2);
        if (transparentOnly) {
            scene.orderTrianglesTransparent(camera);
        } else {
            scene.orderTrianglesVectorial(camera);
        }
        literal.order(camera, transparentOnly);
        ASSERT_EQ(listOf(scene), literal.records);
    }
}

TEST(KivTriangleOrder, EqualsTheLiteralInsertionOnSmallScenes) {
    RawRandom random(21);
    for (int round = 0; round < 5000; ++round) {
        ASSERT_NO_FATAL_FAILURE(compareRandomScene(random, 12)) << round;
    }
}

TEST(KivTriangleOrder, EqualsTheLiteralInsertionOnLargerScenes) {
    RawRandom random(22);
    for (int round = 0; round < 30; ++round) {
        ASSERT_NO_FATAL_FAILURE(compareRandomScene(random, 2500)) << round;
    }
}

TEST(KivTriangleOrder, MovedVerticesOrderAsTheInsertionDoes) {
    RawRandom random(23);
    for (int round = 0; round < 500; ++round) {
        KivScene scene;
        std::vector<Kiv3DPoint> middles(20);
        for (Kiv3DPoint& middle : middles) {
            middle.set(random.below(9), 0.0, 0.0);
        }
        scene.addMesh(numbered(middles, 0.5));
        LiteralTriangleOrder literal(scene);
        const KivCamera camera = cameraAt(0, 0, 0);
        scene.orderTrianglesVectorial(camera);
        literal.order(camera, false);
        for (Kiv3DPoint& middle : middles) {
            middle.set(random.below(9), 0.0, 0.0);
        }
        const std::unique_ptr<KivMesh> moved(numbered(middles, 0.5));
        *scene.getMesh(0) = *moved;
        scene.orderTrianglesVectorial(camera);
        literal.order(camera, false);
        ASSERT_EQ(listOf(scene), literal.records) << round;
    }
}

// Distances of every kind that the sort deals out: few and many, in one narrow range, over all magnitudes, and many
// alike beside few others.
TEST(KivTriangleOrder, LargeScenesAreAStableSort) {
    RawRandom random(24);
    const std::function<double()> kinds[] = {
        [&] { return random.between(10.0, 11.0); },
        [&] { return std::exp(random.between(-300.0, 300.0)); },
        [&] { return random.chance(500) ? random.between(0.0, 1e6) : 3.0; },
        [&] { return random.below(40) * 1.0; },
        [&] { return 1.0 + random.below(1000) * 1e-9 + (random.chance(3) ? 1e9 : 0.0); },
    };
    for (const auto& distance : kinds) {
        KivScene scene;
        std::vector<Kiv3DPoint> middles(150000);
        for (Kiv3DPoint& middle : middles) {
            middle.set(distance(), 0.0, 0.0);
        }
        scene.addMesh(numbered(middles, 0.5));
        std::vector<int> expected(middles.size());
        std::iota(expected.begin(), expected.end(), 0);
        const auto squared = [&](int i) {
            // As the middle of three equal corners is computed.
            const double x = middles[static_cast<std::size_t>(i)].x;
            const double middle = (x + x + x) / 3.0;
            return middle * middle;
        };
        std::ranges::stable_sort(expected, [&](int a, int b) { return squared(a) > squared(b); });
        scene.orderTrianglesVectorial(cameraAt(0, 0, 0));
        const auto records = listOf(scene);
        ASSERT_EQ(records.size(), expected.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            ASSERT_EQ(records[i].triangle, expected[i]) << i;
        }
    }
}

// Insertions enough for blocks and groups that are cut in two.
TEST(KivTriangleOrder, ManyInsertionsIntoAListThatIsInNoOrder) {
    RawRandom random(25);
    KivScene scene;
    for (const unsigned int count : {9000U, 30000U}) {
        std::vector<Kiv3DPoint> middles(count);
        for (Kiv3DPoint& middle : middles) {
            middle.set(random.between(0.0, 1.0), random.between(0.0, 1.0), 0.0);
        }
        scene.addMesh(numbered(middles, count == 9000U ? 0.5 : 1.0));
    }
    LiteralTriangleOrder literal(scene);
    scene.orderTrianglesTransparent(cameraAt(0, 0, 0));
    literal.order(cameraAt(0, 0, 0), true);
    scene.orderTrianglesVectorial(cameraAt(1, 5, 0));
    literal.order(cameraAt(1, 5, 0), false);
    ASSERT_EQ(listOf(scene), literal.records);
}

TEST(KivTriangleOrder, AsksForACancelByCost) {
    KivScene scene;
    std::unique_ptr<KivMesh> grid = gridMesh(1500000);
    scene.addMesh(grid.release());
    KivScene again;
    PollCost::expectAllowed([&] {
        again = scene;
        again.orderTrianglesVectorial(cameraAt(3, 4, 20));
    });
    scene.orderTrianglesVectorial(cameraAt(3, 4, 20));
    PollCost::expectAllowed([&] {
        again = scene;
        again.orderTrianglesVectorial(cameraAt(3, 4, 20));
    });
}

TEST(KivTriangleOrder, InsertionAsksForACancelByCost) {
    KivScene scene;
    scene.addMesh(gridMesh(150000).release());
    scene.orderTrianglesVectorial(cameraAt(3, 4, 20));
    PollCost::expectAllowed([&] {
        KivScene copy(scene);
        copy.orderTrianglesVectorial(cameraAt(-20, 4, 3));
    });
}

TEST(KivTriangleOrder, ACancelLeavesTheListAsItWas) {
    for (const bool isInsertion : {false, true}) {
        KivScene scene;
        scene.addMesh(gridMesh(40000).release());
        scene.orderTrianglesVectorial(cameraAt(3, 4, 20));
        const KivCamera camera = isInsertion ? cameraAt(-20, 4, 3) : cameraAt(3, 4, 20);
        const unsigned int before = scene.numTriangles();
        PollCounter counter;
        {
            const ScopedProgress scope(counter);
            KivScene copy(scene);
            copy.orderTrianglesVectorial(camera);
            EXPECT_EQ(copy.numTriangles(), 2 * before);
        }
        EXPECT_GT(counter.polls, 5);
        for (long poll = 1; poll <= counter.polls; ++poll) {
            PollCounter cancel(poll);
            const ScopedProgress scope(cancel);
            KivScene copy(scene);
            copy.orderTrianglesVectorial(camera);
            EXPECT_EQ(copy.numTriangles(), before) << poll;
            EXPECT_EQ(cancel.polls, poll);
        }
    }
}

} // namespace
