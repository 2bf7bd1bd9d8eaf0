// The triangles of skins as they lie in the picture: which is nearest at each sample of a fine grid, and the place in
// its paint there.
#ifndef KIVRENDER_LINES_SKINS_SKINRASTER_H
#define KIVRENDER_LINES_SKINS_SKINRASTER_H

#include "kivrender/lines/kivcastshadows.h"
#include "kivrender/lines/kivdrawnskins.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

class SkinRaster {
public:
    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

    // A picture in pixels, with so many samples along each.
    SkinRaster(double width, double height, int perPixel);

    // False when the user cancelled. skin: a number of the caller's.
    bool add(const KivDrawnSkin& skin, std::uint32_t number, const KivProjectiveMap& pictureFromWorld);

    int width() const {
        return columns;
    }
    int height() const {
        return rows;
    }
    int samplesPerPixel() const {
        return perPixel;
    }
    // The number of the skin that is nearest at a sample.
    std::uint32_t skinAt(int x, int y) const {
        const std::uint32_t face = nearest[indexOf(x, y)];
        return face != none ? faces[face].skin : none;
    }
    // The coordinates of the paint at a sample that shows a skin; steps: how far they change to the next samples to
    // the right and above.
    struct Place {
        std::array<double, 3> paint;
        std::array<std::array<double, 2>, 2> steps;
    };
    Place placeAt(int x, int y) const;
    std::array<double, 3> paintAt(int x, int y) const;

private:
    // In samples; what is over w can be mixed linearly in the picture.
    struct Corner {
        double x;
        double y;
        double depth;
        double overW;
        std::array<double, 3> paintOverW;
    };
    struct Face {
        std::array<Corner, 3> corners;
        std::uint32_t skin;
    };

    std::size_t indexOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(x);
    }
    void addFace(const Face& face);
    std::array<double, 3> paintAt(const Face& face, double x, double y) const;

    int perPixel;
    int columns;
    int rows;
    std::vector<Face> faces;
    std::vector<std::uint32_t> nearest;
    std::vector<float> depths;
};

#endif
