#include "kivrender/shader/kivstylefile.h"

#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivuserfolders.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivpagesettings.h"
#include "kivrender/shader/kivshader.h"
#include "support/rawrandom.h"
#include "support/temphome.h"
#include "support/testhost.h"
#include "support/testshader.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::wstring>;
using Host = KivHostApplicationServices;

// A page whose settings are whatever a function writes.
class HookedSettings : public KivPageSettings {
public:
    bool save(const wchar_t* section, const wchar_t* file) override {
        return onSave ? onSave(section, file) : KivConfigFile(file).write(section, L"Key", L"value");
    }
    bool load(const wchar_t*, const wchar_t*) override {
        return true;
    }
    const wchar_t* getSectionName() const override {
        return L"Hooked";
    }
    void reservedSlot() override {}
    void saveSettings() override {}
    bool loadSettings() override {
        return true;
    }

    std::function<bool(const wchar_t*, const wchar_t*)> onSave;
};

class HookedPage : public KivPageDlg {
public:
    HookedPage() : KivPageDlg(1) {
        settings = &own;
    }
    void saveControls() override {}
    void loadControls() override {}

    HookedSettings own;
};

// Gives a shader of the table a page of the test's own.
struct PageAccess : KivShader {
    static void attach(KivShader* shader, KivPageDlg* page) {
        (shader->*&PageAccess::createPage)(page, nullptr);
    }
};

class KivStyleFile : public testing::Test {
protected:
    KivStyleFile() {
        host.morvaneFolder = product.wide();
        std::filesystem::create_directory(folder.path() / "styles");
    }
    ~KivStyleFile() override {
        if (loaded) {
            for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
                KivShader::getByIndex(i)->destroyPages(nullptr);
            }
            renderer.unloadShaders();
        }
    }

    // Two shaders; the one called "base" has the page.
    void loadShaders() {
        TestShader::install(product.path() / "shaders", {"add-lines", "base"});
        loaded = true;
        ASSERT_TRUE(renderer.loadShaders());
        PageAccess::attach(KivShader::getByTag(L"base"), &page);
    }

    Names entries() const {
        Names names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "styles")) {
            names.push_back(kivFromUtf8(entry.path().filename().string()));
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    std::wstring path(const std::string& name) const {
        return folder.wide("styles/" + name);
    }

    TempFolder folder;
    TempFolder product;
    TestHost host;
    KivRenderer renderer;
    HookedPage page;
    bool loaded = false;
    const KivStyleHead head{L"base", {L"add-lines"}};
    const std::string plain = "[General]\r\nNonCombinableShader=base\r\nCombinableShader=add-lines;\r\n";
};

} // namespace

// --- the head

TEST_F(KivStyleFile, HeadComesBack) {
    ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), {L"Cartoon", {L"Paper", L"Outline"}}));
    EXPECT_EQ(folder.read("styles/a.kiv"),
              "[General]\r\nNonCombinableShader=Cartoon\r\nCombinableShader=Paper;Outline;\r\n");
    KivStyleHead read{L"old", {L"old"}};
    ASSERT_TRUE(kivReadStyleHead(path("a.kiv"), &read));
    EXPECT_EQ(read.nonCombinable, L"Cartoon");
    EXPECT_THAT(read.combinables, ElementsAre(L"Paper", L"Outline"));
}

TEST_F(KivStyleFile, WithoutABaseShaderItsKeyIsAbsent) {
    ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), {L"", {}}));
    EXPECT_EQ(folder.read("styles/a.kiv"), "[General]\r\nCombinableShader=\r\n");
    ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), {L"Cartoon", {}}));
    ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), {L"", {L"Outline"}}));
    EXPECT_EQ(folder.read("styles/a.kiv"), "[General]\r\nCombinableShader=Outline;\r\n");
}

TEST_F(KivStyleFile, AHeadThatIsReadHasNothingOfTheOneBefore) {
    KivStyleHead head{L"Paint", {L"Lines"}};
    EXPECT_FALSE(kivReadStyleHead(path("missing.kiv"), &head));
    EXPECT_EQ(head.nonCombinable, L"");
    EXPECT_TRUE(head.combinables.empty());
}

TEST_F(KivStyleFile, HeadsOfAllKinds) {
    struct Case {
        const char* bytes;
        bool isStyle;
        std::wstring base;
        Names combinables;
    };
    const Case cases[] = {
        {"", false, L"", {}},
        {"[General]\r\n", false, L"", {}},
        {"[General]\r\nNonCombinableShader=\r\nCombinableShader=;;;\r\n", false, L"", {}},
        {"NonCombinableShader=Cartoon\r\n", false, L"", {}}, // in no section
        {"[General]\nCombinableShader=a;;b;\n", true, L"", {L"a", L"b"}},
        {"[General]\nCombinableShader=a;b\n", true, L"", {L"a", L"b"}},
        {"[GENERAL]\n noncombinableSHADER = 'My shader' \n", true, L"My shader", {}},
        {"[General]\nNonCombinableShader=one\nNonCombinableShader=two\n[General]\nCombinableShader=x;\n",
         true,
         L"one",
         {}},
        {"\xFF\xFE[\0G\0e\0n\0e\0r\0a\0l\0]\0\n\0", false, L"", {}}, // cut at its first zero: still no harm
    };
    for (const Case& c : cases) {
        folder.write("styles/a.kiv", c.bytes);
        KivStyleHead read{L"old", {L"old"}};
        EXPECT_EQ(kivReadStyleHead(path("a.kiv"), &read), c.isStyle) << c.bytes;
        EXPECT_EQ(read.nonCombinable, c.base) << c.bytes;
        EXPECT_EQ(read.combinables, c.combinables) << c.bytes;
    }
    KivStyleHead read{L"old", {L"old"}};
    EXPECT_FALSE(kivReadStyleHead(path("missing.kiv"), &read));
    EXPECT_FALSE(kivReadStyleHead(path(std::string(300, 'n')), &read));
    EXPECT_FALSE(kivReadStyleHead(folder.wide("styles"), &read));
    EXPECT_EQ(read.nonCombinable, L"");
}

TEST_F(KivStyleFile, TagsThatDoNotFitAreLeftOutWhole) {
    KivStyleHead many;
    for (int i = 0; i < 32; ++i) {
        many.combinables.push_back(L"shader-number-" + std::to_wstring(100 + i)); // 17 characters, and the ";"
    }
    ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), many));
    KivStyleHead read;
    ASSERT_TRUE(kivReadStyleHead(path("a.kiv"), &read));
    many.combinables.resize(259 / 18);
    EXPECT_EQ(read.combinables, many.combinables);
}

TEST_F(KivStyleFile, RandomHeadsComeBack) {
    RawRandom random(5);
    const std::wstring letters = L"abcXYZ 09-_.äß漢()[=#'\"";
    const auto word = [&] {
        std::wstring text;
        for (unsigned int i = 1 + random.below(8); i > 0; --i) {
            text += letters[random.below(static_cast<unsigned int>(letters.size()))];
        }
        return L"x" + text + L"x"; // neither blanks nor matching quotes at its ends
    };
    for (int round = 0; round < 300; ++round) {
        KivStyleHead written{random.chance(3) ? std::wstring() : word(), {}};
        for (unsigned int i = random.below(6); i > 0; --i) {
            written.combinables.push_back(word());
        }
        ASSERT_TRUE(kivWriteStyleHead(path("a.kiv"), written)); // over the one before
        KivStyleHead read;
        ASSERT_EQ(kivReadStyleHead(path("a.kiv"), &read),
                  !written.nonCombinable.empty() || !written.combinables.empty());
        ASSERT_EQ(read.nonCombinable, written.nonCombinable);
        ASSERT_EQ(read.combinables, written.combinables);
    }
}

// --- saving

TEST_F(KivStyleFile, SavingWritesHeadAndPagesAndLeavesNothingElse) {
    loadShaders();
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, nullptr));
    EXPECT_EQ(folder.read("styles/a.kiv"), plain + "[base]\r\nKey=value\r\n");
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
}

TEST_F(KivStyleFile, OnlyThePagesOfTheDialogAreSaved) {
    loadShaders();
    int dialog = 0;
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, reinterpret_cast<const KivPropertiesDlg*>(&dialog)));
    EXPECT_EQ(folder.read("styles/a.kiv"), plain);
}

TEST_F(KivStyleFile, TheOldStyleStandsBesideTheNewOneMeanwhile) {
    loadShaders();
    folder.write("styles/a.kiv", "old");
    std::string backup;
    std::string style;
    page.own.onSave = [&](const wchar_t* section, const wchar_t* file) {
        EXPECT_STREQ(section, L"base");
        EXPECT_NE(file, path("a.kiv"));
        backup = folder.read("styles/a.kiv.bak");
        style = folder.read("styles/a.kiv");
        return false; // of no interest
    };
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, nullptr));
    EXPECT_EQ(backup, "old");
    EXPECT_EQ(style, "old");
    EXPECT_EQ(folder.read("styles/a.kiv"), "old\r\n" + plain);
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
}

TEST_F(KivStyleFile, AnEarlierBackupStaysInTheWayAndGoesWithSuccess) {
    loadShaders();
    folder.write("styles/a.kiv", "");
    folder.write("styles/a.kiv.bak", "earlier");
    std::string backup;
    page.own.onSave = [&](const wchar_t*, const wchar_t*) {
        backup = folder.read("styles/a.kiv.bak");
        return true;
    };
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, nullptr));
    EXPECT_EQ(backup, "earlier");
    EXPECT_EQ(folder.read("styles/a.kiv"), plain);
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
}

TEST_F(KivStyleFile, WhatTheFileHeldBesidesStays) {
    loadShaders();
    folder.write("styles/a.kiv", "; my style\r\n[general]\r\nnoncombinableshader = other ; not a comment\r\n"
                                 "Author=me\r\n\r\n[Missing plug-in]\r\nDots=3\r\n[base]\r\n; thicker\r\nKEY=1\r\n");
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), {L"", {L"add-lines"}}, nullptr));
    EXPECT_EQ(folder.read("styles/a.kiv"),
              "; my style\r\n[general]\r\nAuthor=me\r\nCombinableShader=add-lines;\r\n\r\n[Missing plug-in]\r\n"
              "Dots=3\r\n[base]\r\n; thicker\r\nKEY=value\r\n");
}

TEST_F(KivStyleFile, ItsEncodingStays) {
    loadShaders();
    folder.write("styles/a.kiv", std::string("\xFF\xFE;\0\xE4\0\n\0", 8));
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, nullptr));
    const std::string bytes = folder.read("styles/a.kiv");
    EXPECT_EQ(bytes.substr(0, 18), std::string("\xFF\xFE;\0\xE4\0\n\0[\0G\0e\0n\0e\0", 18));
    KivStyleHead read;
    ASSERT_TRUE(kivReadStyleHead(path("a.kiv"), &read));
    EXPECT_EQ(read.nonCombinable, L"base");
}

TEST_F(KivStyleFile, WhereNothingCanBeWrittenNothingChanges) {
    loadShaders();
    EXPECT_FALSE(kivSaveStyle(folder.wide("missing/a.kiv"), head, nullptr));
    EXPECT_FALSE(kivSaveStyle(L"/proc/self/a.kiv", head, nullptr));
    EXPECT_FALSE(kivSaveStyle(path(std::string(260, 'n') + ".kiv"), head, nullptr));
    std::filesystem::create_directory(folder.path() / "styles/folder.kiv");
    EXPECT_FALSE(kivSaveStyle(path("folder.kiv"), head, nullptr));
    EXPECT_THAT(entries(), ElementsAre(L"folder.kiv"));
}

TEST_F(KivStyleFile, ReadOnlyFoldersAndFilesAreLeftAlone) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may write everything";
    }
    loadShaders();
    folder.write("styles/a.kiv", "old");
    std::filesystem::permissions(folder.path() / "styles/a.kiv", std::filesystem::perms::owner_read);
    EXPECT_FALSE(kivSaveStyle(path("a.kiv"), head, nullptr));
    std::filesystem::permissions(folder.path() / "styles",
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    EXPECT_FALSE(kivSaveStyle(path("b.kiv"), head, nullptr));
    std::filesystem::permissions(folder.path() / "styles", std::filesystem::perms::owner_all);
    EXPECT_EQ(folder.read("styles/a.kiv"), "old");
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
}

// A head that can't be written: a tag that would break the file's lines. The old style is there under its old name, an
// earlier backup too.
TEST_F(KivStyleFile, AHeadThatCantBeWrittenLeavesTheOldStyle) {
    loadShaders();
    folder.write("styles/a.kiv", "old");
    EXPECT_FALSE(kivSaveStyle(path("a.kiv"), {L"two\nlines", {}}, nullptr));
    EXPECT_FALSE(kivSaveStyle(path("a.kiv"), {L"fine", {L"two\nlines"}}, nullptr));
    EXPECT_EQ(folder.read("styles/a.kiv"), "old");
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
    folder.write("styles/a.kiv.bak", "earlier");
    EXPECT_FALSE(kivSaveStyle(path("a.kiv"), {L"two\nlines", {}}, nullptr));
    EXPECT_EQ(folder.read("styles/a.kiv"), "old");
    EXPECT_EQ(folder.read("styles/a.kiv.bak"), "earlier");
    EXPECT_FALSE(kivSaveStyle(path("new.kiv"), {L"two\nlines", {}}, nullptr));
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv", L"a.kiv.bak"));
}

TEST_F(KivStyleFile, AFullDiskLeavesTheOldStyle) {
    loadShaders();
    folder.write("styles/a.kiv", "old");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // Files of this process can't grow beyond what the head takes: the pages would find no room.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100};
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(kivSaveStyle(path("a.kiv"), head, nullptr) ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(folder.read("styles/a.kiv"), "old");
    EXPECT_THAT(entries(), ElementsAre(L"a.kiv"));
}

TEST_F(KivStyleFile, AProgramThatDiesInTheMiddleLeavesTheOldStyle) {
    loadShaders();
    folder.write("styles/a.kiv", "old");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        page.own.onSave = [](const wchar_t*, const wchar_t*) -> bool { _exit(0); };
        kivSaveStyle(path("a.kiv"), head, nullptr);
        _exit(1); // not reached
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(folder.read("styles/a.kiv"), "old");
    EXPECT_EQ(folder.read("styles/a.kiv.bak"), "old");
    host.strings[{false, L"StylesPath"}] = folder.wide("styles");
    EXPECT_EQ(kivListStyles(Host::userFolder).size(), 1U) << "what it left is no style";
    ASSERT_TRUE(kivSaveStyle(path("a.kiv"), head, nullptr));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "styles/a.kiv.bak"));
}

// --- removing

TEST_F(KivStyleFile, RemovedStylesAreInTheWastebasket) {
    const TempHome home;
    folder.write("styles/a b%ä.kiv", "one");
    ASSERT_TRUE(kivRemoveStyle(path("a b%ä.kiv")));
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_EQ(home.read("data/Trash/files/a b%ä.kiv"), "one");
    const std::string note = home.read("data/Trash/info/a b%ä.kiv.trashinfo");
    EXPECT_EQ(note.find("[Trash Info]\nPath=" + folder.path().string() + "/styles/a%20b%25%C3%A4.kiv\nDeletionDate=2"),
              0U)
        << note;
    folder.write("styles/a b%ä.kiv", "two");
    ASSERT_TRUE(kivRemoveStyle(path("a b%ä.kiv")));
    EXPECT_EQ(home.read("data/Trash/files/a b%ä.kiv"), "one");
    EXPECT_EQ(home.read("data/Trash/files/a b%ä.kiv.2"), "two");
}

TEST_F(KivStyleFile, WhatCantBeRemovedStays) {
    TempHome home;
    EXPECT_FALSE(kivRemoveStyle(path("missing.kiv")));
    EXPECT_FALSE(kivRemoveStyle(folder.wide("styles")));
    EXPECT_FALSE(kivRemoveStyle(L""));
    folder.write("styles/a.kiv", "one");
    home.environment.set("XDG_DATA_HOME", "/proc/self");
    EXPECT_FALSE(kivRemoveStyle(path("a.kiv")));
    home.environment.set("XDG_DATA_HOME", std::nullopt);
    home.environment.set("HOME", std::nullopt);
    EXPECT_FALSE(kivRemoveStyle(path("a.kiv")));
    EXPECT_EQ(folder.read("styles/a.kiv"), "one");
}

// --- folders and names

TEST_F(KivStyleFile, StylesOfThreeFolders) {
    for (const char* name : {"mine", "shared", "shared/folder.kiv"}) {
        std::filesystem::create_directory(folder.path() / name);
    }
    host.strings[{false, L"StylesPath"}] = folder.wide("mine");
    EXPECT_TRUE(kivListStyles(Host::sharedFolder).empty()) << "there is no such folder";
    host.strings[{true, L"Styles"}] = folder.wide("shared");
    for (const char* name : {"mine/b.kiv", "mine/A ö.KIV", "mine/notes.txt", "mine/b.kiv.bak", "mine/.hidden.kiv",
                             "mine/.kiv", "mine/bad\xFF.kiv", "shared/b.kiv"}) {
        folder.write(name, "");
    }
    std::filesystem::create_symlink(folder.path() / "shared/b.kiv", folder.path() / "mine/link.kiv");
    std::filesystem::create_symlink("nowhere", folder.path() / "mine/lost.kiv");
    Names names;
    for (const KivStyleEntry& style : kivListStyles()) {
        names.push_back(std::to_wstring(style.folder) + L" " + style.name);
        EXPECT_TRUE(std::filesystem::is_regular_file(kivToUtf8(style.path)));
    }
    EXPECT_THAT(names, ElementsAre(L"0 A ö", L"0 b", L"0 bad\xDCFF", L"0 link", L"2 b"));
    wchar_t data[kivMaxPath] = {};
    ASSERT_TRUE(host.getStyleFolder(Host::dataFolder, data));
    EXPECT_TRUE(std::filesystem::is_directory(kivToUtf8(data))) << "made by the look into it";
    Host::setDefaultHost(nullptr);
    EXPECT_TRUE(kivListStyles().empty());
    Host::setDefaultHost(&host);
}

TEST_F(KivStyleFile, AMissingSharedFolderIsNotMade) {
    host.strings[{true, L"Styles"}] = folder.wide("shared");
    EXPECT_TRUE(kivListStyles(Host::sharedFolder).empty());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "shared"));
}

TEST_F(KivStyleFile, FoldersAreMadeByASaveAlone) {
    kivMakeUserFoldersAtOnce(false);
    std::filesystem::remove_all(folder.path() / "mine");
    EXPECT_TRUE(kivListStyles().empty());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "mine"));
    EXPECT_TRUE(kivSaveStyle(folder.wide("mine/below/new.kiv"), KivStyleHead(), nullptr));
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.path() / "mine/below/new.kiv"));
    kivMakeUserFoldersAtOnce(true);
}

TEST_F(KivStyleFile, NamesThatAreRefused) {
    using enum KivStyleNameFault;
    const std::pair<std::wstring, KivStyleNameFault> cases[] = {{L"Ink and wash", none},
                                                                {L"Été 2 (new)", none},
                                                                {L"v1.2", none},
                                                                {L"", empty},
                                                                {L"   ", empty},
                                                                {L"../x", character},
                                                                {L"a/b", character},
                                                                {L"a\\b", character},
                                                                {L"a\nb", character},
                                                                {std::wstring(L"a\0b", 3), character},
                                                                {L"a\x7F", character},
                                                                {L"what?", character},
                                                                {L".", dot},
                                                                {L"..", dot},
                                                                {L".ink", dot},
                                                                {std::wstring(247, L'n'), none},
                                                                {std::wstring(248, L'n'), length},
                                                                {std::wstring(130, L'ä'), length}};
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    for (const auto& [name, fault] : cases) {
        EXPECT_EQ(kivCheckStyleName(name), fault) << kivToUtf8(name);
        EXPECT_EQ(kivStyleNameText(fault).empty(), fault == none);
        EXPECT_EQ(kivStyleNameText(fault).find(L'\n'), std::wstring::npos);
    }
    EXPECT_EQ(kivCheckStyleName(L"Ink", std::wstring(246, L'f')), none);
    EXPECT_EQ(kivCheckStyleName(L"Ink", std::wstring(248, L'f')), length);
    EXPECT_EQ(kivStylePath(L"/folder", L"Ink"), L"/folder/Ink.kiv");
}
