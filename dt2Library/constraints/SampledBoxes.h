#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// A few boxes, given by opposite corners with finite coordinates, arranged so that those that touch another box are
/// found by a few bit operations. The plane is cut into columns and into rows, each with one bit for each box that
/// reaches into it.
class SampledBoxes {
  public:
    static constexpr size_t MAX_NUM_BOXES = 64;

    using Corners = std::array<const Point2*, 2>;

    explicit SampledBoxes(const std::vector<Corners>& vBoxes)
        : vBoxes_(vBoxes),
          columns_(vBoxes, [](const Point2& p) { return p.x(); }),
          rows_(vBoxes, [](const Point2& p) { return p.y(); }) {}

    /// Calls visit(number) for each box that touches the one with the given corners.
    template <class Visit>
    void forEachTouching(const Point2& p, const Point2& q, const Visit& visit) const {
        std::uint64_t found = columns_.find(p.x(), q.x()) & rows_.find(p.y(), q.y());
        for (; found != 0; found &= found - 1) {
            const auto number = static_cast<size_t>(__builtin_ctzll(found));
            const auto& [pFirst, pSecond] = vBoxes_[number];
            if (touch(p.x(), q.x(), pFirst->x(), pSecond->x()) && touch(p.y(), q.y(), pFirst->y(), pSecond->y()))
                visit(number);
        }
    }

  private:
    /// Whether two intervals, each given by its ends in any order, have a number in common.
    static bool touch(double a, double b, double c, double d) {
        return std::max(a, b) >= std::min(c, d) && std::max(c, d) >= std::min(a, b);
    }

    /// The stripes of one direction.
    class Stripes {
      public:
        template <class Coordinate>
        Stripes(const std::vector<Corners>& vBoxes, const Coordinate& coordinate) {
            double max = std::numeric_limits<double>::lowest();
            min_ = std::numeric_limits<double>::max();
            for (const Corners& box : vBoxes) {
                const auto [low, high] = std::minmax({coordinate(*box[0]), coordinate(*box[1])});
                min_ = std::min(min_, low);
                max = std::max(max, high);
            }
            const double width = max - min_;
            scale_ = width > 0.0 ? NUM_STRIPES / width : 0.0;
            for (size_t k = 0; k < vBoxes.size(); ++k) {
                const auto [low, high] = std::minmax({coordinate(*vBoxes[k][0]), coordinate(*vBoxes[k][1])});
                for (size_t i = getStripe(low); i <= getStripe(high); ++i) aBits_[i] |= std::uint64_t(1) << k;
            }
        }

        std::uint64_t find(double a, double b) const {
            const auto [low, high] = std::minmax({getStripe(a), getStripe(b)});
            std::uint64_t found = 0;
            for (size_t i = low; i <= high; ++i) found |= aBits_[i];
            return found;
        }

      private:
        static constexpr size_t NUM_STRIPES = 256;

        /// Increases with the coordinate; the first and the last stripe reach to infinity. Where the width exceeds all
        /// doubles there is only the first.
        size_t getStripe(double coordinate) const {
            const double place = (coordinate - min_) * scale_;
            if (!(place > 0.0)) return 0;
            return place < NUM_STRIPES - 1 ? static_cast<size_t>(place) : NUM_STRIPES - 1;
        }

        double min_, scale_;
        std::array<std::uint64_t, NUM_STRIPES> aBits_{};
    };

    std::vector<Corners> vBoxes_;
    Stripes columns_, rows_;
};

}  // namespace LUMO_TARO25D
