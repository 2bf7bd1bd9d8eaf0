// Welding: a mesh whose corners share vertices, by one sort of all corners.
//
// Corners are compared with a dead band of the tolerance on each axis, which is no order: of three points the first may
// come before the second, the second before the third and the third before the first, once points are crowded on an
// axis more densely than the tolerance. What the outcome is then hangs on the sort, so the sort is our own:
//
// 1. Corners at exactly the same position count as one element, at the place of the first of them. However the
//    comparison runs in circles, they always end as one vertex, and there are about six times fewer elements. A plain
//    stable sort of all corners tears such places apart in models that are small in their units: the Stanford bunny,
//    0.15 across, comes out of it with 56 thousand vertices instead of 35 thousand.
// 2. The elements go through a stable top-down merge sort: halves of n / 2 and n - n / 2 elements, the left one first
//    where the comparison does not say "greater".
//
// So the outcome is the same on every platform; every corner lies within the tolerance of its vertex on each axis; and
// wherever the comparison does order the corners, the outcome is that of any stable sort of them.
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "kivrender/scene/kivmeshnormals.h"
#include "kivrender/scene/kivmeshpaint.h"
#include "kivrender/scene/kivmeshrest.h"
#include "kivrender/scene/kivprogress.h"

#include <algorithm>
#include <array>
#include <bit>
#include <typeinfo>
#include <utility>

namespace {

constexpr double weldTolerance = 0.0001;

constexpr std::uint32_t noNumber = 0xFFFFFFFFU;

// Long loops ask for a cancel each time they have come through so many elements.
constexpr std::size_t elementsPerPoll = 16384;

bool isCancelled(KivProgress* progress) {
    return progress != nullptr && progress->isCancelled();
}

// The bits that positions are told apart by. Both zeros are one number; all else is equal only to itself.
std::uint64_t coordinateBits(double value) {
    return value == 0.0 ? 0 : std::bit_cast<std::uint64_t>(value);
}

bool samePosition(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    return coordinateBits(a.x) == coordinateBits(b.x) && coordinateBits(a.y) == coordinateBits(b.y) &&
           coordinateBits(a.z) == coordinateBits(b.z);
}

std::size_t positionHash(const Kiv3DPoint& point) {
    std::uint64_t hash = 0;
    for (const double value : {point.x, point.y, point.z}) {
        hash = (hash ^ coordinateBits(value)) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return static_cast<std::size_t>(hash);
}

// Kiv3DPoint::isGreater with one branch, which can be foreseen: early in the sort points are far from each other along
// x, late they are crowded. Which of the two comes first cannot, so nothing branches there.
bool isBehind(const Kiv3DPoint& a, const Kiv3DPoint& b) {
    const unsigned int greaterX = a.x > b.x + weldTolerance;
    const unsigned int lessX = b.x - weldTolerance > a.x;
    if ((greaterX | lessX) != 0) {
        return greaterX != 0;
    }
    const unsigned int greaterY = a.y > b.y + weldTolerance;
    const unsigned int levelY = !(b.y - weldTolerance > a.y);
    const unsigned int greaterZ = a.z > b.z + weldTolerance;
    return (greaterY | (levelY & greaterZ)) != 0;
}

} // namespace

// The scratch of one weld: the positions that corners stand at, numbered in order of first appearance, and the position
// of every corner.
class KivMesh::Places {
public:
    explicit Places(const KivMesh& meshToWeld);

    // False after a cancel.
    bool read();
    bool sort();

    std::size_t numCorners() const {
        return std::size_t{3} * numTriangles;
    }
    std::uint32_t cornersUntilCancel(std::uint32_t corners, bool isFirst) const;

    struct Position {
        Kiv3DPoint point;
        std::uint32_t number;
        std::uint32_t corners; // that stand here; known once all are read
    };

    KivProgress* progress = kivCurrentProgress();
    std::vector<Position> positions;    // by number; once sorted, in the order of the vertices
    std::vector<std::uint32_t> numbers; // of each corner's position

private:
    static constexpr std::size_t blockTriangles = 32;

    // A number with the upper half of its position's hash, so that another position is seldom looked at.
    struct Slot {
        std::uint32_t number = noNumber;
        std::uint32_t mark = 0;
    };
    static std::uint32_t markOf(std::size_t hash) {
        return static_cast<std::uint32_t>(hash >> 32);
    }

    // Triangles are read a block at a time and a block ahead, so that the memory that a look-up needs is fetched while
    // the block before it is looked up.
    struct Block {
        std::size_t first = 0; // triangle
        std::size_t size = 0;  // in corners
        std::array<Kiv3DPoint, 3 * blockTriangles> points;
        std::array<std::size_t, 3 * blockTriangles> hashes;
        std::array<std::uint32_t*, 3 * blockTriangles> known; // where the vertex of a corner keeps its number
    };
    static bool isKnown(const std::uint32_t* known) {
        return known != nullptr && *known != noNumber;
    }

    bool readBlock(Block& block);
    void readTriangle(Block& block, std::size_t triangle);
    void fetchSlots(Block& block) const;
    void fetchPositions(const Block& block) const;
    void enterBlock(const Block& block);
    std::uint32_t enter(const Kiv3DPoint& point, std::size_t hash);
    void countCorners();
    bool mergeSort(Position* values, Position* scratch, std::size_t count);
    bool merge(Position* values, const Position* left, std::size_t leftCount, std::size_t count);

    const KivMesh& source;
    unsigned int numTriangles;
    // A class of its own may keep no vertices at all; of a plain mesh each vertex is looked up once.
    bool isPlain;
    std::vector<Slot> slots;                   // open addressing
    std::vector<std::uint32_t> cornerCount;    // of each position, by number
    std::vector<std::uint32_t> numberOfVertex; // of a plain mesh
};

KivMesh::Places::Places(const KivMesh& meshToWeld)
    : source(meshToWeld), numTriangles(meshToWeld.getNumTriangles()), isPlain(typeid(meshToWeld) == typeid(KivMesh)) {
    numbers.resize(numCorners());
    std::size_t capacity = numCorners();
    if (isPlain) {
        numberOfVertex.assign(source.vertexs.size(), noNumber);
        capacity = std::min(capacity, source.vertexs.size());
    }
    slots.resize(std::bit_ceil(capacity + capacity / 2 + 1));
    positions.reserve(capacity);
    cornerCount.reserve(capacity);
}

bool KivMesh::Places::read() {
    std::array<Block, 2> blocks;
    if (!readBlock(blocks[0])) {
        return false;
    }
    for (std::size_t number = 0; blocks[number % 2].size > 0; ++number) {
        const Block& block = blocks[number % 2];
        Block& next = blocks[(number + 1) % 2];
        next.first = block.first + blockTriangles;
        if (!readBlock(next)) {
            return false;
        }
        fetchPositions(block);
        enterBlock(block);
    }
    std::vector<Slot>().swap(slots); // an empty list, assigned, would keep the memory
    std::vector<std::uint32_t>().swap(numberOfVertex);
    countCorners();
    return !isCancelled(progress);
}

// The counts go along with the positions through the sort: behind it they would have to be picked up from all over.
void KivMesh::Places::countCorners() {
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i].corners = cornerCount[i];
    }
    std::vector<std::uint32_t>().swap(cornerCount);
}

bool KivMesh::Places::readBlock(Block& block) {
    const std::size_t end = std::min(block.first + blockTriangles, std::size_t{numTriangles});
    block.size = 0;
    for (std::size_t triangle = block.first; triangle < end; ++triangle) {
        if (isCancelled(progress)) {
            return false;
        }
        readTriangle(block, triangle);
    }
    fetchSlots(block);
    return true;
}

void KivMesh::Places::readTriangle(Block& block, std::size_t triangle) {
    if (!isPlain) {
        source.getTriangle(&block.points[block.size], static_cast<unsigned int>(triangle));
        for (int corner = 0; corner < 3; ++corner) {
            block.known[block.size++] = nullptr;
        }
        return;
    }
    for (std::size_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
        const auto vertex = static_cast<std::size_t>(source.triangles[corner]);
        block.known[block.size] = &numberOfVertex[vertex];
        block.points[block.size++] = source.vertexs[vertex];
    }
}

void KivMesh::Places::fetchSlots(Block& block) const {
    const std::size_t mask = slots.size() - 1;
    for (std::size_t i = 0; i < block.size; ++i) {
        if (!isKnown(block.known[i])) {
            block.hashes[i] = positionHash(block.points[i]);
            __builtin_prefetch(&slots[block.hashes[i] & mask], 1);
        }
    }
}

void KivMesh::Places::fetchPositions(const Block& block) const {
    const std::size_t mask = slots.size() - 1;
    for (std::size_t i = 0; i < block.size; ++i) {
        if (!isKnown(block.known[i])) {
            const Slot& slot = slots[block.hashes[i] & mask];
            const bool isLikely = slot.number != noNumber && slot.mark == markOf(block.hashes[i]);
            __builtin_prefetch(isLikely ? &positions[slot.number] : nullptr);
        }
    }
}

void KivMesh::Places::enterBlock(const Block& block) {
    for (std::size_t i = 0; i < block.size; ++i) {
        const std::size_t corner = 3 * block.first + i;
        std::uint32_t* const known = block.known[i];
        if (isKnown(known)) {
            numbers[corner] = *known;
        } else {
            numbers[corner] = enter(block.points[i], block.hashes[i]);
            if (known != nullptr) {
                *known = numbers[corner];
            }
        }
        ++cornerCount[numbers[corner]];
    }
}

std::uint32_t KivMesh::Places::enter(const Kiv3DPoint& point, std::size_t hash) {
    const std::size_t mask = slots.size() - 1;
    std::size_t slot = hash & mask;
    const std::uint32_t mark = markOf(hash);
    for (; slots[slot].number != noNumber; slot = (slot + 1) & mask) {
        if (slots[slot].mark == mark && samePosition(positions[slots[slot].number].point, point)) {
            return slots[slot].number;
        }
    }
    const auto number = static_cast<std::uint32_t>(positions.size());
    slots[slot] = {number, mark};
    positions.push_back({point, number, 0});
    cornerCount.push_back(0);
    return number;
}

bool KivMesh::Places::sort() {
    std::vector<Position> scratch(positions.size() / 2);
    return mergeSort(positions.data(), scratch.data(), positions.size()) && !isCancelled(progress);
}

// Sorts values[0 .. count); scratch has room for half as many. False after a cancel.
bool KivMesh::Places::mergeSort(Position* values, Position* scratch, std::size_t count) {
    if (count < 2) {
        return true;
    }
    const std::size_t leftCount = count / 2;
    if (!mergeSort(values, scratch, leftCount) || !mergeSort(values + leftCount, scratch, count - leftCount)) {
        return false;
    }
    // The right half can stay where it is: the merged part never reaches what is still to be read of it.
    std::copy_n(values, leftCount, scratch);
    return merge(values, scratch, leftCount, count);
}

// Merges left[0 .. leftCount) and values[leftCount .. count) into values.
bool KivMesh::Places::merge(Position* values, const Position* left, std::size_t leftCount, std::size_t count) {
    const Position* right = values + leftCount;
    const Position* const leftEnd = left + leftCount;
    const Position* const rightEnd = values + count;
    while (left != leftEnd && right != rightEnd) {
        if (count >= elementsPerPoll && isCancelled(progress)) {
            return false;
        }
        for (std::size_t i = 0; i < elementsPerPoll && left != leftEnd && right != rightEnd; ++i) {
            const bool takeRight = isBehind(left->point, right->point);
            *values++ = *(takeRight ? right : left);
            right += takeRight ? 1 : 0;
            left += takeRight ? 0 : 1;
        }
    }
    std::copy(left, leftEnd, values);
    return true;
}

void KivMesh::copyMeshCompacted(const KivMesh& source) {
    vertexs.clear();
    normals.clear();
    triangles.clear();
    kivSetMeshEdges(*this, nullptr); // vertices get other places
    kivSetNormalsFromTriangles(*this, false);
    kivSetMeshPaint(*this, nullptr);
    kivSetMeshRest(*this, nullptr);
    Places places(source);
    if (places.read() && places.sort()) {
        // A cancel in there only ends the building early: corners that were not reached keep the index -1.
        buildMeshFromVertexsFaces(places);
        material = source.material;
    }
}

void KivMesh::buildMeshFromVertexsFaces(const Places& places) {
    std::vector<std::uint32_t> vertexOf(places.positions.size(), noNumber); // by number
    reserveVertexs(static_cast<unsigned int>(places.positions.size()));
    for (const auto& [point, number, corners] : places.positions) {
        const std::uint32_t reached = places.cornersUntilCancel(corners, vertexs.empty());
        // All of a run are compared with its first one, not with their predecessor, so that a chain of near points does
        // not weld without limit.
        if (reached > 0) {
            if (vertexs.empty() || !vertexs.back().isEqual(point, weldTolerance)) {
                addVertex(point);
            }
            vertexOf[number] = static_cast<std::uint32_t>(vertexs.size() - 1);
        }
        if (reached < corners) {
            insertVertexsIntoTriangles(places, vertexOf, number, reached);
            return;
        }
    }
    insertVertexsIntoTriangles(places, vertexOf, noNumber, 0);
}

// One question for each corner but the very first.
std::uint32_t KivMesh::Places::cornersUntilCancel(std::uint32_t corners, bool isFirst) const {
    if (progress == nullptr) {
        return corners;
    }
    std::uint32_t reached = isFirst ? 1 : 0;
    while (reached < corners && !progress->isCancelled()) {
        ++reached;
    }
    return reached;
}

// Of the corners at the place `partial` only the first `reached` ones have come to their vertex.
void KivMesh::insertVertexsIntoTriangles(const Places& places, const std::vector<std::uint32_t>& vertexOf,
                                         std::uint32_t partial, std::uint32_t reached) {
    triangles.reserve(places.numbers.size());
    for (std::size_t corner = 0; corner < places.numbers.size(); ++corner) {
        if (corner % elementsPerPoll == elementsPerPoll - 1 && isCancelled(places.progress)) {
            break;
        }
        const std::uint32_t number = places.numbers[corner];
        const bool isReached = vertexOf[number] != noNumber && (number != partial || reached > 0);
        reached -= number == partial && isReached ? 1 : 0;
        triangles.push_back(isReached ? vertexOf[number] : ~std::uint64_t{0});
    }
    triangles.resize(places.numbers.size(), ~std::uint64_t{0});
}

int KivMesh::dicotomicSearch(const Kiv3DPoint& point, int count) const {
    const auto isBehind = [&](int record) { return point.isGreater(vertexsFaces[record].vertex, weldTolerance); };
    int high = count - 1;
    if (high == -1) {
        return 0;
    }
    if (high == 0) {
        return isBehind(0) ? 1 : 0;
    }
    int low = 0;
    while (low < high) {
        const int middle = (low + high + 1) / 2;
        if (isBehind(middle)) {
            low = middle;
        } else if (point.isEqual(vertexsFaces[middle].vertex, weldTolerance)) {
            return middle;
        } else {
            high = middle - 1;
        }
    }
    return isBehind(low) ? low + 1 : low;
}
