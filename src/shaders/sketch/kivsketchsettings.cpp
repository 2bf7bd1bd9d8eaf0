#include "kivsketchsettings.h"

namespace {

enum Setting {
    mediumSetting,
    colourSetting,
    widthSetting,
    pressureSetting,
    grainSetting,
    wobbleSetting,
    overshootSetting,
    strokesSetting,
    strokeLengthSetting,
    silhouettesSetting,
    bordersSetting,
    creasesSetting,
    creaseAngleSetting,
    smoothCreaseAngleSetting,
    creaseLengthSetting,
    detailSetting,
    shortestSetting,
    hiddenSetting,
    hatchingSetting,
    hatchToneSetting,
    hatchSpacingSetting,
    hatchAngleSetting,
    crossHatchingSetting,
    linesSetting,
    seedSetting,
    tangentsSetting,
    intersectionsSetting,
    smoothShapeSetting,
    roundedEdgesSetting,
    hatchDirectionSetting,
    numSettings
};

const KivSettingInfo table[numSettings] = {
    {"Medium", KivSettingType::Choice, 0, 3, 0, L"What is drawn with", "pencil|ink|charcoal|pastel"},
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0x302A28, L"Colour of the strokes", nullptr},
    {"Width", KivSettingType::Double, 0, 50, 0,
     L"Width of a stroke under full pressure, in pixels; 0 for what suits the medium", nullptr},
    {"Pressure", KivSettingType::Double, 0, 100, 65,
     L"How much a stroke thins and pales where the hand is light, in percent", nullptr},
    {"Grain", KivSettingType::Double, 0, 100, 100, L"How much the tooth of the paper shows in a stroke, in percent",
     nullptr},
    {"Wobble", KivSettingType::Double, 0, 30, 1.4, L"How far strokes stray from the line, in pixels", nullptr},
    {"Overshoot", KivSettingType::Double, 0, 100, 7, L"How far strokes run on beyond corners, in pixels", nullptr},
    {"Strokes", KivSettingType::Int, 1, 6, 2, L"How often each line is drawn over", nullptr},
    {"StrokeLength", KivSettingType::Double, 0, 10000, 260,
     L"Lines longer than this are drawn in several strokes, in pixels; 0 for all in one", nullptr},
    {"Silhouettes", KivSettingType::Bool, 0, 1, 1, L"Strokes where a surface turns away from the viewer", nullptr},
    {"Borders", KivSettingType::Bool, 0, 1, 1, L"Strokes where a surface ends", nullptr},
    {"Creases", KivSettingType::Bool, 0, 1, 1, L"Strokes where a surface bends sharply", nullptr},
    {"CreaseAngle", KivSettingType::Double, 0, 180, 44, L"Least bend of a crease, in degrees", nullptr},
    {"SmoothCreaseAngle", KivSettingType::Double, 0, 180, 75,
     L"Least bend of a crease where the model's normals call the surface smooth, in degrees", nullptr},
    {"CreaseLength", KivSettingType::Double, 0, 100, 5,
     L"Least reach of creases that hang together, in percent of the size of their piece", nullptr},
    {"Detail", KivSettingType::Double, 0, 100, 1.5,
     L"Folds inside a shape grow faint where they step back by less than this many pixels", nullptr},
    {"ShortestLine", KivSettingType::Double, 0, 1000, 7, L"Lines shorter than this many pixels are left out", nullptr},
    {"Hidden", KivSettingType::Choice, 0, 2, 0, L"How lines are drawn that something hides", "none|dashed|thin"},
    {"Hatching", KivSettingType::Bool, 0, 1, 1, L"Hatch what lies in the dark", nullptr},
    {"HatchTone", KivSettingType::Double, 0, 100, 62,
     L"What gets less light than this is hatched, in percent: 0 faces away from the light, 50 is edge-on to it",
     nullptr},
    {"HatchSpacing", KivSettingType::Double, 1, 100, 5.5, L"Distance of hatching strokes, in pixels", nullptr},
    {"HatchAngle", KivSettingType::Double, -180, 180, 52,
     L"Slant of hatching strokes, in degrees; 0 runs to the right, 90 upwards", nullptr},
    {"CrossHatching", KivSettingType::Bool, 0, 1, 1, L"Hatch the darkest parts crosswise", nullptr},
    {"Lines", KivSettingType::Bool, 0, 1, 1, L"Draw the lines, polylines and points of the scene", nullptr},
    {"Seed", KivSettingType::Int, 0, 1000000, 1, L"Another number is another drawing of the same hand", nullptr},
    {"Tangents", KivSettingType::Choice, 0, 2, 1,
     L"How edges of CAD models are drawn where one face runs into the next without a bend", "none|thin|full"},
    {"Intersections", KivSettingType::Bool, 0, 1, 1,
     L"Strokes where surfaces run into each other without a common edge", nullptr},
    {"SmoothShape", KivSettingType::Bool, 0, 1, 1,
     L"Without a base look, coarse and noisy meshes are drawn as the smooth surface that they stand for", nullptr},
    {"RoundedEdges", KivSettingType::Double, 0, 50, 4,
     L"Edges that are rounded over no more than this many pixels are creases; 0: only edges of the mesh are", nullptr},
    {"HatchDirection", KivSettingType::Choice, 0, 1, 0,
     L"Hatching runs straight through the picture, or round the form, along its curvature", "straight|form"},
};

// Inner lines are drawn lighter than the contour.
constexpr double creasePart = 0.8;

} // namespace

int kivSketchTable(const KivSettingInfo** out) {
    *out = table;
    return numSettings;
}

KivSketchStyle kivSketchStyle(const KivTablePageSettings& settings) {
    KivSketchStyle style;
    style.tool = static_cast<KivSketchTool>(settings.getInt(mediumSetting));
    const double width = settings.getValue(widthSetting);
    style.width = width > 0.0 ? width : kivSketchMedium(style.tool).width;
    style.pressure = settings.getValue(pressureSetting) * 0.01;
    style.wobble = settings.getValue(wobbleSetting);
    style.overshoot = settings.getValue(overshootSetting);
    style.strokes = settings.getInt(strokesSetting);
    style.length = settings.getValue(strokeLengthSetting);
    style.shortest = settings.getValue(shortestSetting);
    style.grain = settings.getValue(grainSetting) * 0.01;
    style.hidden = static_cast<KivSketchHidden>(settings.getInt(hiddenSetting));
    style.color = settings.getColour(colourSetting);
    style.hatching = settings.getBool(hatchingSetting);
    style.hatchSpacing = settings.getValue(hatchSpacingSetting);
    style.hatchAngle = settings.getValue(hatchAngleSetting);
    style.hatchTone = settings.getValue(hatchToneSetting) * 0.01;
    style.hatchAroundForm = settings.getInt(hatchDirectionSetting) == 1;
    style.crossHatching = settings.getBool(crossHatchingSetting);
    style.seed = static_cast<std::uint32_t>(settings.getInt(seedSetting));
    return style;
}

KivLineLook kivSketchLook(const KivTablePageSettings& settings) {
    const KivSketchStyle style = kivSketchStyle(settings);
    KivLineLook look;
    look.color = style.color;
    look.rules.silhouettes = settings.getBool(silhouettesSetting);
    look.rules.borders = settings.getBool(bordersSetting);
    look.rules.creases = settings.getBool(creasesSetting);
    look.intersections = settings.getBool(intersectionsSetting);
    look.smoothShape = settings.getBool(smoothShapeSetting);
    look.rules.creaseAngle = settings.getValue(creaseAngleSetting);
    look.rules.smoothCreaseAngle = settings.getValue(smoothCreaseAngleSetting);
    look.rules.creaseLength = settings.getValue(creaseLengthSetting) * 0.01;
    look.rules.roundedEdges = settings.getValue(roundedEdgesSetting);
    look.width[static_cast<int>(KivFeatureKind::silhouette)] = style.width;
    look.width[static_cast<int>(KivFeatureKind::border)] = style.width;
    look.width[static_cast<int>(KivFeatureKind::crease)] = style.width * creasePart;
    const int tangents = settings.getInt(tangentsSetting);
    look.rules.tangents = tangents != 0;
    look.width[static_cast<int>(KivFeatureKind::tangent)] =
        look.width[static_cast<int>(KivFeatureKind::crease)] * (tangents == 2 ? 1.0 : kivThinTangent);
    look.lines = settings.getBool(linesSetting);
    look.lineWidth = style.width;
    look.detail = settings.getValue(detailSetting);
    look.shortest = style.shortest;
    look.smoothing = 0.0; // strokes are smoothed between their corners
    look.hidden = style.hidden != KivSketchHidden::none;
    return look;
}
