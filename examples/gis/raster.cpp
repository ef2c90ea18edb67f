#include "raster.h"

#include <algorithm>
#include <cmath>

#include "files.h"
#include "readers.h"

using LUMO_TARO25D::Point2;
using terrain::BadInput;

namespace gis {

namespace {

/// Rows of a band as true heights.
class RowReader {
  public:
    RowReader(GDALRasterBand& band, const std::string& filename)
        : band_(band),
          filename_(filename),
          scale_(band.GetScale()),
          offset_(band.GetOffset()),
          vValues_(static_cast<std::size_t>(band.GetXSize())),
          vMask_(vValues_.size()) {}

    void read(std::size_t row) {
        readInto(band_, row, vValues_.data(), GDT_Float64);
        readInto(*band_.GetMaskBand(), row, vMask_.data(), GDT_Byte);
    }
    double height(std::size_t column) const { return offset_ + scale_ * vValues_[column]; }
    /// The mask knows of no-data values, of mask bands and of transparency.
    bool hasData(std::size_t column) const { return vMask_[column] != 0 && std::isfinite(height(column)); }

  private:
    void readInto(GDALRasterBand& band, std::size_t row, void* pBuffer, GDALDataType type) const {
        const int width = band.GetXSize();
        const CPLErr problem =
            band.RasterIO(GF_Read, 0, static_cast<int>(row), width, 1, pBuffer, width, 1, type, 0, 0, nullptr);
        if (problem != CE_None) throw BadInput(problemWith(filename_));
    }

    GDALRasterBand& band_;
    const std::string& filename_;
    double scale_, offset_;
    std::vector<double> vValues_;
    std::vector<GByte> vMask_;
};

/// Leaves of the part between two fractions what is between two limits.
void clip(double src, double trg, double low, double high, std::pair<double, double>& part) {
    const double length = trg - src;
    if (!std::isfinite(length) || (length == 0 && (src < low || src > high))) part.second = part.first;
    if (!std::isfinite(length) || length == 0) return;
    const auto [in, out] = std::minmax({(low - src) / length, (high - src) / length});
    part = {std::max(part.first, in), std::min(part.second, out)};
}

}  // namespace

std::size_t Axis::nearest(double position) const {
    const auto i = static_cast<std::size_t>(position) / step;
    if (i + 1 >= numTaken()) return i;
    return position - double(taken(i)) <= double(taken(i + 1)) - position ? i : i + 1;
}

Raster::Raster(const std::string& filename, std::size_t band, std::size_t maxPoints) {
    const GDALDatasetUniquePtr pDataset = openFile(filename, GDAL_OF_RASTER);
    const auto numBands = static_cast<std::size_t>(pDataset->GetRasterCount());
    if (band > numBands) throw BadInput(filename + " has no band " + std::to_string(band));
    readPlace(*pDataset, filename);
    chooseStep(maxPoints);
    readPoints(*pDataset->GetRasterBand(static_cast<int>(band)), filename);
}

void Raster::readPlace(GDALDataset& dataset, const std::string& filename) {
    columns_.numCells = static_cast<std::size_t>(dataset.GetRasterXSize());
    rows_.numCells = static_cast<std::size_t>(dataset.GetRasterYSize());
    if (dataset.GetGeoTransform(aToGround_.data()) != CE_None) {
        warn(filename + " does not say where it is: x and y are its columns and rows, counted downwards");
    }
    if (!GDALInvGeoTransform(aToGround_.data(), aToCells_.data())) {
        throw BadInput(filename + ": its geotransform lays all cells on one line");
    }
    if (const OGRSpatialReference* pSystem = orNone(dataset.GetSpatialRef())) system_ = *pSystem;
    if (system_.IsEmpty()) {
        warn(filename + " has no coordinate system, and neither will the result");
    } else if (system_.IsGeographic()) {
        warn(filename + " is in degrees, but heights are not: distances are distorted, and so are the triangles; " +
             "gdalwarp -t_srs makes a raster in metres of it");
    }
}

void Raster::chooseStep(std::size_t maxPoints) {
    while (columns_.numTaken() * rows_.numTaken() > maxPoints) columns_.step = ++rows_.step;
}

void Raster::readPoints(GDALRasterBand& band, const std::string& filename) {
    RowReader reader(band, filename);
    vHasData_.reserve(columns_.numTaken() * rows_.numTaken());
    for (std::size_t i = 0; i < rows_.numTaken(); ++i) {
        const std::size_t row = rows_.taken(i);
        reader.read(row);
        for (std::size_t j = 0; j < columns_.numTaken(); ++j) {
            const std::size_t column = columns_.taken(j);
            vHasData_.push_back(reader.hasData(column));
            if (vHasData_.back()) vPoints_.push_back(toGround(column, row, reader.height(column)));
        }
    }
}

Point2 Raster::toGround(std::size_t column, std::size_t row, double height) const {
    const auto& a = aToGround_;
    const double c = double(column) + 0.5, r = double(row) + 0.5;
    return Point2(a[0] + c * a[1] + r * a[2], a[3] + c * a[4] + r * a[5], height);
}

Raster::Position Raster::toPosition(const Point2& place) const {
    const auto& a = aToCells_;
    return {a[0] + place.x() * a[1] + place.y() * a[2] - 0.5, a[3] + place.x() * a[4] + place.y() * a[5] - 0.5};
}

bool Raster::hasDataAt(const Point2& place) const {
    const auto [column, row] = toPosition(place);
    const auto isInside = [](double position, const Axis& axis) {
        return position >= 0 && position <= double(axis.numCells - 1);
    };
    if (!isInside(column, columns_) || !isInside(row, rows_)) return false;
    return vHasData_[rows_.nearest(row) * columns_.numTaken() + columns_.nearest(column)];
}

std::optional<std::pair<double, double>> Raster::partInside(const Point2& src, const Point2& trg) const {
    constexpr double MARGIN = 0.5;
    const Position from = toPosition(src), to = toPosition(trg);
    std::pair<double, double> part(0, 1);
    clip(from.first, to.first, MARGIN, double(columns_.numCells - 1) - MARGIN, part);
    clip(from.second, to.second, MARGIN, double(rows_.numCells - 1) - MARGIN, part);
    if (!(part.first < part.second)) return std::nullopt;
    return part;
}

double Raster::longerSide() const {
    const auto& a = aToGround_;
    return double(columns_.step) * std::max(std::hypot(a[1], a[4]), std::hypot(a[2], a[5]));
}

double Raster::numCellsBetween(const Point2& src, const Point2& trg) const {
    const Position from = toPosition(src), to = toPosition(trg);
    return std::max(std::abs(to.first - from.first) / double(columns_.step),
                    std::abs(to.second - from.second) / double(rows_.step));
}

}  // namespace gis
