#include "kivrender/render/kivshadowcaster.h"

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/settings/kivcommonsettings.h"

namespace {

// A mesh that is smaller than this part of the picture's short side on two axes casts no shadow: a small object or a
// thin rod would cost as much as any and show next to nothing.
bool isLargeEnoughToCast(KivMesh& mesh, const KivCamera& camera) {
    const double limit = camera.getMinFrustumSize() / 60.0;
    const KivBox& box = *mesh.getBoundingBox();
    return (box.getXSize() > limit ? 1 : 0) + (box.getYSize() > limit ? 1 : 0) + (box.getZSize() > limit ? 1 : 0) >= 2;
}

} // namespace

// Half-opaque meshes cast a shadow though they are drawn with the transparent ones.
bool kivCastsShadow(KivMesh& mesh, const KivCamera& camera, const KivCommonSettings& settings) {
    return (!settings.doTransparencies() || mesh.getMaterial()->getTransparency() >= 0.5) &&
           isLargeEnoughToCast(mesh, camera);
}
