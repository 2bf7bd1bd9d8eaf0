#include "kivrender/render/kivlinesahead.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivshadershape.h"
#include "support/meshsamples.h"
#include "support/temphome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

namespace {

class KivLinesAheadTest : public testing::Test {
protected:
    void load(const std::string& plugin) {
        std::filesystem::copy_file(SELVARIN_BIN_DIR "/shaders/" + plugin, folder.path() / plugin);
        ASSERT_EQ(KivShader::loadShaders(folder.wide().c_str()), 1U);
        shader = KivShader::getByIndex(0);
    }
    ~KivLinesAheadTest() override {
        KivShader::unLoadAll();
    }

    bool isFound(const KivScene& scene, const KivCommonSettings& settings) const {
        KivCombinableShader* const shaders[] = {nullptr, static_cast<KivCombinableShader*>(shader)};
        return kivLinesAhead(scene, settings, shaders, 2) != nullptr;
    }
    static KivScene sceneOf(unsigned int triangles) {
        KivScene scene;
        scene.addMesh(gridMesh(triangles).release());
        return scene;
    }

    TempFolder folder;
    KivShader* shader = nullptr;
};

} // namespace

TEST_F(KivLinesAheadTest, OfLargeScenesInPictures) {
    load("outline.so");
    const bool hasThreads = std::thread::hardware_concurrency() > 1;
    KivCommonSettings settings;
    EXPECT_EQ(isFound(sceneOf(25000), settings), hasThreads);
    EXPECT_FALSE(isFound(sceneOf(1000), settings)) << "done before a thread has begun";
    settings.setVectorial(true);
    EXPECT_FALSE(isFound(sceneOf(25000), settings));
}

TEST_F(KivLinesAheadTest, ShadersOfLinesTellWhatTheyNeed) {
    load("sketch.so");
    const KivLineNeeds needs = kivShaderLineNeeds(*shader, *gridMesh(100));
    EXPECT_TRUE(needs.edges);
    EXPECT_TRUE(needs.crossings) << "as long as nobody turns them off";
}

TEST_F(KivLinesAheadTest, OthersNeedNothing) {
    load("backdrop.so");
    EXPECT_FALSE(kivShaderLineNeeds(*shader, *gridMesh(100)).edges);
    EXPECT_FALSE(isFound(sceneOf(25000), KivCommonSettings()));
}
