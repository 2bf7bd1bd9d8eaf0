#include "kivsketchdrawing.h"

#include "kivsketchflow.h"

#include "kivrender/scene/kivprogress.h"
#include "kivshadedmesh.h"
#include "kivsmoothnormals.h"
#include "kivtiletriangles.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

// How a model without normals is lit: smooth over bends up to this, in degrees.
constexpr double smoothUpTo = kivUsualSmoothAngle;

// Bumps of a surface that are smaller than this many pixels are not modelled: the hatching stays calm.
constexpr double evenOver = 12.0;

// A hatching stroke against one of a line.
constexpr double hatchWidth = 0.7;
constexpr double hatchTone = 0.84;
constexpr double hatchWobble = 0.55;
// The second hatching lies across the first, not square to it, and only where it is darker than this part of the tone.
constexpr double crossAngle = -62.0;
constexpr double crossTone = 0.56;

// Hidden lines against seen ones.
constexpr double hiddenWidth = 0.6;
constexpr double hiddenTone = 0.72;

constexpr std::uint32_t hatchChannel = 1000;

void loadImage(unsigned int texture, int width, int height, const std::vector<std::uint8_t>& image, GLint across) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA8, width, height, 0, GL_ALPHA, GL_UNSIGNED_BYTE, image.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, across);
}

void combine(GLint rgbSource, GLint function, GLint first, GLint second, double scale) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_COMBINE);
    glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_RGB, GL_REPLACE);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_RGB, rgbSource);
    glTexEnvi(GL_TEXTURE_ENV, GL_OPERAND0_RGB, GL_SRC_COLOR);
    glTexEnvf(GL_TEXTURE_ENV, GL_RGB_SCALE, 1.0F);
    glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_ALPHA, function);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE0_ALPHA, first);
    glTexEnvi(GL_TEXTURE_ENV, GL_OPERAND0_ALPHA, GL_SRC_ALPHA);
    glTexEnvi(GL_TEXTURE_ENV, GL_SOURCE1_ALPHA, second);
    glTexEnvi(GL_TEXTURE_ENV, GL_OPERAND1_ALPHA, GL_SRC_ALPHA);
    glTexEnvf(GL_TEXTURE_ENV, GL_ALPHA_SCALE, static_cast<GLfloat>(scale));
}

} // namespace

KivSketchDrawing::KivSketchDrawing(const KivCommonSettings& common, const KivCamera& camera, tagSIZE size,
                                   KivShaderCommunication& channel, bool atFront, KivSketchLight sceneLight)
    : KivLineDrawing(common, camera, size, channel, atFront), light(std::move(sceneLight)) {}

KivLineLook KivSketchDrawing::lookOf(const KivTablePageSettings& page) const {
    return kivSketchLook(page);
}

const KivSketchStyle& KivSketchDrawing::styleOf(const KivTablePageSettings& page) {
    const auto [place, isNew] = styles.try_emplace(&page);
    if (isNew) {
        place->second = kivSketchStyle(page);
    }
    return place->second;
}

KivSketchMesh& KivSketchDrawing::meshOf(Layer layer, const KivTablePageSettings& page) {
    for (Batch& batch : batches) {
        if (batch.layer == layer && batch.page == &page) {
            return batch.mesh;
        }
    }
    batches.push_back({layer, &page, {}});
    return batches.back().mesh;
}

void KivSketchDrawing::addOwnLines(const KivMesh& mesh, const KivTablePageSettings& page) {
    const KivSketchStyle& style = styleOf(page);
    if (!style.hatching || !light || !(style.hatchTone > 0.0)) {
        return;
    }
    KivShadedMesh shaded = kivReadShadedMesh(mesh, smoothUpTo);
    kivEvenNormals(shaded.points, shaded.triangles, shaded.normals,
                   kivEvenPasses(shaded, getView(), evenOver * getPixel()));
    KivSketchTones tones(shaded, light);
    KivSketchHatching hatching;
    hatching.spacing = style.hatchSpacing * getPixel();
    hatching.angle = style.hatchAngle;
    hatching.tone = style.hatchTone;
    hatching.seed = style.seed;
    for (int layer = 0; layer < (style.crossHatching ? 2 : 1) && !kivIsCancelled(); ++layer) {
        if (layer > 0) {
            hatching.angle += style.hatchAroundForm ? 0.0 : crossAngle;
            hatching.tone *= crossTone;
            hatching.seed = kivSketchHash(style.seed, 2);
        }
        const std::vector<KivSketchHatchLine> lines =
            style.hatchAroundForm ? kivSketchFlow(shaded, getView(), tones, hatching, layer > 0 ? crossAngle : 0.0)
                                  : kivSketchHatch(shaded, getView(), tones, hatching);
        for (const KivSketchHatchLine& line : lines) {
            addHatchLine(line, page, style);
        }
    }
}

void KivSketchDrawing::addHatchLine(const KivSketchHatchLine& line, const KivTablePageSettings& page,
                                    const KivSketchStyle& style) {
    Job job;
    job.closed = line.closed;
    job.kind = KivFeatureKind::crease; // seen or not, with nothing in between
    job.color = style.color;
    job.width = style.width * hatchWidth * getPixel();
    job.page = &page;
    job.mark = static_cast<int>(hatchRuns.size()) + 1;
    HatchRun run;
    run.plane = line.plane;
    for (const KivSketchHatchPoint& point : line.points) {
        job.corners.push_back({getView().clip(point.place), 0, point.place});
        run.weights.push_back(static_cast<float>(point.weight));
        run.along.push_back(static_cast<float>(point.along));
    }
    hatchRuns.push_back(std::move(run));
    addJob(std::move(job));
}

KivSketchPoint KivSketchDrawing::pointAt(const Job& job, const KivLinePath& path, std::size_t i) const {
    const KivLineStation& station = path.stations[i];
    const KivVec& from = job.corners[station.corner].place;
    const KivVec& to = job.corners[(station.corner + 1) % job.corners.size()].place;
    KivSketchPoint point;
    point.x = static_cast<double>(path.points[i].x);
    point.y = static_cast<double>(path.points[i].y);
    point.place = from + (to - from) * static_cast<double>(station.part);
    point.unit = getView().pixelSize(getView().clip(point.place).w);
    point.weight = static_cast<double>(path.points[i].halfWidth) * 2.0 / job.width;
    return point;
}

KivSketchHand KivSketchDrawing::handOf(const Job& job, const KivSketchStyle& style) const {
    const double scale = getPixel();
    KivSketchHand hand;
    hand.width = job.width;
    hand.pressure = style.pressure;
    hand.wobble = style.wobble * scale;
    hand.overshoot = style.overshoot * scale;
    hand.strokes = style.strokes;
    hand.length = style.length * scale;
    hand.shortest = style.shortest * scale;
    hand.pixel = scale;
    hand.color = job.color;
    return hand;
}

bool KivSketchDrawing::takePath(const Job& job, const KivLinePath& path) {
    const KivSketchStyle& style = styleOf(*job.page);
    if (job.mark > 0) {
        if (!path.hidden) {
            takeHatchPath(job, path, style);
        }
        return getPolls().goesOn();
    }
    KivSketchLine line;
    line.closed = path.closed;
    line.startsFree = path.startsFree;
    line.endsFree = path.endsFree;
    line.points.reserve(path.points.size());
    for (std::size_t i = 0; i < path.points.size(); ++i) {
        line.points.push_back(pointAt(job, path, i));
    }
    KivSketchHand hand = handOf(job, style);
    if (path.hidden) {
        hand.width *= hiddenWidth;
        hand.tone = hiddenTone;
        hand.strokes = 1;
        hand.overshoot = 0.0;
        hand.dashed = style.hidden == KivSketchHidden::dashed;
    }
    kivSketchStrokes(line, hand, kivSketchMedium(style.tool), KivSketchNoise(style.seed),
                     meshOf(path.hidden ? Layer::hidden : Layer::lines, *job.page), getPolls());
    return getPolls().goesOn();
}

// A hatching line is drawn in strokes of about one length, lifted where it is light.
void KivSketchDrawing::takeHatchPath(const Job& job, const KivLinePath& path, const KivSketchStyle& style) {
    const HatchRun& run = hatchRuns[static_cast<std::size_t>(job.mark) - 1];
    const KivSketchMedium medium = kivSketchMedium(style.tool);
    const KivSketchNoise noise(style.seed);
    KivSketchMesh& mesh = meshOf(Layer::hatching, *job.page);
    KivSketchHand hand = handOf(job, style);
    hand.wobble *= hatchWobble;
    hand.overshoot = 0.0;
    hand.strokes = 1;
    hand.length = 0.0;
    hand.tone = hatchTone;
    hand.grows = true;
    hand.channel = hatchChannel + run.plane % 8192U;
    for (const HatchStroke& stroke : strokesOf(run, path)) {
        KivSketchLine line;
        for (std::size_t i = 0; i < stroke.weights.size(); ++i) {
            line.points.push_back(pointAt(job, path, stroke.first + i));
            line.points.back().weight = stroke.weights[i];
        }
        kivSketchStrokes(line, hand, medium, noise, mesh, getPolls());
    }
}

// Lines that are gone over are darker, but not as often as that happens: the strokes lie on each other.
double KivSketchDrawing::plainPart(const KivTablePageSettings& page) {
    const KivSketchStyle& style = styleOf(page);
    return (1.0 + 0.3 * std::min(style.strokes - 1, 2)) * plainWidth(style, 1.0, 1.0);
}

void KivSketchDrawing::takePlainPath(const Job& job, const KivLinePath& path) {
    const KivSketchStyle& style = styleOf(*job.page);
    for (const HatchStroke& stroke : strokesOf(hatchRuns[static_cast<std::size_t>(job.mark) - 1], path)) {
        const auto first = static_cast<std::ptrdiff_t>(stroke.first);
        const auto end = first + static_cast<std::ptrdiff_t>(stroke.weights.size());
        KivLinePath piece;
        piece.hidden = path.hidden;
        piece.points.assign(path.points.begin() + first, path.points.begin() + end);
        piece.stations.assign(path.stations.begin() + first, path.stations.begin() + end);
        double weight = 0.0;
        for (const double each : stroke.weights) {
            weight += each;
        }
        addPlainPath(job, piece, plainWidth(style, hatchTone, weight / static_cast<double>(stroke.weights.size())));
    }
}

double KivSketchDrawing::plainWidth(const KivSketchStyle& style, double tone, double weight) {
    const KivSketchMedium medium = kivSketchMedium(style.tool);
    // As a stroke is pressed in the mean between where it lands and where it leaves.
    constexpr double force = 0.7;
    const double lightness = 1.0 - (1.0 - style.pressure * (1.0 - force)) * (0.25 + 0.75 * weight);
    return (1.0 - medium.thinning * lightness) *
           kivSketchInk(medium, style.grain, tone * (1.0 - medium.fading * lightness) * medium.peak);
}

// From where the line is pressed to where it is lifted or the next stroke begins.
std::vector<KivSketchDrawing::HatchStroke> KivSketchDrawing::strokesOf(const HatchRun& run, const KivLinePath& path) {
    constexpr double lifted = 0.03;
    std::vector<HatchStroke> strokes;
    HatchStroke stroke;
    const auto finish = [&] {
        if (stroke.weights.size() > 1) {
            strokes.push_back(stroke);
        }
        stroke.weights.clear();
    };
    double number = 0.0;
    for (std::size_t i = 0; i < path.points.size(); ++i) {
        const KivLineStation& station = path.stations[i];
        const std::size_t next = (station.corner + 1) % run.weights.size();
        const auto between = [&station, next](const std::vector<float>& values) {
            const float from = values[station.corner];
            return static_cast<double>(from + (values[next] - from) * station.part);
        };
        const double weight = between(run.weights);
        const double at = between(run.along);
        if (!(weight > lifted) || (!stroke.weights.empty() && std::floor(at) != number)) {
            finish();
        }
        if (weight > lifted) {
            if (stroke.weights.empty()) {
                stroke.first = i;
            }
            number = std::floor(at);
            stroke.weights.push_back(weight);
        }
    }
    finish();
    return strokes;
}

// A dab.
void KivSketchDrawing::takePoint(const Job& job, const KivLinePoint& point) {
    const KivSketchStyle& style = styleOf(*job.page);
    KivSketchHand hand = handOf(job, style);
    hand.strokes = 1;
    hand.shortest = 0.0;
    hand.width *= 1.6;
    hand.pressure = 0.0;
    KivSketchLine line;
    for (const double side : {-0.5, 0.0, 0.5}) {
        KivSketchPoint p;
        p.x = static_cast<double>(point.x) + side * hand.width;
        p.y = static_cast<double>(point.y);
        p.place = job.corners[0].place;
        p.unit = getView().pixelSize(job.corners[0].clip.w);
        line.points.push_back(p);
    }
    kivSketchStrokes(line, hand, kivSketchMedium(style.tool), KivSketchNoise(style.seed),
                     meshOf(Layer::lines, *job.page), getPolls());
}

// The first texture unit gives a stroke its profile, the second takes away what the hollows of the paper keep.
void KivSketchDrawing::bindMedium(const KivSketchStyle& style, unsigned int profile, unsigned int tooth) const {
    const KivSketchMedium medium = kivSketchMedium(style.tool);
    glActiveTexture(GL_TEXTURE0);
    glDisable(GL_TEXTURE_1D);
    glEnable(GL_TEXTURE_2D);
    loadImage(profile, kivProfileLength, kivProfileWidth, kivProfileImage(medium, style.grain, style.seed),
              GL_CLAMP_TO_EDGE);
    combine(GL_PRIMARY_COLOR, GL_MODULATE, GL_PRIMARY_COLOR, GL_TEXTURE, 1.0);
    glActiveTexture(GL_TEXTURE1);
    glDisable(GL_TEXTURE_1D);
    glEnable(GL_TEXTURE_2D);
    loadImage(tooth, kivToothSize, kivToothSize, kivToothImage(medium, style.grain, style.seed), GL_REPEAT);
    combine(GL_PREVIOUS, GL_SUBTRACT, GL_PREVIOUS, GL_TEXTURE, medium.gain);
    const auto scale = static_cast<GLfloat>(1.0 / (kivToothSize * medium.toothSize * getPixel()));
    const GLfloat planes[2][4] = {{scale, 0.0F, 0.0F, 0.0F}, {0.0F, scale, 0.0F, 0.0F}};
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
    glTexGenfv(GL_S, GL_OBJECT_PLANE, planes[0]);
    glTexGenfv(GL_T, GL_OBJECT_PLANE, planes[1]);
    glEnable(GL_TEXTURE_GEN_S);
    glEnable(GL_TEXTURE_GEN_T);
}

void KivSketchDrawing::drawPaths() const {
    if (batches.empty()) {
        return;
    }
    GLuint textures[2] = {0, 0};
    glGenTextures(2, textures);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
    glShadeModel(GL_SMOOTH);
    if (isAtFront()) {
        // Later paint fills the grain of the strokes.
        glEnable(GL_ALPHA_TEST);
        glAlphaFunc(GL_GREATER, 0.3F);
    }
    glEnableClientState(GL_COLOR_ARRAY);
    glClientActiveTexture(GL_TEXTURE0);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    const KivTablePageSettings* bound = nullptr;
    std::vector<std::uint32_t> scratch;
    for (const Layer layer : {Layer::hatching, Layer::hidden, Layer::lines}) {
        for (const Batch& batch : batches) {
            const std::vector<KivSketchVertex>& vertices = batch.mesh.vertices;
            if (batch.layer != layer || batch.mesh.indices.empty()) {
                continue;
            }
            const std::vector<std::uint32_t>& seen =
                kivTrianglesInTile(&vertices[0].x, sizeof(KivSketchVertex), batch.mesh.indices, scratch);
            if (seen.empty()) {
                continue;
            }
            if (batch.page != bound) {
                bindMedium(styles.at(batch.page), textures[0], textures[1]);
                bound = batch.page;
            }
            constexpr GLsizei stride = sizeof(KivSketchVertex);
            glVertexPointer(2, GL_FLOAT, stride, &vertices[0].x);
            glTexCoordPointer(2, GL_FLOAT, stride, &vertices[0].along);
            glColorPointer(4, GL_UNSIGNED_BYTE, stride, vertices[0].color.data());
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(seen.size()), GL_UNSIGNED_INT, seen.data());
        }
    }
    glDeleteTextures(2, textures);
}
