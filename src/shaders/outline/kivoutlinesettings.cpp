#include "kivoutlinesettings.h"

namespace {

enum Setting {
    colourSetting,
    silhouettesSetting,
    silhouetteWidthSetting,
    bordersSetting,
    borderWidthSetting,
    creasesSetting,
    creaseWidthSetting,
    creaseAngleSetting,
    smoothCreaseAngleSetting,
    creaseLengthSetting,
    detailSetting,
    shortestSetting,
    smoothingSetting,
    linesSetting,
    lineWidthSetting,
    tangentsSetting,
    intersectionsSetting,
    smoothShapeSetting,
    taperSetting,
    roundedEdgesSetting,
    numSettings
};

const KivSettingInfo table[numSettings] = {
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0x201418, L"Colour of the lines", nullptr},
    {"Silhouettes", KivSettingType::Bool, 0, 1, 1, L"Lines where a surface turns away from the viewer", nullptr},
    {"SilhouetteWidth", KivSettingType::Double, 0, 50, 2.6, L"Width of silhouettes, in pixels", nullptr},
    {"Borders", KivSettingType::Bool, 0, 1, 1, L"Lines where a surface ends", nullptr},
    {"BorderWidth", KivSettingType::Double, 0, 50, 2.2, L"Width of borders, in pixels", nullptr},
    {"Creases", KivSettingType::Bool, 0, 1, 1, L"Lines where a surface bends sharply", nullptr},
    {"CreaseWidth", KivSettingType::Double, 0, 50, 1.6, L"Width of creases, in pixels", nullptr},
    {"CreaseAngle", KivSettingType::Double, 0, 180, 44, L"Least bend of a crease, in degrees", nullptr},
    {"SmoothCreaseAngle", KivSettingType::Double, 0, 180, 75,
     L"Least bend of a crease where the model's normals call the surface smooth, in degrees", nullptr},
    {"CreaseLength", KivSettingType::Double, 0, 100, 5,
     L"Least reach of creases that hang together, in percent of the size of their piece", nullptr},
    {"Detail", KivSettingType::Double, 0, 100, 1,
     L"Folds inside a shape thin out where they step back by less than this many pixels", nullptr},
    {"ShortestLine", KivSettingType::Double, 0, 1000, 5,
     L"Thin lines inside a shape that are shorter than this many pixels are left out", nullptr},
    {"Smoothing", KivSettingType::Double, 0, 50, 1.5, L"Kinks of lines shorter than this many pixels are rounded",
     nullptr},
    {"Lines", KivSettingType::Bool, 0, 1, 1, L"Draw the lines, polylines and points of the scene", nullptr},
    {"LineWidth", KivSettingType::Double, 0, 50, 1.6, L"Width of the scene's lines, in pixels", nullptr},
    {"Tangents", KivSettingType::Choice, 0, 2, 1,
     L"How edges of CAD models are drawn where one face runs into the next without a bend", "none|thin|full"},
    {"Intersections", KivSettingType::Bool, 0, 1, 1, L"Lines where surfaces run into each other without a common edge",
     nullptr},
    {"SmoothShape", KivSettingType::Bool, 0, 1, 1,
     L"Without a base look, coarse and noisy meshes are drawn as the smooth surface that they stand for", nullptr},
    {"Taper", KivSettingType::Double, 0, 200, 14, L"Lines that end in the open thin out over so many pixels", nullptr},
    {"RoundedEdges", KivSettingType::Double, 0, 50, 4,
     L"Edges that are rounded over no more than this many pixels are creases; 0: only edges of the mesh are", nullptr},
};

} // namespace

int kivOutlineTable(const KivSettingInfo** out) {
    *out = table;
    return numSettings;
}

KivLineLook kivOutlineLook(const KivTablePageSettings& settings) {
    KivLineLook look;
    look.color = settings.getColour(colourSetting);
    look.rules.silhouettes = settings.getBool(silhouettesSetting);
    look.rules.borders = settings.getBool(bordersSetting);
    look.rules.creases = settings.getBool(creasesSetting);
    look.intersections = settings.getBool(intersectionsSetting);
    look.smoothShape = settings.getBool(smoothShapeSetting);
    look.rules.creaseAngle = settings.getValue(creaseAngleSetting);
    look.rules.smoothCreaseAngle = settings.getValue(smoothCreaseAngleSetting);
    look.rules.creaseLength = settings.getValue(creaseLengthSetting) * 0.01;
    look.rules.roundedEdges = settings.getValue(roundedEdgesSetting);
    look.width[static_cast<int>(KivFeatureKind::silhouette)] = settings.getValue(silhouetteWidthSetting);
    look.width[static_cast<int>(KivFeatureKind::border)] = settings.getValue(borderWidthSetting);
    look.width[static_cast<int>(KivFeatureKind::crease)] = settings.getValue(creaseWidthSetting);
    const int tangents = settings.getInt(tangentsSetting);
    look.rules.tangents = tangents != 0;
    look.width[static_cast<int>(KivFeatureKind::tangent)] =
        look.width[static_cast<int>(KivFeatureKind::crease)] * (tangents == 2 ? 1.0 : kivThinTangent);
    look.lines = settings.getBool(linesSetting);
    look.lineWidth = settings.getValue(lineWidthSetting);
    look.detail = settings.getValue(detailSetting);
    look.shortest = settings.getValue(shortestSetting);
    look.smoothing = settings.getValue(smoothingSetting);
    look.taper = settings.getValue(taperSetting);
    return look;
}
