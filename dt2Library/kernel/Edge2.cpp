#include "taro25d/Edge2.h"

#include <ostream>

#include "kernel/tools.h"

namespace LUMO_TARO25D {

void Edge2::getPoints(Point2*& pSrc, Point2*& pTrg) const {
    pSrc = getSrc();
    pTrg = getTrg();
}

void Edge2::getTriangles(Triangle2*& pT0, Triangle2*& pT1, int& index0, int& index1) const {
    pT0 = pTriangle_;
    pT1 = pTriangle_->getOppositeTriangle(index_);
    index0 = index_;
    index1 = pT1 ? pT1->getIntraTriangleIndex(pTriangle_) : -1;
}

double Edge2::getLength2D() const { return distance2D(*getSrc(), *getTrg()); }

double Edge2::getLength25D() const { return distance25D(*getSrc(), *getTrg()); }

std::ostream& operator<<(std::ostream& stream, const Edge2& edge) {
    return stream << "Edge2 (" << *edge.getSrc() << ", " << *edge.getTrg() << ")";
}

}  // namespace LUMO_TARO25D
