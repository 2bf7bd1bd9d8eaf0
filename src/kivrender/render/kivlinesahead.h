// What the lines of a frame need of its meshes, found while the base shaders draw.
#ifndef KIVRENDER_RENDER_KIVLINESAHEAD_H
#define KIVRENDER_RENDER_KIVLINESAHEAD_H

#include "kivrender/lines/kivmeshahead.h"
#include "kivrender/platform/kivexport.h"

#include <memory>

class KivCombinableShader;
class KivCommonSettings;
class KivScene;

// Whether a second thread brings anything: not for few triangles, on one processor, in vector output and in the tiles
// of a picture, of which one finds all.
KIV_API bool kivFindsLinesAhead(const KivScene& scene, const KivCommonSettings& settings);

// For the first of the shaders that says what it needs (KivShaderLineNeeds). Null where a second thread brings
// nothing.
KIV_API std::unique_ptr<KivMeshAhead> kivLinesAhead(const KivScene& scene, const KivCommonSettings& settings,
                                                    KivCombinableShader* const* shaders, int count);

#endif
