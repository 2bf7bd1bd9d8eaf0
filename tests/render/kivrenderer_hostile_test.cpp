// Shaders that throw during a render, a preview and on the ways of settings: what was asked ends with a message that
// names the plug-in, and the next one works.
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/settings/kivaveragedatamanager.h"
#include "render/renderfixture.h"
#include "support/hostileshader.h"

#include <clocale>
#include <fstream>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class KivRendererHostile : public KivRendererRender {
protected:
    ~KivRendererHostile() override {
        renderer.unloadShaders();
    }

    void loadHostile(const std::string& name) {
        file = home.path() / "shaders" / (name + ".so");
        HostileShader::install(file.parent_path(), name);
        TestShader::install(file.parent_path(), {"base"});
        ASSERT_TRUE(renderer.loadShaders());
        ASSERT_EQ(KivShader::shaders(), 2U);
    }
    HostileRecord& hostile() const {
        return HostileShader::of(file);
    }
    std::wstring line(const std::wstring& reason) const {
        return L"The shader " + kivFromUtf8(file.string()) + L" has failed: " + reason;
    }
    // Lit, and half of it transparent.
    void fillHostileScene() {
        fillScene(scene, 2, 1, 1);
        auto glass = rectangle(-1.0, -1.0, 1.0, 1.0, 0.5);
        KivMaterial material;
        material.setTransparency(0.5);
        glass->setMaterial(material);
        scene.addMesh(glass.release());
    }
    void expectFailure(const std::string& slot) {
        hostile().slot = slot;
        hostile().thrown = 0;
        host.messages.clear();
        fillHostileScene();
        EXPECT_FALSE(render({20, 10})) << slot;
        EXPECT_GT(hostile().thrown, 0) << slot << " was not reached";
        EXPECT_THAT(host.messages, ElementsAre(line(HostileShader::reason(slot)))) << slot;
        EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr) << slot;
        EXPECT_EQ(kivCurrentGlContext(), nullptr) << slot;
        hostile().slot.clear();
        host.messages.clear();
        scene.empty();
    }
    // The style names the shader of the tests.
    void expectAGoodRender() {
        setStyle(L"base", L"");
        settings = KivCommonSettings();
        settings.setAntialias(0);
        fillScene(scene, 1);
        ASSERT_TRUE(render({20, 10}));
        EXPECT_THAT(host.messages, IsEmpty());
        EXPECT_EQ(pixelOf(surface, 10, 5), 0xFFFFFFU);
    }

    std::filesystem::path file;
};

TEST_F(KivRendererHostile, ABaseLookThatThrowsEndsTheRenderAlone) {
    loadHostile("hostile");
    for (const char* const slot : {"prepareObjectRendering", "loadRenderData", "render", "isCombinable"}) {
        setStyle(L"hostile", L"", {L"hostile"});
        expectFailure(slot);
    }
    expectAGoodRender();
}

TEST_F(KivRendererHostile, InEachPassOfShadowsAndTransparency) {
    loadHostile("hostile");
    setStyle(L"hostile", L"");
    settings.setShadows(true);
    for (const char* const slot : {"renderMeshDepth", "renderMeshPass"}) {
        expectFailure(slot);
    }
    for (const bool shadows : {false, true}) {
        settings.setShadows(shadows);
        settings.setTransparencies(true);
        for (const char* const slot :
             {"beginTransparency", "renderTransparentTriangle", "endTransparentTriangle", "endTransparency"}) {
            expectFailure(slot);
        }
    }
    settings.setShadows(false);
    expectFailure("renderOpaqueMesh");
    expectAGoodRender();
}

TEST_F(KivRendererHostile, ACombinableShaderTooAndTheOneThatIsAskedForDepth) {
    loadHostile("Sketch");
    setStyle(L"", L"Sketch;");
    for (const char* const slot : {"render", "rendersMesh"}) {
        expectFailure(slot);
    }
    expectAGoodRender();
}

TEST_F(KivRendererHostile, WhatIsThrownNeedNotBeAnException) {
    loadHostile("hostile");
    setStyle(L"hostile", L"");
    for (const auto kind : {HostileRecord::number, HostileRecord::ownType}) {
        hostile().slot = "render";
        hostile().kind = kind;
        host.messages.clear();
        fillScene(scene, 1);
        EXPECT_FALSE(render({20, 10}));
        EXPECT_THAT(host.messages, ElementsAre(line(L"an exception of a type of its own")));
    }
}

// OpenGL refuses nearly all between begin and end, the end of the vector page's recording included.
TEST_F(KivRendererHostile, InsideAPrimitiveOfAPictureAndOfAVectorPage) {
    loadHostile("hostile");
    for (const bool vectorial : {false, true}) {
        setStyle(L"hostile", L"");
        settings.setVectorial(vectorial);
        settings.setSaveVectorFile((home.wide() + L"/out.svg").c_str());
        hostile().insidePrimitive = true;
        expectFailure("render");
        EXPECT_EQ(home.count(), 1U) << "nothing but the plug-ins' folder";
        settings.setVectorial(false);
        expectAGoodRender();
    }
}

TEST_F(KivRendererHostile, AFailedRenderSavesNothing) {
    loadHostile("hostile");
    setStyle(L"hostile", L"");
    std::ofstream(home.path() / "out.png") << "mine";
    settings.setSaveRender(true);
    settings.setSaveRenderFile((home.wide() + L"/out.png").c_str());
    expectFailure("render");
    EXPECT_EQ(std::filesystem::file_size(home.path() / "out.png"), 4U);
}

TEST_F(KivRendererHostile, APreviewIsToldOnceForEachReason) {
    loadHostile("hostile");
    KivShaderCommunication channel;
    settings.setResolution({20, 10});
    for (const char* const slot : {"preparePreview", "render", "prepareObjectRendering"}) {
        host.messages.clear();
        hostile().slot = slot;
        for (int i = 0; i < 3; ++i) {
            fillScene(scene, 1);
            EXPECT_FALSE(renderer.renderPreview(settings, &scene, camera, &surface, L"hostile", {}, channel, nullptr));
            scene.empty();
        }
        EXPECT_THAT(host.messages, SizeIs(1)) << slot;
    }
    hostile().slot.clear();
    fillScene(scene, 1);
    EXPECT_TRUE(renderer.renderPreview(settings, &scene, camera, &surface, L"hostile", {}, channel, nullptr));
}

TEST_F(KivRendererHostile, OnTheWaysOfSettings) {
    loadHostile("hostile");
    setStyle(L"hostile", L"", {L"hostile"});
    KivMesh object;
    KivHostApplicationServices::shaderSettings* out = nullptr;
    hostile().slot = "loadObjectSettings";
    EXPECT_FALSE(renderer.loadDataToObject(&object, &data));
    KivShader::unLoadAll(); // which that way leaves loaded once more
    hostile().slot = "loadShaderSettings";
    data.setLoading();
    EXPECT_EQ(renderer.getSettings(&data, &out), 0);
    EXPECT_THAT(host.messages, ElementsAre(line(HostileShader::reason("loadObjectSettings")),
                                           line(HostileShader::reason("loadShaderSettings"))));
}

// Readers find values by position: of a shader that throws nothing stays in the stream.
TEST_F(KivRendererHostile, ABlockThatCouldNotBeWrittenIsTakenBack) {
    loadHostile("hostile");
    hostile().slot = "saveDefaultData";
    data.clearData();
    data.setSaving();
    save(L"before");
    EXPECT_FALSE(KivShader::getByTag(L"hostile")->saveData(&data, nullptr));
    EXPECT_EQ(data.getNumProperties(), 1);
    KivAverageDataManager several;
    several.setSaving();
    several.saveInt(1);
    several.saveCurrentVaried(true);
    EXPECT_FALSE(KivShader::getByTag(L"hostile")->saveData(&several, nullptr));
    several.saveInt(2);
    several.saveCurrentVaried(true);
    EXPECT_EQ(several.getNumProperties(), 2);
    EXPECT_TRUE(several.isVaried(1)) << "the marks stand beside their values";
}

} // namespace
