#include "kivrender/scene/kivshared.h"

#include <mutex>
#include <unordered_map>

namespace {

struct Registry {
    std::mutex mutex;
    std::unordered_map<const void*, std::weak_ptr<void>> records;
};

// Never destroyed: objects with static lifetime, such as a host, may still hold scenes when the process ends.
Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

} // namespace

std::shared_ptr<void> kivSharedRecord(const void* address, const std::function<std::shared_ptr<void>()>& create) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    std::weak_ptr<void>& entry = all.records[address];
    std::shared_ptr<void> record = entry.lock();
    if (record == nullptr) {
        record = create();
        entry = record;
    }
    return record;
}

void kivForgetShared(const void* address) {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.records.erase(address);
}
