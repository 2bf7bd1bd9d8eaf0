// Pictures without a background, as another reader of PNG sees them.
#include "pngpixels.h"
#include "programrun.h"

#include <array>
#include <cstdint>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

// The largest difference between a picture laid over a colour and one that was rendered on it.
int worstOver(const Pixels& above, const Pixels& on, const std::array<int, 3>& colour) {
    EXPECT_EQ(above.rgba.size(), on.rgba.size());
    int worst = 0;
    for (std::size_t i = 0; i < above.rgba.size() && i < on.rgba.size(); ++i) {
        if (i % 4 != 3) {
            const int alpha = above.rgba[i / 4 * 4 + 3];
            const double mixed = (above.rgba[i] * alpha + colour[i % 4] * (255 - alpha)) / 255.0;
            worst = std::max(worst, static_cast<int>(std::abs(mixed - on.rgba[i]) + 0.5));
        }
    }
    return worst;
}

void expectRightOverColours(const ProgramFolder& folder, const std::vector<std::string>& look, int most) {
    const auto render = [&](const std::string& name, const std::string& background) {
        std::vector<std::string> words{"render", "--demo",          "-q",           "-s",      "120x90",
                                       "-o",     folder.path(name), "--background", background};
        words.insert(words.end(), look.begin(), look.end());
        const Outcome outcome = run(folder, words);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return readPixels(folder.path(name));
    };
    const Pixels picture = render("a.png", "none");
    ASSERT_TRUE(picture.hasAlpha);
    std::array<int, 3> kinds{}; // transparent, in between, covered
    for (std::size_t i = 3; i < picture.rgba.size(); i += 4) {
        ++kinds[picture.rgba[i] == 0 ? 0 : picture.rgba[i] == 255 ? 2 : 1];
    }
    EXPECT_GT(kinds[0], 500);
    EXPECT_GT(kinds[1], 300) << "borders cover a part of their pixels";
    for (const auto& [name, colour] :
         {std::pair("#000000", std::array<int, 3>{0, 0, 0}), std::pair("#ffffff", std::array<int, 3>{255, 255, 255}),
          std::pair("#20c040", std::array<int, 3>{0x20, 0xc0, 0x40}),
          std::pair("#d01890", std::array<int, 3>{0xd0, 0x18, 0x90})}) {
        const int worst = worstOver(picture, render("b.png", name), colour);
        EXPECT_LE(worst, most) << name;
    }
}

TEST(TransparentPicture, LiesRightOverAnyColour) {
    expectRightOverColours(ProgramFolder(), {}, 2);
}

TEST(TransparentPicture, WithShadowsAndWhatIsSeenThrough) {
    expectRightOverColours(ProgramFolder(), {"--shadows", "--transparency", "-a", "1"}, 2);
}

TEST(TransparentPicture, OfStrokesThatCoverLittle) {
    expectRightOverColours(ProgramFolder(), {"--base", "none", "--add", "Sketch"}, 2);
}

TEST(TransparentPicture, PaperLiesOnWhatIsDrawn) {
    const ProgramFolder folder;
    const auto render = [&](const std::string& name, const std::vector<std::string>& more) {
        std::vector<std::string> words{"render", "--demo", "-q", "-s", "120x90", "-o", folder.path(name)};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_EQ(run(folder, words).status, 0);
        return readPixels(folder.path(name));
    };
    const Pixels bare = render("bare.png", {"--background", "none"});
    const Pixels papered = render("papered.png", {"--background", "none", "--paper", "kraft"});
    const Pixels whole = render("whole.png", {"--background", "#ffffff", "--paper", "kraft"});
    int covered = 0;
    for (std::size_t i = 0; i < bare.rgba.size(); i += 4) {
        EXPECT_EQ(papered.rgba[i + 3], bare.rgba[i + 3]) << "of pixel " << i / 4;
        for (std::size_t c = 0; c < 3 && bare.rgba[i + 3] == 255; ++c) {
            EXPECT_NEAR(papered.rgba[i + c], whole.rgba[i + c], 1);
            covered += papered.rgba[i + c] < bare.rgba[i + c] ? 1 : 0;
        }
    }
    EXPECT_GT(covered, 1500) << "kraft is darker than white everywhere";
}

TEST(TransparentPicture, ABackdropIsLeftOut) {
    const ProgramFolder folder;
    EXPECT_EQ(run(folder, {"render", "--demo", "-q", "-s", "80x60", "-o", folder.path("a.png"), "--style", "Blueprint",
                           "--background", "none"})
                  .status,
              0);
    const Pixels picture = readPixels(folder.path("a.png"));
    ASSERT_TRUE(picture.hasAlpha);
    EXPECT_EQ(picture.rgba[3], 0) << "its corner";
}

TEST(TransparentPicture, WhatCantBeTransparentIsToldBeforeTheRender) {
    const ProgramFolder folder;
    for (const std::string ending : {"jpg", "bmp", "gif"}) {
        const std::string name = folder.path("a." + ending);
        const Outcome outcome = run(folder, {"render", "--demo", "-o", name, "--background", "none"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.err, "selvarin: --background none: \"" + name +
                                   "\" can't be transparent; give -o a name that ends in png, tif, tiff or ora (see "
                                   "\"selvarin --help\")\n");
    }
    const Outcome both = run(folder, {"render", "--demo", "-o", folder.path("a.png"), "--background", "none",
                                      "--background-image", "b.png"});
    EXPECT_EQ(both.status, 2);
    EXPECT_THAT(both.err, testing::HasSubstr("--background none and --background-image exclude each other"));
    EXPECT_TRUE(folder.names().empty());
}

TEST(TransparentPicture, ADrawingHasNoSheetThen) {
    const ProgramFolder folder;
    const std::string model = folder.write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    EXPECT_EQ(run(folder, {"render", model, "-q", "-o", folder.path("a.svg"), "--background", "none"}).status, 0);
    const std::string bare = folder.read("a.svg");
    EXPECT_EQ(run(folder, {"render", model, "-q", "-o", folder.path("b.svg"), "--background", "#f7f2e8"}).status, 0);
    EXPECT_LT(bare.size(), folder.read("b.svg").size()) << "without the area of the background";
    EXPECT_EQ(bare.find("f7f2e8"), std::string::npos);
}

} // namespace
