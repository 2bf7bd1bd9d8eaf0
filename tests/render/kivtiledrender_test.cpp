// A picture drawn in tiles against the same picture drawn as a whole.
#include "kivrender/render/kivtiledrender.h"

#include "kivrender/platform/kivimage.h"
#include "kivrender/shader/kivpicturetile.h"
#include "render/shippedlooks.h"

#include <GL/gl.h>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <numeric>
#include <utility>

namespace {

// How two pictures differ, by bytes.
struct Difference {
    std::size_t count = 0; // of bytes that differ at all
    int most = 0;
};

Difference differenceOf(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    Difference difference;
    EXPECT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        const int apart = std::abs(a[i] - b[i]);
        difference.count += apart != 0 ? 1 : 0;
        difference.most = std::max(difference.most, apart);
    }
    return difference;
}

class TiledRender : public ShippedLooks {
protected:
    static constexpr int width = 317;
    static constexpr int height = 242;

    TiledRender() {
        loadShipped({"backdrop", "cartoon", "outline", "sketch"});
        settings.setBackgroundColor(0xE0F0FF);
        settings.setAntialias(1);
        camera.setLocation({1.5, -3.0, 3.0});
        camera.setDirection({-1.5, 3.0, -2.8});
        camera.setUp({0.0, 0.0, 1.0});
        camera.setFrustumLeft(-0.4);
        camera.setFrustumRight(0.4);
        camera.setFrustumBottom(-0.3);
        camera.setFrustumTop(0.3);
        camera.setFrustumNear(1.0);
        camera.setFrustumFar(20.0);
        addThings();
    }

    // With a second glass box behind the first, if it is wanted.
    void addAll() {
        addThings();
        if (hasSecondGlass) {
            auto glass = closedBox({-0.2, 0.3, 0.1}, {0.4, 0.7, 0.5});
            KivMaterial material;
            material.setDiffuse(0x2020FF);
            material.setTransparency(0.5);
            glass->setMaterial(material);
            scene.addMesh(glass.release());
        }
    }

    // Red, green, blue from the top down.
    std::vector<std::uint8_t> whole() {
        addAll();
        EXPECT_TRUE(render({width, height}));
        const auto image = KivImage::fromBitmap(surface.getHBitmap());
        std::vector<std::uint8_t> rows(std::size_t{width} * height * 3);
        for (int y = 0; image && y < height; ++y) {
            image->copyRowRgb(y, rows.data() + static_cast<std::size_t>(y) * width * 3);
        }
        return rows;
    }

    static KivTakeRows into(std::vector<std::uint8_t>& rows, std::size_t bytes) {
        return [&rows, bytes](const std::uint8_t* from, std::int32_t count) {
            rows.insert(rows.end(), from, from + static_cast<std::size_t>(count) * width * bytes);
            return true;
        };
    }

    std::vector<std::uint8_t> tiled(std::int32_t side, bool isProjected = false) {
        addAll();
        std::vector<std::uint8_t> rows;
        KivTiledPicture picture;
        picture.size = {width, height};
        picture.tileSide = side;
        picture.isProjected = isProjected;
        picture.colour = into(rows, 3);
        EXPECT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::done);
        return rows;
    }

    bool hasSecondGlass = false;

    // In a frame of the whole picture a tile has its very bytes. In a frame of its own the coordinates of OpenGL are
    // rounded otherwise, which moves an edge by a part of a pixel here and there and a colour by a step; a seam would
    // be many pixels.
    void expectTheSame(const char* what) {
        const std::vector<std::uint8_t> reference = whole();
        ASSERT_GT(*std::max_element(reference.begin(), reference.end()),
                  *std::min_element(reference.begin(), reference.end()))
            << what << ": an empty picture would be the same anyway";
        for (const std::int32_t side : {64, 160}) {
            EXPECT_EQ(differenceOf(reference, tiled(side)).count, 0U) << what << ", tiles of " << side;
        }
        const Difference difference = differenceOf(reference, tiled(160, true));
        EXPECT_LE(difference.count, reference.size() / 500) << what << ", projected";
        EXPECT_LE(difference.most, 70) << what << ", projected";
    }
};

TEST_F(TiledRender, IsThePictureOfTheWholeForEachShader) {
    const std::vector<std::pair<std::wstring, std::wstring>> looks{
        {L"Cartoon", L""},      {L"Cartoon", L"Outline;"}, {L"Cartoon", L"Halftone;"},
        {L"none", L"Outline;"}, {L"none", L"Sketch;"},     {L"Cartoon", L"Sketch;Backdrop;"}};
    for (const auto& [base, added] : looks) {
        setStyle(base, added);
        const std::string name(added.begin(), added.end());
        expectTheSame(name.empty() ? "Cartoon" : name.c_str());
    }
}

TEST_F(TiledRender, IsThePictureOfTheWholeWithShadowsAndGlass) {
    setStyle(L"Cartoon", L"Outline;");
    settings.setShadows(true);
    expectTheSame("shadows");
    settings.setTransparencies(true);
    expectTheSame("shadows and glass");
    hasSecondGlass = true;
    expectTheSame("glass behind glass");
    camera.setProjection(KivCamera::orthographic);
    camera.setFrustumLeft(-1.4);
    camera.setFrustumRight(1.4);
    camera.setFrustumBottom(-1.05);
    camera.setFrustumTop(1.05);
    expectTheSame("a parallel view");
}

TEST_F(TiledRender, IsThePictureOfTheWholeOverAPhotographAndUnderPaper) {
    setStyle(L"Cartoon", L"Outline;");
    const auto photograph = KivImage::create({151, 99});
    ASSERT_TRUE(photograph);
    for (int y = 0; y < 99; ++y) {
        std::uint8_t* row = photograph->row(y);
        std::iota(row, row + 151 * 3, static_cast<std::uint8_t>(y * 5));
    }
    const std::wstring file = home.wide() + L"/photograph.png";
    ASSERT_EQ(photograph->save(file, kivImageEncoders()[1].id), KivImageStatus::ok);
    settings.setBackgroundImage(file.c_str());
    for (const int antialias : {0, 1}) {
        settings.setAntialias(antialias);
        expectTheSame("a photograph");
    }
    settings.setPaperImage(file.c_str());
    expectTheSame("paper");
}

TEST_F(TiledRender, DepthAndShadowImagesComeWithIt) {
    setStyle(L"Cartoon", L"");
    settings.setShadows(true);
    settings.setSaveDepth(true);
    settings.setSaveShadows(true);
    settings.setSaveRender(true);
    settings.setSaveRenderFile((home.wide() + L"/whole.png").c_str());
    whole();
    std::vector<std::uint8_t> colour;
    std::vector<std::uint8_t> grey[2];
    KivTiledPicture picture;
    picture.size = {width, height};
    picture.tileSide = 96;
    picture.colour = into(colour, 3);
    picture.depth = into(grey[0], 1);
    picture.shadow = into(grey[1], 1);
    addThings();
    ASSERT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::done);
    for (const int i : {0, 1}) {
        const auto image = KivImage::load(home.wide() + (i == 0 ? L"/whole_depth.png" : L"/whole_shadow.png"));
        ASSERT_TRUE(image);
        std::vector<std::uint8_t> reference;
        for (int y = 0; y < image->height(); ++y) {
            for (int x = 0; x < image->width(); ++x) {
                reference.push_back(static_cast<std::uint8_t>(image->pixel(x, y)));
            }
        }
        EXPECT_GT(*std::max_element(reference.begin(), reference.end()),
                  *std::min_element(reference.begin(), reference.end()));
        EXPECT_EQ(differenceOf(reference, grey[i]).count, 0U) << i;
    }
}

TEST_F(TiledRender, GoesFromTheTopDownInWholeRowsAndCanBeStopped) {
    setStyle(L"Cartoon", L"");
    std::vector<std::int32_t> counts;
    std::vector<double> parts;
    KivTiledPicture picture;
    picture.size = {width, height};
    picture.tileSide = 96;
    picture.colour = [&](const std::uint8_t*, std::int32_t count) {
        counts.push_back(count);
        return true;
    };
    picture.progress = [&](double part) {
        parts.push_back(part);
        return true;
    };
    ASSERT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::done);
    EXPECT_EQ(counts, (std::vector<std::int32_t>{242 - 192, 96, 96})) << "rows of tiles begin at the lower edge";
    EXPECT_TRUE(std::is_sorted(parts.begin(), parts.end()));
    EXPECT_DOUBLE_EQ(parts.back(), 1.0);

    picture.progress = [](double) { return false; };
    EXPECT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::cancelled);
    picture.progress = {};
    picture.colour = [](const std::uint8_t*, std::int32_t) { return false; };
    EXPECT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::notTaken);
}

TEST_F(TiledRender, IsNeededWhereTheFrameIsLargerThanASurface) {
    EXPECT_FALSE(kivNeedsTiles({16384, 16384}, 0));
    EXPECT_TRUE(kivNeedsTiles({16385, 1}, 0));
    EXPECT_TRUE(kivNeedsTiles({1, 4097}, 2));
    EXPECT_FALSE(kivNeedsTiles({4096, 4096}, 2));
}

// A plug-in that knows nothing of tiles, with a projection of its own over the size that it is told.
void drawChequers(int width, int height) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, width, 0.0, height, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    for (int y = 0; y < height; y += 7) {
        for (int x = 0; x < width; x += 11) {
            glColor3ub(static_cast<GLubyte>(x), static_cast<GLubyte>(y), static_cast<GLubyte>(x * y));
            glRecti(x, y, x + 11, y + 7);
        }
    }
}

class TiledForeignShader : public KivRendererRender {};

TEST_F(TiledForeignShader, IsToldTheWholeSizeAndItsProjectionIsRight) {
    constexpr int width = 201;
    constexpr int height = 155;
    loadShaders({"base"});
    setStyle(L"base", L"");
    shader(L"base").draws = false;
    shader(L"base").onRender = [](KivShader&, KivBitmapManager*) {
        if (const KivPictureTile* const tile = kivPictureTile()) {
            GLint box[4] = {};
            glGetIntegerv(GL_SCISSOR_BOX, box);
            EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST)) << "nothing is drawn beside the tile";
            EXPECT_EQ(box[0], tile->left);
            EXPECT_EQ(box[1], tile->bottom);
            EXPECT_EQ(box[2], tile->size.cx);
            EXPECT_EQ(box[3], tile->size.cy);
            EXPECT_EQ(kivFrameCorner().x, tile->left);
            EXPECT_EQ(kivFrameCorner().y, tile->bottom);
        }
        drawChequers(width, height);
    };
    ASSERT_TRUE(render({width, height}));
    const auto whole = KivImage::fromBitmap(surface.getHBitmap());
    ASSERT_TRUE(whole);
    std::vector<std::uint8_t> rows;
    KivTiledPicture picture;
    picture.size = {width, height};
    picture.tileSide = 64;
    picture.colour = [&rows](const std::uint8_t* from, std::int32_t count) {
        rows.insert(rows.end(), from, from + static_cast<std::size_t>(count) * width * 3);
        return true;
    };
    progress.calls.clear();
    ASSERT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::done);
    for (const std::string& call : callsOfShaders()) {
        if (call.find(" render ") != std::string::npos) {
            EXPECT_NE(call.find("201x155"), std::string::npos) << call;
        }
    }
    std::vector<std::uint8_t> row(std::size_t{width} * 3);
    for (int y = 0; y < height; ++y) {
        whole->copyRowRgb(y, row.data());
        ASSERT_TRUE(std::equal(row.begin(), row.end(), rows.begin() + static_cast<std::ptrdiff_t>(y) * width * 3)) << y;
    }
}

// One context draws frames of one size after another without new memory.
TEST_F(TiledForeignShader, NearlyAllFramesHaveOneSizeAndAreWithinThePicture) {
    constexpr std::int32_t width = 801;
    constexpr std::int32_t height = 555;
    loadShaders({"base"});
    setStyle(L"base", L"");
    std::vector<KivPictureTile> tiles;
    shader(L"base").draws = false;
    shader(L"base").onRender = [&](KivShader&, KivBitmapManager*) {
        const KivPictureTile& tile = *kivPictureTile();
        // Once as the base look and once for objects of their own looks.
        if (tiles.empty() || tile.left != tiles.back().left || tile.bottom != tiles.back().bottom ||
            tile.isSurvey != tiles.back().isSurvey) {
            tiles.push_back(tile);
        }
    };
    KivTiledPicture picture;
    picture.size = {width, height};
    picture.tileSide = 96;
    picture.colour = [](const std::uint8_t*, std::int32_t) { return true; };
    ASSERT_EQ(kivRenderTiled(renderer, settings, &data, scene, camera, picture), KivTiledOutcome::done);
    std::map<std::pair<std::int32_t, std::int32_t>, int> sizes;
    for (const KivPictureTile& tile : tiles) {
        EXPECT_EQ(tile.left % 32, 0);
        EXPECT_EQ(tile.bottom % 32, 0);
        EXPECT_LE(tile.left + tile.size.cx, width);
        EXPECT_LE(tile.bottom + tile.size.cy, height);
        ++sizes[{tile.size.cx, tile.size.cy}];
    }
    // The first is the survey that nobody has asked to go on.
    ASSERT_EQ(tiles.size(), 1U + 9 * 6);
    EXPECT_LE(sizes.size(), 4U);
    EXPECT_EQ((sizes[{160, 160}]), 8 * 5);
}

} // namespace
