#include "taro25d/CutAndFill.h"

#include "analysis/CutAndFillImpl.h"

namespace LUMO_TARO25D {

CutAndFill::CutAndFill(Zone2* pZoneBefore, Zone2* pZoneAfter, double ignoreThreshold)
    : pImpl_(std::make_unique<CutAndFillImpl>(pZoneBefore, pZoneAfter, ignoreThreshold)) {}

CutAndFill::~CutAndFill() = default;

void CutAndFill::go() { pImpl_->go(); }

size_t CutAndFill::getNumberOfComponents() const { return pImpl_->getNumberOfComponents(); }

CAF_Component* CutAndFill::getComponent(size_t i) const { return pImpl_->getComponent(i); }

void CutAndFill::getTotals(SurfaceDifference& totals) const {
    totals = {};
    for (size_t i = 0; i < getNumberOfComponents(); ++i) {
        const CAF_Component& component = *getComponent(i);
        const CAFType type = component.getCAFType();
        double& area = type == CT_CUT ? totals.cutArea : type == CT_FILL ? totals.fillArea : totals.unchangedArea;
        area += component.getArea2D();
        if (type == CT_CUT) totals.cutVolume += component.getVolume();
        if (type == CT_FILL) totals.fillVolume += component.getVolume();
    }
}

void CutAndFill::getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter) const {
    pImpl_->getDiffZone(pDiffZone, mVtx2BeforeAfter);
}

void CutAndFill::show(Visualizer2* pVisualizer) const { pImpl_->show(pVisualizer); }

void CutAndFill::show(Visualizer3* pVisualizer) const { pImpl_->show(pVisualizer); }

void CutAndFill::subscribe(MsgType type, MsgBase* pListener) { pImpl_->getProgress().subscribe(type, pListener); }

void CutAndFill::setCancelFlag(const std::atomic<bool>* pFlag) { pImpl_->getProgress().setCancelFlag(pFlag); }

void CutAndFill::unsubscribe(MsgType type, MsgBase* pListener) { pImpl_->getProgress().unsubscribe(type, pListener); }

}  // namespace LUMO_TARO25D
