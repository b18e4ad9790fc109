/// @file
/// Matrix storage: allocate, resize, wrap caller memory, validate, and matrix sets.
///
/// Every operation here returns nothing and raises `Hux::Error` (code 0xFFFFFFFF) on failure:
/// "null pointer" for a null record, "array size mismatch" for non-positive or inconsistent
/// sizes, "Illegal data type" for a universal tag of 1 or above 8 — except the two universal
/// wrap operations, which admit tag 1 and answer a tag above 8 with "Illegal data value".
/// Blocks come from the calling thread's arena (`Hux::ImcAllocator::m_current`) and are never
/// released by the library: the free operations only clear or check records.
///
///     mutils::_univ_mat img;
///     mutils::matuniv_malloc(&img, 480, 640, mutils::MUTIL_UINT8);   // elements not cleared
///     mutils::matuniv_validate(&img);                                 // raises on a bad record
#pragma once

#include "errors.h"

namespace mutils {

/// @{
/// `malloc` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API void matdbl_malloc(_double_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matflt_malloc(_float_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu8_malloc(_uint8_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu16_malloc(_uint16_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu32_malloc(_uint32_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void mats16_malloc(_sint16_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void mats32_malloc(_sint32_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matcpx_malloc(_dcomplex_mat* m, int32_t nrow, int32_t ncol);
/// Stores `type` first (even when the call then fails), then allocates.
MUTILS_API void matuniv_malloc(_univ_mat* m, int32_t nrow, int32_t ncol, _mutil_data_type type);
/// @}

/// @{
/// Resizes; a new block is allocated when the byte size does not shrink, and the old bytes are
/// copied by flat index (the bytes past the old size are undefined). A smaller size keeps the block.
MUTILS_API void matdbl_realloc(_double_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matflt_realloc(_float_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu8_realloc(_uint8_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu16_realloc(_uint16_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matu32_realloc(_uint32_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void mats16_realloc(_sint16_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void mats32_realloc(_sint32_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matcpx_realloc(_dcomplex_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API void matuniv_realloc(_univ_mat* m, int32_t nrow, int32_t ncol);
/// @}

/// @{
/// `validate` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API void matdbl_validate(const _double_mat* m);
MUTILS_API void matflt_validate(const _float_mat* m);
MUTILS_API void matu8_validate(const _uint8_mat* m);
MUTILS_API void matu16_validate(const _uint16_mat* m);
MUTILS_API void matu32_validate(const _uint32_mat* m);
MUTILS_API void mats16_validate(const _sint16_mat* m);
MUTILS_API void mats32_validate(const _sint32_mat* m);
MUTILS_API void matcpx_validate(const _dcomplex_mat* m);
MUTILS_API void matuniv_validate(const _univ_mat* m);
/// @}

/// @{
/// Borrows the caller's buffer (never owned), then validates the record.
MUTILS_API void matdbl_wrap_data(_double_mat* m, double* data, int32_t nrow, int32_t ncol);
MUTILS_API void matflt_wrap_data(_float_mat* m, float* data, int32_t nrow, int32_t ncol);
MUTILS_API void matu8_wrap_data(_uint8_mat* m, unsigned char* data, int32_t nrow, int32_t ncol);
MUTILS_API void matu16_wrap_data(_uint16_mat* m, uint16_t* data, int32_t nrow, int32_t ncol);
MUTILS_API void matu32_wrap_data(_uint32_mat* m, uint32_t* data, int32_t nrow, int32_t ncol);
MUTILS_API void mats16_wrap_data(_sint16_mat* m, int16_t* data, int32_t nrow, int32_t ncol);
MUTILS_API void mats32_wrap_data(_sint32_mat* m, int32_t* data, int32_t nrow, int32_t ncol);
/// Does not check sizes; admits tag 1; a tag above 8 raises "Illegal data value".
MUTILS_API void matuniv_wrap_data(_univ_mat* m, void* data, int32_t nrow, int32_t ncol, _mutil_data_type type);
/// Copies the four fields of a typed record under `type`; does not validate.
MUTILS_API void matuniv_wrap_matrix(_univ_mat* m, void* typed, _mutil_data_type type);
/// @}

/// @{
/// `malloc`, `malloc_matrices`, `malloc_matrices_arbitrary_size`, `resize`, `validate`, `verify_allsame`,
/// `verify_aresame`, `free`, `free_matrices` for each element type declared here; the contract, element types and
/// messages are in the file description.
MUTILS_API void matset_malloc(_mat_set* s, int32_t ndim, const int32_t* dims);
MUTILS_API void matset_malloc_matrices(_mat_set* s, int32_t nrow, int32_t ncol, _mutil_data_type type);
MUTILS_API void matset_malloc_matrices_arbitrary_size(_mat_set* s, const _sint32_mat* nrows, const _sint32_mat* ncols,
                                                      _mutil_data_type type);
/// Changes only the shape of the set: ndim < 1 raises "Illegal data value"; an extent below 1
/// or a product other than nmat raises "array size mismatch".
MUTILS_API void matset_resize(int32_t ndim, const int32_t* dims, _mat_set* s);
MUTILS_API void matset_validate(const _mat_set* s);
MUTILS_API void matset_verify_allsame(const _mat_set* s);
MUTILS_API void matset_verify_aresame(const _mat_set* a, const _mat_set* b);
MUTILS_API void matset_free(_mat_set* s);
MUTILS_API void matset_free_matrices(_mat_set* s);
/// @}

/// @{
/// Raw arena blocks (the sizes are taken as unsigned; nothing is cleared). A null `out` or
/// `block` raises "null pointer". mutil_realloc replaces *block by a copy when the size does not
/// shrink (the old bytes are copied) and otherwise does nothing.
MUTILS_API void mutil_malloc(int32_t nbytes, void** out);
MUTILS_API void mutil_calloc(int32_t count, uint32_t size, void** out);
MUTILS_API void mutil_realloc(void** block, int32_t new_size, int32_t old_size);
/// @}

}  // namespace mutils

/// @{
/// Plain entry points: the operation's outcome as an error code (0 on success).
MUTILS_API mutils::_mutil_errcode matuniv_malloc(mutils::_univ_mat* m, int32_t nrow, int32_t ncol,
                                                 mutils::_mutil_data_type type);
MUTILS_API mutils::_mutil_errcode matdbl_malloc(mutils::_double_mat* m, int32_t nrow, int32_t ncol);
MUTILS_API mutils::_mutil_errcode matuniv_validate(const mutils::_univ_mat* m);
MUTILS_API mutils::_mutil_errcode matuniv_wrap_matrix(mutils::_univ_mat* m, void* typed, mutils::_mutil_data_type type);
MUTILS_API mutils::_mutil_errcode matuniv_wrap_data(mutils::_univ_mat* m, void* data, int32_t nrow, int32_t ncol,
                                                    mutils::_mutil_data_type type);
MUTILS_API mutils::_mutil_errcode matset_malloc(mutils::_mat_set* s, int32_t ndim, const int32_t* dims);
MUTILS_API mutils::_mutil_errcode matset_malloc_matrices(mutils::_mat_set* s, int32_t nrow, int32_t ncol,
                                                         mutils::_mutil_data_type type);
MUTILS_API mutils::_mutil_errcode matset_free(mutils::_mat_set* s);
MUTILS_API mutils::_mutil_errcode matset_free_matrices(mutils::_mat_set* s);
MUTILS_API mutils::_mutil_errcode mutil_malloc(int32_t nbytes, void** out);
/// Release entry points: the arena owns every block, so these do nothing and return 0.
MUTILS_API mutils::_mutil_errcode matdbl_free(mutils::_double_mat* m);
MUTILS_API mutils::_mutil_errcode matuniv_free(mutils::_univ_mat* m);
MUTILS_API mutils::_mutil_errcode mutil_free(void* block);
/// @}
