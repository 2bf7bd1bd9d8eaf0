#include "kivrender/platform/kivtext.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <string>

TEST(KivText, CopyIsBoundedAndTerminated) {
    wchar_t out[5] = L"????";
    EXPECT_EQ(kivCopyText(out, 4, L"abcdef"), 3U);
    EXPECT_EQ(std::wstring(out), L"abc");
    EXPECT_EQ(out[4], L'\0');
    EXPECT_EQ(kivCopyText(out, 4, L"x"), 1U);
    EXPECT_EQ(std::wstring(out), L"x");
    EXPECT_EQ(kivCopyText(out, 1, L"abc"), 0U);
    EXPECT_EQ(std::wstring(out), L"");
}

TEST(KivText, CopyOfNothing) {
    wchar_t out[3] = L"ab";
    EXPECT_EQ(kivCopyText(out, 3, static_cast<const wchar_t*>(nullptr)), 0U);
    EXPECT_EQ(std::wstring(out), L"");
    out[0] = L'k';
    EXPECT_EQ(kivCopyText(out, 0, L"abc"), 0U);
    EXPECT_EQ(out[0], L'k');
    EXPECT_EQ(kivCopyText(nullptr, 3, L"abc"), 0U);
}

TEST(KivText, CopyWithinOneBuffer) {
    wchar_t buffer[8] = L"abcdef";
    kivCopyText(buffer + 1, 7, std::wstring_view(buffer, 6));
    EXPECT_EQ(std::wstring(buffer), L"aabcdef");
}

TEST(KivText, ComparisonWithoutCase) {
    EXPECT_EQ(kivCompareNoCase(L"Cartoon", L"cARTOON"), 0);
    EXPECT_LT(kivCompareNoCase(L"a", L"B"), 0);
    EXPECT_GT(kivCompareNoCase(L"b", L"A"), 0);
    EXPECT_LT(kivCompareNoCase(L"ab", L"abc"), 0);
    EXPECT_EQ(kivCompareNoCase(nullptr, L""), 0);
    EXPECT_LT(kivCompareNoCase(nullptr, L"a"), 0);
    EXPECT_EQ(kivCompareNoCase(L"ÄÖ", L"äö"), 0);
    EXPECT_TRUE(kivEqualNoCase(L"PNG", L"png"));
    EXPECT_FALSE(kivEqualNoCase(L"png", L"pn"));
}

TEST(KivText, ComparisonDoesNotDependOnTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    EXPECT_TRUE(kivEqualNoCase(L"ГРАНЬ", L"грань"));
    std::setlocale(LC_ALL, before.c_str());
}

TEST(KivText, Utf8) {
    EXPECT_EQ(kivFromUtf8("Gr\xC3\xBCn"), L"Grün");
    EXPECT_EQ(kivFromUtf8("\xF0\x9F\x99\x82"), L"\U0001F642");
    EXPECT_EQ(kivToUtf8(L"Grün \U0001F642"), "Gr\xC3\xBCn \xF0\x9F\x99\x82");
    EXPECT_EQ(kivFromUtf8(""), L"");
    EXPECT_EQ(kivToUtf8(L""), "");
}

TEST(KivText, BadUtf8SurvivesTheRoundTrip) {
    const char* cases[] = {"\xFF",         "\x80",         "\xC3",      "\xC0\x80",     "\xE0\x80\x80",
                           "\xED\xA0\x80", "\xF5\x80\x80", "a\xE2\x82", "\xF0\x9F\x99", "\xF4\x90\x80\x80"};
    for (const char* bytes : cases) {
        EXPECT_EQ(kivToUtf8(kivFromUtf8(bytes)), bytes);
    }
}

TEST(KivText, AnyBytesSurviveTheRoundTrip) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes;
        for (auto length = random() % 12; length > 0; --length) {
            // Mostly bytes that begin or continue a sequence, so that broken ones of every kind come about.
            const auto word = random();
            bytes.push_back(static_cast<char>((word & 0x300) != 0 ? 0x80 | (word & 0x7F) : word & 0xFF));
        }
        ASSERT_EQ(kivToUtf8(kivFromUtf8(bytes)), bytes);
    }
}

TEST(KivText, NoCharacterBeyondUnicode) {
    EXPECT_EQ(kivToUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}
