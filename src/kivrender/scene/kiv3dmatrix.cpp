#include "kivrender/scene/kiv3dmatrix.h"

#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"

namespace {

// Determinant of three columns of the upper three rows.
double columnDeterminant(const double (&m)[4][4], int a, int b, int c) {
    return m[0][a] * (m[1][b] * m[2][c] - m[1][c] * m[2][b]) - m[0][b] * (m[1][a] * m[2][c] - m[1][c] * m[2][a]) +
           m[0][c] * (m[1][a] * m[2][b] - m[1][b] * m[2][a]);
}

} // namespace

Kiv3DMatrix& Kiv3DMatrix::setToIdentity() {
    *this = Kiv3DMatrix();
    return *this;
}

double Kiv3DMatrix::determinant() const {
    return columnDeterminant(elements, 0, 1, 2);
}

bool Kiv3DMatrix::getInverse(Kiv3DMatrix& target, double tolerance) const {
    const double d = determinant();
    if (d >= -tolerance && d <= tolerance) {
        return false;
    }
    const auto& m = elements;
    auto& t = target.elements;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            // Counting on round the block instead of leaving out a row and a column gives the cofactor its sign.
            const int r1 = (column + 1) % 3;
            const int r2 = (column + 2) % 3;
            const int c1 = (row + 1) % 3;
            const int c2 = (row + 2) % 3;
            t[row][column] = (m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1]) / d;
        }
    }
    t[0][3] = -columnDeterminant(m, 1, 2, 3) / d;
    t[1][3] = columnDeterminant(m, 0, 2, 3) / d;
    t[2][3] = -columnDeterminant(m, 0, 1, 3) / d;
    return true;
}

Kiv3DMatrix Kiv3DMatrix::inverse() const {
    Kiv3DMatrix result;
    // A matrix without an inverse answers the identity that result started as.
    (void)getInverse(result, 1e-6);
    return result;
}

Kiv3DMatrix& Kiv3DMatrix::invert() {
    *this = inverse();
    return *this;
}

Kiv3DMatrix& Kiv3DMatrix::setCoordSystem(const Kiv3DPoint& origin, const Kiv3DVector& xAxis, const Kiv3DVector& yAxis,
                                         const Kiv3DVector& zAxis) {
    const double rows[3][4] = {{xAxis.x, yAxis.x, zAxis.x, origin.x},
                               {xAxis.y, yAxis.y, zAxis.y, origin.y},
                               {xAxis.z, yAxis.z, zAxis.z, origin.z}};
    setToIdentity();
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            elements[row][column] = rows[row][column];
        }
    }
    return *this;
}

Kiv3DMatrix& Kiv3DMatrix::setToNormalizedCoordSystem(const Kiv3DPoint& origin, const Kiv3DVector& xAxis,
                                                     const Kiv3DVector& yAxis, const Kiv3DVector& zAxis) {
    return setCoordSystem(origin, xAxis.normal(), yAxis.normal(), zAxis.normal());
}

Kiv3DMatrix& Kiv3DMatrix::setToWorldToLocal(const Kiv3DPoint& origin, const Kiv3DVector& xAxis,
                                            const Kiv3DVector& yAxis, const Kiv3DVector& zAxis) {
    setToNormalizedCoordSystem(origin, xAxis, yAxis, zAxis);
    return invert();
}
