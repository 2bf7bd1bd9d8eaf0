// The stencil and depth buffers of a real context, in the hands of the shadow engine: adding up lights, the shadow
// picture, false colours, read-back.
#include "kivrender/platform/kivimage.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shadow/kivshadows.h"
#include "support/glsurface.h"
#include "support/pollcounter.h"
#include "support/temphome.h"
#include "support/testhost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;

// The bytes of a picture of 8 bits as its BMP file holds them.
struct Indexed {
    std::vector<std::uint8_t> rows; // from the bottom up, without padding
    std::vector<std::uint32_t> palette;
};

class KivShadowsStencil : public testing::Test {
protected:
    static constexpr int width = 7; // no multiple of 4
    static constexpr int height = 5;
    static constexpr tagSIZE size{width, height};

    KivShadowsStencil() {
        glClearStencil(100);
        glClearDepth(1.0);
        glClear(GL_STENCIL_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        settings.setAntialias(0);
    }
    ~KivShadowsStencil() override {
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }

    // One value in one pixel, from the bottom left.
    static void setStencil(int x, int y, int value) {
        in(x, y, [value] {
            glClearStencil(value);
            glClear(GL_STENCIL_BUFFER_BIT);
        });
    }
    static void setDepth(int x, int y, double value) {
        in(x, y, [value] {
            glClearDepth(value);
            glClear(GL_DEPTH_BUFFER_BIT);
        });
    }
    static std::vector<std::uint8_t> stencil() {
        std::vector<std::uint8_t> values(std::size_t{width} * height);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, height, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, values.data());
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        return values;
    }
    static std::size_t at(int x, int y) {
        return static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x);
    }
    static GLint integer(GLenum name) {
        GLint value = 0;
        glGetIntegerv(name, &value);
        return value;
    }

    // The picture of so many lights, with a surface everywhere.
    Indexed picture(int lights) {
        shadows.copyStencilToBitmap((home.wide() + L"/s.bmp").c_str(), size, lights, settings);
        const std::string file = home.read("s.bmp");
        const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(file.at(i)); };
        const auto word = [&](std::size_t i) {
            return byte(i) | static_cast<std::uint32_t>(byte(i + 1)) << 8U |
                   static_cast<std::uint32_t>(byte(i + 2)) << 16U | static_cast<std::uint32_t>(byte(i + 3)) << 24U;
        };
        EXPECT_EQ(word(18), static_cast<std::uint32_t>(width));
        EXPECT_EQ(word(22), static_cast<std::uint32_t>(height));
        EXPECT_EQ(byte(28), 8) << "bits of a pixel";
        Indexed found;
        const std::uint32_t first = word(10);
        for (std::size_t i = 54; i < first; i += 4) {
            found.palette.push_back(word(i) & 0xFFFFFFU);
        }
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x) {
                found.rows.push_back(byte(first + y * ((width + 3) / 4 * 4) + x));
            }
        }
        return found;
    }
    void coverAll(double depth = 0.5) {
        glClearDepth(depth);
        glClear(GL_DEPTH_BUFFER_BIT);
    }

    TempFolder home;
    TestHost host;
    GlSurface gl{width, height};
    KivShadows shadows;
    KivCommonSettings settings;

private:
    template <class Clear> static void in(int x, int y, Clear clear) {
        glScissor(x, y, 1, 1);
        glEnable(GL_SCISSOR_TEST);
        clear();
        glDisable(GL_SCISSOR_TEST);
    }
};

TEST_F(KivShadowsStencil, ALightCountsOnceHoweverManyVolumesEnclose) {
    shadows.createInitialStencilBuffer(size);
    setStencil(6, 0, 101); // the ends of rows tell tight rows from padded ones
    setStencil(0, 1, 107);
    setStencil(6, 4, 255);
    shadows.addCurrentStencil(size);
    EXPECT_THAT(stencil(), Each(100)) << "ready for the next light";
    setStencil(6, 4, 102);
    shadows.addCurrentStencil(size);
    shadows.saveAndDestroyStencilBuffer(size);
    std::vector<std::uint8_t> expected(std::size_t{width} * height, 100);
    expected[at(6, 0)] = 101;
    expected[at(0, 1)] = 101;
    expected[at(6, 4)] = 102;
    EXPECT_EQ(stencil(), expected);
}

TEST_F(KivShadowsStencil, WithoutASumOnlyTheStencilIsMadeReady) {
    setStencil(1, 1, 101);
    shadows.addCurrentStencil(size);
    EXPECT_THAT(stencil(), Each(100));
    setStencil(2, 2, 103);
    shadows.saveAndDestroyStencilBuffer(size);
    EXPECT_EQ(stencil()[at(2, 2)], 103) << "nothing to write";
    shadows.createInitialStencilBuffer(size);
    shadows.saveAndDestroyStencilBuffer(size);
    shadows.saveAndDestroyStencilBuffer(size); // the sum is gone
    EXPECT_THAT(stencil(), Each(100));
}

TEST_F(KivShadowsStencil, WhatUnbalancedVolumesLeaveBelowAddsNothing) {
    shadows.createInitialStencilBuffer(size);
    setStencil(1, 1, 99);
    setStencil(2, 1, 0);
    setStencil(3, 1, 100);
    shadows.addCurrentStencil(size);
    shadows.saveAndDestroyStencilBuffer(size);
    EXPECT_THAT(stencil(), Each(100));
}

TEST_F(KivShadowsStencil, MoreLightsThanAByteHoldsStayAShadow) {
    shadows.createInitialStencilBuffer(size);
    for (int light = 0; light < 160; ++light) {
        setStencil(2, 2, 101);
        shadows.addCurrentStencil(size);
    }
    shadows.saveAndDestroyStencilBuffer(size);
    EXPECT_EQ(stencil()[at(2, 2)], 255);
    EXPECT_EQ(stencil()[at(3, 2)], 100);
}

TEST_F(KivShadowsStencil, TheLayoutOfRowsIsPutBack) {
    glPixelStorei(GL_PACK_ALIGNMENT, 8);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    shadows.createInitialStencilBuffer(size);
    shadows.addCurrentStencil(size);
    EXPECT_EQ(integer(GL_PACK_ALIGNMENT), 8);
    EXPECT_EQ(integer(GL_UNPACK_ALIGNMENT), 2);
    shadows.saveAndDestroyStencilBuffer(size);
    EXPECT_EQ(integer(GL_PACK_ALIGNMENT), 8);
    EXPECT_EQ(integer(GL_UNPACK_ALIGNMENT), 2);
}

// A background picture moves the raster position, and nothing moves it back.
TEST_F(KivShadowsStencil, TheSumGoesToTheRasterPosition) {
    shadows.createInitialStencilBuffer(size);
    setStencil(1, 1, 101);
    setStencil(6, 4, 101);
    shadows.addCurrentStencil(size);
    glBitmap(0, 0, 0.0F, 0.0F, 2.0F, 1.0F, nullptr);
    shadows.saveAndDestroyStencilBuffer(size);
    std::vector<std::uint8_t> expected(std::size_t{width} * height, 100);
    expected[at(3, 2)] = 101; // the other one lies outside now
    EXPECT_EQ(stencil(), expected);
}

TEST_F(KivShadowsStencil, ThePictureHoldsHowManyLightsReachAPixel) {
    coverAll();
    setStencil(6, 0, 101);
    setStencil(0, 1, 102);
    setStencil(3, 3, 103);
    setDepth(5, 4, 1.0);
    setStencil(5, 4, 103); // no surface there, whatever the stencil says
    glDisable(GL_BLEND);
    const Indexed found = picture(3);
    std::vector<std::uint8_t> expected(std::size_t{width} * height, 3);
    expected[at(6, 0)] = 2;
    expected[at(0, 1)] = 1;
    expected[at(3, 3)] = 0;
    EXPECT_EQ(found.rows, expected);
    ASSERT_EQ(found.palette.size(), 256U);
    EXPECT_THAT(std::vector<std::uint32_t>(found.palette.begin(), found.palette.begin() + 4),
                ElementsAre(0U, 0x555555U, 0xAAAAAAU, 0xFFFFFFU));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_STENCIL_TEST));
}

TEST_F(KivShadowsStencil, PaletteStepsAreWholeNumbers) {
    coverAll();
    const Indexed found = picture(7);
    ASSERT_EQ(found.palette.size(), 256U);
    for (std::uint32_t i = 0; i <= 7; ++i) {
        EXPECT_EQ(found.palette[i], i * 255 / 7 * 0x010101U) << i;
    }
}

TEST_F(KivShadowsStencil, WithoutLightsThePictureIsAllZero) {
    coverAll();
    setDepth(0, 0, 1.0);
    const Indexed found = picture(0);
    EXPECT_THAT(found.rows, Each(0));
    ASSERT_EQ(found.palette.size(), 256U);
    EXPECT_EQ(found.palette[0], 0U);
    EXPECT_EQ(found.palette[1], 0x010101U) << "the grey ramp that it had, and no step of lights";
}

TEST_F(KivShadowsStencil, AStencilBelowTheBaseRaisesThePictureAboveTheLights) {
    coverAll();
    setStencil(4, 2, 98);
    EXPECT_EQ(picture(2).rows[at(4, 2)], 4);
}

TEST_F(KivShadowsStencil, AReducedPictureIsAHalfOrAQuarterAsLarge) {
    const GlSurface large(32, 16);
    glClearStencil(100);
    glClear(GL_STENCIL_BUFFER_BIT);
    coverAll();
    for (const int level : {0, 1, 2, 3}) {
        settings.setAntialias(level);
        const std::string name = "s" + std::to_string(level) + ".png";
        shadows.copyStencilToBitmap(home.wide(name).c_str(), {32, 16}, 1, settings);
        const auto image = KivImage::load(home.wide(name));
        ASSERT_NE(image, nullptr);
        const int divisor = level == 1 ? 2 : level == 2 ? 4 : 1; // any other level is none
        EXPECT_EQ(image->width(), 32 / divisor);
        EXPECT_EQ(image->height(), 16 / divisor);
        EXPECT_EQ(image->pixel(3, 3), 0xFFFFFFU);
    }
}

// However the final width falls, each pixel is made of those that it stands for.
TEST_F(KivShadowsStencil, AReducedPictureOfAnyWidthIsNotStretched) {
    for (const int level : {1, 2}) {
        const int times = 1 << level;
        const tagSIZE large{13 * times, 6 * times};
        const GlSurface drawn(large.cx, large.cy);
        glClearStencil(100);
        glClear(GL_STENCIL_BUFFER_BIT);
        coverAll();
        glScissor(11 * times, 0, 2 * times, large.cy); // the last two columns of the picture
        glEnable(GL_SCISSOR_TEST);
        glClearStencil(101);
        glClear(GL_STENCIL_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        settings.setAntialias(level);
        shadows.copyStencilToBitmap(home.wide("odd.png").c_str(), large, 1, settings);
        const auto image = KivImage::load(home.wide("odd.png"));
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->size(), (tagSIZE{13, 6}));
        EXPECT_EQ(image->pixel(9, 3), 0xFFFFFFU);
        EXPECT_LT(image->pixel(11, 3) & 0xFFU, 32U);
        EXPECT_LT(image->pixel(12, 3) & 0xFFU, 2U);
    }
}

TEST_F(KivShadowsStencil, ThePictureIsTheRightWayUp) {
    coverAll();
    setStencil(2, 4, 101); // the top row
    shadows.copyStencilToBitmap(home.wide("s.png").c_str(), size, 1, settings);
    const auto image = KivImage::load(home.wide("s.png"));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixel(2, 0), 0U);
    EXPECT_EQ(image->pixel(2, 4), 0xFFFFFFU);
}

TEST_F(KivShadowsStencil, AnUnknownKindOfFileIsNotWritten) {
    coverAll();
    glDisable(GL_BLEND);
    shadows.copyStencilToBitmap(home.wide("s.unknown").c_str(), size, 1, settings);
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_STENCIL_TEST));
    EXPECT_THAT(host.messages, testing::IsEmpty());
}

TEST_F(KivShadowsStencil, FalseColoursShowAllButTheLastRowAndColumn) {
    const std::vector<std::uint32_t> colours = {0x000000, 0x004000, 0x008000, 0x00BF00, 0x00FF00, 0x00FF40,
                                                0x00FF80, 0x00FFBF, 0x00FFFF, 0x00BFFF, 0x0080FF, 0x0040FF,
                                                0x0000FF, 0x0000FF, 0x0000FF, 0x0000FF};
    glDisable(GL_DEPTH_TEST);
    glClearColor(1.0F, 0.0F, 1.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    for (int i = 0; i < 16; ++i) {
        setStencil(i % (width - 1), i / (width - 1), 96 + i); // 96 is a multiple of the 16 colours
    }
    shadows.showStencil(size);
    for (int i = 0; i < 16; ++i) {
        const std::uint32_t shown = GlSurface::pixel(i % (width - 1), i / (width - 1));
        for (unsigned int shift = 0; shift < 24; shift += 8) {
            EXPECT_NEAR(static_cast<int>(shown >> shift & 0xFFU), static_cast<int>(colours[i] >> shift & 0xFFU), 1)
                << i;
        }
    }
    for (int x = 0; x < width; ++x) {
        EXPECT_EQ(GlSurface::pixel(x, height - 1), 0xFF00FFU);
    }
    for (int y = 0; y < height; ++y) {
        EXPECT_EQ(GlSurface::pixel(width - 1, y), 0xFF00FFU);
    }
}

TEST_F(KivShadowsStencil, DepthIsReadOnceUntilItIsDeleted) {
    setDepth(6, 3, 0.25);
    const float* const first = shadows.getDepthBuffer(size);
    EXPECT_EQ(first[at(6, 3)], 0.25F);
    EXPECT_EQ(first[at(5, 3)], 1.0F);
    setDepth(6, 3, 0.75);
    EXPECT_EQ(shadows.getDepthBuffer(size), first);
    EXPECT_EQ(first[at(6, 3)], 0.25F) << "the first reading";
    shadows.deleteDepthBuffer();
    EXPECT_EQ(shadows.getDepthBuffer(size)[at(6, 3)], 0.75F);
    shadows.deleteDepthBuffer();
    shadows.deleteDepthBuffer(); // does no harm
}

// The picture of a pass reads depth anew, and leaves nothing for getDepthBuffer to give.
TEST_F(KivShadowsStencil, ThePictureForgetsTheDepth) {
    coverAll();
    EXPECT_EQ(shadows.getDepthBuffer(size)[0], 0.5F);
    coverAll(0.25);
    picture(1);
    coverAll(0.125);
    EXPECT_EQ(shadows.getDepthBuffer(size)[0], 0.125F);
}

TEST_F(KivShadowsStencil, ACopySharesBothBuffers) {
    shadows.createInitialStencilBuffer(size);
    setStencil(1, 1, 101);
    {
        KivShadows copy(shadows);
        copy.addCurrentStencil(size);
    }
    shadows.saveAndDestroyStencilBuffer(size);
    EXPECT_EQ(stencil()[at(1, 1)], 101);
}

// Four bands; the last one is lower than the others.
struct LargeStencil {
    static constexpr tagSIZE size{4096, 1800};

    LargeStencil() {
        glClearStencil(100);
        glClear(GL_STENCIL_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        for (const int row : {0, 511, 512, 1023, 1024, 1536, 1799}) {
            glScissor(row, row, 100, 1);
            glClearStencil(101);
            glClear(GL_STENCIL_BUFFER_BIT);
        }
        glDisable(GL_SCISSOR_TEST);
        shadows.createInitialStencilBuffer(size);
    }
    std::vector<std::uint8_t> read() const {
        std::vector<std::uint8_t> values(std::size_t{4096} * 1800);
        glReadPixels(0, 0, size.cx, size.cy, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, values.data());
        return values;
    }
    std::vector<std::uint8_t> sum() {
        shadows.addCurrentStencil(size);
        shadows.saveAndDestroyStencilBuffer(size);
        return read();
    }

    TestHost host;
    GlSurface gl{4096, 1800};
    KivShadows shadows;
};

TEST(KivLargeStencil, IsAddedUpInBands) {
    LargeStencil large;
    const std::vector<std::uint8_t> drawn = large.read();
    PollCounter progress;
    const ScopedProgress shown(progress);
    EXPECT_EQ(large.sum(), drawn);
    EXPECT_EQ(progress.polls, 3);
}

TEST(KivLargeStencil, ACancelLeavesOutTheFurtherBands) {
    LargeStencil large;
    const std::vector<std::uint8_t> drawn = large.read();
    PollCounter progress(2);
    const ScopedProgress shown(progress);
    const std::vector<std::uint8_t> sum = large.sum();
    EXPECT_EQ(progress.polls, 2);
    const std::ptrdiff_t twoBands = std::ptrdiff_t{4096} * 1024;
    EXPECT_TRUE(std::equal(sum.begin(), sum.begin() + twoBands, drawn.begin()));
    EXPECT_THAT(std::vector<std::uint8_t>(sum.begin() + twoBands, sum.end()), Each(100));
}

} // namespace
