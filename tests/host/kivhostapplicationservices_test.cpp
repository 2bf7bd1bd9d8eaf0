#include "kivrender/host/kivhostapplicationservices.h"

#include "host/testhost.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/scene/kivprogress.h"
#include "support/temphome.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace {

class KivHostTest : public testing::Test {
protected:
    TempHome home;
    TestHost host;
    wchar_t text[kivMaxPath + 1] = {};
};

class TestProgress : public KivProgress {
public:
    void addSteps(unsigned int) override {}
    int addDeferredStep() override {
        return 0;
    }
    void progressSlot3() override {}
    void beginStep() override {}
    void advance(unsigned int, bool) override {}
    void setStepSize(int, unsigned int) override {}
    void endStep() override {}
    void progressSlot8() override {}
    void setText(const wchar_t*) override {}
    bool isCancelled() override {
        return cancelled;
    }

    bool cancelled = false;
};

} // namespace

TEST_F(KivHostTest, ConstructionMakesTheFoldersOfTheUser) {
    EXPECT_TRUE(std::filesystem::is_directory(home.path() / "data/Tolvar/Morvane 2.0/Styles"));
    const TestHost again; // they are there now, which does no harm
}

TEST_F(KivHostTest, ConstructionLeavesTheHomeAloneForProgramsThatSaySo) {
    std::filesystem::remove_all(home.path() / "data");
    kivMakeUserFoldersAtOnce(false);
    const TestHost other;
    kivMakeUserFoldersAtOnce(true);
    EXPECT_FALSE(std::filesystem::exists(home.path() / "data"));
}

TEST_F(KivHostTest, ConstructionWithoutAHomeMakesNothing) {
    for (const char* name : {"HOME", "XDG_DATA_HOME"}) {
        home.environment.set(name, std::nullopt);
    }
    const TestHost lost;
    EXPECT_EQ(std::filesystem::exists("/Tolvar"), false);
}

TEST_F(KivHostTest, InstalledHost) {
    EXPECT_EQ(KivHostApplicationServices::getDefaultHost(), nullptr);
    EXPECT_EQ(KivHostApplicationServices::setDefaultHost(&host), nullptr);
    EXPECT_EQ(KivHostApplicationServices::getDefaultHost(), &host);
    {
        TestHost second;
        EXPECT_EQ(KivHostApplicationServices::setDefaultHost(&second), &host);
    }
    EXPECT_EQ(KivHostApplicationServices::getDefaultHost(), nullptr); // it took itself away
    EXPECT_EQ(KivHostApplicationServices::setDefaultHost(nullptr), nullptr);
}

TEST_F(KivHostTest, ProgressIsWhatTheInstalledHostHas) {
    EXPECT_EQ(kivCurrentProgress(), nullptr);
    EXPECT_FALSE(kivIsCancelled());
    KivHostApplicationServices::setDefaultHost(&host);
    EXPECT_EQ(host.progress(), nullptr);
    EXPECT_EQ(kivCurrentProgress(), nullptr);
    EXPECT_FALSE(kivIsCancelled());
    TestProgress progress;
    host.setCurProgress(&progress);
    EXPECT_EQ(host.progress(), &progress);
    EXPECT_EQ(kivCurrentProgress(), &progress);
    EXPECT_FALSE(kivIsCancelled());
    progress.cancelled = true;
    EXPECT_TRUE(kivIsCancelled());
    host.setCurProgress(nullptr);
    EXPECT_FALSE(kivIsCancelled());
    KivHostApplicationServices::setDefaultHost(nullptr);
}

TEST_F(KivHostTest, QuietOnesDoNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    host.print(L"%d", 1);
    host.fatalError();
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(host.getMainWindow(), nullptr);
}

TEST_F(KivHostTest, Messages) {
    TestToolkit toolkit;
    toolkit.answer = 17;
    EXPECT_EQ(host.message(L"what"), 17);
    EXPECT_EQ(toolkit.text, L"what");
    EXPECT_EQ(toolkit.kind, KivMessageKind::Error);
    EXPECT_EQ(host.message(nullptr), 17);
    EXPECT_EQ(toolkit.text, L"");
}

TEST_F(KivHostTest, Questions) {
    TestToolkit toolkit;
    toolkit.answer = kivAnswerYes;
    EXPECT_EQ(host.question(L"really?"), 1);
    EXPECT_EQ(toolkit.kind, KivMessageKind::Question);
    toolkit.answer = kivAnswerNo;
    EXPECT_EQ(host.question(L"really?"), 0);
    toolkit.answer = kivAnswerOk;
    EXPECT_EQ(host.question(L"really?"), 0);
}

TEST_F(KivHostTest, MessagesBelongToTheMainWindow) {
    class WindowHost : public TestHost {
    public:
        HWND getMainWindow() override {
            return window;
        }
        HWND window = reinterpret_cast<HWND>(this); // any address: nobody looks behind it
    };
    TestToolkit toolkit;
    WindowHost windowed;
    windowed.message(L"what");
    EXPECT_EQ(toolkit.owner, windowed.window);
}

TEST_F(KivHostTest, ErrorNumberZeroIsNoError) {
    TestToolkit toolkit;
    EXPECT_EQ(host.morvaneErrorMessage(0, L"x"), 1);
    EXPECT_EQ(toolkit.messages, 0);
}

TEST_F(KivHostTest, ErrorMessagesCarryTheSystemsText) {
    // Shown by way of the host's own message.
    class OwnMessage : public TestHost {
    public:
        int message(const wchar_t* what) override {
            shown = what;
            return 5;
        }
        std::wstring shown;
    };
    OwnMessage own;
    EXPECT_EQ(own.morvaneErrorMessage(kivErrorDiskFull, nullptr), 5);
    EXPECT_EQ(own.shown, kivSystemErrorText(kivErrorDiskFull));
    EXPECT_EQ(own.morvaneErrorMessage(kivErrorDiskFull, L"While saving."), 5);
    EXPECT_EQ(own.shown, kivSystemErrorText(kivErrorDiskFull) + L"\n\nWhile saving.");
    own.morvaneErrorMessage(kivErrorDiskFull, L"");
    EXPECT_EQ(own.shown, kivSystemErrorText(kivErrorDiskFull) + L"\n\n");
}

TEST_F(KivHostTest, ColourPicker) {
    TestToolkit toolkit;
    std::uint32_t color = 0x123456;
    EXPECT_EQ(host.getColorDialog(nullptr, color), 0);
    EXPECT_EQ(color, 0x123456U);
    EXPECT_EQ(toolkit.shownColor, 0x123456U); // the dialog starts from it
    toolkit.picks = true;
    EXPECT_EQ(host.getColorDialog(nullptr, color), 1);
    EXPECT_EQ(color, 0xABCDEFU);
}

TEST_F(KivHostTest, FolderPicker) {
    TestToolkit toolkit;
    kivCopyText(text, kivMaxPath, L"before");
    EXPECT_EQ(host.getFolder(nullptr, L"Choose", text), 0);
    EXPECT_STREQ(text, L"before");
    EXPECT_EQ(toolkit.title, L"Choose");
    toolkit.picks = true;
    text[kivMaxPath] = L'!';
    EXPECT_EQ(host.getFolder(nullptr, nullptr, text), 1);
    EXPECT_EQ(std::wstring(text), std::wstring(kivMaxPath - 1, L'f') + L""); // cut to what the buffer holds
    EXPECT_EQ(text[kivMaxPath], L'!');
}

TEST_F(KivHostTest, NothingIsPickedWithoutADesktop) {
    std::uint32_t color = 1;
    EXPECT_EQ(host.getColorDialog(nullptr, color), 0);
    EXPECT_EQ(host.getFolder(nullptr, L"Choose", text), 0);
}

TEST_F(KivHostTest, ShowPreviewRepairsItself) {
    EXPECT_FALSE(host.getShowPreview());
    EXPECT_EQ(host.numbers.at({false, L"ShowPreview"}), 0U);
    host.setShowPreview(true);
    EXPECT_EQ(host.numbers.at({false, L"ShowPreview"}), 1U);
    EXPECT_TRUE(host.getShowPreview());
    host.numbers[{false, L"ShowPreview"}] = 7;
    EXPECT_TRUE(host.getShowPreview());
    host.setShowPreview(false);
    EXPECT_FALSE(host.getShowPreview());
}

TEST_F(KivHostTest, FirstStartLoadsNoToolbar) {
    EXPECT_FALSE(host.getLoadToolbar());
    EXPECT_EQ(host.numbers.at({false, L"LoadToolbar"}), 1U);
    EXPECT_TRUE(host.getLoadToolbar());
    host.numbers[{false, L"LoadToolbar"}] = 0;
    EXPECT_FALSE(host.getLoadToolbar());
}

TEST_F(KivHostTest, VirtualMemoryFolder) {
    kivCopyText(text, kivMaxPath, L"garbage");
    host.getVirtualMemoryFolder(text);
    EXPECT_STREQ(text, L"");
    host.setVirtualMemoryFolder(L"/scratch");
    host.getVirtualMemoryFolder(text);
    EXPECT_STREQ(text, L"/scratch");
    host.setVirtualMemoryFolder(L""); // written as well
    EXPECT_EQ(host.texts.at({false, L"VirtualMemory"}), L"");
    host.setVirtualMemoryFolder(nullptr);
    host.getVirtualMemoryFolder(text);
    EXPECT_STREQ(text, L"");
}

TEST_F(KivHostTest, MostRecentGoesToBothScopesInOrder) {
    wchar_t date[16];
    KivHostApplicationServices::compilationDate(date, nullptr, nullptr, nullptr);
    host.setMostRecentExecuted();
    const std::vector<std::wstring> expected = {std::wstring(L"machine MostRecent=") + date,
                                                std::wstring(L"user MostRecent=") + date};
    EXPECT_EQ(host.runTexts, expected);
}

TEST_F(KivHostTest, MorvaneFolderIsTheLibrarys) {
    host.getMorvaneFolder(text);
    EXPECT_EQ(text, kivLibraryFolder());
    char narrow[kivMaxPath] = {};
    host.getMorvaneFolder(narrow);
    EXPECT_EQ(narrow, kivToUtf8(kivLibraryFolder()));
}

TEST_F(KivHostTest, UserStyleFolderIsKeptAtTheFirstCall) {
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_EQ(text, home.wide("home/My Morvane 2.0 Styles"));
    EXPECT_EQ(host.texts.at({false, L"StylesPath"}), text);
    host.texts[{false, L"StylesPath"}] = L"/elsewhere";
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_STREQ(text, L"/elsewhere");
}

TEST_F(KivHostTest, UserStyleFolderWithoutDocuments) {
    home.environment.set("HOME", std::nullopt);
    kivCopyText(text, kivMaxPath, L"left over");
    EXPECT_FALSE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_TRUE(host.texts.empty());
    // With nothing in the buffer the test lets it pass, and the folder lies at the root.
    kivCopyText(text, kivMaxPath, L"");
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::userFolder, text));
    EXPECT_STREQ(text, L"/My Morvane 2.0 Styles");
}

TEST_F(KivHostTest, OtherStyleFolders) {
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::dataFolder, text));
    EXPECT_STREQ(text, L"/user/data/Styles");
    EXPECT_FALSE(host.getStyleFolder(KivHostApplicationServices::sharedFolder, text));
    host.texts[{true, L"Styles"}] = L"/shared";
    EXPECT_TRUE(host.getStyleFolder(KivHostApplicationServices::sharedFolder, text));
    EXPECT_STREQ(text, L"/shared");
    // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): a value that no folder has is an answer of false
    EXPECT_FALSE(host.getStyleFolder(static_cast<KivHostApplicationServices::Folder>(3), text));
}

TEST_F(KivHostTest, StyleIsTheFirstOfThreeFolders) {
    for (const char* folder : {"mine", "data/Styles", "shared"}) {
        std::filesystem::create_directories(home.path() / folder);
    }
    host.texts[{false, L"StylesPath"}] = home.wide("mine");
    host.texts[{true, L"Styles"}] = home.wide("shared");
    host.userData = home.wide("data");
    kivCopyText(text, kivMaxPath, L"untouched");
    EXPECT_FALSE(host.getStyle(text, L"Comic"));
    EXPECT_STREQ(text, L"untouched");
    for (const char* folder : {"shared", "data/Styles", "mine"}) { // from the last to the first
        home.write(std::string(folder) + "/Comic.kiv", "");
        EXPECT_TRUE(host.getStyle(text, L"Comic"));
        EXPECT_EQ(text, home.wide(std::string(folder) + "/Comic.kiv"));
    }
    EXPECT_FALSE(host.getStyle(text, L"comic"));
    EXPECT_FALSE(host.getStyle(text, nullptr));
}

TEST_F(KivHostTest, FoldersThatAreMissingArePassedOver) {
    host.texts[{false, L"StylesPath"}] = home.wide("nowhere");
    host.userData = home.wide("data");
    EXPECT_FALSE(host.getStyle(text, L"Comic")) << "there is no shared folder at all";
    std::filesystem::create_directory(home.path() / "shared");
    host.texts[{true, L"Styles"}] = home.wide("shared");
    home.write("shared/Comic.kiv", "");
    EXPECT_TRUE(host.getStyle(text, L"Comic"));
    EXPECT_EQ(text, home.wide("shared/Comic.kiv"));
    EXPECT_FALSE(std::filesystem::exists(home.path() / "nowhere")) << "a look makes nothing";
}

TEST_F(KivHostTest, StylesWithOddNames) {
    std::filesystem::create_directory(home.path() / "mine");
    host.texts[{false, L"StylesPath"}] = home.wide("mine");
    for (const char* name : {"Ink and wash", "漫画 ä", "bad\xFF byte", "v1.2", " blanks ", "[x]=;", "%s%n"}) {
        home.write(std::string("mine/") + name + ".kiv", "");
        EXPECT_TRUE(host.getStyle(text, kivFromUtf8(name).c_str())) << name;
        EXPECT_EQ(text, home.wide(std::string("mine/") + name + ".kiv"));
    }
    home.write("mine/cut", "");
    EXPECT_FALSE(host.getStyle(text, L"cut\n"));
    EXPECT_FALSE(host.getStyle(text, L""));
}

TEST_F(KivHostTest, StyleWithATooLongNameIsNone) {
    host.userData = home.wide("data");
    EXPECT_FALSE(host.getStyle(text, std::wstring(400, L'n').c_str()));
}

TEST_F(KivHostTest, Dates) {
    struct Case {
        const wchar_t* compiler;
        const wchar_t* date;
    };
    const Case cases[] = {
        {L"Sep  4 2018", L"2018-09-04"},
        {L"Jan 31 2020", L"2020-01-31"},
        {L"Feb 29 2024", L"2024-02-29"},
        {L"Mar  1 1999", L"1999-03-01"},
        {L"Apr 10 2010", L"2010-04-10"},
        {L"May  9 2011", L"2011-05-09"},
        {L"Jun 30 2012", L"2012-06-30"},
        {L"Jul  4 2013", L"2013-07-04"},
        {L"Aug 15 2014", L"2014-08-15"},
        {L"Oct 11 2015", L"2015-10-11"},
        {L"Nov 21 2026", L"2026-11-21"},
        {L"Dec 25 2017", L"2017-12-25"},
        {L"Sep  4", L""},
        {L"", L""},
        {nullptr, L""},
    };
    for (const Case& c : cases) {
        wchar_t date[16] = L"untouched";
        KivHostApplicationServices::reformatDate(c.compiler, date);
        EXPECT_STREQ(date, c.date);
    }
}

TEST_F(KivHostTest, CompilationDate) {
    wchar_t date[16] = {};
    int year = 0;
    int month = 0;
    int day = 0;
    KivHostApplicationServices::compilationDate(date, &year, &month, &day);
    EXPECT_GE(year, 2025);
    wchar_t again[16] = {};
    swprintf(again, 16, L"%04d-%02d-%02d", year, month, day);
    EXPECT_STREQ(date, again);
    KivHostApplicationServices::compilationDate(nullptr, nullptr, nullptr, nullptr);
}

TEST_F(KivHostTest, TextConversions) {
    using Host = KivHostApplicationServices;
    EXPECT_STREQ(Host::toWChar(L"Grün"), L"Grün");
    EXPECT_STREQ(Host::toTChar(L"Grün"), L"Grün");
    EXPECT_STREQ(Host::toTChar("Gr\xC3\xBCn"), L"Grün");
    EXPECT_STREQ(Host::toChar(L"Grün"), "Gr\xC3\xBCn");
    EXPECT_STREQ(Host::toChar(nullptr), "");
    EXPECT_STREQ(Host::toWChar(nullptr), L"");
    EXPECT_STREQ(Host::toTChar(static_cast<const char*>(nullptr)), L"");
    // Each has a buffer of its own, which its next call overwrites.
    const wchar_t* first = Host::toWChar(L"one");
    const wchar_t* other = Host::toTChar(L"other");
    EXPECT_EQ(Host::toWChar(L"two"), first);
    EXPECT_STREQ(first, L"two");
    EXPECT_STREQ(other, L"other");
}

TEST_F(KivHostTest, TextConversionsAreBounded) {
    using Host = KivHostApplicationServices;
    const std::wstring wide(5000, L'x');
    EXPECT_EQ(std::wstring(Host::toWChar(wide.c_str())).size(), 1023U);
    EXPECT_EQ(std::wstring(Host::toTChar(wide.c_str())).size(), 1023U);
    EXPECT_EQ(std::wstring(Host::toTChar(std::string(5000, 'x').c_str())).size(), 1023U);
    EXPECT_EQ(std::strlen(Host::toChar(wide.c_str())), 1023U);
    // Two bytes each: 1023 is odd, and no character is cut in two.
    const std::string narrow = Host::toChar(std::wstring(5000, L'ü').c_str());
    EXPECT_EQ(narrow.size(), 1022U);
    EXPECT_EQ(kivFromUtf8(narrow), std::wstring(511, L'ü'));
}

TEST_F(KivHostTest, OrderOfTheSlots) {
    using H = KivHostApplicationServices;
    EXPECT_EQ(vtableSlot(&H::print), 1);
    EXPECT_EQ(vtableSlot(&H::getMainWindow), 2);
    EXPECT_EQ(vtableSlot(&H::getColorDialog), 3);
    EXPECT_EQ(vtableSlot(&H::getBitmapFilename), 4);
    EXPECT_EQ(vtableSlot(&H::getVectorialFilename), 5);
    EXPECT_EQ(vtableSlot(&H::getFolder), 6);
    EXPECT_EQ(vtableSlot(&H::message), 7);
    EXPECT_EQ(vtableSlot(&H::question), 8);
    EXPECT_EQ(vtableSlot(&H::morvaneErrorMessage), 9);
    EXPECT_EQ(vtableSlot(&H::fatalError), 10);
    EXPECT_EQ(vtableSlot(&H::saveImage), 11);
    EXPECT_EQ(vtableSlot(&H::loadImage), 12);
    EXPECT_EQ(vtableSlot(&H::setMostRecentExecuted), 13);
    EXPECT_EQ(vtableSlot(&H::saveRegistryString), 14);
    EXPECT_EQ(vtableSlot(&H::loadRegistryString), 15);
    EXPECT_EQ(vtableSlot(&H::saveRegistryDword), 16);
    EXPECT_EQ(vtableSlot(&H::loadRegistryDword), 17);
    EXPECT_EQ(vtableSlot(&H::saveRunRegistryString), 18);
    EXPECT_EQ(vtableSlot(&H::hostRegistrySlot19), 19);
    EXPECT_EQ(vtableSlot(&H::hostRegistrySlot20), 20);
    EXPECT_EQ(vtableSlot(&H::hostRegistrySlot21), 21);
    EXPECT_EQ(vtableSlot(&H::getStyleFolder), 22);
    EXPECT_EQ(vtableSlot(&H::getUserDataFolder), 23);
    EXPECT_EQ(vtableSlot(&H::getShowPreview), 24);
    EXPECT_EQ(vtableSlot(&H::setShowPreview), 25);
    EXPECT_EQ(vtableSlot(&H::getVirtualMemoryFolder), 26);
    EXPECT_EQ(vtableSlot(&H::setVirtualMemoryFolder), 27);
    EXPECT_EQ(vtableSlot(static_cast<void (H::*)(wchar_t*)>(&H::getMorvaneFolder)), 28);
    EXPECT_EQ(vtableSlot(static_cast<void (H::*)(char*)>(&H::getMorvaneFolder)), 29);
    EXPECT_EQ(vtableSlot(&H::getPreviewScene), 30);
    EXPECT_EQ(vtableSlot(&H::getPreviewCamera), 31);
    EXPECT_EQ(vtableSlot(&H::getStyle), 32);
    EXPECT_EQ(vtableSlot(&H::getLoadToolbar), 33);
    EXPECT_EQ(vtableSlot(static_cast<KivImage* (H::*)(KivImage*, SIZE)>(&H::stretchImageBilinear)), 34);
    EXPECT_EQ(vtableSlot(static_cast<void (H::*)(HDC, HBITMAP, HBITMAP, SIZE)>(&H::stretchImageBilinear)), 35);
    EXPECT_EQ(vtableSlot(static_cast<void (H::*)(HDC, KivBitmapManager*, SIZE)>(&H::stretchImageBilinear)), 36);
    EXPECT_EQ(vtableSlot(&TestHost::buildPreviewSceneAndCamera), 37);
    EXPECT_EQ(vtableSlot(&H::progress), -1);
}
