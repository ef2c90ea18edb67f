#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "kernel/flatSets.h"
#include "support/PointerMap.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class ConstraintMgr;
class Dt2;

/// Finds the crossings of segments to be established, with each other and with older constraints of the mesh.
class CrossingFinder {
  public:
    struct Crossing {
        Point2 place;   // with the height of the older segment, taken as straight
        bool bPending;  // the older segment is no edge yet, and may be bent
    };

    CrossingFinder(Dt2& mesh, const ConstraintMgr& manager);

    /// The crossings away from the ends of segments, from vertices on them, and from each other, in an order that does
    /// not depend on addresses. The result of other crossings depends on the order in which segments are established.
    /// The list is empty where the search would take longer than inserting the segments one by one: if crossings are
    /// few, many segments meet at one place, or few segments with touching boxes cross. The ends of the segments must
    /// be vertices.
    std::vector<Crossing> find(const std::vector<ConstraintSegment2*>& vCSegs);

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    /// A segment, with the numbers of the events on it.
    struct Carrier {
        const ConstraintSegment2* pCSeg;
        const Point2 *pSrc, *pTrg;
        double dx, dy, length;
        std::vector<std::uint32_t> vEvents;
        std::vector<std::pair<double, double>> vClosed;  // intervals along segments that became edges before their turn
    };
    /// A crossing of two carriers. If the second is NONE: a vertex on the first carrier, or its crossing with a segment
    /// that became an edge before its turn.
    struct Event {
        Point2 place;
        std::array<std::uint32_t, 2> aCarriers;
        bool bDropped = false;
    };

    static Carrier makeCarrier(const ConstraintSegment2* pCSeg);
    static double getDistance(const Carrier& carrier, const Point2& p);
    static double getPlaceAlong(const Carrier& carrier, const Point2& p);
    std::uint32_t addCarrier(const ConstraintSegment2* pCSeg);
    bool isEdge(const ConstraintSegment2* pCSeg);
    void follow(std::uint32_t i);
    void noteVertex(std::uint32_t i, const Point2* pVtx);
    void noteEdge(std::uint32_t i, const Point2* pFrom, const Point2* pTo);
    void noteConstraint(std::uint32_t i, const Triangle2* pT, int k);
    bool crossEachOther();
    bool isToBeFollowed(const ConstraintSegment2* pCSeg);
    std::vector<Carrier> takeSamples(const std::vector<ConstraintSegment2*>& vCSegs);
    bool areCrossingsMany(const std::vector<ConstraintSegment2*>& vCSegs);
    void cross(std::uint32_t i, std::uint32_t j);
    bool areOnBothSides(const Carrier& carrier, const Carrier& other);
    void addEvent(const Point2& place, std::uint32_t i, std::uint32_t j);
    size_t keepApart(const Carrier& carrier);
    bool drop(std::uint32_t event);

    Dt2& mesh_;
    const ConstraintMgr& manager_;
    GeomTest geomTest_;
    double clearance_;
    std::vector<Carrier> vCarriers_;
    PointerMap<std::uint32_t> mCarriers_;
    AddressSet sOwn_;  // the segments to be established
    std::vector<Event> vEvents_;
};

}  // namespace LUMO_TARO25D
