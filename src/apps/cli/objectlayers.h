// Pictures of single objects of a scene, for layers of their own.
#ifndef APPS_CLI_OBJECTLAYERS_H
#define APPS_CLI_OBJECTLAYERS_H

#include "kivrender/scene/kivscene.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// A name for each mesh, in UTF-8: its own, with a number where others have the same, or a number alone.
std::vector<std::string> objectLabels(const std::vector<std::wstring>& meshNames);

// For as long as it lives the other meshes of the scene are drawn by no shader: they hide what stands behind them. The
// scene's lines and points, which are not mesh's, are left out. Without an object the scene is as it is.
class OnlyObject {
public:
    OnlyObject(const KivScene& scene, std::optional<std::size_t> object);
    ~OnlyObject();
    OnlyObject(const OnlyObject&) = delete;
    OnlyObject& operator=(const OnlyObject&) = delete;

    const KivScene& shown() const {
        return apart ? *apart : whole;
    }

private:
    const KivScene& whole;
    std::optional<KivScene> apart;
    std::vector<KivMesh*> hiding;
};

#endif
