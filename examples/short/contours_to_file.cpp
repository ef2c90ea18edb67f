// The contour lines of a surface, written as polylines into a DXF file, which CAD and GIS programs read.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

using Contour = std::vector<Segment2>;

bool isClosed(const Contour& contour) { return contour.back().getTrg() == contour.front().getSrc(); }

// DXF is a list of pairs: a number that says what follows, and the value.
void writeVertex(std::ostream& file, const Point2& point) {
    file << "0\nVERTEX\n8\nCONTOURS\n70\n32\n10\n"
         << point.x() << "\n20\n"
         << point.y() << "\n30\n"
         << point.z() << "\n";
}

void writePolyline(std::ostream& file, const Contour& contour) {
    const int flags = isClosed(contour) ? 9 : 8;  // 8: in three dimensions, 1: closed
    file << "0\nPOLYLINE\n8\nCONTOURS\n66\n1\n70\n" << flags << "\n10\n0\n20\n0\n30\n0\n";
    for (const Segment2& segment : contour) writeVertex(file, segment.getSrc());
    if (!isClosed(contour)) writeVertex(file, contour.back().getTrg());
    file << "0\nSEQEND\n8\nCONTOURS\n";
}

int main() {
    // Two hills, as points in a grid of 5 m.
    std::vector<Point2> vPoints;
    for (int x = 0; x <= 100; x += 5) {
        for (int y = 0; y <= 60; y += 5) {
            const double west = std::hypot(x - 30, y - 30), east = std::hypot(x - 72, y - 28);
            vPoints.emplace_back(x, y, 200 + 18 * std::exp(-west * west / 300) + 25 * std::exp(-east * east / 200));
        }
    }
    Taro_2D ground;
    ground.insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);

    std::ofstream file("contours.dxf");
    file.precision(12);
    file << "0\nSECTION\n2\nENTITIES\n";
    constexpr double INTERVAL = 5;
    const double first = INTERVAL * std::ceil(isoContours.getMinHeight() / INTERVAL);
    for (double height = first; height <= isoContours.getMaxHeight(); height += INTERVAL) {
        std::vector<Contour> vContours;
        isoContours.getContours(height, vContours, false);  // false: no warning at the height of a point
        for (const Contour& contour : vContours) writePolyline(file, contour);
        std::cout << height << " m: " << vContours.size() << " lines, "
                  << std::count_if(vContours.begin(), vContours.end(), isClosed) << " of them closed\n";
    }
    file << "0\nENDSEC\n0\nEOF\n";
    file.close();
    std::cout << (file ? "written to contours.dxf\n" : "contours.dxf cannot be written\n");
    return file ? 0 : 1;
}

// It prints:
//   205 m: 1 lines, 1 of them closed
//   210 m: 2 lines, 2 of them closed
//   215 m: 2 lines, 2 of them closed
//   220 m: 1 lines, 1 of them closed
//   written to contours.dxf
