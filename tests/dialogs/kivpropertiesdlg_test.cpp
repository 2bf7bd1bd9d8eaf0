#include "kivrender/dialogs/kivpropertiesdlg.h"

#include "dialogs/propertiesfixture.h"
#include "kivrender/dialogs/kivsavestyledlg.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/settings/kivaveragedatamanager.h"

namespace {

TEST_F(KivPropertiesDlgTest, ShowsWhatTheStreamNames) {
    writeStream(stream, L"", L"Wash", L"Dots;Lines;");
    const WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
    EXPECT_EQ(user.at(Dlg::nonCombinableTree).selection, 1);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).items[1].bold);
    EXPECT_TRUE(user.at(Dlg::combinableTree).items[0].checked);
    EXPECT_TRUE(user.at(Dlg::combinableTree).items[1].checked);
    EXPECT_EQ(KivTestAccess::combinables(dialog), (std::vector<KivShader*>{&dots, &lines}));
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 4U) << "one of the base look, one of the dots, two of the lines";
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(toolkit.timers.empty());
}

TEST_F(KivPropertiesDlgTest, AnEmptyManagerIsAnEmptyDocument) {
    KivMemoryDataManager empty;
    const WindowRecord& user = open(&empty);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_FALSE(user.at(Dlg::pagesTab).visible);
}

// The document before has shown its second tab and disagreed in all that can be marked.
TEST_F(KivPropertiesDlgTest, AnEmptyManagerKeepsNothingOfTheDocumentBefore) {
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    KivMemoryDataManager empty;
    writeStream(one, L"A", L"Paint", L"Lines;");
    writeStream(other, L"B", L"Wash", L"Dots;");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&one);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{paint.getPage(&dialog, 1)});
    dialog.setData(&empty);
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_EQ(user.at(Dlg::pagesTab).selection, 0);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{lines.getPage(&dialog, 0)});

    dialog.setData(&both);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 2);
    empty.clearData();
    dialog.setData(&empty);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    dialog.saveData();
    ASSERT_TRUE(empty.setLoading());
    for (const wchar_t* const line : {L"Style:", L"NonCombinableShader:", L"CombinableShader:"}) {
        EXPECT_EQ(nextLine(empty), std::pair(std::wstring(line), false));
    }
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1) << "it takes one click";
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).enabled);
}

TEST_F(KivPropertiesDlgTest, TheBaseLookGoesAndTheOnlyOtherPageIsShown) {
    writeStream(stream, L"", L"Wash", L"Dots;"); // not the first in the tree
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{dots.getPage(&dialog, 0)});
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_TRUE(user.at(Dlg::pagesTab).visible);
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 1U);
    EXPECT_EQ(user.at(Dlg::pagesTab).selection, 0);
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 0);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{dots.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgTest, TabsAreNumberedAcrossShaders) {
    writeStream(stream, L"", L"Paint", L"Lines;Dots;");
    WindowRecord& user = open(&stream);
    ASSERT_EQ(user.at(Dlg::pagesTab).items.size(), 5U);
    EXPECT_EQ(KivTestAccess::shownPage(dialog), paint.getPage(&dialog, 0));
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 3));
    EXPECT_EQ(KivTestAccess::shownPage(dialog), lines.getPage(&dialog, 1));
    EXPECT_EQ(lines.getCurDialogIndex(&dialog), 1);
    EXPECT_EQ(user.at(Dlg::pagesTab).page, lines.getPage(&dialog, 1)->getWindow());
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 2) << "the same page behind one page less";
    EXPECT_EQ(user.at(Dlg::pagesTab).selection, 2);
    EXPECT_EQ(KivTestAccess::shownPage(dialog), lines.getPage(&dialog, 1));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_EQ(KivTestAccess::shownPage(dialog), wash.getPage(&dialog, 0));
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 2U);
}

TEST_F(KivPropertiesDlgTest, ABurstOfEditsSelectsNoStyleAndGivesOnePreview) {
    writeStyle(host.users, L"Mine", {L"Paint", {}});
    writeStream(stream, L"Mine", L"Paint", L"");
    const WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    const int before = user.redraws;
    for (const wchar_t* const value : {L"1", L"12", L"123"}) {
        paint.pages[0]->setControlText(samplePageControl, value);
        toolkit.passTime(399);
    }
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, -1);
    EXPECT_EQ(user.redraws, before);
    EXPECT_TRUE(parentRecord->received.empty());
    toolkit.passTime(1);
    EXPECT_EQ(user.redraws, before + 1);
    ASSERT_EQ(parentRecord->received.size(), 1U);
    EXPECT_EQ(parentRecord->received[0].message, Dlg::previewMessage);
    toolkit.passTime(4000);
    EXPECT_EQ(user.redraws, before + 1);
    EXPECT_TRUE(dialog.isChanged());
    EXPECT_TRUE(stream.isChanged());
    dialog.changesWritten();
    EXPECT_FALSE(dialog.isChanged());
}

TEST_F(KivPropertiesDlgTest, ThePreviewIsDrawnWhileItsBoxIsOn) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::previewPicture).picture, nullptr) << "the shader has no still picture";
    EXPECT_TRUE(user.clickCheck(Dlg::previewBox));
    toolkit.passTime(400);
    KivBitmapInfo info;
    ASSERT_TRUE(kivGetBitmapInfo(user.at(Dlg::previewPicture).picture, &info));
    EXPECT_EQ(info.width, 110);
    EXPECT_EQ(info.height, 110);
    EXPECT_TRUE(user.clickCheck(Dlg::previewBox));
    toolkit.passTime(400);
    EXPECT_EQ(user.at(Dlg::previewPicture).picture, nullptr);
}

TEST_F(KivPropertiesDlgTest, OneTemplateLeavesTheMarkOfTheDocumentAlone) {
    writeStream(stream, L"", L"Paint", L"");
    open(&stream, Dlg::fixedDataTemplate);
    dialog.resetStyle();
    EXPECT_TRUE(dialog.isChanged());
    EXPECT_FALSE(stream.isChanged());
}

TEST_F(KivPropertiesDlgTest, AVariedBaseLookIsTakenAwayByTheFirstClick) {
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"A", L"Paint", L"");
    writeStream(other, L"B", L"Wash", L"");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 2);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).enabled);
    dialog.saveData();
    wchar_t line[kivMaxPath] = {};
    both.setLoading();
    both.loadString(line);
    EXPECT_STREQ(line, L"Style:");
    EXPECT_TRUE(both.isCurrentVaried());
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).enabled);
    dialog.saveData();
    both.setLoading();
    both.loadString(line);
    EXPECT_FALSE(both.isCurrentVaried()) << "the user has decided";
}

TEST_F(KivPropertiesDlgTest, AVariedBoxThatTheHostHasSetTakesTheFirstClick) {
    KivMemoryDataManager one;
    KivMemoryDataManager other;
    writeStream(one, L"", L"Paint", L"");
    writeStream(other, L"", L"Wash", L"");
    KivAverageDataManager both;
    both.buildAverageData({&one, &other});
    WindowRecord& user = open(&both);
    dialog.setCheckNonCombinableState(2);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 0) << "it is still varied";
    dialog.setData(&both);
    dialog.setCheckNonCombinableState(0);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
}

TEST_F(KivPropertiesDlgTest, WithoutAManagerOnlyThePreviewBoxIsSaved) {
    WindowRecord& user = open(nullptr);
    EXPECT_FALSE(host.getShowPreview());
    user.controls[Dlg::previewBox].check = 1;
    dialog.saveData();
    EXPECT_TRUE(host.getShowPreview());
}

TEST_F(KivPropertiesDlgTest, AStyleIsLoadedByItsChoice) {
    writeStyle(host.users, L"Mine", {L"Wash", {L"Lines"}});
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(KivTestAccess::combinables(dialog), std::vector<KivShader*>{&lines});
    EXPECT_TRUE(user.at(Dlg::combinableTree).items[0].checked);
    EXPECT_FALSE(user.at(Dlg::combinableTree).items[1].checked);
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    EXPECT_TRUE(dialog.isChanged());
}

TEST_F(KivPropertiesDlgTest, AStyleOfTheSharedFolderIsNotOverwritten) {
    writeStyle(host.shared, L"Common", {L"Wash", {}});
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    toolkit.onWindow = [this](WindowRecord& window) {
        window.modal = [record = toolkit.windows.back().get()] {
            record->controls[KivSaveStyleDlg::nameField].text = L"Common";
            return kivControlOk;
        };
    };
    for (int i = 0; i < 2; ++i) { // the second time it is the user's own one
        EXPECT_TRUE(user.click(Dlg::saveStyleButton));
        ASSERT_EQ(user.at(Dlg::stylesCombo).items.size(), 2U);
        EXPECT_EQ(user.at(Dlg::stylesCombo).items[0].image, 1);
        EXPECT_EQ(user.at(Dlg::stylesCombo).items[1].image, 3);
        EXPECT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    }
    KivStyleHead head;
    EXPECT_TRUE(kivReadStyleHead(host.users.wide("Common.kiv"), &head));
    EXPECT_EQ(head.nonCombinable, L"Paint");
}

TEST_F(KivPropertiesDlgTest, RemovingAStyleLeavesTheSettings) {
    writeStyle(host.users, L"Mine", {L"Wash", {L"Lines"}});
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 2));
    // Values that are neither the style's nor those of the stream. Typed ones would take the style away.
    for (const auto& [page, value] : {std::pair(wash.pages[0].get(), 17), std::pair(lines.pages[1].get(), 18)}) {
        page->own.value = value;
        page->loadControls();
    }
    dialog.saveData();
    std::vector<std::wstring> before = texts(stream);
    EXPECT_EQ(before[0], L"Style:Mine");
    EXPECT_NE(std::find(before.begin(), before.end(), L"#17"), before.end());
    EXPECT_NE(std::find(before.begin(), before.end(), L"#18"), before.end());
    EXPECT_TRUE(user.click(Dlg::removeStyleButton));
    EXPECT_TRUE(user.at(Dlg::stylesCombo).items.empty());
    EXPECT_EQ(host.users.count(), 0U);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(KivTestAccess::combinables(dialog), std::vector<KivShader*>{&lines});
    EXPECT_EQ(user.at(Dlg::nonCombinableBox).check, 1);
    EXPECT_EQ(user.at(Dlg::nonCombinableTree).selection, 1);
    EXPECT_TRUE(user.at(Dlg::combinableTree).items[0].checked);
    EXPECT_FALSE(user.at(Dlg::combinableTree).items[1].checked);
    EXPECT_EQ(shownPages(), std::vector<KivPageDlg*>{lines.getPage(&dialog, 1)});
    EXPECT_EQ(wash.pages[0]->getControlText(samplePageControl), L"17");
    EXPECT_EQ(lines.pages[1]->getControlText(samplePageControl), L"18");
    dialog.saveData();
    before[0] = L"Style:";
    EXPECT_EQ(texts(stream), before) << "but for the name of the style";
    EXPECT_TRUE(user.click(Dlg::removeStyleButton)) << "there is none any more";
    EXPECT_EQ(toolkit.trashed.size(), 1U);
}

TEST_F(KivPropertiesDlgTest, TheEndOfTheWindowEndsPagesAndTimer) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    open(&stream);
    SamplePage page(L"Page");
    page.setPropertiesDlg(&dialog);
    page.resetStyle();
    EXPECT_EQ(toolkit.timers.size(), 1U);
    EXPECT_NE(dialog.DestroyWindow(), 0);
    EXPECT_TRUE(toolkit.timers.empty());
    EXPECT_EQ(paint.getPage(&dialog, 0), nullptr);
    EXPECT_FALSE(dialog.getIsCreated());
    dialog.setIsCreated(true);
    EXPECT_EQ(dialog.DestroyWindow(), 0);
    EXPECT_FALSE(dialog.getIsCreated()) << "without a window as well";
    page.resetStyle();
    EXPECT_TRUE(toolkit.timers.empty()) << "a closed dialog is told nothing";
    const bool before = dialog.isChanged();
    dialog.changesWritten();
    dialog.resetStyle();
    dialog.showPreview();
    EXPECT_TRUE(before);
    EXPECT_FALSE(dialog.isChanged()) << "and has nothing to do";
}

} // namespace
