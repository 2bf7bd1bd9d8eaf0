#include "kivoutlinestroke.h"

#include "kivthinnedpath.h"

#include "../shapes.h"
#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

LineBudget polls(std::numeric_limits<std::size_t>::max());

bool covers(const KivStrokeMesh& mesh, float x, float y) {
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const float* p[3] = {&mesh.points[mesh.indices[i] * 2], &mesh.points[mesh.indices[i + 1] * 2],
                             &mesh.points[mesh.indices[i + 2] * 2]};
        bool left = true;
        bool right = true;
        for (int k = 0; k < 3; ++k) {
            const float* a = p[k];
            const float* b = p[(k + 1) % 3];
            const float side = (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
            left = left && side >= 0.0F;
            right = right && side <= 0.0F;
        }
        if (left || right) {
            return true;
        }
    }
    return false;
}

float distanceTo(const KivLinePath& path, float x, float y) {
    float best = 1e9F;
    const std::size_t count = path.points.size();
    for (std::size_t i = 0; i + 1 < count + (path.closed ? 1 : 0); ++i) {
        const KivLinePoint& a = path.points[i];
        const KivLinePoint& b = path.points[(i + 1) % count];
        const float dx = b.x - a.x;
        const float dy = b.y - a.y;
        const float square = dx * dx + dy * dy;
        const float t = square > 0.0F ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0F, 1.0F) : 0.0F;
        best = std::min(best, std::hypot(a.x + dx * t - x, a.y + dy * t - y));
    }
    return best;
}

} // namespace

TEST(KivStroke, CoversWhatIsNearThePathAndNothingElse) {
    std::mt19937 words(13);
    for (int run = 0; run < 60; ++run) {
        KivLinePath path;
        path.closed = run % 3 == 0;
        const std::size_t count = 2 + words() % 8;
        const float half = 1.0F + static_cast<float>(words() % 60) / 10.0F;
        for (std::size_t i = 0; i < count; ++i) {
            path.points.push_back(
                {static_cast<float>(signedUnit(words) * 30), static_cast<float>(signedUnit(words) * 30), half});
        }
        KivStrokeMesh mesh;
        kivStroke(path, mesh, polls);
        for (int i = 0; i < 400; ++i) {
            const float x = static_cast<float>(signedUnit(words) * 40);
            const float y = static_cast<float>(signedUnit(words) * 40);
            const float distance = distanceTo(path, x, y);
            if (distance < half - 0.2F) {
                EXPECT_TRUE(covers(mesh, x, y)) << run << ": gap at " << x << ' ' << y;
            } else if (distance > half + 0.05F) {
                EXPECT_FALSE(covers(mesh, x, y)) << run << ": too wide at " << x << ' ' << y;
            }
        }
    }
}

TEST(KivStroke, OfASinglePlaceIsADot) {
    for (const std::size_t count : {1U, 2U, 3U}) {
        KivLinePath path;
        path.points.assign(count, {5.0F, 6.0F, 2.0F});
        KivStrokeMesh mesh;
        kivStroke(path, mesh, polls);
        EXPECT_TRUE(covers(mesh, 6.5F, 6.0F));
        EXPECT_FALSE(covers(mesh, 7.5F, 6.0F));
    }
    KivStrokeMesh none;
    kivStroke({}, none, polls);
    EXPECT_TRUE(none.indices.empty());
}

TEST(KivThinnedPath, StaysWithinItsTolerance) {
    std::mt19937 words(14);
    for (int run = 0; run < 50; ++run) {
        KivLinePath path;
        float x = 0.0F;
        float y = 0.0F;
        for (int i = 0; i < 700; ++i) {
            x += 1.5F;
            y += static_cast<float>(signedUnit(words)) * 0.4F;
            path.points.push_back({x, y, 2.0F});
        }
        const KivLinePath thinned = kivThinnedPath(path, 0.25F, polls);
        EXPECT_LT(thinned.points.size(), path.points.size());
        EXPECT_EQ(thinned.points.front().x, path.points.front().x);
        EXPECT_EQ(thinned.points.back().x, path.points.back().x);
        for (const KivLinePoint& p : path.points) {
            EXPECT_LE(distanceTo(thinned, p.x, p.y), 0.2501F);
        }
    }
}

TEST(KivThinnedPath, KeepsChangesOfWidth) {
    KivLinePath path;
    for (int i = 0; i <= 20; ++i) {
        path.points.push_back({i * 1.0F, 0.0F, i < 10 ? 1.0F : 3.0F});
    }
    const KivLinePath thinned = kivThinnedPath(path, 0.1F, polls);
    EXPECT_EQ(thinned.points.size(), 4U);
}

TEST(KivTaperEnds, LooseEndsThinOut) {
    KivLinePath path;
    for (int i = 0; i <= 100; ++i) {
        path.points.push_back({static_cast<float>(i), 0.0F, 2.0F});
    }
    const KivLinePath even = path;
    kivTaperEnds(path, 20.0F);
    EXPECT_EQ(path.points[0].halfWidth, 2.0F); // not in the open
    path.endsLoose = true;
    kivTaperEnds(path, 20.0F);
    EXPECT_EQ(path.points[0].halfWidth, 2.0F);
    EXPECT_EQ(path.points[80].halfWidth, 2.0F);
    EXPECT_LT(path.points[90].halfWidth, 1.9F);
    EXPECT_NEAR(path.points[100].halfWidth, 0.4F, 1e-4F);
    for (std::size_t i = 81; i <= 100; ++i) {
        EXPECT_LT(path.points[i].halfWidth, path.points[i - 1].halfWidth);
    }
    KivLinePath shorter = even;
    shorter.startsLoose = shorter.endsLoose = true;
    kivTaperEnds(shorter, 1000.0F);
    EXPECT_EQ(shorter.points[50].halfWidth, 2.0F);
    KivLinePath blunt = even;
    blunt.startsLoose = true;
    kivTaperEnds(blunt, 0.0F);
    EXPECT_EQ(blunt.points[0].halfWidth, 2.0F);
}

TEST(KivStroke, PollsByCostAlongOneLongPath) {
    KivLinePath path;
    for (int i = 0; i < 200000; ++i) {
        path.points.push_back({static_cast<float>(i % 500), static_cast<float>(i % 2) * 4.0F, 1.0F});
    }
    PollCost::expectAllowed([&] {
        KivStrokeMesh mesh;
        LineBudget ownPolls(std::numeric_limits<std::size_t>::max());
        kivStroke(path, mesh, ownPolls);
    });
}

TEST(KivThinnedPath, PollsByCostAlongOneLongPath) {
    KivLinePath path;
    for (int i = 0; i < 1500000; ++i) {
        const float angle = static_cast<float>(i) * 0.01F;
        path.points.push_back({100.0F * std::cos(angle), 100.0F * std::sin(angle), 1.0F});
    }
    PollCost::expectAllowed([&] {
        LineBudget ownPolls(std::numeric_limits<std::size_t>::max());
        kivThinnedPath(path, 0.12F, ownPolls);
    });
}
