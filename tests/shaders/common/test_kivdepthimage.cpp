#include "kivdepthimage.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// A depth image of 200 by 200 pixels, all of it held, with the value of each pixel by its column.
template <class Value> KivDepthImage depthOf(Value value) {
    KivDepthImage depth(200, 200);
    depth.want({0.0, 0.0, 0.0}, {200.0, 200.0, 0.0}, 200.0);
    for (KivDepthImage::Span& span : depth.spans()) {
        for (int y = 0; y < span.height; ++y) {
            for (int x = 0; x < span.width; ++x) {
                span.values[static_cast<std::size_t>(y) * span.width + x] = value(span.left + x, span.bottom + y);
            }
        }
    }
    return depth;
}

} // namespace

TEST(KivDepthImage, HoldsWhatWasAskedForAndIsFarElsewhere) {
    std::mt19937 words(21);
    for (int run = 0; run < 60; ++run) {
        const int width = 1 + static_cast<int>(words() % 700);
        const int height = 1 + static_cast<int>(words() % 500);
        const auto value = [](int x, int y) { return static_cast<float>(x * 1000 + y) / 1e6F; };
        KivDepthImage depth(width, height);
        const auto random = [&words](int size) { return (signedUnit(words) * 0.8 + 0.5) * size; };
        const KivWindowPoint a{random(width), random(height), 0.0};
        const KivWindowPoint b{random(width), random(height), 0.0};
        depth.want(a, b, 10.0);
        for (KivDepthImage::Span& span : depth.spans()) {
            ASSERT_LE(span.left + span.width, width);
            ASSERT_LE(span.bottom + span.height, height);
            ASSERT_EQ(span.values.size(), static_cast<std::size_t>(span.width) * span.height);
            for (int y = 0; y < span.height; ++y) {
                for (int x = 0; x < span.width; ++x) {
                    span.values[static_cast<std::size_t>(y) * span.width + x] = value(span.left + x, span.bottom + y);
                }
            }
        }
        for (int i = 0; i <= 100; ++i) {
            const int x = static_cast<int>(std::floor(a.x + (b.x - a.x) * i / 100 + signedUnit(words) * 7));
            const int y = static_cast<int>(std::floor(a.y + (b.y - a.y) * i / 100 + signedUnit(words) * 7));
            const bool inside = x >= 0 && y >= 0 && x < width && y < height;
            EXPECT_EQ(depth.at(x, y), inside ? value(x, y) : 1.0F);
        }
    }
}

TEST(KivDepthImage, ReadsFarLessThanAllForALine) {
    KivDepthImage depth(4000, 3000);
    depth.want({10.0, 10.0, 0.0}, {3990.0, 2990.0, 0.0}, 10.0);
    std::size_t held = 0;
    for (const KivDepthImage::Span& span : depth.spans()) {
        held += span.values.size();
    }
    EXPECT_LT(held, 4000U * 3000U / 15U);
}

TEST(KivDepthImage, TakesTheFarthestOfTheNeighbours) {
    const KivDepthImage depth = depthOf([](int x, int y) { return x == 51 && y == 49 ? 0.7F : 0.2F; });
    EXPECT_EQ(depth.farthest(50, 50), 0.7F);
    EXPECT_EQ(depth.farthest(52, 50), 0.7F);
    EXPECT_EQ(depth.farthest(53, 50), 0.2F);
    EXPECT_EQ(depth.farthest(0, 50), 1.0F); // outside the picture there is nothing
}

TEST(KivDepthImage, TheFarthestNeighbourIsTheSameWhereverItIsHeld) {
    std::mt19937 words(22);
    for (int run = 0; run < 40; ++run) {
        const int width = 1 + static_cast<int>(words() % 300);
        const int height = 1 + static_cast<int>(words() % 300);
        const int left = static_cast<int>(words() % 100);
        const int bottom = static_cast<int>(words() % 100);
        KivDepthImage depth(width, height, left, bottom);
        const auto random = [&words](int from, int size) { return from + (signedUnit(words) * 0.5 + 0.5) * size; };
        depth.want({random(left, width), random(bottom, height), 0.0},
                   {random(left, width), random(bottom, height), 0.0}, 2.0);
        for (KivDepthImage::Span& span : depth.spans()) {
            for (float& value : span.values) {
                value = static_cast<float>(words() % 1000U) / 1000.0F;
            }
        }
        for (int i = 0; i < 4000; ++i) {
            const int x = left - 3 + static_cast<int>(words() % static_cast<unsigned int>(width + 6));
            const int y = bottom - 3 + static_cast<int>(words() % static_cast<unsigned int>(height + 6));
            float farthest = 0.0F;
            for (int k = 0; k < 9; ++k) {
                farthest = std::max(farthest, depth.at(x - 1 + k % 3, y - 1 + k / 3));
            }
            ASSERT_EQ(depth.farthest(x, y), farthest) << run << ' ' << x << ' ' << y;
        }
    }
}
