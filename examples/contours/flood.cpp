#include "flood.h"

#include <algorithm>
#include <set>

#include "taro25d/IsoContours.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace contours {

namespace {

/// The triangles below a level that are connected with the lowest one. Cut ground has none that reaches through the
/// level.
std::vector<Triangle2*> findBasin(const std::vector<Triangle2*>& vTriangles, double level) {
    const auto isWet = [level](const Triangle2* pT) { return pT->getBarycenter().z() < level; };
    const auto isLower = [](const Triangle2* pT, const Triangle2* pOther) {
        return pT->getBarycenter().z() < pOther->getBarycenter().z();
    };
    Triangle2* const pLowest = *std::min_element(vTriangles.begin(), vTriangles.end(), isLower);
    std::vector<Triangle2*> vBasin;
    if (!isWet(pLowest)) return vBasin;
    vBasin.push_back(pLowest);
    std::set<const Triangle2*> sSeen{pLowest};
    for (size_t next = 0; next < vBasin.size(); ++next) {
        for (int i = 0; i < 3; ++i) {
            Triangle2* const pN = vBasin[next]->getOppositeTriangle(i);
            if (pN && isWet(pN) && sSeen.insert(pN).second) vBasin.push_back(pN);
        }
    }
    return vBasin;
}

}  // namespace

Flood fillTo(Taro_2D& ground, double level) {
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    std::vector<examples::Polyline> vLines;
    IsoContours(vTriangles).getContours(level, vLines, false);
    for (const examples::Polyline& vLine : vLines) ground.cutTriangles(vLine);
    vTriangles.clear();
    ground.getTrianglePointers(vTriangles);

    Flood flood;
    flood.level = level;
    flood.vBed = findBasin(vTriangles, level);
    const std::set<const Triangle2*> sBed(flood.vBed.begin(), flood.vBed.end());
    for (const Triangle2* pT : flood.vBed) {
        const double area = getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
        flood.area += area;
        flood.volume += area * (level - pT->getBarycenter().z());
        for (int i = 0; i < 3; ++i) {
            if (sBed.count(pT->getOppositeTriangle(i)) > 0) continue;
            flood.vShore.emplace_back(*pT->getCorner((i + 1) % 3), *pT->getCorner((i + 2) % 3));
        }
    }
    return flood;
}

}  // namespace contours
