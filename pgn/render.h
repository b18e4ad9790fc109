/// @file
/// Drawing polygons and polylines (n x 2 `_double_mat` of (row, column) vertices) into an image
/// of any real element type. Pixel (r, c) is the point (r, c).
///
/// | condition                                                      | message               |
/// |----------------------------------------------------------------|-----------------------|
/// | null image or polygon                                          | "null pointer"        |
/// | invalid records                                                | raised by validation  |
/// | a complex image; a value not of the image's type               | "Illegal data type"   |
/// | a polygon without two columns                                  | "array size mismatch" |
/// | a coordinate that is not finite (NaN or an infinity)           | "Illegal data value"  |
/// | the poll asks to stop                                          | "interrupted"         |
///
/// Both leave the other pixels as they are, and draw only the pixels inside the image.
///
///     // a filled triangle with a white outline on a u8 image
///     mutils::pgnuniv_render_region(&triangle, mutils::scalar_u8(128), nullptr, &image);
///     mutils::pgnuniv_render_lines(&triangle, white, 1, nullptr, &image);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Writes `value` into every pixel whose centre lies inside or on the boundary of the closed
/// polygon (even-odd rule), the fill rule of the convex hull of a region. Evaluated scanline by
/// scanline; pixels near an edge are decided by an exact orientation test.
MUTILS_API const char* pgnuniv_render_region(const _double_mat* polygon, _univ_scalar value, void* intrp_ptr,
                                             _univ_mat* image);

/// Draws each segment between consecutive vertices (rounded by floor(v + 0.5)) with Bresenham's
/// integer line: the axis of the larger extent (columns on ties) advances one pixel per step, the
/// decision d = 2 minor - major takes a minor step while d >= 0, both end pixels included.
/// `closed` adds the segment from the last vertex to the first; a single vertex is one pixel.
MUTILS_API const char* pgnuniv_render_lines(const _double_mat* polyline, _univ_scalar value, unsigned char closed,
                                            void* intrp_ptr, _univ_mat* image);

}  // namespace mutils
