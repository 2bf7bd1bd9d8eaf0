// Surfaces with textures or colours at vertices of a drawing that is collected: shaders tell what lies on each, and the
// drawing gets areas of flat colour along it (skins/skinareas.h).
//
// A shader asks whether anybody collects, and adds a skin for each painted object once its surfaces are drawn:
//
//     if (KivDrawnSkins* const skins = kivCollectedSkins()) {
//         KivDrawnSkin skin;
//         skin.object = number;
//         skin.paint = paint;
//         ... // corners, and the colours by light
//         skins->add(std::move(skin));
//     }
//
// A page that is drawn by others collects nothing, and shaders then give each face its mean colour. Nothing here throws
// but for want of memory.
#ifndef KIVRENDER_LINES_KIVDRAWNSKINS_H
#define KIVRENDER_LINES_KIVDRAWNSKINS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kivmeshpaint.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

// The painted surface of one object, as triangles. Colours have red in the low byte, then green, then blue.
struct KivDrawnSkin {
    // From the colour that the page has for a part of the surface to the colour of that part where the paint has
    // `color`.
    using Tone = std::function<std::uint32_t(std::uint32_t recorded, std::uint32_t color)>;

    // A corner in the world, and its place in the paint (KivMeshPaint::coordinates).
    struct Corner {
        std::array<float, 3> place;
        std::array<float, 3> paint;
    };

    std::uint32_t object = 0;                  // as in KivVectorDrawing::objects
    std::shared_ptr<const KivMeshPaint> paint; // the texture, or colours at the corners; not null
    int numColors = 0;                         // flat colours to reduce it to; 0 for as many as are usual
    Tone lit;                                  // must not be empty
    Tone shaded;                               // of the page without any light; empty where nothing is told of it
    std::vector<Corner> corners;               // three for each triangle
};

// All skins of a render, one for an object at most. Not for several threads at once.
class KIV_API KivDrawnSkins {
public:
    // In place of what was told of the same object before.
    void add(KivDrawnSkin skin);
    // Null for an object that has none. Valid until the next add.
    KivDrawnSkin* of(std::uint32_t object);
    const std::vector<KivDrawnSkin>& all() const {
        return skins;
    }

private:
    std::vector<KivDrawnSkin> skins;
};

// Those that the render under way is to fill, or null: nobody wants them. For the thread that renders.
KIV_API KivDrawnSkins* kivCollectedSkins();
// Names them, null for none. Returns the former ones.
KIV_API KivDrawnSkins* kivCollectSkins(KivDrawnSkins* skins);

#endif
