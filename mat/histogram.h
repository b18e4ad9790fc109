/// @file
/// Histograms, two-level thresholds and table lookup: mapping each element of a matrix by its value.
///
/// Histogram (`mat<t>_histogram(A, a, b, include_lower, intrp_ptr, H)`; members dbl, s32, u16, u8
/// and univ). H is a u32 column: its row count is the number of bins B and each bin k counts the
/// elements in the half-open interval (a + k w, a + (k + 1) w], w = (b - a) / B. So the upper edge
/// b falls in the last bin, values below a or above b (and NaN) are not counted, and an element
/// equal to a is counted in bin 0 only when `include_lower` is non-zero. Integer elements are
/// converted to double first. a = b is accepted: only a itself can then be counted.
///
/// Threshold (`mat<t>_threshold(A, L, U, outside, inside, intrp_ptr, R)`; members dbl, s32, u16,
/// u8 and univ): R(i) = inside where L <= A(i) <= U, compared in double, and outside elsewhere;
/// a NaN element gives the inside value. R may be A.
///
/// Table lookup (`mat<t>_table_lookup(A, T, intrp_ptr, R)`; every real type and univ): R(i) =
/// entry v of the table T, the entries of T numbered in storage order (any shape). An integer
/// element names the entry of its unsigned bit pattern: v = A(i) for unsigned types, and a
/// negative s16 value v names entry v + 65536, so a 65536-entry table maps every u16 and every
/// s16 value alike (s16 runs the u16 member's body, s32 the u32 one); a negative s32 value names
/// no entry. A floating element names its value rounded half up (as the casts round). T may have
/// any real element type: its entries are brought to A's type with the clipping cast (rounded half
/// up, clipped to the type's range). Every element of A must name an entry: an element past the
/// last entry (or below -0.5, or NaN) returns "Illegal data value" before anything is written.
/// R may be A; R may not share the table's data block.
///
/// | condition, in the order checked (after raising for invalid records, inputs first) | message |
/// |------------------------------------------------------------------------------------|---------|
/// | univ members: a null argument                                                      | "null pointer" |
/// | univ members: no member for the type; R (threshold, lookup) not of A's type; a      | "Illegal data type" |
/// | complex table; a scalar that does not fit (see `matuniv_threshold`)                |         |
/// | histogram: H not a single column; threshold, lookup: R not of A's size              | "array size mismatch" |
/// | histogram, threshold: upper bound below lower bound                                 | "Illegal data value" |
/// | lookup: R shares the table's data block                                            | "Illegal memory address" |
/// | lookup: an element naming no entry                                                 | "Illegal data value" |
///
/// `matuniv_threshold` reads its two scalars in A's element type by the rule of the universal
/// scalar operations: a scalar of that type is taken as it is; a float or double scalar for an
/// integer type, or a complex scalar, is "Illegal data type"; an integer scalar for an integer type
/// must lie in its symmetric range (u8 [0, 255], u16 [0, 65535], s32 [-2147483647, 2147483647]).
///
///     mutils::_uint32_mat h;                   // 256 x 1
///     mutils::matuniv_histogram(&img, -0.5, 255.5, 1, nullptr, &h);   // one bin per grey level
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `histogram` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_histogram(const _double_mat* a, double lower, double upper, unsigned char include_lower,
                                        void* intrp_ptr, _uint32_mat* counts);
MUTILS_API const char* matu8_histogram(const _uint8_mat* a, double lower, double upper, unsigned char include_lower,
                                       void* intrp_ptr, _uint32_mat* counts);
MUTILS_API const char* matu16_histogram(const _uint16_mat* a, double lower, double upper, unsigned char include_lower,
                                        void* intrp_ptr, _uint32_mat* counts);
MUTILS_API const char* mats32_histogram(const _sint32_mat* a, double lower, double upper, unsigned char include_lower,
                                        void* intrp_ptr, _uint32_mat* counts);
MUTILS_API const char* matuniv_histogram(const _univ_mat* a, double lower, double upper, unsigned char include_lower,
                                         void* intrp_ptr, _uint32_mat* counts);
/// @}

/// @{
/// `threshold` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_threshold(const _double_mat* a, double lower, double upper, double outside, double inside,
                                        void* intrp_ptr, _double_mat* r);
MUTILS_API const char* matu8_threshold(const _uint8_mat* a, double lower, double upper, unsigned char outside,
                                       unsigned char inside, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_threshold(const _uint16_mat* a, double lower, double upper, uint16_t outside,
                                        uint16_t inside, void* intrp_ptr, _uint16_mat* r);
MUTILS_API const char* mats32_threshold(const _sint32_mat* a, double lower, double upper, int32_t outside,
                                        int32_t inside, void* intrp_ptr, _sint32_mat* r);
MUTILS_API const char* matuniv_threshold(const _univ_mat* a, double lower, double upper, _univ_scalar outside,
                                         _univ_scalar inside, void* intrp_ptr, _univ_mat* r);
/// @}

/// @{
/// `table_lookup` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_table_lookup(const _double_mat* a, const _univ_mat* table, void* intrp_ptr,
                                           _double_mat* r);
MUTILS_API const char* matflt_table_lookup(const _float_mat* a, const _univ_mat* table, void* intrp_ptr, _float_mat* r);
MUTILS_API const char* matu8_table_lookup(const _uint8_mat* a, const _univ_mat* table, void* intrp_ptr, _uint8_mat* r);
MUTILS_API const char* matu16_table_lookup(const _uint16_mat* a, const _univ_mat* table, void* intrp_ptr,
                                           _uint16_mat* r);
MUTILS_API const char* matu32_table_lookup(const _uint32_mat* a, const _univ_mat* table, void* intrp_ptr,
                                           _uint32_mat* r);
MUTILS_API const char* mats16_table_lookup(const _sint16_mat* a, const _univ_mat* table, void* intrp_ptr,
                                           _sint16_mat* r);
MUTILS_API const char* mats32_table_lookup(const _sint32_mat* a, const _univ_mat* table, void* intrp_ptr,
                                           _sint32_mat* r);
MUTILS_API const char* matuniv_table_lookup(const _univ_mat* a, const _univ_mat* table, void* intrp_ptr, _univ_mat* r);
/// @}

}  // namespace mutils

/// @{
/// `histogram`, `threshold` for each element type declared here; the contract, element types and messages are in
/// the file description.
MUTILS_API mutils::_mutil_errcode matuniv_histogram(const mutils::_univ_mat* a, double lower, double upper,
                                                    unsigned char include_lower, void* intrp_ptr,
                                                    mutils::_uint32_mat* counts);
MUTILS_API mutils::_mutil_errcode matuniv_threshold(const mutils::_univ_mat* a, double lower, double upper,
                                                    mutils::_univ_scalar outside, mutils::_univ_scalar inside,
                                                    void* intrp_ptr, mutils::_univ_mat* r);
/// @}
