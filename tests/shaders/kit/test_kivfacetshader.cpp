// A base look over the kit in every kind of render: the plug-in of the examples, whose colours are known on paper.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/host/kivresources.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshader.h"
#include "support/glsurface.h"
#include "support/recordingprogress.h"
#include "support/testhost.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

constexpr std::uint32_t background = 0xFFFFFF;
constexpr std::uint32_t paint = 0x6496C8; // red C8, green 96, blue 64

// The paint at a tone, as the shader rounds it.
std::uint32_t tone(double brightness, std::uint32_t colour = paint) {
    std::uint32_t out = 0;
    for (unsigned int shift = 0; shift < 24; shift += 8) {
        out |= static_cast<std::uint32_t>((colour >> shift & 0xFFU) * brightness + 0.5) << shift;
    }
    return out;
}

class KivFacetShaderPicture : public testing::Test {
protected:
    KivFacetShaderPicture() {
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        EXPECT_EQ(KivShader::loadShaders(kivFromUtf8(TEST_PLUGINS "/example").c_str()), 1U);
        shader = KivShader::getByTag(L"Posterised");
        host.setCurProgress(&progress);
        settings.setAntialias(0);
        settings.setResolution({100, 100});
        settings.setBackgroundColor(background);
        // From straight above, so that a facet that looks up has the light of its cosine alone.
        camera.setLocation(Kiv3DPoint(0, 0, 10));
        camera.setDirection(Kiv3DVector(0, 0, -1));
        camera.setUp(Kiv3DVector(0, 1, 0));
        camera.setFrustumNear(1);
        camera.setFrustumFar(20);
        camera.setFrustumTop(0.5);
        camera.setFrustumBottom(-0.5);
        camera.setFrustumRight(0.5);
        camera.setFrustumLeft(-0.5);
    }
    ~KivFacetShaderPicture() override {
        shader->destroyPages(nullptr);
        KivShader::unLoadAll();
    }

    // A horizontal square that looks up, by its middle and half its side.
    KivMesh& addSquare(double x, double y, double z, double half, double opacity = 1) {
        auto* mesh = new KivMesh;
        mesh->addVertex(Kiv3DPoint(x - half, y - half, z));
        mesh->addVertex(Kiv3DPoint(x + half, y - half, z));
        mesh->addVertex(Kiv3DPoint(x + half, y + half, z));
        mesh->addVertex(Kiv3DPoint(x - half, y + half, z));
        mesh->addQuad(0, 1, 2, 3);
        KivMaterial material;
        material.setDiffuse(paint);
        material.setTransparency(opacity);
        mesh->setMaterial(material);
        scene.addMesh(mesh);
        return *mesh;
    }
    // A box on the floor, with its middle at x.
    void addBox(double x, double top) {
        auto* mesh = new KivMesh;
        for (int i = 0; i < 8; ++i) {
            mesh->addVertex(
                Kiv3DPoint(x + ((i & 1) != 0 ? 0.8 : -0.8), (i & 2) != 0 ? 0.8 : -0.8, (i & 4) != 0 ? top : top - 1));
        }
        const unsigned int sides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                          {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        for (const auto& side : sides) {
            mesh->addQuad(side[0], side[1], side[2], side[3]);
        }
        KivMaterial material;
        material.setDiffuse(paint);
        mesh->setMaterial(material);
        scene.addMesh(mesh);
    }
    void addSun(double x, double z) {
        KivLight sun;
        sun.setStyle(KivLight::directionalLight);
        sun.setDirection(Kiv3DVector(x, 0, z));
        sun.setLocation(Kiv3DPoint(-1000 * x, 0, -1000 * z));
        sun.setDiffuse(0xFFFFFF);
        scene.addLight(sun);
    }
    KivTablePageSettings& page() {
        shader->createPages(nullptr, nullptr);
        return dynamic_cast<KivTablePageSettings&>(*shader->getPage(nullptr, 0)->getSettings());
    }
    void writeStyle(KivMemoryDataManager& style) {
        style.setSaving();
        for (const wchar_t* const line : {L"Style:", L"NonCombinableShader:Posterised", L"CombinableShader:"}) {
            style.saveString(line);
            style.saveCurrentVaried(false);
        }
        shader->saveData(&style, nullptr);
        style.saveString(L"End Morvane");
        style.saveCurrentVaried(false);
    }
    void render() {
        KivMemoryDataManager style;
        writeStyle(style);
        KivMemoryCommonDataManager common;
        ASSERT_TRUE(settings.saveDataOnHost(&common));
        KivRenderer renderer;
        ASSERT_TRUE(renderer.render(&common, &style, &scene, camera, &surface, nullptr));
    }
    // Where a point at that height is seen.
    std::uint32_t at(double x, double y, double z = 0) {
        const double scale = 100.0 / (10 - z);
        return pixelOf(surface, static_cast<int>(50 + x * scale), static_cast<int>(50 + y * scale));
    }

    TestHost host;
    RecordingProgress progress;
    KivShader* shader = nullptr;
    KivCommonSettings settings;
    KivCamera camera;
    KivScene scene;
    KivBitmapManager surface;
};

TEST_F(KivFacetShaderPicture, APlainRenderHasTheTonesOfTheTable) {
    page().setText("Tones", "4");
    page().setText("Dark", "0.4");
    addSquare(0, 0, 0, 4);
    addSun(-1.7320508, -1); // sixty degrees from straight down: the cosine is a half, the third tone of four
    render();
    EXPECT_EQ(at(1, 1), tone(0.4 + 0.6 * 2 / 3));
    EXPECT_EQ(at(4.5, 0), background);
}

TEST_F(KivFacetShaderPicture, EachSettingChangesIt) {
    const auto drawn = [this] {
        addSquare(0, 0, 0, 4);
        addSun(-1.7320508, -1);
        render();
        return at(1, 1);
    };
    const std::uint32_t before = drawn();
    for (const auto& [key, value] :
         {std::pair{"Tones", "2"}, {"Dark", "0.9"}, {"Colours", "grey"}, {"Colours", "ink"}}) {
        ASSERT_TRUE(page().setText(key, value));
        EXPECT_NE(drawn(), before) << key;
        page().setDefaults();
    }
    ASSERT_TRUE(page().setText("Colours", "ink"));
    const std::uint32_t ink = drawn();
    ASSERT_TRUE(page().setText("Ink", "#00ff00"));
    EXPECT_NE(drawn(), ink);
    page().setDefaults();
    const auto fromBelow = [this] {
        addSquare(0, 0, 0, 4);
        addSun(0, 1);
        render();
        return at(1, 1);
    };
    const std::uint32_t dark = fromBelow();
    ASSERT_TRUE(page().setText("Behind", "yes"));
    EXPECT_NE(fromBelow(), dark);
}

// With a light lost a facet has its share of the other; with both, exactly the look without shadows.
TEST_F(KivFacetShaderPicture, ShadowsTakeTheSharesOfTheLightsThatAreLost) {
    page().setText("Tones", "2");
    page().setText("Dark", "0.5");
    const auto fill = [this] {
        scene.empty();
        addSquare(0, 0, 0, 4.5);
        addBox(0, 2);
        addSun(-1, -1);
        addSun(1, -1);
    };
    fill();
    render();
    const std::uint32_t full = at(-4, -4);
    EXPECT_EQ(full, tone(1)) << "the cosine is 0.7, in the upper half";
    settings.setShadows(true);
    fill();
    render();
    EXPECT_EQ(at(-4, -4), full);
    EXPECT_EQ(at(0, 0, 2), full) << "the box on top";
    // The shadow of the light from the right falls to the left, from 1 to 2 box heights beside it.
    std::uint32_t half = 0;
    for (unsigned int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t dark = tone(0.5) >> shift & 0xFFU;
        half |= (dark + ((full >> shift & 0xFFU) - dark) / 2) << shift;
    }
    EXPECT_EQ(at(-2.2, 0), half);
    EXPECT_EQ(at(2.2, 0), half);
}

TEST_F(KivFacetShaderPicture, WhereAllLightIsLostTheDarkToneIsPaintedOnce) {
    page().setText("Dark", "0.5");
    settings.setShadows(true);
    addSquare(0, 0, 0, 4.5);
    addBox(0, 2);
    addSun(-1, -1);
    render();
    EXPECT_EQ(at(-2.2, 0), tone(0.5));
}

TEST_F(KivFacetShaderPicture, GlassMixesByItsOpacityAndStaysBehindWhatCoversIt) {
    for (const bool shadows : {false, true}) {
        settings.setTransparencies(true);
        settings.setShadows(shadows);
        addSquare(-2, 0, 0, 1.5, 0.5);
        addBox(2, 3);
        addSquare(2, 0, 0, 0.5, 0.5); // under the box
        addSun(-0.1, -1);
        render();
        const std::uint32_t mixed = at(-2, 0);
        for (unsigned int shift = 0; shift < 24; shift += 8) {
            const int wanted = static_cast<int>((paint >> shift & 0xFFU) + 255U) / 2;
            EXPECT_NEAR(static_cast<int>(mixed >> shift & 0xFFU), wanted, 2) << shadows << " " << shift;
        }
        EXPECT_EQ(at(2, 0, 3), tone(1)) << shadows;
        EXPECT_EQ(at(0, 3), background) << shadows;
    }
}

TEST_F(KivFacetShaderPicture, ObjectsHaveLooksOfTheirOwn) {
    page().setText("Colours", "ink");
    page().setText("Ink", "#0000ff");
    KivMemoryDataManager own;
    writeStyle(own);
    page().setDefaults();
    for (const bool shadows : {false, true}) {
        settings.setShadows(shadows);
        addSquare(-2, 0, 0, 1);
        KivMesh& other = addSquare(2, 0, 0, 1);
        ASSERT_TRUE(own.setLoading());
        other.setNonCombinableShader(L"Posterised");
        wchar_t line[kivMaxPath] = {};
        for (int i = 0; i < 4; ++i) {
            own.loadString(line); // the head, and the tag of the block
        }
        shader->loadObjectSettings(&own, &other);
        addSun(0, -1);
        render();
        EXPECT_EQ(at(-2, 0), tone(1)) << shadows;
        EXPECT_EQ(at(2, 0), 0xFF0000U) << shadows << ": red is in the low byte";
    }
}

TEST_F(KivFacetShaderPicture, ADrawingHasAFaceForEachFacetAndNoneWithoutArea) {
    const std::wstring file = kivFromUtf8(testing::TempDir()) + L"/facets.svg";
    settings.setVectorial(true);
    settings.setSaveVectorFile(file.c_str());
    const auto faces = [&](bool degenerate) {
        KivMesh& mesh = addSquare(0, 0, 0, 3);
        if (degenerate) {
            mesh.addVertex(Kiv3DPoint(0, 0, 1));
            mesh.addVertex(Kiv3DPoint(1, 1, 1));
            mesh.addVertex(Kiv3DPoint(3, 3, 1));
            mesh.addTriangle(4U, 5U, 6U);
            mesh.addTriangle(4U, 5U, 5U);
        }
        addSun(0, -1);
        render();
        std::ifstream in(kivToUtf8(file));
        const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::size_t count = 0;
        for (std::size_t i = text.find("<polygon"); i != std::string::npos; i = text.find("<polygon", i + 1)) {
            ++count;
        }
        return count;
    };
    const std::size_t plain = faces(false);
    EXPECT_GE(plain, 1U);
    EXPECT_EQ(faces(true), plain);
}

TEST_F(KivFacetShaderPicture, APreviewHasTheSettingsOfThePage) {
    KivShaderCommunication channel;
    KivRenderer renderer;
    std::uint32_t middle[2] = {};
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(page().setText("Colours", i == 0 ? "material" : "ink"));
        ASSERT_TRUE(page().setText("Ink", "#00ff00"));
        addSquare(0, 0, 0, 4);
        addSun(0, -1);
        ASSERT_TRUE(renderer.renderPreview(settings, &scene, camera, &surface, L"Posterised", {}, channel, nullptr));
        middle[i] = at(1, 1);
        scene.empty();
    }
    EXPECT_EQ(middle[0], tone(1));
    EXPECT_EQ(middle[1], 0x00FF00U);
}

TEST_F(KivFacetShaderPicture, ThePageHasEachKindOfControlInTwoLanguages) {
    const auto form = [this](const wchar_t* language) {
        EXPECT_TRUE(kivLoadLanguage(language));
        const void* table = nullptr;
        std::memcpy(&table, static_cast<const void*>(shader), sizeof table);
        return std::string(kivFindResource(kivModuleOf(table), KivResourceKind::dialog, 1));
    };
    const std::string spanish = form(L"es");
    EXPECT_STREQ(shader->getName(), L"Posterizado");
    const std::string english = form(L"en");
    EXPECT_STREQ(shader->getName(), L"Posterised");
    for (const char* const widget : {"QSpinBox", "KivNumberField", "QComboBox", "KivColorField", "QCheckBox"}) {
        EXPECT_NE(english.find(std::string("<widget class=\"") + widget + "\" name=\"control"), std::string::npos)
            << widget;
    }
    EXPECT_NE(english.find("<property name=\"maximum\"><number>16</number></property>"), std::string::npos);
    EXPECT_NE(spanish.find("Tono más oscuro"), std::string::npos);
}

} // namespace
