// The settings of the backdrop shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_BACKDROP_KIVBACKDROPSETTINGS_H
#define SHADERS_BACKDROP_KIVBACKDROPSETTINGS_H

#include "kivrender/settings/kivsettingstable.h"

#include <cstdint>

// The page's section in streams; not the shader's tag, which would be taken for the beginning of the shader's block.
inline constexpr const wchar_t* kivBackdropSection = L"BackdropSheet";

// The number of settings.
int kivBackdropTable(const KivSettingInfo** table);

// Lengths in pixels of the finished picture, colours with red in the low byte.
struct KivBackdropLook {
    enum class Gradient { none, vertical, round };
    enum class Pattern { none, grid, lines, dots };

    std::uint32_t color = 0;
    std::uint32_t secondColor = 0; // below, or around
    Gradient gradient = Gradient::none;
    double grain = 0.0; // 0 to 1
    double grainSize = 1.0;
    bool grainEverywhere = true;
    Pattern pattern = Pattern::none;
    std::uint32_t patternColor = 0;
    double patternSpacing = 24.0;
    double patternWidth = 1.0;
    double frame = 0.0; // width of its line
    double frameDistance = 20.0;
};

KivBackdropLook kivBackdropLook(const KivTablePageSettings& settings);

#endif
