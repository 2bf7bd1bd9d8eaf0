#include "import/reader/assimpcameras.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include <assimp/camera.h>
#include <assimp/light.h>
#include <assimp/scene.h>

namespace kivimport {
namespace {

using std::numbers::pi;

Transform transformOf(const AssimpPlaces& places, const aiString& node) {
    const auto found = places.worldFromNode.find(fromAi(node));
    return found == places.worldFromNode.end() ? Transform{} : found->second;
}

// An FBX camera may look at an object that moves by itself. Assimp 5.2 leaves that out and the camera unturned; the
// programs that write such cameras name the target after them.
void aimAtTarget(const AssimpPlaces& places, Camera& camera) {
    const auto target = places.worldFromNode.find(camera.name + ".Target");
    if (!places.isFbx || target == places.worldFromNode.end()) {
        return;
    }
    const Vec3 direction = unit(target->second.point({}) - camera.location);
    const Vec3 up = places.isZUp ? Vec3{0.0, 0.0, 1.0} : Vec3{0.0, 1.0, 0.0};
    if (length(cross(direction, up)) > 1e-6) {
        camera.direction = direction;
        camera.up = up;
    }
}

// Degrees.
double verticalFov(const aiCamera& source, double aspect, bool isLinear) {
    if (isLinear) {
        // The file holds the vertical angle; Assimp 5.2 makes the horizontal one by a plain product.
        return source.mHorizontalFOV / (source.mAspect > 0.0F ? aspect : 1.0) * 180.0 / pi;
    }
    return 2.0 * std::atan(std::tan(source.mHorizontalFOV / 2.0) / aspect) * 180.0 / pi;
}

// Files give lights in watts, lumen or plain factors; in a drawing only the hue counts.
Colour brightest(const aiColor3D& c) {
    const float top = std::max({c.r, c.g, c.b});
    if (!std::isfinite(top) || top <= 0.0F) {
        return {};
    }
    return fromAi(aiColor3D(c.r / top, c.g / top, c.b / top));
}

} // namespace

void addAssimpCameras(const aiScene& scene, const AssimpPlaces& places, ModelParts& parts) {
    for (unsigned int i = 0; i < scene.mNumCameras; ++i) {
        const aiCamera& source = *scene.mCameras[i];
        const Transform transform = transformOf(places, source.mName);
        Camera camera;
        camera.name = fromAi(source.mName);
        // Assimp 5.2 repeats a glTF node's place in the camera.
        camera.location = transform.point(places.isLinear ? Vec3{} : fromAi(source.mPosition));
        camera.direction = unit(transform.vector(fromAi(source.mLookAt)));
        camera.up = unit(transform.vector(fromAi(source.mUp)));
        aimAtTarget(places, camera);
        const double aspect = source.mAspect > 0.0F && std::isfinite(source.mAspect) ? source.mAspect : 4.0 / 3.0;
        if (source.mOrthographicWidth > 0.0F) {
            camera.orthoHeight = 2.0 * source.mOrthographicWidth / aspect;
        } else {
            camera.verticalFov = verticalFov(source, aspect, places.isLinear);
        }
        const bool sees = length(cross(camera.direction, camera.up)) > 1e-6;
        const double size = camera.verticalFov + camera.orthoHeight;
        if (sees && isUsable(camera.location) && std::isfinite(size) && size > 0.0) {
            parts.cameras.push_back(std::move(camera));
        }
    }
}

void addAssimpLights(const aiScene& scene, const AssimpPlaces& places, ModelParts& parts) {
    for (unsigned int i = 0; i < scene.mNumLights; ++i) {
        const aiLight& source = *scene.mLights[i];
        const Transform transform = transformOf(places, source.mName);
        Light light;
        light.name = fromAi(source.mName);
        light.location = transform.point(fromAi(source.mPosition));
        light.direction = unit(transform.vector(fromAi(source.mDirection)));
        const Vec3 attenuation{source.mAttenuationConstant, source.mAttenuationLinear, source.mAttenuationQuadratic};
        light.attenuation = isFinite(attenuation) ? attenuation : light.attenuation;
        light.colour = brightest(source.mColorDiffuse);
        switch (source.mType) {
        case aiLightSource_DIRECTIONAL:
            light.kind = Light::Kind::directional;
            break;
        case aiLightSource_POINT:
        case aiLightSource_AREA:
            light.kind = Light::Kind::point;
            break;
        case aiLightSource_SPOT:
            light.kind = Light::Kind::spot;
            light.spotAngle = std::isfinite(source.mAngleOuterCone)
                                  ? std::clamp(static_cast<double>(source.mAngleOuterCone), 0.0, pi / 2.0)
                                  : pi / 2.0;
            break;
        default:
            continue; // an ambient light has no place; the picture has its own ambient colour
        }
        const bool aimed = light.kind == Light::Kind::point || light.direction != Vec3{};
        if (aimed && isUsable(light.location) && light.colour != Colour{}) {
            parts.lights.push_back(std::move(light));
        }
    }
}

} // namespace kivimport
