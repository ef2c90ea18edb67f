#include "road.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "readers.h"
#include "taro25d/Edge2.h"
#include "taro25d/Triangle2.h"

using namespace LUMO_TARO25D;

namespace earthworks {

namespace {

constexpr double STEP = 10;                        // between stations, and between samples across
constexpr double GRADE_LENGTH = 500, REACH = 200;  // of even rises and falls; of slopes

double heightOf(const Taro_2D& ground, double x, double y) {
    double height = 0;
    if (!ground.getHeight(x, y, height, nullptr, STEP)) throw terrain::BadInput("the ground has a gap on the road");
    return height;
}

/// Where the slopes end is known as finely as there are points.
void addPieces(const Point2& src, const Point2& trg, std::vector<Segment2>& vPieces) {
    const double dx = trg.x() - src.x(), dy = trg.y() - src.y(), numPieces = std::ceil(std::hypot(dx, dy) / STEP);
    Point2 last = src;
    for (double i = 1; i <= numPieces; ++i) {
        const double t = i / numPieces;
        const Point2 next = i < numPieces ? Point2(src.x() + t * dx, src.y() + t * dy, 0) : trg;
        vPieces.emplace_back(last, next);
        last = next;
    }
}

/// The edges of the ground, in short pieces where the road may come.
std::vector<Segment2> edgesOf(const Taro_2D& ground, const Road& road) {
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    std::vector<Segment2> vEdges;
    for (Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = *Edge2(pT, i).getSrc(), &trg = *Edge2(pT, i).getTrg();
            if (pT->getOppositeTriangle(i) && trg < src) continue;  // it comes from the other side
            if (road.mayReach(src) || road.mayReach(trg)) {
                addPieces(src, trg, vEdges);
            } else {
                vEdges.emplace_back(src, trg);
            }
        }
    }
    return vEdges;
}

}  // namespace

Road::Road(const Taro_2D& ground, const Bbox2& box, double width, double run)
    : ground_(ground), box_(box), length_(box.getMaxX() - box.getMinX()), halfWidth_(width / 2), run_(run) {
    layAxis();
    layEdges();
}

Point2 Road::onGround(double way) const {
    const double breadth = box_.getMaxY() - box_.getMinY();
    const double y = box_.getMinY() + breadth * (0.5 + 0.15 * std::sin(2 * M_PI * way / length_));
    return Point2(box_.getMinX() + way, y, heightOf(ground_, box_.getMinX() + way, y));
}

double Road::meanHeight(double way) const {
    double sum = 0, numHeights = 0;
    for (double d = -GRADE_LENGTH / 2; d <= GRADE_LENGTH / 2; d += STEP, ++numHeights)
        sum += onGround(std::clamp(way + d, 0.0, length_)).z();
    return sum / numHeights;
}

void Road::layAxis() {
    const auto numGrades = static_cast<size_t>(std::ceil(length_ / GRADE_LENGTH));
    std::vector<double> vHeights;
    for (size_t i = 0; i <= numGrades; ++i) vHeights.push_back(meanHeight(length_ * double(i) / double(numGrades)));
    for (double way = 0; way < length_ + STEP; way += STEP) {
        const Point2 place = onGround(std::min(way, length_));
        const double position = std::min(way / length_, 1.0) * double(numGrades);
        const size_t grade = std::min(size_t(position), numGrades - 1);
        const double t = position - double(grade);
        vAxis_.emplace_back(place.x(), place.y(), (1 - t) * vHeights[grade] + t * vHeights[grade + 1]);
    }
}

void Road::layEdges() {
    for (const double side : {-halfWidth_, halfWidth_}) {
        for (size_t i = 1; i < vAxis_.size(); ++i) {
            const Segment2 piece(beside(i - 1, side), beside(i, side));
            if (ground_.locate(piece.getSrc()) && ground_.locate(piece.getTrg())) vEdges_.push_back(piece);
        }
    }
}

Point2 Road::beside(size_t station, double offset) const {
    const Point2 &from = vAxis_[station > 0 ? station - 1 : 0], &to = vAxis_[std::min(station + 1, vAxis_.size() - 1)];
    const double dx = to.x() - from.x(), dy = to.y() - from.y(), length = std::hypot(dx, dy);
    const Point2& axis = vAxis_[station];
    return Point2(axis.x() - offset * dy / length, axis.y() + offset * dx / length, axis.z());
}

Road::Nearest Road::nearest(const Point2& place) const {
    Nearest best{std::numeric_limits<double>::max(), 0};
    for (size_t i = 1; i < vAxis_.size(); ++i) {
        const Point2 &a = vAxis_[i - 1], &b = vAxis_[i];
        const double dx = b.x() - a.x(), dy = b.y() - a.y();
        const double along = ((place.x() - a.x()) * dx + (place.y() - a.y()) * dy) / (dx * dx + dy * dy);
        const double t = std::clamp(along, 0.0, 1.0);
        const double distance = std::hypot(place.x() - a.x() - t * dx, place.y() - a.y() - t * dy);
        if (distance < best.distance) best = {distance, a.z() + t * (b.z() - a.z())};
    }
    return best;
}

bool Road::mayReach(const Point2& place) const {
    constexpr double MARGIN = 100;
    return nearest(place).distance < halfWidth_ + REACH + MARGIN;
}

double Road::gradedHeight(const Point2& place) const {
    const Nearest axis = nearest(place);
    const double freedom = std::max(0.0, axis.distance - halfWidth_) / run_;
    return std::clamp(place.z(), axis.height - freedom, axis.height + freedom);
}

std::vector<Point2> Road::samples() const {
    std::vector<Point2> vSamples;
    for (size_t i = 0; i < vAxis_.size(); ++i) {
        for (double offset = -REACH - halfWidth_; offset <= REACH + halfWidth_; offset += STEP) {
            const Point2 place = beside(i, offset);
            if (ground_.locate(place)) vSamples.push_back(place);
        }
    }
    return vSamples;
}

void buildRoad(const Taro_2D& ground, const std::vector<Point2>& vPoints, const Road& road, Taro_2D& after) {
    after.insert(vPoints);
    // What is not touched has to keep its shape, so the edges of the ground have to stay.
    after.createConstraint(edgesOf(ground, road), CIS_CONSTRAINED_DELAUNAY);
    after.createConstraint(road.edges(), CIS_CONSTRAINED_DELAUNAY);
    after.insert(road.samples());
    // Only now is it known where all vertices are, those at crossings included.
    std::vector<Point2*> vVertices;
    after.getVertexPointers(vVertices);
    for (Point2* pVtx : vVertices) {
        const Point2 place(pVtx->x(), pVtx->y(), heightOf(ground, pVtx->x(), pVtx->y()));
        pVtx->set(place.x(), place.y(), road.gradedHeight(place));
    }
}

}  // namespace earthworks
