// Internal helpers shared by the matrix text and raw stream operations.
#pragma once

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// The element types with text and raw stream members (all but complex).
using stream_types = real_types;

/// True for a record that holds no elements (0 rows or 0 columns, nelem 0): the stream
/// operations accept it and transfer nothing. Any other record is validated (raising).
template <class M> inline bool empty_or_valid(const M* m) {
    if (m && m->nrow >= 0 && m->ncol >= 0 && (m->nrow == 0 || m->ncol == 0) && m->nelem == 0) return true;
    validate(m);
    return false;
}

}  // namespace detail
}  // namespace mutils
