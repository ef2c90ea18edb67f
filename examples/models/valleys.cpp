// A surface made of contours. Where a valley or a ridge bends a contour, the nearest neighbours of its points are
// other points of the same contour: triangles there are level, and the bed of a valley becomes a row of pits with
// dams between them. Flips that lower the angles between neighbouring triangles remove most of both.

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "drawings.h"
#include "levels.h"
#include "numbers.h"
#include "program.h"
#include "sheet.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace models {

namespace {

const Color GROUND(0.93, 0.92, 0.86, 0.05, true), FLAT(0.84, 0.19, 0.12, 0.05, true), CONTOUR(0.55, 0.32, 0.14, 0.25);

bool isFlat(const Triangle2* pT) {
    return pT->getCorner(0)->z() == pT->getCorner(1)->z() && pT->getCorner(0)->z() == pT->getCorner(2)->z();
}

/// The flats of a surface: how many triangles are level, and their share of the area in percent.
struct Flats {
    std::size_t num = 0;
    double share = 0;
};

Flats findFlats(const std::vector<Triangle2*>& vTriangles) {
    Flats flats;
    double area = 0;
    for (const Triangle2* pT : vTriangles) {
        area += pT->getArea2D();
        if (!isFlat(pT)) continue;
        ++flats.num;
        flats.share += pT->getArea2D();
    }
    if (area > 0) flats.share *= 100 / area;
    return flats;
}

/// The number of level groups of vertices, connected by edges, from which every edge leads upwards: water would stay.
std::size_t countPits(const Taro_2D& surface) {
    std::vector<Point2*> vVertices, vGroup, vHull;
    surface.getVertexPointers(vVertices);
    surface.getConvexHull(true, vHull);
    const std::set<const Point2*> sHull(vHull.begin(), vHull.end());
    std::set<const Point2*> sSeen;
    std::size_t numPits = 0;
    for (Point2* pStart : vVertices) {
        if (!sSeen.insert(pStart).second) continue;
        bool bPit = true;
        vGroup.assign(1, pStart);
        while (!vGroup.empty()) {
            Point2* pVtx = vGroup.back();
            vGroup.pop_back();
            bPit = bPit && sHull.count(pVtx) == 0;  // water leaves over the border
            std::vector<Point2*> vNeighbours;
            surface.getIncidentVertices(pVtx, vNeighbours);
            for (Point2* pNext : vNeighbours) {
                bPit = bPit && pNext->z() >= pVtx->z();
                if (pNext->z() == pVtx->z() && sSeen.insert(pNext).second) vGroup.push_back(pNext);
            }
        }
        numPits += bPit;
    }
    return numPits;
}

/// Draws a surface with its flats, moved to the right, and the contours over it.
void draw(Visualizer2& drawing, const std::vector<Triangle2*>& vTriangles, const std::vector<Segment2>& vContours,
          double right) {
    const auto moved = [right](const Point2& point) { return Point2(point.x() + right, point.y(), 0); };
    for (const Triangle2* pT : vTriangles) {
        Point2 a = moved(*pT->getCorner(0)), b = moved(*pT->getCorner(1)), c = moved(*pT->getCorner(2));
        drawing.addObject(Triangle2(&a, &b, &c), isFlat(pT) ? FLAT : GROUND);
    }
    for (const Segment2& segment : vContours)
        drawing.addObject(Segment2(moved(segment.getSrc()), moved(segment.getTrg())), CONTOUR);
}

std::vector<Segment2> takeContours(const Points& vPoints, double interval) {
    Taro_2D ground;
    ground.insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    std::vector<Segment2> vContours;
    for (const Level& level : takeLevels(IsoContours(vTriangles), interval)) {
        for (const Polyline& vLine : level.vLines) {
            for (const Segment2& segment : vLine) {
                Point2 src = segment.getSrc(), trg = segment.getTrg();
                src.set(src.x(), src.y(), level.height);
                trg.set(trg.x(), trg.y(), level.height);
                vContours.emplace_back(src, trg);
            }
        }
    }
    return vContours;
}

}  // namespace

void followValleys(const Points& vPoints, double interval, const std::string& filename) {
    const std::vector<Segment2> vContours = takeContours(vPoints, interval);
    Taro_2D surface;
    surface.createConstraint(vContours, CIS_CONSTRAINED_DELAUNAY);
    Zone2* pZone = surface.createZone(nullptr, ZL_GLOBAL);
    Bbox2 box;
    box.add(vPoints);
    const double pitch = 1.06 * (box.getMaxX() - box.getMinX());
    const auto pDrawing = filename.empty() ? nullptr : std::make_unique<Visualizer2>(filename);
    std::string text;
    for (const bool bAfter : {false, true}) {
        if (bAfter && pZone) pZone->slopeValleyRidgeOptimization();
        std::vector<Triangle2*> vTriangles;
        surface.getTrianglePointers(vTriangles);
        const Flats flats = findFlats(vTriangles);
        const std::string numFlats = toGrouped(double(flats.num)) + " flat triangles",
                          numPits = toGrouped(double(countPits(surface))) + " pits";
        row(bAfter ? "valleys" : "Delaunay")
            << numFlats << " of " << toGrouped(double(vTriangles.size())) << ", " << std::round(flats.share * 10) / 10
            << " % of the area; " << numPits << "\n";
        text += (bAfter ? ";  right: along valleys, " : "left: Delaunay, ") + numFlats + ", " + numPits;
        if (pDrawing) draw(*pDrawing, vTriangles, vContours, bAfter ? pitch : 0);
    }
    if (!pDrawing) return;
    Sheet sheet(*pDrawing, Bbox2(box.getMinX(), box.getMinY(), box.getMaxX() + pitch, box.getMaxY()),
                "Flat triangles of a surface made of contours", text);
    sheet.addLine("contour", CONTOUR);
    sheet.addPatch("flat triangle", FLAT);
    sheet.write(filename);
}

}  // namespace models
