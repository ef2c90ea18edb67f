#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "constraints/ConstraintMgr.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/mesh.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Taro_2D.h"

// A mesh with vertices on a line, for segments along it.

namespace line_mesh {

using namespace LUMO_TARO25D;

inline ConstraintMgr& managerOf(const Taro_2D& mesh) { return *mesh.getImpl()->getConstraintManager(); }

inline unsigned labelOf(const ConstraintSegment2& segment) {
    std::ostringstream stream;
    stream << segment;
    return static_cast<unsigned>(std::stoul(stream.str().substr(std::string("ConstraintSegment2 label ").size())));
}

/// The mesh is sound, and every alive segment is one of its edges.
inline void expectEstablished(const Taro_2D& mesh) {
    const StdoutCapture capture;
    EXPECT_TRUE(mesh.checkValidity(true, "constraints")) << capture.text();
    for (const ConstraintSegment2* pCSeg : aliveSegmentsOf(mesh)) {
        EXPECT_TRUE(mesh.getImpl()->isEdge(pCSeg->getSrc(), pCSeg->getTrg())) << *pCSeg;
    }
}

/// Where the alive chain of a graph starts and where each of its pieces ends.
inline VertexVector verticesOfChain(const ConstraintGraph2& graph) {
    CSegVector vChain;
    graph.getAliveConstraintChain(vChain);
    VertexVector vVertices;
    for (ConstraintSegment2* pCSeg : vChain) {
        Point2 *pSrc = pCSeg->getSrc(), *pTrg = pCSeg->getTrg();
        if (graph.isReverse(pCSeg)) std::swap(pSrc, pTrg);
        if (vVertices.empty()) vVertices.push_back(pSrc);
        EXPECT_EQ(vVertices.back(), pSrc);
        vVertices.push_back(pTrg);
    }
    return vVertices;
}

/// Three vertices off a line along which the segments of a test lie.
class LineMesh : public testing::Test {
  protected:
    LineMesh() {
        mesh.insert({{-5, -9, 0}, {25, -9, 0}, {10, 30, 0}});
        for (int i = 0; i <= 20; ++i) vOnLine.push_back(mesh.insert(Point2(i, 0, i)));
    }
    ConstraintGraph2* create(int from, int to) {
        return mesh.createConstraint({Segment2(*at(from), *at(to))}, CIS_CONSTRAINED_DELAUNAY, true);
    }
    Point2* at(int i) const { return vOnLine[static_cast<size_t>(i)]; }
    ConstraintSegment2* segment(int i, int k) {
        return managerOf(mesh).addConstraintSegment(at(i), at(k), CIS_CONSTRAINED_DELAUNAY);
    }

    Taro_2D mesh;
    VertexVector vOnLine;
};

}  // namespace line_mesh
