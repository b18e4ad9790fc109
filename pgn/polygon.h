/// @file
/// Polygon geometry on double vertices: distances between point sets, nearest vertices, shape
/// features, polar coordinates and the point test.
///
/// A polygon, polyline or point set is an n x 2 `_double_mat` of (row, column) vertices, row 0 at
/// the top; where a formula uses x and y, x is the column and y the row. Region operations treat a
/// polygon as closed (the edge from the last vertex back to the first is implied; a repeated
/// closing vertex is a zero-length edge). Integer point lists, such as `pgns32_convex_hull`'s,
/// convert with `matuniv_cast`.
///
/// Messages common to every operation here, in this order:
///
/// | condition                                                       | message               |
/// |-----------------------------------------------------------------|-----------------------|
/// | a null or invalid record, a null scalar result                  | raised by validation  |
/// | a polygon or point set without two columns; a result of another | "array size mismatch" |
/// | size                                                            |                       |
/// | a coordinate (or centre) that is not finite (NaN, an infinity)  | "Illegal data value"  |
/// | the poll asks to stop                                           | "interrupted"         |
///
///     // is the pixel centre (3.5, 2) inside the square (0,0) (0,10) (10,10) (10,0)?
///     mutils::pgndbl_point_in_polygon(&square, &points, nullptr, &where);   // where: 1 = inside
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Hausdorff distance between two point sets: H = max(h(A, B), h(B, A)) with
/// h(A, B) = max over a of min over b of |a - b|, over the vertices only (resample curves first
/// for a distance between curves). Computed by the early-break scan (Taha and Hanbury 2015): both
/// sets are visited in a fixed pseudo-random order and a point of A stops scanning B as soon as it
/// finds a point nearer than the largest minimum so far; the answer does not depend on the order.
///
///     double h;
///     mutils::pgndbl_hausdorff_distance(&a, &b, nullptr, &h);
MUTILS_API const char* pgndbl_hausdorff_distance(const _double_mat* a, const _double_mat* b, void* intrp_ptr,
                                                 double* distance);

/// For every vertex of A, the 0-based row of the nearest vertex of B (ties to the lowest row) in
/// `index` and that distance in `distance`; both are vectors of A's row count (n x 1 or 1 x n).
///
///     mutils::pgndbl_point_correspondence(&a, &b, nullptr, &index, &distance);
MUTILS_API const char* pgndbl_point_correspondence(const _double_mat* a, const _double_mat* b, void* intrp_ptr,
                                                   _sint32_mat* index, _double_mat* distance);

/// Sixteen features of a closed polygon, into a vector of 16 (16 x 1 or 1 x 16):
///
/// | index  | feature                                                                            |
/// |--------|------------------------------------------------------------------------------------|
/// | 0      | area A, the absolute shoelace sum                                                  |
/// | 1      | perimeter P, closing edge included                                                 |
/// | 2, 3   | centroid row, column of the area (Green's theorem); the vertex mean when A = 0     |
/// | 4 - 7  | bounding box: min row, min column, max row, max column                             |
/// | 8      | orientation 1/2 atan2(-2 mu11, mu20 - mu02) in (-pi/2, pi/2]: the major axis,      |
/// |        | counter-clockwise from the column axis                                             |
/// | 9, 10  | major, minor axis lengths 4 sqrt(l1), 4 sqrt(l2), l1 >= l2 the eigenvalues of      |
/// |        | [[mu20, mu11], [mu11, mu02]] / A                                                   |
/// | 11     | eccentricity sqrt(1 - l2 / l1) (0 when l1 = 0)                                     |
/// | 12     | area of the convex hull of the vertices                                            |
/// | 13     | solidity A / hull area (0 when the hull area is 0)                                 |
/// | 14     | circularity 4 pi A / P^2 (0 when P = 0)                                            |
/// | 15     | winding: +1 counter-clockwise as displayed, -1 clockwise, 0 for zero signed area    |
///
/// The central second moments mu20 (columns), mu02 (rows) and mu11 are the region's, by Green's
/// theorem, so they equal the pixel sums of a filled region only in the limit. A polygon of zero
/// signed area has features 8 - 11 equal to 0.
///
///     mutils::pgndbl_shape_features(&polygon, nullptr, &features);   // features: 16 x 1
MUTILS_API const char* pgndbl_shape_features(const _double_mat* polygon, void* intrp_ptr, _double_mat* features);

/// @{
/// Polar coordinates about a centre, n x 2 (rho, phi): rho = sqrt(dr^2 + dc^2) and
/// phi = atan2(-dr, dc) in (-pi, pi], counter-clockwise as displayed from the +column direction
/// (the -pi atan2 gives for a -0.0 row offset is reported as pi). The inverse is
/// r = r0 - rho sin(phi), c = c0 + rho cos(phi). The result has the input's size and may be the
/// input.
///
///     mutils::pgndbl_polar_from_rectangular(&polygon, 50.0, 50.0, nullptr, &polar);
///     mutils::pgndbl_rectangular_from_polar(&polar, 50.0, 50.0, nullptr, &back);
MUTILS_API const char* pgndbl_polar_from_rectangular(const _double_mat* polygon, double centre_row, double centre_col,
                                                     void* intrp_ptr, _double_mat* polar);
MUTILS_API const char* pgndbl_rectangular_from_polar(const _double_mat* polar, double centre_row, double centre_col,
                                                     void* intrp_ptr, _double_mat* polygon);
/// @}

/// Where each point lies against a closed polygon: 0 outside, 1 inside, 2 on the boundary (on an
/// edge or a vertex). Inside is decided by the even-odd crossing rule with half-open edges,
/// boundary by an exact orientation test, so the answer does not depend on rounding. `result` is
/// a `_uint8_mat` vector of the points' row count.
///
///     mutils::pgndbl_point_in_polygon(&polygon, &points, nullptr, &where);
MUTILS_API const char* pgndbl_point_in_polygon(const _double_mat* polygon, const _double_mat* points, void* intrp_ptr,
                                               _uint8_mat* result);

}  // namespace mutils
