// Models that are drawn many times a second, while a hand moves them.
#ifndef APPS_STUDIO_COARSEMODEL_H
#define APPS_STUDIO_COARSEMODEL_H

#include "apps/document/studioobjects.h"
#include "kivrender/scene/kivscene.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// A mesh of at most that many triangles with the shape of the other: vertices that fall into one cell of a grid
// become one. A mesh that is small enough comes out as it is. Takes time in proportion to the triangles.
std::unique_ptr<KivMesh> coarseMesh(const KivMesh& mesh, unsigned int wantedTriangles);

// Stands for a scene while it moves: meshes of one colour are one mesh where there are many, and large ones are coarse.
class CoarseModel {
public:
    CoarseModel() = default;
    explicit CoarseModel(const KivScene& whole);

    // A scene without lights that looks much like what is shown of the whole one; that itself where it is drawn fast
    // enough. The meshes have the materials of their states now (StudioModel::OwnLooks).
    KivScene scene(const KivScene& whole, const StudioObjectStates& states) const;
    // The mesh drawn for the one of that number, or that one itself; null where none is coarse.
    KivMesh* partOf(int mesh) const;

private:
    std::vector<std::uint64_t> triangles; // of each mesh of the whole scene
    std::optional<KivScene> parts;        // for each mesh; none where the scene is light as it is
    mutable std::optional<KivScene> joined;
    mutable StudioObjectStates joinedStates;
};

#endif
