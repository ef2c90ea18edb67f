// Cut and fill: the overlay of two surfaces, cut along the line where they meet.
//
// The combined triangulation has the vertices and edges of both surfaces, and the crossings of these edges, on the
// ground that both surfaces cover. Each of its triangles lies within one triangle of either surface, so that both
// heights and their difference are linear on it; the diagonals inside such a cell do not matter. Only pieces of edges
// that are not Delaunay become constraints: most pieces are Delaunay, and these are edges in any case. A vertex of a
// surface has its own height there. A vertex on an edge of a surface gets its height by interpolation between the ends
// of the whole edge, however often the edge is split. Any other height is looked up on the surface. z of a combined
// vertex is the height before minus the height after.
//
// Edges on which z changes its sign are divided at the zeros, which are inserted all at once. Then no triangle has both
// signs: in each triangle, the piece of the zero line joins two such vertices. Rounding of places can disturb this: a
// zero may coincide with an end of its edge, which then becomes the zero, or with a third vertex, or lie beside its
// edge and across another edge, so that pieces remain undivided or new vertices appear. Further rounds therefore treat
// the rest, with constraints that are split one by one. Differences shrink with the pieces, and two rounds nearly
// always suffice. If a triangle still has both signs after the last round, its smaller differences are set to 0.
//
// Surfaces that nearly coincide are the hard case, since constraints snap to near vertices and bend. Four measures deal
// with it: vertices of the two surfaces that differ only by rounding are merged; slivers that rounding makes along
// straight borders are left out; heights are taken from the ground beside a sliver rather than from the sliver, which
// may be a wall; and triangles that enter the result because a border has folded over itself are removed again.
//
// Finally, triangles of one type that are connected over edges are grouped into components.
//
// Cost: that of the constraints, O((n + k) log n) for n edges that cross k times.

#include "analysis/CutAndFillImpl.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <utility>

#include "analysis/planeOrder.h"
#include "kernel/tolerances.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Color.h"
#include "taro25d/TaroException.h"
#include "taro25d/Visualizer2.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "CutAndFill";
constexpr size_t NUM_STEPS = 150;

}  // namespace

CutAndFillImpl::CutAndFillImpl(Zone2* pZoneBefore, Zone2* pZoneAfter, double tolerance) : tolerance_(tolerance) {
    aSurfaces_[0].pZone = pZoneBefore;
    aSurfaces_[1].pZone = pZoneAfter;
}

CutAndFillImpl::~CutAndFillImpl() = default;

void CutAndFillImpl::go() {
    const auto getProgressOf = [](const Surface& surface) {
        return surface.pZone ? &surface.pZone->getDelaunayTriangulation()->getProgress() : nullptr;
    };
    const MessageScope scopeBefore(getProgressOf(aSurfaces_[0])), scopeAfter(getProgressOf(aSurfaces_[1])),
        scope(&progress_);
    if (bStarted_ || !aSurfaces_[0].pZone || !aSurfaces_[1].pZone) {
        warning(LOCATION, bStarted_ ? "go() has been called before, nothing to do" : "A zone is NULL, nothing to do");
        return;
    }
    bStarted_ = true;
    progress_.start("CutAndFill", NUM_STEPS, Progress::fineStep(NUM_STEPS));
    const ProgressEnd progressEnd(progress_);
    try {
        compare();
    } catch (...) {
        startAgain();
        throw;
    }
    progress_.finish();
}

void CutAndFillImpl::compare() {
    readSurfaces();
    if (!setResultZone() || !insertSurfaces()) return;
    setHeights();
    cutAlongZeroLine();
    progress_.incProgress(20);
    groupT();
}

/// Restores the state before compare().
void CutAndFillImpl::startAgain() {
    for (Surface& surface : aSurfaces_) {
        Zone2* pZone = surface.pZone;
        surface = Surface();
        surface.pZone = pZone;
    }
    for (Lines& lines : aLines_) lines = Lines();
    vComponents_.clear();
    vResultTriangles_.clear();
    sResult_ = AddressSet();
    pResultZone_ = nullptr;
    combined_.initTaro(0);
    overlap_ = Bbox2();
    heights_ = HeightMap();
    bStarted_ = false;
}

// ---------------------------------------------------------------------------------------------------------------------
// Components

CutAndFillImpl::TriType CutAndFillImpl::getTriangleType(const Triangle2* pT) const {
    bool bCut = false, bFill = false;
    for (int i = 0; i < 3; ++i) {
        const Point2* pVtx = pT->getCorner(i);
        const double combined = getCombinedHeight(pVtx), z = pVtx->z();
        if (!(std::abs(combined - z) <= MAX_TYPE_DIFFERENCE)) {
            const bool bEnd = !hasMessageHandler();
            Note(LOCATION, ML_ERROR) << "\ngetTriangleType, pVtx=" << *pVtx << ", but combined height is: " << combined
                                     << "\n";
            if (bEnd) std::exit(1);
            throw TaroException();
        }
        bCut = bCut || z > 0.0;
        bFill = bFill || z < 0.0;
    }
    if (bCut) return bFill ? TT_INVALID : TT_CUT;
    return bFill ? TT_FILL : TT_NO_CHANGE;
}

void CutAndFillImpl::groupT() {
    std::vector<Triangle2*> avByType[TT_FILL + 1];
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vResultTriangles_) {
        cancelPoint.pass();
        const TriType type = getTriangleType(pT);
        if (type == TT_CUT) {
            TARO_ASSERT_TEXT(pT->getCorner(0)->z() >= 0, "pT->getCorner(0)->z()>=0");
            TARO_ASSERT_TEXT(pT->getCorner(1)->z() >= 0, "pT->getCorner(1)->z()>=0");
            TARO_ASSERT_TEXT(pT->getCorner(2)->z() >= 0, "pT->getCorner(2)->z()>=0");
        } else if (type == TT_FILL) {
            TARO_ASSERT_TEXT(pT->getCorner(0)->z() <= 0, "pT->getCorner(0)->z()<=0");
            TARO_ASSERT_TEXT(pT->getCorner(1)->z() <= 0, "pT->getCorner(1)->z()<=0");
            TARO_ASSERT_TEXT(pT->getCorner(2)->z() <= 0, "pT->getCorner(2)->z()<=0");
        }
        avByType[type].push_back(pT);
    }
    progress_.incProgress(5);
    for (const TriType type : {TT_NO_CHANGE, TT_CUT, TT_FILL}) groupT2(avByType[type]);
}

void CutAndFillImpl::groupT2(const std::vector<Triangle2*>& vTriangles) {
    for (std::vector<Triangle2*>& vComponent : getComponentsInPlaneOrder(vTriangles)) {
        const int label = static_cast<int>(vComponents_.size());
        vComponents_.push_back(std::make_unique<CAF_Component>(std::move(vComponent), heights_, label));
    }
}

CAF_Component* CutAndFillImpl::getComponent(size_t i) const {
    TARO_ASSERT_TEXT(vComponents_.size() > i, "vComponents.size()>i");
    return vComponents_[i].get();
}

void CutAndFillImpl::getDiffZone(Zone2*& pDiffZone,
                                 std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter) const {
    pDiffZone = pResultZone_;
    mVtx2BeforeAfter.clear();
    if (!pResultZone_) return;
    std::vector<Point2*> vVertices;
    pResultZone_->getVertices(vVertices);
    std::sort(vVertices.begin(), vVertices.end(), std::less<>());
    for (Point2* pVtx : vVertices) {
        const BeforeAfter& ofVtx = *heights_.find(pVtx);
        mVtx2BeforeAfter.emplace_hint(mVtx2BeforeAfter.end(), pVtx, std::make_pair(ofVtx.before(), ofVtx.after()));
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Output

void CutAndFillImpl::show(Visualizer2* pVisualizer) const {
    if (!pVisualizer) return;
    const Color aColors[] = {Color(0.9, 0.9, 0.9, 0.05, true), Color(CRED, 0.05f, true), Color(CBLUE, 0.05f, true)};
    for (const auto& pComponent : vComponents_) {
        std::vector<Triangle2*> vTriangles;
        pComponent->getTriangles(vTriangles);
        pVisualizer->addObject(vTriangles, aColors[pComponent->getCAFType()]);
        if (pComponent->getCAFType() == CT_NO_CHANGE) continue;
        std::vector<Segment2> vBorder;
        pComponent->getBorder(vBorder);
        for (const Segment2& segment : vBorder) {
            const bool bZero = segment.getSrc().z() == 0.0 && segment.getTrg().z() == 0.0;
            if (bZero) pVisualizer->addObject(segment, Color(CBLACK, 0.5f));
        }
    }
}

bool CutAndFillImpl::checkHeightMap(const Zone2* pCombinedZone) const {
    if (!pCombinedZone) {
        Note(LOCATION) << "checkHeightMap: pCombinedZone==NULL, returning\n";
        return false;
    }
    std::vector<Point2*> vVertices;
    pCombinedZone->getVertices(vVertices);
    const auto isSound = [this](const Point2* pVtx) {
        const BeforeAfter* pHeights = heights_.find(pVtx);
        const bool bSound = pHeights && pHeights->before() != BeforeAfter::MISSING &&
                            pHeights->after() != BeforeAfter::MISSING && pHeights->combined == pVtx->z();
        if (!bSound) Note(LOCATION) << "checkHeightMap: " << *pVtx << "\n";
        return bSound;
    };
    return std::count_if(vVertices.begin(), vVertices.end(), isSound) == static_cast<std::ptrdiff_t>(vVertices.size());
}

bool CutAndFillImpl::verifyHeightMap(const std::string& name) const {
    Note(LOCATION) << "\n\n\n*** verifyHeightMap for " << name << "\n";
    const bool bOkay = checkHeightMap(pResultZone_);
    if (bOkay) Note(LOCATION) << "\n\n\n*** verifyHeightMap OKAY for " << name << "\n";
    return bOkay;
}

}  // namespace LUMO_TARO25D
