// From a mesh of the scene to what the cartoon shader draws.
#ifndef SHADERS_CARTOON_KIVCARTOONMODEL_H
#define SHADERS_CARTOON_KIVCARTOONMODEL_H

#include "kivcartoongeometry.h"

class KivMesh;

// Reads the mesh through its accessors. Its own normals are used as they are, brought to unit length; a vertex whose
// normal has no length or is no number gets one from the triangles around it. A mesh without normals gets them from its
// shape, smooth over bends up to creaseAngle (degrees). Which side of a triangle is its outer one is told by its
// normals, whatever its winding. Triangles with an index out of range or a corner that is no number are left out.
KivCartoonModel kivReadCartoonModel(const KivMesh& mesh, double creaseAngle);

// How many passes of kivEvenNormals reach over that many pixels in this view: an even spread grows with the root of the
// passes, and one pass with the length of a side. At most 24, and none for what has no triangles.
int kivEvenPasses(const KivCartoonModel& model, const KivView& view, double pixels);

#endif
