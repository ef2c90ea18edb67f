#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace LUMO_TARO25D {

/// The standard allocator, except that a resize leaves new elements of trivial types without a value: memory that is
/// written at once need not be cleared first.
template <class T>
struct NoValueAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = NoValueAllocator<U>;
    };

    NoValueAllocator() = default;
    template <class U>
    explicit NoValueAllocator(const NoValueAllocator<U>&) {}

    template <class U>
    void construct(U* p) {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Arguments>
    void construct(U* p, Arguments&&... arguments) {
        ::new (static_cast<void*>(p)) U(static_cast<Arguments&&>(arguments)...);
    }
};

/// A vector for lists as long as the mesh.
template <class T>
using LargeVector = std::vector<T, NoValueAllocator<T>>;

/// Pages straight from the system; throws std::bad_alloc. Released, they are the system's again at once: malloc keeps
/// blocks below a threshold that grows with the blocks a process frees, and the lists of a sort would remain below the
/// records of the mesh.
void* allocatePages(size_t numBytes);
void releasePages(void* pStart, size_t numBytes) noexcept;

/// NoValueAllocator that takes large blocks from the system.
template <class T>
struct PageAllocator : NoValueAllocator<T> {
    static constexpr size_t MIN_BYTES = 1 << 20;

    template <class U>
    struct rebind {
        using other = PageAllocator<U>;
    };

    PageAllocator() = default;
    template <class U>
    explicit PageAllocator(const PageAllocator<U>&) {}

    T* allocate(size_t n) {
        if (n < MIN_BYTES / sizeof(T)) return NoValueAllocator<T>::allocate(n);
        if (n > size_t(-1) / sizeof(T)) throw std::bad_alloc();
        return static_cast<T*>(allocatePages(n * sizeof(T)));
    }
    void deallocate(T* p, size_t n) noexcept {
        if (n < MIN_BYTES / sizeof(T)) return NoValueAllocator<T>::deallocate(p, n);
        releasePages(p, n * sizeof(T));
    }
};

/// A vector as long as the mesh that lives for a part of an operation.
template <class T>
using ScratchVector = std::vector<T, PageAllocator<T>>;

}  // namespace LUMO_TARO25D
