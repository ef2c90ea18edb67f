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

/// Three corners of each triangle, the triangles opposite them, and two ends of each constraint edge.
struct TriangleArrays {
    std::vector<std::int32_t> vCorners, vNeighbours, vConstraints;
};

/// A triangulation whose vertices, breaklines and zones have numbers that are never used again. The custom index of a
/// vertex is its id; vertices that the library made itself (crossings, vertices of refinement) get one when they are
/// first read.
///
/// The caller of a member must hold the lock of the object, unless the comment of the member says otherwise.
class Surface : public Guarded {
  public:
    Surface();
    ~Surface() override;

    LUMO_TARO25D::Taro_2D& getMesh() { return *pMesh_; }
    const LUMO_TARO25D::Taro_2D& getMesh() const { return *pMesh_; }

    /// The number of changes so far. Needs no lock.
    std::uint64_t getVersion() const { return version_; }
    /// Must be called before each change of the mesh.
    void noteChange() { ++version_; }

    /// Inserts (x, y, z) triples. The id of a new vertex is its position in the list plus the next id before the call.
    void insertByPosition(const double* aCoordinates, size_t numPoints);
    /// Inserts (x, y, z) triples and returns the id of each, -1 for a refused one. A new vertex gets the next free id.
    std::vector<std::int64_t> insert(const double* aCoordinates, size_t numPoints);
    /// The vertex with an id; throws Gone if there is none.
    LUMO_TARO25D::Point2* getVertex(std::int64_t id) const;
    /// Removes vertices, all or none: throws Gone for an unknown id, and Refused for a vertex of a constraint.
    void remove(const std::int64_t* aIds, size_t numIds);
    /// Gives ids to the vertices that have none, and drops the ids of vertices that operations have removed.
    void number();
    /// The next id; all smaller ones have been given out.
    std::int64_t getNextId() const { return nextId_; }

    /// Appends the conflicts of heights that differ by more than a tolerance, with the ids of the vertices. Calls
    /// number().
    void getConflicts(double tolerance, std::vector<std::int64_t>& vIds, std::vector<double>& vKept,
                      std::vector<double>& vOther);

    /// The coordinates (x, y, z) of the vertices, in the order of their ids; calls number(). A row of this list is
    /// what the arrays of triangles refer to.
    std::vector<double> getPoints();
    /// The ids of the vertices, ascending; calls number().
    std::vector<std::int64_t> getIds();
    /// The triangles and constraints; calls number().
    TriangleArrays getTriangles();
    /// The rows that triangles have in getTriangles.
    std::vector<std::int32_t> getRows(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles) const;

    /// Moves a vertex; throws Gone for an unknown id, and Refused if the library refuses the move.
    void move(std::int64_t id, const LUMO_TARO25D::Point2& target);

    /// Makes a breakline of pairs of (x, y, z) and returns its number.
    size_t addBreakline(const double* aCoordinates, size_t numSegments, LUMO_TARO25D::ConstraintInsertionStrategy cis);
    /// The graph of a breakline; throws Gone if there is none.
    LUMO_TARO25D::ConstraintGraph2* getBreakline(size_t number) const;
    /// The numbers of all breaklines that exist.
    std::vector<size_t> getBreaklines() const;
    /// Removes a breakline; with bVertices also the vertices that were inserted only for it.
    void removeBreakline(size_t number, bool bVertices);
    /// Establishes pending breaklines, and makes pieces of conforming ones Delaunay again after insertions.
    void establish();

    /// Writes a file with everything except zones, and with a text.
    void save(const std::string& path, const std::string& text);
    /// Fills an empty surface from a file and returns the text of the file. Ids are those of the file, if it has any.
    /// Every graph of the file becomes a breakline.
    std::string load(const std::string& path);
    /// For a surface that was loaded: keeps only the graphs at these positions as breaklines, and gives out only ids
    /// from `nextId` on.
    void restore(const std::vector<size_t>& vPositions, std::int64_t nextId);
    /// The positions of the breaklines among all graphs, as restore() takes them.
    std::vector<size_t> getPositions() const;

    /// Replaces the mesh of this surface, which must be empty, by another one. Vertices whose custom index is at least
    /// 0 and below `nextId` keep it as their id, the others get ids from `nextId` on. None of its graphs is a
    /// breakline.
    void adopt(std::unique_ptr<LUMO_TARO25D::Taro_2D> pMesh, std::int64_t nextId);
    /// Makes an empty surface a copy of this one, with its ids and breaklines, but without zones.
    void copyTo(Surface& other);

    /// The zone of all triangles; null before there are triangles.
    LUMO_TARO25D::Zone2* getAll();
    /// Whether the zone of getAll exists already, so that a reader may call getAll.
    bool hasAll() const { return pAll_ != nullptr; }
    /// Discards a zone; needs no lock. The zone is deleted before the next change of the object.
    void discard(LUMO_TARO25D::Zone2* pZone);
    /// Deletes the zones that were discarded.
    void sweep();

  private:
    /// Gives a vertex the next id.
    void enter(LUMO_TARO25D::Point2* pVtx);
    /// Inserts points and returns the vertices at their places, null for a refused point.
    std::vector<LUMO_TARO25D::Point2*> insertPoints(const double* aCoordinates, size_t numPoints);
    /// Whether every id belongs to a vertex, so that rows are ids.
    bool hasAllIds() const { return vVertices_.size() == pMesh_->numberOfPoints(); }
    /// The row of each id, -1 if there is no such vertex.
    std::vector<std::int32_t> getRowsOfIds() const;
    /// Makes the table of ids from the custom indices.
    void keepIds(std::int64_t nextId);
    /// Connects the mesh to the progress and the cancel flag of this object.
    void attach();

    std::unique_ptr<LUMO_TARO25D::Taro_2D> pMesh_;
    std::atomic<std::uint64_t> version_{1};
    std::vector<LUMO_TARO25D::Point2*> vVertices_;  // by id; null if there is none
    std::int64_t nextId_ = 0;
    bool bAllNumbered_ = true;
    std::vector<LUMO_TARO25D::ConstraintGraph2*> vBreaklines_;
    bool bPending_ = false;     // constraints were created before there were triangles
    bool bConforming_ = false;  // some breaklines are conforming
    LUMO_TARO25D::Zone2* pAll_ = nullptr;
    std::mutex discardedMutex_;
    std::vector<LUMO_TARO25D::Zone2*> vDiscarded_;
};
