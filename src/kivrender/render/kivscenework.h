// How much work the meshes of a scene are for one picture, from a sample of their triangles: what a forecast of the
// render's time stands on.
#ifndef KIVRENDER_RENDER_KIVSCENEWORK_H
#define KIVRENDER_RENDER_KIVSCENEWORK_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <vector>

class KivCamera;
class KivScene;

struct KIV_API KivSceneWork {
    struct Mesh {
        double triangles = 0.0; // in thousands
        double area = 0.0;      // in the picture, of all triangles, front and back, in millions of pixels
        bool isOpaque = true;
        bool isShiny = false;
        bool hasOwnLook = false;
    };

    // size: of the render. Takes some milliseconds for a hundred thousand meshes.
    KivSceneWork(const KivScene& scene, const KivCamera& camera, tagSIZE size);

    std::vector<Mesh> meshes;
    double pixels = 0.0; // of the render, in millions
    double side = 0.0;   // of a square of them, in pixels
    unsigned int lights = 0;
    unsigned int polylines = 0;
};

#endif
