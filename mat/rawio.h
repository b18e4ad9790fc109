/// @file
/// Matrices as raw element bytes on caller-opened streams: nelem x element size bytes in storage
/// order (row-major), with no header, sizes or type mark; the reader must know the matrix's size
/// and type and pass a matrix allocated to match.
/// NaN and infinities are written and read as their bytes, unchanged (a NaN's payload included).
///
/// The `unsigned char` flag selects the byte order of the file: 0 the processor's own, non-zero
/// each element's bytes reversed (so a little-endian machine reads and writes big-endian files
/// with 1). Floating elements are reversed as whole 4- or 8-byte words. The u8 members have no
/// flag; the universal members ignore it for u8 matrices.
///
/// `read_raw(stream, offset, flag, intrp, m)` first skips `offset` bytes from the stream's
/// current position (seeking, or reading and discarding on a stream that cannot seek; a
/// negative offset is "Illegal data value"), then reads exactly nelem elements: a short stream
/// is "Input-output error" (the bytes read so far stay in the matrix). `write_raw(stream, m,
/// flag, intrp)` writes the elements with no header; a short write is "Input-output error".
/// A null stream is "null pointer"; an invalid matrix raises as validate does, except a record
/// with no elements (0 rows or 0 columns, nelem 0), for which nothing is read or written.
/// Both poll the interrupt once and may return "interrupted"; complex matrices and tag 1 are
/// "Illegal data type" for the universal members.
///
///     FILE* f = std::fopen("block.bin", "wb");
///     mutils::matuniv_write_raw(f, &m, 0, nullptr);          // native byte order
#pragma once

#include <cstdio>

#include "../core/errors.h"

namespace mutils {

/// @{
/// `read_raw` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _double_mat* m);
MUTILS_API const char* matflt_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _float_mat* m);
MUTILS_API const char* matu8_read_raw(FILE* stream, int32_t offset, void* intrp_ptr, _uint8_mat* m);
MUTILS_API const char* matu16_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _uint16_mat* m);
MUTILS_API const char* matu32_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _uint32_mat* m);
MUTILS_API const char* mats16_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _sint16_mat* m);
MUTILS_API const char* mats32_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                       _sint32_mat* m);
MUTILS_API const char* matuniv_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                        _univ_mat* m);
/// @}

/// @{
/// `write_raw` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_write_raw(FILE* stream, const _double_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* matflt_write_raw(FILE* stream, const _float_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* matu8_write_raw(FILE* stream, const _uint8_mat* m, void* intrp_ptr);
MUTILS_API const char* matu16_write_raw(FILE* stream, const _uint16_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* matu32_write_raw(FILE* stream, const _uint32_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* mats16_write_raw(FILE* stream, const _sint16_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* mats32_write_raw(FILE* stream, const _sint32_mat* m, unsigned char swap, void* intrp_ptr);
MUTILS_API const char* matuniv_write_raw(FILE* stream, const _univ_mat* m, unsigned char swap, void* intrp_ptr);
/// @}

}  // namespace mutils

/// @{
/// `read_raw`, `write_raw` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API mutils::_mutil_errcode matuniv_read_raw(FILE* stream, int32_t offset, unsigned char swap, void* intrp_ptr,
                                                   mutils::_univ_mat* m);
MUTILS_API mutils::_mutil_errcode matuniv_write_raw(FILE* stream, const mutils::_univ_mat* m, unsigned char swap,
                                                    void* intrp_ptr);
/// @}
