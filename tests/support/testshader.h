// The test plug-ins: shaders that write down how they are called. One and the same module is copied under several
// names; the name of the file decides what it is:
//   add-*.so     combinable, all others are base looks
//   cartoon.so   has the display name of the default shader
// The tag is the file's name without its ending, the display name is "Test " and the tag. Each copy has a record of its
// own, which a test finds by TestShader::of.
#ifndef TESTS_SUPPORT_TESTSHADER_H
#define TESTS_SUPPORT_TESTSHADER_H

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/shader/kivshader.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// What a test sets and reads; it lives in the plug-in, from its loading to its unloading.
struct TestShaderRecord {
    std::vector<std::string>* calls = nullptr; // where the calls go, with the tag first; null for nowhere
    std::uint32_t color = 0xFFFFFF;            // red in the low byte
    bool draws = true;
    bool rendersMeshes = true;                                   // what rendersMesh answers
    std::function<void(KivShader&, KivBitmapManager*)> onRender; // runs in render, with the context current
    std::function<void(const std::string&)> onCall;              // runs in every call, before it does anything
    std::function<void()> onPrepare;                             // runs in prepareObjectRendering
    int cellsToRead = 0;       // whole numbers that are taken from a stream or a document in one go
    std::vector<int> cells;    // what was found
    bool readsSettings = true; // what loadDocData and loadShaderSettings answer when they could read
    bool hasPage = false;      // createPages makes one: a whole number, in section and under key "Page"
    bool pageLoads = true;     // whether that page can be read from a style
    std::function<void(KivScene*, const KivPropertiesDlg*)> onPreparePreview;
    std::function<void(std::vector<void*>*, bool)> onShaderSettings; // runs in loadShaderSettings
    std::function<void(const KivShader&)> onDelete;                  // runs before the shader is destroyed
    int pluginsMade = 0;
};

class TestShader {
public:
    // The record of a shader made by a test plug-in.
    static TestShaderRecord& of(KivShader* shader) {
        if (shader == nullptr) {
            throw std::runtime_error("no such shader");
        }
        const void* table = nullptr;
        std::memcpy(&table, static_cast<const void*>(shader), sizeof table);
        void* const find = kivFindSymbol(kivModuleOf(table), "testShaderRecord");
        if (find == nullptr) {
            throw std::runtime_error("no test plug-in");
        }
        return *reinterpret_cast<TestShaderRecord* (*)()>(find)();
    }
    static TestShaderRecord& of(const wchar_t* tag) {
        return of(KivShader::getByTag(tag));
    }

    // Puts copies of the module under these names, without ending, into a folder.
    static void install(const std::filesystem::path& folder, const std::vector<std::string>& names) {
        std::filesystem::create_directories(folder);
        for (const std::string& name : names) {
            std::filesystem::copy_file(std::filesystem::path(TEST_PLUGINS) / "recording.so", folder / (name + ".so"));
        }
    }
};

#endif
