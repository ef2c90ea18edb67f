#include "support/SimplePool.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "support/diagnostics.h"
#include "support/parallel.h"

namespace LUMO_TARO25D {

void poolFailure(const char* message) {
    const bool bEnd = !hasMessageHandler();
    Note("SimplePool", ML_ERROR) << message << "\n";
    if (bEnd) std::exit(EXIT_FAILURE);
    throw std::bad_alloc();
}

void printNumberOfContainers(size_t numBlocks) {
    Note("SimplePool::~SimplePool()") << "SimplePool::~SimplePool: Number of containers to release: " << numBlocks
                                      << "\n";
}

void touchAhead(void* pStart, size_t numBytes, int numThreads) {
#ifdef MADV_POPULATE_WRITE
    constexpr std::uintptr_t PAGE = 4096;
    constexpr size_t MIN_PAGES_PER_THREAD = 500;  // half a millisecond
    const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(pStart) + PAGE - 1) / PAGE;
    const std::uintptr_t last = (reinterpret_cast<std::uintptr_t>(pStart) + numBytes) / PAGE;
    if (first >= last) return;
    const auto touch = [first](size_t begin, size_t end, int) {
        madvise(reinterpret_cast<void*>((first + begin) * PAGE), (end - begin) * PAGE, MADV_POPULATE_WRITE);
    };
    parallelFor(numThreads, last - first, touch, MIN_PAGES_PER_THREAD);
#else
    static_cast<void>(pStart);
    static_cast<void>(numBytes);
    static_cast<void>(numThreads);
#endif
}

}  // namespace LUMO_TARO25D
