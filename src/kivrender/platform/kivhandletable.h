// The handles of the platform folder: numbers in the shape of a pointer, given out once in the life of the process, so
// that a handle whose object is gone can be told from any later one. Each object counts its owners.
#ifndef KIVRENDER_PLATFORM_KIVHANDLETABLE_H
#define KIVRENDER_PLATFORM_KIVHANDLETABLE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

// One sequence for all tables: a bitmap's handle is not a file's either.
std::uintptr_t kivNextHandleNumber();

template <typename Object, typename Handle> class KivHandleTable {
public:
    // The new handle has one owner.
    Handle add(std::shared_ptr<Object> object) {
        const std::uintptr_t number = kivNextHandleNumber();
        const std::lock_guard<std::mutex> guard(mutex);
        entries.emplace(number, Entry{std::move(object), 1});
        return reinterpret_cast<Handle>(number);
    }

    // Null for a handle that is not, or no longer, in the table.
    std::shared_ptr<Object> find(Handle handle) const {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto entry = entries.find(reinterpret_cast<std::uintptr_t>(handle));
        return entry != entries.end() ? entry->second.object : nullptr;
    }

    bool share(Handle handle) {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto entry = entries.find(reinterpret_cast<std::uintptr_t>(handle));
        if (entry == entries.end()) {
            return false;
        }
        ++entry->second.owners;
        return true;
    }

    bool release(Handle handle) {
        std::shared_ptr<Object> last; // destroyed after the lock is given back: that can take long or come back here
        const std::lock_guard<std::mutex> guard(mutex);
        const auto entry = entries.find(reinterpret_cast<std::uintptr_t>(handle));
        if (entry == entries.end()) {
            return false;
        }
        if (--entry->second.owners == 0) {
            last = std::move(entry->second.object);
            entries.erase(entry);
        }
        return true;
    }

private:
    struct Entry {
        std::shared_ptr<Object> object;
        std::size_t owners;
    };

    mutable std::mutex mutex;
    std::unordered_map<std::uintptr_t, Entry> entries;
};

#endif
