// A light of a scene: a record with accessors. Colours have red in the low byte, then green, then blue. hotSpot,
// intensity, length, width, shadowIntensity and the ambient colour are there for shaders; the library does not read
// them.
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
    void setSpotexponent(double value);
    double getSpotExponent() const;
    void setStyle(lightStyle value);
    lightStyle getStyle() const;
    void setWidth(const Kiv3DVector& value);
    Kiv3DVector getWidth() const;
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
