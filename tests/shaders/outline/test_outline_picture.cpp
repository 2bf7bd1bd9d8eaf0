#include "../picture.h"
#include "kivoutlinesettings.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/vector/gl2pspage.h"
#include "support/temphome.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

namespace {

const Rgb ink = {0, 0, 0};
const Rgb paperColor = {0xD0, 0xE0, 0xF0};

bool isInk(const Rgb& color) {
    return color[0] < 8 && color[1] < 8 && color[2] < 8;
}

} // namespace

class OutlinePicture : public PictureTest {
protected:
    // Lines alone: black, of so many pixels, the depth laid by the shader itself.
    void drawLines(double width, Choices choices = {}, bool named = true) {
        channel.setHasNonCombinable(false);
        for (const char* key : {"SilhouetteWidth", "BorderWidth", "CreaseWidth", "LineWidth"}) {
            choices.insert(choices.begin(), {key, std::to_string(width)});
        }
        choices.insert(choices.begin(), {"Colour", "#000000"});
        choose(shaders.outline(), choices);
        draw(shaders.outline(), named);
    }
    // Whether a step back from the eye towards nothing is blocked: p is behind the cube of half size 1.
    static bool hiddenByCube(const KivVec& p, const KivVec& eye) {
        for (int i = 1; i < 4000; ++i) {
            const KivVec q = p + (eye - p) * (i / 4000.0);
            if (std::max({std::abs(q.x), std::abs(q.y), std::abs(q.z)}) < 1.0 - 1e-6) {
                return true;
            }
        }
        return false;
    }
    // Walks the twelve edges of a cube: ink all along those that are seen, none along those that are not.
    void expectCube(const KivVec& eye) {
        const KivSurface cube = cubeSurface();
        int seen = 0;
        int hidden = 0;
        for (std::uint32_t a = 0; a < 8; ++a) {
            for (const std::uint32_t bit : {1U, 2U, 4U}) {
                if ((a & bit) != 0U) {
                    continue;
                }
                const KivVec from = cube.points[a];
                const KivVec to = cube.points[a | bit];
                const KivVec far = view.isPerspective() ? eye : eye * 100.0;
                const bool isHidden = hiddenByCube(from * 0.5 + to * 0.5, far);
                for (int i = isHidden ? 10 : 0; i <= (isHidden ? 90 : 100); ++i) {
                    const KivVec p = from + (to - from) * (i / 100.0);
                    const bool inked = isInk(pixelAt(p));
                    if (inked == isHidden && !(isHidden && nearSeenEdge(p, eye))) {
                        ADD_FAILURE() << "edge " << a << " to " << (a | bit) << " at " << i
                                      << (isHidden ? " shows" : " has a gap");
                        break;
                    }
                }
                ++(isHidden ? hidden : seen);
            }
        }
        EXPECT_EQ(seen, 9);
        EXPECT_EQ(hidden, 3);
    }
    // Whether a seen edge passes close by in the picture.
    bool nearSeenEdge(const KivVec& p, const KivVec& eye) const {
        const KivSurface cube = cubeSurface();
        const KivWindowPoint at = place(p);
        for (std::uint32_t a = 0; a < 8; ++a) {
            for (const std::uint32_t bit : {1U, 2U, 4U}) {
                if ((a & bit) != 0U) {
                    continue;
                }
                const KivVec from = cube.points[a];
                const KivVec to = cube.points[a | bit];
                if (hiddenByCube(from * 0.5 + to * 0.5, view.isPerspective() ? eye : eye * 100.0)) {
                    continue;
                }
                for (int i = 0; i <= 100; ++i) {
                    const KivWindowPoint q = place(from + (to - from) * (i / 100.0));
                    if (std::hypot(q.x - at.x, q.y - at.y) < 6.0) {
                        return true;
                    }
                }
            }
        }
        return false;
    }
};

TEST_F(OutlinePicture, ACubeShowsItsNineEdgesAndHidesThree) {
    const KivVec eye{3.0, 2.2, 4.0};
    for (const bool perspective : {true, false}) {
        for (const bool withBase : {false, true}) {
            KivBitmapManager fresh;
            surface = fresh;
            scene.empty();
            addMesh(cubeSurface());
            addLight(KivLight::directionalLight, {}, {-1.0, -2.0, -1.0});
            open(400);
            look(eye, perspective ? 0.4 : 2.2, perspective);
            if (withBase) {
                choose(shaders.cartoon(), {});
                draw(shaders.cartoon());
            }
            drawLines(4.0);
            expectCube(eye);
            surface.deleteContext();
        }
    }
}

TEST_F(OutlinePicture, LinesHaveTheirFullWidth) {
    addMesh(cubeSurface());
    open(400);
    look({0.0, 0.0, 6.0}, 2.0, false);
    for (const double width : {2.0, 6.0, 12.0}) { // even, so that no border runs through the middles of pixels
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        drawLines(width);
        // The left side of the square runs through x = 100; across it, at half height.
        int dark = 0;
        for (int x = 60; x < 140; ++x) {
            dark += isInk(pixel(x, 200));
        }
        EXPECT_NEAR(dark, width, 1.01);
        // Symmetric about the middle of the picture.
        for (int x = 60; x < 140; ++x) {
            EXPECT_EQ(isInk(pixel(x, 180)), isInk(pixel(399 - x, 180))) << x;
        }
    }
}

TEST_F(OutlinePicture, ASphereHasOneRoundOutlineAndNothingInside) {
    for (const bool perspective : {true, false}) {
        for (const bool loose : {false, true}) {
            KivBitmapManager fresh;
            surface = fresh;
            scene.empty();
            KivSurface sphere = sphereSurface(40, 60);
            if (loose) {
                KivSurface parts;
                for (const KivSurface::Triangle& t : sphere.triangles) {
                    const auto first = static_cast<std::uint32_t>(parts.points.size());
                    for (const std::uint32_t p : t) {
                        parts.points.push_back(sphere.points[p]);
                    }
                    parts.triangles.push_back({first, first + 1, first + 2});
                }
                sphere = parts;
            }
            addMesh(sphere);
            open(400);
            look({1.0, 1.5, 5.0}, perspective ? 0.25 : 1.3, perspective);
            drawLines(4.0);
            // Radially from the middle: ink once, at the outline, in every direction.
            const KivWindowPoint middle = place({0.0, 0.0, 0.0});
            const double distance = std::sqrt(1.0 + 2.25 + 25.0);
            const double radius =
                perspective ? 400.0 / (2.0 * 0.25) / std::sqrt(distance * distance - 1.0) : 400.0 / 2.6;
            for (int i = 0; i < 360; ++i) {
                const double a = i * 3.14159265 / 180.0;
                int inked = 0;
                for (double r = 0.0; r < 195.0; r += 0.5) {
                    const bool dark = isInk(pixel(static_cast<int>(middle.x + std::cos(a) * r),
                                                  static_cast<int>(middle.y + std::sin(a) * r)));
                    inked += dark;
                    if (dark) {
                        EXPECT_NEAR(r, radius, 6.0) << "at " << i << " degrees";
                    }
                }
                EXPECT_GE(inked, 4) << "a gap at " << i << " degrees";
            }
            surface.deleteContext();
        }
    }
}

TEST_F(OutlinePicture, DoesNotShowThroughASurfaceInFront) {
    // A wall before the cube.
    addMesh(cubeSurface());
    KivSurface wall;
    wall.points = {{-1.5, -1.5, 1.2}, {1.5, -1.5, 1.2}, {1.5, 1.5, 1.2}, {-1.5, 1.5, 1.2}};
    wall.triangles = {{0, 1, 2}, {0, 2, 3}};
    addMesh(wall);
    open(300);
    look({0.2, 0.1, 6.0}, 2.0, false);
    drawLines(3.0);
    for (int y = 50; y < 250; y += 1) {
        for (int x = 50; x < 250; x += 1) {
            ASSERT_FALSE(isInk(pixel(x, y))) << x << ' ' << y;
        }
    }
    EXPECT_TRUE(isInk(pixelAt({-1.5, 0.0, 1.2})));
}

// A glow before the cube: its own alpha fades, and neither that nor its mesh has an edge.
TEST_F(OutlinePicture, WhatIsSoftHasNoLinesAndHidesNoneUnlessItIsPainted) {
    addMesh(cubeSurface());
    KivSurface glow;
    glow.points = {{-1.5, -1.5, 1.2}, {1.5, -1.5, 1.2}, {1.5, 1.5, 1.2}, {-1.5, 1.5, 1.2}};
    glow.triangles = {{0, 1, 2}, {0, 2, 3}};
    KivMesh& mesh = *addMesh(glow);
    const auto texture = std::make_shared<KivTexture>();
    const auto paint = std::make_shared<KivMeshPaint>();
    paint->texture = texture;
    texture->cutOut = 0.5;
    open(300);
    look({0.2, 0.1, 6.0}, 2.0, false);
    const auto drawn = [&](bool isSoft) {
        texture->soft = isSoft;
        kivSetMeshPaint(mesh, paint);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        drawLines(3.0);
        return std::pair(isInk(pixelAt({-1.5, 0.0, 1.2})), isInk(pixelAt({1.0, 0.0, 1.0})));
    };
    EXPECT_EQ(drawn(false), std::pair(true, false));
    EXPECT_EQ(drawn(true), std::pair(false, true)) << "the cube's edge shows through";
    texture->cutOut = 0.0;
    EXPECT_EQ(drawn(true), std::pair(true, false)) << "its alpha means nothing";
}

TEST_F(OutlinePicture, BordersOfOpenSurfacesAreLines) {
    KivSurface sheet;
    for (int j = 0; j <= 6; ++j) {
        for (int i = 0; i <= 6; ++i) {
            sheet.points.push_back({i / 3.0 - 1.0, j / 3.0 - 1.0, 0.0});
        }
    }
    for (std::uint32_t j = 0; j < 6; ++j) {
        for (std::uint32_t i = 0; i < 6; ++i) {
            const std::uint32_t a = j * 7 + i;
            sheet.triangles.push_back({a, a + 1, a + 8});
            sheet.triangles.push_back({a, a + 8, a + 7});
        }
    }
    addMesh(sheet);
    open(300);
    look({0.5, 0.7, 6.0}, 1.5, false);
    drawLines(3.0);
    for (int i = -50; i <= 50; ++i) {
        for (const KivVec& p : {KivVec{i / 50.0, 1.0, 0.0}, KivVec{i / 50.0, -1.0, 0.0}, KivVec{1.0, i / 50.0, 0.0},
                                KivVec{-1.0, i / 50.0, 0.0}}) {
            EXPECT_TRUE(isInk(pixelAt(p)));
        }
    }
    int inside = 0;
    for (int i = -45; i <= 45; ++i) {
        for (int j = -45; j <= 45; ++j) {
            inside += isInk(pixelAt({i / 50.0, j / 50.0, 0.0}));
        }
    }
    EXPECT_EQ(inside, 0);
}

TEST_F(OutlinePicture, DrawsTheLinesAndPointsOfTheScene) {
    addMesh(cubeSurface(0.5));
    KivLine seen(Kiv3DPoint(-1.0, 1.0, 0.0), Kiv3DPoint(1.0, 1.0, 0.0));
    KivLine behind(Kiv3DPoint(-1.0, 0.0, -2.0), Kiv3DPoint(1.0, 0.0, -2.0));
    KivLine hidden(Kiv3DPoint(-1.0, -1.2, 0.0), Kiv3DPoint(1.0, -1.2, 0.0));
    hidden.hide();
    scene.addLine(seen);
    scene.addLine(behind);
    scene.addLine(hidden);
    auto* polyline = new KivPolyline;
    polyline->addPoint(-1.0, -1.0, 0.0);
    polyline->addPoint(0.0, -0.8, 0.0);
    polyline->addPoint(1.0, -1.0, 0.0);
    polyline->setColor(0x0000FF);
    scene.addPolyline(polyline);
    Kiv3DPoint point(0.8, 0.6, 0.0);
    Kiv3DPoint covered(0.0, 0.0, -1.0);
    scene.addPoint(point);
    scene.addPoint(covered);
    open(300);
    look({0.0, 0.0, 6.0}, 1.5, false);
    drawLines(4.0);
    EXPECT_TRUE(isInk(pixelAt({-0.7, 1.0, 0.0})));
    EXPECT_TRUE(isInk(pixelAt({-0.8, 0.0, 0.0}))); // beside the cube
    EXPECT_FALSE(isInk(pixelAt({0.2, 0.0, 0.0}))); // behind it
    EXPECT_FALSE(isInk(pixelAt({0.0, -1.2, 0.0})));
    EXPECT_EQ(pixelAt({0.5, -0.9, 0.0}), (Rgb{255, 0, 0}));
    EXPECT_TRUE(isInk(pixelAt({0.8, 0.6, 0.0})));
    EXPECT_TRUE(isInk(pixelAt({0.83, 0.6, 0.0}))) << "a point is twice as wide as a line";
    EXPECT_EQ(pixelAt({0.8, 0.52, 0.0}), paperColor);
    EXPECT_EQ(pixelAt({0.05, 0.05, 0.0}), paperColor);
}

TEST_F(OutlinePicture, LeavesLinesOutWhenToldSo) {
    KivLine line(Kiv3DPoint(-1.0, 0.0, 0.0), Kiv3DPoint(1.0, 0.0, 0.0));
    scene.addLine(line);
    open(100);
    look({0.0, 0.0, 6.0}, 1.5, false);
    drawLines(4.0, {{"Lines", "0"}});
    EXPECT_EQ(pixel(50, 50), paperColor);
    drawLines(4.0);
    EXPECT_TRUE(isInk(pixel(50, 50)));
}

TEST_F(OutlinePicture, DrawsWhatIsItsOwnByTheRuleOfTheFlag) {
    // Three cubes side by side: without settings, naming the shader, naming another.
    for (int i = 0; i < 3; ++i) {
        KivSurface cube = cubeSurface(0.4);
        for (KivVec& p : cube.points) {
            p.x += i - 1.0;
        }
        KivMesh* mesh = addMesh(cube);
        if (i > 0) {
            mesh->addCombinableShader(i == 1 ? L"Outline" : L"Other");
        }
    }
    EXPECT_TRUE(shaders.outline().rendersMesh(scene.getMesh(0)));
    EXPECT_TRUE(shaders.outline().rendersMesh(scene.getMesh(1)));
    EXPECT_FALSE(shaders.outline().rendersMesh(scene.getMesh(2)));
    open(300);
    look({0.0, 0.0, 6.0}, 1.5, false);
    drawLines(4.0);
    EXPECT_TRUE(isInk(pixelAt({-1.0, 0.4, 0.4})));
    EXPECT_FALSE(isInk(pixelAt({0.0, 0.4, 0.4})));
    EXPECT_FALSE(isInk(pixelAt({1.0, 0.4, 0.4})));
    drawLines(4.0, {}, false);
    EXPECT_TRUE(isInk(pixelAt({0.0, 0.4, 0.4})));
    EXPECT_FALSE(isInk(pixelAt({1.0, 0.4, 0.4})));
}

TEST_F(OutlinePicture, AnObjectBringsItsOwnSettings) {
    KivMesh* mesh = addMesh(cubeSurface());
    mesh->addCombinableShader(L"Outline");
    auto page = std::make_unique<KivTablePageSettings>(
        shaderSettings(shaders.outline(), {{"Colour", "#00ff00"}, {"SilhouetteWidth", "9"}}));
    mesh->addPageSettings(page.release());
    open(200);
    look({0.0, 0.0, 6.0}, 2.0, false);
    drawLines(2.0, {}, false);
    EXPECT_EQ(pixel(50, 100), (Rgb{0, 255, 0}));
    EXPECT_EQ(pixel(47, 100), (Rgb{0, 255, 0}));
}

TEST_F(OutlinePicture, OnlyReadsTheDepthBuffer) {
    addMesh(sphereSurface(20, 30));
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    open(200);
    look({0.0, 0.0, 6.0}, 1.5, false);
    draw(shaders.cartoon());
    const auto depths = [this] {
        std::vector<float> values(40000);
        glReadPixels(0, 0, 200, 200, GL_DEPTH_COMPONENT, GL_FLOAT, values.data());
        return values;
    };
    const std::vector<float> before = depths();
    choose(shaders.outline(), {});
    draw(shaders.outline());
    EXPECT_EQ(depths(), before);
    GLdouble matrix[16];
    glGetDoublev(GL_PROJECTION_MATRIX, matrix);
    EXPECT_NEAR(matrix[0], 1.0 / 1.5, 1e-6);
    EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_TRUE);
}

TEST_F(OutlinePicture, StaysInFrontInAPreview) {
    // A preview draws the lines first and the surfaces over them, over a channel of its own.
    addMesh(sphereSurface(20, 30));
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    KivShaderCommunication::setDefaultCommunication(nullptr);
    open(200);
    look({0.0, 0.0, 6.0}, 1.5, false);
    choose(shaders.outline(), {{"Colour", "#000000"}, {"SilhouetteWidth", "6"}});
    draw(shaders.outline());
    draw(shaders.cartoon());
    int across = 0;
    for (int x = 20; x < 60; ++x) {
        across += isInk(pixel(x, 100));
    }
    EXPECT_GE(across, 5);
}

// Of a cube that shows three sides nine edges are seen. They lie where a picture has them, before everything else.
TEST_F(OutlinePicture, GivesTheVisibleLinesToAVectorPage) {
    addMesh(cubeSurface());
    open(200);
    look({3.0, 2.2, 4.0}, 2.2, false);
    choose(shaders.outline(), {});
    drawLines(3.0);
    const std::vector<Rgb> picture = pixels();
    const KivView seen = kivCurrentView(200, 200);
    settings.setVectorial(true);
    std::vector<GLfloat> feedback(100000);
    glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
    glRenderMode(GL_FEEDBACK);
    draw(shaders.outline());
    const GLint count = glRenderMode(GL_RENDER);
    double length = 0.0;
    for (GLint i = 0; i < count;) {
        if (feedback[i] == static_cast<GLfloat>(GL_PASS_THROUGH_TOKEN)) {
            i += 2; // how wide lines are, and how they end
            continue;
        }
        ASSERT_TRUE(feedback[i] == static_cast<GLfloat>(GL_LINE_TOKEN) ||
                    feedback[i] == static_cast<GLfloat>(GL_LINE_RESET_TOKEN));
        const GLfloat* a = &feedback[i + 1];
        const GLfloat* b = a + 7;
        EXPECT_EQ(a[2], 0.0F);
        EXPECT_EQ(b[2], 0.0F);
        EXPECT_TRUE(isInk(picture[static_cast<std::size_t>((a[1] + b[1]) / 2.0F) * 200 +
                                  static_cast<std::size_t>((a[0] + b[0]) / 2.0F)]));
        length += std::hypot(a[0] - b[0], a[1] - b[1]);
        i += 15;
    }
    double expected = 0.0;
    for (const int axis : {0, 1, 2}) {
        for (const auto& [u, v] : {std::pair(1.0, 1.0), std::pair(1.0, -1.0), std::pair(-1.0, 1.0)}) {
            double from[3];
            double to[3];
            from[axis] = -1.0;
            to[axis] = 1.0;
            from[(axis + 1) % 3] = to[(axis + 1) % 3] = u;
            from[(axis + 2) % 3] = to[(axis + 2) % 3] = v;
            const KivWindowPoint p = seen.window(seen.clip({from[0], from[1], from[2]}));
            const KivWindowPoint q = seen.window(seen.clip({to[0], to[1], to[2]}));
            expected += std::hypot(p.x - q.x, p.y - q.y);
        }
    }
    EXPECT_NEAR(length, expected, expected * 0.02);
}

// A render that collects its drawing gets the lines as strokes, and OpenGL none.
TEST_F(OutlinePicture, GivesStrokesToADrawingThatIsCollected) {
    KivMesh* other = addMesh(cubeSurface(0.2));
    other->addCombinableShader(L"Other");
    addMesh(cubeSurface());
    KivLine line(Kiv3DPoint(-4.0, 0.0, 0.0), Kiv3DPoint(4.0, 0.0, 0.0));
    scene.addLine(line);
    open(200);
    look({3.0, 2.2, 4.0}, 2.2, false);
    settings.setVectorial(true);
    choose(shaders.outline(),
           {{"Colour", "#203040"}, {"SilhouetteWidth", "3.5"}, {"CreaseWidth", "1.5"}, {"LineWidth", "2"}});
    for (const bool wantsHidden : {false, true}) {
        KivVectorDrawing drawing;
        drawing.wantsHidden = wantsHidden;
        KivVectorDrawing* const former = kivCollectDrawing(&drawing);
        std::vector<GLfloat> feedback(1000);
        glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
        glRenderMode(GL_FEEDBACK);
        draw(shaders.outline());
        EXPECT_EQ(glRenderMode(GL_RENDER), 0);
        EXPECT_EQ(kivCollectDrawing(former), &drawing);
        std::map<std::pair<KivStrokeKind, bool>, int> counts;
        for (const KivStroke& stroke : drawing.strokes) {
            ++counts[{stroke.kind, stroke.hidden}];
            EXPECT_EQ(stroke.color, 0x403020U);
            EXPECT_FALSE(stroke.space.empty());
            const bool own = stroke.kind == KivStrokeKind::own;
            EXPECT_EQ(stroke.object, own ? 0U : 2U) << "its number in the scene, and one";
            EXPECT_EQ(stroke.width, own ? 2.0 : stroke.kind == KivStrokeKind::contour ? 3.5 : 1.5);
        }
        EXPECT_EQ((counts[{KivStrokeKind::contour, false}]), 1);
        EXPECT_GE((counts[{KivStrokeKind::crease, false}]), 1);
        EXPECT_EQ((counts[{KivStrokeKind::own, false}]), 2) << "on both sides of the cube";
        EXPECT_EQ((counts[{KivStrokeKind::own, true}]), wantsHidden ? 1 : 0);
        EXPECT_EQ((counts[{KivStrokeKind::crease, true}] > 0), wantsHidden);
    }
}

TEST_F(OutlinePicture, LinesAndPointsOfAVectorPageHaveTheirWidth) {
    addMesh(cubeSurface());
    KivLine line(Kiv3DPoint(-1.5, -1.5, 1.5), Kiv3DPoint(1.5, -1.5, 1.5));
    scene.addLine(line);
    Kiv3DPoint point(0.0, 0.0, 1.8);
    scene.addPoint(point);
    open(200);
    look({3.0, 2.2, 4.0}, 2.2, false);
    settings.setVectorial(true);
    choose(shaders.outline(), {{"SilhouetteWidth", "3.5"}, {"CreaseWidth", "1.5"}, {"LineWidth", "2"}});
    TempFolder folder;
    ASSERT_EQ(gl2psBeginPageW("", "", nullptr, GL2PS_SVG, GL2PS_SIMPLE_SORT, GL2PS_USE_CURRENT_VIEWPORT, GL_RGBA, 0,
                              nullptr, 0, 0, 0, 1 << 20, folder.wide("page").c_str()),
              GL2PS_SUCCESS);
    draw(shaders.outline());
    ASSERT_EQ(gl2psEndPage(
                  nullptr, [] {}, [] { return false; }, nullptr),
              GL2PS_SUCCESS);
    const std::string svg = folder.read("page");
    const auto count = [&svg](const std::string& text) {
        int found = 0;
        for (std::size_t at = svg.find(text); at != std::string::npos; at = svg.find(text, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_GE(count("stroke-width=\"3.5\""), 6);
    EXPECT_GE(count("stroke-width=\"1.5\""), 3);
    EXPECT_GE(count("stroke-width=\"2\""), 1);
    EXPECT_EQ(count("stroke-linecap=\"round\""), count("<polyline"));
    EXPECT_EQ(count("stroke-width=\"4\""), 1) << "a point, of the same diameter as in a raster picture";
}

TEST_F(OutlinePicture, SurvivesAnEmptySceneAndStrayGeometry) {
    open(64);
    look({0.0, 0.0, 6.0}, 1.5, true);
    drawLines(3.0);
    EXPECT_EQ(pixel(32, 32), paperColor);
    KivSurface odd;
    odd.points = {{0, 0, 0}, {1e30, 0, 0}, {0, 1e-30, 0}, {0, 0, 7}, {0, 0, 6}};
    odd.triangles = {{0, 1, 2}, {0, 3, 4}, {1, 3, 4}, {2, 3, 4}};
    addMesh(odd);
    drawLines(3.0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(pixel(2, 2), paperColor) << "what lies far outside leaves the corner alone";
}

TEST_F(OutlinePicture, ABoxOnAFloorHasALineWhereItStands) {
    addMesh(cubeSurface());
    KivSurface floor;
    floor.points = {{-9, -1, -9}, {9, -1, -9}, {9, -1, 9}, {-9, -1, 9}};
    floor.triangles = {{0, 2, 1}, {0, 3, 2}};
    addMesh(floor);
    for (const bool perspective : {true, false}) {
        KivBitmapManager fresh;
        surface = fresh;
        open(400);
        look({3.0, 2.2, 4.0}, perspective ? 0.4 : 2.2, perspective);
        drawLines(4.0);
        for (int i = -50; i <= 50; ++i) {
            EXPECT_TRUE(isInk(pixelAt({i / 50.0, -1.0, 1.0}))) << i;
            EXPECT_TRUE(isInk(pixelAt({1.0, -1.0, i / 50.0}))) << i;
        }
        surface.deleteContext();
    }
}
