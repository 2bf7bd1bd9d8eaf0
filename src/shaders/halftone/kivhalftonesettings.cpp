#include "kivhalftonesettings.h"

#include <cmath>

namespace {

enum Setting {
    patternSetting,
    colourSetting,
    overprintSetting,
    spacingSetting,
    angleSetting,
    toneSetting,
    inkSetting,
    levelsSetting,
    smoothShapeSetting,
    numSettings
};

const KivSettingInfo table[numSettings] = {
    {"Pattern", KivSettingType::Choice, 0, 3, 0, L"What the tones are made of", "dots|lines|crossed|stipple"},
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0x201418, L"Colour of the ink", nullptr},
    {"Overprint", KivSettingType::Double, 0, 100, 0,
     L"How far the colour of a material shows through the ink, in percent", nullptr},
    {"Spacing", KivSettingType::Double, 2, 100, 7, L"Distance of dots and lines, in pixels; of stippling in the dark",
     nullptr},
    {"Angle", KivSettingType::Double, -180, 180, 45,
     L"Slant of the rows of dots and of the lines, in degrees; 0 runs to the right, 90 upwards", nullptr},
    {"Tone", KivSettingType::Double, 0, 100, 62,
     L"What gets less light than this is printed, in percent: 0 faces away from the light, 50 is edge-on to it",
     nullptr},
    {"Ink", KivSettingType::Double, 1, 70, 55, L"How much of the darkest parts the ink covers, in percent", nullptr},
    {"Levels", KivSettingType::Int, 0, 8, 0, L"Number of tones; 0 lets dots and lines grow evenly", nullptr},
    {"SmoothShape", KivSettingType::Bool, 0, 1, 1,
     L"Without a base look, meshes without normals are drawn as the smooth surface that they stand for", nullptr},
};

double channel(std::uint32_t color, unsigned int shift) {
    return static_cast<double>(color >> shift & 0xFFU) / 255.0;
}

} // namespace

int kivHalftoneTable(const KivSettingInfo** out) {
    *out = table;
    return numSettings;
}

KivHalftoneLook kivHalftoneLook(const KivTablePageSettings& settings) {
    KivHalftoneLook look;
    look.screen.pattern = static_cast<KivHalftonePattern>(settings.getInt(patternSetting));
    look.screen.spacing = settings.getValue(spacingSetting);
    look.screen.angle = settings.getValue(angleSetting);
    look.screen.tone = settings.getValue(toneSetting) * 0.01;
    look.screen.ink = settings.getValue(inkSetting) * 0.01;
    look.screen.levels = settings.getInt(levelsSetting);
    look.color = settings.getColour(colourSetting);
    look.overprint = settings.getValue(overprintSetting) * 0.01;
    look.smoothShape = settings.getBool(smoothShapeSetting);
    return look;
}

std::uint32_t kivInkOn(std::uint32_t ink, std::uint32_t material, double overprint) {
    std::uint32_t result = 0;
    for (const unsigned int shift : {0U, 8U, 16U}) {
        const double own = channel(ink, shift);
        const double shown = own * (1.0 - overprint + overprint * channel(material, shift));
        result |= static_cast<std::uint32_t>(std::lround(shown * 255.0)) << shift;
    }
    return result;
}
