// From shader tags and settings by name to the stream that a render reads.
#ifndef APPS_CLI_SHADERSTREAM_H
#define APPS_CLI_SHADERSTREAM_H

#include "apps/cli/commandline.h"
#include "kivrender/settings/kivmemorydatamanager.h"

#include <string>
#include <vector>

class KivShader;

// The tags of all loaded shaders, of one kind or of both.
std::vector<std::string> shaderTags(bool base, bool combinable);

// Fills the stream. Throws UsageError for a shader or key that is not known, with the nearest known one, and for a
// value out of range. A default shader that is not there is left out. The shaders must be loaded, and stay so.
void buildShaderStream(const RenderOptions& options, KivMemoryDataManager& stream);

#endif
