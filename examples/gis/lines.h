#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "raster.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"

namespace gis {

/// The lines of a layer, as far as they are on a raster.
struct Lines {
    std::string layer;
    bool bTransformed = false;  ///< from another coordinate system
    std::size_t numLines = 0, numDraped = 0;
    std::size_t numWrongHeights = 0;  ///< lines that are draped because they have heights that are no numbers
    std::size_t numLost = 0;          ///< features that cannot be transformed
    std::size_t numPlaceless = 0;     ///< lines with coordinates that are no numbers; left out
    bool bLong = false;               ///< unless all lines have length 0
    LUMO_TARO25D::Bbox2 box;          ///< of all vertices, wherever they are
    /// What is on the raster, where that has data.
    std::vector<LUMO_TARO25D::Segment2> vWithHeights, vDraped;
};

/// Reads the lines of a file, and the outlines of its polygons. Their segments are divided so that there is a vertex
/// for each cell of the raster that they pass. A line with heights keeps them, if all are finite. Any other, and with
/// bDrape each one, is laid on the ground: every vertex has the height of the ground there. The ground holds the
/// points of the raster. The layer may be empty where there is only one. Throws terrain::BadInput.
Lines readLines(const std::string& filename, const std::string& layer, bool bDrape, const Raster& raster,
                const LUMO_TARO25D::Taro_2D& ground);

}  // namespace gis
