#include "kivrender/settings/kivsettingstable.h"

#include "kivrender/settings/kivaveragedatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "support/commalocale.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const KivSettingInfo table[] = {
    {"Flat", KivSettingType::Bool, 0, 1, 1, L"One tone for each face", nullptr},
    {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of tone bands", nullptr},
    {"Softness", KivSettingType::Double, -1.5, 1.5, 0.1, L"Softness between bands", nullptr},
    {"Ink", KivSettingType::Colour, 0, 0xFFFFFF, 0x0000FF, L"Colour of the lines", nullptr},
    {"Joins", KivSettingType::Choice, 0, 2, 1, L"How lines meet", "round|mitre|bevel"},
};
constexpr int numSettings = 5;
enum { Flat, Bands, Softness, Ink, Joins };

KivTablePageSettings page() {
    return {L"Page", table, numSettings};
}

class Marks : public KivMemoryDataManager {
public:
    void saveCurrentVaried(bool) override {
        marked.push_back(getNumProperties());
    }
    std::vector<int> marked;
};

} // namespace

TEST(KivSettingsTable, StartsAtTheDefaults) {
    const KivTablePageSettings settings = page();
    EXPECT_EQ(std::wstring(settings.getSectionName()), L"Page");
    EXPECT_EQ(settings.getNumSettings(), numSettings);
    EXPECT_TRUE(settings.getBool(Flat));
    EXPECT_EQ(settings.getInt(Bands), 3);
    EXPECT_EQ(settings.getValue(Softness), 0.1);
    EXPECT_EQ(settings.getColour(Ink), 0xFFU);
    EXPECT_EQ(settings.getInt(Joins), 1);
    EXPECT_EQ(&settings.getInfo(Ink), &table[Ink]);
    EXPECT_EQ(settings.find("ink"), Ink);
    EXPECT_EQ(settings.find("Pen"), -1);
}

TEST(KivSettingsTable, ValuesComeIntoRange) {
    struct Case {
        int setting;
        double value;
        double expected;
    };
    const Case cases[] = {
        {Bands, 0, 1},          {Bands, 9, 8},          {Bands, 2.5, 3},     {Bands, notANumber, 3},
        {Bands, infinity, 8},   {Bands, -infinity, 1},  {Softness, 99, 1.5}, {Softness, notANumber, 0.1},
        {Softness, 0.25, 0.25}, {Flat, 17, 1},          {Flat, 0, 0},        {Flat, notANumber, 1},
        {Ink, -1, 0},           {Ink, 1e300, 0xFFFFFF}, {Joins, 3, 2},       {Joins, -infinity, 0},
        {Joins, notANumber, 1},
    };
    for (const Case& c : cases) {
        KivTablePageSettings settings = page();
        settings.setValue(c.setting, c.value);
        EXPECT_EQ(settings.getValue(c.setting), c.expected) << c.setting << " " << c.value;
    }
}

TEST(KivSettingsTable, TextsReadWholeOrNotAtAll) {
    struct Case {
        const char* key;
        const char* text;
        double expected; // NaN: refused
    };
    const Case cases[] = {
        {"Flat", "yes", 1},
        {"Flat", "OFF", 0},
        {"Flat", "0", 0},
        {"Flat", "2", notANumber},
        {"Flat", "", notANumber},
        {"Flat", "y", notANumber},
        {"Bands", "8", 8},
        {"Bands", " 4 ", 4},
        {"Bands", "+4", 4},
        {"Bands", "9", notANumber},
        {"Bands", "4x", notANumber},
        {"Bands", "4.5", notANumber},
        {"Bands", "", notANumber},
        {"Bands", "+-4", notANumber},
        {"Bands", "99999999999999999999", notANumber},
        {"bands", "5", 5},
        {"Softness", "1e-1", 0.1},
        {"Softness", "-1.5", -1.5},
        {"Softness", "1,5", notANumber},
        {"Softness", "nan", notANumber},
        {"Softness", "inf", notANumber},
        {"Softness", "1e999", notANumber},
        {"Softness", "1e-999", 0},
        {"Softness", "0.1 0.2", notANumber},
        {"Ink", "#ff0000", 0x0000FF},
        {"Ink", "#0000fF", 0xFF0000},
        {"Ink", "255", 255},
        {"Ink", "#ff00", notANumber},
        {"Ink", "#ff00001", notANumber},
        {"Ink", "#gg0000", notANumber},
        {"Ink", "red", notANumber},
        {"Ink", "16777216", notANumber},
        {"Ink", "#-10000", notANumber},
        {"Joins", "Bevel", 2},
        {"Joins", "0", 0},
        {"Joins", "3", notANumber},
        {"Joins", "bev", notANumber},
        {"Joins", "", notANumber},
    };
    for (const Case& c : cases) {
        KivTablePageSettings settings = page();
        const int index = settings.find(c.key);
        const double before = settings.getValue(index);
        const bool good = settings.setText(c.key, c.text);
        EXPECT_EQ(good, !std::isnan(c.expected)) << c.key << "=" << c.text;
        EXPECT_EQ(settings.getValue(index), good ? c.expected : before) << c.key << "=" << c.text;
    }
}

TEST(KivSettingsTable, FaultsSayWhatWasExpected) {
    struct Case {
        const char* key;
        const char* text;
        const char* why;
    };
    const Case cases[] = {
        {"Flat", "maybe", "expected yes or no, got \"maybe\""},
        {"Bands", "9", "expected a whole number from 1 to 8, got \"9\""},
        {"Softness", "x", "expected a number from -1.5 to 1.5, got \"x\""},
        {"Ink", "red", "expected a colour as #rrggbb, got \"red\""},
        {"Joins", "sharp", "expected one of round, mitre, bevel, got \"sharp\""},
        {"Pen", "1", "there is no setting \"Pen\""},
    };
    for (const Case& c : cases) {
        KivTablePageSettings settings = page();
        std::string why;
        EXPECT_FALSE(settings.setText(c.key, c.text, &why));
        EXPECT_EQ(why, c.why);
    }
}

TEST(KivSettingsTable, TextsOfValues) {
    KivTablePageSettings settings = page();
    const char* expected[] = {"1", "3", "0.1", "#ff0000", "mitre"};
    for (int i = 0; i < numSettings; ++i) {
        std::string text;
        EXPECT_TRUE(settings.getText(table[i].key, &text));
        EXPECT_EQ(text, expected[i]);
    }
    std::string text = "kept";
    EXPECT_FALSE(settings.getText("Pen", &text));
    EXPECT_EQ(text, "kept");
}

TEST(KivSettingsTable, TextAndValueMirrorEachOther) {
    std::mt19937 random(20260101);
    for (int round = 0; round < 20000; ++round) {
        const int i = static_cast<int>(random() % numSettings);
        // Any pattern of bits, NaN and infinities among them, brought into range.
        const auto bits = static_cast<std::uint64_t>(random()) << 32 | random();
        const double value = kivClampSetting(table[i], std::bit_cast<double>(bits));
        double back = notANumber;
        ASSERT_TRUE(kivParseSetting(table[i], kivFormatSetting(table[i], value), &back)) << i << " " << value;
        ASSERT_EQ(back, value);
    }
}

TEST(KivSettingsTable, StreamHasOneCellForEachSettingAndItsMark) {
    Marks manager;
    manager.setSaving();
    KivTablePageSettings settings = page();
    settings.setDataManager(&manager);
    settings.saveSettings();
    const auto& cells = manager.getCells();
    ASSERT_EQ(cells.size(), 5U);
    EXPECT_EQ(cells[Flat].getType(), KivProperty::Bool);
    EXPECT_EQ(cells[Bands].getType(), KivProperty::Int);
    EXPECT_EQ(cells[Softness].getType(), KivProperty::Double);
    EXPECT_EQ(cells[Ink].getType(), KivProperty::UnsignedLong);
    EXPECT_EQ(cells[Joins].getType(), KivProperty::Int);
    EXPECT_EQ(manager.marked, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(KivSettingsTable, StreamsComeBackExactly) {
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        KivTablePageSettings written = page();
        for (int i = 0; i < numSettings; ++i) {
            written.setValue(i, static_cast<double>(random()) / 1e9 - 2);
        }
        written.setValue(Ink, random() % 0x1000000);
        KivMemoryDataManager manager;
        manager.setSaving();
        written.setDataManager(&manager);
        written.saveData();
        manager.setLoading();
        KivTablePageSettings read = page();
        read.setDataManager(&manager);
        read.loadData();
        ASSERT_TRUE(read.isLoaded());
        for (int i = 0; i < numSettings; ++i) {
            ASSERT_EQ(read.getValue(i), written.getValue(i));
        }
    }
}

TEST(KivSettingsTable, HostileStreamComesIntoRange) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveBool(false);
    manager.saveInt(-2000000000);
    manager.saveDouble(notANumber);
    manager.saveUnsignedLong(0xFFABCDEFU); // the top byte has no meaning
    manager.saveInt(2000000000);
    manager.setLoading();
    KivTablePageSettings settings = page();
    settings.setDataManager(&manager);
    EXPECT_TRUE(settings.loadSettings());
    EXPECT_FALSE(settings.getBool(Flat));
    EXPECT_EQ(settings.getInt(Bands), 1);
    EXPECT_EQ(settings.getValue(Softness), 0.1);
    EXPECT_EQ(settings.getColour(Ink), 0xABCDEFU);
    EXPECT_EQ(settings.getInt(Joins), 2);
}

TEST(KivSettingsTable, ShortStreamLeavesTheRest) {
    KivMemoryDataManager manager;
    manager.setSaving();
    manager.saveBool(false);
    manager.saveInt(5);
    manager.saveString(L"NextShader");
    manager.setLoading();
    KivTablePageSettings settings = page();
    settings.setValue(Softness, 1);
    settings.setDataManager(&manager);
    EXPECT_FALSE(settings.loadSettings());
    EXPECT_FALSE(settings.getBool(Flat));
    EXPECT_EQ(settings.getInt(Bands), 5);
    EXPECT_EQ(settings.getValue(Softness), 1);
    wchar_t text[260];
    manager.loadString(text); // the next shader's marker is still there
    EXPECT_EQ(std::wstring(text), L"NextShader");
}

// A setting that objects disagreed on is not marked so by a stream that ends before it.
TEST(KivSettingsTable, AShortStreamLeavesNoMarks) {
    KivTablePageSettings settings = page();
    for (int i = 0; i < numSettings; ++i) {
        settings.setVaried(i, true);
    }
    KivMemoryDataManager stream;
    stream.setSaving();
    stream.saveString(L"Page");
    stream.setLoading();
    settings.setDataManager(&stream);
    settings.loadData();
    EXPECT_FALSE(settings.isLoaded());
    for (int i = 0; i < numSettings; ++i) {
        EXPECT_FALSE(settings.isVaried(i)) << i;
    }
}

TEST(KivSettingsTable, NoStream) {
    KivTablePageSettings settings = page();
    settings.saveSettings();
    EXPECT_FALSE(settings.loadSettings());
    EXPECT_EQ(settings.getInt(Bands), 3);
}

TEST(KivSettingsTable, StyleFile) {
    const TempFolder folder;
    const std::wstring file = folder.wide("a.kiv");
    KivTablePageSettings written = page();
    written.setValue(Softness, 1.0 / 3);
    written.setValue(Ink, 0x030201);
    written.setValue(Flat, 0);
    EXPECT_TRUE(written.save(L"Cartoon", file.c_str()));
    EXPECT_EQ(folder.read("a.kiv"), "[Cartoon]\r\nFlat=0\r\nBands=3\r\nSoftness=0.3333333333333333\r\n"
                                    "Ink=#010203\r\nJoins=mitre\r\n");
    KivTablePageSettings read = page();
    EXPECT_TRUE(read.load(L"Cartoon", file.c_str()));
    for (int i = 0; i < numSettings; ++i) {
        EXPECT_EQ(read.getValue(i), written.getValue(i));
    }
}

TEST(KivSettingsTable, StyleFileThatCannotBeWritten) {
    const TempFolder folder;
    EXPECT_FALSE(page().save(L"Cartoon", folder.wide("no/a.kiv").c_str()));
    EXPECT_FALSE(page().save(L"A]B", folder.wide("a.kiv").c_str()));
    EXPECT_EQ(folder.count(), 0U);
}

TEST(KivSettingsTable, HostileStyleFileComesIntoRange) {
    const TempFolder folder;
    folder.write("a.kiv", "[Cartoon]\nFlat=banana\nBands=-99999999999999999999\nSoftness=nan\nInk=#12\nJoins=77\n");
    KivTablePageSettings settings = page();
    for (int i = 0; i < numSettings; ++i) {
        settings.setValue(i, 2);
    }
    EXPECT_TRUE(settings.load(L"Cartoon", folder.wide("a.kiv").c_str()));
    EXPECT_TRUE(settings.getBool(Flat));  // no value of its kind: the default
    EXPECT_EQ(settings.getInt(Bands), 1); // out of range: the nearer end
    EXPECT_EQ(settings.getValue(Softness), 0.1);
    EXPECT_EQ(settings.getColour(Ink), 0xFFU);
    EXPECT_EQ(settings.getInt(Joins), 2);
}

TEST(KivSettingsTable, MissingKeysGiveTheDefaults) {
    const TempFolder folder;
    KivTablePageSettings settings = page();
    settings.setValue(Bands, 7);
    EXPECT_TRUE(settings.load(L"Cartoon", folder.wide("missing.kiv").c_str()));
    EXPECT_EQ(settings.getInt(Bands), 3);
    EXPECT_TRUE(settings.load(nullptr, nullptr));
}

TEST(KivSettingsTable, NumbersDoNotDependOnTheLocale) {
    const CommaLocale locale;
    if (!CommaLocale::isInForce()) {
        GTEST_SKIP() << "no localedef to make a locale with";
    }
    EXPECT_EQ(kivFormatSetting(table[Softness], 0.5), "0.5");
    double value = 0;
    EXPECT_TRUE(kivParseSetting(table[Softness], "0.5", &value));
    EXPECT_EQ(value, 0.5);
}

TEST(KivSettingsTable, ChoicesByName) {
    EXPECT_EQ(kivNumChoices(table[Joins]), 3);
    EXPECT_EQ(kivNumChoices(table[Ink]), 0);
    EXPECT_EQ(kivChoiceName(table[Joins], 2), "bevel");
    EXPECT_EQ(kivChoiceName(table[Joins], 3), "");
    EXPECT_EQ(kivChoiceName(table[Joins], -1), "");
    EXPECT_EQ(kivFindSetting(nullptr, 3, "x"), -1);
}

TEST(KivSettingsTable, LargeNumbersAreWrittenAsTheyAreRead) {
    const KivSettingInfo large[] = {
        {"Seed", KivSettingType::Int, -2e9, 2e9, 0, L"A number", nullptr},
        {"Length", KivSettingType::Double, 0, 1e300, 0, L"A length", nullptr},
    };
    for (const double value : {100000.0, 1000000.0, 2e9, -2e9, 123456789.0}) {
        const std::string text = kivFormatSetting(large[0], value);
        EXPECT_EQ(text.find('e'), std::string::npos) << text;
        double read = 0;
        EXPECT_TRUE(kivParseSetting(large[0], text, &read)) << text;
        EXPECT_EQ(read, value);
    }
    EXPECT_EQ(kivFormatSetting(large[1], 10000), "10000");
    for (const double value : {1e-300, 1e-6, 0.1 + 0.2, 123456.789, 999999999999999.9, 1e15, 1e300}) {
        double read = 0;
        EXPECT_TRUE(kivParseSetting(large[1], kivFormatSetting(large[1], value), &read));
        EXPECT_EQ(read, value);
    }
}

TEST(KivSettingsTable, WhatIsTypedComesIntoRange) {
    struct Case {
        int setting;
        const char* text;
        double expected; // NaN: refused
    };
    const Case cases[] = {
        {Bands, "99", 8},
        {Bands, "-99999999999999999999", 1},
        {Bands, " 4 ", 4},
        {Bands, "4.5", notANumber},
        {Bands, "", notANumber},
        {Softness, "1e999", 1.5},
        {Softness, "-7", -1.5},
        {Softness, "nan", notANumber},
        {Softness, "soft", notANumber},
        {Joins, "bevel", 2},
        {Flat, "7", 1},
    };
    for (const Case& c : cases) {
        double value = -77;
        const bool good = kivReadSetting(table[c.setting], c.text, &value);
        EXPECT_EQ(good, !std::isnan(c.expected)) << c.text;
        EXPECT_EQ(value, good ? c.expected : -77) << c.text;
    }
    EXPECT_TRUE(kivReadSetting(table[Bands], "3", nullptr));
}

TEST(KivSettingsTable, WhatObjectsDisagreeOnStaysSo) {
    KivMemoryDataManager objects[2];
    for (int i = 0; i < 2; ++i) {
        KivTablePageSettings settings = page();
        settings.setValue(Bands, 2 + i);
        settings.setValue(Ink, 0x10 + i);
        settings.setValue(Softness, 1);
        objects[i].setSaving();
        settings.setDataManager(&objects[i]);
        settings.saveData();
    }
    KivAverageDataManager both;
    both.buildAverageData({&objects[0], &objects[1]});
    both.setLoading();
    KivTablePageSettings settings = page();
    settings.setDataManager(&both);
    settings.loadData();
    ASSERT_TRUE(settings.isLoaded());
    for (int i = 0; i < numSettings; ++i) {
        EXPECT_EQ(settings.isVaried(i), i == Bands || i == Ink) << i;
    }
    EXPECT_EQ(settings.getInt(Bands), 2) << "the first object's";
    EXPECT_TRUE(KivTablePageSettings(settings).isVaried(Bands)) << "a copy knows";
    settings.setValue(Ink, 0x10);
    settings.setValue(Softness, 0.5);
    EXPECT_FALSE(settings.isVaried(Ink)) << "even a value that one of them has";

    both.clearData();
    both.setSaving();
    settings.saveData();
    both.rebuildObjectsDataFromAverageData({&objects[0], &objects[1]});
    for (int i = 0; i < 2; ++i) {
        KivTablePageSettings own = page();
        objects[i].setLoading();
        own.setDataManager(&objects[i]);
        own.loadData();
        EXPECT_EQ(own.getInt(Bands), 2 + i);
        EXPECT_EQ(own.getColour(Ink), 0x10U);
        EXPECT_EQ(own.getValue(Softness), 0.5);
    }
}

TEST(KivSettingsTable, AStreamOfOneObjectEndsTheDisagreement) {
    KivMemoryDataManager one;
    KivTablePageSettings settings = page();
    one.setSaving();
    settings.setDataManager(&one);
    settings.saveData();
    one.setLoading();
    for (int i = 0; i < numSettings; ++i) {
        settings.setVaried(i, true);
    }
    settings.loadData();
    for (int i = 0; i < numSettings; ++i) {
        EXPECT_FALSE(settings.isVaried(i));
        settings.setVaried(i, true);
    }
    settings.setDefaults();
    EXPECT_FALSE(settings.isVaried(Ink));
}
