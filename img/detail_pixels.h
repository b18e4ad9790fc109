// Internal helpers of the grey-level, file and shape operations (not installed).
#pragma once

#include <type_traits>

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// The value of a universal scalar read as element type T (the caller has checked the tag).
template <class T> inline T scalar_value(const _univ_scalar& s) {
    if constexpr (std::is_same_v<T, unsigned char>) return s.val.u8;
    else if constexpr (std::is_same_v<T, uint16_t>) return s.val.u16;
    else if constexpr (std::is_same_v<T, int16_t>) return s.val.s16;
    else if constexpr (std::is_same_v<T, uint32_t>) return s.val.u32;
    else if constexpr (std::is_same_v<T, int32_t>) return s.val.s32;
    else if constexpr (std::is_same_v<T, float>) return s.val.flt;
    else if constexpr (std::is_same_v<T, double>) return s.val.dbl;
    else return s.val.cpx;
}

/// A typed record over an arena block of rows x cols elements (rows * cols must fit 32 bits).
template <class T> inline mat_t<T> work_matrix(int32_t rows, int32_t cols) {
    return mat_t<T>{rows, cols, rows * cols, work_array<T>(int64_t(rows) * cols)};
}

}  // namespace detail
}  // namespace mutils
