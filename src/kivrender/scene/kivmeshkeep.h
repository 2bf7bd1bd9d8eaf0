// Results computed from a mesh that serve again, in the next pass or the next picture. They lie beside the mesh, so
// that it keeps its binary form, and go as soon as the mesh changes.
#ifndef KIVRENDER_SCENE_KIVMESHKEEP_H
#define KIVRENDER_SCENE_KIVMESHKEEP_H

#include "kivrender/platform/kivexport.h"

#include <memory>

class KivMesh;

// Whether changes of the mesh are seen. Those of a derived class may have a storage of their own, of which nobody knows
// when it changes: nothing is to be kept of them.
KIV_API bool kivCanKeepWithMesh(const KivMesh& mesh);

// Keeps something with the mesh in the place of what was kept before; null for nothing. The mesh forgets it when it is
// deleted, assigned to, welded anew, or given other normals or edges. Vertices, normals and triangles that are added
// are for the caller to see by their number. May be called from several threads, for different meshes.
KIV_API void kivKeepWithMesh(const KivMesh& mesh, std::shared_ptr<const void> things);

// Null if nothing is kept. Costs a look into a table.
KIV_API std::shared_ptr<const void> kivKeptWithMesh(const KivMesh& mesh);

#endif
