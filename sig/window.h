/// @file
/// Window functions: fill a caller-allocated double vector with the samples of a taper.
///
/// The window length N is the element count of the result, which must be a vector (one row or
/// one column); samples are indexed n = 0 ... N - 1 in storage order. Each window has its own
/// conventions, kept exactly as tabled here:
///
/// | window         | samples                                                                      |
/// |----------------|------------------------------------------------------------------------------|
/// | rectangle      | 1.0                                                                          |
/// | triangle       | w[k] = w[N-1-k] = 2(k+1)/(N+1) for k < floor(N/2); odd N: middle 1.0         |
/// | hanning        | 0.5(1 - cos(2pi(n+1)/(N+1))): no zero end points (N = 1 gives 1.0)           |
/// | hamming        | 0.54 - 0.46 cos(2pi n/(N-1)) (N = 1 divides by zero: not a number)           |
/// | blackman       | 0.42 - 0.5 cos(2pi(n+1)/(N+1)) + 0.08 cos(4pi(n+1)/(N+1)): no zero ends      |
/// | nuttall        | ends exactly 0.0; inside, x = 2pi n/(N-1):                                   |
/// |                | 0.3635819 - 0.4891775 cos x + 0.1365995 cos 2x - 0.0106411 cos 3x            |
/// | gaussian       | w[k] = w[N-1-k] = exp(-t^2/2), t = (0.5 - k/(N-1)) 2 alpha, k < floor(N/2);  |
/// |                | odd N: middle 1.0                                                            |
/// | raised cosine  | 1.0, except the two tapers of floor(floor(ratio N)/2) samples each:          |
/// |                | w[k] = w[N-1-k] = 0.5(1 - cos((k+1) 2pi/(L+1))), L = floor(ratio N)          |
/// | kaiser         | w[0] = 1/I0(beta pi (N-1)/N), every other sample exactly 1.0 (N = 1: not a   |
/// |                | number); the lag term is an integer quotient, so this is not the textbook    |
/// |                | Kaiser taper and not symmetric                                               |
/// | chebyshev      | Dolph-Chebyshev by frequency sampling, side lobes attenuation_db below the   |
/// |                | main lobe; centre sample(s) exactly 1.0                                      |
/// | born-jordan    | w[k] = w[N-1-k] = 1/(M-k+1), M = floor((N-1)/2): ends 1/(M+1), centre 1      |
///
/// Every window except kaiser is exactly symmetric: the first half is computed and mirrored.
/// I0 is the two-range polynomial approximation of the modified Bessel function (relative error
/// below 2e-7). The chebyshev window is the inverse DFT of the sampled Chebyshev polynomial
/// (a direct sum, O(N^2)). Its argument can fall below -1 only by rounding (at the Nyquist
/// sample of even N); such a value (within 1e-12, or a few units in the last place of the
/// polynomial's largest argument where that is larger) is taken as -1, so every sample is
/// finite. Attenuations at which 10^(attenuation/20) overflows (above about 6150 dB) are refused.
///
/// Messages, in the order checked (a typed member raises through `Hux::Throw` for an invalid
/// record, "null pointer" / "array size mismatch"):
///
/// | situation                                        | message                                |
/// |--------------------------------------------------|----------------------------------------|
/// | raised cosine ratio outside [0, 1] (or NaN)      | "Illegal data value", before the shape |
/// | result not a vector                              | "array size mismatch"                  |
/// | gaussian alpha <= 0, kaiser beta < 0, chebyshev  | "Illegal data value", after the shape  |
/// | attenuation < 0 or above ~6150 dB (NaN likewise) |                                        |
/// | `siguniv_` result null / not double              | "null pointer" / "Illegal data type"   |
/// | interrupt requested                              | "interrupted" (result partly written)  |
///
/// Only chebyshev allocates (two work arrays of 2N doubles from the current arena).
///
///     mutils::_double_mat w;
///     mutils::matdbl_malloc(&w, 1, 64);
///     if (const char* err = mutils::sigdbl_window_chebyshev(60.0, nullptr, &w)) { /* message */ }
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `window_rectangle`, `window_triangle`, `window_hanning`, `window_hamming`, `window_blackman`, `window_nuttall`,
/// `window_born_jordan`, `window_raised_cosine`, `window_gaussian`, `window_kaiser`, `window_chebyshev` for each
/// element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* sigdbl_window_rectangle(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_triangle(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_hanning(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_hamming(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_blackman(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_nuttall(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_born_jordan(void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_raised_cosine(double ratio, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_gaussian(double alpha, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_kaiser(double beta, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigdbl_window_chebyshev(double attenuation_db, void* intrp_ptr, _double_mat* result);
/// @}

/// @{
/// `window_rectangle`, `window_triangle`, `window_hanning`, `window_hamming`, `window_blackman`, `window_nuttall`,
/// `window_born_jordan`, `window_raised_cosine`, `window_gaussian`, `window_kaiser`, `window_chebyshev` for each
/// element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* siguniv_window_rectangle(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_triangle(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_hanning(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_hamming(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_blackman(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_nuttall(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_born_jordan(void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_raised_cosine(double ratio, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_gaussian(double alpha, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_kaiser(double beta, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* siguniv_window_chebyshev(double attenuation_db, void* intrp_ptr, _univ_mat* result);
/// @}

}  // namespace mutils

/// `siguniv_window_raised_cosine`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode siguniv_window_raised_cosine(double ratio, void* intrp_ptr,
                                                               mutils::_univ_mat* result);
