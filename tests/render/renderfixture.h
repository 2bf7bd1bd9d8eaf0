// What the tests of the renderer share: a host with plug-ins, a bar, a scene, a surface, and one call that renders.
#ifndef TESTS_RENDER_RENDERFIXTURE_H
#define TESTS_RENDER_RENDERFIXTURE_H

#include "kivrender/host/kivlanguage.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "support/glsurface.h"
#include "support/recordingprogress.h"
#include "support/scenebuilder.h"
#include "support/temphome.h"
#include "support/testhost.h"
#include "support/testshader.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

struct KivTestAccess {
    static void calculateProgress(KivRenderer& renderer, KivProgress* progress, KivScene* scene,
                                  const KivCommonSettings& settings, bool hasNonCombinable, bool hasCombinable) {
        renderer.calculateProgress(progress, scene, settings, hasNonCombinable, hasCombinable);
    }
    static void addStepsToProgress(KivRenderer& renderer, KivProgress* progress, std::wstring list, KivScene* scene,
                                   const KivCommonSettings& settings) {
        renderer.addStepsToProgress(progress, list.data(), scene, settings);
    }
    static void optimizeScene(KivRenderer& renderer, KivScene& scene, const KivCamera& camera) {
        renderer.optimizeScene(&scene, camera);
    }
    static int combinables(KivRenderer& renderer, KivCombinableShader** shaders, std::wstring text) {
        return renderer.getCombinableShadersFromString(shaders, text.data());
    }
    static bool isAmong(KivRenderer& renderer, KivCombinableShader* shader, KivCombinableShader** shaders, int count) {
        return renderer.isInCombinableShadersToRender(shader, shaders, count);
    }
    static int nonCombinables(KivRenderer& renderer, KivNonCombinableShader** shaders) {
        return renderer.getAllNonCombinableShaders(shaders);
    }
    static KivNonCombinableShader* shaderFor(const KivRenderer& renderer, const KivMesh* mesh, int count,
                                             KivNonCombinableShader** shaders, KivNonCombinableShader* defaultShader) {
        return renderer.getNonCombinableShaderForThisMesh(mesh, count, shaders, defaultShader);
    }
    static void renderShader(KivRenderer& renderer, KivShader* shader, KivScene* scene, KivBitmapManager* surface) {
        renderer.renderShader(shader, KivCommonSettings(), KivCamera(), scene, nullptr, {1, 1}, surface,
                              renderer.communication, true);
    }
    static bool loadGeneralData(KivRenderer& renderer, KivDataManager* manager, const wchar_t* path,
                                const wchar_t* name) {
        return renderer.loadGeneralData(manager, path, name);
    }
    static bool loadPropertiesDlgData(KivRenderer& renderer, KivDataManager* manager) {
        return renderer.loadPropertiesDlgData(manager);
    }
    static bool loadPropertiesDlgDataFromFile(KivRenderer& renderer, KivDataManager* manager) {
        return renderer.loadPropertiesDlgDataFromFile(manager);
    }
    static KivShaderCommunication& communication(KivRenderer& renderer) {
        return renderer.communication;
    }
};

class KivRendererRender : public testing::Test {
protected:
    KivRendererRender() {
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        host.morvaneFolder = home.wide();
        host.setCurProgress(&progress);
        settings.setAntialias(0);
    }
    ~KivRendererRender() override {
        if (loaded) {
            renderer.unloadShaders();
        }
        EXPECT_EQ(KivShaderCommunication::getDefaultCommunication(), nullptr) << "a render left its channel in force";
    }

    // The plug-ins of a test, by the names of their files; their calls go to the bar's list.
    void loadShaders(const std::vector<std::string>& names = {"add-lines", "add-more", "base", "cartoon"}) {
        TestShader::install(home.path() / "shaders", names);
        loaded = true;
        EXPECT_EQ(renderer.loadShaders(), !names.empty());
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            TestShader::of(KivShader::getByIndex(i)).calls = &progress.calls;
        }
    }
    static TestShaderRecord& shader(const wchar_t* tag) {
        return TestShader::of(tag);
    }

    // The head of a stream, and then the texts of its blocks.
    void setStyle(const std::wstring& base, const std::wstring& combinables,
                  const std::vector<std::wstring>& blocks = {}) {
        data.clearData();
        data.setSaving();
        save(L"Style:Test");
        save(L"NonCombinableShader:" + base);
        save(L"CombinableShader:" + combinables);
        for (const std::wstring& block : blocks) {
            save(block);
        }
        save(L"End Morvane");
    }
    void save(const std::wstring& text) {
        data.saveString(text.c_str());
        data.saveCurrentVaried(false);
    }

    bool render(tagSIZE size) {
        return render(&size);
    }
    bool render(tagSIZE* size) {
        KivMemoryCommonDataManager common;
        EXPECT_TRUE(settings.saveDataOnHost(&common));
        return renderer.render(&common, &data, &scene, camera, &surface, size);
    }

    // The calls without those that lay out the bar.
    std::vector<std::string> callsOfPasses() const {
        std::vector<std::string> calls;
        for (const std::string& call : progress.calls) {
            if (!call.starts_with("addSteps") && !call.starts_with("addDeferredStep")) {
                calls.push_back(call);
            }
        }
        return calls;
    }
    // The calls of shaders alone.
    std::vector<std::string> callsOfShaders() const {
        std::vector<std::string> calls;
        for (const std::string& call : progress.calls) {
            if (call.find(" render") != std::string::npos || call.find(" prepare") != std::string::npos ||
                call.find(" loadRenderData") != std::string::npos) {
                calls.push_back(call);
            }
        }
        return calls;
    }

    TempFolder home; // the product folder
    TestHost host;
    RecordingProgress progress;
    KivRenderer renderer;
    KivCommonSettings settings;
    KivMemoryDataManager data;
    KivScene scene;
    KivCamera camera = frontCamera();
    KivBitmapManager surface;

private:
    bool loaded = false;
};

#endif
