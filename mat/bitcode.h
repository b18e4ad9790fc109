/// @file
/// Fixed-length bit codes: integer values packed into a byte stream with `nbits` bits each, and
/// unpacked again.
/// The values are integers (floating matrices are refused), so NaN does not arise.
///
/// `matuniv_bit_compact_fixed_length_code(A, nbits, ncodes, expand, intrp, R)`:
///   expand == 0, compaction: the first `ncodes` elements of the integer matrix A (all of them
///     when ncodes is 0) are written to the u8 matrix R as codes of `nbits` bits, the first code
///     in the most significant bits of R's first byte, codes following each other without
///     padding; the unused low bits of the last byte and any further bytes of R are zero. R needs
///     at least ceil(ncodes * nbits / 8) elements. Unsigned values must be below 2^nbits; signed
///     values within [-2^(nbits-1), 2^(nbits-1)) are stored in two's complement. A value that
///     does not fit is "Illegal data value".
///   expand != 0, expansion: A is the u8 byte stream and R the integer matrix that receives
///     `ncodes` codes (R's element count when 0), sign-extended when R is signed; the elements of
///     R after the last code are set to 0. nbits above R's element width is "Illegal data value".
///   nbits must be 1 to 32 ("Illegal data value"); "array size mismatch" when ncodes exceeds the
///   values at hand or the byte matrix is too small; "Illegal data type" for a non-integer
///   operand or a byte stream that is not u8; "Illegal memory address" when R shares A's storage;
///   "null pointer" for a null record; "interrupted".
///
///     // Twelve-bit samples into 3 bytes per pair:
///     mutils::matuniv_bit_compact_fixed_length_code(&samples, 12, 0, 0, nullptr, &bytes);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// `matuniv_bit_compact_fixed_length_code`: the contract, element types and messages are in the file description.
MUTILS_API const char* matuniv_bit_compact_fixed_length_code(const _univ_mat* a, uint32_t nbits, uint32_t ncodes,
                                                             unsigned char expand, void* intrp_ptr, _univ_mat* r);

}  // namespace mutils
