// The flat colours that the textures and the colours at vertices of a drawing become, and the borders between them as
// they lie in the picture.
//
// The surfaces are sampled in the picture, finer than its pixels. What is seen of each texture is reduced to a palette
// (kivPalette); where two colours of it count alike runs a border (labelborders.h). Borders reach a little beyond the
// edges of their object, where the regions of the drawing cut them off.
#ifndef KIVRENDER_LINES_SKINS_SKINAREAS_H
#define KIVRENDER_LINES_SKINS_SKINAREAS_H

#include "kivrender/lines/kivcastshadows.h"
#include "kivrender/lines/kivdrawnskins.h"
#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/skins/labelfield.h"
#include "kivrender/scene/kivskinimage.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

struct SkinAreaRules {
    int numColors = 32;                   // of a texture, or of the colours at the vertices of all objects
    double smallestArea = 4.0;            // in square pixels: less of one colour becomes part of what is around it
    std::size_t mostPoints = 150000;      // of all borders; beyond, larger areas become part of what is around them
    std::size_t mostSamples = 12'000'000; // of the picture
};

class SkinAreas {
public:
    static constexpr std::uint8_t none = LabelField::none;

    SkinAreas(double width, double height, const SkinAreaRules& areaRules);
    ~SkinAreas();
    SkinAreas(const SkinAreas&) = delete;
    SkinAreas& operator=(const SkinAreas&) = delete;

    // The skins stay the caller's and must outlive the object. False when the user cancelled.
    bool build(const KivDrawnSkins& drawn, const KivProjectiveMap& pictureFromWorld);

    // In pixels.
    const std::vector<std::vector<KivPicturePoint>>& borders() const {
        return lines;
    }
    // The number of the flat colour of an object at a place in pixels; none where the object is not.
    std::uint8_t labelAt(std::uint32_t object, double x, double y) const;
    std::uint32_t colorOf(std::uint32_t object, std::uint8_t label) const;

private:
    class Group;
    struct Skin;

    bool choosePalettes(const class SkinRaster& raster);
    bool fillFields(const SkinRaster& raster);
    bool traceFields(const SkinRaster& raster);

    double width;
    double height;
    SkinAreaRules rules;
    int perPixel = 1;
    std::vector<std::unique_ptr<Group>> groups;
    std::vector<std::unique_ptr<Skin>> skins;
    std::map<std::uint32_t, const Skin*> skinOfObject;
    std::vector<std::vector<KivPicturePoint>> lines;
};

#endif
