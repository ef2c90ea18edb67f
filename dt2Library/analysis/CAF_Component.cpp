// The volume of a component is that of the solid between the two surfaces: the triangles at one height, the same
// triangles at the other, turned over, and walls along the border. By the divergence theorem it is the sum of the
// signed volumes of the tetrahedra that the triangles of this closed surface make with any point. That point is a
// corner of the component, so that only differences of coordinates are multiplied, and no digits are lost far from the
// origin.

#include "taro25d/CAF_Component.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "analysis/HeightMap.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

/// Adds up the volume of a solid from the triangles of its surface, counterclockwise seen from outside.
class Solid {
  public:
    explicit Solid(const Point2& apex) : apex_(apex) {}

    void addTriangle(const Point2& p0, const Point2& p1, const Point2& p2) {
        sixVolumes_ += getVector25D(apex_, p0) * crossProduct(getVector25D(p0, p1), getVector25D(p0, p2));
    }
    double getVolume() const { return sixVolumes_ / 6.0; }

  private:
    Point2 apex_;
    double sixVolumes_ = 0.0;
};

}  // namespace

CAF_Component::CAF_Component(std::vector<Triangle2*> vTriangles, const HeightMap& heights, int label)
    : vTriangles_(std::move(vTriangles)), volume_(BeforeAfter::MISSING), label_(label) {
    init(heights);
    setVolume(heights);
}

void CAF_Component::init(const HeightMap& heights) {
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const BeforeAfter& ofCorner = *heights.find(pT->getCorner(i));
            const double d = ofCorner.after() - ofCorner.before();
            if (!(std::abs(d) >= MIN_HEIGHT_DIFFERENCE)) continue;
            if (d > 0.0) {
                TARO_ASSERT_TEXT(caftype_ != CT_CUT, "caftype!=CT_CUT");
                caftype_ = CT_FILL;
            } else {
                TARO_ASSERT_TEXT(caftype_ != CT_FILL, "caftype!=CT_FILL");
                caftype_ = CT_CUT;
            }
        }
    }
}

void CAF_Component::setVolume(const HeightMap& heights) {
    if (caftype_ == CT_NO_CHANGE) {
        volume_ = 0.0;
        return;
    }
    const int upper = caftype_ == CT_CUT ? 0 : 1;
    struct Corner {
        Point2 top, bottom;
    };
    const auto at = [&](const Point2* pVtx) {
        const BeforeAfter& ofVtx = *heights.find(pVtx);
        return Corner{Point2(pVtx->x(), pVtx->y(), ofVtx.aHeights[upper]),
                      Point2(pVtx->x(), pVtx->y(), ofVtx.aHeights[1 - upper])};
    };

    Solid solid(at(vTriangles_[0]->getCorner(0)).top);
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        const Corner c0 = at(pT->getCorner(0)), c1 = at(pT->getCorner(1)), c2 = at(pT->getCorner(2));
        solid.addTriangle(c0.top, c1.top, c2.top);
        solid.addTriangle(c0.bottom, c2.bottom, c1.bottom);
    }
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vTriangles_, vBorderEdges);
    for (const Edge2& edge : vBorderEdges) {
        const Corner src = at(edge.getSrc()), trg = at(edge.getTrg());
        solid.addTriangle(src.bottom, trg.bottom, trg.top);
        solid.addTriangle(src.bottom, trg.top, src.top);
    }
    volume_ = std::max(0.0, solid.getVolume());  // rounding may make that of a sliver negative
}

double CAF_Component::getArea2D() const {
    double area = 0.0;
    for (const Triangle2* pT : vTriangles_) {
        area += LUMO_TARO25D::getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    }
    return area;
}

/// The z of a corner is the height difference.
double CAF_Component::getMaxHeightDifference() const {
    double largest = 0.0;
    for (const Triangle2* pT : vTriangles_) {
        for (int i = 0; i < 3; ++i) largest = std::max(largest, std::abs(pT->getCorner(i)->z()));
    }
    return caftype_ == CT_NO_CHANGE ? 0.0 : largest;
}

void CAF_Component::getTriangles(std::vector<Triangle2*>& vTriangles) const {
    vTriangles.insert(vTriangles.end(), vTriangles_.begin(), vTriangles_.end());
}

void CAF_Component::getBorder(std::vector<Segment2>& vSegments) const {
    ConnectedComponent component(vTriangles_);
    std::vector<Edge2> vBorderEdges;
    getBorderEdges(vTriangles_, vBorderEdges);
    component.setUnsortedBorders(std::move(vBorderEdges));
    component.sortBorders();
    for (const ConnectedComponent::Ring& ring : component.getSortedBorders()) {
        for (const Edge2& edge : ring) vSegments.emplace_back(*edge.getSrc(), *edge.getTrg());
    }
}

}  // namespace LUMO_TARO25D
