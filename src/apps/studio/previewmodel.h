// The small scene on which looks are tried: a ball, a block and a ring, so that one glance shows curves, edges and how
// things cover each other.
#ifndef APPS_STUDIO_PREVIEWMODEL_H
#define APPS_STUDIO_PREVIEWMODEL_H

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivscene.h"

// Fills an empty scene, lights included, and places the camera for a square picture.
void makePreviewModel(KivScene* scene, KivCamera* camera);

#endif
