#include "kivrender/dialogs/kivpagedlg.h"

#include "dialogs/samplepage.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/recordingtoolkit.h"

#include <gtest/gtest.h>

namespace {

TEST(KivPageDlg, StartsWithoutADialog) {
    DialogToken dialog;
    SamplePage page(L"Page");
    EXPECT_EQ(page.getPropertiesDlg(), nullptr);
    page.setPropertiesDlg(dialog.get());
    EXPECT_EQ(page.getPropertiesDlg(), dialog.get());
    EXPECT_EQ(page.getModuleState(), nullptr);
}

TEST(KivPageDlg, SettingsHaveWhatStandsInTheControls) {
    RecordingToolkit toolkit;
    SamplePage page(L"Page");
    ASSERT_NE(page.Create(100, nullptr), 0);
    page.setControlText(samplePageControl, L"42");
    EXPECT_EQ(page.own.value, 0);
    EXPECT_EQ(page.getSettings(), &page.own);
    EXPECT_EQ(page.own.value, 42);
}

TEST(KivPageDlg, SettingsTravelThroughAStreamAndTheControls) {
    RecordingToolkit toolkit;
    KivMemoryDataManager manager;
    manager.setSaving();
    SamplePage page(L"Page");
    page.Create(100, nullptr);
    page.setControlText(samplePageControl, L"42");
    page.saveData(&manager);
    manager.setLoading();
    SamplePage other(L"Page");
    other.Create(100, nullptr);
    other.loadData(&manager);
    EXPECT_EQ(other.own.value, 42);
    EXPECT_EQ(other.getControlText(samplePageControl), L"42");
}

TEST(KivPageDlg, WithoutAWindowSettingsTravelAllTheSame) {
    KivMemoryDataManager manager;
    manager.setSaving();
    SamplePage page(L"Page");
    EXPECT_EQ(page.Create(100, nullptr), 0);
    page.own.value = 42;
    page.saveData(&manager);
    manager.setLoading();
    SamplePage other(L"Page");
    other.loadData(&manager);
    EXPECT_EQ(other.own.value, 42);
    EXPECT_EQ(other.DestroyWindow(), 0);
}

class PageWithoutSettings : public KivPageDlg {
public:
    PageWithoutSettings() : KivPageDlg(100) {}
    void saveControls() override {}
    void loadControls() override {
        ++loaded;
    }
    int loaded = 0;
};

TEST(KivPageDlg, MayHaveNoSettings) {
    KivMemoryDataManager manager;
    manager.setSaving();
    PageWithoutSettings page;
    EXPECT_EQ(page.getSettings(), nullptr);
    page.saveData(&manager);
    EXPECT_EQ(manager.getNumProperties(), 0);
    page.loadData(&manager);
    EXPECT_EQ(page.loaded, 1);
}

class MeasuringPage : public SamplePage {
public:
    using KivPageDlg::getDlgItemRect;
    using SamplePage::SamplePage;
};

TEST(KivPageDlg, KnowsWhereAControlStands) {
    RecordingToolkit toolkit;
    MeasuringPage page(L"Page");
    RECT place = {9, 9, 9, 9};
    page.getDlgItemRect(samplePageControl, &place);
    EXPECT_EQ(place.left, 9) << "there is no window yet";
    page.Create(100, nullptr);
    toolkit.windows[0]->rectangles[samplePageControl] = {1, 2, 3, 4};
    page.getDlgItemRect(samplePageControl + 1, &place);
    EXPECT_EQ(place.left, 9) << "there is no such control";
    page.getDlgItemRect(samplePageControl, &place);
    EXPECT_EQ(place.left, 1);
    EXPECT_EQ(place.top, 2);
    EXPECT_EQ(place.right, 3);
    EXPECT_EQ(place.bottom, 4);
}

} // namespace
