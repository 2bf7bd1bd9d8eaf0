// What shaders that draw lines have in common: from the objects of the scene to the paths that are seen in the picture.
// What a path looks like is the business of the class derived from this one.
#ifndef SHADERS_COMMON_KIVLINEDRAWING_H
#define SHADERS_COMMON_KIVLINEDRAWING_H

#include "kivdepthimage.h"
#include "kivfeatureedges.h"
#include "kivlinelook.h"
#include "kivlinetracer.h"
#include "kivrender/lines/kivmeshfeatures.h"
#include "kivrender/lines/linebudget.h"
#include "kivrender/platform/kivtypes.h"
#include "kivview.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

class Kiv3DPoint;
class KivCamera;
class KivCommonSettings;
class KivLine;
class KivLinePage;
class KivMesh;
class KivPolyline;
class KivShaderCommunication;
class KivTablePageSettings;
struct KivWholeStroke;
struct KivPictureTile;

// Made with the context of the render current, which must stay so. The steps come in the order of the operations.
// Settings that are handed over must live as long as the drawing.
class KivLineDrawing {
public:
    // size is that of the image that is drawn into. atFront: the lines are to stay in front of what is drawn later.
    KivLineDrawing(const KivCommonSettings& settings, const KivCamera& camera, tagSIZE size,
                   KivShaderCommunication& communication, bool atFront);
    KivLineDrawing(const KivLineDrawing&) = delete;
    KivLineDrawing& operator=(const KivLineDrawing&) = delete;
    virtual ~KivLineDrawing();

    // number: that of the mesh in the scene.
    void addMesh(const KivMesh& mesh, unsigned int number, const KivTablePageSettings& page);
    // Adds the lines where the meshes run into each other, once all are added. False when the render was cancelled
    // meanwhile.
    bool addCrossings();
    void addPolyline(const KivPolyline& polyline, const KivTablePageSettings& page);
    void addLine(const KivLine& line, const KivTablePageSettings& page);
    void addPoint(const Kiv3DPoint& point, const KivTablePageSettings& page);
    bool isEmpty() const;

    // Puts a mesh into the depth buffer alone, pushed back by the polygon offset of the channel. A vector page has no
    // depth buffer: every mesh that hides lines is to be laid here, and hides them exactly. paintedLater: another
    // shader is still to paint the surface, as in previews.
    void layDepth(const KivMesh& mesh, bool paintedLater);
    // Looks up every line in the depth buffer, or finds exactly what is seen of it. False when the render was cancelled
    // meanwhile.
    bool trace();
    void draw() const;

    // Of a picture that is drawn in tiles: records what is seen of each line in the tile, and after all tiles trace
    // goes by that. Both false when the render was cancelled meanwhile.
    bool survey(const KivPictureTile& tile);
    bool traceSurveyed();
    bool isTraced() const {
        return traced;
    }

protected:
    // A line in space with what it is drawn with.
    struct Job {
        std::vector<KivLineCorner> corners;
        bool closed = false;
        KivFeatureKind kind = KivFeatureKind::silhouette;
        std::uint32_t color = 0;
        double width = 0.0; // in pixels of the image; nothing is drawn of a line without
        const KivTablePageSettings* page = nullptr;
        std::uint32_t object = 0; // in a vector drawing
        int mark = 0;             // for the derived class; 0 for what is gathered here
        bool isGiven = false;     // a line of the scene itself: it ends where it ends
    };

    virtual KivLineLook lookOf(const KivTablePageSettings& page) const = 0;
    // Called for every mesh, for further lines on it.
    virtual void addOwnLines(const KivMesh& mesh, const KivTablePageSettings& page);
    // False once the user cancelled.
    virtual bool takePath(const Job& job, const KivLinePath& path) = 0;
    // A point of the scene that is seen; its width is that of the job.
    virtual void takePoint(const Job& job, const KivLinePoint& point) = 0;
    // Of a vector page the lines that are gathered here go out as they are, of this part of their width; of the further
    // jobs the derived class gets what is seen, and adds what it makes of it by addPlainPath.
    virtual double plainPart(const KivTablePageSettings& page);
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
    // One pixel of the finished picture, in pixels of the image; 1 on a vector page.
    double getPixel() const {
        return pixel;
    }
    // Ask for a cancel by the work that paths take; without an end to it.
    LineBudget& getPolls() {
        return polls;
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

    // The seen parts of a line.
    struct Traced {
        std::size_t job = 0;
        KivLinePath path;
    };

    const Tool& toolOf(const KivTablePageSettings& page);
    void addEdges(const std::vector<KivVec>& points, const std::vector<KivFeatureEdge>& edges,
                  const KivTablePageSettings& page);
    void addLineJob(const std::vector<KivVec>& points, bool closed, std::uint32_t color,
                    const KivTablePageSettings& page);
    void addCrossings(const std::vector<const KivCrossing*>& pieces, const KivTablePageSettings& page);
    void wantDepth(double margin, const KivLineTile* tile);
    void readDepth(const KivLineTile* tile);
    bool traceJobs();
    bool takeStrokes(std::vector<Traced>& seen);
    bool takeStroke(const KivWholeStroke& stroke, const std::vector<std::size_t>& tracedOf,
                    const std::vector<Traced>& seen);
    bool traceExactly();
    std::vector<KivLinePath> seenPaths(const Job& job) const;

    KivShaderCommunication& communication;
    KivView view;
    bool front;
    double pixel;
    std::map<const KivTablePageSettings*, Tool> tools;
    std::vector<Job> jobs;
    std::vector<KivLineSights> surveyed; // of the jobs
    bool traced = false;
    KivDepthImage depth;
    LineBudget polls{std::numeric_limits<std::size_t>::max()};
    KivMeshCrossings crossings;
    std::vector<const KivTablePageSettings*> crossingPages; // of the meshes that may cross
    std::uint32_t object = 0;                               // the mesh whose own lines are added
    std::unique_ptr<KivLinePage> vectorPage;                // null for a picture
};

// Makes a colour of the interface OpenGL's current one.
void kivSetGlColor(std::uint32_t color);

#endif
