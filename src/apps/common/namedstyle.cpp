#include "apps/common/namedstyle.h"

#include "apps/common/shaderstream.h"
#include "apps/common/suggestion.h"
#include "apps/common/usageerror.h"
#include "kivrender/platform/kivprofile.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/settings/kivsettingstable.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"
#include "kivrender/shader/kivshadersettings.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::wstring_view ending = L".kiv";

bool isFileName(std::wstring_view value) {
    return value.size() > ending.size() && kivEqualNoCase(value.substr(value.size() - ending.size()), ending);
}

std::wstring withoutEnding(const std::wstring& path) {
    const std::size_t slash = path.find_last_of(L'/');
    const std::wstring file = slash == std::wstring::npos ? path : path.substr(slash + 1);
    return file.substr(0, file.size() - ending.size());
}

std::vector<std::string> styleNames() {
    std::vector<std::string> names;
    for (const KivStyleEntry& style : kivListStyles()) {
        names.push_back(kivToUtf8(style.name));
    }
    return names;
}

ChosenStyle styleOfFile(const std::wstring& path) {
    std::error_code problem;
    const std::string shown = kivToUtf8(path);
    if (!std::filesystem::is_regular_file(shown, problem)) {
        throw std::runtime_error("can't use \"" + shown + "\": there is no such file" +
                                 didYouMean(kivToUtf8(withoutEnding(path)), styleNames()));
    }
    if (path.size() >= kivMaxPath) {
        throw std::runtime_error("can't use \"" + shown + "\": its path is too long");
    }
    ChosenStyle style{withoutEnding(path), path, {}};
    if (!KivProfile::load(path)) {
        throw std::runtime_error("can't use \"" + shown + "\": it can't be read, or is too large for a style");
    }
    if (!kivReadStyleHead(path, &style.head)) {
        throw std::runtime_error("\"" + shown + "\" is no style: its section [General] names no shader");
    }
    return style;
}

std::wstring pathOfName(const std::wstring& name) {
    wchar_t path[kivMaxPath] = {};
    KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost();
    if (host != nullptr && host->getStyle(path, name.c_str())) {
        return path;
    }
    for (const KivStyleEntry& style : kivListStyles()) {
        if (kivEqualNoCase(style.name, name)) {
            return style.path;
        }
    }
    return {};
}

// Adds a line for each key of a shader's section that is unknown or has no good value. A shader that does not tell its
// settings may have any.
void checkSection(const ChosenStyle& style, const KivProfile& file, const KivShader& shader,
                  std::vector<std::string>& complaints) {
    int count = 0;
    const KivSettingInfo* const table = kivShaderSettings(&shader, &count);
    if (count == 0) {
        return;
    }
    std::vector<std::string> known;
    known.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        known.emplace_back(table[i].key);
    }
    const std::wstring tag = kivShaderTag(shader);
    for (const std::wstring& wide : file.keys(tag)) {
        const std::string key = kivToUtf8(wide);
        const int index = kivFindSetting(table, count, key);
        const std::string value = kivToUtf8(file.read(tag, wide).value_or(std::wstring()));
        double number = 0.0;
        std::string why = "there is no such setting" + didYouMean(key, known);
        if (index < 0 || !kivParseSetting(table[index], value, &number, &why)) {
            std::string line = "style \"" + kivToUtf8(style.name) + "\", ";
            line.append(kivToUtf8(tag)).append(".").append(key).append(": ").append(why);
            complaints.push_back(std::move(line));
        }
    }
}

} // namespace

ChosenStyle findStyle(const std::string& value, const LookWords& words) {
    const std::wstring name = kivFromUtf8(value);
    if (isFileName(name)) {
        return styleOfFile(name);
    }
    if (kivCheckStyleName(name) != KivStyleNameFault::none) {
        throw UsageError(words.beforeStyle + ("\"" + value) +
                         "\" is neither a style's name nor a file that ends in .kiv");
    }
    const std::wstring path = pathOfName(name);
    if (path.empty()) {
        const std::string near = didYouMean(value, styleNames());
        throw UsageError("unknown style " + value +
                         (near.empty() ? std::string("; ") + words.listOfStyles + " lists those there are" : near));
    }
    ChosenStyle style = styleOfFile(path);
    style.name = withoutEnding(path);
    return style;
}

std::vector<std::string> loadStyleSettings(const ChosenStyle& style) {
    const KivProfile file = KivProfile::load(style.path).value_or(KivProfile());
    std::vector<std::string> complaints;
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        KivShader* const shader = KivShader::getByIndex(i);
        if (shader == nullptr) {
            continue;
        }
        shader->addRef();
        kivTryShader(*shader, [shader] { shader->createPages(nullptr, nullptr); });
        const bool loaded = shader->loadDataFromStyle(style.path.c_str(), nullptr);
        const std::string tag = kivToUtf8(kivShaderTag(*shader));
        checkSection(style, file, *shader, complaints);
        shader->release();
        if (!loaded) {
            throw std::runtime_error("style \"" + kivToUtf8(style.name) + "\": " + tag + " can't read its settings");
        }
    }
    return complaints;
}

std::wstring styleShader(const ChosenStyle& style, const std::wstring& name, bool combinable) {
    if (name.empty()) {
        return {};
    }
    const KivShader* shader = KivShader::getByTag(name.c_str());
    if (shader == nullptr) {
        shader = KivShader::getByName(name.c_str());
    }
    const std::string shown = kivToUtf8(name);
    const std::string called = "style \"" + kivToUtf8(style.name) + "\" ";
    if (shader == nullptr) {
        throw std::runtime_error(called + "wants the shader " + shown + ", which is not loaded" +
                                 didYouMean(shown, shaderTags(!combinable, combinable)));
    }
    if (isCombinable(*shader) != combinable) {
        throw std::runtime_error(called + (combinable ? "adds " + shown + ", which paints the surfaces itself"
                                                      : "paints with " + shown + ", which only adds to a picture"));
    }
    return kivShaderTag(*shader);
}
