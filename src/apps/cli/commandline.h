// From the words of the command line, and a settings file if one is named, to typed options.
#ifndef APPS_CLI_COMMANDLINE_H
#define APPS_CLI_COMMANDLINE_H

#include "apps/cli/optiontable.h"
#include "apps/common/drawingoptions.h"
#include "apps/common/lookoptions.h"
#include "apps/common/standardview.h"
#include "apps/common/usageerror.h"
#include "import/kivmodelobjects.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct StudioState;

struct Words {
    const CommandInfo* command = nullptr;                                 // null: options of the program itself
    std::map<std::string, std::vector<std::string>, std::less<>> options; // by name; a switch has an empty value
    std::vector<std::string> arguments;

    bool has(std::string_view option) const {
        return options.find(option) != options.end();
    }
    // The last value given.
    std::optional<std::string> value(std::string_view option) const;
    std::vector<std::string> all(std::string_view option) const;
};

// Throws UsageError. A settings file that the words name has been read in.
Words parseWords(int argc, const char* const* argv);

// One "name = value" a line, or a name alone for a switch (or with yes or no); what follows a # at the beginning of a
// line is a comment. Adds to words what the command line leaves open.
void mergeSettingsFile(const std::string& path, Words& words);
// The same with the text of such a file; path: what messages call it.
void mergeSettings(const std::string& text, const std::string& path, Words& words);

struct Triple {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

struct LightOption {
    enum class Kind { directional, point, spot };

    Kind kind = Kind::directional;
    Triple place;       // of a directional light: the way it shines
    Triple direction;   // of a spot
    double angle = 0.0; // degrees, of a spot
    std::uint32_t colour = 0xFFFFFF;
};

// Throws UsageError.
DrawingOptions parseDrawingOptions(const Words& words);
// The first option that is given and is for drawings alone; empty for none.
std::string givenDrawingOption(const Words& words);

struct RenderOptions : LookOptions {
    std::vector<std::string> models;
    bool demo = false;
    std::vector<std::string> outputs;
    std::int32_t width = 1280;
    std::int32_t height = 960;
    int antialias = 2;
    std::uint32_t background = 0;
    bool backgroundChosen = false; // a colour
    bool noBackground = false;     // what is not drawn stays transparent
    std::uint32_t ambient = 0;
    std::string backgroundImage;
    std::string paper;
    bool depthImage = false;
    bool shadowImage = false;
    std::string layers; // the folder for the layers of the picture; empty for none
    bool objectLayers = false;
    DrawingOptions drawing;
    bool shadows = false;
    bool transparency = false;
    char upAxis = 0; // 'y', 'z', or 0 for the format's
    KivObjectChoice objects;
    double deflection = 0.0; // 0: by the picture
    std::optional<Triple> eye;
    std::optional<Triple> target;
    std::optional<Triple> up;
    std::optional<double> fov;
    std::optional<double> ortho;
    std::optional<StandardView> view;
    std::vector<LightOption> lights;
    double offset = 5.0;
    std::int32_t tile = 0; // 0: no tiles unless the picture needs them
    std::string memoryFolder;
    bool timings = false;
    bool quiet = false;
    // In place of models, and of what the options leave open; null for none.
    std::shared_ptr<const StudioState> document;
    bool documentLook = false; // else that of the options
    bool documentView = false;
};

RenderOptions parseRenderOptions(const Words& words);

// Throws UsageError: the option's value is no such thing as was expected.
[[noreturn]] void refuseValue(std::string_view option, const std::string& value, const std::string& expected);

// Of a picture of the preview scene.
struct PreviewOptions : LookOptions {
    std::string output; // a file, or the folder for the pictures of all styles; empty for none
    std::int32_t width = 110;
    std::int32_t height = 110;
    int antialias = 2;
    std::uint32_t background = 0;
    std::uint32_t ambient = 0;
    bool quiet = false;
};

// Of "preview", which wants a file and takes a look, and of "styles", which does neither.
PreviewOptions parsePreviewOptions(const Words& words);
PreviewOptions parseStylesOptions(const Words& words);

LookOptions parseLookOptions(const Words& words);

// 'y', 'z', or 0 if the option is not given.
char parseUpAxis(const Words& words);

#endif
