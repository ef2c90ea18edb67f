// Contours and profiles of surfaces made of points, of a mesh, or of loose triangles that overlap, overhang and are
// flat. Most heights of corners and contours come from few levels. Each piece of a contour must lie in a triangle that
// the height crosses, and each such triangle must have its piece.

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <vector>

#include "input.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"

namespace {

using namespace LUMO_TARO25D;
using Points = std::vector<Point2>;
using Triangles = std::vector<Triangle2*>;
using Polyline = std::vector<Segment2>;
using Polylines = std::vector<Polyline>;

constexpr int MAX_QUERIES = 10;
constexpr long double TINY = 0x1p-1068L;  // rounding below the smallest normal numbers

bool isFinite(const Point2& p) { return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()); }

// ---- Expected contours ----

/// A place or a vector in the plane.
struct Exact {
    long double x = 0, y = 0;

    Exact() = default;
    Exact(long double xx, long double yy) : x(xx), y(yy) {}
    Exact(const Point2& p) : x(p.x()), y(p.y()) {}
    Exact operator-(const Exact& other) const { return {x - other.x, y - other.y}; }
    long double dot(const Exact& other) const { return x * other.x + y * other.y; }
    /// Positive if the other vector points to the left.
    long double cross(const Exact& other) const { return x * other.y - y * other.x; }
    long double length() const { return std::hypot(x, y); }
    bool isNear(const Exact& other, long double distance) const {
        return std::abs(x - other.x) <= distance && std::abs(y - other.y) <= distance;
    }
};

/// An edge: the coordinates of its corners, the lower corner first.
using Corner = std::tuple<double, double, double>;
using Edge = std::pair<Corner, Corner>;

Corner cornerOf(const Point2& p) { return {p.z(), p.x(), p.y()}; }

/// The intersection of a height with an edge.
struct Crossing {
    Crossing(const Point2& a, const Point2& b, long double height)
        : edge(std::minmax(cornerOf(a), cornerOf(b))),
          at(a.x() + (height - a.z()) / (b.z() - static_cast<long double>(a.z())) *
                         (static_cast<long double>(b.x()) - a.x()),
             a.y() + (height - a.z()) / (b.z() - static_cast<long double>(a.z())) *
                         (static_cast<long double>(b.y()) - a.y())) {}

    Edge edge;
    Exact at;
};

/// The intersection of a height with a triangle; both ends are on one edge only if two corners are equal.
struct Piece {
    Piece(const Point2& alone, const Point2& b, const Point2& c, long double height)
        : bHigh(alone.z() > height), tip(alone), first(alone, b, height), second(alone, c, height) {}

    bool bHigh;  // whether the corner alone on its side is the higher one
    Exact tip;
    Crossing first, second;

    bool isReal() const { return first.edge != second.edge; }
    long double length() const { return (first.at - second.at).length(); }
    bool fits(const Segment2& s, long double tolerance) const {
        const Exact src = s.getSrc(), trg = s.getTrg();
        return (first.at.isNear(src, tolerance) && second.at.isNear(trg, tolerance)) ||
               (first.at.isNear(trg, tolerance) && second.at.isNear(src, tolerance));
    }
    /// False where the triangle is too thin for a certain answer.
    bool hasHigherGroundRight(const Segment2& s, long double tolerance) const {
        const Exact src = s.getSrc(), direction = Exact(s.getTrg()) - src;
        const long double side = direction.cross(tip - src) * (bHigh ? 1 : -1);
        return side < -tolerance * (direction.length() + (tip - src).length());
    }
};

/// All pieces at a height that no corner has.
class Cut {
  public:
    Cut(const Triangles& vTriangles, double height) {
        for (const Triangle2* pT : vTriangles) {
            std::array<const Point2*, 3> a{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
            std::sort(a.begin(), a.end(), [](auto* p, auto* q) { return p->z() < q->z(); });
            if (!(a[0]->z() < height && height < a[2]->z())) continue;
            if (a[1]->z() > height) std::swap(a[0], a[2]);
            const Piece piece(*a[2], *a[1], *a[0], height);
            if (piece.isReal()) vPieces_.push_back(piece);
        }
        for (const Piece& piece : vPieces_) {
            for (const Crossing* pCrossing : {&piece.first, &piece.second}) ++mNumTriangles_[pCrossing->edge];
        }
    }

    bool isCrowded() const {
        return std::any_of(mNumTriangles_.begin(), mNumTriangles_.end(), [](auto& entry) { return entry.second > 2; });
    }

    void check(const Polylines& vContours, long double tolerance, bool bOverhangs) const {
        checkPieces(vContours, tolerance, bOverhangs);
        checkEnds(vContours, tolerance);
    }

  private:
    void checkPieces(const Polylines& vContours, long double tolerance, bool bOverhangs) const {
        size_t numSegments = 0;
        std::vector<bool> vFound(vPieces_.size());
        for (const Polyline& vPolyline : vContours) {
            for (const Segment2& s : vPolyline) {
                const std::vector<size_t> vFitting = piecesAt(s, tolerance);
                require(!vFitting.empty(), "a segment is where a triangle is crossed");
                for (const size_t i : vFitting) vFound[i] = true;
                const bool bRight = vFitting.size() == 1 && !bOverhangs &&
                                    vPieces_[vFitting[0]].hasHigherGroundRight(s, 64 * tolerance);
                require(!bRight, "higher ground is on the left");
                ++numSegments;
            }
        }
        size_t numLong = 0;
        for (size_t i = 0; i < vPieces_.size(); ++i) {
            const bool bLong = vPieces_[i].length() > 4 * tolerance;
            require(vFound[i] || !bLong, "a triangle that is crossed has its segment");
            numLong += bLong;
        }
        require(numLong <= numSegments && numSegments <= vPieces_.size(), "one segment for a triangle");
    }

    std::vector<size_t> piecesAt(const Segment2& s, long double tolerance) const {
        std::vector<size_t> vFitting;
        for (size_t i = 0; i < vPieces_.size(); ++i) {
            if (vPieces_[i].fits(s, tolerance)) vFitting.push_back(i);
        }
        return vFitting;
    }

    void checkEnds(const Polylines& vContours, long double tolerance) const {
        std::vector<Exact> vBorder;
        for (const Piece& piece : vPieces_) {
            for (const Crossing* pCrossing : {&piece.first, &piece.second}) {
                if (mNumTriangles_.at(pCrossing->edge) == 1) vBorder.push_back(pCrossing->at);
            }
        }
        size_t numEnds = 0;
        const auto checkEnd = [&](const Exact& end) {
            const auto isHere = [&](const Exact& place) { return place.isNear(end, tolerance); };
            require(std::any_of(vBorder.begin(), vBorder.end(), isHere), "an open contour ends at the border");
            ++numEnds;
        };
        for (const Polyline& vPolyline : vContours) {
            const Point2 &first = vPolyline.front().getSrc(), &last = vPolyline.back().getTrg();
            if (first == last) continue;  // or the border is twice at one point
            checkEnd(first);
            checkEnd(last);
        }
        require(numEnds <= vBorder.size(), "no more ends than places at the border");
    }

    std::vector<Piece> vPieces_;
    std::map<Edge, int> mNumTriangles_;
};

/// Whole chains at one height, in order.
void checkChains(const Polylines& vContours) {
    const auto isOpen = [](const Polyline& v) { return v.front().getSrc() != v.back().getTrg(); };
    bool bAllClosed = false;
    for (size_t i = 0; i < vContours.size(); ++i) {
        const Polyline& vPolyline = vContours[i];
        require(!vPolyline.empty(), "no polyline is empty");
        for (size_t j = 0; j < vPolyline.size(); ++j) {
            require(vPolyline[j].getSrc() != vPolyline[j].getTrg(), "no segment is a point");
            require(j == 0 || samePoint(vPolyline[j - 1].getTrg(), vPolyline[j].getSrc()),
                    "a target is the next source");
        }
        const bool bInOrder = i == 0 || !(vPolyline[0].getSrc() < vContours[i - 1][0].getSrc());
        require(bInOrder || !bAllClosed, "polylines are in order, with one break");
        bAllClosed |= !bInOrder;
        require(!bAllClosed || !isOpen(vPolyline), "closed polylines come after open ones");
        const auto isBefore = [&](const Segment2& s) { return s.getSrc() < vPolyline[0].getSrc(); };
        require(!bAllClosed || std::none_of(vPolyline.begin(), vPolyline.end(), isBefore), "closed: from the smallest");
    }
}

// ---- The target ----

class Run {
  public:
    explicit Run(Input& input)
        : input_(input),
          coordinates_(input, Frame::choose(input, Frame::NUM_ALL), true),
          levels_(input, Frame::choose(input, Frame::NUM_ALL), true) {}

    void go() {
        makeSurface();
        checkRange();
        for (int i = 0; i < MAX_QUERIES && !input_.isAtEnd(); ++i) {
            input_.nextStep(3) == 0 ? checkProfile() : checkContours();
        }
    }

  private:
    void makeSurface() {
        const unsigned kind = input_.below(3), numPoints = input_.below(48);
        for (unsigned i = 0; i < numPoints; ++i) {
            const Point2 place = coordinates_.nextPlace();
            points_.emplace_back(place.x(), place.y(), nextLevel());
        }
        bMesh_ = kind < 2;
        bMesh_ ? makeMesh(kind == 0) : makeLoose();
        const auto isUsable = [](const Triangle2* pT) {
            const auto isPoint = [pT](int i) { return pT->getCorner(i) && isFinite(*pT->getCorner(i)); };
            return pT && isPoint(0) && isPoint(1) && isPoint(2);
        };
        vTriangles_.erase(std::partition(vTriangles_.begin(), vTriangles_.end(), isUsable), vTriangles_.end());
        for (const Triangle2* pT : vTriangles_) {
            for (int i = 0; i < 3; ++i) {
                const Point2& p = *pT->getCorner(i);
                sHeights_.insert(p.z());
                magnitude_ = std::max({magnitude_, std::abs(p.x()), std::abs(p.y())});
            }
        }
    }

    /// A few values, so that corners are often as high as others.
    double nextLevel() {
        const double z = levels_.next();
        trace("[%.17g]", z);
        return z;
    }

    /// An object that is made of points has the triangles of the mesh of these points.
    void makeMesh(bool bOwn) {
        const Points vPoints(points_.begin(), points_.end());
        mesh_.insert(vPoints);
        mesh_.getTrianglePointers(vTriangles_);
        if (!bOwn) {
            pContours_ = std::make_unique<IsoContours>(vTriangles_);
            return;
        }
        const Point2 v = coordinates_.nextPlace();
        pContours_ = std::make_unique<IsoContours>(vPoints, Vector2(v.x(), v.y(), nextLevel()));
        const long double length = std::hypot(static_cast<long double>(v.x()), static_cast<long double>(v.y()));
        if (std::isfinite(length) && length > 0) direction_ = Exact(v.x() / length, v.y() / length);
    }

    void makeLoose() {
        const unsigned numTriangles = input_.below(64);
        const auto nextCorner = [&] {
            const unsigned i = input_.below(static_cast<unsigned>(points_.size()) + 1);
            return i < points_.size() ? &points_[i] : nullptr;
        };
        for (unsigned i = 0; i < numTriangles; ++i) {
            Point2 *pA = nextCorner(), *pB = nextCorner();
            loose_.emplace_back(pA, pB, nextCorner());
            vTriangles_.push_back(pA || pB ? &loose_.back() : nullptr);
        }
        pContours_ = std::make_unique<IsoContours>(vTriangles_);
    }

    void checkRange() const {
        require(pContours_->getMinHeight() == (sHeights_.empty() ? -1.0 : *sHeights_.begin()), "the lowest height");
        require(pContours_->getMaxHeight() == (sHeights_.empty() ? -1.0 : *sHeights_.rbegin()), "the highest height");
    }

    double pickCornerHeight() {
        if (sHeights_.empty()) return 0;
        return *std::next(sHeights_.begin(), input_.below(static_cast<unsigned>(sHeights_.size())));
    }
    double nextHeight() {
        switch (input_.below(5)) {
            case 0:
                return nextLevel();
            case 1:
                return pickCornerHeight();
            case 2:
                return std::nextafter(pickCornerHeight(), std::numeric_limits<double>::max());
            case 3:
                return std::nextafter(pickCornerHeight(), std::numeric_limits<double>::lowest());
            default:
                return 0.5 * pickCornerHeight() + 0.5 * pickCornerHeight();
        }
    }

    void checkContours() {
        const double height = nextHeight();
        const bool bVerbose = input_.flag(), bAdjust = input_.flag(),
                   bForbidden = !std::isnan(height) && sHeights_.count(height) > 0;
        trace(" contours at %.17g", height);
        const Polyline vBefore(1);
        Polylines vContours{vBefore};
        const bool bDone = pContours_->getContours(height, vContours, bVerbose, bAdjust);
        require(!vContours.empty() && vContours[0] == vBefore, "contours are appended");
        vContours.erase(vContours.begin());
        require(bDone || vContours.empty(), "nothing is appended where it fails");
        if (bForbidden) return checkAdjusted(height, bDone, bAdjust, vContours);
        const Cut cut(vTriangles_, height);
        require(bDone == !cut.isCrowded(), "false is for edges with more than two triangles");
        if (bDone) checkAt(height, cut, vContours);
    }

    void checkAdjusted(double height, bool bDone, bool bAdjust, const Polylines& vContours) const {
        require(bAdjust || !bDone, "heights of corners fail");
        if (bAdjust && !bDone) require(!bMesh_, "only more than two triangles at an edge fail");
        if (vContours.empty()) return;
        const double adjusted = vContours[0][0].getSrc().z();
        require(adjusted > height && sHeights_.count(adjusted) == 0, "above, where no corner is");
        const double ulp = std::nextafter(std::abs(height), INFINITY) - std::abs(height);
        const int numDoublings = static_cast<int>(sHeights_.size()) + 12;
        require(adjusted - height <= std::ldexp(ulp, numDoublings), "not far above");
        const Cut cut(vTriangles_, adjusted);
        require(!cut.isCrowded(), "false is for edges with more than two triangles");
        checkAt(adjusted, cut, vContours);
    }

    void checkAt(double height, const Cut& cut, const Polylines& vContours) const {
        for (const Polyline& vPolyline : vContours) {
            for (const Segment2& s : vPolyline) {
                require(isFinite(s.getSrc()) && isFinite(s.getTrg()), "finite points");
                require(s.getSrc().z() == height && s.getTrg().z() == height, "all points have the height");
            }
        }
        checkChains(vContours);
        cut.check(vContours, tolerance(magnitude_), !bMesh_);
    }

    static long double tolerance(long double magnitude) { return 0x1p-49L * magnitude + TINY; }

    void checkProfile() {
        Point2 at = coordinates_.nextPlace();
        if (input_.flag() && !points_.empty()) at = input_.oneOf(points_);
        trace(" profile at %.17g %.17g", at.x(), at.y());
        const Polyline vBefore(1);
        Polyline vSegments(vBefore);
        const bool bDone = pContours_->getProfile(at, vSegments);
        require(vSegments.size() >= 1 && vSegments[0] == vBefore[0], "profiles are appended");
        vSegments.erase(vSegments.begin());
        require(bDone == (std::isfinite(at.x()) && std::isfinite(at.y())), "only places without numbers fail");
        require(bDone || vSegments.empty(), "nothing is appended where it fails");
        if (!bDone) return;
        const long double distance = tolerance(std::max({magnitude_, std::abs(at.x()), std::abs(at.y())}));
        long double position = -INFINITY;
        for (const Segment2& s : vSegments) {
            for (const Point2& end : {s.getSrc(), s.getTrg()}) {
                require(isFinite(end), "finite points");
                require(std::abs(direction_.cross(Exact(end) - at)) <= distance, "points are in the plane");
            }
            require(isInOneTriangle(s), "points are within the range of their triangle");
            require(direction_.dot(s.getTrg()) >= direction_.dot(s.getSrc()) - distance, "segments have the direction");
            require(direction_.dot(s.getSrc()) >= position - distance, "segments are in order");
            position = direction_.dot(s.getSrc());
        }
        if (bMesh_ && isClear(at, distance)) checkConnected(vSegments, distance);
    }

    bool isInOneTriangle(const Segment2& s) const {
        const auto isBetween = [](double value, double a, double b, double c) {
            return std::min({a, b, c}) <= value && value <= std::max({a, b, c});
        };
        return std::any_of(vTriangles_.begin(), vTriangles_.end(), [&](const Triangle2* pT) {
            const Point2 &a = *pT->getCorner(0), &b = *pT->getCorner(1), &c = *pT->getCorner(2);
            const auto isInside = [&](const Point2& p) {
                return isBetween(p.x(), a.x(), b.x(), c.x()) && isBetween(p.y(), a.y(), b.y(), c.y()) &&
                       isBetween(p.z(), a.z(), b.z(), c.z());
            };
            return isInside(s.getSrc()) && isInside(s.getTrg());
        });
    }

    /// No doubt about which corners are on which side. Along an axis, differences of coordinates tell that.
    bool isClear(const Exact& at, long double distance) const {
        const bool bAxis = direction_.x == 0 || direction_.y == 0;
        return std::none_of(vTriangles_.begin(), vTriangles_.end(), [&](const Triangle2* pT) {
            const auto isUnclear = [&](int i) {
                const long double side = std::abs(direction_.cross(Exact(*pT->getCorner(i)) - at));
                return bAxis ? 0 < side && side <= TINY : side <= distance;
            };
            return isUnclear(0) || isUnclear(1) || isUnclear(2);
        });
    }

    /// From one end of the surface to the other, each part once. Segments that are shorter than rounding may change
    /// places.
    void checkConnected(const Polyline& vSegments, long double distance) const {
        long double reach = INFINITY;
        for (size_t i = 0; i < vSegments.size(); ++i) {
            const Segment2& s = vSegments[i];
            require(direction_.dot(s.getSrc()) <= reach + distance, "the profile of a whole surface has no gap");
            reach = std::max<long double>(i == 0 ? -INFINITY : reach, direction_.dot(s.getTrg()));
            const bool bRepeated = i > 0 && samePoint(s.getSrc(), vSegments[i - 1].getSrc()) &&
                                   samePoint(s.getTrg(), vSegments[i - 1].getTrg());
            require(!bRepeated, "no segment is there twice");
        }
    }

    Input& input_;
    Coordinates coordinates_, levels_;
    std::deque<Point2> points_;
    std::deque<Triangle2> loose_;
    Taro_2D mesh_;
    Triangles vTriangles_;  // triangles with finite corners
    std::set<double> sHeights_;
    double magnitude_ = 0;
    bool bMesh_ = false;
    Exact direction_{1, 0};
    std::unique_ptr<IsoContours> pContours_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    Input input(pData, size);
    return runQuietly([&] { Run(input).go(); });
}
