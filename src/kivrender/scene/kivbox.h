// An axis-parallel box in model units: a plain value. Nothing keeps minimum below maximum: the box of an empty mesh is
// infinite and turned inside out, and no operation repairs one.
//
// KivMesh::getBoundingBox and KivScene give boxes; a host reads them to place a camera, and a plug-in to scale what it
// draws by the size of an object. An empty mesh's box says so by a minimum above its maximum:
//
//     const KivBox& box = *mesh.getBoundingBox();
//     const bool isEmpty = box.getXMin() > box.getXMax();
//
// Copies are cheap and independent. No operation fails or throws; NaN goes in and comes out.
#ifndef KIVRENDER_SCENE_KIVBOX_H
#define KIVRENDER_SCENE_KIVBOX_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"

class KIV_API KivBox {
public:
    // All six bounds 0.0.
    KivBox() = default;
    // In pairs of axis by axis, minimum first; taken as they come.
    KivBox(double newXMin, double newXMax, double newYMin, double newYMax, double newZMin, double newZMax)
        : xMin(newXMin), xMax(newXMax), yMin(newYMin), yMax(newYMax), zMin(newZMin), zMax(newZMax) {}

    // The two bounds on each axis, in model units. A setter changes its own bound alone, even past the other one.
    double getXMin() const {
        return xMin;
    }
    void setXMin(double value) {
        xMin = value;
    }
    double getXMax() const {
        return xMax;
    }
    void setXMax(double value) {
        xMax = value;
    }
    double getYMin() const {
        return yMin;
    }
    void setYMin(double value) {
        yMin = value;
    }
    double getYMax() const {
        return yMax;
    }
    void setYMax(double value) {
        yMax = value;
    }
    double getZMin() const {
        return zMin;
    }
    void setZMin(double value) {
        zMin = value;
    }
    double getZMax() const {
        return zMax;
    }
    void setZMax(double value) {
        zMax = value;
    }

    // Maximum minus minimum, neither checked nor clamped.
    double getXSize() const {
        return xMax - xMin;
    }
    double getYSize() const {
        return yMax - yMin;
    }
    double getZSize() const {
        return zMax - zMin;
    }

    // All six bounds belong to the box.
    // Whether the point lies in the box. Never for a box turned inside out.
    bool isInside(Kiv3DPoint point) const;
    // From corner to opposite corner.
    // Positive for a box turned inside out too, since it is a root of squares.
    double diagonalDistance() const;
    // The smallest of the three sizes; negative for a box turned inside out.
    double minDistance() const;

private:
    double xMin = 0.0;
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    double zMin = 0.0;
    double zMax = 0.0;
};

#endif
