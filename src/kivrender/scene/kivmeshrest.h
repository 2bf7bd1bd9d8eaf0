// A mesh that shows one pose of a model that moves, and the same mesh at rest: what the shape is (where it is smooth,
// which of its edges are creases) is decided of the mesh at rest, and so once for all poses of a film.
//
// It lies beside the mesh and not in it, so that the mesh keeps its binary form. Without one a mesh is at rest itself.
#ifndef KIVRENDER_SCENE_KIVMESHREST_H
#define KIVRENDER_SCENE_KIVMESHREST_H

#include "kivrender/platform/kivexport.h"

#include <memory>

class KivMesh;

// Gives the mesh its shape at rest, or none for null: a mesh with the same vertices and triangles one by one, with
// normals if the posed one has them. One that has another number of either counts as none. The mesh forgets it when it
// is deleted or is assigned to. May be called from several threads, for different meshes.
KIV_API void kivSetMeshRest(const KivMesh& mesh, std::shared_ptr<const KivMesh> rest);

// Null for a mesh that is at rest itself.
KIV_API std::shared_ptr<const KivMesh> kivMeshRest(const KivMesh& mesh);

#endif
