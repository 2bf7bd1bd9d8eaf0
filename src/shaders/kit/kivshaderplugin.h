// What a plug-in with one shader and one table exports, in one line at the end of one of its sources:
//
//     KIV_SHADER_PLUGIN(MyShader, myTable)
//
// MyShader has a constructor that takes the plug-in's HINSTANCE; myTable is a function that stores the table of
// settings and gives their number (KivTableFunction). The page is the one that the kit makes of table and texts.
//
// The build needs the kit and the texts of the page; with CMake:
//
//     find_package(Selvarin REQUIRED)
//     selvarin_add_shader(my_shader myshader.cpp)
//
// selvarin_add_shader links selvarin::kit and takes page.<language>.txt of the folder in. The library unloads a plug-in
// only after all its objects are deleted by the same plug-in: nothing that it hands out may be freed elsewhere.
#ifndef SHADERS_KIT_KIVSHADERPLUGIN_H
#define SHADERS_KIT_KIVSHADERPLUGIN_H

#include "kivrender/platform/kivmodule.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderinterface.h"
#include "shaders/kit/kivpageresource.h"

#define KIV_SHADER_PLUGIN(Shader, tableFunction)                                                                       \
    KIV_SHADER_INTERFACE;                                                                                              \
    KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {                                                                   \
        return new Shader(kivModuleOf(&KivShaderCreate));                                                              \
    }                                                                                                                  \
    KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {                                                        \
        delete shader;                                                                                                 \
    }                                                                                                                  \
    KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {                                            \
        return tableFunction(table);                                                                                   \
    }                                                                                                                  \
    KIV_PLUGIN_EXPORT const char* KivModuleResource(unsigned int kind, unsigned int id, unsigned long* size) {         \
        return kivPageResource(kind, id, size, tableFunction);                                                         \
    }

#endif
