// Black things that a file has split into many meshes.
#ifndef SHADERS_CARTOON_KIVDARKPARTS_H
#define SHADERS_CARTOON_KIVDARKPARTS_H

#include "kivcartoonramp.h"

#include <vector>

class KivMesh;

// A mesh whose colour is so dark that its tones could hardly be told from each other.
struct KivDarkMesh {
    const KivMesh* mesh = nullptr;
    KivTone tone{};
    double size = 0.0; // set by kivMeasureDarkParts
};

// From corner to corner of what holds all these meshes; 0 where there is nothing.
double kivSizeOf(const std::vector<const KivMesh*>& meshes);

// Sets the size of each to that of all that it hangs together with: meshes of one tone that have a point in common. A
// part that is split is as large as a whole one, so that a panel of a large body is no detail and a screw in it is one.
// In the time of a sort of all points. When the user cancels, each has its own size.
void kivMeasureDarkParts(std::vector<KivDarkMesh>& meshes);

#endif
