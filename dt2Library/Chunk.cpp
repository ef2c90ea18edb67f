// A chunk inserts its vertices into a mesh that other threads change at the same time, without locks.
//
// Each vertex is inserted by its conflict region (Bowyer 1981, Watson 1981): all triangles whose circumcircle
// contains it, found from the one it hits through the links. They are replaced by a fan from the vertex to
// the border of the region. Nothing is written before the whole region is known, and the vertex is left to
// the calling thread if one triangle of the region has a corner outside the extended box.
//
// Why that is safe. Chunks run at the same time only if their extended boxes A and B are disjoint. A writes
//   - corners and links of triangles with all three corners in A and of fresh ones, and the incident triangle of
//     vertices in A;
//   - of a triangle beyond the border of a region the one link across the border, an edge with both ends in A.
// So the corners of a triangle with a corner in A, and a link across an edge with an end in A, are never
// written by B; these alone does A read: it turns around vertices in A and walks and searches through
// triangles that lie in A, looks at the corners of the triangle across an edge, which has two of them in A,
// and finds the place of that edge there by corners, not by links. Coordinates do not change at all. The fan
// reuses the records of its region before fresh ones, which belong to the chunk alone. What a thread wrote is
// seen by the next one through the mutex of the inserter.
//
// The extended box must hold the conflict regions of the chunk's points, or too many are left over. A
// circumcircle that contains a point of the chunk's box meets a side of the box or lies inside it; conflict
// regions shrink as the mesh grows, so what the coarse mesh tells before the start stays true.

#include "Chunk.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_set>

#include "Dt2.h"
#include "diagnostics.h"
#include "links.h"
#include "tools.h"

namespace LUMO_TARO25D {

namespace {

// Beyond these, a chunk stops looking and takes the whole mesh for its box, a walk ends, and all that is left of a chunk
// goes to the calling thread: so that odd distributions of points cost little more than on one thread.
constexpr size_t MAX_GROWTH = 2000;
constexpr int MAX_STEPS = 500;
constexpr size_t MAX_DEFERRED = 100;

constexpr double BALL_MARGIN = 0.05;
constexpr double BOX_MARGIN = 1.02;
constexpr int CODE_LEAVES_BOX = 5;

/// The corner of a triangle that is neither of two given ones. Which one it is cannot be guessed, so no branch may depend
/// on it: what two of three addresses share with the third cancels out.
inline Point2* getFarCorner(const Triangle2* pT, const Point2* p, const Point2* q) {
    const auto bits = [](const Point2* pVtx) { return reinterpret_cast<std::uintptr_t>(pVtx); };
    const std::uintptr_t all = bits(pT->getCorner(0)) ^ bits(pT->getCorner(1)) ^ bits(pT->getCorner(2));
    return reinterpret_cast<Point2*>(all ^ bits(p) ^ bits(q));
}

/// The circumcircle, to within a thousandth of its radius; false for a triangle too flat for that. The
/// margins of the extended box allow for it, and unlike the circumcentre that clients get, it depends on no scale.
bool getBall(const Triangle2* pT, Point2& center, double& radius) {
    const Point2& a = *pT->getCorner(0);
    const double ux = pT->getCorner(1)->x() - a.x(), uy = pT->getCorner(1)->y() - a.y();
    const double vx = pT->getCorner(2)->x() - a.x(), vy = pT->getCorner(2)->y() - a.y();
    const double det = ux * vy - uy * vx, uu = ux * ux + uy * uy, vv = vx * vx + vy * vy;
    if (!(det > 1e-12 * (std::abs(ux * vy) + std::abs(uy * vx)))) return false;
    const double x = (vy * uu - uy * vv) / (2.0 * det), y = (ux * vv - vx * uu) / (2.0 * det);
    center = Point2(a.x() + x, a.y() + y, 0.0);
    // The margin is a share of the radius, or of the longest side where the radius is far greater, as at the hull.
    radius = std::sqrt(x * x + y * y);
    radius += BALL_MARGIN * std::min(radius, std::sqrt(std::max(uu, vv)));
    return std::isfinite(radius);
}

/// Whether a box covers more than half of the extent of the other one in both directions.
bool isMostOf(const Bbox2& box, const Bbox2& whole) {
    return box.getMaxX() - box.getMinX() > 0.5 * (whole.getMaxX() - whole.getMinX()) &&
           box.getMaxY() - box.getMinY() > 0.5 * (whole.getMaxY() - whole.getMinY());
}

/// How far a value is outside a range.
double distanceToRange(double value, double min, double max) { return std::max({min - value, 0.0, value - max}); }

/// Extends a box to the part of a disc that lies in the whole box: of a huge disc beyond the hull, a flat cap.
void addBall(Bbox2& box, const Point2& center, double radius, const Bbox2& whole) {
    const double dx = distanceToRange(center.x(), whole.getMinX(), whole.getMaxX());
    const double dy = distanceToRange(center.y(), whole.getMinY(), whole.getMaxY());
    const double halfX = std::sqrt(std::max(0.0, (radius - dy) * (radius + dy)));
    const double halfY = std::sqrt(std::max(0.0, (radius - dx) * (radius + dx)));
    const auto addClamped = [&](double x, double y) {
        box.add(Point2(std::clamp(x, whole.getMinX(), whole.getMaxX()), std::clamp(y, whole.getMinY(), whole.getMaxY()),
                       0.0));
    };
    addClamped(center.x() - halfX, center.y() - halfY);
    addClamped(center.x() + halfX, center.y() + halfY);
}

Bbox2 intersection(const Bbox2& a, const Bbox2& b) {
    return Bbox2(std::max(a.getMinX(), b.getMinX()), std::max(a.getMinY(), b.getMinY()),
                 std::min(a.getMaxX(), b.getMaxX()), std::min(a.getMaxY(), b.getMaxY()));
}

}  // namespace

Chunk::Chunk(Dt2* pDt2, const Bbox2& engineBox, int label, const LargeVector<IdxVtxAct*>& vItems, size_t start,
             size_t end, const Point2* pAnchor)
    : pDt2_(pDt2), label_(label), vItems_(vItems), start_(start), end_(end), pAnchor_(pAnchor), engineBox_(engineBox) {
    geomTest_.setStaticBound(1.01 * std::max({std::abs(engineBox.getMinX()), std::abs(engineBox.getMinY()),
                                              std::abs(engineBox.getMaxX()), std::abs(engineBox.getMaxY())}));
    triangles_ = pDt2->takeTriangleRecords(2 * (end - start));
}

// ---------------------------------------------------------------------------------------------------------------------
// The extended box

void Chunk::determineExtBox() {
    Bbox2 box;
    box.add(*pAnchor_);
    for (size_t i = start_; i < end_; ++i) box.add(*vItems_[i]->vtx);
    extBox_ = box;
    grow(box);
    extBox_.enlargeRanges(BOX_MARGIN);
    extBox_ = intersection(extBox_, engineBox_);
}

/// Circles that meet a common set hang together through neighbours, so the search begins at the anchor, which is in the box.
void Chunk::grow(const Bbox2& box) {
    std::vector<Triangle2*> vQueue{pAnchor_->getIncidentTriangle()};
    std::unordered_set<Triangle2*> sVisited{vQueue[0]};
    for (size_t k = 0; k < vQueue.size(); ++k) {
        if (!doesBallIntersect(box, vQueue[k])) continue;
        if (isMostOf(extBox_, engineBox_) || vQueue.size() > MAX_GROWTH) {
            extBox_ = engineBox_;  // points on a circle, for one: the chunk will run alone
            return;
        }
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vQueue[k]->getOppositeTriangle(i);
            if (pN && sVisited.insert(pN).second) vQueue.push_back(pN);
        }
    }
}

bool Chunk::doesBallIntersect(const Bbox2& box, const Triangle2* pT) {
    Point2 center;
    double radius;
    if (!getBall(pT, center, radius)) {
        for (int i = 0; i < 3; ++i) extBox_.add(*pT->getCorner(i));
        return true;
    }
    const double x = distanceToRange(center.x(), box.getMinX(), box.getMaxX());
    const double y = distanceToRange(center.y(), box.getMinY(), box.getMaxY());
    if (!(x * x + y * y <= radius * radius)) return false;
    addBall(extBox_, center, radius, engineBox_);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Insertion

void Chunk::insert() {
    state_ = CS_STARTED;
    localTriangulateRec(start_, end_, getStartTriangle());
    pDt2_->getProgress().count(end_ - start_ - numDeferred_);
    state_ = CS_DONE;
}

void Chunk::giveBackTriangles() {
    std::vector<Triangle2*> vUnused;
    while (numTrianglesUsed_ < triangles_.size()) vUnused.push_back(triangles_[numTrianglesUsed_++]);
    pDt2_->storeRecycledT(vUnused);
}

void Chunk::finalize() {
    TARO_ASSERT(state_ == CS_DONE);
    giveBackTriangles();
    if (numDeferred_ == 0) return;
    LargeVector<IdxVtxAct*> vRest;
    for (size_t i = start_; i < end_; ++i) {
        Point2* pVtx = vItems_[i]->vtx;
        const bool bDuplicate = pDt2_->getVertexVault().getOriginal(pVtx) != pVtx;
        if (!pVtx->getIncidentTriangle() && !bDuplicate) vRest.push_back(vItems_[i]);
    }
    pDt2_->triangulateRec(vRest.data(), vRest.data() + vRest.size(), pAnchor_->getIncidentTriangle());
}

void Chunk::localTriangulateRec(size_t start, size_t end, Triangle2* pStartT) {
    if (end - start <= static_cast<size_t>(Dt2::MAX_RANGE_IN_SEQUENCE)) {
        for (size_t i = start; i < end; ++i) pStartT = localInsertVertex(vItems_[i]->vtx, pStartT);
        return;
    }
    const size_t middle = start + (end - start) / 2;
    Triangle2* pIncT = localInsertVertex(vItems_[middle]->vtx, pStartT);
    localTriangulateRec(start, middle, pIncT);
    if (Triangle2* pT = vItems_[middle]->vtx->getIncidentTriangle()) pIncT = pT;
    localTriangulateRec(middle + 1, end, pIncT);
}

bool Chunk::isInBox(const Triangle2* pT) const {
    return extBox_.isInBox(*pT->getCorner(0)) && extBox_.isInBox(*pT->getCorner(1)) &&
           extBox_.isInBox(*pT->getCorner(2));
}

/// A triangle at the anchor that lies in the box; null if there is none.
Triangle2* Chunk::getStartTriangle() const {
    Triangle2* const pFirst = pAnchor_->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        if (isInBox(pT)) return pT;
        // Across the edge from the corner after next to the anchor, counterclockwise.
        pT = pT->getOppositeTriangle(incIndexBy1(pT->getIntraTriangleIndex(pAnchor_)));
    } while (pT && pT != pFirst);
    return nullptr;
}

/// Inserts a vertex, or leaves it to the calling thread, or notes a duplicate. Returns a triangle in the box
/// to go on from.
Triangle2* Chunk::localInsertVertex(Point2* pVtx, Triangle2* pHint) {
    Triangle2* pT = pHint;
    // Where so many have to be left, long walks would only delay the others.
    const bool bTry = pT && numDeferred_ < MAX_DEFERRED;
    const int code = bTry ? locateInsideConflictT(pVtx, pT) : CODE_LEAVES_BOX;
    if (code == Dt2::CODE_DUPLICATE) {
        for (int i = 0; i < 3; ++i) {
            if (*pT->getCorner(i) == *pVtx) pDt2_->getVertexVault().registerDup(pVtx, pT->getCorner(i));
        }
        return pT;
    }
    if (code == Dt2::CODE_INSIDE && collectConflictRegion(pVtx, pT)) return localInitVCheckT13(pVtx);
    ++numDeferred_;
    return pHint;
}

/// A walk like that of the engine, but a step out of the box, or too many, end it. It cannot go in circles: chunks are
/// inserted where there are no constraints, so that the mesh is Delaunay (Devillers, Pion, Teillaud 2002).
int Chunk::locateInsideConflictT(const Point2* p, Triangle2*& pT) {
    int i = 0;
    for (int numEdges = 3, numSteps = 0; numEdges > 0;) {
        const Point2 *pNext = pT->getCorner(incIndexBy1(i)), *pAfterNext = pT->getCorner(incIndexBy2(i));
        const Orientation2 ori = geomTest_.getOrientation2(pAfterNext, pNext, p);
        if (ori == ORIENTATION2_CCW) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || ++numSteps > MAX_STEPS) return CODE_LEAVES_BOX;
            const Point2* pFar = getFarCorner(pN, pNext, pAfterNext);
            if (!extBox_.isInBox(*pFar)) return CODE_LEAVES_BOX;
            pT = pN;
            i = incIndexBy1(indexOfVertex(pN, pFar));
            numEdges = 2;
            continue;
        }
        if (ori == ORIENTATION2_COLLINEAR && (*pNext == *p || *pAfterNext == *p)) return Dt2::CODE_DUPLICATE;
        i = incIndexBy1(i);
        --numEdges;
    }
    return Dt2::CODE_INSIDE;
}

/// Finds the region and its border without changing anything. Returns false if a triangle of it is not in the box.
///
/// The edges of the region are crossed in counterclockwise order: what lies across one is added to the region, with its
/// two other edges to be crossed next, or else the edge to the border. No vertex is inside a region, so no triangle is
/// reached twice.
bool Chunk::collectConflictRegion(const Point2* v, Triangle2* pHitT) {
    Triangle2* aOpenT[MAX_REGION + 2];  // the edges still to be crossed
    int aOpenIdx[MAX_REGION + 2];
    size_t numOpen = 0, regionSize = 0, borderSize = 0;
    for (int i = 2; i >= 0; --i) {
        aOpenT[numOpen] = pHitT;
        aOpenIdx[numOpen++] = i;
    }
    aRegion_[regionSize++] = pHitT;
    while (numOpen > 0) {
        const Triangle2* pT = aOpenT[--numOpen];
        const int i = aOpenIdx[numOpen];
        Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        Triangle2* pN = pT->getOppositeTriangle(i);
        const Point2* pFar = pN ? getFarCorner(pN, pSrc, pTrg) : nullptr;
        const int j = pN ? indexOfVertex(pN, pFar) : 0;
        if (pN && geomTest_.circleInc(pFar, pTrg, pSrc, v)) {
            if (regionSize == MAX_REGION || !extBox_.isInBox(*pFar)) return false;
            aRegion_[regionSize++] = pN;
            aOpenT[numOpen] = aOpenT[numOpen + 1] = pN;
            aOpenIdx[numOpen] = incIndexBy2(j);
            aOpenIdx[numOpen + 1] = incIndexBy1(j);
            numOpen += 2;
        } else {
            aBorderSrc_[borderSize] = pSrc;
            aBorderOuterT_[borderSize] = pN;
            aBorderOuterIdx_[borderSize++] = j;
        }
    }
    regionSize_ = regionSize;
    borderSize_ = borderSize;
    return true;
}

Triangle2* Chunk::localCreateTriangleMT() {
    TARO_ASSERT(numTrianglesUsed_ < triangles_.size());
    return triangles_[numTrianglesUsed_++];
}

/// Replaces the region by a fan from v to its border. Returns a triangle of v.
Triangle2* Chunk::localInitVCheckT13(Point2* v) {
    const size_t numNew = borderSize_;
    while (regionSize_ < numNew) aRegion_[regionSize_++] = localCreateTriangleMT();
    aBorderSrc_[numNew] = aBorderSrc_[0];
    for (size_t k = 0; k < numNew; ++k) {
        Triangle2 *pNew = aRegion_[k], *pOuterT = aBorderOuterT_[k];
        pNew->setCorner(0, v);
        pNew->setCorner(1, aBorderSrc_[k]);
        pNew->setCorner(2, aBorderSrc_[k + 1]);
        pNew->setOppositeTriangle(0, pOuterT);
        pNew->setOppositeTriangle(1, aRegion_[k + 1 < numNew ? k + 1 : 0]);
        pNew->setOppositeTriangle(2, aRegion_[k > 0 ? k - 1 : numNew - 1]);
        if (pOuterT) pOuterT->setOppositeTriangle(aBorderOuterIdx_[k], pNew);
        aBorderSrc_[k]->setIncidentTriangle(pNew);
    }
    v->setIncidentTriangle(aRegion_[0]);
    return aRegion_[0];
}

}  // namespace LUMO_TARO25D
