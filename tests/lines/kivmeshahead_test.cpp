#include "kivrender/lines/kivmeshahead.h"

#include "kivrender/scene/kivmesh.h"
#include "support/meshsamples.h"
#include "support/pollcounter.h"

#include <gtest/gtest.h>

namespace {

using Features = std::shared_ptr<const KivMeshFeatures>;

// Two balls half into each other.
struct Balls {
    explicit Balls(int triangles) : one(*bumpyBall(triangles)) {
        for (unsigned int i = 0; i < one.getNumVertexs(); ++i) {
            const Kiv3DPoint p = one.getVertex(i);
            other.addVertex({p.x + 0.4, p.y + 0.3, p.z + 0.2});
        }
        for (unsigned int t = 0; t < one.getNumTriangles(); ++t) {
            unsigned int corner[3] = {0, 0, 0};
            one.getTriangle(corner, t);
            other.addTriangle(corner[0], corner[1], corner[2]);
        }
    }

    std::vector<KivMeshAhead::Request> requests() const {
        return {{&one, true}, {&other, true}};
    }

    KivMesh one;
    KivMesh other;
};

struct Found {
    Features one;
    Features other;
    std::vector<KivCrossing> pieces;
    bool isWhole = false;
};

// As a shader of lines asks.
Found find(const Balls& balls) {
    Found found;
    KivMeshCrossings crossings;
    found.one = kivMeshFeatures(balls.one);
    const bool isFirst = crossings.add(found.one);
    found.other = kivMeshFeatures(balls.other);
    found.isWhole = isFirst && crossings.add(found.other) && crossings.find();
    found.pieces = crossings.pieces();
    return found;
}

bool equal(const KivVec& a, const KivVec& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

void expectSame(const Found& actual, const Found& expected) {
    ASSERT_TRUE(actual.isWhole);
    EXPECT_EQ(actual.one->surface.triangles, expected.one->surface.triangles);
    EXPECT_EQ(actual.other->wings.size(), expected.other->wings.size());
    ASSERT_EQ(actual.pieces.size(), expected.pieces.size());
    for (std::size_t i = 0; i < expected.pieces.size(); ++i) {
        ASSERT_TRUE(equal(actual.pieces[i].from, expected.pieces[i].from)) << i;
        ASSERT_TRUE(equal(actual.pieces[i].to, expected.pieces[i].to)) << i;
    }
}

} // namespace

TEST(KivMeshAhead, WhatIsFoundAheadIsTheSame) {
    Balls balls(3000);
    const Found expected = find(balls);
    EXPECT_GT(expected.pieces.size(), 20U);
    // Chance decides which of the two threads is faster.
    for (int round = 0; round < 30; ++round) {
        balls.one = KivMesh(balls.one); // forgets what was kept
        const KivMeshAhead ahead(balls.requests());
        for (int pause = 0; pause < round * 20000; ++pause) {
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
        expectSame(find(balls), expected);
    }
}

// What nobody keeps is made anew for each who asks, unless another thread has made it.
TEST(KivMeshAhead, WorksOnAThreadOfItsOwn) {
    bool isTaken = false;
    for (int round = 0; round < 100 && !isTaken; ++round) {
        const Balls balls(2000);
        const KivMeshAhead ahead(balls.requests());
        std::this_thread::sleep_for(std::chrono::milliseconds(round));
        isTaken = kivMeshFeatures(balls.one) == kivMeshFeatures(balls.one);
    }
    EXPECT_TRUE(isTaken);
}

TEST(KivMeshAhead, OtherMeshesAndOtherGroupsAreFoundAsEver) {
    const Balls balls(500);
    const Balls others(600);
    const Found expected = find(others);
    const KivMeshAhead ahead({{&balls.one, true}, {&others.other, false}});
    expectSame(find(others), expected);
}

namespace {

class ThreadWatch : public PollCounter {
public:
    using PollCounter::PollCounter;
    bool isCancelled() override {
        strangers += std::this_thread::get_id() == own ? 0 : 1;
        return PollCounter::isCancelled();
    }

    std::atomic<int> strangers{0};

private:
    std::thread::id own = std::this_thread::get_id();
};

} // namespace

TEST(KivMeshAhead, AHostIsAskedOnItsThreadAlone) {
    ThreadWatch watch;
    const ScopedProgress progress(watch);
    const Balls balls(20000);
    const KivMeshAhead ahead(balls.requests());
    EXPECT_TRUE(find(balls).isWhole);
    EXPECT_EQ(watch.strangers, 0);
    EXPECT_GT(watch.polls, 0);
}

TEST(KivMeshAhead, ACancelEndsTheWork) {
    const Balls balls(200000);
    {
        ThreadWatch watch(1);
        const ScopedProgress progress(watch);
        const KivMeshAhead ahead(balls.requests());
        EXPECT_FALSE(find(balls).isWhole);
    }
    EXPECT_TRUE(find(balls).isWhole) << "nothing half is kept";
}
