#include "apps/cli/objectlayers.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivlight.h"
#include "kivrender/scene/kivmesh.h"

#include <map>

namespace {

// No shader has it: a mesh that names it is drawn by none.
constexpr const wchar_t* noShader = L"hides alone";

} // namespace

std::vector<std::string> objectLabels(const std::vector<std::wstring>& meshNames) {
    std::map<std::wstring, int> counts;
    for (const std::wstring& name : meshNames) {
        ++counts[name];
    }
    std::map<std::wstring, int> numbers;
    std::vector<std::string> labels;
    for (const std::wstring& name : meshNames) {
        const std::string own = name.empty() ? "object" : kivToUtf8(name);
        const bool isAlone = !name.empty() && counts[name] == 1;
        labels.push_back(isAlone ? own : own + " " + std::to_string(++numbers[name]));
    }
    return labels;
}

OnlyObject::OnlyObject(const KivScene& scene, std::optional<std::size_t> object) : whole(scene) {
    if (!object) {
        return;
    }
    apart.emplace();
    for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
        KivMesh* const mesh = scene.getMesh(i);
        apart->addMesh(mesh);
        if (i != *object) {
            mesh->addCombinableShader(noShader);
            hiding.push_back(mesh);
        }
    }
    for (unsigned int i = 0; i < scene.numLights(); ++i) {
        KivLight light = *scene.getLight(i);
        apart->addLight(light);
    }
}

OnlyObject::~OnlyObject() {
    for (KivMesh* const mesh : hiding) {
        mesh->deleteSettings();
    }
}
