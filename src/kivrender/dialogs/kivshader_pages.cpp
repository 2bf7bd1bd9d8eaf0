// A shader's property pages: which set belongs to which dialog, and how settings move between pages, streams and style
// files.
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/settings/kivpagesettings.h"
#include "kivrender/settings/kivstreammark.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"

bool KivShader::pagesBelongTo(const KivPropertiesDlg* dlg) const {
    return !pages.empty() && pages.front()->getPropertiesDlg() == dlg;
}

bool KivShader::secondPagesBelongTo(const KivPropertiesDlg* dlg) const {
    return !secondPages.empty() && secondPages.front()->getPropertiesDlg() == dlg;
}

KivPageDlg* KivShader::getPage(const KivPropertiesDlg* dlg, unsigned int index) const {
    const std::vector<KivPageDlg*>* set = nullptr;
    if (pagesBelongTo(dlg)) {
        set = &pages;
    } else if (secondPagesBelongTo(dlg)) {
        set = &secondPages;
    }
    return set != nullptr && index < set->size() ? (*set)[index] : nullptr;
}

// Both look at the first set alone: whoever does not own it has the second index.
int KivShader::getCurDialogIndex(const KivPropertiesDlg* dlg) const {
    return pagesBelongTo(dlg) ? curDialogIndex : secondCurDialogIndex;
}

void KivShader::setCurDialogIndex(int index, const KivPropertiesDlg* dlg) {
    (pagesBelongTo(dlg) ? curDialogIndex : secondCurDialogIndex) = index;
}

void KivShader::createPage(KivPageDlg* page, KivPropertiesDlg* dlg) {
    page->setPropertiesDlg(dlg);
    if (KivWindow* const window = page->getWindow()) {
        window->setCaption(false);
    }
    (pages.empty() || pagesBelongTo(dlg) ? pages : secondPages).push_back(page);
}

// A dialog that does not own the first set destroys the second one, whoever owns that.
void KivShader::destroyPages(KivPropertiesDlg* dlg) {
    std::vector<KivPageDlg*>& set = pagesBelongTo(dlg) ? pages : secondPages;
    for (KivPageDlg* const page : set) {
        kivTryShader(*this, [page] { page->DestroyWindow(); });
    }
    set.clear();
}

bool KivShader::saveData(KivDataManager* manager, const KivPropertiesDlg* dlg) {
    const std::vector<KivPageDlg*>* set = nullptr;
    if (dlg == nullptr || pagesBelongTo(dlg)) {
        set = &pages;
    } else if (secondPagesBelongTo(dlg)) {
        set = &secondPages;
    }
    KivStreamMark before(*manager);
    bool saved = false;
    const bool whole = kivTryShader(*this, [&] {
        manager->startShader(getTag());
        if (set != nullptr && !set->empty()) {
            for (KivPageDlg* const page : *set) {
                page->saveData(manager);
            }
            saved = true;
        } else {
            saved = saveDefaultData(manager);
        }
    });
    if (!whole) {
        before.returnTo();
    }
    manager->endShader();
    return whole && saved;
}

bool KivShader::loadData(KivDataManager* manager, const KivPropertiesDlg* dlg) {
    const bool first = dlg == nullptr || pagesBelongTo(dlg);
    if (!first && !secondPagesBelongTo(dlg)) {
        return false;
    }
    return kivTryShader(*this, [&] {
        for (KivPageDlg* const page : first ? pages : secondPages) {
            page->loadData(manager);
        }
    });
}

bool KivShader::saveDataOnStyle(const wchar_t* file, const KivPropertiesDlg* dlg) {
    const bool first = pagesBelongTo(dlg);
    if (!first && !secondPagesBelongTo(dlg)) {
        return false;
    }
    return kivTryShader(*this, [&] {
        for (KivPageDlg* const page : first ? pages : secondPages) {
            if (KivPageSettings* const settings = page->getSettings()) {
                settings->save(getTag(), file);
            }
        }
    });
}

// Without a set of its own the dialog gets true, unlike in saving: there is nothing that could fail to load.
bool KivShader::loadDataFromStyle(const wchar_t* file, const KivPropertiesDlg* dlg) {
    const bool first = dlg == nullptr || pagesBelongTo(dlg);
    if (!first && !secondPagesBelongTo(dlg)) {
        return true;
    }
    const std::vector<KivPageDlg*>& set = first ? pages : secondPages;
    bool loaded = true;
    // A shader that throws is told and passed over: the other shaders of the style still load.
    kivTryShader(*this, [&] {
        for (KivPageDlg* const page : set) {
            KivPageSettings* const settings = page->getSettings();
            if (settings != nullptr && !settings->load(getTag(), file)) {
                loaded = false;
                return;
            }
            page->loadControls();
        }
    });
    const int shown = first ? curDialogIndex : secondCurDialogIndex;
    if (loaded && shown >= 0 && static_cast<std::size_t>(shown) < set.size()) {
        set[static_cast<std::size_t>(shown)]->redraw();
    }
    return loaded;
}

void KivShader::loadPreviewSettingsFromPages() {
    for (KivPageDlg* const page : pages) {
        page->saveControls();
    }
    for (KivPageDlg* const page : secondPages) {
        page->saveControls();
    }
}
