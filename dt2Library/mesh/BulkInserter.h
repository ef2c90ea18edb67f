#pragma once

#include <cstddef>
#include <memory>

#include "support/stopping.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

class Dt2;
class InserterMT;
class Point2;
class Triangle2;

/// One insertion of many points into a mesh: in the order of the Hilbert curve, on several threads where that is
/// faster.
class BulkInserter {
  public:
    /// A place in a list of vault items.
    using ItemIterator = IdxVtxAct* const*;

    explicit BulkInserter(Dt2& mesh);
    ~BulkInserter();

    /// Inserts points. aHandles is null or has one place for each point; the new vertices are appended to pNewVertices
    /// unless it is null. Points that are not finite are left out, with a warning. After an exception the mesh is valid
    /// and keeps the vertices inserted so far.
    void insert(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices = nullptr,
                const char* phase = "insert vertices");
    /// createFullDimTriangle for vertices registered by another. After an exception the mesh is valid and has the first
    /// numPreExisting vertices; others that are not inserted yet are removed from the vault.
    bool leaveCollinearPhase(size_t numPreExisting);
    /// Leaves the collinear phase if three vertices are not collinear, and inserts all vault items, the first
    /// numPreExistingVtx of them first.
    bool createFullDimTriangle(size_t numPreExistingVtx);

    /// Inserts the vertices of a range of vault items that are not in the mesh yet, from coarse to fine, starting the
    /// search at pStartT. Counts the progress.
    void triangulateRec(ItemIterator begin, ItemIterator end, Triangle2* pStartT);
    /// Inserts the vertices of a range that are neither in the mesh nor known as duplicates.
    void triangulateRest(ItemIterator begin, ItemIterator end, Triangle2* pStartT);

  private:
    /// Appends the vertices that this insertion has brought into the mesh, if there is a list.
    void appendNew(size_t numPreExisting, std::vector<Point2*>* pNewVertices) const;
    /// Returns to the collinear phase, if some of the vertices that were collinear before are not in the mesh yet.
    bool returnToCollinearPhase(size_t numPreExisting);
    void triangulateNew(size_t numPreExisting);
    /// Makes the four corners around all points, if the insertion is to run on several threads.
    void prepareThreads(size_t numNew, size_t numPreExisting);
    /// Inserts a range, on several threads if the mesh has the fake box.
    void triangulateGate(ItemIterator begin, ItemIterator end, Triangle2* pStartT);
    /// Removes the fake box and inserts the rest on this thread, starting from the few vertices already inserted.
    void leaveFakeBox(ItemIterator begin, ItemIterator end);
    /// After a failure: removes from the vault the vertices that have not been inserted.
    void abandon(size_t numPreExisting, Point2** aHandles, size_t numHandles, std::vector<Point2*>* pNewVertices);
    bool areChunksFaster(size_t numNew, size_t numPreExisting) const;
    bool hasFakeBox() const;

    Dt2& mesh_;
    VertexVault& vault_;
    std::unique_ptr<InserterMT> pInserterMT_;  // null if one thread inserts all points
    CancelPoint<16> cancelPoint_;
};

}  // namespace LUMO_TARO25D
