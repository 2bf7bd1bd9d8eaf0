// Many renders, vector pages and previews in one process, as a window or a service makes them in a day: memory, open
// files and threads stay as they are. SELVARIN_CAMPAIGN=n makes it n times as many.
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivglcontext.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivbitmapmanager.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivmemorycommondatamanager.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "support/closedshapes.h"
#include "support/testhost.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <malloc.h>

#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr tagSIZE pictureSize{64, 48};

struct Use {
    long memory;    // kilobytes that are in memory
    long addresses; // kilobytes that are taken of the address space
    long files;
    long threads;
};

Use presentUse() {
    malloc_trim(0);
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    const auto count = [](const char* folder) {
        return static_cast<long>(std::distance(std::filesystem::directory_iterator(folder), {}));
    };
    const long pageSize = sysconf(_SC_PAGESIZE) / 1024;
    return {resident * pageSize, pages * pageSize, count("/proc/self/fd"), count("/proc/self/task")};
}

int times(int usual) {
    const char* const factor = std::getenv("SELVARIN_CAMPAIGN");
    return usual * (factor != nullptr ? std::max(1, std::atoi(factor)) : 1);
}

class Endurance : public testing::Test {
protected:
    Endurance() {
        EXPECT_TRUE(kivLoadLanguage(L"en"));
        host.morvaneFolder = kivFromUtf8(SELVARIN_BIN_DIR);
        EXPECT_TRUE(renderer.loadShaders());
        camera.setProjection(KivCamera::perspective);
        camera.setLocation(Kiv3DPoint(0, -8, 2));
        camera.setDirection(Kiv3DVector(0, 1, -0.2));
        camera.setUp(Kiv3DVector(0, 0, 1));
        camera.setFrustumLeft(-1.6);
        camera.setFrustumRight(1.6);
        camera.setFrustumBottom(-1.2);
        camera.setFrustumTop(1.2);
        camera.setFrustumNear(4);
        camera.setFrustumFar(20);
    }
    ~Endurance() override {
        host.getPreviewScene()->deleteSettingsToAllMeshes();
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            KivShader::getByIndex(i)->destroyPages(nullptr);
        }
        renderer.unloadShaders();
    }

    void render(const KivCommonSettings& wanted) {
        KivScene scene;
        auto ring = closedRing(Kiv3DPoint(0, 0, 0), 1.2, 0.4, 24, 10);
        scene.addMesh(ring.release());
        auto glass = closedBox(Kiv3DPoint(-0.3, -1.5, -0.3), Kiv3DPoint(0.3, -0.9, 0.3));
        KivMaterial material;
        material.setTransparency(0.5);
        glass->setMaterial(material);
        scene.addMesh(glass.release());
        KivLight light;
        light.setStyle(KivLight::directionalLight);
        light.setDirection(Kiv3DVector(1, 1, -1));
        light.setLocation(Kiv3DPoint(-50, -50, 50));
        light.setDiffuse(0xFFFFFF);
        scene.addLight(light);
        KivCommonSettings settings = wanted;
        KivMemoryCommonDataManager common;
        settings.saveDataOnHost(&common);
        KivBitmapManager surface;
        tagSIZE size = pictureSize;
        ASSERT_TRUE(renderer.render(&common, look(), &scene, camera, &surface, &size));
        ASSERT_NE(surface.getHBitmap(), nullptr);
    }
    // Renders draw with these from then on: first the one of surfaces, then those of lines.
    void wear(const std::wstring& base, const std::vector<std::wstring>& others) {
        style.setSaving();
        style.saveString(L"Style:Endurance");
        style.saveString((L"NonCombinableShader:" + base).c_str());
        std::wstring list;
        for (const std::wstring& tag : others) {
            list += tag + L";";
        }
        style.saveString((L"CombinableShader:" + list).c_str());
        for (const std::wstring& tag : others) {
            EXPECT_TRUE(KivShader::getByTag(tag.c_str())->saveData(&style, nullptr));
        }
        EXPECT_TRUE(KivShader::getByTag(base.c_str())->saveData(&style, nullptr));
        style.saveString(L"End Morvane");
        isDressed = true;
    }
    KivDataManager* look() {
        style.setLoading();
        return isDressed ? &style : nullptr;
    }

    // Does it a few times first, until caches are filled, and then that often. kilobytes: what each may leave at most,
    // beside one megabyte in all for what grows in steps.
    static void expectFlat(int count, double kilobytes, const std::function<void(int)>& act) {
        const int warming = std::max(10, count / 5);
        for (int i = 0; i < warming && !testing::Test::HasFailure(); ++i) {
            act(i);
        }
        const Use before = presentUse();
        for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
            act(i);
        }
        const Use after = presentUse();
        EXPECT_LE(after.memory - before.memory, 1024 + static_cast<long>(kilobytes * count));
        EXPECT_LE(after.addresses - before.addresses, 1024 + static_cast<long>(kilobytes * count));
        EXPECT_EQ(after.files, before.files);
        EXPECT_LE(after.threads, before.threads);
        std::printf("%d times: %+ld kB, %+ld kB of addresses, %+ld files, %+ld threads\n", count,
                    after.memory - before.memory, after.addresses - before.addresses, after.files - before.files,
                    after.threads - before.threads);
    }

    TestHost host;
    KivRenderer renderer;
    KivCamera camera;
    KivMemoryDataManager style;
    bool isDressed = false;
};

} // namespace

TEST_F(Endurance, RendersWithAllPasses) {
    wear(L"Cartoon", {L"Outline", L"Sketch", L"Backdrop"});
    expectFlat(times(25), 1, [this](int i) {
        KivCommonSettings settings;
        settings.setAntialias(i % 2);
        settings.setShadows(i % 3 == 1);
        settings.setTransparencies(i % 3 == 2);
        render(settings);
    });
}

TEST_F(Endurance, VectorPages) {
    wear(L"Cartoon", {L"Outline", L"Sketch", L"Backdrop"});
    const TempFolder folder;
    const std::wstring names[] = {folder.wide("a.svg"), folder.wide("a.pdf"), folder.wide("a.eps")};
    expectFlat(times(15), 8, [&](int i) {
        KivCommonSettings settings;
        settings.setVectorial(true);
        settings.setVectorSimplify(i % 2 == 1);
        settings.setTransparencies(i % 4 > 1);
        settings.setSaveVectorFile(names[i % 3].c_str());
        render(settings);
        ASSERT_TRUE(std::filesystem::exists(kivToUtf8(names[i % 3])));
    });
}

TEST_F(Endurance, Previews) {
    KivShaderCommunication channel;
    expectFlat(times(25), 1, [&](int i) {
        KivCommonSettings settings;
        settings.setResolution(pictureSize);
        KivBitmapManager surface;
        ASSERT_TRUE(renderer.renderPreview(settings, host.getPreviewScene(), *host.getPreviewCamera(), &surface,
                                           i % 2 == 0 ? L"Cartoon" : nullptr, {L"Outline"}, channel, nullptr));
    });
}
