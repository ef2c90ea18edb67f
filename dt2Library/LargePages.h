#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace LUMO_TARO25D {

/// Memory from malloc, on large pages where it is large and the system offers them: mesh records are visited
/// in an order that misses small pages all the time. Null when there is none.
void* allocateOnLargePages(size_t numBytes);
void freeLargePages(void* pBlock);

/// Allocates on large pages, and leaves trivial elements that a resize adds without a value.
template <class T>
struct LargePageAllocator {
    using value_type = T;

    LargePageAllocator() = default;
    template <class U>
    explicit LargePageAllocator(const LargePageAllocator<U>&) {}

    T* allocate(size_t n) {
        void* pBlock = allocateOnLargePages(n * sizeof(T));
        if (!pBlock) throw std::bad_alloc();
        return static_cast<T*>(pBlock);
    }
    void deallocate(T* p, size_t) { freeLargePages(p); }

    template <class U>
    void construct(U* p) {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Arguments>
    void construct(U* p, Arguments&&... arguments) {
        ::new (static_cast<void*>(p)) U(static_cast<Arguments&&>(arguments)...);
    }

    friend bool operator==(const LargePageAllocator&, const LargePageAllocator&) { return true; }
    friend bool operator!=(const LargePageAllocator&, const LargePageAllocator&) { return false; }
};

/// A vector for lists as long as the mesh.
template <class T>
using LargeVector = std::vector<T, LargePageAllocator<T>>;

}  // namespace LUMO_TARO25D
