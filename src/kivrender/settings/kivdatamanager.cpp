#include "kivrender/settings/kivdatamanager.h"

#include "kivrender/platform/kivfolders.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"

#include <cwchar>

// What fromOtherDataManager makes of a new object; a derived class's flags are not there yet and stay its own business.
KivDataManager::KivDataManager(const KivDataManager& other) : KivVersionManager(other), properties(other.properties) {}

KivDataManager::~KivDataManager() = default;

void KivDataManager::clearData() {
    properties.clear();
    position = 0;
}

void KivDataManager::fromOtherDataManager(const KivDataManager& other) {
    const std::vector<KivProperty> cells = other.properties; // other may be this one
    properties.clear();
    section.clear();
    shader.clear();
    loading = true;
    position = 0;
    changed = false;
    setMinorVersion(other.getMinorVersion());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        properties.push_back(cells[i]);
        saveCurrentVaried(other.isVaried(static_cast<int>(i)));
    }
}

void KivDataManager::saveCurrentVaried(bool) {}

bool KivDataManager::isCurrentVaried() const {
    return false;
}

bool KivDataManager::isVaried(int) const {
    return false;
}

void KivDataManager::reportVaried(std::FILE*, int) const {}

void KivDataManager::reportVariedHeader(std::FILE*) const {}

template <class T> bool KivDataManager::append(const T& value) {
    if (loading) {
        return false;
    }
    properties.emplace_back().setValue(value);
    return true;
}

bool KivDataManager::saveInt(int value) {
    return append(value);
}

bool KivDataManager::saveDouble(double value) {
    return append(value);
}

bool KivDataManager::saveFloat(float value) {
    return append(value);
}

bool KivDataManager::saveBool(bool value) {
    return append(value);
}

bool KivDataManager::saveChar(char value) {
    return append(value);
}

bool KivDataManager::saveString(const wchar_t* value) {
    return append(std::wstring(kivTextOrEmpty(value)));
}

bool KivDataManager::saveUnsignedShort(unsigned short value) {
    return append(value);
}

bool KivDataManager::saveUnsignedLong(std::uint32_t value) {
    return append(value);
}

template <class T> T KivDataManager::next() {
    T value{};
    if (loading && position < getNumProperties()) {
        properties[static_cast<std::size_t>(position)].getValue(value);
        ++position;
    }
    return value;
}

int KivDataManager::loadInt() {
    return next<int>();
}

double KivDataManager::loadDouble() {
    return next<double>();
}

float KivDataManager::loadFloat() {
    return next<float>();
}

bool KivDataManager::loadBool() {
    return next<bool>();
}

char KivDataManager::loadChar() {
    return next<char>();
}

unsigned short KivDataManager::loadUnsignedShort() {
    return next<unsigned short>();
}

std::uint32_t KivDataManager::loadUnsignedLong() {
    return next<std::uint32_t>();
}

void KivDataManager::loadString(wchar_t* out) {
    kivCopyText(out, kivMaxPath, L"");
    // A cell that is not a text stays: readers end their loops on the empty text and do not run on through a damaged
    // stream.
    if (getNextType() == KivProperty::String) {
        kivCopyText(out, kivMaxPath, next<std::wstring>());
    }
}

bool KivDataManager::startSection(const wchar_t* name) {
    section = kivTextOrEmpty(name);
    if (!loading) {
        const bool saved = saveString(name);
        saveCurrentVaried(false);
        return saved;
    }
    if (position >= getNumProperties()) {
        return false;
    }
    wchar_t found[kivMaxPath];
    loadString(found);
    return section == found;
}

bool KivDataManager::endSection() {
    section.clear();
    return true;
}

bool KivDataManager::startShader(const wchar_t* name) {
    shader = kivTextOrEmpty(name);
    if (!loading) {
        const bool saved = saveString(name);
        saveCurrentVaried(false);
        return saved;
    }
    return position < getNumProperties() && searchShader(name);
}

bool KivDataManager::endShader() {
    shader.clear();
    return true;
}

bool KivDataManager::searchShader(const wchar_t* name) {
    const std::wstring wanted = kivTextOrEmpty(name);
    position = 0;
    while (position < getNumProperties()) {
        const KivProperty& cell = properties[static_cast<std::size_t>(position)];
        ++position;
        if (cell.getType() == KivProperty::String) {
            std::wstring text;
            cell.getValue(text);
            if (text == wanted) {
                break;
            }
        }
    }
    // A marker that is the very last cell counts as missing: in a complete stream "End Morvane" stands behind it.
    return position != getNumProperties();
}

bool KivDataManager::setLoading() {
    if (properties.empty()) {
        return false;
    }
    loading = true;
    position = 0;
    return true;
}

bool KivDataManager::setSaving() {
    loading = false;
    return true;
}

int KivDataManager::getNumProperties() const {
    return static_cast<int>(properties.size());
}

KivProperty::propertyType KivDataManager::getNextType() const {
    return loading && position < getNumProperties() ? properties[static_cast<std::size_t>(position)].getType()
                                                    : KivProperty::Void;
}

bool KivDataManager::isChanged() const {
    return changed;
}

void KivDataManager::setChanged(bool value) {
    changed = value;
}

void KivDataManager::report(const wchar_t* path) const {
    std::FILE* file = kivOpenFile(kivTextOrEmpty(path), "w");
    if (file == nullptr) {
        return;
    }
    std::fprintf(file, "NumProperties: %d\n", getNumProperties());
    reportVariedHeader(file);
    std::fputs("\n", file);
    for (int i = 0; i < getNumProperties(); ++i) {
        std::fprintf(file, "%d- ", i);
        properties[static_cast<std::size_t>(i)].report(file);
        reportVaried(file, i);
    }
    std::fclose(file);
}
