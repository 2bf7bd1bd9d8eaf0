#include "kivrender/shader/kivdrawing.h"

#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/shader/kivobjectnumbers.h"
#include "kivrender/shader/kivshadercommunication.h"

#include <GL/gl.h>
#include <gl2ps.h>

#include <unordered_map>

namespace {

thread_local std::unordered_map<const Kiv3DObject*, unsigned int> objectNumbers;
thread_local unsigned int currentObject = 0;

struct Color {
    GLfloat parts[4];
};

// Red stands in the low byte, then green, then blue.
Color toColor(std::uint32_t color) {
    return {{static_cast<float>(color & 0xFFU) / 255.0F, static_cast<float>(color >> 8U & 0xFFU) / 255.0F,
             static_cast<float>(color >> 16U & 0xFFU) / 255.0F, 1.0F}};
}

void sendPoint(const Kiv3DPoint& point) {
    const GLdouble parts[3] = {point.x, point.y, point.z};
    glVertex3dv(parts);
}

void sendNormal(const Kiv3DVector& normal) {
    const GLdouble parts[3] = {normal.x, normal.y, normal.z};
    glNormal3dv(parts);
}

} // namespace

void kivNumberObjects(const KivScene* scene) {
    objectNumbers.clear();
    currentObject = 0;
    for (unsigned int i = 0; scene != nullptr && i < scene->numMeshes(); ++i) {
        objectNumbers.emplace(scene->getMesh(i), i + 1);
    }
}

unsigned int kivNumberOfObject(const Kiv3DObject* object) {
    const auto place = objectNumbers.find(object);
    return place != objectNumbers.end() ? place->second : 0;
}

void KivDrawing::beginObject(const Kiv3DObject* object, bool vectorial) {
    if (!vectorial || objectNumbers.empty()) {
        return;
    }
    const unsigned int number = kivNumberOfObject(object);
    if (number != currentObject) {
        glPassThrough(static_cast<GLfloat>(kivObjectMarker));
        glPassThrough(static_cast<GLfloat>(number));
        currentObject = number;
    }
}

void KivDrawing::beginDrawing(bool /*vectorial*/, objectType type) {
    switch (type) {
    case triangles:
        glBegin(GL_TRIANGLES);
        break;
    case lineStrip:
        glBegin(GL_LINE_STRIP);
        break;
    case points:
        glBegin(GL_POINTS);
        break;
    case polygon:
        glBegin(GL_POLYGON);
        break;
    default:
        break;
    }
}

void KivDrawing::endDrawing(bool /*vectorial*/) {
    glEnd();
}

void KivDrawing::setColor(char red, char green, char blue, char alpha, bool /*vectorial*/) {
    glColor4b(static_cast<GLbyte>(red), static_cast<GLbyte>(green), static_cast<GLbyte>(blue),
              static_cast<GLbyte>(alpha));
}

void KivDrawing::setColor(float red, float green, float blue, float alpha, bool /*vectorial*/) {
    glColor4f(red, green, blue, alpha);
}

void KivDrawing::setMaterial(const KivMaterial* material, bool vectorial) {
    Color diffuse = toColor(material->getDiffuse());
    const Color emission = toColor(material->getEmission());
    Color specular = {{0.0F, 0.0F, 0.0F, 1.0F}};
    double shine = material->getShine();
    if (shine != 0.0) {
        shine = shine * 128.0 / KivMaterial::maxShine();
        specular = toColor(material->getSpecular());
    }
    // The diffuse colour is the ambient one too, on both faces; what shines is the front face alone.
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, diffuse.parts);
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse.parts);
    glMaterialfv(GL_FRONT, GL_EMISSION, emission.parts);
    glMaterialfv(GL_FRONT, GL_SPECULAR, specular.parts);
    glMaterialf(GL_FRONT, GL_SHININESS, static_cast<GLfloat>(shine));
    startSettingColors(vectorial);
    const KivShaderCommunication* const channel = KivShaderCommunication::getDefaultCommunication();
    if (channel != nullptr && channel->doTransparency()) {
        diffuse.parts[3] = static_cast<GLfloat>(material->getTransparency());
    }
    glColor4fv(diffuse.parts);
}

void KivDrawing::drawPoint(Kiv3DPoint point, Kiv3DVector normal, bool /*vectorial*/) {
    sendNormal(normal);
    sendPoint(point);
}

void KivDrawing::drawPoint(Kiv3DPoint point, bool /*vectorial*/) {
    sendPoint(point);
}

void KivDrawing::drawLine(const KivLine& line, bool /*vectorial*/) {
    sendPoint(line.getStart());
    sendPoint(line.getEnd());
}

void KivDrawing::drawPolyline(const KivPolyline& polyline, bool vectorial) {
    // The bytes go through the signed form on purpose: what is above 127 arrives negative and comes out black, and an
    // alpha of 1 is 1/127. Pictures depend on it, so it is not to be widened to the float form.
    const std::uint32_t color = polyline.getColor();
    setColor(static_cast<char>(color & 0xFFU), static_cast<char>(color >> 8U & 0xFFU),
             static_cast<char>(color >> 16U & 0xFFU), static_cast<char>(1), vectorial);
    beginDrawing(vectorial, lineStrip);
    for (int i = 0; i < polyline.numPoints(); ++i) {
        sendPoint(polyline.getPoint(i));
    }
    endDrawing(vectorial);
}

void KivDrawing::drawTriangle(const Kiv3DPoint* corners, const Kiv3DVector* normals, KivMaterial::textureMode /*mode*/,
                              bool /*vectorial*/) {
    for (int i = 0; i < 3; ++i) {
        sendNormal(normals[i]);
        sendPoint(corners[i]);
    }
}

void KivDrawing::drawTriangle(const Kiv3DPoint* corners, Kiv3DVector normal, KivMaterial::textureMode /*mode*/,
                              bool /*vectorial*/) {
    for (int i = 0; i < 3; ++i) {
        sendNormal(normal);
        sendPoint(corners[i]);
    }
}

void KivDrawing::drawTriangle(const Kiv3DPoint* corners, bool vectorial) {
    drawPolygon(corners, 3, vectorial);
}

void KivDrawing::drawPolygon(const Kiv3DPoint* corners, unsigned int count, bool /*vectorial*/) {
    for (unsigned int i = 0; i < count; ++i) {
        sendPoint(corners[i]);
    }
}

void KivDrawing::setLineWidth(float width, bool vectorial) {
    glLineWidth(width);
    if (vectorial) {
        gl2psLineCap(GL2PS_LINE_CAP_ROUND);
        gl2psLineJoin(GL2PS_LINE_JOIN_ROUND);
        gl2psLineWidth(width);
    }
}

void KivDrawing::enableLighting(bool enabled, bool /*vectorial*/) {
    if (enabled) {
        glEnable(GL_LIGHTING);
    } else {
        glDisable(GL_LIGHTING);
    }
    glGetError(); // what is pending belongs to earlier calls and must not be taken for this one's
}

void KivDrawing::enableTransparency(bool enabled, bool vectorial) {
    if (KivShaderCommunication* const channel = KivShaderCommunication::getDefaultCommunication()) {
        channel->setTransparency(enabled);
    }
    if (enabled) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        if (vectorial) {
            gl2psEnable(GL2PS_BLEND);
            gl2psBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        }
    } else {
        glDisable(GL_BLEND);
        if (vectorial) {
            gl2psDisable(GL2PS_BLEND);
        }
    }
}

void KivDrawing::startSettingColors(bool /*vectorial*/) {
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_COLOR_MATERIAL);
}
