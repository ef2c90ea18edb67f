#pragma once

#include <cstddef>

#include "kernel/heights.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Point2.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

/// The heights of new vertices inside triangles: from the guide if there is one, otherwise from the surface. Where that
/// has no height, the mean of the corners is taken, and the vertex is counted as missing a height.
class VertexHeights {
  public:
    explicit VertexHeights(const MeshGenParams& params) : pGuide_(params.pHeightGuide) {}

    double get(double x, double y, const Triangle2* pT) {
        double z = 0.0;
        if (pGuide_ ? pGuide_->getHeight(x, y, z) : getHeightInside(*pT, Point2(x, y, 0.0), z)) return z;
        ++numMissing_;
        return pT->getBarycenter().z();
    }
    size_t getNumMissing() const { return numMissing_; }

  private:
    const Taro_2D* pGuide_;
    size_t numMissing_ = 0;
};

}  // namespace LUMO_TARO25D
