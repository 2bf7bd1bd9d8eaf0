#include "import/reader/surfacejoin.h"

#include <cstdint>
#include <map>
#include <tuple>
#include <utility>

namespace kivimport {
namespace {

// Surfaces that agree in this may become one: node, material, whether they have normals, paint, colours and a rest
// pose.
using Kind = std::tuple<std::uint32_t, std::uint32_t, bool, bool, bool, bool>;

Kind kindOf(const Surface& surface) {
    const Surface::Part& part = surface.parts.front();
    return {part.node,
            part.material,
            surface.cornerNormals.empty(),
            surface.cornerPaint.empty(),
            surface.isPaintColour,
            surface.restPositions.empty()};
}

void append(Points& to, const Points& more) {
    to.insert(to.end(), more.begin(), more.end());
}

void appendIndices(Indices& to, const Indices& more, std::size_t offset) {
    for (const std::uint32_t index : more) {
        to.push_back(index == noIndex ? noIndex : index + static_cast<std::uint32_t>(offset));
    }
}

void appendSurface(Surface& to, const Surface& more) {
    appendIndices(to.corners, more.corners, to.positions.size());
    appendIndices(to.cornerNormals, more.cornerNormals, to.normals.size());
    appendIndices(to.cornerPaint, more.cornerPaint, to.paint.size());
    append(to.positions, more.positions);
    append(to.normals, more.normals);
    append(to.paint, more.paint);
    append(to.restPositions, more.restPositions);
    append(to.restNormals, more.restNormals);
}

} // namespace

void joinSurfaces(std::vector<Surface>& surfaces, std::size_t first, const std::string& name) {
    std::map<Kind, std::size_t> places;
    std::size_t numKept = first;
    for (std::size_t i = first; i < surfaces.size(); ++i) {
        const auto [place, isNew] = places.try_emplace(kindOf(surfaces[i]), numKept);
        Surface& kept = surfaces[place->second];
        if (!isNew && kept.positions.size() + surfaces[i].positions.size() < noIndex) {
            appendSurface(kept, surfaces[i]);
            kept.parts.front().name = name.empty() ? kept.parts.front().name : name;
            continue;
        }
        place->second = numKept;
        if (numKept != i) {
            surfaces[numKept] = std::move(surfaces[i]);
        }
        ++numKept;
    }
    surfaces.resize(numKept);
}

} // namespace kivimport
