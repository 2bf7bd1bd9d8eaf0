#include "kivrender/scene/kiv3dobject.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivshared.h"

#include <algorithm>

Kiv3DObject::Kiv3DObject() = default;
Kiv3DObject::Kiv3DObject(const Kiv3DObject&) = default;
Kiv3DObject::Kiv3DObject(Kiv3DObject&&) noexcept = default;
Kiv3DObject& Kiv3DObject::operator=(const Kiv3DObject&) = default;
Kiv3DObject& Kiv3DObject::operator=(Kiv3DObject&&) noexcept = default;
Kiv3DObject::~Kiv3DObject() = default;

bool Kiv3DObject::rendersThisShader(const wchar_t* name) const {
    const wchar_t* text = kivTextOrEmpty(name);
    return nonCombinableShader == text || std::ranges::find(combinableShaders, text) != combinableShaders.end();
}

void Kiv3DObject::setNonCombinableShader(const wchar_t* name) {
    nonCombinableShader = kivTextOrEmpty(name);
}

void Kiv3DObject::addCombinableShader(const wchar_t* name) {
    combinableShaders.emplace_back(kivTextOrEmpty(name));
}

const KivPageSettings* Kiv3DObject::getPageSettings(int index) const {
    return pageSettings[static_cast<std::size_t>(index)]->get();
}

int Kiv3DObject::getNumPageSettings() const {
    return static_cast<int>(pageSettings.size());
}

unsigned int Kiv3DObject::getNumCombinableShaders() const {
    return static_cast<unsigned int>(combinableShaders.size());
}

bool Kiv3DObject::hasObjectSettings() const {
    return !nonCombinableShader.empty() || !combinableShaders.empty();
}

bool Kiv3DObject::hasNonCombinable(bool whenNoSettings) const {
    if (!nonCombinableShader.empty()) {
        return true;
    }
    return combinableShaders.empty() && whenNoSettings;
}
