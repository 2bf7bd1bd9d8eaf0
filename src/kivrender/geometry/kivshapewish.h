// What a shader asks for of the shape under a mesh that it draws, for plug-ins that export KivShaderShape. The render
// then draws the smooth surface for which the mesh stands (kivsmoothshape.h) in its place: for this shader and all
// others, in shadows and in the depth image alike.
#ifndef KIVRENDER_GEOMETRY_KIVSHAPEWISH_H
#define KIVRENDER_GEOMETRY_KIVSHAPEWISH_H

class Kiv3DObject;
class KivShader;

struct KivShapeWish {
    bool smooth = false;       // false: the triangles as they are
    double smoothAngle = 45.0; // degrees; edges that bend by more stay sharp
};

// What a plug-in may export under the plain name "KivShaderShape": fills in what the shader, one of its own, wants for
// that object with the settings of the render that runs. A plug-in without it gets the triangles as they are.
using KivShaderShapeFunction = void(const KivShader* shader, const Kiv3DObject* object, KivShapeWish* wish);

#endif
