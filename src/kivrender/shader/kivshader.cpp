#include "kivrender/shader/kivshader.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivliveshaders.h"
#include "kivrender/shader/kivshadermodule.h"

namespace {

constexpr unsigned long noIndex = static_cast<unsigned long>(-1);

} // namespace

KivShader* KivShader::lShaders[kivMaxShaders] = {};
unsigned long KivShader::dShaders = 0;
unsigned long KivShader::dShaderIterator = 0;
unsigned long KivShader::dRefShadersLoaded = 0;
unsigned long KivShader::dCurShaderIndex = noIndex;

KivShader::KivShader(HINSTANCE pluginModule) : module(pluginModule) {
    KivLiveShaders::add(this);
}

KivShader::KivShader(const KivShader& other)
    : module(other.module), refCount(other.refCount), curDialogIndex(other.curDialogIndex),
      secondCurDialogIndex(other.secondCurDialogIndex), pages(other.pages), secondPages(other.secondPages),
      pluginData(other.pluginData), doubleSided(other.doubleSided) {
    KivLiveShaders::add(this);
}

KivShader::~KivShader() {
    KivLiveShaders::remove(this);
}

HBITMAP KivShader::getBitmap() {
    return getPreviewBitmap();
}

unsigned long KivShader::addRef() {
    return KivLiveShaders::contains(this) ? ++refCount : 0;
}

unsigned long KivShader::shaders() {
    return dShaders;
}

KivShader* KivShader::getByIndex(unsigned long index) {
    return index < dShaders ? lShaders[index] : nullptr;
}

// The first entry that matches, or dShaders. What escapes from a plug-in's getName or getTag makes its shader one that
// does not match: a faulty plug-in must not keep a later one from being found.
template <class Matches> unsigned long KivShader::findShader(Matches matches) {
    for (unsigned long i = 0; i < dShaders; ++i) {
        if (lShaders[i] == nullptr) {
            continue;
        }
        try {
            if (matches(*lShaders[i])) {
                return i;
            }
        } catch (...) { // NOLINT(bugprone-empty-catch)
        }
    }
    return dShaders;
}

KivShader* KivShader::getByName(const wchar_t* name) {
    return getByIndex(
        findShader([name](const KivShader& shader) { return kivCompareNoCase(shader.getName(), name) == 0; }));
}

KivShader* KivShader::getByTag(const wchar_t* tag) {
    return getByIndex(
        findShader([tag](const KivShader& shader) { return kivCompareNoCase(shader.getTag(), tag) == 0; }));
}

KivShader* KivShader::getFirstShader() {
    dShaderIterator = 0;
    return lShaders[0];
}

// The end is met by equality alone, so a call behind the end goes on through the unused entries. They are null, and so
// is what we answer where they end.
KivShader* KivShader::getNextShader() {
    ++dShaderIterator;
    if (dShaderIterator == dShaders || dShaderIterator >= kivMaxShaders) {
        return nullptr;
    }
    return lShaders[dShaderIterator];
}

// An index out of range is stored as it is; current then answers null.
KivShader* KivShader::selectByIndex(unsigned long index) {
    KivShader* const previous = current();
    dCurShaderIndex = index;
    return previous;
}

KivShader* KivShader::selectByTag(const wchar_t* tag) {
    return selectByIndex(
        findShader([tag](const KivShader& shader) { return kivCompareNoCase(shader.getTag(), tag) == 0; }));
}

KivShader* KivShader::current() {
    return dShaders != 0 && dCurShaderIndex < kivMaxShaders ? lShaders[dCurShaderIndex] : nullptr;
}

HINSTANCE KivShaderModule::of(const KivShader& shader) {
    return shader.module;
}
