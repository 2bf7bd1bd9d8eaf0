#include "core/meshdata.h"

#include "import/polygons.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <future>
#include <limits>
#include <type_traits>

#include <sys/mman.h>

namespace py = pybind11;

namespace {

std::string shapeOf(const py::array& array) {
    return py::str(array.attr("shape")).cast<std::string>();
}

std::string typeOf(const py::array& array) {
    return py::str(array.dtype()).cast<std::string>();
}

// Which item of an array with rows of that many columns.
std::string placeOf(const std::string& what, std::size_t number, py::ssize_t columns) {
    const auto n = static_cast<py::ssize_t>(number);
    return columns == 0 ? what + "[" + std::to_string(n) + "]"
                        : what + "[" + std::to_string(n / columns) + ", " + std::to_string(n % columns) + "]";
}

// Not one item is copied: the bytes may lie at any place, aligned or not.
template <class Number> Number itemAt(const char* at) {
    Number number;
    std::memcpy(&number, at, sizeof number);
    return number;
}

// Small enough to stay in the processor's cache between the copy and the check.
constexpr std::size_t itemsPerBlock = 2048;

// Takes the memory at once, in huge pages where the system has them: for a million triangles faults of small pages take
// twice as long as everything else. What lies behind the last huge page stays in small ones where these hold less than
// half of another.
template <class Item> void reserveAtOnce(kivimport::BulkArray<Item>& items, std::size_t count) {
    constexpr std::size_t hugePage = kivimport::hugePage;
    const std::size_t bytes = count * sizeof(Item);
    if (bytes < 2 * hugePage) {
        items.reserve(count);
        return;
    }
    const std::size_t advised = (bytes + hugePage / 2) / hugePage * hugePage;
    items.reserve((std::max(bytes, advised) + sizeof(Item) - 1) / sizeof(Item));
    static_cast<void>(madvise(items.data(), advised, MADV_HUGEPAGE));
}

// As kivimport::isUsable of each, without a branch: the bits of numbers without their signs are ordered as the numbers
// are, with those that are not finite at the end.
bool areUsable(const kivimport::Vec3* points, std::size_t count) {
    constexpr auto most = std::bit_cast<std::uint64_t>(kivimport::maxCoordinate);
    const auto beyond = [](double v) { return most - (std::bit_cast<std::uint64_t>(v) & ~(std::uint64_t{1} << 63)); };
    std::uint64_t signs = 0;
    for (std::size_t i = 0; i < count; ++i) {
        signs |= beyond(points[i].x) | beyond(points[i].y) | beyond(points[i].z);
    }
    return (signs >> 63) == 0;
}

kivimport::Vec3 moved(const kivimport::Vec3& p, const Transform& m) {
    return {m[0] * p.x + m[1] * p.y + m[2] * p.z + m[3], m[4] * p.x + m[5] * p.y + m[6] * p.z + m[7],
            m[8] * p.x + m[9] * p.y + m[10] * p.z + m[11]};
}

template <class Number> bool isPacked(const py::array& array) {
    return (array.flags() & py::array::c_style) != 0 &&
           reinterpret_cast<std::uintptr_t>(array.data()) % alignof(Number) == 0;
}

// Arrays that already have the right layout are taken unchanged.
bool copyPoints(const py::array& array, kivimport::Points& points) {
    const auto rows = static_cast<std::size_t>(array.shape(0));
    const auto* const from = static_cast<const kivimport::Vec3*>(array.data());
    const py::gil_scoped_release released;
    reserveAtOnce(points, rows);
    bool all = true;
    for (std::size_t i = 0; i < rows; i += itemsPerBlock) {
        const std::size_t end = std::min(i + itemsPerBlock, rows);
        points.insert(points.end(), from + i, from + end);
        all &= areUsable(points.data() + i, end - i);
    }
    return all;
}

template <class Number>
bool convertPoints(const py::array& array, const std::optional<Transform>& transform, kivimport::Points& points) {
    const auto rows = static_cast<std::size_t>(array.shape(0));
    const char* const data = static_cast<const char*>(array.data());
    const py::ssize_t rowStride = array.strides(0);
    const py::ssize_t stride = array.strides(1);
    const bool packed = isPacked<Number>(array);
    const py::gil_scoped_release released;
    reserveAtOnce(points, rows);
    // By blocks that stay in the processor's cache: item by item the list would look at its room each time.
    kivimport::Points block(std::min(rows, itemsPerBlock));
    bool all = true;
    for (std::size_t i = 0; i < rows; i += itemsPerBlock) {
        const std::size_t count = std::min(itemsPerBlock, rows - i);
        if (packed) {
            const Number* const from = reinterpret_cast<const Number*>(data) + 3 * i;
            for (std::size_t k = 0; k < count; ++k) {
                block[k] = {static_cast<double>(from[3 * k]), static_cast<double>(from[3 * k + 1]),
                            static_cast<double>(from[3 * k + 2])};
            }
        } else {
            for (std::size_t k = 0; k < count; ++k) {
                const char* const row = data + static_cast<py::ssize_t>(i + k) * rowStride;
                block[k] = {static_cast<double>(itemAt<Number>(row)), static_cast<double>(itemAt<Number>(row + stride)),
                            static_cast<double>(itemAt<Number>(row + 2 * stride))};
            }
        }
        for (std::size_t k = 0; transform && k < count; ++k) {
            block[k] = moved(block[k], *transform);
        }
        all &= areUsable(block.data(), count);
        points.insert(points.end(), block.data(), block.data() + count);
    }
    return all;
}

template <class Number>
kivimport::Points pointsOf(const py::array& array, const std::string& what, const std::optional<Transform>& transform) {
    static_assert(sizeof(kivimport::Vec3) == 3 * sizeof(double));
    const bool isAsNeeded = std::is_same_v<Number, double> && !transform && isPacked<double>(array);
    kivimport::Points points;
    if (!(isAsNeeded ? copyPoints(array, points) : convertPoints<Number>(array, transform, points))) {
        const auto bad = std::find_if_not(points.begin(), points.end(), kivimport::isUsable);
        const std::string place = what + "[" + std::to_string(bad - points.begin()) + "]";
        throw py::value_error(kivimport::isFinite(*bad) ? place + " lies beyond 1e30, farther out than can be drawn"
                                                        : place + " is not finite");
    }
    return points;
}

// The top bit says whether a number is below 0 or not below the limit: without a branch a loop of these is quick.
template <class Number> std::uint64_t signsOf(Number value, std::uint64_t limit) {
    const auto wide = static_cast<std::uint64_t>(value);
    return wide | (limit - 1 - wide);
}

// The signs of all of them; they must be packed.
template <class Number>
std::uint64_t convert(const py::array& array, std::size_t count, std::uint64_t limit, kivimport::Indices& to) {
    const auto* const from = static_cast<const Number*>(array.data());
    const py::gil_scoped_release released;
    reserveAtOnce(to, count);
    std::uint64_t signs = 0;
    for (std::size_t i = 0; i < count; i += itemsPerBlock) {
        const std::size_t end = std::min(i + itemsPerBlock, count);
        for (std::size_t k = i; k < end; ++k) {
            signs |= signsOf(from[k], limit);
        }
        to.insert(to.end(), from + i, from + end);
    }
    return signs;
}

template <class Number>
kivimport::Indices indicesOf(const py::array& array, const std::string& what, std::uint64_t limit,
                             const std::string& limitName) {
    const py::ssize_t columns = array.ndim() == 2 ? array.shape(1) : 0;
    const auto inner = static_cast<std::size_t>(array.ndim() == 2 ? array.shape(1) : 1);
    const auto rows = static_cast<std::size_t>(array.shape(0));
    const py::ssize_t rowStride = array.strides(0);
    const py::ssize_t stride = array.ndim() == 2 ? array.strides(1) : 0;
    const char* const data = static_cast<const char*>(array.data());
    // A negative number becomes a huge one.
    const auto isGood = [limit](Number value) { return static_cast<std::uint64_t>(value) < limit; };
    const auto at = [&](std::size_t row, std::size_t column) {
        return itemAt<Number>(data + static_cast<py::ssize_t>(row) * rowStride +
                              static_cast<py::ssize_t>(column) * stride);
    };
    const std::size_t count = rows * inner;
    kivimport::Indices indices;
    std::uint64_t signs = 0;
    if (isPacked<Number>(array)) {
        signs = convert<Number>(array, count, limit, indices);
    } else {
        const py::gil_scoped_release released;
        reserveAtOnce(indices, count);
        for (std::size_t i = 0; i < count; ++i) {
            const Number value = at(i / inner, i % inner);
            signs |= signsOf(value, limit);
            indices.push_back(static_cast<std::uint32_t>(value));
        }
    }
    if ((signs >> 63) != 0) {
        std::size_t bad = 0;
        while (isGood(at(bad / inner, bad % inner))) {
            ++bad;
        }
        const Number value = at(bad / inner, bad % inner);
        throw py::value_error(placeOf(what, bad, columns) + " is " + std::to_string(value) + ", but there are " +
                              std::to_string(limit) + " " + limitName);
    }
    return indices;
}

// Indices that another thread reads. It takes the interpreter's lock now and then, so that whoever waits for it must
// not hold that.
class IndexReading {
public:
    IndexReading(const py::array& array, std::uint64_t limit)
        : future(std::async(std::launch::async, [&array, limit] {
              const py::gil_scoped_acquire interpreter;
              return readIndices(array, "faces", limit, "vertices");
          })) {}
    ~IndexReading() {
        wait();
    }
    IndexReading(const IndexReading&) = delete;
    IndexReading& operator=(const IndexReading&) = delete;

    kivimport::Indices take() {
        wait();
        return future.get();
    }

private:
    void wait() const {
        if (future.valid()) {
            const py::gil_scoped_release released;
            future.wait();
        }
    }

    std::future<kivimport::Indices> future;
};

// Below this a thread costs more than it saves.
constexpr py::ssize_t worthAThread = 200'000;

} // namespace

MeshArrays readMesh(const py::array& vertices, const py::array& faces, const std::optional<Transform>& transform) {
    MeshArrays mesh;
    if (vertices.ndim() == 2 && faces.size() >= worthAThread) {
        IndexReading reading(faces, static_cast<std::uint64_t>(vertices.shape(0)));
        mesh.positions = readPoints(vertices, "vertices", transform);
        mesh.corners = reading.take();
        return mesh;
    }
    mesh.positions = readPoints(vertices, "vertices", transform);
    mesh.corners = readIndices(faces, "faces", mesh.positions.size(), "vertices");
    return mesh;
}

kivimport::Points readPoints(const py::array& array, const std::string& what,
                             const std::optional<Transform>& transform) {
    if (array.ndim() != 2 || array.shape(1) != 3) {
        throw py::value_error(what + " must have the shape (N, 3), not " + shapeOf(array));
    }
    if (static_cast<std::uint64_t>(array.shape(0)) >= kivimport::noIndex) {
        throw py::value_error(what + " has more rows than a mesh can hold");
    }
    if (py::isinstance<py::array_t<float>>(array)) {
        return pointsOf<float>(array, what, transform);
    }
    if (py::isinstance<py::array_t<double>>(array)) {
        return pointsOf<double>(array, what, transform);
    }
    throw py::type_error(what + " must be float32 or float64, not " + typeOf(array));
}

kivimport::Indices readIndices(const py::array& array, const std::string& what, std::uint64_t limit,
                               const std::string& limitName) {
    if (array.ndim() != 1 && array.ndim() != 2) {
        throw py::value_error(what + " must have one or two dimensions, not the shape " + shapeOf(array));
    }
    if (py::isinstance<py::array_t<std::int64_t>>(array)) {
        return indicesOf<std::int64_t>(array, what, limit, limitName);
    }
    if (py::isinstance<py::array_t<std::int32_t>>(array)) {
        return indicesOf<std::int32_t>(array, what, limit, limitName);
    }
    if (py::isinstance<py::array_t<std::uint32_t>>(array)) {
        return indicesOf<std::uint32_t>(array, what, limit, limitName);
    }
    if (py::isinstance<py::array_t<std::uint64_t>>(array)) {
        return indicesOf<std::uint64_t>(array, what, limit, limitName);
    }
    throw py::type_error(what + " must be int32, int64, uint32 or uint64, not " + typeOf(array));
}

void triangulateAll(kivimport::Surface& surface, const kivimport::Indices& corners,
                    const std::vector<std::uint64_t>& offsets) {
    kivimport::Indices parts;
    kivimport::Points polygon;
    kivimport::Indices triangles;
    for (std::size_t face = 0; face + 1 < offsets.size(); ++face) {
        const std::uint64_t begin = offsets[face];
        const std::uint64_t end = offsets[face + 1];
        if (end < begin + 3 || end > corners.size() || end - begin > kivimport::maxPolygonCorners) {
            throw py::value_error("faces[" + std::to_string(face) + "] has " + std::to_string(end - begin) +
                                  " corners; from 3 to " + std::to_string(kivimport::maxPolygonCorners) +
                                  " can be drawn");
        }
        polygon.clear();
        for (std::uint64_t i = begin; i < end; ++i) {
            polygon.push_back(surface.positions[corners[i]]);
        }
        triangles.clear();
        kivimport::triangulate(polygon, triangles);
        for (const std::uint32_t corner : triangles) {
            surface.corners.push_back(corners[begin + corner]);
        }
        if (!surface.triangleParts.empty()) {
            parts.insert(parts.end(), triangles.size() / 3, surface.triangleParts[face]);
        }
    }
    surface.triangleParts = std::move(parts);
}

PaddedCells readPadded(const py::array& array, const std::string& what) {
    const kivimport::Indices numbers =
        readIndices(array, what, std::numeric_limits<std::uint32_t>::max(), "numbers below the limit");
    PaddedCells cells;
    cells.offsets.push_back(0);
    for (std::size_t at = 0; at < numbers.size();) {
        const std::size_t count = numbers[at];
        if (count >= numbers.size() - at) {
            throw py::value_error(what + "[" + std::to_string(at) + "] announces " + std::to_string(count) +
                                  " corners, but the array ends before them");
        }
        for (std::size_t i = 1; i <= count; ++i) {
            cells.places.push_back(at + i);
        }
        cells.offsets.push_back(cells.places.size());
        at += count + 1;
    }
    return cells;
}
