#include "kivrender/dialogs/kivoptionsdlg.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "support/recordingtoolkit.h"
#include "support/testhost.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using Dlg = KivOptionsDlg;

constexpr int vectorControls[] = {Dlg::vectorField, Dlg::vectorBrowse, Dlg::speedFirst, Dlg::speedSecond,
                                  Dlg::simplifyBox};
constexpr int antialiasControls[] = {Dlg::antialiasLabel, Dlg::antialiasNone, Dlg::antialiasTwo, Dlg::antialiasFour};
constexpr int fileControls[] = {Dlg::renderField, Dlg::renderBrowse, Dlg::saveShadowsBox, Dlg::saveDepthBox};

class KivOptionsDlgTest : public testing::Test {
protected:
    // The dialog on what is in stored.
    WindowRecord& open(SIZE proportions = {4, 3}) {
        EXPECT_TRUE(stored.saveDataOnHost(&store));
        EXPECT_NE(dialog.Create(nullptr, &store, proportions, nullptr), 0);
        WindowRecord& user = *toolkit.windows.back();
        user.groups = {{Dlg::antialiasNone, Dlg::antialiasTwo, Dlg::antialiasFour},
                       {Dlg::speedFirst, Dlg::speedSecond}};
        return user;
    }
    KivCommonSettings apply() {
        EXPECT_TRUE(dialog.OnApply());
        KivCommonSettings kept;
        EXPECT_TRUE(kept.loadDataFromHost(&store));
        return kept;
    }
    template <std::size_t count>
    static void expectEnabled(const WindowRecord& user, const int (&controls)[count], bool enabled) {
        for (const int control : controls) {
            EXPECT_EQ(user.at(control).enabled, enabled) << "control " << control;
        }
    }

    TestHost host;
    RecordingToolkit toolkit;
    KivMemoryCommonDataManager store;
    KivCommonSettings stored;
    KivOptionsDlg dialog;
};

TEST_F(KivOptionsDlgTest, ASizeOfTheListSelectsItsEntryAndKeepsTheFieldsDisabled) {
    stored.setCustomSize(true);
    stored.setResolution({800, 600});
    const WindowRecord& user = open();
    EXPECT_EQ(user.at(Dlg::sizeChoice).items.size(), 6U);
    EXPECT_EQ(user.at(Dlg::sizeChoice).selection, 2);
    EXPECT_FALSE(user.at(Dlg::widthField).enabled);
    EXPECT_FALSE(user.at(Dlg::heightField).enabled);
    EXPECT_FALSE(user.at(Dlg::aspectBox).enabled);
    EXPECT_EQ(apply().getResolution(), (SIZE{800, 600}));
}

TEST_F(KivOptionsDlgTest, AnyOtherSizeEnablesTheFields) {
    stored.setCustomSize(true);
    stored.setResolution({801, 600});
    const WindowRecord& user = open();
    EXPECT_EQ(user.at(Dlg::sizeChoice).selection, 5);
    EXPECT_TRUE(user.at(Dlg::widthField).enabled);
    EXPECT_EQ(user.at(Dlg::widthField).text, L"801");
}

TEST_F(KivOptionsDlgTest, TheSizeChosenIsTheSizeKept) {
    stored.setResolution({10, 20});
    WindowRecord& user = open();
    EXPECT_EQ(user.at(Dlg::sizeChoice).selection, 0) << "a size of the view, whatever the numbers";
    EXPECT_TRUE(user.choose(Dlg::sizeChoice, 4));
    EXPECT_FALSE(user.at(Dlg::widthField).enabled);
    EXPECT_EQ(apply().getResolution(), (SIZE{1280, 960}));
    EXPECT_TRUE(apply().getCustomSize());
    EXPECT_TRUE(user.choose(Dlg::sizeChoice, 5));
    EXPECT_TRUE(user.type(Dlg::widthField, L"no number"));
    EXPECT_EQ(apply().getResolution(), (SIZE{0, 960}));
    EXPECT_TRUE(user.choose(Dlg::sizeChoice, 0));
    EXPECT_FALSE(user.at(Dlg::widthField).enabled);
    EXPECT_FALSE(apply().getCustomSize());
}

TEST_F(KivOptionsDlgTest, LockedProportionsAreThoseOfTheHostTruncated) {
    stored.setCustomSize(true);
    stored.setResolution({801, 600});
    host.numbers[{false, L"BlockAspectRatio"}] = 7;
    WindowRecord& user = open({16, 9});
    EXPECT_EQ(user.at(Dlg::aspectBox).check, 1);
    EXPECT_TRUE(user.type(Dlg::widthField, L"101"));
    EXPECT_EQ(user.at(Dlg::heightField).text, L"56");
    EXPECT_EQ(user.at(Dlg::widthField).text, L"101") << "the answer does not come back";
    EXPECT_TRUE(user.type(Dlg::heightField, L"100"));
    EXPECT_EQ(user.at(Dlg::widthField).text, L"177");
    EXPECT_TRUE(user.clickCheck(Dlg::aspectBox));
    EXPECT_TRUE(user.type(Dlg::widthField, L"5"));
    EXPECT_EQ(user.at(Dlg::heightField).text, L"100");
    apply();
    EXPECT_EQ((host.numbers[{false, L"BlockAspectRatio"}]), 0U);
}

TEST_F(KivOptionsDlgTest, ProportionsThatCannotBeDividedByGiveZero) {
    stored.setCustomSize(true);
    stored.setResolution({801, 600});
    host.numbers[{false, L"BlockAspectRatio"}] = 1;
    WindowRecord& user = open({0, 0});
    EXPECT_TRUE(user.type(Dlg::heightField, L"100"));
    EXPECT_EQ(user.at(Dlg::widthField).text, L"0");
}

TEST_F(KivOptionsDlgTest, VectorOutputExcludesPassesAndRenderFile) {
    stored.setSaveVectorFile(L"/a.svg");
    stored.setSaveRenderFile(L"/a.png");
    stored.setTransparencies(true);
    stored.setShadows(true);
    stored.setSaveRender(true);
    WindowRecord& user = open();
    EXPECT_TRUE(user.at(Dlg::saveShadowsBox).enabled);
    EXPECT_TRUE(user.at(Dlg::saveDepthBox).enabled);
    EXPECT_FALSE(user.at(Dlg::renderField).enabled) << "even though the render goes to a file";
    EXPECT_FALSE(user.at(Dlg::renderBrowse).enabled);
    EXPECT_TRUE(user.clickCheck(Dlg::vectorialBox));
    EXPECT_TRUE(toolkit.files.empty()) << "the field has a name";
    for (const int box : {Dlg::transparenciesBox, Dlg::shadowsBox, Dlg::saveRenderBox}) {
        EXPECT_EQ(user.at(box).check, 0);
    }
    expectEnabled(user, vectorControls, true);
    expectEnabled(user, antialiasControls, false);
    expectEnabled(user, fileControls, false);
    EXPECT_TRUE(user.clickCheck(Dlg::saveRenderBox));
    EXPECT_EQ(user.at(Dlg::vectorialBox).check, 0);
    expectEnabled(user, vectorControls, false);
    expectEnabled(user, antialiasControls, true);
    EXPECT_TRUE(user.at(Dlg::saveDepthBox).enabled);
    EXPECT_FALSE(user.at(Dlg::saveShadowsBox).enabled) << "there are no shadows";
    EXPECT_TRUE(user.clickCheck(Dlg::shadowsBox));
    expectEnabled(user, fileControls, true);
    EXPECT_TRUE(user.clickCheck(Dlg::shadowsBox));
    EXPECT_FALSE(user.at(Dlg::saveShadowsBox).enabled);
    EXPECT_TRUE(user.clickCheck(Dlg::saveRenderBox));
    expectEnabled(user, fileControls, false);
}

TEST_F(KivOptionsDlgTest, ACancelledFileLeavesAllBoxesAsTheyWere) {
    stored.setTransparencies(true);
    stored.setShadows(true);
    WindowRecord& user = open();
    const auto before = user.controls;
    for (const int box : {Dlg::vectorialBox, Dlg::saveRenderBox}) {
        EXPECT_TRUE(user.clickCheck(box));
        EXPECT_EQ(user.at(box).check, 0);
        for (const auto& [control, state] : before) {
            EXPECT_EQ(user.at(control).check, state.check) << "control " << control;
            EXPECT_EQ(user.at(control).enabled, state.enabled) << "control " << control;
        }
    }
    EXPECT_EQ(toolkit.files.size(), 2U);
    toolkit.pickedFile = L"/picked.svg";
    EXPECT_TRUE(user.clickCheck(Dlg::vectorialBox));
    EXPECT_EQ(user.at(Dlg::vectorialBox).check, 1);
    EXPECT_EQ(user.at(Dlg::vectorField).text, L"/picked.svg");
    EXPECT_EQ(apply().getSaveVectorFile(), L"/picked.svg");
}

TEST_F(KivOptionsDlgTest, AnEmptyFolderIsTheDefaultOne) {
    ASSERT_TRUE(kivLoadLanguage(L"en"));
    host.memoryFolder = L"/scratch";
    WindowRecord& user = open();
    EXPECT_EQ(user.at(Dlg::folderField).text, L"/scratch");
    apply();
    EXPECT_EQ((host.strings[{false, L"VirtualMemory"}]), L"/scratch");
    EXPECT_TRUE(user.type(Dlg::folderField, L""));
    EXPECT_TRUE(user.focusOn(Dlg::paperField));
    EXPECT_EQ(user.at(Dlg::folderField).text, L"(default folder)");
    apply();
    EXPECT_EQ((host.strings[{false, L"VirtualMemory"}]), L"");
    toolkit.pickedFolder = L"/other";
    EXPECT_TRUE(user.click(Dlg::folderBrowse));
    EXPECT_EQ(toolkit.folderTitles, std::vector<std::wstring>{kivText(99)});
    apply();
    EXPECT_EQ((host.strings[{false, L"VirtualMemory"}]), L"/other");
}

TEST_F(KivOptionsDlgTest, ColoursAreKeptAtOnceUnlessCancelled) {
    stored.setAmbientLight(0x112233);
    WindowRecord& user = open();
    EXPECT_TRUE(user.at(Dlg::ambientCaption).link);
    EXPECT_TRUE(user.click(Dlg::ambientColor));
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x112233U);
    toolkit.pickedColor = 0x445566;
    EXPECT_TRUE(user.click(Dlg::backgroundColor));
    EXPECT_EQ(dialog.getCommonSettings().getBackgroundColor(), 0x445566U);
    EXPECT_EQ(user.at(Dlg::backgroundColor).fill, 0x445566U);
}

TEST_F(KivOptionsDlgTest, IsShownAndHiddenByItsFrame) {
    const WindowRecord& user = open();
    EXPECT_EQ(dialog.OnActivate(1), 1);
    EXPECT_TRUE(user.visible);
    dialog.OnCancel();
    EXPECT_TRUE(user.visible) << "the frame decides";
    EXPECT_EQ(dialog.OnActivate(0), 1);
    EXPECT_FALSE(user.visible);
    KivOptionsDlg none;
    EXPECT_EQ(none.Create(nullptr, nullptr, {4, 3}, nullptr), 0);
    EXPECT_FALSE(none.OnApply());
}

TEST_F(KivOptionsDlgTest, VectorOutputNeverMeetsWhatItExcludesWhateverTheUserDoes) {
    std::mt19937 words(20260);
    WindowRecord& user = open();
    for (int step = 0; step < 5000; ++step) {
        toolkit.pickedFile.reset();
        if (words() % 2 == 0) {
            toolkit.pickedFile = L"/picked.svg";
        }
        const int boxes[] = {Dlg::transparenciesBox, Dlg::shadowsBox,   Dlg::vectorialBox, Dlg::saveRenderBox,
                             Dlg::saveShadowsBox,    Dlg::saveDepthBox, Dlg::simplifyBox,  Dlg::isoparamsBox};
        user.clickCheck(boxes[words() % std::size(boxes)]);
        user.type(words() % 2 == 0 ? Dlg::vectorField : Dlg::renderField, words() % 2 == 0 ? L"" : L"/typed.svg");
        user.choose(Dlg::sizeChoice, static_cast<int>(words() % 6));
        const bool vectorial = user.at(Dlg::vectorialBox).check == 1;
        expectEnabled(user, vectorControls, vectorial);
        expectEnabled(user, antialiasControls, !vectorial);
        for (const int excluded : {Dlg::transparenciesBox, Dlg::shadowsBox, Dlg::saveRenderBox}) {
            EXPECT_FALSE(vectorial && user.at(excluded).check == 1) << "step " << step;
        }
        EXPECT_EQ(user.at(Dlg::widthField).enabled, user.at(Dlg::sizeChoice).selection == 5);
        const KivCommonSettings kept = apply();
        EXPECT_EQ(kept.doVectorial(), vectorial);
        EXPECT_EQ(kept.doShadows(), user.at(Dlg::shadowsBox).check == 1);
        if (HasFailure()) {
            return;
        }
    }
}

} // namespace
