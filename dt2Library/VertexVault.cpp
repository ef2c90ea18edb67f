#include "VertexVault.h"

#include <climits>
#include <cmath>
#include <iostream>

#include "Dt2.h"
#include "diagnostics.h"
#include "tools.h"

namespace LUMO_TARO25D {

namespace {

// Points are read in curve order, which is random in memory: so many reads are under way at once.
constexpr size_t PREFETCH_DISTANCE = 16;

}  // namespace

VertexVault::VertexVault(Dt2* pDt2) : pDt2_(pDt2) { itemPool_.init(3, 6250000); }

// ---------------------------------------------------------------------------------------------------------------------
// Registration

void VertexVault::addItem(unsigned idx, Point2* vtx) {
    IdxVtxAct* pItem = nullptr;
    if (vRecycledItems_.empty()) {
        pItem = itemPool_.getElement();
    } else {
        pItem = vRecycledItems_.back();
        vRecycledItems_.pop_back();
    }
    *pItem = {idx, true, vtx};
    vtx->vaultPos_ = static_cast<unsigned>(vItems_.size());
    vItems_.push_back(pItem);
    ++numItems_;
}

void VertexVault::recycle(IdxVtxAct* pItem) { vRecycledItems_.push_back(pItem); }

void VertexVault::removeAndInvalidateVtx(Point2* pVtx) {
    const size_t position = getIdxOfActiveVtx(pVtx);
    TARO_ASSERT(position != NOT_FOUND);
    ++numRemovedSinceSort_;
    pVtx->setIncidentTriangle(nullptr);
    vItems_[position]->active = false;
    --numItems_;
    pDt2_->recycleVertex(pVtx);
    if (!bFullDimensional_) sortIV(SM_ALWAYS);
}

LargeVector<KeyedIndex> VertexVault::orderPoints(const PointSource& source) const {
    const HC2& curve = pDt2_->getHilbertCurve();
    LargeVector<KeyedIndex> vKeyed;
    vKeyed.reserve(source.size());
    for (size_t i = 0; i < source.size(); ++i) {
        const Point2 point = source[i];
        if (Dt2::isFinite(point))
            vKeyed.push_back({curve.iReset(point.x(), point.y()), static_cast<std::uint32_t>(i)});
    }
    const auto pointAt = [&](size_t i) { return source[i]; };
    KeyOrder(pointAt).sort(vKeyed.data(), vKeyed.data() + vKeyed.size());
    return vKeyed;
}

void VertexVault::iReset_vector(const PointSource& source, Point2** aHandles) {
    const bool bFirst = vItems_.empty();
    const bool bSearch = !bFullDimensional_ && !bFirst;
    if (bSearch) sortIV(SM_ALWAYS);
    const LargeVector<KeyedIndex> vKeyed = orderPoints(source);
    itemPool_.expect(vKeyed.size());
    reserveMore(vItems_, vKeyed.size());
    Point2* pLast = nullptr;
    for (size_t i = 0; i < vKeyed.size(); ++i) {
        const KeyedIndex& entry = vKeyed[i];
        if (i + PREFETCH_DISTANCE < vKeyed.size()) {
            source.prefetch(vKeyed[i + PREFETCH_DISTANCE].index);
            if (aHandles) __builtin_prefetch(aHandles + vKeyed[i + PREFETCH_DISTANCE].index, 1);
        }
        const Point2 point = source[entry.index];
        if (!pLast || *pLast != point) pLast = findStoredOrCreate(entry.key, point, bSearch);
        if (aHandles) aHandles[entry.index] = pLast;
    }
    if (!bFirst) return;
    numSorted_ = vItems_.size();
    resortLimit_ = INT_MAX;
    rebuildIndex();
}

Point2* VertexVault::findStoredOrCreate(unsigned key, const Point2& point, bool bSearch) {
    if (bSearch) {
        const size_t position = getIdxOfPoint(point);
        if (position != NOT_FOUND) return vItems_[position]->vtx;
    }
    Point2* pVtx = pDt2_->createVertex(point);
    addItem(key, pVtx);
    return pVtx;
}

bool VertexVault::isSortDue() const {
    return vItems_.size() > 1.35 * numSorted_ ||
           (numRemovedSinceSort_ > 0.5 * numSorted_ && numRemovedSinceSort_ >= 1001) ||
           numItems_ > resortLimit_;
}

void VertexVault::sortIV(SortMode mode) {
    if (mode != SM_ALWAYS && !isSortDue()) return;
    numRemovedSinceSort_ = 0;
    LargeVector<KeyedIndex> vKeyed;
    vKeyed.reserve(vItems_.size());
    for (size_t i = 0; i < vItems_.size(); ++i) {
        if (vItems_[i]->active) {
            vKeyed.push_back({vItems_[i]->idx, static_cast<std::uint32_t>(i)});
        } else {
            recycle(vItems_[i]);
        }
    }
    const auto pointAt = [&](size_t i) -> const Point2& { return *vItems_[i]->vtx; };
    KeyOrder(pointAt).sort(vKeyed.data(), vKeyed.data() + vKeyed.size());
    LargeVector<IdxVtxAct*> vSorted;
    vSorted.reserve(vKeyed.size());
    for (const KeyedIndex& entry : vKeyed) vSorted.push_back(vItems_[entry.index]);
    setItems(vSorted);
    numSorted_ = vItems_.size();
    resortLimit_ = INT_MAX;  // from here on growth and removals alone decide
    rebuildIndex();
}

void VertexVault::setItems(LargeVector<IdxVtxAct*>& vItems) {
    vItems_.swap(vItems);
    for (size_t i = 0; i < vItems_.size(); ++i) vItems_[i]->vtx->vaultPos_ = static_cast<unsigned>(i);
    numItems_ = static_cast<int>(vItems_.size());
    numKnownCollinear_ = 0;
}

void VertexVault::rebuildIndex() {
    keyIndex_.build(
        0, numSorted_, [&](size_t i) { return vItems_[i]->idx; },
        [&](size_t i) -> const Point2& { return *vItems_[i]->vtx; });
}

void VertexVault::reconfiguration() {
    if (vItems_.empty()) return;
    const HC2& curve = pDt2_->getHilbertCurve();
    for (IdxVtxAct* pItem : vItems_) {
        if (pItem->active) pItem->idx = curve.iReset(pItem->vtx->x(), pItem->vtx->y());
    }
    sortIV(SM_ALWAYS);
}

// ---------------------------------------------------------------------------------------------------------------------
// Look-up

size_t VertexVault::getIdxOfPoint(const Point2& p) const {
    const unsigned key = pDt2_->getHilbertCurve().iReset(p.x(), p.y());
    const auto range = keyIndex_.find(key, p.x(), p.y());
    for (size_t i = range.first; i < range.second; ++i) {
        if (vItems_[i]->active && *vItems_[i]->vtx == p) return i;
    }
    return NOT_FOUND;
}

Point2* VertexVault::getVertexPointer(const Point2& p) const {
    const size_t position = getIdxOfPoint(p);
    if (position != NOT_FOUND) return vItems_[position]->vtx;
    for (size_t i = numSorted_; i < vItems_.size(); ++i) {
        if (vItems_[i]->active && *vItems_[i]->vtx == p) return vItems_[i]->vtx;
    }
    return nullptr;
}

size_t VertexVault::getIdxOfActiveVtx(const Point2* pVtx) const {
    const size_t position = pVtx->vaultPos_;
    const bool bHeld =
        position < vItems_.size() && vItems_[position]->active && vItems_[position]->vtx == pVtx;
    return bHeld ? position : NOT_FOUND;
}

Triangle2* VertexVault::triangleAt(size_t position) const {
    const IdxVtxAct* pItem = vItems_[position];
    return pItem->active ? pItem->vtx->getIncidentTriangle() : nullptr;
}

Triangle2* VertexVault::getCloseTriangle(unsigned idx, double x, double y) const {
    const size_t middle = keyIndex_.find(idx, x, y).first;
    for (size_t distance = 0; distance < numSorted_; ++distance) {
        if (middle + distance < numSorted_) {
            if (Triangle2* pT = triangleAt(middle + distance)) return pT;
        }
        if (distance < middle) {
            if (Triangle2* pT = triangleAt(middle - distance - 1)) return pT;
        }
    }
    return getOneValidTriangle();
}

Triangle2* VertexVault::getOneValidTriangle() const {
    for (size_t i = 0; i < vItems_.size(); ++i) {
        if (Triangle2* pT = triangleAt(i)) return pT;
    }
    return nullptr;
}

bool VertexVault::getThreeInitialPoints(Point2*& p0, Point2*& p1, Point2*& p2) {
    if (vItems_.size() < 3) return false;
    p0 = vItems_[0]->vtx;
    p1 = vItems_[1]->vtx;
    for (size_t i = std::max<size_t>(2, numKnownCollinear_); i < vItems_.size(); ++i) {
        p2 = vItems_[i]->vtx;
        const Orientation2 ori = pDt2_->getGeomTest().getOrientation2(p0, p1, p2);
        if (ori == ORIENTATION2_CW) std::swap(p1, p2);
        if (ori != ORIENTATION2_COLLINEAR) return true;
    }
    numKnownCollinear_ = vItems_.size();
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Duplicates

void VertexVault::registerDup(Point2* dup, Point2* orig) {
    if (dup == orig) return;
    const std::lock_guard<std::mutex> lock(dupMutex_);
    const bool bInserted = mDuplicates_.emplace(dup, orig).second;
    TARO_ASSERT(bInserted);
}

Point2* VertexVault::treatOneDupGetHandle(Point2* dup) {
    const auto it = mDuplicates_.find(dup);
    if (it == mDuplicates_.end()) return dup;
    Point2* pOrig = it->second;
    mDuplicates_.erase(it);
    // The duplicate was registered last.
    TARO_ASSERT(vItems_.back()->vtx == dup);
    recycle(vItems_.back());
    vItems_.pop_back();
    --numItems_;
    pDt2_->recycleVertex(dup);
    return pOrig;
}

void VertexVault::treatDupsAndHandles(Point2** aHandles, size_t numHandles) {
    if (mDuplicates_.empty()) return;
    replaceDuplicateVertexHandlesFullDim(aHandles, numHandles);
    // Duplicates are among the items of the running insertion, behind the sorted ones, and never got a
    // triangle.
    size_t numKept = numSorted_;
    for (size_t i = numSorted_; i < vItems_.size(); ++i) {
        IdxVtxAct* pItem = vItems_[i];
        if (pItem->active && !pItem->vtx->getIncidentTriangle()) {
            pDt2_->recycleVertex(pItem->vtx);
            recycle(pItem);
            --numItems_;
            continue;
        }
        if (pItem->active) pItem->vtx->vaultPos_ = static_cast<unsigned>(numKept);
        vItems_[numKept++] = pItem;
    }
    vItems_.resize(numKept);
    mDuplicates_.clear();
}

void VertexVault::replaceDuplicateVertexHandlesFullDim(Point2** aHandles, size_t numHandles) {
    for (size_t i = 0; i < numHandles; ++i) {
        if (!aHandles[i] || aHandles[i]->getIncidentTriangle()) continue;
        const auto it = mDuplicates_.find(aHandles[i]);
        if (it != mDuplicates_.end()) aHandles[i] = it->second;
    }
}

void VertexVault::debugDups() const {
    for (const auto& entry : mDuplicates_) std::cout << *entry.first << " -> " << *entry.second << "\n";
}

// ---------------------------------------------------------------------------------------------------------------------
// Access

Bbox2 VertexVault::computeBoundingBox() const {
    Bbox2 box;
    for (const IdxVtxAct* pItem : vItems_) {
        if (pItem->active) box.add(*pItem->vtx);
    }
    return box;
}

void VertexVault::getVertexPointers(std::vector<Point2*>& vVertices) const {
    vVertices.reserve(vVertices.size() + computeNumberOfPoints());
    for (const IdxVtxAct* pItem : vItems_) {
        if (pItem->active) vVertices.push_back(pItem->vtx);
    }
}

void VertexVault::showData(const std::string& name) const {
    std::cout << "VertexVault " << name << ": " << vItems_.size() << " items, " << numItems_ << " active, "
              << numSorted_ << " sorted\n";
    for (const IdxVtxAct* pItem : vItems_) {
        std::cout << pItem->idx << (pItem->active ? " active " : " removed ") << *pItem->vtx << "\n";
    }
}

bool VertexVault::checkVault() const {
    size_t numActive = 0, numWrong = 0;
    for (size_t i = 0; i < vItems_.size(); ++i) {
        if (i > 0 && i < numSorted_ && vItems_[i - 1]->idx > vItems_[i]->idx) ++numWrong;
        if (!vItems_[i]->active) continue;
        ++numActive;
        if (getIdxOfActiveVtx(vItems_[i]->vtx) != i) ++numWrong;
    }
    if (numActive != computeNumberOfPoints()) ++numWrong;
    if (numWrong > 0) error("VertexVault::checkVault()", std::to_string(numWrong) + " inconsistent items");
    return numWrong == 0;
}

}  // namespace LUMO_TARO25D
