// Constraint graphs: the segments of one batch, their directions, and whether they make one closed chain.
//
// Segments store their ends in the order of addresses, so each segment of a graph, split ones and pieces included,
// stores whether the direction of the graph is the reverse. A split hands the direction of the parent down to both
// children; the child at the source comes first. In this order the leaves below the segments of a chain are again a
// chain.
//
// A batch is a polygon if every vertex joins two segments and one walk from segment to segment uses all of them; only
// ends count, not geometry. The walk starts at the vertex with the smallest x, then y, which is a strictly convex
// corner of any simple polygon, so that the turn there gives the counterclockwise direction. O(n log n), and O(n) for a
// batch in which that vertex does not join two segments.

#include "taro25d/ConstraintGraph2.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "support/PointerMap.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Visualizer2.h"

namespace LUMO_TARO25D {

namespace {

Point2* getOtherEnd(const ConstraintSegment2* pCSeg, const Point2* pEnd) {
    return pCSeg->getSrc() == pEnd ? pCSeg->getTrg() : pCSeg->getSrc();
}

bool hasEnd(const ConstraintSegment2* pCSeg, const Point2* pVtx) {
    return pCSeg->getSrc() == pVtx || pCSeg->getTrg() == pVtx;
}

const Point2* getLeftmostEnd(const std::vector<ConstraintSegment2*>& vCSegs) {
    const Point2* pLeftmost = vCSegs.front()->getSrc();
    for (const ConstraintSegment2* pCSeg : vCSegs) {
        for (const Point2* pEnd : {pCSeg->getSrc(), pCSeg->getTrg()}) {
            if (*pEnd < *pLeftmost) pLeftmost = pEnd;
        }
    }
    return pLeftmost;
}

/// The segments at each vertex.
class Incidence {
  public:
    explicit Incidence(const std::vector<ConstraintSegment2*>& vCSegs) {
        vEntries_.reserve(2 * vCSegs.size());
        CancelPoint<> cancelPoint;
        for (ConstraintSegment2* pCSeg : vCSegs) {
            cancelPoint.pass();
            vEntries_.emplace_back(pCSeg->getSrc(), pCSeg);
            vEntries_.emplace_back(pCSeg->getTrg(), pCSeg);
        }
        std::sort(vEntries_.begin(), vEntries_.end(), withCancelPoints(before));
    }

    /// The segment that follows pCSeg in a chain through a vertex; null unless exactly two segments meet there.
    ConstraintSegment2* getNext(const ConstraintSegment2* pCSeg, const Point2* pVtx) const {
        const auto range = std::equal_range(vEntries_.begin(), vEntries_.end(), Entry(pVtx, nullptr), before);
        if (range.second - range.first != 2) return nullptr;
        ConstraintSegment2 *pFirst = range.first->second, *pSecond = (range.first + 1)->second;
        if (pFirst != pCSeg && pSecond != pCSeg) return refuse("Impossible case1!");
        if (pFirst == pSecond) return refuse("Impossible case2!");
        return pFirst == pCSeg ? pSecond : pFirst;
    }

    static ConstraintSegment2* refuse(const char* message) {
        warning("ConstraintGraph2::checkAndSortPolygon()", message);
        return nullptr;
    }

  private:
    using Entry = std::pair<const Point2*, ConstraintSegment2*>;
    static bool before(const Entry& a, const Entry& b) { return std::less<>()(a.first, b.first); }

    std::vector<Entry> vEntries_;
};

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Construction

ConstraintGraph2::~ConstraintGraph2() = default;

ConstraintGraph2::ConstraintGraph2(Dt2* pDt2, const std::vector<ConstraintSegment2*>& vCSegs,
                                   ConstraintInsertionStrategy cis)
    : pDt2_(pDt2), pGeomTest_(&pDt2->getGeomTest()), cis_(cis) {
    takeSegments(vCSegs, [](const ConstraintSegment2*) { return false; });
    bOriented_ = bPolygon_;
}

ConstraintGraph2::ConstraintGraph2(Dt2* pDt2, const std::vector<ConstraintSegment2*>& vCSegs,
                                   const std::map<VertexPair, bool>& mPPReverse, ConstraintInsertionStrategy cis)
    : pDt2_(pDt2), pGeomTest_(&pDt2->getGeomTest()), cis_(cis), bOriented_(true) {
    takeSegments(vCSegs, [&mPPReverse](const ConstraintSegment2* pCSeg) {
        const auto q_it = mPPReverse.find(VertexPair(pCSeg->getSrc(), pCSeg->getTrg()));
        TARO_ASSERT_TEXT(q_it != mPPReverse.end(), "q_it!=mPPReverse.end()");
        return q_it->second;
    });
}

ConstraintGraph2::ConstraintGraph2(Dt2* pDt2, const ConstraintGraph2& other,
                                   const PointerMap<ConstraintSegment2*>& mSegments)
    : pDt2_(pDt2),
      pGeomTest_(&pDt2->getGeomTest()),
      cis_(other.cis_),
      bPolygon_(other.bPolygon_),
      vPasses_(other.vPasses_),
      bOriented_(other.bOriented_),
      name_(other.name_) {
    // A graph whose removal was cancelled may have lost segments.
    vCSegParents_.reserve(other.vCSegParents_.size());
    for (const ConstraintSegment2* pCSeg : other.vCSegParents_) {
        if (ConstraintSegment2* const* ppCopy = mSegments.find(pCSeg)) vCSegParents_.push_back(*ppCopy);
    }
}

/// The work of a constructor: a graph whose construction fails owns nothing, and segments do not know it.
template <class IsReverse>
void ConstraintGraph2::takeSegments(const std::vector<ConstraintSegment2*>& vCSegs, const IsReverse& isReverse) {
    try {
        const std::vector<ConstraintSegment2*> vProperCSegs = init(vCSegs);
        Directions vDirections;
        if (!bPolygon_) vDirections.reserve(vProperCSegs.size());
        for (ConstraintSegment2* pCSeg : vProperCSegs) {
            const bool bReverse = isReverse(pCSeg);
            if (!bPolygon_) vDirections.emplace_back(pCSeg, bReverse);
        }
        if (!bPolygon_) enterDirections(vDirections);
        // Last, so that a dead segment without children has failed before.
        for (ConstraintSegment2* pCSeg : vCSegs) pCSeg->addOwnerRecursive(this);
    } catch (...) {
        makeForgotten(vCSegs);
        throw;
    }
}

void ConstraintGraph2::makeForgotten(std::vector<ConstraintSegment2*> vCSegs) const {
    while (!vCSegs.empty()) {
        ConstraintSegment2* pCSeg = vCSegs.back();
        vCSegs.pop_back();
        if (!pCSeg->forgetGraph(this) || pCSeg->isAlive()) continue;
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSplit = nullptr;
        pCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
        if (pChild0) vCSegs.insert(vCSegs.end(), {pChild0, pChild1});
    }
}

std::vector<ConstraintSegment2*> ConstraintGraph2::init(const std::vector<ConstraintSegment2*>& vCSegs) {
    std::vector<ConstraintSegment2*> vProperCSegs;
    vProperCSegs.reserve(vCSegs.size());
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pCSeg : vCSegs) {
        cancelPoint.pass();
        if (*pCSeg->getSrc() != *pCSeg->getTrg()) {
            vProperCSegs.push_back(pCSeg);
        } else {
            warning("ConstraintGraph2::ConstraintGraph2()", "Ignoring a degenerate constraint segment");
        }
    }
    bPolygon_ = checkAndSortPolygon(vProperCSegs);
    return vProperCSegs;
}

void ConstraintGraph2::enterDirections(const Directions& vDirections) {
    TARO_ASSERT_TEXT(vCSegParents_.empty(), "vCSegParents.empty()");
    vCSegParents_.reserve(vDirections.size());
    CancelPoint<> cancelPoint;
    for (const auto& [pCSeg, bReverse] : vDirections) {
        cancelPoint.pass();
        vCSegParents_.push_back(pCSeg);
        pCSeg->addDirection(this, bReverse);
    }
    for (ConstraintSegment2* pCSeg : vCSegParents_) {
        cancelPoint.pass();
        if (!pCSeg->isAlive()) setDirectionsRecursive(pCSeg);
    }
}

void ConstraintGraph2::setDirectionsRecursive(ConstraintSegment2* pCSeg) {
    std::vector<ConstraintSegment2*> vStack{pCSeg};
    while (!vStack.empty()) {
        ConstraintSegment2* pParent = vStack.back();
        vStack.pop_back();
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSrc = getOrientedSrc(pParent);
        getChildrenFrom(pSrc, pParent, pChild0, pChild1);
        Point2* pTrg = getOtherEnd(pParent, pSrc);
        // A piece that the graph knows already keeps its direction, and so do its descendants.
        const bool bNew0 = pChild0->addDirection(this, pChild0->getSrc() != pSrc);
        const bool bNew1 = pChild1->addDirection(this, pChild1->getTrg() != pTrg);
        if (bNew0 && !pChild0->isAlive()) vStack.push_back(pChild0);
        if (bNew1 && !pChild1->isAlive()) vStack.push_back(pChild1);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Polygons

bool ConstraintGraph2::checkAndSortPolygon(const std::vector<ConstraintSegment2*>& vCSegs) {
    Directions vChain;
    if (!checkAndSortPolygonSub(vCSegs, vChain)) return false;
    enterDirections(vChain);
    return true;
}

bool ConstraintGraph2::checkAndSortPolygonSub(const std::vector<ConstraintSegment2*>& vCSegs,
                                              Directions& vChain) const {
    if (vCSegs.size() < 3) return false;
    const Point2* pStart = getLeftmostEnd(vCSegs);
    std::vector<ConstraintSegment2*> vAtStart;
    std::copy_if(vCSegs.begin(), vCSegs.end(), std::back_inserter(vAtStart),
                 [pStart](const ConstraintSegment2* pCSeg) { return hasEnd(pCSeg, pStart); });
    if (vAtStart.size() != 2) return false;
    const Orientation2 turn =
        pGeomTest_->getOrientation2(pStart, getOtherEnd(vAtStart[0], pStart), getOtherEnd(vAtStart[1], pStart));
    if (turn == ORIENTATION2_COLLINEAR) return false;

    const Incidence incidence(vCSegs);
    vChain.reserve(vCSegs.size());
    ConstraintSegment2* pCSeg = vAtStart[turn == ORIENTATION2_CCW ? 0 : 1];
    CancelPoint<> cancelPoint;
    for (const Point2* pVtx = pStart; vChain.size() < vCSegs.size();) {
        cancelPoint.pass();
        vChain.emplace_back(pCSeg, pCSeg->getSrc() != pVtx);
        pVtx = getOtherEnd(pCSeg, pVtx);
        if (pVtx == pStart) return vChain.size() == vCSegs.size();
        pCSeg = incidence.getNext(pCSeg, pVtx);
        if (!pCSeg) return false;
    }
    Incidence::refuse("Impossible case3!");
    return false;
}

void ConstraintGraph2::getPolygonVertices(std::vector<Point2*>& vVertices) const {
    if (!bPolygon_) return;
    std::vector<ConstraintSegment2*> vChain;
    getAliveConstraintChain(vChain);
    for (size_t i = 0; i < vChain.size(); ++i) {
        Point2* pSrc = getOrientedSrc(vChain[i]);
        vVertices.push_back(pSrc);
        if (getOtherEnd(vChain[i], pSrc) == getOrientedSrc(vChain[(i + 1) % vChain.size()])) continue;
        Note("ConstraintGraph2::getPolygonVertices()", ML_ERROR)
            << "BUG in ConstraintGraph2::getPolygonVertices\nFor constraint segment pCSeg: " << *vChain[i]
            << "\nownerCG=" << this << "\n";
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Directions and pieces

bool ConstraintGraph2::isConstraint(ConstraintSegment2* pCSeg) const {
    return pCSeg && pCSeg->isAlive() && pCSeg->getDirection(this).has_value();
}

bool ConstraintGraph2::isConstraint(Point2* p0, Point2* p1) const {
    if (p0 == p1) return false;
    const auto ends = std::minmax(p0, p1, std::less<>());
    // This temporary segment uses up a label.
    const ConstraintSegment2 key(ends.first, ends.second, CIS_CONFORMING_SURFACE_Z);
    return isConstraint(pDt2_->getAliveConstraintSegment(key.getSrc(), key.getTrg()));
}

bool ConstraintGraph2::isReverse(ConstraintSegment2* pCSeg) const { return getOrientedSrc(pCSeg) != pCSeg->getSrc(); }

Point2* ConstraintGraph2::getOrientedSrc(const ConstraintSegment2* pCSeg) const {
    const std::optional<bool> reverse = pCSeg ? pCSeg->getDirection(this) : std::nullopt;
    TARO_ASSERT_TEXT(reverse.has_value(), "q_it!=mCSegReverse.end()");
    return *reverse ? pCSeg->getTrg() : pCSeg->getSrc();
}

void ConstraintGraph2::getDirectChildren(ConstraintSegment2* pParent, ConstraintSegment2*& pChild0,
                                         ConstraintSegment2*& pChild1) const {
    TARO_ASSERT_TEXT(pParent, "pParent!=__null");
    if (!pParent->isAlive()) return getChildrenFrom(getOrientedSrc(pParent), pParent, pChild0, pChild1);
    Point2* pSplit = nullptr;
    pParent->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);  // warns
}

void ConstraintGraph2::getChildrenFrom(const Point2* pSrc, ConstraintSegment2* pParent, ConstraintSegment2*& pChild0,
                                       ConstraintSegment2*& pChild1) {
    ConstraintSegment2 *pKid0 = nullptr, *pKid1 = nullptr;
    Point2* pSplit = nullptr;
    pParent->getChildrenAndSplitPoint(pKid0, pKid1, pSplit);
    TARO_ASSERT_TEXT(pKid0 && pKid1, "pKid0!=__null && pKid1!=__null");
    const Point2* pTrg = getOtherEnd(pParent, pSrc);
    pChild0 = hasEnd(pKid0, pSrc) ? pKid0 : pKid1;
    pChild1 = hasEnd(pKid0, pSrc) ? pKid1 : pKid0;
    TARO_ASSERT_TEXT(hasEnd(pChild0, pSrc), "pChild0->getSrc()==pSrc || pChild0->getTrg()==pSrc");
    TARO_ASSERT_TEXT(hasEnd(pChild1, pTrg), "pChild1->getSrc()==pTrg || pChild1->getTrg()==pTrg");
}

void ConstraintGraph2::getAliveConstraintChain(std::vector<ConstraintSegment2*>& vAliveCSegs) const {
    std::vector<ConstraintSegment2*> vStack(vCSegParents_.rbegin(), vCSegParents_.rend());
    CancelPoint<> cancelPoint;
    while (!vStack.empty()) {
        cancelPoint.pass();
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        if (pCSeg->isAlive()) {
            vAliveCSegs.push_back(pCSeg);
            continue;
        }
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        getDirectChildren(pCSeg, pChild0, pChild1);
        vStack.push_back(pChild1);
        vStack.push_back(pChild0);
    }
}

void ConstraintGraph2::getOriginalConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    vCSegs.insert(vCSegs.end(), vCSegParents_.begin(), vCSegParents_.end());
}

void ConstraintGraph2::getChildConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pCSeg : vCSegParents_) {
        cancelPoint.pass();
        appendAlivePieces(pCSeg, vCSegs);
    }
}

void ConstraintGraph2::setPasses(const std::vector<bool>& vReverse) {
    TARO_ASSERT(vReverse.size() == vCSegParents_.size());
    vPasses_ = vReverse;
}

/// Walks along each segment by itself: where constraints have been bent to near vertices, two segments may share a
/// piece that they pass in opposite directions.
void ConstraintGraph2::getDirectedPieces(std::vector<std::pair<Point2*, Point2*>>& vPieces) const {
    std::vector<ConstraintSegment2*> vStack;
    CancelPoint<> cancelPoint;
    for (size_t k = 0; k < vCSegParents_.size(); ++k) {
        cancelPoint.pass();
        ConstraintSegment2* pOriginal = vCSegParents_[k];
        const bool bReverse = vPasses_.empty() ? isReverse(pOriginal) : vPasses_[k];
        Point2* pAt = bReverse ? pOriginal->getTrg() : pOriginal->getSrc();
        for (vStack.push_back(pOriginal); !vStack.empty();) {
            ConstraintSegment2* pCSeg = vStack.back();
            vStack.pop_back();
            if (pCSeg->isAlive()) {
                vPieces.emplace_back(pAt, getOtherEnd(pCSeg, pAt));
                pAt = vPieces.back().second;
                continue;
            }
            ConstraintSegment2 *pFirst = nullptr, *pSecond = nullptr;
            getChildrenFrom(pAt, pCSeg, pFirst, pSecond);
            vStack.insert(vStack.end(), {pSecond, pFirst});
        }
    }
}

void ConstraintGraph2::updateSplittedConstraintSegment(ConstraintSegment2* pParentCSeg, bool bUpdateManager) {
    TARO_ASSERT_TEXT(!pParentCSeg->isAlive(), "!pParentCSeg->isAlive()");
    setDirectionsRecursive(pParentCSeg);  // fails on a segment that the graph does not know
    ConstraintSegment2 *pCSeg0 = nullptr, *pCSeg1 = nullptr;
    Point2* pSplit = nullptr;
    pParentCSeg->getChildrenAndSplitPoint(pCSeg0, pCSeg1, pSplit);
    TARO_ASSERT_TEXT(pSplit != nullptr, "pSplit!=__null");
    if (bUpdateManager) pDt2_->getConstraintManager()->updateConstraintSegment(pParentCSeg, pCSeg0, pCSeg1);
}

bool ConstraintGraph2::dbg_hasDirection(const ConstraintSegment2* pCSeg) const {
    return pCSeg->getDirection(this).has_value();
}

// ---------------------------------------------------------------------------------------------------------------------
// Drawing

void ConstraintGraph2::show(const std::string& filename) const {
    std::vector<ConstraintSegment2*> vPieces;
    getChildConstraintSegments(vPieces);
    Visualizer2 visualizer(filename);
    visualizer.addObject(vPieces, Color(CRED));
    visualizer.writeFile();
}

void ConstraintGraph2::show(Visualizer2* pVisualizer, const Color& color) const {
    if (!pVisualizer) return;
    std::vector<ConstraintSegment2*> vPieces;
    getChildConstraintSegments(vPieces);
    pVisualizer->addObject(vPieces, color);
}

}  // namespace LUMO_TARO25D
