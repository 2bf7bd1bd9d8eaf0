#include "apps/cli/camerapath.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::vector<double> numbersOf(const std::string& line, const std::string& where) {
    std::vector<double> numbers;
    std::string words = line;
    std::replace(words.begin(), words.end(), ',', ' ');
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        double number = 0.0;
        const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (problem != std::errc{} || end != word.data() + word.size() || !std::isfinite(number)) {
            throw UsageError(where + "\"" + word + "\" is not a number");
        }
        numbers.push_back(number);
    }
    return numbers;
}

CameraKey keyOf(const std::vector<double>& n, const std::string& where) {
    if (n.size() != 7 && n.size() != 8) {
        throw UsageError(where + "a time, the eye's X Y Z and the target's X Y Z are expected, and perhaps a field of "
                                 "view");
    }
    CameraKey key{n[0], {n[1], n[2], n[3]}, {n[4], n[5], n[6]}, {}};
    if (std::hypot(n[1] - n[4], n[2] - n[5], n[3] - n[6]) == 0.0) {
        throw UsageError(where + "eye and target are the same place");
    }
    if (n.size() == 8) {
        if (n[7] < 1.0 || n[7] > 170.0) {
            throw UsageError(where + "a field of view of 1 to 170 degrees is expected");
        }
        key.fov = n[7];
    }
    return key;
}

// E. Catmull and R. Rom, "A class of local interpolating splines", 1974, for keys at uneven times: the tangent at a key
// is the slope between its neighbours.
double smooth(const double (&values)[4], const double (&times)[4], double time) {
    const double span = times[2] - times[1];
    const double t = (time - times[1]) / span;
    const auto tangent = [&](int a, int b) {
        return times[b] > times[a] ? (values[b] - values[a]) / (times[b] - times[a]) * span : 0.0;
    };
    const double from = tangent(0, 2);
    const double to = tangent(1, 3);
    const double t2 = t * t;
    const double t3 = t2 * t;
    return (2.0 * t3 - 3.0 * t2 + 1.0) * values[1] + (t3 - 2.0 * t2 + t) * from + (3.0 * t2 - 2.0 * t3) * values[2] +
           (t3 - t2) * to;
}

} // namespace

CameraPath::CameraPath(const std::string& text, const std::string& path) {
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        line = line.substr(0, line.find('#'));
        const std::string where = "camera path \"" + path + "\", line " + std::to_string(number) + ": ";
        const std::vector<double> numbers = numbersOf(line, where);
        if (numbers.empty()) {
            continue;
        }
        keys.push_back(keyOf(numbers, where));
        if (keys.size() > 1 && keys.back().time <= keys[keys.size() - 2].time) {
            throw UsageError(where + "times have to rise");
        }
    }
    if (keys.size() < 2) {
        throw UsageError("the camera path \"" + path + "\" has fewer than two keys");
    }
}

CameraPath CameraPath::fromFile(const std::string& path) {
    constexpr std::size_t largest = 1 << 24;
    std::error_code problem;
    if (!std::filesystem::is_regular_file(path, problem)) {
        throw UsageError("can't read the camera path \"" + path + "\": there is no such file");
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(largest, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, file.gcount())));
    return {text, path};
}

CameraKey CameraPath::at(double time) const {
    const auto after =
        std::upper_bound(keys.begin(), keys.end(), time, [](double t, const CameraKey& key) { return t < key.time; });
    if (after == keys.begin()) {
        return keys.front();
    }
    if (after == keys.end()) {
        return keys.back();
    }
    const CameraKey& b = *(after - 1);
    const CameraKey& c = *after;
    const CameraKey& a = after - 1 == keys.begin() ? b : *(after - 2);
    const CameraKey& d = after + 1 == keys.end() ? c : *(after + 1);
    const double times[4] = {a.time, b.time, c.time, d.time};
    const auto blend = [&](auto value) {
        const double values[4] = {value(a), value(b), value(c), value(d)};
        return smooth(values, times, time);
    };
    CameraKey key;
    key.time = time;
    key.eye = {blend([](const CameraKey& k) { return k.eye.x; }), blend([](const CameraKey& k) { return k.eye.y; }),
               blend([](const CameraKey& k) { return k.eye.z; })};
    key.target = {blend([](const CameraKey& k) { return k.target.x; }),
                  blend([](const CameraKey& k) { return k.target.y; }),
                  blend([](const CameraKey& k) { return k.target.z; })};
    if (b.fov && c.fov) {
        key.fov = *b.fov + (*c.fov - *b.fov) * (time - b.time) / (c.time - b.time);
    } else {
        key.fov = b.fov ? b.fov : c.fov;
    }
    return key;
}
