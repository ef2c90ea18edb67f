#pragma once

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "taro25d/Point2.h"

namespace gis {

/// The columns or the rows of a raster, of which every step-th one is taken, and the last.
struct Axis {
    std::size_t numCells = 0, step = 1;

    std::size_t numTaken() const { return (numCells + step - 2) / step + 1; }
    std::size_t taken(std::size_t i) const { return std::min(i * step, numCells - 1); }
    /// Which of those that are taken is nearest to a position, 0 being the centre of the first cell.
    std::size_t nearest(double position) const;
};

/// The points of an elevation raster: the centres of its cells.
class Raster {
  public:
    /// Of a larger raster, only every second, third, ... row and column is taken, and never held in memory as a whole.
    /// Throws terrain::BadInput.
    Raster(const std::string& filename, std::size_t band, std::size_t maxPoints);

    const Axis& columns() const { return columns_; }
    const Axis& rows() const { return rows_; }
    /// Those of the cells that have data.
    const std::vector<LUMO_TARO25D::Point2>& points() const { return vPoints_; }
    /// Null where the file names none.
    const OGRSpatialReference* coordinateSystem() const { return system_.IsEmpty() ? nullptr : &system_; }

    /// Whether the nearest of the cells taken has data; false beyond the raster.
    bool hasDataAt(const LUMO_TARO25D::Point2& place) const;
    /// The part of a segment that is on the raster, as two fractions of its length. What is within half a cell of the
    /// outermost centres does not count, so that no line can come so close to the border that slivers stand there.
    std::optional<std::pair<double, double>> partInside(const LUMO_TARO25D::Point2& src,
                                                        const LUMO_TARO25D::Point2& trg) const;
    /// Of a cell taken, on the ground.
    double longerSide() const;
    /// How many of the cells taken a segment passes, to one side or up.
    double numCellsBetween(const LUMO_TARO25D::Point2& src, const LUMO_TARO25D::Point2& trg) const;

  private:
    using Position = std::pair<double, double>;  // column and row; whole numbers at the centres of cells
    void readPlace(GDALDataset& dataset, const std::string& filename);
    void chooseStep(std::size_t maxPoints);
    void readPoints(GDALRasterBand& band, const std::string& filename);
    LUMO_TARO25D::Point2 toGround(std::size_t column, std::size_t row, double height) const;
    Position toPosition(const LUMO_TARO25D::Point2& place) const;

    Axis columns_, rows_;
    std::array<double, 6> aToGround_{}, aToCells_{};  // from corners of cells, which GDAL counts
    OGRSpatialReference system_;
    std::vector<LUMO_TARO25D::Point2> vPoints_;
    std::vector<bool> vHasData_;  // of the cells taken, row by row
};

}  // namespace gis
