// What lines need of a mesh in every view: its welded surface and the edges of it. Found once for a mesh that is drawn
// again and again, and for one that is drawn once not kept longer than it is needed.
//
//     if (const auto features = kivMeshFeatures(mesh); !features->wings.empty()) {
//         ... // features->surface has the points that the wings name
//     }
//
// The result is shared and never changes; it stays valid as long as somebody holds it, whatever becomes of the mesh. A
// mesh that is changed by its own operations forgets it by itself; a class that is derived from KivMesh may change
// unseen, and nothing is kept for it.
#ifndef KIVRENDER_LINES_KIVMESHFEATURES_H
#define KIVRENDER_LINES_KIVMESHFEATURES_H

#include "kivrender/geometry/kivsurface.h"
#include "kivrender/lines/kivfeatureedges.h"
#include "kivrender/lines/kivsurfacecrossings.h"
#include "kivrender/platform/kivexport.h"

#include <memory>
#include <vector>

struct KivMeshFeatures {
    // Corners at equal places are one point; in the mesh's coordinates. It has normals only if it names its edges.
    KivSurface surface;
    std::vector<KivFeatureWing> wings; // of the surface; none when the user cancelled
    bool isKept = false;               // with the mesh
};

// Never null. From the second call on it is kept with the mesh (kivmeshkeep.h), unless the user cancelled; the memory
// is about three times that of the mesh. May be called from several threads, for different meshes.
KIV_API std::shared_ptr<const KivMeshFeatures> kivMeshFeatures(const KivMesh& mesh);

// The same, whatever another thread has found of it (kivmeshahead.h).
std::shared_ptr<const KivMeshFeatures> kivFindMeshFeatures(const KivMesh& mesh);

// The crossings of some meshes (kivsurfacecrossings.h), which no view changes: those that were found last are taken
// again for the same kept features.
class KIV_API KivMeshCrossings {
public:
    // As KivSurfaceCrossings::add; false when the user cancelled.
    bool add(std::shared_ptr<const KivMeshFeatures> body);
    // As KivSurfaceCrossings::find. Called once.
    bool find();
    // As KivSurfaceCrossings::pieces, once find has returned true.
    const std::vector<KivCrossing>& pieces() const;

private:
    friend class KivMeshAhead;

    void queue(std::shared_ptr<const KivMeshFeatures> body);
    bool addAll();
    bool findHere();
    // What is left of crossings where round faces do not merely lie on each other (touchingfaces.h).
    std::shared_ptr<const std::vector<KivCrossing>> withoutTouching(const std::vector<KivCrossing>& pieces) const;

    KivSurfaceCrossings crossings;
    std::vector<std::shared_ptr<const KivMeshFeatures>> smooth;  // all that were added; null for one without normals
    std::vector<std::shared_ptr<const KivMeshFeatures>> waiting; // to be added in their turn
    bool areHeld = true;                                         // all of them, by the mesh or found ahead
    std::vector<std::weak_ptr<const KivMeshFeatures>> key;       // of all bodies; without a meaning if any is not kept
    bool areKept = true;                                         // all of them
    std::shared_ptr<const std::vector<KivCrossing>> known;
};

#endif
