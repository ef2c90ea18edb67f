#include "LargePages.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

namespace LUMO_TARO25D {

void* allocateOnLargePages(size_t numBytes) {
    void* pBlock = std::malloc(numBytes);
    constexpr std::uintptr_t LARGE_PAGE = std::uintptr_t(1) << 21;
    const std::uintptr_t start =
        (reinterpret_cast<std::uintptr_t>(pBlock) + LARGE_PAGE - 1) & ~(LARGE_PAGE - 1);
    const std::uintptr_t stop = (reinterpret_cast<std::uintptr_t>(pBlock) + numBytes) & ~(LARGE_PAGE - 1);
    if (pBlock && start < stop) madvise(reinterpret_cast<void*>(start), stop - start, MADV_HUGEPAGE);
    return pBlock;
}

void freeLargePages(void* pBlock) { std::free(pBlock); }

}  // namespace LUMO_TARO25D
