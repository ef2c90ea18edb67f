#pragma once

// Line work forced into a mesh, by us and by CGAL, which rows of several topics measure.

#include <CGAL/Constrained_Delaunay_triangulation_2.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "triangulations.h"

namespace bench {

/// Crossings of constraints are rounded, as ours are.
using RoundingConstrained =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Default, CGAL::Exact_predicates_tag>;

struct LineWork {
    Points vPoints;
    Segments vSegments;
};

inline void insert(const LineWork& work, Taro_2D& taro) {
    taro.insert(work.vPoints);
    taro.createConstraint(work.vSegments, LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY);
}

inline Sample ourConstrained(const LineWork& work) {
    Taro_2D taro;
    Sample sample = timed([&] { insert(work, taro); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

/// All points, those at the ends of the segments included, and the segments as pairs of indices.
template <class Constrained>
struct CgalLineWork {
    std::vector<typename Constrained::Point> vPoints;
    std::vector<std::pair<std::size_t, std::size_t>> vSegments;

    explicit CgalLineWork(const LineWork& work) {
        const auto add = [this](const Point2& point) { vPoints.emplace_back(point.x(), point.y()); };
        for (const Point2& point : work.vPoints) add(point);
        for (const Segment2& segment : work.vSegments) {
            vSegments.emplace_back(vPoints.size(), vPoints.size() + 1);
            add(segment.getSrc());
            add(segment.getTrg());
        }
    }
};

template <class Constrained>
Sample cgalConstrained(const CgalLineWork<Constrained>& work) {
    Constrained triangulation;
    Sample sample = timed([&] {
        triangulation.insert_constraints(work.vPoints.begin(), work.vPoints.end(), work.vSegments.begin(),
                                         work.vSegments.end());
    });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

using SharedLineWork = std::shared_ptr<const LineWork>;

inline SharedLineWork share(Points vPoints, Segments vSegments) {
    return std::make_shared<const LineWork>(LineWork{std::move(vPoints), std::move(vSegments)});
}

/// Where crossings are rounded, the number of points depends on the order in which they are found.
template <class Constrained>
Contest constrained(const SharedLineWork& pWork, bool bSameResult) {
    auto pCgal = std::make_shared<const CgalLineWork<Constrained>>(*pWork);
    return {[pWork] { return ourConstrained(*pWork); }, [pCgal] { return cgalConstrained(*pCgal); }, bSameResult};
}

}  // namespace bench
