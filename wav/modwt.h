/// @file
/// Maximum-overlap (undecimated) discrete wavelet transform of a signal of any length, its
/// wavelet-packet form and its inverse.
///
/// The caller gives the orthonormal wavelet (high-pass) filter h and scaling (low-pass) filter g
/// of an ordinary discrete wavelet transform as double column vectors of one length L; the
/// operations rescale copies of them by 1/sqrt(2) (h~ = h/sqrt(2), g~ = g/sqrt(2)) and use the
/// same rescaled filters at every level. Every index into the signal is circular (mod N), at
/// every level; level j spreads the filter taps 2^(j-1) apart, with no decimation:
///
///     W_j[t] = sum_l h~[l] V_(j-1)[(t - l 2^(j-1)) mod N]      V_0 = x
///     V_j[t] = sum_l g~[l] V_(j-1)[(t - l 2^(j-1)) mod N]
///
/// A filter longer than N simply wraps round the signal more than once. The level count J must
/// satisfy 1 <= J <= floor(log2 N) (computed exactly in integers).
///
/// NaN and infinities in the signal or the filters propagate as arithmetic does: every
/// coefficient whose sum takes one is NaN or infinite, and through the levels that spreads to
/// the coefficients whose filter support reaches it.
///
/// | operation                         | shapes                                                      |
/// |-----------------------------------|-------------------------------------------------------------|
/// | `wavuniv_transform_maximum_overlap` | x: N x 1, any element type (converted to double); W, V: |
/// |                                   | N x J double, column j-1 = level j.                         |
/// | `..._packet`                      | P: N x (2^(J+1) - 1) double. Column 0 is x; node n of level |
/// |                                   | j (0 <= n < 2^j) is column 2^j - 1 + n. Node n is filtered  |
/// |                                   | from node n/2 of level j-1 with g~ when n mod 4 is 0 or 3   |
/// |                                   | and with h~ when it is 1 or 2, which puts the nodes of each |
/// |                                   | level in sequency order (increasing frequency band).        |
/// | `..._inverse`                     | Z: N x (J+1) double holding V_J, W_J, W_(J-1), ..., W_1;    |
/// |                                   | y: N x (J+1) double receives V_J, V_(J-1), ..., V_0: the    |
/// |                                   | whole ladder of reconstructions; its last column is x.      |
///
/// The inverse level step is V_(j-1)[t] = sum_l (g~[l] V_j[(t + l 2^(j-1)) mod N]
///                                             + h~[l] W_j[(t + l 2^(j-1)) mod N]).
///
/// Messages, in the order checked (argument records are first validated, raising "null pointer"
/// or "array size mismatch" for a broken record):
///
/// | operation | checks                                                                         |
/// |-----------|--------------------------------------------------------------------------------|
/// | forward   | x null or not one column: "array size mismatch" (returned, not raised); h not   |
/// |           | double: "Illegal data type", not one column: "array size mismatch"; g likewise; |
/// |           | W, V not double: "Illegal data type"; J outside [1, floor(log2 N)], h and g of  |
/// |           | different lengths, W not N x J, V not N x J: "array size mismatch"              |
/// | packet    | sizes first: J outside [1, floor(log2 N)], lengths differ, P not                |
/// |           | N x (2^(J+1) - 1), x null or not one column: "array size mismatch"; then h      |
/// |           | double / one column, g likewise, P double                                       |
/// | inverse   | Z, h not double: "Illegal data type"; h not one column: "array size mismatch";  |
/// |           | g double and one column; y double; then J outside [1, floor(log2 N)] (N = rows |
/// |           | of Z), lengths differ, Z or y not N x (J+1): "array size mismatch"              |
///
/// A complex signal converts only when its imaginary parts are all zero; otherwise the
/// conversion raises "overflow". Interruption returns "interrupted" (polled once per level, and
/// once per node in the packet transform).
///
///     mutils::_univ_mat x, h, g, W, V;     // x: N x 1; h, g: L x 1 double; W, V: N x J double
///     if (const char* err = mutils::wavuniv_transform_maximum_overlap(&x, &h, &g, J, nullptr, &W, &V))
///         { /* message */ }
#pragma once

#include "../core/errors.h"

namespace mutils {

/// `wavuniv_transform_maximum_overlap`: the contract, element types and messages are in the file description.
MUTILS_API const char* wavuniv_transform_maximum_overlap(const _univ_mat* x, const _univ_mat* h, const _univ_mat* g,
                                                         int32_t J, void* intrp_ptr, _univ_mat* W, _univ_mat* V);

/// `wavuniv_transform_maximum_overlap_packet`: the contract, element types and messages are in the file
/// description.
MUTILS_API const char* wavuniv_transform_maximum_overlap_packet(const _univ_mat* x, const _univ_mat* h,
                                                                const _univ_mat* g, int32_t J, void* intrp_ptr,
                                                                _univ_mat* P);

/// `wavuniv_transform_maximum_overlap_inverse`: the contract, element types and messages are in the file
/// description.
MUTILS_API const char* wavuniv_transform_maximum_overlap_inverse(const _univ_mat* Z, const _univ_mat* h,
                                                                 const _univ_mat* g, int32_t J, void* intrp_ptr,
                                                                 _univ_mat* y);

}  // namespace mutils
