#include "kivrender/lines/skins/kivcutmesh.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <utility>

namespace {

// 1 unit of the square is 400 pixels, more than any texture here has.
KivShapeView nearView() {
    KivShapeView view;
    view.pixelsPerUnit = 400.0;
    return view;
}

std::shared_ptr<KivTexture> textureOf(int size, const std::function<int(int x, int y)>& alphaAt) {
    auto texture = std::make_shared<KivTexture>();
    texture->width = size;
    texture->height = size;
    texture->cutOut = 0.5;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            texture->pixels.insert(texture->pixels.end(), {200, 90, 40, static_cast<std::uint8_t>(alphaAt(x, y))});
        }
    }
    return texture;
}

// The unit square with the texture on it so many times, as two triangles.
std::unique_ptr<KivMesh> squareWith(std::shared_ptr<const KivTexture> texture, float times = 1.0F) {
    auto mesh = std::make_unique<KivMesh>();
    auto paint = std::make_shared<KivMeshPaint>();
    for (const auto& [x, y] : {std::pair(0.0, 0.0), {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}) {
        mesh->addVertex({x, y, 0.0});
        paint->coordinates.push_back({static_cast<float>(x) * times, static_cast<float>(1.0 - y) * times, 0.0F});
    }
    mesh->addTriangle(0, 1, 2);
    mesh->addTriangle(0, 2, 3);
    paint->texture = std::move(texture);
    kivSetMeshPaint(*mesh, paint);
    return mesh;
}

// Of triangles that face the viewer; others count less than nothing.
double areaOf(const KivMesh& mesh) {
    double twice = 0.0;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        mesh.getTriangle(p, t);
        twice += (p[1].x - p[0].x) * (p[2].y - p[0].y) - (p[1].y - p[0].y) * (p[2].x - p[0].x);
    }
    return 0.5 * twice;
}

// Sides of one triangle alone that lie on the diagonal of the square, where nothing ends.
int openSidesOnDiagonal(const KivMesh& mesh) {
    std::map<std::pair<unsigned int, unsigned int>, int> sides;
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        unsigned int corner[3];
        mesh.getTriangle(corner, t);
        for (int k = 0; k < 3; ++k) {
            ++sides[std::minmax(corner[k], corner[(k + 1) % 3])];
        }
    }
    const auto isOnDiagonal = [&mesh](unsigned int v) {
        const Kiv3DPoint p = mesh.getVertex(v);
        return std::fabs(p.x - p.y) < 1e-6;
    };
    int open = 0;
    for (const auto& [side, count] : sides) {
        open += count != 2 && isOnDiagonal(side.first) && isOnDiagonal(side.second) ? 1 : 0;
    }
    return open;
}

int roundHole(int x, int y) {
    return std::hypot(x - 15.5, y - 15.5) < 10.0 ? 0 : 255;
}

} // namespace

TEST(KivCutMesh, AHoleHasTheAreaThatTheAlphaHas) {
    const auto mesh = squareWith(textureOf(32, roundHole));
    const auto cut = kivCutMesh(*mesh, nearView());
    ASSERT_NE(cut, nullptr);
    const double hole = 3.14159265 * 100.0 / 1024.0;
    EXPECT_NEAR(areaOf(*cut), 1.0 - hole, 0.01);
    EXPECT_EQ(openSidesOnDiagonal(*cut), 0);
    const auto paint = kivMeshPaint(*cut);
    ASSERT_NE(paint, nullptr);
    ASSERT_EQ(paint->coordinates.size(), cut->getNumVertexs());
    for (unsigned int v = 0; v < cut->getNumVertexs(); ++v) {
        EXPECT_NEAR(paint->coordinates[v][0], cut->getVertex(v).x, 1e-6);
        EXPECT_NEAR(paint->coordinates[v][1], 1.0 - cut->getVertex(v).y, 1e-6);
    }
}

TEST(KivCutMesh, StepsOfAnAlphaThatIsAllOrNothingAreEvenedOut) {
    const auto cut = kivCutMesh(*squareWith(textureOf(32, roundHole)), nearView());
    ASSERT_NE(cut, nullptr);
    for (unsigned int v = 0; v < cut->getNumVertexs(); ++v) {
        const Kiv3DPoint p = cut->getVertex(v);
        const double away = 32.0 * std::hypot(p.x - 0.5, p.y - 0.5);
        EXPECT_TRUE(away > 14.0 || std::fabs(away - 10.0) < 0.2) << away;
    }
}

TEST(KivCutMesh, ATextureGoesOnBeyondItsBorder) {
    const auto cut = kivCutMesh(*squareWith(textureOf(32, roundHole), 3.0F), nearView());
    ASSERT_NE(cut, nullptr);
    EXPECT_NEAR(areaOf(*cut), 1.0 - 3.14159265 * 100.0 / 1024.0, 0.01);
    EXPECT_EQ(openSidesOnDiagonal(*cut), 0);
}

TEST(KivCutMesh, AMirroredTextureFacesTheSameWay) {
    auto mesh = squareWith(textureOf(32, roundHole));
    auto paint = std::make_shared<KivMeshPaint>(*kivMeshPaint(*mesh));
    for (auto& place : paint->coordinates) {
        place[0] = 1.0F - place[0];
    }
    kivSetMeshPaint(*mesh, paint);
    const auto cut = kivCutMesh(*mesh, nearView());
    ASSERT_NE(cut, nullptr);
    EXPECT_NEAR(areaOf(*cut), 1.0 - 3.14159265 * 100.0 / 1024.0, 0.01);
}

// Every pixel by chance: corners at which four pixels meet, specks, what touches the diagonal.
TEST(KivCutMesh, TrianglesOfAnyPatternShareTheirSides) {
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        const auto texture = textureOf(16, [&](int, int) { return static_cast<int>(random() % 256U); });
        const auto cut = kivCutMesh(*squareWith(texture), nearView());
        ASSERT_NE(cut, nullptr);
        EXPECT_EQ(openSidesOnDiagonal(*cut), 0) << round;
        // What is there of the alpha between the middles of pixels, sampled.
        double there = 0.0;
        const int samples = 160;
        for (int i = 0; i < samples * samples; ++i) {
            const double x = 16.0 * (i % samples + 0.5) / samples - 0.5;
            const double y = 16.0 * (static_cast<double>(i / samples) + 0.5) / samples - 0.5;
            const auto alphaAt = [&](int column, int row) {
                return texture->pixels[static_cast<std::size_t>(4 * (((row + 16) % 16) * 16 + (column + 16) % 16) + 3)];
            };
            const int column = static_cast<int>(std::floor(x));
            const int row = static_cast<int>(std::floor(y));
            const double u = x - column;
            const double v = y - row;
            const double alpha = (1 - v) * ((1 - u) * alphaAt(column, row) + u * alphaAt(column + 1, row)) +
                                 v * ((1 - u) * alphaAt(column, row + 1) + u * alphaAt(column + 1, row + 1));
            there += alpha >= 127.5 ? 1.0 : 0.0;
        }
        EXPECT_NEAR(areaOf(*cut), there / (samples * samples), 0.04) << round;
    }
}

TEST(KivCutMesh, NothingIsLeftWhereNothingIs) {
    const auto cut = kivCutMesh(*squareWith(textureOf(8, [](int, int) { return 0; })), nearView());
    ASSERT_NE(cut, nullptr);
    EXPECT_EQ(cut->getNumTriangles(), 0U);
}

TEST(KivCutMesh, WhatCanNotBeCutStaysWhole) {
    EXPECT_EQ(kivCutMesh(*squareWith(textureOf(8, [](int, int) { return 255; })), nearView()), nullptr);
    auto meaningless = textureOf(32, roundHole);
    meaningless->cutOut = 0.0;
    EXPECT_EQ(kivCutMesh(*squareWith(meaningless), nearView()), nullptr);
    const auto holes = textureOf(32, roundHole);
    EXPECT_EQ(kivCutMesh(*squareWith(holes, 1e7F), nearView()), nullptr);
    EXPECT_EQ(kivCutMesh(*squareWith(holes, std::numeric_limits<float>::quiet_NaN()), nearView()), nullptr);
    EXPECT_EQ(kivCutMesh(KivMesh(), nearView()), nullptr);
    auto small = textureOf(32, roundHole);
    small->pixels.resize(8);
    EXPECT_EQ(kivCutMesh(*squareWith(small), nearView()), nullptr);
}

TEST(KivCutMesh, TooMuchWorkIsTold) {
    const auto squares = squareWith(textureOf(32, roundHole), 20.0F);
    const auto isTooMuch = [](const KivMesh& mesh, double effort) {
        bool told = false;
        const auto cut = kivCutMesh(mesh, nearView(), effort, &told);
        EXPECT_NE(told, cut != nullptr) << effort;
        return told;
    };
    EXPECT_FALSE(isTooMuch(*squares, 1.0));
    EXPECT_TRUE(isTooMuch(*squareWith(textureOf(32, roundHole), 1e7F), 1.0)) << "pixels";
    std::mt19937 random(7);
    const auto noise = squareWith(textureOf(200, [&random](int, int) { return static_cast<int>(random() % 256); }));
    EXPECT_FALSE(isTooMuch(*noise, 1.0));
    EXPECT_TRUE(isTooMuch(*noise, 0.008)) << "points of outlines; so many pixels are none too many";
    const auto hole = squareWith(textureOf(200, roundHole));
    EXPECT_FALSE(isTooMuch(*hole, 0.008));
    EXPECT_TRUE(isTooMuch(*hole, 0.001)) << "pixels";
    bool told = false;
    EXPECT_EQ(kivCutMesh(*squareWith(textureOf(8, [](int, int) { return 255; })), nearView(), 1e-9, &told), nullptr);
    EXPECT_FALSE(told) << "nothing is to be cut out";
}
