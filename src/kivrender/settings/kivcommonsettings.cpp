#include "kivrender/settings/kivcommonsettings.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivcommondatamanager.h"

namespace {

// The last dot of the whole path: one in a folder's name counts when the file's name has none.
std::wstring besideRender(const std::wstring& path, const wchar_t* suffix) {
    const std::size_t dot = path.find_last_of(L'.');
    const std::size_t split = dot == std::wstring::npos ? 0 : dot;
    return path.substr(0, split) + suffix + path.substr(split);
}

} // namespace

KivCommonSettings::~KivCommonSettings() = default;

bool KivCommonSettings::save(const wchar_t*, const wchar_t*) {
    return true;
}

bool KivCommonSettings::load(const wchar_t*, const wchar_t*) {
    return true;
}

int KivCommonSettings::getAntialias() const {
    return antialias;
}

void KivCommonSettings::setAntialias(int value) {
    antialias = value;
}

SIZE KivCommonSettings::getResolution() const {
    return resolution;
}

void KivCommonSettings::setResolution(const SIZE& value) {
    resolution = value;
}

bool KivCommonSettings::getCustomSize() const {
    return customSize;
}

void KivCommonSettings::setCustomSize(bool value) {
    customSize = value;
}

std::uint32_t KivCommonSettings::getAmbientLight() const {
    return ambientLight;
}

void KivCommonSettings::setAmbientLight(std::uint32_t value) {
    ambientLight = value;
}

std::uint32_t KivCommonSettings::getBackgroundColor() const {
    return backgroundColor;
}

void KivCommonSettings::setBackgroundColor(std::uint32_t value) {
    backgroundColor = value;
}

std::wstring KivCommonSettings::getBackgroundImage() const {
    return backgroundImage;
}

void KivCommonSettings::setBackgroundImage(const wchar_t* value) {
    backgroundImage = kivTextOrEmpty(value);
}

std::wstring KivCommonSettings::getPaperImage() const {
    return paperImage;
}

void KivCommonSettings::setPaperImage(const wchar_t* value) {
    paperImage = kivTextOrEmpty(value);
}

bool KivCommonSettings::doVectorial() const {
    return vectorial;
}

void KivCommonSettings::setVectorial(bool value) {
    vectorial = value;
}

bool KivCommonSettings::doTransparencies() const {
    return transparencies;
}

void KivCommonSettings::setTransparencies(bool value) {
    transparencies = value;
}

bool KivCommonSettings::doShadows() const {
    return shadows;
}

void KivCommonSettings::setShadows(bool value) {
    shadows = value;
}

int KivCommonSettings::getVectorialSpeed() const {
    return vectorialSpeed;
}

void KivCommonSettings::setVectorialSpeed(int value) {
    vectorialSpeed = value;
}

int KivCommonSettings::doRenderIsoparams() const {
    return renderIsoparams ? 1 : 0;
}

void KivCommonSettings::setRenderIsoparams(bool value) {
    renderIsoparams = value;
}

bool KivCommonSettings::doRenderDim() const {
    return renderDim;
}

void KivCommonSettings::setRenderDim(bool value) {
    renderDim = value;
}

bool KivCommonSettings::doSaveShadows() const {
    return saveShadows;
}

void KivCommonSettings::setSaveShadows(bool value) {
    saveShadows = value;
}

bool KivCommonSettings::doSaveDepth() const {
    return saveDepth;
}

void KivCommonSettings::setSaveDepth(bool value) {
    saveDepth = value;
}

bool KivCommonSettings::doSaveRender() const {
    return saveRender;
}

void KivCommonSettings::setSaveRender(bool value) {
    saveRender = value;
}

std::wstring KivCommonSettings::getSaveRenderFile() const {
    return saveRenderFile;
}

void KivCommonSettings::setSaveRenderFile(const wchar_t* value) {
    saveRenderFile = kivTextOrEmpty(value);
}

std::wstring KivCommonSettings::getSaveVectorFile() const {
    return saveVectorFile;
}

void KivCommonSettings::setSaveVectorFile(const wchar_t* value) {
    saveVectorFile = kivTextOrEmpty(value);
}

bool KivCommonSettings::doVectorSimplify() const {
    return vectorSimplify;
}

void KivCommonSettings::setVectorSimplify(bool value) {
    vectorSimplify = value;
}

double KivCommonSettings::getPolygonOffset() const {
    return polygonOffset;
}

void KivCommonSettings::setPolygonOffset(double value) {
    polygonOffset = value;
}

bool KivCommonSettings::saveDataOnHost(KivCommonDataManager* manager) {
    // The order is what a host that streams the values sees; it differs from the order of the slots.
    return manager != nullptr && manager->beginSaveCommonData() && manager->saveAntialias(antialias) &&
           manager->saveCustomSize(customSize) && manager->saveResolution(resolution) &&
           manager->saveAmbientLight(ambientLight) && manager->saveBackgroundColor(backgroundColor) &&
           manager->saveBackgroundImage(backgroundImage.c_str()) && manager->savePaperImage(paperImage.c_str()) &&
           manager->saveVectorial(vectorial) && manager->saveTransparencies(transparencies) &&
           manager->saveShadows(shadows) && manager->saveVectorialSpeed(vectorialSpeed) &&
           manager->saveRenderIsoparams(renderIsoparams) && manager->saveRenderDim(renderDim) &&
           manager->saveSaveShadows(saveShadows) && manager->saveSaveDepth(saveDepth) &&
           manager->saveSaveRender(saveRender) && manager->saveSaveRenderFile(saveRenderFile.c_str()) &&
           manager->saveSaveVectorFile(saveVectorFile.c_str()) && manager->saveVectorSimplify(vectorSimplify) &&
           manager->savePolygonOffset(polygonOffset) && manager->endSaveCommonData();
}

bool KivCommonSettings::loadDataFromHost(KivCommonDataManager* manager) {
    if (manager == nullptr || !manager->beginLoadCommonData()) {
        return false;
    }
    antialias = manager->loadAntialias();
    customSize = manager->loadCustomSize();
    resolution = manager->loadResolution();
    ambientLight = manager->loadAmbientLight();
    backgroundColor = manager->loadBackgroundColor();
    backgroundImage = kivTextOrEmpty(manager->loadBackgroundImage());
    paperImage = kivTextOrEmpty(manager->loadPaperImage());
    vectorial = manager->loadVectorial();
    transparencies = manager->loadTransparencies();
    shadows = manager->loadShadows();
    vectorialSpeed = manager->loadVectorialSpeed();
    renderIsoparams = manager->loadRenderIsoparams();
    renderDim = manager->loadRenderDim();
    saveShadows = manager->loadSaveShadows();
    saveDepth = manager->loadSaveDepth();
    saveRender = manager->loadSaveRender();
    saveRenderFile = kivTextOrEmpty(manager->loadSaveRenderFile());
    saveVectorFile = kivTextOrEmpty(manager->loadSaveVectorFile());
    vectorSimplify = manager->loadVectorSimplify();
    polygonOffset = manager->loadPolygonOffset();
    return manager->endLoadCommonData();
}

std::wstring KivCommonSettings::getSaveShadowsFile() const {
    return besideRender(saveRenderFile, L"_shadow");
}

std::wstring KivCommonSettings::getSaveDepthFile() const {
    return besideRender(saveRenderFile, L"_depth");
}

unsigned int KivCommonSettings::getVectorialFormat() const {
    const std::size_t dot = saveVectorFile.find_last_of(L'.');
    if (dot == std::wstring::npos) {
        return 0;
    }
    const wchar_t* ending = saveVectorFile.c_str() + dot + 1;
    unsigned int format = 1;
    for (const wchar_t* known : {L"ps", L"eps", L"ai", L"pdf", L"svg"}) {
        if (kivCompareNoCase(ending, known) == 0) {
            return format;
        }
        ++format;
    }
    return 0;
}
