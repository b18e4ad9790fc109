/// @file
/// Edge detection: derivative-of-Gaussian gradients, non-maxima suppression, hysteresis
/// thresholds, Canny edges, and Sobel gradients and edges.
///
/// Gradient pairs are double images of the input's size, the vertical component (derivative
/// along the row index, positive downwards) first and the horizontal one second.
///
/// Derivative of Gaussian (sigma > 0): kernels of length N = 4 * ceil(sigma) at positions
/// x = k - (N - 1) / 2, k = 0 .. N - 1: G(x) = exp(-x^2 / (2 sigma^2)) and
/// D(x) = -x G(x) / (2 pi sigma^4). vertical = (image * D as a column) * G as a row, horizontal =
/// (image * D as a row) * G as a column, each a centred convolution (`imguniv_convolve`) with
/// replicated edges through a double temporary. N is even, so the kernels sit half a pixel off
/// the pixel they are centred on (the kernel element N / 2 lies over it).
///
/// Non-maxima suppression: M = sqrt(V^2 + H^2); the border rows and columns of the result are
/// 0; an interior pixel keeps M where it is at least both magnitudes interpolated one pixel
/// across the edge along the gradient direction, and is 0 elsewhere or where |V| and |H| are
/// both below 1e-8. Hysteresis: the background band is [-1e37, low] (read as double, NaN
/// pixels inside it; a NaN low leaves no number inside), so the candidates are the pixels
/// strictly above `low` and, on the far side of the band, those below -1e37; eight-connected
/// candidate regions with at least one pixel at or above `high` become foreground, everything
/// else background. Canny = the three steps in a row. Sobel: correlation with -1 -2 -1 / 0 0 0 /
/// 1 2 1 (vertical) and -1 0 1 / -2 0 2 / -1 0 1 (horizontal), zero outside; Sobel edges
/// threshold S = V^2 + H^2 by hysteresis with low^2 and high^2, or, when those are equal, keep
/// every pixel with low^2 <= S <= 1e37 (or NaN).
///
/// | operation                   | checks, in order                                                        |
/// |-----------------------------|-------------------------------------------------------------------------|
/// | derivative of Gaussian      | null matrix: "null pointer"; an output not double: "Illegal data type";  |
/// |                             | two of image and outputs sharing storage: "Illegal memory address";     |
/// |                             | sigma <= 0 (or NaN), or fewer rows or columns than N: "Illegal data      |
/// |                             | value"; outputs of another size: "array size mismatch"                  |
/// | non-maxima suppression      | (universal) null: "null pointer", not all double: "Illegal data type";  |
/// |                             | sizes differ: "array size mismatch"; result sharing an input's storage: |
/// |                             | "Illegal memory address"                                                |
/// | hysteresis                  | result null or not of both scalars' type, or a complex image: "Illegal  |
/// |                             | data type"; null image: "null pointer"; fg = bg: "Illegal data value";  |
/// |                             | sizes differ: "array size mismatch"; high < low: "Illegal data value";  |
/// |                             | result sharing the image's storage: "Illegal memory address"; low below |
/// |                             | -1e37 (an empty band): "Illegal data value"                             |
/// | Canny                       | null image or result: "null pointer"; sigma <= 0, low > high, or fewer  |
/// |                             | rows or columns than N: "Illegal data value"; then the steps' checks    |
/// | Sobel gradient              | null: "null pointer"; the outputs sharing storage: "Illegal memory      |
/// |                             | address"; then the correlation's checks (outputs of the image's size;   |
/// |                             | integer outputs hold the sums wrapped to their width)                   |
/// | Sobel edges                 | null: "null pointer"; low <= 0 or high < low: "Illegal data value" (a   |
/// |                             | NaN low passes on to hysteresis);                                       |
/// |                             | then the checks of hysteresis (or, on the plain threshold path, result  |
/// |                             | type as there, low^2 above 1e37: "Illegal data value", size as there)   |
///
/// Inputs may have any real element type (read as double); binary results any real type, the
/// type of the two scalars. Temporaries live in an arena of the call and end with it. Errors of
/// an inner step are returned unchanged.
///
///     mutils::_univ_mat img, edges;   // edges: u8, img's size
///     mutils::imguniv_edge_canny(&img, 1.5, 2.0, 6.0, mutils::scalar_u8(255), mutils::scalar_u8(0),
///                                nullptr, &edges);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `filter_derivative_of_gaussian`, `edge_nonmaxima_suppress`, `threshold_hysteresis`, `edge_canny`,
/// `gradient_sobel`, `edge_sobel` for each element type declared here; the contract, element types and messages are
/// in the file description.
MUTILS_API const char* imguniv_filter_derivative_of_gaussian(const _univ_mat* image, double sigma, void* intrp_ptr,
                                                             _univ_mat* vertical, _univ_mat* horizontal);
MUTILS_API const char* imgdbl_edge_nonmaxima_suppress(const _double_mat* vertical, const _double_mat* horizontal,
                                                      void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_edge_nonmaxima_suppress(const _univ_mat* vertical, const _univ_mat* horizontal,
                                                       void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_threshold_hysteresis(const _univ_mat* image, double low, double high, _univ_scalar fg,
                                                    _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_edge_canny(const _univ_mat* image, double sigma, double low, double high,
                                          _univ_scalar fg, _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_gradient_sobel(const _univ_mat* image, void* intrp_ptr, _univ_mat* vertical,
                                              _univ_mat* horizontal);
MUTILS_API const char* imguniv_edge_sobel(const _univ_mat* image, double low, double high, _univ_scalar fg,
                                          _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

}  // namespace mutils

/// `imguniv_edge_canny`: the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_edge_canny(const mutils::_univ_mat* image, double sigma, double low,
                                                     double high, mutils::_univ_scalar fg, mutils::_univ_scalar bg,
                                                     void* intrp_ptr, mutils::_univ_mat* result);
