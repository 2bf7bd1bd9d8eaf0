#include "kivrender/platform/kivmodule.h"

#include "kivrender/platform/kivmodulefile.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

namespace {

thread_local KivModuleError lastError;

bool isRegularFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

} // namespace

const wchar_t* kivModuleEnding() {
    return L".so";
}

HINSTANCE kivLoadModule(const std::wstring& path) {
    const std::wstring fault = kivModuleFileFault(path);
    if (!fault.empty()) {
        kivSetModuleError({ENOEXEC, path + L": " + fault});
        return nullptr;
    }
    errno = 0;
    void* handle = dlopen(kivToUtf8(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        // dlopen reports by text and not by number: errno tells of a missing or unreadable file, and a file that is no
        // module counts as a bad executable.
        const int code = errno != 0 ? errno : ENOEXEC;
        const char* text = dlerror();
        kivSetModuleError({static_cast<unsigned long>(code), kivFromUtf8(text != nullptr ? text : "")});
    }
    return reinterpret_cast<HINSTANCE>(handle);
}

void* kivFindSymbol(HINSTANCE module, const char* name) {
    return module != nullptr ? dlsym(module, name) : nullptr;
}

void kivUnloadModule(HINSTANCE module) {
    if (module != nullptr) {
        dlclose(module);
    }
}

KivModuleError kivLastModuleError() {
    return lastError;
}

void kivSetModuleError(const KivModuleError& error) {
    lastError = error;
}

std::wstring kivModulePath(HINSTANCE module) {
    link_map* map = nullptr;
    if (module == nullptr || dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
        return {};
    }
    return kivFromUtf8(map->l_name);
}

std::vector<std::wstring> kivListModules(const std::wstring& folder) {
    std::vector<std::wstring> names;
    const std::string path = kivToUtf8(folder);
    DIR* dir = opendir(path.c_str());
    if (dir == nullptr) {
        return names;
    }
    const std::wstring ending = kivModuleEnding();
    while (const dirent* entry = readdir(dir)) {
        const std::wstring name = kivFromUtf8(entry->d_name);
        if (name.size() > ending.size() &&
            kivEqualNoCase(std::wstring_view(name).substr(name.size() - ending.size()), ending) &&
            isRegularFile(path + "/" + entry->d_name)) {
            names.push_back(name);
        }
    }
    closedir(dir);
    std::sort(names.begin(), names.end(), [](const std::wstring& a, const std::wstring& b) {
        const int order = kivCompareNoCase(a.c_str(), b.c_str());
        return order != 0 ? order < 0 : a < b;
    });
    return names;
}

HINSTANCE kivModuleOf(const void* address) {
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
        return nullptr;
    }
    void* handle = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle); // asked for the handle only: the load that brought the module in keeps it
    }
    return reinterpret_cast<HINSTANCE>(handle);
}

std::wstring kivLibraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&kivLibraryFolder), &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    const std::wstring path = kivFromUtf8(info.dli_fname);
    const std::size_t slash = path.find_last_of(L'/');
    return slash == std::wstring::npos ? L"." : path.substr(0, slash);
}
