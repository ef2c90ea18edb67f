#pragma once

// Points with their input index, for triangulations of CGAL that keep it at each vertex.

#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <memory>
#include <utility>
#include <vector>

#include "triangulations.h"

namespace bench {

using IndexedDelaunay = DelaunayOf<CGAL::Triangulation_vertex_base_with_info_2<unsigned, Kernel>>;

using IndexedPoints = std::vector<std::pair<CgalPoint, unsigned>>;

inline std::shared_ptr<IndexedPoints> toIndexedCgal(const Points& vPoints) {
    auto pResult = std::make_shared<IndexedPoints>();
    for (const Point2& point : vPoints)
        pResult->emplace_back(CgalPoint(point.x(), point.y()), unsigned(pResult->size()));
    return pResult;
}

}  // namespace bench
