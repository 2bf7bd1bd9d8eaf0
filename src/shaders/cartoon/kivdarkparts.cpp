#include "kivdarkparts.h"

#include "kivrender/geometry/disjointsets.h"
#include "kivrender/geometry/kivsurface.h"
#include "kivrender/scene/kivmesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

namespace {

// Meshes of one tone at one place. owners: by point the number of its mesh.
void joinAtPlaces(const std::vector<KivDarkMesh>& meshes, const std::vector<std::uint32_t>& places,
                  const std::vector<std::uint32_t>& owners, DisjointSets& parts) {
    std::map<KivTone, std::uint32_t> tones;
    std::vector<std::uint32_t> toneOf;
    for (const KivDarkMesh& mesh : meshes) {
        toneOf.push_back(tones.try_emplace(mesh.tone, static_cast<std::uint32_t>(tones.size())).first->second);
    }
    std::vector<std::array<std::uint32_t, 3>> entries; // place, tone, mesh
    entries.reserve(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        entries.push_back({places[i], toneOf[owners[i]], owners[i]});
    }
    std::sort(entries.begin(), entries.end());
    for (std::size_t i = 1; i < entries.size(); ++i) {
        if (entries[i][0] == entries[i - 1][0] && entries[i][1] == entries[i - 1][1]) {
            parts.join(entries[i][2], entries[i - 1][2]);
        }
    }
}

} // namespace

double kivSizeOf(const std::vector<const KivMesh*>& meshes) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Kiv3DPoint low(infinity, infinity, infinity);
    Kiv3DPoint high(-infinity, -infinity, -infinity);
    for (const KivMesh* const mesh : meshes) {
        for (unsigned int i = 0; i < mesh->getNumVertexs(); ++i) {
            const Kiv3DPoint point = mesh->getVertex(i);
            low.set(std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z));
            high.set(std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z));
        }
    }
    const double size = std::hypot(high.x - low.x, high.y - low.y, high.z - low.z);
    return std::isfinite(size) ? size : 0.0;
}

void kivMeasureDarkParts(std::vector<KivDarkMesh>& meshes) {
    DisjointSets parts(meshes.size());
    if (meshes.size() > 1) {
        std::vector<KivVec> points;
        std::vector<std::uint32_t> owners;
        for (std::uint32_t m = 0; m < meshes.size(); ++m) {
            for (unsigned int i = 0; i < meshes[m].mesh->getNumVertexs(); ++i) {
                const Kiv3DPoint p = meshes[m].mesh->getVertex(i);
                points.push_back({p.x, p.y, p.z});
                owners.push_back(m);
            }
        }
        std::uint32_t count = 0;
        bool isCancelled = false;
        const std::vector<std::uint32_t> places = kivWeldPoints(points, &count, &isCancelled);
        if (!isCancelled) {
            joinAtPlaces(meshes, places, owners, parts);
        }
    }
    std::map<std::uint32_t, std::vector<const KivMesh*>> members;
    for (std::uint32_t m = 0; m < meshes.size(); ++m) {
        members[parts.find(m)].push_back(meshes[m].mesh);
    }
    std::map<std::uint32_t, double> sizes;
    for (const auto& [part, all] : members) {
        sizes[part] = kivSizeOf(all);
    }
    for (std::uint32_t m = 0; m < meshes.size(); ++m) {
        meshes[m].size = sizes[parts.find(m)];
    }
}
