#pragma once

#include <gdal_priv.h>

#include <string>

namespace gis {

/// Opens a file for reading, GDAL_OF_RASTER or GDAL_OF_VECTOR. Throws terrain::BadInput.
GDALDatasetUniquePtr openFile(const std::string& filename, unsigned kind);

/// What GDAL said last, for a message about a file.
std::string problemWith(const std::string& filename);

/// Null also for a coordinate system that does not say where on Earth it is, as GDAL makes up for files that have none.
const OGRSpatialReference* orNone(const OGRSpatialReference* pSystem);

/// Prints what the user should know, although the work goes on.
void warn(const std::string& text);

}  // namespace gis
