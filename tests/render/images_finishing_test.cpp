// The background, the depth of unpainted meshes, the depth image, the paper, the reduction and the saving.
#include "images_fixture.h"
#include "kivrender/platform/kivwholefile.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/vector/gl2pspage.h"

#include <GL/gl.h>

#include <gmock/gmock.h>

#include <filesystem>

bool PictureTest::startDrawing(KivBitmapManager& surface, tagSIZE size) {
    if (wglCreateDefaultBitmapDC(&surface, &size, 32, 0, 32, 8, PFD_GENERIC_FORMAT, L"", true) == 0) {
        return false;
    }
    surface.setHGLRC(kivCreateGlContext(surface.getHDC()));
    if (surface.getHGLRC() == nullptr || !kivMakeGlCurrent(surface.getHDC(), surface.getHGLRC())) {
        return false;
    }
    glClearColor(1.0F, 1.0F, 1.0F, 0.0F);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glViewport(0, 0, size.cx, size.cy);
    return true;
}

namespace {

constexpr std::uint32_t white = 0xFFFFFF;
constexpr std::uint32_t red = 0x0000FF;
constexpr std::uint32_t blue = 0xFF0000;

// The smallest rectangle around all pixels that are not white: left, top, right, bottom.
std::vector<int> drawnBounds(const KivImage& image) {
    int left = image.width();
    int top = image.height();
    int right = 0;
    int bottom = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != white) {
                left = std::min(left, x);
                right = std::max(right, x + 1);
                top = std::min(top, y);
                bottom = std::max(bottom, y + 1);
            }
        }
    }
    return {left, top, right, bottom};
}

// Draws the square from -0.5 to 0.5 at a depth, 0 near and 1 far.
void drawSquare(float depth) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glBegin(GL_QUADS);
    for (const auto& corner :
         {std::pair(-0.5F, -0.5F), std::pair(0.5F, -0.5F), std::pair(0.5F, 0.5F), std::pair(-0.5F, 0.5F)}) {
        glVertex3f(corner.first, corner.second, 2 * depth - 1);
    }
    glEnd();
}

class SketchShader : public KivCombinableShader {
public:
    SketchShader() : KivCombinableShader(nullptr) {}

    void render(KivBitmapManager*, const KivCommonSettings&, const KivCamera&, KivScene*, tagSIZE,
                KivShaderCommunication&, bool) override {}
    void loadRenderData(KivDataManager*, const KivCommonSettings&) override {}
    const wchar_t* getName() const override {
        return L"sketch";
    }
    void reservedSlot() override {}
    HBITMAP getPreviewBitmap() override {
        return nullptr;
    }
    const wchar_t* getTag() const override {
        return L"Sketch";
    }
    bool loadDocData(KivDataManager*) override {
        return true;
    }
    void createPages(KivPropertiesDlg*, KivPropertiesDlg*) override {}
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        return 0;
    }
    bool saveDefaultData(KivDataManager*) override {
        return true;
    }
    void loadObjectSettings(KivDataManager*, Kiv3DObject*) override {}
    void preparePreview(KivScene*, const KivPropertiesDlg*) override {}
    int getNumPages() override {
        return 0;
    }
    bool loadShaderSettings(KivDataManager*, std::vector<void*>*, bool) override {
        return true;
    }
    bool rendersMesh(const KivMesh*) override {
        ++asked;
        return renders;
    }

    int asked = 0;
    bool renders = true;
};

// One triangle over the middle of the view, at depth 0.5.
KivMesh* triangle() {
    auto* mesh = new KivMesh;
    mesh->addVertex(Kiv3DPoint(-0.8, -0.8, 0));
    mesh->addVertex(Kiv3DPoint(0.8, -0.8, 0));
    mesh->addVertex(Kiv3DPoint(0, 0.8, 0));
    mesh->addTriangle(0, 1, 2);
    return mesh;
}

float depthAt(int x, int y) {
    float depth = -1;
    glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    return depth;
}

} // namespace

TEST_F(PictureTest, PreviousPowerOfTwo) {
    const std::pair<unsigned int, unsigned int> cases[] = {
        {0, 2},       {1, 2},         {2, 2},         {3, 2},          {4, 4},         {1023, 512},
        {1024, 1024}, {32767, 16384}, {32768, 32768}, {100000, 32768}, {65536, 32768}, {0xFFFFFFFF, 32768}};
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(KivTestAccess::previousPowerOfTwo(renderer, value), expected) << value;
    }
}

TEST_F(PictureTest, TheBackgroundStandsInTheMiddleUpright) {
    KivCommonSettings settings;
    settings.setAntialias(0);
    settings.setBackgroundImage(picture("b.png", {100, 100}, red, blue).c_str());
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {400, 300}));
    KivTestAccess::drawBackgroundImage(renderer, settings, {400, 300}, &progress);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    const auto image = finish(surface);
    EXPECT_EQ(drawnBounds(*image), (std::vector<int>{150, 100, 250, 200}));
    EXPECT_EQ(image->pixel(150, 100), blue); // the corner at the top left
    EXPECT_EQ(image->pixel(249, 100), red);
    EXPECT_EQ(image->pixel(150, 199), red);
    EXPECT_EQ(progress.texts, std::vector<std::wstring>{kivText(56)});
    EXPECT_TRUE(progress.advances.empty());
}

TEST_F(PictureTest, TheBackgroundGrowsWithTheAntialiasLevel) {
    for (const int level : {1, 2}) {
        const int times = 1 << level;
        KivCommonSettings settings;
        settings.setAntialias(level);
        settings.setBackgroundImage(picture("b.png", {20, 10}, red, blue).c_str());
        KivBitmapManager surface;
        const tagSIZE size{40 * times, 30 * times};
        ASSERT_TRUE(startDrawing(surface, size));
        KivTestAccess::drawBackgroundImage(renderer, settings, size, nullptr);
        const auto image = finish(surface);
        EXPECT_EQ(drawnBounds(*image), (std::vector<int>{10 * times, 10 * times, 30 * times, 20 * times}));
        EXPECT_EQ(image->pixel(10 * times, 10 * times), blue);
        EXPECT_EQ(image->pixel(30 * times - 1, 10 * times), red);
        EXPECT_EQ(image->pixel(10 * times, 20 * times - 1), red);
    }
}

TEST_F(PictureTest, ABackgroundLargerThanThePictureShowsItsMiddle) {
    KivCommonSettings settings;
    settings.setBackgroundImage(picture("b.png", {1000, 800}, red, blue).c_str());
    for (const int level : {0, 1, 2}) {
        const int times = 1 << level;
        settings.setAntialias(level);
        KivBitmapManager surface;
        const tagSIZE size{100 * times, 60 * times};
        ASSERT_TRUE(startDrawing(surface, size));
        host->stretches.clear();
        KivTestAccess::drawBackgroundImage(renderer, settings, size, nullptr);
        // Where the summed shadows go later.
        float raster[4];
        glGetFloatv(GL_CURRENT_RASTER_POSITION, raster);
        EXPECT_EQ(raster[0], 0.0F);
        EXPECT_EQ(raster[1], 0.0F);
        const auto image = finish(surface);
        // The middle of the source is where the corner's colour ends; 4 pixels for what the filter blends.
        const int x = size.cx / 2;
        const int y = size.cy / 2;
        EXPECT_EQ(image->pixel(x - 5, y - 5), blue) << level;
        EXPECT_EQ(image->pixel(x + 4, y - 5), red) << level;
        EXPECT_EQ(image->pixel(x - 5, y + 4), red) << level;
        EXPECT_EQ(image->pixel(0, 0), blue);
        EXPECT_EQ(image->pixel(size.cx - 1, size.cy - 1), red);
        for (const SIZE& stretched : host->stretches) {
            EXPECT_LE(stretched.cx, size.cx + 32 * times);
            EXPECT_LE(stretched.cy, size.cy + 32 * times);
        }
    }
}

TEST_F(PictureTest, ABackgroundThatCannotBeEnlargedIsDrawnAsItIs) {
    KivCommonSettings settings;
    settings.setAntialias(1);
    settings.setBackgroundImage(picture("b.png", {20, 10}, red, red).c_str());
    host->failStretch = true;
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {80, 60}));
    KivTestAccess::drawBackgroundImage(renderer, settings, {80, 60}, nullptr);
    EXPECT_EQ(drawnBounds(*finish(surface)), (std::vector<int>{20, 30, 40, 40}));
}

TEST_F(PictureTest, NoBackgroundForVectorsForNoneForACancelAndForWhatCannotBeRead) {
    KivCommonSettings settings;
    settings.setAntialias(0);
    const std::wstring file = picture("b.png", {20, 10}, red, red);
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {40, 30}));
    KivTestAccess::drawBackgroundImage(renderer, settings, {40, 30}, &progress);
    settings.setBackgroundImage(file.c_str());
    settings.setVectorial(true);
    KivTestAccess::drawBackgroundImage(renderer, settings, {40, 30}, &progress);
    settings.setVectorial(false);
    progress.cancelled = true;
    KivTestAccess::drawBackgroundImage(renderer, settings, {40, 30}, &progress);
    EXPECT_TRUE(progress.texts.empty());
    progress.cancelled = false;
    settings.setBackgroundImage(folder.wide("missing.png").c_str());
    KivTestAccess::drawBackgroundImage(renderer, settings, {40, 30}, &progress);
    EXPECT_EQ(progress.texts.size(), 1U);
    EXPECT_TRUE(host->messages.empty());
    EXPECT_EQ(drawnBounds(*finish(surface)), (std::vector<int>{40, 30, 0, 0}));
}

TEST_F(PictureTest, AMeshThatOnlyASketchNeedsGoesIntoTheDepthAlone) {
    SketchShader sketch;
    KivTestAccess::setOnlyShader(&sketch);
    KivScene scene;
    scene.addMesh(triangle());
    KivCommonSettings settings;
    settings.setVectorial(false);
    KivShaderCommunication channel;
    channel.setPolygonOffset(2.5F, 1.0F);
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {64, 64}));
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_NEAR(depthAt(32, 32), 0.5F, 0.001F);
    EXPECT_EQ(depthAt(1, 62), 1.0F);
    float factor = 0;
    float units = 0;
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    EXPECT_EQ(factor, 3.5F);
    EXPECT_EQ(units, 2.0F);
    EXPECT_TRUE(glIsEnabled(GL_POLYGON_OFFSET_FILL));
    GLboolean mask[4] = {};
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    EXPECT_TRUE(mask[0] && mask[1] && mask[2] && mask[3]);
    EXPECT_EQ(drawnBounds(*finish(surface)), (std::vector<int>{64, 64, 0, 0}));
    EXPECT_EQ(sketch.asked, 1);
}

// On a page such a mesh is an area in the background's colour, which covers what lies behind it.
TEST_F(PictureTest, OnAVectorPageAMeshThatOnlyASketchNeedsCoversInTheColourOfTheBackground) {
    SketchShader sketch;
    KivTestAccess::setOnlyShader(&sketch);
    KivScene scene;
    scene.addMesh(triangle());
    KivCommonSettings settings;
    settings.setVectorial(true);
    settings.setBackgroundColor(0x804020);
    KivShaderCommunication channel;
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {64, 64}));
    glEnable(GL_LIGHTING);
    ASSERT_EQ(gl2psBeginPageW("title", "producer", nullptr, GL2PS_SVG, GL2PS_SIMPLE_SORT, GL2PS_USE_CURRENT_VIEWPORT,
                              GL_RGBA, 0, nullptr, 0, 0, 0, 1 << 16, folder.wide("a.svg").c_str()),
              GL2PS_SUCCESS);
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    static int recorded;
    ASSERT_EQ(gl2psEndPage(
                  nullptr, [] {}, [] { return false; }, [](int primitives) { recorded = primitives; }),
              GL2PS_SUCCESS);
    EXPECT_EQ(recorded, 1);
    EXPECT_THAT(folder.read("a.svg"), testing::HasSubstr("#204080"));
    finish(surface);
}

TEST_F(PictureTest, MeshesThatAShaderPaintsAreNotAskedFor) {
    SketchShader sketch;
    KivTestAccess::setOnlyShader(&sketch);
    KivScene scene;
    scene.addMesh(triangle()); // painted by the style's shader
    KivMesh* own = triangle();
    own->setNonCombinableShader(L"Cartoon");
    scene.addMesh(own);
    KivCommonSettings settings;
    KivShaderCommunication channel;
    channel.setHasNonCombinable(true);
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {32, 32}));
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_EQ(sketch.asked, 0);
    EXPECT_EQ(depthAt(16, 16), 1.0F);
    KivTestAccess::setOnlyShader(nullptr);
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    channel.setHasNonCombinable(false); // now a mesh needs the shader that is missing: it is skipped
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_EQ(depthAt(16, 16), 1.0F);
}

TEST_F(PictureTest, TransparentMeshesHideNoLinesWhileTransparencyIsOn) {
    SketchShader sketch;
    KivTestAccess::setOnlyShader(&sketch);
    KivScene scene;
    KivMesh* mesh = triangle();
    KivMaterial material;
    material.setTransparency(0.5);
    mesh->setMaterial(material);
    scene.addMesh(mesh);
    KivCommonSettings settings;
    KivShaderCommunication channel;
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {32, 32}));
    settings.setTransparencies(true);
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_EQ(sketch.asked, 0);
    settings.setTransparencies(false);
    sketch.renders = false;
    KivTestAccess::fillDepthForLines(renderer, &scene, settings, channel);
    EXPECT_EQ(sketch.asked, 1);
    EXPECT_EQ(depthAt(16, 16), 1.0F);
}

TEST_F(PictureTest, TheDepthImageHasOneGreyForEachDepth) {
    KivCommonSettings settings;
    settings.setAntialias(0);
    settings.setSaveDepth(true);
    settings.setSaveRenderFile(folder.wide("r.png").c_str());
    KivBitmapManager surface;
    const tagSIZE size{101, 40}; // rows of 104 bytes
    ASSERT_TRUE(startDrawing(surface, size));
    drawSquare(0.25F);
    glEnable(GL_SCISSOR_TEST);
    glScissor(100, 39, 1, 1); // the pixel at the top right
    glClearDepth(0.0);
    glClear(GL_DEPTH_BUFFER_BIT);
    KivTestAccess::saveDepthBuffer(renderer, size, nullptr, settings);
    const auto image = KivImage::load(folder.wide("r_depth.png"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), size);
    EXPECT_EQ(image->pixel(0, 0), white);
    EXPECT_EQ(image->pixel(100, 39), white);
    EXPECT_EQ(image->pixel(100, 0), 0U);        // upright
    EXPECT_EQ(image->pixel(50, 20), 0x3F3F3FU); // 0.25 * 255 is 63.75
    EXPECT_TRUE(host->messages.empty());
}

TEST_F(PictureTest, TheDepthImageHasTheFinalSize) {
    for (const int level : {1, 2}) {
        const int times = 1 << level;
        KivCommonSettings settings;
        settings.setAntialias(level);
        settings.setSaveDepth(true);
        settings.setSaveRenderFile(folder.wide("r.png").c_str());
        KivBitmapManager surface;
        const tagSIZE size{64 * times, 32 * times};
        ASSERT_TRUE(startDrawing(surface, size));
        drawSquare(0.5F);
        KivTestAccess::saveDepthBuffer(renderer, size, nullptr, settings);
        const auto image = KivImage::load(folder.wide("r_depth.png"));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), (tagSIZE{64, 32}));
        EXPECT_EQ(image->pixel(32, 16), 0x7F7F7FU);
        EXPECT_EQ(image->pixel(0, 0), white);
        // A vector render has drawn at its final size.
        settings.setVectorial(true);
        KivTestAccess::saveDepthBuffer(renderer, size, nullptr, settings);
        EXPECT_EQ(KivImage::load(folder.wide("r_depth.png"))->size(), size);
    }
}

TEST_F(PictureTest, TheDepthImageOfAnyWidthIsNotStretched) {
    for (const int level : {1, 2}) {
        for (const std::int32_t width : {101, 102, 103}) {
            const int times = 1 << level;
            KivCommonSettings settings;
            settings.setAntialias(level);
            settings.setSaveDepth(true);
            settings.setSaveRenderFile(folder.wide("r.png").c_str());
            KivBitmapManager surface;
            const tagSIZE size{width * times, 31 * times};
            ASSERT_TRUE(startDrawing(surface, size));
            glEnable(GL_SCISSOR_TEST);
            glScissor((width - 2) * times, 0, 2 * times, size.cy);
            glClearDepth(0.0);
            glClear(GL_DEPTH_BUFFER_BIT);
            KivTestAccess::saveDepthBuffer(renderer, size, nullptr, settings);
            const auto image = KivImage::load(folder.wide("r_depth.png"));
            ASSERT_TRUE(image);
            EXPECT_EQ(image->size(), (tagSIZE{width, 31}));
            EXPECT_EQ(image->pixel(width - 4, 15), white);
            EXPECT_LT(image->pixel(width - 2, 15) & 0xFFU, 32U);
            EXPECT_LT(image->pixel(width - 1, 15) & 0xFFU, 2U);
        }
    }
}

TEST_F(PictureTest, ADepthFileOfUnknownKindIsNotWritten) {
    KivCommonSettings settings;
    settings.setAntialias(0);
    settings.setSaveDepth(true);
    settings.setSaveRenderFile(folder.wide("r.xyz").c_str());
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {8, 8}));
    KivTestAccess::saveDepthBuffer(renderer, {8, 8}, nullptr, settings);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "r_depth.xyz"));
    settings.setSaveRenderFile(folder.wide("r.png").c_str());
    settings.setSaveDepth(false);
    KivTestAccess::saveDepthBuffer(renderer, {8, 8}, nullptr, settings);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "r_depth.png"));
    EXPECT_TRUE(host->messages.empty());
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(PictureTest, ThePaperMultipliesThePictureRightToItsEdges) {
    KivCommonSettings settings;
    // 50 % grey, the corner white; 70 by 40 becomes a texture of 64 by 32.
    settings.setPaperImage(picture("p.png", {70, 40}, 0x808080, white).c_str());
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {256, 128}));
    glClearColor(1.0F, 0.5F, 0.0F, 0.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    KivTestAccess::drawPaperImage(renderer, settings, &progress);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    const auto image = finish(surface);
    const auto near = [](std::uint32_t colour, int r, int g, int b) {
        return std::abs(static_cast<int>(colour & 0xFF) - r) <= 1 &&
               std::abs(static_cast<int>(colour >> 8 & 0xFF) - g) <= 1 &&
               std::abs(static_cast<int>(colour >> 16 & 0xFF) - b) <= 1;
    };
    EXPECT_TRUE(near(image->pixel(40, 20), 255, 128, 0)) << std::hex << image->pixel(40, 20);
    EXPECT_TRUE(near(image->pixel(200, 20), 128, 64, 0)) << std::hex << image->pixel(200, 20);
    EXPECT_TRUE(near(image->pixel(40, 100), 128, 64, 0)) << std::hex << image->pixel(40, 100);
    EXPECT_TRUE(near(image->pixel(0, 0), 255, 128, 0)) << std::hex << image->pixel(0, 0);
    EXPECT_TRUE(near(image->pixel(255, 127), 128, 64, 0)) << std::hex << image->pixel(255, 127);
    EXPECT_EQ(progress.texts, std::vector<std::wstring>{kivText(60)});
}

TEST_F(PictureTest, PaperIsForVectorsToo) {
    KivCommonSettings settings;
    settings.setVectorial(true);
    settings.setPaperImage(picture("p.png", {64, 64}, 0x808080, 0x808080).c_str());
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {64, 64}));
    KivTestAccess::drawPaperImage(renderer, settings, nullptr);
    EXPECT_NEAR(static_cast<int>(finish(surface)->pixel(32, 32) & 0xFF), 128, 1);
}

TEST_F(PictureTest, NoPaperForACancelAndForWhatCannotBeRead) {
    KivCommonSettings settings;
    settings.setPaperImage(picture("p.png", {64, 64}, red, red).c_str());
    KivBitmapManager surface;
    ASSERT_TRUE(startDrawing(surface, {64, 64}));
    progress.cancelled = true;
    KivTestAccess::drawPaperImage(renderer, settings, &progress);
    EXPECT_TRUE(progress.texts.empty());
    progress.cancelled = false;
    settings.setPaperImage(folder.wide("missing.png").c_str());
    KivTestAccess::drawPaperImage(renderer, settings, &progress);
    EXPECT_EQ(drawnBounds(*finish(surface)), (std::vector<int>{64, 64, 0, 0}));
    EXPECT_TRUE(host->messages.empty());
}

TEST_F(PictureTest, AntialiasReducesARasterPicture) {
    for (const int level : {1, 2}) {
        const int times = 1 << level;
        KivCommonSettings settings;
        settings.setAntialias(level);
        KivBitmapManager surface;
        fill(surface, {20 * times, 10 * times}, 0x00102030);
        KivTestAccess::makeAntialias(renderer, &surface, &progress, &settings, {20, 10});
        EXPECT_EQ(surface.getSize(), (tagSIZE{20, 10}));
        const auto image = KivImage::fromBitmap(surface.getHBitmap());
        ASSERT_TRUE(image);
        EXPECT_EQ(image->size(), (tagSIZE{20, 10}));
        EXPECT_EQ(image->pixel(19, 9), 0x302010U);
    }
    EXPECT_EQ(progress.texts, (std::vector<std::wstring>{kivText(35), kivText(35)}));
    EXPECT_EQ(progress.advances, (std::vector<std::pair<unsigned int, bool>>{{1, true}, {1, true}}));
}

TEST_F(PictureTest, OtherLevelsAndVectorsKeepTheSizeAndStillAdvance) {
    KivCommonSettings settings;
    KivBitmapManager surface;
    fill(surface, {20, 10}, 0x00102030);
    for (const int level : {0, 3, -1}) {
        settings.setAntialias(level);
        KivTestAccess::makeAntialias(renderer, &surface, &progress, &settings, {5, 5});
    }
    settings.setAntialias(2);
    settings.setVectorial(true);
    KivTestAccess::makeAntialias(renderer, &surface, &progress, &settings, {5, 5});
    EXPECT_EQ(surface.getSize(), (tagSIZE{20, 10}));
    EXPECT_EQ(progress.advances, (std::vector<std::pair<unsigned int, bool>>(4, {1, true})));
    KivTestAccess::makeAntialias(renderer, &surface, nullptr, &settings, {5, 5});
}

TEST_F(PictureTest, ACancelOrAMissingPictureStillAdvances) {
    KivCommonSettings settings;
    settings.setAntialias(2);
    KivBitmapManager surface;
    KivTestAccess::makeAntialias(renderer, &surface, &progress, &settings, {5, 5});
    fill(surface, {20, 20}, 0);
    progress.cancelled = true;
    KivTestAccess::makeAntialias(renderer, &surface, &progress, &settings, {5, 5});
    EXPECT_EQ(surface.getSize(), (tagSIZE{20, 20}));
    EXPECT_TRUE(progress.texts.empty());
    EXPECT_EQ(progress.advances.size(), 2U);
}

TEST_F(PictureTest, TheFinalPictureIsSaved) {
    KivCommonSettings settings;
    settings.setSaveRender(true);
    settings.setSaveRenderFile(folder.wide("r.png").c_str());
    KivBitmapManager surface;
    fill(surface, {8, 8}, 0x00102030);
    KivTestAccess::saveFinalRender(renderer, &surface, settings);
    const auto image = KivImage::load(folder.wide("r.png"));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(0, 0), 0x302010U);
}

TEST_F(PictureTest, APathThatCannotBeWrittenGivesNoMessage) {
    KivCommonSettings settings;
    settings.setSaveRender(true);
    KivBitmapManager surface;
    fill(surface, {8, 8}, 0);
    for (const std::wstring& file : {folder.wide("missing/r.png"), folder.wide(), std::wstring()}) {
        settings.setSaveRenderFile(file.c_str());
        KivTestAccess::saveFinalRender(renderer, &surface, settings);
    }
    EXPECT_TRUE(host->messages.empty());
    EXPECT_TRUE(host->errors.empty());
}

TEST_F(PictureTest, AnEndingThatNoEncoderHasKeepsTheOldFile) {
    KivCommonSettings settings;
    settings.setSaveRender(true);
    const std::wstring file = folder.wide("r.xyz");
    settings.setSaveRenderFile(file.c_str());
    const std::uint8_t old[] = {'o', 'l', 'd'};
    ASSERT_TRUE(kivWriteWholeFile(file, old));
    KivBitmapManager surface;
    fill(surface, {8, 8}, 0);
    KivTestAccess::saveFinalRender(renderer, &surface, settings);
    EXPECT_EQ(host->messages.size(), 1U);
    EXPECT_EQ(folder.read("r.xyz"), "old");
}

TEST_F(PictureTest, AVectorFileIsCopiedUnlessThePictureIsSaved) {
    KivCommonSettings settings;
    settings.setVectorial(true);
    settings.setSaveVectorFile(folder.wide("v.svg").c_str());
    settings.setSaveRenderFile(folder.wide("r.png").c_str());
    KivBitmapManager surface;
    fill(surface, {8, 8}, 0);
    const std::uint8_t page[] = {'p', 'a', 'g', 'e'};
    ASSERT_TRUE(kivWriteWholeFile(folder.wide("temporary"), page));
    surface.getVectorialTempFileName() = folder.wide("temporary");
    settings.setSaveRender(true);
    KivTestAccess::saveFinalRender(renderer, &surface, settings);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "r.png"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "v.svg"));
    settings.setSaveRender(false);
    KivTestAccess::saveFinalRender(renderer, &surface, settings);
    EXPECT_EQ(folder.read("v.svg"), "page");
    surface.getVectorialTempFileName() = folder.wide("gone");
    KivTestAccess::saveFinalRender(renderer, &surface, settings);
    EXPECT_EQ(folder.read("v.svg"), "page");
}
