// "selvarin animate" as a user runs it.
#include "import/animatedmodel.h"
#include "programrun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace {

namespace fs = std::filesystem;

class AnimateTest : public testing::Test {
protected:
    AnimateTest() {
        std::string text;
        for (const char* corner :
             {"-1 -1 -1", "1 -1 -1", "1 1 -1", "-1 1 -1", "-1 -1 1", "1 -1 1", "1 1 1", "-1 2 1"}) {
            text += std::string("v ") + corner + "\n";
        }
        model = folder.write("box.obj", text + "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 3 4 8 7\nf 2 3 7 6\nf 4 1 5 8\n");
    }
    Outcome animate(const std::string& output, const std::vector<std::string>& more = {}, int signalAfter = -1) const {
        std::vector<std::string> words{"animate", model, "-o", folder.path(output), "-s", "64x48"};
        words.insert(words.end(), more.begin(), more.end());
        return run(folder, words, signalAfter);
    }
    bool hasFilms() const {
        return run(folder,
                   {"animate", model, "-o", folder.path("try.gif"), "-s", "16x16", "--seconds", "0.04", "-a", "0"})
                   .err.find("this build has no libavcodec") == std::string::npos;
    }

    ProgramFolder folder;
    std::string model;
};

TEST_F(AnimateTest, AStillSceneGivesTheSameBytes) {
    ASSERT_EQ(animate("f/%03d.png", {"--turntable", "0", "--seconds", "4", "--fps", "1", "--style", "Pencil"}).status,
              0);
    const std::string first = folder.read("f/000.png");
    ASSERT_FALSE(first.empty());
    for (const char* name : {"f/001.png", "f/002.png", "f/003.png"}) {
        EXPECT_EQ(folder.read(name), first) << name;
    }
    EXPECT_FALSE(fs::exists(folder.path("f/004.png")));
}

// Lines that follow the form are found anew for each view: in films they would jump from frame to frame.
TEST_F(AnimateTest, HatchingRoundTheFormRunsStraightUnlessItIsAskedFor) {
    const std::vector<std::string> frame{"--seconds", "1",  "--fps",   "1",     "--style",
                                         "Etching",   "-s", "320x240", "--set", "Sketch.HatchTone=90"};
    const auto frameWith = [&](const std::string& name, const std::vector<std::string>& more, Outcome* outcome) {
        std::vector<std::string> words = frame;
        words.insert(words.end(), more.begin(), more.end());
        *outcome = animate(name, words);
        EXPECT_EQ(outcome->status, 0) << outcome->err;
        return folder.read(name.substr(0, 1) + "0.png");
    };
    Outcome plain;
    Outcome straight;
    Outcome form;
    const std::string film = frameWith("a%d.png", {}, &plain);
    EXPECT_EQ(film, frameWith("b%d.png", {"--set", "Sketch.HatchDirection=straight"}, &straight));
    EXPECT_NE(film, frameWith("c%d.png", {"--set", "Sketch.HatchDirection=form"}, &form));
    EXPECT_NE(plain.err.find("--set Sketch.HatchDirection=form keeps it"), std::string::npos) << plain.err;
    EXPECT_EQ(form.err.find("HatchDirection"), std::string::npos) << form.err;
}

TEST_F(AnimateTest, AFullTurnEndsWhereItBegan) {
    const std::vector<std::string> turn{"--seconds", "4", "--fps", "1"};
    ASSERT_EQ(animate("a%d.png", turn).status, 0);
    EXPECT_NE(folder.read("a0.png"), folder.read("a1.png"));
    EXPECT_NE(folder.read("a1.png"), folder.read("a3.png"));
    // The same frames one by one, and backwards.
    ASSERT_EQ(animate("b%d.png", {"--seconds", "4", "--fps", "1", "--from", "1", "--to", "1"}).status, 0);
    EXPECT_EQ(folder.read("a1.png"), folder.read("b1.png"));
    EXPECT_FALSE(fs::exists(folder.path("b0.png")));
    ASSERT_EQ(animate("c%d.png", {"--seconds", "4", "--fps", "1", "--turntable", "-360"}).status, 0);
    EXPECT_EQ(folder.read("c0.png"), folder.read("a0.png"));
    EXPECT_NE(folder.read("c1.png"), folder.read("a1.png"));
}

TEST_F(AnimateTest, PlaysAClipOfTheModel) {
    model = folder.write("moving.gltf", AnimatedModel().gltf());
    ASSERT_EQ(animate("c%d.png", {"--clip", "go", "--fps", "2"}).status, 0);
    // Two seconds; the camera stands, and what moves stays in the picture.
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(folder.read("c" + std::to_string(i) + ".png").empty()) << i;
    }
    EXPECT_FALSE(fs::exists(folder.path("c4.png")));
    EXPECT_NE(folder.read("c0.png"), folder.read("c1.png"));
    EXPECT_NE(folder.read("c1.png"), folder.read("c3.png"));
    // It begins again, and a frame is the same whichever frames are drawn with it.
    ASSERT_EQ(animate("d%d.png", {"--clip", "0", "--fps", "2", "--seconds", "3", "--from", "4", "--to", "5"}).status,
              0);
    EXPECT_FALSE(folder.read("d5.png").empty());
    EXPECT_NE(folder.read("d4.png"), folder.read("d5.png"));
    const Outcome wrong = animate("e%d.png", {"--clip", "stop"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.err, "selvarin: can't use \"" + model + "\": it has no animation \"stop\"; there is \"go\"\n");
}

// The built-in scene has a camera of its own, which shows all of it from one side alone.
TEST_F(AnimateTest, NothingLeavesThePictureWhileItTurns) {
    ASSERT_EQ(run(folder, {"animate", "--demo", "-o", folder.path("t%d.bmp"), "-s", "64x48", "-a", "0", "--seconds",
                           "6", "--fps", "1", "--background", "#ff8000"})
                  .status,
              0);
    for (int frame = 0; frame < 6; ++frame) {
        const std::string bytes = folder.read("t" + std::to_string(frame) + ".bmp");
        ASSERT_GT(bytes.size(), 64U * 48 * 3) << frame;
        const std::string_view pixels = std::string_view(bytes).substr(static_cast<unsigned char>(bytes[10]));
        for (std::size_t x = 0; x < 64; ++x) {
            for (const std::size_t y : {0, 47}) {
                EXPECT_EQ(pixels.substr((y * 64 + x) * 3, 3), std::string_view("\x00\x80\xff", 3)) << frame << " " << x;
            }
        }
    }
}

TEST_F(AnimateTest, ACameraFollowsItsPath) {
    const std::string path = folder.write("path.txt", "0 0 0 8 0 0 0\n2 8 0 0 0 0 0\n");
    ASSERT_EQ(animate("p%d.png", {"--path", path, "--fps", "1"}).status, 0);
    ASSERT_EQ(run(folder, {"render", model, "-o", folder.path("front.png"), "-s", "64x48", "--eye", "0,0,8", "--target",
                           "0,0,0"})
                  .status,
              0);
    EXPECT_EQ(folder.read("p0.png"), folder.read("front.png"));
    EXPECT_TRUE(fs::exists(folder.path("p1.png")));
    EXPECT_FALSE(fs::exists(folder.path("p2.png")));
}

TEST_F(AnimateTest, FramesMayBeDrawings) {
    ASSERT_EQ(animate("d%02d.svg", {"--seconds", "2", "--fps", "1"}).status, 0);
    EXPECT_NE(folder.read("d00.svg").find("<svg"), std::string::npos);
    EXPECT_NE(folder.read("d00.svg"), folder.read("d01.svg"));
}

TEST_F(AnimateTest, FilmsAreOfTheirKind) {
    if (!hasFilms()) {
        GTEST_SKIP() << "this build has no libavcodec";
    }
    const std::vector<std::string> brief{"--seconds", "0.4", "--fps", "10", "-a", "0"};
    ASSERT_EQ(animate("a.mp4", brief).status, 0);
    EXPECT_EQ(folder.read("a.mp4").substr(4, 4), "ftyp");
    ASSERT_EQ(animate("a.webm", brief).status, 0);
    EXPECT_EQ(folder.read("a.webm").substr(0, 4), "\x1A\x45\xDF\xA3");
    const Outcome gif = animate("a.gif", brief);
    ASSERT_EQ(gif.status, 0);
    EXPECT_NE(gif.out.find("a.gif: 64x48, 4 frames"), std::string::npos) << gif.out;
    EXPECT_EQ(folder.read("a.gif").substr(0, 6), "GIF89a");
    ASSERT_EQ(animate("b.mp4", brief).status, 0);
    EXPECT_EQ(folder.read("a.mp4"), folder.read("b.mp4"));
}

TEST_F(AnimateTest, ACancelLeavesAPartOrNothingAsIsWanted) {
    if (!hasFilms()) {
        GTEST_SKIP() << "this build has no libavcodec";
    }
    folder.write("a.mp4", "old");
    EXPECT_EQ(animate("a.mp4", {"--seconds", "400"}, 1500).status, 130);
    EXPECT_EQ(folder.read("a.mp4"), "old");
    EXPECT_EQ(animate("a.mp4", {"--seconds", "400", "--keep-part"}, 2500).status, 130);
    EXPECT_EQ(folder.read("a.mp4").substr(4, 4), "ftyp");
    for (const std::string& name : folder.names()) {
        EXPECT_FALSE(name.starts_with(".selvarin-")) << name;
    }
}

TEST_F(AnimateTest, WrongUseIsTold) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"animate", model},
             {"animate", "-o", "a.gif"},
             {"animate", model, "-o", "a.png"},
             {"animate", model, "-o", "a%s.png"},
             {"animate", model, "-o", "a%d%d.png"},
             {"animate", model, "-o", "a%d.doc"},
             {"animate", model, "-o", "a.mp4", "-s", "63x48"},
             {"animate", model, "-o", "a%d.png", "--fps", "0"},
             {"animate", model, "-o", "a%d.png", "--from", "9", "--to", "3"},
             {"animate", model, "-o", "a%d.png", "--turntable", "90", "--path", model},
             {"animate", model, "-o", "a%d.png", "--path", folder.path("none")}}) {
        const Outcome outcome = run(folder, words);
        EXPECT_EQ(outcome.status, 2) << words.back() << ": " << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

} // namespace
