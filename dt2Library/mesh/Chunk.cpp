// A chunk inserts its vertices into a mesh that other threads change at the same time, without locks.
//
// Each vertex is inserted as on one thread, by a split and Lawson flips. But before a flip the corner that it would
// bring in is tested against the extended box of the chunk. If it is outside, the flips and the split are undone in
// reverse order, and the vertex is left to the calling thread, which inserts it when all chunks have ended.
//
// Why that is safe. Chunks run at the same time only if their extended boxes, closed sets, have no point in common. The
// chunk with the box A writes, also while it undoes changes,
//   - corners and links of triangles whose three corners are in A, fresh ones included, and the incident triangle of
//     vertices in A;
//   - of a triangle around them the one link across an edge with both ends in A.
// So no other chunk writes to a triangle with two corners in A, since each of its edges has an end there; nor to the
// corners of a triangle with one corner in A, nor to its links across the two edges that end there. Only these does the
// chunk read. It starts at its anchor, a vertex in the mesh that was there before and lies in A, and turns around it
// until it finds a triangle in A. From there it walks through triangles in A and looks at their neighbours, which have
// two corners in A: all their words may be read, so that the place of a link in the neighbour is found as on one
// thread. A vertex that is inserted lies in A, in a triangle in A. Coordinates do not change at all. Fresh records
// belong to the chunk alone. The map of duplicates has a mutex of its own. A thread's writes are visible to the next
// thread through the mutex of the inserter.
//
// The extended box must contain nearly all triangles that the insertions change, or too many vertices are left over. A
// circumcircle that contains a point of the chunk's box meets the border of that box or lies inside. Circles become
// smaller as the mesh grows, so that a box computed from the coarse mesh before the start stays large enough.

#include "mesh/Chunk.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/coarseToFine.h"
#include "mesh/walk.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

// Limits that keep unusual distributions of points nearly as fast as on one thread. Beyond them a chunk takes the whole
// mesh as its box, a walk ends, the flips for a vertex are undone, and the rest of a chunk is left to the calling
// thread.
constexpr size_t MAX_GROWTH = 2000;
constexpr int MAX_STEPS = 500;
constexpr int MAX_FLIPS = 60;
constexpr size_t MAX_DEFERRED = 100;

// The box of a chunk is that of a sample of its vertices, every BOX_SAMPLE_STEP-th; vertices just outside are covered
// by the growth for the circles.
constexpr size_t BOX_SAMPLE_STEP = 8;
constexpr double BALL_MARGIN = 0.05;
constexpr double BOX_MARGIN = 1.02;
constexpr int CODE_LEAVES_BOX = 5;

/// The circumcircle in doubles, widened by BALL_MARGIN, which exceeds its error of a thousandth of the radius; false
/// for a triangle too flat for that.
bool getBall(const Triangle2* pT, Point2& center, double& radius) {
    const Point2& a = *pT->getCorner(0);
    const double ux = pT->getCorner(1)->x() - a.x(), uy = pT->getCorner(1)->y() - a.y();
    const double vx = pT->getCorner(2)->x() - a.x(), vy = pT->getCorner(2)->y() - a.y();
    const double det = ux * vy - uy * vx, uu = ux * ux + uy * uy, vv = vx * vx + vy * vy;
    if (!(det > MIN_BALL_DETERMINANT * (std::abs(ux * vy) + std::abs(uy * vx)))) return false;
    const double x = (vy * uu - uy * vv) / (2.0 * det), y = (ux * vv - vx * uu) / (2.0 * det);
    center = Point2(a.x() + x, a.y() + y, 0.0);
    // The margin is a share of the radius, or of the longer of two sides where the radius is greater still, as at the
    // hull.
    radius = std::sqrt(x * x + y * y);
    radius += BALL_MARGIN * std::min(radius, std::sqrt(std::max(uu, vv)));
    return std::isfinite(radius);
}

/// Whether a box covers more than half of the extent of the other one in both directions.
bool isMostOf(const Bbox2& box, const Bbox2& whole) {
    return box.getMaxX() - box.getMinX() > 0.5 * (whole.getMaxX() - whole.getMinX()) &&
           box.getMaxY() - box.getMinY() > 0.5 * (whole.getMaxY() - whole.getMinY());
}

/// The distance from a value to a range; 0 inside.
double distanceToRange(double value, double min, double max) { return std::max({min - value, 0.0, value - max}); }

/// Extends a box to the part of a disc that lies in the whole box; of a huge disc outside the hull this is a flat cap.
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

/// A set of triangles with open addressing: a chunk visits so few that the allocations of a standard set would
/// dominate.
class TriangleSet {
  public:
    /// Returns false if the triangle is in the set already.
    bool insert(const Triangle2* pT) {
        if (2 * numTriangles_ >= vSlots_.size()) enlarge();
        const Triangle2*& pSlot = slotOf(pT);
        if (pSlot) return false;
        pSlot = pT;
        ++numTriangles_;
        return true;
    }

  private:
    const Triangle2*& slotOf(const Triangle2* pT) {
        size_t i = reinterpret_cast<std::uintptr_t>(pT) / sizeof(Triangle2);
        for (i &= vSlots_.size() - 1; vSlots_[i] && vSlots_[i] != pT; i = (i + 1) & (vSlots_.size() - 1)) {
        }
        return vSlots_[i];
    }
    void enlarge() {
        std::vector<const Triangle2*> vOld(2 * vSlots_.size());
        vOld.swap(vSlots_);
        for (const Triangle2* pT : vOld) {
            if (pT) slotOf(pT) = pT;
        }
    }

    std::vector<const Triangle2*> vSlots_ = std::vector<const Triangle2*>(256);  // the size is a power of two
    size_t numTriangles_ = 0;
};

Bbox2 intersection(const Bbox2& a, const Bbox2& b) {
    return Bbox2(std::max(a.getMinX(), b.getMinX()), std::max(a.getMinY(), b.getMinY()),
                 std::min(a.getMaxX(), b.getMaxX()), std::min(a.getMaxY(), b.getMaxY()));
}

}  // namespace

Chunk::Chunk(Dt2* pDt2, const Bbox2& engineBox, int label, const LargeVector<IdxVtxAct*>& vItems, size_t start,
             size_t end, const Point2* pAnchor)
    : pDt2_(pDt2), label_(label), vItems_(vItems), start_(start), end_(end), pAnchor_(pAnchor), engineBox_(engineBox) {
    geomTest_.setStaticBound(1.01 * getMagnitude(engineBox));
}

// ---------------------------------------------------------------------------------------------------------------------
// The extended box

void Chunk::determineExtBox() {
    Bbox2 box;
    box.add(*pAnchor_);
    for (size_t i = start_; i < end_; i += BOX_SAMPLE_STEP) box.add(*vItems_[i]->vtx);
    extBox_ = engineBox_;  // holds everything for the walk
    Triangle2* pT = pAnchor_->getIncidentTriangle();
    const Point2 corner = box.getMinPoint();
    if (locateInsideConflictT(&corner, pT) == CODE_LEAVES_BOX) return runAlone();
    extBox_ = box;
    grow(box, pT);
    extBox_.enlargeRanges(BOX_MARGIN);
    extBox_ = intersection(extBox_, engineBox_);
}

void Chunk::runAlone() {
    extBox_ = engineBox_;
    bRunsAlone_ = true;
}

/// Triangles whose circles meet a common set are connected across edges; so all those whose circles meet the border of
/// the box are found from a triangle at one of its corners.
void Chunk::grow(const Bbox2& box, Triangle2* pStartT) {
    std::vector<Triangle2*> vQueue{pStartT};
    TriangleSet visited;
    visited.insert(pStartT);
    for (size_t k = 0; k < vQueue.size(); ++k) {
        if (!doesBallIntersect(box, vQueue[k])) continue;
        if (isMostOf(extBox_, engineBox_) || vQueue.size() > MAX_GROWTH) {
            return runAlone();
        }
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vQueue[k]->getOppositeTriangle(i);
            if (pN && visited.insert(pN)) vQueue.push_back(pN);
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
    const double inside = std::min({center.x() - box.getMinX(), box.getMaxX() - center.x(), center.y() - box.getMinY(),
                                    box.getMaxY() - center.y()});
    if (inside > radius) return false;
    addBall(extBox_, center, radius, engineBox_);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Insertion

void Chunk::insert() {
    state_ = CS_STARTED;
    localTriangulateRec(getStartTriangle());
    state_ = CS_DONE;
}

void Chunk::giveBackTriangles() {
    std::vector<Triangle2*> vUnused;
    while (numTrianglesUsed_ < triangles_.size()) vUnused.push_back(triangles_[numTrianglesUsed_++]);
    pDt2_->storeRecycledT(vUnused);
}

void Chunk::finalize() {
    TARO_ASSERT(state_ == CS_DONE || bRunsAlone_);
    giveBackTriangles();
    if (numDeferred_ == 0 && !bRunsAlone_) return;
    BulkInserter(*pDt2_).triangulateRest(vItems_.data() + start_, vItems_.data() + end_,
                                         pAnchor_->getIncidentTriangle());
}

void Chunk::countProgress() {
    pDt2_->getProgress().count(numNotReported_);
    numNotReported_ = 0;
}

void Chunk::localTriangulateRec(Triangle2* pStartT) {
    constexpr size_t MAX_NOT_REPORTED = 16;
    Triangle2* pIncT = pStartT;
    const auto goTo = [&](size_t i) {
        if (Triangle2* pT = vItems_[start_ + i]->vtx->getIncidentTriangle()) pIncT = pT;
    };
    const auto insertAt = [&](size_t i) {
        pIncT = localInsertVertex(vItems_[start_ + i]->vtx, pIncT);
        if (numNotReported_ >= MAX_NOT_REPORTED) countProgress();
    };
    coarseToFine(end_ - start_, goTo, insertAt);
    countProgress();
}

/// Nearly all points asked for are in the box, so that one branch is cheaper than four.
inline bool Chunk::isInBox(const Point2* p) const {
    const bool bRight = extBox_.getMinX() <= p->x(), bLeft = p->x() <= extBox_.getMaxX();
    const bool bAbove = extBox_.getMinY() <= p->y(), bBelow = p->y() <= extBox_.getMaxY();
    return bRight & bLeft & bAbove & bBelow;
}

bool Chunk::isInBox(const Triangle2* pT) const {
    return isInBox(pT->getCorner(0)) && isInBox(pT->getCorner(1)) && isInBox(pT->getCorner(2));
}

/// A triangle at the anchor that lies in the box; null if there is none.
Triangle2* Chunk::getStartTriangle() const {
    Triangle2* const pFirst = pAnchor_->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        if (isInBox(pT)) return pT;
        // The next triangle counterclockwise around the anchor.
        pT = pT->getOppositeTriangle(incIndexBy1(pT->getIntraTriangleIndex(pAnchor_)));
    } while (pT && pT != pFirst);
    return nullptr;
}

/// Inserts a vertex, or leaves it to the calling thread, or notes a duplicate. Returns a triangle in the box
/// to go on from.
Triangle2* Chunk::localInsertVertex(Point2* pVtx, Triangle2* pHint) {
    Triangle2* pT = pHint;
    // After many deferred vertices, further walks would only delay other chunks.
    const bool bTry = pT && numDeferred_ < MAX_DEFERRED;
    const int code = bTry ? locateInsideConflictT(pVtx, pT) : CODE_LEAVES_BOX;
    ++numNotReported_;
    if (code == CODE_DUPLICATE) {
        for (int i = 0; i < 3; ++i) {
            if (*pT->getCorner(i) == *pVtx) pDt2_->getVertexVault().registerDup(pVtx, pT->getCorner(i));
        }
        return pT;
    }
    if (code == CODE_INSIDE && localInitVCheckT13(pT, pVtx)) return pT;
    ++numDeferred_;
    --numNotReported_;
    return pHint;
}

/// A walk like that of the engine, except that it ends at a step out of the box or after MAX_STEPS. It cannot cycle:
/// without constraints, as here, the mesh is Delaunay (Devillers, Pion, Teillaud 2002).
int Chunk::locateInsideConflictT(const Point2* p, Triangle2*& pT) {
    int i = 0;
    for (int numEdges = 3, numSteps = 0; numEdges > 0;) {
        const int next = incIndexBy1(i);
        const Point2 *pNext = pT->getCorner(next), *pAfterNext = pT->getCorner(incIndexBy2(i));
        const Orientation2 ori = geomTest_.getOrientation2(pAfterNext, pNext, p);
        if (ori == ORIENTATION2_CCW) {
            const Triangle2* pOldT = pT;
            pT = pT->getOppositeTriangle(i);
            if (!pT || ++numSteps > MAX_STEPS) return CODE_LEAVES_BOX;
            const int j = indexOfNeighbour(pT, pOldT);
            if (!isInBox(pT->getCorner(j))) return CODE_LEAVES_BOX;
            i = incIndexBy1(j);
            numEdges = 2;
            continue;
        }
        if (ori == ORIENTATION2_COLLINEAR && (*pNext == *p || *pAfterNext == *p)) return CODE_DUPLICATE;
        i = next;
        --numEdges;
    }
    return CODE_INSIDE;
}

Triangle2* Chunk::localCreateTriangleMT() {
    TARO_ASSERT(numTrianglesUsed_ < triangles_.size());
    return triangles_[numTrianglesUsed_++];
}

/// Splits the triangle, which is in the box, at v, and flips. Where v is on an edge, the split leaves a flat triangle
/// there, but the edge is sure to be flipped: v is inside every circle through its ends. If a triangle outside the box
/// would have to change, or after MAX_FLIPS, undoes everything and returns false.
bool Chunk::localInitVCheckT13(Triangle2* pT, Point2* v) {
    Triangle2 *pBC = localCreateTriangleMT(), *pCA = localCreateTriangleMT();
    splitTriangle(pT, v, pBC, pCA);
    Triangle2 *aStack[MAX_FLIPS + 3], *aFlipped[MAX_FLIPS];
    int numOpen = 0, numFlips = 0;
    for (Triangle2* pNew : {pT, pBC, pCA}) aStack[numOpen++] = pNew;
    while (numOpen > 0) {
        Triangle2* pOpen = aStack[numOpen - 1];
        Triangle2* pN = pOpen->getOppositeTriangle(0);
        const int j = pN ? indexOfNeighbour(pN, pOpen) : 0;
        if (!pN || !geomTest_.circleInc(pN->getCorner(j), pOpen->getCorner(2), pOpen->getCorner(1), v)) {
            --numOpen;
            continue;
        }
        if (numFlips == MAX_FLIPS || !isInBox(pN->getCorner(j))) {
            while (numFlips > 0) unflipEdge(aFlipped[--numFlips]);
            unsplitTriangle(pT, v, pBC, pCA);
            numTrianglesUsed_ -= 2;
            return false;
        }
        flipEdge(pOpen, 0, pN, j);
        aFlipped[numFlips++] = pOpen;
        aStack[numOpen++] = pN;
    }
    return true;
}

}  // namespace LUMO_TARO25D
