#include "kivtiletriangles.h"

#include "kivrender/shader/kivpicturetile.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// Pixels by which a triangle may be rounded across the edge of a tile.
constexpr float slack = 1.0F;

} // namespace

const std::vector<std::uint32_t>& kivTrianglesInTile(const float* points, std::size_t stride,
                                                     const std::vector<std::uint32_t>& indices,
                                                     std::vector<std::uint32_t>& scratch) {
    const KivPictureTile* const tile = kivPictureTile();
    if (tile == nullptr) {
        return indices;
    }
    const auto left = static_cast<float>(tile->left) - slack;
    const auto bottom = static_cast<float>(tile->bottom) - slack;
    const auto right = static_cast<float>(tile->left + tile->size.cx) + slack;
    const auto top = static_cast<float>(tile->bottom + tile->size.cy) + slack;
    const auto at = [&](std::uint32_t vertex) {
        std::array<float, 2> place;
        std::memcpy(place.data(), reinterpret_cast<const unsigned char*>(points) + vertex * stride, sizeof place);
        return place;
    };
    scratch.clear();
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        const auto [ax, ay] = at(indices[i]);
        const auto [bx, by] = at(indices[i + 1]);
        const auto [cx, cy] = at(indices[i + 2]);
        if (std::max({ax, bx, cx}) >= left && std::min({ax, bx, cx}) <= right && std::max({ay, by, cy}) >= bottom &&
            std::min({ay, by, cy}) <= top) {
            scratch.insert(scratch.end(), {indices[i], indices[i + 1], indices[i + 2]});
        }
    }
    return scratch;
}
