#include "kivcartoontriangles.h"

#include "kivpageresource.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivshaderinterface.h"

namespace {

constexpr unsigned int nameText = 54;

} // namespace

KivCartoonShader::KivCartoonShader(HINSTANCE pluginModule)
    : KivTableShader(pluginModule, L"Cartoon", kivDefaultSettings(kivCartoonSection, kivCartoonTable), nameText) {}

KivCartoonShader::~KivCartoonShader() {
    forgetTriangles();
}

void KivCartoonShader::reservedSlot(const KivMesh*) {}

unsigned int KivCartoonShader::getProgressSteps(KivScene* scene, const KivCommonSettings&) {
    return scene->numMeshes() * 3;
}

// Faces that are each painted in one tone are those of the mesh.
KivShapeWish KivCartoonShader::shapeOf(const Kiv3DObject& object) const {
    const KivCartoonLook look = lookOf(object);
    return {look.smoothShape && !look.flat, look.smoothAngle};
}

KIV_SHADER_INTERFACE;

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivCartoonShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT bool KivShaderUsesStencil(const KivShader*) {
    return false; // but in renders with shadows
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivCartoonTable(table);
}

KIV_PLUGIN_EXPORT void KivShaderShape(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish) {
    *wish = static_cast<const KivCartoonShader*>(shader)->shapeOf(*object);
}

KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {
    return kivPageResource(kind, id, size, kivCartoonTable);
}
