#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "modelling/GreedyInserter.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Makes a mesh of some of a client's points, so that the vertical distances of all others are within a limit
/// (EfficientModel).
class Simplifier {
  public:
    using Limits = GreedyInserter::Limits;

    /// The mesh must be empty; it and the points must outlive this object.
    Simplifier(Dt2& mesh, const std::vector<Point2>& vPoints, const Limits& limits, Progress& progress);

    /// Inserts the mandatory lines and the corners of the hull.
    void begin(const std::vector<Segment2>& vKept);
    /// Inserts points until the limits are met, and removes those that are not needed.
    void run();
    /// Inserts a point that is no vertex yet, without reassigning the others; relocate() must follow.
    void insertAlone(std::uint32_t k);
    /// Reassigns all points to their triangles, after changes of the mesh by others.
    void relocate() { inserter_.reassign(); }

    /// The largest vertical distance from the surface to a point that was not left out.
    double computeError() const { return inserter_.computeError(); }
    /// The number of points left out.
    size_t getNumLeftOut() const;
    /// The numbers of the points that were not left out, along a Hilbert curve.
    std::vector<std::uint32_t> getUsed() const;
    bool isVertex(std::uint32_t k) const { return getState(k) == GreedyInserter::VERTEX; }

  private:
    using Place = PointBuckets::Place;
    static constexpr std::uint32_t NONE = PointBuckets::NONE;

    bool isLeftOut(std::uint32_t k) const { return getState(k) == GreedyInserter::LEFT_OUT; }
    std::vector<Place> collectPlaces();
    void insertHull(const std::vector<Segment2>& vKept);
    GreedyInserter::PlaceState getState(std::uint32_t k) const {
        return vPlaceOf_[k] == NONE ? GreedyInserter::LEFT_OUT : inserter_.getState(vPlaceOf_[k]);
    }

    Dt2& mesh_;
    const std::vector<Point2>& vPoints_;
    Limits limits_;
    Progress& progress_;
    std::vector<std::uint32_t> vPlaceOf_;  // by the client's numbers; NONE for points that share a place
    GreedyInserter inserter_;
};

}  // namespace LUMO_TARO25D
