// The settings that a plug-in tells of itself, for programs that set them by name.
#ifndef KIVRENDER_SHADER_KIVSHADERSETTINGS_H
#define KIVRENDER_SHADER_KIVSHADERSETTINGS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivsettingstable.h"

class KivShader;

// The table that the shader's plug-in exports as KivShaderSettings, and in *count the number of its settings. Null and
// 0 for a null shader, one without a module and a plug-in without the export. The table lives as long as the shader.
KIV_API const KivSettingInfo* kivShaderSettings(const KivShader* shader, int* count);

#endif
