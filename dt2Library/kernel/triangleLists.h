#pragma once

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "support/stopping.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

inline AddressSet toSet(const std::vector<Triangle2*>& vTriangles) {
    AddressSet sTriangles;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        sTriangles.insert(pT);
    }
    return sTriangles;
}

/// Appends the corners of the triangles, each once.
inline void getVertices(const std::vector<Triangle2*>& vTriangles, std::vector<Point2*>& vVertices) {
    AddressSet sSeen;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            if (sSeen.insert(pT->getCorner(i))) vVertices.push_back(pT->getCorner(i));
        }
    }
}

/// Prefetches triangles that come soon in a list, and the corners of triangles that come a little sooner, since a
/// corner's address must be read from its triangle first.
inline void prefetchTriangles(const std::vector<Triangle2*>& vTriangles, size_t k) {
    constexpr size_t AHEAD = 8;
    if (k + 2 * AHEAD >= vTriangles.size()) return;
    __builtin_prefetch(vTriangles[k + 2 * AHEAD]);
    for (int i = 0; i < 3; ++i) __builtin_prefetch(vTriangles[k + AHEAD]->getCorner(i));
}

/// The box of the triangles.
inline Bbox2 getBox(const std::vector<Triangle2*>& vTriangles) {
    Bbox2 box;
    CancelPoint<> cancelPoint;
    for (size_t k = 0; k < vTriangles.size(); ++k) {
        cancelPoint.pass();
        prefetchTriangles(vTriangles, k);
        for (int i = 0; i < 3; ++i) box.add(*vTriangles[k]->getCorner(i));
    }
    return box;
}

/// The sum of an area over the triangles.
inline double sumUp(const std::vector<Triangle2*>& vTriangles, double (Triangle2::*getArea)() const) {
    double sum = 0.0;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        sum += (pT->*getArea)();
    }
    return sum;
}

/// The largest absolute coordinate of the triangles; 0 if there are none.
inline double getLargestCoordinate(const std::vector<Triangle2*>& vTriangles) {
    return vTriangles.empty() ? 0.0 : getMagnitude(getBox(vTriangles));
}

/// Calls visit(triangle, i) once for each edge of different triangles.
template <class VisitT>
void forEachEdge(const std::vector<Triangle2*>& vTriangles, const VisitT& visit) {
    AddressSet sDone;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || !sDone.contains(pN)) visit(pT, i);
        }
        sDone.insert(pT);
    }
}

/// An edge as it is passed, from the first vertex to the second.
using DirectedEdge = std::pair<Point2*, Point2*>;

/// Drops each edge that occurs at least as often in the opposite direction. Where a border runs back over itself, both
/// sides belong to the same area, so that spreading must not start on its left there.
inline void dropRetracedEdges(std::vector<DirectedEdge>& vEdges) {
    std::vector<DirectedEdge> vSorted = vEdges;
    std::sort(vSorted.begin(), vSorted.end(), withCancelPoints(std::less<>()));
    const auto count = [&vSorted](Point2* pSrc, Point2* pTrg) {
        const auto [begin, end] = std::equal_range(vSorted.begin(), vSorted.end(), DirectedEdge(pSrc, pTrg));
        return end - begin;
    };
    const auto isPassedBack = [&count](const DirectedEdge& edge) {
        return count(edge.second, edge.first) >= count(edge.first, edge.second);
    };
    vEdges.erase(std::remove_if(vEdges.begin(), vEdges.end(), isPassedBack), vEdges.end());
}

/// Asks the processor to load a record into the cache, which may take two lines; ignores null.
template <class RecordT>
void prefetchRecord(const RecordT* pRecord) {
    if (!pRecord) return;
    __builtin_prefetch(pRecord);
    __builtin_prefetch(reinterpret_cast<const char*>(pRecord + 1) - 1);
}

/// Breadth-first search from the triangles of a list, from index begin on: appends every unmarked neighbour across an
/// edge i of a listed triangle pT for which mayCross(pT, i, neighbour) is true, and marks it. The listed triangles are
/// marked already.
template <class MayCrossT>
void spread(std::vector<Triangle2*>& vReached, size_t begin, AddressSet& sMarked, const MayCrossT& mayCross) {
    constexpr size_t AHEAD = 16;
    CancelPoint<> cancelPoint;
    for (size_t k = begin; k < vReached.size(); ++k) {
        cancelPoint.pass();
        // The triangles lie scattered in memory, and the processor cannot guess the next one.
        if (k + AHEAD < vReached.size()) prefetchRecord(vReached[k + AHEAD]);
        Triangle2* const pT = vReached[k];
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && !sMarked.contains(pN) && mayCross(pT, i, pN)) {
                sMarked.insert(pN);
                vReached.push_back(pN);
            }
        }
    }
}

/// Breadth-first search from a list of triangles over all edges that are not blocked; appends the triangles reached,
/// those of the list included.
inline void spread(const std::vector<Triangle2*>& vFrom, const EdgeSet& sBlocked, AddressSet& sMarked,
                   std::vector<Triangle2*>& vReached) {
    const size_t begin = vReached.size();
    for (Triangle2* pT : vFrom) {
        if (sMarked.insert(pT)) vReached.push_back(pT);
    }
    spread(vReached, begin, sMarked, [&sBlocked](const Triangle2* pT, int i, const Triangle2*) {
        return !sBlocked.contains(pT->getCorner(i == 2 ? 0 : i + 1), pT->getCorner(incIndexBy2(i)));
    });
}

}  // namespace LUMO_TARO25D
