#pragma once

// The contours of VTK, kept apart from the program that measures them because VTK has many headers.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "taro25d/Triangle2.h"

namespace bench {

std::string vtkVersion();

/// A surface as VTK takes it.
class VtkSurface {
  public:
    explicit VtkSurface(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles);
    ~VtkSurface();

    /// vtkContourFilter at all heights at once, its segments joined into lines by vtkStripper; with bTree, finds
    /// triangles by a search tree over the heights. Returns the number of segments.
    std::size_t contour(const std::vector<double>& vHeights, bool bTree) const;

    /// vtkBandedPolyDataContourFilter at all levels at once. Returns the number of polygons.
    std::size_t band(const std::vector<double>& vLevels) const;

  private:
    struct Data;
    std::unique_ptr<Data> pData_;
};

}  // namespace bench
