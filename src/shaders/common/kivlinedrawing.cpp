#include "kivlinedrawing.h"

#include "kivfeaturechains.h"
#include "kivfeatureedges.h"
#include "kivglstate.h"
#include "kivlinepage.h"
#include "kivpixelpainting.h"
#include "kivrender/scene/kivline.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshrest.h"
#include "kivrender/scene/kivpolyline.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivdrawing.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivrender/shader/kivshadercommunication.h"
#include "kivsurface.h"
#include "kivthinnedpath.h"
#include "kivwholestrokes.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

KivVec vecOf(const Kiv3DPoint& p) {
    return {p.x, p.y, p.z};
}

// On which side of the line from a to b, seen in the picture, a third point lies: above 0 on the left. Holds for points
// behind the eye too, as the side that the surface between them takes beside the line.
double sideInPicture(const KivClipPoint& a, const KivClipPoint& b, const KivClipPoint& p) {
    return p.x * (a.y * b.w - a.w * b.y) + p.y * (a.w * b.x - a.x * b.w) + p.w * (a.x * b.y - a.y * b.x);
}

KivVec directionInPicture(const KivClipPoint& a, const KivClipPoint& b, const KivView& view) {
    if (!(a.w > 0.0) || !(b.w > 0.0)) {
        return {};
    }
    const KivWindowPoint p = view.window(a);
    const KivWindowPoint q = view.window(b);
    return kivUnit({q.x - p.x, q.y - p.y, 0.0});
}

KivView viewOfSize(tagSIZE size) {
    return kivCurrentView(std::max(1, static_cast<int>(size.cx)), std::max(1, static_cast<int>(size.cy)));
}

// Further lines of a vector page are looked at in steps of so many pixels, and depart by so many.
constexpr double plainStep = 2.0;
constexpr double plainTolerance = 0.05;

// What it takes to put paths together, in units of the budget: each path, and each of its points.
constexpr std::size_t unitsOfPath = 128;
constexpr std::size_t unitsOfPoint = 8;

// As far as a fold looks for what it hides, and a pixel for rounding.
double depthReach(double pixel) {
    return 2.0 + 2.0 * pixel;
}

} // namespace

void kivSetGlColor(std::uint32_t color) {
    glColor4ub(static_cast<GLubyte>(color & 0xffU), static_cast<GLubyte>((color >> 8U) & 0xffU),
               static_cast<GLubyte>((color >> 16U) & 0xffU), 255);
}

KivLineDrawing::KivLineDrawing(const KivCommonSettings& common, const KivCamera& camera, tagSIZE size,
                               KivShaderCommunication& channel, bool atFront)
    : communication(channel), view(viewOfSize(size)), front(atFront),
      pixel(common.doVectorial() ? 1 : 1 << std::clamp(common.getAntialias(), 0, 2)) {
    if (common.doVectorial()) {
        vectorPage = std::make_unique<KivLinePage>(camera, view.width(), view.height());
    }
}

KivLineDrawing::~KivLineDrawing() = default;

void KivLineDrawing::addOwnLines(const KivMesh&, const KivTablePageSettings&) {}

double KivLineDrawing::plainPart(const KivTablePageSettings&) {
    return 1.0;
}

const KivLineDrawing::Tool& KivLineDrawing::toolOf(const KivTablePageSettings& page) {
    const auto [place, isNew] = tools.try_emplace(&page);
    Tool& tool = place->second;
    if (isNew) {
        tool.look = lookOf(page);
        for (int kind = 0; kind < kivFeatureKinds; ++kind) {
            tool.pen.width[kind] = tool.look.width[kind] * pixel;
        }
        tool.pen.pixel = pixel;
        tool.pen.detail = std::max(tool.look.detail * pixel, 1e-6);
        tool.pen.shortest = tool.look.shortest * pixel;
        tool.pen.smoothing = tool.look.smoothing * pixel;
        tool.pen.hidden = tool.look.hidden;
    }
    return tool;
}

void KivLineDrawing::addJob(Job job) {
    job.object = object;
    jobs.push_back(std::move(job));
}

void KivLineDrawing::addMesh(const KivMesh& mesh, unsigned int number, const KivTablePageSettings& page) {
    if (vectorPage != nullptr) {
        object = number + 1; // in the order of the scene; 0 is what belongs to no object
        vectorPage->addMesh(mesh, object, toolOf(page).look, plainPart(page));
        addOwnLines(mesh, page);
        object = 0;
        return;
    }
    const KivFeatureRules& rules = toolOf(page).look.rules;
    const std::shared_ptr<const KivMeshFeatures> features = kivMeshFeatures(mesh);
    const KivSurface& surface = features->surface;
    // In a pose a strip would turn by more or less than at rest.
    const double pixelSize =
        kivMeshRest(mesh) == nullptr ? kivPixelOnSurface(surface, view.viewpoint(), view.pixelSize(1.0) * pixel) : 0.0;
    const std::vector<bool> creases = kivFeatureCreases(surface, features->wings, rules, pixelSize);
    addEdges(surface.points, kivFeatureEdges(surface, features->wings, creases, view.viewpoint(), rules), page);
    addOwnLines(mesh, page);
    if (toolOf(page).look.intersections) {
        crossings.add(features);
        crossingPages.push_back(&page);
    }
}

// Each line belongs to the first of the two meshes.
bool KivLineDrawing::addCrossings() {
    if (!crossings.find()) {
        return false;
    }
    std::map<const KivTablePageSettings*, std::vector<const KivCrossing*>> piecesOf;
    for (const KivCrossing& piece : crossings.pieces()) {
        piecesOf[crossingPages[piece.bodies[0]]].push_back(&piece);
    }
    for (const KivTablePageSettings* page : crossingPages) {
        const auto pieces = piecesOf.find(page);
        if (pieces != piecesOf.end()) {
            addCrossings(pieces->second, *page);
            piecesOf.erase(pieces);
        }
    }
    return true;
}

void KivLineDrawing::addCrossings(const std::vector<const KivCrossing*>& pieces, const KivTablePageSettings& page) {
    std::vector<KivVec> points;
    for (const KivCrossing* piece : pieces) {
        points.push_back(piece->from);
        points.push_back(piece->to);
    }
    std::uint32_t count = 0;
    const std::vector<std::uint32_t> numbers = kivWeldPoints(points, &count);
    std::vector<KivVec> places(count);
    for (std::size_t i = 0; i < points.size(); ++i) {
        places[numbers[i]] = points[i];
    }
    std::vector<KivFeatureEdge> edges;
    for (std::size_t i = 0; i < points.size(); i += 2) {
        if (numbers[i] != numbers[i + 1]) {
            edges.push_back({numbers[i], numbers[i + 1], KivFeatureKind::crease, numbers[i], true});
        }
    }
    addEdges(places, edges, page);
}

void KivLineDrawing::addEdges(const std::vector<KivVec>& points, const std::vector<KivFeatureEdge>& edges,
                              const KivTablePageSettings& page) {
    const KivLineLook& look = toolOf(page).look;
    KivFeatureDirections directions(edges.size());
    std::vector<int> openSides(edges.size(), 0);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const KivClipPoint a = view.clip(points[edges[i].a]);
        const KivClipPoint b = view.clip(points[edges[i].b]);
        directions[i] = directionInPicture(a, b, view);
        // A sharp fold is drawn in full even where it hides nothing: where a box stands on a floor.
        if (edges[i].kind == KivFeatureKind::silhouette && !edges[i].sharp) {
            openSides[i] = sideInPicture(a, b, view.clip(points[edges[i].beside])) > 0.0 ? -1 : 1;
        }
    }
    for (const KivFeatureChain& chain : kivFeatureChains(edges, directions)) {
        Job job;
        job.closed = chain.closed;
        job.kind = edges[chain.edges[0]].kind;
        job.color = look.color;
        job.page = &page;
        job.width = look.width[static_cast<int>(job.kind)] * pixel;
        job.corners.reserve(chain.edges.size() + 1);
        for (std::size_t i = 0; i < chain.edges.size(); ++i) {
            const KivFeatureEdge& edge = edges[chain.edges[i]];
            const int open = openSides[chain.edges[i]];
            const KivVec& corner = points[chain.reversed[i] ? edge.b : edge.a];
            job.corners.push_back({view.clip(corner), chain.reversed[i] ? -open : open, corner});
        }
        if (!chain.closed) {
            const KivFeatureEdge& edge = edges[chain.edges.back()];
            const KivVec& corner = points[chain.reversed.back() ? edge.a : edge.b];
            job.corners.push_back({view.clip(corner), 0, corner});
        }
        addJob(std::move(job));
    }
}

void KivLineDrawing::addLineJob(const std::vector<KivVec>& points, bool closed, std::uint32_t color,
                                const KivTablePageSettings& page) {
    const KivLineLook& look = toolOf(page).look;
    if (!look.lines || points.empty()) {
        return;
    }
    if (vectorPage != nullptr) {
        vectorPage->addCourse(points, closed, color, look, plainPart(page));
        return;
    }
    Job job;
    job.isGiven = true;
    job.closed = closed && points.size() > 2;
    job.kind = KivFeatureKind::crease; // visible or not, with nothing in between
    job.color = color;
    job.page = &page;
    job.width = look.lineWidth * pixel;
    for (const KivVec& point : points) {
        job.corners.push_back({view.clip(point), 0, point});
    }
    addJob(std::move(job));
}

void KivLineDrawing::addPolyline(const KivPolyline& polyline, const KivTablePageSettings& page) {
    std::vector<KivVec> points;
    points.reserve(static_cast<std::size_t>(polyline.numPoints()));
    for (int i = 0; i < polyline.numPoints(); ++i) {
        points.push_back(vecOf(polyline.getPoint(i)));
    }
    addLineJob(points, polyline.isClosed(), polyline.getColor(), page);
}

void KivLineDrawing::addLine(const KivLine& line, const KivTablePageSettings& page) {
    addLineJob({vecOf(line.getStart()), vecOf(line.getEnd())}, false, toolOf(page).look.color, page);
}

void KivLineDrawing::addPoint(const Kiv3DPoint& point, const KivTablePageSettings& page) {
    addLineJob({vecOf(point)}, false, toolOf(page).look.color, page);
}

bool KivLineDrawing::isEmpty() const {
    return jobs.empty() && (vectorPage == nullptr || vectorPage->isEmpty());
}

void KivLineDrawing::layDepth(const KivMesh& mesh, bool paintedLater) {
    if (vectorPage != nullptr) {
        vectorPage->addOccluder(mesh);
        return;
    }
    float factor = 0.0F;
    float units = 0.0F;
    communication.getPolygonOffset(&factor, &units);
    const KivGlState state;
    glEnable(GL_POLYGON_OFFSET_FILL);
    // A little behind itself, as what paints the surface has an arithmetic of its own and must not fail against it.
    const float behind = paintedLater ? 1.0F : 0.0F;
    glPolygonOffset(factor + behind, units + behind);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_1D);
    glDisable(GL_TEXTURE_2D);
    glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    const KivSurface surface = kivReadSurface(mesh);
    if (surface.triangles.empty()) {
        return;
    }
    std::vector<float> points;
    points.reserve(surface.points.size() * 3);
    for (const KivVec& p : surface.points) {
        points.insert(points.end(), {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
    }
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, points.data());
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(surface.triangles.size() * 3), GL_UNSIGNED_INT,
                   surface.triangles.data());
}

// Asks for the parts of the depth buffer that the lines pass over; of a tile, if there is one.
void KivLineDrawing::wantDepth(double margin, const KivLineTile* tile) {
    for (const Job& job : jobs) {
        const std::size_t count = job.corners.size();
        for (std::size_t i = 0; i < count; ++i) {
            const KivClipPoint& a = job.corners[i].clip;
            const KivClipPoint& b = job.corners[i + 1 < count ? i + 1 : job.closed ? 0 : i].clip;
            double from = 0.0;
            double to = 1.0;
            if (kivClipSegment(a, b, &from, &to)) {
                const KivClipPoint first = kivMix(a, b, from);
                const KivClipPoint last = kivMix(a, b, to);
                if (first.w > 0.0 && last.w > 0.0 &&
                    (tile == nullptr || tile->mayHold(view.window(first), view.window(last)))) {
                    depth.want(view.window(first), view.window(last), margin);
                }
            }
        }
    }
}

void KivLineDrawing::readDepth(const KivLineTile* tile) {
    wantDepth(depthReach(pixel), tile);
    const KivGlState state;
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    const KivFrameCorner corner = kivFrameCorner();
    for (KivDepthImage::Span& span : depth.spans()) {
        glReadPixels(corner.x + span.left, corner.y + span.bottom, span.width, span.height, GL_DEPTH_COMPONENT,
                     GL_FLOAT, span.values.data());
    }
}

bool KivLineDrawing::trace() {
    if (vectorPage != nullptr) {
        return traceExactly();
    }
    if (jobs.empty()) {
        return true;
    }
    depth = KivDepthImage(view.width(), view.height());
    readDepth(nullptr);
    return traceJobs();
}

bool KivLineDrawing::survey(const KivPictureTile& tile) {
    if (jobs.empty()) {
        return true;
    }
    surveyed.resize(jobs.size());
    // Beside the edge of a tile there is no depth to look up; the next one reaches as far beyond it. Lines that leave
    // the picture end on its very edge.
    const double reach = depthReach(pixel);
    const auto inset = [reach](bool atEdge) { return atEdge ? -1.0 : reach; };
    KivLineTile place;
    place.left = tile.left + inset(tile.left == 0);
    place.bottom = tile.bottom + inset(tile.bottom == 0);
    place.right = tile.left + tile.size.cx - inset(tile.left + tile.size.cx == tile.picture.cx);
    place.top = tile.bottom + tile.size.cy - inset(tile.bottom + tile.size.cy == tile.picture.cy);
    for (KivLineSights& sights : surveyed) {
        sights.tile = place;
        sights.next = 0;
        sights.isRecording = true;
    }
    depth = KivDepthImage(tile.size.cx, tile.size.cy, tile.left, tile.bottom);
    readDepth(&place);
    return traceJobs();
}

bool KivLineDrawing::traceSurveyed() {
    traced = true;
    for (KivLineSights& sights : surveyed) {
        sights.isRecording = false;
        sights.next = 0;
    }
    const bool done = traceJobs();
    surveyed = {};
    return done;
}

bool KivLineDrawing::traceJobs() {
    std::vector<Traced> seen;
    std::vector<KivLinePath> paths;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (i % 256 == 0 && kivIsCancelled()) {
            return false;
        }
        const Job& job = jobs[i];
        if (!(job.width > 0.0)) {
            continue;
        }
        KivLinePen pen = toolOf(*job.page).pen;
        pen.width[static_cast<int>(job.kind)] = job.width;
        KivLineTracer tracer(view, depth, pen);
        const bool isRecording = !surveyed.empty() && surveyed[i].isRecording;
        if (!surveyed.empty()) {
            tracer.use(surveyed[i]);
        }
        if (job.corners.size() == 1) {
            KivLinePoint dot;
            if (tracer.sees(job.corners[0].clip, &dot) && !isRecording) {
                takePoint(job, dot);
            }
            continue;
        }
        paths.clear();
        tracer.trace(job.corners, job.closed, job.kind, paths);
        for (std::size_t k = 0; k < paths.size() && !isRecording; ++k) {
            seen.push_back({i, std::move(paths[k])});
        }
    }
    depth = {};
    return takeStrokes(seen);
}

// Lines that are not seen, and those of the derived class, go out as they are; the others as whole strokes.
bool KivLineDrawing::takeStrokes(std::vector<Traced>& seen) {
    std::vector<KivStrokePiece> pieces;
    std::vector<std::size_t> tracedOf;
    std::map<std::tuple<const KivTablePageSettings*, std::uint32_t, double, KivFeatureKind>, std::uint32_t> groups;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const Job& job = jobs[seen[i].job];
        if (seen[i].path.hidden || job.mark != 0 || job.isGiven) {
            if (!polls.spend(unitsOfPath) || !takePath(job, seen[i].path)) {
                return false;
            }
            continue;
        }
        const auto group = static_cast<std::uint32_t>(groups.size());
        const auto key = std::make_tuple(job.page, job.color, job.width, job.kind);
        pieces.push_back({&seen[i].path, groups.try_emplace(key, group).first->second, toolOf(*job.page).pen.shortest});
        tracedOf.push_back(i);
    }
    std::vector<KivWholeStroke> strokes;
    if (!kivWholeStrokes(pieces, pixel, view.width(), view.height(), strokes)) {
        return false;
    }
    for (const KivWholeStroke& stroke : strokes) {
        if (!takeStroke(stroke, tracedOf, seen)) {
            return false;
        }
    }
    return true;
}

bool KivLineDrawing::takeStroke(const KivWholeStroke& stroke, const std::vector<std::size_t>& tracedOf,
                                const std::vector<Traced>& seen) {
    const auto at = [&](std::size_t k) -> const Traced& { return seen[tracedOf[stroke.pieces[k]]]; };
    KivLinePath path;
    Job whole;
    std::map<std::size_t, std::uint32_t> firstCorner; // of the jobs in the whole
    for (std::size_t k = 0; k < stroke.pieces.size(); ++k) {
        const Job& job = jobs[at(k).job];
        if (!polls.spend(unitsOfPath + unitsOfPoint * at(k).path.points.size())) {
            return false;
        }
        const auto [place, isNew] =
            firstCorner.try_emplace(at(k).job, static_cast<std::uint32_t>(whole.corners.size()));
        if (isNew && stroke.pieces.size() > 1) {
            whole.corners.insert(whole.corners.end(), job.corners.begin(), job.corners.end());
            whole.corners.push_back(job.corners.front()); // to which the last side of a ring leads
        }
        kivAppendPath(at(k).path, stroke.reversed[k], place->second, path);
    }
    path.closed = stroke.closed;
    path.startsLoose = stroke.startsLoose;
    path.endsLoose = stroke.endsLoose;
    const Job& first = jobs[at(0).job];
    if (stroke.pieces.size() == 1) {
        return takePath(first, path);
    }
    whole.closed = stroke.closed;
    whole.kind = first.kind;
    whole.color = first.color;
    whole.width = first.width;
    whole.page = first.page;
    whole.object = first.object;
    return takePath(whole, path);
}

bool KivLineDrawing::traceExactly() {
    if (!vectorPage->find()) {
        return false;
    }
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (i % 64 == 0 && kivIsCancelled()) {
            return false;
        }
        if (jobs[i].width > 0.0) {
            for (const KivLinePath& path : seenPaths(jobs[i])) {
                takePlainPath(jobs[i], path);
            }
        }
    }
    return true;
}

// The parts of a line that are seen, in steps.
std::vector<KivLinePath> KivLineDrawing::seenPaths(const Job& job) const {
    const KivOccluders& occluders = vectorPage->occluders();
    const KivLineView& lineView = occluders.view();
    const auto half = static_cast<float>(0.5 * job.width);
    std::vector<KivLinePath> paths;
    std::vector<KivLinePart> parts;
    bool goesOn = false;
    for (std::size_t i = 0; i + (job.closed ? 0 : 1) < job.corners.size(); ++i) {
        const KivVec& a = job.corners[i].place;
        const KivVec& b = job.corners[i + 1 < job.corners.size() ? i + 1 : 0].place;
        occluders.visibleParts(a, b, parts);
        for (const KivLinePart& part : parts) {
            if (!goesOn || part.from > 0.0) {
                paths.emplace_back();
            }
            const KivPicturePoint from = lineView.toPicture(lineView.toCamera(a + (b - a) * part.from));
            const KivPicturePoint to = lineView.toPicture(lineView.toCamera(a + (b - a) * part.to));
            const int steps =
                std::max(1, static_cast<int>(std::ceil(std::hypot(to.x - from.x, to.y - from.y) / plainStep)));
            for (int k = paths.back().points.empty() ? 0 : 1; k <= steps; ++k) {
                const double t = part.from + (part.to - part.from) * k / steps;
                const KivPicturePoint at = lineView.toPicture(lineView.toCamera(a + (b - a) * t));
                paths.back().points.push_back({static_cast<float>(at.x), static_cast<float>(at.y), half});
                paths.back().stations.push_back({static_cast<std::uint32_t>(i), static_cast<float>(t)});
            }
            goesOn = part.to == 1.0;
        }
        goesOn = goesOn && !parts.empty();
    }
    return paths;
}

void KivLineDrawing::takePlainPath(const Job& job, const KivLinePath& path) {
    addPlainPath(job, path);
}

// A pen of one width: that which the path has in the mean.
void KivLineDrawing::addPlainPath(const Job& job, const KivLinePath& path, double part) {
    if (path.hidden || path.points.empty()) {
        return;
    }
    double sum = 0.0;
    KivStroke stroke;
    stroke.object = job.object;
    stroke.kind = KivStrokeKind::own;
    stroke.color = job.color;
    std::vector<KivPicturePoint> points;
    for (const KivLinePoint& point : path.points) {
        sum += 2.0 * static_cast<double>(point.halfWidth);
        points.push_back({static_cast<double>(point.x), static_cast<double>(point.y)});
    }
    stroke.width = part * sum / static_cast<double>(path.points.size());
    stroke.path = kivFitCurve(points, path.closed, plainTolerance);
    vectorPage->addStroke(std::move(stroke));
}

void KivLineDrawing::draw() const {
    const KivPixelPainting painting(view, vectorPage != nullptr || front);
    if (vectorPage != nullptr) {
        vectorPage->draw();
    } else {
        drawPaths();
    }
}
