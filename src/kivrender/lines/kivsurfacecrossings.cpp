#include "kivrender/lines/kivsurfacecrossings.h"

#include "kivrender/lines/calmpatches.h"
#include "kivrender/lines/curveorder.h"
#include "kivrender/lines/linegrain.h"
#include "kivrender/lines/trianglecrossing.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

namespace {

constexpr std::size_t leafSize = 4;

// A heap of triangles that cross one another at random has as many crossings as pairs. Parts that are stuck into each
// other have far fewer than triangles, and take up to 60 tests for each.
constexpr std::size_t piecesOfAnyHeap = 20000;
constexpr std::size_t piecesPerFace = 4;
constexpr std::size_t testsOfAnyHeap = 20'000'000;
constexpr std::size_t testsPerFace = 100;

// The float before or after the nearest one of a value, as of std::nextafter, which is a call that six million of them
// would feel. Numbers of the same sign are ordered as their bits are.
float below(double value) {
    const auto near = static_cast<float>(value);
    if (near == 0.0F || !std::isfinite(near)) {
        return std::nextafter(near, -std::numeric_limits<float>::max());
    }
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(near) + (near < 0.0F ? 1U : ~0U));
}
float above(double value) {
    return -below(-value);
}

} // namespace

// Two nodes of the tree whose triangles are still to be compared.
struct KivSurfaceCrossings::Pair {
    std::uint32_t levels[2];
    std::uint32_t nodes[2];
};

KivSurfaceCrossings::KivSurfaceCrossings() : patches(std::make_unique<CalmPatches>()) {}

KivSurfaceCrossings::~KivSurfaceCrossings() = default;

bool KivSurfaceCrossings::add(std::span<const KivVec> points, std::span<const Triangle> triangles) {
    const auto first = static_cast<std::uint32_t>(corners.size());
    for (const KivVec& p : points) {
        corners.push_back(p + KivVec{}); // the sum turns -0 into 0, so that equal places compare equal in every way
    }
    bodies.push_back({faces.size(), kivGrainOf(points, triangles)});
    faces.reserve(faces.size() + triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const Triangle& t = triangles[i];
        if (kivIsWhole(points, t)) {
            faces.push_back({{first + t[0], first + t[1], first + t[2]}, static_cast<std::uint32_t>(numbers.size())});
            numbers.push_back(static_cast<std::uint32_t>(i));
        }
    }
    return true;
}

bool KivSurfaceCrossings::find() {
    found.clear();
    levels.clear();
    alongEdges.clear();
    witnesses.clear();
    heap = false;
    if (faces.empty() || !sortAlongCurve() || !findPatches() || !buildLevels() || !join()) {
        return faces.empty();
    }
    if (heap) {
        found.clear();
        return true;
    }
    takeAlongEdges();
    std::sort(found.begin(), found.end(), [](const KivCrossing& a, const KivCrossing& b) {
        return std::tie(a.bodies[0], a.triangles[0], a.bodies[1], a.triangles[1]) <
               std::tie(b.bodies[0], b.triangles[0], b.bodies[1], b.triangles[1]);
    });
    return true;
}

bool KivSurfaceCrossings::sortAlongCurve() {
    constexpr float most = std::numeric_limits<float>::max();
    std::vector<Box> unsorted(faces.size());
    std::vector<std::array<float, 3>> places(faces.size());
    std::array<float, 3> low = {most, most, most};
    std::array<float, 3> high = {-most, -most, -most};
    for (std::size_t i = 0; i < faces.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        const KivVec& a = corners[faces[i].corners[0]];
        const KivVec& b = corners[faces[i].corners[1]];
        const KivVec& c = corners[faces[i].corners[2]];
        unsorted[i] = {
            {below(std::min({a.x, b.x, c.x})), below(std::min({a.y, b.y, c.y})), below(std::min({a.z, b.z, c.z}))},
            {above(std::max({a.x, b.x, c.x})), above(std::max({a.y, b.y, c.y})), above(std::max({a.z, b.z, c.z}))}};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            places[i][axis] = 0.5F * unsorted[i].low[axis] + 0.5F * unsorted[i].high[axis];
            low[axis] = std::min(low[axis], places[i][axis]);
            high[axis] = std::max(high[axis], places[i][axis]);
        }
    }
    std::vector<std::uint32_t> order;
    if (!kivCurveOrder(places, low, high, order)) {
        return false;
    }
    boxes.resize(faces.size());
    std::vector<Face> sorted(faces.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        boxes[i] = unsorted[order[i]];
        sorted[i] = faces[order[i]];
    }
    faces.swap(sorted);
    return true;
}

namespace {

template <class Box> void include(Box& box, const Box& other) {
    for (int axis = 0; axis < 3; ++axis) {
        box.low[axis] = std::min(box.low[axis], other.low[axis]);
        box.high[axis] = std::max(box.high[axis], other.high[axis]);
    }
}

} // namespace

// Leaves of several patches would reach from one of these to the next, over much that is none of their business.
bool KivSurfaceCrossings::buildLeaves() {
    leafStarts.clear();
    std::vector<Box> leaves;
    leaves.reserve(faces.size() / 3);
    for (std::uint32_t i = 0; i < faces.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        if (leafStarts.empty() || i - leafStarts.back() == leafSize || patchOfFace[i] != patchOfFace[i - 1]) {
            leafStarts.push_back(i);
            leaves.push_back(boxes[i]);
        } else {
            include(leaves.back(), boxes[i]);
        }
    }
    leafStarts.push_back(static_cast<std::uint32_t>(faces.size()));
    levels.push_back(std::move(leaves));
    return true;
}

bool KivSurfaceCrossings::buildLevels() {
    if (!buildLeaves()) {
        return false;
    }
    while (levels.back().size() > 1) {
        const std::vector<Box>& from = levels.back();
        std::vector<Box> level;
        level.reserve((from.size() + 1) / 2);
        for (std::size_t i = 0; i < from.size(); ++i) {
            if (kivIsCancelledAt(i)) {
                return false;
            }
            if (i % 2 == 0) {
                level.push_back(from[i]);
            } else {
                include(level.back(), from[i]);
            }
        }
        levels.push_back(std::move(level));
    }
    findPatchesOfNodes();
    return true;
}

namespace {

// Whether a triangle lies on one side of the plane of another, but for a corner that both share: most pairs that meet
// at a corner of a mesh are done with this. Errs to no.
bool liesAside(const KivVec (&plane)[3], const KivVec (&triangle)[3], double grain) {
    const KivVec normal = kivCross(plane[1] - plane[0], plane[2] - plane[0]);
    const double margin = 2.0 * grain * kivLength(normal);
    int above = 0;
    int below = 0;
    int shared = 0;
    for (const KivVec& corner : triangle) {
        const bool isShared = std::any_of(
            plane, plane + 3, [&](const KivVec& p) { return p.x == corner.x && p.y == corner.y && p.z == corner.z; });
        const double value = kivDot(normal, corner - plane[0]);
        shared += isShared ? 1 : 0;
        above += !isShared && value > margin ? 1 : 0;
        below += !isShared && value < -margin ? 1 : 0;
    }
    return above + shared == 3 || below + shared == 3;
}

template <class Box> bool overlap(const Box& a, const Box& b) {
    return a.low[0] <= b.high[0] && b.low[0] <= a.high[0] && a.low[1] <= b.high[1] && b.low[1] <= a.high[1] &&
           a.low[2] <= b.high[2] && b.low[2] <= a.high[2];
}

} // namespace

bool KivSurfaceCrossings::findPatches() {
    std::vector<CalmPatches::Corners> triangles(faces.size());
    for (std::size_t i = 0; i < faces.size(); ++i) {
        triangles[i] = {faces[i].corners[0], faces[i].corners[1], faces[i].corners[2]};
    }
    patches = std::make_unique<CalmPatches>();
    if (!patches->find(corners, triangles)) {
        return false;
    }
    patchOfFace.resize(faces.size());
    for (std::size_t i = 0; i < faces.size(); ++i) {
        patchOfFace[i] = patches->patchOf(i);
    }
    for (std::size_t first = 0; first < faces.size(); first += CalmPatches::runSize) {
        groupRun(first, std::min(first + CalmPatches::runSize, faces.size()));
    }
    return !kivIsCancelledAt(0);
}

// Brings the faces of each patch of a run together, so that most nodes of the tree are in one.
void KivSurfaceCrossings::groupRun(std::size_t first, std::size_t end) {
    const auto begin = patchOfFace.begin() + static_cast<std::ptrdiff_t>(first);
    if (std::is_sorted(begin, patchOfFace.begin() + static_cast<std::ptrdiff_t>(end))) {
        return;
    }
    struct Member {
        std::uint32_t patch;
        Face face;
        Box box;
    };
    std::array<Member, CalmPatches::runSize> run;
    for (std::size_t i = first; i < end; ++i) {
        run[i - first] = {patchOfFace[i], faces[i], boxes[i]};
    }
    std::stable_sort(run.begin(), run.begin() + static_cast<std::ptrdiff_t>(end - first),
                     [](const Member& a, const Member& b) { return a.patch < b.patch; });
    for (std::size_t i = first; i < end; ++i) {
        patchOfFace[i] = run[i - first].patch;
        faces[i] = run[i - first].face;
        boxes[i] = run[i - first].box;
    }
}

void KivSurfaceCrossings::findPatchesOfNodes() {
    patchOfNode.assign(1, std::vector<std::uint32_t>(levels[0].size()));
    for (std::size_t leaf = 0; leaf < levels[0].size(); ++leaf) {
        patchOfNode[0][leaf] = patchOfFace[leafStarts[leaf]];
    }
    for (std::size_t size = 2 * leafSize; size <= CalmPatches::runSize && patchOfNode.size() < levels.size();
         size *= 2) {
        const std::vector<std::uint32_t>& below = patchOfNode.back();
        std::vector<std::uint32_t> level(levels[patchOfNode.size()].size());
        for (std::size_t i = 0; i < below.size(); ++i) {
            level[i / 2] = i % 2 == 0 || level[i / 2] == below[i] ? below[i] : CalmPatches::none;
        }
        patchOfNode.push_back(std::move(level));
    }
}

// Whether nothing under the two nodes can cross.
bool KivSurfaceCrossings::keepApart(const Pair& pair) const {
    if (std::max(pair.levels[0], pair.levels[1]) >= patchOfNode.size()) {
        return false;
    }
    const std::uint32_t one = patchOfNode[pair.levels[0]][pair.nodes[0]];
    const std::uint32_t other = patchOfNode[pair.levels[1]][pair.nodes[1]];
    return one != CalmPatches::none && other != CalmPatches::none && patches->keepApart(one, other);
}

// Every pair of leaves whose boxes overlap, a leaf with itself among them, comes once: the larger node is divided
// first.
bool KivSurfaceCrossings::join() {
    const auto top = static_cast<std::uint32_t>(levels.size() - 1);
    std::vector<Pair> open = {{{top, top}, {0, 0}}};
    const auto bound = [this](std::size_t ofAny, std::size_t perFace) {
        return static_cast<std::size_t>(effort * static_cast<double>(std::max(ofAny, perFace * faces.size())));
    };
    const std::size_t mostPieces = bound(piecesOfAnyHeap, piecesPerFace);
    const std::size_t mostTests = bound(testsOfAnyHeap, testsPerFace);
    std::size_t visits = 0;
    std::size_t tests = 0;
    for (std::size_t nextPoll = 0; !open.empty(); ++visits) {
        if (tests + visits >= nextPoll) {
            constexpr std::size_t testsPerPoll = 1U << 16U;
            nextPoll = tests + visits + testsPerPoll;
            if (kivIsCancelled()) {
                return false;
            }
        }
        const Pair pair = open.back();
        open.pop_back();
        if (pair.levels[0] == 0 && pair.levels[1] == 0) {
            testLeaves(pair.nodes[0], pair.nodes[1]);
            tests += leafSize * leafSize;
            heap = found.size() + alongEdges.size() > mostPieces;
        }
        heap = heap || tests + visits > mostTests;
        if (heap) {
            return true;
        }
        if (pair.levels[0] == 0 && pair.levels[1] == 0) {
            continue;
        }
        const auto pushIfMeeting = [&](const Pair& next) {
            if (next.nodes[0] < levels[next.levels[0]].size() && next.nodes[1] < levels[next.levels[1]].size() &&
                overlap(levels[next.levels[0]][next.nodes[0]], levels[next.levels[1]][next.nodes[1]]) &&
                !keepApart(next)) {
                open.push_back(next);
            }
        };
        if (pair.levels[0] == pair.levels[1] && pair.nodes[0] == pair.nodes[1]) {
            const std::uint32_t below = pair.levels[0] - 1;
            const std::uint32_t child = pair.nodes[0] * 2;
            pushIfMeeting({{below, below}, {child, child}});
            pushIfMeeting({{below, below}, {child + 1, child + 1}});
            pushIfMeeting({{below, below}, {child, child + 1}});
        } else {
            const int divided = pair.levels[0] >= pair.levels[1] ? 0 : 1;
            Pair next = pair;
            --next.levels[divided];
            next.nodes[divided] = pair.nodes[divided] * 2;
            pushIfMeeting(next);
            ++next.nodes[divided];
            pushIfMeeting(next);
        }
    }
    return true;
}

void KivSurfaceCrossings::testLeaves(std::size_t one, std::size_t other) {
    for (std::size_t i = leafStarts[one]; i < leafStarts[one + 1]; ++i) {
        for (std::size_t k = one == other ? i + 1 : leafStarts[other]; k < leafStarts[other + 1]; ++k) {
            if (overlap(boxes[i], boxes[k]) && !patches->keepApart(patchOfFace[i], patchOfFace[k])) {
                test(faces[i], faces[k]);
            }
        }
    }
}

std::uint32_t KivSurfaceCrossings::bodyOf(std::uint32_t face) const {
    const auto after = std::upper_bound(bodies.begin(), bodies.end(), std::size_t{face},
                                        [](std::size_t f, const Body& body) { return f < body.firstFace; });
    return static_cast<std::uint32_t>(after - bodies.begin() - 1);
}

void KivSurfaceCrossings::test(const Face& one, const Face& other) {
    int shared = 0;
    for (const std::uint32_t a : one.corners) {
        for (const std::uint32_t b : other.corners) {
            shared += a == b ? 1 : 0;
        }
    }
    if (shared > 1) {
        return;
    }
    const Face& first = one.number < other.number ? one : other;
    const Face& second = one.number < other.number ? other : one;
    const KivVec p[3] = {corners[first.corners[0]], corners[first.corners[1]], corners[first.corners[2]]};
    const KivVec q[3] = {corners[second.corners[0]], corners[second.corners[1]], corners[second.corners[2]]};
    KivCrossing piece;
    piece.bodies[0] = bodyOf(first.number);
    piece.bodies[1] = bodyOf(second.number);
    piece.triangles[0] = numbers[first.number];
    piece.triangles[1] = numbers[second.number];
    const double grain = std::max(bodies[piece.bodies[0]].grain, bodies[piece.bodies[1]].grain);
    if (liesAside(p, q, grain) || liesAside(q, p, grain)) {
        return;
    }
    KivTriangleCrossing crossing;
    if (!kivTrianglesCross(p, q, grain, &crossing)) {
        return;
    }
    piece.from = crossing.from;
    piece.to = crossing.to;
    if (!crossing.isAlongEdge) {
        found.push_back(piece);
        return;
    }
    const Witness witness = {crossing.edge[0], crossing.edge[1], crossing.isEdgeOfFirst ? second.number : first.number};
    if (crossing.isAbove) {
        witnesses.push_back(witness);
    } else {
        alongEdges.emplace_back(witness, piece);
    }
}

// A surface crosses another along an edge if it goes on above it as well as below.
void KivSurfaceCrossings::takeAlongEdges() {
    const auto comesBefore = [](const Witness& a, const Witness& b) {
        return std::tie(a.face, a.from.x, a.from.y, a.from.z, a.to.x, a.to.y, a.to.z) <
               std::tie(b.face, b.from.x, b.from.y, b.from.z, b.to.x, b.to.y, b.to.z);
    };
    std::sort(witnesses.begin(), witnesses.end(), comesBefore);
    for (const auto& [witness, piece] : alongEdges) {
        if (std::binary_search(witnesses.begin(), witnesses.end(), witness, comesBefore)) {
            found.push_back(piece);
        }
    }
}
