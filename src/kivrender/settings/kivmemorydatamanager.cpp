#include "kivrender/settings/kivmemorydatamanager.h"

#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"

KivMemoryDataManager::KivMemoryDataManager(const KivDataManager& other) : KivDataManager(other) {}

KivMemoryDataManager::~KivMemoryDataManager() = default;

void KivMemoryDataManager::setDocument(const std::vector<KivProperty>& cells) {
    document = cells;
    documentPosition = 0;
}

const std::vector<KivProperty>& KivMemoryDataManager::getDocument() const {
    return document;
}

const std::vector<KivProperty>& KivMemoryDataManager::getCells() const {
    return properties;
}

// The next cell of the document, moved to this stream; null if it can't be.
const KivProperty* KivMemoryDataManager::take(KivProperty::propertyType type) {
    if (loading || documentPosition >= document.size() || document[documentPosition].getType() != type) {
        return nullptr;
    }
    const KivProperty& cell = document[documentPosition];
    ++documentPosition;
    properties.push_back(cell);
    saveCurrentVaried(false);
    return &cell;
}

template <class T> bool KivMemoryDataManager::load(T* value, KivProperty::propertyType type) {
    const KivProperty* cell = take(type);
    if (cell != nullptr && value != nullptr) {
        cell->getValue(*value);
    }
    return cell != nullptr;
}

bool KivMemoryDataManager::loadIntFromFile(int* value) {
    return load(value, KivProperty::Int);
}

bool KivMemoryDataManager::loadDoubleFromFile(double* value) {
    return load(value, KivProperty::Double);
}

bool KivMemoryDataManager::loadFloatFromFile(float* value) {
    return load(value, KivProperty::Float);
}

bool KivMemoryDataManager::loadBoolFromFile(bool* value) {
    return load(value, KivProperty::Bool);
}

bool KivMemoryDataManager::loadCharFromFile(char* value) {
    return load(value, KivProperty::Char);
}

bool KivMemoryDataManager::loadStringFromFile(wchar_t* value) {
    std::wstring text;
    if (!load(&text, KivProperty::String)) {
        return false;
    }
    kivCopyText(value, kivMaxPath, text);
    return true;
}

bool KivMemoryDataManager::loadUnsignedShortFromFile(unsigned short* value) {
    return load(value, KivProperty::UnsignedShort);
}

bool KivMemoryDataManager::loadUnsignedLongFromFile(std::uint32_t* value) {
    return load(value, KivProperty::UnsignedLong);
}
