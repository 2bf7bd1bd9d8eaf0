#include "kivrender/render/kivrenderforecast.h"

#include "kivrender/render/kivdrawingcollector.h"
#include "kivrender/settings/kivcommonsettings.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace {

// Milliseconds for a thousand triangles, or for a million pixels, of the picture or of the area of what is drawn in it.
// Seen on two idle cores of llvmpipe with the shaders that come with the library; others are taken to be like them.
// Volumes are by far the worst where a light draws many, and every look at a buffer costs as much as drawing into it.
namespace cost {
constexpr double orderTriangles = 0.8;
constexpr double paintTriangles = 0.55;
constexpr double paintArea = 2.8;
constexpr double shineArea = 15.0;     // bent surfaces that shine are divided finely
constexpr double startPainting = 18.0; // the driver makes its machine code
constexpr double startShowing = 12.0;
constexpr double paintMesh = 0.2; // of each one, whatever its size
constexpr double recordMesh = 0.45;
constexpr double showPixels = 1.0; // the growing picture, once at least
constexpr double depthTriangles = 0.45;
constexpr double depthPixels = 5.0;
constexpr double volumeTriangles = 1.5;
constexpr double volumePixels = 22.0; // the stencils of a light and their sum
constexpr double volumeArea = 1.3;
constexpr double litTriangles = 0.5;
constexpr double litArea = 8.0;
constexpr double litPixels = 3.0;
constexpr double litShineArea = 27.0;
constexpr double lineMesh = 0.02;
constexpr double lineTriangles = 0.7;
constexpr double aheadTriangles = 0.06; // what is left of them for the drawing thread
constexpr double traceLines = 1.2;      // of as many lines as a smooth surface has, the root of triangles times meshes
constexpr double traceTriangles = 1.0;  // in drawings, with all else about lines
constexpr double tracePlainLines = 0.4;
constexpr double tracePixels = 0.3; // the depth buffer is read back
constexpr double strokeLines = 0.1;
constexpr double strokePixels = 0.15;
constexpr double saveDepth = 2.5;
constexpr double restoreDepth = 3.5;
constexpr double glassTriangles = 4.0;
constexpr double glassLights = 2.0;
constexpr double glassArea = 6.5;
constexpr double readBack = 0.3;
constexpr double reduce = 1.5;
constexpr double encode = 7.3;
constexpr double encodePaper = 33.0; // of grain there is more to pack
constexpr double paper = 14.0;
constexpr double background = 10.0;
constexpr double translate = 0.5;
constexpr double pagePrimitives = 4.6;
constexpr double joinLines = 0.5;
constexpr double mergeTriangles = 2.1;
constexpr double tessellateFaces = 1.8;
constexpr double simplePrimitives = 4.5;
constexpr double collectedFaces = 9.0; // of areas and strokes as data
constexpr double collectedTriangles = 5.0;
constexpr double collectedRegions = 2.5;
constexpr double collectedShine = 36.0; // regions of its many tones
} // namespace cost

// Of what a drawing has for each triangle of the scene: those that show light and shade are divided.
constexpr double piecesPerTriangle = 1.25;
constexpr double piecesPerShinyTriangle = 3.5;
constexpr double linesPerLine = 0.1; // of which the shaders make several
constexpr double facesPerTriangle = 0.6;
// Of what is drawn that OpenGL has left for the end, when it is waited for.
constexpr double leftForEnd = 0.25;
// How much of the time of a page goes by before the first primitive is told: the order of painting.
constexpr double untold = 0.7;

// By how much a thousand of so many thousand primitives take longer than of few: they no longer fit the caches.
double slowness(double thousands) {
    return std::pow(std::max(thousands / 300.0, 1.0), 0.25);
}

double piecesOf(const KivSceneWork::Mesh& mesh) {
    return mesh.triangles * (mesh.isShiny ? piecesPerShinyTriangle : piecesPerTriangle);
}

unsigned int countOf(double number) {
    return static_cast<unsigned int>(std::clamp(number, 1.0, 4e9));
}

} // namespace

KivRenderForecast::KivRenderForecast(const KivSceneWork& sceneWork, const KivCommonSettings& common, double finalSize,
                                     const Shaders& drawing)
    : work(sceneWork), settings(common), finalPixels(finalSize), shaders(drawing) {
    addOrdering();
    addImage(!settings.getBackgroundImage().empty(), cost::background);
    if (settings.doShadows()) {
        addShadowedSurfaces();
    } else if (settings.doTransparencies()) {
        addOpaqueSurfaces();
    } else {
        addPlainSurfaces();
    }
    if (shaders.named > 0) {
        addRow(shaders.named, true);
    }
    addRow(shaders.combinables, false);
    addTransparent();
    addImage(!settings.getPaperImage().empty(), cost::paper);
    addVectorPage();
    finish();
}

KivStepForecast& KivRenderForecast::add() {
    return forecast.steps.emplace_back();
}

// In the passes; the rest comes as transparent triangles.
bool KivRenderForecast::isDrawn(const KivSceneWork::Mesh& mesh) const {
    return !settings.doTransparencies() || mesh.isOpaque;
}

double KivRenderForecast::sum(double (*of)(const KivSceneWork::Mesh&), bool opaqueOnly) const {
    double all = 0.0;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        all += !opaqueOnly || isDrawn(mesh) ? of(mesh) : 0.0;
    }
    return all;
}

double KivRenderForecast::paintTime(const KivSceneWork::Mesh& mesh) const {
    if (settings.doVectorial()) {
        return cost::recordMesh + cost::paintTriangles * piecesOf(mesh) / piecesPerTriangle;
    }
    const double shine = mesh.isShiny ? cost::shineArea : 0.0;
    return cost::paintMesh + cost::paintTriangles * mesh.triangles + (cost::paintArea + shine) * mesh.area;
}

void KivRenderForecast::addOrdering() {
    if (settings.doTransparencies()) {
        const double all = sum([](const KivSceneWork::Mesh& mesh) { return mesh.triangles; }, false);
        const double opaque = sum([](const KivSceneWork::Mesh& mesh) { return mesh.triangles; }, true);
        add().units = cost::orderTriangles * (all - opaque);
    }
}

void KivRenderForecast::addImage(bool shown, double perPixel) {
    if (shown) {
        add().lead = settings.doVectorial() ? 0.0 : perPixel * work.pixels;
    }
}

// Three units for each mesh. The first mesh is waited for, as it is shown; part of what the others draw comes at the
// end, when OpenGL is waited for.
void KivRenderForecast::addPlainSurfaces() {
    KivStepForecast& step = add();
    if (!shaders.hasBase) {
        return;
    }
    const bool isPicture = !settings.doVectorial();
    double start = cost::startPainting;
    double show = isPicture ? cost::startShowing + cost::showPixels * work.pixels : 0.0;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        const double time = paintTime(mesh);
        const double own = std::min(time, cost::paintMesh + cost::paintTriangles * mesh.triangles);
        const double later = isPicture && start == 0.0 ? leftForEnd * (time - own) : 0.0;
        step.shares.insert(step.shares.end(), {start + own, 0.0, time - own - later + show});
        step.units += start + time - later + show;
        step.tail += later;
        start = 0.0;
        show = 0.0;
    }
}

void KivRenderForecast::addOpaqueSurfaces() {
    KivStepForecast& step = add();
    step.lead = cost::startPainting;
    step.lead += settings.doVectorial() ? 0.0 : cost::startShowing + cost::showPixels * work.pixels;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        if (mesh.isOpaque) {
            step.units += paintTime(mesh);
            step.shares.push_back(paintTime(mesh));
        }
    }
    step.shares.resize(step.shares.size() * 3, 0.0); // the other two passes are seldom used
}

void KivRenderForecast::addShadowedSurfaces() {
    KivStepForecast& depth = add();
    depth.lead = cost::startPainting;
    depth.tail = cost::startShowing + cost::depthPixels * work.pixels;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        const double time = isDrawn(mesh) ? cost::paintMesh + cost::depthTriangles * mesh.triangles : 0.0;
        depth.units += time;
        depth.shares.push_back(time);
    }
    addVolumes(false);
    KivStepForecast& lit = add();
    const std::size_t meshes = work.meshes.size();
    // The passes with ambient light and with what shines, then those of all lights, which tell a unit for a mesh.
    lit.shares.resize(meshes * (2 + work.lights), 0.0);
    lit.tail = cost::litPixels * work.pixels;
    for (std::size_t i = 0; i < meshes; ++i) {
        const KivSceneWork::Mesh& mesh = work.meshes[i];
        if (!isDrawn(mesh)) {
            continue;
        }
        const double shine = mesh.isShiny ? cost::litShineArea : 0.0;
        const double first =
            cost::paintMesh + cost::litTriangles * mesh.triangles + (cost::litArea + shine) * mesh.area;
        const double again = (cost::litArea * mesh.area + cost::litTriangles / 3.0 * mesh.triangles) * work.lights;
        lit.shares[i] = first;
        lit.units += first;
        if (work.lights > 0 && work.lights <= meshes) {
            lit.shares[2 * meshes + i] = again;
            lit.units += again;
        } else {
            lit.tail += again; // too few meshes to tell anything
        }
    }
}

// What a light's volumes draw is done when its stencils are read: with the first unit of the next light, or at the end.
void KivRenderForecast::addVolumes(bool withGlass) {
    KivStepForecast& step = add();
    step.lead = 0.1 * cost::volumePixels * work.pixels;
    step.gap = withGlass ? cost::saveDepth * work.pixels : 0.0;
    double reading = cost::volumePixels * work.pixels;
    std::vector<double> ofLight;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        // Sides reach from the outline, as long as a square's of the mesh's area, over half the picture; front and
        // back.
        const double sides = 2.0 * std::sqrt(mesh.area / 2.0 * 1e6) * work.side / 1e6;
        reading += cost::volumeArea * (sides + 2.0 * mesh.area);
        ofLight.push_back(cost::paintMesh + cost::volumeTriangles * mesh.triangles);
    }
    for (unsigned int light = 0; light < work.lights; ++light) {
        const std::size_t first = step.shares.size();
        step.shares.insert(step.shares.end(), ofLight.begin(), ofLight.end());
        if (light > 0 && first < step.shares.size()) {
            step.shares[first] += reading;
        }
    }
    step.units = std::accumulate(step.shares.begin(), step.shares.end(), 0.0);
    step.tail = work.lights > 0 ? reading : 0.0;
}

// What a thousand triangles take until their edges are found: of all of them on this thread, or what the other thread
// has not done by then, which works since the surfaces began.
double KivRenderForecast::edgeTime(double triangles) const {
    if (!shaders.edgesAhead) {
        return settings.doVectorial() ? cost::aheadTriangles : cost::lineTriangles; // drawings find them later
    }
    double sinceBegin = 0.0;
    for (const KivStepForecast& step : forecast.steps) {
        sinceBegin += step.total();
    }
    const double left = std::max(cost::lineTriangles * triangles - sinceBegin, 0.0);
    return cost::aheadTriangles + (triangles > 0.0 ? left / triangles : 0.0);
}

// What one shader of a row tells in the four steps that it believes to have: in the first a unit for each mesh,
// polyline and the rest, in the others one for each mesh and the rest. The second has next to nothing to do; those of
// the last two come all at once.
std::vector<double> KivRenderForecast::lineUnits(bool named) const {
    const bool vectorial = settings.doVectorial();
    const std::size_t meshes = work.meshes.size();
    const std::size_t first = meshes + work.polylines + 1;
    const std::size_t further = meshes + 1;
    std::vector<double> times(first + 3 * further, 0.0);
    double triangles = 0.0;
    for (const KivSceneWork::Mesh& mesh : work.meshes) {
        triangles += named || mesh.hasOwnLook ? mesh.triangles : 0.0;
    }
    const double perThousand = edgeTime(triangles);
    for (std::size_t i = 0; i < meshes; ++i) {
        const KivSceneWork::Mesh& mesh = work.meshes[i];
        times[i] = named || mesh.hasOwnLook ? cost::lineMesh + perThousand * mesh.triangles : 0.0;
    }
    if (triangles > 0.0) {
        const double lines = std::sqrt(triangles * static_cast<double>(meshes));
        times[first + further] = vectorial ? cost::tracePlainLines * lines + cost::traceTriangles * triangles
                                           : cost::traceLines * lines + cost::tracePixels * work.pixels;
        times[first + 2 * further] = vectorial ? 0.0 : cost::strokeLines * lines + cost::strokePixels * work.pixels;
    }
    return times;
}

// All shaders one after the other, on as many units as one has. Each object is drawn by one of those that the style
// does not name.
void KivRenderForecast::addRow(int number, bool named) {
    const std::vector<double> times = lineUnits(named);
    const std::size_t all = times.size();
    const auto count = static_cast<std::size_t>(std::max(number, 1));
    std::vector<double> told(all, 0.0);
    for (std::size_t i = 0; i < all * count; ++i) {
        told[i / count] += times[i % all] / (named ? 1.0 : static_cast<double>(count));
    }
    const std::size_t further = work.meshes.size() + 1;
    std::size_t from = 0;
    for (const std::size_t to : {all - 3 * further, all - 2 * further, all - further, all}) {
        KivStepForecast& step = add();
        step.shares.assign(told.begin() + static_cast<std::ptrdiff_t>(from),
                           told.begin() + static_cast<std::ptrdiff_t>(to));
        step.units = std::accumulate(step.shares.begin(), step.shares.end(), 0.0);
        from = to;
    }
}

void KivRenderForecast::addTransparent() {
    if (!settings.doTransparencies()) {
        return;
    }
    const auto triangles = [](const KivSceneWork::Mesh& mesh) { return mesh.triangles; };
    const auto area = [](const KivSceneWork::Mesh& mesh) { return mesh.area; };
    const double glass = sum(triangles, false) - sum(triangles, true);
    const double glassArea = sum(area, false) - sum(area, true);
    const unsigned int lights = settings.doShadows() ? work.lights : 0;
    if (settings.doShadows()) {
        KivStepForecast& depth = add();
        depth.gap = cost::saveDepth * work.pixels;
        depth.units = cost::depthTriangles * glass * 5.0;
        addVolumes(true);
    }
    KivStepForecast& step = add();
    step.gap = settings.doShadows() ? cost::restoreDepth * work.pixels : 0.0;
    step.units = (cost::glassTriangles + cost::glassLights * lights) * glass;
    step.tail = settings.doVectorial() ? 0.0 : cost::glassArea * glassArea * (1.0 + lights);
}

// For a thousand primitives of a drawing whose areas come about in that way.
double KivRenderForecast::collectedTime(KivDrawingCollector::Areas areas) const {
    if (areas == KivDrawingCollector::Areas::faces) {
        return cost::collectedFaces;
    }
    if (areas == KivDrawingCollector::Areas::triangles) {
        return cost::collectedTriangles;
    }
    const double pieces = sum(piecesOf, false);
    const double shiny = sum([](const KivSceneWork::Mesh& mesh) { return mesh.isShiny ? piecesOf(mesh) : 0.0; }, false);
    return cost::collectedRegions +
           (pieces > 0.0 ? (cost::collectedShine - cost::collectedRegions) * shiny / pieces : 0.0);
}

void KivRenderForecast::addVectorPage() {
    if (!settings.doVectorial()) {
        return;
    }
    const double pieces = shaders.hasBase ? sum(piecesOf, false) : 0.0;
    const double triangles = sum([](const KivSceneWork::Mesh& mesh) { return mesh.triangles; }, false);
    const double lines = linesPerLine * std::sqrt(triangles * static_cast<double>(work.meshes.size()));
    const double primitives = std::max(pieces + lines, 0.001);
    const auto addStage = [this](double thousands, double perThousand, double leading) {
        KivStepForecast& step = add();
        step.guess = countOf(thousands * 1e3);
        step.lead = perThousand * thousands * leading;
        step.units = perThousand * thousands * (1.0 - leading);
    };
    // The same four steps or one as are laid out.
    const KivDrawingCollector* const collector = KivDrawingCollector::current();
    const bool isMerged =
        collector != nullptr ? collector->areas() == KivDrawingCollector::Areas::faces : settings.doVectorSimplify();
    const double ofFew = collector != nullptr ? collectedTime(collector->areas())
                         : isMerged           ? cost::simplePrimitives
                                              : cost::pagePrimitives;
    const double perPrimitive = ofFew * (isMerged || collector == nullptr ? slowness(primitives) : 1.0);
    const double lead = collector != nullptr ? 0.95 : untold;
    if (isMerged) {
        addStage(lines, cost::joinLines, 1.0);
        forecast.steps.back().gap = cost::translate * primitives;
        addStage(pieces, cost::mergeTriangles * slowness(pieces), 0.25);
        addStage(pieces * facesPerTriangle, cost::tessellateFaces, 0.0);
        addStage(primitives * 2.0, perPrimitive / 2.0, lead);
    } else {
        addStage(primitives, perPrimitive, lead);
    }
}

// The picture is read back before its reduction, which ends it, and written behind it.
void KivRenderForecast::finish() {
    KivStepForecast& step = add();
    if (settings.doVectorial()) {
        step.gap = 2.0;
        forecast.after = 3.0;
        return;
    }
    step.gap = cost::readBack * work.pixels;
    step.lead = settings.getAntialias() > 0 ? cost::reduce * work.pixels : 0.0;
    const double encode = settings.getPaperImage().empty() ? cost::encode : cost::encodePaper;
    forecast.after = settings.doSaveRender() ? encode * finalPixels : 0.0;
}
