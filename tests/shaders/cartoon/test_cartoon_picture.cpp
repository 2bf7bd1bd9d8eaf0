#include "../picture.h"
#include "kivcartoonpainter.h"
#include "kivcartoonramp.h"
#include "kivcartoonsettings.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace {

constexpr double pi = 3.14159265358979;

const Rgb paperColor = {0xD0, 0xE0, 0xF0};

// What the strongest light gives a point of the unit sphere, worked out from the lights' descriptions.
struct Lamp {
    KivLight::lightStyle style;
    KivVec location;
    KivVec direction;
    double angle;
};

double expectedLight(const KivVec& p, const std::vector<Lamp>& lamps) {
    double best = 0.0;
    for (const Lamp& lamp : lamps) {
        double light = 0.0;
        if (lamp.style == KivLight::directionalLight) {
            light = -kivDot(p, kivUnit(lamp.direction));
        } else if (lamp.style == KivLight::pointLight) {
            light = kivDot(p, kivUnit(lamp.location - p));
        } else {
            const double off = std::acos(kivDot(kivUnit(p - lamp.location), kivUnit(lamp.direction)));
            light = off <= lamp.angle ? -kivDot(p, kivUnit(lamp.direction)) : 0.0;
        }
        best = std::max(best, light);
    }
    return best;
}

Rgb bytesOf(const KivTone& tone) {
    Rgb result{};
    for (int c = 0; c < 3; ++c) {
        result[c] = static_cast<int>(std::lround(tone[c] * 255.0));
    }
    return result;
}

int differenceOf(const Rgb& a, const Rgb& b) {
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

} // namespace

class CartoonPicture : public PictureTest {
protected:
    // The colour of the clay in a band of the default look.
    Rgb clayAt(double light, const Choices& choices = {}) {
        const KivCartoonLook look = kivCartoonLook(shaderSettings(shaders.cartoon(), choices));
        KivCartoonPaint paint = look.paint;
        paint.ambient = kivToneOf(settings.getAmbientLight());
        return bytesOf(kivCartoonColor(kivToneOf(clay), {}, paint, look.bands.level(light)));
    }
    // Compares the picture of the unit sphere with the light worked out for what each pixel shows. Pixels whose light
    // is within slack of the edge of a band may have either tone.
    void expectSphere(const std::vector<Lamp>& lamps, double slack, int allowed = 0) {
        const Choices choices = {{"Evenness", "0"}};
        const KivCartoonLook look = kivCartoonLook(shaderSettings(shaders.cartoon(), choices));
        int compared = 0;
        int wrong = 0;
        const std::vector<Rgb> picture = pixels();
        for (int y = 0; y < size.cy; y += 3) {
            for (int x = 0; x < size.cx; x += 3) {
                KivVec p;
                if (!hitSphere(x + 0.5, y + 0.5, &p)) {
                    continue;
                }
                const double light = expectedLight(p, lamps);
                bool sure = true;
                for (int i = 1; i < look.bands.count; ++i) {
                    sure = sure && std::abs(light - look.bands.edge(i)) > slack;
                }
                for (const Lamp& lamp : lamps) {
                    if (lamp.style == KivLight::spotLight) {
                        const double off = std::acos(kivDot(kivUnit(p - lamp.location), kivUnit(lamp.direction)));
                        sure = sure && std::abs(off - lamp.angle) > slack;
                    }
                }
                if (sure) {
                    ++compared;
                    wrong +=
                        differenceOf(picture[static_cast<std::size_t>(y) * size.cx + x], clayAt(light, choices)) > 2;
                }
            }
        }
        EXPECT_GT(compared, 1000);
        EXPECT_LE(wrong, allowed) << "of " << compared;
    }
    // How many parts of one tone have fewer pixels and do not reach the picture's frame. Between two tones pixels may
    // be mixed of both; these count as the nearer one.
    int partsBelow(const std::vector<Rgb>& picture, std::size_t smallest) {
        const Rgb tones[] = {clayAt(0.0), clayAt(1.0)};
        std::vector<int> toneOf;
        for (const Rgb& color : picture) {
            toneOf.push_back(static_cast<int>(std::min_element(std::begin(tones), std::end(tones),
                                                               [&](const Rgb& a, const Rgb& b) {
                                                                   return differenceOf(a, color) <
                                                                          differenceOf(b, color);
                                                               }) -
                                              std::begin(tones)));
        }
        std::vector<bool> isCounted(picture.size(), false);
        int count = 0;
        for (int first = 0; first < static_cast<int>(picture.size()); ++first) {
            std::vector<int> part(isCounted[first] ? 0 : 1, first);
            isCounted[first] = true;
            bool isInside = true;
            for (std::size_t k = 0; k < part.size(); ++k) {
                const int x = part[k] % size.cx;
                const int y = part[k] / size.cx;
                isInside = isInside && x > 0 && y > 0 && x + 1 < size.cx && y + 1 < size.cy;
                for (int q = std::max(0, y - 1); q <= std::min(size.cy - 1, y + 1); ++q) {
                    for (int p = std::max(0, x - 1); p <= std::min(size.cx - 1, x + 1); ++p) {
                        const int next = q * size.cx + p;
                        if (!isCounted[next] && toneOf[next] == toneOf[first]) {
                            isCounted[next] = true;
                            part.push_back(next);
                        }
                    }
                }
            }
            count += !part.empty() && isInside && part.size() < smallest ? 1 : 0;
        }
        return count;
    }
    // The point of the unit sphere that a place in the picture shows, well inside its outline.
    bool hitSphere(double x, double y, KivVec* hit) const {
        // Found by walking along the ray through the place, between two depths.
        const double s = x / size.cx * 2.0 - 1.0;
        const double t = y / size.cy * 2.0 - 1.0;
        const KivVec forward = kivUnit(eyeAt) * -1.0;
        const KivVec right = kivUnit(kivCross(forward, {0.0, 1.0, 0.0}));
        const KivVec up = kivCross(right, forward);
        const KivVec aside = right * (s * side) + up * (t * side);
        const KivVec origin = view.isPerspective() ? eyeAt : eyeAt + aside;
        const KivVec ray = kivUnit(view.isPerspective() ? forward + aside : forward);
        const double b = kivDot(origin, ray);
        const double root = b * b - (kivDot(origin, origin) - 1.0);
        if (root < 0.02) {
            return false;
        }
        *hit = origin + ray * (-b - std::sqrt(root));
        return true;
    }
    void lookFrom(const KivVec& eye, double half, bool perspective) {
        eyeAt = eye;
        side = half;
        look(eye, half, perspective);
    }

    KivVec eyeAt;
    double side = 1.0;
};

TEST_F(CartoonPicture, ASphereHasItsBandsForEachKindOfLightAndView) {
    const KivVec from = kivUnit({1.0, 2.0, 2.0}) * 4.0;
    const std::vector<std::vector<Lamp>> setups = {
        {{KivLight::directionalLight, {}, {-1.0, -2.0, -1.0}, 0.0}},
        {{KivLight::pointLight, from, {}, 0.0}},
        {{KivLight::spotLight, from, from * -1.0, 0.15}},
        {{KivLight::directionalLight, {}, {-1.0, -0.5, -0.2}, 0.0}, {KivLight::pointLight, {-3.0, 3.0, 3.0}, {}, 0.0}},
    };
    for (const std::vector<Lamp>& lamps : setups) {
        for (const bool perspective : {true, false}) {
            KivBitmapManager fresh;
            surface = fresh;
            scene.empty();
            addMesh(sphereSurface(48, 96), true);
            for (const Lamp& lamp : lamps) {
                addLight(lamp.style, lamp.location, lamp.direction, lamp.angle);
            }
            open(300);
            lookFrom({1.0, 1.5, 5.0}, perspective ? 0.25 : 1.2, perspective);
            choose(shaders.cartoon(), {{"Evenness", "0"}});
            draw(shaders.cartoon());
            expectSphere(lamps, 0.03);
            surface.deleteContext();
        }
    }
}

TEST_F(CartoonPicture, ACoarseSphereHasRoundBandsToo) {
    // Normals in between are rounded, so that a model of few triangles is lit nearly like the sphere that it stands
    // for.
    addMesh(sphereSurface(12, 24), true);
    const std::vector<Lamp> lamps = {{KivLight::directionalLight, {}, {-1.0, -2.0, -1.0}, 0.0}};
    addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
    open(400);
    lookFrom({1.0, 1.5, 5.0}, 1.2, false);
    choose(shaders.cartoon(), {{"Evenness", "0"}});
    draw(shaders.cartoon());
    expectSphere(lamps, 0.15, 15); // near its outline the model is not where the sphere is
}

TEST_F(CartoonPicture, HasAsManyTonesAsBands) {
    for (int count = 1; count <= 8; ++count) {
        KivBitmapManager fresh;
        surface = fresh;
        scene.empty();
        addMesh(sphereSurface(48, 96), true);
        addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
        open(300);
        lookFrom({1.0, 1.5, 5.0}, 1.2, false);
        choose(shaders.cartoon(), {{"Bands", std::to_string(count)}, {"Softness", "0"}});
        draw(shaders.cartoon());
        std::map<Rgb, int> tones;
        for (const Rgb& color : pixels()) {
            ++tones[color];
        }
        tones.erase(paperColor);
        // Values between two entries of the ramp can have a colour of its own, on few pixels.
        const auto bands =
            std::count_if(tones.begin(), tones.end(), [](const auto& tone) { return tone.second > 150; });
        EXPECT_EQ(bands, count);
        surface.deleteContext();
    }
}

TEST_F(CartoonPicture, MeshesWithoutNormalsLookTheSameHoweverTheyAreStored) {
    std::vector<std::vector<Rgb>> pictures;
    for (const int form : {0, 1, 2, 3}) {
        KivBitmapManager fresh;
        surface = fresh;
        scene.empty();
        KivSurface sphere = sphereSurface(30, 40);
        std::mt19937 words(3);
        if (form == 1 || form == 3) { // every triangle with points of its own
            KivSurface loose;
            for (const KivSurface::Triangle& t : sphere.triangles) {
                const auto first = static_cast<std::uint32_t>(loose.points.size());
                for (const std::uint32_t p : t) {
                    loose.points.push_back(sphere.points[p]);
                }
                loose.triangles.push_back({first, first + 1, first + 2});
            }
            sphere = loose;
        }
        if (form >= 2) { // wound at random, as by mirroring parts
            for (KivSurface::Triangle& t : sphere.triangles) {
                if (words() % 2 != 0) {
                    std::swap(t[0], t[1]);
                }
            }
        }
        addMesh(sphere);
        addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
        open(200);
        lookFrom({1.0, 1.5, 5.0}, 0.25, true);
        choose(shaders.cartoon(), {});
        draw(shaders.cartoon());
        pictures.push_back(pixels());
        surface.deleteContext();
    }
    for (std::size_t i = 1; i < pictures.size(); ++i) {
        int different = 0;
        for (std::size_t k = 0; k < pictures[0].size(); ++k) {
            different += differenceOf(pictures[0][k], pictures[i][k]) > 8;
        }
        EXPECT_LT(different, 60) << "form " << i; // of 40000, on edges of bands
    }
}

TEST_F(CartoonPicture, NormalsThatPointInwardsAreSeenFromTheirBack) {
    std::vector<std::vector<Rgb>> pictures;
    for (const double sign : {1.0, -1.0}) {
        KivBitmapManager fresh;
        surface = fresh;
        scene.empty();
        auto* mesh = new KivMesh;
        const KivSurface sphere = sphereSurface(30, 40);
        for (const KivVec& p : sphere.points) {
            mesh->addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(p.x * sign, p.y * sign, p.z * sign));
        }
        for (const KivSurface::Triangle& t : sphere.triangles) {
            mesh->addTriangle(t[0], t[1], t[2]);
        }
        KivMaterial material;
        material.setDiffuse(clay);
        mesh->setMaterial(material);
        scene.addMesh(mesh);
        addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
        open(200);
        lookFrom({1.0, 1.5, 5.0}, 0.25, true);
        choose(shaders.cartoon(), {});
        draw(shaders.cartoon());
        pictures.push_back(pixels());
        surface.deleteContext();
    }
    int different = 0;
    for (std::size_t k = 0; k < pictures[0].size(); ++k) {
        different += differenceOf(pictures[0][k], pictures[1][k]) > 8;
    }
    EXPECT_LT(different, 150); // of 40000, along the outline
}

TEST_F(CartoonPicture, HasNoStrayPixels) {
    // Inside the outline every pixel has a tone of the ramp, and nothing of the far side shows through.
    addMesh(sphereSurface(60, 90), true);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0}); // from the eye: the outline is dark, the middle light
    open(400);
    lookFrom({0.0, 0.0, 5.0}, 1.1, false);
    choose(shaders.cartoon(), {{"Softness", "0"}, {"Bands", "4"}});
    draw(shaders.cartoon());
    const std::vector<Rgb> picture = pixels();
    const auto at = [&](int x, int y) { return picture[static_cast<std::size_t>(y) * 400 + x]; };
    int stray = 0;
    for (int y = 1; y < 399; ++y) {
        for (int x = 1; x < 399; ++x) {
            // Darker than all its neighbours, or lighter.
            int darker = 0;
            int lighter = 0;
            for (const auto& [dx, dy] : {std::pair(1, 0), std::pair(-1, 0), std::pair(0, 1), std::pair(0, -1)}) {
                darker += at(x, y)[0] < at(x + dx, y + dy)[0] - 8;
                lighter += at(x, y)[0] > at(x + dx, y + dy)[0] + 8;
            }
            stray += darker == 4 || lighter == 4;
        }
    }
    EXPECT_EQ(stray, 0);
}

// Black shapes are lifted, so that ink shows on them; black details of large scenes stay black.
TEST_F(CartoonPicture, BlackIsGreyButForDetails) {
    const auto makeBlack = [](KivMesh& mesh) {
        KivMaterial material;
        material.setDiffuse(0);
        mesh.setMaterial(material);
    };
    makeBlack(*addMesh(sphereSurface(30, 60), true));
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    open(200);
    look({0.0, 0.0, 6.0}, 1.1, false);
    const auto middle = [&](const Choices& choices) {
        choose(shaders.cartoon(), choices);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        static_cast<KivNonCombinableShader&>(shaders.cartoon()).prepareObjectRendering(settings, &scene);
        draw(shaders.cartoon());
        return pixelAt({0.0, 0.0, 1.0});
    };
    const Choices plain = {{"Highlight", "no"}};
    EXPECT_LE(differenceOf(middle(plain), bytesOf({0.3, 0.3, 0.3})), 2);
    EXPECT_LE(differenceOf(middle({{"Highlight", "no"}, {"DarkLift", "0"}}), {0, 0, 0}), 1);
    EXPECT_LE(differenceOf(middle({{"Highlight", "no"}, {"DarkLift", "12"}}), bytesOf({0.12, 0.12, 0.12})), 2);
    EXPECT_LE(differenceOf(middle({{"Highlight", "no"}, {"Lightness", "-100"}}), {0, 0, 0}), 1)
        << "who asks for black gets it";
    // A far larger thing beside it makes it a detail.
    KivSurface far;
    far.points = {{-60.0, 0.0, -70.0}, {60.0, 0.0, -70.0}, {0.0, 60.0, -70.0}};
    far.triangles = {{0, 1, 2}};
    addMesh(far);
    EXPECT_LE(differenceOf(middle(plain), {0, 0, 0}), 1);
}

// Files split one thing into many: each piece alone would be a detail.
TEST_F(CartoonPicture, ABlackThingInManyPiecesIsLiftedAsIfItWereOne) {
    const KivSurface sphere = sphereSurface(30, 60);
    KivMaterial black;
    black.setDiffuse(0);
    constexpr std::size_t perPiece = 4;
    for (std::size_t t = 0; t < sphere.triangles.size(); t += perPiece) {
        KivSurface piece;
        for (std::size_t i = t; i < std::min(t + perPiece, sphere.triangles.size()); ++i) {
            const auto first = static_cast<std::uint32_t>(piece.points.size());
            for (const std::uint32_t corner : sphere.triangles[i]) {
                piece.points.push_back(sphere.points[corner]);
            }
            piece.triangles.push_back({first, first + 1, first + 2});
        }
        addMesh(piece, true)->setMaterial(black);
    }
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    open(200);
    look({0.0, 0.0, 6.0}, 1.1, false);
    choose(shaders.cartoon(), {{"Highlight", "no"}});
    static_cast<KivNonCombinableShader&>(shaders.cartoon()).prepareObjectRendering(settings, &scene);
    draw(shaders.cartoon());
    EXPECT_LE(differenceOf(pixelAt({0.0, 0.0, 1.0}), bytesOf({0.3, 0.3, 0.3})), 2);
}

// Along the contour of a sphere that is lit from the left the rim lies on the right, as wide as the facing says.
TEST_F(CartoonPicture, ARimOfLightLiesAwayFromTheLight) {
    addMesh(sphereSurface(60, 120), true);
    addLight(KivLight::directionalLight, {}, {1.0, 0.0, -0.6});
    open(400);
    look({0.0, 0.0, 6.0}, 1.1, false);
    const Rgb rim = {0x10, 0xF0, 0x20};
    for (const bool around : {false, true}) {
        choose(shaders.cartoon(),
               {{"RimWidth", "50"}, {"RimColour", "#10f020"}, {"RimAround", around ? "yes" : "no"}, {"Evenness", "0"}});
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        draw(shaders.cartoon());
        int compared = 0;
        for (double turn = 0.0; turn < 2.0 * pi; turn += 0.1) {
            for (const double radius : {0.3, 0.7, 0.8, 0.9, 0.97}) {
                const KivVec normal = {radius * std::cos(turn), radius * std::sin(turn),
                                       std::sqrt(1.0 - radius * radius)};
                const double width = 0.5 * (around ? 1.0 : std::max(0.0, normal.x));
                if (std::abs(normal.z - width) > 0.03) {
                    const bool isRim = differenceOf(pixelAt(normal), rim) <= 2;
                    EXPECT_EQ(isRim, normal.z < width) << turn << ' ' << radius << ' ' << around;
                    ++compared;
                }
            }
        }
        EXPECT_GT(compared, 200);
    }
}

// Rough ground seen from above: what hangs together in one tone is counted pixel by pixel.
TEST_F(CartoonPicture, RoughGroundHasNoSpecks) {
    constexpr int cells = 60;
    std::mt19937 random(5);
    KivSurface ground;
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) {
            const double height = 0.012 * static_cast<double>(random() % 1000) / 1000.0;
            ground.points.push_back({i * 2.4 / cells - 1.2, j * 2.4 / cells - 1.2, height});
        }
    }
    for (std::uint32_t j = 0; j < cells; ++j) {
        for (std::uint32_t i = 0; i < cells; ++i) {
            const std::uint32_t a = j * (cells + 1) + i;
            ground.triangles.push_back({a, a + 1, a + cells + 2});
            ground.triangles.push_back({a, a + cells + 2, a + cells + 1});
        }
    }
    addMesh(ground);
    addLight(KivLight::directionalLight, {}, {1.0, -0.4, -0.55});
    for (const int across : {200, 330}) {
        open(across);
        look({0.0, 0.0, 6.0}, 1.0, false);
        const auto specks = [&](const char* smallest) {
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            choose(shaders.cartoon(),
                   {{"Bands", "2"}, {"Softness", "0"}, {"Evenness", "0"}, {"SmallestTone", smallest}});
            draw(shaders.cartoon());
            return partsBelow(pixels(), 12);
        };
        EXPECT_GT(specks("0"), 10) << across;
        EXPECT_EQ(specks("20"), 0) << across;
    }
}

TEST_F(CartoonPicture, LeavesTheStateAsItWas) {
    addMesh(sphereSurface(10, 12), true);
    addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
    open(64);
    lookFrom({0.0, 0.0, 5.0}, 1.1, false);
    glEnable(GL_BLEND);
    glPolygonOffset(7.0F, 8.0F);
    draw(shaders.cartoon());
    EXPECT_EQ(glIsEnabled(GL_BLEND), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_TEXTURE_1D), GL_FALSE);
    GLfloat factor = 0.0F;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    EXPECT_EQ(factor, 7.0F);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
}

TEST_F(CartoonPicture, PushesItsSurfacesBackByTheOffsetOfTheChannel) {
    KivSurface square;
    square.points = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    square.triangles = {{0, 1, 2}, {0, 2, 3}};
    addMesh(square);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    std::vector<float> depths;
    for (const float units : {0.0F, 4000.0F}) {
        KivBitmapManager fresh;
        surface = fresh;
        channel.setPolygonOffset(0.0F, units);
        open(64);
        lookFrom({0.0, 0.0, 5.0}, 1.1, false);
        draw(shaders.cartoon());
        float depth = 0.0F;
        glReadPixels(32, 32, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        depths.push_back(depth);
        surface.deleteContext();
    }
    EXPECT_NEAR(depths[0], place({0.0, 0.0, 0.0}).z, 1e-5);
    EXPECT_GT(depths[1], depths[0] + 1e-5F);
}

TEST_F(CartoonPicture, AmbientLightOfTheSceneLiftsTheShadow) {
    addMesh(sphereSurface(30, 40), true);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, 1.0}); // from behind: all in shadow
    settings.setAmbientLight(0x8080FF);
    open(100);
    lookFrom({0.0, 0.0, 5.0}, 1.1, false);
    draw(shaders.cartoon());
    EXPECT_LE(differenceOf(pixelAt({0.0, 0.0, 1.0}), clayAt(0.0)), 1);
    settings.setAmbientLight(0);
    EXPECT_GT(pixelAt({0.0, 0.0, 1.0})[0], clayAt(0.0)[0] + 20);
}

TEST_F(CartoonPicture, LightFromBehindCountsOnDoubleSidedSurfaces) {
    addMesh(sphereSurface(30, 40), true);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, 1.0});
    open(100);
    lookFrom({0.0, 0.0, 5.0}, 1.1, false);
    choose(shaders.cartoon(), {{"DoubleSided", "1"}, {"LightFromBehind", "100"}});
    draw(shaders.cartoon());
    EXPECT_LE(differenceOf(pixelAt({0.0, 0.0, 1.0}), clayAt(1.0)), 1);
    glClear(GL_DEPTH_BUFFER_BIT);
    choose(shaders.cartoon(), {{"DoubleSided", "0"}});
    draw(shaders.cartoon());
    EXPECT_LE(differenceOf(pixelAt({0.0, 0.0, 1.0}), clayAt(0.0)), 1);
}

TEST_F(CartoonPicture, FlatFacesHaveOneToneEach) {
    addMesh(sphereSurface(8, 10), true);
    addLight(KivLight::pointLight, {2.0, 3.0, 4.0}, {});
    open(300);
    lookFrom({0.0, 1.0, 5.0}, 1.2, false);
    choose(shaders.cartoon(), {{"Flat", "1"}, {"Bands", "8"}, {"Softness", "100"}});
    draw(shaders.cartoon());
    const KivSurface sphere = sphereSurface(8, 10);
    for (const KivSurface::Triangle& t : sphere.triangles) {
        const KivVec a = sphere.points[t[0]];
        const KivVec b = sphere.points[t[1]];
        const KivVec c = sphere.points[t[2]];
        const KivVec middle = (a + b + c) * (1.0 / 3.0);
        if (kivDot(kivUnit(faceNormal(sphere, t)), kivUnit({0.0, 1.0, 5.0})) > 0.3) {
            const Rgb tone = pixelAt(middle);
            EXPECT_LE(differenceOf(tone, pixelAt(middle * 0.6 + a * 0.4)), 1);
            EXPECT_LE(differenceOf(tone, pixelAt(middle * 0.6 + b * 0.4)), 1);
        }
    }
}

TEST_F(CartoonPicture, ShinyMaterialsHaveAHighlightWhereTheyMirrorTheLight) {
    KivMesh* mesh = addMesh(sphereSurface(48, 96), true);
    KivMaterial material;
    material.setDiffuse(clay);
    material.setSpecular(0xFFFFFF);
    material.setShine(200.0);
    mesh->setMaterial(material);
    const KivVec toLight = kivUnit({1.0, 1.0, 1.0});
    addLight(KivLight::directionalLight, {}, toLight * -1.0);
    open(300);
    lookFrom({0.0, 0.0, 5.0}, 1.2, false);
    choose(shaders.cartoon(), {{"HighlightStrength", "100"}, {"HighlightSize", "10"}, {"Softness", "0"}});
    draw(shaders.cartoon());
    const KivVec mirror = kivUnit(toLight + KivVec{0.0, 0.0, 1.0});
    EXPECT_EQ(pixelAt(mirror), (Rgb{255, 255, 255}));
    const KivVec across = kivUnit(kivCross(mirror, {0.0, 1.0, 0.0}));
    EXPECT_EQ(pixelAt(mirror * std::cos(8 * pi / 180) + across * std::sin(8 * pi / 180)), (Rgb{255, 255, 255}));
    EXPECT_LE(differenceOf(pixelAt(mirror * std::cos(13 * pi / 180) + across * std::sin(13 * pi / 180)), clayAt(1.0)),
              2);
}

TEST_F(CartoonPicture, DrawsWhatIsItsOwnByTheRuleOfTheFlag) {
    KivMesh* free = addMesh(sphereSurface(12, 16), true);
    KivMesh* own = addMesh(sphereSurface(12, 16), true);
    KivMesh* foreign = addMesh(sphereSurface(12, 16), true);
    own->setNonCombinableShader(L"Cartoon");
    foreign->setNonCombinableShader(L"Other");
    (void)free;
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    // The three spheres stand on one spot: which was drawn shows in the colour of each.
    const std::uint32_t colors[3] = {0x0000FF, 0x00FF00, 0xFF0000};
    for (unsigned int i = 0; i < 3; ++i) {
        KivMaterial material;
        material.setDiffuse(colors[i]);
        scene.getMesh(i)->setMaterial(material);
    }
    open(60);
    lookFrom({0.0, 0.0, 5.0}, 1.2, false);
    choose(shaders.cartoon(), {});
    draw(shaders.cartoon(), true);
    EXPECT_EQ(pixel(30, 30), (Rgb{255, 0, 0}));
    draw(shaders.cartoon(), false);
    EXPECT_EQ(pixel(30, 30), (Rgb{0, 255, 0}));
}

TEST_F(CartoonPicture, AnObjectBringsItsOwnSettings) {
    KivMesh* own = addMesh(sphereSurface(48, 96), true);
    own->setNonCombinableShader(L"Cartoon");
    auto page = std::make_unique<KivTablePageSettings>(shaderSettings(shaders.cartoon(), {{"Bands", "1"}}));
    own->addPageSettings(page.release());
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, 1.0}); // in shadow, but one band is all light
    open(60);
    lookFrom({0.0, 0.0, 5.0}, 1.2, false);
    choose(shaders.cartoon(), {{"Bands", "3"}});
    draw(shaders.cartoon(), false);
    EXPECT_LE(differenceOf(pixel(30, 30), clayAt(1.0)), 1);
}

// The offset would move thin areas that are seen from the side behind all others.
TEST_F(CartoonPicture, GivesAVectorPageTheDepthsOfTheSurface) {
    addMesh(sphereSurface(24, 48), true);
    addLight(KivLight::directionalLight, {}, {0.0, -1.0, -1.0});
    open(60);
    lookFrom({0.0, 0.0, 5.0}, 1.2, false);
    settings.setVectorial(true);
    const auto record = [&](float slopes, float steps) {
        channel.setPolygonOffset(slopes, steps);
        choose(shaders.cartoon(), {});
        std::vector<GLfloat> feedback(1 << 20);
        glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
        glRenderMode(GL_FEEDBACK);
        draw(shaders.cartoon());
        const GLint count = glRenderMode(GL_RENDER);
        EXPECT_GT(count, 10000);
        feedback.resize(static_cast<std::size_t>(std::max(count, 0)));
        return feedback;
    };
    const std::vector<GLfloat> plain = record(0.0F, 0.0F);
    EXPECT_TRUE(record(50.0F, 1000.0F) == plain);
    EXPECT_EQ(plain[0], static_cast<GLfloat>(GL_POLYGON_TOKEN));
}
