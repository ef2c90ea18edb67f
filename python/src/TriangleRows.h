#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "taro25d/Triangle2.h"

/// Finds the position of a triangle in a list, in logarithmic time.
class TriangleRows {
  public:
    explicit TriangleRows(const std::vector<LUMO_TARO25D::Triangle2*>& vTriangles) {
        vRows_.reserve(vTriangles.size());
        for (const LUMO_TARO25D::Triangle2* pT : vTriangles)
            vRows_.emplace_back(pT, static_cast<std::int32_t>(vRows_.size()));
        std::sort(vRows_.begin(), vRows_.end());
    }

    /// The position; -1 for null and for a triangle that is not in the list.
    std::int32_t getRow(const LUMO_TARO25D::Triangle2* pT) const {
        const auto found = std::lower_bound(vRows_.begin(), vRows_.end(), std::make_pair(pT, std::int32_t(-1)));
        return found != vRows_.end() && found->first == pT ? found->second : -1;
    }

  private:
    std::vector<std::pair<const LUMO_TARO25D::Triangle2*, std::int32_t>> vRows_;
};
