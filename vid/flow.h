/// @file
/// Dense optical flow between image frames by the Horn–Schunck method.
///
/// `vidset_optical_flow_horn_schunck` forms brightness derivatives Ex (along columns), Ey (along
/// rows, downward) and Et (between frames) from the first two, three or five frames of a set and
/// iterates the Horn–Schunck update of the horizontal velocity u (columns per frame) and the
/// vertical velocity v (rows per frame):
///
///     u_new = u_bar - Ex t,   v_new = v_bar - Ey t,   t = (Ex u_bar + Ey v_bar + Et) / (alpha^2 + Ex^2 + Ey^2)
///
/// where u_bar and v_bar weight the four edge neighbours by 1/6 and the four diagonal ones by 1/12.
/// Only pixels at least two rows and two columns from the border are updated; the border two
/// pixels wide keeps the value zero (and so acts as a fixed zero boundary for the averages).
///
/// Derivative stencils, by gradient type (E_k is frame k, (i, j) row and column):
///
/// | type | frames | stencil                                                                   |
/// |------|--------|---------------------------------------------------------------------------|
/// | 0    | 2      | the two-frame cube: each derivative is the mean of the four first         |
/// |      |        | differences along its axis over the 2 x 2 x 2 cube of E_0 and E_1 at rows |
/// |      |        | i, i+1 and columns j, j+1; it estimates the derivative at the cube's      |
/// |      |        | centre (i + 1/2, j + 1/2, between the frames)                             |
/// | 1    | 3      | centred differences at pixel (i, j) of E_1: Ex = (E_1[i][j+1] -           |
/// |      |        | E_1[i][j-1]) / 2, Ey likewise along rows, Et = (E_2 - E_0) / 2            |
/// | 2    | 5      | fourth-order centred differences at pixel (i, j) of E_2:                  |
/// |      |        | (f[-2] - 8 f[-1] + 8 f[+1] - f[+2]) / 12 along columns and rows of E_2,   |
/// |      |        | and across E_0 ... E_4 in time                                            |
///
/// Frames after the ones a type uses are ignored (but must still be of the common size and type).
///
/// The iteration starts from u = v = 0 with the count at 1 and the change at 1e37 and runs while
/// the count does not exceed `max_iterations` and the previous change is greater than
/// `tolerance`; the change of an iteration is the sum over all pixels of (u_new - u)^2 +
/// (v_new - v)^2. The count of iterations performed and the last change are written to
/// `iterations` and `change` when those pointers are not null.
///
/// Element types: frames, u and v must all have one real element type (u8, u16, s16, u32, s32,
/// float or double). Everything is computed in double; u and v receive the result converted to
/// their type: float by rounding to float, integer types by rounding to the nearest integer and
/// saturating at the type's range (a NaN becomes 0). Complex frames are refused.
///
/// Messages, in the order checked (the set, its matrices and u and v are first validated as
/// records, raising "null pointer" or "array size mismatch"):
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | fewer than two frames                                              | "array size mismatch"    |
/// | alpha <= 0 or NaN, `max_iterations` < 1                            | "Illegal data value"     |
/// | a frame, u or v not of the first frame's rows and columns          | "array size mismatch"    |
/// | type 1 with fewer than three frames, type 2 with fewer than five   | "array size mismatch"    |
/// | frames, u and v not of one element type; a complex or unknown type | "Illegal data type"      |
/// | a gradient type other than 0, 1, 2                                 | "Illegal data value"     |
/// | u and v sharing their data                                         | "Illegal memory address" |
/// | alpha^2 + Ex^2 + Ey^2 = 0 at an updated pixel (alpha^2 underflows) | "singular matrix"        |
/// | interruption (polled once per iteration)                           | "interrupted"            |
///
///     mutils::_mat_set frames;            // two 480 x 640 u8 frames
///     mutils::_univ_mat u, v;             // 480 x 640 u8 results would round to whole pixels:
///                                         // use double frames for sub-pixel flow
///     int32_t iterations; double change;
///     const char* err = mutils::vidset_optical_flow_horn_schunck(&frames, mutils::VID_GRADIENT_TWO_FRAME,
///                           200, 1e-6, 1.0, nullptr, &u, &v, &iterations, &change);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// How the brightness derivatives are formed: from two, three or five frames.
enum _vid_gradient_type : int32_t {
    VID_GRADIENT_TWO_FRAME = 0,
    VID_GRADIENT_THREE_FRAME = 1,
    VID_GRADIENT_FIVE_FRAME = 2
};

/// `vidset_optical_flow_horn_schunck`: the contract, element types and messages are in the file description.
MUTILS_API const char* vidset_optical_flow_horn_schunck(const _mat_set* frames, _vid_gradient_type gradient,
                                                        int32_t max_iterations, double tolerance, double alpha,
                                                        void* intrp_ptr, _univ_mat* u, _univ_mat* v,
                                                        int32_t* iterations, double* change);

}  // namespace mutils
