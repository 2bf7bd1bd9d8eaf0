#include "kivrender/dialogs/kivpropertiesdlg.h"

#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/dialogs/kivupdating.h"
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/settings/kivdatamanager.h"

namespace {} // namespace

KivPropertiesDlg::KivPropertiesDlg(HWND parent) : KivDialog(propertiesTemplate, parent) {}

KivPropertiesDlg::~KivPropertiesDlg() {
    KivPropertiesDlg::DestroyWindow();
    deletePreviewBitmap();
}

int KivPropertiesDlg::Create(KivDataManager* manager, KivCommonSettings* settings, unsigned int templateId,
                             HWND parent) {
    DestroyWindow(); // the pages stand in a former window
    dataManager = manager;
    commonSettings = settings;
    fixedData = templateId == fixedDataTemplate;
    if (KivDialog::Create(templateId, parent) == 0) {
        return 0;
    }
    OnInitDialog();
    created = true;
    return 1;
}

int KivPropertiesDlg::DestroyWindow() {
    if (getWindow() != nullptr) {
        OnDestroy();
    }
    created = false; // whatever setIsCreated has said of a dialog without a window
    return KivDialog::DestroyWindow();
}

void KivPropertiesDlg::OnInitDialog() {
    const KivUpdating guard(updating);
    getWindow()->setIcon(saveStyleButton, nullptr, saveIcon);
    getWindow()->setIcon(removeStyleButton, nullptr, removeIcon);
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    previewEnabled = host != nullptr && host->getShowPreview() ? 1 : 0;
    getWindow()->setCheck(previewBox, previewEnabled);
    fillStylesCombo();
    fillShadersTrees();
    getWindow()->enableControl(nonCombinableTree, checkNonCombinableState() == 1);
    if (currentNonCombinable != nullptr) {
        initShaderPages(currentNonCombinable);
    }
    for (int i = 0; i < activeCombinableCount; ++i) {
        initShaderPages(activeCombinable[static_cast<std::size_t>(i)]);
    }
    refreshDlg();
}

void KivPropertiesDlg::OnDestroy() {
    const KivUpdating guard(updating);
    stopTimer();
    clearActive();
    stylePaths.clear();
    getWindow()->setPicture(previewPicture, nullptr);
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader* const shader = KivShader::getByIndex(i);
        shader->addRef();
        shader->destroyPages(this);
        shader->release();
    }
    selectedNonCombinable = -1;
    created = false;
}

// A new size is no notification of a control's change, and it is told but once: ignored while updating, it would leave
// the controls at the places of the former size for good. Placing them does no harm to an update; the page that it may
// show early is the one that the update shows at its end.
void KivPropertiesDlg::onControl(const KivControlEvent& event) {
    if (event.change == KivControlChange::resized) {
        return OnSize();
    }
    if (updating) {
        return;
    }
    if (event.change == KivControlChange::clicked) {
        switch (event.control) {
        case kivControlOk:
            return OnOK();
        case kivControlCancel:
            return OnCancel();
        case previewBox:
            return OnBnClickedCheckPreview();
        case nonCombinableBox:
            return OnBnClickedCheckNonCombinable();
        case saveStyleButton:
            return OnSaveStyle();
        case removeStyleButton:
            return OnRemoveStyle();
        default:
            return;
        }
    }
    if (event.change == KivControlChange::selected && event.control == stylesCombo) {
        OnSelchangeStylesCombo();
    } else if (event.change == KivControlChange::selected && event.control == nonCombinableTree) {
        OnSelchangedNonCombinableTree();
    } else if (event.change == KivControlChange::selected && event.control == pagesTab) {
        OnSelchangeTab();
    } else if (event.change == KivControlChange::focused && event.control == nonCombinableTree) {
        OnSetfocusNonCombinableTree();
    } else if (event.change == KivControlChange::checkToggle && event.control == combinableTree) {
        OnClickCombinableTree(event.item);
    }
    // The selection in the tree of combinable shaders has no meaning: only its check marks count.
}

// The window can't be destroyed from within its own event, so closing hides it.
void KivPropertiesDlg::OnOK() {
    saveData();
    getWindow()->show(false);
}

void KivPropertiesDlg::OnCancel() {
    const KivUpdating guard(updating);
    hideCurrentTab();
    while (getWindow()->getItemCount(pagesTab) > 0) {
        getWindow()->removeItem(pagesTab, 0);
    }
    getWindow()->show(false);
}

void KivPropertiesDlg::setData(KivDataManager* manager) {
    dataManager = manager;
    if (getWindow() != nullptr) {
        refreshDlg();
    }
}

void KivPropertiesDlg::setActive(bool flag) {
    if (flag == active) {
        return;
    }
    active = flag;
    if (getWindow() == nullptr) {
        return;
    }
    if (!flag) {
        unsetDlgSettings();
    } else if (created) {
        refreshDlg();
    }
}

bool KivPropertiesDlg::isActive() const {
    return active;
}

bool KivPropertiesDlg::getIsCreated() const {
    return created;
}

void KivPropertiesDlg::setIsCreated(bool value) {
    created = value;
}

bool KivPropertiesDlg::isChanged() const {
    return changed;
}

void KivPropertiesDlg::setChanged(bool value) {
    changed = value;
}

void KivPropertiesDlg::changesWritten() {
    changed = false;
}

int KivPropertiesDlg::checkNonCombinableState() const {
    return getWindow() != nullptr ? getWindow()->getCheck(nonCombinableBox) : 0;
}

void KivPropertiesDlg::setCheckNonCombinableState(int state) {
    nonCombinableVaried = nonCombinableVaried && state == 2; // a box that shows a decision has one behind it
    if (getWindow() != nullptr) {
        const KivUpdating guard(updating);
        getWindow()->setCheck(nonCombinableBox, state);
    }
}

HINSTANCE KivPropertiesDlg::getModuleState() const {
    return getResources();
}

void KivPropertiesDlg::clearActive() {
    currentNonCombinable = nullptr;
    activeCombinable.fill(nullptr);
    activeCombinableCount = 0;
}

void KivPropertiesDlg::unsetDlgSettings() {
    hideCurrentTab();
    clearActive();
}

void KivPropertiesDlg::refreshDlg() {
    const KivUpdating guard(updating);
    unsetDlgSettings();
    loadData();
    refreshTabs();
    showPreview();
}

// --- loading ---

// A stream may have nothing for a shader whose pages are there, and these then keep their values. What the objects
// before disagreed on must not stay marked: a marked value is not written into objects that lack it.
void KivPropertiesDlg::forgetVaried() {
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader* const shader = KivShader::getByIndex(i);
        for (unsigned int number = 0; KivPageDlg* const page = shader->getPage(this, number); ++number) {
            kivTryShader(*shader, [page] { page->forgetVaried(); });
        }
    }
}

void KivPropertiesDlg::loadData() {
    forgetVaried();
    if (dataManager == nullptr || !dataManager->setLoading()) {
        loadNothing();
        return;
    }
    currentTab = 0;
    loadStyleLine();
    const std::wstring base = loadNonCombinableLine();
    const std::wstring combinables = loadCombinableLine();
    wchar_t line[kivMaxPath] = {};
    for (dataManager->loadString(line); !kivEndsStream(line); dataManager->loadString(line)) {
        loadShaderData(line);
    }
    loadShader(base.empty() ? nullptr : base.c_str());
    selectShader(base.empty() ? nullptr : base.c_str());
    if (base.empty()) {
        currentNonCombinable = nullptr;
    }
    for (const std::wstring& name : kivSplitTags(combinables)) {
        checkCombinableShader(name);
        addCombinableShader(name);
    }
    changed = false;
}

// Nothing of the document before may stay: neither what its objects disagreed on nor the number of its tab, behind
// which there may be no page of the shaders that are added next.
void KivPropertiesDlg::loadNothing() {
    clearActive();
    currentTab = 0;
    styleVaried = false;
    nonCombinableVaried = false;
    combinableVaried = false;
    loadShader(nullptr);
    selectShader(nullptr);
    currentNonCombinable = nullptr;
    enableNonCombinable(0, false);
    uncheckCombinableShaders();
    changed = false;
}

void KivPropertiesDlg::loadStyleLine() {
    wchar_t line[kivMaxPath] = {};
    dataManager->loadString(line);
    styleVaried = dataManager->isCurrentVaried();
    if (styleVaried) {
        getWindow()->setSelection(stylesCombo, -1);
    } else if (const wchar_t* const name = kivBehindHeader(line, kivStyleHeader); name != nullptr) {
        getWindow()->setSelection(stylesCombo, findStyle(name));
    }
}

// The text of the base look, empty for none.
std::wstring KivPropertiesDlg::loadNonCombinableLine() {
    wchar_t line[kivMaxPath] = {};
    dataManager->loadString(line);
    nonCombinableVaried = dataManager->isCurrentVaried();
    if (nonCombinableVaried) {
        enableNonCombinable(2, false);
        return {};
    }
    const wchar_t* const text = kivBehindHeader(line, kivNonCombinableHeader);
    const bool named = text != nullptr && *text != L'\0';
    enableNonCombinable(named ? 1 : 0, named);
    return named ? text : std::wstring();
}

std::wstring KivPropertiesDlg::loadCombinableLine() {
    wchar_t line[kivMaxPath] = {};
    dataManager->loadString(line);
    combinableVaried = dataManager->isCurrentVaried();
    uncheckCombinableShaders();
    const wchar_t* const text = combinableVaried ? nullptr : kivBehindHeader(line, kivCombinableHeader);
    return text != nullptr ? text : std::wstring();
}

// The values of a shader that is not loaded are read as names of shaders: texts are passed over, and the first cell
// that is not a text ends the loading.
void KivPropertiesDlg::loadShaderData(const wchar_t* text) {
    if (KivShader* const shader = kivFindShader(text)) {
        shader->addRef();
        kivTryShader(*shader, [&] { shader->createPages(this, this); });
        shader->loadData(dataManager, this);
        shader->release();
    }
}

// --- saving ---

void KivPropertiesDlg::saveData() {
    if (getWindow() != nullptr) {
        previewEnabled = getWindow()->getCheck(previewBox);
    }
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->setShowPreview(previewEnabled != 0);
    }
    if (dataManager == nullptr || getWindow() == nullptr) {
        return;
    }
    dataManager->clearData();
    dataManager->setSaving();

    std::wstring line = kivStyleHeader;
    if (!styleVaried) {
        line += getWindow()->getItemText(stylesCombo, getWindow()->getSelection(stylesCombo));
    }
    dataManager->saveString(line.c_str());
    dataManager->saveCurrentVaried(styleVaried);

    line = kivNonCombinableHeader;
    KivShader* const base = getSelectedNonCombinable();
    if (checkNonCombinableState() == 1 && base != nullptr) {
        line += kivShaderTag(*base);
    }
    dataManager->saveString(line.c_str());
    dataManager->saveCurrentVaried(nonCombinableVaried);

    line = kivCombinableHeader;
    for (const std::wstring& name : getCheckedCombinables()) {
        if (KivShader* const shader = KivShader::getByName(name.c_str())) {
            line += kivShaderTag(*shader);
            line += L';';
        }
    }
    dataManager->saveString(line.c_str());
    dataManager->saveCurrentVaried(combinableVaried);

    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader* const shader = KivShader::getByIndex(i);
        shader->addRef();
        shader->saveData(dataManager, this);
        shader->release();
    }
    dataManager->saveString(kivStreamEnd);
    dataManager->saveCurrentVaried(false);
    dataManager->setMinorVersion(5);
}
