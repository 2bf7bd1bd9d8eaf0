// The recording test plug-in; see support/testshader.h.
#include "dialogs/samplepage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/shader/kivdrawing.h"
#include "support/plainshader.h"
#include "support/testshader.h"

#include <dlfcn.h>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

TestShaderRecord record;

std::wstring ownTag() {
    Dl_info info{};
    if (dladdr(&record, &info) == 0) {
        return L"unknown";
    }
    return kivFromUtf8(std::filesystem::path(info.dli_fname).stem().string());
}

std::wstring ownName() {
    return ownTag() == L"cartoon" ? L"Cartoon" : L"Test " + ownTag();
}

// What base looks and combinable shaders have in common.
template <class Plain> class Recording : public Plain {
public:
    Recording() : Plain(kivModuleOf(&record), ownTag(), ownName()) {
        ++record.pluginsMade;
    }

    void render(KivBitmapManager* surface, const KivCommonSettings&, const KivCamera&, KivScene* scene, tagSIZE size,
                KivShaderCommunication&, bool named) override {
        note("render " + std::to_string(size.cx) + "x" + std::to_string(size.cy) + (named ? " named" : " sweep"));
        if (record.onRender) {
            record.onRender(*this, surface);
        }
        for (unsigned int i = 0; record.draws && i < scene->numMeshes(); ++i) {
            const KivMesh* const mesh = scene->getMesh(i);
            if (named ? !mesh->hasObjectSettings() : mesh->rendersThisShader(this->getTag())) {
                draw(*mesh);
            }
        }
    }
    void loadRenderData(KivDataManager* manager, const KivCommonSettings&) override {
        note("loadRenderData");
        takeCells(*manager);
    }
    bool loadDocData(KivDataManager* manager) override {
        note("loadDocData");
        for (int i = 0; i < record.cellsToRead; ++i) {
            int value = 0;
            if (!manager->loadIntFromFile(&value)) {
                return false;
            }
            record.cells.push_back(value);
        }
        return record.readsSettings;
    }
    void loadObjectSettings(KivDataManager* manager, Kiv3DObject*) override {
        note("loadObjectSettings");
        takeCells(*manager);
    }
    bool loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) override {
        note(selected ? "loadShaderSettings selected" : "loadShaderSettings");
        takeCells(*manager);
        if (record.onShaderSettings) {
            record.onShaderSettings(settings, selected);
        }
        return record.readsSettings;
    }
    bool saveDefaultData(KivDataManager* manager) override {
        manager->saveInt(defaultCell);
        manager->saveCurrentVaried(false);
        return true;
    }
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) override {
        note(dlg == nullptr ? "createPages without a dialog" : "createPages");
        if (record.hasPage && this->getPage(dlg, 0) == nullptr) {
            page = std::make_unique<SamplePage>(L"Page");
            page->own.loads = record.pageLoads;
            this->createPage(page.get(), dlg);
        }
    }
    void preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) override {
        note("preparePreview");
        if (record.onPreparePreview) {
            record.onPreparePreview(scene, dlg);
        }
        scene->addSettingsToAllMeshes(this->getTag(), this->isCombinable(), nullptr);
    }
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        return 7;
    }

protected:
    static constexpr int defaultCell = 77;

    void note(const std::string& call) const {
        if (record.calls != nullptr) {
            record.calls->push_back(kivToUtf8(this->getTag()) + " " + call);
        }
        if (record.onCall) {
            record.onCall(call);
        }
    }

    static void takeCells(KivDataManager& manager) {
        for (int i = 0; i < record.cellsToRead; ++i) {
            record.cells.push_back(manager.loadInt());
        }
    }
    static void setColor() {
        KivDrawing::enableLighting(false, false);
        KivDrawing::setColor(static_cast<float>(record.color & 0xFFU) / 255.0F,
                             static_cast<float>(record.color >> 8U & 0xFFU) / 255.0F,
                             static_cast<float>(record.color >> 16U & 0xFFU) / 255.0F, 1.0F, false);
    }
    static void draw(const KivMesh& mesh) {
        setColor();
        KivDrawing::beginDrawing(false, KivDrawing::triangles);
        for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
            Kiv3DPoint points[3];
            mesh.getTriangle(points, i);
            KivDrawing::drawTriangle(points, false);
        }
        KivDrawing::endDrawing(false);
    }

    std::unique_ptr<SamplePage> page;
};

class RecordingCombinable : public Recording<PlainCombinable> {
public:
    bool rendersMesh(const KivMesh*) override {
        note("rendersMesh");
        return record.rendersMeshes;
    }
};

// "m0" for the first mesh of the scene.
std::string nameOf(KivScene* scene, const KivMesh* mesh) {
    for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
        if (scene->getMesh(i) == mesh) {
            return "m" + std::to_string(i);
        }
    }
    return "no mesh of the scene";
}

std::string lightName(const KivLight* light, int index, int count) {
    return light == nullptr ? "" : " light " + std::to_string(index) + " of " + std::to_string(count);
}

class RecordingBaseLook : public Recording<PlainBaseLook> {
public:
    void renderMeshDepth(const KivMesh* mesh, const KivCommonSettings&, KivScene* scene, KivShadows&, const KivCamera&,
                         bool) override {
        note("depth " + nameOf(scene, mesh));
        if (record.draws) {
            draw(*mesh);
        }
    }
    void renderMeshPass(const KivMesh* mesh, const KivLight* light, int lightIndex, int numLights,
                        const KivCommonSettings&, KivScene* scene, int pass, const KivCamera&, bool) override {
        note("pass " + std::to_string(pass) + " " + nameOf(scene, mesh) + lightName(light, lightIndex, numLights));
    }
    void beginTransparency(bool) override {
        note("beginTransparency");
    }
    void renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings&, KivScene* scene, const KivCamera&,
                          int meshIndex, KivNonCombinableShader*, int pass, bool) override {
        note("opaque " + std::to_string(pass) + " " + nameOf(scene, mesh) + " " + std::to_string(meshIndex));
        if (record.draws && pass == 1) {
            draw(*mesh);
        }
    }
    void renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector*, const KivMesh* mesh, KivScene* scene,
                                   const KivCamera&, const KivCommonSettings&, int meshIndex, int previousMeshIndex,
                                   KivNonCombinableShader*, KivShadows* shadows, int pass, const KivLight* light,
                                   int lightIndex, int numLights, bool) override {
        note("triangle " + std::to_string(pass) + " " + nameOf(scene, mesh) + " " + std::to_string(meshIndex) + " " +
             std::to_string(previousMeshIndex) + (shadows != nullptr ? " shadows" : "") +
             lightName(light, lightIndex, numLights));
        if (record.draws && pass == 1) {
            setColor();
            KivDrawing::beginDrawing(false, KivDrawing::triangles);
            KivDrawing::drawTriangle(points, false);
            KivDrawing::endDrawing(false);
        }
    }
    void endTransparentTriangle(int meshIndex, int previousMeshIndex, int pass, bool) override {
        note("end " + std::to_string(pass) + " " + std::to_string(meshIndex) + " " + std::to_string(previousMeshIndex));
    }
    void endTransparency(bool) override {
        note("endTransparency");
    }
    void prepareObjectRendering(const KivCommonSettings&, KivScene*) override {
        note("prepareObjectRendering");
        if (record.onPrepare) {
            record.onPrepare();
        }
    }
};

} // namespace

KIV_PLUGIN_EXPORT TestShaderRecord* testShaderRecord() {
    return &record;
}

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    if (ownTag().starts_with(L"add-")) {
        return new RecordingCombinable;
    }
    return new RecordingBaseLook;
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    if (record.onDelete) {
        record.onDelete(*shader);
    }
    delete shader;
}
