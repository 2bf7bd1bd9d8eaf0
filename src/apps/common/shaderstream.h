// From styles, shader tags and settings by name to the settings of the shaders and the stream that a render reads.
#ifndef APPS_COMMON_SHADERSTREAM_H
#define APPS_COMMON_SHADERSTREAM_H

#include "apps/common/lookoptions.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivstylefile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class KivShader;

// Whether a shader adds to a picture. False for one that fails to say, which is told.
bool isCombinable(const KivShader& shader);

// Whether a shader paints all that lies behind the scene, so that no colour or picture of a background shows.
bool coversBackground(const KivShader& shader);

// The tags of all loaded shaders, of one kind or of both.
std::vector<std::string> shaderTags(bool base, bool combinable);

// The look that options give. The settings themselves are in the pages of the shaders that were made without a dialog.
struct ChosenLook {
    std::wstring style; // its name, or that of its file without the ending; empty for none
    KivStyleHead shaders;
    std::vector<std::string> warnings;       // one line each: what the style holds and nobody understands
    std::optional<std::uint32_t> background; // the colour of a backdrop, red in the low byte; nothing without one
    bool hasLines = false;                   // shaders that draw over surfaces, a backdrop aside
    bool hasHighlights = false;              // the base look shows some
};

// One setting of a look, its value as text.
struct SettingText {
    std::string shader;
    std::string key;
    std::string value;
};

// All settings of the shaders of a look as applyLook has left them, the base shader's first.
std::vector<SettingText> settingsOfLook(const ChosenLook& look);

// Sets the settings of all loaded shaders: their defaults, the style's, those of single options. Throws UsageError for
// a style, shader or key that is not known, with the nearest known one, and for a value out of range, and
// std::runtime_error for a style that can't be used. A default shader that is not there is left out. The shaders must
// be loaded, and stay so.
ChosenLook applyLook(const LookOptions& options);

// The same, and as a stream that a render reads.
ChosenLook buildShaderStream(const LookOptions& options, KivMemoryDataManager& stream);

#endif
