// Drawings as data: what a render puts into a collector's drawing, and that it writes nothing meanwhile.
#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/vector/kivvectorpage.h"
#include "kivrender/vector/kivvectorprogress.h"
#include "render/renderfixture.h"

#include <gmock/gmock.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t baseColor = 0x4080C0;

class DrawingCollector : public KivRendererRender {
protected:
    DrawingCollector() {
        std::filesystem::create_directory(home.path() / "temporary");
        environment.set("TMPDIR", (home.path() / "temporary").string());
        loadShaders();
        shader(L"base").color = baseColor;
        setStyle(L"base", L"", {L"base"});
        settings.setVectorial(true);
    }
    ~DrawingCollector() override {
        KivVectorPage::setBufferSize(KivVectorPage::defaultBuffer);
    }

    // Once in each render, before the meshes.
    void drawAlso(const std::function<void()>& draw) {
        shader(L"base").onRender = [this, draw](KivShader&, KivBitmapManager*) {
            if (!drawnAlso) {
                drawnAlso = true;
                drawnAtPoll = progress.polls;
                draw();
            }
        };
    }
    bool render(tagSIZE size) {
        drawnAlso = false;
        return KivRendererRender::render(size);
    }
    bool renderSquare() {
        scene.empty();
        scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5).release());
        return render({80, 40});
    }

    ScopedEnvironment environment;
    KivVectorDrawing drawing;
    int drawnAtPoll = 0; // of the last render's questions for a cancel

private:
    bool drawnAlso = false;
};

double areaOf(const KivArea& area) {
    double twice = 0.0;
    for (const KivCurvePath& ring : area.rings) {
        KivPicturePoint from = ring.start;
        for (const KivCurvePiece& piece : ring.pieces) {
            twice += from.x * piece.end.y - from.y * piece.end.x;
            from = piece.end;
        }
    }
    return std::fabs(twice) / 2.0;
}

double sumOfAreas(const KivVectorDrawing& drawing) {
    double sum = 0.0;
    for (const KivArea& area : drawing.areas) {
        sum += areaOf(area);
    }
    return sum;
}

void drawStrip(const std::vector<Kiv3DPoint>& points) {
    KivDrawing::enableLighting(false, true);
    KivDrawing::setLineWidth(3.0F, true);
    KivDrawing::setColor(1.0F, 0.0F, 0.0F, 1.0F, true);
    KivDrawing::beginDrawing(true, points.size() > 1 ? KivDrawing::lineStrip : KivDrawing::points);
    for (const Kiv3DPoint& point : points) {
        KivDrawing::drawPoint(point, true);
    }
    KivDrawing::endDrawing(true);
}

TEST_F(DrawingCollector, ARenderFillsTheDrawingAndWritesNoFile) {
    settings.setSaveVectorFile(home.wide("drawing.svg").c_str());
    settings.setBackgroundColor(0x123456);
    KivDrawingCollector collector(drawing);
    collector.setAreas(KivDrawingCollector::Areas::triangles);
    collector.setTitle(L"Square");
    EXPECT_FALSE(collector.hasDrawing());
    ASSERT_TRUE(renderSquare());
    EXPECT_TRUE(collector.hasDrawing());
    EXPECT_EQ(drawing.title, L"Square");
    EXPECT_EQ(drawing.width, 80.0);
    EXPECT_EQ(drawing.height, 40.0);
    EXPECT_EQ(drawing.background, 0x123456U);
    EXPECT_DOUBLE_EQ(drawing.unitsPerPixel, 2.0 / 80.0);
    ASSERT_EQ(drawing.areas.size(), 2U);
    for (const KivArea& area : drawing.areas) {
        EXPECT_EQ(area.color, baseColor);
        EXPECT_EQ(area.opacity, 1.0);
        ASSERT_EQ(area.rings.size(), 1U);
        EXPECT_TRUE(area.rings[0].closed);
        EXPECT_EQ(area.rings[0].pieces.size(), 3U);
        EXPECT_NEAR(areaOf(area), 400.0, 0.1);
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() / "drawing.svg"));
    EXPECT_EQ(home.count("temporary"), 0U);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(DrawingCollector, AreasThatDoNotShareTheirBordersWantRims) {
    KivDrawingCollector collector(drawing);
    for (const auto& [areas, rim] :
         {std::pair(KivDrawingCollector::Areas::triangles, 0.8), std::pair(KivDrawingCollector::Areas::faces, 0.8),
          std::pair(KivDrawingCollector::Areas::regions, 0.0)}) {
        collector.setAreas(areas);
        ASSERT_TRUE(renderSquare());
        EXPECT_EQ(drawing.areaRim, rim);
    }
}

TEST_F(DrawingCollector, RegionsThatAreTooMuchWorkStayTriangles) {
    drawing.effort = 1e-9;
    KivDrawingCollector collector(drawing);
    for (int i = 0; i < 2; ++i) {
        host.messages.clear();
        ASSERT_TRUE(renderSquare());
        ASSERT_TRUE(collector.hasDrawing());
        ASSERT_EQ(drawing.areas.size(), 2U);
        EXPECT_NEAR(sumOfAreas(drawing), 800.0, 0.1);
        EXPECT_EQ(drawing.areaRim, 0.8);
        ASSERT_EQ(drawing.messages.size(), 1U);
        EXPECT_EQ(host.messages, drawing.messages);
        EXPECT_FALSE(KivVectorPage::wasOrderExact()) << "that would be too much as well";
    }
    drawing.effort = 1.0;
    ASSERT_TRUE(renderSquare());
    EXPECT_THAT(drawing.messages, IsEmpty());
    EXPECT_TRUE(KivVectorPage::wasOrderExact());
}

TEST_F(DrawingCollector, HolesThatAreTooMuchWorkAreToldOnce) {
    KivDrawingCollector collector(drawing);
    const auto texture = std::make_shared<KivTexture>();
    texture->width = texture->height = 1;
    texture->pixels = {0, 0, 0, 0};
    texture->cutOut = 0.5;
    const auto paint = std::make_shared<KivMeshPaint>();
    paint->texture = texture;
    const auto messagesOfTwo = [&](float repeats) {
        host.messages.clear();
        scene.empty();
        paint->coordinates = {{0, 0, 0}, {repeats, 0, 0}, {repeats, 1, 0}, {0, 1, 0}};
        for (int i = 0; i < 2; ++i) {
            auto mesh = rectangle(-0.5, -0.5, 0.5, 0.5);
            EXPECT_EQ(mesh->getNumVertexs(), paint->coordinates.size());
            kivSetMeshPaint(*mesh, paint);
            scene.addMesh(mesh.release());
        }
        EXPECT_TRUE(render({80, 40}));
        EXPECT_EQ(host.messages, drawing.messages);
        return drawing.messages.size();
    };
    EXPECT_EQ(messagesOfTwo(1.0F), 0U);
    EXPECT_THAT(drawing.areas, IsEmpty()) << "it is all hole";
    EXPECT_EQ(messagesOfTwo(1e7F), 1U);
    EXPECT_FALSE(drawing.areas.empty());
}

TEST_F(DrawingCollector, LinesThatAreCutShortAreTold) {
    KivDrawingCollector collector(drawing);
    drawAlso([] { kivCollectedDrawing()->linesAreCutShort = true; });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.messages.size(), 1U);
    EXPECT_EQ(host.messages, drawing.messages);
}

TEST_F(DrawingCollector, WhatTheHostWantsOutlivesRenders) {
    drawing.wantsHidden = true;
    KivDrawingCollector collector(drawing);
    ASSERT_TRUE(renderSquare());
    EXPECT_TRUE(drawing.wantsHidden);
    EXPECT_FALSE(drawing.areas.empty());
}

TEST_F(DrawingCollector, NoEndingOfAFileNameIsAskedFor) {
    settings.setSaveVectorFile(home.wide("drawing.txt").c_str());
    KivDrawingCollector collector(drawing);
    ASSERT_TRUE(renderSquare());
    EXPECT_TRUE(collector.hasDrawing());
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(DrawingCollector, APerspectiveViewHasNoUnits) {
    camera.setProjection(KivCamera::perspective);
    KivDrawingCollector collector(drawing);
    ASSERT_TRUE(renderSquare());
    EXPECT_EQ(drawing.unitsPerPixel, 0.0);
}

TEST_F(DrawingCollector, OnlyRendersWithVectorialSettingsFillIt) {
    KivDrawingCollector collector(drawing);
    settings.setVectorial(false);
    ASSERT_TRUE(renderSquare());
    EXPECT_FALSE(collector.hasDrawing());
    EXPECT_THAT(drawing.areas, IsEmpty());
}

TEST_F(DrawingCollector, ShadersSeeTheDrawingWhileItIsMade) {
    KivVectorDrawing* seen = nullptr;
    drawAlso([&] {
        seen = kivCollectedDrawing();
        seen->strokes.emplace_back();
    });
    KivDrawingCollector collector(drawing);
    ASSERT_TRUE(renderSquare());
    EXPECT_EQ(seen, &drawing);
    EXPECT_EQ(drawing.strokes.size(), 1U);
    EXPECT_EQ(kivCollectedDrawing(), nullptr);
}

TEST_F(DrawingCollector, ItsEndLeavesRendersAsTheyWere) {
    settings.setSaveVectorFile(home.wide("drawing.svg").c_str());
    ASSERT_TRUE(renderSquare());
    const std::string file = home.read("drawing.svg");
    std::filesystem::remove(home.path() / "drawing.svg");
    {
        KivVectorDrawing other;
        const KivDrawingCollector outer(drawing);
        {
            const KivDrawingCollector inner(other);
            ASSERT_TRUE(renderSquare());
            EXPECT_TRUE(inner.hasDrawing());
            EXPECT_FALSE(outer.hasDrawing());
        }
        ASSERT_TRUE(renderSquare());
        EXPECT_TRUE(outer.hasDrawing());
    }
    EXPECT_EQ(KivDrawingCollector::current(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(home.path() / "drawing.svg"));
    ASSERT_TRUE(renderSquare());
    EXPECT_EQ(home.read("drawing.svg"), file);
}

TEST_F(DrawingCollector, ObjectsAreTheMeshesOfTheSceneWithTheirNames) {
    KivDrawingCollector collector(drawing);
    collector.setObjectNames({L"first", L"broken", L"third"});
    scene.addMesh(rectangle(-0.9, -0.5, -0.5, 0.5).release());
    auto broken = rectangle(0.0, 0.0, 0.1, 0.1);
    broken->addTriangle(0U, 1U, 77U);
    scene.addMesh(broken.release());
    scene.addMesh(rectangle(0.5, -0.5, 0.9, 0.5).release());
    scene.addMesh(rectangle(-0.1, -0.5, 0.1, 0.5).release());
    ASSERT_TRUE(render({80, 40}));
    std::vector<std::wstring> names;
    for (const KivDrawnObject& object : drawing.objects) {
        names.push_back(object.name);
    }
    EXPECT_THAT(names, ElementsAre(L"", L"first", L"third", L"")) << "a broken mesh is left out of a render";
}

TEST_F(DrawingCollector, ShadersTellWhichObjectTheyDraw) {
    const auto drawObject = [](const KivMesh* mesh, float red) {
        KivDrawing::enableLighting(false, true);
        KivDrawing::setColor(red, 0.0F, 0.0F, 1.0F, true);
        KivDrawing::beginObject(mesh, true);
        KivDrawing::beginDrawing(true, KivDrawing::triangles);
        for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
            Kiv3DPoint points[3];
            mesh->getTriangle(points, t);
            KivDrawing::drawTriangle(points, true);
        }
        KivDrawing::endDrawing(true);
    };
    shader(L"base").draws = false;
    for (const auto areas : {KivDrawingCollector::Areas::regions, KivDrawingCollector::Areas::triangles}) {
        KivDrawingCollector collector(drawing);
        collector.setAreas(areas);
        drawAlso([&] {
            drawObject(scene.getMesh(0), 1.0F);
            drawObject(scene.getMesh(1), 1.0F);
            KivDrawing::beginObject(nullptr, true);
            drawStrip({{-0.9, 0.8, 0.5}, {0.9, 0.8, 0.5}});
            KivDrawing::beginObject(scene.getMesh(1), true);
            drawStrip({{-0.9, -0.8, 0.5}, {0.9, -0.8, 0.5}});
            const Kiv3DObject stranger;
            KivDrawing::beginObject(&stranger, true);
            drawStrip({{-0.9, 0.9, 0.5}, {0.9, 0.9, 0.5}});
        });
        scene.empty();
        scene.addMesh(rectangle(-0.5, -0.5, 0.0, 0.5).release());
        scene.addMesh(rectangle(0.0, -0.5, 0.5, 0.5).release());
        ASSERT_TRUE(render({80, 40}));
        double sums[3] = {};
        for (const KivArea& area : drawing.areas) {
            ASSERT_LT(area.object, 3U);
            sums[area.object] += areaOf(area);
        }
        EXPECT_EQ(sums[0], 0.0);
        EXPECT_NEAR(sums[1], 400.0, 0.5);
        EXPECT_NEAR(sums[2], 400.0, 0.5);
        ASSERT_EQ(drawing.strokes.size(), 3U);
        EXPECT_EQ(drawing.strokes[0].object, 0U);
        EXPECT_EQ(drawing.strokes[1].object, 2U);
        EXPECT_EQ(drawing.strokes[2].object, 0U);
    }
}

TEST_F(DrawingCollector, WithoutACollectorNoObjectIsTold) {
    settings.setSaveVectorFile(home.wide("drawing.svg").c_str());
    ASSERT_TRUE(renderSquare());
    const std::string file = home.read("drawing.svg");
    drawAlso([&] { KivDrawing::beginObject(scene.getMesh(0), true); });
    ASSERT_TRUE(renderSquare());
    EXPECT_EQ(home.read("drawing.svg"), file);
}

TEST_F(DrawingCollector, WhatIsHiddenIsNoArea) {
    KivDrawingCollector collector(drawing);
    collector.setAreas(KivDrawingCollector::Areas::triangles);
    scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.5, 0.5).release());
    scene.addMesh(rectangle(-0.4, -0.4, 0.4, 0.4, 0.0).release());
    ASSERT_TRUE(render({80, 40}));
    EXPECT_EQ(drawing.areas.size(), 2U);
    EXPECT_NEAR(sumOfAreas(drawing), 800.0, 0.1);
}

TEST_F(DrawingCollector, FacesJoinTrianglesInOnePlane) {
    KivDrawingCollector collector(drawing);
    auto strip = std::make_unique<KivMesh>();
    for (int i = 0; i <= 4; ++i) {
        strip->addVertex({-0.8 + 0.4 * i, -0.5, 0.0}, {0.0, 0.0, 1.0});
        strip->addVertex({-0.8 + 0.4 * i, 0.5, 0.0}, {0.0, 0.0, 1.0});
    }
    for (unsigned int i = 0; i < 8; i += 2) {
        strip->addTriangle(i, i + 2, i + 3);
        strip->addTriangle(i, i + 3, i + 1);
    }
    const std::unique_ptr<KivMesh> second(new KivMesh(*strip));
    scene.addMesh(strip.release());
    collector.setAreas(KivDrawingCollector::Areas::faces);
    ASSERT_TRUE(render({80, 40}));
    EXPECT_EQ(drawing.areas.size(), 2U);
    EXPECT_NEAR(sumOfAreas(drawing), 64.0 * 20.0, 0.1);
    collector.setAreas(KivDrawingCollector::Areas::triangles);
    scene.empty();
    scene.addMesh(new KivMesh(*second));
    ASSERT_TRUE(render({80, 40}));
    EXPECT_EQ(drawing.areas.size(), 8U);
}

TEST_F(DrawingCollector, FacesThatAreJoinedKnowTheirObjects) {
    KivDrawingCollector collector(drawing);
    collector.setAreas(KivDrawingCollector::Areas::faces);
    shader(L"base").draws = false;
    drawAlso([this] {
        KivDrawing::enableLighting(false, true);
        KivDrawing::setColor(1.0F, 0.0F, 0.0F, 1.0F, true);
        for (unsigned int m = 0; m < 2; ++m) {
            const KivMesh* const mesh = scene.getMesh(m);
            KivDrawing::beginObject(mesh, true);
            KivDrawing::beginDrawing(true, KivDrawing::triangles);
            for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
                Kiv3DPoint points[3];
                mesh->getTriangle(points, t);
                KivDrawing::drawTriangle(points, true);
            }
            KivDrawing::endDrawing(true);
        }
    });
    scene.empty();
    scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.0, 0.0).release());
    scene.addMesh(rectangle(-0.25, -0.5, 0.25, 0.5, 0.5).release());
    ASSERT_TRUE(render({80, 40}));
    double sums[3] = {};
    for (const KivArea& area : drawing.areas) {
        ASSERT_LT(area.object, 3U);
        sums[area.object] += areaOf(area);
    }
    EXPECT_EQ(sums[0], 0.0);
    EXPECT_NEAR(sums[2], 400.0, 0.5) << "20 by 20, before the other";
    EXPECT_NEAR(sums[1], 400.0, 0.5) << "40 by 10";
}

TEST_F(DrawingCollector, TellsWhetherTheOrderOfAreasIsExact) {
    KivDrawingCollector collector(drawing);
    const auto isExact = [&](KivDrawingCollector::Areas areas) {
        collector.setAreas(areas);
        scene.empty();
        scene.addMesh(rectangle(-0.5, -0.5, 0.5, 0.0, 0.0).release());
        scene.addMesh(rectangle(-0.25, -0.5, 0.25, 0.5, 0.5).release());
        EXPECT_TRUE(render({80, 40}));
        return KivVectorPage::wasOrderExact();
    };
    EXPECT_TRUE(isExact(KivDrawingCollector::Areas::triangles));
    EXPECT_TRUE(isExact(KivDrawingCollector::Areas::faces));
    KivVectorPage::setExactOrder(false);
    EXPECT_TRUE(isExact(KivDrawingCollector::Areas::regions)) << "they lie side by side";
    KivVectorPage::setExactOrder(true);
}

TEST_F(DrawingCollector, GradientsGetTheirMeanAndBlendedAreasTheirOpacity) {
    KivDrawingCollector collector(drawing);
    collector.setAreas(KivDrawingCollector::Areas::triangles);
    drawAlso([] {
        KivDrawing::enableLighting(false, true);
        KivDrawing::enableTransparency(true, true);
        KivDrawing::beginDrawing(true, KivDrawing::triangles);
        const Kiv3DPoint corners[3] = {{-0.5, -0.5, 0.0}, {0.5, -0.5, 0.0}, {0.0, 0.5, 0.0}};
        const float reds[3] = {0.0F, 0.4F, 0.8F};
        for (int i = 0; i < 3; ++i) {
            KivDrawing::setColor(reds[i], 0.2F, 1.0F, 0.6F, true);
            KivDrawing::drawPoint(corners[i], true);
        }
        KivDrawing::endDrawing(true);
        KivDrawing::enableTransparency(false, true);
    });
    ASSERT_TRUE(render({80, 40}));
    ASSERT_EQ(drawing.areas.size(), 1U);
    EXPECT_EQ(drawing.areas[0].color, 0xFF3366U);
    EXPECT_NEAR(drawing.areas[0].opacity, 0.6, 0.003);
}

// The square reaches from 20 to 60 pixels.
// Transparent areas lie over opaque ones and are cut by those before them.
TEST_F(DrawingCollector, BlendedAreasAreRegionsAboveTheOthers) {
    KivDrawingCollector collector(drawing);
    drawAlso([] {
        glDisable(GL_POLYGON_OFFSET_FILL); // which moves a slope in a page as in a picture
        KivDrawing::enableLighting(false, true);
        KivDrawing::enableTransparency(true, true);
        KivDrawing::setColor(0.0F, 0.0F, 1.0F, 0.5F, true);
        KivDrawing::beginDrawing(true, KivDrawing::triangles);
        const Kiv3DPoint corners[4] = {{-0.8, -0.2, -0.5}, {0.8, -0.2, 0.5}, {0.8, 0.2, 0.5}, {-0.8, 0.2, -0.5}};
        const Kiv3DPoint upper[3] = {corners[0], corners[2], corners[3]};
        KivDrawing::drawTriangle(corners, true);
        KivDrawing::drawTriangle(upper, true);
        KivDrawing::endDrawing(true);
        KivDrawing::enableTransparency(false, true);
    });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.areas.size(), 3U);
    EXPECT_EQ(drawing.areas[0].opacity, 1.0);
    EXPECT_NEAR(areaOf(drawing.areas[0]), 800.0, 0.1) << "an opaque area is whole behind what is seen through";
    double blended = 0.0;
    for (const std::size_t i : {1U, 2U}) {
        EXPECT_NEAR(drawing.areas[i].opacity, 0.5, 0.003);
        EXPECT_EQ(drawing.areas[i].color, 0xFF0000U);
        blended += areaOf(drawing.areas[i]);
    }
    // All of its 64 by 8 pixels but for the 20 on the left that lie behind the square.
    EXPECT_NEAR(blended, 8.0 * 44.0, 0.5);
}

// Through glass its far side is seen, too.
TEST_F(DrawingCollector, TheFarAndTheNearSideOfWhatIsSeenThroughAreTwoAreas) {
    KivDrawingCollector collector(drawing);
    drawAlso([] {
        KivDrawing::enableLighting(false, true);
        KivDrawing::enableTransparency(true, true);
        KivDrawing::setColor(0.0F, 0.0F, 1.0F, 0.5F, true);
        KivDrawing::beginDrawing(true, KivDrawing::triangles);
        const Kiv3DPoint near[3] = {{-0.4, -0.4, 0.5}, {0.4, -0.4, 0.5}, {0.0, 0.4, 0.5}};
        const Kiv3DPoint far[3] = {{-0.4, -0.4, 0.2}, {0.0, 0.4, 0.2}, {0.4, -0.4, 0.2}};
        KivDrawing::drawTriangle(near, true);
        KivDrawing::drawTriangle(far, true);
        KivDrawing::endDrawing(true);
        KivDrawing::enableTransparency(false, true);
    });
    ASSERT_TRUE(render({80, 40}));
    ASSERT_EQ(drawing.areas.size(), 2U);
    EXPECT_NEAR(areaOf(drawing.areas[0]), 256.0, 0.5);
    EXPECT_NEAR(areaOf(drawing.areas[1]), 256.0, 0.5);
}

TEST_F(DrawingCollector, LinesEndWhereAFaceBeginsToHideThem) {
    KivDrawingCollector collector(drawing);
    drawAlso([] { drawStrip({{-0.8, 0.0, -0.5}, {0.1, 0.0, -0.5}, {0.8, 0.0, -0.5}}); });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.strokes.size(), 2U);
    const KivStroke& left = drawing.strokes[0];
    EXPECT_EQ(left.kind, KivStrokeKind::own);
    EXPECT_FALSE(left.hidden);
    EXPECT_EQ(left.color, 0x0000FFU);
    EXPECT_EQ(left.width, 3.0);
    ASSERT_EQ(left.path.pieces.size(), 1U);
    EXPECT_NEAR(left.path.start.x, 8.0, 1e-3);
    EXPECT_NEAR(left.path.pieces[0].end.x, 20.0, 1e-3);
    const KivStroke& right = drawing.strokes[1];
    EXPECT_NEAR(right.path.start.x, 60.0, 1e-3);
    EXPECT_NEAR(right.path.pieces[0].end.x, 72.0, 1e-3);
}

TEST_F(DrawingCollector, LinesBeforeAndOnAFaceAreWhole) {
    KivDrawingCollector collector(drawing);
    drawAlso([] {
        drawStrip({{-0.8, 0.1, 0.5}, {0.1, 0.1, 0.5}, {0.8, 0.1, 0.5}});
        drawStrip({{-0.8, -0.1, 0.0}, {0.8, -0.1, 0.0}});
    });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.strokes.size(), 2U);
    for (const KivStroke& stroke : drawing.strokes) {
        ASSERT_EQ(stroke.path.pieces.size(), 1U) << "straight lines in a row are one";
        EXPECT_NEAR(stroke.path.start.x, 8.0, 1e-3);
        EXPECT_NEAR(stroke.path.pieces[0].end.x, 72.0, 1e-3);
    }
}

TEST_F(DrawingCollector, ALineThatComesBackToItsStartIsClosed) {
    KivDrawingCollector collector(drawing);
    const std::vector<Kiv3DPoint> ring = {
        {-0.2, -0.2, 0.5}, {0.2, -0.2, 0.5}, {0.2, 0.2, 0.5}, {-0.2, 0.2, 0.5}, {-0.2, -0.2, 0.5}};
    drawAlso([&] { drawStrip(ring); });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.strokes.size(), 1U);
    EXPECT_TRUE(drawing.strokes[0].path.closed);
    EXPECT_EQ(drawing.strokes[0].path.pieces.size(), 4U);

    // Half of it behind the square: one line from edge to edge, whichever point it begins at.
    std::vector<Kiv3DPoint> behind;
    for (const Kiv3DPoint& p : ring) {
        behind.emplace_back(p.x + 0.5, p.y, -0.5);
    }
    drawAlso([&] { drawStrip({behind[1], behind[2], behind[3], behind[0], behind[1]}); });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.strokes.size(), 1U);
    EXPECT_FALSE(drawing.strokes[0].path.closed);
    EXPECT_EQ(drawing.strokes[0].path.pieces.size(), 3U);
}

TEST_F(DrawingCollector, PointsAreDotsUnlessTheyAreHidden) {
    KivDrawingCollector collector(drawing);
    drawAlso([] {
        drawStrip({{0.0, 0.0, -0.5}});
        drawStrip({{0.0, 0.0, 0.5}});
        drawStrip({{0.8, 0.0, -0.5}});
    });
    ASSERT_TRUE(renderSquare());
    ASSERT_EQ(drawing.strokes.size(), 2U);
    EXPECT_THAT(drawing.strokes[0].path.pieces, IsEmpty());
    EXPECT_NEAR(drawing.strokes[0].path.start.x, 40.0, 1e-3);
    EXPECT_NEAR(drawing.strokes[1].path.start.x, 72.0, 1e-3);
    EXPECT_EQ(drawing.strokes[1].width, 1.0);
}

TEST_F(DrawingCollector, NumbersThatAreNoneAreLeftOut) {
    KivDrawingCollector collector(drawing);
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    drawAlso([] {
        drawStrip({{-0.8, 0.0, 0.5}, {nan, 0.0, 0.5}, {0.8, 0.0, 0.5}});
        drawStrip({{nan, nan, nan}});
        const Kiv3DPoint corners[3] = {{-0.5, -0.5, nan}, {nan, -0.5, 0.0}, {0.0, 0.5, 0.0}};
        KivDrawing::beginDrawing(true, KivDrawing::triangles);
        KivDrawing::drawTriangle(corners, true);
        KivDrawing::endDrawing(true);
    });
    ASSERT_TRUE(renderSquare());
    for (const KivStroke& stroke : drawing.strokes) {
        EXPECT_TRUE(std::isfinite(stroke.path.start.x) && std::isfinite(stroke.path.start.y));
    }
    for (const KivArea& area : drawing.areas) {
        EXPECT_TRUE(std::isfinite(areaOf(area)));
    }
}

TEST_F(DrawingCollector, ADrawingTooLargeForItsBufferIsToldAndEmpty) {
    KivDrawingCollector collector(drawing);
    ASSERT_TRUE(renderSquare());
    KivVectorPage::setBufferSize(KivVectorPage::smallestBuffer);
    scene.empty();
    fillScene(scene, 200);
    EXPECT_TRUE(render({60, 40}));
    EXPECT_THAT(host.messages, ElementsAre(kivText(129)));
    EXPECT_TRUE(KivVectorPage::hasOverflowed());
    EXPECT_FALSE(collector.hasDrawing());
    EXPECT_THAT(drawing.areas, IsEmpty());
    KivVectorPage::setBufferSize(KivVectorPage::defaultBuffer);
    ASSERT_TRUE(renderSquare());
    EXPECT_FALSE(KivVectorPage::hasOverflowed());
    EXPECT_TRUE(collector.hasDrawing());
}

class DrawingCollectorAreas : public DrawingCollector, public testing::WithParamInterface<KivDrawingCollector::Areas> {
protected:
    // Areas before one another, and a line.
    bool renderOnce(int cancelAtPoll = 0) {
        drawAlso([] { drawStrip({{0.1, -1.0, -0.5}, {0.1, 0.1, -0.5}, {0.1, 1.0, -0.5}}); });
        progress.polls = 0;
        progress.cancelAtPoll = cancelAtPoll;
        progress.calls.clear();
        scene.empty();
        fillScene(scene, 3, 1, 1);
        scene.addMesh(rectangle(-0.9, -0.3, 0.9, 0.3, 0.5).release());
        return render({60, 40});
    }
};

TEST_P(DrawingCollectorAreas, ACancelAtAnyPollLeavesNothing) {
    KivDrawingCollector collector(drawing);
    collector.setAreas(GetParam());
    ASSERT_TRUE(renderOnce());
    const int polls = progress.polls;
    const std::size_t areas = drawing.areas.size();
    ASSERT_GT(areas, 0U);
    ASSERT_GT(drawing.strokes.size(), 0U);
    // A render takes long, and what comes before the shaders is the same without a collector.
    const int step = std::max(1, (polls - drawnAtPoll) / 6);
    for (int poll = polls; poll >= drawnAtPoll; poll -= step) {
        SCOPED_TRACE("cancel at poll " + std::to_string(poll) + " of " + std::to_string(polls));
        EXPECT_FALSE(renderOnce(poll));
        EXPECT_FALSE(collector.hasDrawing());
        EXPECT_THAT(drawing.areas, IsEmpty());
        EXPECT_THAT(drawing.strokes, IsEmpty());
        EXPECT_EQ(kivCollectedDrawing(), nullptr);
    }
    ASSERT_TRUE(renderOnce());
    EXPECT_EQ(progress.polls, polls);
    EXPECT_EQ(drawing.areas.size(), areas);
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_P(DrawingCollectorAreas, TheBarEndsEachStepThatItBegins) {
    KivDrawingCollector collector(drawing);
    collector.setAreas(GetParam());
    ASSERT_TRUE(renderOnce());
    const auto count = [this](const std::string& call) {
        return std::count(progress.calls.begin(), progress.calls.end(), call);
    };
    EXPECT_EQ(count("beginStep"), count("endStep"));
    const bool inStages = GetParam() == KivDrawingCollector::Areas::faces;
    EXPECT_EQ(count("addDeferredStep"), inStages ? 4 : 1);
    EXPECT_THAT(progress.calls,
                Contains("setText " + kivToUtf8(kivText(KivVectorProgress::textNumber)) + (inStages ? " (1) " : "")));
}

INSTANTIATE_TEST_SUITE_P(All, DrawingCollectorAreas,
                         testing::Values(KivDrawingCollector::Areas::regions, KivDrawingCollector::Areas::faces,
                                         KivDrawingCollector::Areas::triangles));

} // namespace
