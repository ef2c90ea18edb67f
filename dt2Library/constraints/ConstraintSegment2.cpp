// Constraint segments and their split trees.
//
// A split gives a segment two children that meet at the split vertex; later crossings, joints and refinement split the
// leaves. The manager holds one segment for each pair of vertices, so two overlapping segments share their common
// pieces: a child can have several parents, and is as old as the oldest of them. A segment along many collinear
// vertices is cut at one after the other, which makes a tree as deep as their number; walks over a tree therefore use a
// stack of their own, not recursion.

#include "taro25d/ConstraintSegment2.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>
#include <limits>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Color.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

std::atomic<unsigned> ConstraintSegment2::runningLabel{0};

ConstraintSegment2::ConstraintSegment2(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis)
    : label_(runningLabel++), p0_(p0), p1_(p1), cis_(cis), adjacentArea_(std::numeric_limits<double>::max()) {
    TARO_ASSERT_TEXT(std::less<>()(p0, p1), "p0<p1");
}

void ConstraintSegment2::copyFrom(const ConstraintSegment2& other, const PointerMap<ConstraintSegment2*>& mSegments,
                                  const PointerMap<ConstraintGraph2*>& mGraphs) {
    age_ = other.age_;
    bAlive_ = other.bAlive_;
    adjacentArea_ = other.adjacentArea_;
    for (size_t i = 0; i < aChildren_.size(); ++i) {
        if (!other.aChildren_[i]) continue;
        ConstraintSegment2* const* ppChild = mSegments.find(other.aChildren_[i]);
        if (!ppChild) {  // a removal was cancelled that discards pieces before their parent
            aChildren_ = {};
            return kill();
        }
        aChildren_[i] = *ppChild;
    }
    for (const ConstraintGraph2* pOwner : other.sOwners_) sOwners_.insert(*mGraphs.find(pOwner));
}

// ---------------------------------------------------------------------------------------------------------------------
// Owners, age and descendants

void ConstraintSegment2::addOwnerRecursive(ConstraintGraph2* pGraph) {
    std::vector<ConstraintSegment2*> vStack{this};
    while (!vStack.empty()) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        pCSeg->sOwners_.insert(pGraph);
        if (pCSeg->isAlive()) continue;
        ConstraintSegment2 *pKid0 = nullptr, *pKid1 = nullptr;
        Point2* pSplit = nullptr;
        pCSeg->getChildrenAndSplitPoint(pKid0, pKid1, pSplit);
        TARO_ASSERT_TEXT(pKid0 && pKid1, "pKid0!=__null && pKid1!=__null");
        vStack.push_back(pKid1);
        vStack.push_back(pKid0);
    }
}

bool ConstraintSegment2::removeOwner(ConstraintGraph2* pGraph) { return sOwners_.erase(pGraph) > 0; }

/// A descendant is never younger than its ancestors, so the walk ends at segments that are as old already.
void ConstraintSegment2::noteAge(const Age& age) {
    std::vector<ConstraintSegment2*> vStack;  // needs no memory where there are no children
    const auto note = [&](ConstraintSegment2* pCSeg) {
        if (!(age < pCSeg->age_)) return;
        pCSeg->age_ = age;
        if (pCSeg->aChildren_[0]) vStack.insert(vStack.end(), pCSeg->aChildren_.begin(), pCSeg->aChildren_.end());
    };
    for (note(this); !vStack.empty();) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        note(pCSeg);
    }
}

void ConstraintSegment2::getChildrenRec(std::vector<ConstraintSegment2*>& vChildren) {
    std::vector<ConstraintSegment2*> vStack;
    const auto pushChildren = [&vStack](const ConstraintSegment2* pCSeg) {
        TARO_ASSERT_TEXT(pCSeg->aChildren_[0] != nullptr, "vChildren.size()==2");
        vStack.insert(vStack.end(), pCSeg->aChildren_.rbegin(), pCSeg->aChildren_.rend());
    };
    pushChildren(this);
    while (!vStack.empty()) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        if (pCSeg->isAlive()) {
            vChildren.push_back(pCSeg);
        } else {
            pushChildren(pCSeg);
        }
    }
}

void ConstraintSegment2::getChildrenAndSplitPoint(ConstraintSegment2*& pChild0, ConstraintSegment2*& pChild1,
                                                  Point2*& pSplit) {
    if (isAlive()) warning("ConstraintSegment2::getChildrenAndSplitPoint()", "*this is still alive!");
    if (!aChildren_[0]) return;
    pChild0 = aChildren_[0];
    pChild1 = aChildren_[1];
    pSplit = nullptr;
    for (Point2* pEnd : {pChild0->p0_, pChild0->p1_}) {
        if (pEnd == pChild1->p0_ || pEnd == pChild1->p1_) pSplit = pEnd;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Splitting

Dt2* ConstraintSegment2::getTriangulation() const { return (*sOwners_.begin())->getDt2(); }

bool ConstraintSegment2::canBeSplitAt(Point2* pSplit) const {
    if (getTriangulation()->getConstraintManager()->canBeSplitAt(this, pSplit)) return true;
    warnOfInaccuracy();
    return false;
}

void ConstraintSegment2::createChildren(Point2* pSplit) {
    ConstraintMgr* pManager = getTriangulation()->getConstraintManager();
    ConstraintSegment2* pChild0 = pManager->addConstraintSegment(p0_, pSplit, cis_);
    aChildren_ = {pChild0, pManager->addConstraintSegment(p1_, pSplit, cis_)};
    for (ConstraintSegment2* pChild : aChildren_) pChild->noteAge(age_);
    for (ConstraintGraph2* pOwner : sOwners_) {
        for (ConstraintSegment2* pChild : aChildren_) pChild->addOwnerRecursive(pOwner);
    }
    for (ConstraintGraph2* pOwner : sOwners_) {
        pOwner->updateSplittedConstraintSegment(this, pOwner == *sOwners_.begin());
    }
    for (ConstraintSegment2* pChild : aChildren_) pManager->getEstablisher().getConformingInserter().suspect(pChild);
}

bool ConstraintSegment2::split_combinatorialOnly(Point2* pSplit) {
    TARO_ASSERT_TEXT(pSplit != nullptr, "pSplit!=__null");
    TARO_ASSERT(isAlive());
    TARO_ASSERT_TEXT(p0_ != pSplit && p1_ != pSplit, "p0!=pSplit && p1!=pSplit");
    TARO_ASSERT_TEXT(!sOwners_.empty(), "!sOwners.empty()");
    const MessageScope scope(&getTriangulation()->getProgress());
    if (!canBeSplitAt(pSplit)) return false;
    createChildren(pSplit);
    return true;
}

Point2* ConstraintSegment2::insertAndSplit(const Point2& p) {
    TARO_ASSERT_TEXT(bAlive_, "bAlive");
    TARO_ASSERT_TEXT(!aChildren_[0], "vChildren.empty()");
    TARO_ASSERT_TEXT(!sOwners_.empty(), "!sOwners.empty()");
    Dt2* pOwnerDt = getTriangulation();
    TARO_ASSERT_TEXT(pOwnerDt != nullptr, "pOwnerDt!=__null");
    const MessageScope scope(&pOwnerDt->getProgress());
    if (p == *p0_ || p == *p1_) return nullptr;
    if (isFinite(p) && isOffSegment(*p0_, *p1_, p)) {
        warning("ConstraintSegment2::insertAndSplit()", "the point is not on the segment, nothing is inserted");
        return nullptr;
    }

    const NoStopScope noStop;
    kill();
    Point2* pSplit = pOwnerDt->insert(p);
    // A refused split means that the vertex existed before, so the mesh is unchanged.
    if (!pSplit || pSplit == p0_ || pSplit == p1_ || !canBeSplitAt(pSplit)) unkill();
    TARO_ASSERT_TEXT(pSplit != nullptr, "pSplit!=__null");
    if (bAlive_) return nullptr;
    // If the vertex is beside the edge, the edge is still in the mesh, but no longer a constraint.
    pOwnerDt->killAndUnestablishConstraintSegment(this);
    createChildren(pSplit);
    pOwnerDt->getConstraintManager()->getEstablisher().establish({aChildren_[1], aChildren_[0]});
    if (pOwnerDt->is2D()) pOwnerDt->bfsFlipIncident(pSplit);
    return pSplit;
}

bool ConstraintSegment2::splitAndRemovePrev(const Point2& p) {
    Point2* pSplit = insertAndSplit(p);
    if (!pSplit) return false;
    TARO_ASSERT_TEXT(!sOwners_.empty(), "!sOwners.empty()");
    Dt2* pOwnerDt = getTriangulation();
    pOwnerDt->getInnerVtxMgr().removePreviouslyInsertedVertices(pSplit, sqDistance2D(*pSplit, *p0_), pOwnerDt);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Printing

bool ConstraintSegment2::dbg_hasDirection() const {
    Note note("ConstraintSegment2::dbg_hasDirection()");
    note << "ConstraintSegment2::dbg_hasDirection(), label " << label_ << ", " << (isAlive() ? "alive" : "dead")
         << ", numOwners=" << sOwners_.size() << "\n";
    bool bAllHave = true;
    for (const ConstraintGraph2* pOwner : sOwners_) {
        const bool bHas = pOwner->dbg_hasDirection(this);
        note << "For one owner CG2: " << pOwner << (bHas ? " has Direction, true\n" : " NO Direction, NOK NOK NOK\n");
        bAllHave = bAllHave && bHas;
    }
    return bAllHave;
}

std::ostream& operator<<(std::ostream& stream, const ConstraintSegment2& segment) {
    stream << "ConstraintSegment2 label " << segment.label_ << ", segment " << &segment << ": (" << segment.p0_ << ","
           << segment.p1_ << ")";
    if (segment.isAlive()) {
        stream << " [alive]\n";
    } else {
        stream << " [DEAD, numChildren=" << (segment.aChildren_[0] ? 2 : 0) << "]\n";
    }
    return stream << *segment.p0_ << "\n" << *segment.p1_ << "\nlength=" << distance2D(*segment.p0_, *segment.p1_);
}

void Visualizer2::addObject(const std::vector<ConstraintSegment2*>& vCSegs, const Color& color) {
    for (const ConstraintSegment2* pCSeg : vCSegs) {
        if (pCSeg) addObject(Segment2(*pCSeg->getSrc(), *pCSeg->getTrg()), color);
    }
}

}  // namespace LUMO_TARO25D
