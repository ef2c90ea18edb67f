#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

template <class T>
using Array = nanobind::ndarray<nanobind::numpy, T>;

/// A returned array owns its memory, which is that of the vector moved into it.
template <class T>
Array<T> toArray(std::vector<T>&& vValues, std::initializer_list<size_t> shape) {
    auto pOwned = std::make_unique<std::vector<T>>(std::move(vValues));
    T* aValues = pOwned->data();
    static T nothing{};
    const nanobind::capsule owner(pOwned.get(), [](void* p) noexcept { delete static_cast<std::vector<T>*>(p); });
    pOwned.release();
    return Array<T>(aValues ? aValues : &nothing, shape, owner);
}

/// A list of numbers as an array of one dimension.
template <class T>
Array<T> toArray(std::vector<T>&& vValues) {
    const size_t num = vValues.size();
    return toArray(std::move(vValues), {num});
}

/// A list of tuples of `width` numbers as an array of two dimensions.
template <class T>
Array<T> toTable(std::vector<T>&& vValues, size_t width) {
    const size_t num = vValues.size() / width;
    return toArray(std::move(vValues), {num, width});
}

/// The Python layer passes contiguous arrays of the right type.
using PointArray = nanobind::ndarray<const double, nanobind::shape<-1, 3>, nanobind::c_contig, nanobind::device::cpu>;
using PlaceArray = nanobind::ndarray<const double, nanobind::shape<-1, 2>, nanobind::c_contig, nanobind::device::cpu>;
using IdArray = nanobind::ndarray<const std::int64_t, nanobind::shape<-1>, nanobind::c_contig, nanobind::device::cpu>;
/// Two points for each segment.
using SegmentArray =
    nanobind::ndarray<const double, nanobind::shape<-1, 2, 3>, nanobind::c_contig, nanobind::device::cpu>;
