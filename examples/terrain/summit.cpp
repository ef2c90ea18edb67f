// The picture of the mesh around the highest vertex.

#include <algorithm>
#include <cmath>
#include <sstream>

#include "picture.h"
#include "shading.h"
#include "sheet.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Circle2.h"
#include "taro25d/Label.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::Sheet;

namespace terrain {

namespace {

bool isLower(const Point2* pA, const Point2* pB) { return pA->z() < pB->z(); }

/// How far two points are apart in x or y, whichever is more.
double distance(const Point2& a, const Point2& b) { return std::max(std::abs(a.x() - b.x()), std::abs(a.y() - b.y())); }

/// Half the side of the square around a point that holds this number of vertices, whatever their density.
double halfSideOfSquare(std::vector<Point2*> vVertices, const Point2& centre, size_t numVertices) {
    const auto last = static_cast<std::ptrdiff_t>(std::min(numVertices, vVertices.size())) - 1;
    const auto isNearer = [&](const Point2* pA, const Point2* pB) {
        return distance(*pA, centre) < distance(*pB, centre);
    };
    std::nth_element(vVertices.begin(), vVertices.begin() + last, vVertices.end(), isNearer);
    return distance(*vVertices[static_cast<size_t>(last)], centre);
}

/// The triangles with all corners in the square.
std::vector<Triangle2*> trianglesAround(const Taro_2D& ground, const Point2& centre, double halfSide) {
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const auto isOutside = [&](const Triangle2* pT) {
        return distance(*pT->getCorner(0), centre) > halfSide || distance(*pT->getCorner(1), centre) > halfSide ||
               distance(*pT->getCorner(2), centre) > halfSide;
    };
    vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isOutside), vTriangles.end());
    return vTriangles;
}

/// The box of the vertices in the square, with room for the numbers beside them.
Bbox2 boxAround(const std::vector<Point2*>& vVertices, const Point2& centre, double halfSide, double pagePoint) {
    Bbox2 box;
    for (const Point2* pVtx : vVertices) {
        if (distance(*pVtx, centre) <= halfSide) box.add(*pVtx);
    }
    return Bbox2(box.getMinX() - 5 * pagePoint, box.getMinY() - 5 * pagePoint, box.getMaxX() + 25 * pagePoint,
                 box.getMaxY() + 15 * pagePoint);
}

/// A dot, and the height beside it. The point of the page is given in the unit of the ground.
void drawVertex(const Point2& vertex, bool bSummit, double pagePoint, Visualizer2& drawing) {
    const double radius = (bSummit ? 2.4 : 1.2) * pagePoint;
    std::ostringstream height;
    height << vertex.z();
    drawing.addObject(Circle2(vertex.x(), vertex.y(), radius * radius), Color(bSummit ? CRED : CBLACK, 0.2f, true));
    const Point2 beside(vertex.x() + 2 * pagePoint, vertex.y() + 2 * pagePoint, 0);
    drawing.addObject(Label(beside, height.str(), false, 7), CBLACK);
}

}  // namespace

void drawSummit(const std::string& filename, const Taro_2D& ground) {
    std::vector<Point2*> vVertices;
    ground.getVertexPointers(vVertices);
    const Point2& summit = **std::max_element(vVertices.begin(), vVertices.end(), isLower);
    const double halfSide = halfSideOfSquare(vVertices, summit, 200);
    const std::vector<Triangle2*> vTriangles = trianglesAround(ground, summit, halfSide);

    Visualizer2 drawing(filename);
    const double pagePoint = halfSide / 240;
    Sheet sheet(drawing, boxAround(vVertices, summit, halfSide, pagePoint), "The mesh around the highest vertex",
                "heights of the vertices in m, the highest in red");
    if (!vTriangles.empty()) {
        const Shading shading(vTriangles, 0.25);
        for (const Triangle2* pT : vTriangles) {
            Color color = shading.ofTriangle(*pT);
            color.width = 0.3f;
            drawing.addObject(*pT, color);
        }
        sheet.addRamp("height", shading.minHeight(), shading.maxHeight(),
                      [&](double z) { return shading.ofHeight(z); });
    }
    for (const Point2* pVtx : vVertices) {
        if (distance(*pVtx, summit) <= halfSide) drawVertex(*pVtx, *pVtx == summit, pagePoint, drawing);
    }
    sheet.addFrame();
    sheet.write(filename);
}

}  // namespace terrain
