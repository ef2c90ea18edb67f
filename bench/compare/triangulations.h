#pragma once

// The triangulations of CGAL that are compared, and bulk insertion, which rows of several topics measure.

#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <vector>

#include "generators.h"
#include "rows.h"
#include "taro25d/Taro_2D.h"

namespace bench {

using LUMO_TARO25D::Taro_2D;
using LUMO_TARO25D::Triangle2;

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalPoint = Kernel::Point_2;
using CgalPoints = std::vector<CgalPoint>;
using Delaunay = CGAL::Delaunay_triangulation_2<Kernel>;

template <class VertexBase>
using DelaunayOf = CGAL::Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase>>;

inline CgalPoints toCgal(const Points& vPoints) {
    CgalPoints vResult;
    vResult.reserve(vPoints.size());
    for (const Point2& point : vPoints) vResult.emplace_back(point.x(), point.y());
    return vResult;
}

inline Sample ourBulk(const Points& vPoints, int numThreads = 1) {
    Taro_2D taro;
    taro.setNumCPU(numThreads);
    Sample sample = timed([&] { taro.insert(vPoints); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

/// Insertion that also tells which vertex each point has become.
inline Sample ourBulkWithHandles(const Points& vPoints) {
    Taro_2D taro;
    taro.setNumCPU(1);
    std::vector<Point2*> vHandles;
    Sample sample = timed([&] { taro.insert(vPoints, vHandles); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

template <class Triangulation, class Input>
Sample cgalBulk(const Input& vInput) {
    Triangulation triangulation;
    Sample sample = timed([&] { triangulation.insert(vInput.begin(), vInput.end()); });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

}  // namespace bench
