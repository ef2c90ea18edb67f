// Streams from an elevation grid.
//
// All cells on the border are outlets. The ground is flooded from there inwards, always at the lowest cell of the shore
// (priority-flood, Barnes, Lehman, Mulla 2014). Water that reaches a cell below its own level fills it to that level,
// so pits become level, and the cell from which each cell was flooded shows a path out of them. Then every cell drains
// to the neighbour of steepest descent on the filled ground or, on level ground, to the cell from which it was flooded
// (O'Callaghan, Mark 1984). Such a path never runs in a circle: the level does not rise along it, and where the level
// is constant the path leads to cells flooded earlier. So in the reverse order of flooding every cell comes before the
// cell to which it drains, and one pass in that order counts the cells that drain through each cell. O(n log n).

#include "streams.h"

#include <algorithm>
#include <functional>
#include <queue>
#include <utility>

namespace breaklines {

namespace {

constexpr std::size_t NUM_NEIGHBOURS_INSIDE = 8;

}  // namespace

Drainage::Drainage(const Grid& grid) : grid_(grid), vLevel_(grid.numCells()), vBelow_(grid.numCells()) {
    flood();
    takeSteepestDescent();
    accumulate();
}

void Drainage::flood() {
    std::vector<bool> vReached(grid_.numCells(), false);
    using Entry = std::pair<double, Cell>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> shore;
    const auto reach = [&](Cell cell, Cell from, double level) {
        vReached[cell] = true;
        vLevel_[cell] = level;
        vBelow_[cell] = from;
        shore.emplace(level, cell);
    };
    for (Cell cell = 0; cell < grid_.numCells(); ++cell) {
        if (grid_.neighbours(cell).size() < NUM_NEIGHBOURS_INSIDE) reach(cell, cell, grid_.point(cell).z());
    }
    while (!shore.empty()) {
        const auto [level, cell] = shore.top();
        shore.pop();
        vFlooded_.push_back(cell);
        for (const Cell neighbour : grid_.neighbours(cell)) {
            if (!vReached[neighbour]) reach(neighbour, cell, std::max(level, grid_.point(neighbour).z()));
        }
    }
}

void Drainage::takeSteepestDescent() {
    for (Cell cell = 0; cell < grid_.numCells(); ++cell) {
        if (isOutlet(cell)) continue;
        double steepest = 0;
        for (const Cell neighbour : grid_.neighbours(cell)) {
            const double slope = (vLevel_[cell] - vLevel_[neighbour]) / grid_.distance(cell, neighbour);
            if (slope <= steepest) continue;
            steepest = slope;
            vBelow_[cell] = neighbour;
        }
    }
}

void Drainage::accumulate() {
    vNumDrained_.assign(grid_.numCells(), 1);
    for (auto it = vFlooded_.rbegin(); it != vFlooded_.rend(); ++it) {
        if (!isOutlet(*it)) vNumDrained_[below(*it)] += vNumDrained_[*it];
    }
}

std::size_t Drainage::numInPits() const {
    std::size_t num = 0;
    for (Cell cell = 0; cell < grid_.numCells(); ++cell) num += vLevel_[cell] > grid_.point(cell).z();
    return num;
}

std::vector<Stream> Drainage::traceStreams(std::size_t minCells) const {
    const auto isStream = [&](Cell cell) { return numDrained(cell) >= minCells; };
    std::vector<int> vNumInflows(grid_.numCells(), 0);
    for (Cell cell = 0; cell < grid_.numCells(); ++cell) {
        if (isStream(cell) && !isOutlet(cell)) ++vNumInflows[below(cell)];
    }
    std::vector<Stream> vStreams;
    for (Cell cell = 0; cell < grid_.numCells(); ++cell) {
        const bool bBegins = isStream(cell) && vNumInflows[cell] != 1 && !isOutlet(cell);
        if (bBegins) vStreams.push_back(followFrom(cell, vNumInflows));
    }
    return vStreams;
}

Stream Drainage::followFrom(Cell source, const std::vector<int>& vNumInflows) const {
    Stream stream{{source}, 0};
    Cell last = source;
    do {
        stream.numDrained = numDrained(last);
        last = below(last);
        stream.vCells.push_back(last);
    } while (vNumInflows[last] == 1 && !isOutlet(last));
    return stream;
}

}  // namespace breaklines
