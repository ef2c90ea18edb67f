#include "vertices/VertexVault.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <list>
#include <new>
#include <numeric>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/LargeVector.h"
#include "support/SimplePool.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "vertices/HC2.h"
#include "vertices/KeyOrder.h"

using namespace LUMO_TARO25D;

namespace {

/// The position of a cell on the Hilbert curve from (0, 0) over (0, 1) and (1, 1) to (1, 0) (Hilbert 1891): level by
/// level, the quadrant that holds the cell is turned until its curve runs like the whole one.
unsigned plainKey(unsigned ix, unsigned iy, int numBits) {
    unsigned key = 0;
    for (unsigned half = (1u << (numBits / 2)) / 2; half > 0; half /= 2) {
        const bool bRight = ix >= half, bUpper = iy >= half;
        key = 4 * key + (bRight ? (bUpper ? 2 : 3) : (bUpper ? 1 : 0));
        if (bRight) ix -= half;
        if (bUpper) iy -= half;
        if (bUpper) continue;
        if (bRight) {
            ix = half - 1 - ix;
            iy = half - 1 - iy;
        }
        std::swap(ix, iy);
    }
    return key;
}

TEST(HC2, TheOracleNumbersNeighboursOneAfterTheOther) {
    constexpr int NUM_BITS = 12, WIDTH = 1 << (NUM_BITS / 2);
    std::vector<std::pair<int, int>> vCells(WIDTH * WIDTH, {-1, -1});
    for (int i = 0; i < WIDTH * WIDTH; ++i) {
        vCells.at(plainKey(unsigned(i % WIDTH), unsigned(i / WIDTH), NUM_BITS)) = {i % WIDTH, i / WIDTH};
    }
    EXPECT_EQ(vCells.front(), std::make_pair(0, 0));
    EXPECT_EQ(vCells.back(), std::make_pair(WIDTH - 1, 0));
    for (size_t k = 1; k < vCells.size(); ++k) {
        const auto [x0, y0] = vCells[k - 1];
        const auto [x1, y1] = vCells[k];
        ASSERT_EQ(std::abs(x1 - x0) + std::abs(y1 - y0), 1) << k;
    }
}

/// A vault without a mesh, whose curve runs over [0, 100]^2.
struct LoneVault {
    LoneVault() : vault(geomTest, 3) {
        const std::vector<Point2> vEnds{{0, 0, 0}, {100, 100, 0}};
        vault.enlargeBoxForBulk(PointSource(vEnds));
    }
    Point2* add(double x, double y) { return vault.createRegisteredVertex(Point2(x, y, 0)); }
    VertexVector addMany(size_t n) {
        VertexVector vVertices;
        for (size_t i = 0; i < n; ++i) vVertices.push_back(add(uniform(random, 0, 100), uniform(random, 0, 100)));
        return vVertices;
    }

    GeomTest geomTest;
    VertexVault vault;
    Random random;
};

TEST(SimplePool, GrowsByHalfTheFirstBlockAndThenByDoubling) {
    const struct {
        int first, max;
        std::list<int> sizes;
    } aCases[] = {{100, 1000, {100, 50, 100, 200, 400, 800, 1000, 1000}},
                  {100, 130, {100, 50, 100, 130, 130}},
                  {3, 4, {3, 1, 2, 4}},
                  {1, 1000, {1, 1, 2, 4}},
                  {100, 60, {60, 30, 60}}};
    for (const auto& c : aCases) {
        SimplePool<double> pool;
        pool.init(c.first, c.max);
        const size_t numElements = std::accumulate(c.sizes.begin(), c.sizes.end(), size_t(0));
        std::set<double*> sElements;
        while (sElements.size() < numElements) {
            double* pElement = pool.getElement();
            *pElement = 1.5;
            ASSERT_TRUE(sElements.insert(pElement).second);
        }
        EXPECT_EQ(pool.getBlockSizes(), c.sizes);
    }
}

TEST(ScratchVector, KeepsItsElementsAndRefusesMoreThanThereIs) {
    ScratchVector<int> vNumbers;  // grows from blocks of the heap to pages of the system
    for (int i = 0; i < 1000000; ++i) vNumbers.push_back(i);
    for (int i = 0; i < 1000000; ++i) ASSERT_EQ(vNumbers[static_cast<size_t>(i)], i);
    ScratchVector<int> vMoved = std::move(vNumbers);
    vMoved.resize(100);
    vMoved.shrink_to_fit();
    EXPECT_EQ(std::accumulate(vMoved.begin(), vMoved.end(), 0), 4950);
    EXPECT_THROW(PageAllocator<int>().allocate(size_t(1) << 60), std::bad_alloc);
    EXPECT_THROW(PageAllocator<int>().allocate(size_t(-1)), std::bad_alloc);
}

TEST(SimplePool, MakesAnExpectedBlockToMeasureButNeverASmallOne) {
    SimplePool<int> pool;
    pool.init(10, 1000);
    const auto take = [&pool](size_t numExpected, int num) {
        pool.expect(numExpected);
        for (int i = 0; i < num; ++i) pool.getElement();
    };
    take(10, 4);
    take(106, 107);
    EXPECT_EQ(pool.getBlockSizes(), (std::list<int>{10, 100, 200}));
    take(5000, 200);
    EXPECT_EQ(pool.getBlockSizes(), (std::list<int>{10, 100, 200, 1000}));

    SimplePool<int> patient;
    patient.init(3, 1000000);
    for (int i = 0; i < 1000; ++i) {
        patient.expect(10);
        for (int k = 0; k < 10; ++k) patient.getElement();
    }
    EXPECT_LT(patient.getBlockSizes().size(), 50u) << "many small batches";
}

TEST(SimplePoolDeathTest, EndsTheProcessWhenItIsInitializedTwice) {
    const auto initTwice = [] {
        std::cout.rdbuf(std::cerr.rdbuf());
        SimplePool<int> pool;
        pool.init(1, 1);
        pool.init(1, 1);
    };
    EXPECT_EXIT(initTwice(), testing::ExitedWithCode(EXIT_FAILURE),
                "SimplePool::init\\(..\\), ERROR: This pool is already initialized");
}

TEST(HC2, KeysFollowTheCurve) {
    for (const int numBits : {0, 2, 4, 6, 10, 30, 32}) {
        Random random(numBits);
        const double size = std::ldexp(1.0, numBits / 2);
        const HC2 curve(-3, 5, -3 + size, 5 + 2 * size, numBits);
        for (int i = 0; i < 2000; ++i) {
            const double x = -3 + uniform(random, 0, size), y = 5 + 2 * uniform(random, 0, size);
            ASSERT_EQ(curve.iReset(x, y), plainKey(unsigned(x + 3), unsigned((y - 5) / 2), numBits)) << numBits;
        }
    }
    for (const int exponent : {-1074 + 14, -1000, -910, -890, -500, 500, 999, 1001, 1022}) {
        const double size = std::ldexp(1.0, exponent);
        const HC2 curve(-size, -size, size, size, 30);
        Random random(3);
        for (int i = 0; i < 200; ++i) {
            const double x = integer(random, -16384, 16383), y = integer(random, -16384, 16383);
            ASSERT_EQ(curve.iReset(std::ldexp(x, exponent - 14), std::ldexp(y, exponent - 14)),
                      plainKey(unsigned(x + 16384), unsigned(y + 16384), 30))
                << exponent;
        }
    }
}

TEST(HC2, GivesTheNearestCellWhereThePointOrTheBoxIsExtreme) {
    constexpr double limit = MAX;
    const HC2 unit(0, 0, 1, 1, 30), line(5, 0, 5, 1, 30), point(1e300, 7, 1e300, 7, 30),
        all(-limit, -limit, limit, limit, 30), subnormal(0, 0, 0x1p-1074, 0x1p-1073, 30);
    const struct {
        const HC2& curve;
        double x, y;
        unsigned ix, iy;
    } aCases[] = {
        {unit, -limit, limit, 0, 32767},    {unit, 2, -2, 32767, 0},       {line, 5, 1, 0, 32767},
        {line, -limit, 0.5, 0, 16384},      {point, 1e300, 7, 0, 0},       {point, -limit, limit, 0, 0},
        {all, -limit, limit, 0, 32767},     {all, limit, 0, 32767, 16384}, {subnormal, 0x1p-1074, 0, 32767, 0},
        {subnormal, 0, 0x1p-1074, 0, 16384}};
    for (const auto& c : aCases) {
        EXPECT_EQ(c.curve.iReset(c.x, c.y), plainKey(c.ix, c.iy, 30)) << c.x << " " << c.y;
    }
    for (const int numBits : {-2, 7, 33, 34}) {
        const StdoutCapture capture;
        EXPECT_THROW(HC2(0, 0, 1, 1, numBits), TaroException) << numBits;
        EXPECT_TRUE(contains(capture, "HC2::HC2(..), ERROR: Can't determine Hermite factors"));
    }
}

TEST(KeyOrder, PutsEqualPositionsSideBySideAndFindsThemAgain) {
    for (const Generator& generator : generators) {
        SCOPED_TRACE(generator.name);
        Random random(1);
        const PointVector vPoints = generator.make(5000, random);
        const auto pointAt = [&](size_t i) -> const Point2& { return vPoints[i]; };
        const auto pCurve = makeCurveOfRun(0, vPoints.size(), pointAt);
        if (!pCurve) continue;
        const auto keyOf = [&](const Point2& p) { return pCurve->iReset(p.x(), p.y()); };
        std::vector<KeyedIndex> vOrder;
        for (unsigned i = 0; i < vPoints.size(); ++i) vOrder.push_back({keyOf(vPoints[i]), i});
        KeyOrder(pointAt).sort(vOrder.data(), vOrder.data() + vOrder.size());

        std::vector<bool> vSeen(vPoints.size(), false);
        std::vector<const Point2*> vDistinct;
        for (size_t k = 0; k < vOrder.size(); ++k) {
            const Point2& point = vPoints[vOrder[k].index];
            ASSERT_EQ(vOrder[k].key, keyOf(point));
            ASSERT_FALSE(vSeen[vOrder[k].index]);
            vSeen[vOrder[k].index] = true;
            ASSERT_TRUE(k == 0 || vOrder[k - 1].key <= vOrder[k].key);
            if (k == 0 || vPoints[vOrder[k - 1].index] != point) {
                vDistinct.push_back(&point);
            } else {
                ASSERT_LT(vOrder[k - 1].index, vOrder[k].index) << "the first in input order stands in front";
            }
        }
        ASSERT_EQ(vDistinct.size(), std::set<Point2>(vPoints.begin(), vPoints.end()).size()) << "equal ones apart";

        KeyIndex index;
        constexpr size_t begin = 17;
        const size_t end = begin + vDistinct.size();
        const auto distinctAt = [&](size_t i) -> const Point2& { return *vDistinct[i - begin]; };
        index.build(
            begin, end, [&](size_t i) { return keyOf(distinctAt(i)); }, distinctAt);
        for (size_t i = begin; i < end; ++i) {
            const Point2& p = distinctAt(i);
            const auto [first, last] = index.find(keyOf(p), p.x(), p.y());
            ASSERT_TRUE(first <= i && i < last && last - first <= MAX_RUN_OF_EQUAL_KEYS);
            const Point2 absent(std::nextafter(p.x(), p.y()), -p.y(), 0.0);
            const auto [firstNear, lastNear] = index.find(keyOf(absent), absent.x(), absent.y());
            ASSERT_TRUE(begin <= firstNear && firstNear <= lastNear && lastNear <= end);
        }
    }
}

TEST(VertexVault, KeepsNeighboursTogetherWhateverStraysAmongThem) {
    // The mean distance between successive vertices in the vault, without the outlier.
    const auto meanStep = [](XY stray, bool bSingly) {
        Random random(1);
        const PointVector vPoints =
            makePoints(scaled(40000), [&](double i) { return i == 1000.0 ? stray : surveyPoint(random); });
        Taro_2D mesh;
        if (!bSingly) mesh.insert(vPoints);
        for (const Point2& point : vPoints) mesh.insert(point);
        VertexVector vVertices = verticesOf(mesh);
        vVertices.resize(vVertices.size() * 2 / 3);  // newer vertices may follow in the order of insertion
        double length = 0.0;
        for (size_t i = 1; i < vVertices.size(); ++i) {
            const double step = distance2D(*vVertices[i - 1], *vVertices[i]);
            if (step < 500.0) length += step;
        }
        return length / static_cast<double>(vVertices.size());
    };
    for (const bool bSingly : {false, true}) {
        const double withoutStray = meanStep({4.5e5, 5.2e6}, bSingly);
        for (const XY& stray : {XY(0, 0), XY(1e300, -1e300), XY(4.5e5, 0), XY(1e300, 5.2e6)}) {
            EXPECT_LT(meanStep(stray, bSingly), 1.5 * withoutStray) << stray.first << " " << stray.second;
        }
    }
}

TEST(VertexVault, SortsOnlyWhenItHasGrownByMoreThanAThird) {
    LoneVault lone;
    const auto isSortedAfterAdding = [&lone](size_t n, VertexVault::SortMode mode) {
        lone.addMany(n);
        lone.vault.sortIV(mode);
        const auto& vItems = lone.vault.getData();
        return std::is_sorted(vItems.begin(), vItems.end(), [](auto* a, auto* b) { return a->idx < b->idx; });
    };
    EXPECT_TRUE(isSortedAfterAdding(100, VertexVault::SM_IF_DUE));
    EXPECT_FALSE(isSortedAfterAdding(35, VertexVault::SM_IF_DUE));
    EXPECT_TRUE(isSortedAfterAdding(1, VertexVault::SM_IF_DUE));
    EXPECT_FALSE(isSortedAfterAdding(5, VertexVault::SM_IF_DUE));
    EXPECT_TRUE(isSortedAfterAdding(5, VertexVault::SM_ALWAYS));
    EXPECT_TRUE(lone.vault.checkVault());
}

TEST(VertexVault, DropsRemovedItemsWhenTheyAreManyOrEverythingIsCollinear) {
    const struct {
        bool bFullDimensional;
        size_t num, numRemoved, numLeft;
    } aCases[] = {{true, 4000, 2000, 4000},
                  {true, 4000, 2001, 1999},
                  {true, 1500, 1000, 1500},
                  {true, 1500, 1001, 499},
                  {false, 50, 1, 49}};
    for (const auto& c : aCases) {
        LoneVault lone;
        const VertexVector vVertices = lone.addMany(c.num);
        const Point2 position = *vVertices[0];
        lone.vault.setFullDimensional(c.bFullDimensional);
        lone.vault.sortIV(VertexVault::SM_ALWAYS);
        EXPECT_EQ(lone.vault.getVertexPointer(position), vVertices[0]);
        for (size_t i = 0; i < c.numRemoved; ++i) lone.vault.removeAndInvalidateVtx(vVertices[i]);
        EXPECT_EQ(lone.vault.getVertexPointer(position), nullptr);
        EXPECT_EQ(lone.vault.getIdxOfActiveVtx(vVertices[0]), VertexVault::NOT_FOUND);
        if (c.bFullDimensional) lone.vault.sortIV(VertexVault::SM_IF_DUE);
        EXPECT_EQ(lone.vault.getSize(), c.numLeft);
        EXPECT_TRUE(contains(printedBy([&] { lone.vault.showData("left"); }),
                             "VertexVault left: " + std::to_string(c.numLeft) + " items, "));
        EXPECT_EQ(lone.vault.computeNumberOfPoints(), c.num - c.numRemoved);
        Point2* pAgain = lone.add(position.x(), position.y());
        for (int i = 0; i < 2; ++i) {  // behind the sorted items, and among them
            EXPECT_EQ(lone.vault.getVertexPointer(position), pAgain);
            EXPECT_TRUE(lone.vault.checkVault());
            lone.vault.sortIV(VertexVault::SM_ALWAYS);
        }
    }
}

TEST(VertexVault, RegistersADuplicateOnce) {
    LoneVault lone;
    Point2 *pFirst = lone.add(1, 1), *pDuplicate = lone.add(1, 1);
    lone.vault.registerDup(pFirst, pFirst);
    EXPECT_TRUE(lone.vault.dupIsClean());
    lone.vault.registerDup(pDuplicate, pFirst);
    EXPECT_FALSE(lone.vault.dupIsClean());
    std::ostringstream pair;
    pair << *pDuplicate << " -> " << *pFirst << "\n";
    EXPECT_EQ(printedBy([&] { lone.vault.debugDups(); }), pair.str());
    const StdoutCapture capture;
    EXPECT_THROW(lone.vault.registerDup(pDuplicate, pFirst), TaroException);
    EXPECT_TRUE(contains(capture, "Condition [ bInserted failed ]"));
    EXPECT_EQ(lone.vault.treatOneDupGetHandle(pDuplicate), pFirst);
    EXPECT_TRUE(lone.vault.dupIsClean());
    EXPECT_EQ(lone.vault.getSize(), 1u);
}

}  // namespace
