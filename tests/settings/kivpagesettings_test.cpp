#include "kivrender/settings/kivpagesettings.h"

#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

namespace {

class Page : public KivPageSettings {
public:
    explicit Page(const wchar_t* sectionName) : name(sectionName) {}

    bool save(const wchar_t*, const wchar_t*) override {
        return true;
    }
    bool load(const wchar_t*, const wchar_t*) override {
        return true;
    }
    const wchar_t* getSectionName() const override {
        return name;
    }
    void reservedSlot() override {}
    void saveSettings() override {
        dataManager->saveInt(value);
        dataManager->saveCurrentVaried(false);
    }
    bool loadSettings() override {
        ++loads;
        value = dataManager->loadInt();
        return answer;
    }

    const wchar_t* name;
    int value = 0;
    int loads = 0;
    bool answer = true;
};

} // namespace

TEST(KivPageSettings, NewPageHasNoStreamAndIsNotLoaded) {
    Page page(L"P");
    EXPECT_EQ(page.getDataManager(), nullptr);
    EXPECT_FALSE(page.isLoaded());
    page.saveData(); // without a stream there is nothing to do
    page.loadData();
    EXPECT_EQ(page.loads, 0);
    EXPECT_FALSE(page.isLoaded());
}

TEST(KivPageSettings, WritesAndReadsItsSection) {
    KivMemoryDataManager manager;
    manager.setSaving();
    Page page(L"P");
    page.setDataManager(&manager);
    page.value = 12;
    page.saveData();
    EXPECT_EQ(manager.getNumProperties(), 2);
    manager.setLoading();
    page.value = 0;
    page.loadData();
    EXPECT_EQ(page.value, 12);
    EXPECT_TRUE(page.isLoaded());
}

TEST(KivPageSettings, AnotherSectionIsNotRead) {
    KivMemoryDataManager manager;
    manager.setSaving();
    Page other(L"Other");
    other.setDataManager(&manager);
    other.saveData();
    manager.setLoading();
    Page page(L"P");
    page.setDataManager(&manager);
    page.value = 5;
    page.loadData();
    EXPECT_FALSE(page.isLoaded());
    EXPECT_EQ(page.loads, 0);
    EXPECT_EQ(page.value, 5);
    // The other's marker has been consumed, so that its own page misses it now.
    other.loadData();
    EXPECT_FALSE(other.isLoaded());
}

TEST(KivPageSettings, LoadedIsWhatTheReaderSays) {
    KivMemoryDataManager manager;
    manager.setSaving();
    Page page(L"P");
    page.setDataManager(&manager);
    page.saveData();
    manager.setLoading();
    page.answer = false;
    page.loadData();
    EXPECT_EQ(page.loads, 1);
    EXPECT_FALSE(page.isLoaded());
}

TEST(KivPageSettings, OrderOfTheSlots) {
    EXPECT_EQ(vtableSlot(&KivPageSettings::getSectionName), 3);
    EXPECT_EQ(vtableSlot(&KivPageSettings::reservedSlot), 4);
    EXPECT_EQ(vtableSlot(&KivPageSettings::saveSettings), 5);
    EXPECT_EQ(vtableSlot(&KivPageSettings::loadSettings), 6);
    EXPECT_EQ(vtableSlot(&KivPageSettings::loadData), -1);
}
