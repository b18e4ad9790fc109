#include "graymap.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <cstring>

#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

// ---- window / level -------------------------------------------------------------------------

struct Window {
    double low, high, scale;
    bool inverted;
    Window(double lo, double hi) : low(lo), high(hi), inverted(lo > hi) {
        if (inverted) std::swap(low, high);
        scale = high == low ? 0.0 : 256.0 / (high - low);
    }
    unsigned char operator()(double x) const {
        if (x <= low) return inverted ? 255 : 0;
        if (x >= high) return inverted ? 0 : 255;
        double f = inverted ? std::floor(256.0 - (x - low) * scale) : std::floor((x - low) * scale);
        if (!(f >= 0.0)) return 0;  // NaN pixels land here too
        return f >= 255.0 ? 255 : static_cast<unsigned char>(f);
    }
};

template <class T> const char* window_level(const mat_t<T>* a, double low, double high, void* intrp, _uint8_mat* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    const Window w(low, high);
    const int64_t n = a->nelem;
    if constexpr (std::is_same_v<T, unsigned char>) {
        unsigned char lut[256];
        for (int v = 0; v < 256; ++v) lut[v] = w(v);
        for (int64_t i = 0; i < n; ++i) r->data[i] = lut[a->data[i]];
    } else {
        for (int64_t i = 0; i < n; ++i) r->data[i] = w(double(a->data[i]));
    }
    return Poll(intrp).add(3.0 * double(n));
}

// ---- automatic threshold: the two criteria ----------------------------------------------------

// Bin positions of the criteria are numbered from 1; `k` is returned 0-based.
const char* between_class_bin(const _uint32_mat* h, int64_t* k) {
    if (h->ncol != 1) return msg::array_size_mismatch;
    const uint32_t* c = h->data;
    const int64_t n = h->nrow;
    int64_t nonempty = 0, last = -1;
    double total = 0, moment = 0;
    for (int64_t i = 0; i < n; ++i)
        if (c[i]) ++nonempty, last = i, total += c[i], moment += double(i + 1) * c[i];
    if (nonempty < 2) return msg::illegal_data_value;
    double w0 = 0, s0 = 0, best = -1;
    auto consider = [&](int64_t j) {
        w0 += c[j];
        s0 += double(j + 1) * c[j];
        if (w0 == 0 || w0 == total) return;
        const double omega = w0 / total, mu0 = s0 / w0, mu1 = (moment - s0) / (total - w0);
        const double score = omega * (1 - omega) * (mu0 - mu1) * (mu0 - mu1);
        if (score > best) best = score, *k = j;  // ties keep the earlier bin
    };
    *k = 0;
    consider(0);
    for (int64_t j = 1; j < last; ++j)
        if (c[j]) consider(j);
    return nullptr;
}

// Half the log-variance of a class from its count, sum and sum of squares (exact numerator, so
// a class of one grey level gives -infinity rather than a rounding NaN).
inline double half_log_variance(int64_t count, __int128 sum, __int128 squares) {
    const __int128 num = squares * count - sum * sum;
    return 0.5 * std::log(double(num) / (double(count) * double(count)));
}

const char* minimum_error_bin(const _uint32_mat* h, int64_t* k) {
    if (h->ncol != 1 || h->nrow < 2) return msg::array_size_mismatch;
    const uint32_t* c = h->data;
    const int64_t n = h->nrow;
    int64_t* ne = work_array<int64_t>(n);
    int64_t m = 0, total = 0;
    __int128 sum = 0, squares = 0;
    for (int64_t i = 0; i < n; ++i) {
        if (!c[i]) continue;
        ne[m++] = i;
        total += c[i];
        sum += __int128(i + 1) * c[i];
        squares += __int128(i + 1) * (i + 1) * c[i];
    }
    if (m < 2) return msg::illegal_data_value;
    if (m == 2) return *k = ne[0], nullptr;
    if (m == 3) return *k = (ne[1] - ne[0] <= ne[2] - ne[1]) ? ne[1] : ne[0], nullptr;
    int64_t n1 = 0;
    __int128 s1 = 0, q1 = 0;
    auto add = [&](int64_t i) {
        n1 += c[i];
        s1 += __int128(i + 1) * c[i];
        q1 += __int128(i + 1) * (i + 1) * c[i];
    };
    add(ne[0]);
    double best = std::numeric_limits<double>::infinity();
    *k = ne[1];
    for (int64_t j = 1; j <= m - 3; ++j) {
        add(ne[j]);
        const int64_t n2 = total - n1;
        const double p1 = double(n1) / double(total), p2 = double(n2) / double(total);
        const double score = p1 * half_log_variance(n1, s1, q1) + p2 * half_log_variance(n2, sum - s1, squares - q1) -
                             p1 * std::log(p1) - p2 * std::log(p2);
        if (score < best) best = score, *k = ne[j];
    }
    return nullptr;
}

// ---- automatic threshold: image statistics ---------------------------------------------------

// Counts of every value of an 8- or 16-bit image. Large 8-bit images are counted by pairs of
// neighbouring pixels (one increment per two pixels in a 65536-entry table, folded afterwards),
// smaller ones in four interleaved tables so that repeated values do not wait on each other.
template <class T> void count_values(const T* p, int64_t n, uint32_t* counts) {
    if constexpr (sizeof(T) == 1) {
        int64_t i = 0;
        uint32_t t[4][256] = {};
        if (n >= (int64_t(1) << 18)) {
            uint32_t* pairs = work_array_zero<uint32_t>(65536);
            for (; i + 8 <= n; i += 8) {
                uint64_t w;
                std::memcpy(&w, p + i, 8);
                ++pairs[w & 0xFFFF], ++pairs[(w >> 16) & 0xFFFF], ++pairs[(w >> 32) & 0xFFFF], ++pairs[w >> 48];
            }
            for (int a = 0; a < 256; ++a) {
                uint32_t row = 0;
                for (int b = 0; b < 256; ++b) row += pairs[a << 8 | b], t[1][b] += pairs[a << 8 | b];
                t[0][a] += row;  // a pair counts once for each of its two values
            }
        }
        for (; i + 8 <= n; i += 8) {
            uint64_t w;
            std::memcpy(&w, p + i, 8);
            ++t[0][w & 255], ++t[1][(w >> 8) & 255], ++t[2][(w >> 16) & 255], ++t[3][(w >> 24) & 255];
            ++t[0][(w >> 32) & 255], ++t[1][(w >> 40) & 255], ++t[2][(w >> 48) & 255], ++t[3][w >> 56];
        }
        for (; i < n; ++i) ++t[0][p[i]];
        for (int v = 0; v < 256; ++v) counts[v] = t[0][v] + t[1][v] + t[2][v] + t[3][v];
    } else {
        std::memset(counts, 0, sizeof(uint32_t) << (8 * sizeof(T)));
        for (int64_t i = 0; i < n; ++i) ++counts[p[i]];
    }
}

// Minimum, maximum and the histogram over [minimum, maximum] (lower edge included) of an 8- or
// 16-bit image, from its value counts: each value lands in the bin that the histogram rule
// (k = ceil((x - a) * bins / (b - a)) - 1) gives it, the minimum in the first bin and the
// maximum in the last (the product can round past the last bin's edge).
template <class T> const char* integer_statistics(const mat_t<T>* a, double* lo, double* hi, _uint32_mat* h) {
    constexpr int64_t values = int64_t(1) << (8 * sizeof(T));
    uint32_t* counts = work_array<uint32_t>(values);
    count_values<T>(a->data, a->nelem, counts);
    int64_t first = 0, last = values - 1;
    while (!counts[first]) ++first;
    while (!counts[last]) --last;
    *lo = double(first), *hi = double(last);
    if (first == last) return msg::illegal_data_value;
    std::fill(h->data, h->data + h->nrow, 0u);
    const double factor = double(h->nrow) / (*hi - *lo);
    for (int64_t v = first; v <= last; ++v) {
        if (!counts[v]) continue;
        const int64_t k = v == first  ? 0
                          : v == last ? h->nrow - 1
                                      : int64_t(std::ceil((double(v) - *lo) * factor)) - 1;
        if (k >= 0 && k < h->nrow) h->data[k] += counts[v];
    }
    return nullptr;
}

// 0 for pixels at or below the threshold, 1 above it (integer pixels: at or below its floor).
template <class T> MUTILS_CLONES void split_at(const T* p, int64_t n, T level, T* r) {
    for (int64_t i = 0; i < n; ++i) r[i] = p[i] > level ? T(1) : T(0);
}

template <class T>
const char* threshold_auto(const mat_t<T>* a, int32_t bins, _img_thresh_type criterion, void* intrp, mat_t<T>* r,
                           double* threshold) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    if (!threshold) return msg::null_pointer;
    if (bins < 1) bins = 100;
    _uint32_mat h = work_matrix<uint32_t>(bins, 1);
    double lo, hi;
    MUTILS_TRY(integer_statistics<T>(a, &lo, &hi, &h));
    Poll poll(intrp);
    MUTILS_TRY(poll.add(3.0 * double(a->nelem)));
    int64_t k = 0;
    MUTILS_TRY(criterion == IMG_THRESH_BETWEEN_CLASS ? between_class_bin(&h, &k) : minimum_error_bin(&h, &k));
    MUTILS_TRY(poll.add(15.0 * bins));
    *threshold = lo + (hi - lo) * double(k + 1) / double(bins);
    split_at<T>(a->data, a->nelem, T(std::floor(*threshold)), r->data);
    return poll.add(3.0 * double(a->nelem));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_WINDOW(CODE, T)                                                                          \
    const char* img##CODE##_map_window_level(const mat_t<T>* a, double low, double high, void* intrp,  \
                                             _uint8_mat* r) {                                           \
        return window_level<T>(a, low, high, intrp, r);                                                 \
    }
MUTILS_WINDOW(u8, unsigned char)
MUTILS_WINDOW(u16, uint16_t)
MUTILS_WINDOW(u32, uint32_t)
MUTILS_WINDOW(s32, int32_t)
MUTILS_WINDOW(dbl, double)
#undef MUTILS_WINDOW

#define MUTILS_THRESHOLD(CODE, T)                                                                         \
    const char* img##CODE##_threshold_auto(const mat_t<T>* a, int32_t bins, _img_thresh_type criterion,     \
                                           void* intrp, mat_t<T>* r, double* threshold) {                   \
        return threshold_auto<T>(a, bins, criterion, intrp, r, threshold);                                  \
    }
MUTILS_THRESHOLD(u8, unsigned char)
MUTILS_THRESHOLD(u16, uint16_t)
#undef MUTILS_THRESHOLD

const char* imguniv_threshold_auto(const _univ_mat* a, int32_t bins, _img_thresh_type criterion, void* intrp,
                                   _univ_mat* r, double* threshold) {
    if (!a || !r) return msg::null_pointer;
    if (r->type != a->type) return msg::illegal_data_type;
    return dispatch(a->type, types<unsigned char, uint16_t>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return threshold_auto<T>(as<T>(a), bins, criterion, intrp, as<T>(r), threshold);
    });
}

const char* imguniv_map_window_level(const _univ_mat* a, double low, double high, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    if (r->type != MUTIL_UINT8) return msg::illegal_data_type;
    return dispatch(a->type, types<unsigned char, uint16_t, uint32_t, int32_t, double>{}, [&](auto t) {
        using T = typename decltype(t)::type;
        return window_level<T>(as<T>(a), low, high, intrp, as<unsigned char>(r));
    });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_threshold_auto,
             (const mutils::_univ_mat* a, int32_t bins, mutils::_img_thresh_type c, void* i, mutils::_univ_mat* r,
              double* t),
             (a, bins, c, i, r, t))
