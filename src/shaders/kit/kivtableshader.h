// The base of shader plug-ins with one page over one table of settings. It has the name, the tag and the page, and
// keeps the settings in documents, streams, style files, on objects and in previews. The plug-in derives from
// KivTableShader<KivCombinableShader> or KivTableShader<KivNonCombinableShader> and adds the drawing.
//
// A plug-in in short; "selvarin new-shader" writes one that is whole:
//
//     class MyShader : public KivTableShader<KivCombinableShader> {
//     public:
//         explicit MyShader(HINSTANCE module)
//             : KivTableShader(module, L"Mine", kivDefaultSettings(L"Mine", myTable)) {}
//         void render(...) override {
//             const KivTablePageSettings& settings = settingsOf(mesh);
//             ... // draw by OpenGL
//         }
//     };
//
// The table (kivrender/settings/kivsettingstable.h) names each setting once; page, style files, streams and the command
// line follow from it. Streams are read by position, so rows are added at the end of a table and never moved.
//
// Threads: one render at a time calls a shader. Pages and previews are asked for on the thread of the windows.
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

    // What users see, in the language that is loaded now. Valid until the next call.
    const wchar_t* getName() const override {
        // Asked for each time: the language can be loaded after the shader.
        name = text == 0 ? kivPageTitle() : std::wstring();
        if (name.empty()) {
            name = kivShaderName(text, tag);
        }
        return name.c_str();
    }
    // The name in files and options; never translated.
    const wchar_t* getTag() const override {
        return tag;
    }
    // The library never calls this slot; it keeps the places of those behind it.
    using Base::reservedSlot;
    void reservedSlot() override {}
    // Null: the dialog renders previews, so the shader brings no still picture.
    HBITMAP getPreviewBitmap() override {
        return nullptr;
    }
    // Called before a render with the stream of the scene: fills in sceneSettings. A stream that is cut off leaves the
    // defaults.
    void loadRenderData(KivDataManager* manager, const KivCommonSettings&) override {
        kivLoadSettings(manager, renderSettings);
    }
    // Called when a host opens a document: the settings in it become the defaults of new pages.
    bool loadDocData(KivDataManager* manager) override {
        return kivLoadDocument(manager, defaults);
    }
    // Makes the one page for a dialog, or opens in it the page that it has already. The shader keeps the page; the
    // dialog shows it.
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
    // Appends the defaults to a stream. True.
    bool saveDefaultData(KivDataManager* manager) override {
        KivTablePageSettings settings = defaults;
        return kivSaveSettings(manager, settings);
    }
    // Reads an object's own settings from a stream; the object owns them afterwards.
    void loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) override {
        object->addPageSettings(read(manager).release());
    }
    // Gives the meshes of the preview scene the settings that the page shows now.
    void preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) override {
        this->loadPreviewSettingsFromPages();
        KivPageDlg* page = this->getPage(dlg, 0);
        scene->addSettingsToAllMeshes(tag, this->isCombinable(),
                                      page != nullptr ? page->getSettings() : &renderSettings);
    }
    // One page for one table.
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
    // The object's own settings if it has any, else those of the render that runs. Valid until the object gets others.
    const KivTablePageSettings& settingsOf(const Kiv3DObject& object) const {
        const KivTablePageSettings* own = kivObjectSettings(object, defaults.getSectionName());
        return own != nullptr ? *own : renderSettings;
    }
    // Those of the render that runs.
    const KivTablePageSettings& sceneSettings() const {
        return renderSettings;
    }

private:
    // A block of settings from the cursor of a stream on, over the defaults.
    std::unique_ptr<KivTablePageSettings> read(KivDataManager* manager) const {
        auto page = std::make_unique<KivTablePageSettings>(defaults);
        kivLoadSettings(manager, *page);
        return page;
    }

    // Whose resources the page comes from.
    HINSTANCE plugin;
    const wchar_t* tag;
    unsigned int text;
    mutable std::wstring name;
    KivTablePageSettings defaults;
    // Of the scene in the render that runs.
    KivTablePageSettings renderSettings;
    // Each for one dialog; they go with the shader, before its code is unloaded.
    std::vector<std::unique_ptr<KivShaderPage>> ownPages;
};

#endif
