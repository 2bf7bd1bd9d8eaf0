// Dialog templates and icons, by number from the module that brings them: a language module or a shader plug-in. A
// toolkit makes windows of them; the library does not look into them.
//
// Plug-ins that use selvarin_add_shader export their resources without a line of their own; those with dialogs of their
// own bring forms of Qt Designer and export KivModuleResource themselves.
#ifndef KIVRENDER_HOST_KIVRESOURCES_H
#define KIVRENDER_HOST_KIVRESOURCES_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <string_view>

enum class KivResourceKind : unsigned int {
    dialog = 1, // a Qt Designer form (.ui); a widget's dynamic property "control" is the number of the control
    icon = 2    // an SVG picture
};

// The bytes of a resource, empty if the module has none of that kind and number. A null module is the language module
// in use. They stay where they are as long as the module is loaded.
KIV_API std::string_view kivFindResource(HINSTANCE module, KivResourceKind kind, unsigned int id);

// What a module with resources exports, under the plain name "KivModuleResource": the bytes of a resource and their
// number, or null. They must stay valid as long as the module is loaded.
extern "C" {
using KivModuleResourceFunction = const char*(unsigned int kind, unsigned int id, unsigned long* size);
}

#endif
