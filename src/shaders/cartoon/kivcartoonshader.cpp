#include "kivcartoonshader.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivdatamanager.h"

#include <algorithm>

namespace {

constexpr const wchar_t* tag = L"Cartoon";
constexpr unsigned int nameText = 54;
constexpr unsigned int pageTemplate = 1;

KivTablePageSettings defaultSettings() {
    const KivSettingInfo* table = nullptr;
    const int count = kivCartoonTable(&table);
    return KivTablePageSettings(kivCartoonSection, table, count);
}

} // namespace

KivCartoonShader::KivCartoonShader(HINSTANCE pluginModule)
    : KivNonCombinableShader(pluginModule), renderSettings(defaultSettings()) {}

KivCartoonShader::~KivCartoonShader() {
    if (trianglePainter != nullptr) {
        trianglePainter->forget();
    }
}

const wchar_t* KivCartoonShader::getName() const {
    // Asked for each time: the language can be loaded after the shader.
    const std::wstring text = kivText(nameText);
    name = text.empty() ? tag : text;
    return name.c_str();
}

const wchar_t* KivCartoonShader::getTag() const {
    return tag;
}

void KivCartoonShader::reservedSlot() {}

void KivCartoonShader::reservedSlot(const KivMesh*) {}

HBITMAP KivCartoonShader::getPreviewBitmap() {
    return nullptr;
}

void KivCartoonShader::loadRenderData(KivDataManager* manager, const KivCommonSettings&) {
    kivLoadSettings(manager, renderSettings);
}

bool KivCartoonShader::loadDocData(KivDataManager* manager) {
    return kivLoadDocument(manager, defaultSettings());
}

void KivCartoonShader::createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) {
    if (getPage(dlg, 0) != nullptr) {
        return;
    }
    // Pages that no dialog shows any more have no further use.
    std::erase_if(ownPages, [this](const std::unique_ptr<KivShaderPage>& page) {
        return getPage(page->getPropertiesDlg(), 0) != page.get();
    });
    ownPages.push_back(std::make_unique<KivShaderPage>(pageTemplate, defaultSettings()));
    createPage(ownPages.back().get(), dlg);
}

unsigned int KivCartoonShader::getProgressSteps(KivScene* scene, const KivCommonSettings&) {
    return scene->numMeshes() * 3;
}

bool KivCartoonShader::saveDefaultData(KivDataManager* manager) {
    KivTablePageSettings defaults = defaultSettings();
    return kivSaveSettings(manager, defaults);
}

void KivCartoonShader::loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) {
    auto page = std::make_unique<KivTablePageSettings>(defaultSettings());
    kivLoadSettings(manager, *page);
    object->addPageSettings(page.release());
}

void KivCartoonShader::preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) {
    loadPreviewSettingsFromPages();
    KivPageDlg* page = getPage(dlg, 0);
    scene->addSettingsToAllMeshes(tag, false, page != nullptr ? page->getSettings() : &renderSettings);
}

int KivCartoonShader::getNumPages() {
    return 1;
}

bool KivCartoonShader::loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) {
    auto page = std::make_unique<KivTablePageSettings>(defaultSettings());
    kivLoadSettings(manager, *page);
    if (selected) {
        settings->push_back(page.release());
    }
    return true;
}

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivCartoonShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivCartoonTable(table);
}
