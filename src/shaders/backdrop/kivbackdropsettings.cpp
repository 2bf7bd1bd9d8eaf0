#include "kivbackdropsettings.h"

namespace {

enum Setting {
    colourSetting,
    secondColourSetting,
    gradientSetting,
    grainSetting,
    grainSizeSetting,
    grainEverywhereSetting,
    patternSetting,
    patternColourSetting,
    patternSpacingSetting,
    patternWidthSetting,
    frameSetting,
    frameDistanceSetting,
    numSettings
};

const KivSettingInfo table[numSettings] = {
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0xE8F2F7, L"Colour of the sheet behind the scene", nullptr},
    {"SecondColour", KivSettingType::Colour, 0, 0xFFFFFF, 0xD2DDE4, L"Colour at the other end of a gradient", nullptr},
    {"Gradient", KivSettingType::Choice, 0, 2, 0, L"From the colour to the second one: downwards, or outwards",
     "none|vertical|round"},
    {"Grain", KivSettingType::Double, 0, 100, 0, L"Strength of the grain of paper, in percent", nullptr},
    {"GrainSize", KivSettingType::Double, 0.5, 20, 1.5, L"Size of the grains, in pixels", nullptr},
    {"GrainEverywhere", KivSettingType::Bool, 0, 1, 1, L"The grain also shows on what is painted", nullptr},
    {"Pattern", KivSettingType::Choice, 0, 3, 0, L"What is printed on the sheet", "none|grid|lines|dots"},
    {"PatternColour", KivSettingType::Colour, 0, 0xFFFFFF, 0xC8B8A8, L"Colour of the pattern and the frame", nullptr},
    {"PatternSpacing", KivSettingType::Double, 4, 500, 24, L"From one line or dot to the next, in pixels", nullptr},
    {"PatternWidth", KivSettingType::Double, 0.1, 100, 1, L"Width of lines and dots, in pixels", nullptr},
    {"Frame", KivSettingType::Double, 0, 50, 0, L"Width of a frame's line, in pixels; 0 for no frame", nullptr},
    {"FrameDistance", KivSettingType::Double, 0, 500, 20, L"From the picture's border to the frame, in pixels",
     nullptr},
};

} // namespace

int kivBackdropTable(const KivSettingInfo** out) {
    *out = table;
    return numSettings;
}

KivBackdropLook kivBackdropLook(const KivTablePageSettings& settings) {
    KivBackdropLook look;
    look.color = settings.getColour(colourSetting);
    look.secondColor = settings.getColour(secondColourSetting);
    look.gradient = static_cast<KivBackdropLook::Gradient>(settings.getInt(gradientSetting));
    look.grain = settings.getValue(grainSetting) * 0.01;
    look.grainSize = settings.getValue(grainSizeSetting);
    look.grainEverywhere = settings.getBool(grainEverywhereSetting);
    look.pattern = static_cast<KivBackdropLook::Pattern>(settings.getInt(patternSetting));
    look.patternColor = settings.getColour(patternColourSetting);
    look.patternSpacing = settings.getValue(patternSpacingSetting);
    look.patternWidth = settings.getValue(patternWidthSetting);
    look.frame = settings.getValue(frameSetting);
    look.frameDistance = settings.getValue(frameDistanceSetting);
    return look;
}
