// The surface after earthworks, in space. z in components is the height before minus the height after, so their
// triangles are copied with the heights after.

#include <deque>

#include "analysis/CutAndFillImpl.h"
#include "taro25d/Visualizer3.h"

namespace LUMO_TARO25D {

namespace {

/// Triangles with the heights after.
class SurfaceAfter {
  public:
    explicit SurfaceAfter(const HeightMap& heights) : heights_(heights) {}

    void add(const Triangle2* pT) {
        Point2* aCorners[3];
        for (int i = 0; i < 3; ++i) aCorners[i] = getVertex(pT->getCorner(i));
        triangles_.emplace_back(aCorners[0], aCorners[1], aCorners[2]);
        vPointers_.push_back(&triangles_.back());
    }
    const std::vector<Triangle2*>& getTriangles() const { return vPointers_; }

  private:
    Point2* getVertex(const Point2* pVtx) {
        Point2*& pCopy = mCopies_[pVtx];
        if (!pCopy) {
            vertices_.emplace_back(pVtx->x(), pVtx->y(), heights_.find(pVtx)->after());
            pCopy = &vertices_.back();
        }
        return pCopy;
    }

    const HeightMap& heights_;
    PointerMap<Point2*> mCopies_;
    std::deque<Point2> vertices_;  // these two keep their elements in place
    std::deque<Triangle2> triangles_;
    std::vector<Triangle2*> vPointers_;
};

}  // namespace

void CutAndFillImpl::show(Visualizer3* pVisualizer) const {
    if (!pVisualizer) return;
    const auto addLayer = [&](CAFType type, const char* layer, const Color& color) {
        SurfaceAfter surface(heights_);
        for (const auto& pComponent : vComponents_) {
            if (pComponent->getCAFType() != type) continue;
            std::vector<Triangle2*> vTriangles;
            pComponent->getTriangles(vTriangles);
            for (const Triangle2* pT : vTriangles) surface.add(pT);
        }
        pVisualizer->addSurface(surface.getTriangles(), layer, color);
    };
    addLayer(CT_CUT, "cut", Color(0.84, 0.19, 0.15, 0.05, true));
    addLayer(CT_FILL, "fill", Color(0.19, 0.45, 0.76, 0.05, true));
    addLayer(CT_NO_CHANGE, "unchanged", Color(0.82, 0.82, 0.78, 0.05, true));
}

}  // namespace LUMO_TARO25D
