// From surveyed points to a surface: read them, triangulate them, ask how high the ground is and how steep.
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

// Number, easting, northing and height of each point. A std::ifstream reads the same from a file.
const char* const SURVEY = R"(
101  1000.00  2000.00  312.40
102  1060.00  2000.00  313.10
103  1060.00  2045.00  316.85
104  1000.00  2045.00  314.20
105  1031.50  2022.80  318.95
106  1012.20  2030.10  315.70
)";

int main() {
    std::istringstream file(SURVEY);
    std::vector<Point2> vPoints;
    int number = 0;
    for (double x = 0, y = 0, z = 0; file >> number >> x >> y >> z;) {
        vPoints.emplace_back(x, y, z);
        vPoints.back().setCustomIndex(number);
    }

    Taro_2D ground;
    ground.insert(vPoints);  // all at once: much faster than one by one
    if (!ground.is2D()) {
        std::cerr << "fewer than three points, or all on one line\n";
        return 1;
    }
    std::cout << ground.numberOfPoints() << " points, " << ground.numberOfTriangles() << " triangles\n";

    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    double onMap = 0, onGround = 0;
    for (const Triangle2* pT : vTriangles) {
        onMap += pT->getArea2D();
        onGround += pT->getArea25D();
    }
    std::cout << onMap << " m2 on the map, " << onGround << " m2 on the ground\n";

    double height = 0;
    if (ground.getHeight(1020, 2015, height)) std::cout << "height at 1020, 2015: " << height << "\n";
    if (!ground.getHeight(990, 2015, height)) std::cout << "990, 2015 is outside\n";

    if (const Triangle2* pT = ground.locate(Point2(1020, 2015, 0))) {
        std::cout << "slope there: " << getAngleDegree(pT->getNormalVector(), Vector2(0, 0, 1))
                  << " degrees, in the triangle of points";
        for (int i = 0; i < 3; ++i) std::cout << " " << pT->getCorner(i)->getCustomIndex();
        std::cout << "\n";
    }
}

// It prints:
//   6 points, 6 triangles
//   2700 m2 on the map, 2752.52 m2 on the ground
//   height at 1020, 2015: 316.578
//   990, 2015 is outside
//   slope there: 10.5072 degrees, in the triangle of points 105 106 101
