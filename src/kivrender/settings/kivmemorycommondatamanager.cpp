#include "kivrender/settings/kivmemorycommondatamanager.h"

#include "kivrender/platform/kivtext.h"

#include <utility>

namespace {

// Takes one value of the run of save operations; outside a run there is nothing to take it.
template <class Field, class Value> bool keep(bool saving, Field& field, const Value& value) {
    if (saving) {
        field = value;
    }
    return saving;
}

} // namespace

KivMemoryCommonDataManager::~KivMemoryCommonDataManager() = default;

bool KivMemoryCommonDataManager::beginSaveCommonData() {
    coming = Record();
    saving = true;
    return true;
}

bool KivMemoryCommonDataManager::endSaveCommonData() {
    if (!saving) {
        return false;
    }
    kept = std::exchange(coming, Record());
    saving = false;
    complete = true;
    return true;
}

bool KivMemoryCommonDataManager::saveAntialias(int value) {
    return keep(saving, coming.antialias, value);
}

bool KivMemoryCommonDataManager::saveResolution(SIZE value) {
    return keep(saving, coming.resolution, value);
}

bool KivMemoryCommonDataManager::saveCustomSize(bool value) {
    return keep(saving, coming.customSize, value);
}

bool KivMemoryCommonDataManager::saveBackgroundColor(std::uint32_t value) {
    return keep(saving, coming.backgroundColor, value);
}

bool KivMemoryCommonDataManager::saveBackgroundImage(const wchar_t* value) {
    return keep(saving, coming.backgroundImage, kivTextOrEmpty(value));
}

bool KivMemoryCommonDataManager::savePaperImage(const wchar_t* value) {
    return keep(saving, coming.paperImage, kivTextOrEmpty(value));
}

bool KivMemoryCommonDataManager::saveAmbientLight(std::uint32_t value) {
    return keep(saving, coming.ambientLight, value);
}

bool KivMemoryCommonDataManager::saveVectorial(bool value) {
    return keep(saving, coming.vectorial, value);
}

bool KivMemoryCommonDataManager::saveTransparencies(bool value) {
    return keep(saving, coming.transparencies, value);
}

bool KivMemoryCommonDataManager::saveShadows(bool value) {
    return keep(saving, coming.shadows, value);
}

bool KivMemoryCommonDataManager::saveVectorialSpeed(int value) {
    return keep(saving, coming.vectorialSpeed, value);
}

bool KivMemoryCommonDataManager::saveRenderIsoparams(bool value) {
    return keep(saving, coming.renderIsoparams, value);
}

bool KivMemoryCommonDataManager::saveRenderDim(bool value) {
    return keep(saving, coming.renderDim, value);
}

bool KivMemoryCommonDataManager::saveSaveShadows(bool value) {
    return keep(saving, coming.saveShadows, value);
}

bool KivMemoryCommonDataManager::saveSaveDepth(bool value) {
    return keep(saving, coming.saveDepth, value);
}

bool KivMemoryCommonDataManager::saveSaveRender(bool value) {
    return keep(saving, coming.saveRender, value);
}

bool KivMemoryCommonDataManager::saveSaveRenderFile(const wchar_t* value) {
    return keep(saving, coming.saveRenderFile, kivTextOrEmpty(value));
}

bool KivMemoryCommonDataManager::saveSaveVectorFile(const wchar_t* value) {
    return keep(saving, coming.saveVectorFile, kivTextOrEmpty(value));
}

bool KivMemoryCommonDataManager::saveVectorSimplify(bool value) {
    return keep(saving, coming.vectorSimplify, value);
}

bool KivMemoryCommonDataManager::savePolygonOffset(double value) {
    return keep(saving, coming.polygonOffset, value);
}

bool KivMemoryCommonDataManager::beginLoadCommonData() {
    return complete;
}

bool KivMemoryCommonDataManager::endLoadCommonData() {
    return complete;
}

int KivMemoryCommonDataManager::loadAntialias() {
    return kept.antialias;
}

SIZE KivMemoryCommonDataManager::loadResolution() {
    return kept.resolution;
}

bool KivMemoryCommonDataManager::loadCustomSize() {
    return kept.customSize;
}

std::uint32_t KivMemoryCommonDataManager::loadBackgroundColor() {
    return kept.backgroundColor;
}

const wchar_t* KivMemoryCommonDataManager::loadBackgroundImage() {
    return kept.backgroundImage.c_str();
}

const wchar_t* KivMemoryCommonDataManager::loadPaperImage() {
    return kept.paperImage.c_str();
}

std::uint32_t KivMemoryCommonDataManager::loadAmbientLight() {
    return kept.ambientLight;
}

bool KivMemoryCommonDataManager::loadVectorial() {
    return kept.vectorial;
}

bool KivMemoryCommonDataManager::loadTransparencies() {
    return kept.transparencies;
}

bool KivMemoryCommonDataManager::loadShadows() {
    return kept.shadows;
}

int KivMemoryCommonDataManager::loadVectorialSpeed() {
    return kept.vectorialSpeed;
}

bool KivMemoryCommonDataManager::loadRenderIsoparams() {
    return kept.renderIsoparams;
}

bool KivMemoryCommonDataManager::loadRenderDim() {
    return kept.renderDim;
}

bool KivMemoryCommonDataManager::loadSaveShadows() {
    return kept.saveShadows;
}

bool KivMemoryCommonDataManager::loadSaveDepth() {
    return kept.saveDepth;
}

bool KivMemoryCommonDataManager::loadSaveRender() {
    return kept.saveRender;
}

const wchar_t* KivMemoryCommonDataManager::loadSaveRenderFile() {
    return kept.saveRenderFile.c_str();
}

const wchar_t* KivMemoryCommonDataManager::loadSaveVectorFile() {
    return kept.saveVectorFile.c_str();
}

bool KivMemoryCommonDataManager::loadVectorSimplify() {
    return kept.vectorSimplify;
}

double KivMemoryCommonDataManager::loadPolygonOffset() {
    return kept.polygonOffset;
}
