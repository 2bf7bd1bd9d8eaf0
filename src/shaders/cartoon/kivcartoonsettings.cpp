#include "kivcartoonsettings.h"

namespace {

enum Setting {
    bandsSetting,
    softnessSetting,
    balanceSetting,
    shadowSetting,
    saturationSetting,
    coolnessSetting,
    highlightSetting,
    highlightSizeSetting,
    highlightStrengthSetting,
    flatSetting,
    doubleSidedSetting,
    behindSetting,
    smoothAngleSetting,
    evennessSetting,
    colourSaturationSetting,
    lightnessSetting,
    duotoneSetting,
    duotoneDarkSetting,
    duotoneLightSetting,
    ambientSetting,
    castStrengthSetting,
    castColourSetting,
    smoothShapeSetting,
    texturesSetting,
    textureColoursSetting,
    coolToWarmSetting,
    smallestToneSetting,
    rimWidthSetting,
    rimColourSetting,
    rimAroundSetting,
    washEdgeSetting,
    darkLiftSetting,
    numSettings
};

const KivSettingInfo table[numSettings] = {
    {"Bands", KivSettingType::Int, 1, 8, 3, L"Number of tone bands", nullptr},
    {"Softness", KivSettingType::Double, 0, 100, 1.5,
     L"Softness of the edges between bands, in percent of a band: 0 sharp, 100 an even gradient", nullptr},
    {"Balance", KivSettingType::Double, -100, 100, 0,
     L"Share of light and shadow, in percent: -100 mostly shadow, 100 mostly light", nullptr},
    {"Shadow", KivSettingType::Double, 0, 100, 50,
     L"Brightness of the darkest band, in percent of the material's colour", nullptr},
    {"ShadowSaturation", KivSettingType::Double, 0, 100, 25, L"How much richer in colour shadows are, in percent",
     nullptr},
    {"ShadowCoolness", KivSettingType::Double, 0, 100, 60, L"How far shadows turn towards blue, in percent", nullptr},
    {"Highlight", KivSettingType::Bool, 0, 1, 1, L"Highlights on materials that shine", nullptr},
    {"HighlightSize", KivSettingType::Double, 1, 60, 12, L"Radius of highlights, in degrees", nullptr},
    {"HighlightStrength", KivSettingType::Double, 0, 100, 70, L"Strength of highlights, in percent", nullptr},
    {"Flat", KivSettingType::Bool, 0, 1, 0, L"One tone for each face", nullptr},
    {"DoubleSided", KivSettingType::Bool, 0, 1, 0, L"Light also counts when it comes from behind a surface", nullptr},
    {"LightFromBehind", KivSettingType::Double, 0, 100, 50,
     L"How much light from behind counts on double-sided surfaces, in percent", nullptr},
    {"SmoothAngle", KivSettingType::Double, 0, 180, 45,
     L"Meshes without normals are smooth over bends up to this angle, in degrees", nullptr},
    {"Evenness", KivSettingType::Double, 0, 50, 9,
     L"Bumps of a surface that are smaller than this many pixels leave the tones alone", nullptr},
    {"Saturation", KivSettingType::Double, -100, 100, 0,
     L"How much richer in colour the materials are, in percent: -100 grey", nullptr},
    {"Lightness", KivSettingType::Double, -100, 100, 0,
     L"How much lighter the materials are, in percent: -100 black, 100 white", nullptr},
    {"Duotone", KivSettingType::Double, 0, 100, 0,
     L"How far all colours turn into mixtures of two, by their brightness, in percent", nullptr},
    {"DuotoneDark", KivSettingType::Colour, 0, 0xFFFFFF, 0x201418, L"The dark one of the two colours", nullptr},
    {"DuotoneLight", KivSettingType::Colour, 0, 0xFFFFFF, 0xE8F2F7, L"The light one of the two colours", nullptr},
    {"Ambient", KivSettingType::Double, 0, 100, 100, L"How much of the ambient light brightens shadows, in percent",
     nullptr},
    {"CastShadowStrength", KivSettingType::Double, 0, 100, 100,
     L"How much light a cast shadow takes, in percent: 0 no shadows, 100 down to the tone of the darkest band",
     nullptr},
    {"CastShadowColour", KivSettingType::Colour, 0, 0xFFFFFF, 0xFFFFFF,
     L"What cast shadows are tinted with; white leaves them in the tone of the darkest band", nullptr},
    {"SmoothShape", KivSettingType::Bool, 0, 1, 1,
     L"Coarse and noisy meshes are drawn as the smooth surface that they stand for", nullptr},
    {"Textures", KivSettingType::Bool, 0, 1, 1,
     L"Textures and colours at vertices show; without it each material has their mean colour", nullptr},
    {"TextureColours", KivSettingType::Int, 0, 64, 0, L"Flat colours that a texture is reduced to; 0 shows it as it is",
     nullptr},
    {"CoolToWarm", KivSettingType::Double, 0, 100, 0,
     L"How far tones run from a cool blue to a warm yellow in place of dark and light, in percent", nullptr},
    {"SmallestTone", KivSettingType::Double, 0, 1000, 12,
     L"Islands of a tone with fewer pixels than this become part of the tone around them; 0 keeps all", nullptr},
    {"RimWidth", KivSettingType::Double, 0, 100, 0,
     L"Width of a rim of light along contours, in percent of the way to what faces the viewer; 0 for none", nullptr},
    {"RimColour", KivSettingType::Colour, 0, 0xFFFFFF, 0xFFFFFF, L"Colour of the rim of light", nullptr},
    {"RimAround", KivSettingType::Bool, 0, 1, 0,
     L"The rim of light runs all round, not only where contours turn away from the strongest light", nullptr},
    {"WashEdge", KivSettingType::Double, 0, 100, 0,
     L"How much darker tones are along their edge towards the light, as washes of watercolour dry, in percent",
     nullptr},
    {"DarkLift", KivSettingType::Double, 0, 50, 30,
     L"How light black is where it fills more than a detail, in percent, so that lines and tones show on it", nullptr},
};

} // namespace

int kivCartoonTable(const KivSettingInfo** out) {
    *out = table;
    return numSettings;
}

KivCartoonLook kivCartoonLook(const KivTablePageSettings& settings) {
    constexpr double percent = 0.01;
    KivCartoonLook look;
    look.bands.count = settings.getInt(bandsSetting);
    look.bands.softness = settings.getValue(softnessSetting) * percent;
    look.bands.balance = settings.getValue(balanceSetting) * percent;
    look.paint.shadow = settings.getValue(shadowSetting) * percent;
    look.paint.saturation = settings.getValue(saturationSetting) * percent;
    look.paint.coolness = settings.getValue(coolnessSetting) * percent;
    look.paint.warmth = settings.getValue(coolToWarmSetting) * percent;
    look.paint.castStrength = settings.getValue(castStrengthSetting) * percent;
    look.paint.castColor = kivToneOf(settings.getColour(castColourSetting));
    look.highlight = settings.getBool(highlightSetting);
    look.highlightSize = settings.getValue(highlightSizeSetting);
    look.highlightStrength = settings.getValue(highlightStrengthSetting) * percent;
    look.flat = settings.getBool(flatSetting);
    look.doubleSided = settings.getBool(doubleSidedSetting);
    look.lightFromBehind = settings.getValue(behindSetting) * percent;
    look.smoothShape = settings.getBool(smoothShapeSetting);
    look.smoothAngle = settings.getValue(smoothAngleSetting);
    look.evenness = settings.getValue(evennessSetting);
    look.saturation = settings.getValue(colourSaturationSetting) * percent;
    look.lightness = settings.getValue(lightnessSetting) * percent;
    look.darkLift = settings.getValue(darkLiftSetting) * percent;
    look.paint.duotone = settings.getValue(duotoneSetting) * percent;
    look.paint.dark = kivToneOf(settings.getColour(duotoneDarkSetting));
    look.paint.light = kivToneOf(settings.getColour(duotoneLightSetting));
    look.ambient = settings.getValue(ambientSetting) * percent;
    look.smallestTone = settings.getValue(smallestToneSetting);
    look.bands.washEdge = settings.getValue(washEdgeSetting) * percent;
    look.rim.width = settings.getValue(rimWidthSetting) * percent;
    look.rim.color = kivToneOf(settings.getColour(rimColourSetting));
    look.rim.around = settings.getBool(rimAroundSetting);
    look.textures = settings.getBool(texturesSetting);
    look.textureColours = settings.getInt(textureColoursSetting);
    return look;
}
