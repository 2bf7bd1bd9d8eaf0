#include "import/cad/cadedges.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <BRepAdaptor_Surface.hxx>
#include <BRep_Tool.hxx>
#include <Geom2d_Curve.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <gp_Cone.hxx>
#include <gp_Cylinder.hxx>
#include <gp_Pln.hxx>
#include <gp_Sphere.hxx>
#include <gp_Torus.hxx>

namespace kivimport {
namespace {

const TopoDS_Face& faceOf(const TopTools_IndexedMapOfShape& faces, std::uint32_t number) {
    return TopoDS::Face(faces(static_cast<int>(number) + 1));
}

// How far two surfaces may be from each other, by a size of theirs, and still be one: files give twelve digits, and
// programs compute to eight.
constexpr double sameSurface = 1e-6;
constexpr double sameDirection = 1e-5; // radians

bool isSame(double one, double other) {
    return std::abs(one - other) <= sameSurface * std::max(std::abs(one), std::abs(other));
}

bool isSame(const gp_Ax1& one, const gp_Ax1& other, double size) {
    return one.IsCoaxial(other, sameDirection, sameSurface * size) ||
           one.IsCoaxial(other.Reversed(), sameDirection, sameSurface * size);
}

bool isSame(const gp_Cone& one, const gp_Cone& other) {
    const double size = one.RefRadius() + other.RefRadius() + one.Location().Distance(other.Location());
    return std::abs(std::abs(one.SemiAngle()) - std::abs(other.SemiAngle())) <= sameDirection &&
           isSame(one.Axis(), other.Axis(), size) && one.Apex().Distance(other.Apex()) <= sameSurface * size;
}

bool isSame(const gp_Torus& one, const gp_Torus& other) {
    return isSame(one.MajorRadius(), other.MajorRadius()) && isSame(one.MinorRadius(), other.MinorRadius()) &&
           isSame(one.Axis(), other.Axis(), one.MajorRadius()) &&
           one.Location().Distance(other.Location()) <= sameSurface * one.MajorRadius();
}

// At one angle of a surface of revolution.
bool isMeridian(const TopoDS_Edge& edge, const TopoDS_Face& face) {
    double first = 0.0;
    double last = 0.0;
    const Handle(Geom2d_Curve) curve = BRep_Tool::CurveOnSurface(edge, face, first, last);
    if (curve.IsNull()) {
        return false;
    }
    const double angle = curve->Value(first).X();
    return std::abs(curve->Value(0.5 * (first + last)).X() - angle) <= sameDirection &&
           std::abs(curve->Value(last).X() - angle) <= sameDirection;
}

} // namespace

CadEdges::CadEdges(const TopTools_IndexedMapOfShape& shapeFaces) : faces(shapeFaces) {
    normals.reserve(static_cast<std::size_t>(faces.Extent()));
    for (std::uint32_t f = 0; f < static_cast<std::uint32_t>(faces.Extent()); ++f) {
        const TopoDS_Face& face = faceOf(faces, f);
        normals.emplace_back(face);
        for (TopExp_Explorer at(face, TopAbs_EDGE); at.More(); at.Next()) {
            const TopoDS_Edge& edge = TopoDS::Edge(at.Current());
            const auto number = static_cast<std::size_t>(edges.Add(edge)) - 1;
            sidesOf.resize(static_cast<std::size_t>(edges.Extent()));
            sidesOf[number].push_back({f, edge});
        }
    }
}

std::uint32_t CadEdges::count() const {
    return static_cast<std::uint32_t>(edges.Extent());
}

std::uint32_t CadEdges::numberOf(const TopoDS_Edge& edge) const {
    const int index = edges.FindIndex(edge);
    return index > 0 ? static_cast<std::uint32_t>(index - 1) : noIndex;
}

const TopoDS_Edge& CadEdges::edge(std::uint32_t number) const {
    return TopoDS::Edge(edges(static_cast<int>(number) + 1));
}

const std::vector<CadEdges::Side>& CadEdges::sides(std::uint32_t number) const {
    return sidesOf[number];
}

bool CadEdges::isFree(std::uint32_t number) const {
    return sidesOf[number].size() == 1 && !BRep_Tool::Degenerated(edge(number));
}

SurfaceEdge::Kind CadEdges::kindOf(std::uint32_t number) const {
    const std::vector<Side>& sides = sidesOf[number];
    if (sides.size() != 2 || bends(sides[0], sides[1])) {
        return SurfaceEdge::Kind::sharp;
    }
    return sides[0].face == sides[1].face ? SurfaceEdge::Kind::seam : SurfaceEdge::Kind::tangent;
}

bool CadEdges::isCut(std::uint32_t number) const {
    const std::vector<Side>& sides = sidesOf[number];
    if (sides.size() != 2 || sides[0].face == sides[1].face || kindOf(number) != SurfaceEdge::Kind::tangent) {
        return false;
    }
    const TopoDS_Face& oneFace = faceOf(faces, sides[0].face);
    const TopoDS_Face& otherFace = faceOf(faces, sides[1].face);
    const BRepAdaptor_Surface one(oneFace, false);
    const BRepAdaptor_Surface other(otherFace, false);
    if (one.GetType() != other.GetType()) {
        return false;
    }
    switch (one.GetType()) {
    case GeomAbs_Plane:
        // They share an edge.
        return one.Plane().Axis().IsParallel(other.Plane().Axis(), sameDirection);
    case GeomAbs_Cylinder:
        return isSame(one.Cylinder().Radius(), other.Cylinder().Radius()) &&
               isSame(one.Cylinder().Axis(), other.Cylinder().Axis(), one.Cylinder().Radius());
    case GeomAbs_Cone:
        return isSame(one.Cone(), other.Cone());
    case GeomAbs_Sphere:
        return isSame(one.Sphere().Radius(), other.Sphere().Radius()) &&
               one.Sphere().Location().Distance(other.Sphere().Location()) <= sameSurface * one.Sphere().Radius();
    case GeomAbs_Torus:
        return isSame(one.Torus(), other.Torus());
    case GeomAbs_SurfaceOfRevolution:
        // One line turned about one axis.
        return isSame(one.AxeOfRevolution(), other.AxeOfRevolution(), 1.0) && isMeridian(sides[0].edge, oneFace) &&
               isMeridian(sides[1].edge, otherFace);
    default:
        return false;
    }
}

// Compares the exact normals of both sides at places along the edge. Not at its ends, where surfaces may have tips and
// where an edge between two blends is hard to tell.
bool CadEdges::bends(const Side& one, const Side& other) const {
    constexpr int places = 7;
    const double smooth = std::cos(tangentDegrees * std::numbers::pi / 180.0);
    double first[2] = {};
    double last[2] = {};
    const Handle(Geom2d_Curve)
        curves[2] = {BRep_Tool::CurveOnSurface(one.edge, faceOf(faces, one.face), first[0], last[0]),
                     BRep_Tool::CurveOnSurface(other.edge, faceOf(faces, other.face), first[1], last[1])};
    if (curves[0].IsNull() || curves[1].IsNull()) {
        return true;
    }
    // Faces that are turned alike run along their edge in opposite directions; in an open shell one may be inside out.
    const double sense = one.edge.Orientation() == other.edge.Orientation() ? -1.0 : 1.0;
    for (int i = 0; i < places; ++i) {
        const double part = (i + 0.5) / places;
        const Vec3 a = normals[one.face].at(curves[0]->Value(first[0] + (last[0] - first[0]) * part));
        const Vec3 b = normals[other.face].at(curves[1]->Value(first[1] + (last[1] - first[1]) * part));
        if (a != Vec3{} && b != Vec3{} && sense * dot(a, b) < smooth) {
            return true;
        }
    }
    return false;
}

} // namespace kivimport
