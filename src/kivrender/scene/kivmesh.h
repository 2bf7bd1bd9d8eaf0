// A triangle mesh of a scene: indexed vertices, optional normals, one for each vertex, a material, and a box that is
// computed when first asked for. Coordinates are in the host model's units.
//
// The read side is virtual and every algorithm of the class goes through it, so that a class with a storage of its own
// gets all of them by overriding the accessors. The order of the virtual operations is part of the binary interface.
//
// Indices are not checked unless an operation says so. The tolerance of all searches is 0.0001 on each axis, inclusive.
// There is no lock: what several threads read needs its box computed beforehand.
//
//     KivMesh mesh;
//     mesh.addVertex({0, 0, 0});
//     mesh.addVertex({1, 0, 0});
//     mesh.addVertex({0, 1, 0});
//     mesh.addTriangle(0, 1, 2);          // indices of vertices, counter-clockwise seen from outside
//     mesh.setMaterial(material);         // copied
//
// Shaders that want the surface with welded corners, its edges and normals take them from geometry/kivsurface.h and
// lines/kivmeshfeatures.h, which keep them with the mesh.
#ifndef KIVRENDER_SCENE_KIVMESH_H
#define KIVRENDER_SCENE_KIVMESH_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivbox.h"
#include "kivrender/scene/kivmaterial.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

class KivLine;
class KivPolyline;

class KIV_API KivMesh : public Kiv3DObject {
public:
    KivMesh();
    // Reads the source through its virtual accessors. The shader settings are not taken over.
    KivMesh(const KivMesh& source);
    // Takes the shader settings over as well. Each mesh has a box of its own.
    KivMesh& operator=(const KivMesh& other);
    ~KivMesh() override;

    // Fill arrays of three. False, with nothing written, for a triangle above the count. The count itself passes and
    // gives zeros: callers stay below it.
    virtual bool getTriangle(unsigned int* indices, unsigned int triangle) const;
    virtual bool getTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals, unsigned int triangle) const;
    virtual bool getTriangle(Kiv3DPoint* points, unsigned int triangle) const;
    virtual Kiv3DPoint getVertex(unsigned int index) const;
    // A normal that the mesh does not have is the zero vector.
    virtual Kiv3DVector getNormal(unsigned int index) const;
    virtual unsigned int getNumTriangles() const;
    virtual unsigned int getNumVertexs() const;
    virtual bool hasNormals() const;
    // Computes all normals anew, as a running mean: the sum of the triangle normals and their number go on from vertex
    // to vertex, and the first triangle adds nothing. Hosts that want the normals of the surface set their own.
    virtual void rebuildNormals();
    // For derived classes; a plain mesh adds no lines.
    virtual void getIntersectionLines(std::vector<KivPolyline>& lines, const KivMesh* other) const;

    // Room for as many, so that adding does not move what is there. Never needed.
    void reserveVertexs(unsigned int count);
    void reserveNormals(unsigned int count);
    void reserveTriangles(unsigned int count);
    // Append without a search for duplicates. No add operation touches a box that was computed already.
    void addVertex(const Kiv3DPoint& point);
    void addVertex(const Kiv3DPoint& point, const Kiv3DVector& normal);
    void addNormal(const Kiv3DVector& normal);
    void addTriangle(unsigned int a, unsigned int b, unsigned int c);
    // The triangles (a, b, c) and (c, d, a).
    void addQuad(unsigned int a, unsigned int b, unsigned int c, unsigned int d);
    // Weld each corner to the first vertex within the tolerance, or append it. A corner that welds drops its normal.
    // Each corner costs a scan of all vertices: large meshes add vertices and indices, or use copyMeshCompacted.
    void addTriangle(const Kiv3DPoint& p0, const Kiv3DPoint& p1, const Kiv3DPoint& p2);
    void addTriangle(Kiv3DPoint* points);
    void addTriangle(const Kiv3DPoint& p0, const Kiv3DVector& n0, const Kiv3DPoint& p1, const Kiv3DVector& n1,
                     const Kiv3DPoint& p2, const Kiv3DVector& n2);
    void addTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals);
    // The material is copied in, by assignment.
    void setMaterial(KivMaterial& value);

    // The mesh's own material.
    const KivMaterial* getMaterial() const;
    // Whether the transparency of the material is exactly 1.0.
    bool isOpaque() const;
    // Whether every corner of every triangle is a vertex of the mesh.
    bool hasAllVertexs() const;
    // Owned by the mesh. The const form computes nothing and answers null if the box was never asked for.
    KivBox* getBoundingBox();
    const KivBox* getBoundingBox() const;
    // The first vertex within the tolerance of the point, or -1.
    int searchVertex(const Kiv3DPoint& point) const;

    // Not normaliced: the length is twice the area. Turned to the side of the vertex normals if there are any.
    Kiv3DVector getTriangleNormal(unsigned int triangle) const;
    // The mean of the three corners.
    Kiv3DPoint getTriangleBaricentre(unsigned int triangle) const;
    // a * x + b * y + c * z + d = 0, with (a, b, c) of unit length.
    void getTrianglePlane(unsigned int triangle, double* a, double* b, double* c, double* d) const;
    // Whether the two share at least two vertex indices; a triangle is adjacent to itself.
    bool areAdjacentTriangles(unsigned int t1, unsigned int t2) const;
    // Moves the candidates that are adjacent to the triangle, lie in its plane and face its way into out, an array of
    // at least three, and returns their number. The walk ends after three adjacent candidates, with flag after two,
    // whether they were in the plane or not.
    int getAdjacentTrianglesWithSamePlane(unsigned int triangle, unsigned int* out, std::list<unsigned int>& candidates,
                                          bool flag) const;
    // The two triangles at an edge, whose ends must equal vertices exactly. False for a border edge, with its triangle
    // in *first and -1 in *second; false with *first untouched if the ends are not vertices.
    bool getLineFaces(const KivLine& line, int* first, int* second) const;
    // The sum of both triangle normals: the larger triangle weighs more.
    Kiv3DVector getLineNormal(unsigned int t1, unsigned int t2) const;

    // Makes this mesh a copy of another one in which corners within the tolerance share a vertex; material and corners
    // are taken over, normals and shader settings are not, a box that was computed before stays. Costs a sort. Polls
    // for a cancel; a cancelled copy is empty or incomplete, and the caller asks the progress object for that.
    void copyMeshCompacted(const KivMesh& source);

private:
    class Places; // the scratch of copyMeshCompacted

    // One corner of one triangle.
    struct VertexFaces {
        Kiv3DPoint vertex;
        int face = 0;
        unsigned char corner = 0;
    };

    bool areCoplanarTriangles(unsigned int t1, unsigned int t2) const;
    void addWeldedCorner(const Kiv3DPoint& point, const Kiv3DVector* normal);
    // The first triangle behind `after` that uses the vertex, or -1.
    int searchTriangleVertex(int vertex, int after) const;
    void updateBoundingBox();
    // The place of a point among the first count corners, which are sorted.
    int dicotomicSearch(const Kiv3DPoint& point, int count) const;
    void buildMeshFromVertexsFaces(const Places& places);
    void insertVertexsIntoTriangles(const Places& places, const std::vector<std::uint32_t>& vertexOf,
                                    std::uint32_t partial, std::uint32_t reached);

    // Three indices for each triangle.
    std::vector<std::uint64_t> triangles;
    std::vector<Kiv3DPoint> vertexs;
    std::vector<Kiv3DVector> normals;
    KivMaterial material;
    std::unique_ptr<VertexFaces[]> vertexsFaces; // what dicotomicSearch looks through; otherwise null
    std::unique_ptr<KivBox> boundingBox;
};

#endif
