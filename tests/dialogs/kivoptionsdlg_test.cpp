#include "kivrender/dialogs/kivoptionsdlg.h"

#include "dialogs/optionsfixture.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/settings/kivmemorydatamanager.h"

namespace {

using Dlg = KivOptionsDlg;

constexpr int vectorControls[] = {Dlg::vectorField, Dlg::vectorBrowse, Dlg::speedFirst, Dlg::speedSecond,
                                  Dlg::simplifyBox};
constexpr int antialiasControls[] = {Dlg::antialiasLabel, Dlg::antialiasNone, Dlg::antialiasTwo, Dlg::antialiasFour};
constexpr int fileControls[] = {Dlg::renderField, Dlg::renderBrowse, Dlg::saveShadowsBox, Dlg::saveDepthBox};

template <std::size_t count> void expectEnabled(const WindowRecord& user, const int (&controls)[count], bool enabled) {
    for (const int control : controls) {
        EXPECT_EQ(user.at(control).enabled, enabled) << "control " << control;
    }
}

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

TEST_F(KivOptionsDlgTest, ASizeOfTheListMustMatchInBothNumbers) {
    stored.setCustomSize(true);
    for (const SIZE& size : {SIZE{800, 601}, SIZE{801, 600}, SIZE{640, 600}, SIZE{600, 800}}) {
        stored.setResolution(size);
        const WindowRecord& user = open();
        EXPECT_EQ(user.at(Dlg::sizeChoice).selection, 5) << size.cx << "x" << size.cy;
        EXPECT_TRUE(user.at(Dlg::widthField).enabled);
        EXPECT_EQ(apply().getResolution(), size);
    }
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

TEST_F(KivOptionsDlgTest, TheCaptionsOfTheColoursLeadToTheirPickers) {
    stored.setAmbientLight(0x112233);
    stored.setBackgroundColor(0x778899);
    WindowRecord& user = open();
    EXPECT_TRUE(user.at(Dlg::ambientCaption).link);
    EXPECT_TRUE(user.at(Dlg::backgroundCaption).link);
    EXPECT_EQ(user.at(Dlg::backgroundCaption).linkColor, 0xff0000U);
    toolkit.pickedColor = 0x445566;
    EXPECT_TRUE(user.click(Dlg::ambientCaption));
    EXPECT_EQ(user.beeps, 1) << "a link without any text leads nowhere";
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x112233U);
    user.controls[Dlg::ambientCaption].text = L"Ambient light";
    user.controls[Dlg::backgroundCaption].text = L"Background colour";
    EXPECT_TRUE(user.click(Dlg::ambientCaption));
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x445566U);
    EXPECT_EQ(user.at(Dlg::ambientColor).fill, 0x445566U);
    EXPECT_EQ(dialog.getCommonSettings().getBackgroundColor(), 0x778899U);
    toolkit.pickedColor = 0xABCDEF;
    EXPECT_TRUE(user.click(Dlg::backgroundCaption));
    EXPECT_EQ(dialog.getCommonSettings().getBackgroundColor(), 0xABCDEFU);
    EXPECT_EQ(user.at(Dlg::backgroundColor).fill, 0xABCDEFU);
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x445566U);
    toolkit.pickedColor.reset();
    EXPECT_TRUE(user.click(Dlg::ambientCaption));
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x445566U) << "cancelled";
    EXPECT_EQ(user.beeps, 1);
}

TEST_F(KivOptionsDlgTest, ColoursAreKeptAtOnceUnlessCancelled) {
    stored.setAmbientLight(0x112233);
    stored.setBackgroundColor(0x778899);
    WindowRecord& user = open();
    EXPECT_EQ(user.at(Dlg::ambientColor).fill, 0x112233U);
    EXPECT_EQ(user.at(Dlg::backgroundColor).fill, 0x778899U);
    EXPECT_TRUE(user.at(Dlg::ambientCaption).link);
    EXPECT_TRUE(user.click(Dlg::ambientColor));
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x112233U);
    toolkit.pickedColor = 0x445566;
    EXPECT_TRUE(user.click(Dlg::backgroundColor));
    EXPECT_EQ(dialog.getCommonSettings().getBackgroundColor(), 0x445566U);
    EXPECT_EQ(user.at(Dlg::backgroundColor).fill, 0x445566U);
    EXPECT_EQ(dialog.getCommonSettings().getAmbientLight(), 0x112233U);
    const KivCommonSettings kept = apply();
    EXPECT_EQ(kept.getAmbientLight(), 0x112233U);
    EXPECT_EQ(kept.getBackgroundColor(), 0x445566U);
    toolkit.pickedColor = 0x010203;
    EXPECT_TRUE(user.click(Dlg::ambientColor));
    EXPECT_EQ(apply().getAmbientLight(), 0x010203U);
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

// --- pickers

TEST_F(KivOptionsDlgTest, ImagesAreBrowsedForAsFilesToOpen) {
    stored.setBackgroundImage(L"/sky.png");
    stored.setPaperImage(L"/grain.png");
    WindowRecord& user = open();
    const struct {
        int browse;
        int field;
        const wchar_t* before;
    } images[] = {{Dlg::backgroundBrowse, Dlg::backgroundField, L"/sky.png"},
                  {Dlg::paperBrowse, Dlg::paperField, L"/grain.png"}};
    for (const auto& image : images) {
        EXPECT_EQ(user.at(image.field).text, image.before);
        toolkit.pickedFile.reset();
        EXPECT_TRUE(user.click(image.browse));
        EXPECT_EQ(user.at(image.field).text, image.before) << "it was cancelled";
        toolkit.pickedFile = std::wstring(L"/new") + image.before;
        EXPECT_TRUE(user.click(image.browse));
        EXPECT_EQ(user.at(image.field).text, *toolkit.pickedFile);
    }
    ASSERT_EQ(toolkit.files.size(), 4U);
    for (const RecordingToolkit::FileQuestion& question : toolkit.files) {
        EXPECT_TRUE(question.open);
    }
    const KivCommonSettings kept = apply();
    EXPECT_EQ(kept.getBackgroundImage(), L"/new/sky.png");
    EXPECT_EQ(kept.getPaperImage(), L"/new/grain.png");
}

// The buttons are disabled until the form has the one output or the other.
TEST_F(KivOptionsDlgTest, FilesToWriteAreBrowsedForAsFilesToSave) {
    stored.setSaveRenderFile(L"/a.png");
    stored.setSaveVectorFile(L"/a.svg");
    WindowRecord& user = open();
    const struct {
        int box;
        int browse;
        int field;
        const wchar_t* before;
        const wchar_t* picked;
    } outputs[] = {{Dlg::saveRenderBox, Dlg::renderBrowse, Dlg::renderField, L"/a.png", L"/b.png"},
                   {Dlg::vectorialBox, Dlg::vectorBrowse, Dlg::vectorField, L"/a.svg", L"/b.svg"}};
    for (const auto& output : outputs) {
        EXPECT_FALSE(user.click(output.browse));
        EXPECT_TRUE(user.clickCheck(output.box));
        toolkit.pickedFile.reset();
        EXPECT_TRUE(user.click(output.browse));
        EXPECT_EQ(user.at(output.field).text, output.before) << "it was cancelled";
        EXPECT_EQ(user.at(output.box).check, 1) << "what comes of browsing does not matter to the box";
        toolkit.pickedFile = output.picked;
        EXPECT_TRUE(user.click(output.browse));
        EXPECT_EQ(user.at(output.field).text, output.picked);
        user.controls[output.field].text.clear();
        toolkit.pickedFile.reset();
        EXPECT_TRUE(user.click(output.browse));
        EXPECT_EQ(user.at(output.field).text, L"");
        EXPECT_EQ(user.at(output.box).check, 1);
        user.controls[output.field].text = output.picked;
    }
    ASSERT_EQ(toolkit.files.size(), 6U);
    for (const RecordingToolkit::FileQuestion& question : toolkit.files) {
        EXPECT_FALSE(question.open);
    }
    const KivCommonSettings kept = apply();
    EXPECT_EQ(kept.getSaveRenderFile(), L"/b.png");
    EXPECT_EQ(kept.getSaveVectorFile(), L"/b.svg");
}

TEST_F(KivOptionsDlgTest, ACancelledFolderLeavesTheField) {
    host.memoryFolder = L"/scratch";
    WindowRecord& user = open();
    EXPECT_TRUE(user.click(Dlg::folderBrowse));
    EXPECT_EQ(toolkit.folderTitles.size(), 1U);
    EXPECT_EQ(user.at(Dlg::folderField).text, L"/scratch");
    apply();
    EXPECT_EQ((host.strings[{false, L"VirtualMemory"}]), L"/scratch");
}

// Names cross the host in buffers of 260 characters with the closing zero.
TEST_F(KivOptionsDlgTest, NamesThatAreTooLongAreCut) {
    const std::wstring longest = L"/" + std::wstring(kivMaxPath - 2, L'n');
    const std::wstring typed = std::wstring(400, L't');
    stored.setSaveRenderFile(L"/a.png");
    stored.setSaveVectorFile(L"/a.svg");
    WindowRecord& user = open();
    toolkit.pickedFile = longest + L"and more";
    toolkit.pickedFolder = longest + L"and more";
    const struct {
        int box;
        int browse;
        int field;
    } pickers[] = {{0, Dlg::backgroundBrowse, Dlg::backgroundField},
                   {0, Dlg::paperBrowse, Dlg::paperField},
                   {0, Dlg::folderBrowse, Dlg::folderField},
                   {Dlg::saveRenderBox, Dlg::renderBrowse, Dlg::renderField},
                   {Dlg::vectorialBox, Dlg::vectorBrowse, Dlg::vectorField}};
    for (const auto& picker : pickers) {
        EXPECT_TRUE(picker.box == 0 || user.clickCheck(picker.box));
        EXPECT_TRUE(user.type(picker.field, typed)); // what stands there is the wish
        EXPECT_TRUE(user.click(picker.browse));
        EXPECT_EQ(user.at(picker.field).text, longest) << "field " << picker.field;
    }
    EXPECT_TRUE(user.type(Dlg::paperField, typed));
    EXPECT_EQ(apply().getPaperImage(), typed) << "a text that is typed is not cut";
}

// --- applying

TEST_F(KivOptionsDlgTest, EachLevelOfAntialiasingHasItsRadioButton) {
    for (const int level : {0, 1, 2}) {
        stored.setAntialias(level);
        const WindowRecord& user = open();
        for (const int other : {0, 1, 2}) {
            EXPECT_EQ(user.at(Dlg::antialiasNone + other).check, other == level ? 1 : 0);
        }
        EXPECT_EQ(apply().getAntialias(), level);
    }
    WindowRecord& user = open();
    for (const int level : {1, 0, 2}) {
        EXPECT_TRUE(user.clickRadio(Dlg::antialiasNone + level));
        EXPECT_EQ(apply().getAntialias(), level);
    }
}

TEST_F(KivOptionsDlgTest, TheSpeedOfVectorOutputIsOneOfTwo) {
    stored.setVectorial(true);
    for (const int speed : {1, 0}) {
        stored.setVectorialSpeed(speed);
        const WindowRecord& user = open();
        EXPECT_EQ(user.at(Dlg::speedFirst).check, 1 - speed);
        EXPECT_EQ(user.at(Dlg::speedSecond).check, speed);
        EXPECT_EQ(apply().getVectorialSpeed(), speed);
    }
    WindowRecord& user = open();
    for (const int speed : {1, 0}) {
        EXPECT_TRUE(user.clickRadio(Dlg::speedFirst + speed));
        EXPECT_EQ(apply().getVectorialSpeed(), speed);
    }
}

TEST_F(KivOptionsDlgTest, EveryBoxIsKept) {
    stored.setSaveRenderFile(L"/a.png");
    stored.setSaveVectorFile(L"/a.svg");
    WindowRecord& user = open();
    const auto toggled = [&](int box, bool (KivCommonSettings::*value)() const) {
        const bool before = (apply().*value)();
        EXPECT_TRUE(user.clickCheck(box)) << "box " << box;
        EXPECT_NE((apply().*value)(), before) << "box " << box;
    };
    toggled(Dlg::dimensionsBox, &KivCommonSettings::doRenderDim);
    toggled(Dlg::transparenciesBox, &KivCommonSettings::doTransparencies);
    toggled(Dlg::shadowsBox, &KivCommonSettings::doShadows);
    toggled(Dlg::saveRenderBox, &KivCommonSettings::doSaveRender);
    toggled(Dlg::saveShadowsBox, &KivCommonSettings::doSaveShadows);
    toggled(Dlg::saveDepthBox, &KivCommonSettings::doSaveDepth);
    toggled(Dlg::vectorialBox, &KivCommonSettings::doVectorial);
    toggled(Dlg::simplifyBox, &KivCommonSettings::doVectorSimplify);
    const bool lines = apply().doRenderIsoparams() != 0;
    EXPECT_TRUE(user.clickCheck(Dlg::isoparamsBox));
    EXPECT_EQ(apply().doRenderIsoparams() != 0, !lines);
}

// Keeps nothing.
class FullStore : public KivMemoryCommonDataManager {
public:
    bool beginSaveCommonData() override {
        return false;
    }
};

TEST_F(KivOptionsDlgTest, WhatTheHostCannotKeepIsTold) {
    FullStore full;
    EXPECT_NE(dialog.Create(nullptr, &full, {4, 3}, nullptr), 0);
    toolkit.windows.back()->type(Dlg::folderField, L"/scratch");
    EXPECT_FALSE(dialog.OnApply());
    EXPECT_EQ((host.strings[{false, L"VirtualMemory"}]), L"/scratch") << "the user's preferences are kept all the same";
}

TEST_F(KivOptionsDlgTest, AWidthOfNothingAsProportionGivesNoHeight) {
    stored.setCustomSize(true);
    stored.setResolution({801, 600});
    host.numbers[{false, L"BlockAspectRatio"}] = 1;
    WindowRecord& user = open({0, 3});
    EXPECT_TRUE(user.type(Dlg::widthField, L"100"));
    EXPECT_EQ(user.at(Dlg::heightField).text, L"0") << "a host must pass a real size, but it does not end the program";
    EXPECT_TRUE(user.type(Dlg::heightField, L"100"));
    EXPECT_EQ(user.at(Dlg::widthField).text, L"0");
}

TEST_F(KivOptionsDlgTest, TheLockIsAPreferenceOfTheUser) {
    for (const unsigned int kept : {1U, 0U}) {
        host.numbers[{false, L"BlockAspectRatio"}] = kept;
        const WindowRecord& user = open();
        EXPECT_EQ(user.at(Dlg::aspectBox).check, static_cast<int>(kept));
        apply();
        EXPECT_EQ((host.numbers[{false, L"BlockAspectRatio"}]), kept);
    }
    EXPECT_TRUE(host.numbers.find({true, L"BlockAspectRatio"}) == host.numbers.end()) << "not of the machine";
}

// A host that the settings reach has the preferences already.
TEST(KivOptionsDlgOrder, ThePreferencesAreAppliedBeforeTheSettings) {
    std::vector<std::string> calls;
    class Host : public TestHost {
    public:
        explicit Host(std::vector<std::string>& log) : calls(log) {}
        void saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) override {
            calls.push_back("lock");
            TestHost::saveRegistryDword(machine, value, data);
        }
        void setVirtualMemoryFolder(const wchar_t* folder) override {
            calls.push_back("folder");
            TestHost::setVirtualMemoryFolder(folder);
        }
        std::vector<std::string>& calls;
    } host(calls);
    class Store : public KivMemoryCommonDataManager {
    public:
        explicit Store(std::vector<std::string>& log) : calls(log) {}
        bool saveCustomSize(bool value) override {
            calls.push_back("settings");
            return KivMemoryCommonDataManager::saveCustomSize(value);
        }
        std::vector<std::string>& calls;
    } store(calls);
    const RecordingToolkit toolkit;
    KivOptionsDlg dialog;
    ASSERT_NE(dialog.Create(nullptr, &store, {4, 3}, nullptr), 0);
    calls.clear();
    EXPECT_TRUE(dialog.OnApply());
    EXPECT_EQ(calls, (std::vector<std::string>{"lock", "folder", "settings"}));
}

TEST_F(KivOptionsDlgTest, TheManagerOfTheStyleIsKeptForTheHost) {
    KivMemoryDataManager style;
    EXPECT_NE(dialog.Create(&style, &store, {4, 3}, nullptr), 0);
    EXPECT_EQ(dialog.getDataManager(), &style);
}

} // namespace
