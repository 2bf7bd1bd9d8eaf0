// The directions in which a surface curves most, for hatching that runs along them.
#ifndef SHADERS_SKETCH_KIVSKETCHDIRECTIONS_H
#define SHADERS_SKETCH_KIVSKETCHDIRECTIONS_H

#include "kivshadedmesh.h"
#include "kivview.h"

#include <array>
#include <cstdint>
#include <vector>

class KivSketchDirections {
public:
    // Where the surface has no direction of its own.
    struct Straight {
        KivVec direction;  // as the picture shows it
        double radius = 0; // in pixels; what bends less follows it more than its own
    };

    // places: for each point of the mesh the number of its place; there are count of them. reach: how far directions
    // are evened out, in pixels.
    KivSketchDirections(const KivShadedMesh& mesh, const KivView& view, const std::vector<std::uint32_t>& places,
                        std::size_t count, double reach, const Straight& straight);

    // At a point of a triangle, in its plane and of unit length; it stands for its opposite as well. parts: how much
    // each corner counts there. normal: of the triangle.
    KivVec at(std::size_t triangle, const std::array<double, 3>& parts, const KivVec& normal) const;

private:
    // A direction without a sense, as the difference of the squares of itself and of what is square to it on the
    // surface.
    struct Tensor {
        double xx = 0.0;
        double xy = 0.0;
        double xz = 0.0;
        double yy = 0.0;
        double yz = 0.0;
        double zz = 0.0;

        void add(const KivVec& along, const KivVec& across, double weight);
        void add(const Tensor& other, double weight);
        double on(const KivVec& a, const KivVec& b) const;
    };

    void addTriangle(std::size_t triangle, const KivView& view, const Straight& straight, std::vector<double>& weights);
    void even(double reach, const KivView& view);

    const KivShadedMesh& mesh;
    const std::vector<std::uint32_t>& places;
    std::vector<Tensor> tensors; // of the places
};

#endif
