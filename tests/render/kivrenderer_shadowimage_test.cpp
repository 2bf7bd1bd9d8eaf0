// The shadow picture of a render, held against rays: for each pixel how many lights reach the place that is seen there.
//
// Compared is what lies further than two pixels from the edges of things and of shadows, where a pixel is of one kind
// as a whole. Spots count as points of light: volumes spread from their location whatever their cone, and the picture
// says what is hidden, not what a cone leaves out.
#include "kivrender/platform/kivimage.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "render/renderfixture.h"
#include "support/closedshapes.h"
#include "support/raycaster.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Seen {
    std::optional<RayCaster::Hit> hit;
    int lights = 0;
};

struct Agreement {
    int compared = 0;
    int equal = 0;
    int shadowed = 0; // of those compared, on a surface that not all lights reach

    double share() const {
        return compared == 0 ? 0.0 : static_cast<double>(equal) / compared;
    }
};

KivLight lightOf(KivLight::lightStyle style, const Kiv3DPoint& location) {
    KivLight light;
    light.setStyle(style);
    light.setLocation(location);
    light.setDirection(Kiv3DVector(-location.x, -location.y, -location.z));
    light.setSpotAngle(0.3);
    return light;
}

KivLight point(double x, double y, double z) {
    return lightOf(KivLight::pointLight, {x, y, z});
}

// Parallel light from there, placed so far outside that its shadows are parallel too.
KivLight sun(double x, double y, double z) {
    const double far = 4000.0 / std::sqrt(x * x + y * y + z * z);
    return lightOf(KivLight::directionalLight, {x * far, y * far, z * far});
}

// Which look lays down the depth: one that draws meshes as they are, or the one that comes with the library.
class KivRendererShadowImage : public KivRendererRender, public testing::WithParamInterface<const char*> {
protected:
    KivRendererShadowImage() {
        if (GetParam() == std::string("base")) {
            loadShaders({"base"});
            setStyle(L"base", L"");
        } else {
            const std::filesystem::path folder = home.path() / "shaders";
            std::filesystem::create_directories(folder);
            std::filesystem::copy_file(SELVARIN_BIN_DIR "/shaders/cartoon.so", folder / "cartoon.so");
            EXPECT_TRUE(renderer.loadShaders());
            unloads = true;
            setStyle(L"Cartoon", L"");
        }
        settings.setShadows(true);
        settings.setSaveShadows(true);
        settings.setSaveRender(true);
        settings.setSaveRenderFile((home.wide() + L"/p.png").c_str());
        lookFrom({6.0, -9.0, 7.0});
    }

    ~KivRendererShadowImage() override {
        if (unloads) {
            renderer.unloadShaders();
        }
    }

    // Sees what is about the origin, in perspective.
    void lookFrom(const Kiv3DPoint& eye) {
        camera.setProjection(KivCamera::perspective);
        camera.setLocation(eye);
        camera.setDirection({-eye.x, -eye.y, -eye.z});
        camera.setUp({0.0, 0.0, 1.0});
        camera.setFrustumNear(1.0);
        camera.setFrustumFar(40.0);
    }

    // The same without perspective: 9 units from the bottom of the picture to its top.
    void lookInParallelFrom(const Kiv3DPoint& eye) {
        lookFrom(eye);
        camera.setProjection(KivCamera::orthographic);
    }

    // Things on and over a slab that throw shadows on it, on each other and on themselves.
    void addThings() {
        scene.addMesh(closedBox({-4.0, -4.0, -0.5}, {4.0, 4.0, 0.0}).release());
        scene.addMesh(closedRing({0.6, 0.4, 1.6}, 1.1, 0.4, 48, 24).release());
        scene.addMesh(closedSphere({-1.8, 1.0, 1.1}, 0.9, 40, 20).release());
        scene.addMesh(closedBox({1.7, -2.2, 0.2}, {2.5, -1.4, 1.9}).release());
    }

    // Renders, and compares the picture with what rays find for `expected`, which are the scene's lights unless a test
    // means to see a difference.
    Agreement compare(tagSIZE size, const std::vector<KivLight>& lights, const std::vector<KivLight>& expected) {
        for (KivLight light : lights) {
            scene.addLight(light);
        }
        const double half = camera.getProjection() == KivCamera::orthographic ? 4.5 : 0.34 * camera.getFrustumNear();
        camera.setFrustumBottom(-half);
        camera.setFrustumTop(half);
        camera.setFrustumLeft(-half * size.cx / size.cy);
        camera.setFrustumRight(half * size.cx / size.cy);
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            // Exact parts, whose triangles are drawn as the rays find them and are not taken for round bodies.
            kivSetMeshEdges(*scene.getMesh(i), std::make_shared<KivMeshEdges>());
        }
        const RayCaster rays(scene); // a render empties the scene
        EXPECT_TRUE(render(size));
        const auto image = KivImage::load(home.wide() + L"/p_shadow.png");
        if (image == nullptr || image->size() != size) {
            ADD_FAILURE() << "no shadow picture of that size";
            return {};
        }
        const std::vector<Seen> seen = look(rays, size, expected);
        // In lengths of a ray's direction, which are those of the scene in a parallel view and as long as the near
        // plane is away in perspective, 1 here.
        const double fold = 0.04 * rays.diagonal();
        Agreement agreement;
        for (int y = 0; y < size.cy; ++y) {
            for (int x = 0; x < size.cx; ++x) {
                const Seen& here = seen[index(x, y, size)];
                if (isAtEdge(seen, x, y, size, fold)) {
                    continue;
                }
                ++agreement.compared;
                const int grey = static_cast<int>(image->pixel(x, size.cy - 1 - y) & 0xFFU);
                const int number = static_cast<int>(lights.size());
                agreement.equal += grey == here.lights * 255 / number ? 1 : 0;
                agreement.shadowed += here.hit && here.lights < number ? 1 : 0;
            }
        }
        return agreement;
    }

    void expectAgreement(tagSIZE size, const std::vector<KivLight>& lights) {
        const Agreement agreement = compare(size, lights, lights);
        EXPECT_GE(agreement.share(), 0.995)
            << agreement.equal << " of " << agreement.compared; // Or nothing much was compared.
        EXPECT_GT(agreement.compared, size.cx * size.cy / 2);
        EXPECT_GT(agreement.shadowed, size.cx * size.cy / 50);
    }

private:
    bool unloads = false;

    static std::size_t index(int x, int y, tagSIZE size) {
        return static_cast<std::size_t>(y) * size.cx + x;
    }

    // Rows upwards.
    std::vector<Seen> look(const RayCaster& rays, tagSIZE size, const std::vector<KivLight>& lights) const {
        std::vector<Seen> seen;
        for (int y = 0; y < size.cy; ++y) {
            for (int x = 0; x < size.cx; ++x) {
                const RayCaster::Ray ray = RayCaster::through(camera, (x + 0.5) / size.cx, (y + 0.5) / size.cy);
                // Before the near plane nothing is seen, which may lie behind the eye of a parallel view.
                const bool parallel = camera.getProjection() == KivCamera::orthographic;
                const double from = parallel ? camera.getFrustumNear() : 0.0;
                Seen here{rays.first(ray, from), static_cast<int>(lights.size())};
                if (here.hit) {
                    here.lights = static_cast<int>(std::count_if(lights.begin(), lights.end(), [&](const KivLight& l) {
                        return rays.isReached(ray, *here.hit, l);
                    }));
                }
                seen.push_back(here);
            }
        }
        return seen;
    }

    // Whether something else, or a place that other lights reach, lies within two pixels.
    static bool isAtEdge(const std::vector<Seen>& seen, int x, int y, tagSIZE size, double fold) {
        const Seen& here = seen[index(x, y, size)];
        for (int v = std::max(y - 2, 0); v <= std::min(y + 2, size.cy - 1); ++v) {
            for (int u = std::max(x - 2, 0); u <= std::min(x + 2, size.cx - 1); ++u) {
                const Seen& there = seen[index(u, v, size)];
                if (there.lights != here.lights || there.hit.has_value() != here.hit.has_value()) {
                    return true;
                }
                // Another thing, or a fold of the same that lies clearly behind.
                if (here.hit &&
                    (there.hit->mesh != here.hit->mesh || std::abs(there.hit->distance - here.hit->distance) > fold)) {
                    return true;
                }
            }
        }
        return false;
    }
};

TEST_P(KivRendererShadowImage, OnePointOfLight) {
    addThings();
    expectAgreement({321, 243}, {point(-3.0, -5.0, 8.0)});
}

TEST_P(KivRendererShadowImage, OneSun) {
    addThings();
    expectAgreement({242, 181}, {sun(-2.0, -1.0, 3.0)});
}

TEST_P(KivRendererShadowImage, TwoLightsOfTwoStyles) {
    addThings();
    expectAgreement({323, 242}, {point(4.0, -6.0, 6.0), sun(-2.0, -1.0, 2.0)});
}

TEST_P(KivRendererShadowImage, ThreeLightsOfThreeStyles) {
    addThings();
    expectAgreement({322, 241}, {point(4.0, -6.0, 6.0), sun(-2.0, -1.0, 2.0), lightOf(KivLight::spotLight, {1, 6, 7})});
}

// Behind things, beside the eye, and low behind. In larger pictures than the others: where a surface lit from behind
// turns away from the eye, the offset of the depth pass, which grows with the slope, takes it out of its own shadow
// over a few pixels, however large the picture.
TEST_P(KivRendererShadowImage, LightsThatShineTowardsTheEyeAndAlongTheView) {
    for (const KivLight& light : {point(-4.0, 7.0, 4.0), point(5.5, -9.0, 7.0), sun(-1.0, 3.0, 1.0)}) {
        addThings();
        const Agreement agreement = compare({641, 481}, {light}, {light});
        EXPECT_GE(agreement.share(), 0.995) << agreement.equal << " of " << agreement.compared;
        EXPECT_GT(agreement.compared, 150000);
    }
}

// The eye itself stands in a shadow: what volumes fail behind is counted, not what is passed through.
TEST_P(KivRendererShadowImage, AnEyeInTheShadow) {
    lookFrom({1.5, -2.4, 3.0});
    addThings();
    scene.addMesh(closedBox({0.5, -4.5, 4.5}, {3.5, -1.5, 4.8}).release());
    expectAgreement({405, 301}, {sun(0.1, -0.1, 3.0)});
}

TEST_P(KivRendererShadowImage, PicturesThatAreReducedInTheEnd) {
    for (const int antialias : {1, 2}) {
        settings.setAntialias(antialias);
        addThings();
        expectAgreement({161, 121}, {point(4.0, -6.0, 6.0), point(-3.0, -5.0, 8.0)});
        scene.empty();
    }
}

// --- parallel views

TEST_P(KivRendererShadowImage, AParallelViewWithAPointOfLight) {
    lookInParallelFrom({6.0, -9.0, 7.0});
    addThings();
    expectAgreement({321, 243}, {point(-3.0, -5.0, 8.0)});
}

TEST_P(KivRendererShadowImage, AParallelViewWithThreeLights) {
    lookInParallelFrom({6.0, -9.0, 7.0});
    addThings();
    expectAgreement({322, 241}, {point(4.0, -6.0, 6.0), sun(-2.0, -1.0, 2.0), lightOf(KivLight::spotLight, {1, 6, 7})});
}

// What a shadow does to the end of a view that never leaves it: light along the view, close to it on both sides, and
// against it. From straight above too, where sides of volumes are seen along themselves.
TEST_P(KivRendererShadowImage, AParallelViewWithLightAlongIt) {
    const Kiv3DPoint eye(4.0, -6.0, 9.0);
    for (const KivLight& light : {sun(4.0, -6.0, 9.0), sun(4.05, -5.9, 9.0), sun(3.0, -6.5, 9.0), point(4.1, -6.1, 9.2),
                                  point(1.0, -2.0, 3.0)}) {
        lookInParallelFrom(eye);
        addThings();
        const Agreement agreement = compare({401, 303}, {light}, {light});
        EXPECT_GE(agreement.share(), 0.995) << agreement.equal << " of " << agreement.compared;
        EXPECT_GT(agreement.compared, 60000);
    }
}

TEST_P(KivRendererShadowImage, AParallelViewFromStraightAbove) {
    for (const KivLight& light : {sun(0.0, 0.0, 1.0), sun(0.4, 0.3, 1.0), point(0.0, 0.0, 6.0)}) {
        lookInParallelFrom({0.0, 0.0, 9.0});
        camera.setUp({0.0, 1.0, 0.0});
        addThings();
        const Agreement agreement = compare({203, 202}, {light}, {light});
        EXPECT_GE(agreement.share(), 0.995) << agreement.equal << " of " << agreement.compared;
        EXPECT_GT(agreement.compared, 20000);
    }
}

// Things lie behind the eye of a parallel view, and beyond the far plane, and are seen.
TEST_P(KivRendererShadowImage, AParallelViewWithTheEyeInsideTheThings) {
    lookInParallelFrom({0.6, -0.9, 0.7});
    camera.setFrustumNear(-12.0);
    camera.setFrustumFar(1.0);
    addThings();
    expectAgreement({243, 181}, {point(-3.0, -5.0, 8.0)});
}

// A comparison that could not fail would prove nothing.
TEST_P(KivRendererShadowImage, AWrongPlaceOfTheLightIsSeen) {
    addThings();
    const Agreement agreement = compare({201, 151}, {point(-3.0, -5.0, 8.0)}, {point(3.0, -5.0, 8.0)});
    EXPECT_GT(agreement.compared, 15000);
    EXPECT_LT(agreement.share(), 0.97);
}

INSTANTIATE_TEST_SUITE_P(Looks, KivRendererShadowImage, testing::Values("base", "cartoon"),
                         [](const auto& look) { return std::string(look.param); });

} // namespace
