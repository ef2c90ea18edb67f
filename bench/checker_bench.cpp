// The cost of finding the segments of a large set that intersect others. The index is built anew in each iteration. The
// rate is counted in segments per second.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/SegmentChecker.h"

namespace {

using namespace bench;
using benchmark::State;
using LUMO_TARO25D::Segment2;
using LUMO_TARO25D::SegmentChecker;
using Segments = std::vector<Segment2>;

constexpr std::size_t numAll = 1'000'000;

/// Separate segments about as long as their neighbours are apart: one in twelve crosses another.
Segments scattered() {
    Random random(21);
    const double reach = 0.5 / std::sqrt(double(numAll));
    Segments vSegments;
    vSegments.reserve(numAll);
    for (const Point2& a : uniform(numAll, 22)) {
        const double dx = random.between(-reach, reach), dy = random.between(-reach, reach);
        vSegments.emplace_back(a, Point2(a.x() + dx, a.y() + dy, a.z()));
    }
    return vSegments;
}

/// Winding lines of 1000 segments each, one after the other, that cross each other here and there.
Segments winding() {
    Random random(23);
    const double step = 0.5 / std::sqrt(double(numAll));
    Segments vSegments;
    vSegments.reserve(numAll);
    for (Point2 a : uniform(numAll / 1000, 24)) {
        double direction = random.between(0.0, 2.0 * M_PI);
        for (int i = 0; i < 1000; ++i) {
            direction += random.between(-0.2, 0.2);
            const Point2 b(a.x() + step * std::cos(direction), a.y() + step * std::sin(direction), a.z());
            vSegments.emplace_back(a, b);
            a = b;
        }
    }
    return vSegments;
}

/// Coasts and rivers of the world, side by side on a square of worlds; empty where the data is absent.
Segments worlds() {
    std::vector<std::pair<Point2, Point2>> vWorld;
    const std::string folder = TARO25D_DATA_DIR "/segments/";
    for (const char* name : {"ne_110m_coastline.segb", "ne_50m_rivers_lake_centerlines.segb"}) {
        std::ifstream file(folder + name, std::ios::binary);
        file.ignore(sizeof(std::uint64_t));
        double a[4];
        while (file.read(reinterpret_cast<char*>(a), sizeof(a))) {
            vWorld.emplace_back(Point2(a[0], a[1], 0.0), Point2(a[2], a[3], 0.0));
        }
    }
    Segments vSegments;
    if (vWorld.empty()) return vSegments;
    vSegments.reserve(numAll);
    const auto place = [](const Point2& p, std::size_t tile) {
        return Point2(p.x() + 360.0 * double(tile % 6), p.y() + 180.0 * double(tile / 6), 0.0);
    };
    for (std::size_t i = 0; i < numAll; ++i) {
        const auto& [src, trg] = vWorld[i % vWorld.size()];
        vSegments.emplace_back(place(src, i / vWorld.size()), place(trg, i / vWorld.size()));
    }
    return vSegments;
}

/// Adds a million segments and gets the illegal ones.
void illegalSegments(State& state, Segments (*make)(), bool bAlsoEndPoints) {
    Segments vSegments = make();
    if (vSegments.empty()) return state.SkipWithError("the folder of shared data is absent");
    std::vector<Segment2*> vPointers;
    for (Segment2& segment : vSegments) vPointers.push_back(&segment);
    std::vector<Segment2*> vIllegal;
    for (auto _ : state) {
        vIllegal.clear();
        SegmentChecker(vPointers).getIllegalSegments(bAlsoEndPoints, vIllegal);
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(vSegments.size()));
    state.counters["illegal"] = double(vIllegal.size());
}

BENCHMARK_CAPTURE(illegalSegments, scattered, scattered, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(illegalSegments, winding, winding, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(illegalSegments, worlds, worlds, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(illegalSegments, worldsWithEndPoints, worlds, true)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
