#pragma once

#include <cstddef>
#include <unordered_set>
#include <vector>

#include "GeomTest.h"
#include "VertexVault.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// One piece of a parallel bulk insertion: a range of vertices in curve order, and the extended box inside
/// which its thread may change the mesh. See Chunk.cpp for why two chunks whose extended boxes are disjoint
/// never touch the same word.
class Chunk {
  public:
    /// The chunk of vItems [start, end), with the triangle records that it will need. pAnchor is a vertex
    /// near them that is in the mesh already.
    Chunk(Dt2* pDt2, const Bbox2& engineBox, int label, const LargeVector<IdxVtxAct*>& vItems, size_t start, size_t end,
          const Point2* pAnchor);

    int getLabel() const { return label_; }
    const Bbox2& getExtBox() const { return extBox_; }
    /// Computes the extended box; the mesh must not change meanwhile. Chunks may do so at the same time.
    void determineExtBox();

    /// Inserts the vertices, on any thread, while no chunk with a touching extended box runs.
    void insert();
    /// Gives the records that were not needed to the engine, and inserts what the chunk had to leave; on the
    /// calling thread.
    void finalize();

  private:
    enum State { CS_WAITING = 0, CS_STARTED = 1, CS_DONE = 2 };
    /// An edge src -> trg around a conflict region, counterclockwise, and what lies across it.
    struct BorderEdge {
        Point2 *pSrc, *pTrg;
        Triangle2* pOuterT;  // null on the hull
        int outerIdx;        // of the edge in pOuterT
    };
    /// An edge of a conflict region still to be crossed.
    struct OpenEdge {
        Triangle2* pT;
        int idx;
    };

    void grow(const Point2& p0, const Point2& p1, Triangle2* pStartT, std::unordered_set<Triangle2*>& sVisited);
    /// Whether the circumcircle meets the segment; if so, the extended box is grown by it.
    bool doesBallIntersect(const Point2& p0, const Point2& p1, const Triangle2* pT);

    void localTriangulateRec(size_t start, size_t end, Triangle2* pStartT);
    Triangle2* localInsertVertex(Point2* pVtx, Triangle2* pHint);
    Triangle2* getStartTriangle() const;
    bool isInBox(const Triangle2* pT) const;
    int locateInsideConflictT(const Point2* p, Triangle2*& pT);
    bool collectConflictRegion(const Point2* v, Triangle2* pT);
    bool crossOpenEdge(const OpenEdge& edge, const Point2* v);
    Triangle2* localInitVCheckT13(Point2* v);
    Triangle2* localCreateTriangleMT();

    Dt2* pDt2_;
    int label_;
    const LargeVector<IdxVtxAct*>& vItems_;
    size_t start_, end_;
    const Point2* pAnchor_;
    Bbox2 engineBox_;
    Bbox2 extBox_;
    GeomTest geomTest_;
    State state_ = CS_WAITING;

    RecordSupply<Triangle2> triangles_;  // as many as the insertions can need
    size_t numTrianglesUsed_ = 0;
    std::vector<Point2*> vDeferred_;  // for the calling thread
    std::vector<Triangle2*> vRegion_;
    std::vector<BorderEdge> vBorder_;
    std::vector<OpenEdge> vOpenEdges_;
};

}  // namespace LUMO_TARO25D
