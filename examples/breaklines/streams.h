#pragma once

#include <cstddef>
#include <vector>

#include "grid.h"

namespace breaklines {

/// A piece of a stream between its source or a junction and the next junction or the outlet.
struct Stream {
    std::vector<Cell> vCells;    ///< downstream; the junction where it ends is the last one
    std::size_t numDrained = 0;  ///< how many cells drain through its lower end, what joins there left out
};

/// Where the water of each cell goes.
class Drainage {
  public:
    /// Keeps a reference to the grid. O(n log n) for n cells.
    explicit Drainage(const Grid& grid);

    /// The neighbour that a cell drains to; the cell itself for an outlet.
    Cell below(Cell cell) const { return vBelow_[cell]; }
    /// Whether the water leaves the grid here, as it does on the border.
    bool isOutlet(Cell cell) const { return below(cell) == cell; }
    /// How many cells drain through a cell, itself included.
    std::size_t numDrained(Cell cell) const { return vNumDrained_[cell]; }
    /// How many cells lie in pits, which were filled so that the water runs on.
    std::size_t numInPits() const;
    /// The streams: cells through which at least minCells drain.
    std::vector<Stream> traceStreams(std::size_t minCells) const;

  private:
    void flood();
    void takeSteepestDescent();
    void accumulate();
    Stream followFrom(Cell source, const std::vector<int>& vNumInflows) const;

    const Grid& grid_;
    std::vector<double> vLevel_;  // of the ground with its pits filled
    std::vector<Cell> vFlooded_;  // the cells in the order of flooding, from the outlets up
    std::vector<Cell> vBelow_;
    std::vector<std::size_t> vNumDrained_;
};

}  // namespace breaklines
