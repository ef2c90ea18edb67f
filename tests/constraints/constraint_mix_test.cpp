#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/constraint_work.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace constraint_work;

namespace {

// ---- Real line work ----

TEST_F(Constraint, RealLineWork) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    size_t numFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dataPath("segments"))) {
        if (entry.path().extension() != ".segb") continue;
        SCOPED_TRACE(entry.path().filename());
        ++numFiles;
        const SegmentVector vSegments = readRealSegments(entry.path().stem());
        for (const ConstraintInsertionStrategy cis : strategies) {
            if (cis != CIS_CONSTRAINED_DELAUNAY && vSegments.size() > scaled(6000)) continue;
            Work work;
            work.constrain(vSegments, cis, cis == CIS_CONSTRAINED_DELAUNAY);
            EXPECT_TRUE(work.check());
            EXPECT_FALSE(work.gaveUp());
            EXPECT_EQ(ConstraintOracle(work.mesh).numEncroached(), 0u);
        }
    }
    EXPECT_GT(numFiles, 0u);
}

TEST_F(Constraint, RealCounts) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const struct {
        const char* name;
        size_t numNewVertices, numMoreSegments;
    } aFiles[] = {{"lake_superior", 0, 0}, {"ne_50m_rivers_lake_centerlines", 25, 2 * 25 + 1}};
    for (const auto& file : aFiles) {
        Work work;
        work.constrain(readRealSegments(file.name));
        std::set<XY> sEnds;
        std::set<Ends> sSegments;
        for (const Segment2& s : work.vSegments) {
            sEnds.insert({xyOf(s.getSrc()), xyOf(s.getTrg())});
            sSegments.insert(endsOf(s.getSrc(), s.getTrg()));
        }
        EXPECT_EQ(work.mesh.numberOfPoints() - sEnds.size(), file.numNewVertices) << file.name;
        EXPECT_EQ(ConstraintOracle(work.mesh).aliveEnds().size() - sSegments.size(), file.numMoreSegments) << file.name;
    }
}

// ---- Everything mixed ----

/// One random step: points, segments, removals of free vertices, or a split. Other kinds do nothing.
template <class MakePoint>
void doAnything(int kind, Work& work, const MakePoint& makePoint, Random& random) {
    if (kind == 0) work.insert(makePoint());
    if (kind == 1) {
        PointVector vPoints;
        while (vPoints.size() < 8) vPoints.push_back(makePoint());
        work.insertBulk(vPoints);
    }
    if (kind == 2 || kind == 3) {
        SegmentVector vSegments;
        for (size_t k = 1 + random() % 3; vSegments.size() < k;) {
            const Segment2 s(makePoint(), makePoint());
            if (s.getSrc() != s.getTrg()) vSegments.push_back(s);
        }
        work.constrain(vSegments, kind == 2 ? CIS_CONSTRAINED_DELAUNAY : strategies[random() % 3], random() % 2);
    }
    for (int k = 0; k < 3 && kind == 4 && work.mesh.numberOfPoints() > 0; ++k) {
        const VertexVector vVertices = verticesOf(work.mesh);
        Point2* pVtx = vVertices[random() % vVertices.size()];
        if (!work.mesh.isConstraint(pVtx)) work.mesh.remove(pVtx);
    }
    CSegVector vAlive = aliveSegmentsOf(work.mesh);
    if (kind == 5 && work.mesh.is2D() && !vAlive.empty()) {
        // The choice does not depend on addresses.
        std::sort(vAlive.begin(), vAlive.end(), [](auto* p, auto* q) { return endsOf(*p) < endsOf(*q); });
        ConstraintSegment2* pCSeg = vAlive[random() % vAlive.size()];
        const auto [a, b] = std::minmax(*pCSeg->getSrc(), *pCSeg->getTrg());
        const double t = integer(random, 0, 4) / 4;
        const Point2 place(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), 0);
        const bool bAtEnd = place == a || place == b;
        bool bNull = false;
        work.output += printedBy([&] { bNull = !pCSeg->insertAndSplit(place); });
        EXPECT_TRUE(bNull == bAtEnd || work.gaveUp());
    }
    work.bPending |= !work.mesh.is2D();
    work.applyIfPending();
}

TEST_F(Constraint, MixesOfEverything) {
    const struct {
        const char* name;
        double origin, step;
        int width;
    } aSettings[] = {{"small grid", 0, 1, 6},        {"grid", 0, 1, 20},
                     {"survey", 4.5e6, 0.01, 30000}, {"unit square", 0, 1e-9, 1000000000},
                     {"large", 0, 1e30, 50},         {"small", 0, 1e-3, 9}};
    const int numSeeds = static_cast<int>(std::max<size_t>(scaled(10), 2));
    int numGivenUp = 0;
    for (const auto& setting : aSettings) {
        for (int seed = 0; seed < numSeeds; ++seed) {
            SCOPED_TRACE(testing::Message() << setting.name << ", seed " << seed);
            Random random(seed);
            const auto makePoint = [&] {
                const double x = integer(random, 0, setting.width), y = integer(random, 0, setting.width);
                return Point2(setting.origin + setting.step * x, setting.origin + setting.step * y,
                              uniform(random, 0, 9));
            };
            Work work;
            for (int i = 0; i < 60 && !work.gaveUp(); ++i) {
                const int kind = static_cast<int>(random() % 8);
                doAnything(kind, work, makePoint, random);
                const auto step = testing::Message() << "step " << i << ", kind " << kind;
                ASSERT_FALSE(HasFailure()) << step;
                ASSERT_TRUE(work.check()) << step;
            }
            numGivenUp += work.gaveUp();
        }
    }
    EXPECT_LE(numGivenUp, numSeeds / 10) << "crossings without room for their last bits are rare";
}

}  // namespace
