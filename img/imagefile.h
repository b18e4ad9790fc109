// Portable bitmap, greymap and pixmap files (PBM, PGM, PPM: magic numbers P1 to P6) on a
// caller-opened stream, and bilevel images as raw bit streams. The library never opens or
// closes these streams.
//
// Bilevel polarity: in a file a bit or digit 1 is a dark pixel. Writing, a pixel at or below
// the threshold is written as 1 and a pixel above it as 0; reading, a 0 becomes the caller's
// value (255 for PBM files) and a 1 becomes 0.
//
// Packed bits: eight pixels per byte, the first pixel in the most significant bit, the whole
// image taken as one run of rows x columns pixels in row order; only the last byte is padded
// with zero bits, rows are not padded to a byte boundary. For widths that are not a multiple
// of 8 this differs from the usual raw PBM layout, on purpose: files written here read back
// exactly. (A 10 x 3 bitmap has a 4-byte body, where row padding would need 10 bytes.)
//
// `imguniv_write_to_bits(stream, image, threshold, packed, separator, line_width, intrp_ptr)`:
// the image is binarised with `imguniv_map_window_level(image, threshold, threshold)` (so its
// type must be u8, u16, u32, s32 or double, else "Illegal data type"). Text form (packed = 0):
// every pixel in row order as "1" or "0" followed by the separator (" " when null); before a
// pixel that would make the line longer than `line_width` characters a "\n" starts a new line,
// and the text ends with "\n". Packed form: the packed bytes, written raw.
//
// `imguniv_read_from_bits(stream, value, packed, offset, separator, comment, intrp_ptr, result)`
// fills an already sized `result` (u8, u16, u32 or double, of the value's type): pixels read as
// 0 receive the value, all others 0. Text form: one pixel per digit, as in plain PBM files
// ("0110" is four pixels, so are "0 1 1 0"); blanks, line ends and the separator character
// separate nothing and are skipped, and the comment character skips the rest of its line; any
// other character is "Input-output error". Packed form: `offset` bytes are skipped from the
// stream's current position, then ceil(rows x columns / 8) bytes are read and unpacked.
//
// `imguniv_write_pbm(stream, image, threshold, text, intrp_ptr)`: header "P1 <cols> <rows>\n"
// (text) or "P4 <cols> <rows>\n" (packed), then the bits with separator " " and line width 70.
//
// | condition                                                          | message              |
// |--------------------------------------------------------------------|----------------------|
// | null stream or image                                               | "null pointer"       |
// | complex image (PBM); image type that cannot be binarised; result    | "Illegal data type"  |
// | missing or of another type than the value, or not u8/u16/u32/double |                      |
// | packed reading with a negative offset                              | "Illegal data value" |
// | a write that fails; a body shorter than the image or cut short;     | "Input-output error" |
// | a character that is no digit, blank, separator or comment          |                      |
// | interruption                                                       | "interrupted"        |
//
//     FILE* f = std::fopen("mask.pbm", "wb");
//     mutils::imguniv_write_pbm(f, &mask, 0.5, 0, nullptr);   // packed P4: values > 0.5 white
//     std::fclose(f);
#pragma once

#include <cstdio>

#include "../core/errors.h"

namespace mutils {

MUTILS_API const char* imguniv_write_to_bits(FILE* stream, const _univ_mat* image, double threshold,
                                             unsigned char packed, const char* separator, uint16_t line_width,
                                             void* intrp_ptr);
MUTILS_API const char* imguniv_read_from_bits(FILE* stream, _univ_scalar value, unsigned char packed, int32_t offset,
                                              char separator, char comment, void* intrp_ptr, _univ_mat* result);
MUTILS_API const char* imguniv_write_pbm(FILE* stream, const _univ_mat* image, double threshold, unsigned char text,
                                         void* intrp_ptr);

}  // namespace mutils

MUTILS_API mutils::_mutil_errcode imguniv_write_pbm(FILE* stream, const mutils::_univ_mat* image, double threshold,
                                                    unsigned char text, void* intrp_ptr);
