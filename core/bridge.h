/// @file
/// The bridge between the host's matrices (`Hux::aMatrix`, column-major, element (r, c) of a
/// part at m_stride * c + r) and the library's row-major matrices. Every transfer keeps the
/// (row, column) places and changes only the storage order.
///
/// Checks, in order (returned messages unless marked raised):
///
/// | operation                            | checks                                                 |
/// |--------------------------------------|--------------------------------------------------------|
/// | `matuniv_assign_from_quirnel(M, U)`  | M or U null: "null pointer"; U validated (raised);     |
/// |                                      | U not m_rows x m_cols: "array size mismatch"; U double |
/// |                                      | and M has an imaginary part, or U complex and M has    |
/// |                                      | only an imaginary part, or U of another type: "Illegal |
/// |                                      | data type". A real M gives a complex U imaginary 0.    |
/// | `matuniv_assign_to_quirnel(U, M)`    | U or M null: "null pointer"; U validated (raised); U   |
/// |                                      | not m_rows x m_cols: "array size mismatch"; U complex  |
/// |                                      | and M not complex (both parts present): "Illegal data  |
/// |                                      | type". Every real type converts exactly to double.     |
/// | `matset_assign_from_quirnel_color`   | M or S null: "null pointer"; `matset_verify_allsame(S)`|
/// | (M, S)                               | and each plane validated (raised); S not 3 planes or M |
/// |                                      | not nrow x 3 ncol: "array size mismatch"; planes not   |
/// |                                      | double: "Illegal data type". M's imaginary part is     |
/// |                                      | ignored.                                               |
/// | `matset_assign_to_quirnel_color`     | as above, with 3 planes or 1 (a grey plane fills all   |
/// | (S, M)                               | three colour blocks) and plane types u8, u16, u32 or   |
/// |                                      | double.                                                |
///
/// A host colour image of width w stands its three planes side by side: plane i in columns
/// [i w, (i + 1) w). Besides the checks above, a host matrix whose stride is smaller than its
/// row count gives "array size mismatch" and a missing real part where one is read or written
/// gives "null pointer". Nothing is written before the checks pass.
///
/// `allocRealColArr(M)` and `allocImagColArr(M)` return an array of m_cols pointers, pointer c
/// at element (0, c) of the real or imaginary part (all null when that part is absent). The array
/// comes from the global array `new`, not from the arena: the caller releases it with
/// `delete[]`. A null M, or an allocation that fails, gives a null array; m_cols < 1 gives an
/// empty one.
///
///     Hux::aMatrix host = ...;                   // 480 x 640 real host matrix
///     mutils::_univ_mat u;
///     mutils::matuniv_malloc(&u, 480, 640, mutils::MUTIL_DOUBLE);
///     mutils::matuniv_assign_from_quirnel(&host, &u);
#pragma once

#include "errors.h"
#include "host.h"

namespace mutils {

/// @{
/// `assign_from_quirnel`, `assign_to_quirnel`, `assign_from_quirnel_color`, `assign_to_quirnel_color` for each
/// element type declared here; the contract, element types and messages are in the file description.
MUTILS_API const char* matuniv_assign_from_quirnel(const Hux::aMatrix* m, _univ_mat* u);
MUTILS_API const char* matuniv_assign_to_quirnel(const _univ_mat* u, Hux::aMatrix* m);
MUTILS_API const char* matset_assign_from_quirnel_color(const Hux::aMatrix* m, _mat_set* s);
MUTILS_API const char* matset_assign_to_quirnel_color(const _mat_set* s, Hux::aMatrix* m);
/// @}

/// @{
/// `allocRealColArr`, `allocImagColArr` for each element type declared here; the contract, element types and
/// messages are in the file description.
MUTILS_API double** allocRealColArr(Hux::aMatrix* m);
MUTILS_API const double** allocRealColArr(const Hux::aMatrix* m);
MUTILS_API double** allocImagColArr(Hux::aMatrix* m);
MUTILS_API const double** allocImagColArr(const Hux::aMatrix* m);
/// @}

}  // namespace mutils

/// @{
/// `assign_from_quirnel`, `assign_to_quirnel`, `assign_from_quirnel_color`, `assign_to_quirnel_color` for each
/// element type declared here; the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode matuniv_assign_from_quirnel(const Hux::aMatrix* m, mutils::_univ_mat* u);
MUTILS_API mutils::_mutil_errcode matuniv_assign_to_quirnel(const mutils::_univ_mat* u, Hux::aMatrix* m);
MUTILS_API mutils::_mutil_errcode matset_assign_from_quirnel_color(const Hux::aMatrix* m, mutils::_mat_set* s);
MUTILS_API mutils::_mutil_errcode matset_assign_to_quirnel_color(const mutils::_mat_set* s, Hux::aMatrix* m);
/// @}
