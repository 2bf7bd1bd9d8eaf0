// A shader that adds to what the base look drew, such as lines. A style may name any number of them.
//
// The order of the virtual operations is part of the binary interface.
#ifndef KIVRENDER_SHADER_KIVCOMBINABLESHADER_H
#define KIVRENDER_SHADER_KIVCOMBINABLESHADER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshader.h"

class KivMesh;

class KIV_API KivCombinableShader : public KivShader {
public:
    explicit KivCombinableShader(HINSTANCE module);
    KivCombinableShader(const KivCombinableShader&) = default;
    KivCombinableShader& operator=(const KivCombinableShader&) = default;
    ~KivCombinableShader() override;

    bool isCombinable() const override;

    // Whether this shader is applied to the mesh.
    virtual bool rendersMesh(const KivMesh* mesh) = 0;
};

#endif
