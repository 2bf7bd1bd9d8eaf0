// What the shader plug-ins share of their dealings with settings: one page over one table of settings, in documents,
// streams, style files and on objects.
#ifndef SHADERS_KIT_KIVSHADERPAGE_H
#define SHADERS_KIT_KIVSHADERPAGE_H

#include "kivrender/dialogs/kivcolorcontrol.h"
#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/settings/kivsettingstable.h"

#include <string>
#include <vector>

class Kiv3DObject;
class KivDataManager;
class KivPropertiesDlg;

// The number of the page's template in each plug-in.
inline constexpr unsigned int kivPageTemplate = 1;

// A page over its own settings, with a control for each of them as kivPageForm numbers them. Without a toolkit there
// are not controls, and the settings are all there is to it.
//
// A control in which several objects differ shows none of their values. As long as the user leaves it alone its setting
// stays varied.
class KivShaderPage : public KivPageDlg {
public:
    // The module that holds the page's template.
    KivShaderPage(HINSTANCE resources, const KivTablePageSettings& defaults);

    // Makes the page's window in that of the dialog, with the settings in its controls, unless there is one. Does
    // nothing without a dialog or its window.
    void openIn(const KivPropertiesDlg* dlg);

    int Create(unsigned int templateId, HWND parent) override;
    int DestroyWindow() override;
    void saveControls() override;
    void loadControls() override;

protected:
    void onControl(const KivControlEvent& event) override;

private:
    // What a control was given last. What its window makes of a number, by rounding, is no reason to change it.
    struct Shown {
        double value = 0.0;
        bool varied = false;
        std::wstring text; // of a number, as it stands in its field
    };

    void show(int index);
    void take(int index);
    void pickColour(int index);

    KivTablePageSettings owned;
    std::vector<Shown> shown;             // beside the settings
    std::vector<KivColorControl> colours; // beside the settings, for those that are colours
    bool loading = false;                 // what controls tell is the page's own doing
};

// Stores a plug-in's table and gives the number of its settings.
using KivTableFunction = int (*)(const KivSettingInfo** table);

// The settings of a table at their defaults, for the page of that name.
KivTablePageSettings kivDefaultSettings(const wchar_t* section, KivTableFunction table);

// A text of the language module, or the tag while there is none or for a number of 0.
std::wstring kivShaderName(unsigned int text, const wchar_t* tag);

// Reads a page's settings from a stream that stands at the page's section. What the stream does not give is at its
// default.
void kivLoadSettings(KivDataManager* manager, KivTablePageSettings& settings);

// Appends a page's settings to a stream. True.
bool kivSaveSettings(KivDataManager* manager, KivTablePageSettings& settings);

// Brings a page's settings from the host's document into the manager, which appends what it reads. False as soon as a
// value can't be read.
bool kivLoadDocument(KivDataManager* manager, const KivTablePageSettings& like);

// The settings that an object brings for the page of that name, or null.
const KivTablePageSettings* kivObjectSettings(const Kiv3DObject& object, const wchar_t* section);

// Whether a shader is to draw an object: flagged calls are for what has no settings of its own, the others for what
// names the shader.
bool kivIsForShader(const Kiv3DObject& object, const wchar_t* tag, bool flagged);

#endif
