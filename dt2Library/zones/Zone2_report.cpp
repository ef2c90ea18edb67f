// Reports on zones: statistics() and the drawing.

#include <algorithm>
#include <iomanip>
#include <limits>
#include <ostream>

#include "kernel/angles.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Color.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

/// The minimum, the maximum and the mean of some numbers.
struct Range {
    double min = std::numeric_limits<double>::max(), max = std::numeric_limits<double>::lowest(), sum = 0.0;
    size_t size = 0;

    void add(double number) {
        min = std::min(min, number);
        max = std::max(max, number);
        sum += number;
        ++size;
    }
};

void print(std::ostream& out, const char* title, const Range& range) {
    out << title;
    if (range.size == 0) {
        out << "           none\n";
        return;
    }
    out << std::setw(15) << range.min << std::setw(15) << range.max << std::setw(15)
        << range.sum / static_cast<double>(range.size) << "\n";
}

}  // namespace

void Zone2::statistics(const std::string& name) const {
    const MessageScope scope(&pDt2_->getProgress());
    std::vector<Triangle2*> vTriangles;
    getTriangles(vTriangles);
    std::vector<Point2*> vVertices;
    LUMO_TARO25D::getVertices(vTriangles, vVertices);
    Range heights, lengths2D, lengths25D;
    for (const Point2* pVtx : vVertices) heights.add(pVtx->z());
    throwIfStopped();
    forEachEdge(vTriangles, [&](Triangle2* pT, int i) {
        lengths2D.add(Edge2(pT, i).getLength2D());
        lengths25D.add(Edge2(pT, i).getLength25D());
    });
    Note report("Zone2::statistics()");
    std::ostream& out = report.getStream();
    out << "\n\n\n********* ZONE STATISTICS (" << name << ") **********\n\n"
        << "Number of triangles: " << vTriangles.size() << "\n"
        << "Number of vertices:  " << vVertices.size() << "\n"
        << "Number of edges:     " << lengths2D.size << "\n\n"
        << std::fixed << std::setprecision(3) << "Area 2D:     " << sumUp(vTriangles, &Triangle2::getArea2D) << "\n"
        << "Area 2.5D:   " << sumUp(vTriangles, &Triangle2::getArea25D) << "\n\n"
        << "                        minimum        maximum           mean\n";
    print(out, "Height          ", heights);
    print(out, "Edge length 2D  ", lengths2D);
    print(out, "Edge length 2.5D", lengths25D);
    out << "\n";
    printAngles(out, analyzeAngles(vTriangles));
}

void Zone2::show(const std::string& filename, bool bWithTriangulation, bool bWithConstraints) const {
    const MessageScope scope(&pDt2_->getProgress());
    Visualizer2 visualizer(filename);
    show(&visualizer, bWithTriangulation, bWithConstraints);
    visualizer.writeFile();
}

void Zone2::show(Visualizer2* pVisualizer, bool bWithTriangulation, bool bWithConstraints) const {
    if (!pVisualizer) return;
    const MessageScope scope(&pDt2_->getProgress());
    if (bWithTriangulation) pDt2_->show(pVisualizer, false);
    std::vector<Triangle2*> vTriangles;
    getTriangles(vTriangles);
    pVisualizer->addObject(vTriangles, Color(CPALEGREEN, 0.05, true));
    for (Triangle2* pT : vTriangles) {
        for (int i = 0; bWithConstraints && i < 3; ++i) {
            if (pDt2_->isConstraint(pT, i)) pVisualizer->addObject(Edge2(pT, i), Color(CRED, 0.5));
        }
    }
}

}  // namespace LUMO_TARO25D
