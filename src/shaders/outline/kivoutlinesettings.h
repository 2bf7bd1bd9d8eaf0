// The settings of the outline shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_OUTLINE_KIVOUTLINESETTINGS_H
#define SHADERS_OUTLINE_KIVOUTLINESETTINGS_H

#include "kivoutlineedges.h"
#include "kivrender/settings/kivsettingstable.h"

#include <cstdint>

// The page's section in streams; not the shader's tag, which would be taken for the beginning of the shader's block.
inline constexpr const wchar_t* kivOutlineSection = L"OutlineLines";

// The number of settings.
int kivOutlineTable(const KivSettingInfo** table);

// Lengths in pixels of the finished picture.
struct KivOutlineLook {
    KivOutlineRules rules;
    std::uint32_t color = 0;
    double width[3] = {2.4, 2.4, 1.6}; // by kind
    bool lines = true;                 // draw the lines, polylines and points of the scene too
    double lineWidth = 1.6;
    double detail = 2.0;
    double shortest = 5.0;
    double smoothing = 1.5;
};

KivOutlineLook kivOutlineLook(const KivTablePageSettings& settings);

#endif
