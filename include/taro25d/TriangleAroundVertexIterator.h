#pragma once

#include "taro25d/Triangle2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// Walks around the triangles of a vertex, counterclockwise with `++` and clockwise with `--`, and never
/// ends: compare with the triangle (or a copy of the iterator) it started from. At the convex hull it wraps
/// around to the triangle at the other hull side of the fan. It starts at the vertex's incident triangle; a
/// vertex without one, or null, fails with TaroException. Changing the triangulation invalidates it. A step
/// costs O(1), a wrap-around the degree of the vertex.
class TARO25D_API TriangleAroundVertexIterator {
  public:
    /// Starts at the incident triangle of the vertex, which is not owned.
    explicit TriangleAroundVertexIterator(const Point2* pVtx);

    /// To the next triangle counterclockwise.
    TriangleAroundVertexIterator& operator++();
    /// To the next triangle clockwise.
    TriangleAroundVertexIterator& operator--();
    /// Moves as ++ does; returns an iterator at the former place.
    TriangleAroundVertexIterator operator++(int) {
        TriangleAroundVertexIterator old = *this;
        ++*this;
        return old;
    }
    /// Moves as -- does; returns an iterator at the former place.
    TriangleAroundVertexIterator operator--(int) {
        TriangleAroundVertexIterator old = *this;
        --*this;
        return old;
    }

    /// The current triangle; never null.
    Triangle2* operator*() const { return pCurrentT_; }

    /// Equal when both stand on the same triangle of the same vertex.
    bool operator==(const TriangleAroundVertexIterator& other) const {
        return pVtx_ == other.pVtx_ && pCurrentT_ == other.pCurrentT_;
    }
    /// The opposite of ==.
    bool operator!=(const TriangleAroundVertexIterator& other) const { return !(*this == other); }

    /// The wrap-around step: moves clockwise to the last triangle before the hull, where the counterclockwise
    /// order of a hull vertex begins. Around an inner vertex there is no such place: it comes back to where it was.
    void loop();

  private:
    const Point2* pVtx_;
    Triangle2* pCurrentT_;
};

}  // namespace LUMO_TARO25D
