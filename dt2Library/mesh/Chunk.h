#pragma once

#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Triangle2.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

/// One piece of a parallel bulk insertion: a range of vertices in curve order, and the extended box inside
/// which its thread may change the mesh. See Chunk.cpp for why two chunks whose extended boxes are disjoint
/// never touch the same word.
class Chunk {
  public:
    /// The chunk of vItems [start, end). pAnchor is a vertex near them that is in the mesh already.
    Chunk(Dt2* pDt2, const Bbox2& engineBox, int label, const LargeVector<IdxVtxAct*>& vItems, size_t start, size_t end,
          const Point2* pAnchor);

    int getLabel() const { return label_; }
    const Bbox2& getExtBox() const { return extBox_; }
    /// Computes the extended box; the mesh must not change meanwhile. Chunks may do so at the same time.
    void determineExtBox();
    /// Whether the extended box is so large that hardly any chunk could run beside it; the calling thread then inserts
    /// all its vertices.
    bool runsAlone() const { return bRunsAlone_; }
    /// Takes all records that the insertions can need from the engine; called on the calling thread before the
    /// insertions start.
    void takeTriangles() {
        if (!bRunsAlone_) triangles_ = pDt2_->takeTriangleRecords(2 * (end_ - start_));
    }

    /// Inserts the vertices, on any thread, while no chunk with a touching extended box runs.
    void insert();
    /// Returns unused records to the engine and inserts the deferred vertices; called on the calling thread.
    void finalize();
    /// Returns unused records to the engine; required after a failure too.
    void giveBackTriangles();

  private:
    enum State { CS_WAITING = 0, CS_STARTED = 1, CS_DONE = 2 };
    void grow(const Bbox2& box, Triangle2* pStartT);
    /// Whether the circumcircle meets the border of the box; if so, the extended box is grown by it.
    bool doesBallIntersect(const Bbox2& box, const Triangle2* pT);

    void runAlone();

    void localTriangulateRec(Triangle2* pStartT);
    void countProgress();
    Triangle2* localInsertVertex(Point2* pVtx, Triangle2* pHint);
    Triangle2* getStartTriangle() const;
    bool isInBox(const Triangle2* pT) const;
    bool isInBox(const Point2* p) const;
    int locateInsideConflictT(const Point2* p, Triangle2*& pT);
    bool localInitVCheckT13(Triangle2* pT, Point2* v);
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
    bool bRunsAlone_ = false;

    RecordSupply<Triangle2> triangles_;  // as many as the insertions can need
    size_t numTrianglesUsed_ = 0;
    size_t numDeferred_ = 0;     // vertices left for the calling thread
    size_t numNotReported_ = 0;  // vertices done since the progress was counted last
};

}  // namespace LUMO_TARO25D
