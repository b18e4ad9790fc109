// Internal helpers of the host bridge (not part of the installed interface).
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>

#include "host.h"

namespace mutils {
namespace detail {

/// Position of element (r, c) in a part of a host matrix.
inline int64_t host_index(const Hux::aMatrix* m, int64_t r, int64_t c) { return int64_t(m->m_stride) * c + r; }

/// Stores v as the imaginary part of element (row, col) of a host matrix. A real host matrix
/// stays real when v is exactly 0; any other value first gives it an imaginary part of
/// m_stride x m_cols doubles from the current arena, zero-filled so that the zeros dropped
/// before read back as 0 (a request that overflows asks for the largest size, which the arena
/// refuses with "out of memory").
inline void set_host_imag(Hux::aMatrix* m, int32_t row, int32_t col, double v) {
    if (!m->m_imag) {
        if (v == 0.0) return;
        const int64_t count = int64_t(m->m_stride) * int64_t(m->m_cols);
        const std::size_t bytes = count <= 0 || uint64_t(count) > std::numeric_limits<std::size_t>::max() / 8
                                      ? std::numeric_limits<std::size_t>::max()
                                      : std::size_t(count) * 8;
        void* block = Hux::ImcAllocator::m_current->allocate_array(bytes);
        std::memset(block, 0, bytes);
        m->m_imag = static_cast<double*>(block);
    }
    m->m_imag[host_index(m, row, col)] = v;
}

}  // namespace detail
}  // namespace mutils
