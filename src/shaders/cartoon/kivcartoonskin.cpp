#define GL_GLEXT_PROTOTYPES
#include "kivcartoonskin.h"

#include "kivskintones.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace {

// Entries of a cube of colours along each side. With flat colours nothing is mixed between them.
constexpr int smoothCube = 32;
constexpr int flatCube = 64;

// Tones that share textures.
bool areAlike(const KivCartoonSkin& a, const KivCartoonSkin& b) {
    return a.paint->texture == b.paint->texture && a.paint->factor == b.paint->factor && a.saturation == b.saturation &&
           a.lightness == b.lightness && a.numColors == b.numColors;
}

GLint wrapOf(KivTexture::Wrap wrap) {
    switch (wrap) {
    case KivTexture::Wrap::clamp:
        return GL_CLAMP_TO_EDGE;
    case KivTexture::Wrap::mirror:
        return GL_MIRRORED_REPEAT;
    case KivTexture::Wrap::repeat:
        break;
    }
    return GL_REPEAT;
}

// Surfaces that are seen from the side would blur without it.
void sharpenSlants() {
    const GLubyte* const extensions = glGetString(GL_EXTENSIONS);
    if (extensions == nullptr ||
        std::strstr(reinterpret_cast<const char*>(extensions), "GL_EXT_texture_filter_anisotropic") == nullptr) {
        return;
    }
    GLfloat most = 1.0F;
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &most);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, std::min(most, 4.0F));
}

unsigned int uploadPicture(const KivTexture& texture, KivSkinImage image) {
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    GLint level = 0;
    for (const KivSkinImage& each : kivSkinLevels(std::move(image))) {
        glTexImage2D(GL_TEXTURE_2D, level++, GL_RGBA8, each.width, each.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     each.pixels.data());
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrapOf(texture.wrapU));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrapOf(texture.wrapV));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    sharpenSlants();
    return name;
}

unsigned int uploadCube(const std::vector<std::uint8_t>& cube, int side, bool isFlat) {
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_3D, name);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA8, side, side, side, 0, GL_RGBA, GL_UNSIGNED_BYTE, cube.data());
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R}) {
        glTexParameteri(GL_TEXTURE_3D, wrap, GL_CLAMP_TO_EDGE);
    }
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, isFlat ? GL_NEAREST : GL_LINEAR);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MAG_FILTER, isFlat ? GL_NEAREST : GL_LINEAR);
    return name;
}

KivSkinImage imageOf(const KivTexture& texture) {
    return {texture.width, texture.height, texture.pixels};
}

// The colours at the vertices as a picture of one row.
KivSkinImage vertexColors(const KivMeshPaint& paint) {
    KivSkinImage image{static_cast<int>(paint.coordinates.size()), 1, {}};
    for (const std::array<float, 3>& color : paint.coordinates) {
        for (const float part : color) {
            image.pixels.push_back(static_cast<std::uint8_t>(std::clamp(part, 0.0F, 1.0F) * 255.0F + 0.5F));
        }
        image.pixels.push_back(255);
    }
    return image;
}

} // namespace

bool KivCartoonSkin::isUsable() const {
    if (paint == nullptr || paint->texture == nullptr) {
        return paint != nullptr;
    }
    const KivTexture& texture = *paint->texture;
    return texture.width > 0 && texture.height > 0 &&
           texture.pixels.size() ==
               std::size_t{4} * static_cast<std::size_t>(texture.width) * static_cast<std::size_t>(texture.height);
}

void KivCartoonSkins::forget() {
    entries.clear();
    bases.clear();
}

const KivSkinImage& KivCartoonSkins::baseOf(const KivCartoonSkin& skin) {
    const std::shared_ptr<const KivTexture>& texture = skin.paint->texture;
    for (const std::unique_ptr<Base>& base : bases) {
        if (base->texture == texture && base->numColors == skin.numColors) {
            return base->image;
        }
    }
    KivSkinImage image = imageOf(*texture);
    if (texture->cutOut <= 0.0) {
        for (std::size_t i = 3; i < image.pixels.size(); i += 4) {
            image.pixels[i] = 255;
        }
    }
    if (skin.numColors > 0) {
        image = kivPosterised(image, skin.numColors);
    }
    bases.push_back(std::make_unique<Base>(Base{texture, skin.numColors, std::move(image)}));
    return bases.back()->image;
}

KivCartoonSkins::Textures KivCartoonSkins::of(const KivCartoonSkin& skin, const KivCartoonColors& colors,
                                              KivCartoonLayer layer, KivCartoonShare share) {
    const auto known = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.layer == layer && entry.share == share && areAlike(entry.skin, skin) &&
               (skin.isTexture() || entry.skin.paint == skin.paint || skin.numColors == 0) &&
               kivAreSameTones(entry.colors, colors);
    });
    if (known != entries.end()) {
        return known->textures;
    }
    const bool isFlat = skin.numColors > 0;
    const int side = isFlat ? flatCube : smoothCube;
    const KivPalette palette =
        isFlat && !skin.isTexture() ? kivPalette(vertexColors(*skin.paint), skin.numColors) : KivPalette();
    Textures textures;
    for (const double level : {0.0, 1.0}) {
        const KivToneTable table(skin, colors, layer, share, level);
        const unsigned int name = skin.isTexture() ? uploadPicture(*skin.paint->texture, table.toned(baseOf(skin)))
                                                   : uploadCube(table.cube(side, palette), side, isFlat);
        (level == 0.0 ? textures.dark : textures.light) = name;
    }
    if (!skin.isTexture()) {
        // The first entry of a cube is 0, the last one 1.
        textures.scale = (side - 1.0) / side;
        textures.shift = 0.5 / side;
    }
    entries.push_back({skin, colors, layer, share, textures});
    return textures;
}
