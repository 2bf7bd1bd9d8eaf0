// Opening and closing the panel, being active, its trees and its preview.
#include "dialogs/propertiesfixture.h"
#include "kivrender/platform/kivbitmap.h"

namespace {

using Shaders = std::vector<KivShader*>;
using Pages = std::vector<KivPageDlg*>;

class KivPropertiesDlgState : public KivPropertiesDlgTest {};

// --- closing

TEST_F(KivPropertiesDlgState, OkSavesAndCloses) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    user.visible = true;
    paint.pages[1]->setControlText(samplePageControl, L"42");
    EXPECT_TRUE(user.click(kivControlOk));
    EXPECT_FALSE(user.visible);
    const std::vector<std::wstring> saved = texts(stream);
    EXPECT_EQ(std::count(saved.begin(), saved.end(), L"#42"), 1);
}

TEST_F(KivPropertiesDlgState, CancelClosesWithoutSaving) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    const std::vector<std::wstring> before = texts(stream);
    WindowRecord& user = open(&stream);
    user.visible = true;
    ASSERT_EQ(shownPages(), Pages{paint.getPage(&dialog, 0)});
    paint.pages[0]->setControlText(samplePageControl, L"42");
    EXPECT_TRUE(user.clickCheck(Dlg::previewBox));
    EXPECT_TRUE(user.click(kivControlCancel));
    EXPECT_FALSE(user.visible);
    EXPECT_TRUE(user.at(Dlg::pagesTab).items.empty());
    EXPECT_TRUE(shownPages().empty());
    EXPECT_EQ(texts(stream), before);
    EXPECT_FALSE(host.getShowPreview()) << "the box was not saved either";
    dialog.setData(&stream);
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 4U) << "it can be filled again";
}

// --- being active

TEST_F(KivPropertiesDlgState, BecomingActiveShowsTheStreamAnew) {
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    EXPECT_FALSE(dialog.isActive());
    writeStream(stream, L"", L"Wash", L"Dots;");
    dialog.setActive(true);
    EXPECT_TRUE(dialog.isActive());
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&dots});
    writeStream(stream, L"", L"Paint", L"");
    dialog.setActive(true);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "it was active before";
}

TEST_F(KivPropertiesDlgState, BecomingInactiveForgetsTheCurrentShaders) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    open(&stream);
    dialog.setActive(false);
    EXPECT_EQ(KivTestAccess::base(dialog), &paint) << "it was not active before";
    dialog.setActive(true);
    ASSERT_EQ(shownPages().size(), 1U);
    dialog.setActive(false);
    EXPECT_FALSE(dialog.isActive());
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    EXPECT_TRUE(shownPages().empty());
}

TEST_F(KivPropertiesDlgState, ADialogThatIsNotCreatedIsNotFilled) {
    dialog.setActive(true);
    EXPECT_TRUE(dialog.isActive()) << "even without a window";
    dialog.setActive(false);
    EXPECT_FALSE(dialog.isActive());
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    EXPECT_TRUE(dialog.getIsCreated());
    dialog.setIsCreated(false);
    writeStream(stream, L"", L"Wash", L"");
    dialog.setActive(true);
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
    dialog.setActive(false);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr) << "forgetting needs no more than a window";
}

TEST_F(KivPropertiesDlgState, TheKeyboardInTheTreeMakesItsShaderCurrentAgain) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    dialog.setActive(true);
    dialog.setActive(false);
    ASSERT_EQ(KivTestAccess::base(dialog), nullptr);
    KivTestAccess::whileUpdating(dialog, [&user] { user.tell(Dlg::nonCombinableTree, KivControlChange::focused); });
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr) << "the dialog itself moved it";
    EXPECT_TRUE(user.focusOn(Dlg::nonCombinableTree));
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(toolkit.timers.empty());
}

TEST_F(KivPropertiesDlgState, TheKeyboardMayComeBeforeTheNewSelectionIsTold) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    ASSERT_EQ(shownPages(), Pages{paint.getPage(&dialog, 0)});
    user.controls[Dlg::nonCombinableTree].selection = 1;
    EXPECT_TRUE(user.focusOn(Dlg::nonCombinableTree));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_TRUE(shownPages().empty()) << "the page of the former one does not stay";
}

TEST_F(KivPropertiesDlgState, TheSameBaseLookSelectedAgainIsNoChange) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    dialog.setActive(true);
    dialog.setActive(false);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr) << "it was selected all the time";
}

TEST_F(KivPropertiesDlgState, WhatTheDialogDoesItselfIsNoChangeOfTheUser) {
    writeStyle(host.users, L"Mine", {L"Wash", {}});
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    user.visible = true;
    const std::vector<std::wstring> before = texts(stream);
    const std::pair<int, KivControlChange> events[] = {
        {kivControlOk, KivControlChange::clicked},           {kivControlCancel, KivControlChange::clicked},
        {Dlg::previewBox, KivControlChange::clicked},        {Dlg::nonCombinableBox, KivControlChange::clicked},
        {Dlg::saveStyleButton, KivControlChange::clicked},   {Dlg::removeStyleButton, KivControlChange::clicked},
        {Dlg::stylesCombo, KivControlChange::selected},      {Dlg::nonCombinableTree, KivControlChange::selected},
        {Dlg::combinableTree, KivControlChange::selected},   {Dlg::pagesTab, KivControlChange::selected},
        {Dlg::combinableTree, KivControlChange::checkToggle}};
    const std::size_t windows = toolkit.windows.size();
    for (const auto& [control, change] : events) {
        user.controls[Dlg::stylesCombo].selection = 0;
        user.controls[Dlg::nonCombinableTree].selection = 1;
        user.controls[Dlg::pagesTab].selection = 2;
        KivTestAccess::whileUpdating(dialog, [&] { user.tell(control, change, 0); });
        EXPECT_FALSE(dialog.isChanged()) << "control " << control;
        EXPECT_TRUE(toolkit.timers.empty()) << "control " << control;
        EXPECT_EQ(KivTestAccess::base(dialog), &paint) << "control " << control;
        EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&lines}) << "control " << control;
        EXPECT_EQ(KivTestAccess::currentTab(dialog), 0) << "control " << control;
        EXPECT_TRUE(user.visible) << "control " << control;
        EXPECT_EQ(user.at(Dlg::stylesCombo).items.size(), 1U) << "control " << control;
    }
    EXPECT_EQ(toolkit.windows.size(), windows);
    EXPECT_EQ(texts(stream), before);
}

TEST_F(KivPropertiesDlgState, WhatIsSelectedAmongCombinableShadersMeansNothing) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::combinableTree, 1));
    EXPECT_TRUE(user.focusOn(Dlg::combinableTree));
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(toolkit.timers.empty());
    user.tell(Dlg::combinableTree, KivControlChange::checkToggle, -1); // beside the items
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    EXPECT_EQ(toolkit.timers.size(), 1U) << "but the preview is drawn again after any click";
}

// --- opening

TEST_F(KivPropertiesDlgState, ButtonsAndStylesHaveTheirIcons) {
    const WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::saveStyleButton).icon, 194U);
    EXPECT_EQ(user.at(Dlg::removeStyleButton).icon, 131U);
    EXPECT_EQ(user.at(Dlg::stylesCombo).images, (std::vector<unsigned int>{12150, 12151, 12152, 12153}));
}

TEST_F(KivPropertiesDlgState, ALoadShowsTheFirstTabAndIsNoChange) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.at(Dlg::combinableTree).checkable);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).checkable);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 3));
    paint.pages[0]->setControlText(samplePageControl, L"42");
    EXPECT_TRUE(dialog.isChanged());
    dialog.setData(&stream);
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 0);
    EXPECT_EQ(user.at(Dlg::pagesTab).selection, 0);
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgState, PagesBehindTheTabsHaveNoCaptionAndOneIsVisible) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    open(&stream);
    const Pages all = {paint.getPage(&dialog, 0), paint.getPage(&dialog, 1), lines.getPage(&dialog, 0),
                       lines.getPage(&dialog, 1)};
    for (KivPageDlg* const page : all) { // whatever a plug-in has done to it
        page->getWindow()->show(true);
        page->getWindow()->setCaption(true);
    }
    paint.setCurDialogIndex(1, &dialog);
    dialog.setData(&stream);
    EXPECT_EQ(shownPages(), Pages{all[0]});
    EXPECT_EQ(paint.getCurDialogIndex(&dialog), 0) << "the shown page is the one that the shader is left on";
    for (KivPageDlg* const page : all) {
        EXPECT_FALSE(record(page).caption);
    }
}

TEST_F(KivPropertiesDlgState, ASecondWindowStartsAfresh) {
    writeStyle(host.users, L"B", {L"Paint", {}});
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    const std::shared_ptr<WindowRecord> first = toolkit.windows[0];
    EXPECT_NE(dialog.DestroyWindow(), 0);
    writeStyle(host.users, L"A", {L"Wash", {}});
    writeStream(stream, L"", L"Unknown", L"");
    toolkit.windows.clear();
    toolkit.templates.clear();
    WindowRecord& user = open(&stream);
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), &paint) << "what was selected in the first window does not count";
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    EXPECT_EQ(KivTestAccess::base(dialog), &wash) << "nor do its styles";
}

TEST_F(KivPropertiesDlgState, AWindowThatEndsGivesThePictureBack) {
    host.setShowPreview(true);
    writeStream(stream, L"", L"Paint", L"");
    const std::shared_ptr<WindowRecord> user = (open(&stream), toolkit.windows[0]);
    ASSERT_NE(user->at(Dlg::previewPicture).picture, nullptr);
    dialog.DestroyWindow();
    EXPECT_EQ(user->at(Dlg::previewPicture).picture, nullptr);
}

TEST_F(KivPropertiesDlgState, TheSameTabAgainIsNoChange) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    paint.getPage(&dialog, 0)->getWindow()->show(false);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 0));
    EXPECT_TRUE(shownPages().empty());
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 1)});
    EXPECT_FALSE(dialog.isChanged()) << "looking at a page changes nothing";
}

// --- the box of the base look

TEST_F(KivPropertiesDlgState, WithoutTheBaseLookTheFirstCombinableShadersPageIsShown) {
    writeStream(stream, L"", L"Paint", L"Dots;Lines;");
    WindowRecord& user = open(&stream);
    lines.setCurDialogIndex(1, &dialog); // Lines is the first of the tree, Dots the first in the order of activation
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(KivTestAccess::base(dialog), nullptr);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 1);
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 3U);
    EXPECT_EQ(shownPages(), Pages{lines.getPage(&dialog, 0)});
    EXPECT_TRUE(dialog.isChanged());
    dialog.saveData();
    EXPECT_EQ(texts(stream)[1], L"NonCombinableShader:") << "though one is selected in the tree";
    paint.setCurDialogIndex(1, &dialog);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).enabled);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 1)}) << "the page that it was left on";
}

TEST_F(KivPropertiesDlgState, WithoutTheBaseLookAShaderThatIsOffDoesNotMatter) {
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    lines.setCurDialogIndex(1, &dialog); // the first of the tree, but off
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 0);
    EXPECT_EQ(shownPages(), Pages{dots.getPage(&dialog, 0)});
}

TEST_F(KivPropertiesDlgState, WithoutAnyShaderThereAreNoTabs) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_FALSE(user.at(Dlg::pagesTab).visible);
    EXPECT_FALSE(user.at(Dlg::pagesTab).enabled);
    EXPECT_TRUE(shownPages().empty());
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_TRUE(user.at(Dlg::pagesTab).visible);
    EXPECT_TRUE(user.at(Dlg::pagesTab).enabled);
    EXPECT_EQ(shownPages(), Pages{lines.getPage(&dialog, 0)});
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_FALSE(user.at(Dlg::pagesTab).visible);
    EXPECT_TRUE(shownPages().empty());
}

TEST_F(KivPropertiesDlgState, TheStateOfTheBoxCanBeSetWithoutAChange) {
    EXPECT_EQ(dialog.checkNonCombinableState(), 0) << "there is no window";
    dialog.setCheckNonCombinableState(1);
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    EXPECT_EQ(dialog.checkNonCombinableState(), 1);
    dialog.setCheckNonCombinableState(2);
    EXPECT_EQ(dialog.checkNonCombinableState(), 2);
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
}

TEST_F(KivPropertiesDlgState, AnotherBaseLookIsShownBoldAndAloneSo) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).items[1].bold);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_TRUE(dialog.isChanged());
    EXPECT_EQ(toolkit.timers.size(), 1U);
    dialog.changesWritten();
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_FALSE(dialog.isChanged()) << "the same one again";
}

// --- combinable shaders

TEST_F(KivPropertiesDlgState, AsManyCombinableShadersAsCanBeLoadedCanBeActive) {
    std::vector<std::unique_ptr<ShownCombinable>> many;
    Shaders table;
    std::wstring tags;
    for (int i = 0; i < kivMaxShaders; ++i) {
        many.push_back(std::make_unique<ShownCombinable>(L"Shader" + std::to_wstring(i), 1));
        table.push_back(many.back().get());
        tags += std::wstring(table.back()->getTag()) + L";";
    }
    ASSERT_EQ(table.size(), 32U);
    KivTestAccess::setShaders(table);
    KivMemoryDataManager first; // a line of the stream holds fewer characters than all the tags have
    writeStream(first, L"", L"", L"Shader0;");
    WindowRecord& user = open(&first);
    for (int i = 1; i < kivMaxShaders; ++i) {
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, i));
    }
    EXPECT_EQ(KivTestAccess::combinables(dialog), table);
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 32U);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 31));
    EXPECT_EQ(shownPages(), Pages{table[31]->getPage(&dialog, 0)});
    for (int i = 0; i < kivMaxShaders; ++i) {
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, i));
    }
    EXPECT_TRUE(KivTestAccess::combinables(dialog).empty());
    dialog.DestroyWindow();
    KivTestAccess::setShaders({});
}

TEST_F(KivPropertiesDlgState, AShaderThatIsNamedTwiceIsThereOnce) {
    writeStream(stream, L"", L"", L"Lines;Lines;;Unknown;Dots;");
    const WindowRecord& user = open(&stream);
    EXPECT_EQ(KivTestAccess::combinables(dialog), (Shaders{&lines, &dots}));
    EXPECT_EQ(user.at(Dlg::pagesTab).items.size(), 3U);
}

TEST_F(KivPropertiesDlgState, ADisplayNameGivesPagesWithoutACheckMark) {
    writeStream(stream, L"", L"", L"Test Lines;");
    const WindowRecord& user = open(&stream);
    EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&lines});
    EXPECT_EQ(checkedItems(user), 0);
}

TEST_F(KivPropertiesDlgState, SwitchingOffAShaderBesideTheShownTabKeepsTheTab) {
    writeStream(stream, L"", L"Paint", L"Lines;Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    paint.setCurDialogIndex(0, &dialog); // which does not matter here
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 1);
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 1)});
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 2));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 1));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 1) << "the page that the base look was left on";
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 1)});
}

TEST_F(KivPropertiesDlgState, AShaderThatIsSwitchedOnAgainStartsAtItsFirstPage) {
    writeStyle(host.users, L"Mine", {L"Paint", {L"Lines"}});
    writeStream(stream, L"Mine", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    ASSERT_EQ(user.at(Dlg::stylesCombo).selection, 0);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 3));
    EXPECT_EQ(lines.getCurDialogIndex(&dialog), 1);
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_TRUE(dialog.isChanged());
    EXPECT_TRUE(stream.isChanged());
    EXPECT_EQ(user.at(Dlg::stylesCombo).selection, -1);
    EXPECT_EQ(toolkit.timers.size(), 1U);
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_EQ(lines.getCurDialogIndex(&dialog), 0);
}

TEST_F(KivPropertiesDlgState, AShaderWithoutPagesShowsTheEmptyTabs) {
    ShownCombinable bare(L"Bare", 0);
    KivTestAccess::setShaders({&paint, &bare});
    writeStream(stream, L"", L"", L"");
    WindowRecord& user = open(&stream);
    ASSERT_FALSE(user.at(Dlg::pagesTab).visible);
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    EXPECT_TRUE(user.at(Dlg::pagesTab).visible);
    EXPECT_TRUE(user.at(Dlg::pagesTab).items.empty());
    dialog.DestroyWindow();
    KivTestAccess::setShaders({});
}

// A plug-in may say that it stands on no page.
TEST_F(KivPropertiesDlgState, FromNoTabTheNextShaderLeadsToTheFirst) {
    writeStream(stream, L"", L"", L"");
    WindowRecord& user = open(&stream);
    for (const bool loaded : {true, false}) {
        KivTestAccess::setShaders({&paint, &lines});
        paint.setCurDialogIndex(-1, &dialog);
        EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
        ASSERT_EQ(KivTestAccess::currentTab(dialog), -1);
        EXPECT_FALSE(user.at(Dlg::pagesTab).visible);
        KivTestAccess::setShaders(loaded ? Shaders{&paint, &lines} : Shaders{&paint});
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
        EXPECT_EQ(KivTestAccess::currentTab(dialog), 0) << "loaded " << loaded;
        EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
        EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    }
}

// --- the preview

TEST_F(KivPropertiesDlgState, ABurstOfEditsIsRenderedOnceWhenItHasEnded) {
    host.setShowPreview(true);
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_EQ(user.at(Dlg::previewBox).check, 1);
    const int before = paint.previews;
    for (const wchar_t* const value : {L"1", L"12", L"123"}) {
        paint.pages[0]->setControlText(samplePageControl, value);
        toolkit.passTime(399);
        EXPECT_EQ(paint.previews, before);
    }
    toolkit.passTime(1);
    EXPECT_EQ(paint.previews, before + 1);
    toolkit.passTime(4000);
    EXPECT_EQ(paint.previews, before + 1);
}

TEST_F(KivPropertiesDlgState, ThePreviewHasTheShadersThatAreOn) {
    host.setShowPreview(true);
    writeStream(stream, L"", L"Paint", L"Dots;");
    WindowRecord& user = open(&stream);
    EXPECT_EQ(paint.previews, 1);
    EXPECT_EQ(wash.previews, 0);
    EXPECT_EQ(lines.previews, 0);
    EXPECT_EQ(dots.previews, 1);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    toolkit.passTime(400);
    EXPECT_EQ(paint.previews, 1) << "its box is off";
    EXPECT_EQ(lines.previews, 1);
    EXPECT_EQ(dots.previews, 2);
}

TEST_F(KivPropertiesDlgState, WithoutAPreviewAStillPictureStandsForTheShaders) {
    paint.still = kivCreateBitmap({4, 4});
    dots.still = kivCreateBitmap({5, 5});
    lines.still = kivCreateBitmap({6, 6});
    writeStream(stream, L"", L"Paint", L"Dots;Lines;");
    WindowRecord& user = open(&stream);
    const auto width = [&user] {
        KivBitmapInfo info;
        return kivGetBitmapInfo(user.at(Dlg::previewPicture).picture, &info) ? info.width : 0;
    };
    EXPECT_EQ(width(), 4);
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    toolkit.passTime(400);
    EXPECT_EQ(width(), 5) << "the combinable shader that was activated first";
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 1));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    toolkit.passTime(400);
    EXPECT_EQ(width(), 0) << "there is none left";
    dialog.DestroyWindow();
    for (const HBITMAP still : {paint.still, dots.still, lines.still}) {
        EXPECT_TRUE(kivDeleteBitmap(still)) << "it stays its shader's";
    }
}

TEST_F(KivPropertiesDlgState, ThePreviewIsSmallAndPlainWhateverTheSettingsSay) {
    KivCommonSettings all;
    all.setAntialias(2);
    all.setRenderDim(true);
    all.setShadows(true);
    all.setTransparencies(true);
    all.setVectorial(true);
    all.setBackgroundColor(0x123456);
    KivTestAccess::fillPreviewSettings(&all);
    EXPECT_EQ(all.getAntialias(), 0);
    EXPECT_TRUE(all.getCustomSize());
    EXPECT_EQ(all.getResolution(), (SIZE{110, 110}));
    EXPECT_FALSE(all.doRenderDim());
    EXPECT_FALSE(all.doShadows());
    EXPECT_FALSE(all.doTransparencies());
    EXPECT_FALSE(all.doVectorial());
    EXPECT_EQ(all.getBackgroundColor(), 0x123456U) << "the rest is the host's";
    host.setShowPreview(true);
    settings.setResolution({640, 480});
    writeStream(stream, L"", L"Paint", L"");
    open(&stream);
    EXPECT_EQ(settings.getResolution(), (SIZE{640, 480})) << "the host's own settings stay as they are";
}

} // namespace
