// Where a mesh has its normals from. Those that an importer made of the triangles, for files that bring none, tell
// nothing of the shape that the triangles do not: it may be found anew, by other rules. Those of a file may be no more
// than that. A host's own are its word on the shape.
//
// The mark lies beside the mesh and not in it, so that the mesh keeps its binary form. Copies of a mesh have it too.
#ifndef KIVRENDER_SCENE_KIVMESHNORMALS_H
#define KIVRENDER_SCENE_KIVMESHNORMALS_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>

class KivMesh;

enum class KivNormalsFrom : std::uint8_t { host, file, triangles };

// The mesh forgets it when it is deleted or is assigned to. May be called from several threads, for different meshes.
KIV_API void kivSetNormalsFrom(const KivMesh& mesh, KivNormalsFrom source);
KIV_API void kivSetNormalsFromTriangles(const KivMesh& mesh, bool fromTriangles); // else from the host

// Cost a look into a table; loops keep the answer.
KIV_API KivNormalsFrom kivNormalsFrom(const KivMesh& mesh);
KIV_API bool kivHasNormalsFromTriangles(const KivMesh& mesh);

// The same for a mesh that stands in the place of a coarser one: its normals run evenly over what was noise.
struct KivMeshNoise {
    double noise = 0.0;     // of the coarser mesh, 0 clean to 1 rough
    double divisions = 0.0; // parts of each of its sides; 0 for a mesh that stands for itself

    friend bool operator==(const KivMeshNoise&, const KivMeshNoise&) = default;
};
KIV_API void kivSetMeshNoise(const KivMesh& mesh, const KivMeshNoise& noise);
KIV_API KivMeshNoise kivMeshNoise(const KivMesh& mesh);

#endif
