// What a plug-in asks for of the shape under a mesh, and of its lines.
#ifndef KIVRENDER_SHADER_KIVSHADERSHAPE_H
#define KIVRENDER_SHADER_KIVSHADERSHAPE_H

#include "kivrender/geometry/kivlineneeds.h"
#include "kivrender/geometry/kivshapewish.h"
#include "kivrender/platform/kivexport.h"

class Kiv3DObject;
class KivShader;

// Whether the shader's plug-in has that export: paper and grounds have none.
KIV_API bool kivAsksForShape(const KivShader& shader);

// What the shader's plug-in answers as KivShaderShape, with the settings of the render that runs. The triangles as they
// are for a shader without a module, a plug-in without the export and one that throws, which is told.
KIV_API KivShapeWish kivShaderShape(const KivShader& shader, const Kiv3DObject& object);

// What it answers as KivShaderLineNeeds; nothing in the same cases.
KIV_API KivLineNeeds kivShaderLineNeeds(const KivShader& shader, const Kiv3DObject& object);

#endif
