// Which face is seen at each pixel of a picture, found without OpenGL: the same for a picture and for a vector drawing.
//
// Triangles are scanned in homogeneous coordinates, so that none has to be clipped at the eye (Olano and Greer,
// Triangle scan conversion using 2D homogeneous coordinates, 1997).
#ifndef SHADERS_HALFTONE_KIVSEENSURFACE_H
#define SHADERS_HALFTONE_KIVSEENSURFACE_H

#include "kivshadedmesh.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// A part of the picture, in its pixels from the lower left corner.
struct KivPixelFrame {
    int left = 0;
    int bottom = 0;
    int width = 0;
    int height = 0;
};

struct KivSeenPoint {
    KivVec place;
    KivVec normal; // towards the side that is seen, of unit length
    std::uint32_t body = 0;
};

class KivSeenSurface {
public:
    KivSeenSurface(const KivView& view, KivPixelFrame frame);

    // The mesh must live as long as the surface. body: a number of the caller's, above 0. False when the render was
    // cancelled meanwhile.
    bool add(const KivShadedMesh& mesh, std::uint32_t body);

    // The body at the pixel that holds the place; 0 where nothing is seen, and outside the frame.
    std::uint32_t bodyAt(double x, double y) const;
    std::optional<KivSeenPoint> at(double x, double y) const;
    // How far one can go over the surface from a place before it ends, bends sharply or passes behind something, up to
    // a limit. (dx, dy) has unit length; all in pixels.
    double reach(double x, double y, double dx, double dy, double limit) const;

    const KivPixelFrame& frame() const {
        return part;
    }

private:
    struct Body {
        const KivShadedMesh* mesh = nullptr;
        std::uint32_t number = 0;
        std::uint32_t firstFace = 0;
    };
    // A triangle's weights at a place of the view, not clamped: of its corners, with the sum 1.
    struct Weights {
        double of[3] = {};
        bool isSound = false;
    };

    struct Scan;

    void scan(const KivShadedMesh& mesh, std::size_t triangle, std::uint32_t face);
    std::uint32_t faceAt(int x, int y) const;
    const Body& bodyOf(std::uint32_t face) const;
    Weights weightsAt(std::uint32_t face, double x, double y) const;
    KivVec placeAt(std::uint32_t face, const Weights& weights) const;
    KivVec normalAt(std::uint32_t face, const Weights& weights) const;
    bool isJoined(int x, int y, int nextX, int nextY) const;
    bool areJoined(std::uint32_t a, std::uint32_t b, const double* from, const double* to) const;

    KivView view;
    KivPixelFrame part;
    std::vector<Body> bodies;
    std::uint32_t faces = 0;
    std::vector<std::uint32_t> seen; // a face's number and one more; 0 for nothing
    std::vector<float> depths;
    // For each pixel whether it is known to be joined to the next one to the right, and above: two bits each.
    mutable std::vector<std::uint8_t> joints;
};

#endif
