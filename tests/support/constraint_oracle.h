#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "kernel/nearness.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"

// Checks constraints through the public interface, with the defining determinants in rational numbers. Triangles that
// are counterclockwise, linked, and as many as Euler's formula requires, form a planar mesh: its edges do not cross and
// have no vertex inside. Then it suffices that the alive segments are edges and all other edges are locally Delaunay.

/// Two positions in ascending order.
using Ends = std::pair<XY, XY>;

inline XY xyOf(const LUMO_TARO25D::Point2& point) { return {point.x(), point.y()}; }
inline Ends endsOf(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b) {
    return std::minmax(xyOf(a), xyOf(b));
}
inline Ends endsOf(const LUMO_TARO25D::ConstraintSegment2& segment) {
    return endsOf(*segment.getSrc(), *segment.getTrg());
}

class ConstraintOracle {
  public:
    using ConstraintGraph2 = LUMO_TARO25D::ConstraintGraph2;
    using ConstraintSegment2 = LUMO_TARO25D::ConstraintSegment2;
    using Point2 = LUMO_TARO25D::Point2;
    using Triangle2 = LUMO_TARO25D::Triangle2;
    using Result = testing::AssertionResult;
    using Chain = std::vector<ConstraintSegment2*>;

    /// If the triangulation gave up for lack of accuracy, alive segments need not be edges.
    explicit ConstraintOracle(const LUMO_TARO25D::Taro_2D& mesh, bool bGaveUp = false)
        : mesh_(mesh), bGaveUp_(bGaveUp) {
        mesh.getTrianglePointers(vTriangles_);
        mesh.getVertexPointers(vVertices_);
        mesh.getAliveConstraintSegments(vAlive_);
        mesh.getAliveAndDeadConstraintSegments(vAll_);
        for (const ConstraintSegment2* pCSeg : vAlive_) sAliveEnds_.insert(endsOf(*pCSeg));
    }

    const std::set<Ends>& aliveEnds() const { return sAliveEnds_; }

    /// Everything that holds whatever was inserted.
    Result check() const {
        for (const auto step : {&ConstraintOracle::checkMesh, &ConstraintOracle::checkEdges,
                                &ConstraintOracle::checkTrees, &ConstraintOracle::checkOrder}) {
            const Result result = (this->*step)();
            if (!result) return result;
        }
        if (bGaveUp_) return testing::AssertionSuccess();
        StdoutCapture capture;
        if (mesh_.checkValidity(false, "constraints")) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "checkValidity: " << capture.text();
    }

    /// Pieces of conforming segments whose edges are not Delaunay.
    size_t numEncroached() const {
        size_t num = 0;
        for (const Triangle2* pT : vTriangles_) {
            for (int i = 0; i < 3; ++i) {
                Point2 *p0 = pT->getCorner((i + 1) % 3), *p1 = pT->getCorner((i + 2) % 3);
                const ConstraintSegment2* pCSeg = *p0 < *p1 ? mesh_.getConstraintSegment(p0, p1) : nullptr;
                num += pCSeg && pCSeg->getCIS() != LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY &&
                       pT->getOppositeTriangle(i) && !isLocallyDelaunay(*pT, i);
            }
        }
        return num;
    }

    /// The pieces of a graph join up in its direction, and their ends are no farther from the original segments than
    /// the tolerance. Where segments of one graph lie on each other, a piece has no direction of its own.
    static Result checkGraph(const ConstraintGraph2& graph, double tolerance) {
        Chain vOriginals, vPieces, vChain, vChildren;
        graph.getOriginalConstraintSegments(vOriginals);
        std::vector<const Point2*> vSources;
        for (ConstraintSegment2* pOriginal : vOriginals) {
            const Result result = walk(graph, pOriginal, tolerance, vPieces, vSources);
            if (!result) return result;
        }
        graph.getAliveConstraintChain(vChain);
        graph.getChildConstraintSegments(vChildren);
        const std::set<ConstraintSegment2*> sPieces(vPieces.begin(), vPieces.end());
        if (std::set<ConstraintSegment2*>(vChildren.begin(), vChildren.end()) != sPieces) {
            return testing::AssertionFailure() << "the alive pieces of a graph are not the leaves of its segments";
        }
        for (ConstraintSegment2* pPiece : vPieces) {
            if (!graph.isConstraint(pPiece) || !graph.isConstraint(pPiece->getTrg(), pPiece->getSrc()) ||
                !graph.dbg_hasDirection(pPiece)) {
                return testing::AssertionFailure() << "a graph does not know its piece " << *pPiece;
            }
        }
        if (sPieces.size() != vPieces.size()) return testing::AssertionSuccess();
        if (vChain != vPieces) return testing::AssertionFailure() << "the chain of a graph does not join up";
        for (size_t i = 0; i < vPieces.size(); ++i) {
            if (graph.isReverse(vPieces[i]) == (vSources[i] == vPieces[i]->getTrg())) continue;
            return testing::AssertionFailure() << "direction of " << *vPieces[i];
        }
        return testing::AssertionSuccess();
    }

  private:
    /// Follows the leaves of one segment from its source in the graph to its target.
    static Result walk(const ConstraintGraph2& graph, ConstraintSegment2* pOriginal, double tolerance, Chain& vPieces,
                       std::vector<const Point2*>& vSources) {
        const bool bReverse = graph.isReverse(pOriginal);
        const Point2* pAt = bReverse ? pOriginal->getTrg() : pOriginal->getSrc();
        Chain vStack{pOriginal};
        while (!vStack.empty()) {
            ConstraintSegment2* pCSeg = vStack.back();
            vStack.pop_back();
            if (pCSeg->isAlive()) {
                vPieces.push_back(pCSeg);
                vSources.push_back(pAt);
                pAt = pAt == pCSeg->getSrc() ? pCSeg->getTrg() : pCSeg->getSrc();
                if (distance(*pAt, *pOriginal) > tolerance) {
                    return testing::AssertionFailure()
                           << *pAt << " is " << distance(*pAt, *pOriginal) << " beside " << *pOriginal;
                }
            } else {
                ConstraintSegment2 *pFirst = nullptr, *pSecond = nullptr;
                Point2* pSplit = nullptr;
                pCSeg->getChildrenAndSplitPoint(pFirst, pSecond, pSplit);
                if (pSecond->getSrc() == pAt || pSecond->getTrg() == pAt) std::swap(pFirst, pSecond);
                vStack.insert(vStack.end(), {pSecond, pFirst});
            }
        }
        if (pAt == (bReverse ? pOriginal->getSrc() : pOriginal->getTrg())) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "the pieces do not lead to the target of " << *pOriginal;
    }

    /// From a point to the nearest one of a segment.
    static double distance(const Point2& point, const ConstraintSegment2& segment) {
        using Long = long double;
        const Point2 &a = *segment.getSrc(), &b = *segment.getTrg();
        const Long ux = Long(b.x()) - Long(a.x()), uy = Long(b.y()) - Long(a.y());
        const Long vx = Long(point.x()) - Long(a.x()), vy = Long(point.y()) - Long(a.y());
        const Long t = std::clamp((ux * vx + uy * vy) / (ux * ux + uy * uy), Long(0), Long(1));
        return static_cast<double>(std::hypot(vx - t * ux, vy - t * uy));
    }

    static Result failure(const char* text, const Triangle2& t) {
        return testing::AssertionFailure()
               << text << ": " << *t.getCorner(0) << ", " << *t.getCorner(1) << ", " << *t.getCorner(2);
    }

    Result checkMesh() const {
        size_t numHullEdges = 0;
        for (const Triangle2* pT : vTriangles_) {
            if (oracleOrientation(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)) <= 0) {
                return failure("not counterclockwise", *pT);
            }
            for (int i = 0; i < 3; ++i) {
                if (!pT->getOppositeTriangle(i)) {
                    ++numHullEdges;
                } else if (indexInNeighbour(*pT, i) < 0) {
                    return failure("link", *pT);
                }
            }
        }
        const size_t numExpected = mesh_.is2D() ? 2 * vVertices_.size() - 2 - numHullEdges : 0;
        if (vTriangles_.size() == numExpected) return testing::AssertionSuccess();
        return testing::AssertionFailure() << vTriangles_.size() << " triangles instead of " << numExpected;
    }

    Result checkEdges() const {
        std::set<Ends> sFound;
        for (Triangle2* pT : vTriangles_) {
            for (int i = 0; i < 3; ++i) {
                const Ends ends = endsOf(*pT->getCorner((i + 1) % 3), *pT->getCorner((i + 2) % 3));
                const bool bConstraint = sAliveEnds_.count(ends) != 0;
                if (mesh_.isConstraint(pT, i) != bConstraint) return failure("isConstraint", *pT);
                if (bConstraint) {
                    sFound.insert(ends);
                } else if (pT->getOppositeTriangle(i) && !isLocallyDelaunay(*pT, i)) {
                    return failure("an edge is neither Delaunay nor a constraint", *pT);
                }
            }
        }
        if (bGaveUp_ || !mesh_.is2D() || sFound == sAliveEnds_) return testing::AssertionSuccess();
        Result result = testing::AssertionFailure() << "no edges:";
        for (const ConstraintSegment2* pCSeg : vAlive_) {
            if (!sFound.count(endsOf(*pCSeg))) result << " " << *pCSeg;
        }
        return result;
    }

    Result checkTrees() const {
        for (const ConstraintSegment2* pCSeg : vAll_) {
            Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
            if (!mesh_.isConstraint(pSrc) || !mesh_.isConstraint(pTrg) || !(pSrc < pTrg)) {
                return testing::AssertionFailure() << "ends of " << *pCSeg;
            }
            if (mesh_.getConstraintSegment(pTrg, pSrc) != (pCSeg->isAlive() ? pCSeg : nullptr) ||
                mesh_.isConstraint(pSrc, pTrg) != pCSeg->isAlive()) {
                return testing::AssertionFailure() << "the manager does not find " << *pCSeg;
            }
            if (pCSeg->isAlive()) continue;
            const auto [pChild0, pChild1, pSplit] = childrenOf(pCSeg);
            if (!pSplit || pChild0 == pChild1 || otherEnd(pChild0, pSplit) == otherEnd(pChild1, pSplit) ||
                std::set{otherEnd(pChild0, pSplit), otherEnd(pChild1, pSplit)} != std::set{pSrc, pTrg} ||
                std::min(pChild0->getNumberOfOwners(), pChild1->getNumberOfOwners()) < pCSeg->getNumberOfOwners()) {
                return testing::AssertionFailure() << "children of " << *pCSeg;
            }
        }
        return testing::AssertionSuccess();
    }

    static std::tuple<ConstraintSegment2*, ConstraintSegment2*, Point2*> childrenOf(const ConstraintSegment2* pCSeg) {
        ConstraintSegment2 *pChild0 = nullptr, *pChild1 = nullptr;
        Point2* pSplit = nullptr;
        const_cast<ConstraintSegment2*>(pCSeg)->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
        return {pChild0, pChild1, pSplit};
    }

    /// The end of a segment that is not p; null if p is none of its ends.
    static Point2* otherEnd(const ConstraintSegment2* pCSeg, const Point2* p) {
        return p == pCSeg->getSrc() ? pCSeg->getTrg() : p == pCSeg->getTrg() ? pCSeg->getSrc() : nullptr;
    }

    /// No segment descends from itself: taking away those that have no parents left takes away all.
    Result checkOrder() const {
        std::map<const ConstraintSegment2*, size_t> mNumParents;
        for (const ConstraintSegment2* pCSeg : vAll_) {
            mNumParents[pCSeg] += 0;
            if (pCSeg->isAlive()) continue;
            ++mNumParents[std::get<0>(childrenOf(pCSeg))];
            ++mNumParents[std::get<1>(childrenOf(pCSeg))];
        }
        std::vector<const ConstraintSegment2*> vRoots;
        for (const auto& entry : mNumParents) {
            if (entry.second == 0) vRoots.push_back(entry.first);
        }
        size_t numTaken = 0;
        for (; !vRoots.empty(); ++numTaken) {
            const ConstraintSegment2* pCSeg = vRoots.back();
            vRoots.pop_back();
            if (pCSeg->isAlive()) continue;
            const auto [pChild0, pChild1, pSplit] = childrenOf(pCSeg);
            if (--mNumParents[pChild0] == 0) vRoots.push_back(pChild0);
            if (--mNumParents[pChild1] == 0) vRoots.push_back(pChild1);
        }
        if (numTaken == vAll_.size() && mNumParents.size() == vAll_.size()) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "a segment descends from itself, or is not the manager's";
    }

    const LUMO_TARO25D::Taro_2D& mesh_;
    bool bGaveUp_;
    std::vector<Triangle2*> vTriangles_;
    std::vector<Point2*> vVertices_;
    Chain vAlive_, vAll_;
    std::set<Ends> sAliveEnds_;
};

/// The number of vertices within the snap distance of an alive constraint, but not on it.
inline size_t countBeside(const LUMO_TARO25D::Taro_2D& mesh) {
    std::vector<LUMO_TARO25D::ConstraintSegment2*> vAlive;
    std::vector<LUMO_TARO25D::Point2*> vVertices;
    mesh.getAliveConstraintSegments(vAlive);
    mesh.getVertexPointers(vVertices);
    size_t numBeside = 0;
    for (const auto* pCSeg : vAlive) {
        const auto isNext = [pCSeg](const LUMO_TARO25D::Point2* pVtx) {
            return pVtx != pCSeg->getSrc() && pVtx != pCSeg->getTrg() &&
                   LUMO_TARO25D::isBeside(*pCSeg->getSrc(), *pCSeg->getTrg(), *pVtx);
        };
        numBeside += static_cast<size_t>(std::count_if(vVertices.begin(), vVertices.end(), isNext));
    }
    return numBeside;
}

/// The edges into which constrained segments must be split by points and by each other, from all pairs in rational
/// numbers. Nothing if a crossing is no pair of doubles, or snapping would move a crossing to an end or a segment to a
/// vertex.
inline std::optional<std::set<Ends>> expectedEdges(const PointVector& vPoints,
                                                   const std::vector<LUMO_TARO25D::Segment2>& vSegments) {
    using LUMO_TARO25D::Point2;
    using LUMO_TARO25D::Segment2;
    std::set<XY> sVertices;
    for (const Point2& point : vPoints) sVertices.insert(xyOf(point));
    for (const Segment2& segment : vSegments) sVertices.insert({xyOf(segment.getSrc()), xyOf(segment.getTrg())});
    for (auto it = vSegments.begin(); it != vSegments.end(); ++it) {
        const Point2 &a = it->getSrc(), &b = it->getTrg();
        for (auto jt = std::next(it); jt != vSegments.end(); ++jt) {
            const Point2 &c = jt->getSrc(), &d = jt->getTrg();
            if (oracleOrientation(a, b, c) * oracleOrientation(a, b, d) >= 0 ||
                oracleOrientation(c, d, a) * oracleOrientation(c, d, b) >= 0) {
                continue;
            }
            const ExactVector u(b, a), v(d, c), w(c, a);
            const mpq_class t = exactCross(w, v) / exactCross(u, v);
            const mpq_class x = mpq_class(a.x()) + t * u.x, y = mpq_class(a.y()) + t * u.y;
            const Point2 crossing(x.get_d(), y.get_d(), 0);
            if (mpq_class(crossing.x()) != x || mpq_class(crossing.y()) != y) return std::nullopt;
            for (const XY& xy : sVertices) {
                const double distance = std::hypot(xy.first - crossing.x(), xy.second - crossing.y());
                if (distance > 0.0 && distance < 1e-5) return std::nullopt;
            }
            sVertices.insert(xyOf(crossing));
        }
    }
    std::set<Ends> sEdges;
    for (const Segment2& segment : vSegments) {
        const Point2 &src = segment.getSrc(), &trg = segment.getTrg();
        const auto bends = [&](const XY& xy) {
            const Point2 place(xy.first, xy.second, 0);
            return oracleOrientation(src, trg, place) != 0 && LUMO_TARO25D::isBeside(src, trg, place);
        };
        if (std::any_of(sVertices.begin(), sVertices.end(), bends)) return std::nullopt;
        const Ends ends = endsOf(src, trg);
        const XY* pPrevious = nullptr;
        for (auto it = sVertices.lower_bound(ends.first); it != sVertices.end() && *it <= ends.second; ++it) {
            if (oracleOrientation(segment.getSrc(), segment.getTrg(), Point2(it->first, it->second, 0)) != 0) continue;
            if (pPrevious) sEdges.emplace(*pPrevious, *it);
            pPrevious = &*it;
        }
    }
    return sEdges;
}
