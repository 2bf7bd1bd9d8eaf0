// One picture's lines, from the objects of the scene to the strokes in the colour buffer.
#ifndef SHADERS_OUTLINE_KIVOUTLINEDRAWING_H
#define SHADERS_OUTLINE_KIVOUTLINEDRAWING_H

#include "kivoutlinelines.h"
#include "kivoutlinesettings.h"
#include "kivoutlinestroke.h"
#include "kivrender/platform/kivtypes.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

class Kiv3DPoint;
class KivCommonSettings;
class KivLine;
class KivMesh;
class KivPolyline;
class KivShaderCommunication;

// Made with the context of the render current, which must stay so. The steps come in the order of the operations.
class KivOutlineDrawing {
public:
    // size is that of the image that is drawn into. atFront: the lines are to stay in front of what is drawn later.
    KivOutlineDrawing(const KivCommonSettings& settings, tagSIZE size, KivShaderCommunication& communication,
                      bool atFront);

    void addMesh(const KivMesh& mesh, const KivOutlineLook& look);
    void addPolyline(const KivPolyline& polyline, const KivOutlineLook& look);
    void addLine(const KivLine& line, const KivOutlineLook& look);
    void addPoint(const Kiv3DPoint& point, const KivOutlineLook& look);
    bool isEmpty() const;

    // Puts a mesh into the depth buffer alone, pushed back by the polygon offset of the channel.
    void layDepth(const KivMesh& mesh) const;
    // Looks up every line in the depth buffer. False when the render was cancelled meanwhile.
    bool trace();
    void draw() const;

private:
    // A line in space with what it is drawn with.
    struct Job {
        std::vector<KivOutlineCorner> corners;
        bool closed = false;
        KivOutlineKind kind = KivOutlineKind::silhouette;
        std::uint32_t color = 0;
        double width = 0.0; // in pixels of the image
        std::size_t pen = 0;
    };

    std::size_t penOf(const KivOutlineLook& look);
    void addJob(const std::vector<KivVec>& points, bool closed, std::uint32_t color, const KivOutlineLook& look);
    void readDepth();
    void drawInSpace() const;

    const KivCommonSettings& settings;
    KivShaderCommunication& communication;
    KivView view;
    bool vectorial;
    bool front;
    double pixel; // one pixel of the finished picture
    std::vector<KivOutlinePen> pens;
    std::vector<Job> jobs;
    KivDepthImage depth;
    std::map<std::uint32_t, KivStrokeMesh> strokes; // by colour
    // For vector output: the ends of the lines, two by two, by colour and width.
    std::map<std::pair<std::uint32_t, double>, std::vector<KivVec>> segments;
};

#endif
