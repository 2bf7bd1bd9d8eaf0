#include "kivoutlineshader.h"

#include "kivoutlinedrawing.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/shader/kivshadercommunication.h"

namespace {

constexpr const wchar_t* tag = L"Outline";
constexpr unsigned int pageTemplate = 1;

KivTablePageSettings defaultSettings() {
    const KivSettingInfo* table = nullptr;
    const int count = kivOutlineTable(&table);
    return KivTablePageSettings(kivOutlineSection, table, count);
}

// The steps of the progress bar that are reserved for a combinable shader, one after the other.
class Steps {
public:
    Steps() : progress(kivCurrentProgress()) {}
    void begin() {
        if (progress != nullptr) {
            progress->beginStep();
        }
    }
    void advance() {
        if (progress != nullptr) {
            progress->advance(1, false);
        }
    }
    void end() {
        if (progress != nullptr) {
            progress->endStep();
        }
    }

private:
    KivProgress* progress;
};

} // namespace

KivOutlineShader::KivOutlineShader(HINSTANCE pluginModule)
    : KivCombinableShader(pluginModule), renderSettings(defaultSettings()) {}

KivOutlineShader::~KivOutlineShader() = default;

const wchar_t* KivOutlineShader::getName() const {
    return tag;
}

const wchar_t* KivOutlineShader::getTag() const {
    return tag;
}

void KivOutlineShader::reservedSlot() {}

HBITMAP KivOutlineShader::getPreviewBitmap() {
    return nullptr;
}

void KivOutlineShader::loadRenderData(KivDataManager* manager, const KivCommonSettings&) {
    kivLoadSettings(manager, renderSettings);
}

bool KivOutlineShader::loadDocData(KivDataManager* manager) {
    return kivLoadDocument(manager, defaultSettings());
}

void KivOutlineShader::createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) {
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

unsigned int KivOutlineShader::getProgressSteps(KivScene* scene, const KivCommonSettings&) {
    return scene->numMeshes() * 4 + scene->numPolyline() + 4;
}

bool KivOutlineShader::saveDefaultData(KivDataManager* manager) {
    KivTablePageSettings defaults = defaultSettings();
    return kivSaveSettings(manager, defaults);
}

void KivOutlineShader::loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) {
    auto page = std::make_unique<KivTablePageSettings>(defaultSettings());
    kivLoadSettings(manager, *page);
    object->addPageSettings(page.release());
}

void KivOutlineShader::preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) {
    loadPreviewSettingsFromPages();
    KivPageDlg* page = getPage(dlg, 0);
    scene->addSettingsToAllMeshes(tag, true, page != nullptr ? page->getSettings() : &renderSettings);
}

int KivOutlineShader::getNumPages() {
    return 1;
}

bool KivOutlineShader::loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) {
    auto page = std::make_unique<KivTablePageSettings>(defaultSettings());
    kivLoadSettings(manager, *page);
    if (selected) {
        settings->push_back(page.release());
    }
    return true;
}

bool KivOutlineShader::rendersMesh(const KivMesh* mesh) {
    return !mesh->hasObjectSettings() || mesh->rendersThisShader(tag);
}

KivOutlineLook KivOutlineShader::lookOf(const Kiv3DObject& object) const {
    const KivTablePageSettings* own = kivObjectSettings(object, kivOutlineSection);
    return kivOutlineLook(own != nullptr ? *own : renderSettings);
}

void KivOutlineShader::render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera&,
                              KivScene* scene, tagSIZE size, KivShaderCommunication& communication, bool named) {
    const auto isMine = [named](const Kiv3DObject& object) { return kivIsForShader(object, tag, named); };
    Steps steps;
    const bool preview = KivShaderCommunication::getDefaultCommunication() != &communication;
    KivOutlineDrawing drawing(settings, size, communication, preview);
    // Step 1: the lines of each mesh, and the scene's own.
    steps.begin();
    for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        if (mesh != nullptr && isMine(*mesh)) {
            drawing.addMesh(*mesh, lookOf(*mesh));
        }
        steps.advance();
        if (kivIsCancelled()) {
            return;
        }
    }
    for (unsigned int i = 0; i < scene->numPolyline(); ++i) {
        const KivPolyline* polyline = scene->getPolyline(i);
        if (polyline != nullptr && isMine(*polyline)) {
            drawing.addPolyline(*polyline, lookOf(*polyline));
        }
        steps.advance();
    }
    for (unsigned int i = 0; i < scene->numLines(); ++i) {
        const KivLine* line = scene->getLine(i);
        if (!line->isHidden() && isMine(*line)) {
            drawing.addLine(*line, lookOf(*line));
        }
    }
    if (named) {
        // Points carry no settings of their own.
        for (unsigned int i = 0; i < scene->numPoints(); ++i) {
            drawing.addPoint(*scene->getPoint(i), kivOutlineLook(renderSettings));
        }
    }
    steps.advance();
    steps.end();
    // Step 2: the depth of what no base shader draws.
    steps.begin();
    for (unsigned int i = 0; i < scene->numMeshes() && !drawing.isEmpty(); ++i) {
        const KivMesh* mesh = scene->getMesh(i);
        const bool seeThrough = mesh != nullptr && settings.doTransparencies() && !mesh->isOpaque();
        const bool based = mesh != nullptr && mesh->hasNonCombinable(communication.hasNonCombinable());
        if (mesh != nullptr && !seeThrough && (preview || !based)) {
            drawing.layDepth(*mesh);
        }
        steps.advance();
        if (kivIsCancelled()) {
            return;
        }
    }
    steps.end();
    // Step 3: which of the lines are seen.
    steps.begin();
    if (!drawing.trace()) {
        return;
    }
    steps.end();
    // Step 4: the strokes.
    steps.begin();
    drawing.draw();
    flushAndShow(surface, settings.doVectorial());
    steps.end();
}

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new KivOutlineShader(kivModuleOf(&KivShaderCreate));
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}

KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    return kivOutlineTable(table);
}
