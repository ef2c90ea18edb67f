#pragma once

#include <cstddef>
#include <cstdint>
#include <queue>
#include <vector>

#include "support/PointerMap.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// The points that are no vertices of a mesh, each in the triangle that holds it, and a queue of the triangles by the point
/// farthest from each.
class PointBuckets {
  public:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    /// A point, with the links of the bucket that it is in.
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

    /// Points up to a distance from the surface do not enter the queue. The mesh must live as long.
    PointBuckets(Dt2& mesh, double maxError) : mesh_(mesh), maxError_(maxError) {}

    /// Sets the places, of which none is in a bucket.
    void setPlaces(std::vector<Place> vPlaces) { vPlaces_ = std::move(vPlaces); }
    const std::vector<Place>& getPlaces() const { return vPlaces_; }
    /// Empties all buckets and the queue.
    void clear();
    void add(std::uint32_t k, const Triangle2* pT);

    /// Takes the places out of some triangles; they move until they are given to triangles.
    void takeFrom(const std::vector<Triangle2*>& vTriangles);
    const std::vector<std::uint32_t>& getMoving() const { return vMoving_; }
    void addMoving(std::uint32_t k) { vMoving_.push_back(k); }
    /// Gives the moving places to the triangles that hold them, among some that hold all.
    void giveTo(const std::vector<Triangle2*>& vTriangles);
    /// Gives the moving places, and those that are in the triangles around a vertex, to these triangles, except the place of the
    /// vertex.
    void giveToFan(Point2* pVtx, std::uint32_t ofVertex);
    /// Gives the moving places to triangles found by walking from one.
    void giveToAny(Triangle2* pStart);

    /// Computes the distances of a triangle's places again, in plain arithmetic.
    void refresh(Triangle2* pT);
    /// The same for all triangles of the mesh.
    void refreshAll();
    /// Puts all triangles into the queue that have a place too far from them by the function that gives clients their heights.
    void refreshExactly();
    /// Takes the worst place out of the queue; false if there is none.
    bool popWorst(Worst& worst);
    bool isQueueEmpty() const { return queue_.empty(); }
    double getWorstError() const { return queue_.empty() ? 0.0 : queue_.top().error; }
    void clearQueue() { queue_ = {}; }

    /// The exact distance of a place from a triangle that holds it.
    double getExactError(std::uint32_t k, const Triangle2* pT) const;
    /// The largest of all.
    double computeError() const;
    /// The index of the triangle that holds a place, among some; their number if none does.
    size_t findHolder(std::uint32_t k, const std::vector<Triangle2*>& vTriangles, size_t first = 0) const;

  private:
    struct Bucket {
        std::uint32_t first = NONE;
        std::uint32_t version = 0;  // of the entry in the queue that holds
        double bound = 0.0;         // on the exact distances of its places
    };

    /// Sets what is known of the triangle's places, and queues it if one is too far.
    void close(Bucket& bucket, const Worst& worst, double slack);

    Dt2& mesh_;
    double maxError_;
    std::vector<Place> vPlaces_;
    PointerMap<Bucket> mBuckets_;
    std::priority_queue<Worst> queue_;
    std::vector<std::uint32_t> vMoving_;
    std::vector<Triangle2*> vStar_;  // scratch
    std::vector<Worst> vWorst_;
    std::vector<std::uint32_t> vFirst_, vOld_;
};

}  // namespace LUMO_TARO25D
