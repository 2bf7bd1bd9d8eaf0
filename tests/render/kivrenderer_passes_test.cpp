// Renders with shadows and transparency: which shader is called for what, in which order, and the shadows that come
// out.
#include "kivrender/platform/kivimage.h"
#include "render/renderfixture.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <thread>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

// A closed box about the axis of view.
std::unique_ptr<KivMesh> box(double halfX, double halfY, double low, double high, double opacity = 1.0) {
    auto mesh = std::make_unique<KivMesh>();
    const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (int i = 0; i < 8; ++i) {
        mesh->addVertex({(i & 1) != 0 ? halfX : -halfX, (i & 2) != 0 ? halfY : -halfY, (i & 4) != 0 ? high : low});
    }
    for (const auto& face : faces) {
        mesh->addQuad(static_cast<unsigned int>(face[0]), static_cast<unsigned int>(face[1]),
                      static_cast<unsigned int>(face[2]), static_cast<unsigned int>(face[3]));
    }
    KivMaterial material;
    material.setTransparency(opacity);
    mesh->setMaterial(material);
    return mesh;
}

KivLight lamp(double x, double y, double z) {
    KivLight light;
    light.setStyle(KivLight::pointLight);
    light.setLocation({x, y, z});
    return light;
}

class KivRendererPasses : public KivRendererRender {
protected:
    KivRendererPasses() {
        loadShaders({"base"});
        setStyle(L"base", L"");
    }

    // What the base look was asked for, without the calls of the bar.
    std::vector<std::string> shaderCalls() const {
        std::vector<std::string> found;
        for (const std::string& call : progress.calls) {
            if (call.starts_with("base ") && call != "base prepareObjectRendering") {
                found.push_back(call.substr(5));
            }
        }
        return found;
    }
    void addTransparent(double opacity, double z = 0.0) {
        scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, z, 0xFFFFFF, opacity).release());
    }

    // How much light the shadow picture of a plane under a caster shows at a place, 0 to 1.
    double lightAt(std::unique_ptr<KivMesh> caster, const std::vector<KivLight>& lights, double x, double y) {
        scene.addMesh(rectangle(-1, -1, 1, 1).release());
        if (caster) {
            scene.addMesh(caster.release());
        }
        for (KivLight light : lights) {
            scene.addLight(light);
        }
        // In perspective, the plane filling the picture.
        camera.setProjection(KivCamera::perspective);
        camera.setFrustumLeft(-0.2);
        camera.setFrustumRight(0.2);
        camera.setFrustumBottom(-0.2);
        camera.setFrustumTop(0.2);
        settings.setShadows(true);
        settings.setSaveShadows(true);
        settings.setSaveRender(true);
        settings.setSaveRenderFile((home.wide() + L"/p.png").c_str());
        progress.calls.clear();
        constexpr int side = 101; // no multiple of 4
        EXPECT_TRUE(render({side, side}));
        const auto image = KivImage::load(home.wide() + L"/p_shadow.png");
        if (image == nullptr) {
            ADD_FAILURE() << "no shadow picture";
            return -1;
        }
        EXPECT_EQ(image->width(), side);
        EXPECT_EQ(image->height(), side);
        const auto column = static_cast<int>(std::floor((x + 1) / 2 * side));
        const auto row = static_cast<int>(std::floor((1 - y) / 2 * side));
        return (image->pixel(column, row) & 0xFFU) / 255.0;
    }
};

TEST_F(KivRendererPasses, ShadowsAskForDepthThenTwoPassesThenOneForEachLight) {
    settings.setShadows(true);
    fillScene(scene, 2, 2);
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(shaderCalls(), ElementsAre("depth m0", "depth m1", "pass 1 m0", "pass 1 m1", "pass 2 m0", "pass 2 m1",
                                           "pass 3 m0 light 0 of 2", "pass 3 m1 light 0 of 2", "pass 3 m0 light 1 of 2",
                                           "pass 3 m1 light 1 of 2"));
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(KivRendererPasses, WithoutLightsTheThirdPassDoesNotRun) {
    settings.setShadows(true);
    fillScene(scene, 1);
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(shaderCalls(), ElementsAre("depth m0", "pass 1 m0", "pass 2 m0"));
}

TEST_F(KivRendererPasses, MeshesWithoutAShaderAreLeftOut) {
    settings.setShadows(true);
    fillScene(scene, 2);
    scene.getMesh(0)->addCombinableShader(L"something");
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(shaderCalls(), ElementsAre("depth m1", "pass 1 m1", "pass 2 m1"));
}

TEST_F(KivRendererPasses, TransparencyDrawsOpaqueMeshesThenTrianglesFromFarToNear) {
    settings.setTransparencies(true);
    scene.addMesh(rectangle(-1, -1, 1, 1, -1).release());
    addTransparent(0.5, 1.0); // nearer, though it stands first
    addTransparent(0.5, 0.0);
    EXPECT_TRUE(render({20, 10}));
    const std::vector<std::string> calls = shaderCalls();
    std::vector<std::string> expected = {"beginTransparency", "opaque 1 m0 0", "opaque 2 m0 0", "opaque 3 m0 0"};
    const auto triangle = [&](int mesh, int previous) {
        const std::string name = "m" + std::to_string(mesh) + " " + std::to_string(mesh) + " ";
        if (previous >= 0) {
            expected.push_back("end 3 " + std::to_string(mesh) + " " + std::to_string(previous));
        }
        expected.push_back("triangle 1 " + name + std::to_string(previous));
        expected.push_back("end 1 " + std::to_string(mesh) + " " + std::to_string(mesh));
        expected.push_back("triangle 2 " + name + std::to_string(previous));
        expected.push_back("end 2 " + std::to_string(mesh) + " " + std::to_string(previous));
        expected.push_back("triangle 3 " + name + std::to_string(previous));
    };
    triangle(2, -1);
    triangle(2, 2); // two triangles of one mesh are parted by an end as well
    triangle(1, 2);
    triangle(1, 1);
    expected.insert(expected.end(), {"end 3 -1 1", "endTransparency"});
    EXPECT_THAT(calls, ElementsAreArray(expected));
}

TEST_F(KivRendererPasses, TransparencyWithoutTransparentTriangles) {
    settings.setTransparencies(true);
    fillScene(scene, 2);
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(shaderCalls(), Not(Contains(testing::StartsWith("triangle"))));
    EXPECT_THAT(shaderCalls(), Not(Contains(testing::StartsWith("end "))));
}

TEST_F(KivRendererPasses, TheBarJumpsOverShadersThatTheStyleDoesNotName) {
    settings.setTransparencies(true);
    fillScene(scene, 3, 0, 2);
    EXPECT_TRUE(render({20, 10}));
    EXPECT_THAT(progress.calls, Contains("advance 14")); // four times the meshes and the polylines
}

TEST_F(KivRendererPasses, BothShadeTheTransparentTrianglesLightByLight) {
    settings.setShadows(true);
    settings.setTransparencies(true);
    scene.addMesh(rectangle(-1, -1, 1, 1, -1).release());
    addTransparent(0.7);
    KivLight light = lamp(0, 0, 4);
    scene.addLight(light);
    EXPECT_TRUE(render({20, 10}));
    const std::vector<std::string> calls = shaderCalls();
    EXPECT_THAT(calls, Contains("depth m0"));
    EXPECT_THAT(calls, Not(Contains("depth m1"))) << "only opaque meshes are walked";
    EXPECT_THAT(calls, Contains("pass 3 m0 light 0 of 1"));
    EXPECT_THAT(calls, Contains("triangle 3 m1 1 -1 shadows"));
    EXPECT_THAT(calls, Contains("triangle 3 m1 1 -1 shadows light 0 of 1"));
    EXPECT_EQ(calls.back(), "endTransparency");
}

// The light stands at height 3 over a box that ends at 1.2: its shadow reaches a third further than the box.
TEST_F(KivRendererPasses, AShadowFallsWhereTheLightIsHidden) {
    const std::vector<KivLight> one = {lamp(0, 0, 3)};
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2), one, 0.28, 0.0), 0.0);
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2), one, -0.28, 0.28), 0.0);
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2), one, 0.40, 0.0), 1.0);
    EXPECT_EQ(lightAt(nullptr, one, 0.28, 0.0), 1.0);
}

TEST_F(KivRendererPasses, LightsAddUp) {
    const std::vector<KivLight> two = {lamp(0, 0, 3), lamp(-2, 0, 3)};
    EXPECT_NEAR(lightAt(box(0.2, 0.2, 1, 1.2), two, -0.28, 0.0), 0.5, 0.01); // the first is lost
    EXPECT_NEAR(lightAt(box(0.2, 0.2, 1, 1.2), two, 0.9, 0.0), 0.5, 0.01);   // the second
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2), two, 0.28, 0.9), 1.0);
}

TEST_F(KivRendererPasses, ThinRodsCastNoShadow) {
    const std::vector<KivLight> one = {lamp(0, 0, 3)};
    // The short side of the frustum is 0.4: what is no longer than a sixtieth of it counts as small on an axis.
    EXPECT_EQ(lightAt(box(0.5, 0.003, 1, 1.006), one, 0.7, 0.0), 1.0);
    EXPECT_EQ(lightAt(box(0.5, 0.2, 1, 1.006), one, 0.7, 0.0), 0.0);
}

TEST_F(KivRendererPasses, HalfOpaqueMeshesCastAShadowAndClearerOnesDoNot) {
    settings.setTransparencies(true);
    const std::vector<KivLight> one = {lamp(0, 0, 3)};
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2, 0.7), one, 0.28, 0.0), 0.0);
    EXPECT_EQ(lightAt(box(0.2, 0.2, 1, 1.2, 0.3), one, 0.28, 0.0), 1.0);
}

class KivRendererCasting : public KivRendererPasses {
protected:
    KivRendererCasting() {
        settings.setShadows(true);
    }
    // How often a cancel is asked for while volumes are drawn: one question and a few more for a mesh that casts none.
    int pollsForVolumes(std::unique_ptr<KivMesh> mesh) {
        scene.addMesh(mesh.release());
        scene.addLight(*std::make_unique<KivLight>(lamp(0, 0, 3)));
        int before = 0;
        int behind = 0;
        progress.calls.clear();
        progress.onPoll = [&] {
            const auto text = [&](const char* name) {
                return std::count(progress.calls.begin(), progress.calls.end(), std::string("setText ") + name);
            };
            (text("Calculating shadows") == 0 ? before : text("Drawing meshes") < 2 ? behind : before) += 1;
        };
        EXPECT_TRUE(render({20, 10}));
        progress.onPoll = nullptr;
        return behind;
    }
};

// Two sides must exceed the limit, not reach it.
TEST_F(KivRendererCasting, TakesASixtiethOfTheFrustumAndMore) {
    camera.setFrustumLeft(-30.0);
    camera.setFrustumRight(30.0);
    camera.setFrustumBottom(-40.0);
    camera.setFrustumTop(40.0);
    const double more = 0.5000001;
    const int without = pollsForVolumes(box(0.5, 0.5, 0.0, 1.0));
    EXPECT_EQ(pollsForVolumes(box(0.5, 9.0, 0.0, 1.0)), without);
    EXPECT_EQ(pollsForVolumes(box(9.0, 0.5, 0.0, 1.0)), without);
    EXPECT_EQ(pollsForVolumes(box(0.5, 0.5, 0.0, 9.0)), without);
    EXPECT_GT(pollsForVolumes(box(more, 9.0, 0.0, 1.0)), without);
    EXPECT_GT(pollsForVolumes(box(9.0, more, 0.0, 1.0)), without);
    EXPECT_GT(pollsForVolumes(box(0.5, more, 0.0, 1.0000002)), without);
}

// With a frustum of no width no mesh is too small to cast.
TEST_F(KivRendererCasting, WithoutAFrustumTakesEveryMeshWithTwoSides) {
    const auto sheet = [](double y) { return box(1e-9, y, 0.0, 0.0); };
    const int withoutVolume = pollsForVolumes(sheet(1e-9)); // small beside a frustum of 2
    camera.setFrustumLeft(0.0);
    camera.setFrustumRight(0.0);
    EXPECT_EQ(camera.getMinFrustumSize(), 0.0);
    EXPECT_GT(pollsForVolumes(sheet(1e-9)), withoutVolume + 10) << "welded, its edges found";
    EXPECT_EQ(pollsForVolumes(sheet(0.0)), withoutVolume) << "a rod";
}

class KivRendererGrowing : public KivRendererPasses {
protected:
    // The calls between the first call of a shader that begins so and the first that begins otherwise.
    std::vector<std::string> told(const std::string& call) {
        std::this_thread::sleep_for(std::chrono::milliseconds(810)); // the last picture that was shown
        fillScene(scene, 25, 1);
        EXPECT_TRUE(render({50, 10}));
        auto at = std::find_if(progress.calls.begin(), progress.calls.end(),
                               [&](const std::string& one) { return one.starts_with("base " + call); });
        std::vector<std::string> found;
        for (; at != progress.calls.end() && found.size() < 6; ++at) {
            found.push_back(*at);
        }
        return found;
    }
};

// The growing picture is shown after every tenth of the meshes, and no other.
TEST_F(KivRendererGrowing, IsShownAfterATenthOfTheMeshesOfAWalk) {
    settings.setShadows(true);
    EXPECT_THAT(told("depth"), ElementsAre("base depth m0", "advance 1", "base depth m1", "advance 1 show",
                                           "base depth m2", "advance 1"));
}

TEST_F(KivRendererGrowing, IsShownAfterATenthOfTheOpaqueMeshes) {
    settings.setTransparencies(true);
    EXPECT_THAT(told("opaque 1"), ElementsAre("base opaque 1 m0 0", "advance 1", "base opaque 1 m1 1", "advance 1 show",
                                              "base opaque 1 m2 2", "advance 1"));
}

TEST_F(KivRendererGrowing, IsNotShownAfterAMeshWithoutAShader) {
    settings.setShadows(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(810));
    fillScene(scene, 3);
    scene.getMesh(0)->addCombinableShader(L"something");
    EXPECT_TRUE(render({50, 10}));
    const auto first = std::find_if(progress.calls.begin(), progress.calls.end(),
                                    [](const std::string& call) { return call.starts_with("advance"); });
    ASSERT_LT(first - progress.calls.begin() + 3, static_cast<std::ptrdiff_t>(progress.calls.size()));
    EXPECT_THAT(std::vector<std::string>(first, first + 3),
                ElementsAre("advance 1", "base depth m1", "advance 1 show"));
}

// The last drawing of a render with transparency ends with the picture, even if no triangle was drawn.
TEST_F(KivRendererPasses, AListWithoutTrianglesEndsItsStepByTheDefaultShader) {
    settings.setTransparencies(true);
    const auto tail = [&] {
        progress.calls.clear();
        fillScene(scene, 1);
        EXPECT_TRUE(render({20, 10}));
        const auto last = std::find(progress.calls.rbegin(), progress.calls.rend(), "setText Drawing meshes").base();
        std::vector<std::string> calls;
        for (auto call = last; call != progress.calls.end() && calls.size() < 3; ++call) {
            calls.push_back(call->substr(0, 9));
        }
        return calls;
    };
    EXPECT_THAT(tail(), ElementsAre("beginStep", "advance 1", "endStep"));
    setStyle(L"nobody", L"nothing;"); // no default either
    EXPECT_THAT(tail(), ElementsAre("beginStep", "base endT", "beginStep"));
}

TEST_F(KivRendererPasses, EveryStepThatBeginsAlsoEnds) {
    for (const bool transparencies : {false, true}) {
        settings.setShadows(true);
        settings.setTransparencies(transparencies);
        progress.calls.clear();
        fillScene(scene, 7, 2);
        addTransparent(0.5);
        EXPECT_TRUE(render({20, 10}));
        const auto begun = std::count(progress.calls.begin(), progress.calls.end(), "beginStep");
        EXPECT_EQ(begun, std::count(progress.calls.begin(), progress.calls.end(), "endStep"));
        // Ordering, depth, volumes and lit passes, the lines of objects, the transparent triangles twice with volumes
        // between, the reduction.
        EXPECT_EQ(begun, transparencies ? 1 + 3 + 4 + 3 + 1 : 3 + 4 + 1);
    }
}

} // namespace
