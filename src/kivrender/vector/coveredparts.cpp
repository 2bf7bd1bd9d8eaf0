#include "kivrender/vector/coveredparts.h"

#include "kivrender/vector/facerelation.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

struct Place {
    double x = 0;
    double y = 0;
};

// Distances from a line in grid steps, of the vertices farthest from it.
struct Reach {
    double positive = 0;
    double negative = 0;
};

Reach reachOf(const FeedbackPrimitive& shape, const WindowLine& line) {
    const double steps = ScreenGrid::stepsPerPixel / std::hypot(line.a, line.b);
    Reach reach;
    for (const FeedbackVertex& vertex : shape.vertices) {
        const double distance = line.at(vertex) * steps;
        reach.positive = std::max(reach.positive, distance);
        reach.negative = std::max(reach.negative, -distance);
    }
    return reach;
}

WindowLine lineOf(const ScreenLine& side) {
    return {side.a * ScreenGrid::stepsPerPixel, side.b * ScreenGrid::stepsPerPixel, static_cast<double>(side.c)};
}

// Leaves what lies on the left of the line (Sutherland and Hodgman, Reentrant polygon clipping, 1974).
void clip(std::vector<Place>& polygon, const ScreenLine& line) {
    const auto at = [&line](const Place& place) {
        return line.a * place.x + line.b * place.y + static_cast<double>(line.c);
    };
    std::vector<Place> left;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Place& here = polygon[i];
        const Place& next = polygon[i + 1 < polygon.size() ? i + 1 : 0];
        const double value = at(here);
        const double nextValue = at(next);
        if (value >= 0)
            left.push_back(here);
        if ((value < 0) != (nextValue < 0)) {
            const double share = value / (value - nextValue);
            left.push_back({here.x + share * (next.x - here.x), here.y + share * (next.y - here.y)});
        }
    }
    polygon.swap(left);
}

// Where they lie over one another.
std::vector<Place> commonPlaces(const FeedbackPrimitive& shape, const ScreenFace& face) {
    std::vector<Place> common;
    for (const FeedbackVertex& vertex : shape.vertices)
        common.push_back({vertex.x * ScreenGrid::stepsPerPixel, vertex.y * ScreenGrid::stepsPerPixel});
    for (int i = 0; i < face.count && !common.empty(); ++i)
        clip(common, face.side(i));
    return common;
}

bool isApart(const FeedbackPrimitive& shape, const ScreenFace& face) {
    const ScreenPoint low = face.low();
    const ScreenPoint high = face.high();
    const auto all = [&](auto test) { return std::all_of(shape.vertices.begin(), shape.vertices.end(), test); };
    return all([&](const FeedbackVertex& v) { return v.x * ScreenGrid::stepsPerPixel <= low.x; }) ||
           all([&](const FeedbackVertex& v) { return v.x * ScreenGrid::stepsPerPixel >= high.x; }) ||
           all([&](const FeedbackVertex& v) { return v.y * ScreenGrid::stepsPerPixel <= low.y; }) ||
           all([&](const FeedbackVertex& v) { return v.y * ScreenGrid::stepsPerPixel >= high.y; });
}

ScreenDistance distanceAt(const std::vector<Place>& places, const ScreenFace& first, const ScreenFace& second) {
    ScreenDistance distance;
    distance.noise = first.noise + second.noise;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const double here = first.depthAt(places[i].x, places[i].y) - second.depthAt(places[i].x, places[i].y) +
                            offsetBetween(first, second);
        distance.least = i == 0 ? here : std::min(distance.least, here);
        distance.most = i == 0 ? here : std::max(distance.most, here);
    }
    return distance;
}

bool isUnder(FaceRelation relation, const ScreenFace& first, const ScreenFace& second) {
    return relation == FaceRelation::Under || relation == FaceRelation::Crossed ||
           (relation == FaceRelation::Level && first.owner < second.owner);
}

// Copied with its vertices as they are.
std::unique_ptr<FeedbackPrimitive> triangleOf(const FeedbackPrimitive& polygon, std::size_t corner) {
    auto triangle = std::make_unique<FeedbackPrimitive>();
    copyAttributes(*triangle, polygon);
    triangle->vertexCount = 3;
    for (const std::size_t from : {std::size_t(0), corner, corner + 1})
        triangle->vertices.push_back(polygon.vertices[from]);
    return triangle;
}

} // namespace

CoveredParts::CoveredParts(const FeedbackPrimitive& primitive, std::uint32_t owner, const PolygonShift& offset)
    : whole(primitive), shift(offset) {
    std::vector<ScreenFace> faces;
    addScreenFaces(primitive, owner, shift, faces);
    for (std::size_t i = 0; i < faces.size(); ++i) {
        Part part;
        // The triangles of a polygon may have planes of their own.
        part.shape = faces.size() == 1 ? std::make_unique<FeedbackPrimitive>(primitive) : triangleOf(primitive, i + 1);
        part.face = faces[i];
        all.push_back(std::move(part));
    }
}

void CoveredParts::takeAway(const ScreenFace& cover, std::uint32_t place) {
    // What a cut adds stands behind its part and is not under the same cover again.
    for (std::size_t i = all.size(); i-- > 0;) {
        if (all[i].before <= place || !takeFrom(all[i], cover))
            continue;
        changed = true;
        if (cover.covers)
            all.erase(all.begin() + static_cast<std::ptrdiff_t>(i));
        else
            all[i].before = place;
        for (Part& part : beside)
            all.push_back(std::move(part));
    }
}

// Leaves in the part what the cover hides and beside it the rest. False when it hides nothing; the part is then as it
// was.
bool CoveredParts::takeFrom(Part& part, const ScreenFace& cover) {
    beside.clear();
    return !isApart(*part.shape, cover) && findLines(part, cover) && cutOut(part);
}

bool CoveredParts::findLines(const Part& part, const ScreenFace& cover) {
    lines.clear();
    if (part.face.reach == 0.0F && cover.reach == 0.0F)
        return findLinesOfArea(part, cover);
    std::vector<ScreenFace> faces;
    addScreenFaces(*part.shape, part.face.owner, shift, faces);
    // The rest of an area may have more corners than a face; its relation to a stroke is that of the whole.
    const ScreenFace& face = part.face.reach > 0.0F && faces.size() == 1 ? faces[0] : part.face;
    ScreenDistance distance;
    if (!findFaceDistance(face, cover, &distance))
        return false;
    const FaceRelation relation = relationFromDistance(distance, face, cover);
    if (!isUnder(relation, face, cover))
        return false;
    for (int i = 0; i < cover.count; ++i)
        lines.push_back(lineOf(cover.side(i)));
    if (relation == FaceRelation::Crossed)
        lines.push_back(meetingLine(face, cover));
    return true;
}

bool CoveredParts::findLinesOfArea(const Part& part, const ScreenFace& cover) {
    const std::vector<Place> common = commonPlaces(*part.shape, cover);
    if (common.size() < 3)
        return false;
    const FaceRelation relation = relationFromDistance(distanceAt(common, part.face, cover), part.face, cover);
    if (!isUnder(relation, part.face, cover))
        return false;
    if (relation == FaceRelation::Crossed)
        lines.push_back(meetingLine(part.face, cover));
    for (int i = 0; i < cover.count; ++i)
        lines.push_back(lineOf(cover.side(i)));
    return true;
}

bool CoveredParts::cutOut(Part& part) {
    std::unique_ptr<FeedbackPrimitive> inside;
    for (const WindowLine& line : lines) {
        const FeedbackPrimitive& now = inside ? *inside : *part.shape;
        const Reach reach = reachOf(now, line);
        if (reach.positive < faceCutNoise) {
            beside.clear();
            return false;
        }
        if (reach.negative < faceCutNoise)
            continue;
        PrimitiveParts halves = cutPrimitive(now, line);
        if (!halves.below) {
            beside.clear();
            return false;
        }
        Part left;
        left.shape = std::move(halves.below);
        left.before = part.before;
        left.face = part.face;
        beside.push_back(std::move(left));
        inside = std::move(halves.above);
    }
    if (inside)
        part.shape = std::move(inside);
    return true;
}
