#include "import/partsstream.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace kivimport;

class Bytes : public ByteSink, public ByteSource {
public:
    class End {};

    void write(const void* data, std::size_t size) override {
        const char* const from = static_cast<const char*>(data);
        content.insert(content.end(), from, from + size);
    }
    void read(void* data, std::size_t size) override {
        if (size > content.size() - at) {
            throw End();
        }
        if (size > 0) {
            std::memcpy(data, content.data() + at, size);
        }
        at += size;
    }

    std::vector<char> content;
    std::size_t at = 0;
};

constexpr std::uint64_t enough = std::uint64_t{1} << 30;

// Something of everything.
ModelParts everything() {
    ModelParts parts;
    parts.format = "a format";
    parts.zUp = true;
    Material& material = parts.materials.emplace_back();
    material.name = "m\xC3\xA9tal";
    material.ambient = {0.1, 0.2, 0.3};
    material.diffuse = {0.4, 0.5, 0.6};
    material.specular = {0.7, 0.8, 0.9};
    material.emission = {0.15, 0.25, 0.35};
    material.shininess = 12.0;
    material.opacity = 0.5;
    material.texture = "t.png";
    material.textureAverage = {0.9, 0.8, 0.7};
    material.textureLoaded = true;
    material.picture = 0;
    material.wrapV = Wrap::mirror;
    material.cutOut = 0.25;
    material.cutsAll = true;
    Picture& picture = parts.pictures.emplace_back();
    picture.width = 1;
    picture.height = 2;
    picture.pixels = {1, 2, 3, 4, 5, 6, 7, 8};
    picture.hasAlpha = true;
    Surface& surface = parts.surfaces.emplace_back();
    surface.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0.5}};
    surface.normals = {{0, 0, 1}, {0, 1, 0}};
    surface.corners = {0, 1, 2, 2, 1, 3};
    surface.cornerNormals = {0, 1, 0, noIndex, 1, 0};
    surface.triangleParts = {1, 0};
    surface.paint = {{0.5, 0.25, 0}, {1, 1, 0}};
    surface.cornerPaint = {0, 1, 0, noIndex, 1, 0};
    surface.parts = {{"one", 0, noIndex}, {"two", noIndex, noIndex}};
    parts.nodes = {{"all", noIndex, {}}, {"a thing", 0, {"bought", "steel"}}};
    parts.metresPerUnit = 0.001;
    surface.parts[1].node = 1;
    surface.hasEdges = true;
    surface.edgePoints = {0, 1, 3, 3, 2};
    surface.edges = {{SurfaceEdge::Kind::tangent, 1, 0, 0, 3}, {SurfaceEdge::Kind::sharp, 0, noIndex, 3, 2}};
    parts.instances = {{0, {0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {5, 6, 7}, 1, 0}};
    parts.polylines.push_back({{{0, 0, 0}, {1, 2, 3}, {4, 5, 6}}, true, 0});
    parts.points = {{7, 8, 9}};
    Camera& camera = parts.cameras.emplace_back();
    camera.name = "camera";
    camera.direction = {0, 0, -1};
    camera.up = {0, 1, 0};
    camera.verticalFov = 30.0;
    Light& light = parts.lights.emplace_back();
    light.name = "light";
    light.kind = Light::Kind::spot;
    light.direction = {0, -1, 0};
    light.attenuation = {1, 2, 3};
    light.spotAngle = 0.3;
    light.colour = {1.0, 0.5, 0.25};
    parts.animations = {{"walk", 1.5}};
    parts.warnings = {"careful"};
    return parts;
}

Bytes written(ModelParts parts) {
    Bytes bytes;
    writeParts(bytes, parts);
    return bytes;
}

} // namespace

TEST(PartsStream, EverythingComesOver) {
    Bytes bytes = written(everything());
    const ModelParts read = readParts(bytes, enough);
    EXPECT_EQ(bytes.at, bytes.content.size());
    EXPECT_EQ(written(read).content, bytes.content);
    checkParts(read, {10});
    const ModelParts parts = everything();
    EXPECT_EQ(read.format, parts.format);
    EXPECT_TRUE(read.zUp);
    EXPECT_EQ(read.materials[0].name, parts.materials[0].name);
    EXPECT_TRUE(read.materials[0].textureLoaded);
    EXPECT_EQ(read.materials[0].wrapV, Wrap::mirror);
    EXPECT_EQ(read.materials[0].cutOut, 0.25);
    EXPECT_TRUE(read.materials[0].cutsAll);
    EXPECT_EQ(read.pictures.at(0).pixels, parts.pictures[0].pixels);
    EXPECT_EQ(read.surfaces[0].paint, parts.surfaces[0].paint);
    EXPECT_EQ(read.surfaces[0].cornerPaint, parts.surfaces[0].cornerPaint);
    EXPECT_EQ(read.surfaces[0].positions, parts.surfaces[0].positions);
    EXPECT_EQ(read.surfaces[0].cornerNormals, parts.surfaces[0].cornerNormals);
    EXPECT_EQ(read.surfaces[0].parts[1].name, "two");
    EXPECT_EQ(read.surfaces[0].parts[1].node, 1U);
    EXPECT_EQ(read.nodes[1].name, "a thing");
    EXPECT_EQ(read.nodes[1].layers, (std::vector<std::string>{"bought", "steel"}));
    EXPECT_EQ(read.metresPerUnit, 0.001);
    EXPECT_TRUE(read.surfaces[0].hasEdges);
    EXPECT_EQ(read.surfaces[0].edgePoints, parts.surfaces[0].edgePoints);
    EXPECT_EQ(read.surfaces[0].edges[0].kind, SurfaceEdge::Kind::tangent);
    EXPECT_EQ(read.surfaces[0].edges[1].first, 3U);
    EXPECT_EQ(read.instances.at(0).y, parts.instances[0].y);
    EXPECT_EQ(read.instances.at(0).origin, parts.instances[0].origin);
    EXPECT_EQ(read.instances.at(0).node, 1U);
    EXPECT_EQ(read.instances.at(0).material, 0U);
    EXPECT_TRUE(read.polylines[0].closed);
    EXPECT_EQ(read.lights[0].kind, Light::Kind::spot);
    EXPECT_EQ(read.animations, parts.animations);
    EXPECT_EQ(read.warnings, parts.warnings);
}

TEST(PartsStream, ALargeListComesOverWhole) {
    ModelParts parts;
    for (std::uint32_t i = 0; i < 300'000; ++i) {
        parts.points.push_back({1.0 * i, 2.0 * i, 3.0 * i});
    }
    Bytes bytes = written(parts);
    EXPECT_EQ(readParts(bytes, enough).points, parts.points);
}

TEST(PartsStream, NoMoreBytesThanAllowed) {
    const Bytes bytes = written(everything());
    Bytes whole = bytes;
    EXPECT_NO_THROW(readParts(whole, 4 * bytes.content.size()));
    Bytes less = bytes;
    EXPECT_THROW(readParts(less, bytes.content.size() - 1), BrokenStream);
    // Many records that are nearly nothing on their way.
    ModelParts parts;
    parts.polylines.resize(1000);
    Bytes small = written(parts);
    EXPECT_THROW(readParts(small, 1000 * sizeof(Polyline)), BrokenStream);
}

TEST(PartsStream, WhatCanNotBeUsedIsRefused) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* what;
        std::function<void(ModelParts&)> spoil;
    } cases[] = {
        {"vertex index 4 of 4", [](ModelParts& p) { p.surfaces[0].corners[5] = 4; }},
        {"vertex index 4000000000 of 4", [](ModelParts& p) { p.surfaces[0].corners[0] = 4'000'000'000; }},
        {"vertex index 4294967295 of 4", [](ModelParts& p) { p.surfaces[0].corners[0] = noIndex; }},
        {"normal index 2 of 2", [](ModelParts& p) { p.surfaces[0].cornerNormals[0] = 2; }},
        {"part index 2 of 2", [](ModelParts& p) { p.surfaces[0].triangleParts[0] = 2; }},
        {"a triangle with less than three corners", [](ModelParts& p) { p.surfaces[0].corners.pop_back(); }},
        {"corners without a place for their normals", [](ModelParts& p) { p.surfaces[0].cornerNormals.pop_back(); }},
        {"triangles without a part", [](ModelParts& p) { p.surfaces[0].triangleParts.pop_back(); }},
        {"a surface without a part",
         [](ModelParts& p) {
             p.surfaces[0].parts.clear();
             p.surfaces[0].triangleParts.clear();
         }},
        {"a coordinate that can't be used", [](ModelParts& p) { p.surfaces[0].positions[3].z = nan; }},
        {"a coordinate that can't be used", [](ModelParts& p) { p.surfaces[0].positions[0].x = -1e31; }},
        {"a normal that is not a number", [](ModelParts& p) { p.surfaces[0].normals[1].y = infinity; }},
        {"a material index out of range", [](ModelParts& p) { p.surfaces[0].parts[0].material = 1; }},
        {"a material index out of range", [](ModelParts& p) { p.polylines[0].material = 7; }},
        {"a unit that can't be used", [](ModelParts& p) { p.metresPerUnit = nan; }},
        {"a node above which there is none", [](ModelParts& p) { p.nodes[1].parent = 1; }},
        {"a part of no node", [](ModelParts& p) { p.surfaces[0].parts[0].node = 2; }},
        {"edge index 4 of 4", [](ModelParts& p) { p.surfaces[0].edgePoints[4] = 4; }},
        {"an unknown kind of edge",
         [](ModelParts& p) { p.surfaces[0].edges[0].kind = static_cast<SurfaceEdge::Kind>(3); }},
        {"an edge of no part", [](ModelParts& p) { p.surfaces[0].edges[1].part = 2; }},
        {"a material index out of range", [](ModelParts& p) { p.surfaces[0].edges[0].material = 1; }},
        {"an edge without its points", [](ModelParts& p) { p.surfaces[0].edges[1].count = 3; }},
        {"an edge without its points", [](ModelParts& p) { p.surfaces[0].edges[1].count = 1; }},
        {"an edge without its points", [](ModelParts& p) { p.surfaces[0].edges[1].first = noIndex; }},
        {"an instance of no surface", [](ModelParts& p) { p.instances[0].surface = 1; }},
        {"an instance of no node", [](ModelParts& p) { p.instances[0].node = 2; }},
        {"a material index out of range", [](ModelParts& p) { p.instances[0].material = 1; }},
        {"an instance that is not placed by axes at right angles",
         [](ModelParts& p) {
             p.instances[0].y = {-2, 0.1, 0};
         }},
        {"an instance that is not placed by axes at right angles",
         [](ModelParts& p) {
             p.instances[0].z = {0, 0, 3};
         }},
        {"an instance that is not placed by axes at right angles",
         [](ModelParts& p) { p.instances[0].x = p.instances[0].y = p.instances[0].z = {}; }},
        {"an instance that is not placed by axes at right angles", [](ModelParts& p) { p.instances[0].z.z = nan; }},
        {"an instance at a place that can't be used", [](ModelParts& p) { p.instances[0].origin.y = infinity; }},
        {"an instance at a place that can't be used",
         [](ModelParts& p) {
             p.instances[0].x = {1e20, 0, 0};
             p.instances[0].y = {0, 1e20, 0};
             p.instances[0].z = {0, 0, 1e20};
             p.surfaces[0].positions[0] = {1e20, 0, 0};
         }},
        {"a line with less than two points", [](ModelParts& p) { p.polylines[0].points.resize(1); }},
        {"a line through a place that can't be used", [](ModelParts& p) { p.polylines[0].points[2].x = nan; }},
        {"a point that can't be used", [](ModelParts& p) { p.points[0].y = infinity; }},
        {"a colour out of range", [](ModelParts& p) { p.materials[0].diffuse.g = nan; }},
        {"a colour out of range", [](ModelParts& p) { p.materials[0].textureAverage.b = 1.1; }},
        {"a material without its picture", [](ModelParts& p) { p.materials[0].picture = 1; }},
        {"an unknown way to go on beyond a picture",
         [](ModelParts& p) { p.materials[0].wrapU = static_cast<Wrap>(3); }},
        {"a threshold out of range", [](ModelParts& p) { p.materials[0].cutOut = -0.1; }},
        {"a picture of another size than it says", [](ModelParts& p) { p.pictures[0].pixels.pop_back(); }},
        {"a picture of another size than it says", [](ModelParts& p) { p.pictures[0].width = -1; }},
        {"corners without a place for their paint", [](ModelParts& p) { p.surfaces[0].cornerPaint.pop_back(); }},
        {"a place in a texture that is none",
         [](ModelParts& p) { p.surfaces[0].paint[0].x = std::numeric_limits<double>::infinity(); }},
        {"a shininess that can't be used", [](ModelParts& p) { p.materials[0].shininess = -1.0; }},
        {"an opacity out of range", [](ModelParts& p) { p.materials[0].opacity = nan; }},
        {"a camera that stands nowhere", [](ModelParts& p) { p.cameras[0].location.x = nan; }},
        {"a camera that sees nothing", [](ModelParts& p) { p.cameras[0].verticalFov = 0.0; }},
        {"an unknown kind of light", [](ModelParts& p) { p.lights[0].kind = static_cast<Light::Kind>(3); }},
        {"a light that can't be used", [](ModelParts& p) { p.lights[0].spotAngle = nan; }},
    };
    for (const auto& c : cases) {
        ModelParts parts = everything();
        c.spoil(parts);
        try {
            checkParts(parts, {10});
            ADD_FAILURE() << c.what;
        } catch (const BrokenStream& error) {
            EXPECT_STREQ(error.what(), c.what);
        }
    }
    EXPECT_THROW(checkParts(everything(), {3}), ImportError); // two triangles, a line and a point
    ModelParts twice = everything();
    twice.instances.push_back(twice.instances[0]);
    EXPECT_NO_THROW(checkParts(twice, {6}));
    EXPECT_THROW(checkParts(twice, {5}), ImportError) << "an instance counts as often as it stands";
}

// Whatever arrives is refused or sound.
TEST(PartsStream, AnyBytesAreRefusedOrSound) {
    const std::vector<char> good = written(everything()).content;
    std::mt19937 random(7);
    int sound = 0;
    for (int i = 0; i < 20'000; ++i) {
        Bytes bytes;
        bytes.content = good;
        for (std::uint32_t n = random() % 4 + 1; n > 0; --n) {
            bytes.content[random() % good.size()] = static_cast<char>(random());
        }
        if (random() % 8 == 0) {
            bytes.content.resize(random() % good.size());
        }
        try {
            const ModelParts parts = readParts(bytes, enough);
            checkParts(parts, {10});
            ++sound;
        } catch (const BrokenStream&) {
            continue;
        } catch (const ImportError&) {
            continue;
        } catch (const Bytes::End&) {
            continue;
        }
    }
    EXPECT_GT(sound, 1000);
    EXPECT_LT(sound, 19'000);
}
