// Connected sets of triangles and their borders.
//
// The border of a set consists of the edges across which there is no triangle of the set, each directed with the set on
// its left. The edge that follows a border edge is found by turning around its end through triangles of the set. So
// rings touch at a vertex where the set touches itself, but never cross, and vertices need no coordinates or tables.
//
// Components are found by breadth-first search over edges; sets of triangles are bitmaps over addresses (AddressSet).
// All functions are linear in the number of triangles.

#include "zones/ConnectedComponent.h"

#include <algorithm>

#include "kernel/flatSets.h"
#include "kernel/links.h"
#include "kernel/triangleLists.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// The border edge that begins where another one ends, in the same fan of triangles inside.
Edge2 getNextBorderEdge(const Edge2& edge, AddressSet& sInside) {
    Triangle2* pT = edge.getTriangle();
    int i = incIndexBy1(edge.getIndex());
    for (;;) {
        Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN || !sInside.contains(pN)) return Edge2(pT, i);
        i = incIndexBy1(indexOfNeighbour(pN, pT));
        pT = pN;
    }
}

void appendBorderEdges(const std::vector<Triangle2*>& vTriangles, AddressSet& sInside,
                       std::vector<Edge2>& vBorderEdges) {
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || !sInside.contains(pN)) vBorderEdges.emplace_back(pT, i);
        }
    }
}

/// Takes triangles from a set, starting with a given one, so that their union stays a disc: a triangle joins along one
/// edge if its far corner is not in the disc yet, or along two edges. The disc thus never encloses a hole. If the set
/// is itself a disc, it is taken completely, since triangulated discs are extendably shellable (Danaraj, Klee 1978).
template <class IsFreeT>
std::vector<Triangle2*> growDisc(Triangle2* pFirst, const IsFreeT& isFree, AddressSet& sTaken) {
    std::vector<Triangle2*> vDisc, vStack{pFirst};
    AddressSet sCorners, sInDisc;
    const auto isInDisc = [&](const Triangle2* pT) { return pT && sInDisc.contains(pT); };
    const auto fits = [&](const Triangle2* pT) {
        int numShared = 0, iShared = 0;
        for (int i = 0; i < 3; ++i) {
            if (!isInDisc(pT->getOppositeTriangle(i))) continue;
            ++numShared;
            iShared = i;
        }
        return vDisc.empty() || numShared == 2 || (numShared == 1 && !sCorners.contains(pT->getCorner(iShared)));
    };
    CancelPoint<> cancelPoint;
    while (!vStack.empty()) {
        cancelPoint.pass();
        Triangle2* pT = vStack.back();
        vStack.pop_back();
        if (sTaken.contains(pT) || !fits(pT)) continue;
        sTaken.insert(pT);
        sInDisc.insert(pT);
        vDisc.push_back(pT);
        for (int i = 0; i < 3; ++i) {
            sCorners.insert(pT->getCorner(i));
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && isFree(pN)) vStack.push_back(pN);
        }
    }
    return vDisc;
}

}  // namespace

void ConnectedComponent::sortBorders() {
    vRings_.clear();
    AddressSet sInside = toSet(vTriangles_), aUsed[3];
    CancelPoint<> cancelPoint;
    for (const Edge2& first : vBorderEdges_) {
        Ring ring;
        for (Edge2 edge = first; aUsed[edge.getIndex()].insert(edge.getTriangle());
             edge = getNextBorderEdge(edge, sInside)) {
            cancelPoint.pass();
            ring.push_back(edge);
        }
        if (!ring.empty()) vRings_.push_back(std::move(ring));
    }
}

void ConnectedComponent::splitIntoSimple(std::vector<ConnectedComponent>& vSimple) const {
    AddressSet sInside = toSet(vTriangles_), sTaken;
    const auto isFree = [&](const Triangle2* pT) { return sInside.contains(pT) && !sTaken.contains(pT); };
    for (Triangle2* pFirst : vTriangles_) {
        if (sTaken.contains(pFirst)) continue;
        vSimple.emplace_back(growDisc(pFirst, isFree, sTaken));
        std::vector<Edge2> vBorderEdges;
        getBorderEdges(vSimple.back().vTriangles_, vBorderEdges);
        vSimple.back().setUnsortedBorders(std::move(vBorderEdges));
    }
}

void getBorderEdges(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorderEdges) {
    AddressSet sInside = toSet(vTriangles);
    appendBorderEdges(vTriangles, sInside, vBorderEdges);
}

void peelBorder(std::vector<Triangle2*>& vTriangles, const std::function<bool(Triangle2*)>& isToGo) {
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vTriangles, vBorderEdges);
    AddressSet sInside = toSet(vTriangles), sAsked, sPeeled;
    std::vector<Triangle2*> vAtBorder;
    for (const Edge2& edge : vBorderEdges) {
        if (sAsked.insert(edge.getTriangle())) vAtBorder.push_back(edge.getTriangle());
    }
    CancelPoint<> cancelPoint;
    for (size_t k = 0; k < vAtBorder.size(); ++k) {
        cancelPoint.pass();
        if (!isToGo(vAtBorder[k])) continue;
        sPeeled.insert(vAtBorder[k]);
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vAtBorder[k]->getOppositeTriangle(i);
            if (pN && sInside.contains(pN) && sAsked.insert(pN)) vAtBorder.push_back(pN);
        }
    }
    const auto isPeeled = [&sPeeled](const Triangle2* pT) { return sPeeled.contains(pT); };
    vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isPeeled), vTriangles.end());
}

void getConnectedComponents(const std::vector<Triangle2*>& vTriangles, std::vector<ConnectedComponent>& vComponents) {
    AddressSet sInside = toSet(vTriangles), sVisited;
    CancelPoint<> cancelPoint;
    for (Triangle2* pFirst : vTriangles) {
        cancelPoint.pass();
        if (!sVisited.insert(pFirst)) continue;
        std::vector<Triangle2*> vReached{pFirst};
        spread(vReached, 0, sVisited,
               [&sInside](const Triangle2*, int, const Triangle2* pN) { return sInside.contains(pN); });
        std::vector<Edge2> vBorderEdges;
        appendBorderEdges(vReached, sInside, vBorderEdges);
        vComponents.emplace_back(std::move(vReached));
        vComponents.back().setUnsortedBorders(std::move(vBorderEdges));
    }
}

}  // namespace LUMO_TARO25D
