// The hostile test plug-in; see support/hostileshader.h.
#include "dialogs/samplepage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivdrawing.h"
#include "support/hostileshader.h"
#include "support/plainshader.h"

#include <memory>

namespace {

HostileRecord record;

struct OwnType {
    std::string text;
};

void reach(const char* slot) {
    if (record.slot != slot) {
        return;
    }
    ++record.thrown;
    if (record.insidePrimitive) {
        KivDrawing::beginDrawing(false, KivDrawing::triangles);
    }
    const std::string text = "thrown from " + record.slot;
    switch (record.kind) {
    case HostileRecord::runtimeError:
        throw std::runtime_error(text);
    case HostileRecord::number:
        throw 42;
    case HostileRecord::ownType:
        throw OwnType{text};
    case HostileRecord::nothing:
        break;
    }
}

std::wstring ownTag() {
    Dl_info info{};
    return dladdr(&record, &info) != 0 ? kivFromUtf8(std::filesystem::path(info.dli_fname).stem().string()) : L"";
}

class Settings : public SampleSettings {
public:
    using SampleSettings::SampleSettings;

    void saveSettings() override {
        SampleSettings::saveSettings();
        reach("saveSettings"); // with half a block in the stream
    }
    bool loadSettings() override {
        reach("loadSettings");
        return SampleSettings::loadSettings();
    }
    bool save(const wchar_t* section, const wchar_t* file) override {
        reach("save");
        return SampleSettings::save(section, file);
    }
    bool load(const wchar_t* section, const wchar_t* file) override {
        reach("load");
        return SampleSettings::load(section, file);
    }
};

class Page : public KivPageDlg {
public:
    Page() : KivPageDlg(100, nullptr, kivModuleOf(&record)) {
        settings = &owned;
    }
    int DestroyWindow() override {
        reach("DestroyWindow");
        return KivPageDlg::DestroyWindow();
    }
    void saveControls() override {
        reach("saveControls");
    }
    void loadControls() override {
        reach("loadControls");
    }

protected:
    void onControl(const KivControlEvent&) override {
        reach("onControl");
    }

private:
    Settings owned{L"Hostile"};
};

template <class Plain> class Hostile : public Plain {
public:
    Hostile() : Plain(kivModuleOf(&record), ownTag(), L"Test " + ownTag()) {}

    void render(KivBitmapManager*, const KivCommonSettings&, const KivCamera&, KivScene*, tagSIZE,
                KivShaderCommunication&, bool) override {
        reach("render");
    }
    void loadRenderData(KivDataManager*, const KivCommonSettings&) override {
        reach("loadRenderData");
    }
    const wchar_t* getName() const override {
        reach("getName");
        return Plain::getName();
    }
    HBITMAP getPreviewBitmap() override {
        reach("getPreviewBitmap");
        return nullptr;
    }
    const wchar_t* getTag() const override {
        reach("getTag");
        return Plain::getTag();
    }
    bool isCombinable() const override {
        reach("isCombinable");
        return Plain::isCombinable();
    }
    bool loadDocData(KivDataManager*) override {
        reach("loadDocData");
        return true;
    }
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) override {
        reach("createPages");
        if (this->getPage(dlg, 0) == nullptr) {
            page = std::make_unique<Page>();
            if (dlg != nullptr) {
                page->Create(100, nullptr);
            }
            this->createPage(page.get(), dlg);
        }
    }
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        reach("getProgressSteps");
        return 1;
    }
    bool saveDefaultData(KivDataManager* manager) override {
        manager->saveInt(5);
        reach("saveDefaultData");
        return true;
    }
    void loadObjectSettings(KivDataManager*, Kiv3DObject*) override {
        reach("loadObjectSettings");
    }
    void preparePreview(KivScene*, const KivPropertiesDlg*) override {
        reach("preparePreview");
    }
    int getNumPages() override {
        reach("getNumPages");
        return 1;
    }
    bool loadShaderSettings(KivDataManager*, std::vector<void*>*, bool) override {
        reach("loadShaderSettings");
        return true;
    }

private:
    std::unique_ptr<Page> page;
};

class HostileCombinable : public Hostile<PlainCombinable> {
public:
    bool rendersMesh(const KivMesh*) override {
        reach("rendersMesh");
        return false;
    }
};

class HostileBaseLook : public Hostile<PlainBaseLook> {
public:
    void prepareObjectRendering(const KivCommonSettings&, KivScene*) override {
        reach("prepareObjectRendering");
    }
    void renderMeshDepth(const KivMesh*, const KivCommonSettings&, KivScene*, KivShadows&, const KivCamera&,
                         bool) override {
        reach("renderMeshDepth");
    }
    void renderMeshPass(const KivMesh*, const KivLight*, int, int, const KivCommonSettings&, KivScene*, int,
                        const KivCamera&, bool) override {
        reach("renderMeshPass");
    }
    void beginTransparency(bool) override {
        reach("beginTransparency");
    }
    void renderOpaqueMesh(const KivMesh*, const KivCommonSettings&, KivScene*, const KivCamera&, int,
                          KivNonCombinableShader*, int, bool) override {
        reach("renderOpaqueMesh");
    }
    void renderTransparentTriangle(const Kiv3DPoint*, const Kiv3DVector*, const KivMesh*, KivScene*, const KivCamera&,
                                   const KivCommonSettings&, int, int, KivNonCombinableShader*, KivShadows*, int,
                                   const KivLight*, int, int, bool) override {
        reach("renderTransparentTriangle");
    }
    void endTransparentTriangle(int, int, int, bool) override {
        reach("endTransparentTriangle");
    }
    void endTransparency(bool) override {
        reach("endTransparency");
    }
};

} // namespace

KIV_PLUGIN_EXPORT HostileRecord* hostileRecord() {
    return &record;
}

KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    if (ownTag() == L"Sketch" || ownTag().starts_with(L"add-")) {
        return new HostileCombinable;
    }
    return new HostileBaseLook;
}

KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}
