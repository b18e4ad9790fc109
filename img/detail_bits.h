// Internal bit images for binary morphology: one bit per pixel, 64 columns to a word, column
// 64k + b in bit b of word k. Bits past the last column are kept 0, so a read past either edge
// of a row sees background.
#pragma once

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "../core/detail.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#define MUTILS_BITS_AVX2 1
#endif

namespace mutils {
namespace detail {

using bitword = uint64_t;

struct BitImage {
    int32_t nrow = 0;
    int32_t ncol = 0;
    int32_t words = 0;  // words per row
    bitword* data = nullptr;
    bitword* row(int64_t r) { return data + r * words; }
    const bitword* row(int64_t r) const { return data + r * words; }
    /// The mask of the valid bits of a row's last word.
    bitword tail_mask() const { return (ncol & 63) ? (bitword(1) << (ncol & 63)) - 1 : ~bitword(0); }
};

/// A bit image of nrow x ncol from the current arena (contents undefined).
inline BitImage bit_image(int32_t nrow, int32_t ncol) {
    BitImage b;
    b.nrow = nrow;
    b.ncol = ncol;
    b.words = (ncol + 63) / 64;
    b.data = work_array<bitword>(int64_t(nrow) * b.words);
    return b;
}

/// Clears the bits past the last column of every row.
inline void clear_tails(BitImage& b) {
    bitword m = b.tail_mask();
    for (int64_t r = 0; r < b.nrow; ++r) b.row(r)[b.words - 1] &= m;
}

#if MUTILS_BITS_AVX2
/// u8 rows: 32 comparisons and one movemask per half word.
__attribute__((target("avx2"))) inline void pack_u8_avx2(const unsigned char* p, int32_t full_words, unsigned char fg,
                                                         bitword* out) {
    const __m256i f = _mm256_set1_epi8(static_cast<char>(fg));
    for (int32_t k = 0; k < full_words; ++k, p += 64) {
        uint32_t lo = uint32_t(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)), f)));
        uint32_t hi = uint32_t(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32)), f)));
        out[k] = bitword(lo) | bitword(hi) << 32;
    }
}

/// u8 rows: each 32-bit half word selects fg or bg for 32 bytes.
__attribute__((target("avx2"))) inline void unpack_u8_avx2(const bitword* in, int32_t full_words, unsigned char fg,
                                                           unsigned char bg, unsigned char* p) {
    const __m256i spread = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 2, 2, 3,
                                            3, 3, 3, 3, 3, 3, 3);
    const __m256i bit = _mm256_set1_epi64x(int64_t(0x8040201008040201ull));
    const __m256i f = _mm256_set1_epi8(static_cast<char>(fg)), b = _mm256_set1_epi8(static_cast<char>(bg));
    for (int32_t k = 0; k < full_words; ++k, p += 64) {
        for (int h = 0; h < 2; ++h) {
            __m256i v = _mm256_shuffle_epi8(_mm256_set1_epi32(int(uint32_t(in[k] >> (32 * h)))), spread);
            __m256i sel = _mm256_cmpeq_epi8(_mm256_and_si256(v, bit), bit);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 32 * h), _mm256_blendv_epi8(b, f, sel));
        }
    }
}

inline bool have_avx2() {
    static const bool yes = __builtin_cpu_supports("avx2");
    return yes;
}
#endif

/// Bit (r, c) set where the pixel equals fg exactly (operator ==, so a NaN never matches).
template <class T> void pack_equal(const T* img, T fg, BitImage& b) {
    const int32_t ncol = b.ncol;
    for (int64_t r = 0; r < b.nrow; ++r) {
        const T* p = img + r * ncol;
        bitword* out = b.row(r);
        int32_t k = 0;
#if MUTILS_BITS_AVX2
        if constexpr (std::is_same_v<T, unsigned char>) {
            if (have_avx2()) {
                k = ncol / 64;
                pack_u8_avx2(p, k, fg, out);
            }
        }
#endif
        for (int32_t c = k * 64; k < b.words; ++k, c += 64) {
            int32_t n = ncol - c < 64 ? ncol - c : 64;
            bitword m = 0;
            for (int32_t t = 0; t < n; ++t) m |= bitword(p[c + t] == fg) << t;
            out[k] = m;
        }
    }
}

/// Writes fg where the bit is set and bg elsewhere.
template <class T> void unpack_bits(const BitImage& b, T fg, T bg, T* img) {
    const int32_t ncol = b.ncol;
    if constexpr (std::is_same_v<T, unsigned char> && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) {
        // Each byte of a word expands to eight 0x00 / 0xFF bytes that select fg or bg.
        static const auto expand = [] {
            struct Table {
                uint64_t v[256];
            } t{};
            for (int i = 0; i < 256; ++i)
                for (int k = 0; k < 8; ++k)
                    if (i >> k & 1) t.v[i] |= uint64_t(0xFF) << (8 * k);
            return t;
        }();
        const uint64_t f8 = 0x0101010101010101ull * fg, b8 = 0x0101010101010101ull * bg;
        for (int64_t r = 0; r < b.nrow; ++r) {
            const bitword* in = b.row(r);
            unsigned char* p = img + r * ncol;
            int32_t c = 0;
#if MUTILS_BITS_AVX2
            if (have_avx2()) {
                unpack_u8_avx2(in, ncol / 64, fg, bg, p);
                c = ncol / 64 * 64;
            }
#endif
            for (; c + 8 <= ncol; c += 8) {
                uint64_t m = expand.v[(in[c >> 6] >> (c & 63)) & 0xFF];
                uint64_t v = (f8 & m) | (b8 & ~m);
                std::memcpy(p + c, &v, 8);
            }
            for (; c < ncol; ++c) p[c] = (in[c >> 6] >> (c & 63) & 1) ? fg : bg;
        }
    } else {
        for (int64_t r = 0; r < b.nrow; ++r) {
            const bitword* in = b.row(r);
            T* p = img + r * ncol;
            for (int32_t c = 0; c < ncol; c += 64) {
                bitword m = in[c >> 6];
                int32_t n = ncol - c < 64 ? ncol - c : 64;
                for (int32_t t = 0; t < n; ++t) p[c + t] = (m >> t & 1) ? fg : bg;
            }
        }
    }
}

/// The 64 bits of a row starting at column 64k + d (bits outside the row read 0).
inline bitword bits_at(const bitword* row, int32_t words, int64_t k, int64_t d) {
    int64_t q = d >> 6;  // floor division
    int s = int(d - q * 64);
    int64_t lo = k + q;
    bitword v = (lo >= 0 && lo < words) ? row[lo] >> s : 0;
    if (s && lo + 1 >= 0 && lo + 1 < words) v |= row[lo + 1] << (64 - s);
    return v;
}

struct BitAnd {
    static bitword apply(bitword a, bitword b) { return a & b; }
};
struct BitOr {
    static bitword apply(bitword a, bitword b) { return a | b; }
};

/// acc[k] = acc[k] op (src shifted so that acc's column x meets src's column x + d), for the
/// `words` words of acc; src has `src_words` words (bits outside them read 0).
template <class Op>
void combine_shifted(bitword* acc, int32_t words, const bitword* src, int32_t src_words, int64_t d) {
    int64_t q = d >> 6;
    int s = int(d - q * 64);
    // Words whose two source words both lie inside the row take the unchecked path.
    int64_t k0 = std::min<int64_t>(std::max<int64_t>(-q, 0), words);
    int64_t k1 = std::min<int64_t>(int64_t(src_words) - 1 - q, words);  // exclusive end
    int64_t k = 0;
    for (; k < k0; ++k) acc[k] = Op::apply(acc[k], bits_at(src, src_words, k, d));
    if (s) {
        for (; k < k1; ++k) acc[k] = Op::apply(acc[k], (src[k + q] >> s) | (src[k + q + 1] << (64 - s)));
    } else {
        for (; k < k1; ++k) acc[k] = Op::apply(acc[k], src[k + q]);
    }
    for (; k < words; ++k) acc[k] = Op::apply(acc[k], bits_at(src, src_words, k, d));
}

}  // namespace detail
}  // namespace mutils
