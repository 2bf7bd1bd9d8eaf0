// Transparent triangles of the cartoon shader: many at a time, with the result of one at a time, and under shadows.
#include "../picture.h"
#include "kivrender/shadow/kivshadows.h"
#include "support/rawrandom.h"

#include <algorithm>

namespace {

struct Placed {
    const KivMesh* mesh;
    int meshIndex;
    Kiv3DPoint points[3];
    Kiv3DVector normals[3];
};

int differenceOf(const Rgb& a, const Rgb& b) {
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

} // namespace

class CartoonTriangles : public PictureTest {
protected:
    static constexpr int side = 120;

    // An empty mesh that stands for the material of triangles.
    KivMesh* addMaterial(std::uint32_t diffuse, double alpha, double shine = 0.0, std::uint32_t emission = 0) {
        auto* mesh = new KivMesh;
        KivMaterial material;
        material.setDiffuse(diffuse);
        material.setTransparency(alpha);
        material.setShine(shine);
        material.setSpecular(0xFFFFFF);
        material.setEmission(emission);
        mesh->setMaterial(material);
        mesh->addVertex(Kiv3DPoint(), Kiv3DVector(0, 0, 1)); // with normals
        scene.addMesh(mesh);
        return mesh;
    }
    void openPicture() {
        open(side);
        look({0.0, 0.0, 5.0}, 1.2, false);
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(2.5F, 5.0F);
    }
    // The empty picture, with so many lights lost in each of equally wide columns.
    void clearPicture(int columns) {
        glDisable(GL_SCISSOR_TEST);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        for (int lost = 0; lost < columns; ++lost) {
            glScissor(lost * side / columns, 0, side / columns, side);
            glClearStencil(100 + lost);
            glClear(GL_STENCIL_BUFFER_BIT);
        }
        glDisable(GL_SCISSOR_TEST);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
    }
    // The calls of a render for a list of triangles. oneByOne: transparency begins and ends with each of them.
    void drawTriangles(const std::vector<Placed>& list, bool withShadows, bool oneByOne) {
        KivNonCombinableShader& shader = shaders.cartoon();
        KivShadows shadows;
        const int numLights = static_cast<int>(scene.numLights());
        int previous = -1;
        glDepthMask(GL_FALSE);
        shader.beginTransparency(false);
        for (const Placed& one : list) {
            const auto call = [&](int pass, const KivLight* light, int index) {
                shader.renderTransparentTriangle(one.points, one.normals, one.mesh, &scene, camera, settings,
                                                 one.meshIndex, previous, &shader, withShadows ? &shadows : nullptr,
                                                 pass, light, index, numLights, false);
            };
            glDisable(GL_STENCIL_TEST);
            if (previous >= 0) {
                shader.endTransparentTriangle(one.meshIndex, previous, 3, false);
            }
            call(1, nullptr, 0);
            shader.endTransparentTriangle(one.meshIndex, one.meshIndex, 1, false);
            call(2, nullptr, 0);
            shader.endTransparentTriangle(one.meshIndex, previous, 2, false);
            call(3, nullptr, 0);
            if (withShadows) {
                glEnable(GL_STENCIL_TEST);
                for (int l = 0; l < numLights; ++l) {
                    call(3, scene.getLight(static_cast<unsigned int>(l)), l);
                }
                glDisable(GL_STENCIL_TEST);
            }
            previous = one.meshIndex;
            if (oneByOne) {
                shader.endTransparency(false);
                shader.beginTransparency(false);
            }
        }
        if (!list.empty()) {
            shader.endTransparentTriangle(-1, previous, 3, false);
        }
        shader.endTransparency(false);
        glDepthMask(GL_TRUE);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    std::vector<Rgb> pictureOf(const std::vector<Placed>& list, bool withShadows, bool oneByOne) {
        clearPicture(withShadows ? static_cast<int>(scene.numLights()) + 1 : 1);
        drawTriangles(list, withShadows, oneByOne);
        return pixels();
    }
    // Triangles of all the scene's materials in a random order, with corners in a cube of half side 1.
    std::vector<Placed> randomTriangles(RawRandom& random, int count, double reach) {
        const auto number = [&] { return random.below(2001) / 1000.0 - 1.0; };
        std::vector<Placed> list;
        for (int i = 0; i < count; ++i) {
            Placed one;
            one.meshIndex = static_cast<int>(random.below(scene.numMeshes()));
            one.mesh = scene.getMesh(static_cast<unsigned int>(one.meshIndex));
            const Kiv3DPoint centre(number(), number(), number());
            for (int k = 0; k < 3; ++k) {
                one.points[k] = centre + Kiv3DVector(number(), number(), number()) * reach;
                one.normals[k] = Kiv3DVector(number(), number(), number());
            }
            list.push_back(one);
        }
        return list;
    }
    std::vector<Placed> square(int meshIndex, double z) {
        const Kiv3DPoint corners[4] = {{-1, -1, z}, {1, -1, z}, {1, 1, z}, {-1, 1, z}};
        std::vector<Placed> list;
        for (const auto& t : {std::array<int, 3>{0, 1, 2}, std::array<int, 3>{0, 2, 3}}) {
            Placed one;
            one.meshIndex = meshIndex;
            one.mesh = scene.getMesh(static_cast<unsigned int>(meshIndex));
            for (int k = 0; k < 3; ++k) {
                one.points[k] = corners[t[static_cast<std::size_t>(k)]];
                one.normals[k] = Kiv3DVector(0, 0, 1);
            }
            list.push_back(one);
        }
        return list;
    }
    // A mesh of one colour and half opaque; its winding tells its normals.
    void addGlass(const KivSurface& shape, std::uint32_t diffuse) {
        KivMesh* glass = addMesh(shape);
        KivMaterial material;
        material.setDiffuse(diffuse);
        material.setTransparency(0.5);
        glass->setMaterial(material);
    }
    // All transparent triangles as the scene orders them for an eye in front of the picture. One band of tone: every
    // surface shows its own colour, wherever the light.
    std::vector<Rgb> orderedPicture() {
        choose(shaders.cartoon(), {{"Bands", "1"}});
        camera.setLocation(Kiv3DPoint(0, 0, 5));
        scene.orderTrianglesTransparent(camera);
        std::vector<Placed> list;
        for (unsigned int i = 0; i < scene.numTriangles(); ++i) {
            Placed one;
            KivMesh* of = nullptr;
            scene.getOrderedTriangle(i, &of, &one.meshIndex, one.points, one.normals);
            one.mesh = of;
            list.push_back(one);
        }
        return pictureOf(list, false, false);
    }
    // A square of strips, each of two triangles, that leans by so much in depth from the left to the right.
    static KivSurface strips(double lean, int count) {
        KivSurface shape;
        for (int i = 0; i <= count; ++i) {
            const double x = 2.0 * i / count - 1.0;
            shape.points.push_back({x, -1.0, lean * x});
            shape.points.push_back({x, 1.0, lean * x});
        }
        for (int i = 0; i < count; ++i) {
            const auto first = static_cast<std::uint32_t>(2 * i);
            shape.triangles.push_back({first, first + 2, first + 3});
            shape.triangles.push_back({first, first + 3, first + 1});
        }
        return shape;
    }
    // What half opaque layers make of the paper, the first one at the back.
    static Rgb throughGlass(const std::vector<Rgb>& layers) {
        std::array<double, 3> mixed = {0xD0, 0xE0, 0xF0};
        for (const Rgb& layer : layers) {
            for (std::size_t c = 0; c < 3; ++c) {
                mixed[c] = (mixed[c] + layer[c]) / 2;
            }
        }
        return {static_cast<int>(std::lround(mixed[0])), static_cast<int>(std::lround(mixed[1])),
                static_cast<int>(std::lround(mixed[2]))};
    }
    void plainTones(const Choices& more = {}) {
        Choices choices = {{"Shadow", "50"}, {"ShadowSaturation", "0"}, {"ShadowCoolness", "0"}};
        choices.insert(choices.end(), more.begin(), more.end());
        choose(shaders.cartoon(), choices);
    }
};

// More than are drawn together at once, in runs of one mesh and mixed, small and large, seen from both sides.
TEST_F(CartoonTriangles, ManyAtATimeGiveThePictureOfOneAtATime) {
    addMaterial(0x4080C0, 0.5);
    addMaterial(0x20C040, 0.3, 60.0);
    addMaterial(0xC03020, 0.8, 0.0, 0x202000);
    addLight(KivLight::pointLight, {2.0, 1.0, 4.0}, {});
    addLight(KivLight::spotLight, {0.0, 0.0, 4.0}, {0.0, 0.0, -1.0}, 0.2);
    openPicture();
    RawRandom random(7);
    for (const bool withShadows : {false, true}) {
        choose(shaders.cartoon(), {{"CastShadowStrength", withShadows ? "70" : "100"}});
        for (const auto& [count, reach] : {std::pair{60, 0.6}, std::pair{withShadows ? 700 : 4500, 0.08}}) {
            const std::vector<Placed> list = randomTriangles(random, count, reach);
            const std::vector<Rgb> one = pictureOf(list, withShadows, true);
            const std::vector<Rgb> many = pictureOf(list, withShadows, false);
            EXPECT_EQ(many, one) << count;
            EXPECT_GT(std::count_if(many.begin(), many.end(), [&](const Rgb& p) { return p != many[0]; }), 2000);
        }
    }
}

TEST_F(CartoonTriangles, NearerOnesLieOverFartherOnesWhateverTheirMesh) {
    addMaterial(0x0000FF, 0.5); // red
    addMaterial(0x00FF00, 0.5); // green
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    openPicture();
    plainTones();
    std::vector<Placed> list = square(0, -0.5);
    const std::vector<Placed> near = square(1, 0.5);
    list.insert(list.end(), near.begin(), near.end());
    const Rgb seen = pictureOf(list, false, false)[60 * side + 30];
    // Half of green over half of red over the paper.
    EXPECT_LE(differenceOf(seen, {(0xD0 + 255) / 4, 0xE0 / 4 + 128, 0xF0 / 4}), 2);
    std::swap(list[0], list[2]);
    std::swap(list[1], list[3]);
    const Rgb turned = pictureOf(list, false, false)[60 * side + 30];
    EXPECT_LE(differenceOf(turned, {0xD0 / 4 + 128, (0xE0 + 255) / 4, 0xF0 / 4}), 2);
}

// Two lights; none, one and both of them lost from the left to the right.
TEST_F(CartoonTriangles, UnderShadowsAreShownWithTheLightsThatReachThem) {
    addMaterial(0x4080C0, 0.5);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    openPicture();
    const auto columns = [&] {
        const std::vector<Rgb> picture = pictureOf(square(0, 0.0), true, false);
        return std::array<Rgb, 3>{picture[60 * side + 25], picture[60 * side + 60], picture[60 * side + 95]};
    };
    const auto over = [](int red, int green, int blue) {
        return Rgb{(0xD0 + red) / 2, (0xE0 + green) / 2, (0xF0 + blue) / 2};
    };
    plainTones();
    const auto plain = columns();
    EXPECT_LE(differenceOf(plain[0], over(0xC0, 0x80, 0x40)), 1);
    EXPECT_LE(differenceOf(plain[1], over(0x90, 0x60, 0x30)), 1);
    EXPECT_LE(differenceOf(plain[2], over(0x60, 0x40, 0x20)), 1);
    plainTones({{"CastShadowStrength", "50"}, {"CastShadowColour", "#0080FF"}});
    const auto tinted = columns();
    EXPECT_LE(differenceOf(tinted[0], over(0xC0, 0x80, 0x40)), 1);
    EXPECT_LE(differenceOf(tinted[2], over(0x60, 0x50, 0x30)), 1);
}

TEST_F(CartoonTriangles, OpaqueSurfacesHideWhatLiesBehind) {
    addMaterial(0x0000FF, 0.5);
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    openPicture();
    plainTones();
    clearPicture(1);
    glEnable(GL_SCISSOR_TEST); // an opaque wall in front of the left half
    glScissor(0, 0, side / 2, side);
    glClearDepth(0.0);
    glClear(GL_DEPTH_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
    glClearDepth(1.0);
    glDepthFunc(GL_ALWAYS); // as restoring the depth leaves it
    drawTriangles(square(0, 0.0), true, false);
    EXPECT_EQ(pixel(30, 60), (Rgb{0xD0, 0xE0, 0xF0}));
    EXPECT_NE(pixel(90, 60), (Rgb{0xD0, 0xE0, 0xF0}));
}

// Between the meshes of two shaders the first one's triangles must be in the picture.
TEST_F(CartoonTriangles, AreDrawnWhenAnotherShadersTurnComes) {
    addMaterial(0x0000FF, 0.5);
    addMaterial(0x00FF00, 0.5)->setNonCombinableShader(L"Other");
    addMaterial(0xFF0000, 0.5);
    openPicture();
    plainTones();
    clearPicture(1);
    KivNonCombinableShader& shader = shaders.cartoon();
    shader.beginTransparency(false);
    const std::vector<Placed> list = square(0, 0.0);
    const auto isDrawn = [&] { return pixel(60, 30) != Rgb{0xD0, 0xE0, 0xF0}; };
    shader.renderTransparentTriangle(list[0].points, list[0].normals, list[0].mesh, &scene, camera, settings, 0, -1,
                                     &shader, nullptr, 1, nullptr, 0, 0, false);
    shader.endTransparentTriangle(0, 0, 3, false);
    EXPECT_FALSE(isDrawn());
    shader.endTransparentTriangle(2, 0, 3, false); // a mesh of its own
    EXPECT_FALSE(isDrawn());
    shader.endTransparentTriangle(1, 0, 3, false);
    EXPECT_TRUE(isDrawn());
    shader.endTransparency(false);
}

// A render that was cancelled leaves triangles behind that no later one may show.
TEST_F(CartoonTriangles, OfACancelledRenderAreForgotten) {
    addMaterial(0x0000FF, 0.5);
    openPicture();
    plainTones();
    clearPicture(1);
    const std::vector<Placed> list = square(0, 0.0);
    KivNonCombinableShader& shader = shaders.cartoon();
    shader.beginTransparency(false);
    shader.renderTransparentTriangle(list[0].points, list[0].normals, list[0].mesh, &scene, camera, settings, 0, -1,
                                     &shader, nullptr, 1, nullptr, 0, 0, false);
    shader.beginTransparency(false);
    shader.endTransparency(false);
    EXPECT_EQ(pixel(60, 30), (Rgb{0xD0, 0xE0, 0xF0}));
}

// Triangles are never cut, but where the pieces of two meshes are small the nearer one lies on top on both sides of the
// line in which they cross.
TEST_F(CartoonTriangles, CrossingMeshesChangePlacesWhereTheyCross) {
    addGlass(strips(0.6, 40), 0x0000FF);  // red, nearer at the right
    addGlass(strips(-0.6, 40), 0x00FF00); // green, nearer at the left
    openPicture();
    const std::vector<Rgb> picture = orderedPicture();
    const Rgb red = {255, 0, 0};
    const Rgb green = {0, 255, 0};
    for (const int y : {50, 70}) {
        for (int x = 20; x < 100; ++x) {
            if (std::abs(x - 60) > 3) {
                const std::vector<Rgb> layers = x < 60 ? std::vector<Rgb>{red, green} : std::vector<Rgb>{green, red};
                EXPECT_LE(differenceOf(picture[static_cast<std::size_t>(y * side + x)], throughGlass(layers)), 2) << x;
            }
        }
    }
}

TEST_F(CartoonTriangles, OfNestedMeshesTheInnerOneLiesBetweenTheSidesOfTheOuter) {
    addGlass(sphereSurface(20, 30), 0x0000FF);
    KivSurface inner = sphereSurface(20, 30);
    for (KivVec& point : inner.points) {
        point = point * 0.5;
    }
    addGlass(inner, 0x00FF00);
    openPicture();
    const std::vector<Rgb> picture = orderedPicture();
    const Rgb red = {255, 0, 0};
    const Rgb green = {0, 255, 0};
    const Rgb both = throughGlass({red, green, green, red});
    const Rgb outer = throughGlass({red, red});
    int checked = 0;
    for (int y = 10; y < 110; ++y) {
        for (int x = 10; x < 110; ++x) {
            const double distance = std::hypot(x + 0.5 - 60, y + 0.5 - 60) / 50; // the outer radius is 50 pixels
            const bool inside = distance < 0.46;
            if (inside || (distance > 0.53 && distance < 0.9)) {
                const Rgb seen = picture[static_cast<std::size_t>(y * side + x)];
                ASSERT_LE(differenceOf(seen, inside ? both : outer), 3) << x << ' ' << y;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 4000);
}

// At equal distance the mesh that stands later in the scene lies on top, all over.
TEST_F(CartoonTriangles, CoplanarMeshesLieInTheOrderOfTheScene) {
    addGlass(strips(0.0, 8), 0x0000FF);
    addGlass(strips(0.0, 8), 0x00FF00);
    openPicture();
    const std::vector<Rgb> picture = orderedPicture();
    const Rgb expected = throughGlass({{255, 0, 0}, {0, 255, 0}});
    for (int y = 12; y < 108; ++y) {
        for (int x = 12; x < 108; ++x) {
            ASSERT_LE(differenceOf(picture[static_cast<std::size_t>(y * side + x)], expected), 2) << x << ' ' << y;
        }
    }
}
