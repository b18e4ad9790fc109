/// @file
/// Region growing: merging of a grid of initial regions by the piecewise-constant Mumford-Shah
/// energy, and tolerance flood fills from seed pixels.
///
///     // segment an image into 50 regions of near-constant grey level
///     mutils::_univ_mat labels, approx;  int32_t count;
///     mutils::matuniv_malloc(&labels, img.nrow, img.ncol, mutils::MUTIL_UINT32);
///     mutils::matuniv_malloc(&approx, img.nrow, img.ncol, mutils::MUTIL_DOUBLE);
///     mutils::imguniv_region_grow_klm(&img, 1, 1, INFINITY, 50, nullptr, &labels, &approx, &count);
#pragma once

#include "../core/errors.h"
#include "components.h"

namespace mutils {

/// @{
/// Region merging (Koepfler, Lopez and Morel): the energy of a partition into regions R is
///
///     E = sum_R sum_{x in R} |I(x) - mean_R|^2 + scale * l
///
/// with l the number of 4-adjacent pixel pairs in different regions (|.| over the bands of a
/// set). The initial regions are blocks of `grid_rows` x `grid_cols` pixels from the top-left
/// corner (partial blocks at the bottom and right), numbered in raster order. Merging adjacent
/// regions i and j changes E by n_i n_j / (n_i + n_j) |mean_i - mean_j|^2 - scale * l_ij, so
/// the pair merges at the scale
///
///     lambda_ij = sum_b (S_ib n_j - S_jb n_i)^2 / (n_i n_j (n_i + n_j) l_ij)
///
/// (S the regions' sums per band, n their sizes, l_ij their common boundary length), always
/// evaluated in this one form, so that equal scales compare equal. The adjacent pair of smallest
/// lambda is merged (ties: the smaller pair of region numbers; the merged region keeps the
/// smaller number) while that lambda is at most `scale` and more than `min_regions` regions
/// remain. The regions and their boundary lengths are kept in an adjacency graph and the
/// candidate pairs in a heap with lazy deletion: O(E log E) for E adjacent pairs. Scale 0 with a
/// 1 x 1 grid merges exactly the equal-valued neighbours; an infinite scale merges down to
/// `min_regions`. A scale that comes out NaN (NaN or infinite pixels) counts as infinite.
///
/// Results: `labels` 1 ... count, numbered in the raster order of each region's first pixel;
/// `approximation` the mean of each pixel's region (plane by plane for sets); `count`.
///
/// The bound on the grid sizes is 1, or for images of more than 2^23 pixels the smallest s with
/// ceil(nrow / s) ceil(ncol / s) <= 2^23 (which keeps the merge graph near 1 GiB): each of
/// grid_rows and grid_cols must be at least the bound. Its message is formatted into a block of
/// the caller's current arena (valid until the caller releases that arena).
///
/// | member                     | image(s)                    | labels | approximation             |
/// |----------------------------|-----------------------------|--------|---------------------------|
/// | `imgdbl_`                  | double                      | u32    | double                    |
/// | `imguniv_`                 | any real type (as double)   | u32    | double                    |
/// | `imgset_`                  | a set of planes of one size | u32    | a set of as many double   |
/// |                            | (any real types)            |        | planes                    |
///
/// | condition (in this order)                                    | message                                |
/// |--------------------------------------------------------------|----------------------------------------|
/// | null image, set, labels, approximation or count              | "null pointer"                         |
/// | universal: complex image, labels not u32, approximation not  | "Illegal data type"                    |
/// | double; set: complex planes, approximation planes not double |                                        |
/// | invalid records or sets                                      | raised by validation                   |
/// | labels or approximation not of the image's size, a set of    | "array size mismatch"                  |
/// | planes of different sizes or another plane count             |                                        |
/// | grid_rows or grid_cols below the bound                       | "the initial region grid sizes must be |
/// |                                                              | B or more" (B the bound)               |
/// | scale below 0 or NaN; min_regions below 1                    | "Illegal data value"                   |
/// | interruption (polled per row and per merge)                  | "interrupted"                          |
MUTILS_API const char* imgdbl_region_grow_klm(const _double_mat* image, int32_t grid_rows, int32_t grid_cols,
                                              double scale, int32_t min_regions, void* intrp_ptr, _uint32_mat* labels,
                                              _double_mat* approximation, int32_t* count);
MUTILS_API const char* imguniv_region_grow_klm(const _univ_mat* image, int32_t grid_rows, int32_t grid_cols,
                                               double scale, int32_t min_regions, void* intrp_ptr, _univ_mat* labels,
                                               _univ_mat* approximation, int32_t* count);
MUTILS_API const char* imgset_region_grow_klm(const _mat_set* bands, int32_t grid_rows, int32_t grid_cols, double scale,
                                              int32_t min_regions, void* intrp_ptr, _uint32_mat* labels,
                                              _mat_set* approximation, int32_t* count);
/// @}

/// @{
/// Seeded region growing (the tolerance flood fill): for seed k (row k - 1 of the m x 2 `seeds`
/// matrix of (row, column) pairs), region k is the set of pixels connected to the seed through
/// 4 neighbours (connectivity 0) or 8 (any other value) whose value v satisfies
/// |v - I(seed)| <= tolerance. Each seed floods on its own (a pixel claimed by an earlier seed
/// does not stop it); a pixel in several regions keeps the smallest k, the others get 0. The
/// seed pixel always belongs to its region (also a NaN one).
///
/// | member      | image                     | labels |
/// |-------------|---------------------------|--------|
/// | `imgdbl_`   | double                    | u32    |
/// | `imguniv_`  | any real type (as double) | u32    |
///
/// | condition (in this order)                                        | message                 |
/// |------------------------------------------------------------------|-------------------------|
/// | null image, seeds or labels (universal member)                   | "null pointer"          |
/// | universal: complex image, labels not u32                         | "Illegal data type"     |
/// | invalid records                                                  | raised by validation    |
/// | labels not of the image's size, seeds without two columns        | "array size mismatch"   |
/// | labels sharing the image's storage                               | "Illegal memory address"|
/// | a seed outside the image; tolerance negative or NaN              | "Illegal data value"    |
/// | interruption (polled per seed)                                   | "interrupted"           |
///
///     // the pixels within 10 grey levels of (20, 30), eight-connected
///     mutils::imguniv_region_grow_seeded(&img, &seed, 10.0, mutils::IMG_CONNECT_EIGHT, nullptr, &labels);
MUTILS_API const char* imgdbl_region_grow_seeded(const _double_mat* image, const _sint32_mat* seeds, double tolerance,
                                                 _img_connected_type connectivity, void* intrp_ptr,
                                                 _uint32_mat* labels);
MUTILS_API const char* imguniv_region_grow_seeded(const _univ_mat* image, const _sint32_mat* seeds, double tolerance,
                                                  _img_connected_type connectivity, void* intrp_ptr, _univ_mat* labels);
/// @}

}  // namespace mutils

/// `imguniv_region_grow_klm`: the contract and messages are with the member above.
MUTILS_API mutils::_mutil_errcode imguniv_region_grow_klm(const mutils::_univ_mat* image, int32_t grid_rows,
                                                          int32_t grid_cols, double scale, int32_t min_regions,
                                                          void* intrp_ptr, mutils::_univ_mat* labels,
                                                          mutils::_univ_mat* approximation, int32_t* count);
