#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include "kivrender/platform/kivtypes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A document as a host would have kept it.
std::vector<KivProperty> document() {
    KivMemoryDataManager writer;
    writer.setSaving();
    writer.saveString(L"Style:");
    writer.saveInt(-5);
    writer.saveDouble(0.25);
    writer.saveFloat(0.5F);
    writer.saveBool(true);
    writer.saveChar('c');
    writer.saveUnsignedShort(7);
    writer.saveUnsignedLong(0xFF00FFU);
    return writer.getCells();
}

} // namespace

TEST(KivMemoryDataManager, ReadsTheDocumentAndKeepsWhatItRead) {
    KivMemoryDataManager manager;
    manager.setDocument(document());
    manager.setSaving();
    wchar_t text[kivMaxPath];
    int whole = 0;
    double wide = 0;
    float single = 0;
    bool flag = false;
    char letter = 0;
    unsigned short small = 0;
    std::uint32_t colour = 0;
    EXPECT_TRUE(manager.loadStringFromFile(text));
    EXPECT_TRUE(manager.loadIntFromFile(&whole));
    EXPECT_TRUE(manager.loadDoubleFromFile(&wide));
    EXPECT_TRUE(manager.loadFloatFromFile(&single));
    EXPECT_TRUE(manager.loadBoolFromFile(&flag));
    EXPECT_TRUE(manager.loadCharFromFile(&letter));
    EXPECT_TRUE(manager.loadUnsignedShortFromFile(&small));
    EXPECT_TRUE(manager.loadUnsignedLongFromFile(&colour));
    EXPECT_EQ(std::wstring(text), L"Style:");
    EXPECT_EQ(whole, -5);
    EXPECT_EQ(wide, 0.25);
    EXPECT_EQ(single, 0.5F);
    EXPECT_TRUE(flag);
    EXPECT_EQ(letter, 'c');
    EXPECT_EQ(small, 7);
    EXPECT_EQ(colour, 0xFF00FFU);
    EXPECT_FALSE(manager.loadIntFromFile(&whole)); // the end
    ASSERT_EQ(manager.getCells().size(), manager.getDocument().size());
    for (std::size_t i = 0; i < manager.getCells().size(); ++i) {
        EXPECT_FALSE(KivProperty::differs(manager.getCells()[i], manager.getDocument()[i]));
    }
}

TEST(KivMemoryDataManager, AnotherTypeStopsTheReading) {
    KivMemoryDataManager manager;
    manager.setDocument(document());
    manager.setSaving();
    int whole = 77;
    EXPECT_FALSE(manager.loadIntFromFile(&whole)); // a text stands here
    EXPECT_EQ(whole, 77);
    EXPECT_EQ(manager.getNumProperties(), 0);
    EXPECT_TRUE(manager.loadStringFromFile(nullptr)); // and still does; a reader need not want the value
    EXPECT_EQ(manager.getNumProperties(), 1);
}

TEST(KivMemoryDataManager, LoadingModeReadsNothingFromTheDocument) {
    KivMemoryDataManager manager;
    manager.setDocument(document());
    wchar_t text[kivMaxPath] = L"kept";
    EXPECT_FALSE(manager.loadStringFromFile(text));
    EXPECT_EQ(std::wstring(text), L"kept");
    manager.setSaving();
    EXPECT_TRUE(manager.loadStringFromFile(text));
}

TEST(KivMemoryDataManager, LongTextIsCutForTheReaderAndKeptWhole) {
    KivMemoryDataManager writer;
    writer.setSaving();
    const std::wstring longText(500, L'y');
    writer.saveString(longText.c_str());
    KivMemoryDataManager manager;
    manager.setDocument(writer.getCells());
    manager.setSaving();
    wchar_t text[kivMaxPath + 1];
    text[kivMaxPath] = L'!';
    EXPECT_TRUE(manager.loadStringFromFile(text));
    EXPECT_EQ(std::wstring(text).size(), kivMaxPath - 1U);
    EXPECT_EQ(text[kivMaxPath], L'!');
    EXPECT_FALSE(KivProperty::differs(manager.getCells()[0], writer.getCells()[0]));
}

TEST(KivMemoryCommonDataManager, NothingToLoadBeforeASave) {
    KivMemoryCommonDataManager manager;
    EXPECT_FALSE(manager.beginLoadCommonData());
    EXPECT_FALSE(manager.endSaveCommonData());
    EXPECT_FALSE(manager.saveAntialias(1)); // outside a save
    EXPECT_FALSE(manager.beginLoadCommonData());
    KivCommonSettings settings;
    settings.setAntialias(0);
    EXPECT_FALSE(settings.loadDataFromHost(&manager));
    EXPECT_EQ(settings.getAntialias(), 0);
}

TEST(KivMemoryCommonDataManager, KeepsTheWholeRecord) {
    KivCommonSettings saved;
    saved.setAntialias(1);
    saved.setResolution({640, 480});
    saved.setCustomSize(true);
    saved.setAmbientLight(0x112233);
    saved.setBackgroundColor(0x445566);
    saved.setBackgroundImage(L"/back.png");
    saved.setPaperImage(L"/paper.png");
    saved.setVectorial(true);
    saved.setTransparencies(true);
    saved.setShadows(true);
    saved.setVectorialSpeed(1);
    saved.setRenderIsoparams(true);
    saved.setRenderDim(true);
    saved.setSaveShadows(true);
    saved.setSaveDepth(true);
    saved.setSaveRender(true);
    saved.setSaveRenderFile(L"/a.png");
    saved.setSaveVectorFile(L"/a.svg");
    saved.setVectorSimplify(true);
    saved.setPolygonOffset(2.5);
    KivMemoryCommonDataManager manager;
    ASSERT_TRUE(saved.saveDataOnHost(&manager));

    KivCommonSettings loaded;
    ASSERT_TRUE(loaded.loadDataFromHost(&manager));
    EXPECT_EQ(loaded.getAntialias(), 1);
    EXPECT_EQ(loaded.getResolution(), (SIZE{640, 480}));
    EXPECT_TRUE(loaded.getCustomSize());
    EXPECT_EQ(loaded.getAmbientLight(), 0x112233U);
    EXPECT_EQ(loaded.getBackgroundColor(), 0x445566U);
    EXPECT_EQ(loaded.getBackgroundImage(), L"/back.png");
    EXPECT_EQ(loaded.getPaperImage(), L"/paper.png");
    EXPECT_TRUE(loaded.doVectorial());
    EXPECT_TRUE(loaded.doTransparencies());
    EXPECT_TRUE(loaded.doShadows());
    EXPECT_EQ(loaded.getVectorialSpeed(), 1);
    EXPECT_EQ(loaded.doRenderIsoparams(), 1);
    EXPECT_TRUE(loaded.doRenderDim());
    EXPECT_TRUE(loaded.doSaveShadows());
    EXPECT_TRUE(loaded.doSaveDepth());
    EXPECT_TRUE(loaded.doSaveRender());
    EXPECT_EQ(loaded.getSaveRenderFile(), L"/a.png");
    EXPECT_EQ(loaded.getSaveVectorFile(), L"/a.svg");
    EXPECT_TRUE(loaded.doVectorSimplify());
    EXPECT_EQ(loaded.getPolygonOffset(), 2.5);
}

TEST(KivMemoryCommonDataManager, SaveThatStopsLeavesTheEarlierValues) {
    KivMemoryCommonDataManager manager;
    KivCommonSettings settings;
    settings.setAntialias(1);
    ASSERT_TRUE(settings.saveDataOnHost(&manager));
    manager.beginSaveCommonData();
    manager.saveAntialias(2);
    EXPECT_TRUE(manager.beginLoadCommonData());
    EXPECT_EQ(manager.loadAntialias(), 1);
}

TEST(KivMemoryDataManager, AnotherDocumentIsReadFromItsStart) {
    KivMemoryDataManager manager;
    manager.setDocument(document());
    manager.setSaving();
    wchar_t text[kivMaxPath];
    EXPECT_TRUE(manager.loadStringFromFile(text));
    int whole = 0;
    EXPECT_TRUE(manager.loadIntFromFile(&whole));
    manager.setDocument(document());
    text[0] = L'\0';
    EXPECT_TRUE(manager.loadStringFromFile(text));
    EXPECT_EQ(std::wstring(text), L"Style:");
}

// Each cell that comes from a document gets its flag, as every cell that is written does.
TEST(KivMemoryDataManager, EachCellOfADocumentHasItsFlag) {
    class Flagged : public KivMemoryDataManager {
    public:
        void saveCurrentVaried(bool flag) override {
            flags.push_back(flag);
        }
        std::vector<bool> flags;
    };
    Flagged manager;
    manager.setDocument(document());
    manager.setSaving();
    wchar_t text[kivMaxPath];
    int whole = 0;
    EXPECT_TRUE(manager.loadStringFromFile(text));
    EXPECT_TRUE(manager.loadIntFromFile(&whole));
    EXPECT_FALSE(manager.loadIntFromFile(&whole)) << "a double is next";
    EXPECT_EQ(manager.flags, (std::vector<bool>{false, false}));
}

TEST(KivMemoryCommonDataManager, ASaveThatBeginsAgainForgetsTheBrokenOne) {
    KivMemoryCommonDataManager manager;
    const int before = [] {
        KivMemoryCommonDataManager fresh;
        fresh.beginSaveCommonData();
        fresh.endSaveCommonData();
        return fresh.loadAntialias();
    }();
    EXPECT_TRUE(manager.beginSaveCommonData());
    EXPECT_TRUE(manager.saveAntialias(before + 1));
    EXPECT_TRUE(manager.saveSaveRenderFile(L"broken.png"));
    EXPECT_TRUE(manager.beginSaveCommonData());
    EXPECT_TRUE(manager.endSaveCommonData());
    EXPECT_EQ(manager.loadAntialias(), before);
    EXPECT_STREQ(manager.loadSaveRenderFile(), L"");
}
