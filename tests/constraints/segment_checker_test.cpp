#include "taro25d/SegmentChecker.h"

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/Segment2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

using Pointers = std::vector<Segment2*>;
using Intersectors = std::vector<std::pair<Segment2*, SegmentIntersectionType>>;

Pointers pointersTo(SegmentVector& vSegments) {
    Pointers vPointers;
    for (Segment2& segment : vSegments) vPointers.push_back(&segment);
    return vPointers;
}

// ---- The oracle: the intersection of two segments as sets, with parameters along them in exact numbers ----

template <class Number>
struct ExactSegment {
    Number x, y, dx, dy;  // start and difference

    explicit ExactSegment(const Segment2& s)
        : x(s.getSrc().x()), y(s.getSrc().y()), dx(Number(s.getTrg().x()) - x), dy(Number(s.getTrg().y()) - y) {}
    bool isPoint() const { return dx == 0 && dy == 0; }
};

/// Two segments on one line: the common part of their intervals along the direction (dx, dy).
template <class Number>
SegmentIntersectionType oracleOnOneLine(const ExactSegment<Number>& s, const ExactSegment<Number>& t, const Number& dx,
                                        const Number& dy) {
    const auto interval = [&](const ExactSegment<Number>& segment) {
        const Number a = segment.x * dx + segment.y * dy, b = a + segment.dx * dx + segment.dy * dy;
        return a < b ? std::pair(a, b) : std::pair(b, a);
    };
    const auto [s0, s1] = interval(s);
    const auto [t0, t1] = interval(t);
    const Number low = s0 < t0 ? t0 : s0, high = s1 < t1 ? s1 : t1;
    if (low > high) return SIT_NONE;
    if (low < high) return SIT_SEGMENT;
    return (low == s0 || low == s1) && (low == t0 || low == t1) ? SIT_ENDPOINT : SIT_POINT;
}

template <class Number>
SegmentIntersectionType oracle(const Segment2& first, const Segment2& second) {
    const ExactSegment<Number> s(first), t(second);
    const Number wx = t.x - s.x, wy = t.y - s.y;
    Number det = s.dx * t.dy - s.dy * t.dx;
    Number onS = wx * t.dy - wy * t.dx, onT = wx * s.dy - wy * s.dx;  // det times the parameters of the common point
    if (det == 0) {
        if (s.isPoint() && t.isPoint()) return wx == 0 && wy == 0 ? SIT_SEGMENT : SIT_NONE;
        if (onS != 0 || onT != 0) return SIT_NONE;
        return s.isPoint() ? oracleOnOneLine<Number>(s, t, t.dx, t.dy) : oracleOnOneLine<Number>(s, t, s.dx, s.dy);
    }
    if (det < 0) det = -det, onS = -onS, onT = -onT;
    if (onS < 0 || onS > det || onT < 0 || onT > det) return SIT_NONE;
    return (onS == 0 || onS == det) && (onT == 0 || onT == det) ? SIT_ENDPOINT : SIT_POINT;
}

/// All segments between the points of a small grid, those of length zero included.
SegmentVector gridSegments(int side) {
    SegmentVector vSegments;
    for (int i = 0; i < side * side; ++i) {
        for (int j = 0; j < side * side; ++j) {
            vSegments.push_back(makeSegment(i % side, i / side, j % side, j / side, i, 10 * j));
        }
    }
    return vSegments;
}

/// Compares a checker's answers with those of all pairs by brute force.
void expectAsByAllPairs(const SegmentChecker& checker, const Pointers& vSegments,
                        const std::function<SegmentIntersectionType(const Segment2&, const Segment2&)>& getType) {
    for (const bool bAlsoEndPoints : {false, true}) {
        Pointers vIllegal, vExpectedIllegal;
        for (Segment2* pS : vSegments) {
            Intersectors vFound, vExpected;
            for (Segment2* pT : vSegments) {
                const SegmentIntersectionType type = pS == pT ? SIT_NONE : getType(*pS, *pT);
                if (type != SIT_NONE && (bAlsoEndPoints || type != SIT_ENDPOINT)) vExpected.emplace_back(pT, type);
            }
            checker.getIntersectors(pS, bAlsoEndPoints, vFound);
            ASSERT_EQ(vFound, vExpected) << pS->getSrc() << pS->getTrg();
            if (!vExpected.empty()) vExpectedIllegal.push_back(pS);
        }
        checker.getIllegalSegments(bAlsoEndPoints, vIllegal);
        ASSERT_EQ(vIllegal, vExpectedIllegal);
    }
}

}  // namespace

// ---- Classification ----

TEST(SegmentChecker, ClassifiesEveryContactOnAGridAtAnyScale) {
    const SegmentVector vGrid = gridSegments(4);
    const SegmentChecker checker;
    // Exact maps: with products that underflow, that overflow, and with few bits left behind the offset.
    const struct {
        double factor, offset;
    } aMaps[] = {{1.0, 0.0}, {-0x1p-1060, 0.0}, {0x1p1021, 0.0}, {0x1p-2, -0x1p50}};
    for (const auto& map : aMaps) {
        SegmentVector vMapped;
        for (const Segment2& s : vGrid) {
            const auto at = [&](double coordinate) { return map.factor * coordinate + map.offset; };
            vMapped.push_back(
                makeSegment(at(s.getSrc().x()), at(s.getSrc().y()), at(s.getTrg().x()), at(s.getTrg().y())));
        }
        for (size_t i = 0; i < vGrid.size(); ++i) {
            for (size_t j = 0; j < vGrid.size(); ++j) {
                ASSERT_EQ(checker.getIntersectionType(&vMapped[i], &vMapped[j]), oracle<long>(vGrid[i], vGrid[j]))
                    << vMapped[i].getSrc() << vMapped[i].getTrg() << vMapped[j].getSrc() << vMapped[j].getTrg();
            }
        }
    }
}

TEST(SegmentChecker, FindsAllContactsOfAGridInTheOrderOfTheInput) {
    SegmentVector vGrid = gridSegments(3);
    const Pointers vPointers = pointersTo(vGrid);
    expectAsByAllPairs(SegmentChecker(vPointers), vPointers, oracle<long>);
    const Pointers vBackwards(vPointers.rbegin(), vPointers.rend());
    expectAsByAllPairs(SegmentChecker(vBackwards), vBackwards, oracle<long>);
}

TEST(SegmentChecker, AgreesWithAllPairsInRationalNumbers) {
    for (const Generator& generator : generators) {
        const unsigned long seed = 34;
        SCOPED_TRACE(std::string(generator.name) + ", seed " + std::to_string(seed));
        Random random(seed);
        const PointVector vPoints = generator.make(12 + scaled(36), random);
        SegmentVector vSegments;
        for (size_t i = 0; i + 1 < vPoints.size(); ++i) {  // a chain, with chords that share its vertices
            vSegments.emplace_back(vPoints[i], vPoints[i + 1]);
            vSegments.emplace_back(vPoints[i], vPoints[random() % vPoints.size()]);
        }
        const Pointers vPointers = pointersTo(vSegments);
        expectAsByAllPairs(SegmentChecker(vPointers), vPointers, oracle<mpq_class>);
    }
}

TEST(SegmentChecker, NamesTheTypes) {
    const char* const aNames[] = {"SIT_UNINITIALIZED", "SIT_NONE", "SIT_SEGMENT", "SIT_POINT", "SIT_ENDPOINT"};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(SegmentChecker::getIntersectionTypeString(static_cast<SegmentIntersectionType>(i)), aNames[i]);
    }
    EXPECT_EQ(SegmentChecker::getIntersectionTypeString(static_cast<SegmentIntersectionType>(5)), "UNKNOWN SIT");
}

// ---- Segments held ----

TEST(SegmentChecker, KeepsEachPointerOnceInTheOrderOfAdding) {
    SegmentVector v{makeSegment(0, 0, 1, 1), makeSegment(0, 1, 1, 0), makeSegment(0, 1, 1, 0)};
    SegmentChecker checker({&v[1], nullptr, &v[1], &v[0]});
    checker.addSegments({&v[0]});
    EXPECT_EQ(checker.getNumberOfSegments(), 2u);
    EXPECT_EQ(checker.getSegment(0), &v[1]);
    EXPECT_EQ(checker.getIndex(&v[0]), 1u);
    EXPECT_EQ(checker.getIndex(&v[2]), 2u);  // not held, though equal to a segment that is

    Recorder recorder;
    checker.subscribe(MT_WARNING, &recorder);
    const StdoutCapture capture;
    EXPECT_EQ(checker.getSegment(2), nullptr);
    EXPECT_TRUE(contains(capture, "SegmentChecker::getSegment(), WARNING: index out of range, returning NULL"));
    EXPECT_EQ(recorder.vMessages.size(), 1u);
}

TEST(SegmentChecker, AnswersForSegmentsThatAreNotHeldAndForNone) {
    SegmentVector v{makeSegment(0, 0, 2, 2), makeSegment(1, 1, 1, 1), makeSegment(0, 2, 2, 0)};
    SegmentChecker checker;
    Intersectors vFound;
    Pointers vIllegal;
    checker.getIntersectors(&v[2], true, vFound);
    checker.getIllegalSegments(true, vIllegal);
    EXPECT_TRUE(vFound.empty() && vIllegal.empty());

    checker.addSegments({&v[0], &v[1]});
    checker.getIntersectors(nullptr, true, vFound);
    EXPECT_TRUE(vFound.empty());
    checker.getIntersectors(&v[2], true, vFound);
    EXPECT_EQ(vFound, (Intersectors{{&v[0], SIT_POINT}, {&v[1], SIT_POINT}}));
    EXPECT_EQ(checker.getIntersectionType(&v[0], nullptr), SIT_NONE);
}

TEST(SegmentChecker, SegmentsMayBeAddedBetweenQueries) {
    Random random(35);
    SegmentVector vSegments;
    for (int i = 0; i < 300; ++i) {
        vSegments.push_back(makeSegment(integer(random, 0, 40), integer(random, 0, 40), 20, integer(random, 0, 40)));
    }
    const Pointers vAll = pointersTo(vSegments);
    SegmentChecker checker;
    size_t numAdded = 0;
    for (const size_t numMore : {1, 1, 70, 1, 3, 8, 9, 0, 100, 5, 102}) {  // single ones, and many at a time
        const auto first = vAll.begin() + long(numAdded);
        checker.addSegments(Pointers(first, first + long(numMore)));
        numAdded += numMore;
        expectAsByAllPairs(checker, Pointers(vAll.begin(), vAll.begin() + long(numAdded)), oracle<long>);
    }
    EXPECT_EQ(numAdded, vAll.size());
}

TEST(SegmentChecker, CoordinatesThatAreNotFiniteMeetNothing) {
    SegmentVector v{makeSegment(0, 0, 2, 2), makeSegment(0, 2, 2, 0)};
    for (const double bad : {NOT_A_NUMBER, INF, -INF}) {
        v.push_back(makeSegment(bad, 1, 1, 1));
        v.push_back(makeSegment(1, 1, 1, bad));
        v.push_back(makeSegment(bad, bad, bad, bad));
    }
    v.push_back(makeSegment(1, 0, 1, 1, NOT_A_NUMBER, INF));  // heights do not matter
    const Pointers vPointers = pointersTo(v);
    SegmentChecker checker;
    for (Segment2* pSegment : vPointers) {
        checker.addSegments({pSegment});
        Pointers vIllegal;
        checker.getIllegalSegments(false, vIllegal);
        EXPECT_EQ(vIllegal.size(), std::min<size_t>(checker.getNumberOfSegments() / 2 * 2, 2) +
                                       (checker.getNumberOfSegments() == v.size()));
    }
    for (size_t i = 2; i + 1 < v.size(); ++i) {
        Intersectors vFound;
        checker.getIntersectors(&v[i], true, vFound);
        EXPECT_TRUE(vFound.empty()) << i;
        EXPECT_EQ(checker.getIntersectionType(&v[i], &v[i]), SIT_NONE);
    }
}

// ---- Common points and overlaps ----

TEST(SegmentChecker, GivesCommonPointsAndOverlapsWithBothHeights) {
    const SegmentVector vGrid = gridSegments(3);
    const SegmentChecker checker;
    const auto expectOn = [](const Segment2& s, const Point2& p) {
        EXPECT_LE(getPointLineDistance2D(p, s.getSrc(), s.getTrg()), 1e-15);
        EXPECT_DOUBLE_EQ(p.z(), getZOnSegment(s.getSrc(), s.getTrg(), p.x(), p.y()));
        EXPECT_EQ(p.getCustomIndex(), -1);
    };
    const auto isEnd = [](const Segment2& s, const Point2& p) { return p == s.getSrc() || p == s.getTrg(); };
    for (const Segment2& s : vGrid) {
        for (const Segment2& t : vGrid) {
            const SegmentIntersectionType type = oracle<long>(s, t);
            if (type == SIT_SEGMENT) {
                Segment2 onS, onT;
                checker.getIntersectionSegment(&s, &t, onS, onT);
                EXPECT_EQ(onS.getSrc(), onT.getSrc());
                EXPECT_EQ(onS.getTrg(), onT.getTrg());
                EXPECT_EQ(onS.getSrc() < onS.getTrg(), s.getSrc() < s.getTrg());
                for (const auto& [pOn, pLifted] : {std::pair(&s, &onS), std::pair(&t, &onT)}) {
                    expectOn(*pOn, pLifted->getSrc());
                    expectOn(*pOn, pLifted->getTrg());
                }
                for (const Point2& end : {onS.getSrc(), onS.getTrg()}) EXPECT_TRUE(isEnd(s, end) || isEnd(t, end));
                // The overlap is complete: the rest of s on either side only touches t.
                for (const Segment2& rest : {Segment2(s.getSrc(), onS.getSrc()), Segment2(onS.getTrg(), s.getTrg())}) {
                    EXPECT_TRUE(rest == t || oracle<long>(rest, t) != SIT_SEGMENT);
                }
            } else if (type != SIT_NONE) {
                Point2 onS, onT;
                checker.getIntersectionPoint(type, &s, &t, onS, onT);
                EXPECT_EQ(onS, onT);
                expectOn(s, onS);
                expectOn(t, onT);
                EXPECT_EQ(isEnd(s, onS) && isEnd(t, onT), type == SIT_ENDPOINT);
            }
        }
    }
}

TEST(SegmentChecker, RefusesResultsThatDoNotExist) {
    const Segment2 s = makeSegment(0, 0, 4, 0), crossing = makeSegment(1, -1, 1, 1), apart = makeSegment(9, -1, 9, 1);
    SegmentChecker checker;
    Recorder recorder;
    checker.subscribe(MT_WARNING, &recorder);
    const StdoutCapture capture;
    Point2 p0(7, 7, 7), p1(7, 7, 7);
    Segment2 overlap0 = crossing, overlap1 = crossing;
    checker.getIntersectionPoint(SIT_ENDPOINT, &s, &crossing, p0, p1);
    checker.getIntersectionPoint(SIT_POINT, &s, &apart, p0, p1);
    checker.getIntersectionPoint(SIT_NONE, &s, &apart, p0, p1);
    checker.getIntersectionPoint(SIT_SEGMENT, &s, &s, p0, p1);
    checker.getIntersectionPoint(SIT_POINT, &s, nullptr, p0, p1);
    checker.getIntersectionSegment(&s, &crossing, overlap0, overlap1);
    EXPECT_TRUE(samePoint(p0, Point2(7, 7, 7)) && samePoint(p1, Point2(7, 7, 7)));
    EXPECT_TRUE(overlap0 == crossing && overlap1 == crossing);
    ASSERT_EQ(recorder.vMessages.size(), 6u);
    EXPECT_EQ(countOf("SegmentChecker::getIntersectionPoint(), WARNING: no common point of this type", capture.text()),
              5u);
    EXPECT_EQ(recorder.vMessages.back(), "the segments do not overlap");

    Segment2 first = makeSegment(0, 0, 4, 0, 0, 4), second = makeSegment(6, 0, 2, 0, 6, 2);
    checker.getIntersectionSegment(&first, &second, first, second);  // in place
    EXPECT_TRUE(first == makeSegment(2, 0, 4, 0) && second == first);
}

// ---- Progress and drawing ----

TEST(SegmentChecker, ReportsProgressInHundredths) {
    SegmentVector vSegments(1000, makeSegment(0, 0, 1, 1));
    SegmentChecker checker(pointersTo(vSegments));
    Recorder recorder;
    checker.subscribe(MT_PROGRESS, &recorder);
    checker.subscribe(MT_PROGRESS, &recorder);
    Pointers vIllegal;
    checker.getIllegalSegments(false, vIllegal);
    EXPECT_EQ(vIllegal.size(), 1000u);
    ASSERT_EQ(recorder.vMessages.size(), 100u);
    EXPECT_EQ(recorder.vMessages.front(), "check segments");
    EXPECT_EQ(recorder.vValues.front(), 0.01);
    EXPECT_EQ(recorder.vValues.back(), 1.0);
    checker.unsubscribe(MT_PROGRESS, &recorder);
    checker.getIllegalSegments(false, vIllegal);
    EXPECT_EQ(recorder.vMessages.size(), 100u);
}

TEST(SegmentChecker, DrawsTheIllegalOnesWithWhatTheyShare) {
    SegmentVector v{makeSegment(0, 0, 4, 4), makeSegment(0, 4, 4, 0), makeSegment(4, 0, 6, 0), makeSegment(5, 0, 8, 0),
                    makeSegment(0, 5, 8, 5), makeSegment(8, 5, 8, 6), makeSegment(3, 6, 3, 6), makeSegment(2, 5, 2, 5)};
    const SegmentChecker checker(pointersTo(v));
    const StdoutCapture capture;
    const auto linesIn = [](const std::string& name) {
        const std::string text = readFile(name);
        return countOf("\tlineto", text.substr(text.find("stroke")));
    };
    checker.showSegments("all.ps");
    EXPECT_EQ(linesIn("all.ps"), 6u + 2 * 2);  // points are crosses of two lines
    checker.showIllegalSegments(false, "illegal.ps");
    EXPECT_EQ(linesIn("illegal.ps"), 6u + 2 * 2 + 1 + 2 * 2);  // an overlap and two common points more
    EXPECT_EQ(countOf("8 segments, 6 of them illegal", readFile("illegal.ps")), 1u);
    checker.showIllegalSegments(true, "with_end_points.ps");
    EXPECT_EQ(linesIn("with_end_points.ps"), 6u + 2 * 2 + 1 + 4 * 2);
    EXPECT_EQ(countOf("8 segments, 7 of them illegal", readFile("with_end_points.ps")), 1u);
}

// ---- Real line work ----

namespace {

/// The number of pairs that cross, of those in which an end of one segment touches the inside of the other, and of
/// those that overlap.
std::array<int, 3> countPairs(const SegmentChecker& checker) {
    std::array<int, 3> aCount{};
    for (size_t i = 0; i < checker.getNumberOfSegments(); ++i) {
        Segment2* const pS = checker.getSegment(i);
        Intersectors vFound;
        checker.getIntersectors(pS, false, vFound);
        for (const auto& [pT, type] : vFound) {
            if (checker.getIndex(pT) < i) continue;
            Point2 p, q;
            if (type == SIT_POINT) checker.getIntersectionPoint(type, pS, pT, p, q);
            const bool bTouch = p == pS->getSrc() || p == pS->getTrg() || p == pT->getSrc() || p == pT->getTrg();
            ++aCount[type == SIT_SEGMENT ? 2 : bTouch ? 1 : 0];
        }
    }
    return aCount;
}

}  // namespace

TEST(SegmentChecker, CountsTheContactsOfRealLineWork) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const struct {
        const char* name;
        std::array<int, 3> aCount;
    } aFiles[] = {{"lake_superior", {0, 0, 0}},
                  {"ne_110m_coastline", {0, 0, 2}},  // two borders, drawn there and back
                  {"ne_50m_rivers_lake_centerlines", {25, 1, 0}},
                  {"earcut_water", {19, 40, 31}}};
    for (const auto& file : aFiles) {
        SegmentVector vSegments = readRealSegments(file.name);
        ASSERT_FALSE(vSegments.empty()) << file.name;
        EXPECT_EQ(countPairs(SegmentChecker(pointersTo(vSegments))), file.aCount) << file.name;
    }
    SegmentVector vSmall = readRealSegments("earcut_water4");
    const Pointers vPointers = pointersTo(vSmall);
    expectAsByAllPairs(SegmentChecker(vPointers), vPointers, oracle<long>);
}
