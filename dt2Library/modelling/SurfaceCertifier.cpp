// The largest difference between two triangulated surfaces, where the vertices of one, the model, are among those of
// the other, the full surface.
//
// On the overlay of both triangulations the difference is linear in each piece, so that its extremes are at the
// vertices of the overlay: the vertices of both, and the crossings of edges. At vertices of the model the difference is
// 0; at the other vertices of the full surface it is computed directly. Crossings are found by following each edge of
// the model through the full triangulation (exact predicates; only the heights at crossings are rounded). Edges are
// followed from their smaller end, so that no rounding depends on addresses.
//
// Certification inserts, for each edge of the model on which the difference is too large, an input point next to the
// worst place, and for each triangle its worst point; then it makes all diagonals canonical and repeats. It ends
// because only input points are inserted and both triangulations are canonical: with all points inserted they are
// equal.

#include "modelling/SurfaceCertifier.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernel/GeomTest.h"
#include "kernel/flatSets.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/segmentWalk.h"
#include "modelling/Simplifier.h"
#include "support/diagnostics.h"
#include "support/shareWork.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

SurfaceCertifier::SurfaceCertifier(Taro_2D& model, const std::vector<Point2>& vPoints,
                                   const std::vector<Segment2>& vKept, Simplifier& simplifier, Progress& progress)
    : model_(model), vPoints_(vPoints), simplifier_(simplifier), progress_(progress), vInFull_(simplifier.getUsed()) {
    full_.getImpl()->getProgress().setCancelFlag(progress.getCancelFlag());
    full_.setNumCPU(model.getImpl()->getNumCPU());
    if (!vKept.empty()) full_.createConstraint(vKept, CIS_CONSTRAINED_DELAUNAY);
    std::vector<Point2> vUsed;
    for (const std::uint32_t k : vInFull_) vUsed.push_back(vPoints[k]);
    std::vector<Point2*> vHandles;
    full_.insert(vUsed, vHandles);
    if (!vKept.empty() && full_.is2D()) full_.applyConstraintsAndZones();
    full_.canonicalizeDiagonals();
    mNumbers_.reserve(vHandles.size());
    for (size_t i = 0; i < vHandles.size(); ++i) mNumbers_.add(vHandles[i], vInFull_[i]);
}

/// Calls f(i, predicates of the full surface) for each i below n, on the threads of the model.
template <class F>
void SurfaceCertifier::share(size_t n, const F& f) {
    constexpr size_t PIECE_SIZE = 1024;
    Progress silent;  // the steps of the running operation are none of these
    silent.setCancelFlag(progress_.getCancelFlag());
    shareWork(model_.getImpl()->getNumCPU(), n, PIECE_SIZE, silent, [&](size_t begin, size_t end, int) {
        GeomTest geomTest(full_.getImpl()->getMagnitude());
        for (size_t i = begin; i < end; ++i) f(i, geomTest);
    });
}

SurfaceCertifier::Difference SurfaceCertifier::followEdge(const Point2* pSrc, const Point2* pTrg,
                                                          GeomTest& geomTest) const {
    Difference worst;
    const auto note = [&worst](double difference, const Triangle2* pT) {
        if (difference > worst.error) worst = {difference, pT};
    };
    const Point2 *p = *mTwins_.find(pSrc), *q = *mTwins_.find(pTrg);
    while (p != q) {
        Triangle2* pT = nullptr;
        int i = 0;
        const Point2* pReached = leaveTowardsVertex(geomTest, p, q, pT, i);
        while (!pReached) {
            const auto& [low, high] = std::minmax(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)));
            note(std::min(getDistanceAtCrossing(*pSrc, *pTrg, low, high), std::numeric_limits<double>::max()), pT);
            if (crossEdge(geomTest, p, q, pT, i) == ORIENTATION2_COLLINEAR) pReached = pT->getCorner(i);
        }
        if (pReached != q)
            note(std::abs(getZOnSegment(*pSrc, *pTrg, pReached->x(), pReached->y()) - pReached->z()),
                 pReached->getIncidentTriangle());
        p = pReached;
    }
    return worst;
}

/// The edges of the model, each from its smaller end.
std::vector<SurfaceCertifier::ModelEdge> SurfaceCertifier::getModelEdges() const {
    const auto isLess = [](const Point2* p, const Point2* q) { return *p < *q; };
    std::vector<ModelEdge> vEdges;
    model_.getImpl()->forEachTriangle([&](const Triangle2* pT) {
        for (int i = 0; i < 3; ++i) {
            const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
            if (*pTrg < *pSrc && pT->getOppositeTriangle(i)) continue;
            vEdges.emplace_back(std::min(pSrc, pTrg, isLess), std::max(pSrc, pTrg, isLess));
        }
    });
    return vEdges;
}

/// Finds the vertices of the full surface that are those of the model. False if one of the model is none of the others.
bool SurfaceCertifier::findTwins() {
    std::vector<Point2*> vVertices;
    model_.getVertexPointers(vVertices);
    std::vector<Point2*> vTwins(vVertices.size());
    share(vTwins.size(), [&](size_t i, GeomTest&) {
        if (!mTwins_.find(vVertices[i])) vTwins[i] = full_.getImpl()->getVertexPointer(*vVertices[i]);
    });
    bool bAll = true;
    for (size_t i = 0; i < vTwins.size(); ++i) {
        if (vTwins[i]) mTwins_.add(vVertices[i], vTwins[i]);
        bAll = bAll && mTwins_.find(vVertices[i]);
    }
    return bAll;
}

std::vector<SurfaceCertifier::Difference> SurfaceCertifier::followEdges() {
    const std::vector<ModelEdge> vEdges = getModelEdges();
    std::vector<Difference> vWorst(vEdges.size());
    share(vEdges.size(),
          [&](size_t i, GeomTest& geomTest) { vWorst[i] = followEdge(vEdges[i].first, vEdges[i].second, geomTest); });
    return vWorst;
}

double SurfaceCertifier::getPointError(std::uint32_t k) const {
    double height = 0.0;
    if (!model_.getHeight(vPoints_[k].x(), vPoints_[k].y(), height)) return std::numeric_limits<double>::max();
    return std::abs(height - vPoints_[k].z());
}

std::vector<double> SurfaceCertifier::getPointErrors() {
    std::vector<double> vErrors(vInFull_.size());
    share(vInFull_.size(), [&](size_t i, GeomTest&) {
        if (!simplifier_.isVertex(vInFull_[i])) vErrors[i] = getPointError(vInFull_[i]);
    });
    return vErrors;
}

double SurfaceCertifier::computeError() {
    double largest = 0.0;
    if (!full_.is2D() || !model_.is2D()) return largest;
    if (!findTwins()) {
        warning("EfficientModel::getSurfaceError()", "a vertex of the model is none of the given points, no result");
        return std::numeric_limits<double>::quiet_NaN();
    }
    for (const Difference& worst : followEdges()) largest = std::max(largest, worst.error);
    for (const double distance : getPointErrors()) largest = std::max(largest, distance);
    return largest;
}

void SurfaceCertifier::certify(double maxError, size_t maxNumPoints) {
    if (!full_.is2D() || !model_.is2D()) return;
    for (;;) {
        model_.canonicalizeDiagonals();
        const std::vector<std::uint32_t> vMissing = findMissing(maxError);
        const bool bFull = maxNumPoints > 0 && model_.numberOfPoints() + vMissing.size() > maxNumPoints;
        if (vMissing.empty() || bFull) break;
        for (const std::uint32_t k : vMissing) simplifier_.insertAlone(k);
    }
    simplifier_.relocate();
}

std::vector<std::uint32_t> SurfaceCertifier::findMissing(double maxError) {
    findTwins();
    std::vector<std::uint32_t> vMissing;
    for (const Difference& worst : followEdges()) {
        if (worst.error > maxError) vMissing.push_back(findPointNear(worst.pT));
    }
    PointerMap<std::pair<double, std::uint32_t>> mWorst;
    const std::vector<double> vErrors = getPointErrors();
    for (size_t i = 0; i < vErrors.size(); ++i) {
        if (vErrors[i] <= maxError) continue;
        auto& worst = mWorst[model_.locate(vPoints_[vInFull_[i]])];
        if (vErrors[i] > worst.first) worst = {vErrors[i], vInFull_[i]};
    }
    mWorst.forEach([&](const void*, const auto& worst) { vMissing.push_back(worst.second); });
    std::sort(vMissing.begin(), vMissing.end());
    vMissing.erase(std::unique(vMissing.begin(), vMissing.end()), vMissing.end());
    if (!vMissing.empty() && vMissing.back() == NONE) vMissing.pop_back();
    return vMissing;
}

/// The corner of the triangle that is farthest from the model; if all its corners are in the model, that of a triangle
/// around it.
std::uint32_t SurfaceCertifier::findPointNear(const Triangle2* pT) const {
    std::vector<const Triangle2*> vAround{pT};
    AddressSet sSeen;
    sSeen.insert(pT);
    for (size_t n = 0; n < vAround.size(); ++n) {
        double largest = -1.0;
        std::uint32_t worst = NONE;
        for (int i = 0; i < 3; ++i) {
            const std::uint32_t* pNumber = mNumbers_.find(vAround[n]->getCorner(i));
            if (!pNumber || simplifier_.isVertex(*pNumber)) continue;
            const double distance = getPointError(*pNumber);
            if (distance < largest || (distance == largest && *pNumber > worst)) continue;
            largest = distance;
            worst = *pNumber;
        }
        if (worst != NONE) return worst;
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = vAround[n]->getOppositeTriangle(i);
            if (pN && sSeen.insert(pN)) vAround.push_back(pN);
        }
    }
    return NONE;
}

}  // namespace LUMO_TARO25D
