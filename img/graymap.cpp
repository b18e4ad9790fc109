#include "graymap.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <cstring>

#include "../cls/quantize.h"
#include "../mat/histogram.h"
#include "../mat/sort.h"
#include "../mat/stats.h"
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

// Counts of the bytes p[0, n) added to `counts`. Eight bytes are read at a time and counted in
// four interleaved tables so that repeated values do not wait on each other (a 65536-entry
// table of neighbouring pairs was tried: its misses cost more than it saves).
void count_bytes(const unsigned char* p, int64_t n, uint32_t* counts) {
    int64_t i = 0;
    uint32_t t[4][256] = {};
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, p + i, 8);
        ++t[0][w & 255], ++t[1][(w >> 8) & 255], ++t[2][(w >> 16) & 255], ++t[3][(w >> 24) & 255];
        ++t[0][(w >> 32) & 255], ++t[1][(w >> 40) & 255], ++t[2][(w >> 48) & 255], ++t[3][w >> 56];
    }
    for (; i < n; ++i) ++t[0][p[i]];
    for (int v = 0; v < 256; ++v) counts[v] += t[0][v] + t[1][v] + t[2][v] + t[3][v];
}

// Counts of every value of an 8- or 16-bit image, on the calling thread.
template <class T> void count_values(const T* p, int64_t n, uint32_t* counts) {
    std::memset(counts, 0, sizeof(uint32_t) << (8 * sizeof(T)));
    if constexpr (sizeof(T) == 1) {
        count_bytes(p, n, counts);
    } else {
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
        const int64_t k = v == first ? 0 : v == last ? h->nrow - 1 : int64_t(std::ceil((double(v) - *lo) * factor)) - 1;
        if (k >= 0 && k < h->nrow) h->data[k] += counts[v];
    }
    return nullptr;
}

// 0 for pixels at or below the threshold, 1 above it (integer pixels: at or below its floor).
template <class T> MUTILS_CLONES void split_at(const T* p, int64_t n, T level, T* r) {
    for (int64_t i = 0; i < n; ++i) r[i] = p[i] > level ? T(1) : T(0);
}

// Minimum, maximum and histogram of a double image (NaNs are skipped by both).
const char* double_statistics(const _double_mat* a, void* intrp, double* lo, double* hi, _uint32_mat* h) {
    MUTILS_TRY(matdbl_range(a, intrp, lo, hi));
    if (!(*lo < *hi)) return msg::illegal_data_value;
    return matdbl_histogram(a, *lo, *hi, 1, intrp, h);
}

template <class T> const char* threshold_auto(const mat_t<T>* a, int32_t bins, _img_thresh_type criterion, void* intrp,
                                              mat_t<T>* r, double* threshold) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    if (!threshold) return msg::null_pointer;
    if (bins < 1) bins = 100;
    _uint32_mat h = work_matrix<uint32_t>(bins, 1);
    double lo, hi;
    if constexpr (std::is_same_v<T, double>)
        MUTILS_TRY(double_statistics(a, intrp, &lo, &hi, &h));
    else
        MUTILS_TRY(integer_statistics<T>(a, &lo, &hi, &h));
    Poll poll(intrp);
    MUTILS_TRY(poll.add(3.0 * double(a->nelem)));
    int64_t k = 0;
    MUTILS_TRY(criterion == IMG_THRESH_BETWEEN_CLASS ? between_class_bin(&h, &k) : minimum_error_bin(&h, &k));
    MUTILS_TRY(poll.add(15.0 * bins));
    *threshold = lo + (hi - lo) * double(k + 1) / double(bins);
    split_at<T>(a->data, a->nelem, T(std::is_integral_v<T> ? std::floor(*threshold) : *threshold), r->data);
    return poll.add(3.0 * double(a->nelem));
}

// ---- inversion --------------------------------------------------------------------------------

// Every pixel x becomes max - x + min: the range is kept and reversed (NaNs stay NaN).
template <class T> const char* invert(const mat_t<T>* a, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    T lo{}, hi{};
    if constexpr (std::is_same_v<T, double>)
        MUTILS_TRY(matdbl_range(a, intrp, &lo, &hi));
    else if constexpr (std::is_same_v<T, uint16_t>)
        MUTILS_TRY(matu16_range(a, intrp, &lo, &hi));
    else
        MUTILS_TRY(matu8_range(a, intrp, &lo, &hi));
    const int64_t n = a->nelem;
    if constexpr (std::is_same_v<T, double>) {
        for (int64_t i = 0; i < n; ++i) r->data[i] = hi - a->data[i] + lo;
    } else {
        const int32_t sum = int32_t(hi) + int32_t(lo);  // min <= x <= max keeps the result in range
        for (int64_t i = 0; i < n; ++i) r->data[i] = T(sum - int32_t(a->data[i]));
    }
    return Poll(intrp).add(3.0 * double(n));
}

// ---- discrete levels --------------------------------------------------------------------------

using level_types = types<unsigned char, uint16_t, int16_t, uint32_t, int32_t, float, double>;

// Replaces every pixel by the nearest of the ascending `levels` (the index the linear scalar
// quantizer gives it). 8- and 16-bit images large enough quantize the table of every value of
// their type once and look the pixels up in it.
template <class T> const char* map_to_levels(const mat_t<T>* a, const mat_t<T>* levels, void* intrp, mat_t<T>* r) {
    const int64_t n = a->nelem;
    if constexpr (sizeof(T) <= 2 && std::is_integral_v<T>) {
        constexpr int64_t values = int64_t(1) << (8 * sizeof(T));
        if (n > values) {
            using U = std::make_unsigned_t<T>;
            T* table = work_array<T>(values);
            for (int64_t v = 0; v < values; ++v) table[U(v)] = T(U(v));  // indexed by the bit pattern
            _univ_mat column{int32_t(values), 1, int32_t(values), table, elem<T>::tag};
            _univ_mat lv{levels->nrow, 1, levels->nelem, levels->data, elem<T>::tag};
            _uint32_mat idx = work_matrix<uint32_t>(int32_t(values), 1);
            _univ_mat ui{idx.nrow, 1, idx.nelem, idx.data, MUTIL_UINT32};
            MUTILS_TRY(clsuniv_scalar_quantize_linear(&column, &lv, intrp, &ui));
            for (int64_t i = 0; i < n; ++i) r->data[i] = levels->data[idx.data[U(a->data[i])]];
            return Poll(intrp).add(3.0 * double(n));
        }
    }
    _univ_mat column{int32_t(n), 1, int32_t(n), a->data, elem<T>::tag};
    _univ_mat lv{levels->nrow, 1, levels->nelem, levels->data, elem<T>::tag};
    _uint32_mat idx = work_matrix<uint32_t>(int32_t(n), 1);
    _univ_mat ui{idx.nrow, 1, idx.nelem, idx.data, MUTIL_UINT32};
    MUTILS_TRY(clsuniv_scalar_quantize_linear(&column, &lv, intrp, &ui));
    for (int64_t i = 0; i < n; ++i) r->data[i] = levels->data[idx.data[i]];
    return Poll(intrp).add(3.0 * double(n));
}

// L levels evenly spread over [min, max], both ends included (integer types: rounded to the
// nearest integer); a single level sits in the middle of the range.
template <class T> mat_t<T> uniform_levels(double lo, double hi, int32_t count) {
    mat_t<T> lv = work_matrix<T>(count, 1);
    for (int32_t k = 0; k < count; ++k) {
        double v = count == 1 ? lo + (hi - lo) / 2 : lo + (hi - lo) * double(k) / double(count - 1);
        if constexpr (std::is_integral_v<T>) v = std::floor(v + 0.5);
        lv.data[k] = T(std::min(std::max(v, lo), hi));
    }
    return lv;
}

// ---- histogram equalisation -------------------------------------------------------------------

using equalize_types = types<unsigned char, uint16_t, double>;
constexpr int32_t kEqualizeBins = 65536;  // resolution of the histogram of double images

// Bin of every pixel (the value itself for 8- and 16-bit images; for double images the bin of a
// 65536-bin histogram over [min, max], minimum in the first bin), with -1 for NaN pixels.
template <class T> int32_t bin_of(T x, double lo, double factor) {
    if constexpr (std::is_integral_v<T>) {
        return int32_t(x);
    } else {
        if (std::isnan(x)) return -1;
        const int64_t k = int64_t(std::ceil((x - lo) * factor)) - 1;
        return int32_t(std::min<int64_t>(std::max<int64_t>(k, 0), kEqualizeBins - 1));
    }
}

// The largest value of the equalised levels: the whole range of 8- and 16-bit types, 1 for double.
template <class T> constexpr double top_level() {
    return std::is_integral_v<T> ? double(std::numeric_limits<T>::max()) : 1.0;
}

template <class T> const char* equalize(const mat_t<T>* a, int32_t levels, void* intrp, mat_t<T>* r) {
    validate(a);
    validate(r);
    MUTILS_TRY(require_same_size(a, r));
    const int64_t n = a->nelem;
    const int32_t bins = std::is_integral_v<T> ? int32_t(int64_t(1) << (8 * sizeof(T))) : kEqualizeBins;
    double lo = 0, hi = 0, factor = 0;
    if constexpr (!std::is_integral_v<T>) {
        MUTILS_TRY(matdbl_range(a, intrp, &lo, &hi));
        factor = hi > lo ? double(kEqualizeBins) / (hi - lo) : 0.0;
    }
    uint64_t* cumulative = work_array_zero<uint64_t>(bins);
    for (int64_t i = 0; i < n; ++i) {
        const int32_t k = bin_of<T>(a->data[i], lo, factor);
        if (k >= 0) ++cumulative[k];
    }
    Poll poll(intrp);
    MUTILS_TRY(poll.add(3.0 * double(n)));
    int32_t first = 0;
    while (first < bins - 1 && !cumulative[first]) ++first;
    for (int32_t k = 1; k < bins; ++k) cumulative[k] += cumulative[k - 1];
    // Level of bin k: round((C(k) - C(first)) / (N - C(first)) x (L - 1)), C the cumulative count,
    // so the lowest occupied bin gets level 0 and the highest level L - 1; output value
    // level x top / (L - 1).
    T* value = work_array<T>(bins);
    const double base = double(cumulative[first]), spread = double(cumulative[bins - 1]) - base;
    for (int32_t k = 0; k < bins; ++k) {
        const double t =
            spread > 0 && cumulative[k] > cumulative[first] ? (double(cumulative[k]) - base) / spread : 0.0;
        const double level = levels > 1 ? std::floor(t * (levels - 1) + 0.5) : 0.0;
        double v = levels > 1 ? level * top_level<T>() / double(levels - 1) : 0.0;
        if constexpr (std::is_integral_v<T>) v = std::floor(v + 0.5);
        value[k] = T(v);
    }
    for (int64_t i = 0; i < n; ++i) {
        const int32_t k = bin_of<T>(a->data[i], lo, factor);
        r->data[i] = k >= 0 ? value[k] : a->data[i];
    }
    return poll.add(3.0 * double(n));
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_WINDOW(CODE, T)                                                                                         \
    const char* img##CODE##_map_window_level(const mat_t<T>* a, double low, double high, void* intrp, _uint8_mat* r) { \
        return window_level<T>(a, low, high, intrp, r);                                                                \
    }
MUTILS_WINDOW(u8, unsigned char)
MUTILS_WINDOW(u16, uint16_t)
MUTILS_WINDOW(u32, uint32_t)
MUTILS_WINDOW(s32, int32_t)
MUTILS_WINDOW(dbl, double)
#undef MUTILS_WINDOW

#define MUTILS_THRESHOLD(CODE, T)                                                                                    \
    const char* img##CODE##_threshold_auto(const mat_t<T>* a, int32_t bins, _img_thresh_type criterion, void* intrp, \
                                           mat_t<T>* r, double* threshold) {                                         \
        return threshold_auto<T>(a, bins, criterion, intrp, r, threshold);                                           \
    }
MUTILS_THRESHOLD(u8, unsigned char)
MUTILS_THRESHOLD(u16, uint16_t)

MUTILS_THRESHOLD(dbl, double)

const char* imguniv_threshold_auto(const _univ_mat* a, int32_t bins, _img_thresh_type criterion, void* intrp,
                                   _univ_mat* r, double* threshold) {
    return univ_call(types<unsigned char, uint16_t, double>{}, with(a, r), [&](auto t, auto* ta, auto* tr) {
        return threshold_auto<MUTILS_T(t)>(ta, bins, criterion, intrp, tr, threshold);
    });
}
#undef MUTILS_THRESHOLD

#define MUTILS_INVERT(CODE, T) \
    const char* img##CODE##_map_invert(const mat_t<T>* a, void* intrp, mat_t<T>* r) { return invert<T>(a, intrp, r); }
MUTILS_INVERT(u8, unsigned char)
MUTILS_INVERT(u16, uint16_t)
MUTILS_INVERT(dbl, double)
#undef MUTILS_INVERT

const char* imguniv_map_invert(const _univ_mat* a, void* intrp, _univ_mat* r) {
    return univ_call(types<unsigned char, uint16_t, double>{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return invert<MUTILS_T(t)>(ta, intrp, tr); });
}

const char* imguniv_map_discrete(const _univ_mat* a, const _univ_mat* levels, void* intrp, _univ_mat* r) {
    if (!a || !levels || !r) return msg::null_pointer;
    validate_univ(a);
    validate_univ(levels);
    validate_univ(r);
    if (r->type != a->type) return msg::illegal_data_type;
    return dispatch(a->type, level_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        if (levels->ncol != 1) return msg::array_size_mismatch;
        _univ_mat common;
        MUTILS_TRY(to_common(levels, a->type, intrp, &common));
        mat_t<T> sorted = work_matrix<T>(common.nrow, 1);
        _univ_mat us{sorted.nrow, 1, sorted.nelem, sorted.data, a->type};
        MUTILS_TRY(matuniv_sort(&common, intrp, &us));
        MUTILS_TRY(require_same_size(a, r));
        return map_to_levels<T>(as<T>(a), &sorted, intrp, as<T>(r));
    });
}

const char* imguniv_map_discrete_uniform(const _univ_mat* a, int32_t count, void* intrp, _univ_mat* r) {
    if (!a || !r) return msg::null_pointer;
    validate_univ(a);
    validate_univ(r);
    if (r->type != a->type) return msg::illegal_data_type;
    return dispatch(a->type, level_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        if (count < 1) return msg::illegal_data_value;
        MUTILS_TRY(require_same_size(a, r));
        _univ_scalar lo, hi;
        MUTILS_TRY(matuniv_range(a, intrp, &lo, &hi));
        const mat_t<T> lv = uniform_levels<T>(double(scalar_get<T>(lo)), double(scalar_get<T>(hi)), count);
        return map_to_levels<T>(as<T>(a), &lv, intrp, as<T>(r));
    });
}

const char* imguniv_histogram_equalize(const _univ_mat* a, int32_t levels, void* intrp, _univ_mat* r) {
    if (levels < 1) return msg::illegal_data_value;
    return univ_call(equalize_types{}, with(a, r),
                     [&](auto t, auto* ta, auto* tr) { return equalize<MUTILS_T(t)>(ta, levels, intrp, tr); });
}

const char* imguniv_map_window_level(const _univ_mat* a, double low, double high, void* intrp, _univ_mat* r) {
    return univ_call(types<unsigned char, uint16_t, uint32_t, int32_t, double>{}, with(a, fixed<unsigned char>(r)),
                     [&](auto t, auto* ta, auto* tr) { return window_level<MUTILS_T(t)>(ta, low, high, intrp, tr); });
}

}  // namespace mutils

MUTILS_PLAIN(imguniv_threshold_auto,
             (const mutils::_univ_mat* a, int32_t bins, mutils::_img_thresh_type c, void* i, mutils::_univ_mat* r,
              double* t),
             (a, bins, c, i, r, t))
MUTILS_PLAIN(imguniv_map_invert, (const mutils::_univ_mat* a, void* i, mutils::_univ_mat* r), (a, i, r))
MUTILS_PLAIN(imguniv_map_discrete,
             (const mutils::_univ_mat* a, const mutils::_univ_mat* levels, void* i, mutils::_univ_mat* r),
             (a, levels, i, r))
