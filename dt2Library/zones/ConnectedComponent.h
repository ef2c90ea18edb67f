#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "taro25d/Edge2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Triangles that are connected across edges, with their border.
class ConnectedComponent {
  public:
    /// A closed chain of edges with the component on its left.
    using Ring = std::vector<Edge2>;

    explicit ConnectedComponent(std::vector<Triangle2*> vTriangles) : vTriangles_(std::move(vTriangles)) {}

    /// The number of triangles.
    size_t getSize() const { return vTriangles_.size(); }
    const std::vector<Triangle2*>& getTriangles() const { return vTriangles_; }

    /// Sets the border edges, in any order, each as an edge of the triangle inside.
    void setUnsortedBorders(std::vector<Edge2> vBorderEdges) { vBorderEdges_ = std::move(vBorderEdges); }
    const std::vector<Edge2>& getUnsortedBorders() const { return vBorderEdges_; }
    /// Joins the border edges to rings by the links of the triangles: where the component touches itself at a vertex,
    /// rings touch but do not cross. Linear.
    void sortBorders();
    /// The rings, in the order of their first edges in the unsorted list; empty before `sortBorders`.
    const std::vector<Ring>& getSortedBorders() const { return vRings_; }

    /// Divides the component into parts, each bounded by one simple polygon, and appends them with their borders. A
    /// component bounded by one simple polygon is one part; holes, and vertices at which it touches itself, are cut
    /// open. Linear.
    void splitIntoSimple(std::vector<ConnectedComponent>& vSimple) const;

  private:
    std::vector<Triangle2*> vTriangles_;
    std::vector<Edge2> vBorderEdges_;
    std::vector<Ring> vRings_;
};

/// Appends the border edges of a set of triangles, each as an edge of the triangle inside. Linear.
void getBorderEdges(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorderEdges);

/// Removes triangles at the border for which isToGo is true, repeatedly, until there are none. Asks each triangle at
/// most once. Linear.
void peelBorder(std::vector<Triangle2*>& vTriangles, const std::function<bool(Triangle2*)>& isToGo);

/// Appends the components of a list of different triangles, with unsorted borders, in the order of their first
/// triangles in the list. Linear.
void getConnectedComponents(const std::vector<Triangle2*>& vTriangles, std::vector<ConnectedComponent>& vComponents);

}  // namespace LUMO_TARO25D
