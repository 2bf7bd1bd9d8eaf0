// The settings of the halftone shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_HALFTONE_KIVHALFTONESETTINGS_H
#define SHADERS_HALFTONE_KIVHALFTONESETTINGS_H

#include "kivhalftonescreen.h"
#include "kivrender/settings/kivsettingstable.h"

#include <cstdint>

// The page's section in streams; not the shader's tag, which would be taken for the beginning of the shader's block.
inline constexpr const wchar_t* kivHalftoneSection = L"HalftoneScreen";

// The number of settings.
int kivHalftoneTable(const KivSettingInfo** table);

struct KivHalftoneLook {
    KivHalftoneScreen screen;
    std::uint32_t color = 0;
    double overprint = 0.0; // 0 to 1
    bool smoothShape = true;
};

KivHalftoneLook kivHalftoneLook(const KivTablePageSettings& settings);

// The ink on a material: as it is, or as it shows through to the material's colour, which light crosses twice.
std::uint32_t kivInkOn(std::uint32_t ink, std::uint32_t material, double overprint);

#endif
