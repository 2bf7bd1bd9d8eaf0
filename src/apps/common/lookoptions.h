// What paints, in the words of a user: a style, shaders by their tags, single settings by their keys.
#ifndef APPS_COMMON_LOOKOPTIONS_H
#define APPS_COMMON_LOOKOPTIONS_H

#include <string>
#include <vector>

struct SettingOption {
    std::string shader;
    std::string key;
    std::string value;
};

// How complaints name the places where a look was asked for: each program has its own.
struct LookWords {
    const char* beforeStyle = "--style: "; // before a name that can't be one
    const char* beforeSetting = "--set ";
    const char* listOfStyles = "\"selvarin styles\"";
    const char* giveBase = "give it with --base";
    const char* giveAdded = "give it with --add";
};

// A style, the shaders that are named beside it, and single settings; what stands later wins.
struct LookOptions {
    std::string style; // a name, or a file's; empty for none
    std::string base;  // empty for none
    std::vector<std::string> add;
    bool baseChosen = false; // else the style's is taken; without a style one that is not there is left out in silence
    bool addChosen = false;
    std::vector<SettingOption> settings;
    // For pictures in layers.
    bool withoutBackdrop = false;   // no shader paints what lies behind the scene
    bool withoutLines = false;      // nor what lies over its surfaces
    bool withoutHighlights = false; // nor do surfaces shine
    // For films: hatching round the form, whose lines are found anew for each view, runs straight unless a setting asks
    // for it.
    bool forFilm = false;
    LookWords words;
};

#endif
