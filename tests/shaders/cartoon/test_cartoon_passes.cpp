// What the cartoon shader does when the renderer walks the meshes itself: the passes of shadows and transparency, and
// drawing without textures.
#include "../picture.h"
#include "kivrender/shadow/kivshadows.h"

#include <algorithm>

namespace {

int differenceOf(const Rgb& a, const Rgb& b) {
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

} // namespace

class CartoonPasses : public PictureTest {
protected:
    // Two lights from the eye on a sphere.
    void prepare(std::uint32_t emission = 0, double alpha = 1.0, const Choices& choices = {}, double shine = 0.0) {
        mesh = addMesh(sphereSurface(40, 60), true);
        KivMaterial material;
        material.setDiffuse(clay);
        material.setEmission(emission);
        material.setTransparency(alpha);
        material.setShine(shine);
        material.setSpecular(0xFFFFFF);
        mesh->setMaterial(material);
        addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -3.0});
        addLight(KivLight::directionalLight, {}, {1.0, -1.0, -1.0});
        open(120);
        look({0.0, 0.0, 5.0}, 1.2, false);
        choose(shaders.cartoon(), choices);
    }
    void pass(int number, const KivLight* light = nullptr, int index = 0, int count = 0) {
        shaders.cartoon().renderMeshPass(mesh, light, index, count, settings, &scene, number, camera, false);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
    // All that the renderer does between the shadow volumes and the end, with so many lights lost in each column.
    void shadowPasses(bool withLight) {
        glDepthFunc(GL_LESS);
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(2.5F, 5.0F);
        KivShadows shadows;
        shaders.cartoon().renderMeshDepth(mesh, settings, &scene, shadows, camera, false);
        // The stencil as the shadow volumes leave it.
        glEnable(GL_SCISSOR_TEST);
        for (int lost = 0; lost <= 2; ++lost) {
            glScissor(lost * 40, 0, 40, 120);
            glClearStencil(100 + lost);
            glClear(GL_STENCIL_BUFFER_BIT);
        }
        glDisable(GL_SCISSOR_TEST);
        glDepthMask(GL_FALSE);
        glDepthFunc(GL_LEQUAL);
        glStencilFunc(GL_NOTEQUAL, 102, ~0U);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
        glBlendFunc(GL_ONE, GL_ONE);
        glEnable(GL_BLEND);
        glPolygonOffset(2.0F, 4.0F);
        pass(1);
        pass(2);
        glEnable(GL_STENCIL_TEST);
        for (int l = 0; withLight && l < 2; ++l) {
            pass(3, scene.getLight(static_cast<unsigned int>(l)), l, 2);
        }
        glDisable(GL_STENCIL_TEST);
    }

    KivMesh* mesh = nullptr;
};

TEST_F(CartoonPasses, LightThatIsNotLostAddsUpToThePlainPicture) {
    prepare(0x100804);
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    shadowPasses(false);
    const std::vector<Rgb> dark = pixels();
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    shadowPasses(true);
    const std::vector<Rgb> lit = pixels();
    int checked = 0;
    for (int y = 20; y < 100; ++y) {
        for (int x = 24; x < 96; ++x) {
            const std::size_t i = static_cast<std::size_t>(y) * 120 + x;
            const int lost = x / 40;
            for (int c = 0; c < 3; ++c) {
                const double expected = dark[i][c] + (plain[i][c] - dark[i][c]) * (2 - lost) / 2.0;
                EXPECT_NEAR(lit[i][c], expected, 4.0) << x << ' ' << y;
            }
            checked += plain[i] != dark[i] && lost < 2;
        }
    }
    EXPECT_GT(checked, 500);
}

// A light that falls too flat for flat triangles to tell counts as lost, whatever the stencil says of each of them.
TEST_F(CartoonPasses, FlatLightIsLostWithoutTeeth) {
    prepare();
    settings.setShadows(true);
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    shadowPasses(false);
    const std::vector<Rgb> dark = pixels();
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    shadowPasses(true);
    const std::vector<Rgb> lit = pixels();
    const KivVec toLights[2] = {kivUnit({1.0, 2.0, 3.0}), kivUnit({-1.0, 1.0, 1.0})};
    int full = 0;
    int half = 0;
    for (int y = 10; y < 110; ++y) {
        for (int x = 10; x < 40; ++x) { // the columns in which the stencil has lost no light
            const double nx = (x + 0.5 - 60.0) / 60.0 * 1.2;
            const double ny = (y + 0.5 - 60.0) / 60.0 * 1.2;
            if (nx * nx + ny * ny > 0.9) {
                continue;
            }
            const KivVec normal{nx, ny, std::sqrt(1.0 - nx * nx - ny * ny)};
            const double low = std::min(kivDot(normal, toLights[0]), kivDot(normal, toLights[1]));
            const double high = std::max(kivDot(normal, toLights[0]), kivDot(normal, toLights[1]));
            if (high < 0.3 || (low > 0.0 && low < 0.25)) {
                continue;
            }
            const double part = low > 0.0 ? 1.0 : 0.5;
            const std::size_t i = static_cast<std::size_t>(y) * 120 + x;
            for (int c = 0; c < 3; ++c) {
                EXPECT_NEAR(lit[i][c], dark[i][c] + (plain[i][c] - dark[i][c]) * part, 4.0) << x << ' ' << y;
            }
            full += low > 0.0 && plain[i] != dark[i];
            half += low <= 0.0 && plain[i] != dark[i];
        }
    }
    EXPECT_GT(full, 200);
    EXPECT_GT(half, 20);
}

// Highlights included: the picture with shadows of no strength is the one without shadows.
TEST_F(CartoonPasses, ShadowsOfNoStrengthAreNotSeen) {
    prepare(0x100804, 1.0, {{"CastShadowStrength", "0"}, {"CastShadowColour", "#FF0000"}}, 50.0);
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    shadowPasses(true);
    const std::vector<Rgb> shaded = pixels();
    int wrong = 0;
    int bright = 0;
    for (int y = 20; y < 100; ++y) {
        for (int x = 24; x < 96; ++x) {
            const std::size_t i = static_cast<std::size_t>(y) * 120 + x;
            wrong += differenceOf(shaded[i], plain[i]) > 2;
            bright += plain[i][2] > 0x70; // more blue than the material has
        }
    }
    EXPECT_LT(wrong, 12); // of 5760, on the edges of bands and of highlights
    EXPECT_GT(bright, 100);
}

// A flat square that faces both lights, so that its tone is known: the lightest band in the first column, half of the
// light lost in the second, all of it in the third.
TEST_F(CartoonPasses, ShadowsHaveTheirColourAndStrength) {
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    addLight(KivLight::directionalLight, {}, {0.1, 0.0, -1.0});
    KivSurface square;
    square.points = {{-1.0, -1.0, 0.0}, {1.0, -1.0, 0.0}, {1.0, 1.0, 0.0}, {-1.0, 1.0, 0.0}};
    square.triangles = {{0, 1, 2}, {0, 2, 3}};
    mesh = addMesh(square);
    open(120);
    look({0.0, 0.0, 5.0}, 1.2, false);
    // Without cooler and richer tones the darkest band is half of the clay.
    const auto columns = [&](const char* strength, const char* colour) {
        choose(shaders.cartoon(), {{"Shadow", "50"},
                                   {"ShadowSaturation", "0"},
                                   {"ShadowCoolness", "0"},
                                   {"CastShadowStrength", strength},
                                   {"CastShadowColour", colour}});
        shaders.cartoon().prepareObjectRendering(settings, &scene);
        glDepthMask(GL_TRUE);
        glDisable(GL_BLEND);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        shadowPasses(true);
        return std::array<Rgb, 3>{pixel(25, 60), pixel(60, 60), pixel(95, 60)};
    };
    const auto expectNear = [](const Rgb& seen, const Rgb& expected) {
        EXPECT_LE(differenceOf(seen, expected), 1) << seen[0] << ' ' << seen[1] << ' ' << seen[2] << " for "
                                                   << expected[0] << ' ' << expected[1] << ' ' << expected[2];
    };
    const Rgb lit = {0xC0, 0x80, 0x40};
    const auto plain = columns("100", "#FFFFFF");
    EXPECT_EQ(plain[0], lit);
    expectNear(plain[1], {0x90, 0x60, 0x30});
    expectNear(plain[2], {0x60, 0x40, 0x20});
    const auto weak = columns("50", "#FFFFFF");
    EXPECT_EQ(weak[0], lit);
    expectNear(weak[1], {0xA8, 0x70, 0x38});
    expectNear(weak[2], {0x90, 0x60, 0x30});
    const auto blue = columns("100", "#0080FF");
    EXPECT_EQ(blue[0], lit);
    expectNear(blue[1], {0x60, 0x50, 0x30});
    expectNear(blue[2], {0x00, 0x20, 0x20});
    const auto none = columns("0", "#0080FF");
    for (const Rgb& column : none) {
        EXPECT_EQ(column, lit);
    }
}

TEST_F(CartoonPasses, TheDepthPassCoversTheBackground) {
    prepare();
    KivShadows shadows;
    shaders.cartoon().renderMeshDepth(mesh, settings, &scene, shadows, camera, false);
    EXPECT_EQ(pixel(60, 60), (Rgb{0, 0, 0}));
    EXPECT_EQ(pixel(2, 2), (Rgb{0xD0, 0xE0, 0xF0}));
    float depth = 1.0F;
    glReadPixels(60, 60, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_NEAR(depth, place({0.0, 0.0, 1.0}).z, 1e-3);
}

TEST_F(CartoonPasses, OpaqueMeshesAreDoneInTheFirstPass) {
    prepare();
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(2.5F, 5.0F);
    shaders.cartoon().beginTransparency(false);
    for (int number = 1; number <= 3; ++number) {
        shaders.cartoon().renderOpaqueMesh(mesh, settings, &scene, camera, 0, &shaders.cartoon(), number, false);
    }
    EXPECT_EQ(pixels(), plain);
    shaders.cartoon().endTransparency(false);
}

TEST_F(CartoonPasses, TransparentTrianglesMixTheLookIn) {
    prepare(0, 0.25);
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    // Only the near half, so that each pixel is met once.
    shaders.cartoon().beginTransparency(false);
    glDepthMask(GL_FALSE);
    glDepthFunc(GL_ALWAYS);
    int previous = -1;
    for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
        Kiv3DPoint points[3];
        Kiv3DVector normals[3];
        mesh->getTriangle(points, normals, t);
        if (points[0].z + points[1].z + points[2].z < 0.3) {
            continue;
        }
        for (int number = 1; number <= 3; ++number) {
            shaders.cartoon().renderTransparentTriangle(points, normals, mesh, &scene, camera, settings, 0, previous,
                                                        &shaders.cartoon(), nullptr, number, nullptr, 0, 2, false);
            shaders.cartoon().endTransparentTriangle(0, previous, number, false);
        }
        previous = 0;
    }
    shaders.cartoon().endTransparency(false);
    const Rgb paperColor = {0xD0, 0xE0, 0xF0};
    const std::vector<Rgb> mixed = pixels();
    int wrong = 0;
    for (int y = 30; y < 90; ++y) {
        for (int x = 30; x < 90; ++x) {
            const std::size_t i = static_cast<std::size_t>(y) * 120 + x;
            Rgb expected{};
            for (int c = 0; c < 3; ++c) {
                expected[c] = static_cast<int>(std::lround(paperColor[c] * 0.75 + plain[i][c] * 0.25));
            }
            wrong += differenceOf(mixed[i], expected) > 3;
        }
    }
    EXPECT_LT(wrong, 30); // of 3600, on the edges of bands
}

TEST_F(CartoonPasses, WithoutTexturesTheTonesAreTheSame) {
    prepare();
    choose(shaders.cartoon(), {{"Softness", "0"}});
    draw(shaders.cartoon());
    const std::vector<Rgb> plain = pixels();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    settings.setVectorial(true);
    draw(shaders.cartoon());
    const std::vector<Rgb> flat = pixels();
    int wrong = 0;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        wrong += differenceOf(plain[i], flat[i]) > 3;
    }
    EXPECT_LT(wrong, 14400 / 200); // pixels that an edge of a band runs through
}

TEST_F(CartoonPasses, TheVectorFlagGivesFeedbackOfOneColourATriangle) {
    prepare();
    settings.setVectorial(true);
    std::vector<GLfloat> feedback(4000000);
    glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
    glRenderMode(GL_FEEDBACK);
    draw(shaders.cartoon());
    const GLint count = glRenderMode(GL_RENDER);
    ASSERT_GT(count, 0);
    int polygons = 0;
    for (GLint i = 0; i < count;) {
        ASSERT_EQ(feedback[i], static_cast<GLfloat>(GL_POLYGON_TOKEN));
        const int corners = static_cast<int>(feedback[i + 1]);
        for (int k = 1; k < corners; ++k) {
            for (int c = 3; c < 6; ++c) {
                ASSERT_NEAR(feedback[i + 2 + 7 * k + c], feedback[i + 2 + c], 1e-3F);
            }
        }
        i += 2 + 7 * corners;
        ++polygons;
    }
    EXPECT_GE(polygons, static_cast<int>(mesh->getNumTriangles()) / 2);
}
