// Canonical diagonals.
//
// An edge is open if it is no constraint and its two triangles have one circumcircle: then either diagonal of their
// quadrilateral is Delaunay. The rule: an open edge ends at the smallest (by x, then y) of the four vertices. Edges
// that break the rule are flipped until there are none.
//
// All other edges are in every (constrained) Delaunay triangulation of these vertices and constraints. Triangles that
// are connected over open edges have one circumcircle; they make up a convex polygon with all its vertices on that
// circle, and these polygons depend on vertices and constraints alone. So only the triangulation of each polygon is
// open.
//
// Uniqueness: let s be the smallest vertex of such a polygon, in a triangulation without open edges that break the
// rule. If a triangle (s, p, q) had an inner edge p-q opposite s, with a triangle (q, p, r) behind it, then p-q would
// be open, and s, the smallest of the four, would not be one of its ends. So all triangles at s have their opposite
// edge on the border, that is, the triangulation is the fan from s.
//
// Termination: a flip gives the smallest vertex of a quadrilateral one more edge and takes edges only from larger ones.
// Written in the order of the vertices, the numbers of their edges grow lexicographically with each flip, and there are
// finitely many triangulations.
//
// The fan depends only on the vertices on the circle, not on the rest of the mesh. (Dyken and Floater 2006 obtain
// uniqueness by preferred directions.) One in-circle test for each edge, and constant time for each flip.

#include "mesh/canonicalDiagonals.h"

#include <algorithm>
#include <vector>

#include "kernel/links.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

namespace {

/// Flips edges of the fan-to-be until none breaks the rule.
class DiagonalChooser {
  public:
    explicit DiagonalChooser(Dt2& mesh) : mesh_(mesh), geomTest_(mesh.getGeomTest()) {}

    /// Examines the edges whose other triangle comes earlier in memory. Nearly all are settled by one filtered test.
    void visit(Triangle2* pT) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || pT < pN || !breaksRule(pT, i, pN)) continue;
            flipFrom(pT, i);
            return visit(pT);  // its edges have changed
        }
    }

  private:
    /// Whether edge i of a triangle, with the neighbour pN, is open and breaks the rule.
    bool breaksRule(const Triangle2* pT, int i, const Triangle2* pN) const {
        const Point2* d = pN->getCorner(indexOfNeighbour(pN, pT));
        if (geomTest_.circleInc3state(pT, d) != CINC2_ZERO) return false;
        const Point2 *a = pT->getCorner(i), *b = pT->getCorner(incIndexBy1(i)), *c = pT->getCorner(incIndexBy2(i));
        return std::min(*a, *d) < std::min(*b, *c) && !mesh_.isConstraint(pT, i);
    }

    /// Flips an edge, then all edges around it that break the rule: a flip changes the triangles of four other edges.
    void flipFrom(Triangle2* pFirst, int first) {
        vStack_ = {pFirst, mesh_.flip(pFirst, first)};
        while (!vStack_.empty()) {
            Triangle2* pT = vStack_.back();
            vStack_.pop_back();
            for (int i = 0; i < 3; ++i) {
                const Triangle2* pN = pT->getOppositeTriangle(i);
                if (!pN || !breaksRule(pT, i, pN)) continue;
                vStack_.push_back(pT);
                vStack_.push_back(mesh_.flip(pT, i));
                break;
            }
        }
    }

    Dt2& mesh_;
    GeomTest& geomTest_;
    std::vector<Triangle2*> vStack_;
};

}  // namespace

void canonicalizeDiagonals(Dt2& mesh) {
    DiagonalChooser chooser(mesh);
    const Progress& progress = mesh.getProgress();
    size_t numVisited = 0;
    mesh.forEachTriangle([&](Triangle2* pT) {
        if (numVisited++ % 4096 == 0) progress.throwIfStopped();
        chooser.visit(pT);
    });
}

}  // namespace LUMO_TARO25D
