#include "kivrender/lines/stretchindex.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

double distanceTo(const KivPicturePoint& p, const Stretch& stretch) {
    const double dx = stretch.end.x - stretch.start.x;
    const double dy = stretch.end.y - stretch.start.y;
    const double square = dx * dx + dy * dy;
    const double along = (p.x - stretch.start.x) * dx + (p.y - stretch.start.y) * dy;
    const double t = square > 0.0 ? std::clamp(along / square, 0.0, 1.0) : 0.0;
    return std::hypot(stretch.start.x + dx * t - p.x, stretch.start.y + dy * t - p.y);
}

} // namespace

TEST(StretchIndex, FindsAllThatLieWithinItsReach) {
    RawRandom random(3);
    StretchIndex index;
    std::vector<Stretch> all;
    const auto place = [&](double reach) {
        return KivPicturePoint{random.between(-reach, reach), random.between(-reach, reach)};
    };
    for (int i = 0; i < 300; ++i) {
        const KivPicturePoint from = place(300.0);
        const KivPicturePoint way = place(i % 3 == 0 ? 200.0 : 4.0);
        all.push_back({from, {from.x + way.x, from.y + way.y}});
        index.add(all.back());
    }
    long nearby = 0;
    for (int i = 0; i < 200; ++i) {
        const Stretch line = {place(300.0), place(300.0)};
        std::vector<std::uint32_t> found = index.near(line);
        std::sort(found.begin(), found.end());
        EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end()) << "found twice";
        for (std::uint32_t k = 0; k < all.size(); ++k) {
            bool isNear = false;
            for (int step = 0; step <= 20 && !isNear; ++step) {
                const double t = step / 20.0;
                isNear = distanceTo({all[k].start.x + (all[k].end.x - all[k].start.x) * t,
                                     all[k].start.y + (all[k].end.y - all[k].start.y) * t},
                                    line) < StretchIndex::reach;
            }
            nearby += isNear ? 1 : 0;
            EXPECT_TRUE(!isNear || std::binary_search(found.begin(), found.end(), k)) << i << " " << k;
        }
    }
    EXPECT_GT(nearby, 1000);
    EXPECT_GT(index.takeWork(), 0U);
    EXPECT_EQ(index.takeWork(), 0U);
}

TEST(StretchIndex, AFullSquareBoundsTheWork) {
    StretchIndex index;
    for (int i = 0; i < 5000; ++i) {
        index.add({{8.0, 8.0}, {9.0, 8.0 + i * 1e-4}});
    }
    EXPECT_LE(index.near({{8.0, 8.0}, {9.0, 9.0}}).size(), 256U);
    EXPECT_LE(index.takeWork(), 10 * 257U);
}

TEST(StretchIndex, TheSquareAtTheCornerOfThePictureIsOneLikeOthers) {
    StretchIndex index;
    index.add({{2.0, 2.0}, {6.0, 2.0}});
    EXPECT_EQ(index.near({{2.0, 3.0}, {6.0, 3.0}}).size(), 1U);
}
