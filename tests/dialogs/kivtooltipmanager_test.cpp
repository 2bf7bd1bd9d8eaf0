#include "kivrender/dialogs/kivtooltipmanager.h"

#include "kivrender/dialogs/kivdialog.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>

namespace {

// The numbers of texts.txt.
constexpr int plainControl = 60001; // any control
constexpr int expandingList = 60002;
constexpr int expandingListMixedCase = 60003;
constexpr int listWithTip = 60004;
constexpr int comboWithTheWord = 60005; // no list box
constexpr int listWithLongerWord = 60006;
constexpr int unknownControl = 60007;
constexpr int unknownList = 60008;

// A plug-in's dialog: it has the library do its tips.
class DialogWithTips : public KivDialog {
public:
    DialogWithTips() : KivDialog(1) {}

protected:
    void onControl(const KivControlEvent& event) override {
        KivTooltipManager::tooltipPreTranslateMessage(event, *this);
    }
};

class KivTooltipManagerTest : public testing::Test {
protected:
    KivTooltipManagerTest() : former(kivGetLangResourceDll()) {
        const std::wstring module = kivFromUtf8(TEST_MODULES) + L"/selvarin-dialogs" + kivModuleEnding();
        EXPECT_NE(kivLoadLangResourceDLL(module.c_str()), 0);
        EXPECT_NE(dialog.Create(1, nullptr), 0);
        for (int control = plainControl; control <= unknownList; ++control) {
            user().controls[control].items = {{L"first row"}, {L"second row"}, {L""}};
            user().controls[control].listBox = control != plainControl && control != comboWithTheWord;
        }
    }
    ~KivTooltipManagerTest() override {
        if (!former.empty()) {
            kivLoadLangResourceDLL(former.c_str());
        }
    }
    WindowRecord& user() {
        return *toolkit.windows[0];
    }
    std::wstring tip(int control) {
        return user().at(control).toolTip;
    }

    std::wstring former;
    RecordingToolkit toolkit;
    DialogWithTips dialog;
};

TEST_F(KivTooltipManagerTest, ControlsHaveTheTextsOfTheirNumbersAsTips) {
    user().controls[unknownControl].toolTip = L"of the template";
    KivTooltipManager::tooltipOnInitDialog(dialog);
    EXPECT_EQ(tip(plainControl), L"Thickness of the lines");
    EXPECT_EQ(tip(listWithTip), L"A list of papers");
    EXPECT_EQ(tip(expandingList), L"TOOLTIPEXPAND") << "until the mouse comes";
    EXPECT_EQ(tip(unknownControl), L"of the template") << "no text has this number";
    EXPECT_EQ(tip(unknownList), L"");
    EXPECT_EQ(user().controls.size(), 8U) << "nothing but what the window has was touched";
}

TEST_F(KivTooltipManagerTest, AListBoxShowsTheRowUnderTheCursor) {
    KivTooltipManager::tooltipOnInitDialog(dialog);
    for (const int list : {expandingList, expandingListMixedCase}) {
        user().point(list, 1);
        EXPECT_EQ(tip(list), L"second row");
        user().point(list, 0);
        EXPECT_EQ(tip(list), L"first row");
        user().point(list, 2);
        EXPECT_EQ(tip(list), L"") << "an empty row has nothing to say";
    }
}

TEST_F(KivTooltipManagerTest, OutsideAllRowsTheTipIsHidden) {
    for (const int outside : {-1, 3, 1000}) {
        user().point(expandingList, 0);
        ASSERT_EQ(tip(expandingList), L"first row");
        user().point(expandingList, outside);
        EXPECT_EQ(tip(expandingList), L"") << "row " << outside;
    }
    user().controls[expandingList].items.clear();
    user().controls[expandingList].toolTip = L"of a row that is gone";
    user().point(expandingList, 0);
    EXPECT_EQ(tip(expandingList), L"");
}

TEST_F(KivTooltipManagerTest, AnyOtherControlKeepsItsTip) {
    KivTooltipManager::tooltipOnInitDialog(dialog);
    for (int control = plainControl; control <= unknownList; ++control) {
        if (control == expandingList || control == expandingListMixedCase) {
            continue;
        }
        const std::wstring before = tip(control);
        user().point(control, 1);
        EXPECT_EQ(tip(control), before) << "control " << control;
        user().point(control, -1);
        EXPECT_EQ(tip(control), before) << "control " << control;
    }
    EXPECT_EQ(tip(comboWithTheWord), L"TOOLTIPEXPAND") << "the word is for list boxes alone";
    EXPECT_EQ(tip(listWithLongerWord), L"TOOLTIPEXPANDED") << "the word is the whole text";
}

TEST_F(KivTooltipManagerTest, OnlyTheMouseOverTheDialogsOwnControlsCounts) {
    for (const KivControlChange change :
         {KivControlChange::clicked, KivControlChange::selected, KivControlChange::edited, KivControlChange::focused,
          KivControlChange::left, KivControlChange::checkToggle, KivControlChange::resized}) {
        user().tell(expandingList, change, 1);
        EXPECT_EQ(tip(expandingList), L"") << "change " << static_cast<int>(change);
    }
    user().point(expandingList, 1);
    EXPECT_EQ(tip(expandingList), L"second row");
    user().controls.erase(expandingList);
    user().point(expandingList, 1);
    EXPECT_EQ(user().controls.count(expandingList), 0U) << "a control that the dialog does not have";
}

TEST_F(KivTooltipManagerTest, WithoutAWindowThereAreNoTips) {
    dialog.DestroyWindow();
    KivTooltipManager::tooltipOnInitDialog(dialog);
    KivTooltipManager::tooltipPreTranslateMessage({expandingList, KivControlChange::pointed, 1}, dialog);
    EXPECT_EQ(tip(plainControl), L"");
    EXPECT_EQ(tip(expandingList), L"");
}

} // namespace
