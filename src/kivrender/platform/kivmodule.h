// Shared libraries at run time: load by path, find a symbol, unload, and list a folder's libraries. Used for shader
// plug-ins and language modules. Handles are opaque; each successful load wants one unload.
#ifndef KIVRENDER_PLATFORM_KIVMODULE_H
#define KIVRENDER_PLATFORM_KIVMODULE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <string>
#include <vector>

// The ending of a module's file name, with its dot.
KIV_API const wchar_t* kivModuleEnding();

// Null on failure; then kivLastModuleError says why.
KIV_API HINSTANCE kivLoadModule(const std::wstring& path);
KIV_API void* kivFindSymbol(HINSTANCE module, const char* name);
KIV_API void kivUnloadModule(HINSTANCE module);

// Of the last module of this thread that could not be used: the system's error number (0 if none is known) and one line
// with the file and the reason. A shader plug-in that is left out after loading (KivShader::loadShaders) counts too.
struct KivModuleError {
    unsigned long code = 0;
    std::wstring text;
};
KIV_API KivModuleError kivLastModuleError();
void kivSetModuleError(const KivModuleError& error);

// The file that a module was loaded from, as the system names it; empty for null.
std::wstring kivModulePath(HINSTANCE module);

// The names, without the folder, of the files in a folder that end like a module, in name order without regard to case
// and then by exact name, so that every system meets them in the same order. Empty for a folder that can't be read.
KIV_API std::vector<std::wstring> kivListModules(const std::wstring& folder);

// The loaded module that contains a function or object, as the handle that kivLoadModule gave for it: how a plug-in
// finds its own. Null if there is none. Counts no load.
KIV_API HINSTANCE kivModuleOf(const void* address);
template <class Result, class... Arguments> HINSTANCE kivModuleOf(Result (*function)(Arguments...)) {
    return kivModuleOf(reinterpret_cast<const void*>(function));
}

// The folder of the file that this library was loaded from, without a closing separator; empty if it is not known.
KIV_API std::wstring kivLibraryFolder();

#endif
