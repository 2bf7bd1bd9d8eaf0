// The scan of the plug-ins' folder.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/shader/kivshader.h"

#include <string>

namespace {

// Goes straight to the desktop, as there may be no host yet. The form of the text is what support staff know: the
// place in the sources, then the system's error number.
void showLoadError(unsigned long code) {
    if (code == 0) {
        return;
    }
    KivToolkit::get().showMessage(nullptr, L"kivshader(77)-" + std::to_wstring(code), L"Morvane ERROR",
                                  KivMessageKind::Error);
}

} // namespace

unsigned long KivShader::loadShaders(const wchar_t* path) {
    ++dRefShadersLoaded;
    if (dShaders != 0) {
        return dShaders;
    }
    const std::wstring folder = (path != nullptr ? std::wstring(path) : kivLibraryFolder() + L"/shaders") + L"/";
    dCurShaderIndex = static_cast<unsigned long>(-1);
    for (const std::wstring& name : kivListModules(folder)) {
        if (dShaders == kivMaxShaders) {
            break; // further modules are not even opened
        }
        if (KivShader* const shader = load((folder + name).c_str())) {
            lShaders[dShaders++] = shader;
        }
    }
    return dShaders;
}

KivShader* KivShader::load(const wchar_t* file) {
    HINSTANCE const module = kivLoadModule(file);
    if (module == nullptr) {
        showLoadError(kivLastModuleError().code);
        return nullptr;
    }
    auto* const create = reinterpret_cast<KivShaderCreateFunction*>(kivFindSymbol(module, "KivShaderCreate"));
    if (create == nullptr) {
        kivUnloadModule(module); // some other library that lies in the folder
        return nullptr;
    }
    return create(); // a module that makes no shader stays loaded
}

bool KivShader::unLoadAll() {
    if (dRefShadersLoaded == 0) {
        return true;
    }
    if (--dRefShadersLoaded != 0) {
        return true;
    }
    for (unsigned long i = 0; i < dShaders; ++i) {
        if (lShaders[i] != nullptr) {
            lShaders[i]->release();
            lShaders[i] = nullptr;
        }
    }
    dCurShaderIndex = static_cast<unsigned long>(-1);
    dShaders = 0;
    return true;
}
