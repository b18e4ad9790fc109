#include "filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "../core/detail.h"
#include "../core/detail_store.h"
#include "../core/detail_univ.h"
#include "detail_window.h"

namespace mutils {
namespace detail {
namespace {

template <class T, bool = std::is_integral_v<T>> struct Accumulate { using type = double; };
template <class T> struct Accumulate<T, true> { using type = wrap_t<T>; };

template <class T> MUTILS_CLONES void mac_row(typename Accumulate<T>::type* acc, T w, const T* d, int64_t n) {
    using A = typename Accumulate<T>::type;
    for (int64_t c = 0; c < n; ++c) acc[c] = A(acc[c] + A(w) * A(d[c]));
}

/// Centred correlation (Flip false) or convolution (Flip true). Each output row maps its kernel
/// rows through the boundary rule once (a zero row stands for rows outside under rule 0); the
/// columns whose window stays inside run without tests, the border columns through a map.
template <class T, bool Flip>
const char* filter(const mat_t<T>* d, const mat_t<T>* k, int32_t boundary, void* intrp, mat_t<T>* y) {
    using A = typename Accumulate<T>::type;
    const int64_t nrow = d->nrow, ncol = d->ncol, kr = k->nrow, kc = k->ncol;
    Hux::ArenaScope scope;
    A* acc = work_array<A>(ncol);
    T* zero = work_array_zero<T>(ncol);
    T* gathered = work_array<T>(ncol);
    // Column offset of kernel column q: Flip reads c + kc/2 - q, else c + q - kc/2.
    auto coff = [&](int64_t q) { return Flip ? kc / 2 - q : q - kc / 2; };
    Poll poll(intrp);
    for (int64_t r = 0; r < nrow; ++r) {
        std::fill(acc, acc + ncol, A{});
        for (int64_t p = 0; p < kr; ++p) {
            int64_t sr = boundary_index(Flip ? r + kr / 2 - p : r + p - kr / 2, nrow, boundary);
            const T* src = sr < 0 ? zero : d->data + sr * ncol;
            for (int64_t q = 0; q < kc; ++q) {
                const T w = k->data[p * kc + q];
                const int64_t off = coff(q);
                const int64_t lo = std::clamp<int64_t>(-off, 0, ncol), hi = std::clamp<int64_t>(ncol - off, lo, ncol);
                // Border columns read through the boundary rule, the rest directly.
                for (int64_t c = 0; c < ncol; ++c) {
                    if (c == lo) c = hi;
                    if (c >= ncol) break;
                    int64_t sc = boundary_index(c + off, ncol, boundary);
                    gathered[c] = sc < 0 ? T{} : src[sc];
                }
                mac_row<T>(acc, w, gathered, lo);
                mac_row<T>(acc + lo, w, src + lo + off, hi - lo);
                mac_row<T>(acc + hi, w, gathered + hi, ncol - hi);
            }
        }
        T* out = y->data + r * ncol;
        for (int64_t c = 0; c < ncol; ++c) out[c] = T(acc[c]);
        MUTILS_TRY(poll.add(4.0 * double(kr * kc * ncol)));
    }
    return nullptr;
}

template <bool Flip> const char* filter_univ(const _univ_mat* image, const _univ_mat* kernel, int32_t boundary,
                                             void* intrp, _univ_mat* result) {
    if (!image || !kernel || !result) return msg::null_pointer;
    validate_univ(image);
    validate_univ(kernel);
    validate_univ(result);
    MUTILS_TRY(require_same_size(image, result));
    MUTILS_TRY(require_boundary(boundary));
    MUTILS_TRY(require_distinct(result, image));
    MUTILS_TRY(require_distinct(result, kernel));
    if (image->type == MUTIL_DCOMPLEX || kernel->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    return univ_apply_whole(
        real_types{}, intrp, result,
        [&](auto t, const _univ_mat* ci, const _univ_mat* ck, _univ_mat* r) {
            using T = MUTILS_T(t);
            return filter<T, Flip>(as<T>(ci), as<T>(ck), boundary, intrp, as<T>(r));
        },
        image, kernel);
}

}  // namespace
}  // namespace detail

const char* imguniv_convolve(const _univ_mat* a, const _univ_mat* k, _mutil_boundary_type b, void* i, _univ_mat* r) {
    return detail::filter_univ<true>(a, k, b, i, r);
}
const char* imguniv_correlate(const _univ_mat* a, const _univ_mat* k, _mutil_boundary_type b, void* i, _univ_mat* r) {
    return detail::filter_univ<false>(a, k, b, i, r);
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_convolve,
             (const mutils::_univ_mat* a, const mutils::_univ_mat* k, mutils::_mutil_boundary_type b, void* i,
              mutils::_univ_mat* r),
             (a, k, b, i, r))

// ---- neighbourhood filters ------------------------------------------------------------------

namespace mutils {
namespace detail {
namespace {

/// The checks every window filter makes, in order: records (raising), the result's size, the
/// window, the boundary rule (`mean_rules`: 0 and 3 only), the filter's own parameter, storage.
template <class T, class R> const char* check_window(const mat_t<T>* image, int32_t wr, int32_t wc, int32_t boundary,
                                                     bool mean_rules, bool parameter_ok, const R* result) {
    validate(image);
    validate(result);
    MUTILS_TRY(require_same_size(image, result));
    if (wr < 1 || wc < 1 || !parameter_ok) return msg::illegal_data_value;
    if (mean_rules ? boundary != MUTIL_BOUNDARY_ZERO && boundary != MUTIL_BOUNDARY_CONTINUE
                   : require_boundary(boundary) != nullptr)
        return msg::illegal_data_value;
    return require_distinct(result, image);
}

/// Window sums along one extent: out[c] = the sum of v over positions c - before ... c + after,
/// v extended by zeros (rule 0) or its end values (rule 3), from the prefix sums p (n + 1).
template <class A>
MUTILS_CLONES void window_sums(const A* p, const A* v, int64_t n, int64_t before, int64_t after, bool cont, A* out) {
    const int64_t lo = std::min(before, n), hi = std::max(lo, n - after);
    for (int64_t c = lo; c < hi; ++c) out[c] = A(p[c + after + 1] - p[c - before]);
    for (int64_t c = 0; c < n; ++c) {
        if (c == lo) c = hi;
        if (c >= n) break;
        const int64_t a = c - before, b = c + after, i0 = std::max<int64_t>(a, 0), i1 = std::min(b, n - 1);
        A s = i1 >= i0 ? A(p[i1 + 1] - p[i0]) : A(0);
        if (cont) {
            s += A(std::max<int64_t>(0, std::min<int64_t>(b, -1) - a + 1)) * v[0];
            s += A(std::max<int64_t>(0, b - std::max(a, n) + 1)) * v[n - 1];
        }
        out[c] = s;
    }
}

/// p[i] = v[0] + ... + v[i - 1]; unrolled by four, since the loop is bound by its count of
/// instructions rather than by the chain of sums.
template <class A> MUTILS_CLONES void prefix_sums(const A* v, int64_t n, A* p) {
    A s = 0;
    p[0] = 0;
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const A a = s + v[i], b = a + v[i + 1], c = b + v[i + 2];
        s = c + v[i + 3];
        p[i + 1] = a, p[i + 2] = b, p[i + 3] = c, p[i + 4] = s;
    }
    for (; i < n; ++i) p[i + 1] = s += v[i];
}

/// v += w * (x - shift) (and v2 += w * (x - shift)^2) over a row.
template <class T, class A> MUTILS_CLONES void add_row(const T* x, A w, A shift, int64_t n, A* v, A* v2) {
    if (v2) {
        for (int64_t c = 0; c < n; ++c) {
            const A d = A(x[c]) - shift;
            v[c] += w * d;
            v2[c] += w * d * d;
        }
    } else {
        for (int64_t c = 0; c < n; ++c) v[c] += w * (A(x[c]) - shift);
    }
}

/// v += x_in - x_out (and the same for the squares about `shift`): one window row replaced.
template <class T, class A> MUTILS_CLONES void swap_row(const T* in, const T* out, A shift, int64_t n, A* v, A* v2) {
    if (v2) {
        for (int64_t c = 0; c < n; ++c) {
            const A a = A(in[c]) - shift, b = A(out[c]) - shift;
            v[c] += a - b;
            v2[c] += a * a - b * b;
        }
    } else {
        for (int64_t c = 0; c < n; ++c) v[c] += A(in[c]) - A(out[c]);
    }
}

/// Window sums of (x - shift), and with `squares` of (x - shift)^2, row after row under rule 0
/// or 3: running column sums over the window rows (one row enters, one leaves per step), then
/// window sums along each row from prefix sums. O(1) per pixel whatever the window. The sums
/// are kept in A: double (exact for integer images while they stay below 2^53), or uint32_t
/// for small integer images whose window sums fit 31 bits, where wrap-around in the running and
/// prefix sums cancels in the differences.
template <class T, class A = double> class BoxSums {
public:
    BoxSums(const mat_t<T>* image, int64_t wr, int64_t wc, int32_t boundary, A shift, bool squares)
        : m_x(image->data),
          m_nrow(image->nrow),
          m_ncol(image->ncol),
          m_before(window_before(wr)),
          m_after(window_after(wr)),
          m_bc(window_before(wc)),
          m_ac(window_after(wc)),
          m_boundary(boundary),
          m_shift(shift) {
        const int64_t n = m_ncol;
        m_v = work_array_zero<A>(n);
        m_p = work_array<A>(n + 1);
        sum = work_array<A>(n);
        if (squares) {
            m_v2 = work_array_zero<A>(n);
            m_p2 = work_array<A>(n + 1);
            sum2 = work_array<A>(n);
        }
        // The window of row 0: the rows inside once each, under rule 3 the edge rows as often
        // as positions before or after the image map to them.
        const int64_t a = -m_before, b = m_after, i0 = std::max<int64_t>(a, 0), i1 = std::min(b, m_nrow - 1);
        for (int64_t i = i0; i <= i1; ++i) add_row(row(i), A(1), m_shift, n, m_v, m_v2);
        if (boundary == MUTIL_BOUNDARY_CONTINUE) {
            const int64_t low = std::max<int64_t>(0, std::min<int64_t>(b, -1) - a + 1);
            const int64_t high = std::max<int64_t>(0, b - std::max(a, m_nrow) + 1);
            if (low) add_row(row(0), A(low), m_shift, n, m_v, m_v2);
            if (high) add_row(row(m_nrow - 1), A(high), m_shift, n, m_v, m_v2);
        }
    }

    /// Fills `sum` (and `sum2`) for output row r; rows are visited in order from 0.
    void at_row(int64_t r) {
        if (r > 0) {
            const int64_t in = boundary_index(r + m_after, m_nrow, m_boundary);
            const int64_t out = boundary_index(r - 1 - m_before, m_nrow, m_boundary);
            if (in >= 0 && out >= 0) {
                if (in != out) swap_row(row(in), row(out), m_shift, m_ncol, m_v, m_v2);
            } else if (in >= 0) {
                add_row(row(in), A(1), m_shift, m_ncol, m_v, m_v2);
            } else if (out >= 0) {
                add_row(row(out), A(-1), m_shift, m_ncol, m_v, m_v2);
            }
        }
        const bool cont = m_boundary == MUTIL_BOUNDARY_CONTINUE;
        prefix_sums(m_v, m_ncol, m_p);
        window_sums(m_p, m_v, m_ncol, m_bc, m_ac, cont, sum);
        if (m_v2) {
            prefix_sums(m_v2, m_ncol, m_p2);
            window_sums(m_p2, m_v2, m_ncol, m_bc, m_ac, cont, sum2);
        }
        if constexpr (std::is_floating_point_v<A>) {
            if (!cont && m_shift != 0) {
                // Zeros read outside the image are -shift once shifted.
                const int64_t rows_in = inside(r, m_before, m_after, m_nrow);
                const int64_t n = (m_before + m_after + 1) * (m_bc + m_ac + 1);
                for (int64_t c = 0; c < m_ncol; ++c) {
                    const double outside = double(n - rows_in * inside(c, m_bc, m_ac, m_ncol));
                    sum[c] -= outside * m_shift;
                    if (m_v2) sum2[c] += outside * m_shift * m_shift;
                }
            }
        }
    }

    A* sum = nullptr;
    A* sum2 = nullptr;

private:
    const T* row(int64_t i) const { return m_x + i * m_ncol; }
    /// Positions of the window around i that fall inside an extent of n.
    static int64_t inside(int64_t i, int64_t before, int64_t after, int64_t n) {
        return std::max<int64_t>(0, std::min(i + after, n - 1) - std::max<int64_t>(i - before, 0) + 1);
    }
    const T* m_x;
    int64_t m_nrow, m_ncol, m_before, m_after, m_bc, m_ac;
    int32_t m_boundary;
    A m_shift;
    A *m_v = nullptr, *m_p = nullptr, *m_v2 = nullptr, *m_p2 = nullptr;
};

/// sum / n stored into T, one division per value (32-bit sums read as signed for signed T).
template <class T, class A> MUTILS_CLONES void store_means(const A* sum, double n, int64_t len, T* out) {
    if constexpr (std::is_floating_point_v<A>) {
        for (int64_t c = 0; c < len; ++c) out[c] = store<T>(sum[c] / n);
    } else {
        // Means of integers lie in T's range: the storing rule needs neither NaN test nor clip,
        // and the floor is a truncation corrected downwards (the loops vectorise). A mean that
        // is not an exact half lies at least 1/2n from one; while the rounding errors of float
        // stay below that, float decides every case as double would, at twice the lanes.
        constexpr double largest = double(std::numeric_limits<T>::max()) + 1;
        if (4 * largest * n < 16777216.0) {
            const float fn = float(n);
            for (int64_t c = 0; c < len; ++c) {
                const float x = float(int32_t(sum[c])) / fn + 0.5f;
                const int32_t t = int32_t(x);
                out[c] = T(t - int32_t(float(t) > x));
            }
            return;
        }
        for (int64_t c = 0; c < len; ++c) {
            const double x = double(int32_t(sum[c])) / n + 0.5;
            const int32_t t = int32_t(x);
            out[c] = T(t - int32_t(double(t) > x));
        }
    }
}

template <class T, class A>
const char* box_means(const mat_t<T>* image, int32_t wr, int32_t wc, int32_t boundary, void* intrp, mat_t<T>* result) {
    BoxSums<T, A> box(image, wr, wc, boundary, A(0), false);
    const double n = double(wr) * double(wc);
    Poll poll(intrp);
    for (int64_t r = 0; r < image->nrow; ++r) {
        box.at_row(r);
        store_means<T, A>(box.sum, n, image->ncol, result->data + r * image->ncol);
        MUTILS_TRY(poll.add(12.0 * double(image->ncol)));
    }
    return nullptr;
}

template <class T>
const char* local_mean(const mat_t<T>* image, int32_t wr, int32_t wc, int32_t boundary, void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_window<T>(image, wr, wc, boundary, true, true, result));
    Hux::ArenaScope scope;
    if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
        const double largest =
            std::max(-double(std::numeric_limits<T>::lowest()), double(std::numeric_limits<T>::max()));
        if (largest * double(wr) * double(wc) < 2147483648.0)
            return box_means<T, uint32_t>(image, wr, wc, boundary, intrp, result);
    }
    return box_means<T, double>(image, wr, wc, boundary, intrp, result);
}

/// The local mean (into mu unless null) and population variance (into var) of every pixel,
/// computed on the values less the image mean (rounded down for integer images, which keeps
/// their sums exact) so that a large offset does not cancel; the variance is clamped at 0.
template <class T> const char* local_statistics(const mat_t<T>* image, int64_t wr, int64_t wc, int32_t boundary,
                                                Poll& poll, double* mu, double* var) {
    const int64_t nrow = image->nrow, ncol = image->ncol;
    double total = 0;
    for (int64_t i = 0; i < image->nelem; ++i) total += double(image->data[i]);
    double shift = total / double(image->nelem);
    if constexpr (std::is_integral_v<T>) shift = std::floor(shift);
    if (!std::isfinite(shift)) shift = 0;
    BoxSums<T> box(image, wr, wc, boundary, shift, true);
    const double n = double(wr) * double(wc);
    for (int64_t r = 0; r < nrow; ++r) {
        box.at_row(r);
        for (int64_t c = 0; c < ncol; ++c) {
            const double m = box.sum[c] / n;
            if (mu) mu[r * ncol + c] = m + shift;
            var[r * ncol + c] = std::max(box.sum2[c] / n - m * m, 0.0);
        }
        MUTILS_TRY(poll.add(20.0 * double(ncol)));
    }
    return nullptr;
}

template <class T> const char* local_variance(const mat_t<T>* image, int32_t wr, int32_t wc, int32_t boundary,
                                              void* intrp, _double_mat* result) {
    MUTILS_TRY(check_window<T>(image, wr, wc, boundary, true, true, result));
    Hux::ArenaScope scope;
    Poll poll(intrp);
    return local_statistics<T>(image, wr, wc, boundary, poll, nullptr, result->data);
}

template <class T> const char* wiener(const mat_t<T>* image, int32_t wr, int32_t wc, double noise, int32_t boundary,
                                      void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_window<T>(image, wr, wc, boundary, true, std::isfinite(noise), result));
    Hux::ArenaScope scope;
    const int64_t n = image->nelem;
    double* mu = work_array<double>(n);
    double* var = work_array<double>(n);
    Poll poll(intrp);
    MUTILS_TRY(local_statistics<T>(image, wr, wc, boundary, poll, mu, var));
    double nu = noise;
    if (nu < 0) {
        nu = 0;
        for (int64_t i = 0; i < n; ++i) nu += var[i];
        nu /= double(n);
    }
    for (int64_t i = 0; i < n; ++i) {
        const double x = double(image->data[i]), d = std::max(var[i], nu);
        result->data[i] = d == 0 ? image->data[i] : store<T>(mu[i] + std::max(var[i] - nu, 0.0) / d * (x - mu[i]));
    }
    return poll.add(6.0 * double(n));
}

// ---- quantile filter ------------------------------------------------------------------------

/// Where the q-quantile of n sorted values lies: x(k0) + frac * (x(k1) - x(k0)).
struct Rank {
    int64_t k0, k1;
    double frac;
};
inline Rank rank_of(int64_t n, double q) {
    const double t = double(n - 1) * q;
    const int64_t k0 = std::min<int64_t>(int64_t(std::floor(t)), n - 1);
    return {k0, std::min(k0 + 1, n - 1), t - double(k0)};
}
template <class T> inline T interpolate(T a, T b, double frac) {
    return frac == 0 || a == b ? a : store<T>(double(a) + frac * (double(b) - double(a)));
}

/// Windows of at most this many values are sorted by a comparator network, run across a strip
/// of columns at once (the loops vectorise); larger ones go through a sliding histogram.
constexpr int64_t kNetworkMax = 25;
constexpr int64_t kStripBytes = 2048;

/// Batcher's odd-even merge network for the next power of two, less the comparators that touch
/// positions >= n (those would hold +infinity) and those that cannot affect positions k0 or k1.
/// Returns the number of comparators written as pairs into `pairs`.
constexpr int64_t selection_network(int64_t n, int64_t k0, int64_t k1, int32_t* pairs) {
    int64_t m = 1, count = 0;
    while (m < n) m *= 2;
    for (int64_t p = 1; p < m; p *= 2)
        for (int64_t k = p; k >= 1; k /= 2)
            for (int64_t j = k % p; j + k < m; j += 2 * k)
                for (int64_t i = 0; i < std::min(k, m - j - k); ++i)
                    if ((i + j) / (2 * p) == (i + j + k) / (2 * p) && i + j + k < n) {
                        pairs[2 * count] = int32_t(i + j);
                        pairs[2 * count + 1] = int32_t(i + j + k);
                        ++count;
                    }
    // Keep, from the last comparator back, those that write a position still needed.
    bool needed[kNetworkMax] = {};
    needed[k0] = needed[k1] = true;
    int64_t kept = count;
    for (int64_t c = count - 1; c >= 0; --c) {
        const int32_t a = pairs[2 * c], b = pairs[2 * c + 1];
        if (needed[a] || needed[b]) {
            needed[a] = needed[b] = true;
            --kept;
            pairs[2 * kept] = a;
            pairs[2 * kept + 1] = b;
        }
    }
    std::copy(pairs + 2 * kept, pairs + 2 * count, pairs);
    return count - kept;
}

/// The network that puts rank K of 3 x 3 values in place, fixed at compile time.
template <int K> struct Network9 {
    static constexpr int64_t count = [] {
        std::array<int32_t, 512> p{};
        return selection_network(9, K, K, p.data());
    }();
    static constexpr std::array<int32_t, 512> pairs = [] {
        std::array<int32_t, 512> p{};
        selection_network(9, K, K, p.data());
        return p;
    }();
};

template <class T> inline void order(T& a, T& b) {
    const T x = a, y = b;
    a = y < x ? y : x;
    b = y < x ? x : y;
}

/// Rank K of the 3 x 3 windows along a row, the network applied in registers across pixels
/// (the everyday median: no strip copies, every comparator one min and one max).
template <class T, int K, std::size_t... I>
MUTILS_CLONES void rank3x3_row(const T* r0, const T* r1, const T* r2, int64_t n, T* out, std::index_sequence<I...>) {
    for (int64_t c = 0; c < n; ++c) {
        T v[9] = {r0[c], r0[c + 1], r0[c + 2], r1[c], r1[c + 1], r1[c + 2], r2[c], r2[c + 1], r2[c + 2]};
        (order(v[Network9<K>::pairs[2 * I]], v[Network9<K>::pairs[2 * I + 1]]), ...);
        out[c] = v[K];
    }
}
template <class T, int K> void rank3x3(const PaddedImage<T>& pad, int64_t r, int64_t ncol, T* out) {
    rank3x3_row<T, K>(pad.row(r - 1), pad.row(r), pad.row(r + 1), ncol, out,
                      std::make_index_sequence<std::size_t(Network9<K>::count)>{});
}
template <class T, std::size_t... K> constexpr auto rank3x3_table(std::index_sequence<K...>) {
    return std::array<void (*)(const PaddedImage<T>&, int64_t, int64_t, T*), sizeof...(K)>{&rank3x3<T, int(K)>...};
}

template <class T> MUTILS_CLONES void compare_exchange(T* a, T* b, int64_t n) {
    for (int64_t i = 0; i < n; ++i) {
        const T x = a[i], y = b[i];
        a[i] = y < x ? y : x;
        b[i] = y < x ? x : y;
    }
}

template <class T> MUTILS_CLONES void interpolate_run(const T* a, const T* b, double frac, int64_t n, T* out) {
    for (int64_t i = 0; i < n; ++i) out[i] = store<T>(double(a[i]) + frac * (double(b[i]) - double(a[i])));
}

template <class T> const char* quantile_network(const mat_t<T>* image, int64_t wr, int64_t wc, Rank k, int32_t boundary,
                                                Poll& poll, mat_t<T>* result) {
    const int64_t nrow = image->nrow, ncol = image->ncol, n = wr * wc;
    PaddedImage<T> pad(image->data, nrow, ncol, wc, boundary);
    if (wr == 3 && wc == 3 && k.frac == 0) {
        const auto rank = rank3x3_table<T>(std::make_index_sequence<9>{})[std::size_t(k.k0)];
        for (int64_t r = 0; r < nrow; ++r) {
            rank(pad, r, ncol, result->data + r * ncol);
            MUTILS_TRY(poll.add(double(ncol) * 30.0));
        }
        return nullptr;
    }
    int32_t* pairs = work_array<int32_t>(2 * 256);
    const int64_t ncomp = selection_network(n, k.k0, k.k1, pairs);
    constexpr int64_t kStrip = kStripBytes / int64_t(sizeof(T));
    T* strip = work_array<T>(n * kStrip);
    for (int64_t r = 0; r < nrow; ++r) {
        T* out = result->data + r * ncol;
        for (int64_t c0 = 0; c0 < ncol; c0 += kStrip) {
            const int64_t len = std::min(kStrip, ncol - c0);
            for (int64_t p = 0; p < wr; ++p) {
                const T* src = pad.row(r - window_before(wr) + p) + c0;
                for (int64_t q = 0; q < wc; ++q) std::copy(src + q, src + q + len, strip + (p * wc + q) * kStrip);
            }
            for (int64_t i = 0; i < ncomp; ++i)
                compare_exchange(strip + pairs[2 * i] * kStrip, strip + pairs[2 * i + 1] * kStrip, len);
            const T* a = strip + k.k0 * kStrip;
            if (k.frac == 0)
                std::copy(a, a + len, out + c0);
            else
                interpolate_run(a, strip + k.k1 * kStrip, k.frac, len, out + c0);
        }
        MUTILS_TRY(poll.add(double(ncol) * double(n + ncomp)));
    }
    return nullptr;
}

/// 256-bin histogram of an 8-bit window that keeps the bin m holding rank `target` and the count
/// of values below m: moving the window shifts m by a few bins at most (Huang, Yang & Tang).
struct ByteHistogram {
    int64_t h[256] = {};
    int64_t m = 0, below = 0;
    void add(unsigned char v) {
        ++h[v];
        below += v < m;
    }
    void remove(unsigned char v) {
        --h[v];
        below -= v < m;
    }
    /// The value of rank k (from 0).
    int64_t seek(int64_t k) {
        while (below > k) below -= h[--m];
        while (below + h[m] <= k) below += h[m++];
        return m;
    }
    /// The value of rank k1, given that rank k0 <= k1 is at m.
    int64_t next(int64_t k1) const {
        if (k1 < below + h[m]) return m;
        int64_t j = m + 1;
        while (h[j] == 0) ++j;
        return j;
    }
};

/// Counts over codes 0 ... size - 1 with the rank query in O(log size) (a Fenwick tree).
class CodeCounts {
public:
    explicit CodeCounts(int64_t size) : m_size(size), m_tree(work_array_zero<int64_t>(size + 1)) {
        m_top = 1;
        while (m_top * 2 <= size) m_top *= 2;
    }
    void change(int64_t code, int64_t by) {
        for (int64_t i = code + 1; i <= m_size; i += i & -i) m_tree[i] += by;
    }
    /// The code of rank k (from 0): the first code whose cumulative count exceeds k.
    int64_t seek(int64_t k) const {
        int64_t pos = 0;
        for (int64_t step = m_top; step > 0; step /= 2)
            if (pos + step <= m_size && m_tree[pos + step] <= k) {
                pos += step;
                k -= m_tree[pos];
            }
        return pos;
    }

private:
    int64_t m_size, m_top;
    int64_t* m_tree;
};

/// The sliding-histogram filter over an image of codes (C: unsigned char for 8-bit images, whose
/// codes are their values; int32_t otherwise). `value(code)` gives back the element. Each row
/// starts a fresh window; each step right removes one column of the window and adds another.
template <class T, class C, class Counts, class Value>
const char* quantile_histogram(const C* codes, const mat_t<T>* image, int64_t wr, int64_t wc, Rank k, int32_t boundary,
                               C zero_code, Counts& counts, Value value, Poll& poll, mat_t<T>* result) {
    const int64_t nrow = image->nrow, ncol = image->ncol;
    PaddedImage<C> pad(codes, nrow, ncol, wc, boundary, zero_code);
    const C** rows = work_array<const C*>(wr);
    for (int64_t r = 0; r < nrow; ++r) {
        for (int64_t p = 0; p < wr; ++p) rows[p] = pad.row(r - window_before(wr) + p);
        for (int64_t p = 0; p < wr; ++p)
            for (int64_t q = 0; q < wc; ++q) counts.add(rows[p][q]);
        T* out = result->data + r * ncol;
        for (int64_t c = 0;; ++c) {
            const int64_t a = counts.seek(k.k0);
            const int64_t b = k.k1 == k.k0 ? a : counts.next(k.k1);
            out[c] = interpolate<T>(value(a), value(b), k.frac);
            if (c + 1 == ncol) break;
            for (int64_t p = 0; p < wr; ++p) {
                counts.remove(rows[p][c]);
                counts.add(rows[p][c + wc]);
            }
        }
        for (int64_t p = 0; p < wr; ++p)
            for (int64_t q = 0; q < wc; ++q) counts.remove(rows[p][ncol - 1 + q]);
        MUTILS_TRY(poll.add(double(ncol) * double(8 * wr + 16)));
    }
    return nullptr;
}

/// CodeCounts with the add/remove/next interface of ByteHistogram.
struct TreeCounts {
    CodeCounts tree;
    void add(int32_t code) { tree.change(code, 1); }
    void remove(int32_t code) { tree.change(code, -1); }
    int64_t seek(int64_t k) const { return tree.seek(k); }
    int64_t next(int64_t k1) const { return tree.seek(k1); }
};

/// Orders floating values with NaN after every number (and equal to itself); integers as usual.
template <class T> inline bool before(T a, T b) {
    if constexpr (std::is_floating_point_v<T>)
        return !std::isnan(a) && (std::isnan(b) || a < b);
    else
        return a < b;
}

template <class T> const char* quantile(const mat_t<T>* image, int32_t wr, int32_t wc, double q, int32_t boundary,
                                        void* intrp, mat_t<T>* result) {
    MUTILS_TRY(check_window<T>(image, wr, wc, boundary, false, q >= 0 && q <= 1, result));
    Hux::ArenaScope scope;
    Poll poll(intrp);
    const int64_t n = int64_t(wr) * int64_t(wc), count = image->nelem;
    const Rank k = rank_of(n, q);
    // The comparator network cannot order a NaN; images holding one take the ranked path, whose
    // order puts NaN after every number.
    bool nan = false;
    if constexpr (std::is_floating_point_v<T>)
        nan = std::any_of(image->data, image->data + count, [](T v) { return std::isnan(v); });
    if (n <= kNetworkMax && !nan) return quantile_network<T>(image, wr, wc, k, boundary, poll, result);
    if constexpr (std::is_same_v<T, unsigned char>) {
        ByteHistogram h;
        return quantile_histogram<T>(
            image->data, image, wr, wc, k, boundary, (unsigned char)0, h, [](int64_t v) { return (unsigned char)v; },
            poll, result);
    } else if constexpr (sizeof(T) == 2) {
        // 16-bit values are their own codes (signed ones offset by 32768).
        constexpr int32_t offset = std::is_signed_v<T> ? 32768 : 0;
        int32_t* codes = work_array<int32_t>(count);
        for (int64_t i = 0; i < count; ++i) codes[i] = int32_t(image->data[i]) + offset;
        TreeCounts t{CodeCounts(65536)};
        return quantile_histogram<T>(
            codes, image, wr, wc, k, boundary, offset, t, [](int64_t c) { return T(c - offset); }, poll, result);
    } else {
        // Other types: codes are ranks among the image's distinct values (and 0, which rule 0 reads).
        T* values = work_array<T>(count + 1);
        std::copy(image->data, image->data + count, values);
        values[count] = T(0);
        std::sort(values, values + count + 1, before<T>);
        const int64_t distinct =
            std::unique(values, values + count + 1, [](T a, T b) { return !before(a, b) && !before(b, a); }) - values;
        int32_t* codes = work_array<int32_t>(count);
        for (int64_t i = 0; i < count; ++i)
            codes[i] = int32_t(std::lower_bound(values, values + distinct, image->data[i], before<T>) - values);
        const int32_t zero = int32_t(std::lower_bound(values, values + distinct, T(0), before<T>) - values);
        MUTILS_TRY(poll.add(double(count) * std::log2(double(count) + 1)));
        TreeCounts t{CodeCounts(distinct)};
        return quantile_histogram<T>(
            codes, image, wr, wc, k, boundary, zero, t, [values](int64_t c) { return values[c]; }, poll, result);
    }
}

/// The frame of the window filters whose result type selects the computation: the image is
/// brought to the result's element type (integer images into any result, floating ones into
/// floating results) and the typed template runs for that type.
template <class F> const char* univ_window(const _univ_mat* image, void* intrp, _univ_mat* result, F f) {
    if (!image || !result) return msg::null_pointer;
    validate_univ(image);
    validate_univ(result);
    MUTILS_TRY(require_same_size(image, result));
    MUTILS_TRY(require_distinct(result, image));
    if (image->type == MUTIL_DCOMPLEX) return msg::illegal_data_type;
    _univ_mat common;
    MUTILS_TRY(to_common(image, result->type, intrp, &common));
    return univ_call(real_types{}, f, static_cast<const _univ_mat*>(&common), result);
}

}  // namespace
}  // namespace detail

using namespace detail;
using B = _mutil_boundary_type;

#define MUTILS_WINDOW_FILTERS(CODE, T, REC)                                                                         \
    const char* img##CODE##_filter_local_mean(const REC* a, int32_t wr, int32_t wc, B b, void* i, REC* r) {         \
        return local_mean<T>(a, wr, wc, b, i, r);                                                                   \
    }                                                                                                               \
    const char* img##CODE##_filter_local_variance(const REC* a, int32_t wr, int32_t wc, B b, void* i,               \
                                                  _double_mat* r) {                                                 \
        return local_variance<T>(a, wr, wc, b, i, r);                                                               \
    }                                                                                                               \
    const char* img##CODE##_filter_wiener(const REC* a, int32_t wr, int32_t wc, double nu, B b, void* i, REC* r) {  \
        return wiener<T>(a, wr, wc, nu, b, i, r);                                                                   \
    }                                                                                                               \
    const char* img##CODE##_filter_quantile(const REC* a, int32_t wr, int32_t wc, double q, B b, void* i, REC* r) { \
        return quantile<T>(a, wr, wc, q, b, i, r);                                                                  \
    }
MUTILS_WINDOW_FILTERS(u8, unsigned char, _uint8_mat)
MUTILS_WINDOW_FILTERS(u16, uint16_t, _uint16_mat)
MUTILS_WINDOW_FILTERS(s32, int32_t, _sint32_mat)
MUTILS_WINDOW_FILTERS(dbl, double, _double_mat)
#undef MUTILS_WINDOW_FILTERS

const char* imguniv_filter_local_mean(const _univ_mat* a, int32_t wr, int32_t wc, B b, void* i, _univ_mat* r) {
    return univ_window(a, i, r,
                       [&](auto t, auto* ta, auto* tr) { return local_mean<MUTILS_T(t)>(ta, wr, wc, b, i, tr); });
}
const char* imguniv_filter_local_variance(const _univ_mat* a, int32_t wr, int32_t wc, B b, void* i, _univ_mat* r) {
    return univ_call(
        real_types{}, [&](auto t, auto* ta, auto* tr) { return local_variance<MUTILS_T(t)>(ta, wr, wc, b, i, tr); }, a,
        fixed<double>(r));
}
const char* imguniv_filter_wiener(const _univ_mat* a, int32_t wr, int32_t wc, double nu, B b, void* i, _univ_mat* r) {
    return univ_window(a, i, r,
                       [&](auto t, auto* ta, auto* tr) { return wiener<MUTILS_T(t)>(ta, wr, wc, nu, b, i, tr); });
}
const char* imguniv_filter_quantile(const _univ_mat* a, int32_t wr, int32_t wc, double q, B b, void* i, _univ_mat* r) {
    return univ_window(a, i, r,
                       [&](auto t, auto* ta, auto* tr) { return quantile<MUTILS_T(t)>(ta, wr, wc, q, b, i, tr); });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_filter_wiener,
             (const mutils::_univ_mat* a, int32_t wr, int32_t wc, double nu, mutils::_mutil_boundary_type b, void* i,
              mutils::_univ_mat* r),
             (a, wr, wc, nu, b, i, r))
MUTILS_PLAIN(imguniv_filter_quantile,
             (const mutils::_univ_mat* a, int32_t wr, int32_t wc, double q, mutils::_mutil_boundary_type b, void* i,
              mutils::_univ_mat* r),
             (a, wr, wc, q, b, i, r))
