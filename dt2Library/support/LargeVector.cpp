#include "support/LargeVector.h"

#include <sys/mman.h>

namespace LUMO_TARO25D {

void* allocatePages(size_t numBytes) {
    void* pStart = mmap(nullptr, numBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (pStart == MAP_FAILED) throw std::bad_alloc();
    return pStart;
}

void releasePages(void* pStart, size_t numBytes) noexcept { munmap(pStart, numBytes); }

}  // namespace LUMO_TARO25D
