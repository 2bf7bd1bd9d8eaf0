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
#include <numeric>
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
    std::uint32_t one;
    std::uint32_t other;
};

KivSurfaceCrossings::KivSurfaceCrossings() : patches(std::make_unique<CalmPatches>()) {}

KivSurfaceCrossings::~KivSurfaceCrossings() = default;

bool KivSurfaceCrossings::add(std::span<const KivVec> points, std::span<const Triangle> triangles) {
    const auto first = static_cast<std::uint32_t>(corners.size());
    corners.reserve(corners.size() + points.size());
    for (const KivVec& p : points) {
        corners.push_back(p + KivVec{}); // the sum turns -0 into 0, so that equal places compare equal in every way
    }
    bodies.push_back({faces.size(), kivGrainOf(points, triangles)});
    faces.reserve(faces.size() + triangles.size());
    numbers.reserve(numbers.size() + triangles.size());
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
    nodes.clear();
    alongEdges.clear();
    witnesses.clear();
    heap = false;
    if (faces.empty() || !sortAlongCurve() || !findPatches() || !buildTree() || !join()) {
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
    nodes.reserve(faces.size());
    for (std::uint32_t i = 0; i < faces.size(); ++i) {
        if (kivIsCancelledAt(i)) {
            return false;
        }
        if (nodes.empty() || i - nodes.back().children[0] == leafSize || patchOfFace[i] != nodes.back().patch) {
            nodes.push_back({boxes[i], {i, i + 1}, patchOfFace[i], 0});
        } else {
            include(nodes.back().box, boxes[i]);
            nodes.back().children[1] = i + 1;
        }
    }
    return true;
}

std::uint32_t KivSurfaceCrossings::parentOf(std::uint32_t one, std::uint32_t other) {
    Node parent = nodes[one];
    include(parent.box, nodes[other].box);
    parent.children[0] = one;
    parent.children[1] = other;
    parent.patch = parent.patch == nodes[other].patch ? parent.patch : CalmPatches::none;
    parent.height = std::max(parent.height, nodes[other].height) + 1;
    nodes.push_back(parent);
    return static_cast<std::uint32_t>(nodes.size() - 1);
}

// One more level of the tree: neighbours in the row become one node each. ofPatches: only neighbours of one patch; what
// has none waits in the row.
bool KivSurfaceCrossings::joinNodes(std::vector<std::uint32_t>& row, bool ofPatches) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < row.size(); ++kept) {
        if (kivIsCancelledAt(kept)) {
            return false;
        }
        const bool isPair = i + 1 < row.size() && (!ofPatches || nodes[row[i]].patch == nodes[row[i + 1]].patch);
        row[kept] = isPair ? parentOf(row[i], row[i + 1]) : row[i];
        i += isPair ? 2 : 1;
    }
    row.resize(kept);
    return true;
}

// First each patch becomes a tree of its own: nodes with parts of several would be compared with all their neighbours.
bool KivSurfaceCrossings::buildTree() {
    if (!buildLeaves()) {
        return false;
    }
    nodes.reserve(2 * nodes.size());
    std::vector<std::uint32_t> row(nodes.size());
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t before = 0; before != row.size();) {
        before = row.size();
        if (!joinNodes(row, true)) {
            return false;
        }
    }
    while (row.size() > 1) {
        if (!joinNodes(row, false)) {
            return false;
        }
    }
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
    bool meets = true; // without branches, which nobody could predict
    for (int axis = 0; axis < 3; ++axis) {
        meets &= a.low[axis] <= b.high[axis];
        meets &= b.low[axis] <= a.high[axis];
    }
    return meets;
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

bool KivSurfaceCrossings::mayCross(const Pair& pair) const {
    const Node& one = nodes[pair.one];
    const Node& other = nodes[pair.other];
    return overlap(one.box, other.box) && (one.patch == CalmPatches::none || other.patch == CalmPatches::none ||
                                           !patches->keepApart(one.patch, other.patch));
}

// Every pair of leaves whose boxes overlap, a leaf with itself among them, comes once, but for those that are known not
// to cross: the higher node is divided first.
bool KivSurfaceCrossings::join() {
    const auto root = static_cast<std::uint32_t>(nodes.size() - 1);
    std::vector<Pair> open = {{root, root}};
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
        const Node& one = nodes[pair.one];
        const Node& other = nodes[pair.other];
        const bool areLeaves = one.height == 0 && other.height == 0;
        if (areLeaves) {
            testLeaves(one, other);
            tests += leafSize * leafSize;
            heap = found.size() + alongEdges.size() > mostPieces;
        }
        heap = heap || tests + visits > mostTests;
        if (heap) {
            return true;
        }
        if (areLeaves) {
            continue;
        }
        const auto pushIfMayCross = [&](const Pair& next) {
            if (mayCross(next)) {
                open.push_back(next);
            }
        };
        if (pair.one == pair.other) {
            pushIfMayCross({one.children[0], one.children[0]});
            pushIfMayCross({one.children[1], one.children[1]});
            pushIfMayCross({one.children[0], one.children[1]});
        } else if (one.height >= other.height) {
            pushIfMayCross({one.children[0], pair.other});
            pushIfMayCross({one.children[1], pair.other});
        } else {
            pushIfMayCross({pair.one, other.children[0]});
            pushIfMayCross({pair.one, other.children[1]});
        }
    }
    return true;
}

// Each is of one patch, and the two are not known to keep apart.
void KivSurfaceCrossings::testLeaves(const Node& one, const Node& other) {
    for (std::uint32_t i = one.children[0]; i < one.children[1]; ++i) {
        for (std::uint32_t k = &one == &other ? i + 1 : other.children[0]; k < other.children[1]; ++k) {
            if (overlap(boxes[i], boxes[k])) {
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
