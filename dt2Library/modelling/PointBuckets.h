#pragma once

#include <cstddef>
#include <cstdint>
#include <queue>
#include <vector>

#include "modelling/PointFan.h"
#include "support/PointerMap.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Points that are no vertices of a mesh, each in the bucket of the triangle that holds it, and a priority queue of the
/// triangles by the vertical distance of their farthest points.
class PointBuckets {
  public:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    /// A point, with its links in the list of its bucket.
    struct Place {
        double x, y, z;
        std::uint32_t number;  // of the client's point
        std::uint32_t next = NONE;

        Point2 getPoint() const { return Point2(x, y, z); }
    };
    /// The farthest point of a triangle.
    struct Worst {
        double error = -1.0;
        std::uint32_t place = NONE, version = 0;
        Triangle2* pT = nullptr;

        void consider(std::uint32_t k, double distance) {
            if (!(distance > error || (distance == error && k < place))) return;
            error = distance;
            place = k;
        }
        bool operator<(const Worst& other) const {
            return error != other.error ? error < other.error : place > other.place;
        }
    };

    /// Points within a distance from the surface do not enter the queue. The mesh must outlive this object.
    PointBuckets(Dt2& mesh, double maxError);

    /// Sets the places; none is in a bucket yet.
    void setPlaces(std::vector<Place> vPlaces) { vPlaces_ = std::move(vPlaces); }
    const std::vector<Place>& getPlaces() const { return vPlaces_; }
    /// Empties all buckets and the queue.
    void clear();
    void add(std::uint32_t k, const Triangle2* pT);

    /// Takes the places out of some triangles' buckets; these places are moving until they are assigned again.
    void takeFrom(const std::vector<Triangle2*>& vTriangles);
    void addMoving(std::uint32_t k) { vMoving_.push_back(k); }
    /// If all moving places are within the limit of the error from some triangles, which hold all of them, assigns them
    /// to these triangles; otherwise does nothing and returns false. The place added last is tried first.
    bool giveToIfNear(const std::vector<Triangle2*>& vTriangles);
    /// Assigns the moving places, and those in the buckets of the triangles around a vertex, to these triangles, except
    /// the vertex's own place.
    void giveToFan(Point2* pVtx, std::uint32_t ofVertex);
    /// Assigns the moving places by walks from a triangle.
    void giveToAny(Triangle2* pStart);

    /// Recomputes the distances of a triangle's places, in plain arithmetic.
    void refresh(Triangle2* pT);
    /// Recomputes the distances of all places.
    void refreshAll();
    /// Queues all triangles with a place whose exact distance, by getHeightInside(), is too large.
    void refreshExactly();
    /// Takes the farthest place out of the queue; false if the queue is empty.
    bool popWorst(Worst& worst);
    bool isQueueEmpty() const { return queue_.empty(); }
    double getWorstError() const { return queue_.empty() ? 0.0 : queue_.top().error; }
    void clearQueue() { queue_ = {}; }
    /// Sets the distance within which points do not enter the queue.
    void setMaxError(double maxError) { maxError_ = maxError; }

    /// The largest exact distance of all places.
    double computeError() const;
    /// The index of the triangle that holds a place in a list; the length of the list if none does.
    size_t findHolder(std::uint32_t k, const std::vector<Triangle2*>& vTriangles, size_t first = 0) const;

  private:
    struct Bucket {
        std::uint32_t first = NONE;
        std::uint32_t version = 0;  // of the valid entry in the queue
        double bound = 0.0;         // on the exact distances of its places
    };

    /// The exact distance of a place from a triangle that holds it.
    double getExactError(std::uint32_t k, const Triangle2* pT) const;
    /// Sets the triangle's farthest place and bound, and queues it if that place is too far.
    void close(Bucket& bucket, const Worst& worst, double slack);

    Dt2& mesh_;
    double maxError_;
    std::vector<Place> vPlaces_;
    PointerMap<Bucket> mBuckets_;
    std::priority_queue<Worst> queue_;
    std::vector<std::uint32_t> vMoving_;
    std::vector<Triangle2*> vStar_;  // scratch
    PointFan fan_;
    std::vector<TrianglePlane> vPlanes_;
    std::vector<std::uint32_t> vHolders_;
    std::vector<Worst> vWorst_;
    std::vector<std::uint32_t> vFirst_, vOld_;
};

}  // namespace LUMO_TARO25D
