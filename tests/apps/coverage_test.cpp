#include "apps/common/coverage.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>

namespace {

using Rgb = std::array<int, 3>;

std::unique_ptr<KivImage> plain(const std::vector<Rgb>& pixels) {
    auto image = KivImage::create({static_cast<std::int32_t>(pixels.size()), 1});
    for (std::size_t x = 0; x < pixels.size(); ++x) {
        for (std::size_t c = 0; c < 3; ++c) {
            image->row(0)[x * 3 + 2 - c] = static_cast<std::uint8_t>(pixels[x][c]);
        }
    }
    return image;
}

std::array<int, 4> at(const KivImage& image, std::int32_t x) {
    const std::uint8_t* const p = image.row(0) + 4 * x;
    return {p[2], p[1], p[0], p[3]};
}

// What a colour that covers so much of a pixel makes of a background, as a picture stores it.
Rgb covering(const Rgb& colour, double share, int background) {
    Rgb mixed{};
    for (std::size_t c = 0; c < 3; ++c) {
        mixed[c] = static_cast<int>(std::lround(colour[c] * share + background * (1.0 - share)));
    }
    return mixed;
}

TEST(Coverage, ColoursAreDividedByWhatTheyCover) {
    const auto picture = pictureWithoutBackground(*plain({{100, 50, 0}, {0, 0, 0}, {50, 25, 0}, {0, 0, 0}}),
                                                  *plain({{100, 50, 0}, {255, 255, 255}, {178, 153, 128}, {0, 0, 0}}));
    EXPECT_EQ(at(*picture, 0), (std::array<int, 4>{100, 50, 0, 255}));
    EXPECT_EQ(at(*picture, 1), (std::array<int, 4>{0, 0, 0, 0})) << "nothing there";
    EXPECT_EQ(at(*picture, 2), (std::array<int, 4>{100, 50, 0, 127})) << "half of the pixel";
    EXPECT_EQ(at(*picture, 3), (std::array<int, 4>{0, 0, 0, 255})) << "black covers as well";
}

TEST(Coverage, LiesRightOverAnyColourWhateverThePixelHolds) {
    int numRough = 0;
    for (int red = 0; red <= 255; red += 15) {
        for (int part = 0; part <= 64; ++part) {
            const Rgb colour{red, 255 - red, 255};
            const double share = part / 64.0;
            const auto picture =
                pictureWithoutBackground(*plain({covering(colour, share, 0)}), *plain({covering(colour, share, 255)}));
            for (const int ground : {0, 40, 128, 200, 255}) {
                const auto over = laidOver(*picture, *plain({{ground, ground, ground}}));
                const Rgb expected = covering(colour, share, ground);
                for (std::size_t c = 0; c < 3; ++c) {
                    const int difference = std::abs(at(*over, 0)[c] - expected[c]);
                    numRough += difference == 2 ? 1 : 0;
                    EXPECT_LE(difference, 2) << red << ' ' << part << ' ' << ground;
                }
            }
        }
    }
    EXPECT_LT(numRough, 20) << "of 17 thousand";
}

TEST(Coverage, PaperColoursWhatIsThereAndCoversNoMore) {
    const auto picture =
        pictureWithoutBackground(*plain({{200, 100, 60}, {0, 0, 0}}), *plain({{200, 100, 60}, {255, 255, 255}}),
                                 plain({{100, 50, 30}, {0, 0, 0}}).get());
    EXPECT_EQ(at(*picture, 0), (std::array<int, 4>{100, 50, 30, 255}));
    EXPECT_EQ(at(*picture, 1), (std::array<int, 4>{0, 0, 0, 0}));
}

// Between any two colours there is a layer, whatever it is to cover at least.
TEST(Coverage, ALayerMakesOnePictureOfAnother) {
    for (int from = 0; from <= 255; from += 17) {
        for (int to = 0; to <= 255; to += 15) {
            for (const int least : {0, 60, 255}) {
                const auto below = plain({{from, 255 - from, 90}});
                const auto target = plain({{to, to / 2, 90}});
                auto covers = KivImage::createWithAlpha({1, 1});
                covers->row(0)[3] = static_cast<std::uint8_t>(least);
                const auto layer = layerBetween(*below, *target, covers.get());
                EXPECT_GE(at(*layer, 0)[3], least);
                const auto over = laidOver(*layer, *below);
                for (std::size_t c = 0; c < 3; ++c) {
                    const Rgb expected{to, to / 2, 90};
                    EXPECT_LE(std::abs(at(*over, 0)[c] - expected[c]), 1) << from << ' ' << to << ' ' << least;
                }
            }
        }
    }
}

TEST(Coverage, ALayerCoversAsLittleAsWillDo) {
    const auto shade = layerBetween(*plain({{200, 100, 50}}), *plain({{100, 50, 25}}));
    EXPECT_EQ(at(*shade, 0)[3], 128);
    EXPECT_LE(at(*shade, 0)[0], 1) << "half black";
    const auto shine = layerBetween(*plain({{55, 155, 255}}), *plain({{155, 205, 255}}));
    EXPECT_EQ(at(*shine, 0)[3], 128);
    EXPECT_GE(at(*shine, 0)[1], 253) << "half white";
    const auto same = layerBetween(*plain({{55, 155, 255}}), *plain({{56, 154, 255}}));
    EXPECT_EQ(at(*same, 0), (std::array<int, 4>{0, 0, 0, 0})) << "the rounding of passes is no layer";
}

// Two parts that cover a pixel together, one that has it alone, and one that nobody has.
TEST(Coverage, PartsOfALayerGiveItAgain) {
    for (int alpha = 5; alpha <= 255; alpha += 10) {
        auto layer = KivImage::createWithAlpha({4, 1});
        auto first = KivImage::createWithAlpha({4, 1});
        auto second = KivImage::createWithAlpha({4, 1});
        for (std::size_t x = 0; x < 4; ++x) {
            const std::uint8_t colour[4] = {10, 120, 200, static_cast<std::uint8_t>(alpha)};
            std::copy_n(colour, 4, layer->row(0) + 4 * x);
        }
        first->row(0)[3] = 255;
        first->row(0)[7] = 100;
        second->row(0)[7] = 155;
        second->row(0)[11] = 30;
        const auto parts = layerParts(*layer, {first.get(), second.get()});
        ASSERT_EQ(parts.size(), 3U);
        EXPECT_EQ(at(*parts[0], 0)[3], alpha);
        EXPECT_EQ(at(*parts[1], 0)[3], 0);
        EXPECT_EQ(at(*parts[1], 2)[3], alpha) << "the only one, however little";
        EXPECT_EQ(at(*parts[2], 3)[3], alpha) << "nobody's";
        EXPECT_EQ(at(*parts[2], 1)[3], 0);
        if (alpha > 20 && alpha < 255) {
            EXPECT_GT(at(*parts[0], 1)[3], 0);
            EXPECT_GT(at(*parts[1], 1)[3], at(*parts[0], 1)[3]) << "it covers more";
        }
        auto both = laidOver(*parts[1], *laidOver(*parts[0], *plain({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}})));
        both = laidOver(*parts[2], *both);
        const auto whole = laidOver(*layer, *plain({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
        for (int x = 0; x < 4; ++x) {
            for (std::size_t c = 0; c < 3; ++c) {
                EXPECT_LE(std::abs(at(*both, x)[c] - at(*whole, x)[c]), 2) << alpha << ' ' << x;
            }
        }
    }
}

TEST(Coverage, OverAPictureThatIsTransparentItselfAlphasAdd) {
    auto half = KivImage::createWithAlpha({1, 1});
    const std::array<std::uint8_t, 4> red{0, 0, 200, 128}; // blue first
    std::copy(red.begin(), red.end(), half->row(0));
    const auto twice = laidOver(*half, *half);
    EXPECT_EQ(at(*twice, 0), (std::array<int, 4>{200, 0, 0, 192}));
    const auto empty = KivImage::createWithAlpha({1, 1});
    EXPECT_EQ(at(*laidOver(*half, *empty), 0), (std::array<int, 4>{200, 0, 0, 128}));
    EXPECT_EQ(at(*laidOver(*empty, *half), 0), (std::array<int, 4>{200, 0, 0, 128}));
    EXPECT_EQ(at(*laidOver(*empty, *empty), 0), (std::array<int, 4>{0, 0, 0, 0}));
}

} // namespace
