// A mesh that stands at its place in the scene and shares its triangles with others: 1000 screws of one kind take the
// memory of one and some hundred bytes each. Material, box and shader settings are each one's own.
//
// Vertices and normals are moved on every call, which costs some ten multiplications; what walks a mesh often reads it
// once. Every algorithm of KivMesh works on it. The shape is not its own: vertices and triangles that are added to it,
// or assigned, are not seen. A copy of it as a KivMesh is a plain mesh with vertices of its own.
//
//     const auto screw = std::make_shared<const KivMesh>(std::move(shape));
//     for (const KivMeshPlacement& place : places) {
//         scene.addMesh(new KivPlacedMesh(screw, place)); // the scene deletes it
//     }
//
// The base class answers from what the overridden accessors give, so that hosts and shaders need not know which of the
// two a mesh is.
#ifndef KIVRENDER_SCENE_KIVPLACEDMESH_H
#define KIVRENDER_SCENE_KIVPLACEDMESH_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"

#include <memory>

// Where a shape stands: turned, mirrored, larger or smaller alike in all directions, and moved. The default leaves it
// where it is.
struct KIV_API KivMeshPlacement {
    // Where the axes of the shape lead: of one length, at right angles.
    Kiv3DVector x{1.0, 0.0, 0.0};
    Kiv3DVector y{0.0, 1.0, 0.0};
    Kiv3DVector z{0.0, 0.0, 1.0};
    Kiv3DPoint origin;

    // A point of the shape, in the coordinates of the mesh.
    Kiv3DPoint placed(const Kiv3DPoint& p) const {
        return {x.x * p.x + y.x * p.y + z.x * p.z + origin.x, x.y * p.x + y.y * p.y + z.y * p.z + origin.y,
                x.z * p.x + y.z * p.y + z.z * p.z + origin.z};
    }
    // Whether a right hand comes out as a left one.
    bool isMirror() const;
};

class KIV_API KivPlacedMesh : public KivMesh {
public:
    // The shape must not change while it is shared, nor be null. It is deleted with the last mesh that shares it.
    KivPlacedMesh(std::shared_ptr<const KivMesh> sharedShape, const KivMeshPlacement& meshPlacement);
    KivPlacedMesh(const KivPlacedMesh&) = delete;
    KivPlacedMesh& operator=(const KivPlacedMesh&) = delete;
    ~KivPlacedMesh() override;

    // As KivMesh declares them, in the coordinates of the mesh; a mirrored one exchanges two corners, so that the outer
    // side stays outside.
    bool getTriangle(unsigned int* indices, unsigned int triangle) const override;
    bool getTriangle(Kiv3DPoint* points, Kiv3DVector* triangleNormals, unsigned int triangle) const override;
    bool getTriangle(Kiv3DPoint* points, unsigned int triangle) const override;
    Kiv3DPoint getVertex(unsigned int index) const override;
    Kiv3DVector getNormal(unsigned int index) const override;
    unsigned int getNumTriangles() const override;
    unsigned int getNumVertexs() const override;
    bool hasNormals() const override;
    // From here on the mesh has a shape that it shares with nobody.
    void rebuildNormals() override;

    // Never null.
    const std::shared_ptr<const KivMesh>& getShape() const {
        return shape;
    }
    const KivMeshPlacement& getPlacement() const {
        return placement;
    }

private:
    // As long as it was.
    Kiv3DVector placedNormal(const Kiv3DVector& n) const;

    std::shared_ptr<const KivMesh> shape;
    KivMeshPlacement placement;
    double shapeUnits; // in one unit of the mesh
    // Whether the placement is a mirror.
    bool isMirrored;
};

// The edges of any mesh with all places in the coordinates of the mesh itself; null for a plain one.
KIV_API std::shared_ptr<const KivMeshEdges> kivPlacedMeshEdges(const KivMesh& mesh);

#endif
