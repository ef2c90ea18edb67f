#include "lines.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "files.h"
#include "numbers.h"
#include "readers.h"

using namespace LUMO_TARO25D;
using terrain::BadInput;

namespace gis {

namespace {

/// Finds the lines in geometries of any kind, and takes what is on the raster.
class LineTaker : public OGRDefaultConstGeometryVisitor {
  public:
    LineTaker(bool bDrape, const Raster& raster, const Taro_2D& ground, Lines& lines)
        : bDrape_(bDrape), raster_(raster), ground_(ground), lines_(lines) {}

    using OGRDefaultConstGeometryVisitor::visit;
    void visit(const OGRLineString* pLine) override {
        if (pLine->getNumPoints() < 2) return;
        if (!areFinite(*pLine, &OGRLineString::getX) || !areFinite(*pLine, &OGRLineString::getY)) {
            ++lines_.numPlaceless;
            return;
        }
        const bool bKept = !bDrape_ && pLine->Is3D(), bDrape = !bKept || !areFinite(*pLine, &OGRLineString::getZ);
        ++lines_.numLines;
        lines_.numDraped += bDrape;
        lines_.numWrongHeights += bKept && bDrape;
        for (int i = 0; i < pLine->getNumPoints(); ++i) {
            lines_.box.add(vertexOf(*pLine, i));
            if (i > 0) take(vertexOf(*pLine, i - 1), vertexOf(*pLine, i), bDrape);
        }
    }

  private:
    static Point2 vertexOf(const OGRLineString& line, int i) {
        return Point2(line.getX(i), line.getY(i), line.getZ(i));
    }

    static bool areFinite(const OGRLineString& line, double (OGRLineString::*pGet)(int) const) {
        int i = 0;
        while (i < line.getNumPoints() && std::isfinite((line.*pGet)(i))) ++i;
        return i == line.getNumPoints();
    }

    void take(const Point2& src, const Point2& trg, bool bDrape) {
        lines_.bLong |= src != trg;
        const auto part = raster_.partInside(src, trg);
        if (!part) return;
        const Point2 first = between(src, trg, part->first), last = between(src, trg, part->second);
        const double numPieces = std::max(1.0, std::ceil(raster_.numCellsBetween(first, last)));
        std::vector<Segment2>& vSegments = bDrape ? lines_.vDraped : lines_.vWithHeights;
        std::optional<Point2> previous = onGround(first, bDrape);
        for (double i = 1; i <= numPieces; ++i) {
            const std::optional<Point2> next = onGround(between(first, last, i / numPieces), bDrape);
            if (previous && next && *previous != *next) vSegments.emplace_back(*previous, *next);
            previous = next;
        }
    }

    /// The ends themselves are not rounded, so that the next segment begins where this one ends.
    static Point2 between(const Point2& src, const Point2& trg, double t) {
        if (t == 0) return src;
        if (t == 1) return trg;
        return Point2(src.x() + t * (trg.x() - src.x()), src.y() + t * (trg.y() - src.y()),
                      examples::between(src.z(), trg.z(), t));
    }

    /// Nothing where there is no ground: at holes in the data the surface only bridges them.
    std::optional<Point2> onGround(const Point2& place, bool bDrape) const {
        double height = 0;
        if (!raster_.hasDataAt(place) || !ground_.getHeight(place.x(), place.y(), height)) return std::nullopt;
        return Point2(place.x(), place.y(), bDrape ? height : place.z());
    }

    bool bDrape_;
    const Raster& raster_;
    const Taro_2D& ground_;
    Lines& lines_;
};

std::string namesOfLayers(GDALDataset& dataset) {
    std::string names;
    for (OGRLayer* pLayer : dataset.GetLayers()) names += (names.empty() ? "" : ", ") + std::string(pLayer->GetName());
    return names;
}

OGRLayer& findLayer(GDALDataset& dataset, const std::string& name, const std::string& filename) {
    OGRLayer* pLayer = name.empty() ? dataset.GetLayer(0) : dataset.GetLayerByName(name.c_str());
    if (dataset.GetLayerCount() == 0) throw BadInput(filename + " has no layers");
    if (!pLayer) throw BadInput(filename + " has no layer " + name + ", only " + namesOfLayers(dataset));
    if (name.empty() && dataset.GetLayerCount() > 1)
        throw BadInput("which --layer of " + filename + "? It has " + namesOfLayers(dataset));
    return *pLayer;
}

/// Null where the lines are in the coordinate system of the raster, or nobody can know whether they are.
std::unique_ptr<OGRCoordinateTransformation> makeTransformation(const OGRSpatialReference* pFrom,
                                                                const OGRSpatialReference* pTo,
                                                                const std::string& filename) {
    if (pTo && !pFrom) warn(filename + " has no coordinate system, that of the raster is assumed");
    if (!pFrom || !pTo || pFrom->IsSame(pTo)) return nullptr;
    std::unique_ptr<OGRCoordinateTransformation> pTransformation(OGRCreateCoordinateTransformation(pFrom, pTo));
    if (!pTransformation) throw BadInput(problemWith(filename));
    return pTransformation;
}

void takeFeature(OGRFeature& feature, OGRCoordinateTransformation* pTransformation, LineTaker& taker, Lines& lines) {
    OGRGeometryUniquePtr pGeometry(feature.StealGeometry());
    if (!pGeometry) return;
    if (pGeometry->hasCurveGeometry()) pGeometry.reset(pGeometry->getLinearGeometry());
    if (pTransformation && pGeometry->transform(pTransformation) != OGRERR_NONE) {
        ++lines.numLost;
        return;
    }
    pGeometry->accept(&taker);
}

std::string toText(const Bbox2& box) {
    using examples::toText;
    return "x " + toText(box.getMinX()) + " to " + toText(box.getMaxX()) + ", y " + toText(box.getMinY()) + " to " +
           toText(box.getMaxY());
}

std::string reasonsWhyLost(const Lines& lines) {
    std::string reasons;
    if (lines.numLost > 0) {
        reasons += ": " + std::to_string(lines.numLost) + " features cannot be transformed to the system of the raster";
    }
    if (lines.numPlaceless > 0) {
        reasons += ": " + std::to_string(lines.numPlaceless) + " lines have coordinates that are not finite";
    }
    return reasons.empty() ? "" : " that can be used" + reasons;
}

void check(const Lines& lines, const std::string& filename, const Taro_2D& ground) {
    const std::string where = " in layer " + lines.layer + " of " + filename;
    if (lines.numLines == 0) throw BadInput("no lines" + where + reasonsWhyLost(lines));
    if (!lines.bLong) throw BadInput("the lines" + where + " have no length");
    if (!lines.vWithHeights.empty() || !lines.vDraped.empty()) return;
    throw BadInput("the lines" + where + " lie outside the data of the raster, or within half a cell of its border: " +
                   "they are at " + toText(lines.box) + ", it is at " + toText(ground.computeBoundingBox()));
}

}  // namespace

Lines readLines(const std::string& filename, const std::string& layer, bool bDrape, const Raster& raster,
                const Taro_2D& ground) {
    const GDALDatasetUniquePtr pDataset = openFile(filename, GDAL_OF_VECTOR);
    OGRLayer& source = findLayer(*pDataset, layer, filename);
    const auto pTransformation =
        makeTransformation(orNone(source.GetSpatialRef()), raster.coordinateSystem(), filename);
    Lines lines;
    lines.layer = source.GetName();
    lines.bTransformed = pTransformation != nullptr;
    LineTaker taker(bDrape, raster, ground, lines);
    for (const OGRFeatureUniquePtr& pFeature : source) takeFeature(*pFeature, pTransformation.get(), taker, lines);
    check(lines, filename, ground);
    return lines;
}

}  // namespace gis
