#include "kivrender/render/shadowtones.h"

#include "kivrender/lines/regions/regiongrid.h"
#include "kivrender/render/recordedpage.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr std::size_t vertexFloats = 7;
constexpr std::size_t itemsPerPoll = 4096;

bool readFaces(std::span<const float> recorded, double width, double height, RegionFaces& faces) {
    LibraryFeedback feedback(recorded);
    FeedbackItem item;
    std::vector<KivSeenCorner> corners;
    for (std::size_t i = 0; feedback.next(item); ++i) {
        if (i % itemsPerPoll == 0 && kivIsCancelled()) {
            return false;
        }
        if (item.token != FeedbackToken::polygon || item.count < 3) {
            continue;
        }
        corners.clear();
        for (int k = 0; k < item.count; ++k) {
            const float* const v = item.vertices + vertexFloats * static_cast<std::size_t>(k);
            corners.push_back({v[0], v[1], v[2]});
        }
        faces.add(corners, kivPaintOf(item, feedback.state()).color, width, height);
    }
    return faces.build();
}

} // namespace

bool ShadowTones::read(const CollectedShadows& shadows, double width, double height) {
    numLights = shadows.cast.numLights();
    return readFaces(shadows.withoutAny, width, height, withoutAny) &&
           readFaces(shadows.emission, width, height, emission);
}

std::optional<ShadowTones::Shade> ShadowTones::shadeAt(double x, double y, unsigned int lost) const {
    const std::uint32_t recorded = withoutAny.lookAt(x * RegionGrid::steps, y * RegionGrid::steps);
    if (recorded == RegionFaces::noLook || lost == 0) {
        return std::nullopt;
    }
    const std::uint32_t own = emission.lookAt(x * RegionGrid::steps, y * RegionGrid::steps);
    return Shade{lost, recorded, own != RegionFaces::noLook ? own : 0};
}

// Each light has the same share in a colour, as in pictures.
std::uint32_t ShadowTones::colorOf(const Shade& shade, std::uint32_t lit, std::uint32_t dark) const {
    std::uint32_t color = 0;
    for (const unsigned int shift : {0U, 8U, 16U}) {
        const double from = lit >> shift & 0xFFU;
        const double to = std::min(255.0, 0.0 + (dark >> shift & 0xFFU) + (shade.own >> shift & 0xFFU));
        color |= static_cast<std::uint32_t>(std::lround(from + (to - from) * shade.lost / numLights)) << shift;
    }
    return color;
}
