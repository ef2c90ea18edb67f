// The vault of a copied mesh, for Taro_2D::clone(), and the return to an earlier state.

#include <tuple>
#include <utility>

#include "support/PoolSnapshot.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

void VertexVault::copyFrom(const VertexVault& other, const RecordCopies<Point2>& vertices,
                           const RecordCopies<Triangle2>& triangles) {
    vertices.forEach(
        [&triangles](const Point2* pOriginal, Point2* pCopy) {
            new (pCopy) Point2(*pOriginal);
            pCopy->pIncidentT_ = triangles(pOriginal->pIncidentT_);
            pCopy->vaultPos_ = pOriginal->vaultPos_;
        },
        throwIfStopped);
    for (const Point2* pVtx : other.vRecycledVertices_) vRecycledVertices_.push_back(vertices(pVtx));
    const size_t numItems = other.vItems_.size();
    itemPool_.expect(numItems, numThreads_);
    const PoolRange<IdxVtxAct> items = itemPool_.getElements(numItems);
    vItems_.resize(numItems);
    for (size_t i = 0; i < numItems; ++i) {
        const IdxVtxAct& item = *other.vItems_[i];
        vItems_[i] = new (items[i]) IdxVtxAct{item.idx, item.active, vertices(item.vtx)};
    }
    throwIfStopped();
    heightBook_.copyFrom(other.heightBook_, vertices);
    frame_ = other.frame_;
    keyIndex_ = other.keyIndex_;
    numSorted_ = other.numSorted_;
    numRemovedSinceSort_ = other.numRemovedSinceSort_;
    numItems_ = other.numItems_;
    resortLimit_ = other.resortLimit_;
    bFullDimensional_ = other.bFullDimensional_;
    numKnownCollinear_ = other.numKnownCollinear_;
    throwIfStopped();
}

void VertexVault::copyRecord(const Point2& from, Point2& to) {
    to = from;
    to.pIncidentT_ = from.pIncidentT_;
    to.vaultPos_ = from.vaultPos_;
}

std::function<void()> VertexVault::rememberState() {
    PoolSnapshot<Point2, copyRecord> vertices(vertexPool_);
    PoolSnapshot<IdxVtxAct> items(itemPool_);
    const auto getMembers = [this] {
        return std::tie(frame_, vRecycledVertices_, vItems_, vRecycledItems_, keyIndex_, bKeysOutdated_, numSorted_,
                        heightBook_, numRemovedSinceSort_, numItems_, resortLimit_, bFullDimensional_,
                        numKnownCollinear_);
    };
    throwIfStopped();
    auto members = copyAll(getMembers());
    throwIfStopped();
    return [this, getMembers, vertices = std::move(vertices), items = std::move(items),
            members = std::move(members)]() mutable {
        vertices.restore(vertexPool_);
        items.restore(itemPool_);
        getMembers() = std::move(members);
    };
}

}  // namespace LUMO_TARO25D
