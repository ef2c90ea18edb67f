// The cost of a client's calls: insertion, the file, location, heights and orientation. The rate is counted in points
// (or queries) per second; building and destroying the triangulation of a call is not timed.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

namespace {

using namespace bench;
using benchmark::State;
using LUMO_TARO25D::Orientation2;
using LUMO_TARO25D::Segment2;
using LUMO_TARO25D::Taro_2D;
using LUMO_TARO25D::Triangle2;

/// A fresh triangulation for each iteration, made and destroyed while the clock stands still.
template <class Prepare, class Work>
void timeOnFresh(State& state, std::size_t numItems, Prepare prepare, Work work) {
    for (auto _ : state) {
        state.PauseTiming();
        auto pTaro = std::make_unique<Taro_2D>();
        prepare(*pTaro);
        state.ResumeTiming();
        work(*pTaro);
        state.PauseTiming();
        pTaro.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(numItems));
}

void bulkInsertion(State& state, Points (*make)(std::size_t)) {
    const Points vPoints = make(std::size_t(state.range(0)));
    std::vector<Point2*> vHandles;
    timeOnFresh(
        state, vPoints.size(), [](Taro_2D&) {}, [&](Taro_2D& taro) { taro.insert(vPoints, vHandles); });
}

void singleInsertion(State& state, Points (*make)(std::size_t)) {
    const Points vPoints = make(std::size_t(state.range(0)));
    timeOnFresh(
        state, vPoints.size(), [](Taro_2D&) {},
        [&](Taro_2D& taro) {
            for (const Point2& point : vPoints) taro.insert(point);
        });
}

void singleInsertionIntoMillion(State& state) {
    const Points vExisting = uniform(1'000'000), vPoints = uniform(100'000, 12);
    timeOnFresh(
        state, vPoints.size(), [&](Taro_2D& taro) { taro.insert(vExisting); },
        [&](Taro_2D& taro) {
            for (const Point2& point : vPoints) taro.insert(point);
        });
}

enum QueryOrder { QUERY_RANDOM, QUERY_ALONG_CURVE };

/// Calls query(triangulation, point) with a million points on a million uniform vertices.
template <class Query>
void timeQueries(State& state, QueryOrder order, Query query) {
    Taro_2D taro;
    taro.insert(uniform(1'000'000));
    Points vQueries = uniform(1'000'000, 11);
    if (order == QUERY_ALONG_CURVE) sortAlongCurve(vQueries);
    std::size_t next = 0;
    for (auto _ : state) {
        query(taro, vQueries[next]);
        next = next + 1 < vQueries.size() ? next + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void location(State& state, QueryOrder order) {
    timeQueries(state, order,
                [](const Taro_2D& taro, const Point2& query) { benchmark::DoNotOptimize(taro.locate(query)); });
}

void height(State& state, QueryOrder order) {
    timeQueries(state, order, [](const Taro_2D& taro, const Point2& query) {
        double z;
        benchmark::DoNotOptimize(taro.getHeight(query.x(), query.y(), z));
    });
}

/// Heights where the triangle is already known.
void heightInTriangle(State& state) {
    Taro_2D taro;
    taro.insert(uniform(100'000));
    std::vector<Triangle2*> vTriangles;
    taro.getTrianglePointers(vTriangles);
    std::size_t next = 0;
    for (auto _ : state) {
        Triangle2* const pT = vTriangles[next];
        const Point2& corner = *pT->getCorner(0);
        double z;
        benchmark::DoNotOptimize(taro.getHeight(corner.x(), corner.y(), z, pT));
        next = next + 1 < vTriangles.size() ? next + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

Orientation2 orientationOfTriangulation(const Point2* p0, const Point2* p1, const Point2* p2) {
    static const Taro_2D taro;
    return taro.getOrientation(*p0, *p1, *p2);
}

void orientation(State& state, Orientation2 (*test)(const Point2*, const Point2*, const Point2*), Triples (*make)()) {
    const Triples vTriples = make();
    std::size_t next = 0;
    for (auto _ : state) {
        const auto& [p0, p1, p2] = vTriples[next];
        benchmark::DoNotOptimize(test(&p0, &p1, &p2));
        next = next + 1 < vTriples.size() ? next + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

/// Short segments, each in a cell of its own, so that none touches another.
std::vector<Segment2> disjointSegments(std::size_t numPerSide) {
    Random random(21);
    const double size = 1.0 / double(numPerSide);
    std::vector<Segment2> vSegments;
    for (std::size_t i = 0; i < numPerSide * numPerSide; ++i) {
        const double x = double(i % numPerSide) * size, y = double(i / numPerSide) * size;
        const auto pointInCell = [&] {
            return Point2(x + random.between(0.1, 0.9) * size, y + random.between(0.1, 0.9) * size, 0.0);
        };
        const Point2 src = pointInCell(), trg = pointInCell();
        vSegments.emplace_back(src, trg);
    }
    return vSegments;
}

/// Saves a mesh of a million points and a hundred thousand constraints, and loads it into a fresh one. Loading is also
/// given as a multiple of the time of inserting the same data from memory just before.
void file(State& state) {
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    const std::string name = std::filesystem::temp_directory_path() / ("engine_bench." + std::to_string(getpid()));
    const std::vector<Segment2> vSegments = disjointSegments(316);
    Points vPoints = uniform(1'000'000 - 2 * vSegments.size());
    for (const Segment2& segment : vSegments) {
        vPoints.push_back(segment.getSrc());
        vPoints.push_back(segment.getTrg());
    }
    Seconds inserting{}, saving{}, loading{};
    for (auto _ : state) {
        auto pTaro = std::make_unique<Taro_2D>();
        const auto start = Clock::now();
        pTaro->insert(vPoints);
        pTaro->createConstraint(vSegments, LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY);
        inserting += Clock::now() - start;

        const auto startOfSaving = Clock::now();
        const bool bSaved = pTaro->save(name.c_str());
        saving += Clock::now() - startOfSaving;

        pTaro = std::make_unique<Taro_2D>();
        const auto startOfLoading = Clock::now();
        const bool bLoaded = pTaro->load(name.c_str());
        const Seconds time = Clock::now() - startOfLoading;
        loading += time;
        state.SetIterationTime(time.count());
        if (!bSaved || !bLoaded) state.SkipWithError("no file");
    }
    std::filesystem::remove(name);
    state.counters["load/insert"] = loading / inserting;
    state.counters["save/insert"] = saving / inserting;
    state.SetItemsProcessed(state.iterations() * std::int64_t(vPoints.size()));
}

template <class Function, class... Arguments>
auto* add(const std::string& name, Function function, Arguments... arguments) {
    return benchmark::RegisterBenchmark(name.c_str(), function, arguments...);
}

/// With a first call that does not count: it gets the memory that the others use again.
template <class Function, class... Arguments>
auto* addInsertion(const std::string& name, Function function, Arguments... arguments) {
    return add(name, function, arguments...)->Unit(benchmark::kMillisecond)->MinWarmUpTime(0.001);
}

void addInsertions() {
    for (const auto& [name, make] : aShapes) {
        addInsertion(std::string("bulkInsertion/") + name, bulkInsertion, make)
            ->RangeMultiplier(10)
            ->Range(10'000, 1'000'000);
        addInsertion(std::string("singleInsertion/") + name, singleInsertion, make)->Arg(100'000);
    }
    addInsertion("bulkInsertion/collinear", bulkInsertion, collinear)->Arg(50'000);
    addInsertion("singleInsertion/intoMillion", singleInsertionIntoMillion);
    addInsertion("file/load", file)->UseManualTime();
}

void addQueries() {
    for (const auto& [order, name] : {std::pair(QUERY_RANDOM, "random"), std::pair(QUERY_ALONG_CURVE, "alongCurve")}) {
        add(std::string("location/") + name, location, order);
        add(std::string("height/") + name, height, order);
    }
    add("height/triangleKnown", heightInTriangle);
}

void addOrientation() {
    for (const auto& [name, make] : aTripleKinds) {
        add(std::string("getOrientation2/") + name, orientation, LUMO_TARO25D::getOrientation2, make);
        add(std::string("Taro_2D::getOrientation/") + name, orientation, orientationOfTriangulation, make);
    }
}

}  // namespace

int main(int argc, char** argv) {
    mallopt(M_MMAP_MAX, 0);  // freed memory stays with the process
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    addInsertions();
    addQueries();
    addOrientation();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
