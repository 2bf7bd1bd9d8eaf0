#include "import/cad/cadmesh.h"

#include "import/cad/cadedges.h"
#include "import/cad/cadnormals.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include <BRepAdaptor_Curve.hxx>
#include <BRepBuilderAPI_Sewing.hxx>
#include <BRep_Tool.hxx>
#include <GCPnts_TangentialDeflection.hxx>
#include <Poly_PolygonOnTriangulation.hxx>
#include <Poly_Triangulation.hxx>
#include <Precision.hxx>
#include <Standard_Failure.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Vertex.hxx>

namespace kivimport {
namespace {

Vec3 toVec(const gp_Pnt& p) {
    return {p.X(), p.Y(), p.Z()};
}

class MeshTaker {
public:
    MeshTaker(const TopTools_IndexedMapOfShape& shapeFaces, const CadStyles& cadStyles, CadLosses& cadLosses)
        : faces(shapeFaces), styles(cadStyles), edges(shapeFaces), losses(cadLosses), polylines(edges.count()) {}

    Surface take() {
        surface.hasEdges = true;
        for (std::uint32_t f = 0; f < static_cast<std::uint32_t>(faces.Extent()); ++f) {
            takeFace(f);
        }
        for (std::uint32_t e = 0; e < edges.count(); ++e) {
            takeEdge(e);
        }
        return std::move(surface);
    }

private:
    void takeFace(std::uint32_t number) {
        const TopoDS_Face& face = TopoDS::Face(faces(static_cast<int>(number) + 1));
        TopLoc_Location location;
        const Handle(Poly_Triangulation) mesh = BRep_Tool::Triangulation(face, location);
        partOfFace.push_back(partOf(styles.ofFace(face)));
        if (mesh.IsNull() || mesh->NbTriangles() == 0) {
            ++losses.unmeshed;
            return;
        }
        const gp_Trsf placement = location.Transformation();
        positionOf.assign(static_cast<std::size_t>(mesh->NbNodes()) + 1, noIndex);
        for (TopExp_Explorer at(face, TopAbs_EDGE); at.More(); at.Next()) {
            takeBorder(TopoDS::Edge(at.Current()), mesh, location, placement);
        }
        const auto firstNormal = static_cast<std::uint32_t>(surface.normals.size());
        takeNodes(face, mesh, placement);
        const std::size_t firstCorner = surface.corners.size();
        takeTriangles(mesh, firstNormal, (face.Orientation() == TopAbs_REVERSED) != placement.IsNegative());
        turnStrayNormals(firstCorner, firstNormal);
    }

    std::uint32_t partOf(std::uint32_t material) {
        const auto [place, isNew] = parts.try_emplace(material, static_cast<std::uint32_t>(surface.parts.size()));
        if (isNew) {
            surface.parts.push_back({std::string(), material, noIndex});
        }
        return place->second;
    }

    std::uint32_t addPosition(const gp_Pnt& p) {
        surface.positions.push_back(toVec(p));
        return static_cast<std::uint32_t>(surface.positions.size() - 1);
    }

    std::uint32_t vertexPosition(const TopoDS_Vertex& vertex, const gp_Pnt& otherwise) {
        if (vertex.IsNull()) {
            return addPosition(otherwise);
        }
        const auto number = static_cast<std::size_t>(vertices.Add(vertex)) - 1;
        if (number == positionOfVertex.size()) {
            positionOfVertex.push_back(addPosition(otherwise));
        }
        return positionOfVertex[number];
    }

    // The nodes of a face along one of its edges get the positions that the edge has already from its other side: each
    // face has them to its own rounding, and some files to a tolerance that can be seen.
    void takeBorder(const TopoDS_Edge& edge, const Handle(Poly_Triangulation) & mesh, const TopLoc_Location& location,
                    const gp_Trsf& placement) {
        const Handle(Poly_PolygonOnTriangulation) polygon = BRep_Tool::PolygonOnTriangulation(edge, mesh, location);
        const std::uint32_t number = edges.numberOf(edge);
        if (polygon.IsNull() || polygon->NbNodes() < 2) {
            return;
        }
        const int count = polygon->NbNodes();
        const auto place = [&](int i) { return mesh->Node(polygon->Node(i)).Transformed(placement); };
        std::vector<std::uint32_t>& line = polylines[number];
        if (line.empty()) {
            TopoDS_Vertex begin;
            TopoDS_Vertex end;
            TopExp::Vertices(edge, begin, end);
            line.push_back(vertexPosition(begin, place(1)));
            const bool isPoint = BRep_Tool::Degenerated(edge);
            for (int i = 2; i < count; ++i) {
                line.push_back(isPoint ? line.front() : addPosition(place(i)));
            }
            line.push_back(vertexPosition(end, place(count)));
        }
        const auto known = static_cast<int>(line.size());
        for (int i = 1; i <= count; ++i) {
            const bool isEnd = i == 1 || i == count;
            if (known == count || isEnd) {
                positionOf[static_cast<std::size_t>(polygon->Node(i))] =
                    line[static_cast<std::size_t>(i == count ? known - 1 : i - 1)];
            }
        }
    }

    void takeNodes(const TopoDS_Face& face, const Handle(Poly_Triangulation) & mesh, const gp_Trsf& placement) {
        const CadNormals normals(face);
        for (int i = 1; i <= mesh->NbNodes(); ++i) {
            std::uint32_t& position = positionOf[static_cast<std::size_t>(i)];
            if (position == noIndex) {
                position = addPosition(mesh->Node(i).Transformed(placement));
            }
            surface.normals.push_back(mesh->HasUVNodes() ? normals.at(mesh->UVNode(i)) : Vec3{});
        }
    }

    void takeTriangles(const Handle(Poly_Triangulation) & mesh, std::uint32_t firstNormal, bool isTurned) {
        for (int t = 1; t <= mesh->NbTriangles(); ++t) {
            int nodes[3] = {};
            mesh->Triangle(t).Get(nodes[0], nodes[1], nodes[2]);
            if (isTurned) {
                std::swap(nodes[1], nodes[2]);
            }
            std::uint32_t corners[3] = {};
            for (int k = 0; k < 3; ++k) {
                corners[k] = positionOf[static_cast<std::size_t>(nodes[k])];
            }
            if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) {
                continue; // at a pole
            }
            for (int k = 0; k < 3; ++k) {
                surface.corners.push_back(corners[k]);
                surface.cornerNormals.push_back(firstNormal + static_cast<std::uint32_t>(nodes[k] - 1));
            }
            surface.triangleParts.push_back(partOfFace.back());
        }
    }

    // Close to a pole the parameters may step over it, and there the normal is that of the far side.
    void turnStrayNormals(std::size_t firstCorner, std::uint32_t firstNormal) {
        Points facets(surface.normals.size() - firstNormal);
        for (std::size_t i = firstCorner; i < surface.corners.size(); i += 3) {
            const Vec3& a = surface.positions[surface.corners[i]];
            const Vec3 across =
                cross(surface.positions[surface.corners[i + 1]] - a, surface.positions[surface.corners[i + 2]] - a);
            for (std::size_t k = 0; k < 3; ++k) {
                Vec3& sum = facets[surface.cornerNormals[i + k] - firstNormal];
                sum = sum + across;
            }
        }
        for (std::size_t i = 0; i < facets.size(); ++i) {
            Vec3& normal = surface.normals[firstNormal + i];
            normal = dot(normal, facets[i]) < 0.0 ? normal * -1.0 : normal;
        }
    }

    void takeEdge(std::uint32_t number) {
        const std::vector<std::uint32_t>& line = polylines[number];
        if (line.empty() || BRep_Tool::Degenerated(edges.edge(number))) {
            return;
        }
        SurfaceEdge& edge = surface.edges.emplace_back();
        edge.kind = isWithinOneFace(number) ? SurfaceEdge::Kind::seam : edges.kindOf(number);
        edge.part = partOfFace[edges.sides(number).front().face];
        edge.material = styles.ofEdge(edges.edge(number));
        edge.first = static_cast<std::uint32_t>(surface.edgePoints.size());
        edge.count = static_cast<std::uint32_t>(line.size());
        surface.edgePoints.insert(surface.edgePoints.end(), line.begin(), line.end());
    }

    // Cut without a change of colour.
    bool isWithinOneFace(std::uint32_t number) const {
        const std::vector<CadEdges::Side>& sides = edges.sides(number);
        return edges.isCut(number) && partOfFace[sides[0].face] == partOfFace[sides[1].face] &&
               styles.ofEdge(edges.edge(number)) == noIndex;
    }

    const TopTools_IndexedMapOfShape& faces;
    const CadStyles& styles;
    CadEdges edges;
    CadLosses& losses;
    Surface surface;
    TopTools_IndexedMapOfShape vertices;
    std::vector<std::uint32_t> positionOfVertex;
    std::vector<std::vector<std::uint32_t>> polylines; // of each edge, positions
    std::vector<std::uint32_t> positionOf;             // of each node of the face at hand, which count from 1
    std::vector<std::uint32_t> partOfFace;
    std::map<std::uint32_t, std::uint32_t> parts; // by their material
};

// Curves that bound no face.
std::vector<Polyline> takeWires(const TopoDS_Shape& shape, const CadStyles& styles, double deflection,
                                CadLosses& losses) {
    std::vector<Polyline> wires;
    TopTools_IndexedMapOfShape seen;
    for (TopExp_Explorer at(shape, TopAbs_EDGE, TopAbs_FACE); at.More(); at.Next()) {
        const TopoDS_Edge& edge = TopoDS::Edge(at.Current());
        const int before = seen.Extent();
        if (seen.Add(edge) <= before || BRep_Tool::Degenerated(edge)) {
            continue;
        }
        try {
            const BRepAdaptor_Curve curve(edge);
            if (Precision::IsInfinite(curve.FirstParameter()) || Precision::IsInfinite(curve.LastParameter())) {
                ++losses.endless;
                continue;
            }
            constexpr double angle = 0.1;
            const GCPnts_TangentialDeflection points(curve, angle, deflection);
            Polyline wire;
            wire.material = styles.ofEdge(edge);
            for (int i = 1; i <= points.NbPoints(); ++i) {
                wire.points.push_back(toVec(points.Value(i)));
            }
            if (wire.points.size() >= 2) {
                wires.push_back(std::move(wire));
            }
        } catch (const Standard_Failure&) {
            ++losses.unread;
        }
    }
    return wires;
}

} // namespace

CadPart takeMesh(const TopoDS_Shape& shape, const CadStyles& styles, double deflection, CadLosses& losses) {
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(shape, TopAbs_FACE, faces);
    CadPart part;
    part.surface = MeshTaker(faces, styles, losses).take();
    part.wires = takeWires(shape, styles, deflection, losses);
    return part;
}

TopoDS_Shape sewn(const TopoDS_Shape& shape, CadStyles& styles) {
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(shape, TopAbs_FACE, faces);
    const CadEdges edges(faces);
    bool hasFree = false;
    for (std::uint32_t e = 0; e < edges.count(); ++e) {
        hasFree = hasFree || edges.isFree(e);
    }
    if (!hasFree || faces.Extent() < 2) {
        return shape;
    }
    constexpr double tolerance = 1e-3; // millimetres
    BRepBuilderAPI_Sewing sewing(tolerance);
    sewing.Add(shape);
    sewing.Perform();
    const TopoDS_Shape& joined = sewing.SewedShape();
    if (joined.IsNull()) {
        return shape;
    }
    for (int i = 1; i <= faces.Extent(); ++i) {
        styles.replaceFace(faces(i), sewing.ModifiedSubShape(faces(i)));
    }
    return joined;
}

} // namespace kivimport
