#include "kivrender/settings/kivstreamhead.h"

#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Tags = std::vector<std::wstring>;

KivMemoryDataManager written(const KivStreamHead& head) {
    KivMemoryDataManager stream;
    stream.setSaving();
    EXPECT_TRUE(kivWriteStreamHead(stream, head));
    return stream;
}

KivStreamHead readBack(KivMemoryDataManager stream) {
    EXPECT_TRUE(stream.setLoading());
    return kivReadStreamHead(stream);
}

std::wstring textOf(const KivProperty& cell) {
    std::wstring text;
    cell.getValue(text);
    return text;
}

// Three lines of a head, then a block with a value of each type.
KivMemoryDataManager wholeStream() {
    KivMemoryDataManager stream = written({L"Ink", L"Cartoon", {L"Outline", L"Sketch"}});
    stream.startShader(L"Cartoon");
    stream.saveInt(-5);
    stream.saveDouble(0.25);
    stream.saveFloat(0.5F);
    stream.saveBool(true);
    stream.saveChar('c');
    stream.saveUnsignedShort(7);
    stream.saveUnsignedLong(0xFF00FFU);
    kivWriteStreamEnd(stream);
    return stream;
}

} // namespace

TEST(KivStreamHead, IsThreeLines) {
    const KivMemoryDataManager stream = written({L"Ink", L"Cartoon", {L"Outline", L"Sketch"}});
    ASSERT_EQ(stream.getCells().size(), kivStreamHeadCells);
    EXPECT_EQ(textOf(stream.getCells()[0]), L"Style:Ink");
    EXPECT_EQ(textOf(stream.getCells()[1]), L"NonCombinableShader:Cartoon");
    EXPECT_EQ(textOf(stream.getCells()[2]), L"CombinableShader:Outline;Sketch;");
}

TEST(KivStreamHead, ReadsWhatWasWritten) {
    const KivStreamHead head = readBack(written({L"Ink: fine", L"Cartoon", {L"Outline", L"Sketch"}}));
    EXPECT_EQ(head.style, L"Ink: fine");
    EXPECT_EQ(head.nonCombinable, L"Cartoon");
    EXPECT_EQ(head.combinables, Tags({L"Outline", L"Sketch"}));
    const KivStreamHead nothing = readBack(written({}));
    EXPECT_EQ(nothing.style, L"");
    EXPECT_EQ(nothing.nonCombinable, L"");
    EXPECT_EQ(nothing.combinables, Tags());
}

TEST(KivStreamHead, LinesWithoutTheirHeaderCountAsEmpty) {
    KivMemoryDataManager stream;
    stream.setSaving();
    for (const wchar_t* const line : {L"style:Ink", L"Cartoon", L"Combinable"}) {
        stream.saveString(line);
    }
    const KivStreamHead head = readBack(stream);
    EXPECT_EQ(head.style, L"");
    EXPECT_EQ(head.nonCombinable, L"");
    EXPECT_EQ(head.combinables, Tags());
}

TEST(KivStreamHead, LeavesTheCursorAtTheBlocks) {
    KivMemoryDataManager stream = wholeStream();
    ASSERT_TRUE(stream.setLoading());
    kivReadStreamHead(stream);
    wchar_t line[kivMaxPath] = {};
    stream.loadString(line);
    EXPECT_STREQ(line, L"Cartoon");
}

TEST(KivStreamHead, IsNotWrittenInLoadingMode) {
    KivMemoryDataManager stream = written({});
    ASSERT_TRUE(stream.setLoading());
    EXPECT_FALSE(kivWriteStreamHead(stream, {L"Ink", L"", {}}));
    EXPECT_FALSE(kivWriteStreamEnd(stream));
    EXPECT_EQ(stream.getCells().size(), kivStreamHeadCells);
}

TEST(KivStreamHead, AddsEachCombinableOnceAndRemovesIt) {
    KivStreamHead head;
    head.add(L"Outline");
    head.add(L"Sketch");
    head.add(L"Outline");
    EXPECT_EQ(head.combinables, Tags({L"Outline", L"Sketch"}));
    EXPECT_TRUE(head.has(L"Sketch"));
    EXPECT_FALSE(head.has(L"sketch"));
    EXPECT_FALSE(head.has(L"Sket"));
    EXPECT_TRUE(head.remove(L"Outline"));
    EXPECT_FALSE(head.remove(L"Outline"));
    EXPECT_EQ(head.combinables, Tags({L"Sketch"}));
}

TEST(KivStreamHead, ListsOfTagsLoseEmptyParts) {
    EXPECT_EQ(kivSplitTags(L";;a;b c;;d"), Tags({L"a", L"b c", L"d"}));
    EXPECT_EQ(kivSplitTags(L""), Tags());
    EXPECT_EQ(kivSplitTags(L";"), Tags());
    EXPECT_EQ(kivSplitTags(L"a;"), Tags({L"a"}));
    EXPECT_EQ(kivJoinTags({L"a", L"", L"b c"}), L"a;b c;");
    EXPECT_EQ(kivJoinTags({}), L"");
}

TEST(KivStreamHead, AnotherHeadKeepsTheBlocks) {
    const KivMemoryDataManager before = wholeStream();
    const KivMemoryDataManager after = kivWithStreamHead(before.getCells(), {L"Mine", L"", {L"Backdrop"}});
    const KivStreamHead head = readBack(after);
    EXPECT_EQ(head.style, L"Mine");
    EXPECT_EQ(head.combinables, Tags({L"Backdrop"}));
    ASSERT_EQ(after.getCells().size(), before.getCells().size());
    for (std::size_t i = kivStreamHeadCells; i < before.getCells().size(); ++i) {
        EXPECT_EQ(after.getCells()[i].getType(), before.getCells()[i].getType()) << i;
        EXPECT_FALSE(KivProperty::differs(after.getCells()[i], before.getCells()[i])) << i;
    }
}

TEST(KivStreamHead, StreamsThatAreTooShortGetAWholeHead) {
    KivMemoryDataManager before;
    before.setSaving();
    before.saveString(L"Style:Ink");
    const KivMemoryDataManager after = kivWithStreamHead(before.getCells(), {L"Mine", L"Cartoon", {}});
    ASSERT_EQ(after.getCells().size(), kivStreamHeadCells);
    EXPECT_EQ(textOf(after.getCells()[1]), L"NonCombinableShader:Cartoon");
}
