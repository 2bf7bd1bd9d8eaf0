#include "kivrender/scene/kivmesh.h"

#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivpolyline.h"
#include "reference/literalnormals.h"
#include "scene/scenetestaccess.h"
#include "support/rawrandom.h"
#include "support/vtableslot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace {

const Kiv3DPoint p0(0.0, 0.0, 0.0);
const Kiv3DPoint p1(1.0, 0.0, 0.0);
const Kiv3DPoint p2(0.0, 1.0, 0.0);
const Kiv3DPoint p3(1.0, 1.0, 0.0);

// Two triangles with the common edge 1-2, facing up.
KivMesh quad() {
    KivMesh mesh;
    for (const Kiv3DPoint& point : {p0, p1, p2, p3}) {
        mesh.addVertex(point);
    }
    mesh.addTriangle(0, 1, 2);
    mesh.addTriangle(2, 1, 3);
    return mesh;
}

// A mesh that keeps nothing: a strip of triangles computed on demand.
class StripMesh : public KivMesh {
public:
    bool getTriangle(unsigned int* indices, unsigned int triangle) const override {
        for (unsigned int i = 0; i < 3; ++i) {
            indices[i] = triangle + i;
        }
        return true;
    }
    bool getTriangle(Kiv3DPoint* points, unsigned int triangle) const override {
        for (unsigned int i = 0; i < 3; ++i) {
            points[i] = getVertex(triangle + i);
        }
        return true;
    }
    bool getTriangle(Kiv3DPoint* points, Kiv3DVector* cornerNormals, unsigned int triangle) const override {
        for (unsigned int i = 0; i < 3; ++i) {
            cornerNormals[i] = getNormal(triangle + i);
        }
        return getTriangle(points, triangle);
    }
    Kiv3DPoint getVertex(unsigned int index) const override {
        return {index * 0.5, index % 2 * 1.0, 0.0};
    }
    Kiv3DVector getNormal(unsigned int) const override {
        return {0.0, 0.0, 1.0};
    }
    unsigned int getNumTriangles() const override {
        return 4;
    }
    unsigned int getNumVertexs() const override {
        return 6;
    }
    bool hasNormals() const override {
        return true;
    }
};

TEST(KivMesh, StartsEmptyAndOpaque) {
    const KivMesh mesh;
    EXPECT_EQ(mesh.getNumTriangles(), 0U);
    EXPECT_EQ(mesh.getNumVertexs(), 0U);
    EXPECT_FALSE(mesh.hasNormals());
    EXPECT_TRUE(mesh.isOpaque());
    EXPECT_EQ(mesh.getBoundingBox(), nullptr);
    EXPECT_FALSE(KivTestAccess::hasScratch(mesh));
}

TEST(KivMesh, SlotsStandInTheirPublishedOrder) {
    int slot = 1;
    EXPECT_EQ(vtableSlot<bool (KivMesh::*)(unsigned int*, unsigned int) const>(&KivMesh::getTriangle), slot++);
    EXPECT_EQ((vtableSlot<bool (KivMesh::*)(Kiv3DPoint*, Kiv3DVector*, unsigned int) const>(&KivMesh::getTriangle)),
              slot++);
    EXPECT_EQ(vtableSlot<bool (KivMesh::*)(Kiv3DPoint*, unsigned int) const>(&KivMesh::getTriangle), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getVertex), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getNormal), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getNumTriangles), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getNumVertexs), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::hasNormals), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::rebuildNormals), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getIntersectionLines), slot++);
    EXPECT_EQ(vtableSlot(&KivMesh::getMaterial), -1);
}

TEST(KivMesh, AQuadIsTwoTriangles) {
    KivMesh mesh;
    mesh.addQuad(0, 1, 2, 3);
    EXPECT_EQ(KivTestAccess::triangles(mesh), (std::vector<std::uint64_t>{0, 1, 2, 2, 3, 0}));
    EXPECT_EQ(mesh.getNumTriangles(), 2U);
}

TEST(KivMesh, WeldingAddTakesTheToleranceInclusive) {
    KivMesh mesh;
    mesh.addTriangle(p0, p1, p2);
    mesh.addTriangle(Kiv3DPoint(0.0001, -0.0001, 0.0001), p1, Kiv3DPoint(0.0, 1.00011, 0.0));
    EXPECT_EQ(mesh.getNumVertexs(), 4U);
    EXPECT_EQ(KivTestAccess::triangles(mesh), (std::vector<std::uint64_t>{0, 1, 2, 0, 1, 3}));
    EXPECT_TRUE(mesh.getVertex(0) == p0);
    EXPECT_EQ(mesh.searchVertex(Kiv3DPoint(1.0, 0.0, 0.00009)), 1);
    EXPECT_EQ(mesh.searchVertex(Kiv3DPoint(1.0, 0.0, 0.5)), -1);
    // The first vertex within the tolerance counts, not the nearest.
    EXPECT_EQ(mesh.searchVertex(Kiv3DPoint(0.0, 1.0001, 0.0)), 2);
}

TEST(KivMesh, TheFirstNormalOfAPositionWins) {
    const Kiv3DVector up(0.0, 0.0, 1.0);
    const Kiv3DVector side(1.0, 0.0, 0.0);
    KivMesh mesh;
    mesh.addTriangle(p0, up, p1, up, p2, up);
    Kiv3DPoint points[3] = {p2, p1, p3};
    Kiv3DVector normals[3] = {side, side, side};
    mesh.addTriangle(points, normals);
    ASSERT_EQ(mesh.getNumVertexs(), 4U);
    EXPECT_TRUE(mesh.hasNormals());
    EXPECT_TRUE(mesh.getNormal(1) == up);
    EXPECT_TRUE(mesh.getNormal(2) == up);
    EXPECT_TRUE(mesh.getNormal(3) == side);
    Kiv3DPoint corner[3];
    Kiv3DVector cornerNormals[3];
    ASSERT_TRUE(mesh.getTriangle(corner, cornerNormals, 1));
    EXPECT_TRUE(corner[2] == p3);
    EXPECT_TRUE(cornerNormals[0] == up);
    EXPECT_TRUE(cornerNormals[2] == side);
}

TEST(KivMesh, PointerFormOfTheWeldingAdd) {
    KivMesh mesh;
    Kiv3DPoint points[3] = {p0, p1, p1};
    mesh.addTriangle(points);
    EXPECT_EQ(KivTestAccess::triangles(mesh), (std::vector<std::uint64_t>{0, 1, 1}));
    EXPECT_FALSE(mesh.hasNormals());
}

TEST(KivMesh, ATriangleAboveTheCountIsRefusedAndTheCountItselfPasses) {
    const KivMesh mesh = quad();
    unsigned int indices[3] = {9, 9, 9};
    Kiv3DPoint points[3] = {p3, p3, p3};
    Kiv3DVector normals[3] = {Kiv3DVector(5.0, 5.0, 5.0), {}, {}};
    EXPECT_FALSE(mesh.getTriangle(indices, 3));
    EXPECT_FALSE(mesh.getTriangle(points, 3));
    EXPECT_FALSE(mesh.getTriangle(points, normals, 3));
    EXPECT_EQ(indices[0], 9U);
    EXPECT_TRUE(points[0] == p3);
    EXPECT_TRUE(normals[0] == Kiv3DVector(5.0, 5.0, 5.0));
    EXPECT_TRUE(mesh.getTriangle(indices, 2));
    EXPECT_TRUE(mesh.getTriangle(points, 2));
    EXPECT_TRUE(mesh.getTriangle(points, normals, 2));
    EXPECT_TRUE(mesh.getTriangle(indices, 1));
    EXPECT_EQ(indices[0], 2U);
    EXPECT_EQ(indices[1], 1U);
    EXPECT_EQ(indices[2], 3U);
}

TEST(KivMesh, TooFewNormalsReadAsZero) {
    KivMesh mesh;
    mesh.addVertex(p0, Kiv3DVector(0.0, 0.0, 1.0));
    mesh.addVertex(p1);
    mesh.addVertex(p2);
    mesh.addTriangle(0, 1, 2);
    EXPECT_TRUE(mesh.getNormal(2) == Kiv3DVector());
    Kiv3DPoint points[3];
    Kiv3DVector normals[3];
    EXPECT_TRUE(mesh.getTriangle(points, normals, 0));
    EXPECT_TRUE(normals[0] == Kiv3DVector(0.0, 0.0, 1.0));
    EXPECT_TRUE(normals[1] == Kiv3DVector());
}

TEST(KivMesh, ANormalIsTwiceTheAreaLongAndTurnsWithTheVertexNormals) {
    KivMesh mesh = quad();
    EXPECT_TRUE(mesh.getTriangleNormal(0) == Kiv3DVector(0.0, 0.0, 1.0));
    mesh.addTriangle(0, 0, 1);
    EXPECT_TRUE(mesh.getTriangleNormal(2) == Kiv3DVector());
    KivMesh against;
    against.addTriangle(p0, Kiv3DVector(0.0, 0.0, -1.0), p1, Kiv3DVector(0.1, 0.0, -1.0), p2,
                        Kiv3DVector(0.0, 0.0, -2.0));
    EXPECT_TRUE(against.getTriangleNormal(0) == Kiv3DVector(0.0, 0.0, -1.0));
    KivMesh across;
    across.addTriangle(p0, Kiv3DVector(1.0, 0.0, 0.0), p1, Kiv3DVector(1.0, 0.0, 0.0), p2, Kiv3DVector(1.0, 0.0, 0.0));
    EXPECT_TRUE(across.getTriangleNormal(0) == Kiv3DVector(0.0, 0.0, 1.0)) << "exactly across does not turn";
    KivMesh none;
    none.addTriangle(p0, Kiv3DVector(), p1, Kiv3DVector(), p2, Kiv3DVector());
    EXPECT_TRUE(none.getTriangleNormal(0) == Kiv3DVector(0.0, 0.0, 1.0)) << "a mean of no length does not turn";
}

TEST(KivMesh, BaricentreAndPlane) {
    KivMesh mesh;
    mesh.addTriangle(Kiv3DPoint(0.0, 0.0, 2.0), Kiv3DPoint(3.0, 0.0, 2.0), Kiv3DPoint(0.0, 6.0, 2.0));
    EXPECT_TRUE(mesh.getTriangleBaricentre(0) == Kiv3DPoint(1.0, 2.0, 2.0));
    double a = 9.0;
    double b = 9.0;
    double c = 9.0;
    double d = 9.0;
    mesh.getTrianglePlane(0, &a, &b, &c, &d);
    EXPECT_EQ(a, 0.0);
    EXPECT_EQ(b, 0.0);
    EXPECT_EQ(c, 1.0);
    EXPECT_EQ(d, -2.0);
}

TEST(KivMesh, CoplanarTrianglesFaceTheSameWay) {
    KivMesh mesh = quad();
    mesh.addTriangle(1, 2, 3);
    EXPECT_TRUE(KivTestAccess::areCoplanar(mesh, 0, 1));
    EXPECT_FALSE(KivTestAccess::areCoplanar(mesh, 0, 2));
    for (const double lift : {0.00009, 0.00011}) {
        const auto base = static_cast<unsigned int>(mesh.getNumVertexs());
        for (const Kiv3DPoint& point : {p0, p1, p2}) {
            mesh.addVertex(point + Kiv3DVector(0.0, 0.0, lift));
        }
        mesh.addTriangle(base, base + 1, base + 2);
        EXPECT_EQ(KivTestAccess::areCoplanar(mesh, 0, mesh.getNumTriangles() - 1), lift < 0.0001);
    }
}

TEST(KivMesh, AdjacentTrianglesShareTwoIndices) {
    KivMesh mesh = quad();
    mesh.addTriangle(3, 3, 3);
    mesh.addTriangle(0, 0, 3);
    EXPECT_TRUE(mesh.areAdjacentTriangles(0, 0));
    EXPECT_TRUE(mesh.areAdjacentTriangles(0, 1));
    EXPECT_FALSE(mesh.areAdjacentTriangles(0, 2));
    EXPECT_TRUE(mesh.areAdjacentTriangles(3, 0)) << "each index of the first one counts, the repeated one twice";
    EXPECT_FALSE(mesh.areAdjacentTriangles(0, 3));
    KivMesh unwelded;
    for (const Kiv3DPoint& point : {p0, p1, p2, p2, p1, p3}) {
        unwelded.addVertex(point);
    }
    unwelded.addTriangle(0, 1, 2);
    unwelded.addTriangle(3, 4, 5);
    EXPECT_FALSE(unwelded.areAdjacentTriangles(0, 1));
}

// A triangle with three neighbours: numbers 1 and 3 stand up from it, 2 lies in its plane.
KivMesh neighbours() {
    KivMesh mesh = quad();
    mesh.addVertex(Kiv3DPoint(0.5, 0.5, 1.0));
    mesh.addVertex(Kiv3DPoint(0.5, -1.0, 0.0));
    KivMesh result;
    for (unsigned int i = 0; i < mesh.getNumVertexs(); ++i) {
        result.addVertex(mesh.getVertex(i));
    }
    result.addTriangle(0, 1, 2);
    result.addTriangle(2, 1, 4);
    result.addTriangle(1, 0, 5);
    result.addTriangle(0, 2, 4);
    result.addTriangle(2, 1, 3);
    return result;
}

TEST(KivMesh, NeighboursInThePlaneAreMovedOutOfTheCandidates) {
    const KivMesh mesh = neighbours();
    unsigned int out[3] = {77, 77, 77};
    std::list<unsigned int> candidates = {1, 2, 4};
    EXPECT_EQ(mesh.getAdjacentTrianglesWithSamePlane(0, out, candidates, false), 2);
    EXPECT_EQ(out[0], 2U);
    EXPECT_EQ(out[1], 4U);
    EXPECT_EQ(candidates, (std::list<unsigned int>{1}));
}

TEST(KivMesh, TheWalkEndsAfterThreeNeighboursOrTwoWithTheFlag) {
    const KivMesh mesh = neighbours();
    unsigned int out[3] = {77, 77, 77};
    std::list<unsigned int> candidates = {1, 3, 2, 4};
    EXPECT_EQ(mesh.getAdjacentTrianglesWithSamePlane(0, out, candidates, true), 0) << "neither of two in the plane";
    EXPECT_EQ(candidates, (std::list<unsigned int>{1, 3, 2, 4}));
    EXPECT_EQ(out[0], 77U);
    EXPECT_EQ(mesh.getAdjacentTrianglesWithSamePlane(0, out, candidates, false), 1);
    EXPECT_EQ(out[0], 2U);
    EXPECT_EQ(candidates, (std::list<unsigned int>{1, 3, 4})) << "the fourth was not looked at";
}

TEST(KivMesh, LineFacesOfACommonAndOfABorderEdge) {
    const KivMesh mesh = quad();
    int first = -7;
    int second = -7;
    EXPECT_TRUE(mesh.getLineFaces(KivLine(p2, p1), &first, &second));
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_FALSE(mesh.getLineFaces(KivLine(p1, p3), &first, &second));
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, -1);
}

TEST(KivMesh, LineFacesComparesExactly) {
    const KivMesh mesh = quad();
    int first = -7;
    int second = -7;
    EXPECT_FALSE(mesh.getLineFaces(KivLine(p1, p2 + Kiv3DVector(1e-12, 0.0, 0.0)), &first, &second));
    EXPECT_EQ(first, -7);
    EXPECT_EQ(second, -1);
}

TEST(KivMesh, LineFacesTakesTheFirstTwoHits) {
    // Two vertices at the start use up both hits; the end is never looked for, and both indices of a triangle must be
    // the second of them.
    KivMesh mesh;
    for (const Kiv3DPoint& point : {p0, p0, p1, p2}) {
        mesh.addVertex(point);
    }
    mesh.addTriangle(0, 2, 3);
    mesh.addTriangle(1, 1, 2);
    mesh.addTriangle(1, 3, 1);
    int first = -7;
    int second = -7;
    EXPECT_TRUE(mesh.getLineFaces(KivLine(p0, p1), &first, &second));
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

TEST(KivMesh, LineNormalIsTheSumOfBoth) {
    KivMesh mesh = quad();
    mesh.addTriangle(0, 1, 2);
    EXPECT_TRUE(mesh.getLineNormal(0, 1) == Kiv3DVector(0.0, 0.0, 2.0));
}

TEST(KivMesh, TheBoxIsComputedOnceAndThenStale) {
    KivMesh mesh = quad();
    const KivMesh& readOnly = mesh;
    EXPECT_EQ(readOnly.getBoundingBox(), nullptr);
    KivBox* box = mesh.getBoundingBox();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(readOnly.getBoundingBox(), box);
    EXPECT_EQ(box->getXMin(), 0.0);
    EXPECT_EQ(box->getXMax(), 1.0);
    EXPECT_EQ(box->getYMax(), 1.0);
    EXPECT_EQ(box->getZMax(), 0.0);
    mesh.addVertex(Kiv3DPoint(50.0, 0.0, 0.0));
    EXPECT_EQ(mesh.getBoundingBox()->getXMax(), 1.0);
}

TEST(KivMesh, TheBoxHoldsAllVertices) {
    KivMesh mesh;
    for (const Kiv3DPoint& point : {Kiv3DPoint(1.0, 5.0, -2.0), Kiv3DPoint(4.0, -3.0, 2.0), Kiv3DPoint(-6.0, 1.0, 9.0),
                                    Kiv3DPoint(0.0, 0.0, 0.0)}) {
        mesh.addVertex(point);
    }
    const KivBox& box = *mesh.getBoundingBox();
    EXPECT_EQ(box.getXMin(), -6.0);
    EXPECT_EQ(box.getXMax(), 4.0);
    EXPECT_EQ(box.getYMin(), -3.0);
    EXPECT_EQ(box.getYMax(), 5.0);
    EXPECT_EQ(box.getZMin(), -2.0);
    EXPECT_EQ(box.getZMax(), 9.0);
}

TEST(KivMesh, TheBoxOfAnEmptyMeshIsInsideOut) {
    KivMesh mesh;
    const KivBox* box = mesh.getBoundingBox();
    EXPECT_EQ(box->getXMin(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(box->getZMax(), -std::numeric_limits<double>::infinity());
    mesh.addVertex(p1);
    EXPECT_EQ(mesh.getBoundingBox()->getXMin(), std::numeric_limits<double>::infinity());
}

TEST(KivMesh, ACoordinateThatIsNoNumberDoesNotReachTheBox) {
    KivMesh mesh;
    mesh.addVertex(Kiv3DPoint(std::nan(""), 1.0, 2.0));
    mesh.addVertex(Kiv3DPoint(3.0, 4.0, std::nan("")));
    EXPECT_EQ(mesh.getBoundingBox()->getXMin(), 3.0);
    EXPECT_EQ(mesh.getBoundingBox()->getZMax(), 2.0);
}

TEST(KivMesh, OpaqueMeansExactlyOne) {
    KivMesh mesh;
    KivMaterial material;
    for (const double transparency : {0.99, 2.0, 0.0}) {
        material.setTransparency(transparency);
        mesh.setMaterial(material);
        EXPECT_FALSE(mesh.isOpaque()) << transparency;
    }
    material.setTransparency(1.0);
    material.setAmbient(1);
    material.setDiffuse(2);
    mesh.setMaterial(material);
    EXPECT_TRUE(mesh.isOpaque());
    EXPECT_EQ(mesh.getMaterial()->getDiffuse(), 2U) << "copied by assignment";
}

TEST(KivMesh, ACopyTakesGeometryMaterialAndBoxWithoutShaderSettings) {
    KivMesh mesh;
    const Kiv3DVector up(0.0, 0.0, 1.0);
    mesh.addTriangle(p0, up, p1, up, p2, up);
    KivMaterial material;
    material.setAmbient(1);
    material.setDiffuse(2);
    mesh.setMaterial(material);
    mesh.addCombinableShader(L"Outline");
    const KivMesh withoutBox(mesh);
    EXPECT_EQ(withoutBox.getBoundingBox(), nullptr);
    mesh.getBoundingBox();
    const KivMesh copy(mesh);
    EXPECT_FALSE(copy.hasObjectSettings());
    EXPECT_EQ(copy.getNumTriangles(), 1U);
    EXPECT_TRUE(copy.getVertex(1) == p1);
    EXPECT_TRUE(copy.getNormal(2) == up);
    EXPECT_EQ(copy.getMaterial()->getDiffuse(), 2U);
    ASSERT_NE(copy.getBoundingBox(), nullptr);
    EXPECT_NE(copy.getBoundingBox(), static_cast<const KivMesh&>(mesh).getBoundingBox());
    EXPECT_EQ(copy.getBoundingBox()->getXMax(), 1.0);
}

TEST(KivMesh, AnAssignedMeshHasTheNormalsAndTheMaterial) {
    const Kiv3DVector up(0.0, 0.0, 1.0);
    KivMesh mesh;
    mesh.addTriangle(p0, up, p1, up, p2, Kiv3DVector(0.0, 1.0, 0.0));
    KivMaterial material;
    material.setDiffuse(7);
    mesh.setMaterial(material);
    KivMesh assigned = quad();
    assigned = mesh;
    ASSERT_TRUE(assigned.hasNormals());
    EXPECT_TRUE(assigned.getNormal(1) == up);
    EXPECT_TRUE(assigned.getNormal(2) == Kiv3DVector(0.0, 1.0, 0.0));
    EXPECT_EQ(assigned.getMaterial()->getDiffuse(), 7U);
    EXPECT_EQ(assigned.getNumVertexs(), 3U);
    assigned = quad();
    EXPECT_FALSE(assigned.hasNormals());
    EXPECT_EQ(assigned.getNumVertexs(), 4U);
}

TEST(KivMesh, AnAssignedMeshHasABoxOfItsOwnAndTheShaderSettings) {
    KivMesh assigned;
    {
        KivMesh mesh = quad();
        mesh.addCombinableShader(L"Outline");
        mesh.getBoundingBox();
        assigned = mesh;
        EXPECT_NE(assigned.getBoundingBox(), mesh.getBoundingBox());
    }
    EXPECT_TRUE(assigned.rendersThisShader(L"Outline"));
    EXPECT_EQ(assigned.getBoundingBox()->getXMax(), 1.0);
    EXPECT_EQ(assigned.getNumTriangles(), 2U);
    const KivMesh& same = assigned;
    assigned = same;
    EXPECT_EQ(assigned.getNumTriangles(), 2U);
    ASSERT_NE(assigned.getBoundingBox(), nullptr);
    assigned = KivMesh();
    EXPECT_EQ(same.getBoundingBox(), nullptr);
}

TEST(KivMesh, AlgorithmsReadThroughTheAccessors) {
    StripMesh strip;
    EXPECT_EQ(strip.searchVertex(Kiv3DPoint(1.5, 1.0, 0.0)), 3);
    EXPECT_EQ(strip.getBoundingBox()->getXMax(), 2.5);
    EXPECT_TRUE(strip.areAdjacentTriangles(1, 2));
    EXPECT_FALSE(strip.areAdjacentTriangles(0, 2));
    EXPECT_TRUE(strip.getTriangleBaricentre(1) == Kiv3DPoint(1.0, 2.0 / 3.0, 0.0));
    // Every second triangle of a strip is wound the other way; the normals repair it.
    EXPECT_GT(strip.getTriangleNormal(0).z, 0.0);
    EXPECT_GT(strip.getTriangleNormal(1).z, 0.0);
    int first = -1;
    int second = -1;
    EXPECT_TRUE(strip.getLineFaces(KivLine(strip.getVertex(1), strip.getVertex(2)), &first, &second));
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(KivTestAccess::searchTriangleVertex(strip, 3, 1), 2);
    const KivMesh copy(strip);
    EXPECT_EQ(copy.getNumVertexs(), 6U);
    EXPECT_EQ(copy.getNumTriangles(), 4U);
    EXPECT_TRUE(copy.hasNormals());
    EXPECT_TRUE(copy.getNormal(5) == Kiv3DVector(0.0, 0.0, 1.0));
    KivMesh welded;
    welded.copyMeshCompacted(strip);
    EXPECT_EQ(welded.getNumVertexs(), 6U);
    EXPECT_EQ(welded.getNumTriangles(), 4U);
}

TEST(KivMesh, SearchTriangleVertexStartsBehindTheGivenTriangle) {
    const KivMesh mesh = quad();
    EXPECT_EQ(KivTestAccess::searchTriangleVertex(mesh, 1, -1), 0);
    EXPECT_EQ(KivTestAccess::searchTriangleVertex(mesh, 1, 0), 1);
    EXPECT_EQ(KivTestAccess::searchTriangleVertex(mesh, 0, 0), -1);
    EXPECT_EQ(KivTestAccess::searchTriangleVertex(mesh, 1, 1), -1);
}

TEST(KivMesh, AMeshAddsNoIntersectionLines) {
    const KivMesh mesh = quad();
    std::vector<KivPolyline> lines(2);
    mesh.getIntersectionLines(lines, &mesh);
    EXPECT_EQ(lines.size(), 2U);
}

TEST(KivMesh, RebuiltNormalsLeaveTheFirstTriangleOut) {
    KivMesh mesh = quad();
    mesh.rebuildNormals();
    ASSERT_TRUE(mesh.hasNormals());
    // Vertex 0 is used by the first triangle alone: nothing is added up, and the mean of nothing stays for good.
    for (unsigned int i = 0; i < 4; ++i) {
        EXPECT_TRUE(std::isnan(mesh.getNormal(i).z)) << i;
    }
}

TEST(KivMesh, RebuiltNormalsRunOnFromVertexToVertex) {
    KivMesh mesh;
    mesh.addVertex(p0);
    mesh.addVertex(p1);
    mesh.addVertex(p2);
    mesh.addVertex(Kiv3DPoint(0.0, 0.0, 1.0));
    mesh.addTriangle(0, 1, 2); // left out
    mesh.addTriangle(0, 1, 2); // (0, 0, 1)
    mesh.addTriangle(1, 2, 3); // (1, 1, 1)
    mesh.rebuildNormals();
    // Vertex 0: one triangle. Vertex 1: the unit vector so far, and two more triangles, over three.
    EXPECT_TRUE(mesh.getNormal(0) == Kiv3DVector(0.0, 0.0, 1.0));
    Kiv3DVector sum(0.0, 0.0, 1.0);
    sum += Kiv3DVector(0.0, 0.0, 1.0);
    sum += Kiv3DVector(1.0, 1.0, 1.0);
    sum /= 3.0;
    sum.normalice();
    EXPECT_TRUE(mesh.getNormal(1) == sum);
}

TEST(KivMesh, RebuiltNormalsEqualTheLiteralForm) {
    RawRandom random(7);
    for (int round = 0; round < 2000; ++round) {
        KivMesh mesh;
        const unsigned int vertices = 1 + random.below(12);
        for (unsigned int i = 0; i < vertices; ++i) {
            mesh.addVertex(Kiv3DPoint(random.below(4), random.below(4), random.between(-1.0, 1.0)));
        }
        const unsigned int triangles = random.below(20);
        for (unsigned int t = 0; t < triangles; ++t) {
            mesh.addTriangle(random.below(vertices), random.below(vertices), random.below(vertices));
        }
        const bool isSecondCall = random.chance(3);
        if (isSecondCall) {
            // Of a surface that differs: what is left of it would show.
            mesh.rebuildNormals();
            mesh.addTriangle(random.below(vertices), random.below(vertices), random.below(vertices));
        }
        KivMesh bare;
        for (unsigned int i = 0; i < vertices; ++i) {
            bare.addVertex(mesh.getVertex(i));
        }
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            unsigned int c[3];
            mesh.getTriangle(c, t);
            bare.addTriangle(c[0], c[1], c[2]);
        }
        LiteralNormalsMesh literal(bare);
        literal.rebuildNormals();
        mesh.rebuildNormals();
        ASSERT_TRUE(mesh.getNormal(vertices) == Kiv3DVector()) << "one for each vertex and no more";
        for (unsigned int i = 0; i < vertices; ++i) {
            const Kiv3DVector expected = literal.getNormal(i);
            const Kiv3DVector actual = mesh.getNormal(i);
            ASSERT_TRUE(expected == actual || (std::isnan(expected.x) && std::isnan(actual.x))) << round << ' ' << i;
        }
    }
}

} // namespace
