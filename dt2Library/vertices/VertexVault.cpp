// The register of vertices: registration, order, and the box and curve on which the order rests.
//
// The register is a list of items, one for each vertex, sorted by Hilbert key up to the last sort; later items follow
// unsorted. A sort is due when the list has grown by a third or half of it was removed, so that its amortised cost is
// constant for each vertex. A vertex knows its position in the list, so that removal needs no search; a removed item
// becomes inactive and is dropped by the next sort. The sorted part has an index over its keys (KeyIndex).
//
// A bulk is registered as a whole (iReset_vector): keys, sort, then records in curve order, so that neighbours in the
// plane are neighbours in memory. Equal positions within the bulk are adjacent after the sort and become one vertex.
// All passes run on several threads and give the same result on any number of them.
//
// A point outside the box enlarges it. Then the curve is laid anew, all keys are recomputed and the list is sorted.

#include "vertices/VertexVault.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <iostream>
#include <numeric>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "support/parallel.h"
#include "support/stopping.h"
#include "taro25d/TaroCancelled.h"

namespace LUMO_TARO25D {

namespace {

// The number of reads in flight: points are read in curve order, which is random in memory.
constexpr size_t PREFETCH_DISTANCE = 48;

}  // namespace

VertexVault::VertexVault(GeomTest& geomTest, unsigned numExpectedVertices) : geomTest_(geomTest), frame_(geomTest) {
    constexpr unsigned MAX_VERTEX_BLOCK = 2500000;
    vertexPool_.init(static_cast<int>(std::clamp(numExpectedVertices, 3u, MAX_VERTEX_BLOCK)), MAX_VERTEX_BLOCK);
    itemPool_.init(3, 6250000);
}

// ---------------------------------------------------------------------------------------------------------------------
// Box and curve

void VertexVault::enlargeBox(const Point2& point) {
    if (frame_.enlargeBox(Bbox2(point.x(), point.y(), point.x(), point.y()), true)) reconfiguration(nullptr);
}

size_t VertexVault::enlargeBoxForBulk(const PointSource& source) {
    const size_t numParts = numParallelParts(numThreads_, source.size());
    std::vector<Bbox2> vBoxes(numParts);
    std::vector<size_t> vNumRefused(numParts, 0);
    parallelFor(numThreads_, source.size(), [&](size_t begin, size_t end, int part) {
        Bbox2 box = vBoxes[static_cast<size_t>(part)];
        size_t numRefused = 0;
        for (size_t i = begin; i < end; ++i) {
            const Point2 point = source[i];
            if (isFinite(point)) {
                box.add(point);
            } else {
                ++numRefused;
            }
        }
        vBoxes[static_cast<size_t>(part)] = box;
        vNumRefused[static_cast<size_t>(part)] += numRefused;
    });
    Bbox2 box;
    for (const Bbox2& partBox : vBoxes) {
        if (partBox.isValid()) box + partBox;
    }
    // A box that grows repeatedly is doubled, or each batch would cost as much as all batches before it.
    const bool bGrowsAgain = getInsertionBox().isValid();
    if (box.isValid() && frame_.enlargeBox(box, bGrowsAgain)) reconfiguration(&source);
    return std::accumulate(vNumRefused.begin(), vNumRefused.end(), size_t(0));
}

CurveFrame::Sample VertexVault::takeSample(const PointSource* pComing) const {
    constexpr size_t SAMPLE_SIZE = 1000;
    CurveFrame::Sample sample;
    const auto add = [&](size_t n, const auto& pointAt) {
        for (size_t k = 0, size = std::min(n, SAMPLE_SIZE); k < size; ++k) {
            const Point2 point = pointAt(n / size * k + n % size * k / size);
            if (!isFinite(point)) continue;
            sample.vX.push_back(point.x());
            sample.vY.push_back(point.y());
        }
    };
    add(vItems_.size(), [&](size_t i) { return *vItems_[i]->vtx; });
    if (pComing) add(pComing->size(), [&](size_t i) { return (*pComing)[i]; });
    return sample;
}

void VertexVault::reconfiguration(const PointSource* pComing) {
    frame_.layCurve(takeSample(pComing));
    if (vItems_.empty()) return;
    bKeysOutdated_ = true;
    sortIV(SM_ALWAYS);
}

// ---------------------------------------------------------------------------------------------------------------------
// Registration

Point2* VertexVault::createVertex(const Point2& point) {
    if (vRecycledVertices_.empty()) return new (vertexPool_.getElement()) Point2(point);
    Point2* pVtx = vRecycledVertices_.back();
    vRecycledVertices_.pop_back();
    return new (pVtx) Point2(point);
}

Point2* VertexVault::createRegisteredVertex(const Point2& point) {
    Point2* pVtx = createVertex(point);
    addItem(frame_.getKey(point), pVtx);
    return pVtx;
}

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
    heightBook_.forget(pVtx);
    vItems_[position]->active = false;
    --numItems_;
    recycleVertex(pVtx);
    if (bFullDimensional_) return;
    // While all vertices are collinear there are items of present ones only.
    numSorted_ = 0;
    numKnownCollinear_ = 0;
    size_t numKept = 0;
    for (IdxVtxAct* pItem : vItems_) {
        if (!pItem->active) {
            recycle(pItem);
            continue;
        }
        pItem->vtx->vaultPos_ = static_cast<unsigned>(numKept);
        vItems_[numKept++] = pItem;
    }
    vItems_.resize(numKept);
    try {
        sortIV(SM_ALWAYS);
    } catch (const TaroCancelled&) {  // the vertex is gone, so the call has succeeded; a later one sorts
    } catch (...) {
        keepException();
    }
}

ScratchVector<KeyedIndex> VertexVault::orderPoints(const PointSource& source) const {
    const HC2& curve = frame_.getCurve();
    ScratchVector<KeyedIndex> vKeyed(source.size());
    std::atomic<bool> bAllFinite{true};
    parallelFor(numThreads_, source.size(), [&](size_t begin, size_t end, int) {
        for (size_t i = begin; i < end; ++i) {
            const Point2 point = source[i];
            if (!isFinite(point)) bAllFinite = false;
            vKeyed[i] = {curve.iReset(point.x(), point.y()), static_cast<std::uint32_t>(i)};
        }
    });
    if (!bAllFinite) {
        const auto isRefused = [&](const KeyedIndex& entry) { return !isFinite(source[entry.index]); };
        vKeyed.erase(std::remove_if(vKeyed.begin(), vKeyed.end(), isRefused), vKeyed.end());
    }
    const auto pointAt = [&](size_t i) { return source[i]; };
    KeyOrder(pointAt, numThreads_).sort(vKeyed.data(), vKeyed.data() + vKeyed.size());
    return vKeyed;
}

void VertexVault::iReset_vector(const PointSource& source, Point2** aHandles) {
    const bool bFirst = vItems_.empty();
    const bool bSearch = !bFullDimensional_ && !bFirst;
    if (bSearch) sortIV(SM_ALWAYS);
    const ScratchVector<KeyedIndex> vKeyed = orderPoints(source);
    if (bSearch) {
        Point2* pLast = nullptr;
        CancelPoint<> cancelPoint;
        for (const KeyedIndex& entry : vKeyed) {
            cancelPoint.pass();
            const Point2 point = source[entry.index];
            if (!pLast || *pLast != point) {
                const int numBefore = numItems_;
                pLast = findStoredOrCreate(entry.key, point);
                if (numItems_ == numBefore) vMetHeights_.push_back({entry.index, pLast, point.z()});
            } else {
                vMetHeights_.push_back({entry.index, pLast, point.z()});
            }
            if (aHandles) aHandles[entry.index] = pLast;
        }
    } else {
        iReset_vector_mt(source, vKeyed, aHandles);
    }
    if (bFirst) rebuildIndex();
}

Point2* VertexVault::findStoredOrCreate(unsigned key, const Point2& point) {
    const size_t position = getIdxOfPoint(point);
    if (position != NOT_FOUND) return vItems_[position]->vtx;
    Point2* pVtx = createVertex(point);
    addItem(key, pVtx);
    return pVtx;
}

void VertexVault::iReset_vector_mt(const PointSource& source, const ScratchVector<KeyedIndex>& vKeyed,
                                   Point2** aHandles) {
    const size_t n = vKeyed.size();
    const auto isDuplicate = [&](size_t i) {
        return i > 0 && vKeyed[i].key == vKeyed[i - 1].key && source[vKeyed[i].index] == source[vKeyed[i - 1].index];
    };
    // The first pass counts the vertices of each part, which gives the second pass their places.
    std::vector<size_t> vNumBefore(numParallelParts(numThreads_, n) + 1, 0);
    parallelFor(numThreads_, n, [&](size_t begin, size_t end, int part) {
        size_t count = 0;
        for (size_t i = begin; i < end; ++i) count += !isDuplicate(i);
        vNumBefore[static_cast<size_t>(part) + 1] += count;
    });
    std::partial_sum(vNumBefore.begin(), vNumBefore.end(), vNumBefore.begin());
    const size_t numNew = vNumBefore.back(), numOld = vItems_.size();
    itemPool_.expect(numNew - std::min(numNew, vRecycledItems_.size()), numThreads_);
    vertexPool_.expect(numNew - std::min(numNew, vRecycledVertices_.size()), numThreads_);
    const RecordSupply<Point2> vertices(vertexPool_, vRecycledVertices_, numNew);
    const RecordSupply<IdxVtxAct> items(itemPool_, vRecycledItems_, numNew);
    reserveMore(vItems_, numNew);
    vItems_.resize(numOld + numNew);
    numItems_ += static_cast<int>(numNew);
    const auto createBlock = [&](size_t begin, size_t end, int part) {
        size_t k = vNumBefore[static_cast<size_t>(part)];  // vertices so far
        for (size_t i = begin; i < end; ++i) {
            if (i + PREFETCH_DISTANCE < n) {
                source.prefetch(vKeyed[i + PREFETCH_DISTANCE].index);
                if (aHandles) __builtin_prefetch(aHandles + vKeyed[i + PREFETCH_DISTANCE].index, 1);
            }
            if (!isDuplicate(i)) {
                Point2* pVtx = new (vertices[k]) Point2(source[vKeyed[i].index]);
                pVtx->vaultPos_ = static_cast<unsigned>(numOld + k);
                vItems_[numOld + k] = new (items[k]) IdxVtxAct{vKeyed[i].key, true, pVtx};
                ++k;
            }
            if (aHandles) aHandles[vKeyed[i].index] = vertices[k - 1];
        }
        vNumBefore[static_cast<size_t>(part)] = k;
    };
    try {
        parallelFor(numThreads_, n, createBlock);
    } catch (...) {
        vItems_.resize(numOld);
        numItems_ -= static_cast<int>(numNew);
        for (size_t k = 0; k < numNew; ++k) {
            recycleVertex(vertices[k]);
            recycle(items[k]);
        }
        if (aHandles) std::fill_n(aHandles, source.size(), nullptr);
        throw;
    }
    if (numNew == n || heightBook_.isPaused()) return;
    for (size_t i = 0, k = 0; i < n; ++i) {
        if (isDuplicate(i)) {
            vMetHeights_.push_back({vKeyed[i].index, vertices[k - 1], source[vKeyed[i].index].z()});
        } else {
            ++k;
        }
    }
}

/// Duplicates of vertices that were there before the call come first, then the others in the order of the points.
void VertexVault::meetHeights() {
    std::vector<std::pair<Point2*, Point2*>> vPairs(mDuplicates_.begin(), mDuplicates_.end());
    std::sort(vPairs.begin(), vPairs.end(), [](const auto& a, const auto& b) { return *a.first < *b.first; });
    for (const auto& [pDuplicate, pOriginal] : vPairs) heightBook_.meet(pOriginal, pDuplicate->z());
    std::vector<MetHeight> vMetHeights;
    vMetHeights.swap(vMetHeights_);
    // Most are shared ends of segments, with the height that is there.
    const auto hasNoEffect = [this](const MetHeight& met) { return heightBook_.ignores(getOriginal(met.pVtx), met.z); };
    vMetHeights.erase(std::remove_if(vMetHeights.begin(), vMetHeights.end(), hasNoEffect), vMetHeights.end());
    std::sort(vMetHeights.begin(), vMetHeights.end(),
              [](const MetHeight& a, const MetHeight& b) { return a.index < b.index; });
    for (const MetHeight& met : vMetHeights) heightBook_.meet(getOriginal(met.pVtx), met.z);
}

bool VertexVault::isSortDue() const {
    return vItems_.size() > 1.35 * numSorted_ ||
           (numRemovedSinceSort_ > 0.5 * numSorted_ && numRemovedSinceSort_ >= 1001) || numItems_ > resortLimit_;
}

void VertexVault::sortIV(SortMode mode) {
    if (mode != SM_ALWAYS && !isSortDue()) return;
    bKeysOutdated_ = frame_.refreshCurve(takeSample(nullptr)) || bKeysOutdated_;
    numSorted_ = 0;
    if (bKeysOutdated_) recomputeKeys();
    numRemovedSinceSort_ = 0;
    ScratchVector<KeyedIndex> vKeyed;
    vKeyed.reserve(vItems_.size());
    for (size_t i = 0; i < vItems_.size(); ++i) {
        if (vItems_[i]->active) vKeyed.push_back({vItems_[i]->idx, static_cast<std::uint32_t>(i)});
    }
    throwIfStopped();
    mtSort(vKeyed);
    rebuildIndex();
}

void VertexVault::mtSort(ScratchVector<KeyedIndex>& vKeyed) {
    const auto pointAt = [&](size_t i) -> const Point2& { return *vItems_[i]->vtx; };
    KeyOrder(pointAt, numThreads_).sort(vKeyed.data(), vKeyed.data() + vKeyed.size());
    LargeVector<IdxVtxAct*> vSorted(vKeyed.size());
    const NoStopScope noStop;
    for (IdxVtxAct* pItem : vItems_) {
        if (!pItem->active) recycle(pItem);
    }
    parallelFor(numThreads_, vKeyed.size(), [&](size_t begin, size_t end, int) {
        for (size_t i = begin; i < end; ++i) {
            vSorted[i] = vItems_[vKeyed[i].index];
            vSorted[i]->vtx->vaultPos_ = static_cast<unsigned>(i);
        }
    });
    vItems_.swap(vSorted);
    numItems_ = static_cast<int>(vItems_.size());
    numKnownCollinear_ = 0;
}

void VertexVault::rebuildIndex() {
    keyIndex_.build(
        0, vItems_.size(), [&](size_t i) { return vItems_[i]->idx; },
        [&](size_t i) -> const Point2& { return *vItems_[i]->vtx; }, numThreads_);
    numSorted_ = vItems_.size();
    resortLimit_ = INT_MAX;  // from now on only growth and removals make a sort due
}

void VertexVault::recomputeKeys() {
    const HC2& curve = frame_.getCurve();
    parallelFor(numThreads_, vItems_.size(), [&](size_t begin, size_t end, int) {
        for (size_t i = begin; i < end; ++i) {
            if (vItems_[i]->active) vItems_[i]->idx = curve.iReset(vItems_[i]->vtx->x(), vItems_[i]->vtx->y());
        }
    });
    bKeysOutdated_ = false;
}

}  // namespace LUMO_TARO25D
