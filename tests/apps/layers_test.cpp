// Pictures in layers, as unzip, Python's zipfile and another reader of PNG see them.
#include "pngpixels.h"
#include "programrun.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string outputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; pipe && (count = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;) {
        text.append(buffer.data(), count);
    }
    return text;
}

// From the lowest up.
std::vector<std::string> layerNamesOf(const std::string& stack) {
    std::vector<std::string> names;
    for (std::size_t at = stack.find("layer name=\""); at != std::string::npos;
         at = stack.find("layer name=\"", at + 1)) {
        const std::size_t begin = at + 12;
        names.insert(names.begin(), stack.substr(begin, stack.find('"', begin) - begin));
    }
    return names;
}

// Straight alpha over what is there, as a painting program would.
void layOver(const Pixels& above, std::vector<double>& below) {
    for (std::size_t i = 0; i < above.rgba.size(); i += 4) {
        const double alpha = above.rgba[i + 3] / 255.0;
        const double shows = below[i + 3] * (1.0 - alpha);
        const double both = alpha + shows;
        for (std::size_t c = 0; c < 3 && both > 0.0; ++c) {
            below[i + c] = (above.rgba[i + c] * alpha + below[i + c] * shows) / both;
        }
        below[i + 3] = both;
    }
}

int worstDifference(const std::vector<double>& laid, const Pixels& picture) {
    int worst = 0;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        const double value = i % 4 == 3 ? laid[i] * 255.0 : laid[i];
        worst = std::max(worst, static_cast<int>(std::lround(std::abs(value - picture.rgba[i]))));
    }
    return worst;
}

std::size_t coveredPixels(const Pixels& layer) {
    std::size_t count = 0;
    for (std::size_t i = 3; i < layer.rgba.size(); i += 4) {
        count += layer.rgba[i] > 8 ? 1 : 0;
    }
    return count;
}

const std::vector<std::string> shadedDemo{"render", "--demo", "-q", "-s", "160x120", "-a", "1", "--shadows"};

std::vector<std::string> with(std::vector<std::string> words, const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

TEST(Layers, LaidOverOneAnotherGiveThePicture) {
    const ProgramFolder folder;
    ASSERT_EQ(
        run(folder, with(shadedDemo, {"-o", folder.path("a.png"), "--paper", "laid", "--layers", folder.path("l")}))
            .status,
        0);
    const Pixels picture = readPixels(folder.path("a.png"));
    std::vector<double> laid(picture.rgba.size(), 0.0);
    for (const char* const name : {"paper", "colours", "shadow", "highlights", "lines"}) {
        const Pixels layer = readPixels(folder.path(std::string("l/") + name + ".png"));
        ASSERT_EQ(layer.rgba.size(), picture.rgba.size()) << name;
        EXPECT_TRUE(layer.hasAlpha) << name;
        EXPECT_GT(coveredPixels(layer), 20U) << name;
        EXPECT_LT(coveredPixels(layer), name == std::string("paper") ? 19201U : 12000U) << name;
        layOver(layer, laid);
    }
    EXPECT_LE(worstDifference(laid, picture), 2);
}

TEST(Layers, OpenRasterIsReadByOthers) {
    const ProgramFolder folder;
    const std::string ora = folder.path("a.ora");
    const Outcome outcome = run(folder, with(shadedDemo, {"-o", ora, "-o", folder.path("a.png")}));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(folder.read("a.ora").substr(30, 8 + 16), "mimetypeimage/openraster") << "first, and as it is";
    EXPECT_THAT(outputOf("unzip -t '" + ora + "' 2>&1"), HasSubstr("No errors detected"));
    const std::string stack = outputOf("unzip -p '" + ora + "' stack.xml");
    EXPECT_THAT(stack, HasSubstr("w=\"160\" h=\"120\""));
    EXPECT_THAT(layerNamesOf(stack), ElementsAre("paper", "colours", "shadow", "highlights", "lines"));
    EXPECT_EQ(outputOf("python3 '" READ_OPENRASTER "' '" + ora + "' 2>&1"), "paper colours shadow highlights lines\n");
    ASSERT_EQ(std::system(("cd '" + folder.path("") + "' && unzip -q a.ora -d ora").c_str()), 0);
    const Pixels picture = readPixels(folder.path("a.png"));
    std::vector<double> laid(picture.rgba.size(), 0.0);
    for (int i = 0; i < 5; ++i) {
        layOver(readPixels(folder.path("ora/data/layer" + std::to_string(i) + ".png")), laid);
    }
    EXPECT_LE(worstDifference(laid, picture), 2);
    const Pixels merged = readPixels(folder.path("ora/mergedimage.png"));
    std::vector<double> ofMerged(merged.rgba.size(), 0.0);
    layOver(merged, ofMerged);
    EXPECT_LE(worstDifference(ofMerged, picture), 2);
    EXPECT_EQ(readPixels(folder.path("ora/Thumbnails/thumbnail.png")).width, 160U);
}

TEST(Layers, WithoutABackgroundThereIsNoPaper) {
    const ProgramFolder folder;
    ASSERT_EQ(run(folder, {"render", "--demo", "-q", "-s", "120x90", "-a", "1", "--background", "none", "-o",
                           folder.path("a.ora")})
                  .status,
              0);
    const std::string stack = outputOf("unzip -p '" + folder.path("a.ora") + "' stack.xml");
    EXPECT_THAT(layerNamesOf(stack), ElementsAre("colours", "highlights", "lines"));
    ASSERT_EQ(std::system(("cd '" + folder.path("") + "' && unzip -q a.ora mergedimage.png").c_str()), 0);
    const Pixels merged = readPixels(folder.path("mergedimage.png"));
    ASSERT_TRUE(merged.hasAlpha);
    EXPECT_EQ(merged.rgba[3], 0) << "its corner";
}

TEST(Layers, AStyleWithoutSurfacesHasPaperAndLines) {
    const ProgramFolder folder;
    ASSERT_EQ(run(folder, {"render", "--demo", "-q", "-s", "120x90", "-a", "1", "--style", "Blueprint", "-o",
                           folder.path("a.png"), "--layers", folder.path("{model}-layers")})
                  .status,
              0);
    EXPECT_TRUE(std::filesystem::exists(folder.path("demo-layers/paper.png")));
    EXPECT_TRUE(std::filesystem::exists(folder.path("demo-layers/lines.png")));
    const Pixels picture = readPixels(folder.path("a.png"));
    std::vector<double> laid(picture.rgba.size(), 0.0);
    for (const char* const name : {"paper", "colours", "highlights", "lines"}) {
        if (std::filesystem::exists(folder.path(std::string("demo-layers/") + name + ".png"))) {
            layOver(readPixels(folder.path(std::string("demo-layers/") + name + ".png")), laid);
        }
    }
    EXPECT_LE(worstDifference(laid, picture), 2);
}

constexpr const char* twoBoxes = R"(o near & far
v -1 -1 0
v 1 -1 0
v 1 1 0
v -1 1 0
f 1 2 3 4
o front
v -0.4 -0.4 1
v 0.4 -0.4 1
v 0.4 0.4 1
v -0.4 0.4 1
f 5 6 7 8
)";

std::vector<double> laidPictures(const std::vector<Pixels>& layers) {
    std::vector<double> laid(layers.front().rgba.size(), 0.0);
    for (const Pixels& layer : layers) {
        layOver(layer, laid);
    }
    return laid;
}

TEST(Layers, EachObjectHasItsOwn) {
    const ProgramFolder folder;
    folder.write("m.obj", twoBoxes);
    const std::string ora = folder.path("a.ora");
    const Outcome outcome = run(folder, {"render",   folder.path("m.obj"),
                                         "-q",       "-s",
                                         "120x120",  "-a",
                                         "1",        "--shadows",
                                         "--view",   "front",
                                         "--light",  "point:-1,2,5",
                                         "-o",       ora,
                                         "-o",       folder.path("a.png"),
                                         "--layers", "objects",
                                         "--layers", folder.path("l")});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outputOf("python3 '" READ_OPENRASTER "' '" + ora + "' 2>&1"),
              "paper colours/near & far colours/front shadow/near & far shadow/front lines/near & far lines/front\n");
    const std::string stack = outputOf("unzip -p '" + ora + "' stack.xml");
    EXPECT_THAT(stack, HasSubstr("<stack name=\"lines\">"));
    ASSERT_EQ(std::system(("cd '" + folder.path("") + "' && unzip -q a.ora -d ora").c_str()), 0);
    std::vector<Pixels> inside;
    std::vector<Pixels> beside;
    const char* const files[] = {"paper",          "colours-2-near___far", "colours-3-front", "shadow-4-near___far",
                                 "shadow-5-front", "lines-6-near___far",   "lines-7-front"};
    for (int i = 0; i < 7; ++i) {
        inside.push_back(readPixels(folder.path("ora/data/layer" + std::to_string(i) + ".png")));
        beside.push_back(readPixels(folder.path("l/" + std::string(files[i]) + ".png")));
        EXPECT_EQ(inside.back().rgba, beside.back().rgba) << files[i];
    }
    const Pixels picture = readPixels(folder.path("a.png"));
    EXPECT_LE(worstDifference(laidPictures(inside), picture), 3);
    // In the middle stands the near one alone, beside it the far one.
    const auto alphaAt = [&inside](std::size_t layer, std::size_t x) {
        return inside[layer].rgba[4 * (60 * 120 + x) + 3];
    };
    EXPECT_EQ(alphaAt(1, 60), 0);
    EXPECT_EQ(alphaAt(2, 60), 255);
    EXPECT_EQ(alphaAt(1, 25), 255);
    EXPECT_EQ(alphaAt(2, 25), 0);
}

TEST(Layers, ACancelLeavesNothing) {
    const ProgramFolder folder;
    const Outcome outcome = run(
        folder, {"render", "--demo", "-q", "-s", "1600x1200", "-o", folder.path("a.ora"), "--layers", folder.path("l")},
        700);
    EXPECT_EQ(outcome.status, 130) << outcome.err;
    EXPECT_TRUE(folder.names().empty()) << folder.names().front();
}

TEST(Layers, WhatGoesWrongIsOneLine) {
    const ProgramFolder folder;
    folder.write("file", "");
    const Outcome notThere =
        run(folder, with(shadedDemo, {"-o", folder.path("a.png"), "--layers", folder.path("gone/l")}));
    EXPECT_EQ(notThere.status, 1);
    EXPECT_THAT(notThere.err,
                testing::StartsWith("selvarin: can't make the folder \"" + folder.path("gone/l") + "\": "));
    const Outcome noFolder =
        run(folder, with(shadedDemo, {"-o", folder.path("a.png"), "--layers", folder.path("file")}));
    EXPECT_EQ(noFolder.status, 1);
    EXPECT_EQ(std::count(noFolder.err.begin(), noFolder.err.end(), '\n'), 1) << noFolder.err;
    const Outcome depth = run(folder, with(shadedDemo, {"-o", folder.path("a.ora"), "--depth-image"}));
    EXPECT_EQ(depth.status, 2);
    EXPECT_THAT(depth.err, HasSubstr("--depth-image goes beside a plain picture"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
}

} // namespace
