#include "kivbluenoise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

double nearest(const std::vector<KivStipplePlace>& places, std::size_t count) {
    double least = 2.0;
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            least = std::min(least, kivStippleDistance(places[i], places[j]));
        }
    }
    return least;
}

} // namespace

// Of places by chance the two nearest of n lie about 1 / n apart, of a regular triangle grid 1.07 / sqrt(n).
TEST(KivBlueNoise, TheFirstPlacesLieAsEvenlyAsAll) {
    const std::vector<KivStipplePlace>& places = kivStipple();
    ASSERT_EQ(places.size(), static_cast<std::size_t>(kivStipplePlaces));
    for (const std::size_t count : {32U, 128U, 512U, 2048U}) {
        EXPECT_GT(nearest(places, count) * std::sqrt(static_cast<double>(count)), 0.45) << count;
    }
    EXPECT_NEAR(kivStippleDistance({0.05, 0.5}, {0.95, 0.5}), 0.1, 1e-12);
    for (const KivStipplePlace& place : places) {
        EXPECT_TRUE(place.x >= 0.0 && place.x < 1.0 && place.y >= 0.0 && place.y < 1.0);
    }
}
