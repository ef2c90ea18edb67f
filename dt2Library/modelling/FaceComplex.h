#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/LargeVector.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Faces between numbered places, linked along their common edges, and triangles that fill the rest of their convex
/// hull. Places, faces and edges are numbers from 0; edge 3 * f + i of face f is opposite its corner i.
class FaceComplex {
  public:
    using Number = std::uint32_t;
    using Numbers = LargeVector<Number>;
    static constexpr Number NONE = UINT32_MAX;

    /// Places, no two of which have the same x and y, and three for each face. Not owned; every place is the corner of
    /// a face. The corners of a face come in either orientation. The predicates hold for the places.
    FaceComplex(const std::vector<Point2*>& vPlaces, const Numbers& vGiven, GeomTest& geomTest, Progress& progress);

    /// Turns the faces counterclockwise, links them, and fills the pockets. False if a face has no area, or if two
    /// faces meet elsewhere than in common edges and corners. Counts getNumberOfSteps() steps of progress in any case.
    bool build();
    static size_t getNumberOfSteps(size_t numFaces) { return 3 * numFaces; }

    /// The number of faces: the given ones come first, then those in pockets.
    size_t getNumberOfGivenFaces() const { return numGiven_; }
    size_t getNumberOfFaces() const { return vCorners_.size() / 3; }
    Number getCorner(size_t edge) const { return vCorners_[edge]; }
    Number getSrc(size_t edge) const { return vCorners_[edge % 3 == 2 ? edge - 2 : edge + 1]; }
    Number getTrg(size_t edge) const { return vCorners_[edge % 3 == 0 ? edge + 2 : edge - 1]; }
    /// The number of an edge in the face on its other side; NONE on the hull.
    Number getOther(size_t edge) const { return vOther_[edge]; }
    bool isGiven(Number edge) const { return edge / 3 < numGiven_; }

  private:
    using DirectedEdge = std::pair<Number, Number>;
    /// The larger end of an edge in the list of its smaller end.
    struct Entry {
        Number larger, edge;
    };

    bool turnCounterclockwise();
    void sortBySmallestCorner();
    bool linkEdges(const Numbers& vEdges);
    bool linkAt(Entry* pBegin, Entry* pEnd);
    bool linkPair(Number first, Number second);
    Numbers getOpenEdges() const;
    bool fillPockets();
    bool isSound(std::vector<DirectedEdge> vHull) const;
    /// Counts, with a cancellation point, once for many steps.
    void step(size_t i);

    const std::vector<Point2*>& vPlaces_;
    const Numbers& vGiven_;
    Numbers vCorners_, vOther_;
    size_t numGiven_;
    GeomTest& geomTest_;
    Progress& progress_;
};

}  // namespace LUMO_TARO25D
