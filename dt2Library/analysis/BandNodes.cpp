#include "analysis/BandNodes.h"

#include "analysis/CrossingGraph.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MIN_TABLE_SIZE = 1024;

}  // namespace

BandNodes::BandNodes(const std::vector<double>& vLevels) : vLevels_(vLevels), vTable_(MIN_TABLE_SIZE, Index(NONE)) {}

void BandNodes::getCrossings(const Point2& low, const Point2& high, size_t beginLevel, size_t endLevel,
                             std::vector<Index>& vCrossings) {
    vCrossings.clear();
    for (size_t k = beginLevel; k < endLevel; ++k) {
        const double t = fractionAt(vLevels_[k], low.z(), high.z());
        const Point2 crossing(interpolate(low.x(), high.x(), t), interpolate(low.y(), high.y(), t), vLevels_[k]);
        vCrossings.push_back(add(crossing, false));
    }
}

/// Of several heights at one place, that of a corner wins, otherwise the lowest, whatever the order of calls.
BandNodes::Index BandNodes::add(const Point2& point, bool bCorner) {
    const size_t slot = findSlot(point.x(), point.y());
    if (vTable_[slot] == NONE) {
        const Index added = static_cast<Index>(vPoints_.size());
        TARO_ASSERT(added != NONE);
        vTable_[slot] = added;
        vPoints_.emplace_back(point.x(), point.y(), point.z());
        vIsCorner_.push_back(bCorner);
        if (2 * vPoints_.size() > vTable_.size()) grow();
        return added;
    }
    const Index found = vTable_[slot];
    Point2& node = vPoints_[found];
    const bool bCounts = bCorner != vIsCorner_[found] ? bCorner : point.z() < node.z();
    if (bCounts) node.set(node.x(), node.y(), point.z());
    vIsCorner_[found] = vIsCorner_[found] || bCorner;
    return found;
}

size_t BandNodes::findSlot(double x, double y) const {
    const size_t mask = vTable_.size() - 1;
    size_t slot = hashOfNumbers({x, y}) & mask;
    while (vTable_[slot] != NONE && (vPoints_[vTable_[slot]].x() != x || vPoints_[vTable_[slot]].y() != y)) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

void BandNodes::grow() {
    vTable_.assign(2 * vTable_.size(), Index(NONE));
    for (size_t i = 0; i < vPoints_.size(); ++i)
        vTable_[findSlot(vPoints_[i].x(), vPoints_[i].y())] = static_cast<Index>(i);
}

}  // namespace LUMO_TARO25D
