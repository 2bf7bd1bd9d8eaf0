// Which objects of a model are drawn, which are seen through, and which have another colour than their file gives them.
#ifndef APPS_DOCUMENT_STUDIOOBJECTS_H
#define APPS_DOCUMENT_STUDIOOBJECTS_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

class KivMesh;
class KivScene;

struct StudioObjectState {
    bool hidden = false;
    bool ghost = false;                                 // seen through
    std::optional<std::uint32_t> colour = std::nullopt; // red in the low byte

    bool isPlain() const {
        return !hidden && !ghost && !colour;
    }
    bool operator==(const StudioObjectState&) const = default;
    auto operator<=>(const StudioObjectState&) const = default;
};

// The states of the meshes that are not as their file has them. Copies share the list until one of them is changed.
class StudioObjectStates {
public:
    using Map = std::map<int, StudioObjectState>;

    const Map& map() const;
    bool empty() const;
    StudioObjectState at(int mesh) const; // plain for those that are not in the list
    void set(int mesh, const StudioObjectState& state);
    bool hasGhosts() const;

    bool operator==(const StudioObjectStates& other) const;

private:
    std::shared_ptr<Map> data; // null for none
};

// A scene that shares the meshes that are shown, and all lines and points.
KivScene shownScene(const KivScene& scene, const StudioObjectStates& states);

// Gives the mesh the material that it is drawn with in that state. False where that is its own.
bool paintObject(KivMesh* mesh, const StudioObjectState& state);

#endif
