// Finding vertices in the vault, and the duplicates of a running insertion.
//
// A look-up by position searches the key index of the sorted items, and, where it must see them, the unsorted ones one
// by one. In the collinear phase all items are sorted whenever it matters; later the triangulation itself finds
// vertices, and the vault only gives a triangle near a place.
//
// A duplicate is an item whose vertex was found, on insertion, to have the position of another one. It never gets a
// triangle; at the end of the operation its handles are replaced, and its records recycled.

#include <algorithm>
#include <iostream>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "support/parallel.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

// ---------------------------------------------------------------------------------------------------------------------
// Look-up

size_t VertexVault::getIdxOfPoint(const Point2& p) const {
    if (numSorted_ == 0) return NOT_FOUND;
    const unsigned key = frame_.getKey(p);
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
    const bool bHeld = position < vItems_.size() && vItems_[position]->active && vItems_[position]->vtx == pVtx;
    return bHeld ? position : NOT_FOUND;
}

Triangle2* VertexVault::triangleAt(size_t position) const {
    const IdxVtxAct* pItem = vItems_[position];
    return pItem->active ? pItem->vtx->getIncidentTriangle() : nullptr;
}

Triangle2* VertexVault::getCloseTriangle(const Point2& place, unsigned key) const {
    if (numSorted_ == 0) return getOneValidTriangle();
    size_t middle = keyIndex_.find(key, place.x(), place.y()).first;
    // The previous item may be nearer along the curve.
    if (middle > 0 && middle < numSorted_ && key - vItems_[middle - 1]->idx < vItems_[middle]->idx - key) --middle;
    // Growing strides find the next vertex fast where many in a row have been removed.
    for (size_t distance = 0; distance < numSorted_; distance += 1 + distance / 8) {
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
        const Orientation2 ori = geomTest_.getOrientation2(p0, p1, p2);
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
    heightBook_.meet(pOrig, dup->z());
    // The duplicate was registered last.
    TARO_ASSERT(vItems_.back()->vtx == dup);
    recycle(vItems_.back());
    vItems_.pop_back();
    --numItems_;
    recycleVertex(dup);
    return pOrig;
}

void VertexVault::treatDupsAndHandles(size_t firstNew, Point2** aHandles, size_t numHandles) {
    if (!vMetHeights_.empty() || !mDuplicates_.empty()) meetHeights();
    if (mDuplicates_.empty()) return;
    replaceDuplicateVertexHandlesFullDim(aHandles, numHandles);
    // Duplicates are among the items of the running insertion and never got a triangle.
    size_t numKept = firstNew;
    for (size_t i = firstNew; i < vItems_.size(); ++i) {
        IdxVtxAct* pItem = vItems_[i];
        if (pItem->active && !pItem->vtx->getIncidentTriangle()) {
            recycleVertex(pItem->vtx);
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

void VertexVault::dropUninserted(size_t firstNew, Point2** aHandles, size_t numHandles) {
    replaceDuplicateVertexHandlesFullDim(aHandles, numHandles);
    mDuplicates_.clear();
    vMetHeights_.clear();
    const auto isUninserted = [](const Point2* pVtx) { return !pVtx->getIncidentTriangle(); };
    for (size_t i = 0; i < numHandles; ++i) {
        if (aHandles[i] && isUninserted(aHandles[i]) && aHandles[i]->vaultPos_ >= firstNew) aHandles[i] = nullptr;
    }
    for (size_t i = firstNew; i < vItems_.size(); ++i) {
        if (!vItems_[i]->active || !isUninserted(vItems_[i]->vtx)) continue;
        vItems_[i]->active = false;
        --numItems_;
        recycleVertex(vItems_[i]->vtx);
    }
    sortIV(SM_ALWAYS);
}

void VertexVault::replaceDuplicateVertexHandlesFullDim(Point2** aHandles, size_t numHandles) {
    for (size_t i = 0; i < numHandles; ++i) {
        if (!aHandles[i] || aHandles[i]->getIncidentTriangle()) continue;
        const auto it = mDuplicates_.find(aHandles[i]);
        if (it != mDuplicates_.end()) aHandles[i] = it->second;
    }
}

void VertexVault::debugDups() const {
    Note note("VertexVault::debugDups()");
    for (const auto& entry : mDuplicates_) note << *entry.first << " -> " << *entry.second << "\n";
}

Point2* VertexVault::getOriginal(Point2* pVtx) const {
    const auto it = mDuplicates_.find(pVtx);
    return it == mDuplicates_.end() ? pVtx : it->second;
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
    Note note("VertexVault::showData()");
    note << "VertexVault " << name << ": " << vItems_.size() << " items, " << numItems_ << " active, " << numSorted_
         << " sorted\n";
    for (const IdxVtxAct* pItem : vItems_) {
        note << pItem->idx << (pItem->active ? " active " : " removed ") << *pItem->vtx << "\n";
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
