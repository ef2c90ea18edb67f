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

namespace {

// Flags of records: the graph owns the segment; it knows its direction; it runs from target to source.
constexpr std::uintptr_t OWNER = 1, DIRECTED = 2, REVERSE = 4, ALL_FLAGS = OWNER | DIRECTED | REVERSE;

using Records = std::vector<std::uintptr_t>;

std::uintptr_t makeRecord(const ConstraintGraph2* pGraph, std::uintptr_t flags) {
    return reinterpret_cast<std::uintptr_t>(pGraph) | flags;
}
ConstraintGraph2* getGraph(std::uintptr_t record) { return reinterpret_cast<ConstraintGraph2*>(record & ~ALL_FLAGS); }
Records* getList(std::uintptr_t record) { return reinterpret_cast<Records*>(record); }

}  // namespace

static_assert(sizeof(ConstraintSegment2) == 64, "networks of constraints have millions of segments");

std::atomic<unsigned> ConstraintSegment2::runningLabel{0};

ConstraintSegment2::ConstraintSegment2(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis)
    : p0_(p0),
      p1_(p1),
      adjacentArea_(std::numeric_limits<double>::max()),
      label_(runningLabel++),
      cis_(static_cast<std::int8_t>(cis)) {
    TARO_ASSERT_TEXT(std::less<>()(p0, p1), "p0<p1");
}

ConstraintSegment2::~ConstraintSegment2() { setRecords({}); }

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
    for (const std::uintptr_t* p = other.beginRecords(); p != other.endRecords(); ++p) {
        if (ConstraintGraph2* const* ppGraph = mGraphs.find(getGraph(*p))) addFlags(*ppGraph, *p & ALL_FLAGS);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Records of graphs

const std::uintptr_t* ConstraintSegment2::beginRecords() const {
    return records_ == 0 || (records_ & ALL_FLAGS) != 0 ? &records_ : getList(records_)->data();
}

const std::uintptr_t* ConstraintSegment2::endRecords() const {
    if (records_ == 0) return &records_;
    return (records_ & ALL_FLAGS) != 0 ? &records_ + 1 : beginRecords() + getList(records_)->size();
}

std::uintptr_t* ConstraintSegment2::findRecord(const ConstraintGraph2* pGraph) {
    const auto isOf = [pGraph](std::uintptr_t record) { return getGraph(record) == pGraph; };
    const std::uintptr_t* pEnd = endRecords();
    const std::uintptr_t* pRecord = std::find_if(beginRecords(), pEnd, isOf);
    return pRecord == pEnd ? nullptr : const_cast<std::uintptr_t*>(pRecord);
}

void ConstraintSegment2::addFlags(const ConstraintGraph2* pGraph, std::uintptr_t flags) {
    if (std::uintptr_t* pRecord = findRecord(pGraph)) {
        *pRecord |= flags;
    } else if (records_ == 0) {
        records_ = makeRecord(pGraph, flags);
    } else {
        Records vRecords(beginRecords(), endRecords());
        const std::uintptr_t record = makeRecord(pGraph, flags);
        vRecords.insert(std::upper_bound(vRecords.begin(), vRecords.end(), record), record);
        setRecords(vRecords);
    }
}

void ConstraintSegment2::dropRecord(const std::uintptr_t* pRecord) {
    if (pRecord == &records_) {
        records_ = 0;
        return;
    }
    Records vRecords(beginRecords(), endRecords());
    vRecords.erase(vRecords.begin() + (pRecord - beginRecords()));
    setRecords(vRecords);
}

void ConstraintSegment2::setRecords(const Records& vRecords) {
    Records* pNew = vRecords.size() > 1 ? new Records(vRecords) : nullptr;
    if (records_ != 0 && (records_ & ALL_FLAGS) == 0) delete getList(records_);
    records_ = pNew ? reinterpret_cast<std::uintptr_t>(pNew) : vRecords.empty() ? 0 : vRecords[0];
}

/// Takes over the records of a segment of which this one, which has none, is a new piece. Returns false, with no
/// effect, if one of the graphs has no direction.
bool ConstraintSegment2::inheritRecords(const ConstraintSegment2& parent, bool bReversed) {
    const auto isDirected = [](std::uintptr_t record) { return (record & DIRECTED) != 0; };
    if (!std::all_of(parent.beginRecords(), parent.endRecords(), isDirected)) return false;
    const std::uintptr_t turn = bReversed ? REVERSE : 0;
    if ((parent.records_ & ALL_FLAGS) != 0) {
        records_ = parent.records_ ^ turn;
        return true;
    }
    Records vRecords(parent.beginRecords(), parent.endRecords());
    for (std::uintptr_t& record : vRecords) record ^= turn;
    setRecords(vRecords);
    return true;
}

bool ConstraintSegment2::addDirection(const ConstraintGraph2* pGraph, bool bReverse) {
    if (getDirection(pGraph)) return false;
    addFlags(pGraph, bReverse ? DIRECTED | REVERSE : DIRECTED);
    return true;
}

std::optional<bool> ConstraintSegment2::getDirection(const ConstraintGraph2* pGraph) const {
    const std::uintptr_t* pRecord = const_cast<ConstraintSegment2*>(this)->findRecord(pGraph);
    if (!pRecord || (*pRecord & DIRECTED) == 0) return std::nullopt;
    return (*pRecord & REVERSE) != 0;
}

bool ConstraintSegment2::forgetGraph(const ConstraintGraph2* pGraph) {
    std::uintptr_t* pRecord = findRecord(pGraph);
    if (pRecord) dropRecord(pRecord);
    return pRecord;
}

std::vector<ConstraintGraph2*> ConstraintSegment2::getOwners() const {
    std::vector<ConstraintGraph2*> vOwners;
    for (const std::uintptr_t* p = beginRecords(); p != endRecords(); ++p) {
        if ((*p & OWNER) != 0) vOwners.push_back(getGraph(*p));
    }
    return vOwners;
}

size_t ConstraintSegment2::getNumberOfOwners() const {
    return static_cast<size_t>(
        std::count_if(beginRecords(), endRecords(), [](std::uintptr_t record) { return (record & OWNER) != 0; }));
}

ConstraintSegment2::State ConstraintSegment2::getState() const {
    return {Records(beginRecords(), endRecords()), age_, bAlive_, aChildren_};
}

void ConstraintSegment2::setState(const State& state) {
    setRecords(std::get<0>(state));
    std::tie(std::ignore, age_, bAlive_, aChildren_) = state;
}

// ---------------------------------------------------------------------------------------------------------------------
// Owners, age and descendants

void ConstraintSegment2::addOwnerRecursive(ConstraintGraph2* pGraph) {
    std::vector<ConstraintSegment2*> vStack{this};
    while (!vStack.empty()) {
        ConstraintSegment2* pCSeg = vStack.back();
        vStack.pop_back();
        pCSeg->addFlags(pGraph, OWNER);
        if (pCSeg->isAlive()) continue;
        ConstraintSegment2 *pKid0 = nullptr, *pKid1 = nullptr;
        Point2* pSplit = nullptr;
        pCSeg->getChildrenAndSplitPoint(pKid0, pKid1, pSplit);
        TARO_ASSERT_TEXT(pKid0 && pKid1, "pKid0!=__null && pKid1!=__null");
        vStack.push_back(pKid1);
        vStack.push_back(pKid0);
    }
}

bool ConstraintSegment2::removeOwner(ConstraintGraph2* pGraph) {
    std::uintptr_t* pRecord = findRecord(pGraph);
    if (!pRecord || (*pRecord & OWNER) == 0) return false;
    *pRecord &= ~OWNER;
    if ((*pRecord & ALL_FLAGS) == 0) dropRecord(pRecord);
    return true;
}

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

Dt2* ConstraintSegment2::getTriangulation() const {
    const auto isOwner = [](std::uintptr_t record) { return (record & OWNER) != 0; };
    return getGraph(*std::find_if(beginRecords(), endRecords(), isOwner))->getDt2();
}

bool ConstraintSegment2::canBeSplitAt(Point2* pSplit) const {
    if (getTriangulation()->getConstraintManager()->canBeSplitAt(this, pSplit)) return true;
    warnOfInaccuracy();
    return false;
}

void ConstraintSegment2::createChildren(Point2* pSplit) {
    ConstraintMgr* pManager = getTriangulation()->getConstraintManager();
    ConstraintSegment2* pChild0 = pManager->addConstraintSegment(p0_, pSplit, getCIS());
    aChildren_ = {pChild0, pManager->addConstraintSegment(p1_, pSplit, getCIS())};
    for (ConstraintSegment2* pChild : aChildren_) pChild->noteAge(age_);
    const auto isNew = [](const ConstraintSegment2* pChild) { return pChild->records_ == 0 && pChild->isAlive(); };
    const bool bInherited = std::all_of(aChildren_.begin(), aChildren_.end(), isNew) &&
                            aChildren_[0]->inheritRecords(*this, aChildren_[0]->p0_ == pSplit) &&
                            aChildren_[1]->inheritRecords(*this, aChildren_[1]->p1_ == pSplit);
    if (!bInherited) tellOwners();
    for (ConstraintSegment2* pChild : aChildren_) pManager->getEstablisher().getConformingInserter().suspect(pChild);
}

/// Makes all owners owners of the children too, which then get their directions.
void ConstraintSegment2::tellOwners() {
    const std::vector<ConstraintGraph2*> vOwners = getOwners();
    for (ConstraintGraph2* pOwner : vOwners) {
        for (ConstraintSegment2* pChild : aChildren_) pChild->addOwnerRecursive(pOwner);
    }
    for (ConstraintGraph2* pOwner : vOwners) pOwner->updateSplittedConstraintSegment(this, pOwner == vOwners[0]);
}

bool ConstraintSegment2::split_combinatorialOnly(Point2* pSplit) {
    TARO_ASSERT_TEXT(pSplit != nullptr, "pSplit!=__null");
    TARO_ASSERT(isAlive());
    TARO_ASSERT_TEXT(p0_ != pSplit && p1_ != pSplit, "p0!=pSplit && p1!=pSplit");
    TARO_ASSERT_TEXT(getNumberOfOwners() > 0, "!sOwners.empty()");
    const MessageScope scope(&getTriangulation()->getProgress());
    if (!canBeSplitAt(pSplit)) return false;
    createChildren(pSplit);
    return true;
}

Point2* ConstraintSegment2::insertAndSplit(const Point2& p) {
    TARO_ASSERT_TEXT(bAlive_, "bAlive");
    TARO_ASSERT_TEXT(!aChildren_[0], "vChildren.empty()");
    TARO_ASSERT_TEXT(getNumberOfOwners() > 0, "!sOwners.empty()");
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
    TARO_ASSERT_TEXT(getNumberOfOwners() > 0, "!sOwners.empty()");
    Dt2* pOwnerDt = getTriangulation();
    pOwnerDt->getInnerVtxMgr().removePreviouslyInsertedVertices(pSplit, sqDistance2D(*pSplit, *p0_), pOwnerDt);
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Printing

bool ConstraintSegment2::dbg_hasDirection() const {
    Note note("ConstraintSegment2::dbg_hasDirection()");
    note << "ConstraintSegment2::dbg_hasDirection(), label " << label_ << ", " << (isAlive() ? "alive" : "dead")
         << ", numOwners=" << getNumberOfOwners() << "\n";
    bool bAllHave = true;
    for (const ConstraintGraph2* pOwner : getOwners()) {
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
