// Internal to sig/: the complex FFT engine, the roots of unity it is built from, and the small
// helpers the transforms share (not part of the installed interface).
//
// The engine transforms any length n >= 1 directly, without padding to a power of two:
//  - n is split into radices 4, 2, 3, 5 and the remaining odd primes (in that order); each radix
//    is one self-sorting (Stockham) pass, so the mixed-radix digit reversal is done a digit at a
//    time by the passes themselves and the result comes out in natural order;
//  - radices 2, 3, 4 and 5 have dedicated butterflies; any other odd prime p runs a general
//    butterfly that pairs the terms t and p - t (about p * p / 2 multiplications per point, so it
//    serves primes up to `kChirpPrime` only);
//  - a length with a prime factor above `kChirpPrime` runs through the chirp-z identity
//    jk = (j^2 + k^2 - (k - j)^2) / 2: the sequence times a chirp is convolved with the conjugate
//    chirp by transforms of a 5-smooth length m >= 2n - 1 (exact, not an approximation by
//    padding), so every length costs O(n log n);
//  - a long single sequence (more than `kSplitMin` points with a non-trivial factor near its square
//    root) is split n = n1 * n2 into short transforms of interleaved columns and rows with one
//    twiddle multiplication in between, so every short transform works in cache; the final
//    transposition is the digit reversal of that two-digit split.
// Transforms are unscaled in both directions; callers apply 1/n for the inverse.
#pragma once

#include <cstdint>

#include "../core/detail.h"

namespace mutils {
namespace detail {

inline _dcomplex cmul(_dcomplex a, _dcomplex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

/// e^{i k step} for 0 <= k < count, each value the product of one coarse and one fine entry of two
/// short tables of directly computed sines and cosines (within a few ulps; no table of `count` sines).
class UnitRoots {
public:
    UnitRoots() = default;
    UnitRoots(int64_t count, double step);
    _dcomplex operator[](int64_t k) const { return cmul(m_hi[k >> m_shift], m_lo[k & m_mask]); }

private:
    _dcomplex* m_hi = nullptr;
    _dcomplex* m_lo = nullptr;
    int m_shift = 0;
    int64_t m_mask = 0;
};

/// A transform of one length and direction: radix passes, their twiddles, and the long split.
/// Tables come from the arena; a plan is built per call.
class FftPlan {
public:
    /// Sequences longer than this with a usable split n = n1 * n2 go through the split.
    static constexpr int64_t kSplitMin = 8192;
    /// Columns (rows) of the split transformed together.
    static constexpr int64_t kSplitBlock = 8;
    /// Lengths with a prime factor above this go through the chirp-z convolution (measured: the
    /// general butterfly and the convolution cost the same near primes of 90 to 130).
    static constexpr int64_t kChirpPrime = 100;

    /// n >= 1; sign -1 forward (e^{-2 pi i nk/N}), +1 inverse (unscaled).
    FftPlan(int64_t n, int sign);

    int64_t size() const { return m_n; }
    /// True when sequences go one at a time (the two-level split or the chirp-z convolution).
    bool splits() const { return m_n1 > 1 || m_conv; }

    /// Transforms `count` interleaved sequences: element k of sequence b is data[k * count + b].
    /// `work` holds size() * count elements; *result is set to data or work, whichever holds the
    /// transform. Returns "interrupted" when the poll asks to stop.
    const char* run(_dcomplex* data, _dcomplex* work, int64_t count, Poll& poll, _dcomplex** result) const;

private:
    struct Stage {
        int radix;
        int64_t m;           // length left after this pass (the distance between butterfly legs)
        _dcomplex* tw;       // twiddles, radix - 1 per leg index p < m
        _dcomplex* rot;      // general radix: e^{sign 2 pi i j / radix} for j < radix
        _dcomplex* scratch;  // general radix: sums and differences of one butterfly
    };
    struct Passes {
        Stage* stages = nullptr;
        int count = 0;
        int64_t n = 1;
    };

    static Passes make_passes(int64_t n, int sign);
    const char* run_passes(const Passes& ps, _dcomplex* a, _dcomplex* b, int64_t count, Poll& poll,
                           _dcomplex** result) const;
    const char* run_split(_dcomplex* data, _dcomplex* work, Poll& poll, _dcomplex** result) const;
    void plan_chirp();
    const char* run_chirp(_dcomplex* data, int64_t count, Poll& poll) const;

    int64_t m_n;
    int m_sign;
    Passes m_whole;              // used unless the sequence splits
    int64_t m_n1 = 1, m_n2 = 1;  // the split n = n1 * n2
    Passes m_cols, m_rows;       // short transforms of lengths n1 and n2
    UnitRoots m_twiddle;         // e^{sign 2 pi i k / n}
    _dcomplex* m_ta = nullptr;   // blocks of columns or rows in the split
    _dcomplex* m_tb = nullptr;
    const FftPlan* m_conv = nullptr;  // chirp-z: the forward transform of the convolution length
    _dcomplex* m_chirp = nullptr;     // chirp-z: e^{sign pi i k^2 / n} for k < n
    _dcomplex* m_filter = nullptr;    // chirp-z: transform of the conjugate chirp, over m
};

/// The numeric power-of-two test of the Hartley and power-of-two cosine transforms:
/// x = log10(n) / log10(2) passes when |x - floor(x)| <= (|floor(x)| + |x|) * 1e-15.
bool is_pow2_length(int64_t n);

/// The orthonormal cosine transform (type II, or type III when `inverse`) of every column of the
/// row-major nrow x ncol matrix `in`, written to `out` (which may be `in`); nrow >= 1.
using DctColumns = const char* (*)(const double* in, int64_t nrow, int64_t ncol, bool inverse, double* out, Poll& poll);
/// Any length, through complex transforms of length nrow / 2 (even) or nrow (odd).
const char* dct_columns(const double* in, int64_t nrow, int64_t ncol, bool inverse, double* out, Poll& poll);
/// Power-of-two nrow, through the split-radix Hartley transform.
const char* dct_pow2_columns(const double* in, int64_t nrow, int64_t ncol, bool inverse, double* out, Poll& poll);

/// The two-dimensional cosine transform of an nrow x ncol matrix (both at least 2) with the column
/// transform `cols`: forward columns of in^T, transposed back, then columns; inverse the reverse.
const char* dct_2d(const double* in, int64_t nrow, int64_t ncol, bool inverse, double* out, DctColumns cols,
                   Poll& poll);

/// out (ncol x nrow) = transpose of in (nrow x ncol); in and out must not overlap.
template <class T> void transpose_into(const T* in, int64_t nrow, int64_t ncol, T* out) {
    constexpr int64_t B = 32;
    for (int64_t r0 = 0; r0 < nrow; r0 += B)
        for (int64_t c0 = 0; c0 < ncol; c0 += B) {
            const int64_t r1 = r0 + B < nrow ? r0 + B : nrow, c1 = c0 + B < ncol ? c0 + B : ncol;
            for (int64_t r = r0; r < r1; ++r)
                for (int64_t c = c0; c < c1; ++c) out[c * nrow + r] = in[r * ncol + c];
        }
}

}  // namespace detail
}  // namespace mutils
