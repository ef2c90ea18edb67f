// Contours, bands and profiles of a list of triangles. The list is copied into a HeightTree, and the triangles are only
// read.
//
// A contour must not pass through a corner: then every triangle has two crossings or none. If the height is that of a
// corner, it is moved up by the smallest step that avoids all corners (ContourFinder::cutAbove), as long as the
// caller allows it. The chains come from CrossingGraph, bands from BandBuilder; heights and bands are shared among
// threads, with results that do not depend on their number.
//
// A profile is the cut of the surface with a vertical plane: one segment for each triangle, sorted along the plane.

#include "taro25d/IsoContours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <sstream>
#include <tuple>

#include "analysis/BandBuilder.h"
#include "analysis/CrossingGraph.h"
#include "analysis/HeightTree.h"
#include "analysis/zoneTriangles.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "support/Progress.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/shareWork.h"
#include "support/stopping.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

// ---- Heights ----

/// A thousand units in the last place if that is below MAX_FIRST_STEP, otherwise one unit.
double getFirstStep(double height) {
    double step = getUlp(height);
    if (1000.0 * step < MAX_FIRST_STEP) step *= 1000.0;
    while (!(height + step > height)) step *= 2.0;
    return step;
}

std::string describe(const std::string& problem, double height, const std::string& rest) {
    std::ostringstream text;
    text << problem << " at height z=" << height << rest << " Use bVerbose=false to suppress this message.";
    return text.str();
}

const char* const ADVICE = ".\n      Please add a little noise and try again.";

/// Finds contours at one height after the other, with memory that it keeps. Each thread has one of its own.
class ContourFinder {
  public:
    ContourFinder(const HeightTree& tree, const Progress& progress) : tree_(tree), progress_(progress) {}

    /// Appends the contours at a height; false if they cannot be made. Sets problem to the text of a warning, if there
    /// is one.
    bool find(double height, bool bAutoAdjustHeight, std::vector<std::vector<Segment2>>& vvContours,
              std::string& problem);

  private:
    bool cutAt(double height);
    void cutAbove(double& height, std::string& problem);

    const HeightTree& tree_;
    const Progress& progress_;
    std::vector<Triangle2*> vCut_;  // the triangles that the height cuts
    CrossingGraph graph_;
};

/// Collects the triangles that a height cuts; false if one of their corners has that height.
bool ContourFinder::cutAt(double height) {
    vCut_.clear();
    tree_.getElements(height, vCut_);
    bool bThroughCorner = false;
    for (size_t k = 0; k < vCut_.size() && !bThroughCorner; ++k) {
        progress_.throwIfStopped();
        prefetchTriangles(vCut_, k);
        for (int i = 0; i < 3; ++i) bThroughCorner = bThroughCorner || vCut_[k]->getCorner(i)->z() == height;
    }
    return !bThroughCorner;
}

/// Moves the height up by the smallest step, doubled from the first one on, at which it is that of no corner.
void ContourFinder::cutAbove(double& height, std::string& problem) {
    double step = getFirstStep(height);
    while (!cutAt(height + step)) step *= 2.0;
    TARO_ASSERT_TEXT(height + step > height, "height+add>height");
    std::ostringstream rest;
    rest << ". Adding " << step << " automatically.\n     ";
    problem = describe("Degenerate intersection", height, rest.str());
    height += step;
}

bool ContourFinder::find(double height, bool bAutoAdjustHeight, std::vector<std::vector<Segment2>>& vvContours,
                         std::string& problem) {
    if (!cutAt(height)) {
        if (!bAutoAdjustHeight) {
            problem = describe("Degenerate intersection", height, ADVICE);
            return false;
        }
        cutAbove(height, problem);
    }
    graph_.start(height, vCut_.size());
    for (size_t k = 0; k < vCut_.size(); ++k) {
        progress_.throwIfStopped();
        prefetchTriangles(vCut_, k);
        if (graph_.add(*vCut_[k])) continue;
        problem = describe("Bad numerical accuracy", height, ADVICE);
        return false;
    }
    std::vector<std::vector<Segment2>> vvFound;
    graph_.appendPolylines(vvFound);
    reserveMore(vvContours, vvFound.size());
    std::move(vvFound.begin(), vvFound.end(), std::back_inserter(vvContours));
    return true;
}

void warnOf(const std::string& problem, bool bVerbose) {
    if (bVerbose && !problem.empty()) warning("IsoContours::getContours()", problem);
}

// ---- Profiles ----

/// A vertical plane along a direction. Coordinates are multiplied by an eighth, so that nothing overflows.
class VerticalPlane {
  public:
    VerticalPlane(const Point2& point, const Vector2& direction) : point_(point), direction_(direction) {}

    /// Positive to the left of the plane, 0 on it.
    double sideOf(const Point2& point) const {
        return direction_.x() * (0.125 * point.y() - 0.125 * point_.y()) -
               direction_.y() * (0.125 * point.x() - 0.125 * point_.x());
    }
    /// Increases along the direction.
    double positionOf(const Point2& point) const {
        return direction_.x() * (0.125 * point.x()) + direction_.y() * (0.125 * point.y());
    }
    /// Appends the segment in which the plane cuts a triangle, or passes along one of its edges.
    void cut(const Triangle2& triangle, std::vector<Segment2>& vSegments) const;
    /// The order of segments along the plane.
    bool isBefore(const Segment2& a, const Segment2& b) const {
        return std::make_tuple(positionOf(a.getSrc()), positionOf(a.getTrg())) <
               std::make_tuple(positionOf(b.getSrc()), positionOf(b.getTrg()));
    }

  private:
    Point2 point_;
    Vector2 direction_;
};

/// Interpolates from the left end, so that both triangles of an edge get the same point.
Point2 pointBetween(const Point2& left, double sideOfLeft, const Point2& right, double sideOfRight) {
    const double t = sideOfLeft / (sideOfLeft - sideOfRight);
    return Point2(interpolate(left.x(), right.x(), t), interpolate(left.y(), right.y(), t),
                  interpolate(left.z(), right.z(), t));
}

void VerticalPlane::cut(const Triangle2& triangle, std::vector<Segment2>& vSegments) const {
    std::array<Point2, 3> aPoint;
    std::array<double, 3> aSide;
    for (int i = 0; i < 3; ++i) aSide[i] = sideOf(*triangle.getCorner(i));
    size_t numPoints = 0;
    for (int i = 0; i < 3; ++i) {
        const int j = incIndexBy1(i);
        const Point2 &a = *triangle.getCorner(i), &b = *triangle.getCorner(j);
        if (aSide[i] == 0.0) aPoint[numPoints++].set(a.x(), a.y(), a.z());
        if (aSide[i] > 0.0 && aSide[j] < 0.0) aPoint[numPoints++] = pointBetween(a, aSide[i], b, aSide[j]);
        if (aSide[i] < 0.0 && aSide[j] > 0.0) aPoint[numPoints++] = pointBetween(b, aSide[j], a, aSide[i]);
    }
    if (numPoints != 2 || aPoint[0] == aPoint[1]) return;
    const bool bForward = positionOf(aPoint[0]) < positionOf(aPoint[1]);
    vSegments.emplace_back(aPoint[bForward ? 0 : 1], aPoint[bForward ? 1 : 0]);
}

bool isSameSegment(const Segment2& a, const Segment2& b) {
    return samePoint(a.getSrc(), b.getSrc()) && samePoint(a.getTrg(), b.getTrg());
}

/// A direction scaled to about length 1; the x axis if the vector is zero or not finite.
Vector2 toDirection(const Vector2& v) {
    const Vector2 direction(v.x(), v.y(), 0.0);
    const bool bUsable = std::isfinite(v.x()) && std::isfinite(v.y()) && !direction.isDegenerate();
    return bUsable ? direction / getBinaryScale(direction) : Vector2(1.0, 0.0, 0.0);
}

std::vector<Triangle2*> trianglesOf(const Taro_2D& surface) {
    std::vector<Triangle2*> vTriangles;
    surface.getTrianglePointers(vTriangles);
    return vTriangles;
}

}  // namespace

IsoContours::IsoContours(const std::vector<Triangle2*>& vTriangles)
    : direction_(1.0, 0.0, 0.0),
      pTree_(std::make_unique<HeightTree>(vTriangles)),
      pProgress_(std::make_unique<Progress>()) {}

IsoContours::IsoContours(const std::vector<Point2>& vPoints, const Vector2& direction)
    : direction_(toDirection(direction)),
      pSurface_(std::make_unique<Taro_2D>()),
      pProgress_(std::make_unique<Progress>()) {
    pSurface_->insert(vPoints);
    pTree_ = std::make_unique<HeightTree>(trianglesOf(*pSurface_));
}

IsoContours::~IsoContours() = default;

int IsoContours::setNumCPU(int n) { return numCPU_ = getNumThreads(n); }

void IsoContours::setCancelFlag(const std::atomic<bool>* pFlag) { pProgress_->setCancelFlag(pFlag); }

void IsoContours::subscribe(MsgType type, MsgBase* pListener) { pProgress_->subscribe(type, pListener); }

void IsoContours::unsubscribe(MsgType type, MsgBase* pListener) { pProgress_->unsubscribe(type, pListener); }

double IsoContours::getMinHeight() const { return pTree_->isEmpty() ? -1.0 : pTree_->getMin(); }

double IsoContours::getMaxHeight() const { return pTree_->isEmpty() ? -1.0 : pTree_->getMax(); }

bool IsoContours::getContours(double height, std::vector<std::vector<Segment2>>& vvContours, bool bVerbose,
                              bool bAutoAdjustHeight) const {
    Progress progress(*pProgress_);
    const MessageScope scope(&progress);
    std::string problem;
    const bool bFound = ContourFinder(*pTree_, progress).find(height, bAutoAdjustHeight, vvContours, problem);
    warnOf(problem, bVerbose);
    return bFound;
}

bool IsoContours::getContours(const std::vector<double>& vHeights,
                              std::vector<std::vector<std::vector<Segment2>>>& vvvContours, bool bVerbose) const {
    Progress progress(*pProgress_);
    const MessageScope scope(&progress);
    const ProgressEnd progressEnd(progress);
    progress.start("getContours", vHeights.size());
    std::vector<std::vector<std::vector<Segment2>>> vvvFound(vHeights.size());
    std::vector<std::string> vProblems(vHeights.size());
    std::vector<char> vSuccess(vHeights.size(), 0);
    std::vector<std::unique_ptr<ContourFinder>> vFinders(
        static_cast<size_t>(getNumSharing(numCPU_, vHeights.size(), 1)));
    shareWork(numCPU_, vHeights.size(), 1, progress, [&](size_t k, size_t, int threadIdx) {
        std::unique_ptr<ContourFinder>& pFinder = vFinders[static_cast<size_t>(threadIdx)];
        if (!pFinder) pFinder = std::make_unique<ContourFinder>(*pTree_, progress);
        vSuccess[k] = pFinder->find(vHeights[k], true, vvvFound[k], vProblems[k]) ? 1 : 0;
    });
    for (const std::string& problem : vProblems) warnOf(problem, bVerbose);
    reserveMore(vvvContours, vvvFound.size());
    std::move(vvvFound.begin(), vvvFound.end(), std::back_inserter(vvvContours));
    progress.finish();
    return std::count(vSuccess.begin(), vSuccess.end(), 0) == 0;
}

bool IsoContours::getBands(const std::vector<double>& vLevels, std::vector<ContourBand>& vBands, bool bVerbose) const {
    constexpr const char* LOCATION = "IsoContours::getBands()";
    Progress progress(*pProgress_);
    const MessageScope scope(&progress);
    const ProgressEnd progressEnd(progress);
    const auto isFiniteLevel = [](double level) { return std::isfinite(level); };
    if (!std::all_of(vLevels.begin(), vLevels.end(), isFiniteLevel)) {
        if (bVerbose) warning(LOCATION, "a level is not finite, no bands");
        return false;
    }
    std::vector<double> vSorted = vLevels;
    oneInstance(vSorted);
    const size_t numSteps = pTree_->getNumTriangles() + vSorted.size() + 1;
    progress.start("getBands", numSteps, Progress::fineStep(numSteps));
    BandBuilder builder(*pTree_, vSorted, progress);
    builder.collectSides();
    if (!builder.build(numCPU_, vBands)) {
        if (bVerbose) warning(LOCATION, "the triangles overlap, or more than two have a common edge, no bands");
        return false;
    }
    progress.finish();
    return true;
}

bool IsoContours::getProfile(const Point2& point, std::vector<Segment2>& vSegments) const {
    Progress progress(*pProgress_);
    const MessageScope scope(&progress);
    if (!std::isfinite(point.x()) || !std::isfinite(point.y())) {
        warning("IsoContours::getProfile()", "non-finite coordinates, no profile");
        return false;
    }
    const VerticalPlane plane(point, direction_);
    std::vector<Segment2> vCuts;
    pTree_->forEach([&](const Triangle2& triangle) {
        progress.throwIfStopped();
        plane.cut(triangle, vCuts);
    });
    const auto isEarlier = [&](const Segment2& a, const Segment2& b) { return plane.isBefore(a, b); };
    std::sort(vCuts.begin(), vCuts.end(), withCancelPoints(isEarlier));
    // An edge in the plane is given by both of its triangles.
    vCuts.erase(std::unique(vCuts.begin(), vCuts.end(), isSameSegment), vCuts.end());
    vSegments.insert(vSegments.end(), vCuts.begin(), vCuts.end());
    return true;
}

}  // namespace LUMO_TARO25D
