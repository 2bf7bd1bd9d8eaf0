// Shadows of closed bodies made by booleans and noise, held against rays pixel by pixel.
#include "../picture.h"
#include "kivcartoonsettings.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "render/renderfixture.h"
#include "support/implicitbodies.h"
#include "support/raycaster.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>
#include <vector>

namespace {

constexpr int gray = 0xD0;

// One tone, so that only the passes of the lights tell two places apart.
const Choices looks = {{"Bands", "1"}, {"Highlight", "no"}, {"SmoothShape", "no"}};

class CartoonShadows : public KivRendererRender {
protected:
    CartoonShadows() {
        host.morvaneFolder = kivFromUtf8(SELVARIN_BIN_DIR);
        EXPECT_TRUE(renderer.loadShaders());
        settings.setShadows(true);
        settings.setBackgroundColor(0xFFFFFF);
        camera.setProjection(KivCamera::perspective);
        camera.setFrustumLeft(-0.22);
        camera.setFrustumRight(0.22);
        camera.setFrustumBottom(-0.22);
        camera.setFrustumTop(0.22);
        camera.setLocation({1.6, 1.4, 3.4});
        camera.setDirection({-1.6, -1.4, -3.4});
        const KivTablePageSettings page = shaderSettings(LoadedShaders::cartoon(), looks);
        data.setSaving();
        save(L"Style:Test");
        save(L"NonCombinableShader:Cartoon");
        save(L"CombinableShader:");
        save(L"Cartoon");
        KivTablePageSettings written = page;
        written.setDataManager(&data);
        written.saveData();
        save(L"End Morvane");
    }
    ~CartoonShadows() override {
        renderer.unloadShaders();
    }

    void addLights(int count) {
        const Kiv3DVector directions[] = {{-1.0, -1.2, -0.5}, {0.9, -0.7, -0.4}, {0.1, -0.4, -1.0}};
        for (int i = 0; i < count; ++i) {
            KivLight light;
            light.setDiffuse(0xFFFFFF);
            light.setStyle(i == 1 ? KivLight::pointLight : KivLight::directionalLight);
            light.setDirection(directions[i]);
            light.setLocation(Kiv3DPoint() - directions[i] * (i == 1 ? 2.5 : 1e4));
            scene.addLight(light);
        }
    }

    // A bowl that is open towards the camera and the first light, each of its triangles wound as asked for.
    template <class IsTurned> void addBowl(const IsTurned& isTurned) {
        constexpr int rings = 16;
        constexpr int spokes = 24;
        const auto at = [](int ring, int spoke) {
            const double down = ring * std::numbers::pi / 2.0 / rings;
            const double round = spoke * 2.0 * std::numbers::pi / spokes;
            return Kiv3DPoint(std::sin(down) * std::cos(round), 0.4 - 0.8 * std::cos(down),
                              std::sin(down) * std::sin(round));
        };
        KivMesh bowl;
        unsigned int count = 0;
        const auto add = [&](const Kiv3DPoint& a, const Kiv3DPoint& b, const Kiv3DPoint& c) {
            if (isTurned(count++)) {
                bowl.addTriangle(a, c, b);
            } else {
                bowl.addTriangle(a, b, c);
            }
        };
        for (int ring = 0; ring < rings; ++ring) {
            for (int spoke = 0; spoke < spokes; ++spoke) {
                add(at(ring, spoke), at(ring + 1, spoke), at(ring + 1, spoke + 1));
                if (ring > 0) {
                    add(at(ring, spoke), at(ring + 1, spoke + 1), at(ring, spoke + 1));
                }
            }
        }
        KivMaterial material;
        material.setDiffuse(gray * 0x010101);
        bowl.setMaterial(material);
        scene.addMesh(new KivMesh(bowl)); // a render empties the scene
    }

    // Rods of long thin triangles, each with a point in the middle of its ends, one before the other.
    void addRods() {
        constexpr int sides = 48;
        KivMesh rods;
        for (int rod = 0; rod < 3; ++rod) {
            const double turn = 0.4 + rod * 1.1;
            const Kiv3DVector along = {1.3 * std::cos(turn), 1.3 * std::sin(turn), 0.2};
            const Kiv3DVector across = {-std::sin(turn), std::cos(turn), 0.0};
            const Kiv3DPoint middle = {0.1 * rod, 0.15 * rod, 0.55 * rod - 0.5};
            const auto at = [&](int side, double end) {
                const double round = side * 2.0 * std::numbers::pi / sides;
                return middle + along * end + across * (0.16 * std::cos(round)) +
                       Kiv3DVector(0.0, 0.0, 0.16 * std::sin(round));
            };
            for (int side = 0; side < sides; ++side) {
                rods.addTriangle(at(side, -1.0), at(side + 1, 1.0), at(side + 1, -1.0));
                rods.addTriangle(at(side, -1.0), at(side, 1.0), at(side + 1, 1.0));
                rods.addTriangle(middle - along, at(side, -1.0), at(side + 1, -1.0));
                rods.addTriangle(middle + along, at(side + 1, 1.0), at(side, 1.0));
            }
        }
        KivMaterial material;
        material.setDiffuse(gray * 0x010101);
        rods.setMaterial(material);
        scene.addMesh(new KivMesh(rods)); // a render empties the scene
    }

    // How many lights each pixel has lost, -1 for the background; and whether it lies where a light leaves a body by
    // itself, which is a matter of normals: the border there is drawn as a smooth curve and does not follow the faces.
    struct Seen {
        int lost = -1;
        bool isBorder = false;
    };
    // Whether the light comes flatly to a face that goes on from the one that was hit at one of its corners, or to one
    // from the front and to another from behind.
    bool isBorder(const RayCaster::Hit& hit, const RayCaster::Vec& way, double incidence) const {
        return std::any_of(hit.corners.begin(), hit.corners.end(), [&](const RayCaster::Vec& corner) {
            const std::vector<RayCaster::Vec>& faces = normalsAt.at(corner);
            return std::any_of(faces.begin(), faces.end(), [&](const RayCaster::Vec& normal) {
                const double bend = RayCaster::dot(normal, hit.normal);
                const double other = RayCaster::dot(way, normal) * (bend < 0.0 && areWoundAnyhow ? -1.0 : 1.0);
                const bool isCrease = (areWoundAnyhow ? std::abs(bend) : bend) < 0.5;
                return !isCrease && (std::abs(other) < 0.2 || (other > 0.0) != (incidence > 0.0));
            });
        });
    }
    Seen seenAt(const RayCaster& rays, double x, double y) const {
        const RayCaster::Ray ray = RayCaster::through(camera, x, y);
        const auto hit = rays.first(ray);
        Seen seen;
        if (!hit) {
            return seen;
        }
        seen.lost = 0;
        const RayCaster::Vec place = RayCaster::add(ray.origin, RayCaster::scaled(ray.direction, hit->distance));
        for (unsigned int i = 0; i < scene.numLights(); ++i) {
            const KivLight& light = *scene.getLight(i);
            const RayCaster::Vec way = light.getStyle() == KivLight::directionalLight
                                           ? RayCaster::scaled(RayCaster::vec(light.getDirection()), -1.0)
                                           : RayCaster::sub(RayCaster::vec(light.getLocation()), place);
            const double incidence = RayCaster::dot(RayCaster::unit(way), hit->normal);
            seen.isBorder = seen.isBorder || isBorder(*hit, RayCaster::unit(way), incidence);
            seen.lost += incidence <= 0.0 || !rays.isReached(ray, *hit, light) ? 1 : 0;
        }
        return seen;
    }

    void findNormals() {
        normalsAt.clear();
        const KivMesh& mesh = *scene.getMesh(0);
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            Kiv3DPoint p[3];
            mesh.getTriangle(p, t);
            const RayCaster::Vec a = RayCaster::vec(p[0]);
            const RayCaster::Vec b = RayCaster::sub(RayCaster::vec(p[1]), a);
            const RayCaster::Vec c = RayCaster::sub(RayCaster::vec(p[2]), a);
            for (const Kiv3DPoint& corner : p) {
                normalsAt[RayCaster::vec(corner)].push_back(RayCaster::unit(RayCaster::cross(b, c)));
            }
        }
    }

    struct Score {
        int compared = 0;
        int wrong = 0;
        int leaks = 0; // light where rays find less
    };
    Score scoreOf(int side) {
        const RayCaster rays(scene);
        findNormals();
        std::vector<Seen> expected;
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                expected.push_back(seenAt(rays, (x + 0.5) / side, (y + 0.5) / side));
            }
        }
        const auto lights = static_cast<int>(scene.numLights());
        EXPECT_TRUE(render({side, side}));
        KivBitmapInfo info;
        EXPECT_TRUE(kivGetBitmapInfo(surface.getHBitmap(), &info));
        const auto greenAt = [&](int x, int y) {
            return static_cast<int>(
                info.pixels[info.rowBytes * static_cast<std::size_t>(y) +
                            static_cast<std::size_t>(x) * (info.rowBytes / static_cast<std::size_t>(info.width)) + 1]);
        };
        const KivTone clay = {gray / 255.0, gray / 255.0, gray / 255.0};
        const KivCartoonPaint paint = kivCartoonLook(shaderSettings(LoadedShaders::cartoon(), looks)).paint;
        const int low = static_cast<int>(std::lround(kivCartoonCast(clay, paint, 1.0, 1.0)[1] * 255.0));
        constexpr int high = gray;
        const auto isInside = [&](int x, int y) {
            const Seen& here = expected[static_cast<std::size_t>(y * side + x)];
            bool inside = here.lost >= 0;
            for (int q = y - 3; q <= y + 3 && inside; ++q) {
                for (int p = x - 3; p <= x + 3 && inside; ++p) {
                    const Seen& there = expected[static_cast<std::size_t>(q * side + p)];
                    inside = there.lost == here.lost && !there.isBorder;
                }
            }
            return inside;
        };
        EXPECT_GT(high, low + 20);
        Score score;
        for (int y = 3; y + 3 < side; ++y) {
            for (int x = 3; x + 3 < side; ++x) {
                if (isInside(x, y)) {
                    const double share = static_cast<double>(high - greenAt(x, y)) / std::max(1, high - low);
                    const int lost = static_cast<int>(std::lround(share * lights));
                    const int wanted = expected[static_cast<std::size_t>(y * side + x)].lost;
                    ++score.compared;
                    score.wrong += lost != wanted ? 1 : 0;
                    score.leaks += lost < wanted ? 1 : 0;
                }
            }
        }
        return score;
    }

    std::map<RayCaster::Vec, std::vector<RayCaster::Vec>> normalsAt; // of the faces at each corner, as they are wound
    bool areWoundAnyhow = false;
};

} // namespace

// SELVARIN_CAMPAIGN draws more bodies in larger pictures.
TEST_F(CartoonShadows, OfTenBodiesAreThoseOfRays) {
    const char* const campaign = std::getenv("SELVARIN_CAMPAIGN");
    const int times = campaign != nullptr ? std::max(1, std::atoi(campaign)) : 1;
    const int side = campaign != nullptr ? 640 : 300;
    int compared = 0;
    int wrong = 0;
    for (int seed = 0; seed < 10 * times; ++seed) {
        scene.empty();
        const std::unique_ptr<KivMesh> body =
            ImplicitMesher(implicitBodyOf(static_cast<unsigned int>(seed)), 40).make();
        KivMaterial material;
        material.setDiffuse(gray * 0x010101);
        body->setMaterial(material);
        // A render empties the scene.
        scene.addMesh(new KivMesh(*body));
        addLights(1 + seed % 3);
        const Score score = scoreOf(side);
        EXPECT_GT(score.compared, side * side / 60) << seed;
        EXPECT_LE(score.wrong, score.compared / 1000) << seed << ": " << score.leaks << " leaks of " << score.compared;
        compared += score.compared;
        wrong += score.wrong;
    }
    EXPECT_LE(wrong, compared / 10'000) << compared;
}

TEST_F(CartoonShadows, AnOpenSheetIsLitOnTheSideThatFacesTheLightHoweverItIsWound) {
    for (int lights = 1; lights <= 3; ++lights) {
        for (int winding = 0; winding < 3; ++winding) {
            scene.empty();
            addBowl([winding](unsigned int t) { return winding == 2 ? t % 3 == 0 : winding == 1; });
            addLights(lights);
            areWoundAnyhow = true;
            const Score score = scoreOf(200);
            EXPECT_GT(score.compared, 3000) << lights << ' ' << winding;
            EXPECT_LE(score.wrong, score.compared / 1000)
                << lights << ' ' << winding << ": " << score.leaks << " leaks of " << score.compared;
        }
    }
}

// Depths of a volume's end and of the face that it ends in differ most over long triangles.
TEST_F(CartoonShadows, OfLongThinTrianglesAreThoseOfRays) {
    for (int lights = 1; lights <= 3; ++lights) {
        scene.empty();
        addRods();
        addLights(lights);
        areWoundAnyhow = true;
        const Score score = scoreOf(400);
        EXPECT_GT(score.compared, 4000) << lights;
        EXPECT_LE(score.wrong, score.compared / 1000)
            << lights << ": " << score.leaks << " leaks of " << score.compared;
    }
}
