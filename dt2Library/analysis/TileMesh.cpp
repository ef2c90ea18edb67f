// One tile of a large triangulation.
//
// A star equals that of the whole triangulation if no point of the whole lies inside a circumcircle of its triangles or
// beyond one of its hull edges. If moreover no missing point lies on such a circle, ties between diagonals are decided
// as in the whole (canonicalDiagonals.cpp). A point changes the star of v exactly if some disc has both on its border
// and no other point inside. With more points there are fewer such discs: a point that once did not matter never
// matters later, so it suffices to offer all points of the boxes reached at one time. (The method: Caraffa, Memari,
// Yirci, Brédif 2019, who exchange points until nothing changes.)
//
// The test whether a point matters is exact. The triangles whose circumcircles contain the point, border included,
// together with the hull edges visible from it, are connected, and begin at the point's place. They surround no vertex,
// so that a search away from that place meets none of them twice.
//
// The test whether a box is reached is conservative: it uses discs larger than the circumcircles by more than the
// rounding errors, and for three nearly collinear corners the half-plane behind the longest edge.

#include "analysis/TileMesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/hullPatch.h"
#include "mesh/walk.h"

namespace LUMO_TARO25D {

namespace {

constexpr double EPSILON = std::numeric_limits<double>::epsilon();
/// Products below this may have lost bits to underflow.
constexpr double SMALLEST_PRODUCT = 1e-280;
/// The largest relative error of a determinant from which a radius is computed.
constexpr double LARGEST_DOUBT = 1.0 / (1 << 20);
/// An upper bound for the height of such a triangle's circumcircle above its longest edge, relative to that edge.
constexpr double BULGE = 1.0 / (1 << 28);

Point2 pointAt(const double* a) { return Point2(a[0], a[1], a[2]); }

const Point2& getSrc(const Triangle2* pT, int i) { return *pT->getCorner(incIndexBy1(i)); }
const Point2& getTrg(const Triangle2* pT, int i) { return *pT->getCorner(incIndexBy2(i)); }

}  // namespace

// ---- Points ----

TileMesh::TileMesh(const double* aCoordinates, size_t num)
    : mesh_(static_cast<unsigned>(num)), dt2_(*mesh_.getImpl()), numOwn_(static_cast<int>(num)) {
    insert(aCoordinates, num);
    for (size_t k = 0; k < num; ++k) ownBox_.add(pointAt(aCoordinates + 3 * k));
}

void TileMesh::enter(Point2* pVtx) {
    if (!pVtx || pVtx->getCustomIndex() >= 0) return;
    pVtx->setCustomIndex(static_cast<int>(vWatched_.size()));
    vWatched_.push_back(isOwn(pVtx));
}

void TileMesh::insert(const double* aCoordinates, size_t num) {
    if (num == 0) return;
    std::vector<Point2*> vHandles(num);
    // The library takes a non-const pointer, but only reads.
    mesh_.insert(static_cast<int>(num), const_cast<double*>(aCoordinates), vHandles.data());
    for (Point2* pVtx : vHandles) enter(pVtx);
}

void TileMesh::offer(const double* aCoordinates, size_t num) {
    for (size_t k = 0; k < num; ++k) {
        if (k % 1024 == 0) dt2_.getProgress().throwIfStopped();
        const Point2 point = pointAt(aCoordinates + 3 * k);
        if (matters(point)) enter(mesh_.insert(point));
    }
}

bool TileMesh::matters(const Point2& point) {
    if (!dt2_.getVertexVault().getInsertionBox().isInBox(point)) return true;
    GeomTest geomTest(dt2_.getMagnitudeWith(point));
    return meetsStar(point, geomTest);
}

bool TileMesh::isWatched(const Triangle2* pT) const {
    return isWatched(pT->getCorner(0)) || isWatched(pT->getCorner(1)) || isWatched(pT->getCorner(2));
}

TileMesh::HullEdges TileMesh::findVisible(const Point2& point, Triangle2* pT, int edge, GeomTest& geomTest) const {
    HullEdges vVisible{{pT, edge}};
    determineHullPatchLeft(vVisible, pT, edge, &point, geomTest);
    determineHullPatchRight(vVisible, pT, edge, &point, geomTest);
    return vVisible;
}

bool TileMesh::meetsStar(const Point2& point, GeomTest& geomTest) {
    const auto isOutside = [&](const Triangle2* pT) { return geomTest.circleInc3state(pT, &point) == CINC2_OUTCIRCLE; };
    Triangle2* pStart = nullptr;
    const int code = dt2_.walkTo(point, pStart, geomTest);
    if (code == CODE_DUPLICATE) return false;
    vCavity_.clear();
    if (code == CODE_INSIDE) {
        vCavity_.emplace_back(pStart, nullptr);
    } else {
        for (const auto& [pT, i] : findVisible(point, pStart, code, geomTest)) {
            if (isWatched(&getSrc(pT, i)) || isWatched(&getTrg(pT, i))) return true;
            if (!isOutside(pT)) vCavity_.emplace_back(pT, nullptr);
        }
    }
    while (!vCavity_.empty()) {
        const auto [pT, pFrom] = vCavity_.back();
        vCavity_.pop_back();
        if (isWatched(pT)) return true;
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && pN != pFrom && !isOutside(pN)) vCavity_.emplace_back(pN, pT);
        }
    }
    return false;
}

// ---- Places ----

/// The natural neighbours of a place are the corners of the triangles of its cavity. If all stars of these corners are
/// those of the whole, so is the cavity: the triangle behind each of its border edges belongs to such a star too.
bool TileMesh::watch(const double* aPlaces, size_t num) {
    bool bNew = false;
    for (size_t k = 0; k < num; ++k) {
        if (k % 1024 == 0) dt2_.getProgress().throwIfStopped();
        const Point2 place(aPlaces[2 * k], aPlaces[2 * k + 1], 0.0);
        GeomTest geomTest(dt2_.getMagnitudeWith(place));
        bNew |= watchCavity(place, geomTest);
    }
    return bNew;
}

bool TileMesh::watchCavity(const Point2& place, GeomTest& geomTest) {
    Triangle2* pStart = nullptr;
    const int code = dt2_.walkTo(place, pStart, geomTest);
    if (code != CODE_INSIDE) return false;  // a vertex, or outside of the surface
    bool bNew = false;
    vCavity_.assign(1, {pStart, nullptr});
    while (!vCavity_.empty()) {
        const auto [pT, pFrom] = vCavity_.back();
        vCavity_.pop_back();
        for (int i = 0; i < 3; ++i) {
            const size_t number = static_cast<size_t>(pT->getCorner(i)->getCustomIndex());
            bNew |= !vWatched_[number];
            vWatched_[number] = true;
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && pN != pFrom && geomTest.circleInc3state(pN, &place) != CINC2_OUTCIRCLE)
                vCavity_.emplace_back(pN, pT);
        }
    }
    return bNew;
}

// ---- Reach ----

bool TileMesh::Reach::meets(const double* aBox) const {
    if (radius < 0.0) {
        const double across = ((normalX > 0.0 ? aBox[2] : aBox[0]) - x) * normalX;
        const double along = ((normalY > 0.0 ? aBox[3] : aBox[1]) - y) * normalY;
        return !(across + along < -slack - 16.0 * EPSILON * (std::abs(across) + std::abs(along)));
    }
    const double dx = std::max({0.0, aBox[0] - x, x - aBox[2]}), dy = std::max({0.0, aBox[1] - y, y - aBox[3]});
    return !(dx * dx + dy * dy > radius * radius);
}

TileMesh::Reach TileMesh::getHalfPlane(const Point2& src, const Point2& trg, double bulge) {
    const double dx = trg.x() - src.x(), dy = trg.y() - src.y(), length = std::hypot(dx, dy);
    return Reach{src.x(), src.y(), -1.0, dy / length, -dx / length, bulge * length};
}

TileMesh::Reach TileMesh::getReach(const Triangle2* pT) {
    const int longest = pT->getMaxIndex();
    const Point2& a = *pT->getCorner(longest);
    const double ux = getSrc(pT, longest).x() - a.x(), uy = getSrc(pT, longest).y() - a.y();
    const double vx = getTrg(pT, longest).x() - a.x(), vy = getTrg(pT, longest).y() - a.y();
    const double det = ux * vy - uy * vx, sum = std::abs(ux * vy) + std::abs(uy * vx), doubt = 4.0 * EPSILON * sum;
    if (!(sum > SMALLEST_PRODUCT)) return Reach{a.x(), a.y(), std::numeric_limits<double>::infinity(), 0.0, 0.0, 0.0};
    if (!(doubt < LARGEST_DOUBT * det)) return getHalfPlane(getSrc(pT, longest), getTrg(pT, longest), BULGE);
    const double sqU = ux * ux + uy * uy, sqV = vx * vx + vy * vy;
    const double x = 0.5 * (vy * sqU - uy * sqV) / det, y = 0.5 * (ux * sqV - vx * sqU) / det;
    const double radius = std::hypot(x, y);
    const double terms = (std::abs(vy) + std::abs(vx)) * sqU + (std::abs(uy) + std::abs(ux)) * sqV;
    const double slip =
        8.0 * EPSILON * (terms / det + std::abs(a.x()) + std::abs(a.y()) + radius) + 2.0 * radius * doubt / det;
    return Reach{a.x() + x, a.y() + y, radius + 2.0 * slip, 0.0, 0.0, 0.0};
}

void TileMesh::collectReaches(std::vector<Reach>& vReaches) const {
    const auto isInOwnBox = [this](const Reach& reach) {
        return reach.radius >= 0.0 && reach.x - reach.radius >= ownBox_.getMinX() &&
               reach.x + reach.radius <= ownBox_.getMaxX() && reach.y - reach.radius >= ownBox_.getMinY() &&
               reach.y + reach.radius <= ownBox_.getMaxY();
    };
    dt2_.forEachTriangle([&](const Triangle2* pT) {
        if (!isWatched(pT)) return;
        const Reach reach = getReach(pT);
        if (!isInOwnBox(reach)) vReaches.push_back(reach);
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = getSrc(pT, i), &trg = getTrg(pT, i);
            if (!pT->getOppositeTriangle(i) && (isWatched(&src) || isWatched(&trg)))
                vReaches.push_back(getHalfPlane(src, trg, 0.0));
        }
    });
}

void TileMesh::findReached(const double* aBoxes, size_t num, std::vector<std::uint8_t>& vReached) const {
    std::vector<Reach> vReaches;
    collectReaches(vReaches);
    vReached.assign(num, 0);
    for (size_t k = 0; k < num; ++k) {
        if (k % 64 == 0) dt2_.getProgress().throwIfStopped();
        const double* aBox = aBoxes + 4 * k;
        vReached[k] = std::any_of(vReaches.begin(), vReaches.end(), [aBox](const Reach& r) { return r.meets(aBox); });
    }
}

// ---- Owned triangles ----

/// Appends the points of other tiles on a triangle's circumcircle. Triangles with one circumcircle are connected over
/// their edges; a neighbour at an edge with a watched end belongs to a star itself.
void TileMesh::collectTies(const Triangle2* pT, std::vector<Point2*>& vHalo) {
    GeomTest& geomTest = dt2_.getGeomTest();
    vCavity_.assign(1, {pT, nullptr});
    while (!vCavity_.empty()) {
        const auto [pAt, pFrom] = vCavity_.back();
        vCavity_.pop_back();
        for (int i = 0; i < 3; ++i) {
            if (!isOwn(pAt->getCorner(i))) vHalo.push_back(pAt->getCorner(i));
            const Triangle2* pN = pAt->getOppositeTriangle(i);
            if (!pN || pN == pFrom || isWatched(&getSrc(pAt, i)) || isWatched(&getTrg(pAt, i))) continue;
            const Point2* d = pN->getCorner(indexOfNeighbour(pN, pAt));
            if (geomTest.circleInc3state(pAt, d) == CINC2_ZERO) vCavity_.emplace_back(pN, pAt);
        }
    }
}

void TileMesh::addOwned(Point2* pVtx, std::vector<std::int32_t>& vTriangles) const {
    std::vector<std::array<std::int32_t, 3>> vFaces;
    TriangleAroundVertexIterator it(pVtx);
    const Triangle2* const pFirst = *it;
    do {
        const int i = indexOfVertex(*it, pVtx);
        const Point2 &p = getSrc(*it, i), &q = getTrg(*it, i);
        if (*pVtx < p && *pVtx < q) vFaces.push_back({pVtx->getCustomIndex(), p.getCustomIndex(), q.getCustomIndex()});
        ++it;
    } while (*it != pFirst);
    std::sort(vFaces.begin(), vFaces.end());
    for (const auto& face : vFaces) vTriangles.insert(vTriangles.end(), face.begin(), face.end());
}

void TileMesh::getOwned(std::vector<double>& vHalo, std::vector<std::int32_t>& vTriangles) {
    vHalo.clear();
    vTriangles.clear();
    if (!is2D()) return;
    mesh_.canonicalizeDiagonals();
    std::vector<Point2*> vOthers, vVertices;
    dt2_.forEachTriangle([&](const Triangle2* pT) {
        if (isWatched(pT) && !(isOwn(pT->getCorner(0)) && isOwn(pT->getCorner(1)) && isOwn(pT->getCorner(2))))
            collectTies(pT, vOthers);
    });
    sortByPlace(vOthers);
    for (Point2* pVtx : vOthers) {
        pVtx->setCustomIndex(numOwn_ + static_cast<int>(vHalo.size() / 3));
        vHalo.insert(vHalo.end(), {pVtx->x(), pVtx->y(), pVtx->z()});
    }
    std::vector<Point2*> vOwn(static_cast<size_t>(numOwn_));
    mesh_.getVertexPointers(vVertices);
    for (Point2* pVtx : vVertices)
        if (isOwn(pVtx)) vOwn[static_cast<size_t>(pVtx->getCustomIndex())] = pVtx;
    for (Point2* pVtx : vOwn) addOwned(pVtx, vTriangles);
}

}  // namespace LUMO_TARO25D
