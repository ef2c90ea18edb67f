// A surface of few points, none of which is farther from many points than a limit, and a table of what a limit costs.
#include <iostream>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

int main() {
    // Artificial ground of 1 km by 1 km in place of a survey: the last number is a seed, which gives other ground.
    const std::vector<Point2> vPoints = makeFractalTerrain(20000, 1000.0, 1);

    // A road that must stay as it is, with its own heights.
    const std::vector<Segment2> vRoad = makePolyline({{100, 200, 12}, {500, 480, 15}, {900, 600, 20}});

    for (const double maxError : {8.0, 4.0, 2.0, 1.0}) {
        EfficientModel model(vPoints);
        model.keep(vRoad);
        model.setMaxError(maxError);
        model.go();
        const Taro_2D* pGround = model.getTriangulation();
        double height = 0;
        pGround->getHeight(300, 340, height);
        std::cout << "within " << maxError << " m: " << pGround->numberOfPoints() << " of " << vPoints.size()
                  << " points, limit " << (model.getError() <= maxError ? "met" : "missed") << ", road at " << height
                  << " m\n";
    }
}

// It prints:
//   within 8 m: 234 of 20000 points, limit met, road at 13.5 m
//   within 4 m: 681 of 20000 points, limit met, road at 13.5 m
//   within 2 m: 1910 of 20000 points, limit met, road at 13.5 m
//   within 1 m: 4562 of 20000 points, limit met, road at 13.5 m
