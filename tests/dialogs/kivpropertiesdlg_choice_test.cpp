// Where a choice leads: to which shader, to which of its pages, and in what order the host hears of it.
#include "dialogs/propertiesfixture.h"

#include <functional>

namespace {

using Shaders = std::vector<KivShader*>;
using Pages = std::vector<KivPageDlg*>;

class KivPropertiesDlgChoice : public KivPropertiesDlgTest {};

TEST_F(KivPropertiesDlgChoice, ABaseLookComesBackOnThePageThatItWasLeftOn) {
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::pagesTab, 1));
    ASSERT_EQ(paint.getCurDialogIndex(&dialog), 1);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_EQ(shownPages(), Pages{wash.getPage(&dialog, 0)});
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 0));
    EXPECT_EQ(KivTestAccess::currentTab(dialog), 1);
    EXPECT_EQ(user.at(Dlg::pagesTab).selection, 1);
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 1)});
}

TEST_F(KivPropertiesDlgChoice, ASelectionOfTheCurrentBaseLookMovesNoMoreThanTheBoldItem) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    user.controls[Dlg::nonCombinableTree].selection = 1;
    EXPECT_TRUE(user.focusOn(Dlg::nonCombinableTree));
    ASSERT_EQ(KivTestAccess::base(dialog), &wash) << "the keyboard came before the new selection was told";
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_TRUE(user.at(Dlg::nonCombinableTree).items[1].bold);
    EXPECT_EQ(KivTestAccess::base(dialog), &wash);
    EXPECT_FALSE(dialog.isChanged());
    EXPECT_TRUE(toolkit.timers.empty());
}

TEST_F(KivPropertiesDlgChoice, ASelectionThatGoesKeepsTheBaseLook) {
    writeStream(stream, L"", L"Paint", L"");
    WindowRecord& user = open(&stream);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, -1));
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_EQ(KivTestAccess::base(dialog), &paint);
    EXPECT_EQ(shownPages(), Pages{paint.getPage(&dialog, 0)});
    EXPECT_FALSE(dialog.isChanged());
}

// Switches the base look off in the box when its pages are made.
class ReluctantBaseLook : public ShownBaseLook {
public:
    using ShownBaseLook::ShownBaseLook;
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg* parent) override {
        ShownBaseLook::createPages(dlg, parent);
        dlg->setCheckNonCombinableState(0);
    }
};

TEST_F(KivPropertiesDlgChoice, ABaseLookIsBoldOnlyWhileItsBoxIsOn) {
    ReluctantBaseLook reluctant(L"Reluctant", 1);
    KivTestAccess::setShaders({&paint, &reluctant});
    writeStream(stream, L"", L"Reluctant", L"");
    const WindowRecord& user = open(&stream);
    ASSERT_EQ(user.at(Dlg::nonCombinableBox).check, 0);
    EXPECT_EQ(user.at(Dlg::nonCombinableTree).selection, 1);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[0].bold);
    EXPECT_FALSE(user.at(Dlg::nonCombinableTree).items[1].bold);
    dialog.DestroyWindow();
    KivTestAccess::setShaders({});
}

// Tells whether its dialog heard of changes while its pages were made.
template <class Shown> class Noting : public Shown {
public:
    using Shown::Shown;
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg* parent) override {
        deaf.push_back(KivTestAccess::updating(*dlg));
        Shown::createPages(dlg, parent);
    }

    std::vector<bool> deaf;
};

// Whatever a page does to its dialog meanwhile, it is no user.
TEST_F(KivPropertiesDlgChoice, TheDialogIsDeafWhileItActsForItsUser) {
    Noting<ShownBaseLook> base(L"Base", 1);
    Noting<ShownCombinable> more(L"More", 1);
    KivTestAccess::setShaders({&paint, &base, &more});
    writeStream(stream, L"", L"Base", L"");
    WindowRecord& user = open(&stream);
    const auto expectDeaf = [](std::vector<bool>& deaf) {
        EXPECT_FALSE(deaf.empty());
        EXPECT_EQ(std::count(deaf.begin(), deaf.end(), false), 0);
        deaf.clear();
    };
    expectDeaf(base.deaf);
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 0));
    base.deaf.clear();
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    expectDeaf(base.deaf);
    for (int click = 0; click < 2; ++click) {
        EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    }
    expectDeaf(base.deaf);
    more.deaf.clear();
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 0));
    expectDeaf(more.deaf);
    dialog.setActive(true);
    dialog.setActive(false);
    base.deaf.clear();
    EXPECT_TRUE(user.focusOn(Dlg::nonCombinableTree));
    expectDeaf(base.deaf);
    EXPECT_FALSE(KivTestAccess::updating(dialog));
    dialog.DestroyWindow();
    KivTestAccess::setShaders({});
}

class NamedCombinable : public ShownCombinable {
public:
    NamedCombinable(const std::wstring& shaderTag, const std::wstring& shaderName) : ShownCombinable(shaderTag, 1) {
        name = shaderName;
    }
};

// The check mark goes by the tag alone, the pages by the name first.
TEST_F(KivPropertiesDlgChoice, ACombinableShaderIsFoundByItsNameBeforeItsTag) {
    NamedCombinable tagged(L"Ink", L"Pen");
    NamedCombinable named(L"Brush", L"Ink");
    for (const Shaders& table : {Shaders{&tagged, &named}, Shaders{&named, &tagged}}) {
        KivTestAccess::setShaders(table);
        writeStream(stream, L"", L"", L"Ink;");
        const WindowRecord& user = open(&stream);
        EXPECT_EQ(KivTestAccess::combinables(dialog), Shaders{&named});
        for (const WindowRecord::Item& item : user.at(Dlg::combinableTree).items) {
            EXPECT_EQ(item.checked, item.text == L"Pen");
        }
        dialog.DestroyWindow();
        toolkit.windows.clear();
        toolkit.templates.clear();
    }
    KivTestAccess::setShaders({});
}

// Whoever keeps a reference keeps a plug-in from being unloaded for good.
TEST_F(KivPropertiesDlgChoice, NoShaderIsHeldBehindWhatAUserDoes) {
    writeStyle(host.users, L"Mine", {L"Wash", {L"Lines"}});
    writeStream(stream, L"", L"Paint", L"Lines;");
    WindowRecord& user = open(&stream);
    const auto expectFree = [](const char* step) {
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader* const shader = KivShader::getByIndex(i);
            EXPECT_EQ(shader->addRef(), 2U) << step << ", shader " << i;
            shader->release();
        }
    };
    expectFree("opened, with still pictures");
    dialog.saveData();
    expectFree("saved");
    EXPECT_TRUE(user.choose(Dlg::nonCombinableTree, 1));
    EXPECT_TRUE(user.toggle(Dlg::combinableTree, 1));
    EXPECT_TRUE(user.clickCheck(Dlg::nonCombinableBox));
    expectFree("chosen");
    EXPECT_TRUE(user.choose(Dlg::stylesCombo, 0));
    expectFree("a style loaded");
    EXPECT_TRUE(user.clickCheck(Dlg::previewBox));
    toolkit.passTime(400);
    expectFree("a preview drawn");
    dialog.DestroyWindow();
    expectFree("closed");
}

class ListeningWindow : public RecordingWindow {
public:
    using RecordingWindow::RecordingWindow;
    void receive(unsigned int message, std::uintptr_t wParam, std::intptr_t lParam) override {
        RecordingWindow::receive(message, wParam, lParam);
        onReceive();
    }

    std::function<void()> onReceive;
};

TEST_F(KivPropertiesDlgChoice, TheHostHearsOfThePreviewOnceItIsShown) {
    ListeningWindow listener(parentRecord);
    writeStream(stream, L"", L"Paint", L"");
    EXPECT_NE(dialog.Create(&stream, &settings, Dlg::propertiesTemplate, &listener), 0);
    WindowRecord& user = *toolkit.windows.front();
    const int before = user.redraws;
    int heard = 0;
    listener.onReceive = [&] {
        ++heard;
        EXPECT_EQ(user.redraws, before + 1) << "the preview comes first";
        EXPECT_EQ(toolkit.timers.size(), 1U) << "and the timer ends last";
    };
    dialog.resetStyle();
    toolkit.passTime(400);
    EXPECT_EQ(heard, 1);
    ASSERT_EQ(parentRecord->received.size(), 1U);
    EXPECT_EQ(parentRecord->received[0].wParam, 0U);
    EXPECT_EQ(parentRecord->received[0].lParam, 0);
    EXPECT_TRUE(toolkit.timers.empty());
}

} // namespace
