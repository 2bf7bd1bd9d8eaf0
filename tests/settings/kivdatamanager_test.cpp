#include "kivrender/settings/kivdatamanager.h"

#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/temphome.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Tells what it was asked, to see that each value is followed by its mark.
class Recorder : public KivMemoryDataManager {
public:
    void saveCurrentVaried(bool varied) override {
        marks.push_back(varied);
        markedAt.push_back(getNumProperties());
    }
    bool isVaried(int index) const override {
        return index % 2 == 1;
    }

    std::vector<bool> marks;
    std::vector<int> markedAt;

    using KivDataManager::changed;
    using KivDataManager::loading;
    using KivDataManager::position;
    using KivDataManager::reportVaried;
    using KivDataManager::reportVariedHeader;
    using KivDataManager::section;
    using KivDataManager::shader;
};

std::wstring loadText(KivDataManager& manager) {
    wchar_t text[kivMaxPath];
    manager.loadString(text);
    return text;
}

} // namespace

TEST(KivDataManager, NewManagerRefusesWrites) {
    KivMemoryDataManager manager;
    EXPECT_FALSE(manager.saveInt(1));
    EXPECT_FALSE(manager.saveDouble(1));
    EXPECT_FALSE(manager.saveFloat(1));
    EXPECT_FALSE(manager.saveBool(true));
    EXPECT_FALSE(manager.saveChar('c'));
    EXPECT_FALSE(manager.saveString(L"s"));
    EXPECT_FALSE(manager.saveUnsignedShort(1));
    EXPECT_FALSE(manager.saveUnsignedLong(1));
    EXPECT_EQ(manager.getNumProperties(), 0);
    EXPECT_FALSE(manager.isChanged());
    EXPECT_EQ(manager.getMinorVersion(), 0);
}

TEST(KivDataManager, SetLoadingOnAnEmptyManagerKeepsTheMode) {
    KivMemoryDataManager manager;
    EXPECT_FALSE(manager.setLoading());
    EXPECT_TRUE(manager.setSaving());
    EXPECT_FALSE(manager.setLoading());
    EXPECT_TRUE(manager.saveInt(1)); // still saving
}

TEST(KivDataManager, ReadingPastTheEndGivesNothing) {
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(manager.saveInt(3));
    EXPECT_TRUE(manager.setLoading());
    EXPECT_EQ(manager.loadInt(), 3);
    EXPECT_EQ(manager.loadInt(), 0);
    EXPECT_EQ(loadText(manager), L"");
    EXPECT_EQ(manager.loadDouble(), 0.0);
    EXPECT_EQ(manager.loadFloat(), 0.0F);
    EXPECT_FALSE(manager.loadBool());
    EXPECT_EQ(manager.loadChar(), '\0');
    EXPECT_EQ(manager.loadUnsignedShort(), 0);
    EXPECT_EQ(manager.loadUnsignedLong(), 0U);
    EXPECT_EQ(manager.getNextType(), KivProperty::Void);
}

TEST(KivDataManager, EveryTypeComesBackInOrder) {
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(manager.saveInt(-3));
    EXPECT_TRUE(manager.saveDouble(0.1));
    EXPECT_TRUE(manager.saveFloat(0.5F));
    EXPECT_TRUE(manager.saveBool(true));
    EXPECT_TRUE(manager.saveChar('q'));
    EXPECT_TRUE(manager.saveString(L"text"));
    EXPECT_TRUE(manager.saveUnsignedShort(65535));
    EXPECT_TRUE(manager.saveUnsignedLong(0xFFFFFFFFU));
    EXPECT_TRUE(manager.saveString(nullptr));
    ASSERT_TRUE(manager.setLoading());
    EXPECT_EQ(manager.loadInt(), -3);
    EXPECT_EQ(manager.loadDouble(), 0.1);
    EXPECT_EQ(manager.loadFloat(), 0.5F);
    EXPECT_TRUE(manager.loadBool());
    EXPECT_EQ(manager.loadChar(), 'q');
    EXPECT_EQ(loadText(manager), L"text");
    EXPECT_EQ(manager.loadUnsignedShort(), 65535);
    EXPECT_EQ(manager.loadUnsignedLong(), 0xFFFFFFFFU);
    EXPECT_EQ(manager.getNextType(), KivProperty::String);
    EXPECT_EQ(loadText(manager), L"");
    EXPECT_EQ(manager.getNextType(), KivProperty::Void);
}

TEST(KivDataManager, SavingModeReadsNothing) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveInt(3);
    EXPECT_EQ(manager.loadInt(), 0);
    EXPECT_EQ(loadText(manager), L"");
    manager.setLoading();
    EXPECT_EQ(manager.loadInt(), 3);
}

TEST(KivDataManager, LoadStringLeavesACellThatIsNoText) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveInt(42);
    manager.setLoading();
    EXPECT_EQ(loadText(manager), L"");
    EXPECT_EQ(manager.loadInt(), 42);
}

TEST(KivDataManager, LoadStringIsBounded) {
    KivMemoryDataManager manager;
    manager.setSaving();
    const std::wstring longText(1000, L'x');
    manager.saveString(longText.c_str());
    manager.setLoading();
    wchar_t buffer[kivMaxPath + 1];
    buffer[kivMaxPath] = L'!';
    manager.loadString(buffer);
    EXPECT_EQ(std::wstring(buffer), std::wstring(kivMaxPath - 1, L'x'));
    EXPECT_EQ(buffer[kivMaxPath], L'!');
}

TEST(KivDataManager, NumbersAreReadWhateverTheTag) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveString(L"a text");
    manager.saveInt(-1);
    manager.setLoading();
    EXPECT_EQ(manager.loadInt(), 0);
    EXPECT_EQ(manager.loadUnsignedLong(), 0xFFFFFFFFU);
}

TEST(KivDataManager, SectionMustStandAtTheCursor) {
    KivMemoryDataManager manager;
    manager.setSaving();
    EXPECT_TRUE(manager.startSection(L"One"));
    EXPECT_TRUE(manager.endSection());
    EXPECT_TRUE(manager.startSection(L"Two"));
    manager.saveInt(2);
    ASSERT_TRUE(manager.setLoading());
    EXPECT_FALSE(manager.startSection(L"Two")); // "One" stands here, and is consumed
    EXPECT_TRUE(manager.startSection(L"Two"));
    EXPECT_FALSE(manager.startSection(L"Two")); // a number, which stays
    EXPECT_EQ(manager.loadInt(), 2);
    EXPECT_FALSE(manager.startSection(L"Two")); // the end
}

TEST(KivDataManager, SectionNamesCompareExactly) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.startSection(L"Page");
    manager.setLoading();
    EXPECT_FALSE(manager.startSection(L"page"));
}

TEST(KivDataManager, SectionAndShaderAreRemembered) {
    Recorder manager;
    manager.startSection(L"S"); // in loading mode too, and though it fails
    manager.startShader(L"T");
    EXPECT_EQ(manager.section, L"S");
    EXPECT_EQ(manager.shader, L"T");
    EXPECT_TRUE(manager.endSection());
    EXPECT_TRUE(manager.endShader());
    EXPECT_EQ(manager.section, L"");
    EXPECT_EQ(manager.shader, L"");
}

TEST(KivDataManager, MarkersInLoadingModeWithoutCells) {
    Recorder manager;
    EXPECT_FALSE(manager.startSection(L"S"));
    EXPECT_FALSE(manager.startShader(L"T"));
    EXPECT_TRUE(manager.marks.empty());
}

TEST(KivDataManager, ShaderIsFoundFromAnywhereButTheEnd) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.startShader(L"Cartoon");
    manager.saveInt(1);
    manager.startShader(L"Outline");
    manager.saveInt(2);
    manager.saveString(L"End Morvane");
    ASSERT_TRUE(manager.setLoading());
    EXPECT_TRUE(manager.startShader(L"Outline"));
    EXPECT_EQ(manager.loadInt(), 2);
    EXPECT_TRUE(manager.startShader(L"Cartoon")); // behind the cursor
    EXPECT_EQ(manager.loadInt(), 1);
    EXPECT_FALSE(manager.startShader(L"cartoon")); // exactly; and the search has reached the end
    EXPECT_FALSE(manager.startShader(L"Cartoon")); // which stops every search until
    EXPECT_TRUE(manager.setLoading());
    EXPECT_TRUE(manager.startShader(L"Cartoon"));
}

TEST(KivDataManager, LastCellIsNoShader) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveInt(1);
    manager.saveString(L"Cartoon");
    manager.setLoading();
    EXPECT_FALSE(manager.startShader(L"Cartoon"));
}

TEST(KivDataManager, AnyTextCountsAsAShader) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveString(L"Cartoon"); // a value that happens to be equal
    manager.saveInt(7);
    manager.startShader(L"Cartoon");
    manager.saveInt(8);
    manager.setLoading();
    EXPECT_TRUE(manager.startShader(L"Cartoon"));
    EXPECT_EQ(manager.loadInt(), 7);
}

TEST(KivDataManager, SetSavingAppends) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveInt(1);
    manager.setLoading();
    manager.setSaving();
    manager.saveInt(2);
    EXPECT_EQ(manager.getNumProperties(), 2);
    manager.setLoading();
    EXPECT_EQ(manager.loadInt(), 1);
    EXPECT_EQ(manager.loadInt(), 2);
}

TEST(KivDataManager, ClearDataKeepsTheMode) {
    Recorder manager;
    manager.setSaving();
    manager.setChanged(true);
    manager.startSection(L"S");
    manager.clearData();
    EXPECT_EQ(manager.getNumProperties(), 0);
    EXPECT_EQ(manager.position, 0);
    EXPECT_TRUE(manager.isChanged());
    EXPECT_EQ(manager.section, L"S");
    EXPECT_TRUE(manager.saveInt(1));
}

TEST(KivDataManager, MarkersBringTheirMark) {
    Recorder manager;
    manager.setSaving();
    manager.startShader(L"T");
    manager.startSection(L"S");
    manager.saveInt(1); // the caller's duty
    EXPECT_EQ(manager.markedAt, (std::vector<int>{1, 2}));
    EXPECT_EQ(manager.marks, (std::vector<bool>{false, false}));
}

TEST(KivDataManager, FromOtherDataManagerStartsOver) {
    Recorder source;
    source.setSaving();
    source.setMinorVersion(5);
    source.setChanged(true);
    source.saveInt(1);
    source.saveString(L"two");
    source.saveInt(3);

    Recorder target;
    target.setSaving();
    target.saveDouble(9);
    target.setChanged(true);
    target.startSection(L"S");
    target.marks.clear();
    target.fromOtherDataManager(source);
    EXPECT_TRUE(target.loading);
    EXPECT_EQ(target.position, 0);
    EXPECT_FALSE(target.isChanged());
    EXPECT_EQ(target.section, L"");
    EXPECT_EQ(target.shader, L"");
    EXPECT_EQ(target.getMinorVersion(), 5);
    EXPECT_EQ(target.marks, (std::vector<bool>{false, true, false})); // the source's own flags
    EXPECT_EQ(target.loadInt(), 1);
    EXPECT_EQ(loadText(target), L"two");
    EXPECT_EQ(target.loadInt(), 3);
}

TEST(KivDataManager, FromItselfKeepsTheCells) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveInt(1);
    manager.fromOtherDataManager(manager);
    EXPECT_EQ(manager.loadInt(), 1);
}

TEST(KivDataManager, AssignmentCopiesTheState) {
    Recorder source;
    source.setSaving();
    source.saveInt(1);
    source.saveInt(2);
    source.setLoading();
    source.loadInt();
    source.setChanged(true);
    source.setMinorVersion(5);

    Recorder assigned;
    assigned = source;
    EXPECT_EQ(assigned.position, 1);
    EXPECT_TRUE(assigned.isChanged());
    EXPECT_EQ(assigned.getMinorVersion(), 5);
    EXPECT_EQ(assigned.loadInt(), 2);

    const KivDataManager& base = source;
    KivMemoryDataManager constructed(base);
    EXPECT_FALSE(constructed.isChanged());
    EXPECT_EQ(constructed.getMinorVersion(), 5);
    EXPECT_EQ(constructed.loadInt(), 1);
}

TEST(KivDataManager, ReportIsExact) {
    const TempFolder folder;
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveString(L"Style:Grün");
    manager.saveInt(-1);
    manager.saveBool(true);
    manager.report(folder.wide("report.txt").c_str());
    EXPECT_EQ(folder.read("report.txt"),
              "NumProperties: 3\n\n0- String: Style:Gr\xC3\xBCn\n1- Int: -1\n2- Bool: true\n");
}

TEST(KivDataManager, ReportCallsTheDerivedClass) {
    class Varied : public Recorder {
    protected:
        void reportVaried(std::FILE* file, int index) const override {
            std::fprintf(file, "%d- flag\n", index);
        }
        void reportVariedHeader(std::FILE* file) const override {
            std::fputs("head\n", file);
        }
    };
    const TempFolder folder;
    Varied manager;
    manager.setSaving();
    manager.saveInt(4);
    manager.report(folder.wide("report.txt").c_str());
    EXPECT_EQ(folder.read("report.txt"), "NumProperties: 1\nhead\n\n0- Int: 4\n0- flag\n");
}

TEST(KivDataManager, ReportToNowhereIsSilent) {
    const TempFolder folder;
    KivMemoryDataManager manager;
    manager.report(folder.wide("missing/report.txt").c_str());
    manager.report(nullptr);
    EXPECT_EQ(folder.count(), 0U);
}

// With no shader loaded; what each shader adds is the shaders' own.
TEST(KivDataManager, DefaultStream) {
    Recorder manager;
    manager.setSaving();
    manager.saveInt(1); // stays: the caller clears
    manager.setLoading();
    manager.setDefault();
    EXPECT_EQ(manager.getMinorVersion(), 5);
    EXPECT_EQ(manager.markedAt, (std::vector<int>{2, 3, 4, 5}));
    ASSERT_TRUE(manager.setLoading());
    EXPECT_EQ(manager.loadInt(), 1);
    EXPECT_EQ(loadText(manager), L"Style:");
    EXPECT_EQ(loadText(manager), L"NonCombinableShader:Cartoon");
    EXPECT_EQ(loadText(manager), L"CombinableShader:");
    EXPECT_EQ(loadText(manager), L"End Morvane");
    EXPECT_EQ(manager.getNextType(), KivProperty::Void);
}

TEST(KivDataManager, OrderOfTheSlots) {
    EXPECT_EQ(vtableSlot(&KivDataManager::clearData), 1);
    EXPECT_EQ(vtableSlot(&KivDataManager::fromOtherDataManager), 2);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadIntFromFile), 3);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadDoubleFromFile), 4);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadFloatFromFile), 5);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadBoolFromFile), 6);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadCharFromFile), 7);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadStringFromFile), 8);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadUnsignedShortFromFile), 9);
    EXPECT_EQ(vtableSlot(&KivDataManager::loadUnsignedLongFromFile), 10);
    EXPECT_EQ(vtableSlot(&KivDataManager::saveCurrentVaried), 11);
    EXPECT_EQ(vtableSlot(&KivDataManager::isCurrentVaried), 12);
    EXPECT_EQ(vtableSlot(&KivDataManager::isVaried), 13);
    EXPECT_EQ(vtableSlot(&Recorder::reportVaried), 14);
    EXPECT_EQ(vtableSlot(&Recorder::reportVariedHeader), 15);
    EXPECT_EQ(vtableSlot(&KivDataManager::saveInt), -1);
}
