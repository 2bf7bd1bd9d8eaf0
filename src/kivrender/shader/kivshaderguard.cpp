#include "kivrender/shader/kivshaderguard.h"

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/host/kivlanguage.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivthrown.h"
#include "kivrender/platform/kivtoolkit.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshadermodule.h"

#include <set>

namespace {

constexpr unsigned int textShaderFailed = 1070;

std::wstring pluginOf(const KivShader& shader) {
    std::wstring file = kivModulePath(KivShaderModule::of(shader));
    if (!file.empty()) {
        return file;
    }
    try {
        const wchar_t* const tag = shader.getTag();
        return tag != nullptr ? tag : L"";
    } catch (...) {
        return {}; // it has failed already, and is told without a name
    }
}

std::wstring lineOf(const KivShaderFailure& failure) {
    std::wstring line = kivText(textShaderFailed); // empty without a language
    std::size_t place = line.find(L"%s");
    if (place == std::wstring::npos) {
        return failure.plugin + L": " + failure.reason;
    }
    line.replace(place, 2, failure.plugin);
    place = line.find(L"%s", place + failure.plugin.size());
    return place != std::wstring::npos ? line.replace(place, 2, failure.reason) : line;
}

bool tryCall(const std::function<void()>& call, const std::function<std::wstring()>& plugin) {
    try {
        call();
        return true;
    } catch (KivShader::stopReason) {
        throw;
    } catch (const KivShaderFailure& failure) {
        kivTellFailureOnce(failure);
    } catch (...) {
        const std::wstring reason = kivThrownText();
        kivTellFailureOnce({plugin(), reason});
    }
    return false;
}

} // namespace

void kivFailShader(const KivShader& shader) {
    try {
        throw;
    } catch (KivShader::stopReason) {
        throw;
    } catch (const KivShaderFailure&) {
        throw;
    } catch (...) {
        std::wstring reason = kivThrownText();
        throw KivShaderFailure{pluginOf(shader), std::move(reason)};
    }
}

void kivTellFailure(const KivShaderFailure& failure) {
    const std::wstring line = lineOf(failure);
    if (KivHostApplicationServices* const host = KivHostApplicationServices::getDefaultHost()) {
        host->message(line.c_str());
    } else {
        KivToolkit::get().showMessage(nullptr, line, L"Morvane ERROR", KivMessageKind::Error);
    }
}

void kivTellFailureOnce(const KivShaderFailure& failure) {
    static std::set<std::wstring> told;
    if (told.insert(failure.plugin + L'\n' + failure.reason).second) {
        kivTellFailure(failure);
    }
}

bool kivTryShader(const KivShader& shader, const std::function<void()>& call) {
    return tryCall(call, [&shader] { return pluginOf(shader); });
}

bool kivTryModule(HINSTANCE plugin, const std::function<void()>& call) {
    return tryCall(call, [plugin] { return kivModulePath(plugin); });
}

std::wstring kivShaderTag(const KivShader& shader) {
    std::wstring text;
    kivTryShader(shader, [&] {
        const wchar_t* const tag = shader.getTag();
        text = tag != nullptr ? tag : L"";
    });
    return text;
}

std::wstring kivShaderDisplayName(const KivShader& shader) {
    std::wstring text;
    kivTryShader(shader, [&] {
        const wchar_t* const name = shader.getName();
        text = name != nullptr ? name : L"";
    });
    return text;
}
