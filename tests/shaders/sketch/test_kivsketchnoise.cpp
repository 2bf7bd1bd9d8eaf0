#include "kivsketchnoise.h"

#include "../shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(KivSketchNoise, StaysBetweenMinusOneAndOneAndUsesTheRange) {
    const KivSketchNoise noise(7);
    std::mt19937 words(1);
    double sum = 0.0;
    double squares = 0.0;
    constexpr int count = 20000;
    for (int i = 0; i < count; ++i) {
        const KivVec p = {signedUnit(words) * 50.0, signedUnit(words) * 50.0, signedUnit(words) * 50.0};
        const double value = noise.at(p, 0.3 + 2.0 * (1.0 + signedUnit(words)), 3);
        ASSERT_LE(std::abs(value), 1.0);
        sum += value;
        squares += value * value;
    }
    EXPECT_NEAR(sum / count, 0.0, 0.03);
    EXPECT_GT(std::sqrt(squares / count), 0.2);
}

TEST(KivSketchNoise, IsTheSameForTheSameSeedAndAnotherForAnother) {
    std::mt19937 words(2);
    int same = 0;
    for (int i = 0; i < 1000; ++i) {
        const KivVec p = {signedUnit(words) * 9.0, signedUnit(words) * 9.0, signedUnit(words) * 9.0};
        EXPECT_EQ(KivSketchNoise(4).at(p, 0.7, 1), KivSketchNoise(4).at(p, 0.7, 1));
        same += std::abs(KivSketchNoise(4).at(p, 0.7, 1) - KivSketchNoise(5).at(p, 0.7, 1)) < 1e-3;
        same += std::abs(KivSketchNoise(4).at(p, 0.7, 1) - KivSketchNoise(4).at(p, 0.7, 2)) < 1e-3;
    }
    EXPECT_LT(same, 20);
}

TEST(KivSketchNoise, ChangesLittleOverASmallPartOfTheWavelength) {
    const KivSketchNoise noise(1);
    std::mt19937 words(3);
    for (int i = 0; i < 5000; ++i) {
        const KivVec p = {signedUnit(words) * 20.0, signedUnit(words) * 20.0, signedUnit(words) * 20.0};
        const double wavelength = 0.5 + 3.0 * (1.0 + signedUnit(words));
        const KivVec step = {signedUnit(words) * 0.01 * wavelength, signedUnit(words) * 0.01 * wavelength,
                             signedUnit(words) * 0.01 * wavelength};
        EXPECT_NEAR(noise.at(p, wavelength, 0), noise.at(p + step, wavelength, 0), 0.2);
    }
}

TEST(KivSketchNoise, ChangesLittleWithTheWavelengthPowersOfTwoIncluded) {
    const KivSketchNoise noise(1);
    std::mt19937 words(4);
    for (int i = 0; i < 2000; ++i) {
        // Far from the origin, where a pattern that grew with the wavelength would have slid away by many waves.
        const KivVec p = {1000.0 + signedUnit(words), signedUnit(words) * 500.0, signedUnit(words)};
        for (const double wavelength : {1.0, 2.0, 0.125, 3.3, 0.7}) {
            EXPECT_NEAR(noise.at(p, wavelength * 0.9999, 0), noise.at(p, wavelength * 1.0001, 0), 0.002);
        }
    }
}

TEST(KivSketchNoise, IsNothingWhereThereIsNoPlace) {
    const KivSketchNoise noise(1);
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {inf, -inf, nan, 1e300}) {
        EXPECT_EQ(noise.at({bad, 0.0, 0.0}, 1.0, 0), 0.0);
        EXPECT_EQ(noise.at({0.0, 0.0, bad}, 1.0, 0), 0.0);
    }
    for (const double bad : {0.0, -1.0, inf, nan}) {
        EXPECT_EQ(noise.at({0.5, 0.5, 0.5}, bad, 0), 0.0);
    }
    EXPECT_LE(std::abs(noise.at({0.5, 0.5, 0.5}, 1e-300, 0)), 1.0);
}
