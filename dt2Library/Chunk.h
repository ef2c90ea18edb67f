#pragma once

#include <cstddef>
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
    /// The first part of that, which is due even after a failure.
    void giveBackTriangles();

  private:
    enum State { CS_WAITING = 0, CS_STARTED = 1, CS_DONE = 2 };
    void grow(const Bbox2& box);
    /// Whether the circumcircle meets the box; if so, the extended box is grown by it.
    bool doesBallIntersect(const Bbox2& box, const Triangle2* pT);

    void localTriangulateRec(size_t start, size_t end, Triangle2* pStartT);
    Triangle2* localInsertVertex(Point2* pVtx, Triangle2* pHint);
    Triangle2* getStartTriangle() const;
    bool isInBox(const Triangle2* pT) const;
    int locateInsideConflictT(const Point2* p, Triangle2*& pT);
    bool collectConflictRegion(const Point2* v, Triangle2* pT);
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
    size_t numDeferred_ = 0;  // vertices left for the calling thread
    // A conflict region and what is around it. Almost all have less than ten triangles; a vertex with a larger one than
    // fits is left to the calling thread. Arrays of single words, because a record that is read as a whole right after
    // its parts were written would wait for them.
    static constexpr size_t MAX_REGION = 60;
    size_t regionSize_ = 0, borderSize_ = 0;
    Triangle2* aRegion_[MAX_REGION + 2];
    Point2* aBorderSrc_[MAX_REGION + 3];  // the border, counterclockwise; each edge ends where the next one begins
    Triangle2* aBorderOuterT_[MAX_REGION + 2];  // what lies across; null on the hull
    int aBorderOuterIdx_[MAX_REGION + 2];       // the index of the edge there
};

}  // namespace LUMO_TARO25D
