/// @file
/// Binary and grey-scale morphology, structuring-element generators, thinning and skeletons.
///
/// Binary images hold a foreground value (object pixels) and anything else (background). Binary
/// results hold exactly two values: the foreground and the caller's background value. A binary
/// structuring element (SE) is always a `_uint8_mat`; its non-zero elements are its members. A
/// grey-scale SE has the image's element type and every element takes part.
///
/// Offsets: an SE element (i, j) with origin (orow, ocol) — the origin may lie outside the SE —
/// stands for the offset (i - orow, j - ocol).
///
/// | operation          | result pixel (r, c)                                                          |
/// |--------------------|------------------------------------------------------------------------------|
/// | binary erode       | foreground when every member reads foreground at (r - orow + i, c - ocol + j);|
/// |                    | positions outside the image never match (object pixels near the border erode)|
/// | binary dilate      | foreground when some foreground pixel a has a + (i - orow, j - ocol) = (r, c)|
/// | binary open/close  | erode then dilate / dilate then erode, origin (0, 0)                          |
/// | grey erode         | min over (i, j) of img(r - orow + i, c - ocol + j) - SE(i, j)                 |
/// | grey dilate        | max over (i, j) of img(r + orow - i, c + ocol - j) + SE(i, j) (reflected SE)  |
/// | grey open/close    | erode then dilate / dilate then erode, origin (0, 0)                          |
///
/// An SE without members erodes every pixel to foreground (0 of 0 members matched) and dilates
/// to all background. Grey-scale arithmetic is done in the element type: u8, u16 and s32 wrap
/// around in both erosion and dilation (u8: 0 - 1 = 255, 250 + 10 = 4); double follows IEEE, the
/// minimum (maximum) starting from SE element (0, 0) and replaced only by a strictly smaller
/// (larger) value, so a NaN at the start stays and later NaNs are skipped. Grey-scale borders:
/// `MUTIL_BOUNDARY_ZERO` (outside reads 0) or `MUTIL_BOUNDARY_CONTINUE` (nearest edge pixel);
/// any other rule is "Illegal data value". The intermediate image of opening and closing lives
/// in an arena of the call and is released when the call returns.
///
/// Typed members (u8, u16, s32, double) check in order: invalid records raise ("null pointer",
/// "array size mismatch"); image and result of different sizes, "array size mismatch"; result
/// sharing storage with the image or the SE, "Illegal memory address"; foreground equal to
/// background (binary), or a border rule other than 0 and 3 (grey), "Illegal data value".
/// Universal members return "null pointer" for a null matrix and "Illegal data type" unless
/// image, result (and grey SE) have one type of u8, u16, s32 or double, the binary SE is u8 and
/// both scalars carry the image's type. Erosion and dilation never poll the interrupt.
///
/// Generators fill the whole result with background, then draw foreground clipped to it:
/// disk rows y in [cr - R, cr + R] (R = ceil(radius)), each covering columns cc - h .. cc + h with
/// h = floor(sqrt(radius^2 - (y - cr)^2)); rectangle rows top .. top + height - 1, columns
/// left .. left + width - 1. A radius below 0.5 (or NaN), or a height or width below 1, is
/// "Illegal data type"; foreground equal to background "Illegal data value"; a shape that draws
/// no pixel of the result "array size mismatch". They poll the interrupt after each drawn row.
///
/// Thinning and skeleton repeat, until a pass changes nothing, on the 0/1 image B of the
/// foreground: D = T1[code(B)], K = T2[code(D)], B = min(B, max(1 - D, K)), where code() is the
/// 3 x 3 neighbourhood code (weights 1 8 64 / 2 16 128 / 4 32 256, outside pixels 0) and T1, T2
/// are the operation's two 512-entry tables. Image and result must be non-null and of one real
/// type ("Illegal data type"), of one size ("array size mismatch"); the scalars may have any real
/// type and are converted to the image's type (rounded half up and clipped for integer images)
/// before foreground and background are compared ("Illegal data value" when equal).
///
///     mutils::_uint8_mat img, se, out;                    // se: 3 x 3 of ones
///     mutils::imgu8_binary_erode(&img, &se, 1, 1, 255, 0, nullptr, &out);
#pragma once

#include "../core/errors.h"

namespace mutils {

/// @{
/// `binary_erode` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_binary_erode(const _uint8_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                          unsigned char fg, unsigned char bg, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_binary_erode(const _uint16_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                           uint16_t fg, uint16_t bg, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_binary_erode(const _sint32_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                           int32_t fg, int32_t bg, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_binary_erode(const _double_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                           double fg, double bg, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_binary_erode(const _univ_mat* image, const _univ_mat* se, int32_t orow, int32_t ocol,
                                            _univ_scalar fg, _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `binary_dilate` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_binary_dilate(const _uint8_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                           unsigned char fg, unsigned char bg, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_binary_dilate(const _uint16_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                            uint16_t fg, uint16_t bg, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_binary_dilate(const _sint32_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                            int32_t fg, int32_t bg, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_binary_dilate(const _double_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                            double fg, double bg, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_binary_dilate(const _univ_mat* image, const _univ_mat* se, int32_t orow, int32_t ocol,
                                             _univ_scalar fg, _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `binary_open` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_binary_open(const _uint8_mat* image, const _uint8_mat* se, unsigned char fg,
                                         unsigned char bg, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_binary_open(const _uint16_mat* image, const _uint8_mat* se, uint16_t fg, uint16_t bg,
                                          void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_binary_open(const _sint32_mat* image, const _uint8_mat* se, int32_t fg, int32_t bg,
                                          void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_binary_open(const _double_mat* image, const _uint8_mat* se, double fg, double bg,
                                          void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_binary_open(const _univ_mat* image, const _univ_mat* se, _univ_scalar fg,
                                           _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `binary_close` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_binary_close(const _uint8_mat* image, const _uint8_mat* se, unsigned char fg,
                                          unsigned char bg, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_binary_close(const _uint16_mat* image, const _uint8_mat* se, uint16_t fg, uint16_t bg,
                                           void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_binary_close(const _sint32_mat* image, const _uint8_mat* se, int32_t fg, int32_t bg,
                                           void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_binary_close(const _double_mat* image, const _uint8_mat* se, double fg, double bg,
                                           void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_binary_close(const _univ_mat* image, const _univ_mat* se, _univ_scalar fg,
                                            _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `grayscale_erode` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_grayscale_erode(const _uint8_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                             _mutil_boundary_type border, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_grayscale_erode(const _uint16_mat* image, const _uint16_mat* se, int32_t orow,
                                              int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                              _uint16_mat* result);
MUTILS_API const char* imgs32_grayscale_erode(const _sint32_mat* image, const _sint32_mat* se, int32_t orow,
                                              int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                              _sint32_mat* result);
MUTILS_API const char* imgdbl_grayscale_erode(const _double_mat* image, const _double_mat* se, int32_t orow,
                                              int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                              _double_mat* result);
MUTILS_API const char* imguniv_grayscale_erode(const _univ_mat* image, const _univ_mat* se, int32_t orow, int32_t ocol,
                                               _mutil_boundary_type border, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `grayscale_dilate` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_grayscale_dilate(const _uint8_mat* image, const _uint8_mat* se, int32_t orow, int32_t ocol,
                                              _mutil_boundary_type border, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_grayscale_dilate(const _uint16_mat* image, const _uint16_mat* se, int32_t orow,
                                               int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                               _uint16_mat* result);
MUTILS_API const char* imgs32_grayscale_dilate(const _sint32_mat* image, const _sint32_mat* se, int32_t orow,
                                               int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                               _sint32_mat* result);
MUTILS_API const char* imgdbl_grayscale_dilate(const _double_mat* image, const _double_mat* se, int32_t orow,
                                               int32_t ocol, _mutil_boundary_type border, void* intrp_ptr,
                                               _double_mat* result);
MUTILS_API const char* imguniv_grayscale_dilate(const _univ_mat* image, const _univ_mat* se, int32_t orow, int32_t ocol,
                                                _mutil_boundary_type border, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `grayscale_open` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_grayscale_open(const _uint8_mat* image, const _uint8_mat* se, _mutil_boundary_type border,
                                            void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_grayscale_open(const _uint16_mat* image, const _uint16_mat* se,
                                             _mutil_boundary_type border, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_grayscale_open(const _sint32_mat* image, const _sint32_mat* se,
                                             _mutil_boundary_type border, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_grayscale_open(const _double_mat* image, const _double_mat* se,
                                             _mutil_boundary_type border, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_grayscale_open(const _univ_mat* image, const _univ_mat* se, _mutil_boundary_type border,
                                              void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `grayscale_close` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_grayscale_close(const _uint8_mat* image, const _uint8_mat* se, _mutil_boundary_type border,
                                             void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_grayscale_close(const _uint16_mat* image, const _uint16_mat* se,
                                              _mutil_boundary_type border, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_grayscale_close(const _sint32_mat* image, const _sint32_mat* se,
                                              _mutil_boundary_type border, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_grayscale_close(const _double_mat* image, const _double_mat* se,
                                              _mutil_boundary_type border, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_grayscale_close(const _univ_mat* image, const _univ_mat* se, _mutil_boundary_type border,
                                               void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `generate_disk` for each element type declared here; the contract, element types and messages are in the file
/// description.
MUTILS_API const char* imgu8_generate_disk(int32_t crow, int32_t ccol, double radius, unsigned char fg,
                                           unsigned char bg, void* intrp_ptr, _uint8_mat* result);
MUTILS_API const char* imgu16_generate_disk(int32_t crow, int32_t ccol, double radius, uint16_t fg, uint16_t bg,
                                            void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_generate_disk(int32_t crow, int32_t ccol, double radius, int32_t fg, int32_t bg,
                                            void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_generate_disk(int32_t crow, int32_t ccol, double radius, double fg, double bg,
                                            void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_generate_disk(int32_t crow, int32_t ccol, double radius, _univ_scalar fg,
                                             _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `generate_rectangle` for each element type declared here; the contract, element types and messages are in the
/// file description.
MUTILS_API const char* imgu8_generate_rectangle(int32_t top, int32_t left, int32_t height, int32_t width,
                                                unsigned char fg, unsigned char bg, void* intrp_ptr,
                                                _uint8_mat* result);
MUTILS_API const char* imgu16_generate_rectangle(int32_t top, int32_t left, int32_t height, int32_t width, uint16_t fg,
                                                 uint16_t bg, void* intrp_ptr, _uint16_mat* result);
MUTILS_API const char* imgs32_generate_rectangle(int32_t top, int32_t left, int32_t height, int32_t width, int32_t fg,
                                                 int32_t bg, void* intrp_ptr, _sint32_mat* result);
MUTILS_API const char* imgdbl_generate_rectangle(int32_t top, int32_t left, int32_t height, int32_t width, double fg,
                                                 double bg, void* intrp_ptr, _double_mat* result);
MUTILS_API const char* imguniv_generate_rectangle(int32_t top, int32_t left, int32_t height, int32_t width,
                                                  _univ_scalar fg, _univ_scalar bg, void* intrp_ptr, _univ_mat* result);
/// @}

/// @{
/// `binary_thin`, `binary_skeleton` for each element type declared here; the contract, element types and messages
/// are in the file description.
MUTILS_API const char* imguniv_binary_thin(const _univ_mat* image, _univ_scalar fg, _univ_scalar bg, void* intrp_ptr,
                                           _univ_mat* result);
MUTILS_API const char* imguniv_binary_skeleton(const _univ_mat* image, _univ_scalar fg, _univ_scalar bg,
                                               void* intrp_ptr, _univ_mat* result);
/// @}

}  // namespace mutils

/// @{
/// `binary_erode`, `binary_dilate`, `binary_open`, `binary_close`, `binary_thin`, `binary_skeleton`,
/// `grayscale_erode`, `grayscale_dilate`, `grayscale_open`, `grayscale_close` for each element type declared here;
/// the contract, element types and messages are in the file description.
MUTILS_API mutils::_mutil_errcode imguniv_binary_erode(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                       int32_t orow, int32_t ocol, mutils::_univ_scalar fg,
                                                       mutils::_univ_scalar bg, void* intrp_ptr,
                                                       mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_binary_dilate(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                        int32_t orow, int32_t ocol, mutils::_univ_scalar fg,
                                                        mutils::_univ_scalar bg, void* intrp_ptr,
                                                        mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_binary_open(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                      mutils::_univ_scalar fg, mutils::_univ_scalar bg, void* intrp_ptr,
                                                      mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_binary_close(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                       mutils::_univ_scalar fg, mutils::_univ_scalar bg,
                                                       void* intrp_ptr, mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_binary_thin(const mutils::_univ_mat* image, mutils::_univ_scalar fg,
                                                      mutils::_univ_scalar bg, void* intrp_ptr,
                                                      mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_binary_skeleton(const mutils::_univ_mat* image, mutils::_univ_scalar fg,
                                                          mutils::_univ_scalar bg, void* intrp_ptr,
                                                          mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_grayscale_erode(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                          int32_t orow, int32_t ocol,
                                                          mutils::_mutil_boundary_type border, void* intrp_ptr,
                                                          mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_grayscale_dilate(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                           int32_t orow, int32_t ocol,
                                                           mutils::_mutil_boundary_type border, void* intrp_ptr,
                                                           mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_grayscale_open(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                         mutils::_mutil_boundary_type border, void* intrp_ptr,
                                                         mutils::_univ_mat* result);
MUTILS_API mutils::_mutil_errcode imguniv_grayscale_close(const mutils::_univ_mat* image, const mutils::_univ_mat* se,
                                                          mutils::_mutil_boundary_type border, void* intrp_ptr,
                                                          mutils::_univ_mat* result);
/// @}
