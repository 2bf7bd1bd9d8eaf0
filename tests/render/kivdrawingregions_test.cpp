// A drawing's regions against the picture of the same scene: with shaders that come with the library.
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"
#include "lines/regionchecks.h"
#include "render/shippedlooks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace {

class DrawingRegions : public ShippedLooks {
protected:
    static constexpr int width = 320;
    static constexpr int height = 240;

    DrawingRegions() {
        loadShipped({"cartoon", "halftone", "outline", "sketch"});
        setStyle(L"Cartoon", L"");
        settings.setBackgroundColor(0xE0F0FF);
        camera.setLocation({1.5, -3.0, 3.0});
        camera.setDirection({-1.5, 3.0, -2.8});
        camera.setUp({0.0, 0.0, 1.0});
        camera.setFrustumLeft(-1.4);
        camera.setFrustumRight(1.4);
        camera.setFrustumBottom(-1.05);
        camera.setFrustumTop(1.05);
        camera.setFrustumNear(1.0);
        camera.setFrustumFar(20.0);
    }

    // Things on one another and through one another: a slab, a ball in it, a ring around the ball, a box.
    void addHeap() {
        scene.empty();
        add(closedBox({-0.9, -0.9, -0.2}, {0.9, 0.9, 0.0}), 0x6080A0);
        add(closedSphere({-0.2, 0.1, 0.2}, 0.5, 48, 24), 0x3040E0);
        add(closedRing({0.1, 0.1, 0.3}, 0.6, 0.12, 64, 16), 0x30C0E0);
        add(closedBox({0.2, -0.6, 0.0}, {0.6, -0.2, 0.5}), 0x40A040);
        KivLight lamp;
        lamp.setStyle(KivLight::directionalLight);
        lamp.setDirection({-0.5, 1.0, -1.0});
        lamp.setLocation({50.0, -100.0, 100.0}); // shadows spread from there
        scene.addLight(lamp);
        if (ownLook != nullptr) {
            ownLook(*scene.getMesh(ownMesh));
        }
    }
    void add(std::unique_ptr<KivMesh> mesh, std::uint32_t color) {
        KivMaterial material;
        material.setDiffuse(color);
        mesh->setMaterial(material);
        scene.addMesh(mesh.release());
    }
    void drawPicture() {
        addHeap();
        settings.setVectorial(false);
        ASSERT_TRUE(render({width, height}));
        pixels = picture();
    }
    void drawDrawing(double smallestTone,
                     KivDrawingCollector::Textures textures = KivDrawingCollector::Textures::areas) {
        addHeap();
        settings.setVectorial(true);
        KivDrawingCollector collector(drawing);
        collector.setSmallestTone(smallestTone);
        collector.setTextures(textures);
        ASSERT_TRUE(render({width, height}));
        ASSERT_TRUE(collector.hasDrawing());
    }
    // Red in the low byte, as in drawings; the bottom row first.
    std::uint32_t pixel(int x, int y) const {
        const std::uint8_t* const p = &pixels[3 * (static_cast<std::size_t>(y) * width + x)];
        return p[2] | static_cast<std::uint32_t>(p[1]) << 8U | static_cast<std::uint32_t>(p[0]) << 16U;
    }
    // One colour on all pixels around.
    bool isPlain(int x, int y) const {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                if (pixel(x + dx, y + dy) != pixel(x, y)) {
                    return false;
                }
            }
        }
        return true;
    }
    static bool areAlike(std::uint32_t p, std::uint32_t q) {
        for (const unsigned int shift : {0U, 8U, 16U}) {
            if (std::abs(static_cast<int>(p >> shift & 255U) - static_cast<int>(q >> shift & 255U)) > 2) {
                return false;
            }
        }
        return true;
    }
    // What an area shows at a place.
    static std::uint32_t colorAt(const KivArea& area, double x, double y) {
        if (area.picture == nullptr) {
            return area.color;
        }
        const KivAreaPicture& p = *area.picture;
        const auto column = static_cast<std::size_t>((x - p.low.x) / (p.high.x - p.low.x) * p.width);
        const auto row = static_cast<std::size_t>((p.high.y - y) / (p.high.y - p.low.y) * p.height);
        const std::uint8_t* const parts = &p.pixels.at(3 * (row * static_cast<std::size_t>(p.width) + column));
        return parts[0] | std::uint32_t{parts[1]} << 8U | std::uint32_t{parts[2]} << 16U;
    }
    std::ptrdiff_t picturesOf(unsigned int mesh) const {
        return std::count_if(drawing.areas.begin(), drawing.areas.end(), [mesh](const KivArea& area) {
            return area.object == mesh + 1 && area.picture != nullptr;
        });
    }
    std::vector<KivVisibleRegion> regions() const {
        std::vector<KivVisibleRegion> result;
        for (std::uint32_t i = 0; i < drawing.areas.size(); ++i) {
            result.push_back({i, 0.0, drawing.areas[i].rings, {}});
        }
        return result;
    }

    // The part of the plain pixels that have the colour of the drawing's area there.
    double agreement(KivDrawingCollector::Textures textures = KivDrawingCollector::Textures::areas) {
        drawPicture();
        drawDrawing(0.0, textures);
        const FlatRegions flat(regions());
        int asked = 0;
        int right = 0;
        for (int y = 1; y + 1 < height; ++y) {
            for (int x = 1; x + 1 < width; ++x) {
                if (isPlain(x, y)) {
                    ++asked;
                    const std::vector<std::uint32_t> at = flat.at(x + 0.5, y + 0.5);
                    const std::uint32_t color =
                        at.empty() ? drawing.background : colorAt(drawing.areas[at.back()], x + 0.5, y + 0.5);
                    right += areAlike(color, pixel(x, y)) ? 1 : 0;
                }
            }
        }
        EXPECT_GT(asked, width * height / 2);
        return static_cast<double>(right) / asked;
    }
    // With settings for every shader, as programs give them.
    void setWholeStyle(const std::wstring& base, const std::wstring& added) {
        data.clearData();
        data.setSaving();
        save(L"Style:Test");
        save(L"NonCombinableShader:" + base);
        save(L"CombinableShader:" + added);
        for (const wchar_t* const tag : {L"Cartoon", L"Halftone", L"Outline", L"Sketch"}) {
            save(tag);
            EXPECT_TRUE(KivShader::getByTag(tag)->saveDefaultData(&data));
        }
        save(L"End Morvane");
    }
    // How many areas belong to the mesh.
    std::ptrdiff_t areasOf(unsigned int mesh) const {
        return std::count_if(drawing.areas.begin(), drawing.areas.end(),
                             [mesh](const KivArea& area) { return area.object == mesh + 1; });
    }

    std::vector<std::uint8_t> pixels;
    KivVectorDrawing drawing;
    void (*ownLook)(KivMesh&) = nullptr; // of one mesh
    unsigned int ownMesh = 0;
};

TEST_F(DrawingRegions, ShowTheColoursOfThePictureWithoutAGapOrAnOverlap) {
    drawPicture();
    drawDrawing(0.0);
    expectSharedBorders(regions());
    const FlatRegions flat(regions());
    int asked = 0;
    int right = 0;
    int plain = 0;
    for (int y = 1; y + 1 < height; ++y) {
        for (int x = 1; x + 1 < width; ++x) {
            if (!isPlain(x, y)) {
                continue;
            }
            ++asked;
            const std::vector<std::uint32_t> at = flat.at(x + 0.5, y + 0.5);
            EXPECT_LE(at.size(), 1U) << "two areas at " << x << ", " << y;
            const std::uint32_t color = at.empty() ? drawing.background : drawing.areas[at[0]].color;
            right += areAlike(color, pixel(x, y)) ? 1 : 0;
            plain += at.empty() ? 1 : 0;
        }
    }
    EXPECT_GT(asked, width * height * 3 / 4);
    EXPECT_GT(plain, width * height / 10);
    EXPECT_LT(plain, asked * 3 / 4);
    EXPECT_GE(right, asked * 0.995);
}

TEST_F(DrawingRegions, AreFewAndKnowTheirObjects) {
    drawDrawing(12.0);
    EXPECT_GT(drawing.areas.size(), 6U);
    EXPECT_LT(drawing.areas.size(), 60U);
    EXPECT_EQ(drawing.areaRim, 0.0);
    std::vector<int> areas(drawing.objects.size(), 0);
    ASSERT_EQ(areas.size(), 5U);
    for (const KivArea& area : drawing.areas) {
        ++areas.at(area.object);
    }
    EXPECT_EQ(areas[0], 0) << "all is drawn by a shader that tells its objects";
    for (std::size_t i = 1; i < areas.size(); ++i) {
        EXPECT_GT(areas[i], 0) << "object " << i;
    }
    const std::size_t few = drawing.areas.size();
    drawDrawing(0.0);
    EXPECT_GE(drawing.areas.size(), few);
}

// The box stands before the ring, the ball and the slab, and hides them though no base look paints it.
TEST_F(DrawingRegions, AnObjectOfLinesAloneHidesWhatIsPaintedBehindIt) {
    ownMesh = 3;
    for (void (*const look)(KivMesh&) : {+[](KivMesh& mesh) { mesh.addCombinableShader(L"Sketch"); },
                                         +[](KivMesh& mesh) { mesh.addCombinableShader(L"Outline"); },
                                         +[](KivMesh& mesh) { mesh.addCombinableShader(L"Halftone"); }}) {
        ownLook = look;
        setWholeStyle(L"Cartoon", L"");
        EXPECT_GE(agreement(), 0.985);
        const std::uint32_t middle = pixel(200, 72);
        EXPECT_TRUE(areAlike(middle, 0xE0F0FF)) << "the middle of the box shows " << std::hex << middle;
        EXPECT_GT(areasOf(1), 0);
    }
}

TEST_F(DrawingRegions, WhatHasLinesAloneHidesTheOneObjectThatIsPainted) {
    ownMesh = 0;
    ownLook = [](KivMesh& mesh) { mesh.setNonCombinableShader(L"Cartoon"); };
    for (const wchar_t* const added : {L"Outline", L"Sketch"}) {
        setWholeStyle(L"none", added);
        EXPECT_GE(agreement(), 0.975);
        EXPECT_GT(areasOf(0), 0);
        EXPECT_EQ(areasOf(1) + areasOf(2) + areasOf(3), 0) << "what only hides is no area";
    }
}

// The same with normals, which a mesh needs to be painted: those of its triangles.
void giveNormals(KivMesh& mesh) {
    KivMesh made;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint corners[3];
        ASSERT_TRUE(mesh.getTriangle(corners, t));
        const Kiv3DVector normal = (corners[1] - corners[0]).crossProduct(corners[2] - corners[0]);
        for (const Kiv3DPoint& corner : corners) {
            made.addVertex(corner, normal);
        }
        made.addTriangle(3 * t, 3 * t + 1, 3 * t + 2);
    }
    mesh = made;
}

// Stripes across x, in red and green; each place is its own on the picture.
void paintStripes(KivMesh& mesh) {
    giveNormals(mesh);
    auto texture = std::make_shared<KivTexture>();
    texture->width = 16;
    texture->height = 1;
    for (int x = 0; x < 16; ++x) {
        const bool isRed = x / 4 % 2 == 0;
        texture->pixels.insert(texture->pixels.end(), {static_cast<std::uint8_t>(isRed ? 220 : 40),
                                                       static_cast<std::uint8_t>(isRed ? 60 : 200), 60, 255});
    }
    auto paint = std::make_shared<KivMeshPaint>();
    paint->texture = texture;
    for (unsigned int v = 0; v < mesh.getNumVertexs(); ++v) {
        paint->coordinates.push_back({static_cast<float>(mesh.getVertex(v).x + 1.0) / 2.0F, 0.5F, 0.0F});
    }
    KivMaterial material;
    material = *mesh.getMaterial();
    material.setDiffuse(0x3C8282);
    mesh.setMaterial(material);
    kivSetMeshPaint(mesh, paint);
}

TEST_F(DrawingRegions, TexturesAreAreasOfFlatColourInTheTonesOfTheLight) {
    ownMesh = 1; // the ball
    ownLook = paintStripes;
    EXPECT_GE(agreement(), 0.985);
    EXPECT_GE(areasOf(1), 6) << "both colours, in more than one tone";
    expectSharedBorders(regions());
}

TEST_F(DrawingRegions, TexturesLieInShadowsToo) {
    settings.setShadows(true);
    ownMesh = 0; // what the others stand on
    ownLook = paintStripes;
    EXPECT_GE(agreement(), 0.97);
    const std::ptrdiff_t withShadows = areasOf(0);
    settings.setShadows(false);
    drawDrawing(0.0);
    EXPECT_GT(withShadows, areasOf(0));
}

TEST_F(DrawingRegions, TexturesAreTheirMeanWhereAHostWantsThat) {
    ownMesh = 0;
    ownLook = paintStripes;
    addHeap();
    settings.setVectorial(true);
    KivDrawingCollector collector(drawing);
    collector.setTextures(KivDrawingCollector::Textures::mean);
    ASSERT_TRUE(render({width, height}));
    const auto isStriped = [](const KivArea& area) {
        const int red = static_cast<int>(area.color & 255U);
        const int green = static_cast<int>(area.color >> 8U & 255U);
        return area.object == 1 && std::abs(red - green) > 40;
    };
    EXPECT_TRUE(std::none_of(drawing.areas.begin(), drawing.areas.end(), isStriped));
    addHeap();
    collector.setTextures(KivDrawingCollector::Textures::areas);
    ASSERT_TRUE(render({width, height}));
    EXPECT_TRUE(std::any_of(drawing.areas.begin(), drawing.areas.end(), isStriped));
}

TEST_F(DrawingRegions, TexturesArePicturesInTheTonesOfTheLightWhereAHostWantsThat) {
    ownMesh = 1; // the ball, before and behind which others are
    ownLook = paintStripes;
    EXPECT_GE(agreement(KivDrawingCollector::Textures::pictures), 0.985);
    const std::ptrdiff_t pictures = picturesOf(1);
    EXPECT_GE(pictures, 2) << "one for each tone";
    EXPECT_EQ(areasOf(1), pictures);
    EXPECT_EQ(picturesOf(0) + picturesOf(2) + picturesOf(3), 0);
    drawDrawing(0.0, KivDrawingCollector::Textures::mean);
    EXPECT_EQ(areasOf(1), pictures) << "the areas of a plain surface";
}

TEST_F(DrawingRegions, PicturesLieInShadowsToo) {
    settings.setShadows(true);
    ownMesh = 0; // what the others stand on
    ownLook = paintStripes;
    EXPECT_GE(agreement(KivDrawingCollector::Textures::pictures), 0.97);
    const std::ptrdiff_t withShadows = picturesOf(0);
    EXPECT_EQ(withShadows, areasOf(0));
    drawDrawing(0.0, KivDrawingCollector::Textures::mean);
    EXPECT_EQ(areasOf(0), withShadows) << "the areas of a plain surface";
    settings.setShadows(false);
    drawDrawing(0.0, KivDrawingCollector::Textures::pictures);
    EXPECT_GT(withShadows, areasOf(0));
}

// A dark side in a shadow is one tone, whether light is lost there or does not fall.
TEST_F(DrawingRegions, PicturesOfADarkSideAreNotCutUpByShadows) {
    settings.setShadows(true);
    for (ownMesh = 0; ownMesh < 4; ++ownMesh) {
        ownLook = paintStripes;
        drawDrawing(0.0, KivDrawingCollector::Textures::pictures);
        const std::ptrdiff_t pictures = picturesOf(ownMesh);
        drawDrawing(0.0, KivDrawingCollector::Textures::mean);
        EXPECT_EQ(pictures, areasOf(ownMesh)) << ownMesh;
    }
}

TEST_F(DrawingRegions, FacesHaveNoPictures) {
    ownMesh = 1;
    ownLook = paintStripes;
    addHeap();
    settings.setVectorial(true);
    KivDrawingCollector collector(drawing);
    collector.setTextures(KivDrawingCollector::Textures::pictures);
    collector.setAreas(KivDrawingCollector::Areas::triangles);
    ASSERT_TRUE(render({width, height}));
    EXPECT_GT(areasOf(1), 0);
    EXPECT_EQ(picturesOf(1), 0);
}

// Two squares that share a side of the y axis, of which the second is bent up by so many degrees.
std::unique_ptr<KivMesh> hinge(double degrees) {
    const double turn = degrees * std::numbers::pi / 180.0;
    auto mesh = std::make_unique<KivMesh>();
    for (const double y : {-0.5, 0.5}) {
        mesh->addVertex(Kiv3DPoint(-1.0, y, 0.0));
        mesh->addVertex(Kiv3DPoint(0.0, y, 0.0));
        mesh->addVertex(Kiv3DPoint(std::cos(turn), y, std::sin(turn)));
    }
    for (const std::array<unsigned int, 3>& t : {std::array{0U, 1U, 4U}, {0U, 4U, 3U}, {1U, 2U, 5U}, {1U, 5U, 4U}}) {
        mesh->addTriangle(t[0], t[1], t[2]);
    }
    return mesh;
}

TEST_F(DrawingRegions, TheCreasesOfAPoseAreThoseAtRest) {
    setWholeStyle(L"none", L"Outline;");
    settings.setVectorial(true);
    KivDrawingCollector collector(drawing);
    for (const double rest : {5.0, 60.0}) {
        for (const double pose : {5.0, 20.0, 38.0, 50.0}) {
            scene.empty();
            std::unique_ptr<KivMesh> mesh = hinge(pose);
            kivSetMeshRest(*mesh, hinge(rest));
            scene.addMesh(mesh.release());
            ASSERT_TRUE(render({width, height}));
            const auto creases = std::count_if(drawing.strokes.begin(), drawing.strokes.end(),
                                               [](const KivStroke& s) { return s.kind == KivStrokeKind::crease; });
            EXPECT_EQ(creases, rest > 40.0 ? 1 : 0) << pose;
        }
    }
}

} // namespace
