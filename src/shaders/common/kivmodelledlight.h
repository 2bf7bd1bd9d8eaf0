// Light as a hand models it with strokes and dots: it dies away all round a shape to the far side.
#ifndef SHADERS_COMMON_KIVMODELLEDLIGHT_H
#define SHADERS_COMMON_KIVMODELLEDLIGHT_H

#include "kivvec.h"

#include <functional>

class Kiv3DPoint;
class Kiv3DVector;
class KivLight;
class KivScene;

// How light a point is whose normal points to the side that is seen, 0 dark to 1 light.
using KivModelledLight = std::function<double(const KivVec& point, const KivVec& normal)>;

// The cosine between a normal and a light, as KivShader::calculateLightIncidenceToLight has it.
using KivLightIncidence = std::function<double(const Kiv3DPoint&, const Kiv3DVector&, const KivLight*)>;

// The strongest of the scene's lights on a point: 0.5 where the surface is edge-on to it, darker where it faces away. A
// light weighs by its brightness against the brightest. Null without lights. The scene must outlive it.
KivModelledLight kivModelledLight(const KivScene& scene, KivLightIncidence incidence);

#endif
