#include "kivhalftonedrawing.h"

#include "kivpixelpainting.h"
#include "kivrender/lines/kivvectordrawing.h"
#include "kivrender/scene/kivmaterial.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivpicturetile.h"
#include "kivsmoothnormals.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

// Bumps of a surface that are smaller than this many pixels are not modelled: the screen stays calm.
constexpr double evenOver = 12.0;
// So far outside of a tile the picture still decides where shapes in it end, in pixels.
constexpr int margin = 48;
constexpr double tolerance = 0.05;
constexpr int sidesOfDisc = 32;

int frameScale(const KivCommonSettings& settings) {
    return settings.doVectorial() ? 1 : 1 << std::clamp(settings.getAntialias(), 0, 2);
}

KivView viewFor(const KivCommonSettings& settings, tagSIZE size) {
    const int scale = frameScale(settings);
    return kivCurrentView(std::max(1, size.cx / scale), std::max(1, size.cy / scale));
}

KivPixelFrame frameFor(const KivCommonSettings& settings, const KivView& view) {
    const KivPictureTile* const tile = settings.doVectorial() ? nullptr : kivPictureTile();
    if (tile == nullptr) {
        return {0, 0, view.width(), view.height()};
    }
    const int scale = frameScale(settings);
    const int left = std::max(0, tile->left / scale - margin);
    const int bottom = std::max(0, tile->bottom / scale - margin);
    return {left, bottom, std::min(view.width(), (tile->left + tile->size.cx) / scale + margin) - left,
            std::min(view.height(), (tile->bottom + tile->size.cy) / scale + margin) - bottom};
}

KivCurvePath circleOf(const KivPicturePoint& middle, double radius) {
    // The cubic that is nearest to a quarter (Goldapp, Approximation of circular arcs by cubic polynomials, 1991).
    const double handle = 0.5519150244935105707 * radius;
    KivCurvePath path;
    path.closed = true;
    path.start = {middle.x + radius, middle.y};
    const double quarters[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    for (int i = 0; i < 4; ++i) {
        const double* const p = quarters[i];
        const double* const q = quarters[(i + 1) % 4];
        KivCurvePiece piece;
        piece.kind = KivCurvePiece::Kind::cubic;
        piece.control[0] = {middle.x + p[0] * radius + q[0] * handle, middle.y + p[1] * radius + q[1] * handle};
        piece.control[1] = {middle.x + q[0] * radius + p[0] * handle, middle.y + q[1] * radius + p[1] * handle};
        piece.end = {middle.x + q[0] * radius, middle.y + q[1] * radius};
        path.pieces.push_back(piece);
    }
    return path;
}

KivCurvePath pathOf(const KivHalftoneShape& shape) {
    return shape.radius > 0.0 ? circleOf(shape.middle, shape.radius) : kivFitCurve(shape.ring, true, tolerance);
}

using Triangles = std::vector<GLfloat>;

void addTriangle(Triangles& to, const KivPicturePoint& a, const KivPicturePoint& b, const KivPicturePoint& c) {
    for (const KivPicturePoint* const p : {&a, &b, &c}) {
        to.push_back(static_cast<GLfloat>(p->x));
        to.push_back(static_cast<GLfloat>(p->y));
    }
}

void addRibbon(Triangles& to, const std::vector<KivPicturePoint>& ring) {
    const std::size_t half = ring.size() / 2;
    const auto across = [&ring](std::size_t i) -> const KivPicturePoint& { return ring[ring.size() - 1 - i]; };
    for (std::size_t i = 0; i + 1 < half; ++i) {
        addTriangle(to, ring[i], across(i), across(i + 1));
        addTriangle(to, ring[i], across(i + 1), ring[i + 1]);
    }
}

std::vector<KivPicturePoint> ringOf(const KivHalftoneShape& shape) {
    if (!(shape.radius > 0.0)) {
        return shape.ring;
    }
    std::vector<KivPicturePoint> ring;
    for (int i = 0; i < sidesOfDisc; ++i) {
        const double turn = 2.0 * std::numbers::pi * i / sidesOfDisc;
        ring.push_back(
            {shape.middle.x + shape.radius * std::cos(turn), shape.middle.y + shape.radius * std::sin(turn)});
    }
    return ring;
}

void addShape(Triangles& to, const KivHalftoneShape& shape) {
    if (shape.isRibbon) {
        addRibbon(to, shape.ring);
        return;
    }
    const std::vector<KivPicturePoint> ring = ringOf(shape);
    for (std::size_t i = 0; i < ring.size(); ++i) {
        addTriangle(to, shape.middle, ring[i], ring[(i + 1) % ring.size()]);
    }
}

} // namespace

KivHalftoneDrawing::KivHalftoneDrawing(const KivCommonSettings& settings, tagSIZE size, KivModelledLight sceneLight)
    : isVectorial(settings.doVectorial()), light(std::move(sceneLight)), view(viewFor(settings, size)),
      surface(view, frameFor(settings, view)) {}

bool KivHalftoneDrawing::addMesh(const KivMesh& mesh, unsigned int object, const KivTablePageSettings* page) {
    Body body;
    body.mesh = std::make_unique<KivShadedMesh>(kivReadShadedMesh(mesh, kivUsualSmoothAngle));
    body.page = page;
    body.object = object;
    if (page != nullptr) {
        const KivHalftoneLook look = kivHalftoneLook(*page);
        kivEvenNormals(body.mesh->points, body.mesh->triangles, body.mesh->normals,
                       kivEvenPasses(*body.mesh, view, evenOver));
        body.color = kivInkOn(look.color, mesh.getMaterial()->getDiffuse(), look.overprint);
        if (std::find(pages.begin(), pages.end(), page) == pages.end()) {
            pages.push_back(page);
        }
    }
    bodies.push_back(std::move(body));
    return surface.add(*bodies.back().mesh, static_cast<std::uint32_t>(bodies.size()));
}

bool KivHalftoneDrawing::print() {
    if (!light) {
        return true;
    }
    for (const KivTablePageSettings* const page : pages) {
        const auto isWanted = [this, page](std::uint32_t body) { return bodies[body - 1].page == page; };
        std::vector<KivHalftoneShape> printed = kivHalftone(kivHalftoneLook(*page).screen, surface, isWanted, light);
        std::move(printed.begin(), printed.end(), std::back_inserter(shapes));
        if (kivIsCancelled()) {
            return false;
        }
    }
    std::stable_sort(shapes.begin(), shapes.end(), [](const KivHalftoneShape& a, const KivHalftoneShape& b) {
        return std::pair(a.body, a.isCrossing) < std::pair(b.body, b.isCrossing);
    });
    return true;
}

// All that one ink prints on one object is one area of many rings.
void KivHalftoneDrawing::collect() const {
    KivVectorDrawing& drawing = *kivCollectedDrawing();
    const KivHalftoneShape* before = nullptr;
    for (const KivHalftoneShape& shape : shapes) {
        if (before == nullptr || before->body != shape.body || before->isCrossing != shape.isCrossing) {
            const Body& body = bodies[shape.body - 1];
            KivArea area;
            area.object = body.object + 1;
            area.color = body.color;
            drawing.areas.push_back(std::move(area));
        }
        drawing.areas.back().rings.push_back(pathOf(shape));
        before = &shape;
    }
}

void KivHalftoneDrawing::paint() const {
    Triangles triangles;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        addShape(triangles, shapes[i]);
        if (i + 1 < shapes.size() && shapes[i + 1].body == shapes[i].body) {
            continue;
        }
        const std::uint32_t color = bodies[shapes[i].body - 1].color;
        glColor4ub(static_cast<GLubyte>(color & 0xffU), static_cast<GLubyte>(color >> 8U & 0xffU),
                   static_cast<GLubyte>(color >> 16U & 0xffU), 255);
        glVertexPointer(2, GL_FLOAT, 0, triangles.data());
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(triangles.size() / 2));
        triangles.clear();
    }
}

void KivHalftoneDrawing::draw(bool atFront) const {
    if (isVectorial && kivCollectedDrawing() != nullptr) {
        collect();
        return;
    }
    const KivPixelPainting painting(view, isVectorial || atFront);
    paint();
}
