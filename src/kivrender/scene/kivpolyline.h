// A run of straight lines through points, open or closed, with an optional normal at each point.
//
// Hosts add them to a scene for what is a line in the model itself: cables, axes, sewing patterns. Lines are drawn by
// the line shaders and in vector drawings, in their own colour; they hide nothing and throw no shadow.
// KivScene::addPolyline takes one over and deletes it. Coordinates are in model units.
#ifndef KIVRENDER_SCENE_KIVPOLYLINE_H
#define KIVRENDER_SCENE_KIVPOLYLINE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivmaterial.h"

#include <cstdint>
#include <vector>

class KIV_API KivPolyline : public Kiv3DObject {
public:
    // Empty, open, colour 0, default material.
    KivPolyline();
    // A copy comes without normals and without shader settings; assignment and moving take both over.
    KivPolyline(const KivPolyline& other);
    KivPolyline(KivPolyline&& other) noexcept;
    KivPolyline& operator=(const KivPolyline&) = default;
    KivPolyline& operator=(KivPolyline&&) noexcept = default;
    ~KivPolyline() override;

    // Whether the last point joins the first.
    // Of a closed one the first point is not repeated at the end.
    bool isClosed() const;
    void setClosed(bool value);
    // Append a point; memory grows as that of a vector does.
    void addPoint(double x, double y, double z);
    void addPoint(const Kiv3DPoint& point);
    void addPoint(const Kiv3DPoint& point, const Kiv3DVector& normal);
    // Normals belong to the points of the same index; keeping the two in step is the caller's business.
    void addNormal(const Kiv3DVector& normal);
    // How many points there are; the number of normals may be another.
    int numPoints() const;
    // Indices are not checked.
    Kiv3DPoint getPoint(int index) const;
    Kiv3DVector getNormal(int index) const;
    // Whether there is any normal.
    bool hasNormals() const;
    // Red in the low byte, then green, then blue.
    std::uint32_t getColor() const;
    void setColor(std::uint32_t value);
    // The material is copied in, by assignment.
    void setMaterial(KivMaterial& value);
    // The polyline's own material.
    const KivMaterial* getMaterial() const;
    // Removes points and normals, sets colour 0 and open; the material stays.
    void clear();

private:
    std::vector<Kiv3DPoint> points;
    std::vector<Kiv3DVector> normals;
    // Whether the last point joins the first.
    bool closed = false;
    std::uint32_t color = 0;
    KivMaterial material;
};

#endif
