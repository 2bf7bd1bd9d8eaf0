// The colours of a mesh that has a texture, or a colour at each vertex, through the tones of the shader.
//
// In every layer of the look the colour of a surface changes in a straight line with the level of light, from what it
// is in the darkest band to what it is in the lightest. So two textures are made of a skin, one for each of the two,
// and the level mixes them at each pixel. Colours at vertices are looked up in a cube that has a tone for each colour.
#ifndef SHADERS_CARTOON_KIVCARTOONSKIN_H
#define SHADERS_CARTOON_KIVCARTOONSKIN_H

#include "kivcartoontones.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivskinimage.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

struct KivCartoonSkin {
    std::shared_ptr<const KivMeshPaint> paint;
    double saturation = 0.0; // as kivAdjusted takes them
    double lightness = 0.0;
    int numColors = 0; // flat colours that a texture is reduced to; 0 leaves it as it is

    // False for a picture of another size than it says.
    bool isUsable() const;
    bool isTexture() const {
        return paint != nullptr && paint->texture != nullptr;
    }
    double cutOut() const {
        return isTexture() ? paint->texture->cutOut : 0.0;
    }
};

// The picture in so many flat colours, chosen by Heckbert's median cut (1982) and moved to the means of what they stand
// for. Each place takes the colour that counts most around it: borders are smooth, specks of a pixel go, and a small
// picture is enlarged that way. Alpha becomes all or nothing.
KivSkinImage kivPosterised(const KivSkinImage& image, int numColors);

// The textures of one context; they go with it or before it.
class KivCartoonSkins {
public:
    struct Textures {
        unsigned int dark = 0;
        unsigned int light = 0;
        // From the batch's coordinates to those of the textures.
        double scale = 1.0;
        double shift = 0.0;
    };

    KivCartoonSkins() = default;
    KivCartoonSkins(const KivCartoonSkins&) = delete;
    KivCartoonSkins& operator=(const KivCartoonSkins&) = delete;
    ~KivCartoonSkins() = default;

    // The context is gone, or will be without a further word.
    void forget();

    // Made when they are first asked for, which costs some tens of milliseconds for a large picture.
    Textures of(const KivCartoonSkin& skin, const KivCartoonColors& colors, KivCartoonLayer layer,
                KivCartoonShare share);

private:
    struct Entry {
        KivCartoonSkin skin;
        KivCartoonColors colors;
        KivCartoonLayer layer;
        KivCartoonShare share;
        Textures textures;
    };
    struct Base {
        std::shared_ptr<const KivTexture> texture;
        int numColors;
        KivSkinImage image;
    };

    const KivSkinImage& baseOf(const KivCartoonSkin& skin);

    std::vector<Entry> entries;
    std::vector<std::unique_ptr<Base>> bases; // posterised pictures
};

#endif
