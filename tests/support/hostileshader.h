// The test plug-in that throws where a test wants it to: plugins/hostile.cpp. The name of its file is its tag;
// combinable are add-*.so and Sketch.so, all others are base looks. It has one page.
#ifndef TESTS_SUPPORT_HOSTILESHADER_H
#define TESTS_SUPPORT_HOSTILESHADER_H

#include "kivrender/platform/kivmodule.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <string>

struct HostileRecord {
    std::string slot; // the operation that throws, by its name
    enum { runtimeError, number, ownType, nothing } kind = runtimeError;
    bool insidePrimitive = false; // throws between begin and end of one
    int thrown = 0;
};

class HostileShader {
public:
    static void install(const std::filesystem::path& folder, const std::string& name) {
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / "hostile.so", folder / (name + ".so"));
    }
    // Of the plug-in that is loaded from that file.
    static HostileRecord& of(const std::filesystem::path& file) {
        void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
        void* const find = module != nullptr ? dlsym(module, "hostileRecord") : nullptr;
        if (find == nullptr) {
            throw std::runtime_error("no hostile plug-in: " + file.string());
        }
        dlclose(module); // the table's load holds it
        return *reinterpret_cast<HostileRecord* (*)()>(find)();
    }
    // What a message says of it.
    static std::wstring reason(const std::string& slot) {
        return L"thrown from " + std::wstring(slot.begin(), slot.end());
    }
};

#endif
