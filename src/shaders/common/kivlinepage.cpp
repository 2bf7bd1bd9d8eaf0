#include "kivlinepage.h"

#include "kivrender/geometry/kivrestsurface.h"
#include "kivrender/lines/kivtidylines.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivsurface.h"

#include <GL/gl.h>

#include <cmath>
#include <utility>

namespace {

// Plain lines are as wide as one of so many steps per pixel.
constexpr double widthsPerPixel = 10.0;

// Strokes depart from their lines, and plain lines from their strokes, by no more than so many pixels.
constexpr double tolerance = 0.1;

// From an array: each buffer of vertices that glBegin fills while feedback is recorded stays in the memory of Mesa's
// software driver for good (seen with 22.3), half a megabyte for each context at least.
void drawStrip(const std::vector<KivPicturePoint>& path) {
    std::vector<GLfloat> places;
    places.reserve(path.size() * 2);
    for (const KivPicturePoint& point : path) {
        places.push_back(static_cast<GLfloat>(point.x));
        places.push_back(static_cast<GLfloat>(point.y));
    }
    glVertexPointer(2, GL_FLOAT, 0, places.data());
    glDrawArrays(GL_LINE_STRIP, 0, static_cast<GLsizei>(path.size()));
}

} // namespace

KivLinePage::KivLinePage(const KivCamera& camera, double width, double height)
    : collected(kivCollectedDrawing()), engine(KivLineView(camera, width, height)) {}

void KivLinePage::addMesh(const KivMesh& mesh, std::uint32_t object, const KivLineLook& look, double part) {
    sourceOfMesh[&mesh] = sources.size();
    Source& source = sources.emplace_back();
    source.mesh = &mesh;
    source.color = look.color;
    source.look = look;
    source.part = part;
    source.body.surface = kivReadSurface(mesh);
    source.rest = kivRestSurface(mesh, source.body.surface);
    source.isTechnical = source.body.surface.namesEdges;
    source.body.object = object;
    source.body.hides = false;
    source.body.rules.features = look.rules;
    source.body.rules.hidden = collected != nullptr && (collected->wantsHidden || look.hidden);
    // As wide as other edges they count as such.
    source.body.rules.hiddenTangents =
        look.width[static_cast<int>(KivFeatureKind::tangent)] >= look.width[static_cast<int>(KivFeatureKind::crease)];
    source.body.rules.intersections = look.intersections;
    source.body.rules.detail = look.detail;
    source.body.rules.shortest = look.shortest;
}

void KivLinePage::addCourse(std::vector<KivVec> points, bool closed, std::uint32_t color, const KivLineLook& look,
                            double part) {
    Source& source = sources.emplace_back();
    source.color = color;
    source.look = look;
    source.part = part;
    source.course.points = std::move(points);
    source.course.closed = closed;
    source.course.hidden = collected != nullptr && (collected->wantsHidden || look.hidden);
}

void KivLinePage::addOccluder(const KivMesh& mesh) {
    const auto place = sourceOfMesh.find(&mesh);
    if (place != sourceOfMesh.end()) {
        sources[place->second].body.hides = true;
        return;
    }
    Source& source = sources.emplace_back();
    source.mesh = &mesh;
    source.body.surface = kivReadSurface(mesh);
    source.body.drawn = false;
}

bool KivLinePage::isEmpty() const {
    return sources.empty();
}

double KivLinePage::widthOf(const Source& source, KivStrokeKind kind) {
    switch (kind) {
    case KivStrokeKind::contour:
        return source.look.width[static_cast<int>(KivFeatureKind::silhouette)];
    case KivStrokeKind::boundary:
        return source.look.width[static_cast<int>(KivFeatureKind::border)];
    case KivStrokeKind::own:
        return source.look.lineWidth * (source.course.points.size() == 1 ? 2.0 : 1.0);
    case KivStrokeKind::tangent:
        return source.look.width[static_cast<int>(KivFeatureKind::tangent)];
    case KivStrokeKind::crease:
    case KivStrokeKind::edge:
    case KivStrokeKind::material:
    case KivStrokeKind::intersection:
        break;
    }
    return source.look.width[static_cast<int>(KivFeatureKind::crease)];
}

bool KivLinePage::find() {
    for (Source& source : sources) {
        if (source.mesh != nullptr) {
            engine.add(std::move(source.body));
            if (source.rest) {
                engine.setRest(std::move(*source.rest));
            }
        } else {
            engine.add(source.course);
        }
    }
    engine.setEffort(collected != nullptr ? collected->effort : 1.0);
    if (!engine.find()) {
        return false;
    }
    if (collected != nullptr) {
        collected->linesAreCutShort = collected->linesAreCutShort || engine.isCutShort();
    }
    std::vector<KivPennedLine> lines;
    lines.reserve(engine.lines().size());
    for (const KivFoundLine& line : engine.lines()) {
        const Source& source = sources[line.source];
        lines.push_back({line, widthOf(source, line.kind) * source.part, source.isTechnical});
    }
    if (collected != nullptr && !kivTidyLines(engine.occluders().view(), collected->effort, lines)) {
        return false;
    }
    std::size_t work = 0;
    for (const KivPennedLine& penned : lines) {
        const KivFoundLine& line = penned.line;
        constexpr std::size_t pointsPerPoll = 10000;
        work += line.picture.size() + 1;
        if (work > pointsPerPoll) {
            work = 0;
            if (kivIsCancelled()) {
                return false;
            }
        }
        KivStroke stroke = kivStrokeOf(line, tolerance);
        stroke.color = sources[line.source].color;
        stroke.width = penned.width;
        addStroke(std::move(stroke));
    }
    return true;
}

void KivLinePage::addStroke(KivStroke stroke) {
    if (!(stroke.width > 0.0)) {
        return;
    }
    if (collected != nullptr) {
        collected->strokes.push_back(std::move(stroke));
        return;
    }
    const double rounded = std::round(stroke.width * widthsPerPixel) / widthsPerPixel;
    if (rounded > 0.0 && !stroke.hidden) {
        plainPaths[{stroke.color, static_cast<float>(rounded)}].push_back(kivFlattenCurve(stroke.path, tolerance));
    }
}

void KivLinePage::draw() const {
    for (const auto& [style, paths] : plainPaths) {
        const std::uint32_t color = style.first;
        glColor4ub(static_cast<GLubyte>(color & 0xffU), static_cast<GLubyte>((color >> 8U) & 0xffU),
                   static_cast<GLubyte>((color >> 16U) & 0xffU), 255);
        KivDrawing::setLineWidth(style.second, true);
        for (const Path& path : paths) {
            // A dot is a line without a length.
            drawStrip(path.size() == 1 ? Path(2, path[0]) : path);
        }
    }
}
