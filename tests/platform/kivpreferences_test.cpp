#include "kivrender/platform/kivpreferences.h"

#include "kivrender/platform/kivfolders.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace {

const std::wstring key = L"Morvane\\2.0\\SelvarinR";

class KivPreferencesTest : public testing::Test {
protected:
    TempFolder folder;
    KivPreferences preferences{folder.wide("user"), folder.wide("machine")};
};

} // namespace

TEST_F(KivPreferencesTest, NothingAtFirst) {
    EXPECT_FALSE(preferences.hasKey(false, key));
    EXPECT_FALSE(preferences.loadString(false, key, L"StylesPath").has_value());
    EXPECT_FALSE(preferences.loadNumber(true, key, L"ShowPreview").has_value());
    EXPECT_EQ(folder.count(), 0U); // looking makes nothing
}

TEST_F(KivPreferencesTest, ScopesAreApart) {
    EXPECT_TRUE(preferences.saveString(false, key, L"Styles", L"mine"));
    EXPECT_TRUE(preferences.saveString(true, key, L"Styles", L"ours"));
    EXPECT_EQ(preferences.loadString(false, key, L"Styles"), L"mine");
    EXPECT_EQ(preferences.loadString(true, key, L"styles"), L"ours"); // names have no case
    EXPECT_EQ(folder.read("user/preferences.ini"), "[Morvane\\2.0\\SelvarinR]\r\nStyles=text:mine\r\n");
    EXPECT_EQ(preferences.file(true), folder.wide("machine/preferences.ini"));
}

TEST_F(KivPreferencesTest, ValuesHaveAType) {
    EXPECT_TRUE(preferences.saveNumber(false, key, L"ShowPreview", 4294967295U));
    EXPECT_EQ(preferences.loadNumber(false, key, L"ShowPreview"), 4294967295U);
    EXPECT_FALSE(preferences.loadString(false, key, L"ShowPreview").has_value());
    EXPECT_TRUE(preferences.saveString(false, key, L"ShowPreview", L"1")); // takes the number's place
    EXPECT_FALSE(preferences.loadNumber(false, key, L"ShowPreview").has_value());
    EXPECT_EQ(preferences.loadString(false, key, L"ShowPreview"), L"1");
}

TEST_F(KivPreferencesTest, KeysCanBeEmpty) {
    EXPECT_TRUE(preferences.createKey(false, key));
    EXPECT_TRUE(preferences.hasKey(false, key));
    EXPECT_FALSE(preferences.hasKey(true, key));
    EXPECT_TRUE(preferences.createKey(false, key));
    EXPECT_EQ(folder.read("user/preferences.ini"), "[Morvane\\2.0\\SelvarinR]\r\n");
}

TEST_F(KivPreferencesTest, AnyTextComesBack) {
    const std::wstring cases[] = {L"",
                                  L" ",
                                  L" a ",
                                  L"\"quoted\"",
                                  L"a\nb\r\nc",
                                  L"\\n",
                                  L"C:\\new\\",
                                  L"tab\t",
                                  L"a=b;c",
                                  L"[x]",
                                  L"Grün \U0001F642",
                                  std::wstring(L"a\0b", 3),
                                  L"text:",
                                  L"number:5",
                                  std::wstring(5000, L'x')};
    for (const std::wstring& text : cases) {
        ASSERT_TRUE(preferences.saveString(false, key, L"Value", text));
        EXPECT_EQ(preferences.loadString(false, key, L"Value"), text);
    }
}

TEST_F(KivPreferencesTest, RandomTextsComeBack) {
    std::mt19937 random(5);
    const std::wstring letters = std::wstring(L" \t\r\n\v\f\"'\\;=[]snrtvf0a\u00e4") + L'\0';
    for (int round = 0; round < 300; ++round) {
        std::wstring text;
        for (auto length = random() % 9; length > 0; --length) {
            text += letters[random() % letters.size()];
        }
        ASSERT_TRUE(preferences.saveString(false, key, L"Value", text));
        ASSERT_EQ(preferences.loadString(false, key, L"Value"), text);
    }
}

TEST_F(KivPreferencesTest, DamagedValuesAreNone) {
    std::filesystem::create_directory(folder.path() / "user");
    folder.write("user/preferences.ini", "[Morvane\\2.0\\SelvarinR]\nA=number:\nB=number:12x\nC=number:4294967296\n"
                                         "D=5\nE=number:-1\nF=text:trailing\\\n");
    for (const wchar_t* value : {L"A", L"B", L"C", L"D", L"E"}) {
        EXPECT_FALSE(preferences.loadNumber(false, key, value).has_value()) << value;
    }
    EXPECT_FALSE(preferences.loadString(false, key, L"D").has_value());
    EXPECT_EQ(preferences.loadString(false, key, L"F"), L"trailing\\");
}

TEST_F(KivPreferencesTest, ScopeThatCannotBeWritten) {
    folder.write("blocked", "a file where the folder should be");
    KivPreferences blocked(folder.wide("user"), folder.wide("blocked"));
    EXPECT_FALSE(blocked.saveString(true, key, L"Styles", L"x"));
    EXPECT_FALSE(blocked.saveNumber(true, key, L"Styles", 1));
    EXPECT_FALSE(blocked.createKey(true, key));
    KivPreferences unknown(L"", L"");
    EXPECT_FALSE(unknown.saveString(false, key, L"Styles", L"x"));
    EXPECT_FALSE(unknown.hasKey(false, key));
    EXPECT_EQ(unknown.file(false), L"");
}

TEST(KivPreferences, StandardFolders) {
    const TempHome home;
    KivPreferences preferences;
    EXPECT_EQ(preferences.file(false), home.wide("config/tolvar/preferences.ini"));
    EXPECT_EQ(preferences.file(true), home.wide("machine/tolvar/preferences.ini"));
    EXPECT_TRUE(preferences.saveNumber(false, key, L"A", 1));
    EXPECT_TRUE(std::filesystem::exists(home.path() / "config/tolvar/preferences.ini"));
}
