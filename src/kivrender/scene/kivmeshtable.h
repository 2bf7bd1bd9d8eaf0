// Facts about meshes that are kept beside them, so that they keep their binary form: a table by address.
#ifndef KIVRENDER_SCENE_KIVMESHTABLE_H
#define KIVRENDER_SCENE_KIVMESHTABLE_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <utility>

class KivMesh;

// One table of a kind; Value is cheap to copy, and a fresh one stands for nothing. May be used from several threads,
// for different meshes. Tables are never deleted: meshes that are static objects go later than any of ours would.
template <class Value> class KivMeshTable {
public:
    void set(const KivMesh& mesh, Value value) {
        if (value == Value{} && count == 0) {
            return;
        }
        const std::scoped_lock lock(guard);
        if (value == Value{}) {
            // What goes may be a mesh itself, which asks here in its turn: after the lock.
            if (const auto found = entries.find(&mesh); found != entries.end()) {
                std::swap(found->second, value);
                entries.erase(found);
            }
        } else {
            std::swap(entries[&mesh], value); // what it had before goes after the lock
        }
        count = entries.size();
    }

    Value get(const KivMesh& mesh) {
        if (count == 0) {
            return Value{};
        }
        const std::scoped_lock lock(guard);
        const auto found = entries.find(&mesh);
        return found != entries.end() ? found->second : Value{};
    }

private:
    std::mutex guard;
    std::unordered_map<const KivMesh*, Value> entries;
    // So that scenes of plain meshes, of which each asks when it goes, wait for nobody.
    std::atomic<std::size_t> count{0};
};

#endif
