// The ordered triangle list as it is defined: binary insertion, one triangle at a time, both distances computed anew
// for each comparison.
#ifndef TESTS_REFERENCE_LITERALTRIANGLEORDER_H
#define TESTS_REFERENCE_LITERALTRIANGLEORDER_H

#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivscene.h"

#include <vector>

class LiteralTriangleOrder {
public:
    struct Record {
        int mesh;
        int triangle;
        friend bool operator==(const Record&, const Record&) = default;
    };

    explicit LiteralTriangleOrder(const KivScene& theScene) : scene(theScene) {}

    void order(const KivCamera& camera, bool transparentOnly) {
        for (unsigned int i = 0; i < scene.numMeshes(); ++i) {
            const KivMesh* mesh = scene.getMesh(i);
            if (transparentOnly && !(mesh->getMaterial()->getTransparency() < 1.0)) {
                continue;
            }
            for (unsigned int t = 0; t < mesh->getNumTriangles(); ++t) {
                const Record record{static_cast<int>(i), static_cast<int>(t)};
                records.insert(records.begin() + dicotomicSearch(record, camera), record);
            }
        }
    }

    std::vector<Record> records;

private:
    double squaredDistance(Record record, const KivCamera& camera) const {
        return scene.getMesh(static_cast<unsigned int>(record.mesh))
            ->getTriangleBaricentre(static_cast<unsigned int>(record.triangle))
            .squaredDistanceTo(camera.getLocation());
    }

    bool isMoreTriangles(Record a, Record b, const KivCamera& camera) const {
        return squaredDistance(a, camera) > squaredDistance(b, camera);
    }

    int dicotomicSearch(Record t, const KivCamera& camera) const {
        const int n = static_cast<int>(records.size());
        if (n == 0) {
            return 0;
        }
        if (n == 1) {
            return isMoreTriangles(t, records[0], camera) ? 0 : 1;
        }
        int low = 0;
        int high = n - 1;
        while (low < high) {
            const int mid = (low + high + 1) / 2;
            if (isMoreTriangles(t, records[static_cast<std::size_t>(mid)], camera)) {
                high = mid - 1;
            } else {
                low = mid;
            }
        }
        return isMoreTriangles(t, records[static_cast<std::size_t>(low)], camera) ? low : low + 1;
    }

    const KivScene& scene;
};

#endif
