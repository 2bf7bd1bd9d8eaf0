// The scaler beside a plain copy of its input, and the reading and writing of files at the size of a usual picture.
#include "kivrender/host/kivtwopassscale.h"
#include "kivrender/platform/kivimage.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr unsigned int width = 5120;
constexpr unsigned int height = 3840;

std::vector<std::uint32_t> noise() {
    std::mt19937 random(1);
    std::vector<std::uint32_t> pixels(std::size_t{width} * height);
    for (std::uint32_t& pixel : pixels) {
        pixel = random();
    }
    return pixels;
}

void copySource(benchmark::State& state) {
    const std::vector<std::uint32_t> source = noise();
    std::vector<std::uint32_t> target(source.size());
    for (auto step : state) {
        std::memcpy(target.data(), source.data(), source.size() * 4);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(source.size()));
}

void scaleSource(benchmark::State& state) {
    const std::vector<std::uint32_t> source = noise();
    const auto w = static_cast<unsigned int>(state.range(0));
    const auto h = static_cast<unsigned int>(state.range(1));
    for (auto step : state) {
        std::uint32_t* result = C2PassScale<CBilinearFilter>().scale(source.data(), width, height, w, h);
        benchmark::DoNotOptimize(result);
        kivFreePixels(result, std::size_t{w} * h);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(source.size()));
}

// Banded discs with soft edges over a plain ground: what a cartoon of 1280 by 960 is like.
std::unique_ptr<KivImage> cartoon() {
    auto image = KivImage::create({1280, 960});
    std::mt19937 random(2);
    for (int disc = 0; disc < 60; ++disc) {
        const double cx = random() % 1280;
        const double cy = random() % 960;
        const double radius = 30 + random() % 150;
        const std::uint32_t colour = random();
        for (int y = 0; y < 960; ++y) {
            for (int x = 0; x < 1280; ++x) {
                const double inside = radius - std::hypot(x - cx, y - cy);
                if (inside <= 0) {
                    continue;
                }
                const double edge = std::min(1.0, inside);
                const double tone = inside < 3 ? 0.0 : x - cx + y - cy < 0 ? 1.0 : 0.6;
                std::uint8_t* to = image->row(y) + std::size_t{3} * static_cast<std::size_t>(x);
                for (int c = 0; c < 3; ++c) {
                    to[c] = static_cast<std::uint8_t>(to[c] * (1 - edge) + (colour >> (8 * c) & 0xFF) * tone * edge);
                }
            }
        }
    }
    return image;
}

void encode(benchmark::State& state) {
    const auto image = cartoon();
    std::size_t bytes = 0;
    for (auto step : state) {
        bytes = image->encode(static_cast<KivImageFormat>(state.range(0))).size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void decode(benchmark::State& state) {
    const auto bytes = cartoon()->encode(static_cast<KivImageFormat>(state.range(0)));
    for (auto step : state) {
        benchmark::DoNotOptimize(KivImage::decode(bytes));
    }
}

void formats(benchmark::internal::Benchmark* what) {
    for (const KivImageFormat format :
         {KivImageFormat::bmp, KivImageFormat::png, KivImageFormat::gif, KivImageFormat::jpeg, KivImageFormat::tiff}) {
        what->Arg(static_cast<int>(format));
    }
    what->Unit(benchmark::kMillisecond);
}

void enlargeBicubic(benchmark::State& state) {
    const auto image = cartoon();
    for (auto step : state) {
        benchmark::DoNotOptimize(image->scaled({5120, 3840}));
    }
}

} // namespace

BENCHMARK(copySource)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(scaleSource)
    ->Args({1280, 960})
    ->Args({2560, 1920})
    ->Args({1700, 1300})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(encode)->Apply(formats);
BENCHMARK(decode)->Apply(formats);
BENCHMARK(enlargeBicubic)->Unit(benchmark::kMillisecond);
