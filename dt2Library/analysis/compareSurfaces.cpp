// The difference of two surfaces without an overlay mesh.
//
// The zone with more triangles is the outer one. For each of its triangles, a search from neighbour to neighbour
// finds the triangles of the other triangulation that overlap it. The search crosses each edge that the common part
// of the two triangles reaches. It does not go on from a common part that is mere rounding along an edge of the outer
// triangle: since triangles are convex, all triangles that overlap the interior of the outer one are connected
// without it. The search starts at a triangle that is known to contain a corner of the outer one, since a search
// before has reached that vertex. If there is none, or it only touches the outer triangle, or that is thin, the
// search starts at the triangle that contains the centre, found by a walk from the nearest of the last searches. If
// the centre is outside the hull of the other triangulation, it starts at near hull edges. If the first triangle has
// the same corners, it is the only one. Where coordinates are so coarse that the rounded centre is outside the outer
// triangle, the search starts at all triangles in its box.
//
// Heights are linear on each common part, so that its volume and areas are simple sums (OverlayPiece). They are
// computed in coordinates relative to a corner of the outer triangle, so that no digits are lost far from the origin.
//
// The outer triangles are processed in batches of fixed size. No search starts from the result of another batch, and
// the sums of batches are added in order, so the result does not depend on threads.

#include "taro25d/compareSurfaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "analysis/HullChains.h"
#include "analysis/OverlayPiece.h"
#include "analysis/OverlaySearch.h"
#include "analysis/compareTriangles.h"
#include "analysis/zoneTriangles.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/RegionSearch.h"
#include "mesh/walk.h"
#include "support/PointerMap.h"
#include "support/diagnostics.h"
#include "support/shareWork.h"
#include "support/stopping.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "compareSurfaces()";

void add(const SurfaceDifference& part, SurfaceDifference& sums) {
    sums.cutVolume += part.cutVolume;
    sums.fillVolume += part.fillVolume;
    sums.cutArea += part.cutArea;
    sums.fillArea += part.fillArea;
    sums.unchangedArea += part.unchangedArea;
}

Bbox2 getBoxOf(const Triangle2& triangle) {
    Bbox2 box;
    for (int i = 0; i < 3; ++i) box.add(*triangle.getCorner(i));
    return box;
}

/// Whether a place near the centre of a triangle is outside it, and the triangle is not negligibly thin.
bool isRoundedOut(const LocalTriangle& triangle, const Point2& place, const Point2& origin) {
    const double x = place.x() - origin.x(), y = place.y() - origin.y(), extent = triangle.getExtent();
    const double least = std::min({triangle.getSide(0, x, y), triangle.getSide(1, x, y), triangle.getSide(2, x, y)});
    return least <= 0.0 && triangle.getSide(0, triangle.x(0), triangle.y(0)) > MIN_PIECE_AREA * extent * extent;
}

bool isWide(const LocalTriangle& triangle) {
    const double extent = triangle.getExtent();
    return triangle.getSide(0, triangle.x(0), triangle.y(0)) > MIN_WIDE_AREA * extent * extent;
}

void prefetchCorners(const Triangle2& triangle) {
    for (int i = 0; i < 3; ++i) __builtin_prefetch(triangle.getCorner(i));
}

/// The zone in which overlapping triangles are searched.
class InnerSurface {
  public:
    explicit InnerSurface(const SurfacePart& part)
        : dt2_(part.dt2), hull_(dt2_), box_(LUMO_TARO25D::getBox(part.vTriangles)) {
        if (part.vTriangles.size() == dt2_.numberOfTriangles()) return;
        mInZone_.reserve(part.vTriangles.size());
        for (const Triangle2* pT : part.vTriangles) mInZone_.add(pT, true);
    }

    const Bbox2& getBox() const { return box_; }
    bool contains(const Triangle2* pT) const { return mInZone_.empty() || mInZone_.find(pT); }
    /// Adds triangles from which all triangles that overlap outer are reached.
    void start(const Triangle2& outer, const LocalTriangle& local, RecentSearches& searches, GeomTest& geomTest,
               Reached& reached) const;

  private:
    Triangle2* getTriangleNear(const Point2& place) const;

    const Dt2& dt2_;
    HullChains hull_;
    Bbox2 box_;
    PointerMap<bool> mInZone_;  // empty if the zone has all triangles
};

Triangle2* InnerSurface::getTriangleNear(const Point2& place) const {
    const VertexVault& vault = dt2_.getVertexVault();
    return vault.getInsertionBox().isInBox(place) ? vault.getCloseTriangle(place) : dt2_.getOneValidTriangle();
}

void InnerSurface::start(const Triangle2& outer, const LocalTriangle& local, RecentSearches& searches,
                         GeomTest& geomTest, Reached& reached) const {
    const Point2 centre = outer.getBarycenter();
    if (isRoundedOut(local, centre, *outer.getCorner(0))) {
        std::vector<Triangle2*> vInBox;
        RegionSearch(dt2_).getTrianglesInBox(getBoxOf(outer), vInBox);
        for (Triangle2* pT : vInBox) reached.add(pT);
        return;
    }
    Triangle2* pT = searches.getNearest(centre);
    if (!pT) pT = getTriangleNear(centre);
    int idx = -1;
    const int code = LUMO_TARO25D::walk(&centre, pT, idx, geomTest);
    searches.add(centre, pT);
    if (code == CODE_INSIDE || code == CODE_DUPLICATE) {
        reached.add(pT);
        return;
    }
    std::vector<Triangle2*> vNear;
    hull_.getNear(getBoxOf(outer), vNear);
    for (Triangle2* pNear : vNear) reached.add(pNear);
}

class Comparison {
  public:
    Comparison(const SurfacePart& outer, const SurfacePart& inner, double threshold, double magnitude,
               Progress& progress)
        : vOuter_(outer.vTriangles), inner_(inner), threshold_(threshold), progress_(progress), magnitude_(magnitude) {}

    SurfaceDifference run(int numThreads);

  private:
    /// The state of the search through the inner surface for a batch of outer triangles.
    struct Walk {
        explicit Walk(double magnitude) : geomTest(magnitude) {}

        GeomTest geomTest;
        RecentSearches searches;
        KnownVertices vertices;
        Reached reached;
        SurfaceDifference sums;
    };

    void compare(const Triangle2& outer, Walk& walk) const;
    bool addPieces(const Triangle2& outer, const LocalTriangle& localOuter, Walk& walk) const;
    bool addIfSame(const Triangle2& outer, const Triangle2& inner, const LocalTriangle& local, Walk& walk) const;

    const std::vector<Triangle2*>& vOuter_;
    InnerSurface inner_;
    double threshold_;
    Progress& progress_;
    double magnitude_;
};

SurfaceDifference Comparison::run(int numThreads) {
    constexpr size_t TRIANGLES_IN_PIECE = 512;
    std::vector<SurfaceDifference> vOfPieces(vOuter_.size() / TRIANGLES_IN_PIECE + 1);
    shareWork(numThreads, vOuter_.size(), TRIANGLES_IN_PIECE, progress_, [&](size_t begin, size_t end, int) {
        Walk walk(magnitude_);
        for (size_t k = begin; k < end; ++k) {
            prefetchTriangles(vOuter_, k);
            compare(*vOuter_[k], walk);
        }
        vOfPieces[begin / TRIANGLES_IN_PIECE] = walk.sums;
    });
    SurfaceDifference sums;
    for (const SurfaceDifference& ofPiece : vOfPieces) add(ofPiece, sums);
    return sums;
}

void Comparison::compare(const Triangle2& outer, Walk& walk) const {
    if (!inner_.getBox().doIntersect(getBoxOf(outer))) return;
    const LocalTriangle localOuter(outer, *outer.getCorner(0));
    walk.reached.clear();
    const bool bWide = isWide(localOuter);
    for (int i = 0; bWide && i < 3 && walk.reached.size() == 0; ++i) {
        if (Triangle2* pT = walk.vertices.find(outer.getCorner(i))) walk.reached.add(pT);
    }
    if (addPieces(outer, localOuter, walk)) {
        walk.searches.add(*outer.getCorner(0), walk.reached[0]);
        return;
    }
    walk.reached.clear();
    inner_.start(outer, localOuter, walk.searches, walk.geomTest, walk.reached);
    addPieces(outer, localOuter, walk);
}

/// Adds the pieces of an outer triangle that are reached from the triangles reached so far; false if there is none.
bool Comparison::addPieces(const Triangle2& outer, const LocalTriangle& localOuter, Walk& walk) const {
    const Point2& origin = *outer.getCorner(0);
    const double originMagnitude = std::max(std::abs(origin.x()), std::abs(origin.y()));
    std::array<Triangle2*, 3> apAtCorners{};
    bool bFound = false;
    for (size_t k = 0; k < walk.reached.size(); ++k) {
        progress_.throwIfStopped();
        Triangle2* const pInner = walk.reached[k];
        if (k + 1 < walk.reached.size()) prefetchCorners(*walk.reached[k + 1]);
        if (k == 0 && addIfSame(outer, *pInner, localOuter, walk)) return true;
        const LocalTriangle localInner(*pInner, origin);
        OverlayPiece piece(localOuter, localInner);
        if (piece.isAtEdge()) continue;
        bFound = true;
        for (int i = 0; i < 3; ++i) {
            walk.reached.addIf(piece.reaches(static_cast<size_t>(i)), pInner->getOppositeTriangle(i));
            apAtCorners[i] = piece.hasOuterCorner(static_cast<size_t>(i)) ? pInner : apAtCorners[i];
        }
        if (inner_.contains(pInner)) piece.addTo(walk.sums, threshold_, originMagnitude);
    }
    for (int i = 0; i < 3; ++i) {
        if (apAtCorners[i]) walk.vertices.set(outer.getCorner(i), apAtCorners[i]);
    }
    return bFound;
}

bool Comparison::addIfSame(const Triangle2& outer, const Triangle2& inner, const LocalTriangle& local,
                           Walk& walk) const {
    for (int shift = 0; shift < 3; ++shift) {
        const auto isSame = [&](int i) { return *outer.getCorner(i) == *inner.getCorner((i + shift) % 3); };
        if (!isSame(0) || !isSame(1) || !isSame(2)) continue;
        const Point2& origin = *outer.getCorner(0);
        const LocalTriangle localInner(inner, origin);
        OverlayPiece piece(local, localInner, static_cast<size_t>(shift));
        const double originMagnitude = std::max(std::abs(origin.x()), std::abs(origin.y()));
        if (inner_.contains(&inner)) piece.addTo(walk.sums, threshold_, originMagnitude);
        return true;
    }
    return false;
}

}  // namespace

SurfaceDifference compareTriangles(const SurfacePart& before, const SurfacePart& after, double threshold,
                                   double magnitude, int numThreads, Progress& progress) {
    if (before.vTriangles.empty() || after.vTriangles.empty()) return {};
    const bool bSwap = after.vTriangles.size() > before.vTriangles.size();
    const SurfacePart &outer = bSwap ? after : before, &inner = bSwap ? before : after;
    const size_t numOuter = outer.vTriangles.size();
    progress.start("compareSurfaces", numOuter, numOuter / 8192 + 1);
    const ProgressEnd progressEnd(progress);
    SurfaceDifference sums = Comparison(outer, inner, threshold, magnitude, progress).run(numThreads);
    if (bSwap) {
        std::swap(sums.cutVolume, sums.fillVolume);
        std::swap(sums.cutArea, sums.fillArea);
    }
    progress.finish();
    return sums;
}

SurfaceDifference compareSurfaces(const Zone2* pBefore, const Zone2* pAfter, double ignoreThreshold, int numCPU) {
    if (!pBefore || !pAfter) {
        const Zone2* pZone = pBefore ? pBefore : pAfter;
        const MessageScope scope(pZone ? &pZone->getDelaunayTriangulation()->getProgress() : nullptr);
        warning(LOCATION, "A zone is NULL, nothing to do");
        constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();
        return {NOTHING, NOTHING, NOTHING, NOTHING, NOTHING};
    }
    Progress progress(pBefore->getDelaunayTriangulation()->getProgress(),
                      &pAfter->getDelaunayTriangulation()->getProgress());
    const MessageScope scope(&progress);
    const std::vector<Triangle2*> vBefore = getTrianglesOf(*pBefore);
    throwIfStopped();
    const std::vector<Triangle2*> vAfter = getTrianglesOf(*pAfter);
    throwIfStopped();
    const SurfacePart before{*pBefore->getDelaunayTriangulation(), vBefore};
    const SurfacePart after{*pAfter->getDelaunayTriangulation(), vAfter};
    const SurfaceDifference sums = compareTriangles(before, after, ignoreThreshold > 0.0 ? ignoreThreshold : 0.0,
                                                    std::max(before.dt2.getMagnitude(), after.dt2.getMagnitude()),
                                                    getNumThreads(numCPU), progress);
    if (!(sums.cutArea + sums.fillArea + sums.unchangedArea > 0.0)) {
        warning(LOCATION, "Zones do not overlap, nothing to do");
        return {};
    }
    return sums;
}

}  // namespace LUMO_TARO25D
