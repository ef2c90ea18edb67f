// Rasters by a scan of the triangles.
//
// Each triangle writes the cells whose centres belong to it (RasterGrid). A centre belongs to one triangle at most, so
// threads may share the triangles in any manner. A triangle over very many cells is put aside, and its rows are shared.
// Centres on the border that have the zone only on their west or south belong to no triangle; the last step goes along
// the border and uses the adjacent triangle for them (RasterBorder).

#include "taro25d/rasterize.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "analysis/FacePlane.h"
#include "analysis/NaturalNeighbours.h"
#include "analysis/RasterBorder.h"
#include "analysis/RasterGrid.h"
#include "analysis/TriangleSequence.h"
#include "analysis/rasterizeTriangles.h"
#include "analysis/zoneTriangles.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/shareWork.h"
#include "taro25d/Edge2.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();
constexpr double DEGREES = 57.295779513082320877;  // degrees in a radian

double getSlope(const FacePlane& plane) {
    return std::atan(std::hypot(plane.getRiseEast(), plane.getRiseNorth())) * DEGREES;
}

double getAspect(const FacePlane& plane) {
    const double east = -plane.getRiseEast(), north = -plane.getRiseNorth();
    if (east == 0.0 && north == 0.0) return NOTHING;
    const double aspect = std::atan2(east, north) * DEGREES;
    const double turned = aspect < 0.0 ? aspect + 360.0 : aspect + 0.0;
    return turned < 360.0 ? turned : 0.0;
}

/// The cosine of the angle between the normal and the direction of the light, mapped to 1 to 255.
double getHillshade(const FacePlane& plane) {
    const double east = plane.getRiseEast(), north = plane.getRiseNorth();
    const double length = std::hypot(1.0, std::hypot(east, north));
    const double towardsNorthWest = std::sqrt(0.5) * (east / length) - std::sqrt(0.5) * (north / length);
    const double cosine = std::sqrt(0.5) * (towardsNorthWest + 1.0 / length);
    return 1.0 + 254.0 * std::max(0.0, cosine);
}

/// The angle from the east counterclockwise to an edge, at its end at the centre; 0 elsewhere.
double getAngle(const Edge2& edge, const Point2& centre) {
    const bool bAtSrc = *edge.getSrc() == centre;
    if (!bAtSrc && *edge.getTrg() != centre) return 0.0;
    const Vector2 ray = getVector2D(centre, bAtSrc ? *edge.getTrg() : *edge.getSrc());
    const double angle = std::atan2(ray.y(), ray.x());
    constexpr double FULL = 6.283185307179586477;
    return angle > 0.0 ? angle : angle + FULL;
}

class Rasterizer {
  public:
    /// All triangles of a mesh.
    Rasterizer(Dt2& dt2, const RasterGrid& grid, RasterKind kind, double* aCells, int numThreads)
        : Rasterizer(dt2, TriangleSequence(dt2.getTrianglePool()), nullptr, grid, kind, aCells, numThreads) {}
    Rasterizer(const SurfacePart& part, const RasterGrid& grid, RasterKind kind, double* aCells, int numThreads)
        : Rasterizer(part.dt2, TriangleSequence(part.vTriangles),
                     part.vTriangles.size() == part.dt2.numberOfTriangles() ? nullptr : &part.vTriangles, grid, kind,
                     aCells, numThreads) {}

    /// Keeps cells on the border apart, and marks the others that have a triangle; before run().
    void divide(std::uint8_t* aHas, std::vector<BorderCell>& vBorderCells) {
        aHas_ = aHas;
        pBorderCells_ = &vBorderCells;
    }
    void run();

  private:
    Rasterizer(Dt2& dt2, TriangleSequence triangles, const std::vector<Triangle2*>* pPart, const RasterGrid& grid,
               RasterKind kind, double* aCells, int numThreads)
        : dt2_(dt2),
          grid_(grid),
          kind_(kind),
          aCells_(aCells),
          numThreads_(getNumSharing(numThreads, triangles.size() + grid.getNumRows(), 1)),
          progress_(dt2.getProgress()),
          pPart_(pPart),
          triangles_(std::move(triangles)) {
        for (int i = 0; i < numThreads_; ++i) vWorkers_.push_back(std::make_unique<Worker>(dt2_, grid_.getMagnitude()));
    }

    /// A cell in a triangle.
    struct Place {
        const Triangle2* pT;
        size_t row, column;

        Place(const Triangle2* pTriangle, size_t rowOfCell, size_t columnOfCell)
            : pT(pTriangle), row(rowOfCell), column(columnOfCell) {}
    };
    /// The state of one thread.
    struct Worker {
        Worker(const Dt2& dt2, double magnitude) : geomTest(magnitude), neighbours(dt2, magnitude) {}

        GeomTest geomTest;
        NaturalNeighbours neighbours;
        std::vector<const Triangle2*> vLarge;  // triangles over many cells
        std::vector<Edge2> vBorder;            // the hull edges that it has found
        std::vector<Place> vPlaces;            // for natural neighbours
    };

    size_t getPieceSize() const;
    void shareRows(const std::function<void(const RasterGrid::Span&, Worker&)>& f);
    void scanTriangles(size_t begin, size_t end, Worker& worker);
    void noteHullEdges(Triangle2* pT, Worker& worker) const;
    void scanLargeTriangles();
    void scan(const Triangle2& triangle, const RasterGrid::Cells& cells, Worker& worker);
    void fillBorder();
    void fillByHeight(const FacePlane& plane, const Triangle2& triangle, size_t row, size_t begin, size_t end);
    void fillByNeighbours(Worker& worker);
    double getMeasure(const FacePlane& plane) const;
    void setOnBorder(size_t row, size_t column, const Triangle2& triangle, const Edge2& edge);
    double& getCell(size_t row, size_t column) { return aCells_[row * grid_.getNumColumns() + column]; }

    const Dt2& dt2_;
    const RasterGrid& grid_;
    RasterKind kind_;
    double* aCells_;
    std::uint8_t* aHas_ = nullptr;
    std::vector<BorderCell>* pBorderCells_ = nullptr;
    int numThreads_;
    Progress progress_;
    const std::vector<Triangle2*>* pPart_;  // null for the whole triangulation
    TriangleSequence triangles_;
    std::vector<Edge2> vBorder_;
    std::vector<std::unique_ptr<Worker>> vWorkers_;
};

void Rasterizer::run() {
    constexpr size_t MAX_REPORTS = 8192;
    const size_t numSteps = triangles_.size() + 2 * grid_.getNumRows();
    progress_.start("rasterize", numSteps, numSteps / MAX_REPORTS + 1);
    const ProgressEnd progressEnd(progress_);
    shareRows([this](const RasterGrid::Span& rows, const Worker&) {
        std::fill(&getCell(rows.begin, 0), &getCell(rows.end - 1, 0) + grid_.getNumColumns(), NOTHING);
    });
    shareWork(numThreads_, triangles_.size(), getPieceSize(), progress_,
              [this](size_t begin, size_t end, int threadIdx) { scanTriangles(begin, end, *vWorkers_[threadIdx]); });
    scanLargeTriangles();
    fillBorder();
    progress_.finish();
}

/// The number of triangles that have about 20,000 cells together.
size_t Rasterizer::getPieceSize() const {
    constexpr double CELLS_IN_PIECE = 20000.0, MIN_SIZE = 16.0, MAX_SIZE = 4096.0;
    const double numCells = static_cast<double>(grid_.getNumRows()) * static_cast<double>(grid_.getNumColumns());
    const double size = CELLS_IN_PIECE * static_cast<double>(triangles_.size()) / numCells;
    return static_cast<size_t>(std::clamp(size, MIN_SIZE, MAX_SIZE));
}

void Rasterizer::shareRows(const std::function<void(const RasterGrid::Span&, Worker&)>& f) {
    constexpr size_t CELLS_IN_PIECE = 50000;
    const size_t numRows = std::max<size_t>(1, CELLS_IN_PIECE / grid_.getNumColumns());
    shareWork(numThreads_, grid_.getNumRows(), numRows, progress_, [&](size_t begin, size_t end, int threadIdx) {
        f({begin, end}, *vWorkers_[threadIdx]);
    });
}

void Rasterizer::scanTriangles(size_t begin, size_t end, Worker& worker) {
    constexpr size_t MAX_CELLS = 2000;  // for one thread
    triangles_.forEach(begin, end, [&](Triangle2* pT) {
        const RasterGrid::Cells cells = grid_.getCellsAround(*pT);
        if (!pPart_) noteHullEdges(pT, worker);
        if (cells.size() == 0) return;
        if (cells.size() <= MAX_CELLS) {
            scan(*pT, cells, worker);
        } else {
            worker.vLarge.push_back(pT);
        }
    });
    fillByNeighbours(worker);
}

void Rasterizer::noteHullEdges(Triangle2* pT, Worker& worker) const {
    for (int i = 0; i < 3; ++i) {
        if (!pT->getOppositeTriangle(i)) worker.vBorder.emplace_back(pT, i);
    }
}

void Rasterizer::scan(const Triangle2& triangle, const RasterGrid::Cells& cells, Worker& worker) {
    std::optional<FacePlane> plane;  // made only if a centre is inside
    grid_.scan(triangle, cells, worker.geomTest, [&](size_t row, size_t begin, size_t end) {
        progress_.throwIfStopped();
        if (aHas_) std::fill_n(aHas_ + (&getCell(row, begin) - aCells_), end - begin, std::uint8_t(1));
        if (kind_ == RK_NATURAL_NEIGHBOUR) {
            for (size_t column = begin; column < end; ++column) worker.vPlaces.emplace_back(&triangle, row, column);
            return;
        }
        if (!plane) plane.emplace(triangle);
        if (kind_ == RK_LINEAR) {
            fillByHeight(*plane, triangle, row, begin, end);
        } else {
            std::fill(&getCell(row, begin), &getCell(row, begin) + (end - begin), getMeasure(*plane));
        }
    });
}

/// Shares the rows of all large triangles.
void Rasterizer::scanLargeTriangles() {
    std::vector<const Triangle2*> vLarge;
    for (const auto& pWorker : vWorkers_) vLarge.insert(vLarge.end(), pWorker->vLarge.begin(), pWorker->vLarge.end());
    if (vLarge.empty()) {  // no threads are started for nothing
        progress_.incProgress(grid_.getNumRows());
        return;
    }
    shareRows([&](const RasterGrid::Span& rows, Worker& worker) {
        for (const Triangle2* pT : vLarge) {
            RasterGrid::Cells cells = grid_.getCellsAround(*pT);
            cells.rows = {std::max(cells.rows.begin, rows.begin), std::min(cells.rows.end, rows.end)};
            scan(*pT, cells, worker);
            fillByNeighbours(worker);
        }
    });
}

void Rasterizer::fillBorder() {
    for (const auto& pWorker : vWorkers_) {
        vBorder_.insert(vBorder_.end(), pWorker->vBorder.begin(), pWorker->vBorder.end());
    }
    if (pPart_) getBorderEdges(*pPart_, vBorder_);
    RasterBorder(grid_, vBorder_)
        .forEach([this](size_t row, size_t column, const Triangle2& triangle, const Edge2& edge) {
            setOnBorder(row, column, triangle, edge);
        });
}

void Rasterizer::fillByHeight(const FacePlane& plane, const Triangle2& triangle, size_t row, size_t begin, size_t end) {
    const double y = grid_.getY(row);
    for (size_t column = begin; column < end; ++column) getCell(row, column) = plane.getHeight(grid_.getX(column), y);
    // A centre exactly at a corner, which is the first or the last one of its row, gets the height of the corner.
    for (int i = 0; i < 3; ++i) {
        const Point2& corner = *triangle.getCorner(i);
        if (corner.y() != y) continue;
        for (const size_t column : {begin, end - 1}) {
            if (corner.x() == grid_.getX(column)) getCell(row, column) = corner.z();
        }
    }
}

/// Fills the cells noted by scan.
void Rasterizer::fillByNeighbours(Worker& worker) {
    constexpr size_t AHEAD = 4;
    const std::vector<Place>& vPlaces = worker.vPlaces;
    for (size_t k = 0; k < vPlaces.size(); ++k) {
        progress_.throwIfStopped();
        if (k + 2 * AHEAD < vPlaces.size()) {
            NaturalNeighbours::prefetchNeighbours(*vPlaces[k + 2 * AHEAD].pT);
            NaturalNeighbours::prefetchCorners(*vPlaces[k + AHEAD].pT);
        }
        const Place& place = vPlaces[k];
        const Point2 centre(grid_.getX(place.column), grid_.getY(place.row), 0.0);
        getCell(place.row, place.column) = worker.neighbours.getHeight(*place.pT, centre);
    }
    worker.vPlaces.clear();
}

double Rasterizer::getMeasure(const FacePlane& plane) const {
    switch (kind_) {
        case RK_SLOPE:
            return getSlope(plane);
        case RK_ASPECT:
            return getAspect(plane);
        default:
            return getHillshade(plane);
    }
}

void Rasterizer::setOnBorder(size_t row, size_t column, const Triangle2& triangle, const Edge2& edge) {
    const bool bHeight = kind_ == RK_LINEAR || kind_ == RK_NATURAL_NEIGHBOUR;
    const Point2 centre(grid_.getX(column), grid_.getY(row), 0.0);
    const double value = bHeight ? getZOnSegment(*edge.getSrc(), *edge.getTrg(), centre.x(), centre.y())
                                 : getMeasure(FacePlane(triangle));
    if (pBorderCells_) {
        pBorderCells_->push_back({row, column, value, getAngle(edge, centre)});
    } else {
        getCell(row, column) = value;
    }
}

/// Warns; returns false.
bool refuse(const char* text) {
    warning("rasterize()", text);
    return false;
}

}  // namespace

bool rasterize(const Zone2* pZone, const RasterFrame& frame, RasterKind kind, double* aCells, int numCPU) {
    if (!pZone || !aCells) return refuse(pZone ? "no room for the cells, no raster" : "zone is NULL, no raster");
    const MessageScope scope(&pZone->getDelaunayTriangulation()->getProgress());
    if (!RasterGrid::isUsable(frame)) return refuse("the frame has no cells that can be told apart, no raster");
    if (kind < RK_LINEAR || kind > RK_HILLSHADE) return refuse("unknown kind of raster, no raster");
    Dt2& dt2 = *pZone->getDelaunayTriangulation();
    const RasterGrid grid(frame, dt2.getMagnitude());
    if (pZone->getZoneLocation() == ZL_GLOBAL && dt2.is2D()) {
        Rasterizer(dt2, grid, kind, aCells, getNumThreads(numCPU)).run();
        return true;
    }
    const std::vector<Triangle2*> vTriangles = getTrianglesOf(*pZone);
    Rasterizer(SurfacePart{dt2, vTriangles}, grid, kind, aCells, getNumThreads(numCPU)).run();
    return true;
}

void rasterizeTriangles(const SurfacePart& part, const RasterFrame& frame, const RasterGrid::Window& window,
                        RasterKind kind, PartialRaster& raster, int numThreads) {
    const RasterGrid grid(frame, window, part.dt2.getMagnitude());
    const size_t numCells = grid.getNumRows() * grid.getNumColumns();
    raster.vCells.assign(numCells, NOTHING);
    raster.vHas.assign(numCells, 0);
    raster.vBorder.clear();
    Rasterizer rasterizer(part, grid, kind, raster.vCells.data(), numThreads);
    rasterizer.divide(raster.vHas.data(), raster.vBorder);
    rasterizer.run();
}

}  // namespace LUMO_TARO25D
