// Models that are drawn many times a second, while a hand moves them.
#ifndef APPS_STUDIO_COARSEMODEL_H
#define APPS_STUDIO_COARSEMODEL_H

#include "kivrender/scene/kivscene.h"

#include <memory>
#include <optional>

// A mesh of at most that many triangles with the shape of the other: vertices that fall into one cell of a grid
// become one. A mesh that is small enough comes out as it is. Takes time in proportion to the triangles.
std::unique_ptr<KivMesh> coarseMesh(const KivMesh& mesh, unsigned int wantedTriangles);

// A scene that looks much like the other and is drawn fast: meshes of one colour are one mesh where there are many, and
// large ones are coarse. None if the scene is light enough as it is. Without lights.
std::optional<KivScene> coarseScene(const KivScene& scene);

#endif
