// The settings of the sketch shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_SKETCH_KIVSKETCHSETTINGS_H
#define SHADERS_SKETCH_KIVSKETCHSETTINGS_H

#include "kivlinedrawing.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivsketchmedium.h"

#include <cstdint>

// The page's section in streams; not the shader's tag, which would be taken for the beginning of the shader's block.
inline constexpr const wchar_t* kivSketchSection = L"SketchStrokes";

// The number of settings.
int kivSketchTable(const KivSettingInfo** table);

enum class KivSketchHidden : std::uint8_t { none, dashed, thin };

// How the strokes are drawn. Lengths in pixels of the finished picture, parts from 0 to 1.
struct KivSketchStyle {
    KivSketchTool tool = KivSketchTool::pencil;
    double width = 2.4; // under full pressure
    double pressure = 0.6;
    double wobble = 1.0;
    double overshoot = 6.0;
    int strokes = 2;
    double length = 220.0; // longer strokes are broken; 0 never
    double shortest = 4.0;
    double grain = 1.0;
    KivSketchHidden hidden = KivSketchHidden::none;
    std::uint32_t color = 0;
    bool hatching = true;
    double hatchSpacing = 6.0;
    double hatchAngle = 52.0; // degrees, anticlockwise from the right in the picture
    bool hatchAroundForm = false;
    double hatchTone = 0.45; // surfaces darker than this are hatched
    bool crossHatching = true;
    std::uint32_t seed = 1;
};

KivSketchStyle kivSketchStyle(const KivTablePageSettings& settings);
KivLineLook kivSketchLook(const KivTablePageSettings& settings);

#endif
