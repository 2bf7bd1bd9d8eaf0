#include "kivrender/host/kivtwopassscale.h"

#include "reference/twopassscale_reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

struct KivTestAccess {
    static LineContribution contributions(unsigned int length, unsigned int sourceLength) {
        return C2PassScale<CBilinearFilter>::calculateContributions(length, sourceLength,
                                                                    static_cast<double>(length) / sourceLength);
    }
};

namespace {

using Picture = std::vector<std::uint32_t>;

// Noise, or hard edges between nothing and all.
Picture randomPicture(std::mt19937& random, std::size_t count) {
    Picture picture(count);
    const bool edges = random() % 2 == 0;
    for (std::uint32_t& pixel : picture) {
        pixel = edges ? (random() % 2 == 0 ? 0U : 0xFFFFFFFFU) : random();
    }
    return picture;
}

Picture scaled(const Picture& source, unsigned int sw, unsigned int sh, unsigned int dw, unsigned int dh,
               C2PassScale<CBilinearFilter>::Callback* callback = nullptr) {
    C2PassScale<CBilinearFilter> scaler(callback);
    std::uint32_t* result = scaler.scale(source.data(), sw, sh, dw, dh);
    const std::size_t count = std::size_t{dw} * dh;
    Picture picture = result != nullptr ? Picture(result, result + count) : Picture();
    kivFreePixels(result, count);
    return picture;
}

// The same from a source that is read row by row, as far as it asks; it must ask for no row that there is not.
Picture scaledAsRead(const Picture& source, unsigned int sw, unsigned int sh, unsigned int dw, unsigned int dh,
                     unsigned int* mostRows = nullptr) {
    const auto read = [&](unsigned int first, unsigned int count, std::uint32_t* rows) {
        EXPECT_LE(first + count, sh);
        if (mostRows != nullptr) {
            *mostRows = std::max(*mostRows, count);
        }
        std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(std::size_t{first} * sw), std::size_t{count} * sw,
                    rows);
        return true;
    };
    std::uint32_t* const result = C2PassScale<CBilinearFilter>().scale(read, sw, sh, dw, dh);
    const std::size_t count = std::size_t{dw} * dh;
    Picture picture = result != nullptr ? Picture(result, result + count) : Picture();
    kivFreePixels(result, count);
    return picture;
}

std::vector<int> percents;
int stopAt = -1;
bool record(std::uint8_t percent) {
    percents.push_back(percent);
    return static_cast<int>(percents.size()) != stopAt;
}

class Scaler : public ::testing::Test {
protected:
    ~Scaler() override {
        kivLimitPixelAllocations(-1);
        percents.clear();
        stopAt = -1;
    }
};

} // namespace

TEST_F(Scaler, TentFilter) {
    CBilinearFilter filter(1.0);
    EXPECT_EQ(filter.getWidth(), 1.0);
    EXPECT_EQ(filter.filterValue(0.0), 1.0);
    EXPECT_EQ(filter.filterValue(-0.25), 0.75);
    EXPECT_EQ(filter.filterValue(1.0), 0.0);
    EXPECT_EQ(filter.filterValue(-7.0), 0.0);
}

TEST_F(Scaler, ShrinkingFourToTwoHasAWindowOfFive) {
    const LineContribution table = KivTestAccess::contributions(2, 4);
    EXPECT_EQ(table.windowSize, 5U);
    EXPECT_EQ(table.lineLength, 2U);
    ASSERT_EQ(table.rows.size(), 2U);
    EXPECT_EQ(table.rows[0].left, 0);
    EXPECT_EQ(table.rows[0].right, 2);
    EXPECT_EQ(table.rows[1].left, 0);
    EXPECT_EQ(table.rows[1].right, 3);
    // Around 2: 0, 1/4, 1/2, 1/4.
    EXPECT_EQ(table.rows[1].weights[0], 0.0);
    EXPECT_EQ(table.rows[1].weights[1], 0.25);
    EXPECT_EQ(table.rows[1].weights[2], 0.5);
    EXPECT_EQ(table.rows[1].weights[3], 0.25);
}

TEST_F(Scaler, EnlargingKeepsTheStoredBoundsWhereItCutsTheWindow) {
    const LineContribution table = KivTestAccess::contributions(8, 4);
    EXPECT_EQ(table.windowSize, 3U);
    // Position 3 stands at 1.5: four sources for a window of three. The weights of 1, 2 and 3 go to 0, 1 and 2.
    EXPECT_EQ(table.rows[3].left, 0);
    EXPECT_EQ(table.rows[3].right, 3);
    EXPECT_EQ(table.rows[3].weights[0], 0.5);
    EXPECT_EQ(table.rows[3].weights[1], 0.5);
    EXPECT_EQ(table.rows[3].weights[2], 0.0);
    EXPECT_EQ(table.rows[3].weights[3], 0.0);
    const Picture row{10, 20, 40, 80};
    EXPECT_EQ(scaled(row, 4, 1, 8, 1)[3], 15U);
}

TEST_F(Scaler, KnownReduction) {
    // 4 to 2: the first is 2/3 and 1/3 of its two, the second 1/4, 1/2, 1/4 of the last three.
    const Picture row{0x000030, 0x000060, 0x00FF00, 0x400000};
    const Picture expected{0x000040, 0x108018};
    EXPECT_EQ(scaled(row, 4, 1, 2, 1), expected);
}

TEST_F(Scaler, EqualsThePlainFormForRandomSizes) {
    std::mt19937 random(20260);
    for (int round = 0; round < 6000; ++round) {
        unsigned int sw = 1 + random() % 40;
        unsigned int sh = 1 + random() % 40;
        unsigned int dw = 1 + random() % 40;
        unsigned int dh = 1 + random() % 40;
        switch (round % 6) {
        case 0: // whole ratios
            sw = dw * (1 + random() % 6);
            sh = dh * (1 + random() % 6);
            break;
        case 1: // enlarging by whole ratios
            dw = sw * (1 + random() % 4);
            dh = sh * (1 + random() % 4);
            break;
        case 2:
            (random() % 2 == 0 ? dw : dh) = random() % 2 == 0 ? sw : sh;
            break;
        case 3:
            (random() % 2 == 0 ? sw : sh) = 1;
            (random() % 2 == 0 ? dw : dh) = 1;
            break;
        case 4: // many sources for one
            dw = 1 + random() % 3;
            sh = 100 + random() % 200;
            break;
        default:
            break;
        }
        const Picture source = randomPicture(random, std::size_t{sw} * sh);
        ASSERT_EQ(scaled(source, sw, sh, dw, dh), reference::scale(source, sw, sh, dw, dh))
            << sw << "x" << sh << " to " << dw << "x" << dh;
    }
}

TEST_F(Scaler, EqualsThePlainFormOnManyThreads) {
    std::mt19937 random(7);
    for (const unsigned int ratio : {2U, 4U, 3U}) {
        const unsigned int dw = 333;
        const unsigned int dh = 251;
        const Picture source = randomPicture(random, std::size_t{dw} * dh * ratio * ratio);
        EXPECT_EQ(scaled(source, dw * ratio, dh * ratio, dw, dh),
                  reference::scale(source, dw * ratio, dh * ratio, dw, dh))
            << ratio;
    }
}

TEST_F(Scaler, ReadInBandsThePictureIsTheSame) {
    std::mt19937 random(11);
    for (const auto& [sw, sh, dw, dh] :
         {std::array{40U, 2000U, 10U, 500U}, std::array{8U, 1201U, 4U, 600U}, std::array{5U, 900U, 7U, 901U},
          std::array{4U, 300U, 4U, 300U}, std::array{3U, 1U, 3U, 400U}, std::array{3U, 400U, 2U, 1U}}) {
        const Picture source = randomPicture(random, std::size_t{sw} * sh);
        ASSERT_EQ(scaledAsRead(source, sw, sh, dw, dh), reference::scale(source, sw, sh, dw, dh))
            << sw << "x" << sh << " to " << dw << "x" << dh;
    }
}

TEST_F(Scaler, ReadInBandsCentredPicturesAreTheSame) {
    std::mt19937 random(12);
    const Picture source = randomPicture(random, std::size_t{8} * 1200);
    C2PassScale<CBilinearFilter> scaler;
    scaler.setCentred(true);
    std::uint32_t* const whole = scaler.scale(source.data(), 8, 1200, 2, 300);
    const auto read = [&source](unsigned int first, unsigned int count, std::uint32_t* rows) {
        std::copy_n(source.begin() + first * 8, count * 8, rows);
        return true;
    };
    std::uint32_t* const bands = scaler.scale(read, 8, 1200, 2, 300);
    EXPECT_EQ(Picture(bands, bands + 600), Picture(whole, whole + 600));
    kivFreePixels(whole, 600);
    kivFreePixels(bands, 600);
}

TEST_F(Scaler, ALargeSourceIsNeverReadAtOnce) {
    const Picture source(std::size_t{4} * 8000, 0x112233);
    unsigned int mostRows = 0;
    scaledAsRead(source, 4, 8000, 1, 2000, &mostRows);
    EXPECT_LT(mostRows, 1000U);
}

TEST_F(Scaler, ASourceThatCanNotBeReadGivesNothing) {
    int calls = 0;
    const auto read = [&calls](unsigned int, unsigned int, std::uint32_t*) { return ++calls < 3; };
    EXPECT_EQ(C2PassScale<CBilinearFilter>().scale(read, 4, 8000, 1, 2000), nullptr);
    EXPECT_EQ(calls, 3);
}

TEST_F(Scaler, WithAWatcherThePictureIsTheSame) {
    std::mt19937 random(11);
    for (int round = 0; round < 100; ++round) {
        const unsigned int sw = 1 + random() % 150;
        const unsigned int sh = 1 + random() % 150;
        const unsigned int dw = round % 5 == 0 ? sw : 1 + random() % 150;
        const unsigned int dh = round % 7 == 0 ? sh : 1 + random() % 150;
        const Picture source = randomPicture(random, std::size_t{sw} * sh);
        ASSERT_EQ(scaled(source, sw, sh, dw, dh, record), reference::scale(source, sw, sh, dw, dh));
    }
}

TEST_F(Scaler, EqualSizesCopyAndKeepTheTopByte) {
    const Picture source{0xFF010203, 0x7F040506, 0x80070809, 0x010A0B0C};
    EXPECT_EQ(scaled(source, 2, 2, 2, 2), source);
    EXPECT_EQ(scaled(source, 2, 2, 2, 2, record), source);
    EXPECT_TRUE(percents.empty()); // a copy is not a walk over lines
}

TEST_F(Scaler, ARealPassClearsTheTopByte) {
    const Picture source(16, 0xFF102030);
    EXPECT_EQ(scaled(source, 4, 4, 2, 4), Picture(8, 0x00102030));
    EXPECT_EQ(scaled(source, 4, 4, 4, 2), Picture(8, 0x00102030));
    EXPECT_EQ(scaled(source, 4, 4, 5, 5), Picture(25, 0x00102030));
}

TEST_F(Scaler, TheWatcherHearsOfEveryLine) {
    const Picture source(std::size_t{8} * 100, 0);
    scaled(source, 8, 100, 4, 50, record);
    ASSERT_EQ(percents.size(), 104U); // 100 rows, then 4 columns
    for (int row = 0; row < 100; ++row) {
        EXPECT_EQ(percents[static_cast<std::size_t>(row)], row / 2);
    }
    EXPECT_EQ(percents[100], 50);
    EXPECT_EQ(percents[101], 62);
    EXPECT_EQ(percents[102], 75);
    EXPECT_EQ(percents[103], 87);
}

TEST_F(Scaler, TheWatcherStopsIt) {
    const Picture source(64, 0);
    for (const int line : {1, 8, 9, 12}) {
        percents.clear();
        stopAt = line;
        C2PassScale<CBilinearFilter> scaler(record);
        EXPECT_EQ(scaler.scale(source.data(), 8, 8, 4, 4), nullptr);
        EXPECT_TRUE(scaler.isCanceled());
        EXPECT_EQ(percents.size(), static_cast<std::size_t>(line));
    }
}

TEST_F(Scaler, NoMemoryIsNull) {
    const Picture source(64, 0);
    kivLimitPixelAllocations(0);
    EXPECT_TRUE(scaled(source, 8, 8, 4, 4).empty());
    EXPECT_TRUE(scaled(source, 8, 8, 4, 4, record).empty());
    kivLimitPixelAllocations(1);
    EXPECT_TRUE(scaled(source, 8, 8, 4, 4, record).empty()); // the result after the picture between the passes
    kivLimitPixelAllocations(2);
    EXPECT_EQ(scaled(source, 8, 8, 4, 4, record).size(), 16U);
}

TEST_F(Scaler, ASizeOfZeroIsNull) {
    const Picture source(4, 0);
    C2PassScale<CBilinearFilter> scaler;
    EXPECT_EQ(scaler.scale(source.data(), 0, 2, 2, 2), nullptr);
    EXPECT_EQ(scaler.scale(source.data(), 2, 0, 2, 2), nullptr);
    EXPECT_EQ(scaler.scale(source.data(), 2, 2, 0, 2), nullptr);
    EXPECT_EQ(scaler.scale(source.data(), 2, 2, 2, 0), nullptr);
}

// Scaling keeps places: the mirrored picture scales to the mirrored result.
TEST_F(Scaler, CentredPicturesKeepTheirPlace) {
    std::mt19937 random(11);
    for (const auto& [sw, sh, dw, dh] : {std::array{24U, 16U, 12U, 8U}, std::array{24U, 16U, 6U, 4U},
                                         std::array{21U, 13U, 8U, 5U}, std::array{7U, 5U, 20U, 11U}}) {
        const Picture source = randomPicture(random, std::size_t{sw} * sh);
        C2PassScale<CBilinearFilter> scaler;
        scaler.setCentred(true);
        const auto scale = [&](const Picture& picture) {
            std::uint32_t* result = scaler.scale(picture.data(), sw, sh, dw, dh);
            const Picture copy(result, result + std::size_t{dw} * dh);
            kivFreePixels(result, copy.size());
            return copy;
        };
        const Picture there = scale(source);
        const Picture back = scale(Picture(source.rbegin(), source.rend()));
        for (std::size_t i = 0; i < there.size(); ++i) {
            for (unsigned int shift = 0; shift < 24; shift += 8) {
                const int one = static_cast<int>(there[i] >> shift & 255U);
                const int other = static_cast<int>(back[there.size() - 1 - i] >> shift & 255U);
                ASSERT_NEAR(one, other, 1) << sw << " to " << dw << ", pixel " << i; // sums in another order
            }
        }
    }
}

TEST_F(Scaler, CentredHalvesTakeWhatLiesAroundTheirMiddle) {
    const Picture row = {0, 0, 0, 80, 0, 0, 0, 0};
    C2PassScale<CBilinearFilter> scaler;
    scaler.setCentred(true);
    std::uint32_t* result = scaler.scale(row.data(), 8, 1, 4, 1);
    const Picture half(result, result + 4);
    kivFreePixels(result, 4);
    EXPECT_EQ(half, (Picture{0, 30, 10, 0})); // 1, 3, 3 and 1 eighths
}
