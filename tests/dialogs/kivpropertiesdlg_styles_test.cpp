// Styles that can't be loaded, saved or removed.
#include "dialogs/propertiesfixture.h"
#include "kivrender/dialogs/kivsavestyledlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivfolders.h"
#include "kivrender/settings/kivaveragedatamanager.h"

#include <filesystem>

namespace {

using Shaders = std::vector<KivShader*>;

class KivPropertiesDlgStyles : public KivPropertiesDlgTest {
protected:
    ~KivPropertiesDlgStyles() override {
        KivTestAccess::loads() = 0;
    }
    // What the user answers when asked for the name of a style.
    void answer(const std::wstring& name, int button = kivControlOk) {
        toolkit.onWindow = [this, name, button](WindowRecord& window) {
            window.modal = [record = toolkit.windows.back().get(), name, button] {
                record->controls[KivSaveStyleDlg::nameField].text = name;
                return button;
            };
        };
    }
    std::vector<std::wstring> styles(const WindowRecord& user) {
        std::vector<std::wstring> names;
        for (const WindowRecord::Item& item : user.at(Dlg::stylesCombo).items) {
            names.push_back(item.text + L" " + std::to_wstring(item.image));
        }
        return names;
    }
};

TEST_F(KivPropertiesDlgStyles, AreThoseOfEachFolderInTurn) {
    for (const wchar_t* const name : {L"B", L"A"}) {
        writeStyle(host.users, name, {L"Paint", {}});
        writeStyle(host.shared, name, {L"Wash", {}});
    }
    WindowRecord& user = open(&stream);
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"A 1", L"B 1", L"A 3", L"B 3"}));
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 3));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 1));
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
}

TEST_F(KivPropertiesDlgStyles, AFileThatIsNoStyleLeavesNoCombinableShader) {
    host.users.write("Empty.kiv", "[General]\r\n");
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), &paint) << "it did not come that far";
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    EXPECT_FALSE(user.at(Dlg::combinableTree).items[0].checked);
    EXPECT_TRUE(shownPages().empty());
    EXPECT_TRUE(toolkit.messages.empty());
    EXPECT_FALSE(KivTestAccess::updating(dialog));
}

TEST_F(KivPropertiesDlgStyles, AStyleWithoutABaseLookSwitchesItOff) {
    writeStyle(host.users, L"Mine", {L"", {L"Dots"}});
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&dots});
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{dots.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgStyles, BringTheValuesOfTheirPages) {
    host.users.write("Mine.kiv",
                     "[General]\r\nNonCombinableShader=Wash\r\n[Wash]\r\nPage0=42\r\n[Lines]\r\nPage1=7\r\n");
    WindowRecord& user = open(nullptr);
    ASSERT_TRUE(lines.pages.empty());
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(wash.pages[0]->getControlText(samplePageControl), L"42");
    ASSERT_EQ(lines.pages.size(), 2U);
    EXPECT_EQ(lines.pages[1]->getControlText(samplePageControl), L"7") << "active or not";
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0) << "what the dialog writes into the pages is no edit";
}

TEST_F(KivPropertiesDlgStyles, AreShownFromTheirFirstPageWithTheirPreview) {
    host.setShowPreview(true);
    writeStyle(host.users, L"Mine", {L"Paint", {L"Dots"}});
    writeStream(stream, L"", L"", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    ASSERT_EQ(lines.getCurDialogIndex(&dialog), 1);
    const int before = paint.previews;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 0);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{paint.getPage(&dialog, 0)});
    EXPECT_EQ(lines.getCurDialogIndex(&dialog), 0) << "active or not";
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_EQ(paint.previews, before + 1) << "at once";
    EXPECT_FALSE(stream.isChanged());
}

TEST_F(KivPropertiesDlgStyles, APageThatCannotLoadLeavesTheStateReachedSoFar) {
    host.users.write("Mine.kiv", "[General]\r\nNonCombinableShader=Wash\r\nCombinableShader=Dots;\r\n"
                                 "[Paint]\r\nPage0=5\r\n[Lines]\r\nPage0=6\r\n[Dots]\r\nPage0=7\r\n");
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    KivTestAccess::loads() = 2;
    ASSERT_EQ(lines.pages.size(), 2U);
    lines.pages[0]->own.loads = false;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&dots});
    EXPECT_EQ(paint.pages[0]->getControlText(samplePageControl), L"5");
    EXPECT_EQ(lines.pages[0]->getControlText(samplePageControl), L"0");
    ASSERT_EQ(dots.pages.size(), 1U);
    EXPECT_EQ(dots.pages[0]->own.value, 0) << "it comes behind the one that failed";
    EXPECT_TRUE(shownPages().empty());
    EXPECT_EQ(KivTestAccess::loads(), 1UL) << "one load of the shaders is given back";
    EXPECT_EQ(KivShader::shaders(), 4UL);
    EXPECT_TRUE(toolkit.messages.empty());
    EXPECT_FALSE(KivTestAccess::updating(dialog));
    for (KivShader* const shader : {static_cast<KivShader*>(&paint), static_cast<KivShader*>(&lines)}) {
        EXPECT_EQ(shader->addRef(), 2U) << "neither the page that loads nor the one that fails keeps a reference";
        shader->release();
    }
    lines.pages[0]->own.loads = true;
    user.controls[Dlg::stylesCombo].selection = -1;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{wash.getPage(&dialog, 0)}) << "and another try can succeed";
}

TEST_F(KivPropertiesDlgStyles, APageThatCannotLoadMayEndAllShaders) {
    writeStyle(host.users, L"Mine", {L"Wash", {L"Dots"}});
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    KivTestAccess::loads() = 1;
    paint.pages[0]->own.loads = false;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivShader::shaders(), 0UL);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr) << "nothing points to what is gone";
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    user.choose(Dlg::pagesTab, 1);
    user.choose(Dlg::nonCombinableTree, 0);
    user.toggle(Dlg::combinableTree, 0);
    user.clickCheck(Dlg::nonCombinableBox);
    toolkit.passTime(400);
    dialog.saveData();
    EXPECT_EQ(texts(stream),
              (std::vector<std::wstring>{L"Style:", L"NonCombinableShader:", L"CombinableShader:", L"End Morvane"}));
}

// --- saving

TEST_F(KivPropertiesDlgStyles, ANewStyleComesFirstAndIsSelected) {
    writeStyle(host.users, L"Old", {L"Wash", {}});
    writeStream(stream, L"Old", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    answer(L"New");
    EXPECT_TRUE(user.click(Dlg::saveStyleButton));
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"New 1", L"Old 1"}));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    EXPECT_EQ(KivTestAccess::base(dialog), &paint) << "it is not loaded";
    EXPECT_FALSE(dialog.isChanged());
    KivStyleHead head;
    ASSERT_TRUE(kivReadStyleHead(host.users.wide("New.kiv"), &head));
    EXPECT_EQ(head.nonCombinable, L"Paint");
    EXPECT_EQ(head.combinables, std::vector<std::wstring>{L"Dots"});
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 1));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "paths stand beside their items";
}

TEST_F(KivPropertiesDlgStyles, ABaseLookThatIsOffIsNotSaved) {
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    answer(L"New");
    EXPECT_TRUE(user.click(Dlg::saveStyleButton));
    KivStyleHead head;
    ASSERT_TRUE(kivReadStyleHead(host.users.wide("New.kiv"), &head));
    EXPECT_EQ(head.nonCombinable, L"");
}

// Both leave no doubt about the name of several objects' style.
TEST_F(KivPropertiesDlgStyles, SavingOrRemovingAVariedStyleDecidesItsName) {
    writeStyle(host.users, L"Old", {L"Paint", {}});
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"Old", L"Paint", L"");
    writeStream(other, L"Older", L"Paint", L"");
    WindowRecord& user = open(&stream);
    for (const int button : {Dlg::saveStyleButton, Dlg::removeStyleButton}) {
        KivAverageDataManager both;
        both.buildAverageData({&one, &other});
        dialog.setData(&both);
        answer(L"New");
        user.controls[Dlg::stylesCombo].selection = 0; // nothing of which the dialog was told
        EXPECT_TRUE(user.click(button));
        dialog.saveData();
        both.setLoading();
        wchar_t line[kivMaxPath] = {};
        both.loadString(line);
        EXPECT_STREQ(line, button == Dlg::saveStyleButton ? L"Style:New" : L"Style:");
        EXPECT_FALSE(both.isCurrentVaried());
        dialog.setData(nullptr);
    }
}

TEST_F(KivPropertiesDlgStyles, NothingIsSavedWithoutAName) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    const struct {
        std::wstring name;
        int button;
    } answers[] = {{L"New", kivControlCancel},
                   {L"", kivControlOk},
                   {L"a/b", kivControlOk},
                   {L".hidden", kivControlOk},
                   {std::wstring(300, L'n'), kivControlOk}};
    for (const auto& each : answers) {
        answer(each.name, each.button);
        EXPECT_TRUE(user.click(Dlg::saveStyleButton));
        EXPECT_TRUE(user.at(Dlg::stylesCombo).items.empty()) << each.name;
        EXPECT_EQ(host.users.count(), 0U) << each.name;
    }
    EXPECT_TRUE(toolkit.messages.empty());
}

TEST_F(KivPropertiesDlgStyles, AStyleThatCannotBeWrittenLeavesTheList) {
    writeStyle(host.users, L"Mine", {L"Wash", {}});
    writeStyle(host.shared, L"Common", {L"Wash", {}});
    writeStream(stream, L"Common", L"Paint", L"");
    WindowRecord& user = open(&stream);
    ASSERT_EQ(user.at(Dlg::stylesCombo).selection, 1);
    std::filesystem::remove_all(host.users.path());
    answer(L"New");
    EXPECT_TRUE(user.click(Dlg::saveStyleButton));
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"Mine 1", L"Common 3"}));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 1);
    EXPECT_TRUE(toolkit.messages.empty());
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 1) && KivTestAccess::base(dialog) == &wash) << "paths are as they were";
}

// Has no place for the user's styles.
class HostWithoutUsers : public StyleHost {
public:
    bool getStyleFolder(Folder folder, wchar_t* out) override {
        return folder != userFolder && StyleHost::getStyleFolder(folder, out);
    }
};

TEST_F(KivPropertiesDlgStyles, WithoutAFolderForThemNoneIsSaved) {
    HostWithoutUsers none;
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    answer(L"New");
    EXPECT_TRUE(user.click(Dlg::saveStyleButton));
    EXPECT_TRUE(user.at(Dlg::stylesCombo).items.empty());
    EXPECT_EQ(none.users.count() + none.shared.count(), 0U);
}

// --- removing

TEST_F(KivPropertiesDlgStyles, AStyleThatIsNotRemovedStaysInTheList) {
    writeStyle(host.users, L"Mine", {L"Wash", {}});
    writeStyle(host.shared, L"Common", {L"Paint", {}});
    writeStream(stream, L"Mine", L"Paint", L"");
    WindowRecord& user = open(&stream);
    ASSERT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    // Something stands where the wastebasket would be made.
    const std::filesystem::path data(kivToUtf8(kivDataFolder()));
    std::filesystem::create_directories(data);
    std::ofstream(data / "Trash") << "in the way";
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"Mine 1", L"Common 3"}));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    EXPECT_EQ(host.users.count(), 1U);
    std::filesystem::remove(data / "Trash");
    std::filesystem::remove(host.users.path() / "Mine.kiv");
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(user.at(Dlg::stylesCombo).items.size(), 2U) << "a file that is gone can't be moved either";
}

TEST_F(KivPropertiesDlgStyles, AStyleThatTheUserKeepsStaysInTheList) {
    writeStyle(host.users, L"Mine", {L"Wash", {}});
    writeStyle(host.shared, L"Common", {L"Paint", {}});
    writeStream(stream, L"Common", L"Paint", L"");
    WindowRecord& user = open(&stream);
    toolkit.refusesTrash = true;
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(toolkit.trashed, std::vector<std::wstring>{host.shared.wide("Common.kiv")});
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"Mine 1", L"Common 3"}));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 1);
    EXPECT_EQ(host.shared.count(), 1U);
    dialog.saveData();
    EXPECT_EQ(texts(stream)[0], L"Style:Common");
}

TEST_F(KivPropertiesDlgStyles, ARemovedStyleIsInTheWastebasketAndNoLongerNamed) {
    for (const wchar_t* const name : {L"A", L"B", L"C"}) {
        writeStyle(host.users, name, {name == std::wstring(L"C") ? L"Wash" : L"Paint", {}});
    }
    writeStream(stream, L"B", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(styles(user), (std::vector<std::wstring>{L"A 1", L"C 1"}));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, -1);
    EXPECT_TRUE(std::filesystem::exists(kivToUtf8(kivDataFolder()) + "/Trash/files/B.kiv"));
    EXPECT_TRUE(user.click(Dlg::removeStyleButton)) << "none is selected";
    EXPECT_EQ(user.at(Dlg::stylesCombo).items.size(), 2U);
    dialog.saveData();
    EXPECT_EQ(texts(stream)[0], L"Style:");
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 1));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "paths stand beside their items";
}

// Items that come with the template stay the only ones, and have no files.
TEST_F(KivPropertiesDlgStyles, AListThatIsFilledAlreadyStaysAsItIs) {
    writeStyle(host.users, L"Mine", {L"Wash", {}});
    writeStream(stream, L"", L"Paint", L"");
    toolkit.onWindow = [](WindowRecord& window) {
        window.controls[Dlg::stylesCombo].items = {{L"of the template"}};
        window.controls[Dlg::nonCombinableTree].items = {{L"Test Paint"}};
    };
    WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::stylesCombo).items.size(), 1U);
    EXPECT_EQ(user.at(Dlg::nonCombinableTree).items.size(), 1U);
    EXPECT_TRUE(user.at(Dlg::combinableTree).items.empty());
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(user.at(Dlg::stylesCombo).items.size(), 1U);
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
}

TEST_F(KivPropertiesDlgStyles, ADesktopThatTellsTheDialogsOwnChecksChangesNothing) {
    writeStyle(host.users, L"Mine", {L"", {L"Dots"}});
    writeStyle(host.users, L"Yours", {L"Wash", {}});
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    user.tellsChecks = true;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0) << "an edit would end the style";
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 1));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 1);
    EXPECT_TRUE(toolkit.timers.empty());
    EXPECT_FALSE(stream.isChanged());
    dialog.changesWritten();
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, -1);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "the style that takes its place in the list is not loaded";
    EXPECT_FALSE(dialog.isChanged());
}

TEST_F(KivPropertiesDlgStyles, ABadNameIsToldAndTheQuestionStays) {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    WindowRecord& user = open(&stream);
    const std::vector<std::pair<std::wstring, unsigned int>> tries = {
        {L"  ", 1050}, {L"a/b", 1051}, {L".a", 1052}, {std::wstring(300, L'n'), 1053}, {L"Good", 0}};
    toolkit.onWindow = [&](WindowRecord& window) {
        window.modal = [&, record = toolkit.windows.back().get()] {
            for (const auto& [name, fault] : tries) {
                record->type(KivSaveStyleDlg::nameField, name);
                record->click(kivControlOk);
            }
            return 0;
        };
    };
    ASSERT_TRUE(user.click(Dlg::saveStyleButton));
    ASSERT_EQ(toolkit.messages.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_FALSE(toolkit.messages[i].text.empty());
        EXPECT_EQ(toolkit.messages[i].text, kivText(tries[i].second));
    }
    EXPECT_EQ(styles(user), std::vector<std::wstring>{L"Good 1"});
}

} // namespace
