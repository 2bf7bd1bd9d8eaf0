// Textures and colours at vertices in the picture of the cartoon shader.
#include "../picture.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/shadow/kivshadows.h"

#include <algorithm>
#include <cstdlib>

namespace {

class CartoonTextures : public PictureTest {
protected:
    // A square from -1 to 1 that faces the eye, lit from there.
    KivMesh* addSquare() {
        auto* mesh = new KivMesh;
        for (const auto& [x, y] :
             {std::pair(-1.0, -1.0), std::pair(1.0, -1.0), std::pair(1.0, 1.0), std::pair(-1.0, 1.0)}) {
            mesh->addVertex(Kiv3DPoint(x, y, 0.0), Kiv3DVector(0.0, 0.0, 1.0));
        }
        mesh->addQuad(0, 1, 2, 3);
        scene.addMesh(mesh);
        return mesh;
    }
    void openFromTheFront() {
        addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
        open(120);
        look({0.0, 0.0, 5.0}, 1.5, false);
    }
    static void setPaint(const KivMesh& mesh, std::shared_ptr<KivTexture> texture, float times = 1.0F) {
        auto paint = std::make_shared<KivMeshPaint>();
        paint->texture = std::move(texture);
        paint->coordinates = {{0.0F, times, 0.0F}, {times, times, 0.0F}, {times, 0.0F, 0.0F}, {0.0F, 0.0F, 0.0F}};
        kivSetMeshPaint(mesh, paint);
    }
    // Red and green above, blue and nothing below.
    static std::shared_ptr<KivTexture> fourPixels() {
        auto texture = std::make_shared<KivTexture>();
        texture->width = 2;
        texture->height = 2;
        texture->wrapU = texture->wrapV = KivTexture::Wrap::clamp;
        texture->pixels = {200, 40, 40, 255, 40, 180, 40, 255, 40, 60, 220, 255, 0, 0, 0, 0};
        return texture;
    }
    std::vector<Rgb> pictureOf(const Choices& choices = {}) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        choose(shaders.cartoon(), choices);
        draw(shaders.cartoon());
        return pixels();
    }
    static int worst(const std::vector<Rgb>& one, const std::vector<Rgb>& other) {
        int most = 0;
        for (std::size_t i = 0; i < one.size(); ++i) {
            for (std::size_t c = 0; c < 3; ++c) {
                most = std::max(most, std::abs(one[i][c] - other[i][c]));
            }
        }
        return most;
    }
};

TEST_F(CartoonTextures, EachPlaceHasTheColourOfThePicture) {
    setPaint(*addSquare(), fourPixels());
    openFromTheFront();
    pictureOf();
    EXPECT_EQ(pixelAt({-0.8, 0.8, 0.0}), (Rgb{200, 40, 40})) << "the upper left corner of the picture";
    EXPECT_EQ(pixelAt({0.8, 0.8, 0.0}), (Rgb{40, 180, 40}));
    EXPECT_EQ(pixelAt({-0.8, -0.8, 0.0}), (Rgb{40, 60, 220}));
    const Rgb opaque = pixelAt({0.8, -0.8, 0.0});
    EXPECT_LT(opaque[0] + opaque[1] + opaque[2], 420) << "its alpha means nothing: no paper";
}

TEST_F(CartoonTextures, WhatIsTransparentIsNotThere) {
    auto texture = fourPixels();
    texture->cutOut = 0.5;
    setPaint(*addSquare(), texture);
    openFromTheFront();
    pictureOf();
    EXPECT_EQ(pixelAt({0.8, -0.8, 0.0}), (Rgb{0xD0, 0xE0, 0xF0})) << "the paper";
    EXPECT_EQ(pixelAt({-0.8, -0.8, 0.0}), (Rgb{40, 60, 220}));
    float depth = 0.0F;
    const KivWindowPoint at = place({0.8, -0.8, 0.0});
    glReadPixels(static_cast<int>(at.x), static_cast<int>(at.y), 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1.0F) << "nor does it hide anything";
}

TEST_F(CartoonTextures, PicturesGoOnBeyondTheirBordersAsTheySay) {
    auto texture = fourPixels();
    KivMesh* const square = addSquare();
    openFromTheFront();
    setPaint(*square, texture, 2.0F);
    pictureOf();
    // At u = 1.75 and v = 0.25.
    const KivVec beyond{0.75, 0.75, 0.0};
    EXPECT_EQ(pixelAt(beyond), (Rgb{40, 180, 40})) << "clamped";
    const KivVec next{0.25, 0.75, 0.0};
    EXPECT_EQ(pixelAt(next), (Rgb{40, 180, 40})) << "clamped";
    texture->wrapU = KivTexture::Wrap::repeat;
    pictureOf();
    EXPECT_GT(pixelAt(next)[0], 150) << "the first column again";
    EXPECT_GT(pixelAt(beyond)[1], 140) << "and the second";
}

// A picture of one colour looks like a material of that colour, in each band and with each setting.
TEST_F(CartoonTextures, OfOneColourLookLikeAMaterialOfIt) {
    KivMesh* const ball = addMesh(sphereSurface(12, 20), true);
    addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
    settings.setAmbientLight(0x503020);
    open(160);
    look({1.0, 1.5, 5.0}, 1.2, false);
    auto texture = std::make_shared<KivTexture>();
    texture->width = texture->height = 1;
    texture->pixels = {0xC0, 0x80, 0x40, 255};
    auto asTexture = std::make_shared<KivMeshPaint>();
    asTexture->texture = texture;
    asTexture->coordinates.resize(ball->getNumVertexs());
    auto asColours = std::make_shared<KivMeshPaint>();
    asColours->coordinates.assign(ball->getNumVertexs(), {0xC0 / 255.0F, 0x80 / 255.0F, 0x40 / 255.0F});
    for (const Choices& choices : std::vector<Choices>{{},
                                                       {{"Bands", "5"}, {"Softness", "80"}},
                                                       {{"Duotone", "100"}},
                                                       {{"Saturation", "60"}, {"Lightness", "-20"}},
                                                       {{"Bands", "1"}},
                                                       {{"Flat", "yes"}}}) {
        kivSetMeshPaint(*ball, nullptr);
        const std::vector<Rgb> plain = pictureOf(choices);
        kivSetMeshPaint(*ball, asTexture);
        EXPECT_LE(worst(pictureOf(choices), plain), 3) << choices.size();
        kivSetMeshPaint(*ball, asColours);
        EXPECT_LE(worst(pictureOf(choices), plain), 3) << choices.size();
    }
}

// With shadows the same mesh is drawn layer upon layer; without any shadow in sight they add up to the look.
TEST_F(CartoonTextures, LayersAddUpToTheLook) {
    KivMesh* const square = addSquare();
    setPaint(*square, fourPixels());
    addLight(KivLight::directionalLight, {}, {0.4, 0.0, -1.0});
    openFromTheFront();
    const std::vector<Rgb> whole = pictureOf();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    settings.setShadows(true);
    KivNonCombinableShader& cartoon = shaders.cartoon();
    cartoon.prepareObjectRendering(settings, &scene);
    KivShadows none;
    cartoon.renderMeshDepth(square, settings, &scene, none, camera, false);
    glDisable(GL_STENCIL_TEST);
    cartoon.renderMeshPass(square, nullptr, 0, 2, settings, &scene, 1, camera, false);
    for (int light = 0; light < 2; ++light) {
        cartoon.renderMeshPass(square, scene.getLight(static_cast<unsigned int>(light)), light, 2, settings, &scene, 3,
                               camera, false);
    }
    EXPECT_LE(worst(pixels(), whole), 4);
}

TEST_F(CartoonTextures, ColoursAtVerticesRunIntoEachOther) {
    KivMesh* const square = addSquare();
    auto paint = std::make_shared<KivMeshPaint>();
    paint->coordinates = {{1, 0, 0}, {0, 0, 1}, {0, 0, 1}, {1, 0, 0}};
    kivSetMeshPaint(*square, paint);
    openFromTheFront();
    pictureOf();
    const Rgb left = pixelAt({-0.9, 0.0, 0.0});
    const Rgb middle = pixelAt({0.0, 0.3, 0.0});
    EXPECT_GT(left[0], 225);
    EXPECT_LT(left[2], 25);
    EXPECT_NEAR(middle[0], 128, 8);
    EXPECT_NEAR(middle[2], 128, 8);
    // Two flat colours meet in the middle.
    pictureOf({{"TextureColours", "2"}});
    EXPECT_EQ(pixelAt({-0.9, 0.0, 0.0}), pixelAt({-0.2, 0.5, 0.0}));
    EXPECT_EQ(pixelAt({0.9, 0.0, 0.0}), pixelAt({0.2, 0.5, 0.0}));
}

TEST_F(CartoonTextures, ASmallPictureThatIsSeenFromAfarIsItsMean) {
    auto texture = std::make_shared<KivTexture>();
    texture->width = texture->height = 64;
    for (int i = 0; i < 64 * 64; ++i) {
        const std::uint8_t value = (i % 64 + i / 64) % 2 == 0 ? 0 : 200;
        texture->pixels.insert(texture->pixels.end(), {value, value, value, 255});
    }
    setPaint(*addSquare(), texture, 40.0F); // 32 pixels of it for one of the picture
    openFromTheFront();
    pictureOf();
    for (const double x : {-0.7, -0.31, 0.0, 0.43, 0.77}) {
        EXPECT_NEAR(pixelAt({x, x / 2.0, 0.0})[1], 100, 6) << "no checks, and nothing that shimmers";
    }
}

TEST_F(CartoonTextures, PaintThatDoesNotFitItsMeshIsNone) {
    KivMesh* const square = addSquare();
    KivMaterial material;
    material.setDiffuse(clay);
    square->setMaterial(material);
    auto paint = std::make_shared<KivMeshPaint>();
    paint->coordinates = {{1, 0, 0}};
    kivSetMeshPaint(*square, paint);
    openFromTheFront();
    pictureOf();
    EXPECT_EQ(pixelAt({0.0, 0.2, 0.0}), (Rgb{0xC0, 0x80, 0x40}));
    auto tooSmall = fourPixels();
    tooSmall->height = 3;
    setPaint(*square, tooSmall);
    pictureOf();
    EXPECT_EQ(pixelAt({0.0, 0.2, 0.0}), (Rgb{0xC0, 0x80, 0x40})) << "a picture with less pixels than it says";
}

} // namespace
