// The calls through which a shader draws, so that it need not link against the graphics library for them. They go
// straight to OpenGL's immediate mode and need a current context.
//
// The last argument of each is the vectorial flag: a shader passes on what it was told and draws the same way for
// raster and vector output. Points, lines, triangles and polygons stand between beginDrawing and endDrawing;
// drawPolyline alone is complete in itself.
#ifndef KIVRENDER_SHADER_KIVDRAWING_H
#define KIVRENDER_SHADER_KIVDRAWING_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dpoint.h"
#include "kivrender/scene/kiv3dvector.h"
#include "kivrender/scene/kivmaterial.h"

#include <cstdint>

class Kiv3DObject;
class KivLine;
class KivPolyline;

class KIV_API KivDrawing {
public:
    // Everything drawn from here on belongs to that object of the scene, or to none of them: a drawing with objects
    // keeps it together (KivDrawingCollector). Not between beginDrawing and endDrawing. In raster pictures nothing
    // happens.
    static void beginObject(const Kiv3DObject* object, bool vectorial);

    // The numbers are part of the interface.
    enum objectType : std::int32_t { triangles = 0, lineStrip = 1, points = 2, polygon = 3 };

    // A type that is none of the four begins nothing.
    static void beginDrawing(bool vectorial, objectType type);
    static void endDrawing(bool vectorial);

    // Signed bytes, as OpenGL takes them: 127 is full, what is negative is none.
    static void setColor(char red, char green, char blue, char alpha, bool vectorial);
    static void setColor(float red, float green, float blue, float alpha, bool vectorial);
    // The material's colours and shine for lighting, and its diffuse colour as the current one; its transparency
    // becomes the alpha if the default channel says so.
    static void setMaterial(const KivMaterial* material, bool vectorial);

    static void drawPoint(Kiv3DPoint point, Kiv3DVector normal, bool vectorial);
    static void drawPoint(Kiv3DPoint point, bool vectorial);
    static void drawLine(const KivLine& line, bool vectorial);
    // In the polyline's own colour. Colour components above 127 come out black.
    static void drawPolyline(const KivPolyline& polyline, bool vectorial);
    // Three points, each with its normal, with one normal for all, or with none.
    static void drawTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals, KivMaterial::textureMode mode,
                             bool vectorial);
    static void drawTriangle(const Kiv3DPoint* points, Kiv3DVector normal, KivMaterial::textureMode mode,
                             bool vectorial);
    static void drawTriangle(const Kiv3DPoint* points, bool vectorial);
    static void drawPolygon(const Kiv3DPoint* points, unsigned int count, bool vectorial);

    // The width of lines in pixels, here and on a vector page, where their ends and bends are round from then on.
    static void setLineWidth(float width, bool vectorial);

    // OpenGL's own lighting. Clears a pending OpenGL error.
    static void enableLighting(bool enabled, bool vectorial);
    // Blending by alpha, here and in the vector page, and the default channel's flag.
    static void enableTransparency(bool enabled, bool vectorial);
    // From here on the current colour is the material's ambient and diffuse colour.
    static void startSettingColors(bool vectorial);
};

#endif
