// A shader that adds to what the base look drew, such as lines. A style may name any number of them.
//
// The order of the virtual operations is part of the binary interface.
//
// A plug-in derives from it, usually through KivTableShader of the kit, overrides the drawing that KivShader declares,
// and exports an object of its class (shaders/kit/kivshaderplugin.h). The renderer calls the shaders of a style in the
// order in which the style names them, after the base look.
#ifndef KIVRENDER_SHADER_KIVCOMBINABLESHADER_H
#define KIVRENDER_SHADER_KIVCOMBINABLESHADER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshader.h"

class KivMesh;

class KIV_API KivCombinableShader : public KivShader {
public:
    // module: that of the plug-in, whose resources have its page. It stays the loader's.
    explicit KivCombinableShader(HINSTANCE module);
    KivCombinableShader(const KivCombinableShader&) = default;
    KivCombinableShader& operator=(const KivCombinableShader&) = default;
    ~KivCombinableShader() override;

    // True, which tells it from a base look.
    bool isCombinable() const override;

    // Whether this shader is applied to the mesh.
    virtual bool rendersMesh(const KivMesh* mesh) = 0;
};

#endif
