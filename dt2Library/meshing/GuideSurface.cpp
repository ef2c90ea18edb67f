#include "meshing/GuideSurface.h"

#include <algorithm>
#include <cmath>

#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

double GuideSurface::getHeight(const Point2* pVtx) {
    const Entry* pKnown = heights_.find(pVtx);
    if (pKnown && pKnown->x == pVtx->x() && pKnown->y == pVtx->y()) return pKnown->height;
    if (!pGuide_) return pVtx->z();
    Entry entry{pVtx->x(), pVtx->y(), std::nan("")};
    double height;
    if (pGuide_->getHeight(pVtx->x(), pVtx->y(), height)) entry.height = height;
    heights_[pVtx] = entry;
    return entry.height;
}

Sides GuideSurface::getSides(const Point2* p0, const Point2* p1, const Point2* p2) {
    std::array<double, 3> aHeight{getHeight(p0), getHeight(p1), getHeight(p2)};
    double sum = 0.0, num = 0.0;
    for (const double height : aHeight) {
        if (std::isnan(height)) continue;
        sum += height;
        ++num;
    }
    const double mean = num > 0.0 ? sum / num : 0.0;
    for (double& height : aHeight) {
        if (std::isnan(height)) height = mean;
    }
    const auto toSide = [](const Point2* p, double heightP, const Point2* q, double heightQ) {
        return Vector2(q->x() - p->x(), q->y() - p->y(), heightQ - heightP);
    };
    return {toSide(p1, aHeight[1], p2, aHeight[2]), toSide(p2, aHeight[2], p0, aHeight[0]),
            toSide(p0, aHeight[0], p1, aHeight[1])};
}

void GuideSurface::detach() {
    pGuide_ = nullptr;
    PointerMap<Entry> offTheGuide;
    heights_.forEach([&offTheGuide](const void* pRecord, const Entry& entry) {
        const Point2* pVtx = static_cast<const Point2*>(pRecord);
        const bool bCurrent = entry.x == pVtx->x() && entry.y == pVtx->y();
        if (bCurrent && entry.height != pVtx->z()) offTheGuide.add(pVtx, entry);
    });
    heights_ = std::move(offTheGuide);
}

}  // namespace LUMO_TARO25D
