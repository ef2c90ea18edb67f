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

}  // namespace LUMO_TARO25D
