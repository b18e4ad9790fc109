/// @file
/// Colour images and palettes. A colour image is a set of three planes R, G, B of one size and one
/// element type; integer planes are u8 or u16 and run from 0 to 255 or 65535, floating planes
/// from 0 to 1.
///
/// NaN and infinities in floating planes: grey levels and the conversions propagate them as their
/// formulas' arithmetic does, component by component; the HSV conversions, which compare or
/// take sectors, give NaN in all three components of a pixel holding a NaN (from RGB) or a NaN
/// or an infinity (from HSV). Integer results store NaN as 0. A pixel or palette row holding a
/// NaN is nearer to nothing, so such a pixel takes palette row 0.
#pragma once

#include "../core/errors.h"

namespace mutils {

/// Colour spaces of `imgset_color_convert`.
enum _img_color_space : int32_t {
    IMG_COLOR_RGB = 0,    ///< sRGB, R G B
    IMG_COLOR_HSV = 1,    ///< hue (a fraction of a turn), saturation, value, each in [0, 1]
    IMG_COLOR_YCBCR = 2,  ///< full-range Y, Cb, Cr in [0, 1] (Cb and Cr centred on 0.5)
    IMG_COLOR_XYZ = 3,    ///< CIE 1931 X Y Z of linear sRGB under D65
    IMG_COLOR_LAB = 4     ///< CIE 1976 L* a* b* under the D65 white
};

/// Grey levels of a colour image: Y = 0.299 R + 0.587 G + 0.114 B (the ITU-R BT.601 luma) in the
/// planes' own units. A one-plane set is copied. The result may be of any real type; the value
/// is stored as floor(Y + 0.5) clipped to an integer result's range. Integer planes are weighed
/// exactly, as (299 R + 587 G + 114 B) / 1000, so halves round up without drift.
///
/// | condition                                                        | message                  |
/// |------------------------------------------------------------------|--------------------------|
/// | null set or result                                               | "null pointer"           |
/// | invalid records                                                  | raised by validation     |
/// | a plane count other than 1 or 3; planes or result of other sizes | "array size mismatch"    |
/// | planes of different types; complex planes or result              | "Illegal data type"      |
/// | result sharing a plane's storage                                 | "Illegal memory address" |
///
///     mutils::imgset_color_to_grayscale(&rgb, nullptr, &grey);   // u8 planes -> u8 grey
MUTILS_API const char* imgset_color_to_grayscale(const _mat_set* rgb, void* intrp_ptr, _univ_mat* gray);

/// @{
/// Planes from an index image and a palette: `palette` is K x P (one colour per row, any real
/// type; P = 3 for colour, 1 for a grey ramp), `index` an integer image (u8, u16, u32, s16,
/// s32); plane j of the result is palette(index, j). The result set has P planes of the
/// palette's type and the index's size.
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | null index, palette or set                                         | "null pointer"           |
/// | invalid records                                                    | raised by validation     |
/// | an index that is not an integer image; a complex palette; planes   | "Illegal data type"      |
/// | not of the palette's type                                          |                          |
/// | plane count other than P; planes not of the index's size           | "array size mismatch"    |
/// | a plane sharing the storage of the index or the palette            | "Illegal memory address" |
/// | an index below 0 or at least K (nothing is written)                | "Illegal data value"     |
///
/// To palette: the index of the palette row nearest to each pixel (squared Euclidean distance
/// over the P planes in their own units, computed in double; ties go to the lowest row). The
/// planes may be of any real type, the palette of any real type too; the index result is u8,
/// u16, u32 or s32 and must be able to hold K - 1.
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | null set, palette or index                                         | "null pointer"           |
/// | palette columns other than the plane count; sizes differ           | "array size mismatch"    |
/// | planes of different or complex types; complex palette; an index of | "Illegal data type"      |
/// | another type                                                       |                          |
/// | K - 1 beyond the index type                                        | "Illegal data value"     |
/// | index sharing a plane's storage                                    | "Illegal memory address" |
///
/// A palette is designed from the pixels by the vector quantizer design: take the n x 3 matrix of
/// pixel vectors, design K codewords, then map:
///
///     mutils::imgset_color_to_palette(&rgb, &palette, nullptr, &index);     // index: u8
///     mutils::imgset_color_from_palette(&index, &palette, nullptr, &back);  // back: 3 planes
MUTILS_API const char* imgset_color_from_palette(const _univ_mat* index, const _univ_mat* palette, void* intrp_ptr,
                                                 _mat_set* planes);
MUTILS_API const char* imgset_color_to_palette(const _mat_set* planes, const _univ_mat* palette, void* intrp_ptr,
                                               _univ_mat* index);
/// @}

/// Converts a three-plane image between colour spaces, always through R, G, B in [0, 1]
/// (`from` = `to` runs the same path, so u8 RGB into double planes gives [0, 1]).
///
/// | space  | definition                                                                            |
/// |--------|---------------------------------------------------------------------------------------|
/// | HSV    | V = max, S = (max - min) / V (0 where V = 0), H in [0, 1) (0 where S = 0)              |
/// | YCbCr  | Y = 0.299 R + 0.587 G + 0.114 B, Cb = 0.5 + (B - Y) / 1.772, Cr = 0.5 + (R - Y) / 1.402 |
/// | XYZ    | sRGB decoded (v <= 0.04045: v / 12.92, else ((v + 0.055) / 1.055)^2.4), then rows     |
/// |        | (0.412453 0.357580 0.180423) (0.212671 0.715160 0.072169) (0.019334 0.119193 0.950227) |
/// | L*a*b* | from XYZ / (0.95047, 1, 1.08883): L = 116 f(Y) - 16, a = 500 (f(X) - f(Y)),            |
/// |        | b = 200 (f(Y) - f(Z)), f(t) = t^(1/3) for t > 0.008856, else 7.787 t + 16/116          |
///
/// The inverses switch branch at the images of the same knees (the encoding at 0.04045 / 12.92,
/// f at its value for 0.008856), so round trips hold to about 1e-12. RGB planes may be u8, u16,
/// float or double; the other spaces need float or double planes. Integer RGB output is scaled,
/// rounded and clipped (floor(v + 0.5)); floating output is not clipped.
///
/// | condition                                                          | message                  |
/// |--------------------------------------------------------------------|--------------------------|
/// | null set                                                           | "null pointer"           |
/// | a set without exactly 3 planes; planes of different sizes          | "array size mismatch"    |
/// | a space outside 0 ... 4                                            | "Illegal data value"     |
/// | planes of different types; a type the space cannot hold            | "Illegal data type"      |
/// | an output plane sharing an input plane's storage                   | "Illegal memory address" |
///
/// Float planes cannot be joined back into a host colour image; use double for other spaces.
///
///     // u8 RGB to double L*a*b* and back
///     mutils::imgset_color_convert(&rgb, mutils::IMG_COLOR_RGB, mutils::IMG_COLOR_LAB, nullptr, &lab);
///     mutils::imgset_color_convert(&lab, mutils::IMG_COLOR_LAB, mutils::IMG_COLOR_RGB, nullptr, &rgb2);
MUTILS_API const char* imgset_color_convert(const _mat_set* in, _img_color_space from, _img_color_space to,
                                            void* intrp_ptr, _mat_set* out);

}  // namespace mutils

/// @{
/// `color_to_grayscale`, `color_from_palette` for each element type declared here; the contract, element types and
/// messages are in the file description.
MUTILS_API mutils::_mutil_errcode imgset_color_to_grayscale(const mutils::_mat_set* rgb, void* intrp_ptr,
                                                            mutils::_univ_mat* gray);
MUTILS_API mutils::_mutil_errcode imgset_color_from_palette(const mutils::_univ_mat* index,
                                                            const mutils::_univ_mat* palette, void* intrp_ptr,
                                                            mutils::_mat_set* planes);
/// @}
