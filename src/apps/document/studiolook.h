// Looks of documents, as values that share their memory: a history of many steps over a model of many objects holds
// each look once.
#ifndef APPS_DOCUMENT_STUDIOLOOK_H
#define APPS_DOCUMENT_STUDIOLOOK_H

#include "kivrender/settings/kivmemorydatamanager.h"

#include <map>
#include <memory>
#include <vector>

// One settings stream. Copies share it until one of them is edited.
class StudioLook {
public:
    StudioLook();
    StudioLook(const KivMemoryDataManager& stream); // NOLINT(google-explicit-constructor): it is one

    const KivMemoryDataManager& stream() const;
    const std::vector<KivProperty>& getCells() const;
    // No other look changes with it. Call setSaving before writing, as with any copy of a stream.
    KivMemoryDataManager& edit();

    // Whether both are in one place of memory, and that place.
    bool shares(const StudioLook& other) const;
    const void* place() const;
    // By the cells. A number that is none counts as equal to another such.
    bool operator==(const StudioLook& other) const;

private:
    std::shared_ptr<KivMemoryDataManager> data; // never null
};

// The looks of the meshes that have one of their own, by mesh. Copies share the list until one of them is changed.
class StudioObjectLooks {
public:
    using Map = std::map<int, StudioLook>;

    StudioObjectLooks();

    const Map& map() const;
    Map& edit();

    Map::const_iterator begin() const;
    Map::const_iterator end() const;
    Map::const_iterator find(int mesh) const;
    const StudioLook& at(int mesh) const;
    bool contains(int mesh) const;
    std::size_t size() const;
    bool empty() const;
    void clear();
    void erase(int mesh);

    bool shares(const StudioObjectLooks& other) const;
    bool operator==(const StudioObjectLooks& other) const;

private:
    std::shared_ptr<Map> data; // never null
};

#endif
