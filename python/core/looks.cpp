#include "core/looks.h"

#include "core/runtime.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadersettings.h"
#include "kivrender/shader/kivstylefile.h"

#include <pybind11/stl.h>

namespace {

constexpr LookWords pythonWords{"style: ", "setting ", "selvarin.styles()", "give it as base", "give it as add"};

const char* nameOf(KivSettingType type) {
    switch (type) {
    case KivSettingType::Bool:
        return "bool";
    case KivSettingType::Int:
        return "int";
    case KivSettingType::Double:
        return "float";
    case KivSettingType::Colour:
        return "colour";
    case KivSettingType::Choice:
        break;
    }
    return "choice";
}

// Plain data, gathered while the interpreter's lock is given up.
struct ListedSetting {
    const KivSettingInfo* info;
    std::vector<std::string> choices;
};
struct ListedShader {
    std::string tag;
    std::string name;
    bool isBase;
    bool coversBackground;
    std::vector<ListedSetting> settings;
};
struct ListedStyle {
    std::string name;
    std::string path;
    KivStyleHead head;
};

ListedShader listed(const KivShader& shader) {
    ListedShader entry{kivToUtf8(kivShaderTag(shader)), {}, !isCombinable(shader), coversBackground(shader), {}};
    kivTryShader(shader, [&] {
        const wchar_t* const name = shader.getName();
        entry.name = kivToUtf8(name != nullptr ? name : L"");
    });
    int count = 0;
    const KivSettingInfo* const table = kivShaderSettings(&shader, &count);
    for (int i = 0; i < count; ++i) {
        ListedSetting setting{&table[i], {}};
        for (int c = 0; c < kivNumChoices(table[i]); ++c) {
            setting.choices.push_back(kivChoiceName(table[i], c));
        }
        entry.settings.push_back(std::move(setting));
    }
    return entry;
}

py::object defaultOf(const ListedSetting& setting) {
    const KivSettingInfo& info = *setting.info;
    switch (info.type) {
    case KivSettingType::Bool:
        return py::bool_(info.defaultValue != 0.0);
    case KivSettingType::Int:
        return py::int_(static_cast<long>(info.defaultValue));
    case KivSettingType::Double:
        return py::float_(info.defaultValue);
    case KivSettingType::Colour:
    case KivSettingType::Choice:
        break;
    }
    return py::str(kivFormatSetting(info, info.defaultValue));
}

py::dict toPython(const ListedSetting& setting) {
    const KivSettingInfo& info = *setting.info;
    const bool isNumber = info.type == KivSettingType::Int || info.type == KivSettingType::Double;
    py::dict entry;
    entry["key"] = info.key;
    entry["kind"] = nameOf(info.type);
    entry["minimum"] = isNumber ? py::object(py::float_(info.minimum)) : py::none();
    entry["maximum"] = isNumber ? py::object(py::float_(info.maximum)) : py::none();
    entry["default"] = defaultOf(setting);
    entry["text"] = kivToUtf8(info.text);
    entry["choices"] = py::tuple(py::cast(setting.choices));
    return entry;
}

void giveLook(Kiv3DObject& object, const LookOptions& look) {
    KivMemoryDataManager stream;
    buildShaderStream(look, stream);
    KivRenderer renderer;
    if (!renderer.loadDataToObject(&object, &stream)) {
        throw SelvarinError("the shaders can't read the settings of an object's style");
    }
}

} // namespace

LookOptions lookOfPython(const py::object& style, const py::object& base, const py::object& added,
                         const py::list& settings) {
    LookOptions look;
    look.words = pythonWords;
    look.style = style.is_none() ? "" : style.cast<std::string>();
    look.baseChosen = !base.is_none();
    look.base = base.is_none() ? "Cartoon" : base.cast<std::string>();
    look.addChosen = !added.is_none();
    if (added.is_none()) {
        look.add = {"Outline"};
    } else {
        look.add = added.cast<std::vector<std::string>>();
    }
    for (const py::handle& each : settings) {
        const auto item = each.cast<py::tuple>();
        look.settings.push_back(
            {item[0].cast<std::string>(), item[1].cast<std::string>(), item[2].cast<std::string>()});
    }
    return look;
}

std::shared_ptr<const ObjectLooks> objectLooksOf(const LookOptions& look) {
    auto looks = std::make_shared<ObjectLooks>();
    giveLook(looks->all, look);
    LookOptions part = look;
    part.add.clear();
    part.addChosen = true;
    giveLook(looks->surfaces, part);
    part = look;
    part.base.clear();
    part.baseChosen = true;
    giveLook(looks->lines, part);
    return looks;
}

py::dict resolvedLook(const LookOptions& look) {
    ChosenLook chosen;
    std::vector<SettingText> texts;
    {
        const LibraryUse library;
        chosen = applyLook(look);
        texts = settingsOfLook(chosen);
    }
    py::list added;
    for (const std::wstring& tag : chosen.shaders.combinables) {
        added.append(kivToUtf8(tag));
    }
    py::list settings;
    for (const SettingText& text : texts) {
        settings.append(py::make_tuple(text.shader, text.key, text.value));
    }
    py::dict result;
    result["base"] = kivToUtf8(chosen.shaders.nonCombinable);
    result["added"] = added;
    result["settings"] = settings;
    return result;
}

py::list listStyles() {
    std::vector<ListedStyle> found;
    {
        const LibraryUse library;
        for (const KivStyleEntry& entry : kivListStyles()) {
            ListedStyle style{kivToUtf8(entry.name), kivToUtf8(entry.path), {}};
            if (kivReadStyleHead(entry.path, &style.head)) {
                found.push_back(std::move(style));
            }
        }
    }
    py::list result;
    for (const ListedStyle& style : found) {
        py::dict entry;
        entry["name"] = style.name;
        entry["path"] = style.path;
        entry["base"] = kivToUtf8(style.head.nonCombinable);
        py::list added;
        for (const std::wstring& tag : style.head.combinables) {
            added.append(kivToUtf8(tag));
        }
        entry["added"] = py::tuple(added);
        result.append(entry);
    }
    return result;
}

py::list listShaders() {
    std::vector<ListedShader> found;
    {
        const LibraryUse library;
        for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
            if (const KivShader* const shader = KivShader::getByIndex(i)) {
                found.push_back(listed(*shader));
            }
        }
    }
    py::list result;
    for (const ListedShader& shader : found) {
        py::dict entry;
        entry["tag"] = shader.tag;
        entry["name"] = shader.name;
        entry["is_base"] = shader.isBase;
        entry["covers_background"] = shader.coversBackground;
        py::list settings;
        for (const ListedSetting& setting : shader.settings) {
            settings.append(toPython(setting));
        }
        entry["settings"] = settings;
        result.append(entry);
    }
    return result;
}
