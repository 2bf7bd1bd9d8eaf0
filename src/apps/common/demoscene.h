// The built-in scene: a hand-cranked gear train on a wooden base. It has flat, curved, thin and overlapping parts, so
// that one picture shows what the shaders do, and needs no file.
#ifndef APPS_COMMON_DEMOSCENE_H
#define APPS_COMMON_DEMOSCENE_H

#include "import/modelparts.h"

// With its own camera and lights, y up, in centimetres.
kivimport::ModelParts makeDemoModel();

#endif
