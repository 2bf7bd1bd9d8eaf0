// The sheet behind the scene, drawn by the plug-in.
#include "../picture.h"
#include "kivrender/dialogs/kivpagedlg.h"

#include <gmock/gmock.h>
#include <set>

namespace {

class BackdropPicture : public PictureTest {
protected:
    static KivCombinableShader& backdrop() {
        return LoadedShaders::backdrop();
    }
    // A picture with the sheet alone.
    void drawSheet(int side, const Choices& choices) {
        open(side);
        choose(backdrop(), choices);
        draw(backdrop());
    }
    static int brightness(const Rgb& color) {
        return color[0] + color[1] + color[2];
    }
    float depthAt(int x, int y) const {
        float depth = -1.0F;
        glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        return depth;
    }
};

const Rgb red = {255, 0, 0};
const Rgb green = {0, 255, 0};

} // namespace

TEST_F(BackdropPicture, FillsAnEmptyPictureAndLeavesItsDepth) {
    drawSheet(32, {{"Colour", "#ff0000"}});
    const std::vector<Rgb> all = pixels();
    EXPECT_EQ(std::set<Rgb>(all.begin(), all.end()), std::set<Rgb>{red});
    EXPECT_EQ(depthAt(5, 5), 1.0F);
}

TEST_F(BackdropPicture, StaysBehindTheBaseLookAndTheLines) {
    open(64);
    look({3.0, 2.0, 5.0}, 0.3, true);
    addMesh(cubeSurface());
    addLight(KivLight::directionalLight, {}, {-1.0, -1.0, -1.0});
    draw(shaders.cartoon());
    draw(shaders.outline());
    const std::vector<Rgb> before = pixels();
    choose(backdrop(), {{"Colour", "#ff0000"}});
    draw(backdrop());
    const std::vector<Rgb> after = pixels();
    int sheet = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        const bool isPaper = before[i] == Rgb{0xD0, 0xE0, 0xF0};
        EXPECT_EQ(after[i], isPaper ? red : before[i]);
        sheet += isPaper ? 1 : 0;
    }
    EXPECT_GT(sheet, 500);
    EXPECT_LT(sheet, 3500);
}

// Lines without a base look have the depth of the surfaces laid before the sheet is drawn.
TEST_F(BackdropPicture, ShowsThroughWhatHasDepthButNoColour) {
    open(32);
    look({3.0, 2.0, 5.0}, 0.3, true);
    addMesh(cubeSurface());
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    draw(shaders.cartoon());
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    ASSERT_LT(depthAt(16, 16), 1.0F);
    choose(backdrop(), {{"Colour", "#ff0000"}});
    draw(backdrop());
    EXPECT_EQ(pixel(16, 16), red);
    EXPECT_LT(depthAt(16, 16), 1.0F);
}

TEST_F(BackdropPicture, GradientsRunFromOneColourToTheOther) {
    drawSheet(64, {{"Colour", "#ff0000"}, {"SecondColour", "#00ff00"}, {"Gradient", "vertical"}});
    EXPECT_GT(pixel(10, 63)[0], 250) << "the first above";
    EXPECT_GT(pixel(10, 0)[1], 250) << "the second below";
    EXPECT_EQ(pixel(10, 20), pixel(50, 20));
    drawSheet(64, {{"Colour", "#ff0000"}, {"SecondColour", "#00ff00"}, {"Gradient", "round"}});
    EXPECT_GT(pixel(32, 32)[0], 240);
    for (const auto& [x, y] : {std::pair{0, 0}, {63, 0}, {0, 63}, {63, 63}}) {
        EXPECT_GT(pixel(x, y)[1], 240) << "the second in the corners";
    }
    EXPECT_NEAR(pixel(32, 0)[0], pixel(0, 32)[0], 4);
}

TEST_F(BackdropPicture, GridsAreTheSameAtOppositeBorders) {
    Choices choices = {{"Colour", "#ff0000"},
                       {"Pattern", "grid"},
                       {"PatternColour", "#00ff00"},
                       {"PatternSpacing", "10"},
                       {"PatternWidth", "2"}};
    drawSheet(100, choices);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(pixel(i, 5), pixel(99 - i, 5)) << i;
        EXPECT_EQ(pixel(5, i), pixel(5, 99 - i)) << i;
    }
    EXPECT_EQ(pixel(48, 55), green) << "the line in the middle is a wide one";
    EXPECT_EQ(pixel(59, 55), green);
    EXPECT_EQ(pixel(58, 55), red);
    choices[1].second = "lines";
    drawSheet(100, choices);
    EXPECT_EQ(pixel(55, 59), green);
    EXPECT_EQ(pixel(59, 55), red);
}

TEST_F(BackdropPicture, DotsAndFrames) {
    drawSheet(100, {{"Colour", "#ff0000"},
                    {"Pattern", "dots"},
                    {"PatternColour", "#00ff00"},
                    {"PatternSpacing", "20"},
                    {"PatternWidth", "10"}});
    EXPECT_EQ(pixel(40, 0), green);
    EXPECT_EQ(pixel(50, 0), red);
    EXPECT_EQ(pixel(50, 17), green) << "the next row stands in the gaps";
    drawSheet(100, {{"Colour", "#ff0000"}, {"PatternColour", "#00ff00"}, {"Frame", "4"}, {"FrameDistance", "10"}});
    for (const auto& [at, color] : {std::pair{9, red}, {10, green}, {13, green}, {14, red}, {50, red}, {86, green}}) {
        EXPECT_EQ(pixel(at, 50), color) << at;
        EXPECT_EQ(pixel(50, at), color) << at;
    }
    drawSheet(16, {{"Colour", "#ff0000"}, {"PatternColour", "#00ff00"}, {"Frame", "4"}, {"FrameDistance", "10"}});
    EXPECT_EQ(pixel(11, 11), red) << "no room for it";
}

TEST_F(BackdropPicture, LengthsAreThoseOfTheFinishedPicture) {
    settings.setAntialias(2);
    drawSheet(400, {{"Colour", "#ff0000"}, {"PatternColour", "#00ff00"}, {"Frame", "4"}, {"FrameDistance", "10"}});
    EXPECT_EQ(pixel(39, 200), red);
    EXPECT_EQ(pixel(40, 200), green);
    EXPECT_EQ(pixel(55, 200), green);
    EXPECT_EQ(pixel(56, 200), red);
}

TEST_F(BackdropPicture, GrainsAreThoseOfTheFinishedPictureToo) {
    drawSheet(96, {{"Grain", "80"}, {"GrainSize", "6"}});
    const std::vector<Rgb> coarse = pixels();
    settings.setAntialias(1);
    drawSheet(96, {{"Grain", "80"}, {"GrainSize", "3"}});
    EXPECT_TRUE(pixels() == coarse);
    settings.setAntialias(0);
    drawSheet(96, {{"Grain", "80"}, {"GrainSize", "3"}});
    EXPECT_FALSE(pixels() == coarse);
}

TEST_F(BackdropPicture, GrainLiesOverEverythingOrOnTheSheetAlone) {
    for (const char* everywhere : {"yes", "no"}) {
        open(64);
        look({3.0, 2.0, 5.0}, 0.3, true);
        scene.empty();
        addMesh(cubeSurface());
        addLight(KivLight::directionalLight, {}, {-1.0, -1.0, -1.0});
        draw(shaders.cartoon());
        const std::vector<Rgb> before = pixels();
        choose(backdrop(), {{"Colour", "#ffffff"}, {"Grain", "80"}, {"GrainEverywhere", everywhere}});
        draw(backdrop());
        const std::vector<Rgb> after = pixels();
        std::set<int> tonesOfSheet;
        int darkened = 0;
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (before[i] == Rgb{0xD0, 0xE0, 0xF0}) {
                tonesOfSheet.insert(brightness(after[i]));
            } else {
                EXPECT_LE(brightness(after[i]), brightness(before[i]));
                darkened += after[i] != before[i] ? 1 : 0;
            }
        }
        EXPECT_GT(tonesOfSheet.size(), 20U);
        EXPECT_EQ(darkened > 0, everywhere[0] == 'y');
    }
}

TEST_F(BackdropPicture, TheSweepForObjectsWithSettingsDrawsNothing) {
    open(16);
    addMesh(cubeSurface());
    scene.addSettingsToAllMeshes(L"Backdrop", true, nullptr);
    draw(backdrop(), false);
    EXPECT_EQ(pixel(8, 8), (Rgb{0xD0, 0xE0, 0xF0}));
    scene.deleteSettingsToAllMeshes();
}

TEST_F(BackdropPicture, APreviewShowsThePage) {
    open(16);
    addMesh(cubeSurface());
    KivShaderCommunication::setDefaultCommunication(nullptr); // as in a preview
    draw(backdrop(), false);
    EXPECT_EQ(pixel(8, 8), (Rgb{0xD0, 0xE0, 0xF0})) << "nobody asked for it";
    backdrop().createPages(nullptr, nullptr);
    auto& page = dynamic_cast<KivTablePageSettings&>(*backdrop().getPage(nullptr, 0)->getSettings());
    ASSERT_TRUE(page.setText("Colour", "#ff0000"));
    backdrop().preparePreview(&scene, nullptr);
    draw(backdrop(), false);
    EXPECT_EQ(pixel(8, 8), red);
    scene.deleteSettingsToAllMeshes();
    backdrop().destroyPages(nullptr);
}

TEST_F(BackdropPicture, AsksForNoDepthAndNoProgress) {
    addMesh(cubeSurface());
    EXPECT_FALSE(backdrop().rendersMesh(scene.getMesh(0)));
    EXPECT_EQ(backdrop().getProgressSteps(&scene, settings), 0U);
    EXPECT_LT(std::wcscmp(backdrop().getTag(), shaders.outline().getTag()), 0)
        << "the table's order puts it ahead of the lines";
}

// What a vector page gets is plain areas; their places tell that they lie behind everything.
TEST_F(BackdropPicture, VectorPagesGetPlainAreas) {
    settings.setVectorial(true);
    open(64);
    choose(backdrop(), {{"Colour", "#ff0000"}, {"Grain", "100"}});
    std::vector<GLfloat> feedback(4096);
    glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
    glRenderMode(GL_FEEDBACK);
    draw(backdrop());
    const GLint count = glRenderMode(GL_RENDER);
    ASSERT_EQ(count, 2 * (2 + 3 * 7)) << "one area of two triangles";
    for (int triangle = 0; triangle < 2; ++triangle) {
        const GLfloat* const values = &feedback[static_cast<std::size_t>(triangle) * 23];
        EXPECT_EQ(values[0], static_cast<GLfloat>(GL_POLYGON_TOKEN));
        for (int corner = 0; corner < 3; ++corner) {
            EXPECT_EQ(values[2 + corner * 7 + 2], 1.0F) << "the far end";
            EXPECT_EQ(values[2 + corner * 7 + 3], 1.0F);
            EXPECT_EQ(values[2 + corner * 7 + 4], 0.0F);
        }
    }
}

TEST_F(BackdropPicture, GradientsOfVectorPagesAreFlatSteps) {
    settings.setVectorial(true);
    for (const char* gradient : {"vertical", "round"}) {
        drawSheet(96, {{"Colour", "#ff0000"}, {"SecondColour", "#00ff00"}, {"Gradient", gradient}});
        const std::vector<Rgb> all = pixels();
        const std::set<Rgb> colors(all.begin(), all.end());
        EXPECT_EQ(colors.count({0xD0, 0xE0, 0xF0}), 0U) << "no gap";
        EXPECT_LE(colors.size(), 24U);
        EXPECT_GE(colors.size(), 20U);
        EXPECT_GT(pixel(48, gradient[0] == 'v' ? 95 : 48)[0], 245);
        EXPECT_GT(pixel(0, 0)[1], 235);
    }
}
