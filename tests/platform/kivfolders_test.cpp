#include "kivrender/platform/kivfolders.h"

#include "kivrender/platform/kivtext.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>

TEST(KivFolders, FollowTheEnvironment) {
    TempHome home;
    EXPECT_EQ(kivDataFolder(), home.wide("data"));
    EXPECT_EQ(kivConfigFolder(), home.wide("config"));
    EXPECT_EQ(kivMachineConfigFolder(), home.wide("machine"));
    EXPECT_EQ(kivDocumentsFolder(), home.wide("home"));
}

TEST(KivFolders, DefaultsLieInTheHome) {
    TempHome home;
    home.environment.set("XDG_DATA_HOME", std::nullopt);
    home.environment.set("XDG_CONFIG_HOME", "relative/is/ignored");
    home.environment.set("XDG_CONFIG_DIRS", "");
    EXPECT_EQ(kivDataFolder(), home.wide("home/.local/share"));
    EXPECT_EQ(kivConfigFolder(), home.wide("home/.config"));
    EXPECT_EQ(kivMachineConfigFolder(), L"/etc/xdg");
}

TEST(KivFolders, UnknownWithoutAHome) {
    TempHome home;
    for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
        home.environment.set(name, std::nullopt);
    }
    EXPECT_EQ(kivDataFolder(), L"");
    EXPECT_EQ(kivConfigFolder(), L"");
    EXPECT_EQ(kivDocumentsFolder(), L"");
}

TEST(KivFolders, DocumentsFromTheUserDirectories) {
    struct Case {
        const char* file;
        const char* documents; // below the home, or absolute
    };
    const Case cases[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", "Papers"},
        {"# a comment\nXDG_MUSIC_DIR=\"$HOME/Music\"\n  XDG_DOCUMENTS_DIR=\"$HOME/My \\\"Papers\\\"/\"\n",
         "My \"Papers\""},
        {"XDG_DOCUMENTS_DIR=\"$HOME/A\"\nXDG_DOCUMENTS_DIR=\"$HOME/B\"", "B"},
        {"XDG_DOCUMENTS_DIR=\"/srv/papers\"\n", "/srv/papers"},
        {"XDG_DOCUMENTS_DIR=\"relative\"\n", ""},
        {"XDG_DOCUMENTS_DIR=\"", ""},
        {"#XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", ""},
        {"XDG_DOCUMENTS_DIR=\"$HOME\"\n", ""},
    };
    for (const Case& c : cases) {
        TempHome home;
        std::filesystem::create_directory(home.path() / "config");
        home.write("config/user-dirs.dirs", c.file);
        const std::filesystem::path expected =
            *c.documents == '\0' ? home.path() / "home" : home.path() / "home" / c.documents;
        EXPECT_EQ(kivToUtf8(kivDocumentsFolder()), expected.string()) << c.file;
    }
}

TEST(KivFolders, MakesWhatIsMissing) {
    const TempFolder folder;
    EXPECT_TRUE(kivMakeFolders(folder.wide("a/b c/grün")));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "a/b c/gr\xC3\xBCn"));
    EXPECT_TRUE(kivMakeFolders(folder.wide("a/b c"))); // is there
    EXPECT_TRUE(kivMakeFolders(folder.wide("d/")));
    EXPECT_FALSE(kivMakeFolders(L""));
    folder.write("file", "");
    EXPECT_FALSE(kivMakeFolders(folder.wide("file")));
    EXPECT_FALSE(kivMakeFolders(folder.wide("file/below")));
}

TEST(KivFolders, OpensWidePaths) {
    const TempFolder folder;
    std::FILE* file = kivOpenFile(folder.wide("gr\xC3\xBCn.txt"), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("x", file);
    std::fclose(file);
    EXPECT_EQ(folder.read("gr\xC3\xBCn.txt"), "x");
    EXPECT_EQ(kivOpenFile(folder.wide("missing"), "r"), nullptr);
}
