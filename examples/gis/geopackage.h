#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "levels.h"
#include "taro25d/Triangle2.h"

namespace gis {

/// A new folder beside a file, from where another can be renamed to that. It goes with what is in it.
class FolderBeside {
  public:
    /// Throws std::runtime_error.
    explicit FolderBeside(const std::filesystem::path& filename);
    ~FolderBeside();
    FolderBeside(const FolderBeside&) = delete;
    FolderBeside& operator=(const FolderBeside&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// A GeoPackage that is being written, in a folder of its own. It takes its name, and the place of a file that had it,
/// when it is finished. Where a link has the name, it takes the place of what that leads to.
class GeoPackage {
  public:
    /// The coordinate system may be null. Throws std::runtime_error, as all others do.
    GeoPackage(const std::filesystem::path& filename, const OGRSpatialReference* pSystem);
    /// What was not finished goes with its folder.
    ~GeoPackage();
    GeoPackage(const GeoPackage&) = delete;
    GeoPackage& operator=(const GeoPackage&) = delete;

    /// A layer of lines, each with its height, and whether it is one of those that are drawn heavier. Returns how many.
    std::size_t addContours(const std::vector<examples::Level>& vLevels);
    /// A layer of polygons, each with the height in its middle.
    void addTriangles(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles);
    void finish();

  private:
    OGRLayer& addLayer(const std::string& name, OGRwkbGeometryType type);
    void addFeature(OGRLayer& layer, OGRFeature& feature, OGRGeometryUniquePtr pGeometry);
    void check(bool bWell) const;

    std::filesystem::path filename_;
    FolderBeside folder_;
    std::filesystem::path unfinished_;
    OGRSpatialReference system_;
    GDALDatasetUniquePtr pDataset_;
};

}  // namespace gis
