// A glTF file that moves in every way: a triangle "slider" whose node moves, one "arm" with two bones, one "face" with
// a morph target. Its clip "go" is 2 seconds long.
#ifndef TESTS_IMPORT_ANIMATEDMODEL_H
#define TESTS_IMPORT_ANIMATEDMODEL_H

#include "boxmodels.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class AnimatedModel {
public:
    // At the end the slider has moved by 10 along x; the upper bone, at (0, 1, 3), has turned a quarter about z; and
    // the third corner of the face has moved by 5 along z.
    // upperBone: the name of the upper bone.
    std::string gltf(const std::string& upperBone = "upper") {
        const std::string slider = primitive(floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0}, true), "");
        const int armPoints = floats("VEC3", {0, 0, 0, 0, 2, 0, 1, 2, 0}, true);
        const std::string arm = primitive(
            armPoints, ",\"JOINTS_0\":" + number(bytes({0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0})) +
                           ",\"WEIGHTS_0\":" + number(floats("VEC4", {1, 0, 0, 0, 0, 1, 0, 0, 0.5F, 0.5F, 0, 0})));
        const std::string face = primitive(
            floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0}, true), "",
            ",\"targets\":[{\"POSITION\":" + number(floats("VEC3", {0, 0, 0, 0, 0, 0, 0, 0, 5}, true)) + "}]");
        const int binding = floats("MAT4", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0,  -3, 1,
                                            1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, -3, 1});
        const int times = floats("SCALAR", {0, 2}, true);
        const float half = 0.70710678F;
        const std::string samplers = sampler(times, floats("VEC3", {0, 0, 0, 10, 0, 0})) + "," +
                                     sampler(times, floats("VEC4", {0, 0, 0, 1, 0, 0, half, half})) + "," +
                                     sampler(times, floats("SCALAR", {0, 1}));
        return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[)"
               R"({"name":"all","children":[1,2,3,5]},{"name":"slider","mesh":0},{"name":"arm","mesh":1,"skin":0},)"
               R"({"name":"lower","translation":[0,0,3],"children":[4]},{"name":")" +
               upperBone +
               R"(","translation":[0,1,0]},{"name":"face","mesh":2}],)"
               R"("skins":[{"joints":[3,4],"inverseBindMatrices":)" +
               number(binding) + "}],\"meshes\":[{\"name\":\"slider\",\"primitives\":[" + slider +
               "]},{\"name\":\"arm\",\"primitives\":[" + arm +
               "]},{\"name\":\"face\",\"weights\":[0],\"primitives\":[" + face +
               R"(]}],"animations":[{"name":"go","samplers":[)" + samplers + R"(],"channels":[)" +
               R"({"sampler":0,"target":{"node":1,"path":"translation"}},{"sampler":1,"target":{"node":4,"path":"rotation"}},)" +
               R"({"sampler":2,"target":{"node":5,"path":"weights"}}]}],"accessors":[)" + accessors +
               "],\"bufferViews\":[" + views + "],\"buffers\":[{\"byteLength\":" + std::to_string(data.size()) +
               ",\"uri\":\"data:application/octet-stream;base64," + base64(data) + "\"}]}";
    }

private:
    static std::string number(int value) {
        return std::to_string(value);
    }
    static std::string primitive(int points, const std::string& attributes, const std::string& more = "") {
        return "{\"attributes\":{\"POSITION\":" + number(points) + attributes + "}" + more + "}";
    }
    static std::string sampler(int times, int values) {
        return "{\"input\":" + number(times) + ",\"output\":" + number(values) + "}";
    }

    int floats(const std::string& type, const std::vector<float>& values, bool hasRange = false) {
        const std::size_t width = type == "SCALAR" ? 1 : type == "VEC3" ? 3 : type == "VEC4" ? 4 : 16;
        std::string range;
        if (hasRange) {
            std::vector<float> low(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(width));
            std::vector<float> high = low;
            for (std::size_t i = 0; i < values.size(); ++i) {
                low[i % width] = std::min(low[i % width], values[i]);
                high[i % width] = std::max(high[i % width], values[i]);
            }
            range = ",\"min\":" + list(low) + ",\"max\":" + list(high);
        }
        return add(values.data(), values.size() * sizeof(float), 5126, values.size() / width, type, range);
    }
    // Four of them at a time.
    int bytes(const std::vector<std::uint8_t>& values) {
        return add(values.data(), values.size(), 5121, values.size() / 4, "VEC4", "");
    }
    static std::string list(const std::vector<float>& values) {
        std::string text = "[";
        for (const float value : values) {
            text += (text.size() > 1 ? "," : "") + std::to_string(value);
        }
        return text + "]";
    }
    int add(const void* from, std::size_t size, int component, std::size_t count, const std::string& type,
            const std::string& range) {
        views += (numAdded > 0 ? ",{" : "{") + std::string("\"buffer\":0,\"byteOffset\":") +
                 std::to_string(data.size()) + ",\"byteLength\":" + std::to_string(size) + "}";
        accessors += (numAdded > 0 ? ",{" : "{") + std::string("\"bufferView\":") + number(numAdded) +
                     ",\"componentType\":" + number(component) + ",\"count\":" + std::to_string(count) +
                     ",\"type\":\"" + type + "\"" + range + "}";
        data.append(static_cast<const char*>(from), size);
        return numAdded++;
    }

    std::string data;
    std::string views;
    std::string accessors;
    int numAdded = 0;
};

#endif
