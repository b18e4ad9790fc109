/// @file
/// Active contours and minimal paths on a double image.
///
/// Snakes climb a potential P, a double image the caller builds from the library's own
/// operations (for instance w_line I + w_edge |gradient| from the Sobel gradient or the
/// derivative of Gaussian filter). A snake is an n x 2 `_double_mat` of (row, column) points,
/// n >= 3, in order; its result has the same size and may be the snake. Paths run on the
/// 8-neighbour grid of a cost image.
///
/// NaN: a NaN or infinite potential pixel propagates through the semi-implicit snake's arithmetic
/// into the points whose forces read it (such points come back NaN; a NaN point reads the
/// potential at pixel (0, 0)); the greedy snake compares energies, and a candidate whose energy
/// is NaN is never taken. A NaN cost is refused (below).
///
/// The universal members take the potential or the cost as a `_univ_mat` of any real type (read
/// as doubles); everything else is as in the double members. Messages, in this order:
///
/// | condition                                                         | message                  |
/// |-------------------------------------------------------------------|--------------------------|
/// | a null pointer given to a universal member                        | "null pointer"           |
/// | invalid records, null results                                     | raised by validation     |
/// | a complex potential or cost                                       | "Illegal data type"      |
/// | a snake not n x 2 with n >= 3, a result of another size; seeds    | "array size mismatch"    |
/// | without two columns; a distance of another size than the cost     |                          |
/// | a distance sharing the cost's storage                             | "Illegal memory address" |
/// | a parameter outside its domain (below); a non-finite snake point; | "Illegal data value"     |
/// | a negative or NaN cost; a seed, start or end outside the image;   |                          |
/// | an end that cannot be reached                                     |                          |
/// | the snake's matrix A + gamma I cannot be factored                 | "singular matrix"        |
/// | the poll asks to stop                                             | "interrupted"            |
///
///     // a closed snake around a bright blob, pulled onto it
///     int32_t done;
///     mutils::imgdbl_active_contour(&potential, &circle, 0.01, 0.1, 0.01, 1.0, 2500, 0.1,
///                                   mutils::IMG_SNAKE_PERIODIC, nullptr, &fitted, &done);
///     // the cheapest way across a cost image
///     mutils::_sint32_mat path;   // allocated by the call
///     double total;
///     mutils::imgdbl_minimal_path(&cost, 0, 0, 99, 99, nullptr, &path, &total);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Boundary conditions of a snake's ends (`imgdbl_active_contour`).
enum _img_snake_boundary : int32_t {
    IMG_SNAKE_PERIODIC = 0,    ///< closed: the last point joins the first
    IMG_SNAKE_FREE = 1,        ///< open, both ends free
    IMG_SNAKE_FIXED = 2,       ///< open, both ends fixed
    IMG_SNAKE_FREE_FIXED = 3,  ///< open, free start and fixed end
    IMG_SNAKE_FIXED_FREE = 4   ///< open, fixed start and free end
};

/// @{
/// Kass, Witkin and Terzopoulos's snake, semi-implicit. A = -alpha D2 + beta D4 (circulant
/// second and fourth differences); the rows of a fixed start become 0 and (1, -2, 1), those of a
/// free start (1, -2, 1) and (-1, 3, -3, 1) (mirrored at the end; fixed start, fixed end, free
/// start, free end, in this order; a row of a three-point snake keeps the entries that fit). A + gamma I
/// is factored once (LU). Each iteration takes the
/// gradient f of P at the points (central differences, one-sided on the border, bilinearly
/// interpolated, points clamped into the image), sets f = 0 at fixed ends and doubles it at free
/// ends, solves (A + gamma I) x_new = gamma x + f_x for the columns and likewise for the rows, and
/// moves each point by max_move tanh(x_new - x) (fixed ends stay). The last ten configurations are
/// kept: at iterations i (from 0) with i mod 11 = 10 the loop stops when the smallest, over them, of
/// the largest |dx| + |dy| over the points is below `convergence`. `iterations` receives the
/// iterations done.
///
/// | parameter                                   | domain              |
/// |---------------------------------------------|---------------------|
/// | alpha, beta; convergence                    | >= 0, finite        |
/// | gamma, max_move                             | > 0, finite         |
/// | max_iterations                              | >= 1                |
/// | boundary                                    | 0 ... 4             |
MUTILS_API const char* imgdbl_active_contour(const _double_mat* potential, const _double_mat* snake, double alpha,
                                             double beta, double gamma, double max_move, int32_t max_iterations,
                                             double convergence, _img_snake_boundary boundary, void* intrp_ptr,
                                             _double_mat* result, int32_t* iterations);
MUTILS_API const char* imguniv_active_contour(const _univ_mat* potential, const _double_mat* snake, double alpha,
                                              double beta, double gamma, double max_move, int32_t max_iterations,
                                              double convergence, _img_snake_boundary boundary, void* intrp_ptr,
                                              _double_mat* result, int32_t* iterations);
/// @}

/// @{
/// Williams and Shah's greedy snake on whole pixels: the snake is rounded (floor(v + 0.5)) and
/// clamped into the image. Each pass takes the mean distance d between consecutive points (the
/// closing one included when `closed`), then moves each point in order (an open snake keeps its
/// ends) to the best of the w x w candidates p around it inside the image, w = `neighbourhood`:
/// E_cont = |d - |p - v(i-1)||, E_curv = |v(i-1) - 2p + v(i+1)|^2, E_img = -P(p); E_cont and
/// E_curv are divided by their largest value over the candidates (when above 0), E_img mapped to
/// (E_img - min) / (max - min) (0 when max = min), and E = alpha E_cont + beta_i E_curv + gamma
/// E_img. A point stays when its position is among the minima, else takes the first minimum in
/// raster order. After each pass the curvature c_i = |u_i / |u_i| - u_(i+1) / |u_(i+1)||^2,
/// u_i = v_i - v_(i-1) (0 where an edge has zero length; 0 at an open snake's ends) is computed,
/// and beta_i becomes 0 for the rest of the run where c_i is greater than both neighbours' values
/// and than `curvature_threshold`, and P(v_i) > `potential_threshold` (a corner). The run stops
/// after a pass that moved fewer than moved_fraction n points, or after max_iterations passes
/// (`iterations` receives the passes done).
///
/// | parameter                                   | domain              |
/// |---------------------------------------------|---------------------|
/// | alpha, beta, gamma                          | >= 0, finite        |
/// | neighbourhood                               | odd, >= 3           |
/// | curvature_threshold, potential_threshold    | finite              |
/// | max_iterations                              | >= 1                |
/// | moved_fraction                              | 0 ... 1             |
MUTILS_API const char* imgdbl_active_contour_greedy(const _double_mat* potential, const _double_mat* snake,
                                                    double alpha, double beta, double gamma, int32_t neighbourhood,
                                                    double curvature_threshold, double potential_threshold,
                                                    int32_t max_iterations, double moved_fraction, unsigned char closed,
                                                    void* intrp_ptr, _double_mat* result, int32_t* iterations);
MUTILS_API const char* imguniv_active_contour_greedy(const _univ_mat* potential, const _double_mat* snake, double alpha,
                                                     double beta, double gamma, int32_t neighbourhood,
                                                     double curvature_threshold, double potential_threshold,
                                                     int32_t max_iterations, double moved_fraction,
                                                     unsigned char closed, void* intrp_ptr, _double_mat* result,
                                                     int32_t* iterations);
/// @}

/// @{
/// Geodesic distance from seeds on the 8-neighbour grid (Dijkstra): a step between neighbours a
/// and b costs l (C(a) + C(b)) / 2 with l = 1 orthogonally and sqrt(2) diagonally; the seeds (an
/// m x 2 `_sint32_mat` of (row, column)) have distance 0, pixels that cannot be reached +infinity,
/// and a cost of +infinity is impassable. The heap pops the smallest distance, ties by row then
/// column, and a distance is replaced only by a strictly smaller one, so results are repeatable.
MUTILS_API const char* imgdbl_minimal_path_cost(const _double_mat* cost, const _sint32_mat* seeds, void* intrp_ptr,
                                                _double_mat* distance);
MUTILS_API const char* imguniv_minimal_path_cost(const _univ_mat* cost, const _sint32_mat* seeds, void* intrp_ptr,
                                                 _double_mat* distance);
/// @}

/// @{
/// The least-cost path from (start_row, start_col) to (end_row, end_col) under the steps of
/// `imgdbl_minimal_path_cost` (the same search, stopped when the end is settled): a k x 2
/// `_sint32_mat` of (row, column) from start to end inclusive, allocated by the call, and its
/// cost in `total`. Each pixel keeps the predecessor of its first strictly smallest distance.
MUTILS_API const char* imgdbl_minimal_path(const _double_mat* cost, int32_t start_row, int32_t start_col,
                                           int32_t end_row, int32_t end_col, void* intrp_ptr, _sint32_mat* path,
                                           double* total);
MUTILS_API const char* imguniv_minimal_path(const _univ_mat* cost, int32_t start_row, int32_t start_col,
                                            int32_t end_row, int32_t end_col, void* intrp_ptr, _sint32_mat* path,
                                            double* total);
/// @}

}  // namespace mutils
