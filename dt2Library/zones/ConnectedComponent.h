#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "taro25d/Edge2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Triangles that hang together over edges, with their border.
class ConnectedComponent {
  public:
    /// A closed chain of edges with the component on its left.
    using Ring = std::vector<Edge2>;

    explicit ConnectedComponent(std::vector<Triangle2*> vTriangles) : vTriangles_(std::move(vTriangles)) {}

    /// The number of triangles.
    size_t getSize() const { return vTriangles_.size(); }
    const std::vector<Triangle2*>& getTriangles() const { return vTriangles_; }

    /// The border edges in any order, each seen from the triangle inside.
    void setUnsortedBorders(std::vector<Edge2> vBorderEdges) { vBorderEdges_ = std::move(vBorderEdges); }
    const std::vector<Edge2>& getUnsortedBorders() const { return vBorderEdges_; }
    /// Joins the border edges to rings. The links of the triangles tell how they go on, so that where the component
    /// touches itself at a vertex the rings touch there, too, and do not cross. Linear.
    void sortBorders();
    /// The rings, in the order of their first edges, each beginning with it; empty before `sortBorders`.
    const std::vector<Ring>& getSortedBorders() const { return vRings_; }

    /// Divides the component into parts whose borders are single simple polygons, and appends them with their borders. A
    /// component that is so itself makes one part; holes, and vertices at which it touches itself, are cut open. Linear.
    void splitIntoSimple(std::vector<ConnectedComponent>& vSimple) const;

  private:
    std::vector<Triangle2*> vTriangles_;
    std::vector<Edge2> vBorderEdges_;
    std::vector<Ring> vRings_;
};

/// Appends the edges of the triangles across which there is none of them, each as seen from its triangle. Linear.
void getBorderEdges(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorderEdges);

/// Takes triangles away that are at the border and are to go, until none is left. Each is asked at most once. Linear.
void peelBorder(std::vector<Triangle2*>& vTriangles, const std::function<bool(Triangle2*)>& isToGo);

/// Appends the components of a list of different triangles, with unsorted borders: in the order of their first triangles,
/// which they begin with. Linear.
void getConnectedComponents(const std::vector<Triangle2*>& vTriangles, std::vector<ConnectedComponent>& vComponents);

}  // namespace LUMO_TARO25D
