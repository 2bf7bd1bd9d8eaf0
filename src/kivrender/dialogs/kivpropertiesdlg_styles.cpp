// The properties dialog's styles and its preview.
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/dialogs/kivsavestyledlg.h"
#include "kivrender/dialogs/kivupdating.h"
#include "kivrender/platform/kivbitmap.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivstylefile.h"

namespace {

using Host = KivHostApplicationServices;

constexpr SIZE previewSize = {110, 110};

} // namespace

void KivPropertiesDlg::fillStylesCombo() {
    if (getWindow()->getItemCount(stylesCombo) > 0) {
        return;
    }
    getWindow()->setImages(stylesCombo, nullptr, {styleIcons.begin(), styleIcons.end()});
    for (const int kind : {0, 1, 2}) {
        fillStylesComboFrom(kind);
    }
}

// A name that is in several folders comes several times.
void KivPropertiesDlg::fillStylesComboFrom(int kind) {
    for (const KivStyleEntry& style : kivListStyles(static_cast<Host::Folder>(kind))) {
        stylePaths.push_back(style.path);
        getWindow()->insertItem(stylesCombo, -1, style.name, kind + 1);
    }
}

// The first item of that name, -1 for none.
int KivPropertiesDlg::findStyle(const std::wstring& name) const {
    for (int i = 0; i < getWindow()->getItemCount(stylesCombo); ++i) {
        if (getWindow()->getItemText(stylesCombo, i) == name) {
            return i;
        }
    }
    return -1;
}

void KivPropertiesDlg::OnSelchangeStylesCombo() {
    const int item = getWindow()->getSelection(stylesCombo);
    if (item < 0 || static_cast<std::size_t>(item) >= stylePaths.size()) {
        return;
    }
    const KivUpdating guard(updating);
    changed = true;
    styleVaried = false;
    nonCombinableVaried = false;
    combinableVaried = false;
    loadStyle(stylePaths[static_cast<std::size_t>(item)]);
}

// A file that is not a style leaves the dialog in the state reached so far.
bool KivPropertiesDlg::loadStyle(const std::wstring& path) {
    const KivProfilesReadOnce once;
    hideCurrentTab();
    if (!loadGeneralData(path)) {
        return false;
    }
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader* const shader = KivShader::getByIndex(i);
        shader->addRef();
        kivTryShader(*shader, [&] { shader->createPages(this, this); });
        shader->setCurDialogIndex(0, this);
        const bool loaded = shader->loadDataFromStyle(path.c_str(), this);
        shader->release();
        if (!loaded) {
            KivShader::unLoadAll();
            if (KivShader::shaders() == 0) {
                clearActive(); // they are gone
            }
            return false;
        }
    }
    currentTab = 0;
    refreshTabs();
    showPreview();
    return true;
}

bool KivPropertiesDlg::loadGeneralData(const std::wstring& path) {
    KivStyleHead head;
    const bool isStyle = kivReadStyleHead(path, &head);
    uncheckCombinableShaders();
    activeCombinable.fill(nullptr);
    activeCombinableCount = 0;
    if (!isStyle) {
        return false;
    }
    for (const std::wstring& text : head.combinables) {
        checkCombinableShader(text);
        addCombinableShader(text);
    }
    if (head.nonCombinable.empty()) {
        enableNonCombinable(0, false);
        clearBold();
        currentNonCombinable = nullptr;
        return true;
    }
    getWindow()->setCheck(nonCombinableBox, 1);
    loadShader(head.nonCombinable.c_str());
    selectShader(head.nonCombinable.c_str());
    getWindow()->enableControl(nonCombinableTree, true);
    return true;
}

bool KivPropertiesDlg::saveStyle(const std::wstring& path) {
    KivStyleHead head;
    KivShader* const base = getSelectedNonCombinable();
    if (checkNonCombinableState() == 1 && base != nullptr) {
        head.nonCombinable = kivShaderTag(*base);
    }
    for (const std::wstring& name : getCheckedCombinables()) {
        if (KivShader* const shader = KivShader::getByName(name.c_str())) {
            head.combinables.push_back(kivShaderTag(*shader));
        }
    }
    return kivSaveStyle(path, head, this);
}

void KivPropertiesDlg::OnSaveStyle() {
    KivSaveStyleDlg question(getWindow());
    wchar_t folder[kivMaxPath] = {};
    Host* const host = Host::getDefaultHost();
    const bool hasFolder = host != nullptr && host->getStyleFolder(Host::userFolder, folder);
    question.objection = [&folder](const std::wstring& name) {
        return kivStyleNameText(kivCheckStyleName(name, folder));
    };
    if (question.DoModal() != kivControlOk || !hasFolder ||
        kivCheckStyleName(question.name, folder) != KivStyleNameFault::none) {
        return;
    }
    const std::wstring path = kivStylePath(folder, question.name);
    if (!saveStyle(path)) {
        return;
    }
    const KivUpdating guard(updating);
    int item = findStyle(question.name);
    if (item < 0 || getWindow()->getItemImage(stylesCombo, item) > 1) {
        item = 0; // one of another folder stays, below the new one
        getWindow()->insertItem(stylesCombo, item, question.name, 1);
        stylePaths.insert(stylePaths.begin(), path);
    }
    getWindow()->setSelection(stylesCombo, item);
    styleVaried = false;
}

void KivPropertiesDlg::OnRemoveStyle() {
    const int item = getWindow()->getSelection(stylesCombo);
    if (item < 0 || static_cast<std::size_t>(item) >= stylePaths.size() ||
        !KivToolkit::get().moveToTrash(getWindow(), stylePaths[static_cast<std::size_t>(item)])) {
        return;
    }
    const KivUpdating guard(updating);
    getWindow()->removeItem(stylesCombo, item);
    stylePaths.erase(stylePaths.begin() + item);
    getWindow()->setSelection(stylesCombo, -1);
    styleVaried = false;
}

// --- marks and preview ---

void KivPropertiesDlg::resetStyle() {
    if (getWindow() == nullptr) {
        return;
    }
    const KivUpdating guard(updating);
    getWindow()->setSelection(stylesCombo, -1);
    changed = true;
    if (!fixedData && dataManager != nullptr) {
        dataManager->setChanged(true);
    }
    styleVaried = false;
    resetTimer();
}

void KivPropertiesDlg::OnBnClickedCheckPreview() {
    previewEnabled = getWindow()->getCheck(previewBox);
    resetTimer();
}

void KivPropertiesDlg::stopTimer() {
    if (previewTimer != 0) {
        KivToolkit::get().stopTimer(previewTimer);
        previewTimer = 0;
    }
}

void KivPropertiesDlg::resetTimer() {
    stopTimer();
    previewTimer = KivToolkit::get().startTimer(previewDelay, [this] { OnTimer(); });
}

void KivPropertiesDlg::OnTimer() {
    showPreview();
    if (getParent() != nullptr) {
        getParent()->receive(previewMessage, 0, 0);
    }
    stopTimer();
}

void KivPropertiesDlg::deletePreviewBitmap() {
    if (getWindow() != nullptr) {
        getWindow()->setPicture(previewPicture, nullptr);
    }
    previewBitmap = KivBitmapManager();
}

void KivPropertiesDlg::showPreview() {
    if (getWindow() == nullptr) {
        return;
    }
    deletePreviewBitmap();
    KivShader* shader = currentNonCombinable;
    if (shader == nullptr && activeCombinableCount > 0) {
        shader = activeCombinable.front();
    }
    if (previewEnabled != 0) {
        renderPreview();
    } else if (shader != nullptr) {
        shader->addRef();
        // The shader's own one stays its own.
        kivTryShader(*shader, [&] { previewBitmap.setHBitmap(kivShareBitmap(shader->getPreviewBitmap())); });
        shader->release();
    }
    getWindow()->setPicture(previewPicture, previewBitmap.getHBitmap());
    redraw();
}

void KivPropertiesDlg::fillPreviewCommonSettings(KivCommonSettings* settings) const {
    settings->setAntialias(0);
    settings->setCustomSize(true);
    settings->setResolution(previewSize);
    settings->setRenderDim(false);
    settings->setShadows(false);
    settings->setTransparencies(false);
    settings->setVectorial(false);
}

// The display name, empty for none.
std::wstring KivPropertiesDlg::getNonCombinableShaderFromDialog() const {
    KivShader* const shader = checkNonCombinableState() != 0 ? getSelectedNonCombinable() : nullptr;
    return shader != nullptr ? kivShaderDisplayName(*shader) : std::wstring();
}

void KivPropertiesDlg::renderPreview() {
    Host* const host = Host::getDefaultHost();
    if (host == nullptr) {
        return;
    }
    KivRenderer renderer;
    KivCommonSettings settings = commonSettings != nullptr ? *commonSettings : KivCommonSettings();
    fillPreviewCommonSettings(&settings);
    const std::wstring base = getNonCombinableShaderFromDialog();
    renderer.renderPreview(settings, host->getPreviewScene(), *host->getPreviewCamera(), &previewBitmap,
                           base.empty() ? nullptr : base.c_str(), getCheckedCombinables(), shaderCommunication, this);
}
