#include "apps/document/studiolook.h"

#include <algorithm>
#include <cmath>

namespace {

template <class T> bool isNone(const KivProperty& cell) {
    T value{};
    cell.getValue(value);
    return std::isnan(value);
}

bool isNone(const KivProperty& cell) {
    return (cell.getType() == KivProperty::Double && isNone<double>(cell)) ||
           (cell.getType() == KivProperty::Float && isNone<float>(cell));
}

bool equalCells(const KivProperty& a, const KivProperty& b) {
    return !KivProperty::differs(a, b) || (a.getType() == b.getType() && isNone(a) && isNone(b));
}

// Makes the pointer's target its own.
template <class T> T& detach(std::shared_ptr<T>& data) {
    if (data.use_count() > 1) {
        data = std::make_shared<T>(*data);
    }
    return *data;
}

// What all empty ones share.
template <class T> const std::shared_ptr<T>& nothing() {
    static const auto empty = std::make_shared<T>();
    return empty;
}

} // namespace

StudioLook::StudioLook() : data(nothing<KivMemoryDataManager>()) {}

StudioLook::StudioLook(const KivMemoryDataManager& stream) : data(std::make_shared<KivMemoryDataManager>(stream)) {}

const KivMemoryDataManager& StudioLook::stream() const {
    return *data;
}

const std::vector<KivProperty>& StudioLook::getCells() const {
    return data->getCells();
}

KivMemoryDataManager& StudioLook::edit() {
    return detach(data);
}

bool StudioLook::shares(const StudioLook& other) const {
    return data == other.data;
}

const void* StudioLook::place() const {
    return data.get();
}

bool StudioLook::operator==(const StudioLook& other) const {
    return shares(other) || std::equal(getCells().begin(), getCells().end(), other.getCells().begin(),
                                       other.getCells().end(), equalCells);
}

StudioObjectLooks::StudioObjectLooks() : data(nothing<Map>()) {}

const StudioObjectLooks::Map& StudioObjectLooks::map() const {
    return *data;
}

StudioObjectLooks::Map& StudioObjectLooks::edit() {
    return detach(data);
}

StudioObjectLooks::Map::const_iterator StudioObjectLooks::begin() const {
    return data->begin();
}

StudioObjectLooks::Map::const_iterator StudioObjectLooks::end() const {
    return data->end();
}

StudioObjectLooks::Map::const_iterator StudioObjectLooks::find(int mesh) const {
    return map().find(mesh);
}

const StudioLook& StudioObjectLooks::at(int mesh) const {
    return map().at(mesh);
}

bool StudioObjectLooks::contains(int mesh) const {
    return data->contains(mesh);
}

std::size_t StudioObjectLooks::size() const {
    return data->size();
}

bool StudioObjectLooks::empty() const {
    return data->empty();
}

void StudioObjectLooks::clear() {
    data = nothing<Map>();
}

void StudioObjectLooks::erase(int mesh) {
    if (contains(mesh)) {
        edit().erase(mesh);
    }
}

bool StudioObjectLooks::shares(const StudioObjectLooks& other) const {
    return data == other.data;
}

bool StudioObjectLooks::operator==(const StudioObjectLooks& other) const {
    return shares(other) || map() == other.map();
}
