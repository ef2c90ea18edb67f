#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/RecordCopies.h"
#include "support/SimplePool.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"
#include "vertices/CurveFrame.h"
#include "vertices/HeightBook.h"
#include "vertices/KeyOrder.h"

namespace LUMO_TARO25D {

class GeomTest;

/// One entry of the register: a vertex under the Hilbert key of its position.
struct IdxVtxAct {
    unsigned idx;
    bool active;  // false once the vertex was removed
    Point2* vtx;
};

static_assert(sizeof(IdxVtxAct) == 16, "register items are laid out for cache density");

/// Points to be registered: a vector of points, or an array of (x, y, z) triples. Not owned.
class PointSource {
  public:
    explicit PointSource(const std::vector<Point2>& vPoints)
        : pPoints_(vPoints.data()), aCoordinates_(nullptr), numPoints_(vPoints.size()) {}
    PointSource(size_t numPoints, const double* aCoordinates)
        : pPoints_(nullptr), aCoordinates_(aCoordinates), numPoints_(numPoints) {}

    size_t size() const { return numPoints_; }
    Point2 operator[](size_t i) const {
        if (pPoints_) return pPoints_[i];
        return Point2(aCoordinates_[3 * i], aCoordinates_[3 * i + 1], aCoordinates_[3 * i + 2]);
    }
    /// Asks the processor to fetch a point that will be wanted soon; it may lie on two cache lines.
    void prefetch(size_t i) const {
        const char* pFirst = pPoints_ ? reinterpret_cast<const char*>(pPoints_ + i)
                                      : reinterpret_cast<const char*>(aCoordinates_ + 3 * i);
        const size_t numBytes = pPoints_ ? sizeof(Point2) : 3 * sizeof(double);
        __builtin_prefetch(pFirst);
        __builtin_prefetch(pFirst + numBytes - 1);
    }

  private:
    const Point2* pPoints_;
    const double* aCoordinates_;
    size_t numPoints_;
};

/// The register of all vertices of a triangulation, and the owner of their records: in the order of their Hilbert keys
/// up to the last sort, with newer ones behind. It finds the vertex at a position (equal x and y), keeps the duplicates
/// of a running bulk insertion, and gives a triangle near any position, from which a walk starts.
class VertexVault {
  public:
    enum SortMode {
        SM_ALWAYS = 0,
        SM_IF_DUE = 1  // only if the list has grown or shrunk enough since the last sort
    };

    /// The predicates are not owned; the vault raises their bound as its box grows.
    VertexVault(GeomTest& geomTest, unsigned numExpectedVertices);

    /// The number of threads that sort and fill long lists.
    void setNumThreads(int n) { numThreads_ = n; }

    /// True once there are triangles; before that all vertices are collinear.
    bool isFullDimensional() const { return bFullDimensional_; }
    void setFullDimensional(bool bFullDimensional) { bFullDimensional_ = bFullDimensional; }

    /// @name Box and curve
    /// @{

    /// The box that holds all vertices.
    const Bbox2& getInsertionBox() const { return frame_.getInsertionBox(); }
    /// Extends the box to a finite point. A box that grows is doubled, and the items are sorted along a new curve.
    void enlargeBoxForPoint(const Point2& point) {
        if (!getInsertionBox().isInBox(point)) enlargeBox(point);
    }
    /// Extends the box to all finite points of a bulk. Returns how many points are not finite.
    size_t enlargeBoxForBulk(const PointSource& source);

    /// @}
    /// @name Registration
    /// @{

    /// Makes a vertex that has no item yet.
    Point2* createVertex(const Point2& point);
    /// Makes a vertex with an item. The caller calls sortIV afterwards.
    Point2* createRegisteredVertex(const Point2& point);
    /// Recycles the record of a vertex that has no item.
    void recycleVertex(Point2* pVtx) { vRecycledVertices_.push_back(pVtx); }
    /// Appends an item for a vertex.
    void addItem(unsigned idx, Point2* vtx);
    /// Removes a vertex; the pointer is invalid afterwards.
    void removeAndInvalidateVtx(Point2* pVtx);
    /// Makes vertices of many points and appends them in spatial order. Equal positions among them become one
    /// vertex, the first in input order; so do positions that are taken already, as long as there are no
    /// triangles (later, insertion finds these). Points with a coordinate that is not finite are left out.
    /// aHandles, unless null, receives a vertex (or null) for each point.
    void iReset_vector(const PointSource& source, Point2** aHandles);
    void sortIV(SortMode mode);
    /// @}
    /// @name Look-up
    /// @{

    /// The position of the active item with the x and y of p, or NOT_FOUND. Only sorted items are seen.
    size_t getIdxOfPoint(const Point2& p) const;
    /// The vertex with the x and y of p; null if there is none. Items behind the sorted ones are searched one by one.
    Point2* getVertexPointer(const Point2& p) const;
    /// The position of the item that holds this vertex. Constant.
    size_t getIdxOfActiveVtx(const Point2* pVtx) const;
    /// The key of a place with finite x and y.
    unsigned getKey(const Point2& place) const { return frame_.getKey(place); }
    /// A triangle at a vertex near a place with finite x and y. Null when there is none.
    Triangle2* getCloseTriangle(const Point2& place) const { return getCloseTriangle(place, getKey(place)); }
    /// As above, where the key of the place is known.
    Triangle2* getCloseTriangle(const Point2& place, unsigned key) const;
    /// The triangle of the first vertex that has one; null before there are triangles.
    Triangle2* getOneValidTriangle() const;
    /// Three vertices that are not collinear, in counterclockwise order; false when all are collinear.
    bool getThreeInitialPoints(Point2*& p0, Point2*& p1, Point2*& p2);

    static constexpr size_t NOT_FOUND = static_cast<size_t>(-1);

    /// @}
    /// @name Duplicates of a running insertion
    /// @{

    /// The rule and the record for several heights at one place.
    HeightBook& getHeightBook() { return heightBook_; }
    const HeightBook& getHeightBook() const { return heightBook_; }

    /// Notes that dup has the position of orig. Several threads may call it at once.
    void registerDup(Point2* dup, Point2* orig);
    bool dupIsClean() const { return mDuplicates_.empty(); }
    /// Resolves the only duplicate: discards its record and returns the vertex at its position.
    Point2* treatOneDupGetHandle(Point2* dup);
    /// Replaces duplicates among the handles, discards their records and forgets them. The handles may be null.
    void treatDupsAndHandles(size_t firstNew, Point2** aHandles, size_t numHandles);

    /// After a failure: removes the items from firstNew on whose vertices have no triangle, forgets duplicates, and
    /// sets the handles of removed vertices to null.
    void dropUninserted(size_t firstNew, Point2** aHandles, size_t numHandles);

    /// The original of a registered duplicate; any other vertex itself.
    Point2* getOriginal(Point2* pVtx) const;

    /// @}
    /// @name Access
    /// @{

    Bbox2 computeBoundingBox() const;
    /// The number of active vertices.
    size_t computeNumberOfPoints() const { return static_cast<size_t>(numItems_); }
    /// The number of items, inactive ones included.
    size_t getSize() const { return vItems_.size(); }
    bool empty() const { return numItems_ == 0; }
    void getVertexPointers(std::vector<Point2*>& vVertices) const;
    const LargeVector<IdxVtxAct*>& getData() const { return vItems_; }
    const SimplePool<Point2>& getVertexPool() const { return vertexPool_; }

    /// @}
    /// @name Copy
    /// @{

    /// Makes a record for each of another vault; there are none yet.
    RecordCopies<Point2> layOutLike(const VertexVault& other) {
        return RecordCopies<Point2>(other.vertexPool_, vertexPool_, other.numThreads_);
    }
    /// Copies the other vault, with each vertex replaced by its copy. No insertion may be running.
    void copyFrom(const VertexVault& other, const RecordCopies<Point2>& vertices,
                  const RecordCopies<Triangle2>& triangles);

    /// A function that gives the vault its present state again, once. No insertion may be running.
    std::function<void()> rememberState();

    /// @}
    /// @name Checks
    /// @{

    void showData(const std::string& name) const;
    /// Checks positions, order and counts; reports the number of errors.
    bool checkVault() const;
    void debugDups() const;

    /// @}

  private:
    /// The height of a point at whose place an earlier point of the same call made a vertex.
    struct MetHeight {
        std::uint32_t index;  // of the point
        Point2* pVtx;         // that vertex; may itself be a duplicate
        double z;
    };

    void enlargeBox(const Point2& point);
    /// Copies a record with its place in the mesh, which belongs to the record only.
    static void copyRecord(const Point2& from, Point2& to);
    bool isSortDue() const;
    /// Applies the height rule to all duplicates of a bulk and the vertices at their places.
    void meetHeights();
    /// The finite points in spatial order.
    ScratchVector<KeyedIndex> orderPoints(const PointSource& source) const;
    Point2* findStoredOrCreate(unsigned key, const Point2& point);
    /// Makes vertices of sorted points, one for equal positions, on all threads.
    void iReset_vector_mt(const PointSource& source, const ScratchVector<KeyedIndex>& vKeyed, Point2** aHandles);
    /// Sorts the listed items and makes them the content of the register, on all threads.
    void mtSort(ScratchVector<KeyedIndex>& vKeyed);
    void recomputeKeys();
    void rebuildIndex();
    void recycle(IdxVtxAct* pItem);
    void replaceDuplicateVertexHandlesFullDim(Point2** aHandles, size_t numHandles);
    Triangle2* triangleAt(size_t position) const;
    /// Coordinates of a sample of the vertices and of the points that are about to be inserted, if any.
    CurveFrame::Sample takeSample(const PointSource* pComing) const;
    /// Lays the curve anew, recomputes all keys and sorts.
    void reconfiguration(const PointSource* pComing);

    GeomTest& geomTest_;
    int numThreads_ = 1;
    CurveFrame frame_;
    SimplePool<Point2> vertexPool_;
    std::vector<Point2*> vRecycledVertices_;
    LargeVector<IdxVtxAct*> vItems_;
    SimplePool<IdxVtxAct> itemPool_;
    std::vector<IdxVtxAct*> vRecycledItems_;
    KeyIndex keyIndex_;
    bool bKeysOutdated_ = false;  // some are of a curve before the last
    size_t numSorted_ = 0;

    HeightBook heightBook_;
    std::vector<MetHeight> vMetHeights_;  // of a running bulk insertion
    std::map<Point2*, Point2*> mDuplicates_;
    std::mutex dupMutex_;

    int numRemovedSinceSort_ = 0;
    int numItems_ = 0;
    int resortLimit_ = -1;
    bool bFullDimensional_ = false;
    size_t numKnownCollinear_ = 0;  // the first items up to here lie on one line
};

}  // namespace LUMO_TARO25D
