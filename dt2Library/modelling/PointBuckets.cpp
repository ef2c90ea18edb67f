// Buckets of points in triangles.
//
// A bucket is a list through the array of places. The places are in spatial order, so that those of a triangle are near
// each other in memory. A new vertex moves only the places of the triangles around it, and one pass over these finds
// their new triangles and the farthest place of each (Heller 1990; Garland and Heckbert 1995). Entries of the queue
// whose triangle has changed since are skipped by their version.
//
// Distances are computed from a triangle's plane in plain arithmetic. The exact distances, by getHeightInside() as
// clients get them, differ from these by no more than a slack that depends on the triangle's shape. So only triangles
// with a place close to the limit are measured exactly before the limit counts as met.

#include "modelling/PointBuckets.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/walk.h"
#include "modelling/TrianglePlane.h"

namespace LUMO_TARO25D {

namespace {

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

/// Begins the list of the triangles around a vertex of the hull at its hull edge.
void startAtHull(std::vector<Triangle2*>& vTriangles, const Point2* pVtx) {
    const auto isFirst = [pVtx](const Triangle2* pT) {
        return !pT->getOppositeTriangle(incIndexBy2(indexOfVertex(pT, pVtx)));
    };
    const auto first = std::find_if(vTriangles.begin(), vTriangles.end(), isFirst);
    if (first != vTriangles.end()) std::rotate(vTriangles.begin(), first, vTriangles.end());
}

}  // namespace

PointBuckets::PointBuckets(Dt2& mesh, double maxError) : mesh_(mesh), maxError_(maxError), fan_(mesh.getGeomTest()) {}

void PointBuckets::clear() {
    mBuckets_ = PointerMap<Bucket>();
    clearQueue();
}

void PointBuckets::add(std::uint32_t k, const Triangle2* pT) {
    Bucket& bucket = mBuckets_[pT];
    vPlaces_[k].next = bucket.first;
    bucket.first = k;
}

// ---------------------------------------------------------------------------------------------------------------------
// Moving

void PointBuckets::takeFrom(const std::vector<Triangle2*>& vTriangles) {
    for (const Triangle2* pT : vTriangles) {
        Bucket& bucket = mBuckets_[pT];
        for (std::uint32_t k = bucket.first; k != NONE; k = vPlaces_[k].next) vMoving_.push_back(k);
        bucket = {NONE, bucket.version + 1, 0.0};
    }
}

size_t PointBuckets::findHolder(std::uint32_t k, const std::vector<Triangle2*>& vTriangles, size_t first) const {
    const Point2 point = vPlaces_[k].getPoint();
    const size_t num = vTriangles.size();
    for (size_t n = 0; n < num; ++n) {
        const size_t i = (first + n) % num;
        if (holds(mesh_.getGeomTest(), vTriangles[i], point)) return i;
    }
    return num;
}

bool PointBuckets::giveToIfNear(const std::vector<Triangle2*>& vTriangles) {
    vPlanes_.clear();
    vWorst_.clear();
    for (Triangle2* pT : vTriangles) {
        vPlanes_.emplace_back(pT);
        vWorst_.push_back({-1.0, NONE, 0, pT});
    }
    vHolders_.clear();
    size_t i = 0;  // successive places are mostly in one triangle
    for (auto it = vMoving_.rbegin(); it != vMoving_.rend(); ++it) {
        i = findHolder(*it, vTriangles, i);
        if (i == vTriangles.size()) return false;
        const Place& place = vPlaces_[*it];
        const double distance = getDistance(vPlanes_[i].getHeight(place.x, place.y), place.z);
        if (!(distance <= maxError_)) return false;
        vWorst_[i].consider(*it, distance);
        vHolders_.push_back(static_cast<std::uint32_t>(i));
    }
    for (const std::uint32_t holder : vHolders_) {
        add(vMoving_.back(), vTriangles[holder]);
        vMoving_.pop_back();
    }
    for (i = 0; i < vTriangles.size(); ++i) {
        Bucket& bucket = mBuckets_[vTriangles[i]];
        vWorst_[i].version = ++bucket.version;
        close(bucket, vWorst_[i], vPlanes_[i].getSlack());
    }
    return true;
}

void PointBuckets::giveToFan(Point2* pVtx, std::uint32_t ofVertex) {
    vStar_.clear();
    mesh_.getIncidentTriangles(pVtx, vStar_);
    startAtHull(vStar_, pVtx);
    vOld_.clear();
    vWorst_.clear();
    for (Triangle2* pT : vStar_) {
        Bucket& bucket = mBuckets_[pT];
        vOld_.push_back(std::exchange(bucket.first, NONE));
        vWorst_.push_back({-1.0, NONE, ++bucket.version, pT});
    }
    vFirst_.assign(vStar_.size(), NONE);
    fan_.set(*pVtx, vStar_);
    const auto give = [&](std::uint32_t k) {
        Place& place = vPlaces_[k];
        const size_t i = fan_.find(place.x, place.y);
        place.next = std::exchange(vFirst_[i], k);
        vWorst_[i].consider(k, getDistance(fan_.getHeight(i, place.x, place.y), place.z));
    };
    for (std::uint32_t k : vOld_) {
        while (k != NONE) {
            const std::uint32_t next = vPlaces_[k].next;
            if (next != NONE) __builtin_prefetch(&vPlaces_[next], 1);
            if (k != ofVertex) give(k);
            k = next;
        }
    }
    for (const std::uint32_t k : vMoving_) {
        if (k != ofVertex) give(k);
    }
    vMoving_.clear();
    for (size_t i = 0; i < vStar_.size(); ++i) {
        Bucket& bucket = mBuckets_[vStar_[i]];
        bucket.first = vFirst_[i];
        close(bucket, vWorst_[i], fan_.getSlack(i));
    }
}

void PointBuckets::giveToAny(Triangle2* pT) {
    std::vector<Triangle2*> vHolders;
    for (const std::uint32_t k : vMoving_) {
        const Point2 point = vPlaces_[k].getPoint();
        int idx = -1;
        walk(&point, pT, idx, mesh_.getGeomTest());
        add(k, pT);
        vHolders.push_back(pT);
    }
    vMoving_.clear();
    for (Triangle2* pHolder : vHolders) refresh(pHolder);
}

// ---------------------------------------------------------------------------------------------------------------------
// Distances

void PointBuckets::close(Bucket& bucket, const Worst& worst, double slack) {
    bucket.bound = worst.place == NONE ? 0.0 : worst.error + slack;
    if (worst.error > std::max(maxError_, 0.0)) queue_.push(worst);
}

void PointBuckets::refresh(Triangle2* pT) {
    Bucket& bucket = mBuckets_[pT];
    Worst worst{-1.0, NONE, ++bucket.version, pT};
    const TrianglePlane plane(pT);
    for (std::uint32_t k = bucket.first; k != NONE; k = vPlaces_[k].next) {
        const Place& place = vPlaces_[k];
        worst.consider(k, getDistance(plane.getHeight(place.x, place.y), place.z));
    }
    close(bucket, worst, plane.getSlack());
}

void PointBuckets::refreshAll() {
    mesh_.forEachTriangle([this](Triangle2* pT) { refresh(pT); });
}

void PointBuckets::refreshExactly() {
    mesh_.forEachTriangle([this](Triangle2* pT) {
        Bucket& bucket = mBuckets_[pT];
        if (bucket.bound <= maxError_) return;
        Worst worst{-1.0, NONE, ++bucket.version, pT};
        for (std::uint32_t k = bucket.first; k != NONE; k = vPlaces_[k].next) worst.consider(k, getExactError(k, pT));
        close(bucket, worst, 0.0);
    });
}

bool PointBuckets::popWorst(Worst& worst) {
    while (!queue_.empty()) {
        worst = queue_.top();
        queue_.pop();
        if (mBuckets_.find(worst.pT)->version == worst.version) return true;
    }
    return false;
}

double PointBuckets::getExactError(std::uint32_t k, const Triangle2* pT) const {
    double height = 0.0;
    getHeightInside(*pT, vPlaces_[k].getPoint(), height);
    return getDistance(height, vPlaces_[k].z);
}

double PointBuckets::computeError() const {
    double largest = 0.0;
    const auto measure = [&](const void* pRecord, const Bucket& bucket) {
        const auto* pT = static_cast<const Triangle2*>(pRecord);
        for (std::uint32_t k = bucket.first; k != NONE; k = vPlaces_[k].next)
            largest = std::max(largest, getExactError(k, pT));
    };
    // Triangles with the largest bounds come first: few others can exceed their distances.
    const void* pRecord = nullptr;
    double bound = 0.0;
    mBuckets_.forEach([&](const void* pOther, const Bucket& bucket) {
        if (bucket.bound <= bound) return;
        bound = bucket.bound;
        pRecord = pOther;
    });
    if (pRecord) measure(pRecord, *mBuckets_.find(pRecord));
    mBuckets_.forEach([&](const void* pOther, const Bucket& bucket) {
        if (bucket.bound > largest) measure(pOther, bucket);
    });
    return largest;
}

}  // namespace LUMO_TARO25D
