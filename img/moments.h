/// @file
/// Moments of an image and the shape features of labelled regions.
///
/// Coordinates: pixel (r, c) is the point x = c (column), y = r (row, downwards); orientations
/// are measured counter-clockwise as the image is displayed, from the +column direction.
///
///     // Hu's invariants of an 8-bit mask, and the features of the regions of a label image
///     mutils::_double_mat hu;  mutils::matdbl_malloc(&hu, 7, 1);
///     mutils::imgu8_moment_invariant(&mask, nullptr, &hu);
///     mutils::_double_mat features;  mutils::matdbl_malloc(&features, regions, 18);
///     mutils::imgu32_shape_features(&labels, nullptr, &features);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Which moments `imguniv_moments` computes: raw, central (about the centroid) or normalised.
enum _img_moment_type : int32_t { IMG_MOMENT_RAW = 0, IMG_MOMENT_CENTRAL = 1, IMG_MOMENT_NORMALISED = 2 };

/// @{
/// Intensity-weighted moments up to order n, n = the result's row count - 1 (the result is
/// (n + 1) x (n + 1) double; element (p, q) is the moment of column power p and row power q):
///
/// | type                      | element (p, q)                                                         |
/// |---------------------------|------------------------------------------------------------------------|
/// | 0 `IMG_MOMENT_RAW`        | M(p, q) = sum c^p r^q I(r, c)                                          |
/// | 1 `IMG_MOMENT_CENTRAL`    | mu(p, q) = sum (c - cc)^p (r - rc)^q I(r, c), cc = M(1,0)/M(0,0),      |
/// |                           | rc = M(0,1)/M(0,0)                                                      |
/// | 2 `IMG_MOMENT_NORMALISED` | eta(p, q) = mu(p, q) / mu(0,0)^(1 + (p + q)/2) for p + q >= 2, NaN      |
/// |                           | below                                                                   |
///
/// Every p, q <= n is filled (also p + q > n). Sums are accumulated per row in double. The
/// normalised moments depend on the intensity scale: a 0/255 mask differs from a 0/1 mask.
///
/// `moment_invariant`: Hu's seven invariants of the normalised moments, in the usual order and
/// signs (phi1 = eta20 + eta02, phi2 = (eta20 - eta02)^2 + 4 eta11^2, ..., phi7 the skew
/// invariant), into a 7 x 1 or 1 x 7 double result. Quarter turns leave all seven unchanged; a
/// mirror image flips the sign of phi7.
///
/// | member                      | image                                | result  |
/// |-----------------------------|--------------------------------------|---------|
/// | `img{u8,u16,s32,dbl}_`      | that type                            | double  |
/// | `imguniv_`                  | any real type                        | double  |
///
/// | condition (in this order)                                            | message                 |
/// |----------------------------------------------------------------------|-------------------------|
/// | null image or result (universal members)                             | "null pointer"          |
/// | universal: a complex image, a result that is not double              | "Illegal data type"     |
/// | invalid records                                                      | raised by validation    |
/// | moments: result not square; invariants: result not 7 x 1 or 1 x 7    | "array size mismatch"   |
/// | moment type outside 0 ... 2; M(0,0) = 0 with central, normalised     | "Illegal data value"    |
/// | moments or the invariants                                            |                         |
/// | interruption (polled once per image row)                             | "interrupted"           |
///
///     mutils::_double_mat m;  mutils::matdbl_malloc(&m, 4, 4);  // moments up to order 3
///     mutils::imgu8_moments(&img, mutils::IMG_MOMENT_CENTRAL, nullptr, &m);
MUTILS_API const char* imgu8_moments(const _uint8_mat* image, _img_moment_type type, void* intrp_ptr,
                                     _double_mat* result);
MUTILS_API const char* imgu16_moments(const _uint16_mat* image, _img_moment_type type, void* intrp_ptr,
                                      _double_mat* result);
MUTILS_API const char* imgs32_moments(const _sint32_mat* image, _img_moment_type type, void* intrp_ptr,
                                      _double_mat* result);
MUTILS_API const char* imgdbl_moments(const _double_mat* image, _img_moment_type type, void* intrp_ptr,
                                      _double_mat* result);
MUTILS_API const char* imguniv_moments(const _univ_mat* image, _img_moment_type type, void* intrp_ptr,
                                       _univ_mat* result);
MUTILS_API const char* imgu8_moment_invariant(const _uint8_mat* image, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgu16_moment_invariant(const _uint16_mat* image, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgs32_moment_invariant(const _sint32_mat* image, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imgdbl_moment_invariant(const _double_mat* image, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_moment_invariant(const _univ_mat* image, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// Shape features of the regions of a label image: row k - 1 of the K x 18 double result
/// describes label k (K = the result's row count); label 0 is background. A label without
/// pixels gets area 0 and NaN in every other column.
///
/// | column | feature                                                                        |
/// |--------|--------------------------------------------------------------------------------|
/// | 0      | area A (pixels)                                                                |
/// | 1, 2   | centroid row, column                                                           |
/// | 3 - 6  | bounding box: min row, min column, max row, max column (inclusive)            |
/// | 7      | perimeter P: total length of the outer contours of the label's 8-connected     |
/// |        | components (also those inside a hole of the same label); each contour runs     |
/// |        | through the boundary pixels' centres, traced from the component's first pixel  |
/// |        | in raster order by a Moore-neighbour walk that stops on re-entering its first  |
/// |        | move; orthogonal steps count 1, diagonal steps sqrt 2, a lone pixel 0          |
/// | 8      | orientation of the major axis, 1/2 atan2(-2 mu11, mu20 - mu02) in (-pi/2, pi/2]|
/// |        | (mu20 = sum (c - cc)^2, mu02 = sum (r - rc)^2, mu11 = sum (c - cc)(r - rc);    |
/// |        | mu11 = 0 with mu20 < mu02 gives +pi/2)                                          |
/// | 9, 10  | major and minor axis lengths 4 sqrt(l1), 4 sqrt(l2), l1 >= l2 the eigenvalues  |
/// |        | of [[mu20, mu11], [mu11, mu02]] / A                                             |
/// | 11     | eccentricity sqrt(1 - l2 / l1) (0 when l1 = 0)                                  |
/// | 12     | equivalent diameter sqrt(4 A / pi)                                              |
/// | 13     | extent: A / bounding-box area                                                  |
/// | 14     | convex area: pixels whose centre lies inside or on the convex hull of the      |
/// |        | label's pixel centres (the rule of `imguniv_convex_hull`)                      |
/// | 15     | solidity A / convex area                                                        |
/// | 16     | circularity 4 pi A / P^2 (0 when P = 0)                                         |
/// | 17     | Euler number: 8-connected components less 4-connected holes (bit-quad counts)  |
///
/// | member                    | labels                                                 |
/// |---------------------------|--------------------------------------------------------|
/// | `img{u8,u16,u32}_`        | that type                                              |
/// | `imguniv_`                | u8, u16, u32; s32 through the u32 member (a negative   |
/// |                           | label is then out of range)                            |
///
/// | condition (in this order)                                            | message                 |
/// |----------------------------------------------------------------------|-------------------------|
/// | null labels or features (universal member)                           | "null pointer"          |
/// | universal: labels of another type, features not double               | "Illegal data type"     |
/// | invalid records                                                      | raised by validation    |
/// | features without 18 columns                                          | "array size mismatch"   |
/// | a label above K (or negative)                                        | "Illegal data value"    |
/// | interruption (polled per image row and per contour)                  | "interrupted"           |
///
/// Cost: linear in the pixels plus, per label, a convex hull of two points per row.
///
///     mutils::_double_mat f;  mutils::matdbl_malloc(&f, count - 1, 18);  // count from the labelling
///     mutils::imgu32_shape_features(&labels, nullptr, &f);
MUTILS_API const char* imgu8_shape_features(const _uint8_mat* labels, void* intrp_ptr, _double_mat* features);
MUTILS_API const char* imgu16_shape_features(const _uint16_mat* labels, void* intrp_ptr, _double_mat* features);
MUTILS_API const char* imgu32_shape_features(const _uint32_mat* labels, void* intrp_ptr, _double_mat* features);
MUTILS_API const char* imguniv_shape_features(const _univ_mat* labels, void* intrp_ptr, _univ_mat* features);
/// @}

}  // namespace mutils

/// @{
/// `imguniv_moment_invariant`, `imguniv_shape_features`: the contracts and messages are with the
/// members above.
MUTILS_API mutils::_mutil_errcode imguniv_moment_invariant(const mutils::_univ_mat* image, void* intrp_ptr,
                                                           mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_shape_features(const mutils::_univ_mat* labels, void* intrp_ptr,
                                                         mutils::_univ_mat* features);
/// @}
