// The list of triangles from far to near while it grows: what paints over what (Newell, Newell and Sancha, A Solution
// to the Hidden Surface Problem, 1972), by the distances of their middles alone.
//
// The list is defined by binary insertion: each triangle goes behind the last one that is at least as far away as the
// search meets it. Over distances that are numbers this is a stable sort, and is done as one. A distance that is not a
// number compares with nothing, and a list that was ordered for another camera or whose meshes have changed is not in
// order: there the place of a triangle hangs on the very probes of the search, so the insertion is made as defined, in
// groups of blocks, so that no insertion moves the whole tail.
#ifndef KIVRENDER_SCENE_KIVTRIANGLEORDER_H
#define KIVRENDER_SCENE_KIVTRIANGLEORDER_H

#include "kivrender/scene/kivscene.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KivTriangleOrder {
public:
    // A triangle and the squared distance of its middle from the eye.
    struct Entry {
        double distance = 0.0;
        KivScene::meshTriangle triangle;
    };

    // Inserts all of `added`, in their order, into `list`, which may be in any order. False after a cancel, with the
    // list as it was.
    static bool insertAll(std::vector<Entry>& list, std::vector<Entry>&& added);

    // The insertion as it is defined, whatever the distances are.
    static bool insertOneByOne(std::vector<Entry>& list, const std::vector<Entry>& added);

private:
    // A block is cut in two when it has grown to this many entries, a group when it has so many blocks.
    static constexpr std::size_t largestBlock = 256;
    static constexpr std::size_t largestGroup = 256;

    struct Group {                         // never without a block
        std::vector<std::uint32_t> starts; // the index of the first entry of each block, from the group's start
        std::vector<std::vector<Entry>> blocks;
    };
    struct Place {
        std::size_t group;
        std::size_t block;
        std::size_t index; // in the block
    };

    explicit KivTriangleOrder(const std::vector<Entry>& list);

    static bool isMoreTriangles(const Entry& a, const Entry& b);
    static bool merge(std::vector<Entry>& list, const std::vector<Entry>& added);

    // Where the entry of that index is; it lies between the two places.
    Place placeOf(std::size_t index, const Place& low, const Place& high) const;
    Place lastPlace() const;
    // Where the entry belongs; its index may be one behind its block's last.
    Place dicotomicSearch(const Entry& entry) const;
    void insertOrderlyTriangles(const Entry& entry, const Place& place);
    static void splitBlock(Group& group, std::size_t block);
    void splitGroup(std::size_t number);

    std::vector<Group> groups;            // never without one
    std::vector<std::size_t> groupStarts; // the index of the first entry of each group
    std::size_t size = 0;
};

#endif
