#pragma once

#include <array>
#include <atomic>
#include <limits>
#include <string>

#include "meshing/GuideSurface.h"
#include "taro25d/Orientation2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class ConstraintSegment2;
class Dt2;
class MeshGenParams;
class RefinementContext;

/// What a getter of the limits answers, without limits that no triangle could meet.
inline double usableLimit(double limit) { return limit > 0.0 ? limit : std::numeric_limits<double>::max(); }

/// A candidate for refinement: a triangle, what is wrong with it, and where a vertex would mend it.
///
/// It stands for the triangle as it was when the candidate was made. Lengths, areas and angles in space are those on the
/// height guide, if there is one. The records of a refinement come from a pool.
class RefCand3 {
  public:
    /// What a walk towards a Steiner point tells: it was reached; 0 to 2, the edge that bars the way; or there is no use in
    /// it.
    static constexpr int SPLIT_NONE = -1, SPLIT_USELESS = 4;
    /// A triangle whose angles in x-y are all greater is not refined for its angles in space: on steep ground these may
    /// never be good enough.
    static constexpr double PLANAR_ANGLE_CAP = 29.5;

    RefCand3(Dt2* pDt2, Triangle2* pT);
    RefCand3(RefinementContext& context, Triangle2* pT);

    /// Whether the triangle still has the corners that it had.
    bool isAlive() const {
        return pT_->getCorner(0) == aCorner_[0] && pT_->getCorner(1) == aCorner_[1] && pT_->getCorner(2) == aCorner_[2];
    }
    /// Finds the Steiner point and what is on the way to it.
    void init();
    /// The circumcentre in x-y.
    void computeSteiner();
    /// Walks straight from the corner opposite the longest edge towards a point, and stops at the first constraint edge or
    /// hull edge that bars the way or holds the point. Returns the index of that edge in the containing triangle;
    /// SPLIT_NONE if the containing triangle holds the point; SPLIT_USELESS if the point is a corner of it, or cannot be
    /// reached in reasonable time.
    int walkUntilConstraint(const Point2* pCircumcenter, Triangle2*& pContainingTriangle);
    /// The smallest angle in space in degrees.
    double getMinAngle();
    /// Computes it from the sides in space, for callers who have them.
    void computeMinAngle(const Sides& aSide);
    /// Computes the lengths of the sides.
    void computeMinMax();

    /// Whether the triangle misses a limit and may be refined.
    bool needRefinement(MeshGenParams* pParams);
    /// Whether it misses a limit for which triangles are refined. Needs no Steiner point.
    bool missesLimit(MeshGenParams* pParams);
    bool highPriorityReject(MeshGenParams* pParams);
    /// Whether the Steiner point is of no use: the segment in the way may not be split, or numbers do not resolve it.
    bool illegalSplit(MeshGenParams* pParams);
    /// Whether a circumcentre that is not accurate does at least not lie beyond the border.
    bool isSafe();
    bool highPriorityAccept(MeshGenParams* pParams);
    bool isTooLong(MeshGenParams* pParams) const;
    bool isTooLarge(MeshGenParams* pParams) const;
    /// Why a candidate that misses the angle limit, or any other, stays as it is, in words; null if it need not.
    const char* getExcuse(MeshGenParams* pParams, bool bForAngle);
    /// Whether the area is more than g times that of a neighbour that has at least the minimum area.
    bool needRefinementDueToGrowth(double growthFactor, double growthMinArea);
    /// Whether two constraint edges meet here at a smaller angle, which no vertex could mend.
    bool hasNarrowConstraintAngle(double minAngleDegree);

    Triangle2* getTriangle() const { return pT_; }
    const Point2& getSteiner() const { return steiner_; }
    double getRadius() const { return radius_; }
    int getSplitIndex() const { return splitIndex_; }
    /// The edge of the containing triangle on which the Steiner point lies exactly; -1 if it lies inside.
    int getEdgeOfSteiner() const { return edgeOfSteiner_; }
    Triangle2* getContainingTriangle() const { return pContainingT_; }
    void getContainingTriangleAndIndex(Triangle2*& pT, int& idx) const;
    /// The alive segment on an edge of the containing triangle, or null.
    ConstraintSegment2* getAliveConstraintSegment(int i) const;
    /// Whether an edge of the containing triangle is a constraint.
    bool isConstraint(int i) const;

    // Squared lengths, after computeMinMax.
    double getMinSqSideLength2D() const { return aSqLengths2D_[0]; }
    double getMaxSqSideLength2D() const { return aSqLengths2D_[2]; }
    double getMinSqSideLength25D() const { return aSqLengths25D_[0]; }
    double getMaxSqSideLength25D() const { return aSqLengths25D_[2]; }
    /// The radius of the circumcircle over the length of the shortest side, in x-y and in space.
    double getQuality2D() const;
    double getQuality25D() const;
    /// Whether this one comes later: its smallest angle is greater.
    bool operator>(RefCand3& other) { return getMinAngle() > other.getMinAngle(); }

    /// Draws the triangle into a PostScript file.
    void showT(const std::string& filename) const;
    /// Prints all values.
    void debug() const;

  private:
    double getMinAngle2D() const;
    double getArea25D(const Triangle2* pT) const;
    /// Whether the circumcircle is too small, or too large, for the numbers.
    bool isTooSmall() const;
    /// Whether there is a guide, and a vertex nearer to the centre in x-y than the minimum edge length.
    bool isTooNear(const MeshGenParams* pParams) const;
    const char* getObstacle(MeshGenParams* pParams) const;
    /// Judges a point in or on a triangle, being given the sides of its edges on which it lies.
    int judgeArrival(const Triangle2* pT, const Point2* p, const std::array<Orientation2, 3>& aSide);
    double getNeighbourArea(int i) const;
    void reportAcceptance(const std::string& text, const char* suffix) const;

    int label_;
    int edgeOfSteiner_ = -1;
    std::array<Point2*, 3> aCorner_;
    RefinementContext& context_;
    Triangle2* pT_;
    Triangle2* pContainingT_;
    Point2 steiner_;
    double radius_ = -1.0;
    int splitIndex_ = SPLIT_NONE;
    bool bAccurate_ = true;
    std::array<double, 3> aSqLengths2D_{-1.0, -1.0, -1.0}, aSqLengths25D_{-1.0, -1.0, -1.0};
    int debugFlag_ = 0;
    double minAngle_;  // the largest finite double until it is known
    static std::atomic<int> runningLabel;
};

static_assert(sizeof(RefCand3) == 176, "many candidates may wait");

}  // namespace LUMO_TARO25D
