#include "files.h"

#include <iostream>

#include "readers.h"

namespace gis {

GDALDatasetUniquePtr openFile(const std::string& filename, unsigned kind) {
    CPLErrorReset();
    GDALDatasetUniquePtr pDataset(GDALDataset::Open(filename.c_str(), kind | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
    if (!pDataset) throw terrain::BadInput(problemWith(filename));
    return pDataset;
}

std::string problemWith(const std::string& filename) {
    const std::string problem = CPLGetLastErrorMsg();
    if (problem.empty()) return filename + ": GDAL gives no reason";
    return problem.find(filename) == std::string::npos ? filename + ": " + problem : problem;
}

const OGRSpatialReference* orNone(const OGRSpatialReference* pSystem) {
    if (!pSystem || pSystem->IsEmpty() || pSystem->IsLocal()) return nullptr;
    const char* pName = pSystem->GetName();
    return pName && std::string(pName).rfind("Undefined", 0) == 0 ? nullptr : pSystem;
}

void warn(const std::string& text) { std::cerr << "gis: warning: " << text << "\n"; }

}  // namespace gis
