#include "SimplePool.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace LUMO_TARO25D {

void poolFailure(const char* message) {
    std::cout << message << std::endl;
    std::exit(EXIT_FAILURE);
}

void printNumberOfContainers(size_t numBlocks) {
    std::cout << "SimplePool::~SimplePool: Number of containers to release: " << numBlocks << std::endl;
}

void touchAhead(void* pStart, size_t numBytes) {
#ifdef MADV_POPULATE_WRITE
    constexpr std::uintptr_t PAGE = 4096;
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(pStart) + PAGE - 1) & ~(PAGE - 1);
    const std::uintptr_t last = (reinterpret_cast<std::uintptr_t>(pStart) + numBytes) & ~(PAGE - 1);
    if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
#else
    static_cast<void>(pStart);
    static_cast<void>(numBytes);
#endif
}

}  // namespace LUMO_TARO25D
