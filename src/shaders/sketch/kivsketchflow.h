// Hatching that follows the form: strokes run round it, along the direction in which the surface curves most, as
// engravers have them (Hertzmann and Zorin, Illustrating Smooth Surfaces, 2000). Where a surface is flat or bends alike
// in all directions they go on from where it does not, or run as straight hatching does.
//
// The directions are those of the curvature tensors of the triangles (Rusinkiewicz, Estimating Curvatures and Their
// Derivatives on Triangle Meshes, 2004), evened out over some pixels. Lines are traced through them from triangle to
// triangle, at even distances in the picture (Jobard and Lefer, Creating Evenly-Spaced Streamlines of Arbitrary
// Density, 1997). The lines of one view are not those of the next, and so films hatch straight.
#ifndef SHADERS_SKETCH_KIVSKETCHFLOW_H
#define SHADERS_SKETCH_KIVSKETCHFLOW_H

#include "kivshadedmesh.h"
#include "kivsketchhatch.h"
#include "kivview.h"

#include <vector>

// As kivSketchHatch. turn: by how many degrees all lines are turned on the surface, as for a second hatching across a
// first. Empty if the user cancelled.
std::vector<KivSketchHatchLine> kivSketchFlow(const KivShadedMesh& mesh, const KivView& view, KivSketchTones& tones,
                                              const KivSketchHatching& hatching, double turn);

#endif
