// What the panel reads from streams and writes into them, those of several objects too.
#include "dialogs/propertiesfixture.h"
#include "kivrender/settings/kivaveragedatamanager.h"

namespace {

using Shaders = std::vector<KivShader*>;

class KivPropertiesDlgStream : public KivPropertiesDlgTest {};

// --- what a stream may say

TEST_F(KivPropertiesDlgStream, HeadersOfTheBaseLook) {
    const struct {
        const wchar_t* line;
        int check;
        KivShader* base;
    } cases[] = {{L"NonCombinableShader:Wash", 1, &wash},
                 {L"NonCombinableShader:Test Wash", 1, &wash},
                 {L"NonCombinableShader:", 0, nullptr},
                 {L"Wash", 0, nullptr},
                 {L"", 0, nullptr},
                 {L"noncombinableshader:Wash", 0, nullptr}};
    WindowRecord& user = open(nullptr);
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.line);
        stream.clearData();
        stream.setSaving();
        for (const wchar_t* const line : {L"Style:", each.line, L"CombinableShader:", L"End Morvane"}) {
            stream.saveString(line);
            stream.saveCurrentVaried(false);
        }
        dialog.setData(&stream);
        EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, each.check);
        EXPECT_EQ(user.at(Dlg::nonCombinableTree).enabled, each.check == 1);
        EXPECT_EQ(KivTestAccess::base(dialog), each.base);
    }
}

TEST_F(KivPropertiesDlgStream, TheStyleOfTheStreamIsSelectedIfItIsThere) {
    writeStyle(host.users, L"Mine", {L"Paint", {}});
    WindowRecord& user = open(nullptr);
    const struct {
        const wchar_t* style;
        int selection;
    } cases[] = {{L"Mine", 0}, {L"Unknown", -1}, {L"Mine", 0}, {L"", -1}};
    for (const auto& each : cases) {
        writeStream(stream, each.style, L"Paint", L"");
        dialog.setData(&stream);
        EXPECT_EQ(user.at(Dlg::stylesCombo).selection, each.selection) << each.style;
    }
}

TEST_F(KivPropertiesDlgStream, ABlockOfAnUnknownShaderEndsWithItsFirstNumber) {
    const auto write = [this](bool number) {
        stream.clearData();
        stream.setSaving();
        for (const wchar_t* const line :
             {L"Style:", L"NonCombinableShader:Wash", L"CombinableShader:", L"Unknown", L"a text of it"}) {
            stream.saveString(line);
            stream.saveCurrentVaried(false);
        }
        if (number) {
            stream.saveInt(3);
            stream.saveCurrentVaried(false);
        }
        for (const wchar_t* const line : {L"Wash", L"Page0"}) {
            stream.saveString(line);
            stream.saveCurrentVaried(false);
        }
        stream.saveInt(42);
        stream.saveCurrentVaried(false);
        stream.saveString(L"End Morvane");
        stream.saveCurrentVaried(false);
    };
    write(false);
    open(&stream);
    ASSERT_EQ(wash.pages.size(), 1U);
    EXPECT_EQ(wash.pages[0]->own.value, 42) << "texts are passed over";
    wash.pages[0]->own.value = 1;
    write(true);
    dialog.setData(&stream);
    EXPECT_EQ(wash.pages[0]->own.value, 1);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "the header counts all the same";
}

TEST_F(KivPropertiesDlgStream, AllShadersWriteWhetherTheyAreActiveOrNot) {
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    dialog.saveData();
    const std::vector<std::wstring> expected = {L"Style:",
                                                L"NonCombinableShader:Paint",
                                                L"CombinableShader:",
                                                L"Paint",
                                                L"Page0",
                                                L"#0",
                                                L"Page1",
                                                L"#0",
                                                L"Wash",
                                                L"Page0",
                                                L"#0",
                                                L"Lines",
                                                L"Page0",
                                                L"#0",
                                                L"Page1",
                                                L"#0",
                                                L"Dots",
                                                L"Page0",
                                                L"#0",
                                                L"End Morvane"};
    EXPECT_EQ(texts(stream), expected);
    EXPECT_EQ(stream.getMinorVersion(), 5);
}

TEST_F(KivPropertiesDlgStream, WithoutAManagerNothingIsChecked) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    const WindowRecord& user = open(&stream);
    ASSERT_EQ(checkedItems(user), 1);
    dialog.setData(nullptr);
    EXPECT_EQ(checkedItems(user), 0);
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
}

TEST_F(KivPropertiesDlgStream, AnotherManagerTakesTheDialogOver) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    const WindowRecord& user = open(&stream);
    KivMemoryDataManager other;
    writeStream(other, L"", L"Wash", L"");
    dialog.setData(&other);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(checkedItems(user), 0);
    const std::vector<std::wstring> before = texts(stream);
    dialog.saveData();
    EXPECT_EQ(texts(stream), before);
    dialog.setData(nullptr);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_FALSE(user.at(Dlg::pagesTab).visible);
}

// --- several objects

TEST_F(KivPropertiesDlgStream, AVariedStyleIsSavedAsAnEmptyNameWithItsMark) {
    writeStyle(host.users, L"Mine", {L"Paint", {}});
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"Mine", L"Paint", L"");
    writeStream(other, L"Yours", L"Paint", L"");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, -1);
    user.controls[Dlg::stylesCombo].selection = 0; // whatever stands there
    dialog.saveData();
    both.setLoading();
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"Style:"), true));
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"NonCombinableShader:Paint"), false));
    user.controls[Dlg::stylesCombo].selection = -1;
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    dialog.saveData();
    both.setLoading();
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"Style:Mine"), false)) << "the user has decided";
}

TEST_F(KivPropertiesDlgStream, VariedCombinableShadersKeepTheirMarkUntilOneIsToggled) {
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"", L"Paint", L"Lines;");
    writeStream(other, L"", L"Paint", L"Dots;");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    EXPECT_EQ(checkedItems(user), 0);
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    const auto savedLine = [&] {
        dialog.saveData();
        both.setLoading();
        nextLine(both);
        nextLine(both);
        return nextLine(both);
    };
    EXPECT_EQ(savedLine(), std::make_pair(std::wstring(L"CombinableShader:"), true));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 1));
    EXPECT_EQ(savedLine(), std::make_pair(std::wstring(L"CombinableShader:Dots;"), false));
}

TEST_F(KivPropertiesDlgStream, AVariedBaseLookIsSavedWithItsMarkUntilAnotherIsChosen) {
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"", L"Paint", L"");
    writeStream(other, L"", L"Wash", L"");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    const auto savedLine = [&] {
        dialog.saveData();
        both.setLoading();
        nextLine(both);
        return nextLine(both);
    };
    EXPECT_EQ(savedLine(), std::make_pair(std::wstring(L"NonCombinableShader:"), true));
    user.controls[Dlg::nonCombinableTree].selection = 1; // its tree is disabled, but a key may get there
    user.tell(Dlg::nonCombinableTree, KivControlChange::selected);
    EXPECT_FALSE(savedLine().second);
}

TEST_F(KivPropertiesDlgStream, AStyleDecidesAllThatVaries) {
    writeStyle(host.users, L"Mine", {L"Wash", {L"Dots"}});
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"A", L"Paint", L"Lines;");
    writeStream(other, L"B", L"Wash", L"Dots;");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    dialog.saveData();
    both.setLoading();
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"Style:Mine"), false));
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"NonCombinableShader:Wash"), false));
    EXPECT_EQ(nextLine(both), std::make_pair(std::wstring(L"CombinableShader:Dots;"), false));
}

TEST_F(KivPropertiesDlgStream, ACombinableShaderInPlaceOfTheBaseLookIsActive) {
    writeStream(stream, L"", L"Wash", L"");
    const WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).items[1].bold);
    writeStream(stream, L"", L"Lines", L"");
    dialog.setData(&stream);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    for (const WindowRecord::Item& item : user.at(Dlg::nonCombinableTree).items) {
        EXPECT_FALSE(item.bold) << "none of them is the base look";
    }
    EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&lines});
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
    EXPECT_EQ(user.at(Dlg::combinableTree).selection, 0);
}

TEST_F(KivPropertiesDlgStream, ShadersWithoutABlockHaveTheirPagesAllTheSame) {
    WindowRecord& user = open(nullptr);
    EXPECT_TRUE(lines.pages.empty());
    stream.clearData();
    stream.setSaving();
    for (const wchar_t* const line :
         {L"Style:", L"NonCombinableShader:Wash", L"CombinableShader:Dots;", L"End Morvane"}) {
        stream.saveString(line);
        stream.saveCurrentVaried(false);
    }
    dialog.setData(&stream);
    EXPECT_EQ(wash.pages.size(), 1U);
    EXPECT_EQ(dots.pages.size(), 1U);
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 2U);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{wash.getPage(&dialog, 0)});
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_EQ(lines.pages.size(), 2U) << "made when they are needed";
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 4U);
}

TEST_F(KivPropertiesDlgStream, ThePreviewBoxIsSavedBothWays) {
    WindowRecord& user = open(nullptr);
    for (const bool on : {true, false, true}) {
        host.setShowPreview(!on);
        user.controls[Dlg::previewBox].check = on ? 1 : 0;
        dialog.saveData();
        EXPECT_EQ(host.getShowPreview(), on);
    }
}

} // namespace
