#pragma once

#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/diagnostics.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

bool hasThreeCorners(const Triangle2& triangle);

/// One check of a mesh. It reports the first findings in full and the number of the others.
class MeshCheck {
  public:
    MeshCheck(const Dt2& mesh, Note& report);

    /// Checks corners, links, incident triangles and the hull, in this order; skips vertices and hull if an earlier
    /// check failed.
    void checkStructure();
    /// Checks that all edges except constraints are Delaunay; requires a valid structure.
    void checkEmptyCircles();

    /// Reports a finding.
    template <class... Parts>
    void add(const Parts&... parts) {
        if (++numFindings_ <= MAX_PRINTED) (report_.getStream() << ... << parts) << "\n";
    }
    size_t getNumberOfFindings() const { return numFindings_; }
    void printRest();
    const std::vector<Triangle2*>& getTriangles() const { return vTriangles_; }

  private:
    static constexpr size_t MAX_PRINTED = 10;

    /// Reports a finding about one or two triangles.
    void addTriangles(const char* message, const Triangle2* pT, const Triangle2* pN = nullptr);
    void checkTriangle(const Triangle2* pT);
    void checkEmptyCircle(const Triangle2* pT);
    void checkVertices();
    void checkHull();

    const Dt2& mesh_;
    GeomTest geomTest_;
    Note& report_;
    std::vector<Triangle2*> vTriangles_;
    size_t numFindings_ = 0;
};

}  // namespace LUMO_TARO25D
