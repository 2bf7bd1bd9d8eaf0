// The stages of vector simplification, from a thousand to a million primitives, beside their literal forms where these
// come to an end in reasonable time.
#include "reference/literallines.h"
#include "reference/literaloutline.h"
#include "reference/literaltriangles.h"

#include "kivrender/vector/collinearlinemerger.h"
#include "kivrender/vector/coplanartrianglemerger.h"
#include "kivrender/vector/hiddenprimitives.h"
#include "kivrender/vector/outlinecontours.h"
#include "kivrender/vector/paintersorder.h"
#include "kivrender/vector/parsertobuffer.h"
#include "kivrender/vector/parsertoclasses.h"
#include "kivrender/vector/sweeporder.h"
#include "kivrender/vector/vectorsimplifier.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <deque>
#include <memory>
#include <random>
#include <vector>

namespace {

// A list that deletes what it holds.
struct OwnedList : FeedbackPrimitiveList {
    OwnedList() = default;
    OwnedList(const OwnedList&) = delete;
    OwnedList& operator=(const OwnedList&) = delete;
    ~OwnedList() {
        deletePrimitives(*this);
    }
};

class Words {
public:
    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(generator()) % limit;
    }
    float unit() {
        return static_cast<float>(generator() >> 8) * 0x1p-24F;
    }

private:
    std::mt19937 generator{7};
};

FeedbackVertex vertexAt(float x, float y, float z = 0) {
    FeedbackVertex vertex;
    vertex.x = x;
    vertex.y = y;
    vertex.z = z;
    vertex.r = vertex.g = vertex.b = 0.5F;
    vertex.a = 1;
    return vertex;
}

void add(FeedbackPrimitiveList& list, int type, const std::vector<FeedbackVertex>& vertices) {
    auto* primitive = new FeedbackPrimitive;
    primitive->type = static_cast<std::int16_t>(type);
    primitive->vertexCount = static_cast<std::int32_t>(vertices.size());
    for (const FeedbackVertex& vertex : vertices)
        primitive->vertices.push_back(vertex);
    list.push_back(primitive);
}

void shuffle(FeedbackPrimitiveList& list) {
    Words words;
    for (std::size_t i = list.size(); i > 1; --i)
        std::swap(list[i - 1], list[words.below(static_cast<std::uint32_t>(i))]);
}

// Which lines a benchmark merges.
enum LineKind {
    strokes,   // each drawn five times, turned round or shifted along itself, in any direction and order
    meshEdges, // of a regular mesh, those inside drawn twice
    hatching,  // parallel and equally long, each drawn twice
    allEqual,
};

void makeLines(FeedbackPrimitiveList& list, LineKind kind, int count) {
    Words words;
    const float side = std::sqrt(static_cast<float>(count));
    const int columns = static_cast<int>(side / 2) + 1;
    for (int i = 0; i < count; ++i) {
        float x = 0;
        float y = 0;
        float dx = 1;
        float dy = 0;
        if (kind == strokes) {
            if (i % 5 == 0 || list.empty()) {
                x = side * words.unit();
                y = side * words.unit();
                dx = 2 * words.unit() - 1;
                dy = 2 * words.unit() - 1;
            } else {
                const std::vector<FeedbackVertex>& model = list[static_cast<std::size_t>(i - i % 5)]->vertices;
                const float shift = words.below(2) == 0 ? 0.0F : 0.25F;
                dx = model[1].x - model[0].x;
                dy = model[1].y - model[0].y;
                x = model[0].x + shift * dx;
                y = model[0].y + shift * dy;
            }
        } else if (kind == meshEdges) {
            const int cell = i / 4;
            x = static_cast<float>(cell % columns + i % 2);
            y = static_cast<float>(cell / columns);
            dx = i % 4 < 2 ? 0.0F : i % 2 == 0 ? 1.0F : -1.0F;
            dy = i % 4 < 2 || i % 4 == 3 ? 1.0F : 0.0F;
        } else if (kind == hatching) {
            x = 0.01F * static_cast<float>(i / 2);
            dx = 3;
            dy = 4;
        }
        if (words.below(2) == 0)
            add(list, FeedbackToken::line, {vertexAt(x, y), vertexAt(x + dx, y + dy)});
        else
            add(list, FeedbackToken::line, {vertexAt(x + dx, y + dy), vertexAt(x, y)});
    }
    shuffle(list);
}

void mergeLines(benchmark::State& state, LineKind kind) {
    std::size_t left = 0;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList lines;
            makeLines(lines, kind, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            CollinearLineMerger().mergeLines(&lines);
            state.PauseTiming();
            left = lines.size();
        }
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
}

void mergeLinesLiterally(benchmark::State& state, LineKind kind) {
    std::size_t left = 0;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList lines;
            makeLines(lines, kind, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            literal::mergeLines(lines);
            state.PauseTiming();
            left = lines.size();
        }
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
}

// Which triangles a benchmark merges.
enum TriangleKind {
    faces20,     // faces of 20 triangles, each in a plane of its own
    faces20Flat, // the same in one plane, apart from each other
    oneFace,
    noFace,     // no two triangles of one plane
    sphere,     // by longitude and latitude
    copies,     // of one triangle
    tinyFace,   // one face of squares whose sides are shorter than the tolerance of vertices
    bookPages,  // about one side that they share, each in a plane of its own
    glassSheets // copies of a face, each in a colour of its own
};

// A face of width by height squares in a plane that the slope tells.
void addFace(FeedbackPrimitiveList& list, float x, float y, int width, int height, float slope) {
    const auto corner = [&](int i, int j) {
        const float u = static_cast<float>(i);
        const float v = static_cast<float>(j);
        return vertexAt(x + u, y + v, slope * (u + v));
    };
    for (int i = 0; i < width; ++i) {
        for (int j = 0; j < height; ++j) {
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j), corner(i + 1, j + 1)});
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j + 1), corner(i, j + 1)});
        }
    }
}

void addSphere(FeedbackPrimitiveList& list, int count) {
    const int rows = static_cast<int>(std::sqrt(static_cast<double>(count) / 4)) + 1;
    const int columns = 2 * rows;
    const auto corner = [&](int i, int j) {
        const double longitude = 6.283185307179586 * (i % columns) / columns;
        const double latitude = 3.141592653589793 * j / rows;
        return vertexAt(static_cast<float>(100 * std::sin(latitude) * std::cos(longitude)),
                        static_cast<float>(100 * std::cos(latitude)),
                        static_cast<float>(100 * std::sin(latitude) * std::sin(longitude)));
    };
    for (int i = 0; i < columns; ++i) {
        for (int j = 0; j < rows; ++j) {
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j), corner(i + 1, j + 1)});
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j + 1), corner(i, j + 1)});
        }
    }
}

// Triangles that lie on each other, or nearly.
void addStacked(FeedbackPrimitiveList& list, TriangleKind kind, int count) {
    if (kind == tinyFace) {
        const int side = static_cast<int>(std::sqrt(static_cast<double>(count) / 2));
        addFace(list, 0, 0, side, side, 0);
        for (FeedbackPrimitive* each : list) {
            for (FeedbackVertex& vertex : each->vertices) {
                vertex.x *= 2e-4F;
                vertex.y *= 2e-4F;
            }
        }
        return;
    }
    if (kind == glassSheets) {
        for (int sheet = 0; sheet < count / 200; ++sheet) {
            addFace(list, 1, 1, 10, 10, 0);
            for (std::size_t i = list.size() - 200; i < list.size(); ++i) {
                for (FeedbackVertex& vertex : list[i]->vertices)
                    vertex.a = static_cast<float>(sheet % 251 + 1) / 255;
            }
        }
        return;
    }
    for (int i = 0; i < count; ++i) {
        const double angle = kind == copies ? 0.0 : 3.141592653589793 * i / count;
        add(list, FeedbackToken::polygon,
            {vertexAt(1, 1), vertexAt(1, 5),
             vertexAt(static_cast<float>(1 + 3 * std::cos(angle)), 2, static_cast<float>(3 * std::sin(angle)))});
    }
}

void makeTriangles(FeedbackPrimitiveList& list, TriangleKind kind, int count) {
    if (kind == sphere) {
        addSphere(list, count);
        return;
    }
    if (kind >= copies) {
        addStacked(list, kind, count);
        return;
    }
    if (kind == oneFace) {
        const int side = static_cast<int>(std::sqrt(static_cast<double>(count) / 2));
        addFace(list, 1, 1, side, side, 0);
        return;
    }
    const int size = kind == noFace ? 2 : 20;
    const int numFaces = count / size;
    const int columns = static_cast<int>(std::sqrt(static_cast<double>(numFaces))) + 1;
    for (int face = 0; face < numFaces; ++face) {
        const float slope = kind == faces20Flat ? 0.0F : 0.1F + static_cast<float>(face % 89) / 100;
        const float x = 1 + 6 * static_cast<float>(face % columns);
        const float y = 1 + 3 * static_cast<float>(face / columns);
        addFace(list, x, y, kind == noFace ? 1 : 5, kind == noFace ? 1 : 2, slope);
        if (kind == noFace)
            list.back()->vertices[2].z += 1;
    }
}

void mergeTriangles(benchmark::State& state, TriangleKind kind) {
    std::size_t left = 0;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList triangles;
            makeTriangles(triangles, kind, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            CoplanarTriangleMerger().merge(&triangles, 0, 2, 1);
            state.PauseTiming();
            left = triangles.size();
        }
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
}

// The grouping alone: it is what the literal form spends its time on.
void groupTrianglesLiterally(benchmark::State& state, TriangleKind kind) {
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList triangles;
            makeTriangles(triangles, kind, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            std::vector<SweepTriangle*> sweep = literal::sweepOf(triangles, 0);
            literal::SweepSort(sweep, triangles).run();
            const auto groups = literal::group(sweep, triangles);
            benchmark::DoNotOptimize(groups.size());
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

// The outline of a circular disc with many collinear pieces in each of its sides.
struct Disc {
    std::deque<FeedbackVertex> vertices;
    std::vector<FeedbackEdge> edges;

    explicit Disc(int count) {
        const int numSides = std::max(count / 10, 3);
        const auto corner = [&](int side) {
            const double angle = 6.283185307179586 * side / numSides;
            return vertexAt(static_cast<float>(numSides * std::cos(angle)),
                            static_cast<float>(numSides * std::sin(angle)));
        };
        for (int i = 0; i < numSides * 10; ++i) {
            const FeedbackVertex from = corner(i / 10);
            const FeedbackVertex to = corner(i / 10 + 1);
            const float part = static_cast<float>(i % 10) / 10;
            vertices.push_back(vertexAt(from.x + part * (to.x - from.x), from.y + part * (to.y - from.y)));
        }
        for (std::size_t i = 0; i < vertices.size(); ++i)
            edges.push_back({&vertices[i], &vertices[(i + 1) % vertices.size()]});
        Words words;
        for (std::size_t i = edges.size(); i > 1; --i)
            std::swap(edges[i - 1], edges[words.below(static_cast<std::uint32_t>(i))]);
    }
};

void contours(benchmark::State& state) {
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        Disc disc(static_cast<int>(state.range(0)));
        std::vector<FeedbackVertex*> vertices;
        std::vector<int> ends;
        state.ResumeTiming();
        OutlineContours outline(disc.edges);
        outline.joinCollinearEdges();
        outline.chain(vertices, ends);
        benchmark::DoNotOptimize(vertices.data());
    }
}

void contoursLiterally(benchmark::State& state) {
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        Disc disc(static_cast<int>(state.range(0)));
        std::vector<FeedbackVertex*> vertices;
        std::vector<int> ends;
        state.ResumeTiming();
        literal::joinCollinearEdges(disc.edges);
        literal::chain(disc.edges, vertices, ends);
        benchmark::DoNotOptimize(vertices.data());
    }
}

// A plate with rows of square holes, as the outline that the tessellator gets.
void holes(benchmark::State& state) {
    OwnedList triangles;
    const int rows = static_cast<int>(std::sqrt(static_cast<double>(state.range(0))));
    for (int i = 0; i < 2 * rows + 1; ++i) {
        for (int j = 0; j < 2 * rows + 1; ++j) {
            if (i % 2 == 0 || j % 2 == 0)
                addFace(triangles, static_cast<float>(i), static_cast<float>(j), 1, 1, 0);
        }
    }
    std::size_t left = 0;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList list;
            for (const FeedbackPrimitive* each : triangles)
                list.push_back(new FeedbackPrimitive(*each));
            state.ResumeTiming();
            CoplanarTriangleMerger(CoplanarTriangleMerger::Failed::staysAsItWas).merge(&list, 0, 2, 1);
            state.PauseTiming();
            left = list.size();
        }
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
}

void parseBothWays(benchmark::State& state) {
    OwnedList triangles;
    makeTriangles(triangles, oneFace, static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto round : state) {
        ParserToBuffer writer(&triangles);
        writer.parse();
        ParserToClasses reader(writer.getBuffer(), writer.getSize());
        reader.parse();
        const std::unique_ptr<FeedbackPrimitiveList> list(reader.getPrimitives());
        deletePrimitives(*list);
        std::free(writer.getBuffer());
    }
}

void sortedKeys(benchmark::State& state) {
    std::vector<float> keys;
    for (int i = 0; i < state.range(0); ++i)
        keys.push_back(static_cast<float>(i / 3));
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(sweepOrder(keys));
}

// A whole page as a driver sees it: triangles in faces, and their edges as lines.
void simplifyPage(benchmark::State& state) {
    OwnedList primitives;
    makeLines(primitives, meshEdges, static_cast<int>(state.range(0)) / 2);
    makeTriangles(primitives, faces20, static_cast<int>(state.range(0)) / 2);
    ParserToBuffer writer(&primitives);
    writer.parse();
    FeedbackView view = {};
    for (const int i : {0, 5, 10, 15})
        view.modelView[i] = view.projection[i] = 1;
    view.viewport[2] = view.viewport[3] = 2;
    for ([[maybe_unused]] auto round : state) {
        int used = writer.getSize();
        float* simplified = VectorSimplifier(view).simplify(writer.getBuffer(), &used);
        benchmark::DoNotOptimize(simplified);
        std::free(simplified);
    }
    std::free(writer.getBuffer());
}

// A bent ring as a window shows it, so that most places have two or four layers.
void makeRing(FeedbackPrimitiveList& list, int count) {
    const int around = static_cast<int>(std::sqrt(static_cast<double>(count)));
    const int across = around / 2;
    const auto corner = [&](int i, int j) {
        const double u = 6.283185307179586 * (i % around) / around;
        const double w = 6.283185307179586 * (j % across) / across;
        const double r = 0.45 * (1 + 0.15 * std::sin(13 * u) * std::sin(7 * w));
        const double x = (1 + r * std::cos(w)) * std::cos(u);
        const double y = (1 + r * std::cos(w)) * std::sin(u);
        const double z = r * std::sin(w);
        const double turned = 0.6 * y - 0.8 * z;
        const double away = 4 - (0.8 * y + 0.6 * z);
        return vertexAt(static_cast<float>(640 + 1500 * x / away), static_cast<float>(480 + 1500 * turned / away),
                        static_cast<float>(0.1 + 2.7 * (0.5 - 1 / away)));
    };
    for (int i = 0; i < around; ++i) {
        for (int j = 0; j < across; ++j) {
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j), corner(i + 1, j + 1)});
            add(list, FeedbackToken::polygon, {corner(i, j), corner(i + 1, j + 1), corner(i, j + 1)});
        }
    }
}

void removeHidden(benchmark::State& state) {
    std::size_t left = 0;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList list;
            makeRing(list, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            HiddenPrimitives().remove(&list);
            state.PauseTiming();
            left = list.size();
        }
        state.ResumeTiming();
    }
    state.counters["left"] = static_cast<double>(left);
}

void paintersOrder(benchmark::State& state) {
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList list;
            makeRing(list, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            PaintersOrder().sort(&list);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

// Drawings that are hard to order.
enum HardKind {
    crossingAreas,   // large ones through one another
    crossingNeedles, // across the whole window
    legs,            // prisms of long thin triangles from one body
    spines,          // needles in all directions from one place
    oneTriangle,     // many times over
    sheets,          // over one another, each a little aside
};

// Eight sides of a leg from about the middle of the window.
void addLeg(FeedbackPrimitiveList& list, Words& words) {
    const double angle = 6.283185307179586 * words.unit();
    const double x = 470 + 60 * words.unit();
    const double y = 450 + 60 * words.unit();
    const double z = 0.475 + 0.05 * words.unit();
    const double length = 200 + 250 * words.unit();
    const double endZ = 0.3 + 0.4 * words.unit();
    const double width = 4 + 8 * words.unit();
    const auto corner = [&](int side, bool end) {
        const double turn = 6.283185307179586 * (side % 8) / 8;
        const double part = end ? 0.5 : 1;
        const double aside = part * width * std::cos(turn);
        return vertexAt(static_cast<float>(x + (end ? length * std::cos(angle) : 0) - aside * std::sin(angle)),
                        static_cast<float>(y + (end ? length * std::sin(angle) : 0) + aside * std::cos(angle)),
                        static_cast<float>((end ? endZ : z) + part * 0.0005 * width * std::sin(turn)));
    };
    for (int side = 0; side < 8; ++side) {
        add(list, FeedbackToken::polygon, {corner(side, false), corner(side + 1, false), corner(side + 1, true)});
        add(list, FeedbackToken::polygon, {corner(side, false), corner(side + 1, true), corner(side, true)});
    }
}

void makeHard(FeedbackPrimitiveList& list, HardKind kind, int count) {
    Words words;
    const auto anywhere = [&words] { return vertexAt(1000 * words.unit(), 1000 * words.unit(), words.unit()); };
    while (static_cast<int>(list.size()) < count) {
        const auto place = static_cast<float>(list.size());
        if (kind == crossingAreas) {
            add(list, FeedbackToken::polygon, {anywhere(), anywhere(), anywhere()});
        } else if (kind == crossingNeedles || kind == spines) {
            const FeedbackVertex tip = anywhere();
            FeedbackVertex beside = tip;
            beside.x += 6;
            beside.y += 6;
            const FeedbackVertex start = kind == spines ? vertexAt(500 + words.unit(), 500, 0.5F) : anywhere();
            add(list, FeedbackToken::polygon, {start, tip, beside});
        } else if (kind == legs) {
            addLeg(list, words);
        } else {
            const float aside = kind == sheets ? 0.1F * place : 0;
            const float depth = kind == sheets ? 0.2F + 0.6F * place / static_cast<float>(count) : 0.5F;
            add(list, FeedbackToken::polygon,
                {vertexAt(100 + aside, 100, depth), vertexAt(900, 200 + aside, depth + 0.1F),
                 vertexAt(400, 800, depth)});
        }
    }
}

void paintersOrderOfHard(benchmark::State& state, HardKind kind) {
    std::size_t painted = 0;
    bool exact = true;
    for ([[maybe_unused]] auto round : state) {
        state.PauseTiming();
        {
            OwnedList list;
            makeHard(list, kind, static_cast<int>(state.range(0)));
            state.ResumeTiming();
            PaintersOrder().sort(&list, nullptr, &exact);
            state.PauseTiming();
            painted = list.size();
        }
        state.ResumeTiming();
    }
    state.counters["painted"] = static_cast<double>(painted);
    state.counters["exact"] = exact ? 1 : 0;
}

void growing(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
}

void withTargets(benchmark::internal::Benchmark* bench) {
    growing(bench);
    bench->Arg(200000);
}

void growingSlowly(benchmark::internal::Benchmark* bench) {
    bench->Arg(300)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(mergeLines, strokes, strokes)->Apply(growing);
BENCHMARK_CAPTURE(mergeLines, meshEdges, meshEdges)->Apply(growing);
BENCHMARK_CAPTURE(mergeLines, hatching, hatching)->Apply(growing);
BENCHMARK_CAPTURE(mergeLines, allEqual, allEqual)->Apply(growing);
BENCHMARK_CAPTURE(mergeLinesLiterally, strokes, strokes)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(mergeLinesLiterally, meshEdges, meshEdges)
    ->Arg(100)
    ->Arg(300)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(mergeTriangles, faces20, faces20)->Apply(withTargets);
BENCHMARK_CAPTURE(mergeTriangles, faces20Flat, faces20Flat)->Apply(withTargets);
BENCHMARK_CAPTURE(mergeTriangles, oneFace, oneFace)->Apply(withTargets);
BENCHMARK_CAPTURE(mergeTriangles, noFace, noFace)->Apply(growing);
BENCHMARK_CAPTURE(mergeTriangles, sphere, sphere)->Apply(growing);
BENCHMARK_CAPTURE(mergeTriangles, copies, copies)->Apply(growing);
BENCHMARK_CAPTURE(mergeTriangles, tinyFace, tinyFace)->Apply(growing);
BENCHMARK_CAPTURE(mergeTriangles, bookPages, bookPages)->Apply(growing);
BENCHMARK_CAPTURE(mergeTriangles, glassSheets, glassSheets)->Apply(growing);
BENCHMARK_CAPTURE(groupTrianglesLiterally, faces20Flat, faces20Flat)->Apply(growingSlowly);
BENCHMARK_CAPTURE(groupTrianglesLiterally, oneFace, oneFace)->Apply(growingSlowly);
BENCHMARK(contours)->Apply(growing);
BENCHMARK(contoursLiterally)->Apply(growingSlowly);
BENCHMARK(holes)->Arg(400)->Arg(1600)->Arg(6400)->Arg(16384)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(parseBothWays)->Apply(growing);
BENCHMARK(sortedKeys)->Apply(growing);
BENCHMARK(simplifyPage)->Apply(growing);
BENCHMARK(removeHidden)->Apply(growing);
BENCHMARK(paintersOrder)->Apply(growing);
BENCHMARK_CAPTURE(paintersOrderOfHard, crossingAreas, crossingAreas)->Apply(growingSlowly);
BENCHMARK_CAPTURE(paintersOrderOfHard, crossingNeedles, crossingNeedles)->Apply(growingSlowly);
BENCHMARK_CAPTURE(paintersOrderOfHard, legs, legs)->Apply(growingSlowly)->Arg(912);
BENCHMARK_CAPTURE(paintersOrderOfHard, spines, spines)->Apply(growingSlowly);
BENCHMARK_CAPTURE(paintersOrderOfHard, oneTriangle, oneTriangle)->Apply(growingSlowly)->Arg(100000);
BENCHMARK_CAPTURE(paintersOrderOfHard, sheets, sheets)->Apply(growingSlowly);

} // namespace
