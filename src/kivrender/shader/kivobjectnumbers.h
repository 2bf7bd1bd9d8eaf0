// The numbers by which a recorded page says what belongs to which object.
#ifndef KIVRENDER_SHADER_KIVOBJECTNUMBERS_H
#define KIVRENDER_SHADER_KIVOBJECTNUMBERS_H

#include "kivrender/platform/kivexport.h"

class Kiv3DObject;
class KivScene;

// The pass-through marker that KivDrawing::beginObject sends; the object's number follows in another pass-through. Far
// from the markers of gl2ps.
inline constexpr int kivObjectMarker = 1000;

// From here on the meshes of the scene have numbers, that of the first is 1, and what is drawn belongs to none of them
// yet. Null ends it: nothing has a number, and nothing is sent. For the thread that renders.
KIV_API void kivNumberObjects(const KivScene* scene);
// 0 for what has none.
KIV_API unsigned int kivNumberOfObject(const Kiv3DObject* object);

#endif
