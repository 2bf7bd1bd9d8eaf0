// Settings on their way between the host's storage, the streams, the objects of a scene and the style files.
#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/render/kivrenderer.h"
#include "kivrender/render/kivstreamlines.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/settings/kivconfigfile.h"
#include "kivrender/settings/kivdatamanager.h"

#include <memory>
#include <string>
#include <utility>

namespace {

using ShaderSettings = KivHostApplicationServices::shaderSettings;

// What a shader answers; false, after it was told, if it throws.
template <class Call> bool agrees(const KivShader& shader, Call call) {
    bool answer = false;
    return kivTryShader(shader, [&] { answer = call(); }) && answer;
}

// The lines of shaders in a document, to the end of the stream. A shader that is not loaded is passed over but not what
// it has stored, as its form is not known: its next text is then taken for a line.
bool loadShadersFromFile(KivDataManager* manager) {
    wchar_t line[kivMaxPath] = {};
    while (manager->loadStringFromFile(line)) {
        if (kivEndsStream(line)) {
            return true;
        }
        KivShader* const shader = kivFindShader(line);
        if (shader != nullptr && !agrees(*shader, [&] { return shader->loadDocData(manager); })) {
            return false;
        }
    }
    return false;
}

// The shaders that the head of a stream selects. Of the combinable ones only the last is remembered by name, though all
// of them count.
struct Selection {
    wchar_t base[kivMaxPath] = {};
    wchar_t lastCombinable[kivMaxPath] = {};
    int count = 0;

    bool names(const wchar_t* line) const {
        return std::wcscmp(line, base) == 0 || std::wcscmp(line, lastCombinable) == 0;
    }
};

Selection readSelection(KivDataManager* manager) {
    Selection selection;
    const KivStreamHead head = kivReadStreamHead(*manager);
    if (!head.nonCombinable.empty()) {
        kivCopyText(selection.base, kivMaxPath, head.nonCombinable);
        ++selection.count;
    }
    for (const std::wstring& name : head.combinables) {
        kivCopyText(selection.lastCombinable, kivMaxPath, name);
        ++selection.count;
    }
    return selection;
}

std::unique_ptr<ShaderSettings[]> defaultSettings(KivDataManager* manager) {
    const std::wstring name = kivText(kivTextDefaultShader);
    KivShader* const shader = KivShader::getByName(name.c_str());
    if (shader == nullptr) {
        return nullptr;
    }
    auto records = std::make_unique<ShaderSettings[]>(1);
    manager->setSaving(); // so that the shader reads nothing and gives what it has without a stream
    if (!agrees(*shader, [&] { return shader->loadShaderSettings(manager, &records[0].settings, true); })) {
        return nullptr;
    }
    kivCopyText(records[0].name, kivMaxPath, name);
    return records;
}

// A record for each name of the head, filled from the blocks in the order in which they come: those of combinable
// shaders other than the last stay empty. A block of a shader that is not selected is read into the record of the last
// one that is, only to pass over it.
std::unique_ptr<ShaderSettings[]> selectedSettings(KivDataManager* manager, const Selection& selection) {
    auto records = std::make_unique<ShaderSettings[]>(static_cast<std::size_t>(selection.count));
    std::vector<void*> passedOver; // for blocks ahead of the first record
    int index = -1;
    wchar_t line[kivMaxPath] = {};
    for (manager->loadString(line); !kivEndsStream(line); manager->loadString(line)) {
        const bool selected = selection.names(line);
        if (selected) {
            if (++index == selection.count) {
                return nullptr;
            }
            kivCopyText(records[static_cast<std::size_t>(index)].name, kivMaxPath, line);
        }
        KivShader* const shader = kivFindShader(line);
        auto* const settings = index < 0 ? &passedOver : &records[static_cast<std::size_t>(index)].settings;
        if (shader == nullptr ||
            !agrees(*shader, [&] { return shader->loadShaderSettings(manager, settings, selected); })) {
            return nullptr;
        }
    }
    return records;
}

} // namespace

bool KivRenderer::loadPropertiesDlgData(KivDataManager* manager) {
    wchar_t line[kivMaxPath] = {};
    for (int i = 0; i < 3; ++i) {
        manager->loadString(line);
    }
    return true;
}

bool KivRenderer::loadPropertiesDlgDataFromFile(KivDataManager* manager) {
    wchar_t line[kivMaxPath] = {};
    for (int i = 0; i < 3; ++i) {
        if (!manager->loadStringFromFile(line)) {
            return false;
        }
    }
    return true;
}

bool KivRenderer::loadDocData(KivDataManager* manager) {
    // In saving mode although it reads: a host's manager appends each value that it brings from its document.
    return manager != nullptr && manager->setSaving() && loadPropertiesDlgDataFromFile(manager) &&
           loadShadersFromFile(manager);
}

bool KivRenderer::loadObjectData(KivDataManager* manager) {
    return manager != nullptr && manager->setSaving() && loadShadersFromFile(manager);
}

// The line that is taken for the first shader's is the very first of the stream, ahead of the three that are dropped. A
// stream that begins with its head fails here, as no shader is called "Style:"; hosts rely on the order.
bool KivRenderer::loadData(KivDataManager* manager) {
    if (manager == nullptr) {
        return false;
    }
    wchar_t line[kivMaxPath] = {};
    manager->loadString(line);
    loadPropertiesDlgData(manager);
    while (!kivEndsStream(line)) {
        KivShader* const shader = kivFindShader(line);
        if (shader == nullptr || !shader->loadData(manager, nullptr)) {
            return false;
        }
        manager->loadString(line);
    }
    return true;
}

bool KivRenderer::loadDataToObject(Kiv3DObject* object, KivDataManager* manager) {
    if (object == nullptr || manager == nullptr || !manager->setLoading()) {
        return false;
    }
    const KivStreamHead head = kivReadStreamHead(*manager);
    if (!head.nonCombinable.empty()) {
        object->setNonCombinableShader(head.nonCombinable.c_str());
    }
    for (const std::wstring& name : head.combinables) {
        object->addCombinableShader(name.c_str());
    }
    wchar_t line[kivMaxPath] = {};
    manager->loadString(line);
    // Only the way through the last line gives this load back. The two others leave the shaders loaded once more, and
    // hosts that unload until the table is empty count on no fewer.
    if (KivShader::loadShaders(nullptr) == 0) {
        return true;
    }
    while (!kivEndsStream(line)) {
        KivShader* const shader = kivFindShader(line);
        if (shader == nullptr) {
            return false;
        }
        if (!kivTryShader(*shader, [&] { shader->loadObjectSettings(manager, object); })) {
            return false; // nobody knows where in the stream it has stopped
        }
        manager->loadString(line);
    }
    KivShader::unLoadAll();
    return true;
}

bool KivRenderer::loadGeneralData(KivDataManager* manager, const wchar_t* path, const wchar_t* name) {
    if (manager == nullptr) {
        return false;
    }
    const KivConfigFile file(path);
    wchar_t base[kivMaxPath] = {};
    wchar_t combinables[kivMaxPath] = {};
    file.read(L"General", L"NonCombinableShader", base, L"");
    file.read(L"General", L"CombinableShader", combinables, L"");
    manager->clearData();
    manager->setSaving();
    kivWriteStreamLine(*manager, std::wstring(kivStyleHeader) + (name != nullptr ? name : L""));
    kivWriteStreamLine(*manager, std::wstring(kivNonCombinableHeader) + base);
    kivWriteStreamLine(*manager, std::wstring(kivCombinableHeader) + combinables); // as the file has it
    return true;
}

// The common settings are not part of a style, so the host gets fresh ones with each and loses those it
// had.
bool KivRenderer::loadStyle(KivCommonDataManager* commonData, KivDataManager* manager, const wchar_t* name) {
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    KivCommonSettings settings;
    wchar_t path[kivMaxPath] = {};
    if (host == nullptr || !host->getStyle(path, name)) {
        return false;
    }
    const KivProfilesReadOnce once;
    settings.load(L"Common", path);
    if (!loadGeneralData(manager, path, name)) {
        return false;
    }
    KivShader::loadShaders(nullptr);
    for (KivShader* shader = KivShader::getFirstShader(); shader != nullptr; shader = KivShader::getNextShader()) {
        shader->addRef();
        kivTryShader(*shader, [&] { shader->createPages(nullptr, nullptr); });
        const bool loaded = shader->loadDataFromStyle(path, nullptr);
        if (loaded) {
            shader->saveData(manager, nullptr);
        }
        shader->release();
        if (!loaded) {
            KivShader::unLoadAll();
            return false;
        }
    }
    KivShader::unLoadAll();
    kivWriteStreamEnd(*manager);
    settings.saveDataOnHost(commonData);
    return true;
}

int KivRenderer::getSettings(KivDataManager* manager, KivHostApplicationServices::shaderSettings** out) {
    if (out == nullptr) {
        return 0;
    }
    *out = nullptr;
    if (manager == nullptr) {
        return 0;
    }
    const Selection selection = readSelection(manager);
    std::unique_ptr<ShaderSettings[]> records =
        selection.count == 0 ? defaultSettings(manager) : selectedSettings(manager, selection);
    if (records == nullptr) {
        return 0;
    }
    *out = records.release();
    return selection.count == 0 ? 1 : selection.count;
}
