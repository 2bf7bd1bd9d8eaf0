// What a user reads, and finds in his folders, where a picture can't be made.
#include "programrun.h"

#include <cstdlib>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::string writeTriangle(const ProgramFolder& folder) {
    return folder.write("t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
}

void limitFiles(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

int countLines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

// One line that begins with these words; the folder holds what was in it before, and nothing else.
void expectFailure(const Outcome& outcome, const ProgramFolder& folder, const std::vector<std::string>& names,
                   const std::string& words) {
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(countLines(outcome.err), 1) << outcome.err;
    EXPECT_THAT(outcome.err, StartsWith("selvarin: " + words));
    EXPECT_EQ(folder.names(), names);
}

// A file system of that many bytes, as far as we may make one.
class SmallDisk {
public:
    SmallDisk(std::string place, int bytes) : folder(std::move(place)) {
        std::filesystem::create_directory(folder);
        const std::string size = "size=" + std::to_string(bytes);
        mounted = mount("none", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        if (mounted) {
            umount2(folder.c_str(), MNT_DETACH);
        }
    }
    bool isThere() const {
        return mounted;
    }

private:
    std::string folder;
    bool mounted = false;
};

} // namespace

// The limit's signal ends no program, and leaves nothing.
TEST(Failures, AFileAboveTheLimitIsNamedWithTheReason) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    for (const char* const name : {"a.png", "a.svg", "a.pdf"}) {
        const std::string file = folder.path(name);
        // The line itself goes into a file, too.
        expectFailure(run(folder, {"render", model, "-o", file, "-s", "160x120"}, -1, false, [] { limitFiles(500); }),
                      folder, {"t.obj"}, "can't write \"" + file + "\": The file is larger than the limit allows.");
    }
}

TEST(Failures, APictureBesideThePictureToo) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string file = folder.path("a.png");
    // Depth in many greys is larger than a picture of few colours.
    const Outcome outcome = run(folder, {"render", model, "-o", file, "-s", "400x300", "-a", "0", "--depth-image"}, -1,
                                false, [] { limitFiles(1200); });
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("The file is larger than the limit allows."));
    EXPECT_THAT(outcome.err, testing::Not(HasSubstr(".selvarin-")));
    EXPECT_THAT(folder.names(), ElementsAre("t.obj"));
}

TEST(Failures, AFullDiskIsNamedWithThePlace) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string full = folder.path("full");
    const SmallDisk disk(full, 4096);
    if (!disk.isThere()) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    const std::vector<std::string> names{"full", "t.obj"};
    const std::string picture = folder.path("a.png");
    expectFailure(run(folder, {"render", model, "-o", picture, "--memory-folder", full}), folder, names,
                  "can't render \"" + picture + "\": The disk is full. The folder for the picture's memory is \"" +
                      full + "\".\n");
    folder.write("full/rest", std::string(4096, 'x'));
    for (const char* const name : {"a.svg", "a.pdf", "a.dxf", "a.plt"}) {
        const std::string drawing = full + "/" + name;
        expectFailure(run(folder, {"render", model, "-o", drawing}), folder, names,
                      "can't write \"" + drawing + "\": The disk is full.\n");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(full), {}), 1);
}

TEST(Failures, ADrawingNeedsNoPlaceForTemporaryFiles) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const Outcome outcome = run(folder, {"render", model, "-o", folder.path("a.svg"), "-q"}, -1, false,
                                [] { setenv("TMPDIR", "/nowhere/at/all", 1); });
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(folder.names(), ElementsAre("a.svg", "t.obj"));
}

TEST(Failures, TooLittleMemoryIsOneLine) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer itself needs all the memory that there is";
#endif
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string file = folder.path("a.png");
    expectFailure(run(folder, {"render", model, "-o", file, "-s", "16000x16000", "-a", "0"}, -1, false,
                      [] {
                          constexpr rlim_t bytes = rlim_t{900} << 20;
                          const rlimit limit{bytes, bytes};
                          setrlimit(RLIMIT_AS, &limit);
                      }),
                  folder, {"t.obj"}, "can't render \"" + file + "\": There is not enough memory.\n");
}

TEST(Failures, APaperOrBackgroundThatCantBeReadIsAnError) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string whole = folder.path("whole.png");
    ASSERT_EQ(run(folder, {"render", model, "-o", whole, "-s", "64x48"}).status, 0);
    const std::string cut = folder.write("cut.png", folder.read("whole.png").substr(0, 200));
    const std::string text = folder.write("text.jpg", "no picture");
    std::filesystem::create_directory(folder.path("folder.png"));
    const std::string isNone = "it is no whole picture of a kind that can be read: PNG, JPEG, TIFF, BMP or GIF\n";
    const std::pair<std::string, std::string> cases[] = {{cut, isNone},
                                                         {text, isNone},
                                                         {folder.path("folder.png"), "it is no plain file\n"},
                                                         {"/dev/null", "it is no plain file\n"},
                                                         {folder.path("none.png"), "there is no such file\n"}};
    for (const auto& [file, why] : cases) {
        const Outcome background =
            run(folder, {"render", model, "-o", folder.path("a.png"), "--background-image", file});
        EXPECT_EQ(background.status, 1);
        EXPECT_EQ(background.err, "selvarin: can't use \"" + file + "\": " + why);
        if (file.starts_with(folder.path("")) && why != "there is no such file\n" && !file.ends_with("folder.png")) {
            EXPECT_EQ(run(folder, {"render", model, "-o", folder.path("a.png"), "--paper", file}).err, background.err);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path("a.png")));
    EXPECT_EQ(run(folder, {"render", model, "-o", folder.path("a.png"), "-s", "64x48", "--paper", whole}).err, "");
}

TEST(Failures, WhatIsReplacedKeepsItsPermissionsAndLinksStay) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    for (const char* const ending : {".png", ".svg"}) {
        const std::string real = folder.write(std::string("real") + ending, "old");
        const std::string link = folder.path(std::string("link") + ending);
        chmod(real.c_str(), 0640);
        std::filesystem::create_symlink(std::filesystem::path(real).filename(), link);
        const Outcome outcome = run(folder, {"render", model, "-o", link, "-s", "64x48"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        struct stat info = {};
        stat(real.c_str(), &info);
        EXPECT_EQ(info.st_mode & 07777U, 0640U);
        EXPECT_GT(info.st_size, 100);
    }
    const std::string lost = folder.path("lost.png");
    std::filesystem::create_symlink("nowhere.png", lost);
    EXPECT_EQ(run(folder, {"render", model, "-o", lost}).err,
              "selvarin: can't write \"" + lost + "\": it is a link that leads nowhere\n");
}

namespace {

// A second signal ends the program at once, and the files that wait for their place go too.
void expectSignalsLeaveNoFile(bool apart) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string stuck = folder.path("pipe.png");
    ASSERT_EQ(mkfifo(stuck.c_str(), 0600), 0);
    // The pipe, which nobody reads, holds the program up while the second picture waits beside its place.
    const auto sendSignals = [&folder, apart] {
        const pid_t program = getpid();
        if (fork() != 0) {
            return;
        }
        const std::string waiting = folder.path(".selvarin-" + std::to_string(program) + "-a.png");
        for (int i = 0; i < 2000 && access(waiting.c_str(), F_OK) != 0; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        // The picture may be there before the last poll for a cancel.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        // Two that are pending at once may meet in two threads; two that are apart meet a write under way.
        kill(program, SIGHUP);
        if (apart) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
        kill(program, SIGTERM);
        _exit(0);
    };
    const Outcome outcome =
        run(folder, {"render", model, "-o", stuck, "-o", folder.path("a.png"), "-s", "64x48"}, -1, false, sendSignals);
    EXPECT_THAT(outcome.status, testing::AnyOf(1000 + SIGHUP, 1000 + SIGTERM)) << "whichever comes second";
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(folder.names(), ElementsAre("pipe.png", "t.obj"));
}

} // namespace

TEST(Failures, SignalsLeaveNoFile) {
    expectSignalsLeaveNoFile(false);
}

TEST(Failures, ASignalDuringAWriteIsNoFailureOfIt) {
    expectSignalsLeaveNoFile(true);
}

TEST(Failures, AReaderThatGoesAwayLeavesNoFile) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::string place = folder.path("temporary");
    std::filesystem::create_directory(place);
    const Outcome outcome = run(folder, {"render", model, "-o", "-", "-s", "64x48"}, -1, false, [&place] {
        setenv("TMPDIR", place.c_str(), 1);
        int ends[2] = {};
        if (pipe(ends) == 0) {
            close(ends[0]);
            dup2(ends[1], STDOUT_FILENO);
        }
    });
    EXPECT_EQ(outcome.status, 1000 + SIGPIPE);
    EXPECT_TRUE(std::filesystem::is_empty(place));
}

TEST(Failures, NothingIsSeenIsAWarning) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const std::pair<const char*, const char*> cases[] = {{"--eye", "1e30,0,0"}, {"--ortho", "1e-300"}};
    for (const auto& [option, value] : cases) {
        const Outcome outcome =
            run(folder, {"render", model, "-o", folder.path("a.png"), "-s", "64x48", option, value});
        EXPECT_EQ(outcome.err,
                  "selvarin: warning: the camera sees nothing: it is too far away, or its picture too small, for "
                  "the numbers of OpenGL\n");
    }
}

TEST(Failures, ASettingsFileIsAPlainFileOrAPipe) {
    const ProgramFolder folder;
    const auto complaintOf = [&](const std::string& file) {
        return run(folder, {"render", "--demo", "-o", folder.path("a.png"), "--config", file}).err;
    };
    EXPECT_THAT(complaintOf(folder.path("")), HasSubstr("\": it is a folder"));
    EXPECT_THAT(complaintOf("/dev/zero"),
                StartsWith("selvarin: can't read the settings file \"/dev/zero\": it is a device"));
    EXPECT_THAT(complaintOf(folder.write("large", std::string(2 << 20, '#'))), HasSubstr("\": it is too large"));
}

// Without a driver: its own words don't reach the user, ours do.
TEST(Failures, TheDriverIsQuiet) {
    const ProgramFolder folder;
    const std::string model = writeTriangle(folder);
    const Outcome outcome = run(folder, {"render", model, "-o", folder.path("a.png")}, -1, false,
                                [] { setenv("LIBGL_DRIVERS_PATH", "/nowhere", 1); });
    if (outcome.status == 0) {
        GTEST_SKIP() << "this driver is found in another way";
    }
    expectFailure(outcome, folder, {"t.obj"}, "can't render \"");
    EXPECT_THAT(outcome.err, HasSubstr("OpenGL could not be started"));
}
