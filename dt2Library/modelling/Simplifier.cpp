// Greedy insertion, and thinning.
//
// Every point that is no vertex waits in the triangle that holds it, and every triangle knows its worst point. The insertion of
// a vertex changes only triangles around it, so that only their points move; a point moves O(log n) times on average. The
// worst points of all triangles stand in a queue (Garland and Heckbert 1995; Heller 1990 for the lists).
//
// In the loop, distances come from the plane of a triangle in plain arithmetic. Before the loop may end, all of them are computed
// by the function that gives clients their heights, and points that are too far go back into the queue; so the limit holds for
// what a client measures.
//
// Points that were needed early may be superfluous in the end. Each is removed on trial: where a point around it is then too
// far, the vertex is inserted again, at the same record. Where four points lie on one circle it may come back with the other
// diagonal, so that greedy insertion has the last word.
//
// O(n log n) for points in general position. No result depends on addresses: equal distances are ordered by the numbers of the
// points.

#include "modelling/Simplifier.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "constraints/ConstraintMgr.h"
#include "kernel/flatSets.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/walk.h"

namespace LUMO_TARO25D {

namespace {

/// Heights on the plane of a triangle, within the range of its corners.
class Plane {
  public:
    explicit Plane(const Triangle2* pT) : origin_(*pT->getCorner(0)), pT_(pT) {
        const Point2 &p = origin_, &q = *pT->getCorner(1), &r = *pT->getCorner(2);
        const double qx = q.x() - p.x(), qy = q.y() - p.y(), qz = q.z() - p.z();
        const double rx = r.x() - p.x(), ry = r.y() - p.y(), rz = r.z() - p.z();
        const double area = qx * ry - rx * qy;
        slopeX_ = (qz * ry - rz * qy) / area;
        slopeY_ = (qx * rz - rx * qz) / area;
        std::tie(min_, max_) = std::minmax({p.z(), q.z(), r.z()});
        bSound_ = std::isfinite(slopeX_) && std::isfinite(slopeY_);
    }

    double getHeight(const Point2& place) const {
        double height = 0.0;
        if (!bSound_) {
            getHeightInside(*pT_, place, height);
            return height;
        }
        height = origin_.z() + (slopeX_ * (place.x() - origin_.x()) + slopeY_ * (place.y() - origin_.y()));
        return std::clamp(height, min_, max_);
    }

  private:
    const Point2& origin_;
    const Triangle2* pT_;
    double slopeX_, slopeY_, min_, max_;
    bool bSound_;
};

/// A distance that is never infinite or NaN.
double getDistance(double a, double b) { return std::min(std::abs(a - b), std::numeric_limits<double>::max()); }

/// Whether a triangle holds a point, border included.
bool holds(GeomTest& geomTest, const Triangle2* pT, const Point2& point) {
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (geomTest.getOrientation2(pSrc, pTrg, &point) == ORIENTATION2_CW) return false;
    }
    return true;
}

}  // namespace

Simplifier::Simplifier(Dt2& mesh, const std::vector<Point2>& vPoints, const Limits& limits, Progress& progress)
    : mesh_(mesh),
      vPoints_(vPoints),
      limits_(limits),
      progress_(progress),
      vState_(vPoints.size(), WAITING),
      vNext_(vPoints.size(), NONE) {}

bool Simplifier::isFull() const { return limits_.maxNumPoints > 0 && mesh_.numberOfPoints() >= limits_.maxNumPoints; }

// ---------------------------------------------------------------------------------------------------------------------
// The beginning

void Simplifier::begin(const std::vector<Segment2>& vKept) {
    const std::vector<std::uint32_t> vPlaces = getPlaces();
    if (!vKept.empty()) mesh_.createConstraint(vKept, CIS_CONSTRAINED_DELAUNAY, false);
    const bool bPending = !vKept.empty() && !mesh_.is2D();
    std::vector<Point2> vCorners;
    const std::vector<std::uint32_t> vHull = getHullCorners(vPlaces);
    for (const std::uint32_t k : vHull) vCorners.push_back(vPoints_[k]);
    std::vector<Point2*> vHandles(vHull.size()), vNew;
    if (!vCorners.empty()) mesh_.insertBulk(PointSource(vCorners), vHandles.data(), &vNew);
    AddressSet sNew;
    for (const Point2* pVtx : vNew) sNew.insert(pVtx);
    for (size_t i = 0; i < vHull.size(); ++i) {
        vState_[vHull[i]] = sNew.contains(vHandles[i]) ? VERTEX : LEFT_OUT;
        numLeftOut_ += vState_[vHull[i]] == LEFT_OUT;
    }
    if (bPending && mesh_.is2D()) mesh_.applyConstraintsAndZones();
    if (!mesh_.is2D()) return;
    Triangle2* pT = mesh_.getOneValidTriangle();
    for (const std::uint32_t k : vPlaces) {
        if (vState_[k] == WAITING) assign(k, pT);
    }
    std::vector<Triangle2*> vTriangles;
    mesh_.getTrianglePointers(vTriangles);
    for (Triangle2* pStart : vTriangles) refresh(pStart, false);
    firstError_ = queue_.empty() ? 0.0 : queue_.top().error;
}

/// The points in the order of their places, of those at one place the first one; leaves out all others.
std::vector<std::uint32_t> Simplifier::getPlaces() {
    std::vector<std::uint32_t> vPlaces;
    vPlaces.reserve(vPoints_.size());
    for (std::uint32_t k = 0; k < vPoints_.size(); ++k) {
        if (isFinite(vPoints_[k])) {
            vPlaces.push_back(k);
        } else {
            vState_[k] = LEFT_OUT;
        }
    }
    std::sort(vPlaces.begin(), vPlaces.end(), [this](std::uint32_t a, std::uint32_t b) {
        const Point2 &p = vPoints_[a], &q = vPoints_[b];
        return p != q ? p < q : a < b;
    });
    const auto last = std::unique(vPlaces.begin(), vPlaces.end(),
                                  [this](std::uint32_t a, std::uint32_t b) { return vPoints_[a] == vPoints_[b]; });
    vPlaces.erase(last, vPlaces.end());
    std::vector<bool> vIsFirst(vPoints_.size());
    for (const std::uint32_t k : vPlaces) vIsFirst[k] = true;
    for (std::uint32_t k = 0; k < vPoints_.size(); ++k) {
        if (!vIsFirst[k]) vState_[k] = LEFT_OUT;
    }
    numLeftOut_ = vPoints_.size() - vPlaces.size();
    return vPlaces;
}

/// The corners of the convex hull (Andrew 1979); all points if they are on one line.
std::vector<std::uint32_t> Simplifier::getHullCorners(const std::vector<std::uint32_t>& vPlaces) const {
    double magnitude = 0.0;
    for (const std::uint32_t k : vPlaces)
        magnitude = std::max({magnitude, std::abs(vPoints_[k].x()), std::abs(vPoints_[k].y())});
    GeomTest geomTest(magnitude);
    std::vector<std::uint32_t> vHull;
    const auto addChain = [&](auto begin, auto end) {
        const size_t start = vHull.size();
        for (auto it = begin; it != end; ++it) {
            while (vHull.size() >= start + 2 &&
                   geomTest.getOrientation2(&vPoints_[vHull[vHull.size() - 2]], &vPoints_[vHull.back()],
                                            &vPoints_[*it]) != ORIENTATION2_CCW) {
                vHull.pop_back();
            }
            vHull.push_back(*it);
        }
        vHull.pop_back();  // the next chain begins there
    };
    if (vPlaces.size() < 3) return vPlaces;
    addChain(vPlaces.begin(), vPlaces.end());
    addChain(vPlaces.rbegin(), vPlaces.rend());
    return vHull.size() < 3 ? vPlaces : vHull;
}

/// Gives a point to its triangle; pT is where the search begins, and the triangle afterwards.
void Simplifier::assign(std::uint32_t k, Triangle2*& pT) {
    const Point2& point = vPoints_[k];
    int idx = -1;
    const int code = walk(&point, pT, idx, mesh_.getGeomTest());
    if (code == CODE_DUPLICATE || isOnKeptLine(pT, point)) {
        vState_[k] = LEFT_OUT;
        ++numLeftOut_;
        return;
    }
    Bucket& bucket = mBuckets_[pT];
    vNext_[k] = bucket.first;
    bucket.first = k;
}

bool Simplifier::isOnKeptLine(const Triangle2* pT, const Point2& point) const {
    for (int i = 0; mesh_.hasConstraints() && i < 3; ++i) {
        if (!mesh_.isConstraint(pT, i)) continue;
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (mesh_.getGeomTest().getOrientation2(pSrc, pTrg, &point) == ORIENTATION2_COLLINEAR ||
            isBeside(*pSrc, *pTrg, point)) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Insertion

void Simplifier::insertGreedily() {
    for (runQueue(); limits_.maxError >= 0.0 && !isFull(); runQueue()) {
        std::vector<Triangle2*> vTriangles;
        mesh_.getTrianglePointers(vTriangles);
        for (Triangle2* pT : vTriangles) refresh(pT, true);
        if (queue_.empty()) return;
    }
}

void Simplifier::runQueue() {
    while (!queue_.empty() && !isFull()) {
        progress_.throwIfStopped();
        const Entry worst = queue_.top();
        queue_.pop();
        const Bucket* pBucket = mBuckets_.find(worst.pT);
        if (pBucket->version != worst.version) continue;
        report(worst.error);
        insertInto(worst.point, worst.pT);
    }
    if (isFull()) queue_ = {};
}

/// By the number of points where that is the limit, otherwise by the logarithm of the error.
void Simplifier::report(double worst) {
    if (!progress_.isActive()) return;
    double done = 0.0;
    if (limits_.maxNumPoints > 0) done = double(mesh_.numberOfPoints()) / double(limits_.maxNumPoints);
    if (limits_.maxError > 0.0 && firstError_ > limits_.maxError)
        done = std::max(done, std::log(firstError_ / worst) / std::log(firstError_ / limits_.maxError));
    if (limits_.maxError == 0.0) done = std::max(done, double(mesh_.numberOfPoints()) / double(vPoints_.size()));
    const size_t num = static_cast<size_t>(1000.0 * std::clamp(done, 0.0, 0.999));
    if (num <= numReported_) return;
    progress_.incProgress(num - numReported_);
    numReported_ = num;
}

void Simplifier::insertAlone(std::uint32_t k) {
    mesh_.insert(vPoints_[k]);
    vState_[k] = VERTEX;
}

void Simplifier::relocate() {
    mBuckets_ = PointerMap<Bucket>();
    queue_ = {};
    vChosen_.clear();
    for (std::uint32_t k = 0; k < vPoints_.size(); ++k) {
        if (vState_[k] != WAITING) continue;
        Bucket& bucket = mBuckets_[mesh_.locate(vPoints_[k])];
        vNext_[k] = bucket.first;
        bucket.first = k;
    }
}

void Simplifier::insertInto(std::uint32_t k, Triangle2* pT) {
    VertexVault& vault = mesh_.getVertexVault();
    Point2* pVtx = vault.createRegisteredVertex(vPoints_[k]);
    int onEdge = -1;
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (mesh_.getGeomTest().getOrientation2(pSrc, pTrg, pVtx) == ORIENTATION2_COLLINEAR) onEdge = i;
    }
    if (onEdge < 0) {
        mesh_.initVCheckT13(pT, pVtx);
    } else if (pT->getOppositeTriangle(onEdge)) {
        mesh_.initVCheckT24(pT, pVtx, onEdge);
    } else {
        mesh_.splitHullEdge(pVtx, pT, onEdge);
    }
    mesh_.settle(pVtx);
    vault.sortIV(VertexVault::SM_IF_DUE);
    vState_[k] = VERTEX;
    vChosen_.emplace_back(k, pVtx);
    std::vector<Triangle2*> vStar;
    mesh_.getIncidentTriangles(pVtx, vStar);
    distribute(takePoints(vStar), vStar);
}

std::vector<std::uint32_t> Simplifier::takePoints(const std::vector<Triangle2*>& vTriangles) {
    std::vector<std::uint32_t> vTaken;
    for (const Triangle2* pT : vTriangles) {
        Bucket& bucket = mBuckets_[pT];
        for (std::uint32_t k = bucket.first; k != NONE; k = vNext_[k]) {
            if (vState_[k] == WAITING) vTaken.push_back(k);
        }
        bucket.first = NONE;
    }
    return vTaken;
}

void Simplifier::distribute(const std::vector<std::uint32_t>& vPoints, const std::vector<Triangle2*>& vTriangles) {
    GeomTest& geomTest = mesh_.getGeomTest();
    size_t i = 0;
    for (const std::uint32_t k : vPoints) {
        // Points that come one after the other are mostly in one triangle.
        for (size_t n = 0; n < vTriangles.size() && !holds(geomTest, vTriangles[i], vPoints_[k]); ++n)
            i = (i + 1) % vTriangles.size();
        Bucket& bucket = mBuckets_[vTriangles[i]];
        vNext_[k] = bucket.first;
        bucket.first = k;
    }
    for (Triangle2* pT : vTriangles) refresh(pT, false);
}

void Simplifier::refresh(Triangle2* pT, bool bExactly) {
    Bucket& bucket = mBuckets_[pT];
    ++bucket.version;
    Entry worst{-1.0, NONE, bucket.version, pT};
    const Plane plane(pT);
    for (std::uint32_t k = bucket.first; k != NONE; k = vNext_[k]) {
        const double distance =
            bExactly ? getExactError(k, pT) : getDistance(plane.getHeight(vPoints_[k]), vPoints_[k].z());
        if (distance > worst.error || (distance == worst.error && k < worst.point)) {
            worst.error = distance;
            worst.point = k;
        }
    }
    if (worst.error > std::max(limits_.maxError, 0.0)) queue_.push(worst);
}

double Simplifier::getExactError(std::uint32_t k, const Triangle2* pT) const {
    double height = 0.0;
    getHeightInside(*pT, vPoints_[k], height);
    return getDistance(height, vPoints_[k].z());
}

double Simplifier::computeError() const {
    double largest = 0.0;
    mBuckets_.forEach([&](const void* pRecord, const Bucket& bucket) {
        const auto* pT = static_cast<const Triangle2*>(pRecord);
        for (std::uint32_t k = bucket.first; k != NONE; k = vNext_[k])
            largest = std::max(largest, getExactError(k, pT));
    });
    return largest;
}

// ---------------------------------------------------------------------------------------------------------------------
// Thinning

void Simplifier::thin() {
    if (!(limits_.maxError >= 0.0) || isFull()) return;
    const auto vChosen = std::move(vChosen_);
    vChosen_.clear();
    for (const auto& [k, pVtx] : vChosen) {
        progress_.throwIfStopped();
        if (!mesh_.isConstraintVertex(pVtx)) tryRemoval(k, pVtx);
    }
    insertGreedily();
}

void Simplifier::tryRemoval(std::uint32_t k, Point2* pVtx) {
    std::vector<Triangle2*> vStar;
    mesh_.getIncidentTriangles(pVtx, vStar);
    std::vector<std::uint32_t> vAround = takePoints(vStar);
    mesh_.remove(pVtx);
    vState_[k] = WAITING;
    // Nothing outside the star changes; its records that are left hold the new triangles.
    const auto isDead = [](const Triangle2* pT) { return !pT->getCorner(0); };
    for (const Triangle2* pT : vStar) ++mBuckets_[pT].version;
    vStar.erase(std::remove_if(vStar.begin(), vStar.end(), isDead), vStar.end());
    GeomTest& geomTest = mesh_.getGeomTest();
    const auto find = [&](std::uint32_t point) {
        const auto it = std::find_if(vStar.begin(), vStar.end(),
                                     [&](const Triangle2* pT) { return holds(geomTest, pT, vPoints_[point]); });
        return it == vStar.end() ? nullptr : *it;
    };
    const auto isNear = [&](std::uint32_t point) {
        const Triangle2* pT = find(point);
        return pT && getExactError(point, pT) <= limits_.maxError;
    };
    const bool bSuperfluous = isNear(k) && std::all_of(vAround.begin(), vAround.end(), isNear);
    if (bSuperfluous) vAround.push_back(k);
    distribute(vAround, vStar);
    if (!bSuperfluous) insertInto(k, find(k));
}

}  // namespace LUMO_TARO25D
