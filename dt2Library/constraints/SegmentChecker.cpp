#include "taro25d/SegmentChecker.h"

// Which segments of a set meet, and how.
//
// Two closed segments can only meet where their bounding boxes do, so the candidates of a segment come from an
// R-tree over the boxes (Guttman 1984), loaded all at once (Leutenegger, Lopez and Edgington 1997). The boxes
// are the coordinates themselves, never rounded, and box queries only compare, so no candidate is lost.
//
// Each candidate pair is classified by exact orientation tests and comparisons of coordinates, from the special case to
// the general one:
//   1. a segment of length zero, or two equal segments;
//   2. a common end point: they overlap only if they leave it along one line in the same direction;
//   3. no common end point: the sides of the line of s on which the ends of t lie. Both on the line: an overlap or
//      nothing. One on the line: a touch if it is between the ends of s. On different sides: the line of s meets t, and
//      the segments meet if the line of t also meets s.
// A step sees only pairs that no earlier step has answered, so that the general step needs no degenerate cases. On one
// line, the lexicographic order of points is the order along the line.
//
// The tree answers in an order of its own; results are sorted into the order of the input. A search of all pairs takes
// O(n log n) plus the number of pairs whose boxes touch.

#include <algorithm>
#include <cmath>

#include "constraints/SegmentIndex.h"
#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "support/Progress.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Color.h"
#include "taro25d/Segment2.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

using Intersectors = std::vector<std::pair<Segment2*, SegmentIntersectionType>>;

double getMaxAbsCoord(const Segment2& segment) {
    const Point2 &src = segment.getSrc(), &trg = segment.getTrg();
    return std::max({std::abs(src.x()), std::abs(src.y()), std::abs(trg.x()), std::abs(trg.y())});
}

bool isPoint(const Segment2& segment) { return segment.getSrc() == segment.getTrg(); }

bool hasEndPoint(const Segment2& segment, const Point2& point) {
    return segment.getSrc() == point || segment.getTrg() == point;
}

bool haveCommonEndPoint(const Segment2& s, const Segment2& t) {
    return hasEndPoint(t, s.getSrc()) || hasEndPoint(t, s.getTrg());
}

const Point2& getCommonEndPoint(const Segment2& s, const Segment2& t) {
    return hasEndPoint(t, s.getSrc()) ? s.getSrc() : s.getTrg();
}

const Point2& getOtherEndPoint(const Segment2& segment, const Point2& end) {
    return segment.getSrc() == end ? segment.getTrg() : segment.getSrc();
}

/// Whether a point on the line of a segment is strictly between its ends.
bool hasOnCollinearPoint(const Segment2& segment, const Point2& point) {
    const auto [first, last] = std::minmax(segment.getSrc(), segment.getTrg());
    return first < point && point < last;
}

/// The common part of two segments that overlap on one line, in the direction of the first.
Segment2 commonRange(const Segment2& s, const Segment2& t) {
    const auto [sFirst, sLast] = std::minmax(s.getSrc(), s.getTrg());
    const auto [tFirst, tLast] = std::minmax(t.getSrc(), t.getTrg());
    Segment2 common(std::max(sFirst, tFirst), std::min(sLast, tLast));
    if (s.getTrg() < s.getSrc()) common.swapSrcTrg();
    return common;
}

/// The point of a segment at a place in x-y.
Point2 liftPoint(const Segment2& segment, const Point2& place) {
    return Point2(place.x(), place.y(), getZOnSegment(segment.getSrc(), segment.getTrg(), place.x(), place.y()));
}

Segment2 liftSegment(const Segment2& segment, const Segment2& place) {
    return Segment2(liftPoint(segment, place.getSrc()), liftPoint(segment, place.getTrg()));
}

/// The common point of two segments that have exactly one.
Point2 getCommonPoint(const Segment2& s, const Segment2& t) {
    if (isPoint(s)) return s.getSrc();
    if (isPoint(t)) return t.getSrc();
    if (haveCommonEndPoint(s, t)) return getCommonEndPoint(s, t);
    Point2 result;
    getIntersectionPointNoRounding(s.getSrc(), s.getTrg(), t.getSrc(), t.getTrg(), result);
    return result;
}

bool isReported(SegmentIntersectionType type, bool bAlsoEndPoints) {
    switch (type) {
        case SIT_SEGMENT:
        case SIT_POINT:
            return true;
        case SIT_ENDPOINT:
            return bAlsoEndPoints;
        case SIT_NONE:
            return false;
        default:
            error("getIntersectors()", "impossible case");
            return false;
    }
}

/// Decides how two segments meet.
class SegmentClassifier {
  public:
    SegmentIntersectionType getIntersectionType(const Segment2& s, const Segment2& t) {
        if (!isFinite2D(s) || !isFinite2D(t)) return SIT_NONE;
        const double coord = std::max(getMaxAbsCoord(s), getMaxAbsCoord(t));
        if (coord > geomTest_.getMaxAbsCoord()) geomTest_.setStaticBound(coord);
        const SegmentIntersectionType type = getIntersectionType_degeneratePart(s, t);
        if (type != SIT_UNINITIALIZED) return type;
        return haveCommonEndPoint(s, t) ? getIntersectionType_endPointPart(s, t)
                                        : getIntersectionType_generalPart(s, t);
    }

  private:
    Orientation2 getOrientation(const Segment2& segment, const Point2& point) {
        return geomTest_.getOrientation2(&segment.getSrc(), &segment.getTrg(), &point);
    }

    SegmentIntersectionType getIntersectionType_point(const Point2& point, const Segment2& t) {
        if (hasEndPoint(t, point)) return SIT_ENDPOINT;
        const bool bOn = hasOnCollinearPoint(t, point) && getOrientation(t, point) == ORIENTATION2_COLLINEAR;
        return bOn ? SIT_POINT : SIT_NONE;
    }

    /// SIT_UNINITIALIZED if both segments have a length and they are not equal.
    SegmentIntersectionType getIntersectionType_degeneratePart(const Segment2& s, const Segment2& t) {
        if (s == t) return SIT_SEGMENT;
        if (isPoint(s)) return getIntersectionType_point(s.getSrc(), t);
        if (isPoint(t)) return getIntersectionType_point(t.getSrc(), s);
        return SIT_UNINITIALIZED;
    }

    SegmentIntersectionType getIntersectionType_endPointPart(const Segment2& s, const Segment2& t) {
        const Point2& common = getCommonEndPoint(s, t);
        const Point2 &endOfS = getOtherEndPoint(s, common), &endOfT = getOtherEndPoint(t, common);
        const bool bOverlap = (hasOnCollinearPoint(s, endOfT) || hasOnCollinearPoint(t, endOfS)) &&
                              getOrientation(s, endOfT) == ORIENTATION2_COLLINEAR;
        return bOverlap ? SIT_SEGMENT : SIT_ENDPOINT;
    }

    SegmentIntersectionType getIntersectionType_generalPart(const Segment2& s, const Segment2& t) {
        const Point2 &p1 = s.getSrc(), &p2 = s.getTrg(), &p3 = t.getSrc(), &p4 = t.getTrg();
        TARO_ASSERT_TEXT(p1 != p3 && p1 != p4 && p2 != p3 && p2 != p4, "p1!=p3 && p1!=p4 && p2!=p3 && p2!=p4");
        const Orientation2 ori123 = getOrientation(s, p3), ori124 = getOrientation(s, p4);
        if (ori123 == ORIENTATION2_COLLINEAR && ori124 == ORIENTATION2_COLLINEAR) return getTypeOnOneLine(s, t);
        if (ori123 == ori124) return SIT_NONE;
        if (ori123 == ORIENTATION2_COLLINEAR) return hasOnCollinearPoint(s, p3) ? SIT_POINT : SIT_NONE;
        if (ori124 == ORIENTATION2_COLLINEAR) return hasOnCollinearPoint(s, p4) ? SIT_POINT : SIT_NONE;

        const Orientation2 ori341 = getOrientation(t, p1), ori342 = getOrientation(t, p2);
        if (ori341 != ori342) return SIT_POINT;  // if one is collinear, it is the point where the line of s meets t
        TARO_ASSERT_TEXT(ori341 != ORIENTATION2_COLLINEAR, "ori341!=ORIENTATION2_COLLINEAR");
        return SIT_NONE;
    }

    static SegmentIntersectionType getTypeOnOneLine(const Segment2& s, const Segment2& t) {
        const bool bOverlap = hasOnCollinearPoint(s, t.getSrc()) || hasOnCollinearPoint(s, t.getTrg()) ||
                              hasOnCollinearPoint(t, s.getSrc()) || hasOnCollinearPoint(t, s.getTrg());
        return bOverlap ? SIT_SEGMENT : SIT_NONE;
    }

    GeomTest geomTest_;
};

}  // namespace

struct SegmentCheckerState {
    SegmentIndex segments;
    SegmentClassifier classifier;
    Progress progress;
};

SegmentChecker::SegmentChecker() : pState_(std::make_unique<SegmentCheckerState>()) {}
SegmentChecker::SegmentChecker(const std::vector<Segment2*>& vSegments) : SegmentChecker() { addSegments(vSegments); }
SegmentChecker::~SegmentChecker() = default;

void SegmentChecker::addSegments(const std::vector<Segment2*>& vSegments) { pState_->segments.add(vSegments); }

size_t SegmentChecker::getNumberOfSegments() const { return pState_->segments.size(); }

Segment2* SegmentChecker::getSegment(size_t index) const {
    if (index < getNumberOfSegments()) return pState_->segments[index];
    const MessageScope scope(&pState_->progress);
    warning("SegmentChecker::getSegment()", "index out of range, returning NULL");
    return nullptr;
}

size_t SegmentChecker::getIndex(const Segment2* pSegment) const { return pState_->segments.find(pSegment); }

SegmentIntersectionType SegmentChecker::getIntersectionType(const Segment2* pSegment0,
                                                            const Segment2* pSegment1) const {
    if (!pSegment0 || !pSegment1) return SIT_NONE;
    return pState_->classifier.getIntersectionType(*pSegment0, *pSegment1);
}

// ---- Searching ----

void SegmentChecker::getIntersectors(Segment2* pSegment, bool bAlsoEndPoints, Intersectors& vIntersectors) const {
    if (!pSegment) return;
    const MessageScope scope(&pState_->progress);
    SegmentIndex& segments = pState_->segments;
    std::vector<std::pair<size_t, SegmentIntersectionType>> vFound;
    CancelPoint<> cancelPoint;
    segments.forEachCandidate(*pSegment, [&](size_t i) {
        cancelPoint.pass();
        if (segments[i] == pSegment) return;
        const SegmentIntersectionType type = getIntersectionType(pSegment, segments[i]);
        if (isReported(type, bAlsoEndPoints)) vFound.emplace_back(i, type);
    });
    std::sort(vFound.begin(), vFound.end());
    for (const auto& [i, type] : vFound) vIntersectors.emplace_back(segments[i], type);
}

void SegmentChecker::getIllegalSegments(bool bAlsoEndPoints, std::vector<Segment2*>& vIllegalSegments) const {
    const MessageScope scope(&pState_->progress);
    SegmentIndex& segments = pState_->segments;
    std::vector<char> vIllegal(segments.size(), false);
    pState_->progress.start("check segments", segments.size());
    const ProgressEnd progressEnd(pState_->progress);
    CancelPoint<> cancelPoint;
    for (size_t i = 0; i < segments.size(); ++i) {
        cancelPoint.pass();
        // Each pair once, and none whose segments are both known to be illegal.
        segments.forEachCandidate(*segments[i], [&](size_t j) {
            cancelPoint.pass();
            if (j <= i || (vIllegal[i] && vIllegal[j])) return;
            if (isReported(getIntersectionType(segments[i], segments[j]), bAlsoEndPoints)) {
                vIllegal[i] = vIllegal[j] = true;
            }
        });
        pState_->progress.incProgress(1);
    }
    pState_->progress.finish();
    for (size_t i = 0; i < segments.size(); ++i) {
        if (vIllegal[i]) vIllegalSegments.push_back(segments[i]);
    }
}

// ---- The common part of two segments ----

void SegmentChecker::getIntersectionPoint(SegmentIntersectionType type, const Segment2* pSegment0,
                                          const Segment2* pSegment1, Point2& pointOn0, Point2& pointOn1) const {
    if ((type != SIT_POINT && type != SIT_ENDPOINT) || getIntersectionType(pSegment0, pSegment1) != type) {
        const MessageScope scope(&pState_->progress);
        return warning("SegmentChecker::getIntersectionPoint()", "no common point of this type");
    }
    const Point2 common = getCommonPoint(*pSegment0, *pSegment1);
    pointOn0 = liftPoint(*pSegment0, common);
    pointOn1 = liftPoint(*pSegment1, common);
}

void SegmentChecker::getIntersectionSegment(const Segment2* pSegment0, const Segment2* pSegment1, Segment2& overlapOn0,
                                            Segment2& overlapOn1) const {
    if (getIntersectionType(pSegment0, pSegment1) != SIT_SEGMENT) {
        const MessageScope scope(&pState_->progress);
        return warning("SegmentChecker::getIntersectionSegment()", "the segments do not overlap");
    }
    const Segment2 s = *pSegment0, t = *pSegment1;  // a result may be one of the two
    const Segment2 common = commonRange(s, t);
    overlapOn0 = liftSegment(s, common);
    overlapOn1 = liftSegment(t, common);
}

std::string SegmentChecker::getIntersectionTypeString(SegmentIntersectionType type) {
    switch (type) {
        case SIT_UNINITIALIZED:
            return "SIT_UNINITIALIZED";
        case SIT_NONE:
            return "SIT_NONE";
        case SIT_SEGMENT:
            return "SIT_SEGMENT";
        case SIT_POINT:
            return "SIT_POINT";
        case SIT_ENDPOINT:
            return "SIT_ENDPOINT";
        default:
            return "UNKNOWN SIT";
    }
}

// ---- Drawing ----

namespace {

/// Draws a segment; one of length zero, which would be invisible, as a cross.
void draw(const Segment2& segment, const Color& color, Visualizer2& visualizer) {
    if (isPoint(segment)) {
        visualizer.addObject(segment.getSrc(), color);
    } else {
        visualizer.addObject(segment, color);
    }
}

void drawCommonPart(const SegmentChecker& checker, const Segment2& s, const Segment2& t, SegmentIntersectionType type,
                    Visualizer2& visualizer) {
    if (type == SIT_SEGMENT) {
        Segment2 overlapOn0, overlapOn1;
        checker.getIntersectionSegment(&s, &t, overlapOn0, overlapOn1);
        visualizer.addObject(overlapOn0, Color(CORANGE, 1.5f));
    } else {
        Point2 pointOn0, pointOn1;
        checker.getIntersectionPoint(type, &s, &t, pointOn0, pointOn1);
        visualizer.addObject(Point2(pointOn0.x(), pointOn0.y(), 0.0), Color(CBLUE, 1.0f));
    }
}

}  // namespace

void SegmentChecker::showSegments(const std::string& filename) const {
    const MessageScope scope(&pState_->progress);
    Visualizer2 visualizer(filename);
    visualizer.addHeaderLine(std::to_string(getNumberOfSegments()) + " segments");
    for (const Segment2* pSegment : pState_->segments) draw(*pSegment, Color(CBLACK, 0.2f), visualizer);
    visualizer.writeFile();
}

void SegmentChecker::showIllegalSegments(bool bAlsoEndPoints, const std::string& filename) const {
    const MessageScope scope(&pState_->progress);
    std::vector<Segment2*> vIllegal;
    getIllegalSegments(bAlsoEndPoints, vIllegal);
    Visualizer2 visualizer(filename);
    visualizer.addHeaderLine(std::to_string(getNumberOfSegments()) + " segments, " + std::to_string(vIllegal.size()) +
                             " of them illegal (red)");
    visualizer.addHeaderLine("common points: blue, overlaps: orange");

    auto nextIllegal = vIllegal.begin();  // both lists are in the order of adding
    for (const Segment2* pSegment : pState_->segments) {
        const bool bIllegal = nextIllegal != vIllegal.end() && *nextIllegal == pSegment;
        draw(*pSegment, bIllegal ? Color(CRED, 0.4f) : Color(CGRAY, 0.1f), visualizer);
        if (bIllegal) ++nextIllegal;
    }
    for (Segment2* pSegment : vIllegal) {
        Intersectors vIntersectors;
        getIntersectors(pSegment, bAlsoEndPoints, vIntersectors);
        for (const auto& [pOther, type] : vIntersectors) {
            if (getIndex(pSegment) < getIndex(pOther)) drawCommonPart(*this, *pSegment, *pOther, type, visualizer);
        }
    }
    visualizer.writeFile();
}

// ---- Listeners ----

void SegmentChecker::subscribe(MsgType type, MsgBase* pListener) { pState_->progress.subscribe(type, pListener); }
void SegmentChecker::setCancelFlag(const std::atomic<bool>* pFlag) { pState_->progress.setCancelFlag(pFlag); }

void SegmentChecker::unsubscribe(MsgType type, MsgBase* pListener) { pState_->progress.unsubscribe(type, pListener); }

}  // namespace LUMO_TARO25D
