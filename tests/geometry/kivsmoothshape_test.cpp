#include "kivrender/geometry/kivsmoothshape.h"

#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"
#include "shapemodels.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <random>
#include <set>

namespace {

KivMesh meshOf(const ShapeModel& model) {
    KivMesh mesh;
    for (const KivVec& p : model.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z));
    }
    for (const KivSurface::Triangle& t : model.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    return mesh;
}

// The same with the normals that point away from the middle.
KivMesh roundMeshOf(const ShapeModel& model) {
    KivMesh mesh;
    for (const KivVec& p : model.points) {
        mesh.addVertex(Kiv3DPoint(p.x, p.y, p.z), Kiv3DVector(p.x, p.y, p.z));
    }
    for (const KivSurface::Triangle& t : model.triangles) {
        mesh.addTriangle(t[0], t[1], t[2]);
    }
    return mesh;
}

// A parallel view from the front.
KivShapeView viewAt(double pixelsPerUnit) {
    KivShapeView view;
    view.pixelsPerUnit = pixelsPerUnit;
    return view;
}

using Place = std::array<double, 3>;
using Sides = std::map<std::pair<Place, Place>, int>;

// How often each side is there, over all meshes, whichever way.
void countSides(const KivMesh& mesh, Sides& sides) {
    for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        mesh.getTriangle(p, t);
        for (int k = 0; k < 3; ++k) {
            const Place a = {p[k].x, p[k].y, p[k].z};
            const Place b = {p[(k + 1) % 3].x, p[(k + 1) % 3].y, p[(k + 1) % 3].z};
            ++sides[std::minmax(a, b)];
        }
    }
}

// A round plate with a flat face of many triangles above and below.
ShapeModel plate(unsigned int sides) {
    ShapeModel model;
    model.points = {{0.0, 0.0, 0.0}, {0.0, 0.0, 1.0}};
    for (unsigned int i = 0; i < sides; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / sides;
        model.points.push_back({std::cos(angle), std::sin(angle), 0.0});
        model.points.push_back({std::cos(angle), std::sin(angle), 1.0});
    }
    for (unsigned int i = 0; i < sides; ++i) {
        const unsigned int a = 2 + 2 * i;
        const unsigned int b = 2 + 2 * ((i + 1) % sides);
        model.triangles.push_back({0, b, a});
        model.triangles.push_back({1, a + 1, b + 1});
        model.triangles.push_back({a, b, b + 1});
        model.triangles.push_back({a, b + 1, a + 1});
    }
    return model;
}

} // namespace

TEST(KivSmoothShapes, MachinePartsStayAsTheyAre) {
    const KivMesh part = meshOf(plate(30));
    EXPECT_TRUE(kivSmoothShapes({{&part, 45.0}}, viewAt(1000.0)).empty());
    const KivMesh few = meshOf(plate(20)); // a rough model of something round
    EXPECT_FALSE(kivSmoothShapes({{&few, 45.0}}, viewAt(1000.0)).empty());
}

TEST(KivSmoothShapes, ACoarseBallBecomesRoundToAFractionOfAPixel) {
    const KivMesh ball = meshOf(ballModel(24));
    const double pixels = 300.0;
    const auto shapes = kivSmoothShapes({{&ball, 45.0}}, viewAt(pixels));
    ASSERT_EQ(shapes.size(), 1U);
    ASSERT_NE(shapes[0], nullptr);
    EXPECT_EQ(shapes[0]->getNumTriangles() % ball.getNumTriangles(), 0U);
    double least = 2.0;
    double most = 0.0;
    for (unsigned int t = 0; t < shapes[0]->getNumTriangles(); ++t) {
        Kiv3DPoint p[3];
        shapes[0]->getTriangle(p, t);
        for (int k = 0; k < 3; ++k) {
            const double r = std::sqrt(p[k].x * p[k].x + p[k].y * p[k].y + p[k].z * p[k].z);
            least = std::min(least, r);
            most = std::max(most, r);
            const KivVec m = {(p[k].x + p[(k + 1) % 3].x) / 2, (p[k].y + p[(k + 1) % 3].y) / 2,
                              (p[k].z + p[(k + 1) % 3].z) / 2};
            EXPECT_LT((r - kivLength(m)) * pixels, 0.7); // chords keep to their arcs
        }
    }
    EXPECT_LT(most - least, 0.015); // and the body is a ball
}

// Loop's rules alone would take half of it away.
TEST(KivSmoothShapes, ASpikeStaysAsHighAsItIs) {
    ShapeModel model = ballModel(16);
    model.points[0] = {0.0, 2.0, 0.0};
    const KivMesh mesh = meshOf(model);
    const auto shapes = kivSmoothShapes({{&mesh, 180.0}}, viewAt(300.0));
    ASSERT_EQ(shapes.size(), 1U);
    double highest = 0.0;
    for (unsigned int v = 0; v < shapes[0]->getNumVertexs(); ++v) {
        highest = std::max(highest, static_cast<double>(shapes[0]->getVertex(v).y));
    }
    EXPECT_NEAR(highest, 2.0, 1e-9);
}

TEST(KivSmoothShapes, FineTrianglesStayAsTheyAre) {
    const KivMesh ball = meshOf(ballModel(96));
    EXPECT_TRUE(kivSmoothShapes({{&ball, 45.0}}, viewAt(50.0)).empty());
    EXPECT_FALSE(kivSmoothShapes({{&ball, 45.0}}, viewAt(1000.0)).empty());
}

TEST(KivSmoothShapes, FlatFacesBetweenSharpEdgesStayAsTheyAre) {
    const KivMesh cube = meshOf(cubeModel());
    EXPECT_TRUE(kivSmoothShapes({{&cube, 45.0}}, viewAt(1000.0)).empty());
    // A greater angle makes it a pebble.
    EXPECT_FALSE(kivSmoothShapes({{&cube, 100.0}}, viewAt(1000.0)).empty());
}

TEST(KivSmoothShapes, NormalsOfAHostAndNamedEdgesKeepTheMesh) {
    const KivMesh own = roundMeshOf(ballModel(12));
    EXPECT_TRUE(kivSmoothShapes({{&own, 45.0}}, viewAt(300.0)).empty());
    KivMesh found = own;
    kivSetNormalsFromTriangles(found, true);
    EXPECT_FALSE(kivSmoothShapes({{&found, 45.0}}, viewAt(300.0)).empty());
    kivSetNormalsFrom(found, KivNormalsFrom::file);
    EXPECT_FALSE(kivSmoothShapes({{&found, 45.0}}, viewAt(300.0)).empty());
    KivMesh named = meshOf(ballModel(12));
    EXPECT_FALSE(kivSmoothShapes({{&named, 45.0}}, viewAt(300.0)).empty());
    kivSetMeshEdges(named, std::make_shared<KivMeshEdges>());
    EXPECT_TRUE(kivSmoothShapes({{&named, 45.0}}, viewAt(300.0)).empty());
}

// A prism whose round side has the normals of its axis, and whose ends have flat ones or none of their own.
TEST(KivSmoothShapes, NormalsOfAFileTellTheEdges) {
    for (const bool isSplit : {true, false}) {
        KivMesh mesh;
        const ShapeModel prism = prismModel(16);
        for (const KivSurface::Triangle& t : prism.triangles) {
            const KivVec& a = prism.points[t[0]];
            const KivVec face = kivUnit(kivCross(prism.points[t[1]] - a, prism.points[t[2]] - a));
            for (const std::uint32_t p : t) {
                const KivVec& at = prism.points[p];
                const KivVec side = {at.x, 0.0, at.z};
                const KivVec end = {0.0, at.y, 0.0};
                const KivVec n = !isSplit ? kivUnit(side + end) : std::abs(face.y) > 0.5 ? end : kivUnit(side);
                mesh.addVertex(Kiv3DPoint(at.x, at.y, at.z), Kiv3DVector(n.x, n.y, n.z));
            }
            const unsigned int count = mesh.getNumVertexs();
            mesh.addTriangle(count - 3, count - 2, count - 1);
        }
        kivSetNormalsFrom(mesh, KivNormalsFrom::file);
        const auto shapes = kivSmoothShapes({{&mesh, 100.0}}, viewAt(300.0));
        ASSERT_EQ(shapes.size(), 1U);
        double most = 0.0;
        for (unsigned int v = 0; v < shapes[0]->getNumVertexs(); ++v) {
            most = std::max(most, shapes[0]->getVertex(v).y);
        }
        EXPECT_EQ(most == 1.0, isSplit) << most; // the ends are flat, or bulge away
    }
}

// Also where the triangles are so small that dividing them would show nothing.
TEST(KivSmoothShapes, FlatNormalsOfAFileGiveWayToSmoothOnes) {
    KivMesh mesh;
    const ShapeModel ball = ballModel(24);
    for (const KivSurface::Triangle& t : ball.triangles) {
        const KivVec& a = ball.points[t[0]];
        const KivVec face = kivUnit(kivCross(ball.points[t[1]] - a, ball.points[t[2]] - a));
        for (const std::uint32_t p : t) {
            mesh.addVertex(Kiv3DPoint(ball.points[p].x, ball.points[p].y, ball.points[p].z),
                           Kiv3DVector(face.x, face.y, face.z));
        }
        const unsigned int count = mesh.getNumVertexs();
        mesh.addTriangle(count - 3, count - 2, count - 1);
    }
    EXPECT_TRUE(kivSmoothShapes({{&mesh, 45.0}}, viewAt(300.0)).empty());
    kivSetNormalsFrom(mesh, KivNormalsFrom::file);
    for (const double pixels : {3.0, 300.0}) {
        const auto shapes = kivSmoothShapes({{&mesh, 45.0}}, viewAt(pixels));
        ASSERT_EQ(shapes.size(), 1U) << pixels;
        EXPECT_EQ(shapes[0]->getNumTriangles() > mesh.getNumTriangles(), pixels > 10.0);
        for (unsigned int v = 0; v < shapes[0]->getNumVertexs(); ++v) {
            const Kiv3DPoint p = shapes[0]->getVertex(v);
            const Kiv3DVector n = shapes[0]->getNormal(v);
            EXPECT_GT(kivDot(kivUnit({p.x, p.y, p.z}), {n.x, n.y, n.z}), 0.998);
        }
    }
}

// Colours that are places on the ball, but for a seam along a half circle; some triangles are wound otherwise.
TEST(KivSmoothShapes, PaintStaysWhereItWas) {
    const ShapeModel ball = ballModel(16);
    KivMesh mesh;
    auto paint = std::make_shared<KivMeshPaint>();
    paint->factor = {0.5, 0.25, 1.0};
    for (std::size_t t = 0; t < ball.triangles.size(); ++t) {
        KivVec middle;
        for (const std::uint32_t p : ball.triangles[t]) {
            middle = middle + ball.points[p];
        }
        for (const std::uint32_t p : ball.triangles[t]) {
            const KivVec& at = ball.points[p];
            mesh.addVertex(Kiv3DPoint(at.x, at.y, at.z));
            paint->coordinates.push_back({static_cast<float>(at.x), static_cast<float>(at.y),
                                          static_cast<float>(at.z + (middle.x > 0.0 ? 100.0 : 0.0))});
        }
        const unsigned int n = mesh.getNumVertexs();
        t % 3 == 0 ? mesh.addTriangle(n - 2, n - 3, n - 1) : mesh.addTriangle(n - 3, n - 2, n - 1);
    }
    kivSetMeshPaint(mesh, paint);
    const auto shapes = kivSmoothShapes({{&mesh, 45.0}}, viewAt(100.0));
    ASSERT_EQ(shapes.size(), 1U);
    const auto found = kivMeshPaint(*shapes[0]);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->factor, paint->factor);
    ASSERT_EQ(found->coordinates.size(), shapes[0]->getNumVertexs());
    EXPECT_LT(shapes[0]->getNumVertexs(), shapes[0]->getNumTriangles()); // shared where the paint is one
    for (unsigned int t = 0; t < shapes[0]->getNumTriangles(); ++t) {
        unsigned int corner[3] = {};
        shapes[0]->getTriangle(corner, t);
        const bool isBeyond = found->coordinates[corner[0]][2] > 50.0F;
        for (const unsigned int c : corner) {
            const Kiv3DPoint p = shapes[0]->getVertex(c);
            const std::array<float, 3>& at = found->coordinates[c];
            EXPECT_NEAR(p.x, static_cast<double>(at[0]), 0.1);
            EXPECT_NEAR(p.y, static_cast<double>(at[1]), 0.1);
            EXPECT_NEAR(p.z + (isBeyond ? 100.0 : 0.0), static_cast<double>(at[2]), 0.1);
        }
    }
}

// Two halves of a ball in two materials: one closed surface without a gap, whose normals run on over the seam.
TEST(KivSmoothShapes, PartsOfOneSurfaceStayTogether) {
    const ShapeModel ball = ballModel(16);
    ShapeModel halves[2] = {{ball.points, {}}, {ball.points, {}}};
    for (const KivSurface::Triangle& t : ball.triangles) {
        const double x = ball.points[t[0]].x + ball.points[t[1]].x + ball.points[t[2]].x;
        halves[x > 0.1 ? 0 : 1].triangles.push_back(t);
    }
    const KivMesh first = meshOf(halves[0]);
    const KivMesh second = meshOf(halves[1]);
    const auto shapes = kivSmoothShapes({{&first, 45.0}, {&second, 45.0}}, viewAt(200.0));
    ASSERT_EQ(shapes.size(), 2U);
    ASSERT_NE(shapes[0], nullptr);
    ASSERT_NE(shapes[1], nullptr);
    Sides sides;
    countSides(*shapes[0], sides);
    countSides(*shapes[1], sides);
    for (const auto& [side, count] : sides) {
        EXPECT_EQ(count, 2);
    }
    std::map<Place, Kiv3DVector> normals;
    for (unsigned int v = 0; v < shapes[0]->getNumVertexs(); ++v) {
        const Kiv3DPoint p = shapes[0]->getVertex(v);
        normals[{p.x, p.y, p.z}] = shapes[0]->getNormal(v);
    }
    int common = 0;
    for (unsigned int v = 0; v < shapes[1]->getNumVertexs(); ++v) {
        const Kiv3DPoint p = shapes[1]->getVertex(v);
        if (const auto found = normals.find({p.x, p.y, p.z}); found != normals.end()) {
            const Kiv3DVector n = shapes[1]->getNormal(v);
            EXPECT_DOUBLE_EQ(found->second.x, n.x);
            EXPECT_DOUBLE_EQ(found->second.z, n.z);
            ++common;
        }
    }
    EXPECT_GT(common, 16);
}

TEST(KivSmoothShapes, MaterialAndSettingsGoAlong) {
    KivMesh ball = meshOf(ballModel(12));
    KivMaterial material;
    material.setDiffuse(0x123456);
    ball.setMaterial(material);
    ball.setNonCombinableShader(L"Cartoon");
    const auto shapes = kivSmoothShapes({{&ball, 45.0}}, viewAt(300.0));
    ASSERT_EQ(shapes.size(), 1U);
    EXPECT_EQ(shapes[0]->getMaterial()->getDiffuse(), ball.getMaterial()->getDiffuse());
    EXPECT_TRUE(shapes[0]->rendersThisShader(L"Cartoon"));
}

// The surface between noisy points bends evenly, and tells nothing of them.
TEST(KivSmoothShapes, TheNoiseOfTheMeshGoesAlong) {
    ShapeModel model = ballModel(16);
    const KivMesh clean = meshOf(model);
    std::mt19937 words(3);
    for (KivVec& p : model.points) {
        p = p * (1.0 + 0.0002 * static_cast<double>(words() % 1001));
    }
    const KivMesh rough = meshOf(model);
    for (const auto& [mesh, isRough] : {std::pair(&clean, false), std::pair(&rough, true)}) {
        const auto shapes = kivSmoothShapes({{mesh, 180.0}}, viewAt(300.0));
        ASSERT_EQ(shapes.size(), 1U);
        const KivMeshNoise noise = kivMeshNoise(*shapes[0]);
        EXPECT_EQ(noise.noise > 0.1, isRough) << noise.noise;
        EXPECT_EQ(noise.divisions * noise.divisions * mesh->getNumTriangles(), shapes[0]->getNumTriangles());
    }
}

TEST(KivSmoothShapes, WhatLiesBehindTheEyeAsksForNothing) {
    const KivMesh ball = meshOf(ballModel(12));
    KivShapeView view = viewAt(300.0);
    view.perspective = true;
    view.eye = {0.0, 0.0, 4.0};
    EXPECT_FALSE(kivSmoothShapes({{&ball, 45.0}}, view).empty());
    view.eye = {0.0, 0.0, -4.0};
    EXPECT_TRUE(kivSmoothShapes({{&ball, 45.0}}, view).empty());
}

TEST(KivSmoothShapes, BrokenMeshesDoNoHarm) {
    KivMesh empty;
    KivMesh odd = meshOf(ballModel(8));
    odd.addVertex(Kiv3DPoint(std::nan(""), 0.0, 0.0));
    odd.addTriangle(0, 1, odd.getNumVertexs() - 1);
    odd.addTriangle(0, 0, 1);
    odd.addTriangle(2, 3, 4000);
    const auto shapes = kivSmoothShapes({{&empty, 45.0}, {&odd, 45.0}}, viewAt(300.0));
    ASSERT_EQ(shapes.size(), 2U);
    EXPECT_EQ(shapes[0], nullptr);
    EXPECT_TRUE(shapes[1]->hasAllVertexs());
}

// A drum that is pressed flat, and one that is drawn out: whatever the pose, its edges are those that it has at rest.
TEST(SmoothShapes, OfAPoseHaveTheEdgesOfTheRest) {
    const ShapeModel drum = plate(12);
    const auto posed = [&drum](double z, double y) {
        ShapeModel moved = drum;
        for (KivVec& p : moved.points) {
            p = {p.x, p.y * y, p.z * z};
        }
        return moved;
    };
    const auto smoothed = [](const KivMesh& mesh) {
        std::vector<std::unique_ptr<KivMesh>> shapes = kivSmoothShapes({{&mesh, 45.0}}, viewAt(1e6));
        return shapes.empty() ? nullptr : std::move(shapes.front());
    };
    const auto rest = std::make_shared<KivMesh>();
    *rest = meshOf(drum);
    const auto expected = smoothed(*rest);
    ASSERT_NE(expected, nullptr);
    int others = 0;
    for (const auto& [z, y] : {std::pair(1.0, 1.0), std::pair(0.3, 1.0), std::pair(1.0, 0.05), std::pair(4.0, 0.2)}) {
        KivMesh mesh = meshOf(posed(z, y));
        const auto alone = smoothed(mesh);
        others += alone == nullptr || alone->getNumVertexs() != expected->getNumVertexs() ? 1 : 0;
        kivSetMeshRest(mesh, rest);
        const auto shape = smoothed(mesh);
        ASSERT_NE(shape, nullptr) << z << " " << y;
        EXPECT_EQ(shape->getNumTriangles(), expected->getNumTriangles()) << z << " " << y;
        EXPECT_EQ(shape->getNumVertexs(), expected->getNumVertexs()) << z << " " << y; // more where edges are sharp
        ASSERT_NE(kivMeshRest(*shape), nullptr) << z << " " << y;
    }
    EXPECT_GT(others, 0);
}
