// The volumes of cut and fill between two surveys of one site, inside a boundary.
#include <iostream>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

// The sides of a polygon.
std::vector<Segment2> makeRing(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    return {{a, b}, {b, c}, {c, d}, {d, a}};
}

int main() {
    // The ground falls from 52 m in the west to 48 m in the east, with a hump in the middle.
    const std::vector<Point2> vCorners{{0, 0, 52}, {80, 0, 48}, {80, 50, 48}, {0, 50, 52}};
    Taro_2D before, after;
    before.insert(vCorners);
    before.insert(Point2(40, 25, 51.5));

    // Then a terrace was levelled at 50 m. Its edges are breaklines: the slopes begin there.
    after.insert(vCorners);
    after.createConstraint(makeRing({15, 10, 50}, {65, 10, 50}, {65, 40, 50}, {15, 40, 50}), CIS_CONSTRAINED_DELAUNAY);

    // The boundary is cut into both surfaces. The surfaces keep their heights there: those of the boundary do not
    // count.
    const std::vector<Segment2> vBoundary = makeRing({5, 5, 0}, {75, 5, 0}, {75, 45, 0}, {5, 45, 0});
    Zone2* pBefore = before.createZone_cookieCutter(vBoundary);
    Zone2* pAfter = after.createZone_cookieCutter(vBoundary);
    if (!pBefore || !pAfter) return 1;

    constexpr double ACCURACY = 0.02;  // smaller differences of height count as no change
    CutAndFill works(pBefore, pAfter, ACCURACY);
    works.go();

    // A component is a connected piece that was cut, filled or left alone throughout.
    double aVolumes[3] = {}, aAreas[3] = {};
    for (std::size_t i = 0; i < works.getNumberOfComponents(); ++i) {
        const CAF_Component* pComponent = works.getComponent(i);
        const CAFType type = pComponent->getCAFType();
        aVolumes[type] += pComponent->getVolume();
        std::vector<Triangle2*> vTriangles;
        pComponent->getTriangles(vTriangles);
        for (const Triangle2* pT : vTriangles) aAreas[type] += pT->getArea2D();
    }
    std::cout << works.getNumberOfComponents() << " components\n";
    std::cout << "cut:       " << aVolumes[CT_CUT] << " m3 on " << aAreas[CT_CUT] << " m2\n";
    std::cout << "fill:      " << aVolumes[CT_FILL] << " m3 on " << aAreas[CT_FILL] << " m2\n";
    std::cout << "no change: " << aAreas[CT_NO_CHANGE] << " m2\n";
    std::cout << "balance:   " << aVolumes[CT_FILL] - aVolumes[CT_CUT] << " m3\n";
}

// It prints:
//   2 components
//   cut:       2289.21 m3 on 2082.24 m2
//   fill:      272.039 m3 on 717.755 m2
//   no change: 0 m2
//   balance:   -2017.17 m3
