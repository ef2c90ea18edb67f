#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support/PointerMap.h"

namespace LUMO_TARO25D {

/// Numbers the vertices of triangles in the order in which they are first asked for.
///
/// In a plain hash table neighbours are scattered, and each of the six look-ups of a vertex reads another cache line.
/// Here only the pages of memory are hashed, and within a page a table holds the numbers by address, so that vertices
/// which are neighbours in memory have their numbers side by side.
class VertexNumbers {
  public:
    /// The number of a vertex: the next one if it is new, and then `isNew` answers true.
    std::uint32_t getNumber(const void* pVtx) {
        const auto address = reinterpret_cast<std::uintptr_t>(pVtx);
        std::uint32_t& number = getPage(address >> PAGE_BITS)[(address >> RECORD_BITS) % RECORDS_PER_PAGE];
        bNew_ = number == 0;
        if (bNew_) number = ++numVertices_;
        return number - 1;
    }
    /// Whether the vertex of the last getNumber was new.
    bool isNew() const { return bNew_; }

  private:
    static constexpr int PAGE_BITS = 12;
    static constexpr int RECORD_BITS = 5;  // no two records of vertices begin within 32 bytes
    static constexpr size_t RECORDS_PER_PAGE = 1 << (PAGE_BITS - RECORD_BITS);
    using Page = std::array<std::uint32_t, RECORDS_PER_PAGE>;  // 0 for none, else the number plus 1

    Page& getPage(std::uintptr_t name) {
        if (name != lastName_) {
            size_t& place = mPages_[reinterpret_cast<const void*>(name)];
            if (place == 0) {
                vPages_.emplace_back();
                place = vPages_.size();
            }
            lastName_ = name;
            lastPlace_ = place - 1;
        }
        return vPages_[lastPlace_];
    }

    PointerMap<size_t> mPages_;  // the place in vPages_ plus 1
    std::vector<Page> vPages_;
    std::uintptr_t lastName_ = 0;  // no vertex is in the first page of memory
    size_t lastPlace_ = 0;
    std::uint32_t numVertices_ = 0;
    bool bNew_ = false;
};

}  // namespace LUMO_TARO25D
