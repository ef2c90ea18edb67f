#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "support/exact.h"
#include "taro25d/Taro_2D.h"

// Checks a triangulation: the output of the public interface against the points inserted, with the defining
// determinants in rational numbers. Slow, and independent of the engine.
//
// Triangles that are counterclockwise and linked over whole edges, with one convex ring as their border,
// cover the inside of the ring exactly once if the numbers fit Euler's formula; if then every inner edge is
// locally Delaunay, the triangulation is Delaunay (Delaunay 1934).

/// The sign of a determinant where rounding, 1e-15 of its terms at most, cannot matter; 0 otherwise.
inline int obviousSign(double det, double sumOfTerms) {
    return std::abs(det) > 1e-10 * sumOfTerms ? (det > 0.0 ? 1 : -1) : 0;
}

/// Differences whose products of degree four neither overflow nor underflow.
inline bool isHarmless(double difference) {
    return difference == 0.0 || (std::abs(difference) > 1e-70 && std::abs(difference) < 1e70);
}

inline int oracleOrientation(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b,
                             const LUMO_TARO25D::Point2& c) {
    const double ux = a.x() - c.x(), uy = a.y() - c.y(), vx = b.x() - c.x(), vy = b.y() - c.y();
    if (isHarmless(ux) && isHarmless(uy) && isHarmless(vx) && isHarmless(vy)) {
        const int sign = obviousSign(ux * vy - uy * vx, std::abs(ux * vy) + std::abs(uy * vx));
        if (sign != 0) return sign;
    }
    return exactOrientation(a, b, c);
}

inline int oracleInCircle(const LUMO_TARO25D::Point2& a, const LUMO_TARO25D::Point2& b, const LUMO_TARO25D::Point2& c,
                          const LUMO_TARO25D::Point2& q) {
    const double ux = a.x() - q.x(), uy = a.y() - q.y(), vx = b.x() - q.x(), vy = b.y() - q.y();
    const double wx = c.x() - q.x(), wy = c.y() - q.y();
    if (isHarmless(ux) && isHarmless(uy) && isHarmless(vx) && isHarmless(vy) && isHarmless(wx) && isHarmless(wy)) {
        const double uu = ux * ux + uy * uy, vv = vx * vx + vy * vy, ww = wx * wx + wy * wy;
        const double det = uu * (vx * wy - vy * wx) + vv * (wx * uy - wy * ux) + ww * (ux * vy - uy * vx);
        const int sign = obviousSign(det, 6.0 * (uu * vv + vv * ww + ww * uu));
        if (sign != 0) return sign;
    }
    return exactInCircle(a, b, c, q);
}

/// The index of edge i of a triangle in the neighbour there; -1 if the two do not fit.
inline int indexInNeighbour(const LUMO_TARO25D::Triangle2& t, int i) {
    const LUMO_TARO25D::Triangle2* pN = t.getOppositeTriangle(i);
    for (int j = 0; j < 3; ++j) {
        if (pN->getCorner((j + 1) % 3) == t.getCorner((i + 2) % 3) &&
            pN->getCorner((j + 2) % 3) == t.getCorner((i + 1) % 3) && pN->getOppositeTriangle(j) == &t) {
            return j;
        }
    }
    return -1;
}

/// Whether the far corner of the neighbour at edge i, which fits, is not inside the circle of a triangle.
inline bool isLocallyDelaunay(const LUMO_TARO25D::Triangle2& t, int i) {
    return oracleInCircle(*t.getCorner(0), *t.getCorner(1), *t.getCorner(2),
                          *t.getOppositeTriangle(i)->getCorner(indexInNeighbour(t, i))) <= 0;
}

class DelaunayOracle {
  public:
    using Point2 = LUMO_TARO25D::Point2;
    using Triangle2 = LUMO_TARO25D::Triangle2;
    using Result = testing::AssertionResult;

    /// The points are those that were inserted, in order; points that are not finite do not count.
    DelaunayOracle(const LUMO_TARO25D::Taro_2D& mesh, const std::vector<Point2>& vInput)
        : mesh_(mesh), vInput_(vInput) {
        mesh.getTrianglePointers(vTriangles_);
        mesh.getVertexPointers(vVertices_);
        for (Point2* pVtx : vVertices_) mVertex_.emplace(*pVtx, pVtx);
        for (const Point2& point : vInput) {
            if (isFinite(point)) mFirst_.emplace(point, &point);
        }
    }

    Result check() const {
        for (const auto step : {&DelaunayOracle::checkVertices, &DelaunayOracle::checkDimension,
                                &DelaunayOracle::checkTriangles, &DelaunayOracle::checkHull}) {
            const Result result = (this->*step)();
            if (!result) return Result(result) << inputText();
        }
        return testing::AssertionSuccess();
    }

    /// Handles name the vertex at the position of each point, null for a point that is not finite.
    Result checkHandles(const std::vector<Point2*>& vHandles) const {
        if (vHandles.size() != vInput_.size()) return testing::AssertionFailure() << "number of handles";
        for (size_t i = 0; i < vInput_.size(); ++i) {
            const auto it = mVertex_.find(vInput_[i]);
            Point2* pExpected = isFinite(vInput_[i]) && it != mVertex_.end() ? it->second : nullptr;
            if (vHandles[i] != pExpected || !pExpected == isFinite(vInput_[i])) {
                return testing::AssertionFailure() << "handle " << i << inputText();
            }
        }
        return testing::AssertionSuccess();
    }

  private:
    static bool isFinite(const Point2& point) {
        return std::isfinite(point.x()) && std::isfinite(point.y()) && std::isfinite(point.z());
    }

    static std::string text(const Point2& point) {
        char aText[80];
        std::snprintf(aText, sizeof(aText), "%a %a\n", point.x(), point.y());
        return aText;
    }

    static std::string text(const Triangle2& t) {
        return "\n" + text(*t.getCorner(0)) + text(*t.getCorner(1)) + text(*t.getCorner(2));
    }

    /// Small inputs, ready for the corpus.
    std::string inputText() const {
        std::string all = "\ninput, " + std::to_string(vInput_.size()) + " points:\n";
        for (size_t i = 0; i < std::min<size_t>(vInput_.size(), 40); ++i) all += text(vInput_[i]);
        return all;
    }

    /// Every position is a vertex exactly once, with height and custom index of the point that came first.
    Result checkVertices() const {
        const size_t numExpected = mFirst_.size();
        if (mesh_.numberOfPoints() != numExpected || vVertices_.size() != numExpected ||
            mVertex_.size() != numExpected) {
            return testing::AssertionFailure()
                   << mesh_.numberOfPoints() << " points, " << vVertices_.size() << " vertices, " << mVertex_.size()
                   << " positions instead of " << numExpected;
        }
        for (const Point2* pVtx : vVertices_) {
            const auto first = mFirst_.find(*pVtx);
            if (first == mFirst_.end() || !samePoint(*pVtx, *first->second) ||
                (pVtx->getCustomIndex() != -1 &&  // as it is after insertion from an array
                 pVtx->getCustomIndex() != first->second->getCustomIndex())) {
                return testing::AssertionFailure() << "not the first at its position: " << text(*pVtx);
            }
        }
        return testing::AssertionSuccess();
    }

    Result checkDimension() const {
        bool bFlat = true;
        for (auto it = mFirst_.begin(); bFlat && it != mFirst_.end(); ++it) {
            bFlat = oracleOrientation(mFirst_.begin()->first, mFirst_.rbegin()->first, it->first) == 0;
        }
        if (mesh_.is2D() == bFlat) return testing::AssertionFailure() << "is2D() is " << mesh_.is2D();
        for (const Point2* pVtx : vVertices_) {
            const Triangle2* pT = pVtx->getIncidentTriangle();
            if (bFlat ? pT != nullptr : !pT || !pT->hasVertex(pVtx)) {
                return testing::AssertionFailure() << "incident triangle of " << text(*pVtx);
            }
        }
        return testing::AssertionSuccess();
    }

    Result checkTriangles() const {
        for (const Triangle2* pT : vTriangles_) {
            for (int i = 0; i < 3; ++i) {
                if (mVertex_.at(*pT->getCorner(i)) != pT->getCorner(i)) {
                    return testing::AssertionFailure() << "a corner is no vertex" << text(*pT);
                }
            }
            if (oracleOrientation(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)) <= 0) {
                return testing::AssertionFailure() << "not counterclockwise" << text(*pT);
            }
            for (int i = 0; i < 3; ++i) {
                const Result result = checkEdge(*pT, i);
                if (!result) return result;
            }
        }
        return testing::AssertionSuccess();
    }

    static Result checkEdge(const Triangle2& t, int i) {
        const Triangle2* pN = t.getOppositeTriangle(i);
        if (!pN) return testing::AssertionSuccess();
        if (indexInNeighbour(t, i) < 0)
            return testing::AssertionFailure() << "link over edge " << i << text(t) << text(*pN);
        if (isLocallyDelaunay(t, i)) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "edge is not Delaunay" << text(t) << text(*pN);
    }

    Result checkHull() const {
        std::map<const Point2*, const Point2*> mNext;
        for (const Triangle2* pT : vTriangles_) {
            for (int i = 0; i < 3; ++i) {
                if (pT->getOppositeTriangle(i)) continue;
                if (!mNext.emplace(pT->getCorner((i + 1) % 3), pT->getCorner((i + 2) % 3)).second) {
                    return testing::AssertionFailure() << "the border touches itself";
                }
            }
        }
        const size_t numHull = mNext.size();
        const size_t numExpected = mesh_.is2D() ? 2 * vVertices_.size() - 2 - numHull : 0;
        if (vTriangles_.size() != numExpected || mesh_.numberOfTriangles() != numExpected) {
            return testing::AssertionFailure() << vTriangles_.size() << " and " << mesh_.numberOfTriangles()
                                               << " triangles instead of " << numExpected;
        }
        // A convex ring has one vertex that is smaller than both its neighbours; more would be several turns.
        size_t numSteps = 0, numSmallest = 0;
        const Point2* a = mNext.empty() ? nullptr : mNext.begin()->first;
        for (const Point2* pStart = a; a; a = mNext.at(a) == pStart ? nullptr : mNext.at(a)) {
            const Point2 *b = mNext.at(a), *c = mNext.at(b);
            if (oracleOrientation(*a, *b, *c) < 0) return testing::AssertionFailure() << "the hull has a dent";
            numSmallest += *b < *a && *b < *c;
            if (++numSteps > numHull) break;
        }
        if (numSteps != numHull || numSmallest != mesh_.is2D()) {
            return testing::AssertionFailure() << "the border is not one convex ring";
        }
        return testing::AssertionSuccess();
    }

    const LUMO_TARO25D::Taro_2D& mesh_;
    const std::vector<Point2>& vInput_;
    std::vector<Triangle2*> vTriangles_;
    std::vector<Point2*> vVertices_;
    std::map<Point2, const Point2*> mFirst_;  // from a position to the first point of the input there
    std::map<Point2, Point2*> mVertex_;       // from a position to the vertex there
};
