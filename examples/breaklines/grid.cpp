#include "grid.h"

#include <algorithm>
#include <cmath>

#include "readers.h"

using LUMO_TARO25D::Point2;

namespace breaklines {

namespace {

std::vector<double> sortedOnce(std::vector<double> vValues) {
    std::sort(vValues.begin(), vValues.end());
    vValues.erase(std::unique(vValues.begin(), vValues.end()), vValues.end());
    return vValues;
}

std::size_t indexOf(double value, const std::vector<double>& vSorted) {
    return static_cast<std::size_t>(std::lower_bound(vSorted.begin(), vSorted.end(), value) - vSorted.begin());
}

}  // namespace

Grid::Grid(const std::vector<Point2>& vPoints, const std::string& filename) : vPoints_(vPoints) {
    for (const Point2& point : vPoints) {
        vX_.push_back(point.x());
        vY_.push_back(point.y());
    }
    vX_ = sortedOnce(std::move(vX_));
    vY_ = sortedOnce(std::move(vY_));
    if (vX_.size() * vY_.size() / 4 > vPoints.size()) {
        throw terrain::BadInput(filename + ": the points do not stand in a grid");
    }
    placePoints();
    findNeighbours();
}

void Grid::placePoints() {
    vCells_.assign(numColumns() * numRows(), NONE);
    for (Cell cell = 0; cell < numCells(); ++cell) {
        at(indexOf(point(cell).x(), vX_), indexOf(point(cell).y(), vY_)) = cell;
    }
}

void Grid::findNeighbours() {
    vNeighbours_.resize(numCells());
    const auto around = [](std::size_t i, std::size_t n) { return std::pair(i - (i > 0), std::min(i + 2, n)); };
    for (std::size_t row = 0; row < numRows(); ++row) {
        const auto [rowBegin, rowEnd] = around(row, numRows());
        for (std::size_t column = 0; column < numColumns(); ++column) {
            const Cell cell = at(column, row);
            if (cell == NONE) continue;
            const auto [columnBegin, columnEnd] = around(column, numColumns());
            for (std::size_t j = rowBegin; j < rowEnd; ++j) {
                for (std::size_t i = columnBegin; i < columnEnd; ++i) {
                    if (at(i, j) != NONE && at(i, j) != cell) vNeighbours_[cell].push_back(at(i, j));
                }
            }
        }
    }
}

double Grid::distance(Cell a, Cell b) const {
    return std::hypot(point(a).x() - point(b).x(), point(a).y() - point(b).y());
}

std::vector<Point2> Grid::everyNthPoint(std::size_t step) const {
    const auto isTaken = [step](std::size_t i, std::size_t n) { return i % step == 0 || i + 1 == n; };
    std::vector<Point2> vTaken;
    for (std::size_t row = 0; row < numRows(); ++row) {
        for (std::size_t column = 0; column < numColumns(); ++column) {
            const bool bTaken = isTaken(row, numRows()) && isTaken(column, numColumns());
            if (bTaken && at(column, row) != NONE) vTaken.push_back(point(at(column, row)));
        }
    }
    return vTaken;
}

}  // namespace breaklines
