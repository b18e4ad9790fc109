/// @file
/// Time-frequency distributions: the instantaneous autocorrelation (time-lag matrix) of a real
/// signal, optionally smoothed by a kernel. Transforming each column over the lag axis gives
/// the distribution itself.
///
/// The signal x is a double vector of length L. The result R is caller-allocated: row m holds
/// lag m/2 in samples (half-sample lags for odd m), column j the j-th output time. With
/// a = floor(m/2) and b = m - a, the lag product at time t is
///     P(t, m) = 0.5 (x[t - a] x[t + b] + x[t - b] x[t + a])
/// (x[t - m/2] x[t + m/2] for even m). Samples outside the signal read as zero; this arises only
/// at early times of a result with many lag rows (Wigner, Margenau-Hill) and where a kernel
/// reaches past either end.
///
/// | distribution   | column j                                                                    |
/// |----------------|-----------------------------------------------------------------------------|
/// | wigner         | M = floor(nrow/2). Times t = 0, 1, ... are summed into an accumulator; at   |
/// |                | each multiple of step it is copied into the next column and cleared (so for |
/// |                | step > 1 a column sums step consecutive times). For t < M lags m < t are    |
/// |                | summed and rows 0 ... M-1 copied; later lags m < min(nrow, L - t). M > L:   |
/// |                | all zero. M = L: only R[0][0] = x[L-1]^2 (kept deliberately).               |
/// | margeneau_hill | t = j step (times between skipped); R[m][j] = 0.5 x[t] (x[t+m] + x[t-m])    |
/// |                | for m < t while t < nrow - 1, then m < min(nrow, L - t). nrow >= L: zero.   |
/// | cone           | sum over s = max(0, t - m) ... t of x[s] x[s + m] (a cone widening with the |
/// |                | lag), for m < min(nrow, L - t), t = j step; updated recursively in O(nrow)  |
/// |                | per time. Column 0 is x[m] x[0]. nrow >= L: zero.                           |
/// | born_jordan    | the cone result with row m divided by m + 1                                 |
/// | choi_williams  | custom with the kernel `sigdbl_kernel_choi_williams(nrow(R), L, sigma)`     |
/// | custom         | t = j step; rows m filled as                                                |
/// |                |  K[0][m] P(t,m) + sum_{u=1..nu} K[u][m] (y[t+a'] y[t-b'] + y[t+b'] y[t-a']) |
/// |                | with a' = (m+u)/2 and b' = (m-u+1)/2 truncated toward zero and y the signal |
/// |                | zero-padded; while t < floor((nrow(K)+ncol(K))/2): m < min(nrow-1, 2t),     |
/// |                | nu = min(nrow(K), 2t-m) - 1; later (up to min(ncol(R), L) columns):         |
/// |                | m < min(nrow-1, L-t), nu = min(nrow(K), L-t) - 1                            |
///
/// Columns past the end of the signal stay zero; R is zeroed before any computation, so an early
/// stop (lags exceeding the signal) leaves zeros and returns success.
///
/// The Choi-Williams kernel K (allocated by the generator, nlag columns, one per lag, and
/// min(3 n, nmax) rows of time offsets u with n = floor(sqrt(2/sigma) nlag + 1)) has a unit
/// impulse in lag column 0 and K[u][c] = sqrt(sigma/(4 pi))/c exp(-sigma u^2/(4 c^2)) elsewhere.
///
/// Messages, in the order checked (typed members raise through `Hux::Throw` for an invalid
/// record: "null pointer" / "array size mismatch", R of zero rows included):
///
/// | situation                                                  | message                |
/// |------------------------------------------------------------|------------------------|
/// | x not a vector; custom: ncol(K) != nrow(R) or ncol(K) > L  | "array size mismatch"  |
/// | step < 1; sigma <= 0 (or NaN); kernel nlag or nmax < 1     | "Illegal data value"   |
/// | `siguniv_` matrix null / not double (kernel: type argument)| "null pointer" /       |
/// |                                                            | "Illegal data type"    |
/// | interrupt requested                                        | "interrupted"          |
///
///     mutils::_double_mat x, r;                 // x: 1 x 256 signal; r: 64 lags x 256 times
///     mutils::matdbl_malloc(&r, 64, 256);
///     if (const char* err = mutils::sigdbl_timefreq_autocorrelate_wigner(&x, 1, nullptr, &r)) { ... }
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `timefreq_autocorrelate_wigner`, `timefreq_autocorrelate_born_jordan`, `timefreq_autocorrelate_cone`,
/// `timefreq_autocorrelate_margeneau_hill`, `timefreq_autocorrelate_choi_williams`,
/// `timefreq_autocorrelate_custom`, `kernel_choi_williams` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* sigdbl_timefreq_autocorrelate_wigner(const _double_mat* x, int32_t step, void* intrp_ptr,
                                                            _double_mat* r);
MUTILS_API const char* sigdbl_timefreq_autocorrelate_born_jordan(const _double_mat* x, int32_t step, void* intrp_ptr,
                                                                 _double_mat* r);
MUTILS_API const char* sigdbl_timefreq_autocorrelate_cone(const _double_mat* x, int32_t step, void* intrp_ptr,
                                                          _double_mat* r);
MUTILS_API const char* sigdbl_timefreq_autocorrelate_margeneau_hill(const _double_mat* x, int32_t step, void* intrp_ptr,
                                                                    _double_mat* r);
MUTILS_API const char* sigdbl_timefreq_autocorrelate_choi_williams(const _double_mat* x, double sigma, int32_t step,
                                                                   void* intrp_ptr, _double_mat* r);
MUTILS_API const char* sigdbl_timefreq_autocorrelate_custom(const _double_mat* x, int32_t step,
                                                            const _double_mat* kernel, void* intrp_ptr, _double_mat* r);
/// Allocates the kernel (from the current arena) and fills it.
MUTILS_API const char* sigdbl_kernel_choi_williams(int32_t nlag, int32_t nmax, double sigma, void* intrp_ptr,
                                                   _double_mat* kernel);
/// @}

/// @{
/// `timefreq_autocorrelate_wigner`, `timefreq_autocorrelate_born_jordan`, `timefreq_autocorrelate_cone`,
/// `timefreq_autocorrelate_margeneau_hill`, `timefreq_autocorrelate_choi_williams`,
/// `timefreq_autocorrelate_custom`, `kernel_choi_williams` for each element type declared here; the contract,
/// element types and messages are in the file description.
MUTILS_API const char* siguniv_timefreq_autocorrelate_wigner(const _univ_mat* x, int32_t step, void* intrp_ptr,
                                                             _univ_mat* r);
MUTILS_API const char* siguniv_timefreq_autocorrelate_born_jordan(const _univ_mat* x, int32_t step, void* intrp_ptr,
                                                                  _univ_mat* r);
MUTILS_API const char* siguniv_timefreq_autocorrelate_cone(const _univ_mat* x, int32_t step, void* intrp_ptr,
                                                           _univ_mat* r);
MUTILS_API const char* siguniv_timefreq_autocorrelate_margeneau_hill(const _univ_mat* x, int32_t step, void* intrp_ptr,
                                                                     _univ_mat* r);
MUTILS_API const char* siguniv_timefreq_autocorrelate_choi_williams(const _univ_mat* x, double sigma, int32_t step,
                                                                    void* intrp_ptr, _univ_mat* r);
MUTILS_API const char* siguniv_timefreq_autocorrelate_custom(const _univ_mat* x, int32_t step, const _univ_mat* kernel,
                                                             void* intrp_ptr, _univ_mat* r);
/// `type` must be MUTIL_DOUBLE; the kernel is allocated as a double matrix.
MUTILS_API const char* siguniv_kernel_choi_williams(int32_t nlag, int32_t nmax, double sigma, void* intrp_ptr,
                                                    _univ_mat* kernel, _mutil_data_type type);
/// @}

}  // namespace mutils

/// @{
/// `timefreq_autocorrelate_custom`, `timefreq_autocorrelate_wigner`, `timefreq_autocorrelate_cone`,
/// `timefreq_autocorrelate_margeneau_hill`, `timefreq_autocorrelate_choi_williams`,
/// `timefreq_autocorrelate_born_jordan` for each element type declared here; the contract, element types and
/// messages are in the file description.
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_custom(const mutils::_univ_mat* x, int32_t step,
                                                                        const mutils::_univ_mat* kernel,
                                                                        void* intrp_ptr, mutils::_univ_mat* r);
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_wigner(const mutils::_univ_mat* x, int32_t step,
                                                                        void* intrp_ptr, mutils::_univ_mat* r);
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_cone(const mutils::_univ_mat* x, int32_t step,
                                                                      void* intrp_ptr, mutils::_univ_mat* r);
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_margeneau_hill(const mutils::_univ_mat* x,
                                                                                int32_t step, void* intrp_ptr,
                                                                                mutils::_univ_mat* r);
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_choi_williams(const mutils::_univ_mat* x, double sigma,
                                                                               int32_t step, void* intrp_ptr,
                                                                               mutils::_univ_mat* r);
MUTILS_API mutils::_mutil_errcode siguniv_timefreq_autocorrelate_born_jordan(const mutils::_univ_mat* x, int32_t step,
                                                                             void* intrp_ptr, mutils::_univ_mat* r);
/// @}
