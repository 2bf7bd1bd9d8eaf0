// The properties dialog's trees and tabs: which shaders are current, which page of theirs is shown, and where all
// stand.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/dialogs/kivupdating.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/render/kivstreamlines.h"

#include <algorithm>

namespace {

int findItem(const KivWindow& window, int control, const std::wstring& text) {
    for (int i = 0; i < window.getItemCount(control); ++i) {
        if (window.getItemText(control, i) == text) {
            return i;
        }
    }
    return -1;
}

} // namespace

void KivPropertiesDlg::fillShadersTrees() {
    if (getWindow()->getItemCount(combinableTree) > 0 || getWindow()->getItemCount(nonCombinableTree) > 0) {
        return;
    }
    getWindow()->setCheckable(combinableTree);
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        const KivShader& shader = *KivShader::getByIndex(i);
        kivTryShader(shader, [&] {
            getWindow()->insertItem(shader.isCombinable() ? combinableTree : nonCombinableTree, -1, shader.getName(),
                                    -1);
        });
    }
}

void KivPropertiesDlg::initShaderPages(KivShader* shader) {
    shader->addRef();
    kivTryShader(*shader, [&] { shader->createPages(this, this); });
    shader->release();
}

void KivPropertiesDlg::enableNonCombinable(int state, bool enabled) {
    getWindow()->setCheck(nonCombinableBox, state);
    getWindow()->enableControl(nonCombinableTree, enabled);
}

void KivPropertiesDlg::clearBold() {
    for (int i = 0; i < getWindow()->getItemCount(nonCombinableTree); ++i) {
        getWindow()->setItemBold(nonCombinableTree, i, false);
    }
}

KivShader* KivPropertiesDlg::getSelectedNonCombinable() const {
    const int item = getWindow()->getSelection(nonCombinableTree);
    return item >= 0 ? KivShader::getByName(getWindow()->getItemText(nonCombinableTree, item).c_str()) : nullptr;
}

// The display names in the order of the tree.
std::vector<std::wstring> KivPropertiesDlg::getCheckedCombinables() const {
    std::vector<std::wstring> names;
    for (int i = 0; i < getWindow()->getItemCount(combinableTree); ++i) {
        if (getWindow()->isItemChecked(combinableTree, i)) {
            names.push_back(getWindow()->getItemText(combinableTree, i));
        }
    }
    return names;
}

void KivPropertiesDlg::loadShader(const wchar_t* text) {
    KivShader* const shader = text != nullptr
                                  ? kivFindShader(text)
                                  : KivShader::getByName(getWindow()->getItemText(nonCombinableTree, 0).c_str());
    if (shader == nullptr) {
        return;
    }
    bool combinable = false;
    if (!kivTryShader(*shader, [&] { combinable = shader->isCombinable(); })) {
        return;
    }
    if (combinable) {
        addCombinableShader(kivShaderDisplayName(*shader));
        return;
    }
    if (currentNonCombinable != nullptr) {
        initShaderPages(currentNonCombinable);
        const int index = currentNonCombinable->getCurDialogIndex(this);
        KivPageDlg* const page = currentNonCombinable->getPage(this, static_cast<unsigned int>(index));
        if (page != nullptr && page->getWindow() != nullptr) {
            page->getWindow()->show(false);
        }
    }
    currentNonCombinable = shader;
    initShaderPages(shader);
}

void KivPropertiesDlg::selectShader(const wchar_t* text) {
    if (text != nullptr) {
        if (KivShader* const shader = kivFindShader(text)) {
            selectNonCombinableShader(kivShaderDisplayName(*shader));
            selectCombinableShader(kivShaderDisplayName(*shader));
        }
        return;
    }
    if (getWindow()->getItemCount(nonCombinableTree) > 0) {
        selectedNonCombinable = 0;
        getWindow()->setSelection(nonCombinableTree, 0);
        clearBold();
        currentNonCombinable = getSelectedNonCombinable();
    }
}

void KivPropertiesDlg::selectNonCombinableShader(const std::wstring& name) {
    clearBold();
    const int item = findItem(*getWindow(), nonCombinableTree, name);
    if (item < 0) {
        return;
    }
    getWindow()->setItemBold(nonCombinableTree, item, checkNonCombinableState() == 1);
    selectedNonCombinable = item;
    getWindow()->setSelection(nonCombinableTree, item);
    currentNonCombinable = KivShader::getByName(name.c_str());
}

void KivPropertiesDlg::selectCombinableShader(const std::wstring& name) {
    const int item = findItem(*getWindow(), combinableTree, name);
    if (item >= 0) {
        getWindow()->setSelection(combinableTree, item);
        addCombinableShader(name);
    }
}

// By tag alone, unlike the list of active shaders: a stream with a display name gives pages without a check mark.
void KivPropertiesDlg::checkCombinableShader(const std::wstring& text) {
    KivShader* const shader = KivShader::getByTag(text.c_str());
    const int item = shader != nullptr ? findItem(*getWindow(), combinableTree, kivShaderDisplayName(*shader)) : -1;
    if (item >= 0) {
        getWindow()->checkItem(combinableTree, item, true);
    }
}

void KivPropertiesDlg::uncheckCombinableShaders() {
    for (int i = 0; i < getWindow()->getItemCount(combinableTree); ++i) {
        getWindow()->checkItem(combinableTree, i, false);
    }
}

void KivPropertiesDlg::addCombinableShader(const std::wstring& text) {
    KivShader* shader = KivShader::getByName(text.c_str());
    if (shader == nullptr) {
        shader = KivShader::getByTag(text.c_str());
    }
    currentTab = shader == nullptr ? std::max(currentTab, 0) : currentTab;
    const auto end = activeCombinable.begin() + activeCombinableCount;
    if (shader == nullptr || std::any_of(activeCombinable.begin(), end, [shader](KivShader* other) {
            return kivShaderTag(*other) == kivShaderTag(*shader);
        })) {
        return;
    }
    *end = shader;
    initShaderPages(shader);
    shader->setCurDialogIndex(0, this);
    ++activeCombinableCount;
    currentTab = std::max(currentTab, 0);
}

void KivPropertiesDlg::removeCombinableShader(const std::wstring& text) {
    const auto end = activeCombinable.begin() + activeCombinableCount;
    const auto found = std::find_if(activeCombinable.begin(), end, [&text](KivShader* shader) {
        return text == kivShaderDisplayName(*shader) || text == kivShaderTag(*shader);
    });
    if (found == end) {
        return;
    }
    if (currentTab >= getPageCount(currentNonCombinable)) {
        hideCurrentTab();
        currentTab = currentNonCombinable != nullptr ? currentNonCombinable->getCurDialogIndex(this) : 0;
    }
    std::copy(found + 1, end, found);
    *(end - 1) = nullptr;
    --activeCombinableCount;
}

// --- what the user does ---

void KivPropertiesDlg::OnSelchangedNonCombinableTree() {
    const int item = getWindow()->getSelection(nonCombinableTree);
    if (item == selectedNonCombinable) {
        return;
    }
    const KivUpdating guard(updating);
    selectedNonCombinable = item;
    clearBold();
    if (item >= 0) {
        getWindow()->setItemBold(nonCombinableTree, item, true);
    }
    KivShader* const shader = getSelectedNonCombinable();
    if (shader == nullptr || shader == currentNonCombinable) {
        return;
    }
    hideCurrentTab(); // as long as the numbers are the old ones
    const int formerCount = getPageCount(currentNonCombinable);
    nonCombinableVaried = false;
    loadShader(kivShaderTag(*shader).c_str());
    if (currentTab >= formerCount) {
        currentTab += getPageCount(shader) - formerCount;
    } else {
        currentTab = shader->getCurDialogIndex(this);
    }
    refreshTabs();
    resetStyle();
}

void KivPropertiesDlg::OnSetfocusNonCombinableTree() {
    KivShader* const shader = getSelectedNonCombinable();
    if (shader != nullptr && shader != currentNonCombinable) {
        const KivUpdating guard(updating);
        loadShader(kivShaderTag(*shader).c_str());
    }
}

// Some toolkits go from the third state to on, others to off: a click on "several" always takes it away first.
void KivPropertiesDlg::OnBnClickedCheckNonCombinable() {
    const KivUpdating guard(updating);
    if (nonCombinableVaried || checkNonCombinableState() == 2) {
        getWindow()->setCheck(nonCombinableBox, 0);
    }
    nonCombinableVaried = false;
    resetStyle();
    hideCurrentTab();
    if (checkNonCombinableState() == 1) {
        getWindow()->enableControl(nonCombinableTree, true);
        KivShader* const shader = getSelectedNonCombinable();
        const std::wstring tag = shader != nullptr ? kivShaderTag(*shader) : std::wstring();
        loadShader(shader != nullptr ? tag.c_str() : nullptr);
        selectShader(shader != nullptr ? tag.c_str() : nullptr);
        currentTab = currentNonCombinable != nullptr ? currentNonCombinable->getCurDialogIndex(this) : currentTab;
    } else {
        currentNonCombinable = nullptr;
        getWindow()->enableControl(nonCombinableTree, false);
        KivShader* const first = KivShader::getByName(getWindow()->getItemText(combinableTree, 0).c_str());
        if (first != nullptr && getWindow()->isItemChecked(combinableTree, 0)) {
            currentTab = first->getCurDialogIndex(this);
        }
        clearBold();
    }
    refreshTabs();
}

// The mark has not flipped yet: what is checked now is being switched off.
void KivPropertiesDlg::OnClickCombinableTree(int item) {
    const KivUpdating guard(updating);
    resetTimer();
    const std::wstring name = getWindow()->getItemText(combinableTree, item);
    if (item < 0 || name.empty()) {
        return;
    }
    resetStyle();
    combinableVaried = false;
    if (getWindow()->isItemChecked(combinableTree, item)) {
        if (currentNonCombinable == nullptr) {
            showTabs(false);
        }
        removeCombinableShader(name);
        refreshTabs();
    } else {
        addCombinableShader(name);
        refreshTabs();
        showTabs(true);
    }
}

// --- tabs ---

int KivPropertiesDlg::getPageCount(KivShader* shader) const {
    unsigned int count = 0;
    while (shader != nullptr && shader->getPage(this, count) != nullptr) {
        ++count;
    }
    return static_cast<int>(count);
}

// Without a shader for a number that no tab has.
KivPropertiesDlg::TabPlace KivPropertiesDlg::findTab(int tab) const {
    if (tab < 0) {
        return {};
    }
    int offset = getPageCount(currentNonCombinable);
    if (tab < offset) {
        return {currentNonCombinable, tab};
    }
    for (int i = 0; i < activeCombinableCount; ++i) {
        KivShader* const shader = activeCombinable[static_cast<std::size_t>(i)];
        const int count = getPageCount(shader);
        if (tab < offset + count) {
            return {shader, tab - offset};
        }
        offset += count;
    }
    return {};
}

KivPageDlg* KivPropertiesDlg::getCurrentTabPage() const {
    const TabPlace place = findTab(currentTab);
    return place.shader != nullptr ? place.shader->getPage(this, static_cast<unsigned int>(place.index)) : nullptr;
}

void KivPropertiesDlg::hideCurrentTab() {
    KivPageDlg* const page = getCurrentTabPage();
    if (page != nullptr && page->getWindow() != nullptr) {
        page->getWindow()->show(false);
    }
}

void KivPropertiesDlg::showTabs(bool visible) {
    getWindow()->enableControl(pagesTab, visible);
    getWindow()->showControl(pagesTab, visible);
}

void KivPropertiesDlg::addTabs(KivShader* shader) {
    initShaderPages(shader);
    for (unsigned int i = 0; KivPageDlg* const page = shader->getPage(this, i); ++i) {
        KivWindow* const pageWindow = page->getWindow();
        getWindow()->insertItem(pagesTab, -1, pageWindow != nullptr ? pageWindow->getTitle() : std::wstring(), -1);
        if (pageWindow != nullptr) {
            pageWindow->setCaption(false);
            pageWindow->show(false);
        }
    }
}

void KivPropertiesDlg::refreshTabs() {
    const KivUpdating guard(updating);
    hideCurrentTab();
    while (getWindow()->getItemCount(pagesTab) > 0) {
        getWindow()->removeItem(pagesTab, 0);
    }
    if (currentNonCombinable != nullptr) {
        addTabs(currentNonCombinable);
    }
    for (int i = 0; i < activeCombinableCount; ++i) {
        addTabs(activeCombinable[static_cast<std::size_t>(i)]);
    }
    TabPlace place = findTab(currentTab);
    if (place.shader == nullptr && currentTab > 0) {
        // Shaders that went away may have left fewer tabs than the current one's number: the pages of those that are
        // still active must not go with them. A number below 0 is no such thing: a shader has said that it shows none.
        place = findTab(0);
        currentTab = place.shader != nullptr ? 0 : currentTab;
    }
    if (place.shader == nullptr) {
        showTabs(false);
        return;
    }
    place.shader->setCurDialogIndex(place.index, this);
    showTabs(true);
    KivPageDlg* const page = getCurrentTabPage();
    PositionTabDialog(page);
    if (page->getWindow() != nullptr) {
        page->getWindow()->show(true);
    }
    getWindow()->setSelection(pagesTab, currentTab);
}

void KivPropertiesDlg::OnSelchangeTab() {
    const int tab = getWindow()->getSelection(pagesTab);
    const TabPlace place = findTab(tab);
    if (tab == currentTab || place.shader == nullptr) {
        return;
    }
    hideCurrentTab();
    place.shader->setCurDialogIndex(place.index, this);
    currentTab = tab;
    KivPageDlg* const page = getCurrentTabPage();
    PositionTabDialog(page);
    if (page->getWindow() != nullptr) {
        page->getWindow()->show(true);
    }
}

void KivPropertiesDlg::PositionTabDialog(KivDialog* page) {
    if (getWindow() != nullptr && page != nullptr && page->getWindow() != nullptr) {
        getWindow()->placeInside(pagesTab, page->getWindow());
    }
}

// --- places ---

// In the usual template all that depends on the width is placed here; controls that stand in a layout of the template
// stay where that puts them (KivWindow::placeControl). The other template is its own affair.
void KivPropertiesDlg::OnSize() {
    if (getTemplateId() != propertiesTemplate) {
        return;
    }
    const int width = getWindow()->getClientSize().cx;
    const auto place = [this](int control, int left, int top, int across, int down) {
        // Where the window is narrower than its margins nothing is left, but no rectangle is turned inside out.
        getWindow()->placeControl(control, {left, top, left + std::max(across, 0), top + down});
    };
    const double right = 0.9534 * width; // the buttons keep a share of the width free beside them
    place(saveStyleButton, static_cast<int>(right - 59), 3, 26, 26);
    place(removeStyleButton, static_cast<int>(right - 26), 3, 26, 26);
    place(stylesCombo, 8, 34, width - 16, 21);
    place(groupFrame, 8, 61, width - 16, 114);
    place(nonCombinableBox, 16, 75, width - 32, 12);
    place(nonCombinableTree, 16, 91, width - 32, 50);
    place(combinableTree, 16, 145, width - 32, 22);
    place(pagesTab, 8, 182, width - 16, 240);

    // With a base look the shown page is placed and shown again: its own, or that of a combinable shader whose tab is
    // current, as two pages would stand over each other. Once the tabs are emptied there is none.
    KivPageDlg* const page = getCurrentTabPage();
    if (currentNonCombinable == nullptr || page == nullptr || page->getWindow() == nullptr ||
        getWindow()->getItemCount(pagesTab) == 0) {
        return;
    }
    PositionTabDialog(page);
    page->getWindow()->show(true);
}
