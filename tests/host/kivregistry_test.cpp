// The helpers by which a derived host keeps its preferences.
#include "host/testhost.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const wchar_t* key = L"Morvane\\2.0\\SelvarinR";

class KivRegistryTest : public testing::Test {
protected:
    TempHome home;
    TestHost host;
    wchar_t text[kivMaxPath] = {};
};

} // namespace

TEST_F(KivRegistryTest, TextsInTwoScopes) {
    EXPECT_TRUE(host.saveStringOnRegistryKey(false, key, L"StylesPath", L"/mine"));
    EXPECT_TRUE(host.saveStringOnRegistryKey(true, key, L"StylesPath", L"/ours"));
    EXPECT_TRUE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text));
    EXPECT_STREQ(text, L"/mine");
    EXPECT_TRUE(host.loadStringOnRegistryKey(true, key, L"StylesPath", text));
    EXPECT_STREQ(text, L"/ours");
}

TEST_F(KivRegistryTest, MissingValueEmptiesTheText) {
    ASSERT_TRUE(host.saveDwordOnRegistryKey(false, key, L"Number", 5));
    kivCopyText(text, kivMaxPath, L"before");
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text));
    EXPECT_STREQ(text, L"");
    kivCopyText(text, kivMaxPath, L"before");
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"Number", text)); // of another type
    EXPECT_STREQ(text, L"");
}

// A text is read into 260 bytes of two-byte characters: longer ones can be written and not read.
TEST_F(KivRegistryTest, LongTextsCannotBeRead) {
    EXPECT_TRUE(host.saveStringOnRegistryKey(false, key, L"Path", std::wstring(129, L'p').c_str()));
    EXPECT_TRUE(host.loadStringOnRegistryKey(false, key, L"Path", text));
    EXPECT_EQ(std::wstring(text).size(), 129U);
    EXPECT_TRUE(host.saveStringOnRegistryKey(false, key, L"Path", std::wstring(130, L'p').c_str()));
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"Path", text));
    EXPECT_STREQ(text, L"");
    // A character beyond the first 65536 takes two.
    EXPECT_TRUE(host.saveStringOnRegistryKey(false, key, L"Path", std::wstring(65, L'\U0001F58C').c_str()));
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"Path", text));
}

TEST_F(KivRegistryTest, TextUnderAMissingKeyIsStoredAndNotFound) {
    kivCopyText(text, kivMaxPath, L"present");
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text));
    EXPECT_STREQ(text, L"present");
    EXPECT_EQ(home.read("config/tolvar/preferences.ini"), "[Morvane\\2.0\\SelvarinR]\r\nStylesPath=text:present\r\n");
    EXPECT_TRUE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text)); // now it is
}

TEST_F(KivRegistryTest, TextUnderAKeyThatCannotBeMadeIsEmptied) {
    home.write("config", "a file where the folder should be");
    kivCopyText(text, kivMaxPath, L"present");
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text));
    EXPECT_STREQ(text, L"");
    EXPECT_FALSE(host.saveStringOnRegistryKey(false, key, L"StylesPath", L"x"));
}

TEST_F(KivRegistryTest, BufferWithoutAnEndIsReadNoFurtherThanItsSize) {
    for (wchar_t& c : text) {
        c = L'g';
    }
    EXPECT_FALSE(host.loadStringOnRegistryKey(false, key, L"StylesPath", text));
    EXPECT_EQ(std::wstring(text), std::wstring(kivMaxPath - 1, L'g'));
}

TEST_F(KivRegistryTest, Numbers) {
    EXPECT_TRUE(host.saveDwordOnRegistryKey(false, key, L"ShowPreview", 4294967295U));
    std::uint32_t number = 0;
    EXPECT_TRUE(host.loadDwordOnRegistryKey(false, key, L"ShowPreview", &number));
    EXPECT_EQ(number, 4294967295U);
    EXPECT_FALSE(host.loadDwordOnRegistryKey(false, key, L"Missing", &number));
    EXPECT_EQ(number, 0U);
    ASSERT_TRUE(host.saveStringOnRegistryKey(false, key, L"Text", L"12"));
    number = 3;
    EXPECT_FALSE(host.loadDwordOnRegistryKey(false, key, L"Text", &number));
    EXPECT_EQ(number, 0U);
}

// Here a number differs from a text: what was stored counts as found.
TEST_F(KivRegistryTest, NumberUnderAMissingKeyIsStoredAndFound) {
    std::uint32_t number = 6;
    EXPECT_TRUE(host.loadDwordOnRegistryKey(false, key, L"ShowPreview", &number));
    EXPECT_EQ(number, 6U);
    EXPECT_EQ(home.read("config/tolvar/preferences.ini"), "[Morvane\\2.0\\SelvarinR]\r\nShowPreview=number:6\r\n");
    home.write("machine", "a file where the folder should be");
    EXPECT_FALSE(host.loadDwordOnRegistryKey(true, key, L"ShowPreview", &number));
    EXPECT_EQ(number, 0U);
}
