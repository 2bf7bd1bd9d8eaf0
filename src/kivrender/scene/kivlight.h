// A light of a scene: a record with accessors. Colours have red in the low byte, then green, then blue. hotSpot,
// intensity, length, width, shadowIntensity and the ambient colour are there for shaders; the library does not read
// them.
//
//     KivLight sun;
//     sun.setStyle(KivLight::directionalLight);
//     sun.setDirection({0.3, -1.0, -0.5});
//     sun.setLocation({-300.0, 1000.0, 500.0}); // outside the model: shadows start there
//     sun.setDiffuse(0xFFFFFF);
//     scene.addLight(sun);
//
// Locations and directions are in the coordinates of the
// scene. Nothing is checked by the setters.
#ifndef KIVRENDER_SCENE_KIVLIGHT_H
#define KIVRENDER_SCENE_KIVLIGHT_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"

#include <cstdint>

class KIV_API KivLight : public Kiv3DObject {
public:
    // The three that light something; a light of any other style has no effect.
    enum lightStyle : std::int32_t { noLight = 0, directionalLight = 7, pointLight = 8, spotLight = 9 };

    // Of no style, black, at the origin.
    KivLight();
    // A copy comes without shader settings; assignment and moving take them over.
    KivLight(const KivLight& other);
    KivLight(KivLight&&) noexcept = default;
    KivLight& operator=(const KivLight&) = default;
    KivLight& operator=(KivLight&&) noexcept = default;
    ~KivLight() override;

    // Constant, linear and quadratic attenuation of a spot light.
    void setAttenuation(const Kiv3DVector& value);
    Kiv3DVector getAttenuation() const;
    // The way a directional or spot light shines.
    void setDirection(const Kiv3DVector& value);
    Kiv3DVector getDirection() const;
    // For shaders alone, as the head of this file says.
    void setHotSpot(double value);
    double getHotSpot() const;
    void setIntensity(double value);
    double getIntensity() const;
    void setLength(const Kiv3DVector& value);
    Kiv3DVector getLength() const;
    // Where a point or spot light stands.
    void setLocation(const Kiv3DPoint& value);
    Kiv3DPoint getLocation() const;
    void setShadowIntensity(double value);
    double getShadowIntensity() const;
    // Handed to OpenGL as the cutoff as it stands; the incidence toolbox of the shaders compares the same number with
    // an angle in radians.
    void setSpotAngle(double value);
    double getSpotAngle() const;
    // How quickly a spot loses strength from its axis on, 0 to 128, as OpenGL's GL_SPOT_EXPONENT.
    void setSpotexponent(double value);
    double getSpotExponent() const;
    // What the light is; all other fields stay.
    void setStyle(lightStyle value);
    lightStyle getStyle() const;
    void setWidth(const Kiv3DVector& value);
    Kiv3DVector getWidth() const;
    // The colour of what it lights, of highlights, and, for shaders, of the light that it adds everywhere.
    void setDiffuse(std::uint32_t color);
    std::uint32_t getDiffuse() const;
    void setSpecular(std::uint32_t color);
    std::uint32_t getSpecular() const;
    void setAmbient(std::uint32_t color);
    std::uint32_t getAmbient() const;

private:
    Kiv3DVector attenuation;
    Kiv3DVector direction;
    double hotSpot = 0.0;
    double intensity = 1.0;
    Kiv3DVector length;
    Kiv3DPoint location;
    double shadowIntensity = 1.0;
    double spotAngle = 0.0;
    double spotExponent = 0.0;
    lightStyle style = noLight;
    Kiv3DVector width;
    std::uint32_t diffuse = 0;
    std::uint32_t specular = 0;
    std::uint32_t ambient = 0;
};

#endif
