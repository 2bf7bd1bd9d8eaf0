// What every shader plug-in with one page over one table of settings does alike: its name and tag, its page, and its
// settings in documents, streams, style files, on objects and in previews. The plug-in derives from
// KivTableShader<KivCombinableShader> or KivTableShader<KivNonCombinableShader> and adds the drawing.
#ifndef SHADERS_KIT_KIVTABLESHADER_H
#define SHADERS_KIT_KIVTABLESHADER_H

#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "shaders/kit/kivpageresource.h"
#include "shaders/kit/kivshaderpage.h"

#include <memory>
#include <string>
#include <vector>

template <class Base> class KivTableShader : public Base {
public:
    // The tag outlives the shader; nameText is the number of the text that users see for it, 0 for the title of its
    // page, and without that the tag itself.
    KivTableShader(HINSTANCE pluginModule, const wchar_t* shaderTag, const KivTablePageSettings& defaultSettings,
                   unsigned int nameText = 0)
        : Base(pluginModule), plugin(pluginModule), tag(shaderTag), text(nameText), defaults(defaultSettings),
          renderSettings(defaultSettings) {}
    KivTableShader(const KivTableShader&) = delete;
    KivTableShader& operator=(const KivTableShader&) = delete;
    ~KivTableShader() override = default;

    const wchar_t* getName() const override {
        // Asked for each time: the language can be loaded after the shader.
        name = text == 0 ? kivPageTitle() : std::wstring();
        if (name.empty()) {
            name = kivShaderName(text, tag);
        }
        return name.c_str();
    }
    const wchar_t* getTag() const override {
        return tag;
    }
    using Base::reservedSlot;
    void reservedSlot() override {}
    // No still picture.
    HBITMAP getPreviewBitmap() override {
        return nullptr;
    }
    void loadRenderData(KivDataManager* manager, const KivCommonSettings&) override {
        kivLoadSettings(manager, renderSettings);
    }
    bool loadDocData(KivDataManager* manager) override {
        return kivLoadDocument(manager, defaults);
    }
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) override {
        if (KivPageDlg* const page = this->getPage(dlg, 0)) {
            // It may have been made before there was a window for it.
            static_cast<KivShaderPage*>(page)->openIn(dlg);
            return;
        }
        // Pages that no dialog shows any more have no further use.
        std::erase_if(ownPages, [this](const std::unique_ptr<KivShaderPage>& page) {
            return this->getPage(page->getPropertiesDlg(), 0) != page.get();
        });
        ownPages.push_back(std::make_unique<KivShaderPage>(plugin, defaults));
        ownPages.back()->openIn(dlg);
        this->createPage(ownPages.back().get(), dlg);
    }
    bool saveDefaultData(KivDataManager* manager) override {
        KivTablePageSettings settings = defaults;
        return kivSaveSettings(manager, settings);
    }
    void loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) override {
        object->addPageSettings(read(manager).release());
    }
    void preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) override {
        this->loadPreviewSettingsFromPages();
        KivPageDlg* page = this->getPage(dlg, 0);
        scene->addSettingsToAllMeshes(tag, this->isCombinable(),
                                      page != nullptr ? page->getSettings() : &renderSettings);
    }
    int getNumPages() override {
        return 1;
    }
    // The pointers are KivTablePageSettings that the host deletes.
    bool loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) override {
        std::unique_ptr<KivTablePageSettings> page = read(manager);
        if (selected) {
            settings->push_back(page.release());
        }
        return true;
    }

protected:
    // What an object is drawn with: its own settings, else those of the render that runs.
    const KivTablePageSettings& settingsOf(const Kiv3DObject& object) const {
        const KivTablePageSettings* own = kivObjectSettings(object, defaults.getSectionName());
        return own != nullptr ? *own : renderSettings;
    }
    // Those of the render that runs.
    const KivTablePageSettings& sceneSettings() const {
        return renderSettings;
    }

private:
    std::unique_ptr<KivTablePageSettings> read(KivDataManager* manager) const {
        auto page = std::make_unique<KivTablePageSettings>(defaults);
        kivLoadSettings(manager, *page);
        return page;
    }

    HINSTANCE plugin;
    const wchar_t* tag;
    unsigned int text;
    mutable std::wstring name;
    KivTablePageSettings defaults;
    KivTablePageSettings renderSettings;
    std::vector<std::unique_ptr<KivShaderPage>> ownPages;
};

#endif
