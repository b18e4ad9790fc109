// The window of a neighbourhood operation and the boundary map it reads through (not part of the
// installed interface).
//
// A window of wr x wc pixels is centred like a correlation kernel: its element (wr/2, wc/2) lies
// over the pixel, so the window of (r, c) covers rows r - wr/2 ... r + wr - 1 - wr/2 and the
// columns likewise. Positions outside the image read through the boundary rule of
// `boundary_index` (0 zero, 1 periodic, 2 reflect, 3 nearest edge pixel).
//
// `PaddedImage` copies the image once with its columns already extended by the rule, so a
// sliding window reads plain arrays: `row(i)` is image row position i (any integer, mapped by
// the rule; under rule 0 a row of the fill value) and its element j is column j - wc/2. A window
// at (r, c) therefore reads `row(r - wr/2 + p)[c + q]` for p < wr, q < wc.
#pragma once

#include <algorithm>
#include <cstdint>

#include "../core/detail.h"

namespace mutils {
namespace detail {

/// Window positions before and after the centre along an extent of w.
inline int64_t window_before(int64_t w) { return w / 2; }
inline int64_t window_after(int64_t w) { return w - 1 - w / 2; }

template <class T> class PaddedImage {
public:
    /// The nrow x ncol image at `data` padded for windows wc columns wide (rows are mapped when
    /// read); positions that read zero under rule 0 read `fill` instead (a filter that works on
    /// codes passes the code of 0).
    PaddedImage(const T* data, int64_t nrow, int64_t ncol, int64_t wc, int32_t boundary, T fill = T{})
        : m_nrow(nrow), m_width(ncol + wc - 1), m_boundary(boundary) {
        const int64_t before = window_before(wc);
        m_rows = work_array<T>((nrow + 1) * m_width);
        int64_t* cmap = work_array<int64_t>(m_width);
        for (int64_t j = 0; j < m_width; ++j) cmap[j] = boundary_index(j - before, ncol, boundary);
        for (int64_t r = 0; r < nrow; ++r) {
            const T* src = data + r * ncol;
            T* dst = m_rows + r * m_width;
            for (int64_t j = 0; j < before && j < m_width; ++j) dst[j] = cmap[j] < 0 ? fill : src[cmap[j]];
            std::copy(src, src + ncol, dst + before);
            for (int64_t j = before + ncol; j < m_width; ++j) dst[j] = cmap[j] < 0 ? fill : src[cmap[j]];
        }
        std::fill(m_rows + nrow * m_width, m_rows + (nrow + 1) * m_width, fill);
    }

    /// Image row position i (any integer) read through the boundary rule.
    const T* row(int64_t i) const {
        const int64_t s = boundary_index(i, m_nrow, m_boundary);
        return m_rows + (s < 0 ? m_nrow : s) * m_width;
    }
    /// Elements per padded row: ncol + wc - 1.
    int64_t width() const { return m_width; }

private:
    int64_t m_nrow, m_width;
    int32_t m_boundary;
    T* m_rows;
};

}  // namespace detail
}  // namespace mutils
