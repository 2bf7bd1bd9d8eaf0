// Files that take another's name; the writing of whole files is tested with those of pictures.
#include "kivrender/platform/kivwholefile.h"

#include "kivrender/platform/kivsystemerror.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class KivMoveWholeFile : public testing::Test {
protected:
    KivMoveWholeFile() {
        folder.write("work", "new");
    }
    bool move(const std::string& to) const {
        return kivMoveWholeFile(folder.wide("work"), folder.wide(to));
    }

    TempFolder folder;
};

unsigned int modeOf(const fs::path& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777U : 0;
}

TEST_F(KivMoveWholeFile, TakesAFreeName) {
    EXPECT_TRUE(move("picture"));
    EXPECT_EQ(folder.read("picture"), "new");
    EXPECT_EQ(folder.count(), 1U);
}

TEST_F(KivMoveWholeFile, KeepsThePermissionsOfTheOldFile) {
    folder.write("picture", "old");
    fs::permissions(folder.path() / "picture", fs::perms(0640));
    EXPECT_TRUE(move("picture"));
    EXPECT_EQ(folder.read("picture"), "new");
    EXPECT_EQ(modeOf(folder.path() / "picture"), 0640U);
    EXPECT_EQ(folder.count(), 1U);
}

TEST_F(KivMoveWholeFile, ALinkStaysALink) {
    fs::create_directory(folder.path() / "elsewhere");
    folder.write("elsewhere/real", "old");
    fs::create_symlink("elsewhere/real", folder.path() / "link");
    EXPECT_TRUE(move("link"));
    EXPECT_TRUE(fs::is_symlink(folder.path() / "link"));
    EXPECT_EQ(folder.read("elsewhere/real"), "new");
    EXPECT_FALSE(fs::exists(folder.path() / "work"));
}

TEST_F(KivMoveWholeFile, ALinkThatLeadsNowhereIsNoPlace) {
    fs::create_symlink("missing", folder.path() / "link");
    EXPECT_FALSE(move("link"));
    EXPECT_NE(kivGetLastError(), 0U);
    EXPECT_EQ(folder.read("work"), "new");
    EXPECT_EQ(kivBehindLinks(folder.wide("link")), L"");
    EXPECT_EQ(kivBehindLinks(folder.wide("work")), folder.wide("work"));
    EXPECT_EQ(kivBehindLinks(folder.wide("missing")), folder.wide("missing"));
}

TEST_F(KivMoveWholeFile, WhatIsNoRegularFileIsWritten) {
    EXPECT_TRUE(kivMoveWholeFile(folder.wide("work"), L"/dev/null"));
    EXPECT_EQ(folder.count(), 0U);
    EXPECT_FALSE(fs::is_regular_file("/dev/null"));
}

TEST_F(KivMoveWholeFile, AFailureLeavesBothFiles) {
    fs::create_directory(folder.path() / "folder");
    EXPECT_FALSE(move("folder"));
    EXPECT_FALSE(move("missing/picture"));
    EXPECT_NE(kivGetLastError(), 0U);
    EXPECT_EQ(folder.read("work"), "new");
}

TEST_F(KivMoveWholeFile, FromAnotherFileSystemTheContentIsCopied) {
    const fs::path memory = "/dev/shm";
    struct stat here {};
    struct stat there {};
    if (stat(folder.path().c_str(), &here) != 0 || stat(memory.c_str(), &there) != 0 || here.st_dev == there.st_dev) {
        GTEST_SKIP() << "there is no second file system";
    }
    const fs::path far = memory / (folder.path().filename().string() + "-work");
    std::ofstream(far) << "from afar";
    folder.write("picture", "old");
    fs::permissions(folder.path() / "picture", fs::perms(0604));
    EXPECT_TRUE(kivMoveWholeFile(far.wstring(), folder.wide("picture")));
    EXPECT_EQ(folder.read("picture"), "from afar");
    EXPECT_EQ(modeOf(folder.path() / "picture"), 0604U);
    EXPECT_FALSE(fs::exists(far));
}

} // namespace
