#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "taro25d/Point2.h"

namespace breaklines {

/// The name of a cell: its place in the list of cells.
using Cell = std::size_t;

/// Points that stand in rows and columns. Some places may be empty.
class Grid {
  public:
    /// Throws terrain::BadInput for points that do not fill at least a quarter of their rows and columns; its message
    /// begins with the name of the file.
    Grid(const std::vector<LUMO_TARO25D::Point2>& vPoints, const std::string& filename);

    std::size_t numColumns() const { return vX_.size(); }
    std::size_t numRows() const { return vY_.size(); }
    /// The number of cells, the empty ones left out.
    std::size_t numCells() const { return vPoints_.size(); }
    const LUMO_TARO25D::Point2& point(Cell cell) const { return vPoints_[cell]; }

    /// The up to eight cells around a cell. Fewer than eight mean that it is on the border.
    const std::vector<Cell>& neighbours(Cell cell) const { return vNeighbours_[cell]; }
    double distance(Cell a, Cell b) const;
    /// The points in every step-th row and column, the first and last ones included.
    std::vector<LUMO_TARO25D::Point2> everyNthPoint(std::size_t step) const;

  private:
    static constexpr Cell NONE = static_cast<Cell>(-1);
    Cell& at(std::size_t column, std::size_t row) { return vCells_[row * numColumns() + column]; }
    Cell at(std::size_t column, std::size_t row) const { return vCells_[row * numColumns() + column]; }
    void placePoints();
    void findNeighbours();

    std::vector<LUMO_TARO25D::Point2> vPoints_;
    std::vector<double> vX_, vY_;  // of the columns and rows, ascending
    std::vector<Cell> vCells_;     // row by row
    std::vector<std::vector<Cell>> vNeighbours_;
};

}  // namespace breaklines
