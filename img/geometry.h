/// @file
/// Geometric transforms: rotation, scaling and warps of an image by parameters or by tie points,
/// resampled by nearest-neighbour, bilinear, bicubic or (scaling only) area interpolation.
///
/// Every result pixel (R, C) maps to a source point (y, x) of the image through the operation's
/// inverse map (y down the rows, x along the columns; pixel (r, c) is the point (r, c)) and takes
/// the interpolated value there:
///
/// | interpolation  | value at (y, x)                                                             |
/// |----------------|-----------------------------------------------------------------------------|
/// | 0 nearest      | pixel (floor(y + 1/2), floor(x + 1/2))                                      |
/// | 1 bilinear     | the four pixels around (y, x), weighted by 1 - t and t along each axis      |
/// | 2 bicubic      | the 4 x 4 pixels floor(y) - 1 ... floor(y) + 2 (likewise x) with the Keys   |
/// |                | cubic weights (a = -1/2, Catmull-Rom): each of the four rows is interpolated |
/// |                | along its columns first, then the four row values along y                   |
/// | 3 area         | (scaling only) the mean of the image over the result pixel's footprint       |
///
/// Neighbours outside the image read `fill` (rotation and warps) or the nearest edge pixel
/// (scaling). A source point whose neighbours are all outside takes `fill` itself. Values are
/// computed in double and stored once: integer results as floor(v + 1/2) clipped to the type's
/// range (saturating: bicubic values overshoot the input range), NaN as 0; the fill enters as a
/// double and is rounded with the pixels it is mixed with.
///
/// | member                 | image                    | result                                  |
/// |------------------------|--------------------------|-----------------------------------------|
/// | `img{u8,u16,s32,dbl}_` | that type                | that type, any size                     |
/// | `imguniv_`             | any real type            | any real type, any size; the image is   |
/// |                        |                          | brought to the result's type first      |
/// |                        |                          | (integer images into any result,        |
/// |                        |                          | floating ones into floating results)    |
/// | `imgset_`              | planes of one size, type | as many planes of one size and type     |
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | null image, result, set or coefficients                            | "null pointer"           |
/// | invalid records                                                    | raised by validation     |
/// | an interpolation outside 0 ... 2 (0 ... 3 for scaling); an angle,  | "Illegal data value"     |
/// | fill, coefficient or tie point that is NaN or infinite; a degree   |                          |
/// | outside 1 ... 3                                                    |                          |
/// | coefficients not 2 x 3, 2 x 6, 2 x 10 or 3 x 3; tie points not     | "array size mismatch"    |
/// | n x 4 or fewer than the polynomial's terms; sets of different      |                          |
/// | plane counts or planes of different sizes                          |                          |
/// | result sharing the image's storage                                 | "Illegal memory address" |
/// | complex image or result; a floating image with an integer result;  | "Illegal data type"      |
/// | set planes of different types                                      |                          |
/// | tie points that do not fix the polynomial (collinear for degree 1) | "singular matrix"        |
/// | interruption (polled about once per result row)                    | "interrupted"            |
///
/// Set members pass every plane through the universal member (a tie-point fit is made once) and
/// return the first error.
///
///     // Straighten a page scanned 3.5 degrees clockwise, keeping its size, white outside
///     mutils::imgu8_rotate(&scan, 3.5, mutils::IMG_INTERP_BILINEAR, 255, nullptr, &straight);
///     // Halve an image by block means
///     mutils::imguniv_scale(&big, mutils::IMG_INTERP_AREA, nullptr, &half);   // half: nrow/2 x ncol/2
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Interpolations of the geometric transforms.
enum _img_interp_type : int32_t {
    IMG_INTERP_NEAREST = 0,   ///< the nearest pixel
    IMG_INTERP_BILINEAR = 1,  ///< bilinear over the four neighbours
    IMG_INTERP_BICUBIC = 2,   ///< Keys cubic convolution, a = -1/2, over 4 x 4 neighbours
    IMG_INTERP_AREA = 3       ///< mean over the result pixel's footprint (scaling only)
};

/// @{
/// Rotation about the image centre, counter-clockwise as displayed by `angle_degrees`.
///
/// The image centre ((nrow - 1)/2, (ncol - 1)/2) maps to the result's centre, whatever the
/// result's size: a result of the image's size crops the corners; the whole rotated image needs
/// ceil(|ncol cos a| + |nrow sin a|) columns and ceil(|ncol sin a| + |nrow cos a|) rows. With
/// (dr, dc) the offsets of (R, C) from the result's centre, the source point is
///
///     y = cy + dc sin a + dr cos a,   x = cx + dc cos a - dr sin a.
///
/// Multiples of 90 degrees use exact sines and cosines, so quarter turns (into a result of the
/// swapped size for odd multiples) are exact permutations of the pixels. Interpolation 0 ... 2.
///
///     mutils::imguniv_rotate(&img, 90, mutils::IMG_INTERP_NEAREST, 0, nullptr, &turned);  // ncol x nrow
MUTILS_API const char* imgu8_rotate(const _uint8_mat* image, double angle_degrees, _img_interp_type interp, double fill,
                                    void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_rotate(const _uint16_mat* image, double angle_degrees, _img_interp_type interp,
                                     double fill, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_rotate(const _sint32_mat* image, double angle_degrees, _img_interp_type interp,
                                     double fill, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_rotate(const _double_mat* image, double angle_degrees, _img_interp_type interp,
                                     double fill, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_rotate(const _univ_mat* image, double angle_degrees, _img_interp_type interp,
                                      double fill, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imgset_rotate(const _mat_set* image, double angle_degrees, _img_interp_type interp, double fill,
                                     void* intrp_ptr, _mat_set* result);
/// @}

/// @{
/// Scaling to the result's size: the factors are s_r = nrow / NR and s_c = ncol / NC for a result
/// of NR x NC, pixel centres aligned (y = (R + 1/2) s_r - 1/2, x likewise); neighbours beyond the
/// edge read the edge pixel.
///
/// Nearest takes the pixel containing the result pixel's centre, row floor((2R + 1) nrow / (2 NR))
/// computed in integers (halving takes pixel 1 of each pair). Area (3) is the mean of the image
/// over the footprint [R s_r, (R + 1) s_r) x [C s_c, (C + 1) s_c) with pixel i covering [i, i + 1),
/// weighted by overlap; the overlaps are exact integers in units of 1/NR, 1/NC pixel, so integer
/// images give exactly rounded means (exact block means for integer reductions). Enlarged by
/// area, a result pixel lies within one image pixel or across two and is their overlap mean.
///
///     mutils::imgdbl_scale(&img, mutils::IMG_INTERP_BICUBIC, nullptr, &bigger);   // any size
MUTILS_API const char* imgu8_scale(const _uint8_mat* image, _img_interp_type interp, void* intrp_ptr,
                                   _uint8_mat* result);
MUTILS_API const char* imgu16_scale(const _uint16_mat* image, _img_interp_type interp, void* intrp_ptr,
                                    _uint16_mat* result);
MUTILS_API const char* imgs32_scale(const _sint32_mat* image, _img_interp_type interp, void* intrp_ptr,
                                    _sint32_mat* result);
MUTILS_API const char* imgdbl_scale(const _double_mat* image, _img_interp_type interp, void* intrp_ptr,
                                    _double_mat* result);
MUTILS_API const char* imguniv_scale(const _univ_mat* image, _img_interp_type interp, void* intrp_ptr,
                                     _univ_mat* result);
MUTILS_API const char* imgset_scale(const _mat_set* image, _img_interp_type interp, void* intrp_ptr, _mat_set* result);
/// @}

/// Least-squares polynomial map from output to input coordinates through tie points.
///
/// `tiepoints` is n x 4, one tie point a row: (output row, output column, input row, input
/// column). The polynomial of total degree d (1, 2 or 3) has m = (d + 1)(d + 2)/2 terms t in the
/// order j = 0 ... d, i = 0 ... j of r^(j - i) c^i: 1, r, c, r^2, r c, c^2, r^3, r^2 c, r c^2, c^3.
/// `coefficients` (2 x m) receives the a's (row 0) and b's (row 1) of
///
///     input row = sum a_k t_k(r, c),   input column = sum b_k t_k(r, c)
///
/// for raw output coordinates (r, c), fitted by Householder QR on centred and scaled coordinates;
/// `rms` receives the root-mean-square distance, in input pixels, between the tie points' input
/// positions and the map of their output positions.
///
/// | condition (in this order)                                               | message               |
/// |-------------------------------------------------------------------------|-----------------------|
/// | null or invalid records; null rms                                       | raised by validation  |
/// | degree outside 1 ... 3                                                  | "Illegal data value"  |
/// | tie points not 4 columns, fewer than m rows; coefficients not 2 x m     | "array size mismatch" |
/// | a tie point NaN or infinite                                             | "Illegal data value"  |
/// | rank-deficient terms (a QR pivot below 1e-12 times the largest column   | "singular matrix"     |
/// | norm: collinear points for degree 1, points on a conic for degree 2)    |                       |
///
///     double rms;
///     mutils::imgdbl_warp_tiepoint_fit(&ties, 2, nullptr, &coef, &rms);   // coef: 2 x 6
MUTILS_API const char* imgdbl_warp_tiepoint_fit(const _double_mat* tiepoints, int32_t degree, void* intrp_ptr,
                                                _double_mat* coefficients, double* rms);

/// @{
/// Warp by parameters: `coefficients` is either 2 x m (m = 3, 6 or 10), the polynomial of
/// `imgdbl_warp_tiepoint_fit` that maps each result pixel (R, C) to its source point, or 3 x 3, a
/// projective map H with [y', x', w] = H [R, C, 1] and source (y'/w, x'/w); w <= 0 or a source
/// that is not finite takes `fill`. Interpolation 0 ... 2.
///
///     // shift right by 10.5 columns: input column = C - 10.5
///     double c[6] = {0, 1, 0, -10.5, 0, 1};
///     mutils::_double_mat coef{2, 3, 6, c};
///     mutils::imguniv_warp_parameter(&img, &coef, mutils::IMG_INTERP_BILINEAR, 0, nullptr, &shifted);
MUTILS_API const char* imgu8_warp_parameter(const _uint8_mat* image, const _double_mat* coefficients,
                                            _img_interp_type interp, double fill, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_warp_parameter(const _uint16_mat* image, const _double_mat* coefficients,
                                             _img_interp_type interp, double fill, void* intrp_ptr,
                                             _uint16_mat* result);
MUTILS_API const char* imgs32_warp_parameter(const _sint32_mat* image, const _double_mat* coefficients,
                                             _img_interp_type interp, double fill, void* intrp_ptr,
                                             _sint32_mat* result);
MUTILS_API const char* imgdbl_warp_parameter(const _double_mat* image, const _double_mat* coefficients,
                                             _img_interp_type interp, double fill, void* intrp_ptr,
                                             _double_mat* result);
MUTILS_API const char* imguniv_warp_parameter(const _univ_mat* image, const _double_mat* coefficients,
                                              _img_interp_type interp, double fill, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imgset_warp_parameter(const _mat_set* image, const _double_mat* coefficients,
                                             _img_interp_type interp, double fill, void* intrp_ptr, _mat_set* result);
/// @}

/// @{
/// Warp by tie points: the polynomial of degree `degree` fitted to `tiepoints` by
/// `imgdbl_warp_tiepoint_fit` (with its messages), then the warp by those parameters. Tie points
/// give (output row, output column, input row, input column): the result pixel at an output
/// position shows the image at the matching input position.
///
///     // register a scan to a template from four matched points, affine
///     mutils::imguniv_warp_tiepoint(&scan, &ties, 1, mutils::IMG_INTERP_BICUBIC, 0, nullptr, &registered);
MUTILS_API const char* imgu8_warp_tiepoint(const _uint8_mat* image, const _double_mat* tiepoints, int32_t degree,
                                           _img_interp_type interp, double fill, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_warp_tiepoint(const _uint16_mat* image, const _double_mat* tiepoints, int32_t degree,
                                            _img_interp_type interp, double fill, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_warp_tiepoint(const _sint32_mat* image, const _double_mat* tiepoints, int32_t degree,
                                            _img_interp_type interp, double fill, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_warp_tiepoint(const _double_mat* image, const _double_mat* tiepoints, int32_t degree,
                                            _img_interp_type interp, double fill, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_warp_tiepoint(const _univ_mat* image, const _double_mat* tiepoints, int32_t degree,
                                             _img_interp_type interp, double fill, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imgset_warp_tiepoint(const _mat_set* image, const _double_mat* tiepoints, int32_t degree,
                                            _img_interp_type interp, double fill, void* intrp_ptr, _mat_set* result);
/// @}

}  // namespace mutils

/// @{
/// `imguniv_rotate`, `imguniv_scale`, `imguniv_warp_tiepoint` returning the error code of their
/// message; the contracts are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_rotate(const mutils::_univ_mat* image, double angle_degrees,
                                                 mutils::_img_interp_type interp, double fill, void* intrp_ptr,
                                                 mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_scale(const mutils::_univ_mat* image, mutils::_img_interp_type interp,
                                                void* intrp_ptr, mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_warp_tiepoint(const mutils::_univ_mat* image,
                                                        const mutils::_double_mat* tiepoints, int32_t degree,
                                                        mutils::_img_interp_type interp, double fill, void* intrp_ptr,
                                                        mutils::_univ_mat* result);
/// @}
