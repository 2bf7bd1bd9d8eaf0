// Pictures of what lies on the painted surfaces of a drawing, for its areas to show: samples of the textures and of the
// colours at vertices where they are seen, in the tone of the area.
//
// A picture has no holes: around what the area covers its colours go on as far as borders are smoothed and areas are
// painted on under their neighbours, and beyond is one colour, that takes no room in a file.
#ifndef KIVRENDER_LINES_SKINS_SKINPICTURES_H
#define KIVRENDER_LINES_SKINS_SKINPICTURES_H

#include "kivrender/lines/kivcastshadows.h"
#include "kivrender/lines/kivdrawnskins.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/lines/skins/skinpaint.h"
#include "kivrender/lines/skins/skinraster.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

struct SkinPictureRules {
    int perPixel = 4;                     // samples along each side of a pixel, at most
    std::size_t mostSamples = 12'000'000; // of the surfaces, and pixels of all pictures together
    double underlap = 1.0;                // how far areas may be painted beyond what is seen of them, in pixels
};

class SkinPictures {
public:
    SkinPictures(double width, double height, const SkinPictureRules& pictureRules);

    // False when the user cancelled.
    bool build(const KivDrawnSkins& drawn, const KivProjectiveMap& pictureFromWorld);
    // Whether an object has a skin.
    bool shows(std::uint32_t object) const {
        return skinOfObject.contains(object);
    }

    // From a colour of the skin to the one that is seen.
    using Tone = std::function<std::uint32_t(std::uint32_t color)>;
    // An area, of an object that has a skin, and its tone.
    struct Wish {
        KivArea* area;
        const Tone* tone;
    };
    // Gives the areas their pictures. False when the user cancelled.
    bool paint(std::span<const Wish> wishes) const;

private:
    // Of samples.
    struct Box {
        int left = 0;
        int bottom = 0;
        int width = 0;
        int height = 0;
    };
    class Painter;

    int reach() const;
    Box boxOf(const KivArea& area) const;

    SkinPictureRules rules;
    SkinRaster raster;
    std::vector<std::shared_ptr<SkinPaint>> paintOfSkin;
    std::map<std::uint32_t, std::uint32_t> skinOfObject;
};

#endif
