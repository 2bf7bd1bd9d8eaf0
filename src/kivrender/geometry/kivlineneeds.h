// What a shader of lines will ask of the meshes that it draws, for plug-ins that export KivShaderLineNeeds. The render
// may find it on another thread while base shaders draw; the picture is the same.
#ifndef KIVRENDER_GEOMETRY_KIVLINENEEDS_H
#define KIVRENDER_GEOMETRY_KIVLINENEEDS_H

class Kiv3DObject;
class KivShader;

struct KivLineNeeds {
    bool edges = false;     // kivMeshFeatures
    bool crossings = false; // KivMeshCrossings of all meshes for which this is set, in the order of the scene
};

// What a plug-in may export under the plain name "KivShaderLineNeeds": fills in what the shader, one of its own, needs
// of that object with the settings of the render that runs. A plug-in without it finds all by itself in its turn.
using KivShaderLineNeedsFunction = void(const KivShader* shader, const Kiv3DObject* object, KivLineNeeds* needs);

#endif
