/// @file
/// Discrete transforms: Fourier (any length, forward and inverse), orthonormal cosine (type II and
/// its inverse, type III; any length and a power-of-two variant), two-dimensional cosine, and the
/// unitary Hartley transform (power-of-two lengths).
///
/// Every operation validates `in` and `out` (raising "null pointer" / "array size mismatch"),
/// returns "array size mismatch" unless they have the same rows and columns, writes `out` (which
/// may be `in`), polls the interrupt and returns null on success or "interrupted" (`out` then holds
/// partial data).
///
/// NaN and infinities propagate as arithmetic does. The fast algorithms mix every input of a
/// transformed vector into every output, so one NaN or infinity in a column (or, for the
/// two-dimensional cosine transform, anywhere in the matrix) makes the whole transformed vector
/// (or matrix) NaN, as with the common FFT libraries.
///
/// | operations                               | what is transformed                     | inverse flag        |
/// |------------------------------------------|-----------------------------------------|---------------------|
/// | `*_transform_discrete_fourier`           | every column, down the rows; a 1 x N    | exactly 1: inverse; |
/// |                                          | row comes back unchanged (pass a row as | any other: forward  |
/// |                                          | an N x 1 column)                        |                     |
/// | `*_discrete_cosine_II`, `_II_inverse`    | a vector along its length, a matrix     | separate members    |
/// |                                          | column by column                        |                     |
/// | `*_discrete_cosine_II_2d`, `_2d_pow2`    | columns and rows; a vector of more than | any non-zero value: |
/// |                                          | one element: "array size mismatch";     | inverse             |
/// |                                          | 1 x 1: copied                           |                     |
/// | `*_discrete_cosine_II_pow2`,             | vectors of power-of-two length only;    | separate members    |
/// | `_II_inverse_pow2`, `*_transform_hartley`| other shapes and lengths: "array size   |                     |
/// |                                          | mismatch"; 1 x 1: copied                |                     |
/// The two-dimensional power-of-two member also needs both sizes to be powers of two.
///
/// Definitions (N the transform length, n and k from 0):
///   Fourier forward  X_k = sum_n x_n e^{-2 pi i nk/N};  inverse x_n = (1/N) sum_k X_k e^{+2 pi i nk/N}
///   cosine II        X_k = s_k sum_n x_n cos(pi k (2n + 1) / (2N)),  s_0 = 1/sqrt(N), s_k = sqrt(2/N)
///   inverse (III)    x_n = sum_k s_k X_k cos(pi k (2n + 1) / (2N))   (so the pair is orthonormal)
///   Hartley          H_k = (1/sqrt(N)) sum_n x_n (cos + sin)(2 pi nk/N)   (its own inverse)
/// The power-of-two cosine members give the same values as the general ones, through a Hartley
/// transform of the even/odd reordered samples; the two-dimensional members transform the columns
/// and the rows of a matrix with the one-dimensional cosine transform of their variant.
///
/// Lengths that are not powers of two are transformed directly (mixed radix); a long prime length is
/// slow (about N * N operations) but exact.
///
/// Universal members only dispatch:
///   `siguniv_transform_discrete_fourier`: "null pointer" for a null matrix; "Illegal data type"
///     unless `out` is double complex and `in` double or double complex.
///   the other `siguniv_transform_*`: "null pointer" for a null matrix; "Illegal data type" unless
///     `in` is double and `out` is of the same type as `in`.
///
///     mutils::_double_mat x;        // 1024 x 1 signal
///     mutils::_dcomplex_mat X;      // 1024 x 1 result
///     if (const char* err = mutils::sigdbl_transform_discrete_fourier(&x, 0, nullptr, &X)) { ... }
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `transform_discrete_fourier` for each element type declared here; the contract, element types and messages are
/// in the file description.
MUTILS_API const char* sigdbl_transform_discrete_fourier(const _double_mat* in, unsigned char inverse, void* intrp_ptr,
                                                         _dcomplex_mat* out);
MUTILS_API const char* sigcpx_transform_discrete_fourier(const _dcomplex_mat* in, unsigned char inverse,
                                                         void* intrp_ptr, _dcomplex_mat* out);
MUTILS_API const char* siguniv_transform_discrete_fourier(const _univ_mat* in, unsigned char inverse, void* intrp_ptr,
                                                          _univ_mat* out);
/// @}

/// @{
/// `transform_discrete_cosine_II`, `transform_discrete_cosine_II_inverse`, `transform_discrete_cosine_II_2d`,
/// `transform_discrete_cosine_II_pow2`, `transform_discrete_cosine_II_inverse_pow2`,
/// `transform_discrete_cosine_II_2d_pow2`, `transform_hartley` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* sigdbl_transform_discrete_cosine_II(const _double_mat* in, void* intrp_ptr, _double_mat* out);
MUTILS_API const char* sigdbl_transform_discrete_cosine_II_inverse(const _double_mat* in, void* intrp_ptr,
                                                                   _double_mat* out);
MUTILS_API const char* sigdbl_transform_discrete_cosine_II_2d(const _double_mat* in, unsigned char inverse,
                                                              void* intrp_ptr, _double_mat* out);
MUTILS_API const char* sigdbl_transform_discrete_cosine_II_pow2(const _double_mat* in, void* intrp_ptr,
                                                                _double_mat* out);
MUTILS_API const char* sigdbl_transform_discrete_cosine_II_inverse_pow2(const _double_mat* in, void* intrp_ptr,
                                                                        _double_mat* out);
MUTILS_API const char* sigdbl_transform_discrete_cosine_II_2d_pow2(const _double_mat* in, unsigned char inverse,
                                                                   void* intrp_ptr, _double_mat* out);
MUTILS_API const char* sigdbl_transform_hartley(const _double_mat* in, void* intrp_ptr, _double_mat* out);
/// @}

/// @{
/// `transform_discrete_cosine_II`, `transform_discrete_cosine_II_inverse`, `transform_discrete_cosine_II_2d`,
/// `transform_discrete_cosine_II_pow2`, `transform_discrete_cosine_II_inverse_pow2`,
/// `transform_discrete_cosine_II_2d_pow2`, `transform_hartley` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* siguniv_transform_discrete_cosine_II(const _univ_mat* in, void* intrp_ptr, _univ_mat* out);
MUTILS_API const char* siguniv_transform_discrete_cosine_II_inverse(const _univ_mat* in, void* intrp_ptr,
                                                                    _univ_mat* out);
MUTILS_API const char* siguniv_transform_discrete_cosine_II_2d(const _univ_mat* in, unsigned char inverse,
                                                               void* intrp_ptr, _univ_mat* out);
MUTILS_API const char* siguniv_transform_discrete_cosine_II_pow2(const _univ_mat* in, void* intrp_ptr, _univ_mat* out);
MUTILS_API const char* siguniv_transform_discrete_cosine_II_inverse_pow2(const _univ_mat* in, void* intrp_ptr,
                                                                         _univ_mat* out);
MUTILS_API const char* siguniv_transform_discrete_cosine_II_2d_pow2(const _univ_mat* in, unsigned char inverse,
                                                                    void* intrp_ptr, _univ_mat* out);
MUTILS_API const char* siguniv_transform_hartley(const _univ_mat* in, void* intrp_ptr, _univ_mat* out);
/// @}

}  // namespace mutils

/// @{
/// `transform_discrete_fourier`, `transform_discrete_cosine_II_2d` for each element type declared here; the
/// contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode siguniv_transform_discrete_fourier(const mutils::_univ_mat* in, unsigned char inverse,
                                                                     void* intrp_ptr, mutils::_univ_mat* out);
MUTILS_API mutils::_mutil_errcode siguniv_transform_discrete_cosine_II_2d(const mutils::_univ_mat* in,
                                                                          unsigned char inverse, void* intrp_ptr,
                                                                          mutils::_univ_mat* out);
/// @}
