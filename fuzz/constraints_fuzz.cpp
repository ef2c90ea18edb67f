// Constraints of every strategy that cross, overlap and run through vertices, among insertion, removal, splits and
// saving. After each input the mesh must be sound and the pieces of each graph must lead along its segments; where all
// crossings are doubles, the constraint edges must be exactly those of an oracle in rational numbers.

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "input.h"
#include "memory_file.h"
#include "support/constraint_oracle.h"
#include "support/kept.h"
#include "taro25d/MsgBase.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"

namespace {

using namespace LUMO_TARO25D;
using Segments = std::vector<Segment2>;

constexpr int MAX_STEPS = 24;
constexpr size_t MAX_POINTS = 150;
constexpr double SNAP_DISTANCE = 1e-6;

/// Notes warnings that doubles are too coarse.
struct Listener : MsgBase {
    void update(MsgType, const std::string& message, double) override {
        bGaveUp |= message.find("insufficient numeric accuracy") != std::string::npos ||
                   message.find("Double precision arithmetic") != std::string::npos;
    }
    bool bGaveUp = false;
};

class Run {
  public:
    explicit Run(Input& input) : input_(input), coordinates_(input, Frame::choose(input, Frame::NUM_ALL)) {
        mesh_.subscribe(MT_WARNING, &listener_);
    }

    void go() {
        for (int i = 0; i < MAX_STEPS && !input_.isAtEnd() && !isTooLarge(); ++i) {
            step();
            bPending_ |= !mesh_.is2D();
        }
        if (isTooLarge()) return;
        apply();
        check();
        if (!bPending_ && !listener_.bGaveUp) checkRoundTrip();
    }

  private:
    struct Request {
        ConstraintGraph2* pGraph;
        Segments vSegments;
    };

    /// Conforming segments at small angles have thousands of pieces.
    bool isTooLarge() const { return mesh_.numberOfPoints() > MAX_POINTS; }

    void step() {
        switch (input_.nextStep(8)) {
            case 0:
                return insertBulk();
            case 1:
                return remove();
            case 2:
                return split();
            case 3:
                return apply();
            case 4:
                return constrain(nextRing());
            case 5:
            case 6:
                return constrain(nextSegments());
            default:
                vPoints_.push_back(coordinates_.nextPoint());
                mesh_.insert(vPoints_.back());
        }
    }

    void insertBulk() {
        PointVector vMore(input_.below(16));
        for (Point2& point : vMore) point = coordinates_.nextPoint();
        mesh_.insert(vMore);
        vPoints_.insert(vPoints_.end(), vMore.begin(), vMore.end());
    }

    Segments nextSegments() {
        Segments vSegments;
        for (unsigned n = 1 + input_.below(5); vSegments.size() < n;) {
            const Point2 src = coordinates_.nextPoint();
            vSegments.emplace_back(src, coordinates_.nextPoint());
        }
        return vSegments;
    }
    Segments nextRing() {
        PointVector vCorners(3 + input_.below(6));
        for (Point2& corner : vCorners) corner = coordinates_.nextPoint();
        Segments vSegments;
        for (size_t i = 0; i < vCorners.size(); ++i) {
            vSegments.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
        }
        return vSegments;
    }

    void constrain(const Segments& vSegments) {
        const auto cis = static_cast<ConstraintInsertionStrategy>(input_.below(3));
        ConstraintGraph2* pGraph = mesh_.createConstraint(vSegments, cis, input_.flag());
        require(pGraph && pGraph->getInsertionStrategy() == cis, "segments make a graph");
        vRequests_.push_back({pGraph, vSegments});
        vSegments_.insert(vSegments_.end(), vSegments.begin(), vSegments.end());
        for (const Segment2& s : vSegments) vPoints_.insert(vPoints_.end(), {s.getSrc(), s.getTrg()});
        bPredictable_ &= cis == CIS_CONSTRAINED_DELAUNAY;
    }

    void apply() {
        if (mesh_.is2D()) mesh_.applyConstraintsAndZones();
        bPending_ &= !mesh_.is2D();
        const bool bConform = !mesh_.is2D() || listener_.bGaveUp || ConstraintOracle(mesh_).numEncroached() == 0;
        require(bConform, "conforming pieces are Delaunay");
    }

    void remove() {
        std::vector<Point2*> vVertices;
        mesh_.getVertexPointers(vVertices);
        if (vVertices.empty()) return;
        Point2* pVtx = vVertices[input_.below(static_cast<unsigned>(vVertices.size()))];
        const bool bRefuse = mesh_.isConstraint(pVtx);
        const Point2 old = *pVtx;
        mesh_.remove(pVtx);
        require(mesh_.numberOfPoints() + !bRefuse == vVertices.size(),
                "vertices go unless they belong to a constraint");
        if (!bRefuse) vPoints_.erase(std::remove(vPoints_.begin(), vPoints_.end(), old), vPoints_.end());
    }

    /// Splits a piece, as refinement does.
    void split() {
        std::vector<ConstraintSegment2*> vAlive;
        mesh_.getAliveConstraintSegments(vAlive);
        if (vAlive.empty() || !mesh_.is2D()) return;
        // The choice must not depend on their order, which is that of addresses.
        std::sort(vAlive.begin(), vAlive.end(), [](auto* a, auto* b) { return endsOf(*a) < endsOf(*b); });
        ConstraintSegment2* pCSeg = vAlive[input_.below(static_cast<unsigned>(vAlive.size()))];
        const Point2 &a = std::min(*pCSeg->getSrc(), *pCSeg->getTrg()),
                     &b = std::max(*pCSeg->getSrc(), *pCSeg->getTrg());
        const double t = 0.25 * input_.below(5);
        const Point2 at(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 7);
        const bool bAtEnd = at == a || at == b;
        if (const Point2* pVtx = pCSeg->insertAndSplit(at)) {
            require(!bAtEnd && *pVtx == at && !pCSeg->isAlive(), "a segment is split where it should be");
        } else {
            require(bAtEnd || listener_.bGaveUp, "a segment is not split at its ends only");
        }
        bPredictable_ = false;
    }

    /// The distance by which repeated rounding and snapping to ends may move pieces off their segments.
    double tolerance(bool bExact) const {
        double magnitude = 0;
        for (const Point2& p : vPoints_) magnitude = std::max({magnitude, std::abs(p.x()), std::abs(p.y())});
        const double ulp = magnitude * std::numeric_limits<double>::epsilon();
        return bExact ? ulp : 16 * SNAP_DISTANCE + 256 * ulp;
    }

    void check() const {
        const ConstraintOracle oracle(mesh_, listener_.bGaveUp || bPending_);
        require(oracle.check(), "constraints");
        const bool bPredictable = bPredictable_ && !listener_.bGaveUp && !bPending_;
        const auto sExpected = bPredictable ? expectedEdges(vPoints_, vSegments_) : std::nullopt;
        require(!sExpected || oracle.aliveEnds() == *sExpected, "exactly the expected edges are constraints");
        for (const Request& request : vRequests_) checkRequest(request, tolerance(sExpected.has_value()));
    }

    static void checkRequest(const Request& request, double tolerance) {
        std::vector<ConstraintSegment2*> vOriginals;
        request.pGraph->getOriginalConstraintSegments(vOriginals);
        std::set<Ends> sRequested, sOriginal;
        for (const Segment2& s : request.vSegments) {
            if (s.getSrc() != s.getTrg()) sRequested.insert(endsOf(s.getSrc(), s.getTrg()));
        }
        for (const ConstraintSegment2* pCSeg : vOriginals) sOriginal.insert(endsOf(*pCSeg));
        require(sOriginal == sRequested, "a graph has the segments that were asked for");
        require(ConstraintOracle::checkGraph(*request.pGraph, tolerance), "graph");
        if (!request.pGraph->isPolygon()) return;
        std::vector<Point2*> vVertices;
        std::vector<ConstraintSegment2*> vChain;
        request.pGraph->getPolygonVertices(vVertices);
        request.pGraph->getAliveConstraintChain(vChain);
        require(request.pGraph->isOriented() && vVertices.size() == vChain.size(),
                "a polygon is a chain of its pieces");
    }

    void checkRoundTrip() const {
        const MemoryFile file;
        Taro_2D copy;
        require(mesh_.save(file.getName().c_str()) && copy.load(file.getName().c_str()), "save and load");
        require(Kept(copy) == Kept(mesh_), "vertices and constraints are the same");
        require(copy.numberOfTriangles() == mesh_.numberOfTriangles(), "there are as many triangles");
        require(ConstraintOracle(copy).check(), "what was loaded");
    }

    Input& input_;
    Coordinates coordinates_;
    Listener listener_;
    Taro_2D mesh_;
    std::vector<Request> vRequests_;
    PointVector vPoints_;
    Segments vSegments_;
    bool bPending_ = false;     // segments wait for the first triangle
    bool bPredictable_ = true;  // the two lists determine the constraints
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    Input input(pData, size);
    return runQuietly([&] { Run(input).go(); });
}
