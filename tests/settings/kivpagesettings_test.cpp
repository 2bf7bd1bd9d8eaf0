#include "kivrender/settings/kivpagesettings.h"

#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/vtableslot.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>

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
        if (onLoad) {
            onLoad();
        }
        value = dataManager->loadInt();
        return answer;
    }

    const wchar_t* name;
    int value = 0;
    int loads = 0;
    bool answer = true;
    std::function<void()> onLoad; // runs in loadSettings
};

// Tells the section in which a value was marked.
class SectionManager : public KivMemoryDataManager {
public:
    void saveCurrentVaried(bool) override {
        sectionOfValue = section;
    }
    using KivDataManager::section;

    std::wstring sectionOfValue;
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
    EXPECT_EQ(page.getDataManager(), &manager);
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

TEST(KivPageSettings, AFailureAfterASuccessIsNotLoaded) {
    KivMemoryDataManager manager;
    manager.setSaving();
    Page page(L"P");
    page.setDataManager(&manager);
    page.saveData();
    manager.setLoading();
    page.loadData();
    ASSERT_TRUE(page.isLoaded());
    page.loadData();
    EXPECT_FALSE(page.isLoaded()) << "the stream has no second section";
    manager.setLoading();
    page.loadData();
    ASSERT_TRUE(page.isLoaded());
    page.setDataManager(nullptr);
    page.loadData();
    EXPECT_FALSE(page.isLoaded()) << "there is no stream";
}

TEST(KivPageSettings, TheSectionLastsAsLongAsItsValues) {
    SectionManager manager;
    manager.setSaving();
    Page page(L"P");
    page.setDataManager(&manager);
    page.saveData();
    EXPECT_EQ(manager.sectionOfValue, L"P");
    EXPECT_EQ(manager.section, L"");
    manager.setLoading();
    std::wstring whileLoading;
    page.onLoad = [&] { whileLoading = manager.section; };
    page.loadData();
    EXPECT_EQ(whileLoading, L"P");
    EXPECT_EQ(manager.section, L"");
}

TEST(KivPageSettings, OrderOfTheSlots) {
    EXPECT_EQ(vtableSlot(&KivPageSettings::getSectionName), 3);
    EXPECT_EQ(vtableSlot(&KivPageSettings::reservedSlot), 4);
    EXPECT_EQ(vtableSlot(&KivPageSettings::saveSettings), 5);
    EXPECT_EQ(vtableSlot(&KivPageSettings::loadSettings), 6);
    EXPECT_EQ(vtableSlot(&KivPageSettings::loadData), -1);
}
