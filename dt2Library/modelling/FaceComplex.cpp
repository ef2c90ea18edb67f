// From faces to a triangulation of their convex hull.
//
// Each edge of a face either is linked to the coincident edge of another face or is open. The open edges bound the
// faces; PocketFiller triangulates the regions between them and the convex hull, holes included, and these triangles
// are linked to the faces and to each other. Faces are compared with their neighbours only: the result alone tells
// whether the faces fit together.
//
// Claim: if (1) all triangles are counterclockwise, (2) every edge joins two triangles that pass it in opposite
// directions, except for the edges of the convex hull, each of which belongs to one triangle, and (3) there are 2 n - h
// - 2 triangles for n places, h of which are on the hull, then no two triangles overlap and they cover the hull.
//
// Proof. By (2) the triangles make surfaces. A surface without border cannot be mapped to the plane with all triangles
// counterclockwise, and there is one border, the hull, which is passed once: so there is one surface. Let g be its
// genus, and u the number of fans of triangles around its vertices, at least one for each place. Euler's formula gives
// 2 u - h - 2 + 4 g triangles, so with (3) u = n and g = 0: each place has one fan, and the surface is a disc. Its
// angles add up to (n - h) 2 pi + (h - 2) pi by (3). A fan around an inner vertex turns by a positive multiple of 2 pi,
// and one at the hull by the angle of the hull there or more by such multiples; the angles of the hull add up to (h -
// 2) pi. So every fan turns by the least possible angle, and the disc lies in the plane without a fold or a branch. Its
// border is convex, therefore each place of the hull is covered once.
//
// Conversely, faces that meet in common edges and corners alone have an open border without crossings and without
// vertices inside its edges. So all its edges become edges of the mesh that fills the pockets, and (1) to (3) hold.
//
// Linear, except for the pockets, which cost the insertion of the border into a triangulation of its own.

#include "modelling/FaceComplex.h"

#include <algorithm>
#include <numeric>

#include "modelling/PocketFiller.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

FaceComplex::FaceComplex(const std::vector<Point2*>& vPlaces, const Numbers& vGiven, GeomTest& geomTest,
                         Progress& progress)
    : vPlaces_(vPlaces), vGiven_(vGiven), numGiven_(vGiven.size() / 3), geomTest_(geomTest), progress_(progress) {}

bool FaceComplex::build() {
    sortBySmallestCorner();
    if (!turnCounterclockwise()) return false;
    vOther_.assign(vCorners_.size(), NONE);
    throwIfStopped();
    Numbers vEdges(vCorners_.size());
    std::iota(vEdges.begin(), vEdges.end(), Number(0));
    return linkEdges(vEdges) && fillPockets();
}

void FaceComplex::step(size_t i) {
    constexpr size_t INTERVAL = 4096;
    if (i % INTERVAL != INTERVAL - 1) return;
    progress_.incProgress(INTERVAL);
    throwIfStopped();
}

bool FaceComplex::turnCounterclockwise() {
    for (size_t f = 0; f < numGiven_; ++f) {
        step(f);
        Number* pCorner = &vCorners_[3 * f];
        const Orientation2 ori =
            geomTest_.getOrientation2(vPlaces_[pCorner[0]], vPlaces_[pCorner[1]], vPlaces_[pCorner[2]]);
        if (ori == ORIENTATION2_COLLINEAR) return false;
        if (ori == ORIENTATION2_CW) std::swap(pCorner[1], pCorner[2]);
    }
    return true;
}

/// Sorts the faces by their smallest corners. Places are in spatial order, so neighbours come near each other in
/// memory.
void FaceComplex::sortBySmallestCorner() {
    const auto getSmallest = [this](size_t f) {
        return std::min({vGiven_[3 * f], vGiven_[3 * f + 1], vGiven_[3 * f + 2]});
    };
    Numbers vBegin(vPlaces_.size() + 1, 0);
    vCorners_.resize(vGiven_.size());
    forEachBlock(0, numGiven_, [&](size_t begin, size_t end) {
        for (size_t f = begin; f < end; ++f) ++vBegin[getSmallest(f) + 1];
    });
    std::partial_sum(vBegin.begin(), vBegin.end(), vBegin.begin());
    for (size_t f = 0; f < numGiven_; ++f) {
        step(f);
        const size_t place = 3 * static_cast<size_t>(vBegin[getSmallest(f)]++);
        std::copy_n(&vGiven_[3 * f], 3, &vCorners_[place]);
    }
}

/// Links edges with common ends, grouped by their smaller ends with a counting sort.
bool FaceComplex::linkEdges(const Numbers& vEdges) {
    Numbers vEnd(vPlaces_.size() + 1, 0);
    forEachBlock(0, vEdges.size(), [&](size_t begin, size_t end) {
        for (size_t k = begin; k < end; ++k) ++vEnd[std::min(getSrc(vEdges[k]), getTrg(vEdges[k])) + 1];
    });
    std::partial_sum(vEnd.begin(), vEnd.end(), vEnd.begin());
    LargeVector<Entry> vEntries(vEdges.size());
    forEachBlock(0, vEdges.size(), [&](size_t begin, size_t end) {
        for (size_t k = begin; k < end; ++k) {
            const auto [smaller, larger] = std::minmax({getSrc(vEdges[k]), getTrg(vEdges[k])});
            vEntries[vEnd[smaller]++] = {larger, vEdges[k]};
        }
    });
    Entry* pBegin = vEntries.data();
    for (size_t place = 0; place < vPlaces_.size(); ++place) {
        Entry* const pEnd = vEntries.data() + vEnd[place];
        if (!linkAt(pBegin, pEnd)) return false;
        pBegin = pEnd;
        if (place % 4096 == 0) throwIfStopped();
    }
    return true;
}

/// Links the edges of one smaller end; typically these are few.
bool FaceComplex::linkAt(Entry* pBegin, Entry* pEnd) {
    constexpr std::ptrdiff_t FEW = 16;
    if (pEnd - pBegin > FEW)
        std::sort(pBegin, pEnd, [](const Entry& a, const Entry& b) { return a.larger < b.larger; });
    const bool bSorted = pEnd - pBegin > FEW;
    for (const Entry* p = pBegin; p < pEnd; ++p) {
        for (const Entry* q = p + 1; q < pEnd && (!bSorted || q->larger == p->larger); ++q) {
            if (q->larger == p->larger && !linkPair(p->edge, q->edge)) return false;
        }
    }
    return true;
}

/// Links two edges; false if both have one direction, or one is linked already.
bool FaceComplex::linkPair(Number first, Number second) {
    if (getSrc(first) != getTrg(second) || vOther_[first] != NONE || vOther_[second] != NONE) return false;
    vOther_[first] = second;
    vOther_[second] = first;
    return true;
}

FaceComplex::Numbers FaceComplex::getOpenEdges() const {
    Numbers vOpen;
    for (size_t edge = 0; edge < vOther_.size(); ++edge) {
        if (vOther_[edge] == NONE) vOpen.push_back(static_cast<Number>(edge));
    }
    return vOpen;
}

bool FaceComplex::fillPockets() {
    Numbers vEdges = getOpenEdges();
    std::vector<DirectedEdge> vBorder;
    vBorder.reserve(vEdges.size());
    for (const Number edge : vEdges) vBorder.emplace_back(getSrc(edge), getTrg(edge));
    PocketFiller filler(vPlaces_);
    const size_t numEdges = vCorners_.size();
    if (!filler.fill(vBorder, vCorners_)) return false;
    vOther_.resize(vCorners_.size(), NONE);
    for (size_t edge = numEdges; edge < vCorners_.size(); ++edge) vEdges.push_back(static_cast<Number>(edge));
    return linkEdges(vEdges) && isSound(filler.getHull());
}

bool FaceComplex::isSound(std::vector<DirectedEdge> vHull) const {
    if (getNumberOfFaces() + vHull.size() + 2 != 2 * vPlaces_.size()) return false;
    std::vector<DirectedEdge> vOpen;
    for (const Number edge : getOpenEdges()) vOpen.emplace_back(getSrc(edge), getTrg(edge));
    std::sort(vOpen.begin(), vOpen.end());
    std::sort(vHull.begin(), vHull.end());
    return vOpen == vHull;
}

}  // namespace LUMO_TARO25D
