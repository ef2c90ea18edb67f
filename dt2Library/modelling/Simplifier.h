#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "modelling/PointBuckets.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Inserts points into a mesh until the vertical distances of all others are within a limit (EfficientModel).
class Simplifier {
  public:
    struct Limits {
        double maxError = -1.0;   // negative for none
        size_t maxNumPoints = 0;  // 0 for none
    };

    /// The mesh must be empty; it and the points must outlive this object.
    Simplifier(Dt2& mesh, const std::vector<Point2>& vPoints, const Limits& limits, Progress& progress);

    /// Inserts the mandatory lines and the corners of the hull, and assigns every other point to its triangle.
    void begin(const std::vector<Segment2>& vKept);
    /// Inserts the farthest point repeatedly until the limits are met.
    void insertGreedily();
    /// Removes vertices while the limit of the error still holds.
    void thin();
    /// Inserts a point that is no vertex yet, without reassigning the others; relocate() must follow.
    void insertAlone(std::uint32_t k);
    /// Reassigns all points to their triangles, after changes of the mesh by others.
    void relocate();

    /// The largest vertical distance from the surface to a point that was not left out.
    double computeError() const { return buckets_.computeError(); }
    /// The number of points left out.
    size_t getNumLeftOut() const { return numLeftOut_; }
    bool isVertex(std::uint32_t k) const { return vState_[k] == VERTEX; }
    bool isLeftOut(std::uint32_t k) const { return vState_[k] == LEFT_OUT; }
    bool isFull() const;

  private:
    using Place = PointBuckets::Place;
    enum PointState : std::uint8_t { WAITING, VERTEX, LEFT_OUT };

    std::vector<Place> collectPlaces();
    void insertHull(const std::vector<Segment2>& vKept);
    void assign(std::uint32_t k, Triangle2*& pT);
    void assignEach(std::uint32_t n);
    void insertSample();
    bool isOnKeptLine(const Triangle2* pT, const Point2& point) const;
    Point2* insertInto(std::uint32_t k, Triangle2* pT);
    void runQueue();
    void tryRemoval(std::uint32_t k, Point2* pVtx);
    PointState& stateOf(std::uint32_t k) { return vState_[buckets_.getPlaces()[k].number]; }
    void report(double worst);

    Dt2& mesh_;
    const std::vector<Point2>& vPoints_;
    Limits limits_;
    Progress& progress_;
    std::vector<PointState> vState_;  // by the client's numbers; all other numbers are those of places
    PointBuckets buckets_;
    std::vector<std::pair<std::uint32_t, Point2*>> vChosen_;  // removable vertices, in the order of insertion
    std::vector<Triangle2*> vStar_;                           // scratch of tryRemoval
    std::vector<const Point2*> vRing_, vNewRing_;             // scratch of tryRemoval
    size_t numLeftOut_ = 0;
    double firstError_ = 0.0;
    size_t numReported_ = 0;
};

}  // namespace LUMO_TARO25D
