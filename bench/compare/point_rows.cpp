// Locations, heights, single insertions and removals.

#include <CGAL/Triangulation_hierarchy_2.h>

#include <memory>
#include <utility>

#include "indexed.h"
#include "triangulations.h"

namespace bench {

namespace {

using Hierarchy = CGAL::Triangulation_hierarchy_2<
    DelaunayOf<CGAL::Triangulation_hierarchy_vertex_base_2<CGAL::Triangulation_vertex_base_2<Kernel>>>>;

Sample ourSingle(const Points& vExisting, const Points& vPoints) {
    Taro_2D taro;
    taro.insert(vExisting);
    Sample sample = timed([&] {
        for (const Point2& point : vPoints) taro.insert(point);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample cgalSingle(const CgalPoints& vExisting, const CgalPoints& vPoints) {
    Hierarchy hierarchy;
    hierarchy.insert(vExisting.begin(), vExisting.end());
    Sample sample = timed([&] {
        for (const CgalPoint& point : vPoints) hierarchy.insert(point);
    });
    sample.result = {hierarchy.number_of_vertices(), hierarchy.number_of_faces()};
    return sample;
}

/// Removes every step-th vertex of the input, in input order, which is random.
Sample ourRemove(const Points& vPoints, std::size_t step) {
    Taro_2D taro;
    std::vector<Point2*> vHandles;
    taro.insert(vPoints, vHandles);
    Sample sample = timed([&] {
        for (std::size_t i = 0; i < vHandles.size(); i += step) taro.remove(vHandles[i]);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample cgalRemove(const IndexedPoints& vInput, std::size_t step) {
    IndexedDelaunay triangulation;
    triangulation.insert(vInput.begin(), vInput.end());
    std::vector<IndexedDelaunay::Vertex_handle> vHandles(vInput.size());
    for (auto vertex = triangulation.finite_vertices_begin(); vertex != triangulation.finite_vertices_end(); ++vertex)
        vHandles[vertex->info()] = vertex;
    Sample sample = timed([&] {
        for (std::size_t i = 0; i < vHandles.size(); i += step) triangulation.remove(vHandles[i]);
    });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

Sample ourLocate(const Taro_2D& taro, const Points& vQueries) {
    std::size_t numInside = 0;
    Sample sample = timed([&] {
        for (const Point2& query : vQueries) numInside += taro.locate(query) != nullptr;
    });
    sample.result = {taro.numberOfPoints(), numInside};
    return sample;
}

/// Each location starts at the last face where bFromLast is set, else where the structure itself likes to.
template <class Triangulation>
Sample cgalLocate(const Triangulation& triangulation, const CgalPoints& vQueries, bool bFromLast) {
    std::size_t numInside = 0;
    typename Triangulation::Face_handle face;
    Sample sample = timed([&] {
        for (const CgalPoint& query : vQueries) {
            face = triangulation.locate(query, bFromLast ? face : nullptr);
            numInside += !triangulation.is_infinite(face);
        }
    });
    sample.result = {triangulation.number_of_vertices(), numInside};
    return sample;
}

Contest removal(Points vInput) {
    constexpr std::size_t step = 10;
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = toIndexedCgal(*pOurs);
    return {[pOurs] { return ourRemove(*pOurs, step); }, [pCgal] { return cgalRemove(*pCgal, step); }};
}

Contest single(Points vExisting, Points vInput) {
    auto pExisting = std::make_shared<const Points>(std::move(vExisting));
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pCgalExisting = std::make_shared<const CgalPoints>(toCgal(*pExisting));
    auto pCgalInput = std::make_shared<const CgalPoints>(toCgal(*pInput));
    return {[=] { return ourSingle(*pExisting, *pInput); }, [=] { return cgalSingle(*pCgalExisting, *pCgalInput); }};
}

template <class Triangulation>
Contest location(const Points& vPoints, Points vInput, bool bFromLast) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    const CgalPoints vCgalPoints = toCgal(vPoints);
    auto pCgal = std::make_shared<Triangulation>(vCgalPoints.begin(), vCgalPoints.end());
    auto pQueries = std::make_shared<const Points>(std::move(vInput));
    auto pCgalQueries = std::make_shared<const CgalPoints>(toCgal(*pQueries));
    return {[=] { return ourLocate(*pTaro, *pQueries); }, [=] { return cgalLocate(*pCgal, *pCgalQueries, bFromLast); }};
}

/// Two threads of our own against one.
Contest heights(const Points& vPoints, const Points& vQueries) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    auto pPlaces = std::make_shared<std::vector<double>>();
    for (const Point2& query : vQueries) pPlaces->insert(pPlaces->end(), {query.x(), query.y()});
    const auto on = [&](int numThreads) {
        return [=] {
            std::vector<double> vHeights(pPlaces->size() / 2);
            std::size_t numInside = 0;
            pTaro->setNumCPU(numThreads);
            Sample sample =
                timed([&] { numInside = pTaro->getHeights(vHeights.size(), pPlaces->data(), vHeights.data()); });
            sample.result = {pTaro->numberOfPoints(), numInside};
            return sample;
        };
    };
    return {on(2), on(1)};
}

Points inCurveOrder(Points vPoints) {
    sortAlongCurve(vPoints);
    return vPoints;
}

}  // namespace

std::vector<Row> pointRows(Scale size) {
    const char* const cgalHierarchy = "`Triangulation_hierarchy_2`";
    return {
        {"locate-random", "1,000,000 random locations in 1,000,000", cgalHierarchy, 0.8, cpu,
         [=] { return location<Hierarchy>(uniform(size(1e6)), uniform(size(1e6), 11), false); }},
        {"locate-sorted", "1,000,000 locations along a Hilbert curve", "`locate` from the last face", 1.0, cpu,
         [=] { return location<Delaunay>(uniform(size(1e6)), inCurveOrder(uniform(size(1e6), 11)), true); }},
        {"heights-threads", "1,000,000 heights at random places, 2 threads, wall", onOneThread, 1 / 1.8, wall,
         [=] { return heights(uniform(size(1e6)), uniform(size(1e6), 11)); }, true},
        {"single-empty", "one by one, 100,000 from empty", cgalHierarchy, 1.0, cpu,
         [=] { return single({}, uniform(size(1e5), 12)); }},
        {"single-million", "one by one, 100,000 into 1,000,000", cgalHierarchy, 1.0, cpu,
         [=] { return single(uniform(size(1e6)), uniform(size(1e5), 12)); }},
        {"remove", "removal of 100,000 random vertices from 1,000,000", "`remove`", 1.0, cpu,
         [=] { return removal(uniform(size(1e6))); }},
    };
}

}  // namespace bench
