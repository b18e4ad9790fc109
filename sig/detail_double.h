// Internal helpers of the signal operations that exist for double data only (windows and
// time-frequency distributions): the universal members accept nothing but double matrices.
#pragma once

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// "null pointer" when any matrix is missing, then "Illegal data type" unless every one holds
/// doubles (tag 1 and tags above 8 included).
template <class... U> inline const char* require_double(const U*... m) {
    if (((m == nullptr) || ...)) return msg::null_pointer;
    if (((m->type != MUTIL_DOUBLE) || ...)) return msg::illegal_data_type;
    return nullptr;
}

}  // namespace detail
}  // namespace mutils
