// The cost of asking a zone for its triangles, and of cutting a zone out. The counter "of_build" is the time of one
// call as a share of the time that inserting the points took in the same run; "items" are triangles.

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <memory>
#include <vector>

#include "generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

namespace {

using namespace LUMO_TARO25D;
using benchmark::State;

/// Processor time, which does not count what other programs take.
double seconds() { return double(std::clock()) / CLOCKS_PER_SEC; }

/// A ring of segments around the middle of the unit square.
std::vector<Segment2> ring(std::size_t numCorners, double radius) {
    std::vector<Segment2> vSides;
    const auto corner = [&](std::size_t i) {
        const double angle = 2 * M_PI * double(i) / double(numCorners);
        return Point2(0.5 + radius * std::cos(angle), 0.5 + radius * std::sin(angle), 0);
    };
    for (std::size_t i = 0; i < numCorners; ++i) vSides.emplace_back(corner(i), corner((i + 1) % numCorners));
    return vSides;
}

/// A mesh with about the given number of triangles, and zones of it. The ring surrounds all points.
struct Ground {
    explicit Ground(std::size_t numTriangles) {
        const bench::Points vPoints = bench::uniform(numTriangles / 2);
        const double start = seconds();
        taro.insert(vPoints);
        buildSeconds = seconds() - start;
        pGraph = taro.createConstraint(ring(1000, 0.75), CIS_CONSTRAINED_DELAUNAY);
        pInside = taro.createZone(pGraph, ZL_INSIDE);
    }
    Taro_2D taro;
    double buildSeconds = 0;
    ConstraintGraph2* pGraph = nullptr;
    Zone2* pInside = nullptr;
};

void triangles(State& state, Zone2* (*make)(Ground&)) {
    Ground ground(static_cast<std::size_t>(state.range(0)));
    const Zone2* pZone = make(ground);
    std::vector<Triangle2*> vTriangles;
    const double start = seconds();
    for (auto _ : state) {
        vTriangles.clear();
        pZone->getTriangles(vTriangles);
    }
    const double each = (seconds() - start) / double(state.iterations());
    state.SetItemsProcessed(state.iterations() * std::int64_t(vTriangles.size()));
    state.counters["of_build"] = each / ground.buildSeconds;
}

Zone2* inside(Ground& ground) { return ground.pInside; }
Zone2* grown(Ground& ground) { return ground.taro.createZone(ground.pGraph, ZL_GROW, Point2(0.5, 0.5, 0)); }
Zone2* unionOfBoth(Ground& ground) {
    return zoneUnion(ground.pInside, ground.taro.createZone(ground.pGraph, ZL_OUTSIDE));
}

void cookieCutter(State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto pGround = std::make_unique<Ground>(static_cast<std::size_t>(state.range(0)));
        state.ResumeTiming();
        benchmark::DoNotOptimize(pGround->taro.createZone_cookieCutter(ring(1000, 0.4)));
        state.PauseTiming();
        pGround.reset();
        state.ResumeTiming();
    }
}

BENCHMARK_CAPTURE(triangles, inside, inside)
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(triangles, grown, grown)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(triangles, union, unionOfBoth)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(cookieCutter)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
