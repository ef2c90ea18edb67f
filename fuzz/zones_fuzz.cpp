// Zones of every kind, combined, converted, peeled, cut out and refined, while points and constraints are inserted and
// removed. Each zone is compared with the triangles that a direct application of its rule gives.

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "input.h"
#include "support/constraint_oracle.h"
#include "support/polygons.h"
#include "taro25d/AcceptExperimentalFeature.h"
#include "taro25d/MsgBase.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

namespace {

using namespace LUMO_TARO25D;
using TriangleSet = std::set<Triangle2*>;
using TriangleVector = std::vector<Triangle2*>;
using Graphs = std::vector<ConstraintGraph2*>;

constexpr int MAX_STEPS = 24;
constexpr size_t MAX_TRIANGLES = 1000;

struct Listener : MsgBase {
    void update(MsgType, const std::string& message, double) override {
        bGaveUp |= message.find("insufficient numeric accuracy") != std::string::npos;
        bLeftOut |= message.find("no start point") != std::string::npos;
    }
    bool bGaveUp = false, bLeftOut = false;
};

TriangleSet setOf(const Zone2* pZone) {
    TriangleVector vTriangles;
    pZone->getTriangles(vTriangles);
    const TriangleSet sTriangles(vTriangles.begin(), vTriangles.end());
    require(sTriangles.size() == vTriangles.size(), "each triangle once");
    return sTriangles;
}

bool holds(const Triangle2* pT, const Point2& place) {
    for (int i = 0; i < 3; ++i) {
        if (oracleOrientation(*pT->getCorner(i), *pT->getCorner((i + 1) % 3), place) < 0) return false;
    }
    return true;
}

/// Twice the area over the longest side.
double widthOf(const Triangle2* pT) {
    const Point2 &a = *pT->getCorner(0), &b = *pT->getCorner(1), &c = *pT->getCorner(2);
    return ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x())) / std::sqrt(pT->getMaxSqEdgeLen2D());
}

/// Whether no two sides meet, except neighbours at their common corner.
bool isSimple(const PointVector& vCorners) {
    const size_t n = vCorners.size();
    const auto isOn = [](const Point2& a, const Point2& b, const Point2& p) {
        return oracleOrientation(a, b, p) == 0 && !(p < std::min(a, b)) && !(std::max(a, b) < p);
    };
    for (size_t i = 0; i < n; ++i) {
        const Point2 &a = vCorners[i], &b = vCorners[(i + 1) % n];
        for (size_t j = 0; j < n; ++j) {
            const Point2 &c = vCorners[j], &d = vCorners[(j + 1) % n];
            if (j != i && j != (i + 1) % n && isOn(a, b, c)) return false;
            if (j != i && oracleOrientation(a, b, c) * oracleOrientation(a, b, d) < 0 &&
                oracleOrientation(c, d, a) * oracleOrientation(c, d, b) < 0) {
                return false;
            }
        }
    }
    return n >= 3;
}

/// Whether a corner lies next to a side that does not end there, so that rounding decides whether the polygon is
/// simple.
bool isNextToItself(const PointVector& vCorners) {
    const size_t n = vCorners.size();
    double largest = 0.0;
    for (const Point2& p : vCorners) largest = std::max({largest, std::abs(p.x()), std::abs(p.y())});
    for (size_t i = 0; i < n; ++i) {
        const Point2 &a = vCorners[i], &b = vCorners[(i + 1) % n];
        const double dx = b.x() - a.x(), dy = b.y() - a.y(), length = std::hypot(dx, dy);
        for (const Point2& p : vCorners) {
            const double along = (dx * (p.x() - a.x()) + dy * (p.y() - a.y())) / length;
            const double aside = (dx * (p.y() - a.y()) - dy * (p.x() - a.x())) / length;
            if (p != a && p != b && along > 0.0 && along < length && std::abs(aside) < 0x1p-48 * largest) return true;
        }
    }
    return false;
}

class Run {
  public:
    explicit Run(Input& input) : input_(input), coordinates_(input, Frame::choose(input, Frame::NUM_ROOMY)) {
        mesh_.subscribe(MT_WARNING, &listener_);
    }

    void go() {
        for (int i = 0; i < MAX_STEPS && !input_.isAtEnd() && !isTooLarge(); ++i) {
            step();
            establish();
        }
        if (listener_.bGaveUp || isTooLarge()) return;
        require(mesh_.checkValidity(true, "fuzz") || !mesh_.is2D(), "the mesh is valid");
        for (const Known& known : vKnown_) check(known);
    }

  private:
    /// The sets of triangles that a zone may be.
    using Expected = std::function<std::vector<TriangleSet>()>;

    struct Known {
        Zone2* pZone;
        Expected expected;
        std::vector<Zone2*> vOperands;
    };

    bool isTooLarge() const { return mesh_.numberOfTriangles() > MAX_TRIANGLES; }

    /// Establishes segments that waited for the first triangle.
    void establish() {
        if (bPending_ && mesh_.is2D()) mesh_.applyConstraintsAndZones();
        bPending_ = !mesh_.is2D();
    }

    void step() {
        switch (input_.nextStep(18)) {
            case 0:
                return insertBulk();
            case 1:
                return remove();
            case 2:
                return constrain(nextSegments(), false);
            case 3:
            case 4:
                return constrainRing();
            case 5:
            case 6:
                return createAlongGraphs();
            case 7:
                return createGrown();
            case 8:
                return createOfTriangles();
            case 9:
            case 10:
                return combine();
            case 11:
                return convert();
            case 12:
                return peel();
            case 13:
                return deleteOne();
            case 14:
                return cut();
            case 15:
                return cutOut();
            case 16:
                return refine();
            default:
                mesh_.insert(coordinates_.nextPoint());
        }
    }

    // ---- Changes of the mesh ----

    void insertBulk() {
        PointVector vMore(input_.below(16));
        for (Point2& point : vMore) point = coordinates_.nextPoint();
        mesh_.insert(vMore);
    }
    void remove() {
        std::vector<Point2*> vVertices;
        mesh_.getVertexPointers(vVertices);
        if (!vVertices.empty()) mesh_.remove(input_.oneOf(vVertices));
    }
    SegmentVector nextSegments() {
        SegmentVector vSegments;
        for (unsigned n = 1 + input_.below(3); vSegments.size() < n;) {
            const Point2 src = coordinates_.nextPoint();
            vSegments.emplace_back(src, coordinates_.nextPoint());
        }
        return vSegments;
    }
    SegmentVector nextRing() {
        PointVector vCorners(3 + input_.below(6));
        for (Point2& corner : vCorners) corner = coordinates_.nextPoint();
        return makeSides(vCorners);
    }
    void constrainRing() {
        const SegmentVector vRing = nextRing();  // a statement of its own: compilers choose the order of arguments
        constrain(vRing, input_.flag());
    }
    void constrain(const SegmentVector& vSegments, bool bOriented) {
        vGraphs_.push_back(mesh_.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, bOriented));
        require(vGraphs_.back(), "segments make a graph");
    }

    // ---- Zones by rule ----

    void add(Zone2* pZone, const Expected& expected, const std::vector<Zone2*>& vOperands = {}) {
        if (pZone) vKnown_.push_back({pZone, expected, vOperands});
    }

    TriangleSet all() const {
        TriangleVector vTriangles;
        mesh_.getTrianglePointers(vTriangles);
        return TriangleSet(vTriangles.begin(), vTriangles.end());
    }

    /// Grows a set over all edges that are not in the graphs until nothing is added.
    TriangleSet grow(TriangleSet sSome, const Graphs& vGraphs) const {
        std::vector<Triangle2*> vStack(sSome.begin(), sSome.end());
        while (!vStack.empty()) {
            Triangle2* pT = vStack.back();
            vStack.pop_back();
            for (int i = 0; i < 3; ++i) {
                Triangle2* pN = pT->getOppositeTriangle(i);
                const auto stops = [&](const ConstraintGraph2* pGraph) {
                    return pGraph->isConstraint(pT->getCorner((i + 1) % 3), pT->getCorner((i + 2) % 3));
                };
                if (!pN || std::any_of(vGraphs.begin(), vGraphs.end(), stops)) continue;
                if (sSome.insert(pN).second) vStack.push_back(pN);
            }
        }
        return sSome;
    }

    /// For each edge, how often a graph passes it from the first vertex to the second, less the passages back.
    using Passages = std::map<std::pair<Point2*, Point2*>, int>;

    static Passages countPassages(const ConstraintGraph2& graph) {
        Passages mPassages;
        std::vector<std::pair<Point2*, Point2*>> vPieces;
        graph.getDirectedPieces(vPieces);
        for (const auto& [pFrom, pTo] : vPieces) {
            ++mPassages[{pFrom, pTo}];
            --mPassages[{pTo, pFrom}];
        }
        return mPassages;
    }

    /// Whether equally many pieces begin and end at each vertex, so that the graph consists of rings.
    static bool isMadeOfRings(const Passages& mPassages) {
        std::map<Point2*, int> mBalance;
        for (const auto& [edge, numPassages] : mPassages) mBalance[edge.first] += numPassages;
        return std::all_of(mBalance.begin(), mBalance.end(), [](const auto& entry) { return entry.second == 0; });
    }

    /// The winding number of the rings around each triangle, by a walk from the hull.
    std::map<Triangle2*, int> getWindings(const Passages& mPassages) const {
        const auto numPassages = [&](const Triangle2* pT, int i) {
            const auto it = mPassages.find({pT->getCorner((i + 1) % 3), pT->getCorner((i + 2) % 3)});
            return it == mPassages.end() ? 0 : it->second;
        };
        std::map<Triangle2*, int> mWindings;
        std::vector<Triangle2*> vStack;
        const auto reach = [&](Triangle2* pT, int winding) {
            if (mWindings.emplace(pT, winding).second) vStack.push_back(pT);
        };
        for (Triangle2* pT : all()) {
            for (int i = 0; i < 3 && vStack.empty(); ++i) {
                if (!pT->getOppositeTriangle(i)) reach(pT, numPassages(pT, i));
            }
        }
        while (!vStack.empty()) {
            Triangle2* pT = vStack.back();
            vStack.pop_back();
            for (int i = 0; i < 3; ++i) {
                if (Triangle2* pN = pT->getOppositeTriangle(i)) reach(pN, mWindings[pT] - numPassages(pT, i));
            }
        }
        return mWindings;
    }

    TriangleSet along(const Graphs& vGraphs, bool bInside) const {
        TriangleSet sSeeds;
        for (const ConstraintGraph2* pGraph : vGraphs) {
            const Passages mPassages = countPassages(*pGraph);
            const bool bRings = isMadeOfRings(mPassages);
            std::map<Triangle2*, int> mWindings = getWindings(mPassages);
            for (const auto& [edge, numPassages] : mPassages) {
                Triangle2* pT = mesh_.getAdjacentTriangle(edge.first, edge.second);
                if (!pT) continue;
                const bool bIsInside = bRings ? mWindings[pT] != 0 : numPassages > 0;
                const bool bIsOutside = bRings ? mWindings[pT] == 0 : numPassages < 0;
                if (bInside ? bIsInside : bIsOutside) sSeeds.insert(pT);
            }
        }
        return grow(sSeeds, vGraphs);
    }

    /// The triangles inside the polygon of the given corners.
    bool isInsidePolygon(const ConstraintGraph2* pGraph, const TriangleSet& sZone) const {
        std::vector<Point2*> vVertices;
        pGraph->getPolygonVertices(vVertices);
        PointVector vCorners;
        for (const Point2* pVtx : vVertices) vCorners.push_back(*pVtx);
        if (!isSimple(vCorners)) return true;
        const SegmentVector vSides = makeSides(vCorners);
        const TriangleSet sAll = all();
        return std::all_of(sAll.begin(), sAll.end(),
                           [&](Triangle2* pT) { return isInside(vSides, *pT) == (sZone.count(pT) > 0); });
    }

    Graphs nextGraphs() {
        Graphs vGraphs;
        for (unsigned n = input_.below(3); !vGraphs_.empty() && vGraphs.size() < n;)
            vGraphs.push_back(input_.oneOf(vGraphs_));
        return vGraphs;
    }

    void createAlongGraphs() {
        const ZoneLocation aLocations[] = {ZL_INSIDE, ZL_OUTSIDE, ZL_BOUNDED, ZL_GLOBAL};
        const ZoneLocation location = input_.oneOf(aLocations);
        if (location == ZL_GLOBAL) {
            return add(mesh_.createZone(nullptr, location), [this] { return std::vector{all()}; });
        }
        const Graphs vGraphs = nextGraphs();
        if (vGraphs.empty()) return;
        const bool bOriented = std::all_of(vGraphs.begin(), vGraphs.end(), [](auto* p) { return p->isOriented(); });
        Zone2* pZone =
            vGraphs.size() == 1 ? mesh_.createZone(vGraphs[0], location) : mesh_.createZone(vGraphs, location);
        require(!pZone == !(mesh_.is2D() && bOriented && (vGraphs.size() == 1 || location != ZL_BOUNDED)),
                "graphs that have a direction make a zone");
        add(pZone, [=] { return std::vector{along(vGraphs, location != ZL_OUTSIDE)}; });
        if (pZone && vGraphs.size() == 1 && vGraphs[0]->isPolygon() && location != ZL_OUTSIDE && isSound()) {
            require(isInsidePolygon(vGraphs[0], setOf(pZone)), "inside is within the polygon");
        }
    }

    void createGrown() {
        const Graphs vGraphs = nextGraphs();
        const Point2 seed = coordinates_.nextPlace();
        add(mesh_.createZone(vGraphs, ZL_GROW, seed), [=] {
            std::vector<TriangleSet> vExpected;
            for (Triangle2* pT : all()) {
                if (holds(pT, seed)) vExpected.push_back(grow({pT}, vGraphs));
            }
            if (vExpected.empty()) vExpected.push_back({});
            return vExpected;
        });
    }

    // ---- Zones from zones ----

    Zone2* pickZone() { return vKnown_.empty() ? nullptr : input_.oneOf(vKnown_).pZone; }

    void combine() {
        Zone2 *pFirst = pickZone(), *pSecond = pickZone();
        struct Operation {
            Zone2* (*combine)(Zone2*, Zone2*);
            bool (*keep)(bool, bool);
        };
        static const Operation aOperations[] = {{zoneUnion, [](bool a, bool b) { return a || b; }},
                                                {zoneIntersection, [](bool a, bool b) { return a && b; }},
                                                {zoneDifference, [](bool a, bool b) { return a && !b; }},
                                                {zoneSymmetricDifference, [](bool a, bool b) { return a != b; }}};
        const Operation& operation = input_.oneOf(aOperations);
        const Expected expected = [=] {
            const TriangleSet sFirst = setOf(pFirst), sSecond = setOf(pSecond);
            TriangleSet sExpected;
            for (Triangle2* pT : all()) {
                if (operation.keep(sFirst.count(pT) > 0, sSecond.count(pT) > 0)) sExpected.insert(pT);
            }
            return std::vector{sExpected};
        };
        add(operation.combine(pFirst, pSecond), expected, {pFirst, pSecond});
    }

    /// A constraint may have been moved to a vertex next to its former edge. If that edge returns, a border along it is
    /// on the other side of the needles between both.
    TriangleSet withoutNeedles(TriangleSet sTriangles) const {
        const Bbox2 box = mesh_.computeBoundingBox();
        const double rounding = 0x1p-45 * std::max({std::abs(box.getMinX()), std::abs(box.getMaxX()),
                                                    std::abs(box.getMinY()), std::abs(box.getMaxY())});
        for (auto it = sTriangles.begin(); it != sTriangles.end();) {
            it = widthOf(*it) > rounding ? std::next(it) : sTriangles.erase(it);
        }
        return sTriangles;
    }

    /// Adds a zone just made of these triangles, to which its border confines it.
    void addMadeOf(Zone2* pZone, const TriangleSet& sExpected) {
        const bool bLeftOut = std::exchange(listener_.bLeftOut, false);
        if (!isSound()) return;
        require(pZone || sExpected.empty() || bLeftOut, "triangles make a zone");
        if (!pZone) return;
        const TriangleSet sZone = withoutNeedles(setOf(pZone)), sWanted = withoutNeedles(sExpected);
        require(bLeftOut ? std::includes(sWanted.begin(), sWanted.end(), sZone.begin(), sZone.end()) : sZone == sWanted,
                "a zone of exactly these triangles");
        const double area = pZone->getArea2D(), slack = 1e-4 * area + getSlack();
        const bool bRoomy = isRoomy(setOf(pZone));  // otherwise it may be connected by the width of a rounding error
        add(pZone, [=] {
            require(!bRoomy || std::abs(pZone->getArea2D() - area) <= slack, "a zone keeps its area");
            return std::vector{setOf(pZone)};
        });
    }

    void createOfTriangles() {
        const TriangleSet sAll = all();
        const unsigned share = input_.byte();
        Random random(input_.byte());
        TriangleSet sChosen;
        for (Triangle2* pT : sAll) {
            if (random() % 256 <= share) sChosen.insert(pT);
        }
        addMadeOf(mesh_.createZone(TriangleVector(sChosen.begin(), sChosen.end())), sChosen);
    }

    void convert() {
        Zone2* pZone = pickZone();
        if (!pZone || !isSound()) return;
        const TriangleSet sBefore = setOf(pZone);
        Zone2* pBounded = pZone->convertToBoundedZone();
        require(pZone->getZoneLocation() != ZL_INSIDE || pBounded == pZone, "a zone inside a graph is bounded");
        if (pBounded != pZone) addMadeOf(pBounded, sBefore);
    }

    void peel() {
        Zone2* pZone = pickZone();
        if (!pZone || !isSound()) return;
        const unsigned share = input_.byte();
        // The criterion must not depend on addresses.
        const auto isOff = [share](const Triangle2* pT) {
            const double sum = pT->getBarycenter().x() + 3 * pT->getBarycenter().y();
            return std::fmod(std::abs(sum) * 1000, 256) < share;
        };
        TriangleSet sLeft = setOf(pZone);
        for (bool bChanged = true; bChanged;) {
            const TriangleSet sBefore = sLeft;
            for (Triangle2* pT : sBefore) {
                const auto isBorder = [&](int i) { return !sBefore.count(pT->getOppositeTriangle(i)); };
                if ((isBorder(0) || isBorder(1) || isBorder(2)) && isOff(pT)) sLeft.erase(pT);
            }
            bChanged = sLeft.size() != sBefore.size();
        }
        const bool bVerbose = input_.flag();
        Zone2* pPeeled = peelOffIf(pZone, &isOff, bVerbose);
        listener_.bLeftOut |= !bVerbose;  // a quiet call does not say that it has left out a component
        addMadeOf(pPeeled, sLeft);
    }

    void deleteOne() {
        Zone2* pZone = pickZone();
        if (!pZone) return;
        const auto refersToIt = [&](const Known& known) {
            return std::count(known.vOperands.begin(), known.vOperands.end(), pZone) > 0;
        };
        const bool bOperand = std::any_of(vKnown_.begin(), vKnown_.end(), refersToIt);
        require(mesh_.deleteZone(pZone) == !bOperand, "all but operands can be deleted");
        if (bOperand) return;
        const auto isIt = [pZone](const Known& known) { return known.pZone == pZone; };
        vKnown_.erase(std::remove_if(vKnown_.begin(), vKnown_.end(), isIt), vKnown_.end());
    }

    // ---- Cutting and meshing ----

    /// Heights at places whose triangles are too wide for visible rounding errors.
    std::vector<Point2> sampleHeights() const {
        const TriangleSet sAll = all();
        std::vector<Point2> vSamples;
        if (!isRoomy(sAll)) return vSamples;
        const Bbox2 box = mesh_.computeBoundingBox();
        for (int i = 0; i < 36; ++i) {
            const double x = box.getMinX() + (i % 6 + 0.37) / 6 * (box.getMaxX() - box.getMinX());
            const double y = box.getMinY() + (i / 6 + 0.59) / 6 * (box.getMaxY() - box.getMinY());
            double z = 0;
            if (mesh_.getHeight(x, y, z)) vSamples.emplace_back(x, y, z);
        }
        return vSamples;
    }
    void checkHeights(const std::vector<Point2>& vSamples) const {
        for (const Point2& sample : vSamples) {
            double z = 0;
            require(mesh_.getHeight(sample.x(), sample.y(), z), "the surface is where it was");
            require(std::abs(z - sample.z()) <= 0.01 * coordinates_.scale(), "the surface keeps its height");
        }
    }
    bool isRoomy(const TriangleSet& sTriangles) const {
        return std::all_of(sTriangles.begin(), sTriangles.end(), [this](auto* pT) { return isWide(pT); });
    }
    bool isWide(const Triangle2* pT) const { return widthOf(pT) > 1e-3 * coordinates_.scale(); }

    void cut() {
        const std::vector<Point2> vSamples = sampleHeights();
        const SegmentVector vSegments = nextSegments();
        mesh_.cutTriangles(vSegments, input_.flag());
        if (listener_.bGaveUp) return;
        checkHeights(vSamples);
        require(!mesh_.is2D() || mesh_.checkValidity(true, "cut"), "the mesh is valid after a cut");
    }

    void cutOut() {
        const SegmentVector vSides = nextRing();
        PointVector vCorners;
        for (const Segment2& side : vSides) vCorners.push_back(side.getSrc());
        const bool bSimple = isSimple(vCorners);
        const std::vector<Point2> vSamples = sampleHeights();
        const size_t numPoints = mesh_.numberOfPoints();
        Zone2* pZone = mesh_.createZone_cookieCutter(vSides);
        require(bSimple || (!pZone && mesh_.numberOfPoints() == numPoints), "only simple polygons cut something out");
        if (isNextToItself(vCorners) && !pZone) return;
        if (!bSimple || !isSound() || !mesh_.is2D()) return;
        checkHeights(vSamples);
        const TriangleSet sZone = pZone ? setOf(pZone) : TriangleSet();
        for (Triangle2* pT : all()) {
            require(!isWide(pT) || isInside(vSides, *pT) == (sZone.count(pT) > 0), "what is cut out is inside");
        }
        if (pZone) addMadeOf(pZone, sZone);
    }

    void refine() {
        Zone2* pZone = pickZone();
        const double minAngle = 10.0 * input_.below(4),
                     minFraction = std::ldexp(1, -3 - static_cast<int>(input_.below(3)));
        const double maxFraction = 1.0 / (1 + input_.below(8));
        const bool bSplit = input_.flag();
        if (!pZone || !isSound() || (pZone->getZoneLocation() != ZL_INSIDE && pZone->getZoneLocation() != ZL_BOUNDED)) {
            return;
        }
        const TriangleSet sZone = setOf(pZone);
        if (sZone.empty() || !isRoomy(sZone)) return;
        const Bbox2 box = pZone->getBoundingBox();
        const double extent = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
        const double area = pZone->getArea2D();
        mesh_.refine(pZone, minAngle, minFraction * extent, maxFraction * extent, bSplit);
        if (listener_.bGaveUp) return;
        require(std::abs(pZone->getArea2D() - area) <= 1e-4 * area + getSlack(), "refinement stays in the zone");
        require(mesh_.checkZoneQuality(pZone, minAngle, "fuzz", AcceptExperimentalFeature()),
                "reasons for bad triangles");
    }

    // ---- Questions ----

    bool isSound() const { return !listener_.bGaveUp && !bPending_; }

    double getSlack() const {
        const Bbox2 box = mesh_.computeBoundingBox();
        const double extent = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
        return 1e-5 * extent + 1e-6 * extent * extent;
    }

    void check(const Known& known) const {
        const TriangleSet sZone = setOf(known.pZone);
        const std::vector<TriangleSet> vExpected = known.expected();
        require(std::count(vExpected.begin(), vExpected.end(), sZone) > 0, "the triangles of a zone");
        checkBorder(known.pZone, sZone);
        double area = 0;
        Bbox2 box;
        std::set<Point2*> sVertices;
        for (const Triangle2* pT : sZone) {
            area += pT->getArea2D();
            for (int i = 0; i < 3; ++i) {
                sVertices.insert(pT->getCorner(i));
                box.add(*pT->getCorner(i));
            }
        }
        std::vector<Point2*> vVertices;
        known.pZone->getVertices(vVertices);
        require(vVertices.size() == sVertices.size() && std::set(vVertices.begin(), vVertices.end()) == sVertices,
                "the vertices of a zone");
        require(known.pZone->getNumberOfTriangles() == sZone.size(), "the number of triangles");
        require(std::abs(known.pZone->getArea2D() - area) <= 1e-9 * area, "the area of a zone");
        const Bbox2 found = known.pZone->getBoundingBox();
        require(found.isValid() == box.isValid() && found.getMinPoint() == box.getMinPoint() &&
                    found.getMaxPoint() == box.getMaxPoint(),
                "the box of a zone");
    }

    static void checkBorder(const Zone2* pZone, const TriangleSet& sZone) {
        std::vector<Edge2> vEdges;
        std::vector<Segment2> vSegments;
        pZone->getBorderEdges(vEdges);
        pZone->getBoundarySegments(vSegments);
        std::set<std::pair<Triangle2*, int>> sExpected, sFound;
        for (Triangle2* pT : sZone) {
            for (int i = 0; i < 3; ++i) {
                if (!sZone.count(pT->getOppositeTriangle(i))) sExpected.insert({pT, i});
            }
        }
        for (const Edge2& edge : vEdges) sFound.insert({edge.getTriangle(), edge.getIndex()});
        require(sFound == sExpected && vEdges.size() == sExpected.size() && vSegments.size() == sExpected.size(),
                "the border of a zone");
    }

    Input& input_;
    Coordinates coordinates_;
    Listener listener_;
    Taro_2D mesh_;
    Graphs vGraphs_;
    std::vector<Known> vKnown_;
    bool bPending_ = true;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    Input input(pData, size);
    return runQuietly([&] { Run(input).go(); });
}
