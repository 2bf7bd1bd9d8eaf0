// Shaders with pages in windows, and a table of loaded shaders that a test fills itself.
#ifndef TESTS_DIALOGS_SHADERTABLE_H
#define TESTS_DIALOGS_SHADERTABLE_H

#include "dialogs/samplepage.h"
#include "kivrender/dialogs/kivpropertiesdlg.h"
#include "kivrender/dialogs/kivupdating.h"
#include "kivrender/platform/kivwindow.h"
#include "kivrender/shader/kivshader.h"
#include "support/plainshader.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct KivTestAccess {
    static void setShaders(const std::vector<KivShader*>& shaders) {
        KivShader::dShaders = shaders.size();
        for (std::size_t i = 0; i < static_cast<std::size_t>(kivMaxShaders); ++i) {
            KivShader::lShaders[i] = i < shaders.size() ? shaders[i] : nullptr;
        }
    }
    // Where the fields of a shader begin, in bytes, in the order in which plug-ins have been compiled against them.
    static std::vector<std::ptrdiff_t> fieldOffsets(const KivShader& shader) {
        const auto offset = [&shader](const auto& field) {
            return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&shader);
        };
        return {offset(shader.module),         offset(shader.refCount),
                offset(shader.curDialogIndex), offset(shader.secondCurDialogIndex),
                offset(shader.pages),          offset(shader.secondPages),
                offset(shader.pluginData),     offset(shader.doubleSided)};
    }
    // How many loads of the table have not been taken back.
    static unsigned long& loads() {
        return KivShader::dRefShadersLoaded;
    }
    static void fillPreviewSettings(KivCommonSettings* settings) {
        const KivPropertiesDlg dialog(nullptr);
        dialog.fillPreviewCommonSettings(settings);
    }
    static bool updating(const KivPropertiesDlg& dialog) {
        return dialog.updating;
    }
    // Whatever happens meanwhile comes from the dialog itself.
    template <class Action> static void whileUpdating(KivPropertiesDlg& dialog, Action action) {
        const KivUpdating guard(dialog.updating);
        action();
    }
    static int currentTab(const KivPropertiesDlg& dialog) {
        return dialog.currentTab;
    }
    static KivShader* base(const KivPropertiesDlg& dialog) {
        return dialog.currentNonCombinable;
    }
    static std::vector<KivShader*> combinables(const KivPropertiesDlg& dialog) {
        return {dialog.activeCombinable.begin(), dialog.activeCombinable.begin() + dialog.activeCombinableCount};
    }
    static KivPageDlg* shownPage(const KivPropertiesDlg& dialog) {
        return dialog.getCurrentTabPage();
    }
};

// Tells its dialog what the user edits, but not what it writes into its controls itself.
class EditedPage : public SamplePage {
public:
    using SamplePage::SamplePage;
    void loadControls() override {
        loading = true;
        SamplePage::loadControls();
        loading = false;
    }

protected:
    void onControl(const KivControlEvent& event) override {
        if (event.change == KivControlChange::edited && !loading) {
            resetStyle();
        }
    }

private:
    bool loading = false;
};

template <class Base> class ShownShader : public Base {
public:
    ShownShader(std::wstring shaderTag, int numPages)
        : Base(nullptr, shaderTag, L"Test " + shaderTag), count(numPages) {}

    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) override {
        if (this->getPage(dlg, 0) != nullptr) {
            return;
        }
        for (int i = 0; i < count; ++i) {
            pages.push_back(std::make_unique<EditedPage>(L"Page" + std::to_wstring(i)));
            pages.back()->Create(100, dlg->getWindow());
            pages.back()->loadControls();
            this->createPage(pages.back().get(), dlg);
        }
    }
    bool saveDefaultData(KivDataManager* manager) override {
        for (int i = 0; i < count; ++i) {
            SampleSettings settings(L"Page" + std::to_wstring(i));
            settings.setDataManager(manager);
            settings.saveData();
        }
        return true;
    }
    int getNumPages() override {
        return count;
    }
    HBITMAP getPreviewBitmap() override {
        return still;
    }
    void preparePreview(KivScene*, const KivPropertiesDlg*) override {
        ++previews;
    }

    std::vector<std::unique_ptr<EditedPage>> pages;
    int count;
    int previews = 0;        // in which it was drawn
    HBITMAP still = nullptr; // stays the test's
};
using ShownBaseLook = ShownShader<PlainBaseLook>;
using ShownCombinable = ShownShader<PlainCombinable>;

#endif
