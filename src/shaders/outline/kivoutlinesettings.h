// The settings of the outline shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_OUTLINE_KIVOUTLINESETTINGS_H
#define SHADERS_OUTLINE_KIVOUTLINESETTINGS_H

#include "kivlinedrawing.h"
#include "kivrender/settings/kivsettingstable.h"

// The page's section in streams; not the shader's tag, which would be taken for the beginning of the shader's block.
inline constexpr const wchar_t* kivOutlineSection = L"OutlineLines";

// The number of settings.
int kivOutlineTable(const KivSettingInfo** table);

KivLineLook kivOutlineLook(const KivTablePageSettings& settings);

#endif
