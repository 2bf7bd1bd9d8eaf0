#include "kivrender/platform/kivreplacefile.h"

#include "kivrender/platform/kivdescriptor.h"
#include "support/temphome.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t plenty = 1 << 20;

class KivReplaceFile : public testing::Test {
protected:
    bool replaceWith(const std::string& name, const std::string& text) {
        return kivReplaceFile(folder.wide(name), plenty, [&text](std::string& bytes) {
            bytes = text;
            return true;
        });
    }
    ino_t node(const std::string& name) const {
        struct stat info {};
        EXPECT_EQ(stat((folder.path() / name).c_str(), &info), 0);
        return info.st_ino;
    }

    TempFolder folder;
};

TEST_F(KivReplaceFile, AFileIsReadUpToItsLimit) {
    folder.write("a", std::string(40000, 'x'));
    EXPECT_EQ(kivReadFile(folder.wide("a"), 40000), std::string(40000, 'x'));
    EXPECT_FALSE(kivReadFile(folder.wide("a"), 39999).has_value());
    folder.write("empty", "");
    EXPECT_EQ(kivReadFile(folder.wide("empty"), 0), "");
}

TEST_F(KivReplaceFile, OnlyRegularFilesAreRead) {
    EXPECT_FALSE(kivReadFile(folder.wide("missing"), plenty).has_value());
    EXPECT_FALSE(kivReadFile(folder.wide(), plenty).has_value());
    EXPECT_FALSE(kivReadFile(L"/dev/zero", plenty).has_value());
    ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(kivReadFile(folder.wide("pipe"), plenty).has_value()) << "without waiting for a writer";
}

TEST_F(KivReplaceFile, TheEditSeesWhatStandsThere) {
    folder.write("a", "old");
    std::string seen;
    EXPECT_TRUE(kivReplaceFile(folder.wide("a"), plenty, [&seen](std::string& bytes) {
        seen = bytes;
        bytes += " and new";
        return true;
    }));
    EXPECT_EQ(seen, "old");
    EXPECT_EQ(folder.read("a"), "old and new");
    EXPECT_EQ(folder.count(), 1U) << "nothing is left beside it";
    seen = "something";
    EXPECT_TRUE(kivReplaceFile(folder.wide("b"), plenty, [&seen](std::string& bytes) {
        seen = bytes;
        return true;
    }));
    EXPECT_EQ(seen, "") << "a missing file counts as empty";
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "b")) << "and is made even so";
}

TEST_F(KivReplaceFile, ARefusedOrNeedlessEditTouchesNothing) {
    folder.write("a", "old");
    const ino_t before = node("a");
    EXPECT_FALSE(kivReplaceFile(folder.wide("a"), plenty, [](std::string& bytes) {
        bytes = "new";
        return false;
    }));
    EXPECT_EQ(folder.read("a"), "old");
    EXPECT_TRUE(replaceWith("a", "old"));
    EXPECT_EQ(node("a"), before) << "the same bytes are not written again";
    EXPECT_TRUE(replaceWith("a", "new"));
    EXPECT_NE(node("a"), before) << "others come with a new file, so that no reader sees half of them";
}

TEST_F(KivReplaceFile, WhatIsTooLargeOrNoFileIsLeftAlone) {
    folder.write("a", "four");
    bool asked = false;
    EXPECT_FALSE(kivReplaceFile(folder.wide("a"), 3, [&asked](std::string&) { return asked = true; }));
    EXPECT_FALSE(asked);
    std::filesystem::create_directory(folder.path() / "folder");
    EXPECT_FALSE(replaceWith("folder", "text"));
    EXPECT_FALSE(replaceWith("missing/a", "text"));
    EXPECT_EQ(folder.read("a"), "four");
    EXPECT_EQ(folder.count(), 2U);
}

TEST_F(KivReplaceFile, LinksAndPermissionsStay) {
    folder.write("a", "old");
    std::filesystem::permissions(folder.path() / "a", std::filesystem::perms(0640));
    std::filesystem::create_symlink("a", folder.path() / "link");
    EXPECT_TRUE(replaceWith("link", "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
    EXPECT_EQ(folder.read("a"), "new");
    EXPECT_EQ(std::filesystem::status(folder.path() / "a").permissions(), std::filesystem::perms(0640));
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
    EXPECT_FALSE(replaceWith("dangling", "new"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "nowhere"));
}

// Another program that edits a file of the same folder waits meanwhile.
TEST_F(KivReplaceFile, ItsFolderIsLockedMeanwhile) {
    const KivDescriptor other(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto isFree = [&other] {
        const bool taken = flock(other.get(), LOCK_EX | LOCK_NB) == 0;
        flock(other.get(), LOCK_UN);
        return taken;
    };
    const auto edit = [&isFree](std::string& bytes) {
        EXPECT_FALSE(isFree());
        bytes = "text";
        return true;
    };
    EXPECT_TRUE(kivReplaceFile(folder.wide("a"), plenty, edit));
    EXPECT_TRUE(isFree());
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_TRUE(kivReplaceFile(L"plain", plenty, edit));
    std::filesystem::current_path(before);
    EXPECT_EQ(folder.read("plain"), "text");
    EXPECT_TRUE(isFree());
}

TEST_F(KivReplaceFile, ANewFileTakesNoNameThatIsTaken) {
    EXPECT_TRUE(kivCreateFile(folder.wide("a"), "first"));
    errno = 0;
    EXPECT_FALSE(kivCreateFile(folder.wide("a"), "second"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(folder.read("a"), "first");
    EXPECT_FALSE(kivCreateFile(folder.wide("missing/a"), "text"));
}

TEST_F(KivReplaceFile, RoomIsSeenWithoutATrace) {
    EXPECT_TRUE(kivHasRoom(folder.wide(), 1));
    EXPECT_TRUE(kivHasRoom(folder.wide(), 1 << 20));
    EXPECT_FALSE(kivHasRoom(folder.wide(), std::size_t{1} << 62));
    EXPECT_FALSE(kivHasRoom(folder.wide("missing"), 1));
    EXPECT_EQ(folder.count(), 0U);
}

TEST_F(KivReplaceFile, ALinkThatLeadsNowhereExists) {
    std::filesystem::create_symlink("nowhere", folder.path() / "dangling");
    EXPECT_TRUE(kivFileExists(folder.wide("dangling")));
    EXPECT_FALSE(kivFileExists(folder.wide("nowhere")));
}

} // namespace
