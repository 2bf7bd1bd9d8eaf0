// Calls of what a plug-in brings. A plug-in may throw anywhere; what it throws ends what was asked of it and is told in
// one line that names the plug-in, but never ends the program. Alone KivShader::stopReason goes through: by it a shader
// stops a render towards the host.
#ifndef KIVRENDER_SHADER_KIVSHADERGUARD_H
#define KIVRENDER_SHADER_KIVSHADERGUARD_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <functional>
#include <string>
#include <utility>

class KivShader;

// What kivCallShader throws in place of a plug-in's own exception. It stays inside the library: whoever enters a render
// or the like catches it and tells it.
struct KivShaderFailure {
    std::wstring plugin; // its file, or the tag of a shader that no plug-in made
    std::wstring reason; // one line
};

// In a catch block: the failure of the plug-in. A failure or a stopReason that is being handled goes on as it is.
[[noreturn]] void kivFailShader(const KivShader& shader);

// Calls a shader. For the inside of an operation that ends as a whole when a shader fails.
template <class Call> decltype(auto) kivCallShader(const KivShader& shader, Call&& call) {
    try {
        return std::forward<Call>(call)();
    } catch (...) {
        kivFailShader(shader);
    }
}

// Tells a failure through the host's message, or in a box of the toolkit without a host.
void kivTellFailure(const KivShaderFailure& failure);
// The same, once in a process for each text: for what is tried again and again, as previews are.
void kivTellFailureOnce(const KivShaderFailure& failure);

// Calls a shader on its own, for programs as well: says what it throws, once for each text, and is false then.
KIV_API bool kivTryShader(const KivShader& shader, const std::function<void()>& call);
// The same for what else belongs to a plug-in, such as a page.
KIV_API bool kivTryModule(HINSTANCE plugin, const std::function<void()>& call);

// Name and tag of a shader. Empty if it fails or has none, which is told.
KIV_API std::wstring kivShaderTag(const KivShader& shader);
KIV_API std::wstring kivShaderDisplayName(const KivShader& shader);

#endif
