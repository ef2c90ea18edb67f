#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/SegmentIntersectionType.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Point2;
class Segment2;
struct SegmentCheckerState;

/// Finds out which segments of a set intersect each other in x-y, before they are inserted as constraints. It needs no
/// triangulation and changes none. Every decision is exact for finite coordinates. Candidates come from an R-tree over
/// boxes (Guttman 1984; Leutenegger, Lopez and Edgington 1997).
///
/// The checker keeps the client's pointers, not copies: the segments must stay alive, and x and y of their end
/// points unchanged, as long as it is in use. A segment may have length zero; it counts as its point: on the
/// inside of another segment it is SIT_POINT with it, on an end point SIT_ENDPOINT. Equal segments, in either
/// direction, are SIT_SEGMENT whatever their length. A segment with an x or y that is NaN or infinite, and a
/// null pointer, intersect nothing.
///
/// Results come in the order in which the segments were added, whatever their addresses. A checker is used by
/// one thread at a time: its const functions build the spatial index when it is needed. The memory is linear
/// in the number of segments.
class TARO25D_API SegmentChecker {
  public:
    /// A checker without segments.
    SegmentChecker();
    /// A checker with these segments; see `addSegments`.
    explicit SegmentChecker(const std::vector<Segment2*>& vSegments);
    /// Destroys the index; the segments stay.
    ~SegmentChecker();
    SegmentChecker(const SegmentChecker&) = delete;
    SegmentChecker& operator=(const SegmentChecker&) = delete;

    /// Adds segments, which are not owned. Each pointer is kept once: null and pointers that are held already
    /// are left out. Linear; the spatial index is brought up to date by the next query, in n log n for all n
    /// segments or, when only a few are new, in log n for each of them.
    void addSegments(const std::vector<Segment2*>& vSegments);

    /// The number of segments held.
    size_t getNumberOfSegments() const;
    /// The segment at a position in the order of adding; an index out of range gets a warning and null.
    Segment2* getSegment(size_t index) const;
    /// The position of a segment in the order of adding; `getNumberOfSegments()` for a pointer that is not held.
    size_t getIndex(const Segment2* pSegment) const;

    /// How two segments, held or not, meet. The order of the two and their directions make no difference. SIT_NONE for
    /// null.
    SegmentIntersectionType getIntersectionType(const Segment2* pSegment0, const Segment2* pSegment1) const;

    /// Appends every other segment that intersects the given one, with its type: those that cross, touch or
    /// overlap it, and with bAlsoEndPoints those too that only share an end point with it. The given segment
    /// need not be held. Cost: log n, plus the segments whose boxes touch its box.
    void getIntersectors(Segment2* pSegment, bool bAlsoEndPoints,
                         std::vector<std::pair<Segment2*, SegmentIntersectionType>>& vIntersectors) const;
    /// Appends every segment that has at least one intersector in the sense of `getIntersectors`. Reports
    /// progress as "check segments". Cost: n log n, plus the pairs of segments whose boxes touch.
    void getIllegalSegments(bool bAlsoEndPoints, std::vector<Segment2*>& vIllegalSegments) const;

    /// The common point of two segments of the type SIT_POINT or SIT_ENDPOINT, its x and y computed without
    /// error and then rounded: first with its height on segment 0, then with that on segment 1. Where a
    /// segment has an end point there, x and y are exactly those of the end point. When the segments are not
    /// of the given type, or the type has no single common point: a warning, and the results are left alone.
    void getIntersectionPoint(SegmentIntersectionType type, const Segment2* pSegment0, const Segment2* pSegment1,
                              Point2& pointOn0, Point2& pointOn1) const;
    /// The overlap of two segments of the type SIT_SEGMENT: first with heights on segment 0, then with those
    /// on segment 1, both in the direction of segment 0. Its x and y are exact. Segments of another type get
    /// a warning, and the results are left alone.
    void getIntersectionSegment(const Segment2* pSegment0, const Segment2* pSegment1, Segment2& overlapOn0,
                                Segment2& overlapOn1) const;

    /// The name of the enumerator, "UNKNOWN SIT" for any other value.
    static std::string getIntersectionTypeString(SegmentIntersectionType type);

    /// Draws all segments into a PostScript file; those of length zero as small crosses.
    void showSegments(const std::string& filename) const;
    /// Draws all segments into a PostScript file: those without intersectors thin and grey, illegal ones red,
    /// with their common points as blue crosses and their overlaps orange. Cost: that of `getIllegalSegments`,
    /// plus a few microseconds for each intersecting pair.
    void showIllegalSegments(bool bAlsoEndPoints, const std::string& filename) const;

    /// Adds a listener (not owned) for one kind of message, unless exactly this pair is present already.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);
    /// Sets the flag (not owned) that cancels long queries; null, the initial value, for none. Any thread may set the
    /// flag at any time; a query tests it at least every 50 ms and throws TaroCancelled once it is set, or if an
    /// exception of a listener was kept. Its output lists are then unchanged.
    void setCancelFlag(const std::atomic<bool>* pFlag);

  private:
    std::unique_ptr<SegmentCheckerState> pState_;
};

}  // namespace LUMO_TARO25D
