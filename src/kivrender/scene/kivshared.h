// One object that was handed to several owners, freed once.
//
// The interface hands over plain pointers, and the same one may reach two owners: a scene is copied with its meshes, an
// object with its settings pages, a page is added to two meshes. All that refer to one object then share one record of
// it, whichever way the pointer came, and the last of them to go deletes the object.
#ifndef KIVRENDER_SCENE_KIVSHARED_H
#define KIVRENDER_SCENE_KIVSHARED_H

#include <functional>
#include <memory>
#include <utility>

// The living record of that address, or the one that create makes for it.
std::shared_ptr<void> kivSharedRecord(const void* address, const std::function<std::shared_ptr<void>()>& create);
// The address has no record any longer.
void kivForgetShared(const void* address);

template <class T> class KivShared {
public:
    using Pointer = std::shared_ptr<KivShared>;

    // Takes the object into ownership, together with all others that keep it. Null is kept as null.
    static Pointer keep(T* object) {
        if (object == nullptr) {
            return lend(nullptr);
        }
        const auto create = [object] {
            return std::static_pointer_cast<void>(std::make_shared<KivShared>(object, true));
        };
        return std::static_pointer_cast<KivShared>(kivSharedRecord(object, create));
    }
    // Refers to an object that stays the giver's.
    static Pointer lend(T* object) {
        return std::make_shared<KivShared>(object, false);
    }
    // Drops a reference without deleting: the object is the caller's then, unless others still keep it.
    static void giveBack(Pointer reference) {
        if (reference.use_count() == 1 && std::exchange(reference->owned, false)) {
            kivForgetShared(reference->object);
        }
    }

    KivShared(T* target, bool isOwned) : object(target), owned(isOwned) {}
    KivShared(const KivShared&) = delete;
    KivShared& operator=(const KivShared&) = delete;
    ~KivShared() {
        if (owned) {
            kivForgetShared(object);
            delete object;
        }
    }

    T* get() const {
        return object;
    }

private:
    T* object;
    bool owned;
};

#endif
