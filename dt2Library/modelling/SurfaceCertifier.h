#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/PointerMap.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Simplifier;

/// Compares the surface of all points with a model of some of them, and completes the model.
class SurfaceCertifier {
  public:
    /// Builds the canonical triangulation of the kept lines and all points that were not left out. All arguments must
    /// outlive this object.
    SurfaceCertifier(Taro_2D& model, const std::vector<Point2>& vPoints, const std::vector<Segment2>& vKept,
                     Simplifier& simplifier, Progress& progress);

    /// Inserts points into the model until the two surfaces differ nowhere by more than maxError; stops before the
    /// model would have more than maxNumPoints points (0 for any number). Makes the diagonals of the model canonical.
    void certify(double maxError, size_t maxNumPoints);
    /// The largest difference between the surfaces; NaN, with a warning, if the model has a vertex that is no vertex of
    /// the surface of all points.
    double computeError();

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    /// A difference at a place, and a triangle of the full surface with that place on its border.
    struct Difference {
        double error = 0.0;
        const Triangle2* pT = nullptr;
    };

    using ModelEdge = std::pair<const Point2*, const Point2*>;

    template <class F>
    void share(size_t n, const F& f);
    bool findTwins();
    std::vector<ModelEdge> getModelEdges() const;
    /// The largest difference along an edge of the model, found by following it through the full surface.
    Difference followEdge(const Point2* pSrc, const Point2* pTrg, GeomTest& geomTest) const;
    /// The largest differences along all edges of the model, whose vertices all have twins.
    std::vector<Difference> followEdges();
    /// The differences at the points of the full surface; 0 at vertices of the model.
    std::vector<double> getPointErrors();
    double getPointError(std::uint32_t k) const;
    /// Points to be inserted where the model is too far from the full surface: one for each edge, and the worst point
    /// of each triangle.
    std::vector<std::uint32_t> findMissing(double maxError);
    /// The number of a point that is no vertex of the model, in or near a triangle of the full surface; NONE if there
    /// is none.
    std::uint32_t findPointNear(const Triangle2* pT) const;

    Taro_2D& model_;
    const std::vector<Point2>& vPoints_;
    Simplifier& simplifier_;
    Progress& progress_;
    Taro_2D full_;
    PointerMap<std::uint32_t> mNumbers_;  // vertices of the full surface to numbers of points
    std::vector<std::uint32_t> vInFull_;  // the points that were not left out, in spatial order
    PointerMap<Point2*> mTwins_;          // vertices of the full surface by those of the model
};

}  // namespace LUMO_TARO25D
