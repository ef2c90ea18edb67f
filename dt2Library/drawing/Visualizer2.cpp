#include "taro25d/Visualizer2.h"

#include "drawing/PostscriptPage.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Circle2.h"
#include "taro25d/Edge2.h"
#include "taro25d/Label.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

Visualizer2::Visualizer2(const std::string& filename) {
    Note("Visualizer2::Visualizer2()") << "\033[0;31mVisualizer2:: Writing " << filename << "\033[m\n";
    pPage_ = std::make_unique<PostscriptPage>(filename);
}

Visualizer2::~Visualizer2() {
    if (pPage_->isClosed()) return;
    const NoStopScope noStop;
    Note("Visualizer2::~Visualizer2()") << "Calling Visualizer2::writeFile() to complete an unfinished visualization ["
                                        << pPage_->getFilename() << "]\n";
    writeFile();
}

void Visualizer2::addObject(const Point2& point, const Color& color) { pPage_->add(toXY(point), color); }

void Visualizer2::addObject(const std::vector<Point2>& vPoints, const Color& color) {
    for (const Point2& point : vPoints) addObject(point, color);
}

void Visualizer2::addObject(const std::vector<Point2*>& vPoints, const Color& color) {
    for (const Point2* pPoint : vPoints) {
        if (pPoint) addObject(*pPoint, color);
    }
}

void Visualizer2::addObject(const Segment2& segment, const Color& color) {
    pPage_->add(Line{toXY(segment.getSrc()), toXY(segment.getTrg())}, color);
}

void Visualizer2::addObject(const std::vector<Segment2>& vSegments, const Color& color) {
    for (const Segment2& segment : vSegments) addObject(segment, color);
}

void Visualizer2::addObject(const Edge2& edge, const Color& color) {
    if (!edge.getTriangle() || !edge.getSrc() || !edge.getTrg()) return;
    pPage_->add(Line{toXY(*edge.getSrc()), toXY(*edge.getTrg())}, color);
}

void Visualizer2::addObject(const std::vector<Edge2>& vEdges, const Color& color) {
    for (const Edge2& edge : vEdges) addObject(edge, color);
}

void Visualizer2::addObject(const Circle2& circle, const Color& color) {
    pPage_->add(Disk{toXY(circle.getCenter()), circle.getRadius()}, color);
}

void Visualizer2::addObject(const Triangle2& triangle, const Color& color) {
    const Point2* p0 = triangle.getCorner(0);
    const Point2* p1 = triangle.getCorner(1);
    const Point2* p2 = triangle.getCorner(2);
    if (p0 && p1 && p2) pPage_->add(Corners{toXY(*p0), toXY(*p1), toXY(*p2)}, color);
}

void Visualizer2::addObject(const std::vector<Triangle2>& vTriangles, const Color& color) {
    for (const Triangle2& triangle : vTriangles) addObject(triangle, color);
}

void Visualizer2::addObject(const std::vector<Triangle2*>& vTriangles, const Color& color) {
    for (const Triangle2* pT : vTriangles) {
        if (pT) addObject(*pT, color);
    }
}

void Visualizer2::addObject(const Label& label, const Color& color) { pPage_->add(label, color); }

void Visualizer2::addHeaderLine(const std::string& text) { pPage_->addHeaderLine(text); }

void Visualizer2::writeFile() {
    if (pPage_->isClosed()) {
        warning("Visualizer2::writeFile()", "No effect. File has already been closed");
    } else {
        pPage_->write();
    }
}

}  // namespace LUMO_TARO25D
