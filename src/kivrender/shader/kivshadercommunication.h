// What renderer and shaders tell each other during a render: the polygon offset, whether a base look runs, and whether
// transparency is on. A renderer owns one and makes it the default channel while it is loaded. Not locked: one render
// at a time.
//
// A shader that draws lines takes the offset from here, so that they are seen on the surfaces that others have drawn;
// one that draws surfaces sets its material by KivDrawing, which asks here for transparency. Hosts need it only where
// they drive shaders without KivRenderer.
#ifndef KIVRENDER_SHADER_KIVSHADERCOMMUNICATION_H
#define KIVRENDER_SHADER_KIVSHADERCOMMUNICATION_H

#include "kivrender/platform/kivexport.h"

class KIV_API KivShaderCommunication {
public:
    // Without an offset, a base look or transparency.
    KivShaderCommunication() = default;

    // The channel in force, null outside a render. Setting returns the previous one; neither owns it.
    static KivShaderCommunication* getDefaultCommunication();
    static KivShaderCommunication* setDefaultCommunication(KivShaderCommunication* communication);

    // The arguments of glPolygonOffset that keep lines in front of the surfaces that they lie on.
    void setPolygonOffset(float factor, float units);
    void getPolygonOffset(float* factor, float* units);
    // Whether a non-combinable shader runs for the scene.
    void setHasNonCombinable(bool value);
    bool hasNonCombinable() const;
    // Whether KivDrawing::setMaterial puts the material's transparency into the alpha channel. The renderer does not
    // reset it: what a shader set last stays.
    void setTransparency(bool value);
    bool doTransparency() const;

private:
    static KivShaderCommunication* spDefaultCommunication;

    // As set last.
    float polygonOffsetFactor = 0.0F;
    float polygonOffsetUnits = 0.0F;
    bool hasNonCombinableFlag = false;
    bool transparencyFlag = false;
};

#endif
