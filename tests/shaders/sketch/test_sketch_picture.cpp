#include "../picture.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmeshkeep.h"
#include "kivrender/scene/kivpolyline.h"
#include "support/pollcounter.h"

#include <algorithm>
#include <cmath>

namespace {

const Rgb paperColor = {0xD0, 0xE0, 0xF0};

// Clearly darker than the paper.
bool isMarked(const Rgb& color) {
    return color[0] < 0xA0 && color[1] < 0xB0;
}

} // namespace

class SketchPicture : public PictureTest {
protected:
    using Picture = std::vector<Rgb>;

    // Strokes alone, the depth laid by the shader itself.
    void sketch(Choices choices = {}, bool named = true) {
        channel.setHasNonCombinable(false);
        choices.insert(choices.begin(), {"Colour", "#000000"});
        choose(shaders.sketch(), choices);
        draw(shaders.sketch(), named);
    }
    // The same on fresh paper, as a picture.
    Picture sketched(const Choices& choices = {}, bool named = true) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        sketch(choices, named);
        return pixels();
    }
    int marks(const Picture& picture) const {
        return static_cast<int>(std::count_if(picture.begin(), picture.end(), isMarked));
    }
    bool markedNear(const Picture& picture, const KivWindowPoint& at, int reach) const {
        const int x = static_cast<int>(std::floor(at.x));
        const int y = static_cast<int>(std::floor(at.y));
        for (int j = std::max(0, y - reach); j <= std::min(size.cy - 1, y + reach); ++j) {
            for (int i = std::max(0, x - reach); i <= std::min(size.cx - 1, x + reach); ++i) {
                if (isMarked(picture[static_cast<std::size_t>(j) * size.cx + i])) {
                    return true;
                }
            }
        }
        return false;
    }

    struct Edge {
        KivVec from;
        KivVec to;
        bool hidden;
    };
    // The edges of the cube of half size 1, those that meet in the corner away from the eye hidden.
    static std::vector<Edge> cubeEdges(const KivVec& eye) {
        std::vector<Edge> edges;
        const KivSurface cube = cubeSurface();
        const std::uint32_t away = (eye.x < 0.0 ? 1U : 0U) | (eye.y < 0.0 ? 2U : 0U) | (eye.z < 0.0 ? 4U : 0U);
        for (std::uint32_t a = 0; a < 8; ++a) {
            for (const std::uint32_t bit : {1U, 2U, 4U}) {
                if ((a & bit) == 0U) {
                    edges.push_back({cube.points[a], cube.points[a | bit], a == away || (a | bit) == away});
                }
            }
        }
        return edges;
    }
    // How far a pixel lies from the nearest of the edges, in pixels; only from seen ones unless told otherwise.
    double distanceToEdges(int x, int y, const std::vector<Edge>& edges, bool hiddenToo = false) const {
        double nearest = 1e9;
        for (const Edge& edge : edges) {
            if (edge.hidden && !hiddenToo) {
                continue;
            }
            const KivWindowPoint a = place(edge.from);
            const KivWindowPoint b = place(edge.to);
            const double dx = b.x - a.x;
            const double dy = b.y - a.y;
            const double t = std::clamp(((x + 0.5 - a.x) * dx + (y + 0.5 - a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
            nearest = std::min(nearest, std::hypot(x + 0.5 - a.x - dx * t, y + 0.5 - a.y - dy * t));
        }
        return nearest;
    }
    // The part of an edge's length, its ends left out, that is marked within some pixels.
    double covered(const Picture& picture, const Edge& edge, int reach) const {
        int hits = 0;
        for (int i = 20; i <= 80; ++i) {
            hits += markedNear(picture, place(edge.from + (edge.to - edge.from) * (i / 100.0)), reach);
        }
        return hits / 61.0;
    }
    void addSunFromTheLeft() {
        addLight(KivLight::directionalLight, {}, {1.0, 0.0, 0.0});
    }
};

TEST_F(SketchPicture, StrokesFollowTheSeenEdgesOfACubeAndNothingElse) {
    const KivVec eye{3.0, 2.2, 4.0};
    addMesh(cubeSurface());
    open(400);
    look(eye, 2.2, false);
    const std::vector<Edge> edges = cubeEdges(eye);
    for (const char* medium : {"pencil", "ink", "charcoal", "pastel"}) {
        const Picture picture = sketched({{"Medium", medium}, {"Wobble", "2"}, {"Overshoot", "10"}});
        for (const Edge& edge : edges) {
            if (!edge.hidden) {
                EXPECT_GT(covered(picture, edge, 4), 0.95) << medium;
            }
        }
        int stray = 0;
        for (int y = 0; y < 400; ++y) {
            for (int x = 0; x < 400; ++x) {
                const bool marked = picture[static_cast<std::size_t>(y) * 400 + x] != paperColor;
                stray += marked && distanceToEdges(x, y, edges) > 10.0 * 1.1 + 2.0 * 2.0 + 5.0;
            }
        }
        EXPECT_EQ(stray, 0) << medium;
    }
}

TEST_F(SketchPicture, TheSameSceneGivesTheSameBytes) {
    addMesh(sphereSurface(20, 30));
    addMesh(cubeSurface(0.8));
    addSunFromTheLeft();
    open(300);
    look({3.0, 2.2, 4.0}, 1.6, true);
    const Picture first = sketched();
    EXPECT_EQ(sketched(), first);
    EXPECT_NE(sketched({{"Seed", "2"}}), first);
    EXPECT_EQ(sketched({{"Seed", "1"}}), first);
}

TEST_F(SketchPicture, StrokesStayWhenTheCameraMovesALittle) {
    addMesh(sphereSurface(40, 60));
    KivSurface cube = cubeSurface(0.7);
    for (KivVec& p : cube.points) {
        p = p + KivVec{1.6, -0.4, 0.3};
    }
    addMesh(cube);
    addSunFromTheLeft();
    open(500);
    const Choices choices = {
        {"Medium", "ink"}, {"Wobble", "9"}, {"Overshoot", "14"}, {"Strokes", "1"}, {"StrokeLength", "120"}};
    const auto from = [&](const KivVec& eye, const Choices& more) {
        look(eye, 0.5, true);
        Choices all = choices;
        all.insert(all.end(), more.begin(), more.end());
        return sketched(all);
    };
    for (const Choices& more : {Choices{{"Hatching", "no"}}, Choices{{"Hatching", "yes"}}}) {
        const Picture before = from({2.0, 1.5, 5.0}, more);
        // Half a degree around and a little nearer: what lies in the middle moves by two pixels.
        const Picture after = from({2.04, 1.48, 4.97}, more);
        const auto moved = [&](const Picture& a, const Picture& b) {
            int count = 0;
            int far = 0;
            for (int y = 0; y < 500; ++y) {
                for (int x = 0; x < 500; ++x) {
                    if (isMarked(a[static_cast<std::size_t>(y) * 500 + x])) {
                        ++count;
                        far += !markedNear(b, {x + 0.5, y + 0.5, 0.0}, 3);
                    }
                }
            }
            return static_cast<double>(far) / count;
        };
        EXPECT_LT(moved(before, after), 0.03);
        EXPECT_LT(moved(after, before), 0.03);
        // The measure can tell: another hand's strokes lie elsewhere.
        Choices other = more;
        other.emplace_back("Seed", "77");
        EXPECT_GT(moved(before, from({2.0, 1.5, 5.0}, other)), 0.05);
    }
}

TEST_F(SketchPicture, HiddenLinesAreLeftOutDashedOrThin) {
    const KivVec eye{3.0, 2.2, 4.0};
    addMesh(cubeSurface());
    open(400);
    look(eye, 2.2, false);
    const std::vector<Edge> edges = cubeEdges(eye);
    const auto hiddenPart = [&](const char* how) {
        const Picture picture = sketched({{"Hidden", how}, {"Medium", "ink"}, {"Overshoot", "0"}, {"Wobble", "0"}});
        double sum = 0.0;
        for (const Edge& edge : edges) {
            sum += edge.hidden ? covered(picture, edge, 1) : 0.0;
        }
        return sum / 3.0;
    };
    EXPECT_LT(hiddenPart("none"), 0.05) << "but for where seen edges cross them";
    const double dashed = hiddenPart("dashed");
    EXPECT_GT(dashed, 0.5);
    EXPECT_LT(dashed, 0.95);
    EXPECT_GT(hiddenPart("thin"), 0.97);
    // Hidden ones are weaker than seen ones.
    const Picture thin = sketched(
        {{"Hidden", "thin"}, {"Overshoot", "0"}, {"Wobble", "0"}, {"Width", "6"}, {"Grain", "0"}, {"Strokes", "1"}});
    const auto inkAlong = [&](bool hidden) {
        double sum = 0.0;
        int count = 0;
        for (const Edge& edge : edges) {
            if (edge.hidden != hidden) {
                continue;
            }
            for (int i = 20; i <= 80; ++i) {
                const KivWindowPoint at = place(edge.from + (edge.to - edge.from) * (i / 100.0));
                for (int dx = -5; dx <= 5; ++dx) {
                    for (int dy = -5; dy <= 5; ++dy) {
                        const int x = static_cast<int>(at.x) + dx;
                        const int y = static_cast<int>(at.y) + dy;
                        sum += 0xE0 - thin[static_cast<std::size_t>(y) * 400 + x][1];
                        ++count;
                    }
                }
            }
        }
        return sum / count;
    };
    EXPECT_LT(inkAlong(true), inkAlong(false) * 0.75);
    EXPECT_GT(inkAlong(true), 0.0);
}

TEST_F(SketchPicture, MediaDiffer) {
    addMesh(cubeSurface());
    open(400);
    look({3.0, 2.2, 4.0}, 2.2, false);
    const auto greys = [](const Picture& picture) {
        int between = 0;
        int marked = 0;
        for (const Rgb& color : picture) {
            marked += color != paperColor;
            between += color != paperColor && color[1] > 20 && color[1] < 0xD0;
        }
        return static_cast<double>(between) / marked;
    };
    const Choices steady = {{"Wobble", "0"}, {"Strokes", "1"}, {"Width", "6"}, {"Pressure", "0"}};
    const auto with = [&](const char* medium, const char* grain = "100") {
        Choices choices = steady;
        choices.emplace_back("Medium", medium);
        choices.emplace_back("Grain", grain);
        return sketched(choices);
    };
    const double ink = greys(with("ink"));
    EXPECT_LT(ink, 0.35) << "ink is black or nothing, but for its rim";
    for (const char* medium : {"pencil", "charcoal", "pastel"}) {
        EXPECT_GT(greys(with(medium)), ink + 0.2) << medium;
        EXPECT_NE(with(medium), with(medium, "0")) << medium << " without grain";
    }
    EXPECT_EQ(with("ink"), with("ink", "0")) << "ink has no grain";
    // At widths of their own charcoal covers more than a pencil.
    EXPECT_GT(marks(sketched({{"Medium", "charcoal"}})), marks(sketched({{"Medium", "pencil"}})) * 1.3);
}

TEST_F(SketchPicture, HatchesWhatIsDarkOnly) {
    addMesh(sphereSurface(40, 60), true);
    addSunFromTheLeft();
    open(400);
    look({0.0, 0.0, 6.0}, 1.3, false);
    const KivWindowPoint middle = place({0.0, 0.0, 0.0});
    // The inside of the sphere by columns, the outline left out.
    const auto inside = [&](const Picture& picture, double from, double to) {
        int marked = 0;
        int count = 0;
        for (int y = 0; y < 400; ++y) {
            for (int x = 0; x < 400; ++x) {
                const double dx = (x + 0.5 - middle.x) / (400.0 / 2.6);
                const double dy = (y + 0.5 - middle.y) / (400.0 / 2.6);
                if (std::hypot(dx, dy) < 0.9 && dx >= from && dx < to) {
                    ++count;
                    marked += picture[static_cast<std::size_t>(y) * 400 + x][1] < 0xC8;
                }
            }
        }
        return static_cast<double>(marked) / count;
    };
    // Edge-on to the light is half of it: the terminator is the middle of the picture.
    const Choices half = {{"HatchTone", "50"}, {"Medium", "ink"}};
    const Picture picture = sketched(half);
    EXPECT_EQ(inside(picture, -0.9, -0.15), 0.0);
    EXPECT_GT(inside(picture, 0.3, 0.9), 0.12);
    Choices dark = half;
    dark[0].second = "25"; // from 30 degrees beyond the terminator
    EXPECT_EQ(inside(sketched(dark), -0.9, 0.35), 0.0);
    Choices dense = half;
    dense.emplace_back("HatchSpacing", "3");
    EXPECT_GT(inside(sketched(dense), 0.3, 0.9), inside(picture, 0.3, 0.9) * 1.3);
    Choices single = half;
    single.emplace_back("CrossHatching", "no");
    EXPECT_LT(inside(sketched(single), 0.5, 0.9), inside(picture, 0.5, 0.9) * 0.9);
    EXPECT_EQ(inside(sketched({{"Hatching", "no"}}), -0.9, 0.9), 0.0);
    EXPECT_EQ(inside(sketched({{"HatchTone", "0"}}), -0.9, 0.9), 0.0);
}

TEST_F(SketchPicture, HatchingFollowsTheLight) {
    addMesh(sphereSurface(40, 60), true);
    open(300);
    look({0.0, 0.0, 6.0}, 1.3, false);
    const auto halves = [&] {
        const Picture picture = sketched({{"Medium", "ink"}});
        int left = 0;
        int right = 0;
        for (int y = 75; y < 225; ++y) {
            for (int x = 75; x < 225; ++x) {
                (x < 150 ? left : right) += isMarked(picture[static_cast<std::size_t>(y) * 300 + x]);
            }
        }
        return std::pair(left, right);
    };
    EXPECT_EQ(halves(), std::pair(0, 0)) << "without a light nothing is dark";
    addLight(KivLight::pointLight, {-9.0, 0.0, 1.0}, {});
    const auto [left, right] = halves();
    EXPECT_GT(right, left * 3 + 200);
    // A second light as bright from the other side leaves little; one that is dim leaves most.
    KivLight dim;
    dim.setStyle(KivLight::directionalLight);
    dim.setDirection({-1.0, 0.0, 0.0});
    dim.setDiffuse(0x202020);
    scene.getLight(0)->setDiffuse(0xFFFFFF);
    scene.addLight(dim);
    EXPECT_GT(halves().second, right / 2);
    scene.getLight(1)->setDiffuse(0xFFFFFF);
    EXPECT_LT(halves().second, right / 2);
}

TEST_F(SketchPicture, IsNotHatchedThroughASurfaceInFront) {
    addMesh(sphereSurface(20, 30), true);
    KivSurface wall;
    wall.points = {{-1.5, -1.5, 1.2}, {1.5, -1.5, 1.2}, {1.5, 1.5, 1.2}, {-1.5, 1.5, 1.2}};
    wall.triangles = {{0, 1, 2}, {0, 2, 3}};
    addMesh(wall);
    addLight(KivLight::directionalLight, {}, {0.3, 0.0, -1.0}); // the wall is lit
    open(300);
    look({0.2, 0.1, 6.0}, 2.0, false);
    const Picture picture = sketched({{"HatchTone", "60"}});
    for (int y = 60; y < 240; ++y) {
        for (int x = 60; x < 240; ++x) {
            ASSERT_EQ(picture[static_cast<std::size_t>(y) * 300 + x], paperColor) << x << ' ' << y;
        }
    }
    EXPECT_GT(marks(picture), 200);
}

TEST_F(SketchPicture, HatchingIsSpacedInPixelsOfTheFinishedPicture) {
    addMesh(sphereSurface(20, 30), true);
    addSunFromTheLeft();
    open(300);
    look({0.2, 0.1, 6.0}, 1.3, false);
    const int plain = marks(sketched({{"HatchSpacing", "14"}, {"Width", "3"}, {"CrossHatching", "no"}}));
    settings.setAntialias(1);
    const int doubled = marks(sketched({{"HatchSpacing", "7"}, {"Width", "1.5"}, {"CrossHatching", "no"}}));
    EXPECT_GT(plain, 1000);
    EXPECT_NEAR(doubled, plain, plain * 0.2);
}

TEST_F(SketchPicture, DrawsTheLinesAndPointsOfTheScene) {
    addMesh(cubeSurface(0.5));
    KivLine seen(Kiv3DPoint(-1.0, 1.0, 0.0), Kiv3DPoint(1.0, 1.0, 0.0));
    KivLine behind(Kiv3DPoint(-1.0, 0.0, -2.0), Kiv3DPoint(1.0, 0.0, -2.0));
    scene.addLine(seen);
    scene.addLine(behind);
    auto* polyline = new KivPolyline;
    polyline->addPoint(-1.0, -1.0, 0.0);
    polyline->addPoint(1.0, -1.0, 0.0);
    polyline->setColor(0x0000FF);
    scene.addPolyline(polyline);
    Kiv3DPoint point(0.8, 0.6, 0.0);
    Kiv3DPoint covered(0.0, 0.0, -1.0);
    scene.addPoint(point);
    scene.addPoint(covered);
    open(300);
    look({0.0, 0.0, 6.0}, 1.5, false);
    const Choices steady = {{"Wobble", "0"}, {"Width", "4"}, {"Medium", "ink"}};
    const Picture picture = sketched(steady);
    EXPECT_TRUE(markedNear(picture, place({-0.7, 1.0, 0.0}), 1));
    EXPECT_TRUE(markedNear(picture, place({-0.8, 0.0, 0.0}), 1)); // beside the cube
    EXPECT_FALSE(markedNear(picture, place({0.2, 0.0, 0.0}), 1)); // behind it
    EXPECT_TRUE(markedNear(picture, place({0.8, 0.6, 0.0}), 1));
    EXPECT_FALSE(markedNear(picture, place({0.05, 0.05, 0.0}), 3));
    const Rgb red = pixelAt({0.5, -1.0, 0.0});
    EXPECT_GT(red[0], 200);
    EXPECT_LT(red[1], 60);
    Choices without = steady;
    without.emplace_back("Lines", "0");
    EXPECT_FALSE(markedNear(sketched(without), place({-0.7, 1.0, 0.0}), 3));
}

TEST_F(SketchPicture, DrawsWhatIsItsOwnByTheRuleOfTheFlag) {
    // Three cubes side by side: without settings, naming the shader, naming another.
    for (int i = 0; i < 3; ++i) {
        KivSurface cube = cubeSurface(0.4);
        for (KivVec& p : cube.points) {
            p.x += i - 1.0;
        }
        KivMesh* mesh = addMesh(cube);
        if (i > 0) {
            mesh->addCombinableShader(i == 1 ? L"Sketch" : L"Other");
        }
    }
    EXPECT_TRUE(shaders.sketch().rendersMesh(scene.getMesh(0)));
    EXPECT_TRUE(shaders.sketch().rendersMesh(scene.getMesh(1)));
    EXPECT_FALSE(shaders.sketch().rendersMesh(scene.getMesh(2)));
    auto page = std::make_unique<KivTablePageSettings>(
        shaderSettings(shaders.sketch(), {{"Colour", "#00ff00"}, {"Medium", "ink"}, {"Width", "6"}, {"Wobble", "0"}}));
    scene.getMesh(1)->addPageSettings(page.release());
    open(300);
    look({0.0, 0.0, 6.0}, 1.5, false);
    Picture picture = sketched();
    EXPECT_TRUE(markedNear(picture, place({-1.0, 0.4, 0.4}), 3));
    EXPECT_FALSE(markedNear(picture, place({0.0, 0.4, 0.4}), 3));
    EXPECT_FALSE(markedNear(picture, place({1.0, 0.4, 0.4}), 3));
    picture = sketched({}, false);
    EXPECT_FALSE(markedNear(picture, place({-1.0, 0.4, 0.4}), 3));
    EXPECT_FALSE(markedNear(picture, place({1.0, 0.4, 0.4}), 3));
    const Rgb own = pixelAt({0.0, 0.4, 0.4});
    EXPECT_GT(own[1], 200) << "in its own colour";
    EXPECT_LT(own[0], 60);
}

TEST_F(SketchPicture, LeavesTheStateAndTheDepthAsTheyWere) {
    addMesh(sphereSurface(20, 30));
    addSunFromTheLeft();
    open(200);
    look({0.0, 0.0, 6.0}, 1.5, false);
    draw(shaders.cartoon());
    const auto depths = [this] {
        std::vector<float> values(40000);
        glReadPixels(0, 0, 200, 200, GL_DEPTH_COMPONENT, GL_FLOAT, values.data());
        return values;
    };
    const std::vector<float> before = depths();
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_NEVER, 0, 0xFF); // as a pass may leave it: strokes are drawn all the same
    choose(shaders.sketch(), {{"Colour", "#000000"}, {"Medium", "ink"}});
    draw(shaders.sketch());
    EXPECT_EQ(depths(), before);
    EXPECT_GT(marks(pixels()), 300);
    EXPECT_EQ(glIsEnabled(GL_BLEND), GL_FALSE);
    EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_FALSE);
    EXPECT_EQ(glIsEnabled(GL_STENCIL_TEST), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_TRUE);
    GLint unit = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
    EXPECT_EQ(unit, GL_TEXTURE0);
    glActiveTexture(GL_TEXTURE1);
    EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_FALSE);
    EXPECT_EQ(glIsEnabled(GL_TEXTURE_GEN_S), GL_FALSE);
    GLdouble matrix[16];
    glGetDoublev(GL_PROJECTION_MATRIX, matrix);
    EXPECT_NEAR(matrix[0], 1.0 / 1.5, 1e-6);
}

TEST_F(SketchPicture, StaysInFrontInAPreview) {
    // A preview draws the strokes first and the surfaces over them, over a channel of its own.
    addMesh(sphereSurface(20, 30));
    addLight(KivLight::directionalLight, {}, {0.0, 0.0, -1.0});
    KivShaderCommunication::setDefaultCommunication(nullptr);
    open(200);
    look({0.0, 0.0, 6.0}, 1.5, false);
    choose(shaders.sketch(), {{"Colour", "#000000"}, {"Medium", "ink"}, {"Width", "6"}});
    draw(shaders.sketch());
    draw(shaders.cartoon());
    int across = 0;
    for (int x = 20; x < 60; ++x) {
        const Rgb color = pixel(x, 100);
        across += color[0] < 40 && color[1] < 40 && color[2] < 40;
    }
    EXPECT_GE(across, 3);
}

TEST_F(SketchPicture, GivesPlainLinesToAVectorPage) {
    addMesh(cubeSurface());
    addSunFromTheLeft();
    open(200);
    look({3.0, 2.2, 4.0}, 2.2, false);
    settings.setVectorial(true);
    std::vector<double> lengths;
    for (const bool based : {true, false}) {
        channel.setHasNonCombinable(based);
        choose(shaders.sketch(), {});
        std::vector<GLfloat> feedback(100000);
        glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_3D_COLOR, feedback.data());
        glRenderMode(GL_FEEDBACK);
        draw(shaders.sketch());
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
            length += std::hypot(a[0] - a[7], a[1] - a[8]);
            EXPECT_EQ(a[2], 0.0F) << "before all surfaces";
            i += 15;
        }
        lengths.push_back(length);
    }
    // Nine edges of some sixty pixels are seen. What no base shader draws is not part of the page.
    EXPECT_GT(lengths[0], 450.0);
    EXPECT_EQ(lengths[0], lengths[1]);
}

TEST_F(SketchPicture, SurvivesAnEmptySceneAndStrayGeometry) {
    addSunFromTheLeft();
    open(64);
    look({0.0, 0.0, 6.0}, 1.5, true);
    for (const Rgb& color : sketched()) {
        ASSERT_EQ(color, paperColor);
    }
    KivSurface odd;
    odd.points = {{0, 0, 0}, {1e30, 0, 0}, {0, 1e-30, 0}, {0, 0, 7}, {0, 0, 6}};
    odd.triangles = {{0, 1, 2}, {0, 3, 4}, {1, 3, 4}, {2, 3, 4}, {0, 0, 0}};
    addMesh(odd);
    addMesh(KivSurface());
    const Picture picture = sketched({{"Hidden", "dashed"}});
    EXPECT_EQ(picture[130], paperColor) << "what lies far outside leaves the corner alone";
    // Extreme settings.
    addMesh(cubeSurface());
    sketched({{"Wobble", "30"},
              {"Overshoot", "100"},
              {"Strokes", "6"},
              {"HatchSpacing", "1"},
              {"HatchTone", "100"},
              {"Width", "50"},
              {"StrokeLength", "1"}});
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(SketchPicture, ACancelAtAnyPollStopsItCleanly) {
    addMesh(sphereSurface(40, 60));
    addMesh(cubeSurface());
    addSunFromTheLeft();
    open(200);
    look({3.0, 2.2, 4.0}, 1.2, true);
    // Results kept from the meshes would leave less to ask for.
    const auto forget = [this] {
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            kivKeepWithMesh(*scene.getMesh(i), nullptr);
        }
    };
    const Picture whole = sketched();
    PollCounter all;
    {
        forget();
        const ScopedProgress scoped(all);
        EXPECT_EQ(sketched(), whole);
    }
    ASSERT_GT(all.polls, 10);
    for (long poll = 1; poll <= all.polls; ++poll) {
        {
            forget();
            PollCounter counter(poll);
            const ScopedProgress scoped(counter);
            sketched();
            EXPECT_GE(counter.polls, poll);
        }
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        GLint depth = 0;
        glGetIntegerv(GL_ATTRIB_STACK_DEPTH, &depth);
        EXPECT_EQ(depth, 0);
    }
    EXPECT_EQ(sketched(), whole);
}
