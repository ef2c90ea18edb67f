// Replacing the triangles that a segment crosses.
//
// The polygon on one side is weakly visible from the segment: every vertex of it belongs to a triangle that the segment
// crosses. Therefore a convex vertex is always an ear, and cutting them off in one pass with a stack triangulates it in
// linear time (Toussaint, Avis 1982). The border of the region may pass an edge on both sides, or a vertex more than
// once. A border entry names a triangle that is about to be recycled; its link leads to the triangle across, or to the
// replacement of that triangle, which has taken over the link. So the two sides of an edge that the border passes twice
// are linked to each other. Flips then make the new triangles Delaunay except at constraint edges (Lawson 1977; Chew
// 1989 for that property).

#include "mesh/CrossedRegion.h"

#include <algorithm>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

void CrossedRegion::start(Triangle2* pT, int i) {
    vTriangles_.assign(1, pT);
    vNewTriangles_.clear();
    vLeft_.assign(1, {pT, incIndexBy1(i), true});
    vRight_.assign(1, {pT, incIndexBy2(i), true});
}

void CrossedRegion::add(Triangle2* pT, int i, Orientation2 ori) {
    vTriangles_.push_back(pT);
    if (ori == ORIENTATION2_CCW) vLeft_.push_back({pT, incIndexBy1(i), true});
    if (ori == ORIENTATION2_CW) vRight_.push_back({pT, incIndexBy2(i), true});
    if (ori != ORIENTATION2_COLLINEAR) return;
    vLeft_.push_back({pT, incIndexBy2(i), true});
    vRight_.push_back({pT, incIndexBy1(i), true});
}

void CrossedRegion::replace(Dt2& mesh) {
    vNewTriangles_.reserve(vTriangles_.size());
    std::reverse(vLeft_.begin(), vLeft_.end());  // counterclockwise, as the other side is
    Triangle2* pLeft = triangulatePolygon(vLeft_, mesh);
    Triangle2* pRight = triangulatePolygon(vRight_, mesh);
    pLeft->setOppositeTriangle(vLeft_[0].i, pRight);
    pRight->setOppositeTriangle(vRight_[0].i, pLeft);
    mesh.storeRecycledT(vTriangles_);
    std::for_each(vNewTriangles_.rbegin(), vNewTriangles_.rend(), [&](Triangle2* pT) { mesh.noteForFlips(pT); });
    mesh.flipUntilDelaunay();
}

Triangle2* CrossedRegion::triangulatePolygon(std::vector<Border>& vBorder, Dt2& mesh) {
    const auto getSrc = [](const Border& border) {
        return border.pT->getCorner(border.bInside ? incIndexBy1(border.i) : incIndexBy2(border.i));
    };
    const auto getTrg = [](const Border& border) {
        return border.pT->getCorner(border.bInside ? incIndexBy2(border.i) : incIndexBy1(border.i));
    };
    const auto link = [](Triangle2* pNew, int k, const Border& border) {
        Triangle2* pOuter = border.bInside ? border.pT->getOppositeTriangle(border.i) : border.pT;
        pNew->setOppositeTriangle(k, pOuter);
        if (pOuter) pOuter->setOppositeTriangle(border.bInside ? indexOfNeighbour(pOuter, border.pT) : border.i, pNew);
    };
    GeomTest& geomTest = mesh.getGeomTest();
    size_t size = 0;  // of the stack at the front of vBorder
    for (size_t k = 0; k < vBorder.size(); ++k) {
        vBorder[size++] = vBorder[k];
        while (size >= 2) {
            const Border first = vBorder[size - 2], second = vBorder[size - 1];
            Point2 *p0 = getSrc(first), *p1 = getSrc(second), *p2 = getTrg(second);
            if (geomTest.getOrientation2(p0, p1, p2) != ORIENTATION2_CCW) break;
            Triangle2* pNew = mesh.createTriangle(p0, p1, p2);
            link(pNew, 2, first);
            link(pNew, 0, second);
            vNewTriangles_.push_back(pNew);
            vBorder[--size - 1] = {pNew, 1, false};
        }
    }
    TARO_ASSERT_TEXT(size == 1 && !vBorder[0].bInside, "borders.size()==1");
    return vBorder[0].pT;
}

}  // namespace LUMO_TARO25D
