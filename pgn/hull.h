/// @file
/// Convex hull of a set of points, integer or double.
/// Integer points hold no NaN; a double point with a coordinate that is not finite (NaN or an
/// infinity) is refused with "Illegal data value".
///
/// `pgns32_convex_hull(points, intrp_ptr, hull)`: `points` is an n x 2 `_sint32_mat` of (row,
/// column) pairs in any order. The call allocates `hull` (like a reader allocates its result) as
/// an (h + 1) x 2 `_sint32_mat` holding the h hull vertices as a closed polygon: the last row
/// repeats the first.
///
/// - Order: the polygon starts at the vertex with the smallest row (the smallest column among
///   those) and runs counter-clockwise as an image is displayed (row 0 at the top): down the
///   left side first, then along the bottom, up the right side and back along the top.
/// - Only corners are vertices: points lying on a hull edge (collinear) are left out, and
///   repeated points count once.
/// - Degenerate sets: a single distinct point gives h = 1 (hull = [p, p]); points all on one line
///   give its two end points, h = 2 (hull = [a, b, a]).
///
/// Messages: an invalid `points` record raises ("null pointer", "array size mismatch"), as does
/// a null `hull`; `points` without exactly two columns returns "array size mismatch";
/// "interrupted" when the poll asks to stop.
///
///     // points (0,0) (0,4) (2,2) (4,0) (4,4) (1,1) -> hull (0,0) (4,0) (4,4) (0,4) (0,0)
///     mutils::_sint32_mat hull;
///     mutils::pgns32_convex_hull(&points, nullptr, &hull);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// `pgns32_convex_hull`: the contract, element types and messages are in the file description.
MUTILS_API const char* pgns32_convex_hull(const _sint32_mat* points, void* intrp_ptr, _sint32_mat* hull);

/// The same contract on double points (Andrew's monotone chain): whether three points turn or
/// are collinear is decided exactly (a rounded determinant checked against its error bound, and
/// an exact expansion of the products when that is not conclusive), so a point a rounding
/// error off a hull edge is kept and one exactly on it is dropped. The (h + 1) x 2 `_double_mat`
/// result is allocated by the call.
///
/// | condition                                                      | message                |
/// |----------------------------------------------------------------|------------------------|
/// | invalid `points`, null `hull`                                  | raised by validation   |
/// | `points` without two columns                                   | "array size mismatch"  |
/// | a coordinate that is not finite                                | "Illegal data value"   |
/// | the poll asks to stop                                          | "interrupted"          |
///
///     mutils::_double_mat hull;   // allocated by the call
///     mutils::pgndbl_convex_hull(&points, nullptr, &hull);
MUTILS_API const char* pgndbl_convex_hull(const _double_mat* points, void* intrp_ptr, _double_mat* hull);

}  // namespace mutils
