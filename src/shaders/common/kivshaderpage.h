// What the shader plug-ins share of their dealings with settings: one page over one table of settings, in documents,
// streams, style files and on objects.
#ifndef SHADERS_COMMON_KIVSHADERPAGE_H
#define SHADERS_COMMON_KIVSHADERPAGE_H

#include "kivrender/dialogs/kivpagedlg.h"
#include "kivrender/settings/kivsettingstable.h"

#include <string>

class Kiv3DObject;
class KivDataManager;
class KivPropertiesDlg;

// A page over its own settings. Without a toolkit there are no controls, and the settings are all there is to it.
class KivShaderPage : public KivPageDlg {
public:
    KivShaderPage(unsigned int pageTemplate, const KivTablePageSettings& defaults);

    void saveControls() override;
    void loadControls() override;

    KivTablePageSettings& values() {
        return owned;
    }

private:
    KivTablePageSettings owned;
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
