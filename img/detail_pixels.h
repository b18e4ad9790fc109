// Internal helpers of the grey-level, file and shape operations (not installed).
#pragma once

#include <type_traits>

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// A typed record over an arena block of rows x cols elements (rows * cols must fit 32 bits).
template <class T> inline mat_t<T> work_matrix(int32_t rows, int32_t cols) {
    return mat_t<T>{rows, cols, rows * cols, work_array<T>(int64_t(rows) * cols)};
}

}  // namespace detail
}  // namespace mutils
