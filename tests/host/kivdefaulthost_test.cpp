#include "kivrender/host/kivdefaulthost.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

class KivDefaultHostTest : public testing::Test {
protected:
    TempHome home;
    KivDefaultHost host;
    wchar_t text[kivMaxPath] = {};
};

} // namespace

TEST_F(KivDefaultHostTest, LookingLeavesNoTraces) {
    std::uint32_t number = 9;
    kivCopyText(text, kivMaxPath, L"kept");
    EXPECT_FALSE(host.loadRegistryString(false, L"VirtualMemory", text));
    EXPECT_FALSE(host.loadRegistryString(true, L"Styles", text));
    EXPECT_FALSE(host.loadRegistryDword(false, L"ShowPreview", &number));
    EXPECT_STREQ(text, L"kept");
    EXPECT_EQ(number, 9U);
    EXPECT_FALSE(std::filesystem::exists(home.path() / "config"));
    EXPECT_FALSE(std::filesystem::exists(home.path() / "machine"));
}

TEST_F(KivDefaultHostTest, FirstAnswersOnACleanSystem) {
    EXPECT_FALSE(host.getShowPreview());
    EXPECT_FALSE(host.getLoadToolbar());
    EXPECT_TRUE(host.getLoadToolbar());
    EXPECT_EQ(home.read("config/tolvar/preferences.ini"),
              "[Morvane\\2.0\\SelvarinR]\r\nShowPreview=number:0\r\nLoadToolbar=number:1\r\n");
}

TEST_F(KivDefaultHostTest, ToolbarBeforeAnythingElse) {
    EXPECT_FALSE(host.getLoadToolbar());
    EXPECT_TRUE(host.getLoadToolbar());
}

TEST_F(KivDefaultHostTest, PreferencesOutliveTheHost) {
    host.setVirtualMemoryFolder(L"/scratch");
    host.setShowPreview(true);
    KivDefaultHost later;
    later.getVirtualMemoryFolder(text);
    EXPECT_STREQ(text, L"/scratch");
    EXPECT_TRUE(later.getShowPreview());
}

TEST_F(KivDefaultHostTest, StyleFolders) {
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_EQ(text, home.wide("home/My Morvane 2.0 Styles"));
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_EQ(text, home.wide("home/My Morvane 2.0 Styles"));
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::dataFolder, text));
    EXPECT_EQ(text, home.wide("data/Tolvar/Morvane 2.0/Styles"));
    EXPECT_TRUE(std::filesystem::is_directory(kivToUtf8(text))); // made with the host
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::sharedFolder, text));
    EXPECT_EQ(text, kivLibraryFolder() + L"/styles");
    host.saveRegistryString(true, L"Styles", L"/shared");
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::sharedFolder, text));
    EXPECT_STREQ(text, L"/shared");
}

TEST_F(KivDefaultHostTest, RunsAreRecordedUnderAKeyOfTheirOwn) {
    host.setMostRecentExecuted();
    wchar_t date[16];
    KivHostApplicationServices::compilationDate(date, nullptr, nullptr, nullptr);
    const std::string expected = "[Morvane\\2.0\\Run]\r\nMostRecent=text:" + kivToUtf8(date) + "\r\n";
    EXPECT_EQ(home.read("config/tolvar/preferences.ini"), expected);
    EXPECT_EQ(home.read("machine/tolvar/preferences.ini"), expected);
}

TEST_F(KivDefaultHostTest, WithoutAHomeThereAreNoFolders) {
    for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
        home.environment.set(name, std::nullopt);
    }
    KivDefaultHost lost;
    lost.getUserDataFolder(text);
    EXPECT_STREQ(text, L"");
    lost.setShowPreview(true); // nowhere to keep it
    EXPECT_FALSE(lost.getShowPreview());
}

TEST_F(KivDefaultHostTest, BringsThePreviewScene) {
    EXPECT_EQ(host.getPreviewScene()->numMeshes(), 2U);
    EXPECT_EQ(host.getPreviewScene()->numLights(), 1U);
}

TEST_F(KivDefaultHostTest, RemovesItselfAtItsEnd) {
    {
        KivDefaultHost installed;
        KivHostApplicationServices::setDefaultHost(&installed);
    }
    EXPECT_EQ(KivHostApplicationServices::getDefaultHost(), nullptr);
}
