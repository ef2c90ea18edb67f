#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/PointerMap.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Simplifier;

/// Compares the surface of all points with a model made of some of them, and completes the model.
class SurfaceCertifier {
  public:
    /// Builds the canonical triangulation of the kept lines and all points that were not left out. Everything given must live
    /// as long.
    SurfaceCertifier(Taro_2D& model, const std::vector<Point2>& vPoints, const std::vector<Segment2>& vKept,
                     Simplifier& simplifier, Progress& progress);

    /// Inserts points into the model, whose diagonals become canonical, until the two surfaces differ by no more than a limit
    /// anywhere, or the model has a number of points (0 for any).
    void certify(double maxError, size_t maxNumPoints);
    /// The largest difference of the surfaces.
    double computeError();

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    /// A place where the surfaces differ, and the triangle of all points that has it on its border.
    struct Difference {
        double error = 0.0;
        const Triangle2* pT = nullptr;
    };

    /// The largest difference along an edge of the model, found by following it through the surface of all points.
    Difference followEdge(const Point2* pSrc, const Point2* pTrg);
    /// Calls f with the ends of each edge of the model.
    template <class F>
    void forEachModelEdge(const F& f);
    double getPointError(std::uint32_t k) const;
    /// The points that the model lacks where it is too far from the surface: one for each edge, and the worst one of each
    /// triangle.
    std::vector<std::uint32_t> findMissing(double maxError);
    /// A point near a place that is no vertex of the model.
    std::uint32_t findPointNear(const Triangle2* pT) const;
    Point2* getTwin(const Point2* pVtx);

    Taro_2D& model_;
    const std::vector<Point2>& vPoints_;
    Simplifier& simplifier_;
    Progress& progress_;
    Taro_2D full_;
    PointerMap<std::uint32_t> mNumbers_;  // of the points by the vertices of the full surface
    std::vector<std::uint32_t> vInFull_;  // the points that were not left out
    PointerMap<Point2*> mTwins_;          // vertices of the full surface by those of the model
};

}  // namespace LUMO_TARO25D
