/// @file
/// Structural operations: moving elements between positions without changing their values.
/// Elements keep their bits, so NaN and infinities move like any other value.
///
/// Every operation has typed members (double, float, u8, u16, u32, s16, s32 and, where listed,
/// double complex) and a `matuniv_` member. The universal member returns "null pointer" when an
/// argument is null and "Illegal data type" when the two matrices differ in element type (or the
/// family has no member of that type), then runs the typed member. Typed members validate A and
/// then R, raising "null pointer" / "array size mismatch" for invalid records, and return the
/// messages below in the order listed. Rows and columns count from 0.
///
/// | operation          | rule                                                 | returned failures, in order      |
/// |--------------------|------------------------------------------------------|----------------------------------|
/// | assign_submat      | R(r0 + i, c0 + j) = A(i, j); the rest of R is kept   | size: r0 < 0, nrow(A) + r0 >     |
/// |                    |                                                      | nrow(R), c0 < 0, ncol(A) + c0 >  |
/// |                    |                                                      | ncol(R); then shared block       |
/// |                    |                                                      | "Illegal memory address"         |
/// | extract            | R(i, j) = A(r0 + i, c0 + j) for R's whole size       | shared block "Illegal memory     |
/// |                    |                                                      | address"; then the block must    |
/// |                    |                                                      | lie inside A ("array size        |
/// |                    |                                                      | mismatch")                       |
/// | assign_zeropad     | A in R's top-left corner, every other element 0      | as assign_submat at (0, 0)       |
/// | transpose          | R(i, j) = A(j, i); R is ncol(A) x nrow(A)            | "array size mismatch"            |
/// | translate          | R(r + dr, c + dc) = A(r, c) where that lies in R;    | shared block, or R not of A's    |
/// |                    | vacated places take `fill` (positive dr: down,       | size: "array size mismatch"      |
/// |                    | positive dc: right)                                  |                                  |
/// | flip_left_right    | R(i, j) = A(i, ncol - 1 - j)                         | R not of A's size: "array size   |
/// | flip_up_down       | R(i, j) = A(nrow - 1 - i, j)                         | mismatch"                        |
///
/// Transposing onto the source's own data block is allowed for vectors only: the elements stay
/// where they are (a vector's storage order does not change) and R's record becomes ncol(A) x
/// nrow(A) (R must hold as many elements as A). Any other shape sharing the block returns "array
/// size mismatch". The flips accept R = A (they then swap elements in place). Translate refuses
/// a shared block even for a zero shift, with "array size mismatch".
///
/// `matuniv_translate` takes its fill value as a universal scalar, read in R's element type by
/// the rule of the universal scalar operations: a scalar of R's type is taken as it is; a float
/// or double scalar with an integer R, or a complex scalar, gives "Illegal data type"; an integer
/// scalar for an integer R must lie in its symmetric range (u8 [0, 255], u16 [0, 65535], s16
/// [-32767, 32767], u32 [0, 4294967295], s32 [-2147483647, 2147483647]), else "Illegal data type".
///
///     mutils::_double_mat sig, padded;          // 1 x 300 signal, 1 x 512 work row
///     mutils::matdbl_assign_zeropad(&sig, nullptr, &padded);   // padded = [sig, 0, ..., 0]
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `assign_submat` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_assign_submat(const _double_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _double_mat* r);
MUTILS_API const char* matflt_assign_submat(const _float_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _float_mat* r);
MUTILS_API const char* matu8_assign_submat(const _uint8_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                           _uint8_mat* r);
MUTILS_API const char* matu16_assign_submat(const _uint16_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _uint16_mat* r);
MUTILS_API const char* matu32_assign_submat(const _uint32_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _uint32_mat* r);
MUTILS_API const char* mats16_assign_submat(const _sint16_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _sint16_mat* r);
MUTILS_API const char* mats32_assign_submat(const _sint32_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                            _sint32_mat* r);
MUTILS_API const char* matcpx_assign_submat(const _dcomplex_mat* a, int32_t first_row, int32_t first_col,
                                            void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API const char* matuniv_assign_submat(const _univ_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                             _univ_mat* r);
/// @}

/// @{
/// `extract` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_extract(const _double_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _double_mat* r);
MUTILS_API const char* matflt_extract(const _float_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _float_mat* r);
MUTILS_API const char* matu8_extract(const _uint8_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                     _uint8_mat* r);
MUTILS_API const char* matu16_extract(const _uint16_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _uint16_mat* r);
MUTILS_API const char* matu32_extract(const _uint32_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _uint32_mat* r);
MUTILS_API const char* mats16_extract(const _sint16_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _sint16_mat* r);
MUTILS_API const char* mats32_extract(const _sint32_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _sint32_mat* r);
MUTILS_API const char* matcpx_extract(const _dcomplex_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                      _dcomplex_mat* r);
MUTILS_API const char* matuniv_extract(const _univ_mat* a, int32_t first_row, int32_t first_col, void* intrp_ptr,
                                       _univ_mat* r);
/// @}

/// @{
/// Every type except complex.
MUTILS_API const char* matdbl_assign_zeropad(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_assign_zeropad(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_assign_zeropad(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_assign_zeropad(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_assign_zeropad(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_assign_zeropad(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_assign_zeropad(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_assign_zeropad(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `transpose` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_transpose(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_transpose(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_transpose(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_transpose(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_transpose(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_transpose(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_transpose(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matcpx_transpose(const _dcomplex_mat* a, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API const char* matuniv_transpose(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// Every type except complex; `matuniv_translate` reads the fill scalar as described above.
MUTILS_API const char* matdbl_translate(const _double_mat* a, int32_t row_shift, int32_t col_shift, double fill,
                                        void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_translate(const _float_mat* a, int32_t row_shift, int32_t col_shift, float fill,
                                        void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_translate(const _uint8_mat* a, int32_t row_shift, int32_t col_shift, unsigned char fill,
                                       void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_translate(const _uint16_mat* a, int32_t row_shift, int32_t col_shift, uint16_t fill,
                                        void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_translate(const _uint32_mat* a, int32_t row_shift, int32_t col_shift, uint32_t fill,
                                        void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_translate(const _sint16_mat* a, int32_t row_shift, int32_t col_shift, int16_t fill,
                                        void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_translate(const _sint32_mat* a, int32_t row_shift, int32_t col_shift, int32_t fill,
                                        void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_translate(const _univ_mat* a, int32_t row_shift, int32_t col_shift, _univ_scalar fill,
                                         void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `flip_left_right` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_flip_left_right(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_flip_left_right(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_flip_left_right(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_flip_left_right(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_flip_left_right(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_flip_left_right(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_flip_left_right(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matcpx_flip_left_right(const _dcomplex_mat* a, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API const char* matuniv_flip_left_right(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `flip_up_down` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_flip_up_down(const _double_mat* a, void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matflt_flip_up_down(const _float_mat* a, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_flip_up_down(const _uint8_mat* a, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_flip_up_down(const _uint16_mat* a, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* matu32_flip_up_down(const _uint32_mat* a, void* intrp_ptr, _uint32_mat* r);
MUTILS_API const char* mats16_flip_up_down(const _sint16_mat* a, void* intrp_ptr, _sint16_mat* r);
MUTILS_API const char* mats32_flip_up_down(const _sint32_mat* a, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matcpx_flip_up_down(const _dcomplex_mat* a, void* intrp_ptr, _dcomplex_mat* r);
MUTILS_API const char* matuniv_flip_up_down(const _univ_mat* a, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils
