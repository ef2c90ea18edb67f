// Real line work: segments and no other points.

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>

#include "lineWork.h"
#include "readers.h"
#include "taro25d/IsoContours.h"

namespace bench {

namespace {

std::string fileOf(const std::string& name) { return TARO25D_DATA_DIR "/segments/" + name + ".segb"; }

/// Segments in a file of this name: a count, then four doubles for each.
SharedLineWork readSegments(const std::string& name) {
    Segments vSegments;
    std::ifstream file(fileOf(name), std::ios::binary);
    file.ignore(sizeof(std::uint64_t));
    for (double a[4]; file.read(reinterpret_cast<char*>(a), sizeof a);)
        vSegments.emplace_back(Point2(a[0], a[1], 0.0), Point2(a[2], a[3], 0.0));
    return share({}, std::move(vSegments));
}

/// The contours of a real ground, every few metres.
SharedLineWork realContours(double step) {
    Taro_2D ground;
    ground.insert(terrain::readPoints(TARO25D_EXAMPLE_DATA_DIR "/jacksboro.asc"));
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const LUMO_TARO25D::IsoContours isoContours(vTriangles);
    std::vector<std::vector<Segment2>> vContours;
    for (double height = isoContours.getMinHeight() + 0.5; height < isoContours.getMaxHeight(); height += step)
        isoContours.getContours(height, vContours);
    Segments vSegments;
    for (const auto& vContour : vContours) vSegments.insert(vSegments.end(), vContour.begin(), vContour.end());
    return share({}, std::move(vSegments));
}

}  // namespace

/// Without rows for files that are absent.
std::vector<Row> networkRows(Scale size) {
    const char* const cgalConstraints = "`insert_constraints`";
    std::vector<Row> vRows{{"network-contours", "contours of a real ground, 66,000 segments", cgalConstraints, 1.0, cpu,
                            [=] { return constrained<RoundingConstrained>(realContours(40.0 / size.factor), false); }}};
    const auto addFile = [&](const char* name, const char* work, const std::string& file) {
        if (!std::ifstream(fileOf(file))) return;
        vRows.push_back({name, work, cgalConstraints, 1.0, cpu,
                         [file] { return constrained<RoundingConstrained>(readSegments(file), false); }});
    };
    addFile("network-coast", "coastline of the world, 5,000 segments", "ne_110m_coastline");
    addFile("network-rivers", "rivers of the world, 25,000 segments", "ne_50m_rivers_lake_centerlines");
    addFile("network-outlines", "outlines of a lake with islands, 2,500 segments", "earcut_water");
    return vRows;
}

}  // namespace bench
