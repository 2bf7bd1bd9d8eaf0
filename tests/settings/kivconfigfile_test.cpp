#include "kivrender/settings/kivconfigfile.h"

#include "support/temphome.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

class KivConfigFileTest : public testing::Test {
protected:
    TempFolder folder;
    KivConfigFile file{folder.wide("style.kiv").c_str()};
    wchar_t text[kivMaxPath + 1] = L"untouched";
};

} // namespace

TEST_F(KivConfigFileTest, WriteMakesTheFile) {
    EXPECT_TRUE(file.write(L"General", L"CombinableShader", L"Outline;"));
    EXPECT_EQ(folder.read("style.kiv"), "[General]\r\nCombinableShader=Outline;\r\n");
    EXPECT_TRUE(file.read(L"general", L"COMBINABLESHADER", text, L""));
    EXPECT_EQ(std::wstring(text), L"Outline;");
}

TEST_F(KivConfigFileTest, WriteIntoAMissingFolderFails) {
    KivConfigFile lost(folder.wide("no/such/style.kiv").c_str());
    EXPECT_FALSE(lost.write(L"General", L"Key", L"value"));
    EXPECT_EQ(folder.count(), 0U);
}

TEST_F(KivConfigFileTest, DefaultsDecideOverSuccess) {
    EXPECT_TRUE(file.read(L"General", L"Missing", text, L"default"));
    EXPECT_EQ(std::wstring(text), L"default");
    EXPECT_FALSE(file.read(L"General", L"Missing", text, L""));
    EXPECT_EQ(std::wstring(text), L"");
    EXPECT_FALSE(file.read(L"General", L"Missing", text, nullptr));
    EXPECT_TRUE(file.write(L"General", L"Empty", L""));
    EXPECT_FALSE(file.read(L"General", L"Empty", text, L"default"));
    EXPECT_EQ(std::wstring(text), L"");
}

TEST_F(KivConfigFileTest, DefaultLosesTheBlanksAtItsEnd) {
    EXPECT_TRUE(file.read(L"General", L"Missing", text, L" d  "));
    EXPECT_EQ(std::wstring(text), L" d");
    EXPECT_FALSE(file.read(L"General", L"Missing", text, L"   "));
}

TEST_F(KivConfigFileTest, ReadIsBounded) {
    const std::wstring longText(1000, L'z');
    EXPECT_TRUE(file.write(L"General", L"Long", longText.c_str()));
    text[kivMaxPath] = L'!';
    EXPECT_TRUE(file.read(L"General", L"Long", text, L""));
    EXPECT_EQ(std::wstring(text), std::wstring(kivMaxPath - 1, L'z'));
    EXPECT_EQ(text[kivMaxPath], L'!');
}

TEST_F(KivConfigFileTest, PathIsBounded) {
    const std::wstring longPath(1000, L'p');
    KivConfigFile lost(longPath.c_str());
    EXPECT_FALSE(lost.read(L"General", L"Key", text, L""));
    KivConfigFile nothing(nullptr);
    EXPECT_FALSE(nothing.write(L"General", L"Key", L"value"));
}

TEST_F(KivConfigFileTest, NumbersAreDecimalAndSignedWhenRead) {
    EXPECT_TRUE(file.write(L"S", L"Number", std::uint32_t{2147483647}));
    std::uint32_t number = 0;
    EXPECT_TRUE(file.read(L"S", L"Number", number, 1));
    EXPECT_EQ(number, 2147483647U);
    EXPECT_TRUE(file.write(L"S", L"Number", std::uint32_t{4294967295U}));
    EXPECT_TRUE(file.read(L"S", L"Number", text, L""));
    EXPECT_EQ(std::wstring(text), L"4294967295");
    EXPECT_TRUE(file.read(L"S", L"Number", number, 1));
    EXPECT_EQ(number, 2147483647U); // does not survive
}

TEST_F(KivConfigFileTest, TextsAsNumbers) {
    struct Case {
        const wchar_t* text;
        std::uint32_t number;
    };
    const Case cases[] = {{L"no number", 0},
                          {L"12abc", 12},
                          {L"-1", 4294967295U},
                          {L"+7", 7},
                          {L"0x10", 0},
                          {L" 12", 12},
                          {L"\t-12", 4294967284U},
                          {L" \t +12 ", 12},
                          {L"- 12", 0},
                          {L"2147483647", 2147483647U},
                          {L"2147483648", 2147483647U},
                          {L"-2147483648", 2147483648U},
                          {L"-2147483649", 2147483648U},
                          {L"99999999999999999999", 2147483647U},
                          {L"-99999999999999999999", 2147483648U}};
    for (const Case& c : cases) {
        ASSERT_TRUE(file.write(L"S", L"Number", c.text));
        std::uint32_t number = 77;
        EXPECT_TRUE(file.read(L"S", L"Number", number, 5)) << c.text;
        EXPECT_EQ(number, c.number) << c.text;
    }
}

TEST_F(KivConfigFileTest, MissingAndEmptyNumbers) {
    std::uint32_t number = 0;
    EXPECT_TRUE(file.read(L"S", L"Missing", number, 5));
    EXPECT_EQ(number, 5U);
    ASSERT_TRUE(file.write(L"S", L"Empty", L""));
    EXPECT_FALSE(file.read(L"S", L"Empty", number, 5));
    EXPECT_EQ(number, 0U);
}

TEST_F(KivConfigFileTest, BoolsIgnoreTheirDefault) {
    bool flag = true;
    EXPECT_TRUE(file.read(L"S", L"Missing", flag, false));
    EXPECT_TRUE(flag); // as it was
    flag = false;
    EXPECT_TRUE(file.read(L"S", L"Missing", flag, true));
    EXPECT_FALSE(flag);
    EXPECT_TRUE(file.write(L"S", L"Flag", true));
    EXPECT_EQ(folder.read("style.kiv"), "[S]\r\nFlag=1\r\n");
    EXPECT_TRUE(file.read(L"S", L"Flag", flag, false));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(file.write(L"S", L"Flag", false));
    EXPECT_TRUE(file.read(L"S", L"Flag", flag, false));
    EXPECT_FALSE(flag);
    EXPECT_TRUE(file.write(L"S", L"Flag", L"17"));
    EXPECT_TRUE(file.read(L"S", L"Flag", flag, false));
    EXPECT_TRUE(flag);
}

TEST_F(KivConfigFileTest, NullValueRemovesTheKey) {
    ASSERT_TRUE(file.write(L"S", L"A", L"1"));
    ASSERT_TRUE(file.write(L"S", L"B", L"2"));
    EXPECT_TRUE(file.write(L"S", L"A", static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(folder.read("style.kiv"), "[S]\r\nB=2\r\n");
    EXPECT_TRUE(file.write(L"S", L"A", static_cast<const wchar_t*>(nullptr))); // gone already
}

TEST_F(KivConfigFileTest, CopiesWorkOnTheSameFile) {
    KivConfigFile copy = file;
    EXPECT_TRUE(copy.write(L"S", L"A", L"1"));
    EXPECT_TRUE(file.read(L"S", L"A", text, L""));
}
