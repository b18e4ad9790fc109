/// @file
/// Curves: resampling by arc length, Gaussian smoothing along the vertex index and simplification
/// of polygons and polylines (n x 2 `_double_mat` of (row, column) vertices).
///
/// `closed` (0 or not) says whether the edge from the last vertex back to the first belongs to
/// the curve. Messages common to the three, in this order:
///
/// | condition                                                     | message                  |
/// |---------------------------------------------------------------|--------------------------|
/// | a null or invalid record                                      | raised by validation     |
/// | a curve without two columns; a result of a size the operation | "array size mismatch"    |
/// | cannot fill                                                   |                          |
/// | a coordinate that is not finite; a parameter out of its domain| "Illegal data value"     |
/// | the poll asks to stop                                         | "interrupted"            |
///
///     // a contour traced from a region, evened out and thinned to its corners
///     mutils::pgndbl_resample(&contour, 1, nullptr, &even);            // even: 200 x 2
///     mutils::pgndbl_smooth(&even, 2.0, 1, nullptr, &even);
///     mutils::pgndbl_simplify(&even, 0.5, 1, nullptr, &corners);      // corners: allocated
#pragma once

#include "../core/errors.h"

namespace mutils {

/// m = `result` rows points equally spaced by arc length from vertex 0: point k at arc length
/// k L / m on a closed curve (L includes the closing edge) or k L / (m - 1) on an open one (both
/// ends kept), linear within edges. A curve of zero length gives vertex 0 everywhere. `result`
/// has two columns and at least 2 rows (open) or 1 row (closed), else "array size mismatch"; it
/// must not be the input ("Illegal memory address").
MUTILS_API const char* pgndbl_resample(const _double_mat* polygon, unsigned char closed, void* intrp_ptr,
                                       _double_mat* result);

/// Gaussian smoothing of the row and column sequences along the vertex index: weights
/// proportional to exp(-k^2 / (2 sigma^2)) for |k| <= floor(4 sigma + 0.5), normalised. A closed
/// curve wraps (a repeated closing vertex is dropped for the computation and restored in the
/// result); an open one repeats its end vertices. sigma = 0 copies. The result has the input's
/// size and may be the input. sigma < 0, NaN, infinite or a window radius above 2^24:
/// "Illegal data value".
MUTILS_API const char* pgndbl_smooth(const _double_mat* polygon, double sigma, unsigned char closed, void* intrp_ptr,
                                     _double_mat* result);

/// Ramer-Douglas-Peucker simplification: both ends are kept (closed: vertex 0 and the vertex
/// farthest from it, the first of equals), then, recursively, the vertex farthest from the
/// current chord (distance to the segment, not to its line; the first of equals) while that
/// distance exceeds `tolerance`. The k x 2 result is allocated by the call; a closed result ends
/// with its first vertex (a closed input that repeats its first vertex has it dropped before and
/// restored after). A negative or non-finite tolerance: "Illegal data value".
MUTILS_API const char* pgndbl_simplify(const _double_mat* polygon, double tolerance, unsigned char closed,
                                       void* intrp_ptr, _double_mat* result);

}  // namespace mutils
