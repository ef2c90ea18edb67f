// Insertion one by one and in bulk, on one thread and several, removal and queries, among coordinates of every kind.
// The mesh must always hold exactly the positions of a map; in the end it must be Delaunay.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "input.h"
#include "mesh/Dt2.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "taro25d/Taro_2D.h"

namespace {

using LUMO_TARO25D::Point2;
using LUMO_TARO25D::Taro_2D;
using LUMO_TARO25D::Triangle2;
using Handles = std::vector<Point2*>;

constexpr int MAX_STEPS = 60;
constexpr size_t MAX_POINTS_FOR_ORACLE = 400;

bool hasFiniteCoordinates(const Point2& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

/// The corners of the convex hull counterclockwise from the smallest one, of points in order (Andrew 1979).
Handles hullOf(const Handles& vSorted, bool bAllVertices) {
    Handles vHull;
    const auto addChain = [&](auto begin, auto end) {
        const size_t first = vHull.size();
        for (; begin != end; ++begin) {
            while (vHull.size() >= first + 2) {
                const int turn = oracleOrientation(*vHull.rbegin()[1], *vHull.back(), **begin);
                if (bAllVertices ? turn >= 0 : turn > 0) break;
                vHull.pop_back();
            }
            vHull.push_back(*begin);
        }
        vHull.pop_back();
    };
    addChain(vSorted.begin(), vSorted.end());
    addChain(vSorted.rbegin(), vSorted.rend());
    return vHull;
}

class Run {
  public:
    explicit Run(Input& input) : input_(input), coordinates_(input, Frame::choose(input, Frame::NUM_ALL), true) {}

    void go() {
        mesh_.getImpl()->preferChunks();
        for (int i = 0; i < MAX_STEPS && !input_.isAtEnd(); ++i) step();
        checkAll();
    }

  private:
    void step() {
        switch (input_.nextStep(12)) {
            case 0:
                return insertBulk(nextPoints());
            case 1:
                return remove();
            case 2:
                return ask(coordinates_.nextPlace());
            case 3:
                return insertCrowd();
            case 4:
                return refuseToRemove();
            case 5:
                return checkHull();
            case 6:
                require(mesh_.setNumCPU(1 + static_cast<int>(input_.below(3))) > 0, "number of threads");
                return;
            default:
                return note(nextPoint(), [this](const Point2& point) { return mesh_.insert(point); });
        }
    }

    Point2 nextPoint() {
        Point2 point = coordinates_.nextPoint();
        point.setCustomIndex(numPoints_++);
        return point;
    }
    PointVector nextPoints() {
        PointVector vPoints(input_.below(24));
        for (Point2& point : vPoints) point = nextPoint();
        return vPoints;
    }

    template <class Insert>
    void note(const Point2& point, const Insert& insert) {
        const size_t numBefore = mesh_.numberOfPoints();
        Point2* pVtx = insert(point);
        require(!pVtx == !hasFiniteCoordinates(point), "exactly what is not finite is refused");
        if (pVtx) require(mVertices_.emplace(point, pVtx).first->second == pVtx, "a position is one vertex");
        require(mesh_.numberOfPoints() == mVertices_.size(), "as many vertices as positions");
        require(pVtx || mesh_.numberOfPoints() == numBefore, "what is refused changes nothing");
    }

    void insertBulk(const PointVector& vPoints) {
        Handles vHandles(vPoints.size());
        if (input_.flag()) {
            mesh_.insert(vPoints, vHandles);
        } else {
            std::vector<double> vNumbers;
            for (const Point2& p : vPoints) vNumbers.insert(vNumbers.end(), {p.x(), p.y(), p.z()});
            mesh_.insert(static_cast<int>(vPoints.size()), vNumbers.data(), vHandles.data());
        }
        require(vHandles.size() == vPoints.size(), "a handle for each point");
        for (const Point2& point : vPoints) {
            if (hasFiniteCoordinates(point)) mVertices_.emplace(point, nullptr);
        }
        require(mesh_.numberOfPoints() == mVertices_.size(), "as many vertices as positions");
        for (size_t i = 0; i < vPoints.size(); ++i) {
            note(vPoints[i], [&](const Point2& point) {
                if (hasFiniteCoordinates(point) && !mVertices_[point]) mVertices_[point] = vHandles[i];
                return vHandles[i];
            });
        }
    }

    /// Enough points for insertion on several threads; rarely, and once per input, since it takes long.
    void insertCrowd() {
        if (bCrowded_ || input_.byte() != 'T') return;
        const unsigned pattern = input_.below(4), spread = 1 + input_.below(64);
        bCrowded_ = true;
        Random random(input_.byte());
        const Point2 origin = coordinates_.nextPlace();
        const double step = coordinates_.scale() * (1 + input_.below(4));
        const auto jitter = [&] { return std::ldexp(uniform(random, 0, 1), -static_cast<int>(spread)); };
        const auto at = [&](double i) {
            const double row = std::floor(i / 32), column = i - 32 * row;
            if (pattern == 0) return XY(column, row);
            if (pattern == 1) return XY(column + jitter(), row + jitter());
            if (pattern == 2) return XY(i + jitter(), i / 3);
            return XY(std::cos(i) + jitter(), std::sin(i) * spread);
        };
        PointVector vPoints = makeShuffledPoints(1000 + 2 * spread, at, random);
        for (Point2& p : vPoints) {
            const int index = numPoints_++;
            p.set(origin.x() + step * p.x(), origin.y() + step * p.y(), p.z());
            p.setCustomIndex(index);
        }
        insertBulk(vPoints);
    }

    Point2* pickVertex() {
        if (mVertices_.empty()) return nullptr;
        return std::next(mVertices_.begin(), input_.below(static_cast<unsigned>(mVertices_.size())))->second;
    }

    void remove() {
        Point2* pVtx = pickVertex();
        if (!pVtx) return;
        mVertices_.erase(*pVtx);
        mesh_.remove(pVtx);
        require(mesh_.numberOfPoints() == mVertices_.size(), "a vertex fewer");
        mesh_.remove(pVtx);
        require(mesh_.numberOfPoints() == mVertices_.size(), "a vertex is removed once");
    }

    void refuseToRemove() {
        Point2 stranger = coordinates_.nextPlace();
        for (Point2* pVtx : {&stranger, static_cast<Point2*>(nullptr)}) mesh_.remove(pVtx);
        require(mesh_.numberOfPoints() == mVertices_.size(), "a stranger is not removed");
    }

    void ask(const Point2& place) {
        std::vector<Triangle2*> vTriangles;
        mesh_.getTrianglePointers(vTriangles);
        double zMin = std::numeric_limits<double>::max(), zMax = -zMin;
        const auto isHere = [&](const Triangle2* pT) {
            for (int i = 0; i < 3; ++i) {
                if (oracleOrientation(*pT->getCorner(i), *pT->getCorner((i + 1) % 3), place) < 0) return false;
            }
            for (int i = 0; i < 3; ++i) {
                zMin = std::min(zMin, pT->getCorner(i)->z());
                zMax = std::max(zMax, pT->getCorner(i)->z());
            }
            return true;
        };
        if (vTriangles.size() > MAX_POINTS_FOR_ORACLE) return;
        std::vector<Triangle2*> vHere;
        if (hasFiniteCoordinates(place))
            std::copy_if(vTriangles.begin(), vTriangles.end(), std::back_inserter(vHere), isHere);
        Triangle2* pFound = mesh_.locate(place);
        require(vHere.empty() == !pFound, "a place has a triangle if it is on the surface");
        require(!pFound || std::count(vHere.begin(), vHere.end(), pFound) == 1, "the triangle holds the place");
        double z = 0;
        const bool bHeight = mesh_.getHeight(place.x(), place.y(), z);
        require(!bHeight || (pFound && zMin <= z && z <= zMax), "a height between those of the corners");
    }

    void checkHull() {
        if (!mesh_.is2D() || mVertices_.size() > MAX_POINTS_FOR_ORACLE) return;
        Handles vSorted;
        for (const auto& entry : mVertices_) vSorted.push_back(entry.second);
        for (const bool bAllVertices : {true, false}) {
            Handles vHull, vExpected = hullOf(vSorted, bAllVertices);
            mesh_.getConvexHull(bAllVertices, vHull);
            const auto first = std::find(vHull.begin(), vHull.end(), vExpected[0]);
            std::rotate(vHull.begin(), first, vHull.end());
            require(vHull == vExpected, "the convex hull");
        }
    }

    void checkAll() {
        require(mesh_.numberOfPoints() == mVertices_.size(), "as many vertices as positions");
        require(mesh_.checkValidity(true, "fuzz"), "the mesh is valid");
        PointVector vFirst;
        Handles vHandles;
        for (const auto& [first, pVtx] : mVertices_) {
            vFirst.push_back(first);
            vHandles.push_back(pVtx);
            const Triangle2* pT = mesh_.locate(first);
            require(pT ? pT->hasVertex(pVtx) : !mesh_.is2D(), "a vertex is found where it is");
        }
        const DelaunayOracle oracle(mesh_, vFirst);
        require(oracle.checkHandles(vHandles), "handles stay what they were");
        if (vFirst.size() <= MAX_POINTS_FOR_ORACLE) require(oracle.check(), "Delaunay");
        checkHull();
    }

    Input& input_;
    Coordinates coordinates_;
    Taro_2D mesh_;
    std::map<Point2, Point2*> mVertices_;  // from the point that came first at each position
    int numPoints_ = 0;
    bool bCrowded_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    Input input(pData, size);
    return runQuietly([&] { Run(input).go(); });
}
