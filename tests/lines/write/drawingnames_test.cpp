#include "kivrender/lines/write/drawingnames.h"

#include <string>

#include <gtest/gtest.h>

TEST(DrawingNames, TextsHaveNoControlCharactersAndNothingThatIsNoCharacter) {
    EXPECT_EQ(kivCleanText(L"a\n\tb\x7F\x9F z"), L"a  b   z");
    EXPECT_EQ(kivCleanText(std::wstring{L'a', wchar_t(0xD800), wchar_t(0xDC80), wchar_t(0xFFFE), wchar_t(0x110000)}),
              L"a\xFFFD\xFFFD\xFFFD\xFFFD");
    EXPECT_EQ(kivCleanText(L"Gehäuse 齿轮 \x1F600"), L"Gehäuse 齿轮 \x1F600");
}

TEST(DrawingNames, XmlEscapesWhatItMust) {
    EXPECT_EQ(kivXmlText(L"<b> & \"c\" 'd'"), "&lt;b&gt; &amp; &quot;c&quot; &apos;d&apos;");
    EXPECT_EQ(kivXmlText(L"ä"), "\xC3\xA4");
}

TEST(DrawingNames, IdentifiersAreValid) {
    EXPECT_EQ(kivXmlName(L"Left wheel (2)"), "Left-wheel-2");
    EXPECT_EQ(kivXmlName(L"2nd"), "_2nd");
    EXPECT_EQ(kivXmlName(L"-x"), "_-x");
    EXPECT_EQ(kivXmlName(L"齿轮"), "\xE9\xBD\xBF\xE8\xBD\xAE");
    EXPECT_EQ(kivXmlName(L"\" onload=\"x"), "onload-x");
    EXPECT_EQ(kivXmlName(L"::"), "");
    EXPECT_LE(kivXmlName(std::wstring(1000, L'a')).size(), 64U);
    EXPECT_EQ(kivPlainName(L"Räder/*<>?|"), "R-der");
    EXPECT_LE(kivPlainName(std::wstring(1000, L'a')).size(), 64U);
}

TEST(DrawingNames, ObjectsWithoutANameHaveANumber) {
    KivVectorDrawing drawing;
    drawing.objects = {{L""}, {L"cup"}, {L""}};
    EXPECT_EQ(kivLabelOf(drawing, 0), L"other");
    EXPECT_EQ(kivLabelOf(drawing, 1), L"cup");
    EXPECT_EQ(kivLabelOf(drawing, 2), L"object 2");
}

TEST(DrawingNames, EachIsGivenOnce) {
    UniqueNames names;
    EXPECT_EQ(names.give("cup"), "cup");
    EXPECT_EQ(names.give("cup-2"), "cup-2");
    EXPECT_EQ(names.give("Cup"), "Cup-3");
    EXPECT_EQ(names.give("cup"), "cup-4");
}

TEST(DrawingNames, ThousandsOfTheSameTakeNoTime) {
    UniqueNames names;
    std::string last;
    for (int i = 0; i < 200000; ++i) {
        last = names.give("mesh");
    }
    EXPECT_EQ(last, "mesh-200000");
}
