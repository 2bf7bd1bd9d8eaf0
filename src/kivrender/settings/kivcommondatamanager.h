// The host's store of the common settings of a document, one operation for each value. KivMemoryCommonDataManager is
// one that needs no document.
//
// KivCommonSettings calls the operations in a fixed order that is not the order of the declarations:
//   antialias, customSize, resolution, ambientLight, backgroundColor, backgroundImage, paperImage, vectorial,
//   transparencies, shadows, vectorialSpeed, renderIsoparams, renderDim, saveShadows, saveDepth, saveRender,
//   saveRenderFile, saveVectorFile, vectorSimplify, polygonOffset
// between begin and end. A false from a save operation ends the run at once. The load operations can't fail; a text
// that they return is the host's and is copied before the next call.
//
// The order of the virtual operations is part of the binary interface.
//
// A host that has a document derives from it and writes each value to its document, or reads it back; what it returns
// for a value that the document does not have is up to it, and 0, false or an empty text are good answers. Called on
// the thread that called KivCommonSettings.
#ifndef KIVRENDER_SETTINGS_KIVCOMMONDATAMANAGER_H
#define KIVRENDER_SETTINGS_KIVCOMMONDATAMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivversionmanager.h"

#include <cstdint>

class KIV_API KivCommonDataManager : public KivVersionManager {
public:
    KivCommonDataManager() = default;
    KivCommonDataManager(const KivCommonDataManager&) = default;
    KivCommonDataManager& operator=(const KivCommonDataManager&) = default;
    ~KivCommonDataManager() override;

    // Before the first save operation of a run. False ends the run.
    virtual bool beginSaveCommonData() = 0;
    // After the last one; only here the values are complete.
    virtual bool endSaveCommonData() = 0;
    // 0, 1 or 2.
    virtual bool saveAntialias(int value) = 0;
    // Pixels, width and height.
    virtual bool saveResolution(SIZE value) = 0;
    virtual bool saveCustomSize(bool value) = 0;
    // Colours have red in the low byte. Texts are paths, valid for the length of the call, and never null.
    virtual bool saveBackgroundColor(std::uint32_t value) = 0;
    virtual bool saveBackgroundImage(const wchar_t* value) = 0;
    virtual bool savePaperImage(const wchar_t* value) = 0;
    virtual bool saveAmbientLight(std::uint32_t value) = 0;
    virtual bool saveVectorial(bool value) = 0;
    virtual bool saveTransparencies(bool value) = 0;
    virtual bool saveShadows(bool value) = 0;
    // 0 or 1.
    virtual bool saveVectorialSpeed(int value) = 0;
    virtual bool saveRenderIsoparams(bool value) = 0;
    virtual bool saveRenderDim(bool value) = 0;
    virtual bool saveSaveShadows(bool value) = 0;
    virtual bool saveSaveDepth(bool value) = 0;
    virtual bool saveSaveRender(bool value) = 0;
    virtual bool saveSaveRenderFile(const wchar_t* value) = 0;
    virtual bool saveSaveVectorFile(const wchar_t* value) = 0;
    virtual bool saveVectorSimplify(bool value) = 0;
    // Units of the depth buffer.
    virtual bool savePolygonOffset(double value) = 0;

    // Before the first load operation of a run. False if there is nothing to load; no value is then asked for.
    virtual bool beginLoadCommonData() = 0;
    // After the last one.
    virtual bool endLoadCommonData() = 0;
    // In the ranges of the save operations; others are cut by the render that reads them.
    virtual int loadAntialias() = 0;
    virtual SIZE loadResolution() = 0;
    virtual bool loadCustomSize() = 0;
    virtual std::uint32_t loadBackgroundColor() = 0;
    // Texts may be null, which counts as empty.
    virtual const wchar_t* loadBackgroundImage() = 0;
    virtual const wchar_t* loadPaperImage() = 0;
    virtual std::uint32_t loadAmbientLight() = 0;
    virtual bool loadVectorial() = 0;
    virtual bool loadTransparencies() = 0;
    virtual bool loadShadows() = 0;
    virtual int loadVectorialSpeed() = 0;
    virtual bool loadRenderIsoparams() = 0;
    virtual bool loadRenderDim() = 0;
    virtual bool loadSaveShadows() = 0;
    virtual bool loadSaveDepth() = 0;
    virtual bool loadSaveRender() = 0;
    virtual const wchar_t* loadSaveRenderFile() = 0;
    virtual const wchar_t* loadSaveVectorFile() = 0;
    virtual bool loadVectorSimplify() = 0;
    virtual double loadPolygonOffset() = 0;
};

#endif
