// Styles, shaders and settings by their names.
#ifndef CORE_LOOKS_H
#define CORE_LOOKS_H

#include "apps/common/lookoptions.h"
#include "apps/common/shaderstream.h"
#include "core/sceneobject.h"

#include <pybind11/pybind11.h>

// The options of a look as the package's Style holds them: (style, base or None, added or None, [(shader, key,
// value)]), with None for what the style or the default decides. Complaints have the words of Python.
LookOptions lookOfPython(const pybind11::object& style, const pybind11::object& base, const pybind11::object& added,
                         const pybind11::list& settings);

// The same on objects. The library's lock is held.
std::shared_ptr<const ObjectLooks> objectLooksOf(const LookOptions& look);

// What such a look comes to, with nothing left to a style: a dictionary of base, added and settings, in the same form.
pybind11::dict resolvedLook(const LookOptions& look);

// [(name, path, base, [added], the file's first comment)] and [(tag, name, is it a base, [(key, kind, minimum, maximum,
// default, text, choices)])], as lists of dictionaries.
pybind11::list listStyles();
pybind11::list listShaders();

#endif
