#include "geopackage.h"

#include <ogrsf_frmts.h>
#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "files.h"

using namespace LUMO_TARO25D;
using examples::Level;
using examples::Polyline;

namespace gis {

namespace {

/// At one height, which the library may have moved by some units in the last place.
OGRGeometryUniquePtr toLineString(const Polyline& vLine, double height) {
    auto pLine = std::make_unique<OGRLineString>();
    pLine->setNumPoints(static_cast<int>(vLine.size() + 1));
    pLine->setPoint(0, vLine.front().getSrc().x(), vLine.front().getSrc().y(), height);
    for (std::size_t i = 0; i < vLine.size(); ++i) {
        pLine->setPoint(static_cast<int>(i + 1), vLine[i].getTrg().x(), vLine[i].getTrg().y(), height);
    }
    return OGRGeometryUniquePtr(pLine.release());
}

OGRGeometryUniquePtr toPolygon(const Triangle2& triangle) {
    auto pRing = std::make_unique<OGRLinearRing>();
    for (const int i : {0, 1, 2, 0}) {
        const Point2& corner = *triangle.getCorner(i);
        pRing->addPoint(corner.x(), corner.y(), corner.z());
    }
    auto pPolygon = std::make_unique<OGRPolygon>();
    pPolygon->addRingDirectly(pRing.release());
    return OGRGeometryUniquePtr(pPolygon.release());
}

std::filesystem::path followLinks(std::filesystem::path filename) {
    constexpr int MAX_LINKS = 40;  // as for the kernel: they may run in a circle
    for (int i = 0; i < MAX_LINKS && std::filesystem::is_symlink(filename); ++i) {
        filename = filename.parent_path() / std::filesystem::read_symlink(filename);
    }
    return filename;
}

}  // namespace

FolderBeside::FolderBeside(const std::filesystem::path& filename) {
    if (filename.has_parent_path()) std::filesystem::create_directories(filename.parent_path());
    std::string name = filename.string() + ".unfinished-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error(filename.string() + ": " + std::strerror(errno));
    path_ = name;
}

FolderBeside::~FolderBeside() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

GeoPackage::GeoPackage(const std::filesystem::path& filename, const OGRSpatialReference* pSystem)
    : filename_(followLinks(filename)), folder_(filename_), unfinished_(folder_.path() / "unfinished.gpkg") {
    if (pSystem) {
        system_ = *pSystem;
    } else {
        system_.SetLocalCS("Undefined Cartesian SRS");  // the name that stands for none
    }
    CPLErrorReset();
    GDALDriver* pDriver = GetGDALDriverManager()->GetDriverByName("GPKG");
    if (pDriver) pDataset_.reset(pDriver->Create(unfinished_.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    check(pDataset_ != nullptr);
    // Without one transaction around all features each would be one, and wait for the disk.
    check(pDataset_->StartTransaction() == OGRERR_NONE);
}

GeoPackage::~GeoPackage() {
    if (pDataset_) pDataset_->RollbackTransaction();
}

void GeoPackage::check(bool bWell) const {
    if (!bWell) throw std::runtime_error(problemWith(filename_));
}

OGRLayer& GeoPackage::addLayer(const std::string& name, OGRwkbGeometryType type) {
    OGRLayer* pLayer = pDataset_->CreateLayer(name.c_str(), &system_, type);
    check(pLayer != nullptr);
    OGRFieldDefn height("height", OFTReal);
    check(pLayer->CreateField(&height) == OGRERR_NONE);
    return *pLayer;
}

void GeoPackage::addFeature(OGRLayer& layer, OGRFeature& feature, OGRGeometryUniquePtr pGeometry) {
    feature.SetFID(OGRNullFID);
    check(feature.SetGeometryDirectly(pGeometry.release()) == OGRERR_NONE);
    check(layer.CreateFeature(&feature) == OGRERR_NONE);
}

std::size_t GeoPackage::addContours(const std::vector<Level>& vLevels) {
    OGRLayer& layer = addLayer("contours", wkbLineString25D);
    OGRFieldDefn heavy("heavy", OFTInteger);
    heavy.SetSubType(OFSTBoolean);
    check(layer.CreateField(&heavy) == OGRERR_NONE);
    OGRFeature feature(layer.GetLayerDefn());
    std::size_t numLines = 0;
    for (const Level& level : vLevels) {
        feature.SetField("height", level.height);
        feature.SetField("heavy", static_cast<int>(level.bHeavy));
        for (const Polyline& vLine : level.vLines) addFeature(layer, feature, toLineString(vLine, level.height));
        numLines += level.vLines.size();
    }
    return numLines;
}

void GeoPackage::addTriangles(const std::vector<Triangle2*>& vTriangles) {
    OGRLayer& layer = addLayer("triangles", wkbPolygon25D);
    OGRFeature feature(layer.GetLayerDefn());
    for (const Triangle2* pT : vTriangles) {
        feature.SetField("height", pT->getBarycenter().z());
        addFeature(layer, feature, toPolygon(*pT));
    }
}

void GeoPackage::finish() {
    check(pDataset_->CommitTransaction() == OGRERR_NONE);
    CPLErrorReset();
    pDataset_.reset();
    check(CPLGetLastErrorType() < CE_Failure);
    std::filesystem::rename(unfinished_, filename_);
}

}  // namespace gis
