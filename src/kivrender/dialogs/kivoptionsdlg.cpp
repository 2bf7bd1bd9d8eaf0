#include "kivrender/dialogs/kivoptionsdlg.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/settings/kivcommondatamanager.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <limits>

namespace {

using Host = KivHostApplicationServices;

// Texts of the language module.
constexpr unsigned int textViewSize = 90;
constexpr unsigned int textCustomSize = 91;
constexpr unsigned int textDefaultFolder = 92;
constexpr unsigned int textChooseFolder = 99;

constexpr const wchar_t* aspectValue = L"BlockAspectRatio";

struct StandardSize {
    const wchar_t* text;
    SIZE size;
};
constexpr StandardSize standardSizes[] = {
    {L"640x480", {640, 480}}, {L"800x600", {800, 600}}, {L"1024x768", {1024, 768}}, {L"1280x960", {1280, 960}}};
constexpr int viewEntry = 0;
constexpr int customEntry = 5;

// 0 for a text without a number; one that is too large becomes the largest.
int toNumber(const std::wstring& text) {
    const long long value = std::wcstoll(text.c_str(), nullptr, 10);
    return static_cast<int>(
        std::clamp<long long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// Truncated, and 0 where a host has passed proportions that can't be divided by.
std::wstring inProportion(int length, int numerator, int denominator) {
    return std::to_wstring(denominator != 0 ? std::int64_t{length} * numerator / denominator : 0);
}

} // namespace

KivOptionsDlg::KivOptionsDlg(HWND parent) : KivDialog(optionsTemplate, parent) {}

int KivOptionsDlg::Create(KivDataManager* manager, KivCommonDataManager* commonManager, SIZE proportions, HWND parent) {
    dataManager = manager;
    commonDataManager = commonManager;
    aspectSize = proportions;
    if (commonDataManager == nullptr || Create(optionsTemplate, parent) == 0) {
        return 0;
    }
    ambientLink.attach(getWindow(), ambientCaption);
    backgroundLink.attach(getWindow(), backgroundCaption);
    ambientColorControl.attach(getWindow(), ambientColor);
    backgroundColorControl.attach(getWindow(), backgroundColor);
    fillResolutionCombo();
    loadBlockAspectRatio();
    loadVirtualMemoryFolder();
    loadCommonSettings();
    return 1;
}

bool KivOptionsDlg::OnApply() {
    if (getWindow() == nullptr) {
        return false;
    }
    saveBlockAspectRatio();
    saveVirtualMemoryFolder();
    fillCommonSettingsFromControls();
    return settings.saveDataOnHost(commonDataManager);
}

int KivOptionsDlg::OnActivate(int flag) {
    if (getWindow() != nullptr) {
        getWindow()->show(flag != 0);
    }
    return 1;
}

void KivOptionsDlg::OnCancel() {}

KivCommonSettings KivOptionsDlg::getCommonSettings() const {
    return settings;
}

KivDataManager* KivOptionsDlg::getDataManager() const {
    return dataManager;
}

// --- from the settings to the controls ---

void KivOptionsDlg::fillResolutionCombo() {
    if (getWindow()->getItemCount(sizeChoice) != 0) {
        return;
    }
    getWindow()->insertItem(sizeChoice, -1, kivText(textViewSize), -1);
    for (const StandardSize& entry : standardSizes) {
        getWindow()->insertItem(sizeChoice, -1, entry.text, -1);
    }
    getWindow()->insertItem(sizeChoice, -1, kivText(textCustomSize), -1);
}

void KivOptionsDlg::loadBlockAspectRatio() {
    std::uint32_t value = 0;
    Host* const host = Host::getDefaultHost();
    blockAspectRatio = host != nullptr && host->loadRegistryDword(false, aspectValue, &value) && value != 0 ? 1 : 0;
    getWindow()->setCheck(aspectBox, blockAspectRatio);
}

void KivOptionsDlg::loadVirtualMemoryFolder() {
    wchar_t folder[kivMaxPath] = {};
    if (Host* const host = Host::getDefaultHost(); host != nullptr) {
        host->getVirtualMemoryFolder(folder);
    }
    setControlText(folderField, folder[0] != L'\0' ? std::wstring(folder) : kivText(textDefaultFolder));
}

void KivOptionsDlg::loadCommonSettings() {
    settings.loadDataFromHost(commonDataManager); // if the host has none, those that we have are shown
    ambientColorControl.setColor(settings.getAmbientLight());
    backgroundColorControl.setColor(settings.getBackgroundColor());
    vectorSpeed = settings.getVectorialSpeed();
    setOn(speedFirst, vectorSpeed == 0);
    setOn(speedSecond, vectorSpeed == 1);
    setControlText(backgroundField, settings.getBackgroundImage());
    setControlText(paperField, settings.getPaperImage());
    showSize();
    for (int level = 0; level < 3; ++level) {
        setOn(antialiasNone + level, level == settings.getAntialias());
    }
    showPasses();
    setControlText(renderField, settings.getSaveRenderFile());
    setControlText(vectorField, settings.getSaveVectorFile());
    setOn(simplifyBox, settings.doVectorSimplify());
}

void KivOptionsDlg::showSize() {
    const SIZE size = settings.getResolution();
    setControlText(widthField, std::to_wstring(size.cx));
    setControlText(heightField, std::to_wstring(size.cy));
    enableSize(false);
    customSize = settings.getCustomSize();
    int entry = viewEntry;
    if (customSize) {
        const auto* const found = std::find_if(std::begin(standardSizes), std::end(standardSizes),
                                               [&](const StandardSize& known) { return known.size == size; });
        entry = 1 + static_cast<int>(found - std::begin(standardSizes)); // behind the last is the custom one
        enableSize(entry == customEntry);
    }
    getWindow()->setSelection(sizeChoice, entry);
}

void KivOptionsDlg::showPasses() {
    setOn(isoparamsBox, settings.doRenderIsoparams() != 0);
    setOn(dimensionsBox, settings.doRenderDim());
    setOn(vectorialBox, settings.doVectorial());
    enableVector(settings.doVectorial());
    enableAntialias(!settings.doVectorial());
    setOn(transparenciesBox, settings.doTransparencies());
    setOn(shadowsBox, settings.doShadows());
    setOn(saveShadowsBox, settings.doSaveShadows());
    setOn(saveDepthBox, settings.doSaveDepth());
    setOn(saveRenderBox, settings.doSaveRender());
    enableControls({saveShadowsBox}, settings.doShadows() && settings.doSaveRender());
    enableControls({saveDepthBox}, settings.doSaveRender());
    // Required as it stands, however odd: they start disabled even if the render goes to a file.
    enableControls({renderField, renderBrowse}, false);
}

// --- from the controls to the settings ---

void KivOptionsDlg::saveBlockAspectRatio() const {
    if (Host* const host = Host::getDefaultHost(); host != nullptr) {
        host->saveRegistryDword(false, aspectValue, blockAspectRatio != 0 ? 1 : 0);
    }
}

void KivOptionsDlg::saveVirtualMemoryFolder() const {
    const std::wstring text = getControlText(folderField);
    if (Host* const host = Host::getDefaultHost(); host != nullptr) {
        host->setVirtualMemoryFolder(text == kivText(textDefaultFolder) ? L"" : text.c_str());
    }
}

void KivOptionsDlg::fillCommonSettingsFromControls() {
    settings.setCustomSize(customSize);
    settings.setResolution({toNumber(getControlText(widthField)), toNumber(getControlText(heightField))});
    for (int level = 0; level < 3; ++level) {
        if (isOn(antialiasNone + level)) {
            settings.setAntialias(level);
        }
    }
    settings.setBackgroundImage(getControlText(backgroundField).c_str());
    settings.setPaperImage(getControlText(paperField).c_str());
    settings.setVectorial(isOn(vectorialBox));
    settings.setTransparencies(isOn(transparenciesBox));
    settings.setShadows(isOn(shadowsBox));
    settings.setRenderIsoparams(isOn(isoparamsBox));
    settings.setRenderDim(isOn(dimensionsBox));
    vectorSpeed = isOn(speedSecond) ? 1 : 0;
    settings.setVectorialSpeed(vectorSpeed);
    settings.setSaveShadows(isOn(saveShadowsBox));
    settings.setSaveDepth(isOn(saveDepthBox));
    settings.setSaveRender(isOn(saveRenderBox));
    settings.setSaveRenderFile(getControlText(renderField).c_str());
    settings.setSaveVectorFile(getControlText(vectorField).c_str());
    settings.setVectorSimplify(isOn(simplifyBox));
}

// --- the user ---

void KivOptionsDlg::onControl(const KivControlEvent& event) {
    switch (event.change) {
    case KivControlChange::clicked:
        onClicked(event.control);
        break;
    case KivControlChange::selected:
        if (event.control == sizeChoice) {
            onSize();
        }
        break;
    case KivControlChange::edited:
        if (event.control == widthField) {
            onWidth();
        } else if (event.control == heightField) {
            onHeight();
        }
        break;
    case KivControlChange::left:
        if (event.control == folderField && getControlText(folderField).empty()) {
            setControlText(folderField, kivText(textDefaultFolder));
        }
        break;
    case KivControlChange::focused:
    case KivControlChange::checkToggle:
    case KivControlChange::pointed:
    case KivControlChange::resized:
        break;
    }
}

void KivOptionsDlg::onClicked(int control) {
    switch (control) {
    case ambientCaption:
        if (ambientLink.click()) {
            pickAmbientLight();
        }
        break;
    case backgroundCaption:
        if (backgroundLink.click()) {
            pickBackgroundColor();
        }
        break;
    case ambientColor:
        pickAmbientLight();
        break;
    case backgroundColor:
        pickBackgroundColor();
        break;
    case aspectBox:
        blockAspectRatio = isOn(aspectBox) ? 1 : 0;
        break;
    case backgroundBrowse:
        browseImage(backgroundField);
        break;
    case paperBrowse:
        browseImage(paperField);
        break;
    case folderBrowse:
        browseFolder();
        break;
    case renderBrowse:
        askForRenderFile();
        break;
    case vectorBrowse:
        askForVectorFile();
        break;
    case transparenciesBox:
        onTransparencies();
        break;
    case shadowsBox:
        onShadows();
        break;
    case vectorialBox:
        onVectorial();
        break;
    case saveRenderBox:
        onRenderFile();
        break;
    default:
        break;
    }
}

void KivOptionsDlg::pickAmbientLight() {
    ambientColorControl.click();
    settings.setAmbientLight(ambientColorControl.getColor());
}

void KivOptionsDlg::pickBackgroundColor() {
    backgroundColorControl.click();
    settings.setBackgroundColor(backgroundColorControl.getColor());
}

void KivOptionsDlg::onTransparencies() {
    if (isOn(transparenciesBox)) {
        setOn(vectorialBox, false);
        enableVector(false);
        enableAntialias(true);
    }
}

void KivOptionsDlg::onShadows() {
    if (!isOn(shadowsBox)) {
        enableControls({saveShadowsBox}, false);
        return;
    }
    setOn(vectorialBox, false);
    enableVector(false);
    enableAntialias(true);
    if (isOn(saveRenderBox)) {
        enableControls({renderField, renderBrowse, saveShadowsBox, saveDepthBox}, true);
    }
}

void KivOptionsDlg::onVectorial() {
    if (!isOn(vectorialBox)) {
        enableVector(false);
        enableAntialias(true);
        return;
    }
    if (getControlText(vectorField).empty() && !askForVectorFile()) {
        setOn(vectorialBox, false);
        return;
    }
    for (const int excluded : {transparenciesBox, shadowsBox, saveRenderBox}) {
        setOn(excluded, false);
    }
    enableVector(true);
    enableAntialias(false);
    enableControls({renderField, renderBrowse, saveShadowsBox, saveDepthBox}, false);
}

void KivOptionsDlg::onRenderFile() {
    if (!isOn(saveRenderBox)) {
        enableControls({renderField, renderBrowse, saveShadowsBox, saveDepthBox}, false);
        return;
    }
    if (getControlText(renderField).empty() && !askForRenderFile()) {
        setOn(saveRenderBox, false);
        return;
    }
    setOn(vectorialBox, false);
    enableVector(false);
    enableAntialias(true);
    enableControls({renderField, renderBrowse, saveDepthBox}, true);
    if (isOn(shadowsBox)) {
        enableControls({saveShadowsBox}, true);
    }
}

void KivOptionsDlg::onSize() {
    const int entry = getWindow()->getSelection(sizeChoice);
    if (entry < viewEntry || entry > customEntry) {
        return;
    }
    enableSize(entry == customEntry);
    customSize = entry != viewEntry;
    if (entry != viewEntry && entry != customEntry) {
        const SIZE& size = standardSizes[entry - 1].size;
        setControlText(widthField, std::to_wstring(size.cx));
        setControlText(heightField, std::to_wstring(size.cy));
    }
}

// Only the field that the user types in drives the other, so that the answer does not come back.
void KivOptionsDlg::onWidth() {
    if (blockAspectRatio == 0 || !getWindow()->hasFocus(widthField)) {
        return;
    }
    const std::wstring height = inProportion(toNumber(getControlText(widthField)), aspectSize.cy, aspectSize.cx);
    if (height != getControlText(heightField)) {
        setControlText(heightField, height);
    }
}

void KivOptionsDlg::onHeight() {
    if (blockAspectRatio == 0 || !getWindow()->hasFocus(heightField)) {
        return;
    }
    const std::wstring width = inProportion(toNumber(getControlText(heightField)), aspectSize.cx, aspectSize.cy);
    if (width != getControlText(widthField)) {
        setControlText(widthField, width);
    }
}

// --- pickers ---

bool KivOptionsDlg::askForRenderFile() {
    return askForFile(renderField, false);
}

bool KivOptionsDlg::askForVectorFile() {
    return askForFile(vectorField, true);
}

bool KivOptionsDlg::askForFile(int field, bool vectorial) {
    constexpr int save = 0;
    const std::wstring wish = getControlText(field);
    wchar_t name[kivMaxPath] = {};
    kivCopyText(name, kivMaxPath, wish);
    Host* const host = Host::getDefaultHost();
    const bool chosen =
        host != nullptr && (vectorial ? host->getVectorialFilename(getWindow(), name, kivMaxPath, save)
                                      : host->getBitmapFilename(getWindow(), name, kivMaxPath, save)) != 0;
    if (!chosen) {
        return !wish.empty();
    }
    setControlText(field, name);
    return true;
}

void KivOptionsDlg::browseImage(int field) {
    constexpr int open = 1;
    wchar_t name[kivMaxPath] = {};
    kivCopyText(name, kivMaxPath, getControlText(field));
    Host* const host = Host::getDefaultHost();
    if (host != nullptr && host->getBitmapFilename(getWindow(), name, kivMaxPath, open) != 0) {
        setControlText(field, name);
    }
}

void KivOptionsDlg::browseFolder() {
    wchar_t folder[kivMaxPath] = {};
    Host* const host = Host::getDefaultHost();
    if (host != nullptr && host->getFolder(getWindow(), kivText(textChooseFolder).c_str(), folder) != 0) {
        setControlText(folderField, folder);
    }
}

// --- controls ---

bool KivOptionsDlg::isOn(int control) const {
    return getWindow()->getCheck(control) == 1;
}

void KivOptionsDlg::setOn(int control, bool on) {
    getWindow()->setCheck(control, on ? 1 : 0);
}

void KivOptionsDlg::enableControls(std::initializer_list<int> controls, bool enabled) {
    for (const int control : controls) {
        getWindow()->enableControl(control, enabled);
    }
}

void KivOptionsDlg::enableVector(bool enabled) {
    enableControls({vectorField, vectorBrowse, speedFirst, speedSecond, simplifyBox}, enabled);
}

void KivOptionsDlg::enableAntialias(bool enabled) {
    enableControls({antialiasLabel, antialiasNone, antialiasTwo, antialiasFour}, enabled);
}

void KivOptionsDlg::enableSize(bool enabled) {
    enableControls({widthField, heightField, aspectBox}, enabled);
}
