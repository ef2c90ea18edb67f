// Insertion of many points in one call: time on one thread and on two, and peak memory.

#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <memory>
#include <utility>

#include "indexed.h"
#include "triangulations.h"

namespace bench {

namespace {

Contest bulk(Points vInput) {
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = std::make_shared<const CgalPoints>(toCgal(*pOurs));
    return {[pOurs] { return ourBulk(*pOurs); }, [pCgal] { return cgalBulk<Delaunay>(*pCgal); }};
}

Contest bulkIndexed(Points vInput) {
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = toIndexedCgal(*pOurs);
    return {[pOurs] { return ourBulkWithHandles(*pOurs); }, [pCgal] { return cgalBulk<IndexedDelaunay>(*pCgal); }};
}

/// Two threads of our own against one.
Contest twoThreads(Points vInput) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    return {[pInput] { return ourBulk(*pInput, 2); }, [pInput] { return ourBulk(*pInput); }};
}

Contest twoThreadsAgainstCgal(Points vInput) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = std::make_shared<const CgalPoints>(toCgal(*pInput));
    return {[pInput] { return ourBulk(*pInput, 2); }, [pCgal] { return cgalBulk<Delaunay>(*pCgal); }};
}

/// Our own time for one input against our own time for another.
Contest ownBulk(Points vInput, Points vReference) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pReference = std::make_shared<const Points>(std::move(vReference));
    return {[pInput] { return ourBulk(*pInput); }, [pReference] { return ourBulk(*pReference); }, false};
}

constexpr const char* cgalRange = "`Delaunay_triangulation_2` from a range";

}  // namespace

std::vector<Row> bulkRows(Scale size) {
    return {
        {"bulk-uniform", "bulk, 1,000,000 uniform", cgalRange, 0.55, cpu, [=] { return bulk(uniform(size(1e6))); }},
        {"bulk-uniform-index", "bulk, 1,000,000 uniform", "range insertion that keeps the input index", 0.38, cpu,
         [=] { return bulkIndexed(uniform(size(1e6))); }},
        {"bulk-clustered", "bulk, 1,000,000 in 200 gaussian clusters", cgalRange, 0.55, cpu,
         [=] { return bulk(clustered(size(1e6))); }},
        {"bulk-grid", "bulk, integer grid 1000 x 1000, shuffled", cgalRange, 0.5, cpu,
         [=] { return bulk(grid(size(1e6))); }},
        {"bulk-survey", "bulk, 1,000,000 on survey lines", cgalRange, 0.5, cpu,
         [=] { return bulk(surveyLines(size(1e6))); }},
        {"bulk-uniform-4m", "bulk, 4,000,000 uniform", cgalRange, 0.5, cpu, [=] { return bulk(uniform(size(4e6))); }},
        {"bulk-collinear", "bulk, 50,000 exactly collinear", "own bulk, 1,000,000 uniform", 0.1, cpu,
         [=] { return ownBulk(collinear(size(5e4)), uniform(size(1e6))); }},
        {"stray-survey", "bulk, survey lines and (0, 0)", "own, without the stray point", 1.5, cpu,
         [=] { return ownBulk(withStray(surveyLines(size(1e6)), 0.0, 0.0), surveyLines(size(1e6))); }},
        {"stray-uniform", "bulk, uniform and (1e300, 1e300)", "own, without the stray point", 1.5, cpu,
         [=] { return ownBulk(withStray(uniform(size(1e6)), 1e300, 1e300), uniform(size(1e6))); }},
    };
}

std::vector<Row> threadRows(Scale size) {
    return {
        {"threads-uniform", "bulk, 4,000,000 uniform, 2 threads, wall", onOneThread, 1 / 1.8, wall,
         [=] { return twoThreads(uniform(size(4e6))); }, true},
        {"threads-cgal", "bulk, 4,000,000 uniform, 2 threads, wall", cgalRange, 0.3, wall,
         [=] { return twoThreadsAgainstCgal(uniform(size(4e6))); }, true},
        {"threads-clustered", "bulk, 1,000,000 clustered, 2 threads, wall", onOneThread, 1 / 1.6, wall,
         [=] { return twoThreads(clustered(size(1e6))); }, true},
        {"threads-survey", "bulk, 1,000,000 on survey lines, 2 threads, wall", onOneThread, 1 / 1.6, wall,
         [=] { return twoThreads(surveyLines(size(1e6))); }, true},
    };
}

std::vector<Row> memoryRows(Scale size) {
    return {
        {"memory", "peak memory, bulk, 1,000,000 uniform", cgalRange, 165.0, peak,
         [=] { return bulk(uniform(size(1e6))); }, true},
        {"memory-4m", "peak memory, bulk, 4,000,000 uniform", cgalRange, 165.0, peak,
         [=] { return bulk(uniform(size(4e6))); }, true},
    };
}

}  // namespace bench
