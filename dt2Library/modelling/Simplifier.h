#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <queue>
#include <vector>

#include "support/PointerMap.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Chooses points for a mesh until all others are near its surface (EfficientModel).
class Simplifier {
  public:
    struct Limits {
        double maxError = -1.0;   // negative for none
        size_t maxNumPoints = 0;  // 0 for none
    };

    /// The mesh is empty. It and the points must live as long.
    Simplifier(Dt2& mesh, const std::vector<Point2>& vPoints, const Limits& limits, Progress& progress);

    /// Inserts the kept lines and the corners of the hull, and gives every other point to its triangle.
    void begin(const std::vector<Segment2>& vKept);
    /// Inserts the worst point again and again until the limits are met.
    void insertGreedily();
    /// Takes out vertices without which the limit of the error holds, too.
    void thin();
    /// Inserts a point that is no vertex yet, and leaves the others where they were: relocate() must follow.
    void insertAlone(std::uint32_t k);
    /// Finds the triangles of all points again, after others have changed the mesh.
    void relocate();

    /// The largest distance of a point that was not left out.
    double computeError() const;
    /// How many points were left out.
    size_t getNumLeftOut() const { return numLeftOut_; }
    bool isVertex(std::uint32_t k) const { return vState_[k] == VERTEX; }
    bool isLeftOut(std::uint32_t k) const { return vState_[k] == LEFT_OUT; }
    bool isFull() const;

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;
    enum PointState : std::uint8_t { WAITING, VERTEX, LEFT_OUT };

    /// The points that wait in a triangle, as a list, and the one that is farthest from it.
    struct Bucket {
        std::uint32_t first = NONE;
        std::uint32_t version = 0;  // of the entry in the queue that holds
    };
    struct Entry {
        double error;
        std::uint32_t point, version;
        Triangle2* pT;
        bool operator<(const Entry& other) const {
            return error != other.error ? error < other.error : point > other.point;
        }
    };

    std::vector<std::uint32_t> getPlaces();
    std::vector<std::uint32_t> getHullCorners(const std::vector<std::uint32_t>& vPlaces) const;
    void assign(std::uint32_t k, Triangle2*& pT);
    bool isOnKeptLine(const Triangle2* pT, const Point2& point) const;
    void insertInto(std::uint32_t k, Triangle2* pT);
    /// Takes the points of the triangles around a vertex.
    std::vector<std::uint32_t> takePoints(const std::vector<Triangle2*>& vTriangles);
    /// Gives points to the triangles that hold them, among some.
    void distribute(const std::vector<std::uint32_t>& vPoints, const std::vector<Triangle2*>& vTriangles);
    /// Looks for the worst point of a triangle and puts it into the queue if it is too far.
    void refresh(Triangle2* pT, bool bExactly);
    void runQueue();
    /// Removes a vertex, and inserts it again if a point around it is too far then.
    void tryRemoval(std::uint32_t k, Point2* pVtx);
    double getExactError(std::uint32_t k, const Triangle2* pT) const;
    void report(double worst);

    Dt2& mesh_;
    const std::vector<Point2>& vPoints_;
    Limits limits_;
    Progress& progress_;
    std::vector<PointState> vState_;
    std::vector<std::uint32_t> vNext_;  // in the list of a triangle
    PointerMap<Bucket> mBuckets_;
    std::priority_queue<Entry> queue_;
    std::vector<std::pair<std::uint32_t, Point2*>> vChosen_;  // vertices that may go again, in the order of insertion
    size_t numLeftOut_ = 0;
    double firstError_ = 0.0;
    size_t numReported_ = 0;
};

}  // namespace LUMO_TARO25D
