// What shaders that draw lines have in common: from the objects of the scene to the paths that are seen in the picture.
// What a path looks like is the business of the class derived from this one.
#ifndef SHADERS_COMMON_KIVLINEDRAWING_H
#define SHADERS_COMMON_KIVLINEDRAWING_H

#include "kivdepthimage.h"
#include "kivfeatureedges.h"
#include "kivlinetracer.h"
#include "kivrender/platform/kivtypes.h"
#include "kivsoftdepth.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

class Kiv3DPoint;
class KivCommonSettings;
class KivLine;
class KivMesh;
class KivPolyline;
class KivShaderCommunication;
class KivTablePageSettings;

// Which lines are found, and how wide they are. Lengths in pixels of the finished picture.
struct KivLineLook {
    KivFeatureRules rules;
    std::uint32_t color = 0;
    double width[3] = {2.4, 2.4, 1.6}; // by kind
    bool lines = true;                 // draw the lines, polylines and points of the scene too
    double lineWidth = 1.6;
    double detail = 2.0;
    double shortest = 5.0;
    double smoothing = 1.5;
    bool hidden = false; // trace what is hidden as well
};

// Made with the context of the render current, which must stay so. The steps come in the order of the operations.
// Settings that are handed over must live as long as the drawing.
class KivLineDrawing {
public:
    // size is that of the image that is drawn into. atFront: the lines are to stay in front of what is drawn later.
    KivLineDrawing(const KivCommonSettings& settings, tagSIZE size, KivShaderCommunication& communication,
                   bool atFront);
    KivLineDrawing(const KivLineDrawing&) = delete;
    KivLineDrawing& operator=(const KivLineDrawing&) = delete;
    virtual ~KivLineDrawing();

    void addMesh(const KivMesh& mesh, const KivTablePageSettings& page);
    void addPolyline(const KivPolyline& polyline, const KivTablePageSettings& page);
    void addLine(const KivLine& line, const KivTablePageSettings& page);
    void addPoint(const Kiv3DPoint& point, const KivTablePageSettings& page);
    bool isEmpty() const;

    // Puts a mesh into the depth buffer alone, pushed back by the polygon offset of the channel. A vector page has no
    // depth buffer: there every mesh that hides lines is to be laid. paintedLater: another shader is still to paint the
    // surface, as in previews.
    void layDepth(const KivMesh& mesh, bool paintedLater);
    // Looks up every line in the depth buffer. False when the render was cancelled meanwhile.
    bool trace();
    void draw() const;

protected:
    // A line in space with what it is drawn with.
    struct Job {
        std::vector<KivLineCorner> corners;
        bool closed = false;
        KivFeatureKind kind = KivFeatureKind::silhouette;
        std::uint32_t color = 0;
        double width = 0.0; // in pixels of the image; nothing is drawn of a line without
        const KivTablePageSettings* page = nullptr;
        int mark = 0; // for the derived class; 0 for what is gathered here
    };

    virtual KivLineLook lookOf(const KivTablePageSettings& page) const = 0;
    // Called for every mesh, for further lines on it.
    virtual void addOwnLines(const KivMesh& mesh, const KivTablePageSettings& page);
    // On a vector page paths and points are plain lines and dots, and takePlainPath is called in place of these.
    virtual void takePath(const Job& job, const KivLinePath& path) = 0;
    // A point of the scene that is seen; its width is that of the job.
    virtual void takePoint(const Job& job, const KivLinePoint& point) = 0;
    // A path of a vector page, as it is unless the derived class makes something else of it by addPlainPath; points are
    // paths of two equal points.
    virtual void takePlainPath(const Job& job, const KivLinePath& path);
    // Draws what was taken, in pixels of the image. Lighting, textures, blending and culling are off, the arrays of
    // vertices are on; the state is put back afterwards.
    virtual void drawPaths() const = 0;

    void addJob(Job job);
    // Adds a line to a vector page, as wide as so much of the path's mean width.
    void addPlainPath(const Job& job, const KivLinePath& path, double part = 1.0);

    const KivView& getView() const {
        return view;
    }
    // One pixel of the finished picture, in pixels of the image. On a vector page the image is one that nobody draws:
    // lines are looked up in a depth buffer of our own, some times as large as the page.
    double getPixel() const {
        return pixel;
    }
    bool isAtFront() const {
        return front;
    }

private:
    // What the settings of one page come to.
    struct Tool {
        KivLineLook look;
        KivLinePen pen;
    };

    const Tool& toolOf(const KivTablePageSettings& page);
    void addEdges(const std::vector<KivVec>& points, const std::vector<KivFeatureEdge>& edges,
                  const KivTablePageSettings& page);
    void addLineJob(const std::vector<KivVec>& points, bool closed, std::uint32_t color,
                    const KivTablePageSettings& page);
    void readDepth();
    void drawPlainPaths() const;

    KivShaderCommunication& communication;
    KivView view;
    bool vectorial;
    bool front;
    double pixel;
    std::map<const KivTablePageSettings*, Tool> tools;
    std::vector<Job> jobs;
    KivDepthImage depth;
    // For vector pages.
    std::unique_ptr<KivSoftDepth> softDepth;
    std::map<std::pair<std::uint32_t, float>, std::vector<KivLinePath>> plainPaths; // by colour and width
};

// Makes a colour of the interface OpenGL's current one.
void kivSetGlColor(std::uint32_t color);

#endif
