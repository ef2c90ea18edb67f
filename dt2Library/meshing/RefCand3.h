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

/// A limit that a client's getter has returned; one that no triangle could meet counts as no limit.
inline double usableLimit(double limit) { return limit > 0.0 ? limit : std::numeric_limits<double>::max(); }

/// The smallest angle in degrees of a triangle with these sides.
double getMinAngleDegree(const Sides& aSide);

/// A candidate for refinement: a triangle, the limits that it misses, and the Steiner point that would mend it.
///
/// It refers to the triangle as it was when the candidate was made. Lengths, areas and angles in space are measured on
/// the height guide, if there is one.
class RefCand3 {
  public:
    /// Results of a walk towards a Steiner point: SPLIT_NONE if it was reached, 0 to 2 for the edge that obstructs the
    /// walk, SPLIT_USELESS if the point cannot be used.
    static constexpr int SPLIT_NONE = -1, SPLIT_USELESS = 4;
    /// A triangle whose angles in x-y are all greater than this (in degrees) is not refined because of its angles in
    /// space, which on steep ground may never become large enough.
    static constexpr double PLANAR_ANGLE_CAP = 29.5;

    RefCand3(Dt2* pDt2, Triangle2* pT);
    RefCand3(RefinementContext& context, Triangle2* pT);

    /// Whether the triangle still has the corners that it had.
    bool isAlive() const {
        return pT_->getCorner(0) == aCorner_[0] && pT_->getCorner(1) == aCorner_[1] && pT_->getCorner(2) == aCorner_[2];
    }
    /// Computes the Steiner point and walks to it.
    void init();
    /// The circumcentre in x-y.
    void computeSteiner();
    /// Walks straight from the corner opposite the longest edge towards a point, and stops at the first constraint or
    /// hull edge that it would cross or that contains the point. Returns the index of that edge in the containing
    /// triangle; SPLIT_NONE if the containing triangle contains the point; SPLIT_USELESS if the point is a corner of
    /// it, or is not reached within MAX_WALK steps.
    int walkUntilConstraint(const Point2* pCircumcenter, Triangle2*& pContainingTriangle);
    /// The smallest angle in space in degrees.
    double getMinAngle();
    /// Computes the lengths of the sides.
    void computeMinMax();

    /// Whether the triangle misses a limit and may be refined.
    bool needRefinement(MeshGenParams* pParams);
    /// Whether the triangle misses a limit for which it would be refined. Needs no Steiner point.
    bool missesLimit(MeshGenParams* pParams);
    bool highPriorityReject(MeshGenParams* pParams);
    /// Whether the Steiner point cannot be used: the segment that obstructs it may not be split, or doubles do not
    /// resolve it.
    bool illegalSplit(MeshGenParams* pParams);
    /// Whether the circumcentre is accurate, or at least not beyond the border.
    bool isSafe();
    bool highPriorityAccept(MeshGenParams* pParams);
    bool isTooLong(MeshGenParams* pParams) const;
    bool isTooLarge(MeshGenParams* pParams) const;
    /// The reason, in words, why a candidate that misses the angle limit (bForAngle) or another limit is left as it is;
    /// null if there is none.
    const char* getExcuse(MeshGenParams* pParams, bool bForAngle);
    /// Whether the area is more than growthFactor times that of a neighbour whose area is at least growthMinArea.
    bool needRefinementDueToGrowth(double growthFactor, double growthMinArea);
    /// Whether two constraint edges of the triangle meet at a smaller angle, which no vertex could mend.
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
    /// Whether this candidate is served later: its smallest angle is greater.
    bool operator>(RefCand3& other) { return getMinAngle() > other.getMinAngle(); }

    /// Draws the triangle into a PostScript file.
    void showT(const std::string& filename) const;
    /// Prints all values.
    void debug() const;

  private:
    double getMinAngle2D() const;
    double getArea25D(const Triangle2* pT) const;
    /// Whether the circumcircle is too small, or too large, for doubles.
    bool isTooSmall() const;
    /// Whether there is a guide, and a vertex nearer to the centre in x-y than the minimum edge length.
    bool isTooNear(const MeshGenParams* pParams) const;
    const char* getObstacle(MeshGenParams* pParams) const;
    /// The result of a walk that has ended at a point in or on a triangle; aSide has the side of each edge on which the
    /// point lies.
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

}  // namespace LUMO_TARO25D
