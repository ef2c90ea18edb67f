#pragma once

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "support/generators.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

// What a triangulation hands out, as values.

using TriangleVector = std::vector<LUMO_TARO25D::Triangle2*>;
using VertexVector = std::vector<LUMO_TARO25D::Point2*>;
using CSegVector = std::vector<LUMO_TARO25D::ConstraintSegment2*>;

inline TriangleVector trianglesOf(const LUMO_TARO25D::Taro_2D& mesh) {
    TriangleVector vTriangles;
    mesh.getTrianglePointers(vTriangles);
    return vTriangles;
}

inline TriangleVector trianglesOf(const LUMO_TARO25D::Zone2* pZone) {
    TriangleVector vTriangles;
    pZone->getTriangles(vTriangles);
    return vTriangles;
}

inline TriangleVector trianglesAround(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::Point2* pVtx) {
    TriangleVector vTriangles;
    mesh.getIncidentTriangles(pVtx, vTriangles);
    return vTriangles;
}

/// A random share of them.
inline TriangleVector someOf(const TriangleVector& vTriangles, double share, Random& r) {
    TriangleVector vSome;
    std::copy_if(vTriangles.begin(), vTriangles.end(), std::back_inserter(vSome),
                 [&](const LUMO_TARO25D::Triangle2*) { return uniform(r, 0, 1) < share; });
    return vSome;
}

inline size_t degree(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::Point2* pVtx) {
    return trianglesAround(mesh, pVtx).size();
}

inline VertexVector verticesOf(const LUMO_TARO25D::Taro_2D& mesh) {
    VertexVector vVertices;
    mesh.getVertexPointers(vVertices);
    return vVertices;
}

inline CSegVector aliveSegmentsOf(const LUMO_TARO25D::Taro_2D& mesh) {
    CSegVector vCSegs;
    mesh.getAliveConstraintSegments(vCSegs);
    return vCSegs;
}

/// The edges that a graph stands for now, and the segments that it was made of.
inline CSegVector piecesOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    CSegVector vCSegs;
    pGraph->getChildConstraintSegments(vCSegs);
    return vCSegs;
}

inline CSegVector originalsOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    CSegVector vCSegs;
    pGraph->getOriginalConstraintSegments(vCSegs);
    return vCSegs;
}

/// The vertices around a polygon; none if the graph is none.
inline VertexVector polygonOf(const LUMO_TARO25D::ConstraintGraph2* pGraph) {
    VertexVector vVertices;
    pGraph->getPolygonVertices(vVertices);
    return vVertices;
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
