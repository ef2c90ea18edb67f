#include "taro25d/CutAndFill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "analysis/CutAndFillImpl.h"
#include "support/capture.h"
#include "support/earthworks.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;
using namespace earthworks;

namespace {

HeightFunction plane(double z) {
    return [z](double x, double) { return z + 0.5 * x; };
}

}  // namespace

TEST(CutAndFill, IgnoresWhatIsWithinTheThreshold) {
    Random r(5);
    PointVector vBefore = makeGrid(8, 0, 0, 1, r), vAfter = vBefore;
    for (Point2& p : vBefore) p.set(p.x(), p.y(), uniform(r, 0, 10));
    for (size_t i = 0; i < vAfter.size(); ++i)
        vAfter[i].set(vAfter[i].x(), vAfter[i].y(), vBefore[i].z() + uniform(r, -0.1, 0.1));
    Surface before(vBefore), after(vAfter);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    const Volumes all = compare(before.pZone, after.pZone);
    EXPECT_NEAR(all.fill - all.cut, exact, 1e-9);
    EXPECT_GT(std::min(all.fill, all.cut), 0.1);
    CutAndFill caf(before.pZone, after.pZone, 0.1);
    caf.go();
    check(caf);  // which finds the heights of each vertex equal
    ASSERT_EQ(caf.getNumberOfComponents(), 1u);
    EXPECT_EQ(caf.getComponent(0)->getCAFType(), CT_NO_CHANGE);
    const Volumes some = compare(before.pZone, after.pZone, 0.05);
    EXPECT_LT(some.fill + some.cut, all.fill + all.cut);
    // Differences below the minimum threshold of 0.0001.
    for (size_t i = 0; i < vAfter.size(); ++i) vAfter[i].set(vAfter[i].x(), vAfter[i].y(), vBefore[i].z() + 0.00009);
    Surface hardlyRaised(vAfter);
    const Volumes none = compare(before.pZone, hardlyRaised.pZone);
    EXPECT_EQ(none.fill + none.cut, 0);
    for (const double threshold : {-1.0, NOT_A_NUMBER})
        EXPECT_EQ(compare(before.pZone, after.pZone, threshold).cut, all.cut);
    EXPECT_EQ(compare(before.pZone, after.pZone, INF).cut, 0);
}

namespace {

/// The output of a comparison, whose result must be valid, have no fill, and have the given number of components.
std::string printedByCut(const PointVector& vBefore, const PointVector& vAfter, size_t numComponents) {
    Surface before(vBefore), after(vAfter);
    CutAndFill caf(before.pZone, after.pZone, 0);
    const std::string text = printedBy([&] { caf.go(); });
    EXPECT_EQ(check(caf).fill, 0);
    EXPECT_EQ(caf.getNumberOfComponents(), numComponents);
    return text;
}

}  // namespace

TEST(CutAndFill, DividedDiagonalsStayUnderAThreshold) {
    // The numbers are those of cutting edge by edge. Where the mesh is made Delaunay across divided diagonals, there
    // are more.
    Random r(1);
    Surface before(makeScattered(1000, 0, 0, 100, 100, r, 10)), after(makeScattered(1000, 0, 0, 100, 100, r, 10));
    CutAndFill caf(before.pZone, after.pZone, 2);
    caf.go();
    size_t aNumbers[3] = {0, 0, 0};
    for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) ++aNumbers[caf.getComponent(i)->getCAFType()];
    EXPECT_EQ(aNumbers[CT_NO_CHANGE], 321u);
    EXPECT_EQ(aNumbers[CT_CUT], 79u);
    EXPECT_EQ(aNumbers[CT_FILL], 114u);
}

TEST(CutAndFill, AZeroThatRoundsToTheEndOfItsEdgeIsThatEnd) {
    const PointVector vBefore = makeRectangle(0, 0, 3, 3);
    PointVector vAfter = vBefore;
    for (Point2& p : vAfter) p.set(p.x(), p.y(), -1);
    vAfter.emplace_back(1.3, 1.1, 1e-20);  // raised by next to nothing, while all around is lowered
    const std::string text = printedByCut(vBefore, vAfter, 1);
    EXPECT_EQ(countOf("CutAndFillImpl::virtualCut(), WARNING: close intersection skipped", text), 4u);
    EXPECT_EQ(countOf("WARNING", text), 4u);
}

TEST(CutAndFill, ASignThatCannotBeCutOffGivesWay) {
    // The zeros below the vertex in the middle round to places beside it, at its height, where its edges do not pass.
    const double ulp = std::ldexp(1, -49);
    const auto withMiddle = [=](double z, double zOfMiddle) {
        return PointVector{{11 - ulp, 10, z}, {12 + ulp, 10, z}, {12, 11, 0}, {11, 11, 0}, {11.5, 10.5, zOfMiddle}};
    };
    const std::string text = printedByCut(withMiddle(1, 0), withMiddle(0, ulp), 2);
    EXPECT_TRUE(contains(text, "CutAndFillImpl::addMissingSplitPoints, retry (vnew): "));
    EXPECT_EQ(countOf("TT_INVALID for Triangle", text), 1u);
    EXPECT_EQ(countOf("insufficient numeric accuracy, small differences are set to 0", text), 1u);
}

TEST(CutAndFill, HeightsAtZerosAreEqualWhateverRoundingSays) {
    Random r(1);
    const auto makeRough = [&r] {
        PointVector vPoints = makeScattered(20, 0, 0, 10, 10, r);
        for (Point2& p : vPoints) p.set(p.x(), p.y(), uniform(r, -1e9, 1e9));
        return vPoints;
    };
    Surface before(makeRough()), after(makeRough());
    CutAndFill caf(before.pZone, after.pZone, 0);
    const std::string text = printedBy([&] { caf.go(); });
    check(caf);
    EXPECT_TRUE(contains(text, "CutAndFillImpl::cutT(), WARNING: splitHeight="));
    EXPECT_TRUE(contains(text, "instead of 0, using 0"));
    EXPECT_TRUE(contains(text, "CutAndFillImpl::cutT(), WARNING: height difference="));
    Zone2* pZone = nullptr;
    Heights mHeights;
    caf.getDiffZone(pZone, mHeights);
    const auto isZero = [](const auto& entry) { return entry.first->z() == 0; };
    EXPECT_GT(std::count_if(mHeights.begin(), mHeights.end(), isZero), 20);
}

TEST(CutAndFill, TellsListenersHowFarItIs) {
    Recorder listener, warned, former;
    Surface before(makeRectangle(0, 0, 1, 1), plane(0), {}), after(makeRectangle(0, 0, 1, 1), plane(1), {});
    CutAndFill caf(before.pZone, after.pZone, 0);
    EXPECT_EQ(caf.getNumberOfComponents(), 0u);
    caf.subscribe(MT_PROGRESS, &listener);
    caf.subscribe(MT_WARNING, &warned);
    caf.subscribe(MT_PROGRESS, &former);
    caf.unsubscribe(MT_PROGRESS, &former);
    caf.go();
    ASSERT_GT(listener.vValues.size(), 3u);
    EXPECT_TRUE(std::is_sorted(listener.vValues.begin(), listener.vValues.end()));
    EXPECT_EQ(listener.vValues.back(), 1.0);
    EXPECT_EQ(std::count(listener.vValues.begin(), listener.vValues.end(), 1.0), 1);
    EXPECT_EQ(listener.vMessages, std::vector<std::string>(listener.vValues.size(), "CutAndFill"));
    EXPECT_TRUE(warned.vValues.empty() && former.vValues.empty());
    const CAF_Component* pFirst = caf.getComponent(0);
    const StdoutCapture capture;
    caf.go();
    EXPECT_EQ(warned.vMessages, std::vector<std::string>{"go() has been called before, nothing to do"});
    EXPECT_TRUE(contains(capture, "CutAndFill, WARNING: go() has been called before, nothing to do"));
    EXPECT_EQ(caf.getNumberOfComponents(), 1u);
    EXPECT_EQ(caf.getComponent(0), pFirst);
    EXPECT_THROW(caf.getComponent(1), TaroException);
}

TEST(CutAndFill, DrawsCutAndFillAndTheLineBetween) {
    Surface before(makeRectangle(0, 0, 10, 10), plane(0), {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x - 3; }, {});
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    caf.show(nullptr);
    printedBy([&] {
        Visualizer2 drawing("cut_and_fill.ps");
        caf.show(&drawing);
        drawing.writeFile();
    });
    const std::string text = readFile("cut_and_fill.ps");
    for (const char* color : {"1\t0\t0\tsetrgbcolor", "0\t0\t1\tsetrgbcolor", "0.5\tsetlinewidth"})
        EXPECT_TRUE(contains(text, color)) << color;
}

TEST(CutAndFill, ChecksItsHeights) {
    Surface before(makeRectangle(0, 0, 10, 10), plane(0), {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x - 3; }, {});
    CutAndFillImpl caf(before.pZone, after.pZone, 0);
    StdoutCapture capture;
    EXPECT_FALSE(caf.checkHeightMap(nullptr));
    EXPECT_FALSE(caf.verifyHeightMap("nothing yet"));
    EXPECT_TRUE(contains(capture, "checkHeightMap: pCombinedZone==NULL, returning"));
    EXPECT_EQ(capture.text().find("OKAY"), std::string::npos);
    caf.go();
    EXPECT_TRUE(caf.verifyHeightMap("sound"));
    EXPECT_TRUE(contains(capture, "\n\n\n*** verifyHeightMap for sound"));
    EXPECT_TRUE(contains(capture, "\n\n\n*** verifyHeightMap OKAY for sound"));

    Zone2* pZone = nullptr;
    Heights mHeights;
    caf.getDiffZone(pZone, mHeights);
    Triangle2* pT = trianglesOf(pZone)[0];
    Point2* pVtx = pT->getCorner(0);
    pVtx->set(pVtx->x(), pVtx->y(), pVtx->z() + 0.0005);
    EXPECT_FALSE(caf.checkHeightMap(pZone));
    EXPECT_NE(caf.getTriangleType(pT), CutAndFillImpl::TT_INVALID);
    pVtx->set(pVtx->x(), pVtx->y(), pVtx->z() + 0.001);
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            caf.getTriangleType(pT);
        },
        testing::ExitedWithCode(1), "getTriangleType, pVtx=.*but combined height is: ");
}
