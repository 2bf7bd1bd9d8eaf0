#include "kivoutlinedrawing.h"

#include "kivoutlinesettings.h"
#include "kivthinnedpath.h"
#include "kivtiletriangles.h"

#include <GL/gl.h>

namespace {

// How far strokes may depart from the path that they follow, in pixels of the image.
constexpr float strokeTolerance = 0.12F;

} // namespace

KivLineLook KivOutlineDrawing::lookOf(const KivTablePageSettings& page) const {
    return kivOutlineLook(page);
}

bool KivOutlineDrawing::takePath(const Job& job, const KivLinePath& path) {
    KivLinePath tapered = path;
    kivTaperEnds(tapered, static_cast<float>(kivOutlineLook(*job.page).taper * getPixel()));
    kivStroke(kivThinnedPath(tapered, strokeTolerance, getPolls()), strokes[job.color], getPolls());
    return getPolls().goesOn();
}

void KivOutlineDrawing::takePoint(const Job& job, const KivLinePoint& point) {
    KivLinePoint dot = point;
    dot.halfWidth = static_cast<float>(job.width);
    kivStrokeDot(dot, strokes[job.color]);
}

void KivOutlineDrawing::drawPaths() const {
    std::vector<std::uint32_t> scratch;
    for (const auto& [color, mesh] : strokes) {
        const std::vector<std::uint32_t>& seen =
            kivTrianglesInTile(mesh.points.data(), 2 * sizeof(float), mesh.indices, scratch);
        if (!seen.empty()) {
            kivSetGlColor(color);
            glVertexPointer(2, GL_FLOAT, 0, mesh.points.data());
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(seen.size()), GL_UNSIGNED_INT, seen.data());
        }
    }
}
