#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "analysis/EdgeCrossings.h"
#include "analysis/HeightMap.h"
#include "analysis/LinePiece.h"
#include "kernel/VertexPairMap.h"
#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "support/Progress.h"
#include "support/RecordMap.h"
#include "taro25d/Bbox2.h"
#include "taro25d/CAF_Component.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Triangle2.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

class Visualizer2;
class Visualizer3;

/// The work behind CutAndFill.
class CutAndFillImpl {
  public:
    /// The type of a triangle by the combined heights of its corners.
    enum TriType {
        TT_INVALID = 0,    // some are above 0 and some below
        TT_NO_CHANGE = 1,  // all are 0
        TT_CUT = 2,        // none is below 0
        TT_FILL = 3        // none is above 0
    };

    CutAndFillImpl(Zone2* pZoneBefore, Zone2* pZoneAfter, double tolerance);
    ~CutAndFillImpl();

    Progress& getProgress() { return progress_; }
    void go();

    size_t getNumberOfComponents() const { return vComponents_.size(); }
    CAF_Component* getComponent(size_t i) const;
    void getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter) const;
    void show(Visualizer2* pVisualizer) const;
    void show(Visualizer3* pVisualizer) const;

    /// Ends the process with status 1 if z of a corner is not its combined height, that is, if the triangulation was
    /// changed from outside.
    TriType getTriangleType(const Triangle2* pT) const;

    /// For the library's developers: whether every vertex of a zone of the combined triangulation has both heights, and
    /// its combined height as z; prints the vertices that have not. The second function checks the result zone.
    bool checkHeightMap(const Zone2* pCombinedZone) const;
    bool verifyHeightMap(const std::string& name) const;

  private:
    using VertexPair = ConstraintGraph2::VertexPair;

    /// One of the two inputs, with its vertices and its border in the combined triangulation.
    struct Surface {
        Zone2* pZone;
        std::vector<Triangle2*> vTriangles;
        std::vector<Point2> vPoints;         // the corners
        RecordMap<Point2, size_t> mIndices;  // of the corners in vPoints
        std::vector<Point2*> vHandles;       // of vPoints in the combined triangulation
        std::vector<Triangle2*> vBelow;      // of the other surface, around vPoints; null where unknown
        ConstraintGraph2* pBorder = nullptr;

        size_t getIndex(const Point2* pVtx) const { return *mIndices.find(pVtx); }
        const Point2& getPoint(const Point2* pVtx) const { return vPoints[getIndex(pVtx)]; }
    };

    /// Lines that must be edges of the combined triangulation.
    struct Lines {
        std::vector<LinePiece> vPieces;          // edges that are no constraints
        std::vector<ConstraintGraph2*> vGraphs;  // the pieces that became constraints
    };

    /// A zero of the difference on an edge.
    struct CutHelper {
        VertexPair edge;  // the end that is nearer to the zero comes first
        Point2 place;
        double height;
        bool bMerged;  // the zero is at that end
    };

    /// A piece of the zero line within one triangle: from the zero of one edge to that of another, or to a corner.
    struct ZeroSegment {
        VertexPair fromEdge, toEdge;
        Point2* pToCorner;  // null if toEdge is valid
    };

    struct Cuts {
        std::vector<CutHelper> vCuts;
        std::vector<ZeroSegment> vZeroLine;
    };

    void compare();
    void startAgain();
    void readSurfaces();
    bool setResultZone();
    bool insertSurfaces();
    std::vector<EdgeCrossings::Edge> getInnerSegments(int ithInput);
    std::vector<Point2*> insertPoints(const EdgeCrossings& crossings);
    void divideEdges(int ithInput, const EdgeCrossings& crossings, const std::vector<Point2*>& vCrossings);
    void establishPieces();
    std::vector<VertexPair> takeMissing(Lines& lines) const;
    void listResult();
    bool doesBorderFold() const;
    bool leaveOutside();
    void setHeights();
    void assignHeigthsOfConstraints(const ConstraintGraph2* pCG, int ithInput);
    void complementHeightMap(const std::vector<Point2*>& vVertices);
    void useLocations();
    void setOneMissingHeight(const Point2* pVtx, int ithInput, Triangle2* pAround = nullptr);
    void setCombinedHeights(const std::vector<Point2*>& vVertices);
    void setToZero(Point2* pVtx);
    double getCombinedHeight(const Point2* pVtx) const;

    void cutAlongZeroLine();
    Cuts virtualCut() const;
    CutHelper cutEdge(const VertexPair& edge) const;
    static VertexPair getEnds(const Triangle2* pT, int i) {
        return {pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))};
    }
    static void cutT(const Triangle2* pT, std::vector<ZeroSegment>& vZeroLine);
    void insertZeros(const Cuts& cuts);
    static void dividePieces(const VertexPairMap<Point2>& mZeros, std::vector<LinePiece>& vPieces,
                             AddressSet& sOnPieces);
    std::vector<VertexPair> joinZeros(const Cuts& cuts, const VertexPairMap<Point2>& mZeros) const;
    void realCut(const Cuts& cuts);
    Point2* splitAtZero(const CutHelper& cut);
    void addNewVertices();
    void postRound();

    void groupT();
    void groupT2(const std::vector<Triangle2*>& vTriangles);

    Surface aSurfaces_[2];  // before, after
    Lines aLines_[3];       // the edges of both surfaces; the zero line, with other edges that it has divided
    Progress progress_;
    Taro_2D combined_;
    Bbox2 overlap_;
    HeightMap heights_;
    Zone2* pResultZone_ = nullptr;
    std::vector<Triangle2*> vResultTriangles_;  // of the result zone in the present mesh
    AddressSet sResult_;                        // the same triangles
    std::vector<std::unique_ptr<CAF_Component>> vComponents_;
    double tolerance_;
    bool bStarted_ = false;
};

}  // namespace LUMO_TARO25D
