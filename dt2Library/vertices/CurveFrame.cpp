#include "vertices/CurveFrame.h"

#include <algorithm>
#include <cstddef>

#include "vertices/KeyOrder.h"

namespace LUMO_TARO25D {

namespace {

constexpr int HILBERT_BITS = 30;

HC2 makeCurve(const Bbox2& box) {
    return HC2(box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), HILBERT_BITS);
}

/// Narrows a range to the middle nine tenths of a sample, widened on both sides by their extent.
void leaveStraysOut(std::vector<double>& vSample, double& min, double& max) {
    constexpr size_t MIN_SAMPLE_SIZE = 64;
    if (vSample.size() < MIN_SAMPLE_SIZE) return;
    const auto quantile = [&vSample](size_t rank) {
        const auto place = vSample.begin() + static_cast<std::ptrdiff_t>(rank);
        std::nth_element(vSample.begin(), place, vSample.end());
        return *place;
    };
    const double low = quantile(vSample.size() / 20), high = quantile(vSample.size() - 1 - vSample.size() / 20);
    const double room = high - low;
    if (!(room > 0.0)) return;
    min = std::max(min, low - room);
    max = std::min(max, high + room);
}

}  // namespace

CurveFrame::CurveFrame(GeomTest& geomTest) : curve_(0.0, 0.0, 0.0, 0.0, HILBERT_BITS) {
    insertionBox_.setGeomTest(&geomTest);
}

bool CurveFrame::enlargeBox(const Bbox2& box, bool bDouble) {
    if (insertionBox_.isInBox(box.getMinPoint()) && insertionBox_.isInBox(box.getMaxPoint())) return false;
    insertionBox_.add(box.getMinPoint());
    insertionBox_.add(box.getMaxPoint());
    if (bDouble) insertionBox_.doubleTheBox();
    return true;
}

void CurveFrame::layCurve(Sample sample) {
    curveBox_ = chooseCurveBox(sample);
    curve_ = makeCurve(curveBox_);
}

bool CurveFrame::refreshCurve(Sample sample) {
    const Bbox2 box = chooseCurveBox(sample);
    const auto differ = [](double a, double b) { return a > 4.0 * b || b > 4.0 * a; };
    if (!differ(box.getMaxX() - box.getMinX(), curveBox_.getMaxX() - curveBox_.getMinX()) &&
        !differ(box.getMaxY() - box.getMinY(), curveBox_.getMaxY() - curveBox_.getMinY())) {
        return false;
    }
    curveBox_ = box;
    curve_ = makeCurve(curveBox_);
    return true;
}

Bbox2 CurveFrame::chooseCurveBox(Sample& sample) const {
    double minX, minY, maxX, maxY;
    insertionBox_.getBounds(minX, minY, maxX, maxY);
    leaveStraysOut(sample.vX, minX, maxX);
    leaveStraysOut(sample.vY, minY, maxY);
    widenShortSide(minX, minY, maxX, maxY);
    return Bbox2(minX, minY, maxX, maxY);
}

}  // namespace LUMO_TARO25D
