// The settings of the cartoon shader: the table, and the same as plain numbers for drawing.
#ifndef SHADERS_CARTOON_KIVCARTOONSETTINGS_H
#define SHADERS_CARTOON_KIVCARTOONSETTINGS_H

#include "kivcartoonramp.h"
#include "kivrender/settings/kivsettingstable.h"

// The page's section in streams. Not the shader's tag: a reader takes any text equal to a tag for the beginning of that
// shader's block.
inline constexpr const wchar_t* kivCartoonSection = L"CartoonTones";

// The number of settings.
int kivCartoonTable(const KivSettingInfo** table);

// A rim of light, as by a lamp behind the shape.
struct KivCartoonRim {
    double width = 0.0; // 0 none, 1 up to what faces the viewer
    KivTone color = {1.0, 1.0, 1.0};
    bool around = false;
};

struct KivCartoonLook {
    KivCartoonBands bands;
    KivCartoonPaint paint; // without the scene's ambient light
    bool highlight = true;
    double highlightSize = 12.0;     // radius in degrees between the normal and the mirror direction
    double highlightStrength = 0.75; // 0 to 1
    bool flat = false;
    bool doubleSided = false;
    double lightFromBehind = 0.5; // 0 to 1
    bool smoothShape = true;
    double smoothAngle = 45.0; // degrees
    double evenness = 3.0;     // pixels of the finished picture
    double smallestTone = 0.0; // square pixels of the finished picture
    double saturation = 0.0;   // of the materials, -1 to 1
    double lightness = 0.0;
    double darkLift = 0.0; // the brightness of black, 0 to 0.5
    double ambient = 1.0;  // share of the scene's ambient light that counts
    KivCartoonRim rim;
    bool textures = true;
    int textureColours = 0; // flat colours in place of those of a texture; 0 for none
};

KivCartoonLook kivCartoonLook(const KivTablePageSettings& settings);

#endif
