// What the surface of a mesh looks like: a plain record. Colours have red in the low byte, then green, then blue.
//
//     KivMaterial glass;
//     glass.setDiffuse(0xE0D0C0); // red C0, green D0, blue E0
//     glass.setAmbient(0xE0D0C0);
//     glass.setTransparency(0.4); // seen through, if the render's settings have transparency on
//     mesh.setMaterial(glass);
//
// Shaders decide what they make of each field.
#ifndef KIVRENDER_SCENE_KIVMATERIAL_H
#define KIVRENDER_SCENE_KIVMATERIAL_H

#include "kivrender/platform/kivexport.h"

#include <cstdint>

class KIV_API KivMaterial {
public:
    // How a texture is laid on. Kept for hosts and shaders; the library does not act on it.
    enum textureMode : std::int32_t { noTexture = 0, bitmapTexture = 1 };

    // All colours 0, no shine, opaque.
    KivMaterial() = default;
    // Takes every field but the diffuse colour, which becomes the source's ambient one: hosts rely on it. A material
    // that has to keep its diffuse colour is copied by assignment.
    KivMaterial(const KivMaterial& other);
    KivMaterial& operator=(const KivMaterial&) = default;
    ~KivMaterial() = default;

    // The upper end of the range of shine, 255.0.
    static double maxShine();

    // The colour under the light that is everywhere.
    std::uint32_t getAmbient() const;
    void setAmbient(std::uint32_t color);
    // The colour under light that falls on the surface.
    std::uint32_t getDiffuse() const;
    void setDiffuse(std::uint32_t color);
    // Light of its own, added to all other.
    std::uint32_t getEmission() const;
    void setEmission(std::uint32_t color);
    // The colour of highlights; 0 for a surface without.
    std::uint32_t getSpecular() const;
    void setSpecular(std::uint32_t color);
    // 0.0 to maxShine(); what lies outside is clamped.
    double getShine() const;
    void setShine(double value);
    // What the host says of a texture. Pictures that are really drawn come by kivrender/scene/kivmeshpaint.h.
    textureMode getTextureMode() const;
    void setTextureMode(textureMode value);
    // The name of a texture file, or null. The pointer is kept, not the text: the string stays the caller's and must
    // outlive the material.
    const wchar_t* getBitmapFileName() const;
    void setBitmapFilename(const wchar_t* const& name);
    // The alpha of the surface, despite the name: 1.0 is opaque, less is more see-through. Not clamped.
    double getTransparency() const;
    void setTransparency(double value);

private:
    // Colours as the setters take them.
    std::uint32_t ambient = 0;
    std::uint32_t diffuse = 0;
    std::uint32_t emission = 0;
    std::uint32_t specular = 0;
    double shine = 0.0;
    textureMode mode = noTexture;
    const wchar_t* bitmapFileName = nullptr;
    double transparency = 1.0;
};

#endif
