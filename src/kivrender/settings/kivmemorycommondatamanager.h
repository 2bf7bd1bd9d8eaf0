// The common settings of a host without a document of its own: kept in memory. A save that does not reach its end
// leaves the earlier values as they were; before the first complete save there is nothing to load.
//
// A host that keeps no options of its own uses one of these as the argument of KivRenderer::render:
//
//     KivCommonSettings settings;
//     settings.setShadows(true);
//     KivMemoryCommonDataManager common;
//     settings.saveDataOnHost(&common);
//     renderer.render(&common, &shaderStream, &scene, camera, &surface, &size);
//
// It owns copies of all texts. What the load operations return stays valid until the next complete save, or until the
// manager ends. Copies are independent of one another. No operation throws, but for want of memory.
#ifndef KIVRENDER_SETTINGS_KIVMEMORYCOMMONDATAMANAGER_H
#define KIVRENDER_SETTINGS_KIVMEMORYCOMMONDATAMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivcommondatamanager.h"

#include <string>

class KIV_API KivMemoryCommonDataManager : public KivCommonDataManager {
public:
    KivMemoryCommonDataManager() = default;
    KivMemoryCommonDataManager(const KivMemoryCommonDataManager&) = default;
    KivMemoryCommonDataManager& operator=(const KivMemoryCommonDataManager&) = default;
    ~KivMemoryCommonDataManager() override;

    // Begins a run of save operations. A run that was begun and not ended is forgotten. Always true.
    bool beginSaveCommonData() override;
    // Makes the values of the run the current ones, all at once. False, with nothing changed, without a run.
    bool endSaveCommonData() override;
    // One value each, of the meaning and range that KivCommonSettings gives it; nothing is checked here. A null text
    // counts as empty. False, with nothing kept, outside a run.
    bool saveAntialias(int value) override;
    bool saveResolution(SIZE value) override;
    bool saveCustomSize(bool value) override;
    bool saveBackgroundColor(std::uint32_t value) override;
    bool saveBackgroundImage(const wchar_t* value) override;
    bool savePaperImage(const wchar_t* value) override;
    bool saveAmbientLight(std::uint32_t value) override;
    bool saveVectorial(bool value) override;
    bool saveTransparencies(bool value) override;
    bool saveShadows(bool value) override;
    bool saveVectorialSpeed(int value) override;
    bool saveRenderIsoparams(bool value) override;
    bool saveRenderDim(bool value) override;
    bool saveSaveShadows(bool value) override;
    bool saveSaveDepth(bool value) override;
    bool saveSaveRender(bool value) override;
    bool saveSaveRenderFile(const wchar_t* value) override;
    bool saveSaveVectorFile(const wchar_t* value) override;
    bool saveVectorSimplify(bool value) override;
    bool savePolygonOffset(double value) override;

    // False as long as nothing was saved.
    bool beginLoadCommonData() override;
    // Always true: a load changes nothing.
    bool endLoadCommonData() override;
    // The values of the last complete save; before it those of a new record: 0, false and empty texts.
    int loadAntialias() override;
    SIZE loadResolution() override;
    bool loadCustomSize() override;
    std::uint32_t loadBackgroundColor() override;
    const wchar_t* loadBackgroundImage() override;
    const wchar_t* loadPaperImage() override;
    std::uint32_t loadAmbientLight() override;
    bool loadVectorial() override;
    bool loadTransparencies() override;
    bool loadShadows() override;
    int loadVectorialSpeed() override;
    bool loadRenderIsoparams() override;
    bool loadRenderDim() override;
    bool loadSaveShadows() override;
    bool loadSaveDepth() override;
    bool loadSaveRender() override;
    const wchar_t* loadSaveRenderFile() override;
    const wchar_t* loadSaveVectorFile() override;
    bool loadVectorSimplify() override;
    double loadPolygonOffset() override;

private:
    // All values of one save.
    struct Record {
        int antialias = 0;
        SIZE resolution = {};
        bool customSize = false;
        std::uint32_t backgroundColor = 0;
        std::wstring backgroundImage;
        std::wstring paperImage;
        std::uint32_t ambientLight = 0;
        bool vectorial = false;
        bool transparencies = false;
        bool shadows = false;
        int vectorialSpeed = 0;
        bool renderIsoparams = false;
        bool renderDim = false;
        bool saveShadows = false;
        bool saveDepth = false;
        bool saveRender = false;
        std::wstring saveRenderFile;
        std::wstring saveVectorFile;
        bool vectorSimplify = false;
        double polygonOffset = 0;
    };

    Record coming; // what the run of save operations under way has brought so far
    // Those that the load operations give.
    Record kept;
    bool saving = false;
    bool complete = false;
};

#endif
