// The scan of the plug-ins' folder. A plug-in that can't be used is left out with one line that names its file and the
// reason; nothing that it does ends the scan.
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivthrown.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/shader/kivliveshaders.h"
#include "kivrender/shader/kivplugincheck.h"
#include "kivrender/shader/kivplugintrial.h"
#include "kivrender/shader/kivshader.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace {

// Goes straight to the desktop, as there may be no host yet. The form of the first line is what support staff know: the
// place in the sources, then the system's error number.
void showLoadError() {
    const KivModuleError error = kivLastModuleError();
    if (error.code == 0) {
        return;
    }
    KivToolkit::get().showMessage(nullptr, L"kivshader(77)-" + std::to_wstring(error.code) + L"\n" + error.text,
                                  L"Morvane ERROR", KivMessageKind::Error);
}

void noteFault(const wchar_t* file, const std::wstring& reason) {
    kivSetModuleError({ENOEXEC, file + (L": " + reason)});
}

// Null, with the reason noted, if the plug-in makes none or throws.
KivShader* create(HINSTANCE module, const wchar_t* file, KivShaderCreateFunction* make) {
    std::wstring reason;
    try {
        if (KivShader* const shader = make()) {
            return shader;
        }
        noteFault(file, L"KivShaderCreate makes no shader");
        return nullptr; // on purpose, so nobody is told, and such a module stays loaded
    } catch (...) {
        reason = L"KivShaderCreate threw: " + kivThrownText();
    }
    noteFault(file, reason);
    showLoadError();
    kivUnloadModule(module); // what was thrown is gone: its code may have been the module's
    return nullptr;
}

} // namespace

unsigned long KivShader::loadShaders(const wchar_t* path) {
    ++dRefShadersLoaded;
    if (dShaders != 0) {
        return dShaders;
    }
    const std::wstring folder = (path != nullptr ? std::wstring(path) : kivLibraryFolder() + L"/shaders") + L"/";
    dCurShaderIndex = static_cast<unsigned long>(-1);
    KivPluginTrial trial;
    for (const std::wstring& name : kivListModules(folder)) {
        if (dShaders == kivMaxShaders) {
            break; // further modules are not even opened
        }
        const std::wstring fault = trial.faultOf(folder + name);
        if (!fault.empty()) {
            noteFault((folder + name).c_str(), fault);
            showLoadError();
            continue;
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
        showLoadError();
        return nullptr;
    }
    auto* const make = reinterpret_cast<KivShaderCreateFunction*>(kivFindSymbol(module, "KivShaderCreate"));
    if (make == nullptr) {
        kivUnloadModule(module); // some other library that lies in the folder
        return nullptr;
    }
    std::wstring fault = kivInterfaceFault(module);
    if (fault.empty()) {
        KivShader* const shader = create(module, file, make);
        if (shader == nullptr) {
            return nullptr;
        }
        fault = accept(shader, module);
        if (fault.empty()) {
            return shader;
        }
    }
    noteFault(file, fault);
    showLoadError();
    kivUnloadModule(module);
    return nullptr;
}

// Why a new shader can't go into the table. Such a one is destroyed here, but not its module unloaded.
std::wstring KivShader::accept(KivShader* shader, HINSTANCE plugin) {
    if (!KivLiveShaders::revive(shader)) {
        return L"KivShaderCreate gives something that is no shader of this library's classes";
    }
    if (std::find(lShaders, lShaders + dShaders, shader) != lShaders + dShaders) {
        return L"KivShaderCreate gives the shader of another plug-in";
    }
    shader->module = plugin; // which it should have been told, and which its end needs
    shader->refCount = std::max<std::uint32_t>(shader->refCount, 1);
    std::wstring fault = kivShaderFault(plugin, *shader);
    if (fault.empty()) {
        if (KivShader* const other = getByTag(shader->getTag())) {
            fault = L"its tag \"" + std::wstring(shader->getTag()) + L"\" is that of " + kivModulePath(other->module);
        }
    }
    if (!fault.empty()) {
        const std::wstring afterwards = destroy(shader, plugin);
        fault += afterwards.empty() ? L"" : L"; " + afterwards;
    }
    return fault;
}

// Without the export the object may lie in the module itself, so it is gone with it all the same. What was thrown, or
// nothing.
std::wstring KivShader::destroy(KivShader* shader, HINSTANCE plugin) {
    std::wstring fault;
    try {
        if (auto* end = reinterpret_cast<KivShaderDeleteFunction*>(kivFindSymbol(plugin, "KivShaderDelete"))) {
            end(shader);
        }
    } catch (...) {
        fault = L"KivShaderDelete threw: " + kivThrownText();
    }
    KivLiveShaders::retire(shader);
    return fault;
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

unsigned long KivShader::release() {
    if (!KivLiveShaders::contains(this)) {
        return static_cast<unsigned long>(-1);
    }
    if (--refCount != 0) {
        return refCount;
    }
    HINSTANCE const plugin = module;
    const std::wstring file = kivModulePath(plugin);
    const std::wstring fault = destroy(this, plugin);
    kivUnloadModule(plugin);
    if (!fault.empty()) {
        noteFault(file.c_str(), fault);
        showLoadError();
    }
    return 0;
}
