#include "kivrender/shader/kivshader.h"

#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/shader/kivshadermodule.h"

#include <unordered_set>

namespace {

constexpr unsigned long noIndex = static_cast<unsigned long>(-1);

// Every shader object there is, so that addRef and release can tell a stale pointer without following it. Never
// destroyed: plug-ins may destroy their objects while the process ends.
std::unordered_set<const KivShader*>& liveShaders() {
    static auto* live = new std::unordered_set<const KivShader*>;
    return *live;
}

} // namespace

KivShader* KivShader::lShaders[kivMaxShaders] = {};
unsigned long KivShader::dShaders = 0;
unsigned long KivShader::dShaderIterator = 0;
unsigned long KivShader::dRefShadersLoaded = 0;
unsigned long KivShader::dCurShaderIndex = noIndex;

KivShader::KivShader(HINSTANCE pluginModule) : module(pluginModule) {
    liveShaders().insert(this);
}

KivShader::KivShader(const KivShader& other)
    : module(other.module), refCount(other.refCount), curDialogIndex(other.curDialogIndex),
      secondCurDialogIndex(other.secondCurDialogIndex), pages(other.pages), secondPages(other.secondPages),
      pluginData(other.pluginData), doubleSided(other.doubleSided) {
    liveShaders().insert(this);
}

KivShader::~KivShader() {
    liveShaders().erase(this);
}

HBITMAP KivShader::getBitmap() {
    return getPreviewBitmap();
}

unsigned long KivShader::addRef() {
    return liveShaders().contains(this) ? ++refCount : 0;
}

unsigned long KivShader::release() {
    if (!liveShaders().contains(this)) {
        return static_cast<unsigned long>(-1);
    }
    if (--refCount != 0) {
        return refCount;
    }
    HINSTANCE const pluginModule = module;
    if (auto* destroy = reinterpret_cast<KivShaderDeleteFunction*>(kivFindSymbol(pluginModule, "KivShaderDelete"))) {
        destroy(this);
    }
    // Without that export the object may lie in the module itself, so it is gone with it all the same.
    liveShaders().erase(this);
    kivUnloadModule(pluginModule);
    return 0;
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
