// How the lines of a settings stream behind its head are read: the shaders that they name, its end.
#ifndef KIVRENDER_RENDER_KIVSTREAMLINES_H
#define KIVRENDER_RENDER_KIVSTREAMLINES_H

#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshader.h"
#include "kivrender/shader/kivshaderguard.h"

#include <cwchar>

// Number of the text with the display name of the default shader.
inline constexpr unsigned int kivTextDefaultShader = 54;

// A text is a tag or, failing that, a display name. Null if no loaded shader has either.
inline KivShader* kivFindShader(const wchar_t* text) {
    KivShader* const shader = KivShader::getByTag(text);
    return shader != nullptr ? shader : KivShader::getByName(text);
}

// Throws KivShaderFailure.
inline bool kivIsCombinable(const KivShader& shader) {
    return kivCallShader(shader, [&shader] { return shader.isCombinable(); });
}

// A combinable shader is not a base look, whatever a stream says: its table of operations is another one.
inline KivNonCombinableShader* kivAsBaseLook(KivShader* shader) {
    return shader != nullptr && !kivIsCombinable(*shader) ? static_cast<KivNonCombinableShader*>(shader) : nullptr;
}

// Whether a line, where one with a shader could stand, says that there are no more. A damaged stream gives the empty
// line, and so ends too.
inline bool kivEndsStream(const wchar_t* line) {
    return line[0] == L'\0' || std::wcscmp(line, kivStreamEnd) == 0;
}

#endif
