// A map between coordinate frames: 4 by 4 doubles, row major; points are column vectors, matrix times point. A plain
// value. Plug-ins meet it as the argument of Kiv3DPoint::transformBy only.
#ifndef KIVRENDER_SCENE_KIV3DMATRIX_H
#define KIVRENDER_SCENE_KIV3DMATRIX_H

#include "kivrender/platform/kivexport.h"

class Kiv3DPoint;
class Kiv3DVector;

class KIV_API Kiv3DMatrix {
public:
    // The identity.
    Kiv3DMatrix() = default;

    // Returns this matrix, as all operations do that change it.
    Kiv3DMatrix& setToIdentity();

    // Determinant of the upper left 3 by 3 block; the fourth row and column take no part.
    double determinant() const;
    // Writes the inverse of this matrix, taken as affine, into the upper three rows of target; the fourth row stays as
    // it came. False, with nothing written, if the determinant is within tolerance of zero. target is another matrix.
    bool getInverse(Kiv3DMatrix& target, double tolerance) const;
    // The inverse; the identity if the determinant is within 1e-6 of zero.
    Kiv3DMatrix inverse() const;
    Kiv3DMatrix& invert();

    // The map from the frame with that origin and those axes to world coordinates. The axes are used as given.
    Kiv3DMatrix& setCoordSystem(const Kiv3DPoint& origin, const Kiv3DVector& xAxis, const Kiv3DVector& yAxis,
                                const Kiv3DVector& zAxis);
    // The same with normaliced axes.
    Kiv3DMatrix& setToNormalizedCoordSystem(const Kiv3DPoint& origin, const Kiv3DVector& xAxis,
                                            const Kiv3DVector& yAxis, const Kiv3DVector& zAxis);
    // The map from world coordinates into the frame with normaliced axes.
    Kiv3DMatrix& setToWorldToLocal(const Kiv3DPoint& origin, const Kiv3DVector& xAxis, const Kiv3DVector& yAxis,
                                   const Kiv3DVector& zAxis);

    // By row, then column.
    double elements[4][4] = {{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}};
};

#endif
