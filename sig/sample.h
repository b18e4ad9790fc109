/// @file
/// Resampling of a matrix by integer factors: down-sampling keeps every f-th sample, up-sampling
/// puts f - 1 zeros after every sample.
/// Samples are copied as they are, NaN and infinities included.
///
/// Arguments: data, rfactor, cfactor, row mode, column mode, intrp_ptr, result. The result record is
/// allocated here (the caller passes an unallocated record) with the data's element type. Each
/// dimension of n samples is resampled by its factor f according to its mode:
///   mode 0, down: keeps samples 0, f, 2f, ...; new size n when f = 1, else max(1, floor((n + 1) / f))
///                 (so n = 10, f = 3 keeps 3 samples, 0, 3 and 6, though 9 is also below n);
///   mode 1, up:   new size n * f; sample k goes to k * f, zeros elsewhere.
/// The two dimensions are independent, so mixed modes keep the rows of one rule and the columns of
/// the other.
///
/// Messages: an invalid data record raises ("null pointer", "array size mismatch"), as does a null
/// result record ("null pointer"); a factor below 1: "Illegal data value"; a result larger than
/// 2^31 - 1 elements or rows/columns: "Illegal data value". A mode byte other than 0 or 1 in either
/// position returns success without touching the result (accepted silently by design).
///
/// `siguniv_sample` dispatches on the data type (u8; u16 and s16; u32 and s32; float; double;
/// complex — members of equal width share their body), "Illegal data type" for any other, and sets
/// the result's type to the data's after success.
///
///     mutils::_double_mat half;   // unallocated
///     mutils::sigdbl_sample(&img, 2, 2, 0, 0, nullptr, &half);   // every second row and column
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `sample` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* sigdbl_sample(const _double_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                     unsigned char cmode, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* sigflt_sample(const _float_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                     unsigned char cmode, void* intrp_ptr, _float_mat* result);
MUTILS_API const char* sigs32_sample(const _sint32_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                     unsigned char cmode, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* sigs16_sample(const _sint16_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                     unsigned char cmode, void* intrp_ptr, _sint16_mat* result);
MUTILS_API const char* sigu8_sample(const _uint8_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                    unsigned char cmode, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* sigcpx_sample(const _dcomplex_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                     unsigned char cmode, void* intrp_ptr, _dcomplex_mat* result);
MUTILS_API const char* siguniv_sample(const _univ_mat* data, int32_t rfactor, int32_t cfactor, unsigned char rmode,
                                      unsigned char cmode, void* intrp_ptr, _univ_mat* result);
/// @}

}  // namespace mutils
