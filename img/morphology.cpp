#include "morphology.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "../core/detail.h"
#include "detail_bits.h"
#include "detail_pixels.h"

namespace mutils {
namespace detail {
namespace {

using morph_types = types<unsigned char, uint16_t, int32_t, double>;

// ---- binary erosion and dilation on bit images ---------------------------------------------

/// A horizontal run of SE members: row i, columns a .. a + len - 1.
struct MemberRun {
    int32_t i, a, len;
};

std::vector<MemberRun> member_runs(const _uint8_mat* se) {
    std::vector<MemberRun> runs;
    for (int32_t i = 0; i < se->nrow; ++i) {
        const unsigned char* row = se->data + int64_t(i) * se->ncol;
        for (int32_t j = 0; j < se->ncol;) {
            if (!row[j]) {
                ++j;
                continue;
            }
            int32_t a = j;
            while (j < se->ncol && row[j]) ++j;
            runs.push_back({i, a, j - a});
        }
    }
    // Runs of one length share one horizontal pass.
    std::stable_sort(runs.begin(), runs.end(), [](const MemberRun& x, const MemberRun& y) { return x.len < y.len; });
    return runs;
}

/// dst(x) = op over t < len of src(x + t), row by row, by doubling spans.
template <class Op> void run_combine(const BitImage& src, int32_t len, BitImage& dst, bitword* pow) {
    const int32_t w = src.words;
    const bitword identity = std::is_same_v<Op, BitAnd> ? ~bitword(0) : 0;
    for (int64_t r = 0; r < src.nrow; ++r) {
        bitword* out = dst.row(r);
        std::fill(out, out + w, identity);
        std::copy(src.row(r), src.row(r) + w, pow);
        int64_t span = 1, covered = 0;
        for (int32_t n = len; n;) {
            if (n & 1) {
                combine_shifted<Op>(out, w, pow, w, covered);
                covered += span;
            }
            n >>= 1;
            if (n) {
                combine_shifted<Op>(pow, w, pow, w, span);  // ascending in-place read of words >= k
                span *= 2;
            }
        }
    }
}

/// Erosion (AND of members, outside = background) or dilation (OR of reflected members) of src.
template <bool Dilate>
void bit_morph(const BitImage& src, const std::vector<MemberRun>& runs, int64_t orow, int64_t ocol, BitImage& acc) {
    using Op = std::conditional_t<Dilate, BitOr, BitAnd>;
    const int32_t w = src.words;
    std::fill(acc.data, acc.data + int64_t(acc.nrow) * w, Dilate ? bitword(0) : ~bitword(0));
    // A dilation window that starts left of the image can still reach into it: its runs are
    // taken over rows widened by `pad` zero columns on the left (erosion windows that leave the
    // image are background anyway).
    int32_t pad = 0;
    if (Dilate)
        for (const MemberRun& run : runs) pad = std::max(pad, run.len - 1);
    BitImage ext = src;
    if (pad) {
        ext = bit_image(src.nrow, src.ncol + pad);
        std::fill(ext.data, ext.data + int64_t(ext.nrow) * ext.words, bitword(0));
        for (int64_t r = 0; r < src.nrow; ++r) combine_shifted<BitOr>(ext.row(r), ext.words, src.row(r), w, -pad);
    }
    BitImage h = bit_image(ext.nrow, ext.ncol);
    bitword* pow = work_array<bitword>(ext.words);
    int32_t have = 0;
    for (const MemberRun& run : runs) {
        if (run.len != have) {
            run_combine<Op>(ext, run.len, h, pow);
            have = run.len;
        }
        int64_t dr = Dilate ? orow - run.i : run.i - orow;
        int64_t d = Dilate ? ocol - run.a - run.len + 1 + pad : run.a - ocol;
        for (int64_t r = 0; r < src.nrow; ++r) {
            int64_t sr = r + dr;
            if (sr < 0 || sr >= src.nrow) {
                if (!Dilate) std::fill(acc.row(r), acc.row(r) + w, bitword(0));
                continue;
            }
            combine_shifted<Op>(acc.row(r), w, h.row(sr), h.words, d);
        }
    }
    clear_tails(acc);
}

template <class T>
const char* binary_checks(const mat_t<T>* image, const _uint8_mat* se, T fg, T bg, const mat_t<T>* result) {
    validate(image);
    validate(se);
    validate(result);
    MUTILS_TRY(require_same_size(image, result));
    MUTILS_TRY(require_distinct(result, image));
    MUTILS_TRY(require_distinct(result, se));
    return fg == bg ? msg::illegal_data_value : nullptr;
}

/// The four operations of the binary and the grey-scale families: erode, dilate, open (erode,
/// dilate) and close (dilate, erode).
enum class MorphOp { erode, dilate, open, close };

template <class T, MorphOp Op> const char* binary_morph(const mat_t<T>* image, const _uint8_mat* se, int64_t orow,
                                                        int64_t ocol, T fg, T bg, mat_t<T>* result) {
    MUTILS_TRY(binary_checks<T>(image, se, fg, bg, result));
    Hux::ArenaScope scope;  // bit images and the intermediate of open / close end with the call
    std::vector<MemberRun> runs = member_runs(se);
    BitImage src = bit_image(image->nrow, image->ncol);
    pack_equal(image->data, fg, src);
    BitImage a = bit_image(image->nrow, image->ncol);
    if constexpr (Op == MorphOp::erode) {
        bit_morph<false>(src, runs, orow, ocol, a);
    } else if constexpr (Op == MorphOp::dilate) {
        bit_morph<true>(src, runs, orow, ocol, a);
    } else {
        // Both steps write fg / bg, so the intermediate's foreground is exactly its bit image.
        constexpr bool first_dilates = Op == MorphOp::close;
        BitImage mid = bit_image(image->nrow, image->ncol);
        bit_morph<first_dilates>(src, runs, 0, 0, mid);
        bit_morph<!first_dilates>(mid, runs, 0, 0, a);
    }
    unpack_bits(a, fg, bg, result->data);
    return nullptr;
}

template <MorphOp Op> const char* binary_univ(const _univ_mat* image, const _univ_mat* se, int64_t orow, int64_t ocol,
                                              const _univ_scalar& fg, const _univ_scalar& bg, _univ_mat* result) {
    return univ_call(morph_types{}, with(image, fixed<unsigned char>(se), result),
                     [&](auto t, auto* ti, auto* ts, auto* tr) -> const char* {
                         using T = MUTILS_T(t);
                         if (fg.type != elem<T>::tag || bg.type != elem<T>::tag) return msg::illegal_data_type;
                         return binary_morph<T, Op>(ti, ts, orow, ocol, scalar_get<T>(fg), scalar_get<T>(bg), tr);
                     });
}

// ---- grey-scale erosion and dilation --------------------------------------------------------

template <class T, bool Max> struct Extremum {
    static T combine(T a, T s) { return T(Max ? wrap_t<T>(a) + wrap_t<T>(s) : wrap_t<T>(a) - wrap_t<T>(s)); }
    /// The candidate w replaces v only when strictly better (NaN never replaces, never is replaced).
    static T pick(T w, T v) { return Max ? (w > v ? w : v) : (w < v ? w : v); }
};

template <class T, bool Max> MUTILS_CLONES void tap_first(T* out, const T* p, T s, int32_t n) {
    for (int32_t c = 0; c < n; ++c) out[c] = Extremum<T, Max>::combine(p[c], s);
}

template <class T, bool Max> MUTILS_CLONES void tap_next(T* out, const T* p, T s, int32_t n) {
    for (int32_t c = 0; c < n; ++c) out[c] = Extremum<T, Max>::pick(Extremum<T, Max>::combine(p[c], s), out[c]);
}

template <class T, bool Max> MUTILS_CLONES void pick_rows(T* out, const T* p, int32_t n) {
    for (int32_t c = 0; c < n; ++c) out[c] = Extremum<T, Max>::pick(p[c], out[c]);
}

/// The image with every row extended by `left` and `right` columns under the border rule, and
/// one more row of zeros (the outside row of the zero rule).
template <class T> struct PaddedImage {
    int64_t nrow, width, left;
    T* data;
    int32_t border;
    const T* row(int64_t r) const {
        if (r < 0 || r >= nrow) {
            if (border == MUTIL_BOUNDARY_ZERO) return data + nrow * width;
            r = r < 0 ? 0 : nrow - 1;
        }
        return data + r * width;
    }
};

template <class T> PaddedImage<T> pad_image(const mat_t<T>* image, int64_t left, int64_t right, int32_t border) {
    PaddedImage<T> p{image->nrow, image->ncol + left + right, left, nullptr, border};
    p.data = work_array<T>((p.nrow + 1) * p.width);
    for (int64_t r = 0; r < p.nrow; ++r) {
        const T* src = image->data + r * image->ncol;
        T* dst = p.data + r * p.width;
        T lo = border == MUTIL_BOUNDARY_ZERO ? T{} : src[0];
        T hi = border == MUTIL_BOUNDARY_ZERO ? T{} : src[image->ncol - 1];
        std::fill(dst, dst + left, lo);
        std::copy(src, src + image->ncol, dst + left);
        std::fill(dst + left + image->ncol, dst + p.width, hi);
    }
    std::fill(p.data + p.nrow * p.width, p.data + (p.nrow + 1) * p.width, T{});
    return p;
}

/// Flat integer elements: extrema do not depend on the order of the taps, so each distinct
/// column offset is taken once per image row (row pass) and each distinct row offset once per
/// output row (column pass). Row-pass rows live in a ring of as many rows as the element spans,
/// filled as the output rows advance, so both passes stay in cache and the image is not padded.
template <class T, bool Max> void flat_morph(const mat_t<T>* image, std::vector<int64_t> dcs, std::vector<int64_t> drs,
                                             T s, int32_t border, mat_t<T>* result) {
    using X = Extremum<T, Max>;
    std::sort(dcs.begin(), dcs.end());
    dcs.erase(std::unique(dcs.begin(), dcs.end()), dcs.end());
    std::sort(drs.begin(), drs.end());
    drs.erase(std::unique(drs.begin(), drs.end()), drs.end());
    const int64_t nrow = image->nrow, n = image->ncol;
    const bool zero = border == MUTIL_BOUNDARY_ZERO;
    // Columns whose taps all fall inside the row; the others read the border rule.
    const int64_t cl = std::min(n, -std::min<int64_t>(dcs.front(), 0));
    const int64_t cr = std::max(cl, n - std::max<int64_t>(dcs.back(), 0));
    auto outside = [&](const T* p, int64_t c) { return c >= 0 && c < n ? p[c] : zero ? T{} : p[c < 0 ? 0 : n - 1]; };
    auto row_pass = [&](int64_t q, T* h) {
        const T* p = image->data + q * n;
        auto edge = [&](int64_t c) {
            T v = X::combine(outside(p, c + dcs[0]), s);
            for (std::size_t k = 1; k < dcs.size(); ++k) v = X::pick(X::combine(outside(p, c + dcs[k]), s), v);
            h[c] = v;
        };
        for (int64_t c = 0; c < cl; ++c) edge(c);
        for (int64_t c = cr; c < n; ++c) edge(c);
        if (cl < cr) {
            tap_first<T, Max>(h + cl, p + cl + dcs[0], s, int32_t(cr - cl));
            for (std::size_t k = 1; k < dcs.size(); ++k) tap_next<T, Max>(h + cl, p + cl + dcs[k], s, int32_t(cr - cl));
        }
    };
    const int64_t span = drs.back() - drs.front() + 1;
    const int64_t slots = std::min(span, nrow);
    T* ring = work_array<T>((slots + 1) * n);
    int64_t* held = work_array<int64_t>(slots);
    std::fill(held, held + slots, int64_t(-1));
    T* empty = ring + slots * n;  // the row pass of an outside row of zeros
    std::fill(empty, empty + n, X::combine(T{}, s));
    auto row = [&](int64_t q) -> const T* {
        if (q < 0 || q >= nrow) {
            if (zero) return empty;
            q = q < 0 ? 0 : nrow - 1;
        }
        T* h = ring + (q % slots) * n;
        if (held[q % slots] != q) row_pass(q, h), held[q % slots] = q;
        return h;
    };
    for (int64_t r = 0; r < nrow; ++r) {
        T* out = result->data + r * n;
        const T* first = row(r + drs[0]);
        std::copy(first, first + n, out);
        for (std::size_t k = 1; k < drs.size(); ++k) pick_rows<T, Max>(out, row(r + drs[k]), int32_t(n));
    }
}

/// Erosion (Max false) or dilation (Max true) with SE offsets relative to the origin.
template <class T, bool Max> void grey_morph(const mat_t<T>* image, const mat_t<T>* se, int64_t orow, int64_t ocol,
                                             int32_t border, mat_t<T>* result) {
    struct Tap {
        int64_t dr, dc;
        T s;
    };
    const int64_t nrow = image->nrow, ncol = image->ncol;
    // Taps in the order of the definition: element (0, 0) first, then the others row by row.
    // Offsets past the image read the same as the first outside position, so they are clamped.
    std::vector<Tap> taps;
    taps.reserve(std::size_t(se->nelem));
    for (int64_t i = 0; i < se->nrow; ++i)
        for (int64_t j = 0; j < se->ncol; ++j) {
            int64_t dr = Max ? orow - i : i - orow, dc = Max ? ocol - j : j - ocol;
            dr = std::clamp<int64_t>(dr, -nrow, nrow);
            dc = std::clamp<int64_t>(dc, -ncol, ncol);
            taps.push_back({dr, dc, se->data[i * se->ncol + j]});
        }
    Hux::ArenaScope scope;
    if constexpr (is_integer_elem<T>) {
        bool flat = std::all_of(taps.begin(), taps.end(), [&](const Tap& t) { return t.s == taps[0].s; });
        if (flat && taps.size() > 1) {
            std::vector<int64_t> dcs, drs;
            for (const Tap& t : taps) dcs.push_back(t.dc), drs.push_back(t.dr);
            return flat_morph<T, Max>(image, std::move(dcs), std::move(drs), taps[0].s, border, result);
        }
    }
    int64_t cmin = 0, cmax = 0;
    for (const Tap& t : taps) cmin = std::min(cmin, t.dc), cmax = std::max(cmax, t.dc);
    PaddedImage<T> pad = pad_image<T>(image, -cmin, cmax, border);
    const int32_t n = image->ncol;
    for (int64_t r = 0; r < nrow; ++r) {
        T* out = result->data + r * ncol;
        const Tap& first = taps[0];
        tap_first<T, Max>(out, pad.row(r + first.dr) + pad.left + first.dc, first.s, n);
        for (std::size_t k = 1; k < taps.size(); ++k)
            tap_next<T, Max>(out, pad.row(r + taps[k].dr) + pad.left + taps[k].dc, taps[k].s, n);
    }
}

template <class T>
const char* grey_checks(const mat_t<T>* image, const mat_t<T>* se, int32_t border, const mat_t<T>* result) {
    validate(image);
    validate(se);
    validate(result);
    MUTILS_TRY(require_same_size(image, result));
    MUTILS_TRY(require_distinct(result, image));
    MUTILS_TRY(require_distinct(result, se));
    return (border == MUTIL_BOUNDARY_ZERO || border == MUTIL_BOUNDARY_CONTINUE) ? nullptr : msg::illegal_data_value;
}

template <class T, MorphOp Op> const char* grey(const mat_t<T>* image, const mat_t<T>* se, int64_t orow, int64_t ocol,
                                                int32_t border, mat_t<T>* result) {
    MUTILS_TRY(grey_checks<T>(image, se, border, result));
    if constexpr (Op == MorphOp::erode) {
        grey_morph<T, false>(image, se, orow, ocol, border, result);
    } else if constexpr (Op == MorphOp::dilate) {
        grey_morph<T, true>(image, se, orow, ocol, border, result);
    } else {
        Hux::ArenaScope scope;  // the intermediate image ends with the call
        mat_t<T> mid{image->nrow, image->ncol, image->nelem, work_array<T>(image->nelem)};
        grey_morph<T, Op == MorphOp::close>(image, se, 0, 0, border, &mid);
        grey_morph<T, Op != MorphOp::close>(&mid, se, 0, 0, border, result);
    }
    return nullptr;
}

template <MorphOp Op> const char* grey_univ(const _univ_mat* image, const _univ_mat* se, int64_t orow, int64_t ocol,
                                            int32_t border, _univ_mat* result) {
    return univ_call(morph_types{}, with(image, se, result), [&](auto t, auto* ti, auto* ts, auto* tr) {
        return grey<MUTILS_T(t), Op>(ti, ts, orow, ocol, border, tr);
    });
}

// ---- structuring-element generators ---------------------------------------------------------

template <class T>
const char* generate_disk(int64_t crow, int64_t ccol, double radius, T fg, T bg, void* intrp, mat_t<T>* result) {
    validate(result);
    if (!(radius >= 0.5)) return msg::illegal_data_type;
    if (fg == bg) return msg::illegal_data_value;
    const int64_t nrow = result->nrow, ncol = result->ncol;
    const double big = 4.0 * (double(nrow) + double(ncol)) + 4.0;  // farther than any pixel
    const double R = std::ceil(std::min(radius, big + double(std::abs(crow)) + double(std::abs(ccol))));
    if (double(crow) + R < 0 || double(crow) - R > double(nrow) || double(ccol) + R < 0 ||
        double(ccol) - R > double(ncol))
        return msg::array_size_mismatch;
    std::fill(result->data, result->data + result->nelem, bg);
    const int64_t y0 = std::max<int64_t>(int64_t(double(crow) - R), 0);
    const int64_t y1 = std::min<int64_t>(nrow - 1, int64_t(double(crow) + R));
    if (y0 > y1) return msg::array_size_mismatch;
    Poll poll(intrp);
    bool drawn = false;
    for (int64_t y = y0; y <= y1; ++y) {
        double dy = double(y - crow);
        double h = std::floor(std::sqrt(radius * radius - dy * dy));
        if (h >= 0) {  // NaN (a row past the radius) draws nothing
            double lo = std::max(double(ccol) - h, 0.0), hi = std::min(double(ncol - 1), double(ccol) + h);
            if (lo <= hi) {
                T* row = result->data + y * ncol;
                std::fill(row + int64_t(lo), row + int64_t(hi) + 1, fg);
                drawn = true;
            }
        }
        MUTILS_TRY(poll.add(5.0 * radius + 3.0));
    }
    return drawn ? nullptr : msg::array_size_mismatch;
}

template <class T> const char* generate_rectangle(int64_t top, int64_t left, int64_t height, int64_t width, T fg, T bg,
                                                  void* intrp, mat_t<T>* result) {
    validate(result);
    if (height < 1 || width < 1) return msg::illegal_data_type;
    if (fg == bg) return msg::illegal_data_value;
    const int64_t nrow = result->nrow, ncol = result->ncol;
    if (top + height - 1 < 0 || top >= nrow || left + width - 1 < 0 || left >= ncol) return msg::array_size_mismatch;
    std::fill(result->data, result->data + result->nelem, bg);
    const int64_t r0 = std::max<int64_t>(top, 0), r1 = std::min(top + height, nrow);
    const int64_t c0 = std::max<int64_t>(left, 0), c1 = std::min(left + width, ncol);
    Poll poll(intrp);
    for (int64_t r = r0; r < r1; ++r) {
        std::fill(result->data + r * ncol + c0, result->data + r * ncol + c1, fg);
        MUTILS_TRY(poll.add(3.0 * double(height) * double(width)));
    }
    return nullptr;
}

template <class F>
const char* generator_univ(const _univ_scalar& fg, const _univ_scalar& bg, _univ_mat* result, F&& f) {
    return univ_call(morph_types{}, with(result), [&](auto t, auto* tr) -> const char* {
        using T = MUTILS_T(t);
        if (fg.type != elem<T>::tag || bg.type != elem<T>::tag) return msg::illegal_data_type;
        return f(t, scalar_get<T>(fg), scalar_get<T>(bg), tr);
    });
}

// ---- thinning and skeleton ------------------------------------------------------------------

struct TablePair {
    unsigned char first[512];
    unsigned char second[512];
};

template <std::size_t N1, std::size_t N2> TablePair make_tables(const int (&t1)[N1], const int (&t2)[N2]) {
    TablePair p{};
    for (int i : t1) p.first[i] = 1;
    for (int i : t2) p.second[i] = 1;
    return p;
}

// The neighbourhood codes whose entry is 1.
constexpr int thin_t1[] = {19,  22,  23,  25,  26,  27,  31,  50,  52,  54,  55,  63,  88,  89,  90,  91,  94,
                           95,  127, 152, 153, 176, 208, 216, 217, 219, 223, 240, 304, 308, 310, 311, 319, 400,
                           408, 409, 432, 436, 438, 439, 464, 472, 473, 475, 496, 500, 502, 504, 505, 508};
constexpr int thin_t2[] = {
    17,  19,  22,  23,  25,  27,  29,  31,  48,  52,  53,  58,  59,  62,  63,  80,  83,  85,  86,  87,  88,  89,
    90,  91,  92,  93,  94,  95,  113, 114, 115, 116, 117, 118, 119, 121, 122, 123, 125, 127, 144, 149, 151, 153,
    154, 155, 156, 157, 158, 159, 177, 178, 179, 181, 182, 183, 184, 185, 187, 188, 189, 191, 208, 209, 212, 213,
    215, 216, 217, 218, 219, 220, 221, 222, 223, 240, 241, 242, 243, 244, 245, 247, 248, 249, 250, 251, 252, 253,
    254, 255, 275, 277, 278, 279, 281, 282, 283, 284, 285, 286, 287, 304, 305, 307, 308, 309, 311, 314, 315, 316,
    317, 318, 319, 337, 338, 339, 340, 341, 342, 343, 344, 345, 346, 347, 348, 349, 350, 351, 368, 369, 370, 371,
    372, 373, 374, 375, 377, 378, 379, 380, 381, 382, 383, 400, 401, 404, 405, 407, 408, 409, 410, 411, 412, 413,
    414, 415, 433, 434, 437, 439, 440, 443, 444, 445, 446, 447, 464, 465, 466, 467, 468, 469, 470, 471, 472, 473,
    474, 475, 476, 477, 478, 479, 497, 498, 499, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509, 510, 511};
constexpr int skel_t1[] = {23,  26,  31,  50,  55,  63,  88,  89,  91,  95,  127, 176, 217, 219,
                           223, 255, 308, 310, 311, 319, 383, 436, 438, 439, 447, 464, 472, 473,
                           475, 479, 496, 500, 502, 503, 504, 505, 507, 508, 509, 510};
constexpr int skel_t2[] = {
    17,  18,  20,  24,  26,  27,  31,  48,  50,  54,  55,  58,  59,  62,  63,  80,  85,  87,  88,  91,  93,  95,  113,
    115, 117, 118, 119, 121, 122, 123, 125, 126, 127, 144, 149, 151, 154, 155, 156, 157, 158, 159, 176, 177, 178, 179,
    181, 182, 183, 184, 185, 186, 187, 188, 189, 190, 191, 213, 215, 216, 217, 218, 219, 220, 221, 222, 223, 241, 242,
    243, 245, 246, 247, 248, 249, 250, 251, 252, 253, 254, 255, 272, 277, 279, 282, 283, 284, 285, 286, 287, 309, 310,
    311, 314, 315, 316, 317, 318, 319, 337, 338, 339, 340, 341, 342, 343, 345, 346, 347, 348, 349, 350, 351, 369, 370,
    371, 372, 373, 374, 375, 377, 378, 379, 380, 381, 382, 383, 405, 407, 410, 411, 412, 413, 414, 415, 432, 433, 434,
    435, 436, 437, 438, 439, 440, 441, 442, 443, 444, 445, 446, 447, 465, 466, 467, 468, 469, 470, 471, 472, 473, 474,
    475, 476, 477, 478, 479, 496, 497, 498, 499, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509, 510, 511};
static_assert(std::size(thin_t1) == 50 && std::size(thin_t2) == 197);
static_assert(std::size(skel_t1) == 40 && std::size(skel_t2) == 182);

const TablePair& thin_tables() {
    static const TablePair t = make_tables(thin_t1, thin_t2);
    return t;
}
const TablePair& skeleton_tables() {
    static const TablePair t = make_tables(skel_t1, skel_t2);
    return t;
}

/// The 3 x 3 code of every pixel of a 0/1 image stored with a one-pixel zero frame (row stride
/// w = ncol + 2): weights 1 8 64 / 2 16 128 / 4 32 256, the centre 16.
inline uint32_t code_at(const unsigned char* p, int64_t w) {
    const unsigned char* u = p - w;
    const unsigned char* d = p + w;
    return uint32_t(u[-1]) | uint32_t(p[-1]) << 1 | uint32_t(d[-1]) << 2 | uint32_t(u[0]) << 3 | uint32_t(p[0]) << 4 |
           uint32_t(d[0]) << 5 | uint32_t(u[1]) << 6 | uint32_t(p[1]) << 7 | uint32_t(d[1]) << 8;
}

/// A scalar of any real type as element type T: integers rounded half up and clipped.
template <class T> bool scalar_as(const _univ_scalar& s, T* out) {
    if (s.type < 0 || s.type > MUTIL_DOUBLE) return false;
    const double v = scalar_value(s);
    if constexpr (std::is_integral_v<T>) {
        double r = std::floor(v + 0.5);
        const double lo = double(std::numeric_limits<T>::lowest()), hi = double(std::numeric_limits<T>::max());
        *out = !(r >= lo) ? std::numeric_limits<T>::lowest() : r > hi ? std::numeric_limits<T>::max() : T(r);
    } else {
        *out = T(v);
    }
    return true;
}

template <class T>
const char* thin(const mat_t<T>* image, T fg, T bg, const TablePair& tables, void* intrp, mat_t<T>* result) {
    const int64_t nrow = image->nrow, ncol = image->ncol, w = ncol + 2;
    Hux::ArenaScope scope;
    unsigned char* b = work_array_zero<unsigned char>((nrow + 2) * w);
    unsigned char* d = work_array_zero<unsigned char>((nrow + 2) * w);
    for (int64_t r = 0; r < nrow; ++r)
        for (int64_t c = 0; c < ncol; ++c) b[(r + 1) * w + c + 1] = image->data[r * ncol + c] == fg;
    Poll poll(intrp);
    for (bool changed = true; changed;) {
        changed = false;
        for (int64_t r = 1; r <= nrow; ++r)
            for (int64_t c = 1; c <= ncol; ++c) d[r * w + c] = tables.first[code_at(b + r * w + c, w)];
        for (int64_t r = 1; r <= nrow; ++r)
            for (int64_t c = 1; c <= ncol; ++c) {
                int64_t p = r * w + c;
                unsigned char keep = !d[p] || tables.second[code_at(d + p, w)];
                unsigned char nb = b[p] & keep;
                changed |= nb != b[p];
                b[p] = nb;
            }
        MUTILS_TRY(poll.add(40.0 * double(image->nelem)));
    }
    for (int64_t r = 0; r < nrow; ++r)
        for (int64_t c = 0; c < ncol; ++c) result->data[r * ncol + c] = b[(r + 1) * w + c + 1] ? fg : bg;
    return nullptr;
}

const char* thin_univ(const _univ_mat* image, const _univ_scalar& fg, const _univ_scalar& bg, const TablePair& tables,
                      void* intrp, _univ_mat* result) {
    if (!image || !result || image->type != result->type) return msg::illegal_data_type;
    return dispatch(image->type, real_types{}, [&](auto t) -> const char* {
        using T = typename decltype(t)::type;
        validate(as<T>(image));
        validate(as<T>(result));
        MUTILS_TRY(require_same_size(image, result));
        T f{}, b{};
        if (!scalar_as(fg, &f) || !scalar_as(bg, &b)) return msg::illegal_data_type;
        if (f == b) return msg::illegal_data_value;
        return thin<T>(as<T>(image), f, b, tables, intrp, as<T>(result));
    });
}

}  // namespace
}  // namespace detail

using namespace detail;

#define MUTILS_MORPH_TYPED(CODE, T)                                                                                  \
    const char* img##CODE##_binary_erode(const mat_t<T>* a, const _uint8_mat* se, int32_t orow, int32_t ocol, T fg,  \
                                         T bg, void*, mat_t<T>* r) {                                                 \
        return binary_morph<T, MorphOp::erode>(a, se, orow, ocol, fg, bg, r);                                        \
    }                                                                                                                \
    const char* img##CODE##_binary_dilate(const mat_t<T>* a, const _uint8_mat* se, int32_t orow, int32_t ocol, T fg, \
                                          T bg, void*, mat_t<T>* r) {                                                \
        return binary_morph<T, MorphOp::dilate>(a, se, orow, ocol, fg, bg, r);                                       \
    }                                                                                                                \
    const char* img##CODE##_binary_open(const mat_t<T>* a, const _uint8_mat* se, T fg, T bg, void*, mat_t<T>* r) {   \
        return binary_morph<T, MorphOp::open>(a, se, 0, 0, fg, bg, r);                                               \
    }                                                                                                                \
    const char* img##CODE##_binary_close(const mat_t<T>* a, const _uint8_mat* se, T fg, T bg, void*, mat_t<T>* r) {  \
        return binary_morph<T, MorphOp::close>(a, se, 0, 0, fg, bg, r);                                              \
    }                                                                                                                \
    const char* img##CODE##_grayscale_erode(const mat_t<T>* a, const mat_t<T>* se, int32_t orow, int32_t ocol,       \
                                            _mutil_boundary_type b, void*, mat_t<T>* r) {                            \
        return grey<T, MorphOp::erode>(a, se, orow, ocol, b, r);                                                     \
    }                                                                                                                \
    const char* img##CODE##_grayscale_dilate(const mat_t<T>* a, const mat_t<T>* se, int32_t orow, int32_t ocol,      \
                                             _mutil_boundary_type b, void*, mat_t<T>* r) {                           \
        return grey<T, MorphOp::dilate>(a, se, orow, ocol, b, r);                                                    \
    }                                                                                                                \
    const char* img##CODE##_grayscale_open(const mat_t<T>* a, const mat_t<T>* se, _mutil_boundary_type b, void*,     \
                                           mat_t<T>* r) {                                                            \
        return grey<T, MorphOp::open>(a, se, 0, 0, b, r);                                                            \
    }                                                                                                                \
    const char* img##CODE##_grayscale_close(const mat_t<T>* a, const mat_t<T>* se, _mutil_boundary_type b, void*,    \
                                            mat_t<T>* r) {                                                           \
        return grey<T, MorphOp::close>(a, se, 0, 0, b, r);                                                           \
    }                                                                                                                \
    const char* img##CODE##_generate_disk(int32_t cr, int32_t cc, double radius, T fg, T bg, void* i, mat_t<T>* r) { \
        return generate_disk<T>(cr, cc, radius, fg, bg, i, r);                                                       \
    }                                                                                                                \
    const char* img##CODE##_generate_rectangle(int32_t top, int32_t left, int32_t h, int32_t w, T fg, T bg, void* i, \
                                               mat_t<T>* r) {                                                        \
        return generate_rectangle<T>(top, left, h, w, fg, bg, i, r);                                                 \
    }
MUTILS_MORPH_TYPED(u8, unsigned char)
MUTILS_MORPH_TYPED(u16, uint16_t)
MUTILS_MORPH_TYPED(s32, int32_t)
MUTILS_MORPH_TYPED(dbl, double)
#undef MUTILS_MORPH_TYPED

const char* imguniv_binary_erode(const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _univ_scalar fg,
                                 _univ_scalar bg, void*, _univ_mat* r) {
    return binary_univ<MorphOp::erode>(a, se, orow, ocol, fg, bg, r);
}
const char* imguniv_binary_dilate(const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _univ_scalar fg,
                                  _univ_scalar bg, void*, _univ_mat* r) {
    return binary_univ<MorphOp::dilate>(a, se, orow, ocol, fg, bg, r);
}
const char* imguniv_binary_open(const _univ_mat* a, const _univ_mat* se, _univ_scalar fg, _univ_scalar bg, void*,
                                _univ_mat* r) {
    return binary_univ<MorphOp::open>(a, se, 0, 0, fg, bg, r);
}
const char* imguniv_binary_close(const _univ_mat* a, const _univ_mat* se, _univ_scalar fg, _univ_scalar bg, void*,
                                 _univ_mat* r) {
    return binary_univ<MorphOp::close>(a, se, 0, 0, fg, bg, r);
}
const char* imguniv_grayscale_erode(const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol,
                                    _mutil_boundary_type b, void*, _univ_mat* r) {
    return grey_univ<MorphOp::erode>(a, se, orow, ocol, b, r);
}
const char* imguniv_grayscale_dilate(const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol,
                                     _mutil_boundary_type b, void*, _univ_mat* r) {
    return grey_univ<MorphOp::dilate>(a, se, orow, ocol, b, r);
}
const char* imguniv_grayscale_open(const _univ_mat* a, const _univ_mat* se, _mutil_boundary_type b, void*,
                                   _univ_mat* r) {
    return grey_univ<MorphOp::open>(a, se, 0, 0, b, r);
}
const char* imguniv_grayscale_close(const _univ_mat* a, const _univ_mat* se, _mutil_boundary_type b, void*,
                                    _univ_mat* r) {
    return grey_univ<MorphOp::close>(a, se, 0, 0, b, r);
}
const char* imguniv_generate_disk(int32_t cr, int32_t cc, double radius, _univ_scalar fg, _univ_scalar bg, void* i,
                                  _univ_mat* r) {
    return generator_univ(fg, bg, r, [&](auto t, auto f, auto b, auto* res) {
        using T = typename decltype(t)::type;
        return generate_disk<T>(cr, cc, radius, f, b, i, res);
    });
}
const char* imguniv_generate_rectangle(int32_t top, int32_t left, int32_t h, int32_t w, _univ_scalar fg,
                                       _univ_scalar bg, void* i, _univ_mat* r) {
    return generator_univ(fg, bg, r, [&](auto t, auto f, auto b, auto* res) {
        using T = typename decltype(t)::type;
        return generate_rectangle<T>(top, left, h, w, f, b, i, res);
    });
}
const char* imguniv_binary_thin(const _univ_mat* a, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r) {
    return thin_univ(a, fg, bg, thin_tables(), i, r);
}
const char* imguniv_binary_skeleton(const _univ_mat* a, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r) {
    return thin_univ(a, fg, bg, skeleton_tables(), i, r);
}

}  // namespace mutils

using mutils::_mutil_boundary_type;
using mutils::_univ_mat;
using mutils::_univ_scalar;

MUTILS_PLAIN(imguniv_binary_erode,
             (const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _univ_scalar fg, _univ_scalar bg,
              void* i, _univ_mat* r),
             (a, se, orow, ocol, fg, bg, i, r))
MUTILS_PLAIN(imguniv_binary_dilate,
             (const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _univ_scalar fg, _univ_scalar bg,
              void* i, _univ_mat* r),
             (a, se, orow, ocol, fg, bg, i, r))
MUTILS_PLAIN(imguniv_binary_open,
             (const _univ_mat* a, const _univ_mat* se, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r),
             (a, se, fg, bg, i, r))
MUTILS_PLAIN(imguniv_binary_close,
             (const _univ_mat* a, const _univ_mat* se, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r),
             (a, se, fg, bg, i, r))
MUTILS_PLAIN(imguniv_binary_thin, (const _univ_mat* a, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r),
             (a, fg, bg, i, r))
MUTILS_PLAIN(imguniv_binary_skeleton, (const _univ_mat* a, _univ_scalar fg, _univ_scalar bg, void* i, _univ_mat* r),
             (a, fg, bg, i, r))
MUTILS_PLAIN(imguniv_grayscale_erode,
             (const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _mutil_boundary_type b, void* i,
              _univ_mat* r),
             (a, se, orow, ocol, b, i, r))
MUTILS_PLAIN(imguniv_grayscale_dilate,
             (const _univ_mat* a, const _univ_mat* se, int32_t orow, int32_t ocol, _mutil_boundary_type b, void* i,
              _univ_mat* r),
             (a, se, orow, ocol, b, i, r))
MUTILS_PLAIN(imguniv_grayscale_open,
             (const _univ_mat* a, const _univ_mat* se, _mutil_boundary_type b, void* i, _univ_mat* r), (a, se, b, i, r))
MUTILS_PLAIN(imguniv_grayscale_close,
             (const _univ_mat* a, const _univ_mat* se, _mutil_boundary_type b, void* i, _univ_mat* r), (a, se, b, i, r))
