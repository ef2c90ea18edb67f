// Crossings before insertion.
//
// Where segments of one call cross often, inserting them one after the other costs a search, four new segments and a
// new triangulation of a region for each crossing. Instead the crossings become vertices in bulk, and the segments then
// run through them like through any vertex next to them.
//
// The older of two segments gives the height of their crossing, linear between the vertices on it. That height is known
// at once for a constraint of the mesh; for a segment that is no edge yet it is known when the segment has passed all
// its vertices. So crossings with segments that became edges by chance, before their turn, are left to their turn.
//
// Segments that are edges do not cross each other; so only the others are followed through the mesh, across constraints
// and past vertices, and compared with each other by their boxes. A crossing is rounded, which bends the pieces of its
// segments. This does not change the topology if the crossing is farther from all ends and other events on both
// segments than the distance at which constraints snap (SegmentInserter), and if the ends are that far from the other
// segment.
//
// O(n log n + k log k) for n segments with k crossings, plus the number of triangles that the segments cross.

#include "constraints/CrossingFinder.h"

#include <algorithm>
#include <cmath>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "constraints/SampledBoxes.h"
#include "constraints/SegmentIndex.h"
#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tolerances.h"
#include "mesh/Dt2.h"
#include "mesh/segmentWalk.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

// Few crossings are cheaper one by one: a sample of the segments gives their average number in advance. The search is
// given up if it meets more than MAX_PAIRS_EACH pairs of touching boxes for each segment and MAX_PAIRS_FOR_CROSSING for
// each crossing, or drops more than MAX_DROPPED crossings plus half of all.
constexpr size_t NUM_SAMPLES = SampledBoxes::MAX_NUM_BOXES, MIN_CROSSINGS_EACH = 6, MAX_PAIRS_OF_SAMPLE = 120;
constexpr size_t MAX_PAIRS_EACH = 20, MAX_PAIRS_FOR_CROSSING = 10, MAX_DROPPED = 1000;

}  // namespace

CrossingFinder::CrossingFinder(Dt2& mesh, const ConstraintMgr& manager) : mesh_(mesh), manager_(manager) {
    const double magnitude = mesh.getMagnitudeWith(Point2(0, 0, 0));
    geomTest_.setStaticBound(magnitude);
    clearance_ =
        std::max(4.0 * SNAP_DISTANCE, 4.0 * END_ZONE * magnitude);  // either segment may be bent, on both sides
}

std::vector<CrossingFinder::Crossing> CrossingFinder::find(const std::vector<ConstraintSegment2*>& vCSegs) {
    std::vector<Crossing> vCrossings;
    if (!areCrossingsMany(vCSegs)) return vCrossings;
    for (const ConstraintSegment2* pCSeg : vCSegs) sOwn_.insert(pCSeg);
    CancelPoint<> cancelPoint;
    for (const ConstraintSegment2* pCSeg : vCSegs) {
        cancelPoint.pass();
        if (isToBeFollowed(pCSeg)) addCarrier(pCSeg);
    }
    const auto numPending = vCarriers_.size();
    if (!crossEachOther()) return vCrossings;
    for (const Event& event : vEvents_) {
        if (event.bDropped || event.aCarriers[1] == NONE) continue;
        const double x = event.place.x(), y = event.place.y();
        const ConstraintSegment2* pOlder =
            orderByAge(vCarriers_[event.aCarriers[0]].pCSeg, vCarriers_[event.aCarriers[1]].pCSeg).first;
        const double height = getHeightOn(*pOlder->getSrc(), *pOlder->getTrg(), x, y);
        vCrossings.push_back({Point2(x, y, height), event.aCarriers[1] < numPending});
    }
    return vCrossings;
}

std::uint32_t CrossingFinder::addCarrier(const ConstraintSegment2* pCSeg) {
    const auto number = static_cast<std::uint32_t>(vCarriers_.size());
    if (!mCarriers_.add(pCSeg, number)) return *mCarriers_.find(pCSeg);
    vCarriers_.push_back(makeCarrier(pCSeg));
    return number;
}

CrossingFinder::Carrier CrossingFinder::makeCarrier(const ConstraintSegment2* pCSeg) {
    const auto [pSrc, pTrg] = getEndsByPlace(pCSeg);
    return {pCSeg, pSrc, pTrg, pTrg->x() - pSrc->x(), pTrg->y() - pSrc->y(), distance2D(*pSrc, *pTrg), {}, {}};
}

/// The distance of a point from the line of a carrier, positive on its left.
double CrossingFinder::getDistance(const Carrier& carrier, const Point2& p) {
    const double dx = p.x() - carrier.pSrc->x(), dy = p.y() - carrier.pSrc->y();
    return (carrier.dx * dy - carrier.dy * dx) / carrier.length;
}

/// The distance of the source of a carrier from the foot of a point on its line.
double CrossingFinder::getPlaceAlong(const Carrier& carrier, const Point2& p) {
    const double dx = p.x() - carrier.pSrc->x(), dy = p.y() - carrier.pSrc->y();
    return (carrier.dx * dx + carrier.dy * dy) / carrier.length;
}

// ---------------------------------------------------------------------------------------------------------------------
// Through the mesh

/// Whether a segment is an edge. Where many triangles meet at both ends the answer may be false for one that is.
bool CrossingFinder::isEdge(const ConstraintSegment2* pCSeg) {
    constexpr int MANY_TRIANGLES = 64;
    const Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
    for (int k = 0; k < 2; ++k, std::swap(pSrc, pTrg)) {
        int numLeft = MANY_TRIANGLES;
        const auto hasTarget = [&](const Triangle2* pT) {
            return pT->getCorner(0) == pTrg || pT->getCorner(1) == pTrg || pT->getCorner(2) == pTrg;
        };
        const Triangle2* pT =
            findIncidentTriangle(pSrc, [&](const Triangle2* pOther) { return hasTarget(pOther) || numLeft-- == 0; });
        if (!pT || hasTarget(pT)) return pT;
    }
    return false;
}

/// Whether a segment that is to be established can cross others.
bool CrossingFinder::isToBeFollowed(const ConstraintSegment2* pCSeg) {
    return pCSeg->isAlive() && pCSeg->getCIS() == CIS_CONSTRAINED_DELAUNAY && !isEdge(pCSeg);
}

/// Notes the constraints that a carrier crosses, and the vertices on it.
void CrossingFinder::follow(std::uint32_t i) {
    const Point2 *pSrc = vCarriers_[i].pSrc, *pTrg = vCarriers_[i].pTrg;
    for (const Point2* pFrom = pSrc; pFrom != pTrg;) {
        Triangle2* pT = nullptr;
        int k = 0;
        const Point2* pReached = leaveTowardsVertex(geomTest_, pFrom, pTrg, pT, k);
        if (pReached) {
            noteEdge(i, pFrom, pReached);
        } else {
            noteVertex(i, pT->getCorner(incIndexBy1(k)));
            noteVertex(i, pT->getCorner(incIndexBy2(k)));
        }
        while (!pReached) {
            if (mesh_.isConstraint(pT, k)) noteConstraint(i, pT, k);
            const Orientation2 side = crossEdge(geomTest_, pFrom, pTrg, pT, k);
            const Point2* pFar = pT->getCorner(side == ORIENTATION2_COLLINEAR ? k
                                               : side == ORIENTATION2_CCW     ? incIndexBy2(k)
                                                                              : incIndexBy1(k));
            if (side == ORIENTATION2_COLLINEAR) pReached = pFar;
            if (!pReached) noteVertex(i, pFar);
        }
        if (pReached != pTrg) addEvent(*pReached, i, NONE);
        pFrom = pReached;
    }
}

void CrossingFinder::noteVertex(std::uint32_t i, const Point2* pVtx) {
    if (isBeside(*vCarriers_[i].pSrc, *vCarriers_[i].pTrg, *pVtx)) addEvent(*pVtx, i, NONE);
}

/// A carrier runs along an edge.
void CrossingFinder::noteEdge(std::uint32_t i, const Point2* pFrom, const Point2* pTo) {
    const ConstraintSegment2* pCSeg = manager_.getAliveConstraintSegment(pFrom, pTo);
    if (!pCSeg || !sOwn_.contains(pCSeg)) return;
    Carrier& carrier = vCarriers_[i];
    carrier.vClosed.emplace_back(getPlaceAlong(carrier, *pFrom), getPlaceAlong(carrier, *pTo));
}

void CrossingFinder::noteConstraint(std::uint32_t i, const Triangle2* pT, int k) {
    const ConstraintSegment2* pCSeg =
        manager_.getAliveConstraintSegment(pT->getCorner(incIndexBy1(k)), pT->getCorner(incIndexBy2(k)));
    if (!sOwn_.contains(pCSeg)) {
        if (pCSeg->getCIS() == CIS_CONSTRAINED_DELAUNAY) cross(i, addCarrier(pCSeg));
        return;
    }
    const Carrier& carrier = vCarriers_[i];
    double x = 0.0, y = 0.0;
    if (getIntersectionCoordsNoRounding(*pCSeg->getSrc(), *pCSeg->getTrg(), *carrier.pSrc, *carrier.pTrg, x, y))
        addEvent(Point2(x, y, 0.0), i, NONE);
}

// ---------------------------------------------------------------------------------------------------------------------
// Crossings

/// Finds the crossings of all carriers; false if that would take too long.
bool CrossingFinder::crossEachOther() {
    const auto num = static_cast<std::uint32_t>(vCarriers_.size());  // constraints of the mesh come behind these
    std::vector<Segment2> vSegments;
    std::vector<Segment2*> vPointers;
    vSegments.reserve(num);
    for (const Carrier& carrier : vCarriers_) {
        vSegments.emplace_back(*carrier.pSrc, *carrier.pTrg);
        vPointers.push_back(&vSegments.back());
    }
    SegmentIndex index;
    index.add(vPointers);
    size_t numPairs = 0, numDropped = 0;
    for (std::uint32_t i = 0; i < num; ++i) {
        mesh_.getProgress().throwIfStopped();
        follow(i);
        const bool bAffordable = index.forEachCandidateWhile(vSegments[i], [&](size_t j) {
            if (j > i) cross(i, static_cast<std::uint32_t>(j));
            return ++numPairs <= MAX_PAIRS_EACH * num + MAX_PAIRS_FOR_CROSSING * vEvents_.size();
        });
        numDropped += keepApart(vCarriers_[i]);
        if (!bAffordable || numDropped > MAX_DROPPED + vEvents_.size() / 2) return false;
    }
    for (size_t i = num; i < vCarriers_.size(); ++i) keepApart(vCarriers_[i]);
    return true;
}

/// Up to NUM_SAMPLES segments that can cross others, taken evenly from MAX_TRIED of all.
std::vector<CrossingFinder::Carrier> CrossingFinder::takeSamples(const std::vector<ConstraintSegment2*>& vCSegs) {
    constexpr size_t MAX_TRIED = 1024;
    std::vector<const ConstraintSegment2*> vCandidates;
    for (size_t i = 0; i < vCSegs.size(); i += 1 + vCSegs.size() / MAX_TRIED) {
        if (isToBeFollowed(vCSegs[i])) vCandidates.push_back(vCSegs[i]);
    }
    std::vector<Carrier> vSamples;
    const size_t step = (vCandidates.size() + NUM_SAMPLES - 1) / NUM_SAMPLES;
    for (size_t i = 0; i < vCandidates.size(); i += step) vSamples.push_back(makeCarrier(vCandidates[i]));
    return vSamples;
}

/// Counts the crossings of some segments with all; crossings at one place count once.
bool CrossingFinder::areCrossingsMany(const std::vector<ConstraintSegment2*>& vCSegs) {
    const std::vector<Carrier> vSamples = takeSamples(vCSegs);
    if (vSamples.empty()) return false;
    std::vector<SampledBoxes::Corners> vBoxes;
    for (const Carrier& sample : vSamples) vBoxes.push_back({sample.pSrc, sample.pTrg});
    const SampledBoxes boxes(vBoxes);
    std::vector<size_t> vNumPairs(vSamples.size());
    std::vector<std::vector<double>> vvAlong(vSamples.size());  // the places of crossings on each sample
    CancelPoint<> cancelPoint;
    for (const ConstraintSegment2* pCSeg : vCSegs) {
        cancelPoint.pass();
        boxes.forEachTouching(*pCSeg->getSrc(), *pCSeg->getTrg(), [&](size_t k) {
            if (vNumPairs[k]++ >= MAX_PAIRS_OF_SAMPLE) return;
            const Carrier other = makeCarrier(pCSeg);
            if (!areOnBothSides(vSamples[k], other) || !areOnBothSides(other, vSamples[k])) return;
            if (!isToBeFollowed(pCSeg)) return;
            const double ofSrc = getDistance(vSamples[k], *other.pSrc), ofTrg = getDistance(vSamples[k], *other.pTrg);
            const double t = ofSrc / (ofSrc - ofTrg);
            const Point2 place(other.pSrc->x() + t * other.dx, other.pSrc->y() + t * other.dy, 0.0);
            vvAlong[k].push_back(getPlaceAlong(vSamples[k], place));
        });
    }
    size_t numCrossings = 0;
    for (std::vector<double>& vAlong : vvAlong) {
        std::sort(vAlong.begin(), vAlong.end());
        const auto isNear = [this](double p, double q) { return !(q - p > clearance_); };
        numCrossings += static_cast<size_t>(std::unique(vAlong.begin(), vAlong.end(), isNear) - vAlong.begin());
    }
    return numCrossings >= MIN_CROSSINGS_EACH * vSamples.size();
}

/// Whether the ends of another segment are on different sides of a carrier, and not next to its line.
bool CrossingFinder::areOnBothSides(const Carrier& carrier, const Carrier& other) {
    for (const Point2* pEnd : {other.pSrc, other.pTrg}) {
        if (!(std::abs(getDistance(carrier, *pEnd)) > clearance_)) return false;
    }
    const Orientation2 ofSrc = geomTest_.getOrientation2(carrier.pSrc, carrier.pTrg, other.pSrc);
    const Orientation2 ofTrg = geomTest_.getOrientation2(carrier.pSrc, carrier.pTrg, other.pTrg);
    return ofSrc != ORIENTATION2_COLLINEAR && ofTrg != ORIENTATION2_COLLINEAR && ofSrc != ofTrg;
}

void CrossingFinder::cross(std::uint32_t i, std::uint32_t j) {
    const Carrier &a = vCarriers_[i], &b = vCarriers_[j];
    if (!areOnBothSides(a, b) || !areOnBothSides(b, a)) return;
    double x = 0.0, y = 0.0;
    if (getIntersectionCoordsNoRounding(*a.pSrc, *a.pTrg, *b.pSrc, *b.pTrg, x, y)) addEvent(Point2(x, y, 0.0), i, j);
}

void CrossingFinder::addEvent(const Point2& place, std::uint32_t i, std::uint32_t j) {
    const auto number = static_cast<std::uint32_t>(vEvents_.size());
    vEvents_.push_back({place, {i, j}});
    vCarriers_[i].vEvents.push_back(number);
    if (j != NONE) vCarriers_[j].vEvents.push_back(number);
}

bool CrossingFinder::drop(std::uint32_t event) {
    Event& dropped = vEvents_[event];
    if (dropped.aCarriers[1] == NONE || dropped.bDropped) return false;
    dropped.bDropped = true;
    return true;
}

/// Drops the crossings next to an end, a vertex or another crossing on a carrier, and returns their number. Of
/// crossings next to each other the first stays. A crossing that was dropped before still counts, since another that
/// stays may be at its place: then none next to it stays.
size_t CrossingFinder::keepApart(const Carrier& carrier) {
    std::vector<std::pair<double, std::uint32_t>> vPlaces;
    for (const std::uint32_t event : carrier.vEvents) {
        const Point2& place = vEvents_[event].place;
        const double along = getPlaceAlong(carrier, place);
        vPlaces.emplace_back(along, event);
    }
    std::sort(vPlaces.begin(), vPlaces.end());
    size_t numDropped = 0;
    double last = 0.0;
    std::uint32_t lastEvent = NONE;
    for (const auto& [along, event] : vPlaces) {
        const bool bKept = vEvents_[event].aCarriers[1] != NONE && !vEvents_[event].bDropped;
        const auto isAround = [p = along](const auto& closed) { return closed.first < p && p < closed.second; };
        const bool bClosed = std::any_of(carrier.vClosed.begin(), carrier.vClosed.end(), isAround);
        if (!(along - last > clearance_) || bClosed) {
            numDropped += bKept ? drop(event) : lastEvent != NONE && drop(lastEvent);
            if (bKept) continue;
        }
        last = along;
        lastEvent = event;
    }
    if (lastEvent != NONE && !(carrier.length - last > clearance_)) numDropped += drop(lastEvent);
    return numDropped;
}

}  // namespace LUMO_TARO25D
