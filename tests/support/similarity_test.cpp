#include "support/similarity.h"

#include "support/rawrandom.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

Luminance plain(int width, int height, float value) {
    return {width, height, std::vector<float>(static_cast<std::size_t>(width) * height, value)};
}

Luminance withSquare(int left, int top) {
    Luminance picture = plain(64, 48, 40.0F);
    for (int y = top; y < top + 12; ++y) {
        for (int x = left; x < left + 12; ++x) {
            picture.values[static_cast<std::size_t>(y) * 64 + x] = 220.0F;
        }
    }
    return picture;
}

} // namespace

TEST(Similarity, EqualPicturesAreOne) {
    const Luminance picture = withSquare(10, 10);
    const Similarity same = similarityOf(picture, picture);
    EXPECT_NEAR(same.mean, 1.0, 1e-9);
    EXPECT_EQ(same.width, 54);
    EXPECT_EQ(same.height, 38);
    EXPECT_EQ(same.below(0.999), 0.0);
}

// For plain pictures only the term of the means is left.
TEST(Similarity, PlainPicturesCompareByTheirMeans) {
    const double c1 = 2.55 * 2.55;
    const double expected = (2.0 * 100.0 * 150.0 + c1) / (100.0 * 100.0 + 150.0 * 150.0 + c1);
    EXPECT_NEAR(similarityOf(plain(32, 32, 100.0F), plain(32, 32, 150.0F)).mean, expected, 1e-6);
}

// One window, worked out straight from the definition.
TEST(Similarity, AWindowIsAsDefined) {
    RawRandom random(5);
    Luminance a = plain(11, 11, 0.0F);
    Luminance b = a;
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        a.values[i] = static_cast<float>(random.below(256));
        b.values[i] = static_cast<float>(random.below(256));
    }
    double total = 0.0;
    double ma = 0.0;
    double mb = 0.0;
    const auto weight = [](int x, int y) { return std::exp(-((x - 5) * (x - 5) + (y - 5) * (y - 5)) / 4.5); };
    for (int y = 0; y < 11; ++y) {
        for (int x = 0; x < 11; ++x) {
            total += weight(x, y);
            ma += weight(x, y) * a.values[y * 11 + x];
            mb += weight(x, y) * b.values[y * 11 + x];
        }
    }
    ma /= total;
    mb /= total;
    double va = 0.0;
    double vb = 0.0;
    double ab = 0.0;
    for (int y = 0; y < 11; ++y) {
        for (int x = 0; x < 11; ++x) {
            const double da = a.values[y * 11 + x] - ma;
            const double db = b.values[y * 11 + x] - mb;
            va += weight(x, y) / total * da * da;
            vb += weight(x, y) / total * db * db;
            ab += weight(x, y) / total * da * db;
        }
    }
    const double c1 = 2.55 * 2.55;
    const double c2 = 7.65 * 7.65;
    const double expected = (2 * ma * mb + c1) * (2 * ab + c2) / ((ma * ma + mb * mb + c1) * (va + vb + c2));
    EXPECT_NEAR(similarityOf(a, b).mean, expected, 1e-4);
}

TEST(Similarity, FallsWithTheDistanceOfWhatMoved) {
    const Luminance picture = withSquare(20, 16);
    double last = 1.0;
    for (const int moved : {1, 3, 8}) {
        const double index = similarityOf(picture, withSquare(20 + moved, 16)).mean;
        EXPECT_LT(index, last);
        last = index;
    }
    EXPECT_LT(last, 0.9);
}

TEST(Similarity, TheMapTellsWhere) {
    const Luminance empty = plain(64, 48, 40.0F);
    const Similarity difference = similarityOf(empty, withSquare(40, 20));
    EXPECT_LT(difference.map[static_cast<std::size_t>(21) * difference.width + 41], 0.5F);
    EXPECT_NEAR(difference.map[0], 1.0F, 1e-6F);
    EXPECT_GT(difference.below(0.9), 0.1);
    EXPECT_LT(difference.below(0.9), 0.5);
}

TEST(Similarity, OtherSizesAndTinyPicturesAreUnlike) {
    EXPECT_EQ(similarityOf(plain(32, 32, 1.0F), plain(32, 31, 1.0F)).mean, 0.0);
    EXPECT_EQ(similarityOf(plain(10, 32, 1.0F), plain(10, 32, 1.0F)).mean, 0.0);
}
