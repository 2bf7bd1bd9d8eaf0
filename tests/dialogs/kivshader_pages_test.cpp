// The two page sets of a shader and how settings move through them.
#include "dialogs/samplepage.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/recordingtoolkit.h"
#include "support/temphome.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::Contains;

// Tells the shader in whose block a value was marked.
class ShaderManager : public KivMemoryDataManager {
public:
    void saveCurrentVaried(bool) override {
        shaderOfValue = shader;
    }
    using KivDataManager::shader;

    std::wstring shaderOfValue;
};

// One shader, two dialogs that show it, and a third that does not.
class KivShaderPages : public testing::Test {
protected:
    void openBoth() {
        for (SamplePage* const page : {&first0, &first1}) {
            page->Create(100, nullptr);
            shader.createPage(page, first.get());
        }
        second0.Create(100, nullptr);
        shader.createPage(&second0, second.get());
    }

    static std::vector<std::wstring> textsOf(const KivMemoryDataManager& manager) {
        std::vector<std::wstring> texts;
        for (const KivProperty& cell : manager.getCells()) {
            if (cell.getType() == KivProperty::String) {
                std::wstring text;
                cell.getValue(text);
                texts.push_back(text);
            }
        }
        return texts;
    }

    RecordingToolkit toolkit;
    DialogToken first;
    DialogToken second;
    DialogToken stranger;
    ShaderWithPages shader;
    SamplePage first0{L"Zero"};
    SamplePage first1{L"One"};
    SamplePage second0{L"Zero"};
};

TEST_F(KivShaderPages, EachDialogHasItsOwn) {
    openBoth();
    EXPECT_EQ(shader.getPage(first.get(), 0), &first0);
    EXPECT_EQ(shader.getPage(first.get(), 1), &first1);
    EXPECT_EQ(shader.getPage(first.get(), 2), nullptr);
    EXPECT_EQ(shader.getPage(second.get(), 0), &second0);
    EXPECT_EQ(shader.getPage(second.get(), 1), nullptr);
    EXPECT_EQ(shader.getPage(stranger.get(), 0), nullptr);
    EXPECT_EQ(first1.getPropertiesDlg(), first.get());
    EXPECT_EQ(second0.getPropertiesDlg(), second.get());
}

TEST_F(KivShaderPages, LoseTheirCaption) {
    openBoth();
    ASSERT_EQ(toolkit.windows.size(), 3U);
    for (const auto& window : toolkit.windows) {
        EXPECT_FALSE(window->caption);
    }
}

TEST_F(KivShaderPages, WithoutWindowsBelongToNoDialog) {
    SamplePage page(L"Zero");
    shader.createPage(&page, nullptr);
    EXPECT_EQ(shader.getPage(nullptr, 0), &page);
}

TEST_F(KivShaderPages, TheShownPageIsKeptForEachSet) {
    openBoth();
    shader.setCurDialogIndex(1, first.get());
    shader.setCurDialogIndex(2, second.get());
    EXPECT_EQ(shader.getCurDialogIndex(first.get()), 1);
    EXPECT_EQ(shader.getCurDialogIndex(second.get()), 2);
    EXPECT_EQ(shader.getCurDialogIndex(stranger.get()), 2) << "whoever does not own the first set has the second index";
    const ShaderWithPages without;
    EXPECT_EQ(without.getCurDialogIndex(first.get()), 0);
}

TEST_F(KivShaderPages, ACopyHasTheSetsAndTheShownPages) {
    openBoth();
    shader.setCurDialogIndex(1, first.get());
    shader.setCurDialogIndex(2, second.get());
    ShaderWithPages assigned;
    assigned = shader;
    const ShaderWithPages copied(shader);
    for (const ShaderWithPages* const copy : {&std::as_const(assigned), &copied}) {
        EXPECT_EQ(copy->getPage(first.get(), 1), &first1);
        EXPECT_EQ(copy->getPage(second.get(), 0), &second0);
        EXPECT_EQ(copy->getCurDialogIndex(first.get()), 1);
        EXPECT_EQ(copy->getCurDialogIndex(second.get()), 2);
    }
}

TEST_F(KivShaderPages, AreDestroyedForTheirDialog) {
    openBoth();
    shader.destroyPages(first.get());
    EXPECT_FALSE(toolkit.windows[0]->exists);
    EXPECT_FALSE(toolkit.windows[1]->exists);
    EXPECT_TRUE(toolkit.windows[2]->exists);
    EXPECT_EQ(shader.getPage(first.get(), 0), nullptr);
    EXPECT_EQ(shader.getPage(second.get(), 0), &second0);
    shader.destroyPages(second.get());
    EXPECT_FALSE(toolkit.windows[2]->exists);
}

TEST_F(KivShaderPages, AForeignDialogDestroysTheSecondSet) {
    openBoth();
    shader.destroyPages(stranger.get());
    EXPECT_TRUE(toolkit.windows[0]->exists);
    EXPECT_FALSE(toolkit.windows[2]->exists);
    EXPECT_EQ(shader.getPage(first.get(), 0), &first0);
    EXPECT_EQ(shader.getPage(second.get(), 0), nullptr);
}

TEST_F(KivShaderPages, AreSavedAsTheBlockOfTheShader) {
    openBoth();
    first0.setControlText(samplePageControl, L"1");
    first1.setControlText(samplePageControl, L"2");
    second0.setControlText(samplePageControl, L"3");
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(shader.saveData(&manager, first.get()));
    EXPECT_EQ(textsOf(manager)[0], L"Sample");
    EXPECT_THAT(textsOf(manager), Contains(L"Zero"));
    EXPECT_THAT(textsOf(manager), Contains(L"One"));

    ASSERT_TRUE(manager.setLoading());
    ASSERT_TRUE(manager.startShader(L"Sample"));
    first0.own.value = 0;
    first1.own.value = 0;
    EXPECT_TRUE(shader.loadData(&manager, first.get()));
    EXPECT_EQ(first0.own.value, 1);
    EXPECT_EQ(first1.own.value, 2);
    EXPECT_EQ(second0.own.value, 0) << "the other dialog's page is not asked";

    manager.clearData();
    manager.setSaving();
    EXPECT_TRUE(shader.saveData(&manager, second.get()));
    EXPECT_EQ(second0.own.value, 3);
}

TEST_F(KivShaderPages, WithoutADialogTheFirstSetIsSavedAndLoaded) {
    openBoth();
    first0.setControlText(samplePageControl, L"5");
    first1.setControlText(samplePageControl, L"6");
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(shader.saveData(&manager, nullptr));
    manager.setLoading();
    manager.startShader(L"Sample");
    first1.own.value = 0;
    EXPECT_TRUE(shader.loadData(&manager, nullptr));
    EXPECT_EQ(first1.own.value, 6);
    EXPECT_EQ(second0.savedControls, 0);
}

TEST_F(KivShaderPages, ADialogWithoutPagesSavesTheDefaultsAsABlock) {
    openBoth();
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(shader.saveData(&manager, stranger.get()));
    EXPECT_EQ(textsOf(manager)[0], L"Sample");
    EXPECT_EQ(textsOf(manager)[1], L"defaults");
    EXPECT_FALSE(shader.loadData(&manager, stranger.get()));
    shader.defaultsSave = false;
    EXPECT_FALSE(shader.saveData(&manager, stranger.get()));
}

// The block of the shader is open while its values are written, whoever writes them.
TEST_F(KivShaderPages, ABlockEndsBehindItsValues) {
    openBoth();
    for (DialogToken* const owner : {&first, &second, &stranger}) {
        ShaderManager manager;
        manager.setSaving();
        EXPECT_TRUE(shader.saveData(&manager, owner->get()));
        EXPECT_EQ(manager.shaderOfValue, L"Sample");
        EXPECT_EQ(manager.shader, L"");
    }
}

TEST_F(KivShaderPages, AShaderWithoutPagesSavesItsDefaults) {
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(shader.saveData(&manager, nullptr));
    EXPECT_EQ(textsOf(manager)[1], L"defaults");
    manager.setLoading();
    EXPECT_TRUE(shader.loadData(&manager, nullptr)) << "nothing to load is no failure";
    EXPECT_FALSE(shader.loadData(&manager, first.get()));
}

TEST_F(KivShaderPages, StyleFilesHaveASectionOfTheTag) {
    const TempFolder folder;
    const std::wstring file = folder.wide("sample.kiv");
    openBoth();
    first0.setControlText(samplePageControl, L"11");
    first1.setControlText(samplePageControl, L"12");
    EXPECT_TRUE(shader.saveDataOnStyle(file.c_str(), first.get()));
    std::uint32_t value = 0;
    KivConfigFile(file.c_str()).read(L"Sample", L"One", value, 0);
    EXPECT_EQ(value, 12U);

    second0.setControlText(samplePageControl, L"0");
    shader.setCurDialogIndex(0, second.get());
    EXPECT_TRUE(shader.loadDataFromStyle(file.c_str(), second.get()));
    EXPECT_EQ(second0.own.value, 11);
    EXPECT_EQ(second0.getControlText(samplePageControl), L"11");
    EXPECT_EQ(toolkit.windows[2]->redraws, 1) << "the page that is shown";
    EXPECT_EQ(toolkit.windows[0]->redraws, 0);
}

TEST_F(KivShaderPages, AStyleRedrawsThePageThatItsDialogShows) {
    const TempFolder folder;
    openBoth();
    SamplePage second1(L"One");
    second1.Create(100, nullptr);
    shader.createPage(&second1, second.get());
    shader.setCurDialogIndex(0, first.get());
    shader.setCurDialogIndex(1, second.get());
    EXPECT_TRUE(shader.loadDataFromStyle(folder.wide("none.kiv").c_str(), second.get()));
    EXPECT_EQ(toolkit.windows[3]->redraws, 1);
    EXPECT_TRUE(shader.loadDataFromStyle(folder.wide("none.kiv").c_str(), first.get()));
    EXPECT_EQ(toolkit.windows[0]->redraws, 1);
    EXPECT_EQ(toolkit.windows[1]->redraws + toolkit.windows[2]->redraws, 0);
    EXPECT_EQ(toolkit.windows[3]->redraws, 1);
}

TEST_F(KivShaderPages, SavingAStyleWithoutPagesFailsAndLoadingDoesNot) {
    const TempFolder folder;
    const std::wstring file = folder.wide("sample.kiv");
    openBoth();
    EXPECT_FALSE(shader.saveDataOnStyle(file.c_str(), stranger.get()));
    EXPECT_EQ(folder.count(), 0U);
    EXPECT_TRUE(shader.loadDataFromStyle(file.c_str(), stranger.get()));
    ShaderWithPages without;
    EXPECT_FALSE(without.saveDataOnStyle(file.c_str(), first.get()));
    EXPECT_TRUE(without.loadDataFromStyle(file.c_str(), first.get()));
    EXPECT_TRUE(without.loadDataFromStyle(file.c_str(), nullptr));
}

TEST_F(KivShaderPages, LoadingAStyleStopsAtThePageThatFails) {
    const TempFolder folder;
    const std::wstring file = folder.wide("sample.kiv");
    openBoth();
    shader.saveDataOnStyle(file.c_str(), first.get());
    first0.own.loads = false;
    first0.loadedControls = 0;
    first1.loadedControls = 0;
    EXPECT_FALSE(shader.loadDataFromStyle(file.c_str(), first.get()));
    EXPECT_EQ(first0.loadedControls, 0);
    EXPECT_EQ(first1.loadedControls, 0);
    EXPECT_EQ(toolkit.windows[0]->redraws, 0);
}

TEST_F(KivShaderPages, AnOldIndexOfAShownPageRedrawsNothing) {
    const TempFolder folder;
    openBoth();
    shader.setCurDialogIndex(9, first.get());
    EXPECT_TRUE(shader.loadDataFromStyle(folder.wide("none.kiv").c_str(), first.get()));
    EXPECT_EQ(toolkit.windows[0]->redraws + toolkit.windows[1]->redraws, 0);
}

TEST_F(KivShaderPages, APreviewTakesWhatStandsInAllControls) {
    openBoth();
    shader.loadPreviewSettingsFromPages();
    EXPECT_EQ(first0.savedControls, 1);
    EXPECT_EQ(first1.savedControls, 1);
    EXPECT_EQ(second0.savedControls, 1);
}

} // namespace
