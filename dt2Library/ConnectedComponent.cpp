#include "ConnectedComponent.h"

#include "flatSets.h"
#include "links.h"
#include "spread.h"

namespace LUMO_TARO25D {

namespace {

/// The border edge that begins where another one ends, within the same fan of triangles.
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
    for (Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || !sInside.contains(pN)) vBorderEdges.emplace_back(pT, i);
        }
    }
}

AddressSet toSet(const std::vector<Triangle2*>& vTriangles) {
    AddressSet sTriangles;
    for (const Triangle2* pT : vTriangles) sTriangles.insert(pT);
    return sTriangles;
}

}  // namespace

void ConnectedComponent::sortBorders() {
    vRings_.clear();
    AddressSet sInside = toSet(vTriangles_), aUsed[3];
    for (const Edge2& first : vBorderEdges_) {
        Ring ring;
        for (Edge2 edge = first; aUsed[edge.getIndex()].insert(edge.getTriangle());
             edge = getNextBorderEdge(edge, sInside)) {
            ring.push_back(edge);
        }
        if (!ring.empty()) vRings_.push_back(std::move(ring));
    }
}

void getBorderEdges(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorderEdges) {
    AddressSet sInside = toSet(vTriangles);
    appendBorderEdges(vTriangles, sInside, vBorderEdges);
}

void getConnectedComponents(const std::vector<Triangle2*>& vTriangles, std::vector<ConnectedComponent>& vComponents) {
    AddressSet sInside = toSet(vTriangles), sVisited;
    for (Triangle2* pFirst : vTriangles) {
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
