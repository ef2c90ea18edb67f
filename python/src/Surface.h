#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Guarded.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

/// Segments of pairs of (x, y, z).
std::vector<LUMO_TARO25D::Segment2> toSegments(const double* aCoordinates, size_t numSegments);

/// The mesh as arrays. Rows of points are in the order of their ids.
struct MeshArrays {
    std::vector<double> vPoints;
    std::vector<std::int32_t> vTriangles, vNeighbours, vConstraints;
    std::vector<std::int64_t> vIds;
    std::uint64_t version = 0;
};

/// A triangulation whose vertices, breaklines and zones have numbers that are never used again. The custom index of a vertex
/// is its id; vertices that the library made itself (crossings, vertices of refinement) get one when somebody looks.
///
/// Members expect the lock of the object, except where they say otherwise.
class Surface : public Guarded {
  public:
    Surface();
    ~Surface() override;

    LUMO_TARO25D::Taro_2D& getMesh() { return *pMesh_; }
    const LUMO_TARO25D::Taro_2D& getMesh() const { return *pMesh_; }

    /// Counts the changes; without the lock.
    std::uint64_t getVersion() const { return version_; }
    /// To be called by whoever changes the mesh, before the change.
    void noteChange() { ++version_; }

    /// Inserts (x, y, z) triples and gives the id of each, -1 where one was refused. With bByPosition a new vertex takes its
    /// position, counted on from the ids that exist, as its id; otherwise the next number that is free.
    void insert(const double* aCoordinates, size_t numPoints, bool bByPosition, std::vector<std::int64_t>& vIds);
    /// The vertex of an id; throws Gone where there is none.
    LUMO_TARO25D::Point2* getVertex(std::int64_t id) const;
    /// Removes vertices, all or none: throws Gone for an id that is not there, and Refused for a vertex of a constraint.
    void remove(const std::int64_t* aIds, size_t numIds);
    /// Gives numbers to the vertices that have none. To be called after vertices may have vanished, too.
    void number();
    /// Ids below this one have been given out.
    std::int64_t getNextId() const { return nextId_; }

    /// Appends the meetings of heights that differ by more than a tolerance, with the ids of the vertices. Numbers vertices.
    void getConflicts(double tolerance, std::vector<std::int64_t>& vIds, std::vector<double>& vKept,
                      std::vector<double>& vOther);

    /// The mesh as it is. Numbers vertices.
    void getArrays(MeshArrays& arrays);
    /// The rows of triangles in getArrays.
    std::vector<std::int32_t> getRows(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles) const;

    /// Moves a vertex; throws Gone for an id that is not there, and Refused where it must not.
    void move(std::int64_t id, const LUMO_TARO25D::Point2& target);

    /// Makes a breakline of pairs of (x, y, z) and gives its number.
    size_t addBreakline(const double* aCoordinates, size_t numSegments, LUMO_TARO25D::ConstraintInsertionStrategy cis);
    /// The graph of a breakline; throws Gone where there is none.
    LUMO_TARO25D::ConstraintGraph2* getBreakline(size_t number) const;
    /// The numbers of the breaklines that there are.
    std::vector<size_t> getBreaklines() const;
    /// Takes a breakline back, with bVertices those vertices too that only it has brought.
    void removeBreakline(size_t number, bool bVertices);
    /// Establishes what could not be until now, and what needs it again after an insertion.
    void establish();

    /// Writes a file that keeps everything except zones, with a text.
    void save(const std::string& path, const std::string& text);
    /// Fills an empty surface from a file and gives its text. The ids are those of the file if there are some; the
    /// breaklines are all that the file holds.
    std::string load(const std::string& path);
    /// Keeps of the breaklines those at these positions, as breaklines, and gives out ids from `nextId` on only. For a
    /// surface that was loaded.
    void restore(const std::vector<size_t>& vPositions, std::int64_t nextId);
    /// The positions of the breaklines among all graphs, as restore() takes them.
    std::vector<size_t> getPositions() const;

    /// Takes over a mesh in place of its own, which must be empty. Vertices whose custom index is from 0 to below `nextId` keep
    /// it as their id, the others get ids from there on. None of its graphs is a breakline.
    void adopt(std::unique_ptr<LUMO_TARO25D::Taro_2D> pMesh, std::int64_t nextId);
    /// Makes an empty surface a copy of this one, with the same ids and breaklines, and without zones.
    void copyTo(Surface& other);

    /// The zone of all triangles; null before there are triangles.
    LUMO_TARO25D::Zone2* getAll();
    /// Whether getAll has nothing to create, so that it may be called by a reader.
    bool hasAll() const { return pAll_ != nullptr; }
    /// A zone that nobody needs any more; without the lock. It goes when the object is changed next.
    void discard(LUMO_TARO25D::Zone2* pZone);
    /// Ends the zones that were discarded.
    void sweep();

  private:
    /// Gives a vertex the next number.
    void enter(LUMO_TARO25D::Point2* pVtx);
    std::vector<std::int32_t> getRowsOfIds(MeshArrays& arrays) const;
    /// Makes the table of ids from the custom indices.
    void keepIds(std::int64_t nextId);
    /// Reports progress here, and lets calls on the mesh be cancelled.
    void attach();

    std::unique_ptr<LUMO_TARO25D::Taro_2D> pMesh_;
    std::atomic<std::uint64_t> version_{1};
    std::vector<LUMO_TARO25D::Point2*> vVertices_;  // by id; null where there is none
    std::int64_t nextId_ = 0;
    bool bAllNumbered_ = true;
    std::vector<LUMO_TARO25D::ConstraintGraph2*> vBreaklines_;
    bool bPending_ = false;     // constraints were created before there were triangles
    bool bConforming_ = false;  // some want to be Delaunay after insertions
    LUMO_TARO25D::Zone2* pAll_ = nullptr;
    std::mutex discardedMutex_;
    std::vector<LUMO_TARO25D::Zone2*> vDiscarded_;
};
