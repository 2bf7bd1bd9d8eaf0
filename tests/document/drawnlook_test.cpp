#include "apps/document/drawnlook.h"

#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshadersettings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::uint32_t sheet = 0xD0D8DC;
constexpr std::uint32_t strokes = 0x203040;
constexpr std::uint32_t lines = 0x111111;

// A stream as the panel writes them: three lines of names, then a block for each shader.
StudioLook lookOf(const std::wstring& added) {
    KivMemoryDataManager stream;
    stream.setSaving();
    const auto text = [&stream](const std::wstring& line) { stream.saveString(line.c_str()); };
    text(L"Style:");
    text(L"NonCombinableShader:");
    text(L"CombinableShader:" + added);
    text(L"Backdrop");
    text(L"BackdropSheet");
    stream.saveUnsignedLong(sheet);
    stream.saveUnsignedLong(0x999999);
    stream.saveDouble(1.5);
    text(L"Outline");
    text(L"OutlineLines");
    stream.saveUnsignedLong(lines);
    stream.saveBool(true);
    text(L"Sketch");
    text(L"SketchStrokes");
    stream.saveInt(2);
    stream.saveUnsignedLong(strokes);
    text(L"End Morvane ");
    return stream;
}

std::wstring addedIn(const StudioLook& look) {
    std::wstring text;
    look.getCells()[2].getValue(text);
    return text;
}

std::uint32_t colourIn(const StudioLook& look, std::size_t cell) {
    std::uint32_t colour = 0;
    look.getCells()[cell].getValue(colour);
    return colour;
}

class QuickLook : public testing::Test {
protected:
    QuickLook() {
        EXPECT_GT(KivShader::loadShaders(nullptr), 0);
        EXPECT_NE(KivShader::getByTag(L"Outline"), nullptr);
    }
    ~QuickLook() override {
        KivShader::unLoadAll();
    }
};

constexpr std::size_t lineColour = 10; // the cell

} // namespace

TEST(SheetColour, IsThatOfABackdropThatIsDrawn) {
    EXPECT_EQ(sheetColour(lookOf(L"Backdrop;Sketch;")), sheet);
    EXPECT_EQ(sheetColour(lookOf(L"Sketch;Backdrop;")), sheet);
    EXPECT_EQ(sheetColour(lookOf(L"Sketch;")), std::nullopt) << "the block alone lays no sheet";
    EXPECT_EQ(sheetColour(lookOf(L"OtherBackdrop;")), std::nullopt);
    EXPECT_EQ(sheetColour(StudioLook()), std::nullopt);
}

TEST_F(QuickLook, DrawsLinesInTheColourOfTheStrokes) {
    const StudioLook quick = quickLook(lookOf(L"Backdrop;Sketch;"));
    EXPECT_EQ(addedIn(quick), L"CombinableShader:Backdrop;Outline;");
    EXPECT_EQ(colourIn(quick, lineColour), strokes);
    EXPECT_EQ(sheetColour(quick), sheet);
    EXPECT_EQ(quick.getCells().size(), lookOf(L"").getCells().size());
}

TEST_F(QuickLook, LinesThatAreThereStayAsTheyAre) {
    const StudioLook quick = quickLook(lookOf(L"Sketch;Outline;"));
    EXPECT_EQ(addedIn(quick), L"CombinableShader:Outline;");
    EXPECT_EQ(colourIn(quick, lineColour), lines);
}

TEST_F(QuickLook, WithoutStrokesNothingChanges) {
    const StudioLook look = lookOf(L"Backdrop;Outline;");
    EXPECT_TRUE(quickLook(look).shares(look));
    EXPECT_EQ(quickLook(StudioLook()), StudioLook());
}

// Films cannot hold lines that follow the form.
TEST_F(QuickLook, ASteadyLookHatchesStraight) {
    int count = 0;
    const KivSettingInfo* const table = kivShaderSettings(KivShader::getByTag(L"Sketch"), &count);
    const int hatching = kivFindSetting(table, count, "HatchDirection");
    ASSERT_GE(hatching, 0);
    const auto lookWith = [count](const std::wstring& added, int value) {
        KivMemoryDataManager stream;
        stream.setSaving();
        const std::wstring names[] = {L"Style:", L"NonCombinableShader:", L"CombinableShader:" + added, L"Sketch",
                                      L"SketchStrokes"};
        for (const std::wstring& name : names) {
            stream.saveString(name.c_str());
        }
        for (int i = 0; i < count; ++i) {
            stream.saveInt(value);
        }
        stream.saveString(L"End Morvane ");
        return StudioLook(stream);
    };
    const StudioLook look = lookWith(L"Backdrop;Sketch;", 1);
    const StudioLook steady = steadyLook(look);
    ASSERT_EQ(steady.getCells().size(), look.getCells().size());
    for (int i = 0; i < count; ++i) {
        int value = -1;
        steady.getCells()[static_cast<std::size_t>(5 + i)].getValue(value);
        EXPECT_EQ(value, i == hatching ? 0 : 1) << table[i].key;
    }
    EXPECT_EQ(addedIn(steady), addedIn(look));
    const StudioLook still = lookWith(L"Backdrop;", 1);
    EXPECT_TRUE(steadyLook(still).shares(still)) << "nobody hatches";
}

TEST(LookParts, OfALookAreFoundAndLeftOut) {
    const StudioLook look = lookOf(L"Backdrop;Sketch;Outline;");
    EXPECT_TRUE(partsOf(look).backdrop);
    EXPECT_TRUE(partsOf(look).lines);
    LookParts wanted;
    wanted.lines = false;
    EXPECT_EQ(addedIn(withParts(look, wanted)), L"CombinableShader:Backdrop;");
    EXPECT_FALSE(partsOf(withParts(look, wanted)).lines);
    wanted = {};
    wanted.backdrop = false;
    EXPECT_EQ(addedIn(withParts(look, wanted)), L"CombinableShader:Sketch;Outline;");
    EXPECT_FALSE(partsOf(withParts(look, wanted)).backdrop);
    wanted = {};
    wanted.base = false;
    EXPECT_FALSE(partsOf(withParts(look, wanted)).base);
    EXPECT_EQ(withParts(look, {}).getCells().size(), look.getCells().size());
    EXPECT_FALSE(partsOf(StudioLook()).base);
}
