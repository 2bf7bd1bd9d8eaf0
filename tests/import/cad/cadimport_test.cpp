// From the file of a CAD program to a scene, through the process that reads it.
#include "../importtestfiles.h"
#include "cadfiles.h"
#include "import/kivmodelimport.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivmeshedges.h"
#include "support/rawrandom.h"

#include <chrono>
#include <cmath>
#include <fstream>
#include <sstream>

#include <malloc.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Kind = KivMeshEdge::Kind;

// The line of a failure; empty for a model that is read.
std::string import(const std::string& path, KivModel& model, KivModelOptions options = {}) {
    std::wstring message;
    return kivImportModels({kivFromUtf8(path)}, options, model, message) ? "" : kivToUtf8(message);
}

std::string pathOf(const KivModel& model, int node) {
    const KivModelNode& at = model.nodes.at(static_cast<std::size_t>(node));
    return (at.parent >= 0 ? pathOf(model, at.parent) + "/" : "") + kivToUtf8(at.name);
}

int countOf(const KivMeshEdges& edges, Kind kind) {
    int count = 0;
    for (const KivMeshEdge& edge : edges.edges) {
        count += edge.kind == kind ? 1 : 0;
    }
    return count;
}

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

} // namespace

TEST(CadImport, MeshesCarryTheirEdges) {
    const TestFolder folder;
    writeStep(folder.path("c.step"), documentOf(cylinder(), "can"));
    KivModel model;
    ASSERT_EQ(import(folder.path("c.step"), model), "");
    ASSERT_EQ(model.scene->numMeshes(), 1U);
    EXPECT_EQ(model.meshNames.at(0), L"can");
    EXPECT_DOUBLE_EQ(model.files.at(0).metresPerUnit, 1e-3);
    EXPECT_EQ(model.files.at(0).degenerate, 0U);
    const KivMesh& mesh = *model.scene->getMesh(0);
    const auto edges = kivMeshEdges(mesh);
    ASSERT_NE(edges, nullptr);
    EXPECT_EQ(countOf(*edges, Kind::sharp), 2);
    EXPECT_EQ(countOf(*edges, Kind::seam), 1);
    const Kiv3DPoint axis = model.toScene({0.0, 0.0, 0.0});
    for (const KivMeshEdge& edge : edges->edges) {
        for (std::uint32_t i = 0; i < edge.count; ++i) {
            ASSERT_LT(edges->vertices.at(edge.first + i), mesh.getNumVertexs());
            const Kiv3DPoint p = mesh.getVertex(edges->vertices[edge.first + i]);
            EXPECT_NEAR(std::hypot(p.x - axis.x, p.y - axis.y), 10.0 * model.scale, 1e-9);
        }
    }
}

TEST(CadImport, EachColourOfAPartIsAMeshAndEachEdgeIsOnOneOfThem) {
    const TestFolder folder;
    writeStep(folder.path("p.stp"), boltedPlate(2));
    KivModel model;
    ASSERT_EQ(import(folder.path("p.stp"), model), "");
    ASSERT_EQ(model.scene->numMeshes(), 4U);
    EXPECT_EQ(pathOf(model, model.meshNodes.at(0)), "plate with bolts/base");
    EXPECT_EQ(pathOf(model, model.meshNodes.at(3)), "plate with bolts/bolts/bolt 2");
    const int ofPlate = countOf(*kivMeshEdges(*model.scene->getMesh(0)), Kind::sharp) +
                        countOf(*kivMeshEdges(*model.scene->getMesh(1)), Kind::sharp);
    EXPECT_EQ(ofPlate, 12);
    // Four of them lie between the colours. One mesh has them, and knows what is on their other side.
    int between = 0;
    for (unsigned int i = 0; i < 2; ++i) {
        const auto edges = kivMeshEdges(*model.scene->getMesh(i));
        ASSERT_EQ(edges->beyond.size(), edges->vertices.size());
        for (const KivMeshEdge& edge : edges->edges) {
            between += edge.hasBeyond ? 1 : 0;
            const Kiv3DPoint top = model.toScene({0.0, 0.0, 5.0});
            const Kiv3DPoint at = model.scene->getMesh(i)->getVertex(edges->vertices[edge.first]);
            const Kiv3DPoint& beyond = edges->beyond[edge.first];
            const bool isUpper = model.scene->getMesh(i)->getNumTriangles() == 2;
            if (edge.hasBeyond) {
                EXPECT_EQ(at.z, top.z);
                EXPECT_EQ(beyond.z == top.z, !isUpper);
            }
        }
    }
    EXPECT_EQ(between, 4);
}

// Bytes that the process has taken from its heap.
std::size_t heapInUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

TEST(CadImport, InstancesShareTheirTriangles) {
    constexpr int more = 1000;
    const TestFolder folder;
    KivModelOptions options;
    options.deflection = 0.0005;
    std::size_t taken[2] = {};
    KivModel models[2];
    for (const int i : {0, 1}) {
        writeStep(folder.path("p.stp"), boltedPlate(2 + i * more));
        const std::size_t before = heapInUse();
        ASSERT_EQ(import(folder.path("p.stp"), models[i], options), "");
        taken[i] = heapInUse() - before;
    }
    if (heapInUse() == 0) {
        GTEST_SKIP() << "the heap of a sanitizer does not count";
    }
    ASSERT_EQ(models[1].scene->numMeshes(), models[0].scene->numMeshes() + more);
    const KivMesh& bolt = *models[1].scene->getMesh(models[1].scene->numMeshes() - 1);
    ASSERT_GT(bolt.getNumTriangles(), 1000U);
    EXPECT_EQ(models[1].files[0].triangles - models[0].files[0].triangles, more * bolt.getNumTriangles());
    EXPECT_LT(taken[1] - taken[0], more * std::size_t{1024});
    EXPECT_EQ(kivMeshEdges(bolt), kivMeshEdges(*models[1].scene->getMesh(2)));
    std::printf("%zu bytes for each of %d instances of %u triangles\n", (taken[1] - taken[0]) / more, more,
                bolt.getNumTriangles());
    // The last one stands where its number says.
    KivMesh copy(bolt);
    const KivBox& box = *copy.getBoundingBox();
    const Kiv3DPoint low = models[1].toScene({1.0 + (more + 1) % 10 * 10.0, 1.0 + (more + 1) / 10 * 10.0, 5.0});
    EXPECT_NEAR(box.getXMin(), low.x, 1e-3 * models[1].scale);
    EXPECT_NEAR(box.getYMin(), low.y, 1e-3 * models[1].scale);
    EXPECT_NEAR(box.getZMin(), low.z, 1e-9);
}

TEST(CadImport, CanBeCancelled) {
    const TestFolder folder;
    writeStep(folder.path("p.stp"), boltedPlate(30));
    KivModelOptions options;
    options.progress = [](double) { return false; };
    KivModel model;
    EXPECT_EQ(import(folder.path("p.stp"), model, options), "");
    EXPECT_EQ(model.scene, nullptr);
}

// Files of which parts were changed, dropped, doubled or cut off cost a line each at most, and no time to speak of.
TEST(CadImport, ChangedFilesArePicturesOrLines) {
    const TestFolder folder;
    writeStep(folder.path("p.step"), documentOf(sphereWithHoles(), "ball"));
    writeIges(folder.path("p.igs"), documentOf(filletedBox(), "box"));
    const int count = std::getenv("SELVARIN_CAMPAIGN") != nullptr ? 100 : 6;
    RawRandom random(20240517);
    for (const std::string ending : {".step", ".igs"}) {
        const std::string sound = contentOf(folder.path("p" + ending));
        int failed = 0;
        for (int i = 0; i < count; ++i) {
            std::string text = sound;
            const auto place = [&] { return std::size_t{random.below(static_cast<unsigned int>(text.size()))}; };
            for (unsigned int change = 1 + random.below(8); change > 0 && !text.empty(); --change) {
                switch (random.below(5)) {
                case 0:
                    text[place()] = static_cast<char>(random.below(256));
                    break;
                case 1:
                    text[place()] = static_cast<char>('0' + random.below(10));
                    break;
                case 2:
                    text.erase(place(), 1 + random.below(200));
                    break;
                case 3:
                    text.insert(place(), text.substr(place(), random.below(200)));
                    break;
                default:
                    if (random.chance(4)) {
                        text.resize(std::max<std::size_t>(place(), 100));
                    }
                    break;
                }
            }
            const std::string path = folder.write("changed" + ending, text);
            KivModelOptions options;
            options.maxReaderSeconds = 5.0;
            KivModel model;
            const auto start = std::chrono::steady_clock::now();
            const std::string line = import(path, model, options);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            EXPECT_EQ(line.find('\n'), std::string::npos) << line;
            EXPECT_TRUE(!line.empty() || model.scene->numMeshes() + model.scene->numPolyline() > 0 ||
                        model.scene->numLines() > 0);
            EXPECT_LT(taken.count(), 20.0) << "change " << i;
            EXPECT_LE(model.warnings.size(), 1U);
            failed += line.empty() ? 0 : 1;
            if (!line.empty()) {
                EXPECT_THAT(line, StartsWith("can't use \"" + path + "\": "));
            }
        }
        std::printf("%s: %d of %d could not be read\n", ending.c_str(), failed, count);
    }
}
