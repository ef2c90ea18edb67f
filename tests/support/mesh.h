#pragma once

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "support/generators.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

// Query results of a triangulation as values.

using TriangleVector = std::vector<LUMO_TARO25D::Triangle2*>;
using VertexVector = std::vector<LUMO_TARO25D::Point2*>;
using CSegVector = std::vector<LUMO_TARO25D::ConstraintSegment2*>;

/// The container that a function appends to.
template <class Vector, class Append>
Vector collect(const Append& append) {
    Vector v;
    append(v);
    return v;
}

inline TriangleVector trianglesOf(const LUMO_TARO25D::Taro_2D& mesh) {
    return collect<TriangleVector>([&](auto& v) { mesh.getTrianglePointers(v); });
}

inline TriangleVector trianglesOf(const LUMO_TARO25D::Zone2* pZone) {
    return collect<TriangleVector>([&](auto& v) { pZone->getTriangles(v); });
}

/// The triangles by their corners' positions, so that meshes can be compared.
inline std::vector<std::vector<XY>> facesOf(const LUMO_TARO25D::Taro_2D& mesh) {
    std::vector<std::vector<XY>> vFaces;
    for (const LUMO_TARO25D::Triangle2* pT : trianglesOf(mesh)) {
        std::vector<XY> vCorners;
        for (int i = 0; i < 3; ++i) vCorners.emplace_back(pT->getCorner(i)->x(), pT->getCorner(i)->y());
        std::sort(vCorners.begin(), vCorners.end());
        vFaces.push_back(vCorners);
    }
    std::sort(vFaces.begin(), vFaces.end());
    return vFaces;
}

/// A random share of the triangles.
inline TriangleVector someOf(const TriangleVector& vTriangles, double share, Random& r) {
    TriangleVector vSome;
    std::copy_if(vTriangles.begin(), vTriangles.end(), std::back_inserter(vSome),
                 [&](const LUMO_TARO25D::Triangle2*) { return uniform(r, 0, 1) < share; });
    return vSome;
}

inline VertexVector verticesOf(const LUMO_TARO25D::Taro_2D& mesh) {
    return collect<VertexVector>([&](auto& v) { mesh.getVertexPointers(v); });
}

inline VertexVector hullOf(const LUMO_TARO25D::Taro_2D& mesh, bool bAllVertices) {
    return collect<VertexVector>([&](auto& v) { mesh.getConvexHull(bAllVertices, v); });
}

inline TriangleVector trianglesAround(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::Point2* pVtx) {
    return collect<TriangleVector>([&](auto& v) { mesh.getIncidentTriangles(pVtx, v); });
}

inline size_t degree(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::Point2* pVtx) {
    return trianglesAround(mesh, pVtx).size();
}

inline CSegVector aliveSegmentsOf(const LUMO_TARO25D::Taro_2D& mesh) {
    return collect<CSegVector>([&](auto& v) { mesh.getAliveConstraintSegments(v); });
}

/// The alive pieces of a graph, and its original segments.
inline CSegVector piecesOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    return collect<CSegVector>([&](auto& v) { pGraph->getChildConstraintSegments(v); });
}

inline CSegVector originalsOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    return collect<CSegVector>([&](auto& v) { pGraph->getOriginalConstraintSegments(v); });
}

/// The vertices around a polygon; none if the graph is no polygon.
inline VertexVector polygonOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    return collect<VertexVector>([&](auto& v) { pGraph->getPolygonVertices(v); });
}

inline std::vector<LUMO_TARO25D::Point2> positionsOf(const VertexVector& vVertices) {
    std::vector<LUMO_TARO25D::Point2> vPoints;
    for (const LUMO_TARO25D::Point2* pVtx : vVertices) vPoints.push_back(*pVtx);
    return vPoints;
}

/// Triangles by the coordinates of their corners, sorted: nothing that depends on addresses.
using Corners = std::array<double, 9>;

inline std::vector<Corners> snapshot(const TriangleVector& vTriangles) {
    std::vector<Corners> vAll;
    for (const LUMO_TARO25D::Triangle2* pT : vTriangles) {
        std::array<const LUMO_TARO25D::Point2*, 3> aCorner{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
        std::sort(aCorner.begin(), aCorner.end(), [](auto* p, auto* q) { return *p < *q; });
        Corners& corners = vAll.emplace_back();
        for (size_t i = 0; i < 3; ++i) {
            corners[3 * i] = aCorner[i]->x();
            corners[3 * i + 1] = aCorner[i]->y();
            corners[3 * i + 2] = aCorner[i]->z();
        }
    }
    std::sort(vAll.begin(), vAll.end());
    return vAll;
}
