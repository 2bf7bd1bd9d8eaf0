// The list of triangles from far to near while it grows.
//
// The list is defined by binary insertion: each triangle goes behind the last one that is at least as far away as the
// search meets it. Over distances that are numbers this is a stable sort, and is done as one. A distance that is not a
// number compares with nothing, and a list that was ordered for another camera or whose meshes have changed is not in
// order: there the place of a triangle hangs on the very probes of the search, so the insertion is made as defined, in
// blocks, so that no insertion moves the whole tail.
#ifndef KIVRENDER_SCENE_KIVTRIANGLEORDER_H
#define KIVRENDER_SCENE_KIVTRIANGLEORDER_H

#include "kivrender/scene/kivscene.h"

#include <cstddef>
#include <vector>

class KivTriangleOrder {
public:
    // A triangle and the squared distance of its middle from the eye.
    struct Entry {
        double distance = 0.0;
        KivScene::meshTriangle triangle;
    };

    // Inserts all of `added`, in their order, into `list`, which may be in any order.
    static void insertAll(std::vector<Entry>& list, std::vector<Entry>&& added);

    // The insertion as it is defined, whatever the distances are.
    static void insertOneByOne(std::vector<Entry>& list, const std::vector<Entry>& added);

private:
    friend struct KivTestAccess;

    explicit KivTriangleOrder(const std::vector<Entry>& list);

    static bool isMoreTriangles(const Entry& a, const Entry& b);
    static void sortFarToNear(std::vector<Entry>& entries);

    const Entry& at(std::size_t index) const;
    std::size_t blockOf(std::size_t index) const;
    // Where the entry belongs.
    std::size_t dicotomicSearch(const Entry& entry) const;
    void insertOrderlyTriangles(const Entry& entry, std::size_t position);

    std::vector<std::vector<Entry>> blocks; // never without one
    std::vector<std::size_t> starts;        // the index of the first entry of each block
    std::size_t size = 0;
};

#endif
