#include "kivrender/settings/kivaveragedatamanager.h"

#include <algorithm>

namespace {

std::vector<KivDataManager*> withoutNulls(std::vector<KivDataManager*> objects) {
    std::erase(objects, nullptr);
    return objects;
}

} // namespace

KivAverageDataManager::~KivAverageDataManager() = default;

void KivAverageDataManager::clearData() {
    varied.clear();
    KivDataManager::clearData();
}

void KivAverageDataManager::fromOtherDataManager(const KivDataManager& other) {
    if (&other == this) {
        const KivAverageDataManager kept(*this); // clearing comes first and would leave nothing to copy
        fromOtherDataManager(kept);
        return;
    }
    clearData();
    KivDataManager::fromOtherDataManager(other);
}

bool KivAverageDataManager::loadIntFromFile(int*) {
    return true;
}

bool KivAverageDataManager::loadDoubleFromFile(double*) {
    return true;
}

bool KivAverageDataManager::loadFloatFromFile(float*) {
    return true;
}

bool KivAverageDataManager::loadBoolFromFile(bool*) {
    return true;
}

bool KivAverageDataManager::loadCharFromFile(char*) {
    return true;
}

bool KivAverageDataManager::loadStringFromFile(wchar_t*) {
    return true;
}

bool KivAverageDataManager::loadUnsignedShortFromFile(unsigned short*) {
    return true;
}

bool KivAverageDataManager::loadUnsignedLongFromFile(std::uint32_t*) {
    return true;
}

void KivAverageDataManager::saveCurrentVaried(bool flag) {
    varied.push_back(flag);
}

bool KivAverageDataManager::isCurrentVaried() const {
    return isVaried(position - 1);
}

bool KivAverageDataManager::isVaried(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < varied.size() && varied[static_cast<std::size_t>(index)];
}

void KivAverageDataManager::reportVaried(std::FILE* file, int index) const {
    std::fprintf(file, "%d- Varied: %s\n", index, isVaried(index) ? "true" : "false");
}

void KivAverageDataManager::reportVariedHeader(std::FILE* file) const {
    std::fprintf(file, "NumVaried: %d\n", static_cast<int>(varied.size()));
}

void KivAverageDataManager::buildAverageData(const std::vector<KivDataManager*>& objects) {
    properties.clear();
    varied.clear();
    const std::vector<KivDataManager*> all = withoutNulls(objects);
    if (all.empty()) {
        return;
    }
    const std::vector<KivProperty>& first = all.front()->properties;
    const std::size_t count = first.size();
    properties.reserve(count);
    varied.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        // One that is too short has no say: it takes the common value when the cells are given back.
        const bool differs = std::any_of(all.begin() + 1, all.end(), [&](const KivDataManager* object) {
            return i < object->properties.size() && KivProperty::differs(first[i], object->properties[i]);
        });
        varied.push_back(differs);
        properties.push_back(first[i]);
    }
}

void KivAverageDataManager::rebuildObjectsDataFromAverageData(const std::vector<KivDataManager*>& objects) {
    const std::vector<KivDataManager*> all = withoutNulls(objects);
    // Both before the first cell is given: the first object may grow meanwhile, and so may this stream if it is itself
    // among the objects.
    const std::size_t bound = all.empty() ? 0 : all.front()->properties.size();
    const std::size_t count = properties.size();
    setMinorVersion(all.empty() ? kivCurrentMinorVersion : all.front()->getMinorVersion());
    for (std::size_t i = 0; i < count; ++i) {
        if (isVaried(static_cast<int>(i))) {
            continue;
        }
        for (KivDataManager* object : all) {
            std::vector<KivProperty>& cells = object->properties;
            // Behind the first object's cells the place does not count, only the order: the cell goes to the end even
            // of an object that has something at this index.
            if (i >= bound || i >= cells.size()) {
                cells.push_back(properties[i]);
            } else if (KivProperty::differs(cells[i], properties[i])) {
                cells[i] = properties[i];
            }
        }
    }
}
