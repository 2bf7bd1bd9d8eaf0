#include "kivrender/platform/kivtrash.h"

#include "support/temphome.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

bool sameFileSystem(const std::filesystem::path& a, const std::filesystem::path& b) {
    struct stat first {};
    struct stat second {};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev;
}

class KivTrash : public testing::Test {
protected:
    bool isIn(const std::string& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(home.path() / "data/Trash/files" / name));
    }

    TempHome home;
};

TEST_F(KivTrash, ALinkIsMovedAsALink) {
    home.write("kept", "text");
    std::filesystem::create_symlink(home.path() / "kept", home.path() / "link");
    EXPECT_TRUE(kivMoveToTrash(home.wide("link")));
    EXPECT_EQ(home.read("kept"), "text");
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(home.path() / "link")));
    EXPECT_TRUE(std::filesystem::is_symlink(home.path() / "data/Trash/files/link"));
}

TEST_F(KivTrash, APathWithoutAFolderIsOneOfTheCurrentFolder) {
    home.write("plain", "text");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(home.path());
    const bool moved = kivMoveToTrash(L"plain");
    std::filesystem::current_path(before);
    EXPECT_TRUE(moved);
    EXPECT_EQ(home.read("data/Trash/files/plain"), "text");
    const std::string note = home.read("data/Trash/info/plain.trashinfo");
    EXPECT_TRUE(note.starts_with("[Trash Info]\nPath=" + std::filesystem::canonical(home.path()).string() +
                                 "/plain\nDeletionDate=2"))
        << note;
    EXPECT_EQ(note.back(), '\n');
}

TEST_F(KivTrash, ANameThatIsTakenByAFileWithoutANoteIsPassedOver) {
    std::filesystem::create_directories(home.path() / "data/Trash/files");
    home.write("data/Trash/files/name", "of another");
    home.write("name", "text");
    EXPECT_TRUE(kivMoveToTrash(home.wide("name")));
    EXPECT_EQ(home.read("data/Trash/files/name"), "of another");
    EXPECT_EQ(home.read("data/Trash/files/name.2"), "text");
    EXPECT_EQ(home.count("data/Trash/info"), 1U) << "no note is left without its file";
}

TEST_F(KivTrash, AFileOfAnotherFileSystemIsCopiedAndRemoved) {
    const std::filesystem::path memory = "/dev/shm";
    if (!std::filesystem::is_directory(memory) || sameFileSystem(memory, home.path())) {
        GTEST_SKIP() << "there is no second file system to write to";
    }
    std::string pattern = (memory / "selvarin-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path file = std::filesystem::path(pattern) / "far";
    std::ofstream(file, std::ios::binary) << std::string("some\0bytes", 10);
    EXPECT_TRUE(kivMoveToTrash(kivFromUtf8(file.string())));
    EXPECT_FALSE(std::filesystem::exists(file));
    std::filesystem::remove_all(pattern);
    EXPECT_EQ(home.read("data/Trash/files/far"), std::string("some\0bytes", 10));
    EXPECT_TRUE(home.read("data/Trash/info/far.trashinfo").find("Path=" + file.string() + "\n") != std::string::npos);
    EXPECT_TRUE(isIn("far"));
}

} // namespace
