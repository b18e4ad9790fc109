/// @file
/// Tiles: cutting a matrix into equal blocks, one block per row of a result, and back; and the
/// interleaving of the planes of a matrix set into one matrix.
///
/// `mat<t>_tile(A, tr, tc, intrp_ptr, R)` cuts A into tiles of tr x tc elements. The grid has
/// nrow(A) / tr tile rows and ncol(A) / tc tile columns (integer division: rows and columns left
/// over at the bottom and right are dropped); tiles are numbered row by row across the grid, and
/// element (i, j) of tile k goes to R(k, i x tc + j). R is (number of tiles) x (tr x tc).
/// `mat<t>_untile(A, tr, tc, intrp_ptr, R)` is the inverse: A holds one tile per row and R is
/// the image rebuilt; elements of R outside the tile grid (the leftover bottom rows and right
/// columns when R's size is not a multiple of the tile size) keep their values.
///
/// Typed members validate A then R (raising "null pointer" / "array size mismatch") and return,
/// in this order:
/// | condition                                                      | message                  |
/// |----------------------------------------------------------------|--------------------------|
/// | A and R share their data block                                 | "Illegal memory address" |
/// | tr < 1, tc < 1, or the tile larger than the image (tile: A,    | "Illegal data value"     |
/// | untile: R)                                                     |                          |
/// | the tile matrix does not have (number of tiles) rows, or       | "array size mismatch"    |
/// | tr x tc columns                                                |                          |
/// The universal members return "null pointer" for a null argument and "Illegal data type" when
/// A and R differ in element type, then run the typed member. Every element type has members.
///
/// Matrix sets (these return nothing and raise, like the storage operations):
/// - `matset_tile(S, intrp_ptr, R)` interleaves the P planes of S (all of one size and type, as
///   `matset_verify_allsame` checks) element by element: R is nrow x (P x ncol) of the planes'
///   type, and pixel (r, c) of plane p lands at R(r, c x P + p), so a three-plane colour image
///   becomes the familiar interleaved RGB rows.
/// - `matset_untile(A, intrp_ptr, S)` splits such a matrix back into the planes of a set that the
///   caller has allocated (same rules), so untiling a tiled set gives the set back.
/// - `matset_interpolate(A, B, F, intrp_ptr, S)` interpolates element by element between two
///   matrices of equal size: for every fraction f_k held in F (storage order, any real type, any
///   value; outside [0, 1] extrapolates), plane k of S receives (1 - f_k) A + f_k B, computed in
///   double, so f = 0 gives A and f = 1 gives B exactly. S must have one plane per element of F,
///   each of A's size and of one real type; integer planes receive floor(v + 0.5) and a value
///   that does not fit (or NaN) raises "overflow", as the unclipped casts do.
/// They raise "array size mismatch" for sizes that disagree, "Illegal data type" for element
/// types that disagree (or complex operands of the interpolation) and "Illegal memory address"
/// when the single matrix shares its data block with a plane.
///
///     mutils::_mat_set rgb;       // three u8 planes of 480 x 640
///     mutils::_univ_mat packed;   // u8, 480 x 1920
///     mutils::matset_tile(&rgb, nullptr, &packed);    // r g b r g b ... along each row
///     mutils::matset_untile(&packed, nullptr, &rgb);  // and back
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `tile` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_tile(const _double_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _double_mat* r);
MUTILS_API const char* matflt_tile(const _float_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _float_mat* r);
MUTILS_API const char* matu8_tile(const _uint8_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                  _uint8_mat* r);
MUTILS_API const char* matu16_tile(const _uint16_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _uint16_mat* r);
MUTILS_API const char* matu32_tile(const _uint32_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _uint32_mat* r);
MUTILS_API const char* mats16_tile(const _sint16_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _sint16_mat* r);
MUTILS_API const char* mats32_tile(const _sint32_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _sint32_mat* r);
MUTILS_API const char* matcpx_tile(const _dcomplex_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                   _dcomplex_mat* r);
MUTILS_API const char* matuniv_tile(const _univ_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                    _univ_mat* r);
/// @}

/// @{
/// `untile` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* matdbl_untile(const _double_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _double_mat* r);
MUTILS_API const char* matflt_untile(const _float_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _float_mat* r);
MUTILS_API const char* matu8_untile(const _uint8_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                    _uint8_mat* r);
MUTILS_API const char* matu16_untile(const _uint16_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _uint16_mat* r);
MUTILS_API const char* matu32_untile(const _uint32_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _uint32_mat* r);
MUTILS_API const char* mats16_untile(const _sint16_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _sint16_mat* r);
MUTILS_API const char* mats32_untile(const _sint32_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _sint32_mat* r);
MUTILS_API const char* matcpx_untile(const _dcomplex_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                     _dcomplex_mat* r);
MUTILS_API const char* matuniv_untile(const _univ_mat* a, int32_t tile_rows, int32_t tile_cols, void* intrp_ptr,
                                      _univ_mat* r);
/// @}

/// @{
/// `tile`, `untile`, `interpolate` for each element type declared here; the contract, element types and messages
/// are in the file description.
MUTILS_API void matset_tile(const _mat_set* s, void* intrp_ptr, _univ_mat* r);
MUTILS_API void matset_untile(const _univ_mat* a, void* intrp_ptr, _mat_set* s);
MUTILS_API void matset_interpolate(const _univ_mat* a, const _univ_mat* b, const _univ_mat* fractions, void* intrp_ptr,
                                   _mat_set* s);
/// @}

}  // namespace mutils
