// The settings of all plug-ins on their way through streams, documents, objects, styles and pages.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/scene/kivpolyline.h"
#include "picture.h"

namespace {

// A document of values that were saved one after the other.
class Document : public KivDataManager {
public:
    explicit Document(KivDataManager& source, int cells) {
        source.setLoading();
        left = cells;
        from = &source;
        setSaving();
    }

    bool loadIntFromFile(int* value) override {
        *value = from->loadInt();
        return saveInt(*value) && take();
    }
    bool loadDoubleFromFile(double* value) override {
        *value = from->loadDouble();
        return saveDouble(*value) && take();
    }
    bool loadFloatFromFile(float* value) override {
        *value = from->loadFloat();
        return saveFloat(*value) && take();
    }
    bool loadBoolFromFile(bool* value) override {
        *value = from->loadBool();
        return saveBool(*value) && take();
    }
    bool loadCharFromFile(char* value) override {
        *value = from->loadChar();
        return saveChar(*value) && take();
    }
    bool loadStringFromFile(wchar_t* value) override {
        from->loadString(value);
        return saveString(value) && take();
    }
    bool loadUnsignedShortFromFile(unsigned short* value) override {
        *value = from->loadUnsignedShort();
        return saveUnsignedShort(*value) && take();
    }
    bool loadUnsignedLongFromFile(std::uint32_t* value) override {
        *value = from->loadUnsignedLong();
        return saveUnsignedLong(*value) && take();
    }

private:
    bool take() {
        return left-- > 0;
    }

    KivDataManager* from;
    int left;
};

class ShaderSettings : public ::testing::Test {
protected:
    std::vector<KivShader*> all() {
        return {&shaders.backdrop(), &shaders.cartoon(), &shaders.halftone(), &shaders.outline(), &shaders.sketch()};
    }
    // A value other than the default for every setting.
    static void change(KivTablePageSettings& settings) {
        for (int i = 0; i < settings.getNumSettings(); ++i) {
            const KivSettingInfo& info = settings.getInfo(i);
            settings.setValue(i, settings.getValue(i) == info.maximum ? info.minimum : info.maximum);
        }
    }
    static void expectEqual(const KivTablePageSettings& a, const KivTablePageSettings& b) {
        for (int i = 0; i < a.getNumSettings(); ++i) {
            EXPECT_EQ(a.getValue(i), b.getValue(i)) << a.getInfo(i).key;
        }
    }
    static void write(KivMemoryDataManager& stream, KivTablePageSettings& page) {
        stream.setSaving();
        page.setDataManager(&stream);
        page.saveData();
        stream.saveString(L"End Morvane");
        stream.setLoading();
    }

    LoadedShaders shaders;
};

} // namespace

TEST_F(ShaderSettings, TablesAreSound) {
    for (KivShader* shader : all()) {
        int count = 0;
        const KivSettingInfo* table = kivShaderSettings(shader, &count);
        ASSERT_GT(count, 5);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(kivFindSetting(table, count, table[i].key), i);
            EXPECT_EQ(kivClampSetting(table[i], table[i].defaultValue), table[i].defaultValue) << table[i].key;
            EXPECT_NE(std::wstring(table[i].text), L"");
        }
    }
}

TEST_F(ShaderSettings, NamesAndTags) {
    EXPECT_STREQ(shaders.cartoon().getTag(), L"Cartoon");
    EXPECT_STREQ(shaders.outline().getTag(), L"Outline");
    EXPECT_FALSE(shaders.cartoon().isCombinable());
    EXPECT_TRUE(shaders.outline().isCombinable());
    EXPECT_STREQ(shaders.outline().getName(), L"Outline");
    EXPECT_STREQ(shaders.sketch().getTag(), L"Sketch");
    EXPECT_STREQ(shaders.backdrop().getTag(), L"Backdrop");
    EXPECT_TRUE(shaders.backdrop().isCombinable());
    EXPECT_TRUE(shaders.sketch().isCombinable());
    EXPECT_STRNE(shaders.cartoon().getName(), L"");
    for (KivShader* shader : all()) {
        EXPECT_EQ(shader->getNumPages(), 1);
        EXPECT_EQ(shader->getPreviewBitmap(), nullptr);
    }
}

TEST_F(ShaderSettings, TheDefaultsAreWhatIsSavedWithoutPages) {
    for (KivShader* shader : all()) {
        KivMemoryDataManager stream;
        stream.setSaving();
        EXPECT_TRUE(shader->saveDefaultData(&stream));
        stream.saveString(L"End Morvane");
        stream.setLoading();
        KivTablePageSettings page = shaderSettings(*shader);
        change(page);
        page.setDataManager(&stream);
        page.loadData();
        EXPECT_TRUE(page.isLoaded());
        expectEqual(page, shaderSettings(*shader));
    }
}

TEST_F(ShaderSettings, AnObjectGetsWhatTheStreamSays) {
    for (KivShader* shader : all()) {
        KivTablePageSettings page = shaderSettings(*shader);
        change(page);
        KivMemoryDataManager stream;
        write(stream, page);
        KivMesh mesh;
        shader->loadObjectSettings(&stream, &mesh);
        ASSERT_EQ(mesh.getNumPageSettings(), 1);
        const auto* own = dynamic_cast<const KivTablePageSettings*>(mesh.getPageSettings(page.getSectionName()));
        ASSERT_NE(own, nullptr);
        expectEqual(*own, page);
    }
}

TEST_F(ShaderSettings, ABlockOfAnotherKindGivesTheDefaults) {
    for (KivShader* shader : all()) {
        KivMemoryDataManager stream;
        stream.setSaving();
        stream.saveString(L"Nothing of the kind");
        stream.saveInt(7);
        stream.setLoading();
        KivMesh mesh;
        shader->loadObjectSettings(&stream, &mesh);
        ASSERT_EQ(mesh.getNumPageSettings(), 1);
        expectEqual(*dynamic_cast<const KivTablePageSettings*>(mesh.getPageSettings(0)), shaderSettings(*shader));
    }
}

TEST_F(ShaderSettings, GoToAHostThatAsksForThem) {
    for (KivShader* shader : all()) {
        for (const bool selected : {true, false}) {
            KivTablePageSettings page = shaderSettings(*shader);
            change(page);
            KivMemoryDataManager stream;
            write(stream, page);
            std::vector<void*> sequence;
            EXPECT_TRUE(shader->loadShaderSettings(&stream, selected ? &sequence : nullptr, selected));
            wchar_t next[kivMaxPath];
            stream.loadString(next);
            EXPECT_STREQ(next, L"End Morvane") << "the stream stands behind the block";
            ASSERT_EQ(sequence.size(), selected ? 1U : 0U);
            if (selected) {
                const std::unique_ptr<KivTablePageSettings> own(static_cast<KivTablePageSettings*>(sequence[0]));
                expectEqual(*own, page);
            }
        }
    }
}

TEST_F(ShaderSettings, ComeFromADocumentOneByOne) {
    for (KivShader* shader : all()) {
        KivTablePageSettings page = shaderSettings(*shader);
        change(page);
        const int cells = page.getNumSettings() + 1;
        for (const int given : {cells, cells - 1, 1, 0}) {
            KivMemoryDataManager source;
            write(source, page);
            Document document(source, given);
            EXPECT_EQ(shader->loadDocData(&document), given == cells);
            if (given == cells) {
                KivTablePageSettings read = shaderSettings(*shader);
                document.setLoading();
                read.setDataManager(&document);
                read.loadData();
                expectEqual(read, page);
            }
        }
    }
}

TEST_F(ShaderSettings, PagesWithoutAWindowHoldThemToo) {
    for (KivShader* shader : all()) {
        shader->createPages(nullptr, nullptr);
        KivPageDlg* page = shader->getPage(nullptr, 0);
        ASSERT_NE(page, nullptr);
        shader->createPages(nullptr, nullptr);
        EXPECT_EQ(shader->getPage(nullptr, 0), page) << "made only once";
        EXPECT_EQ(shader->getPage(nullptr, 1), nullptr);
        auto* settings = dynamic_cast<KivTablePageSettings*>(page->getSettings());
        ASSERT_NE(settings, nullptr);
        change(*settings);
        KivMemoryDataManager stream;
        stream.setSaving();
        EXPECT_TRUE(shader->saveData(&stream, nullptr));
        stream.saveString(L"End Morvane");
        const KivTablePageSettings before = *settings;
        settings->setDefaults();
        stream.setLoading();
        ASSERT_TRUE(stream.startShader(shader->getTag()));
        EXPECT_TRUE(shader->loadData(&stream, nullptr));
        expectEqual(*settings, before);
        shader->destroyPages(nullptr);
        EXPECT_EQ(shader->getPage(nullptr, 0), nullptr);
        shader->createPages(nullptr, nullptr);
        EXPECT_NE(shader->getPage(nullptr, 0), nullptr);
        shader->destroyPages(nullptr);
    }
}

TEST_F(ShaderSettings, APreviewPutsThemOnTheScene) {
    for (KivShader* shader : all()) {
        KivScene scene;
        scene.addMesh(new KivMesh);
        shader->createPages(nullptr, nullptr);
        shader->preparePreview(&scene, nullptr);
        EXPECT_TRUE(scene.getMesh(0)->rendersThisShader(shader->getTag()));
        EXPECT_EQ(scene.getMesh(0)->getPageSettings(0), shader->getPage(nullptr, 0)->getSettings());
        scene.deleteSettingsToAllMeshes();
        shader->destroyPages(nullptr);
    }
}

TEST_F(ShaderSettings, StepsFollowTheScene) {
    KivScene scene;
    for (int i = 0; i < 5; ++i) {
        scene.addMesh(new KivMesh);
    }
    scene.addPolyline(new KivPolyline);
    EXPECT_EQ(shaders.cartoon().getProgressSteps(&scene, {}), 15U);
    EXPECT_EQ(shaders.outline().getProgressSteps(&scene, {}), 25U);
    EXPECT_EQ(shaders.sketch().getProgressSteps(&scene, {}), 25U);
}
