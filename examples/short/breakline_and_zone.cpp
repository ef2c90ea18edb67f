// The top of a bank as a breakline, and the site boundary as a zone: the surface follows the bank, and only the part
// inside the boundary is measured.
#include <iostream>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

// The segments from each point to the next.
std::vector<Segment2> makeLine(const std::vector<Point2>& vPoints) {
    std::vector<Segment2> vSegments;
    for (std::size_t i = 1; i < vPoints.size(); ++i) vSegments.emplace_back(vPoints[i - 1], vPoints[i]);
    return vSegments;
}

double heightAt(const Taro_2D& ground, double x, double y) {
    double height = 0;
    ground.getHeight(x, y, height);
    return height;
}

int main() {
    // Level ground at 100 m in the south, and at 104 m in the north.
    Taro_2D ground;
    ground.insert({{0, 0, 100},
                   {20, 0, 100},
                   {40, 0, 100},
                   {60, 0, 100},
                   {10, 24, 100},
                   {30, 24, 100},
                   {50, 24, 100},
                   {0, 60, 104},
                   {20, 60, 104},
                   {40, 60, 104},
                   {60, 60, 104}});
    std::cout << "height at 31, 40: " << heightAt(ground, 31, 40);

    // The top of the bank between them. Its ends and corners become vertices with these heights.
    const std::vector<Point2> vTop{{0, 33, 104}, {18, 30, 104}, {41, 31, 104}, {60, 35, 104}};
    ground.createConstraint(makeLine(vTop), CIS_CONSTRAINED_DELAUNAY);
    std::cout << ", with the top of the bank " << heightAt(ground, 31, 40) << "\n";

    // The boundary is cut into the surface, which keeps its heights there: those of the boundary do not count.
    const Point2 a(5, 5, 0), b(55, 5, 0), c(50, 55, 0), d(5, 50, 0);
    const Zone2* pSite = ground.createZone_cookieCutter({{a, b}, {b, c}, {c, d}, {d, a}});
    if (!pSite) return 1;
    std::cout << "site: " << pSite->getArea2D() << " m2 on the map, " << pSite->getArea25D() << " m2 on the ground\n";

    // A zone lists its triangles whenever it is asked. Here, those of the bank:
    std::vector<Triangle2*> vTriangles;
    pSite->getTriangles(vTriangles);
    double bank = 0;
    for (const Triangle2* pT : vTriangles) {
        if (getAngleDegree(pT->getNormalVector(), Vector2(0, 0, 1)) > 10) bank += pT->getArea25D();
    }
    std::cout << bank << " m2 are steeper than 10 degrees\n";
}

// It prints:
//   height at 31, 40: 101.778, with the top of the bank 104
//   site: 2262.5 m2 on the map, 2315.18 m2 on the ground
//   435.087 m2 are steeper than 10 degrees
